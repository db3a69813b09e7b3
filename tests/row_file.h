// Rows of text files: the cases of tests and benchmarks.

#ifndef PKIDER_TESTS_ROW_FILE_H
#define PKIDER_TESTS_ROW_FILE_H

#include <map>
#include <set>

#include "test_util.h"

struct row_t {
  int line;
  std::string operation, argument, reason, input, expected;
};

// A file of tests/data: rows "operation argument|reason|input|expected", and texts: a line
// "$name = text" gives one, and "$name" stands for it in the lines after. A text must be used, by a
// line, as an operation or by the code that names it here.
struct rows_t {
  const std::string path;
  std::vector<row_t> rows;
  std::map<std::string, std::string> texts;

  explicit rows_t(const char* file, std::set<std::string> used_by_code = {});

  std::string sample(const std::string& name) const { return from_hex(texts.at(name)); }

  // Line -> what is wrong there.
  std::map<int, std::string> faults() const;

 private:
  std::set<std::string> used_;
  std::map<int, std::string> faults_;

  void read_line(std::string line, int number);
};

#endif
