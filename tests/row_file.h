// Rows of text files: the cases of tests and benchmarks.

#ifndef PKIDER_TESTS_ROW_FILE_H
#define PKIDER_TESTS_ROW_FILE_H

#include <fstream>
#include <map>
#include <set>
#include <sstream>

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

  explicit rows_t(const char* file, std::set<std::string> used_by_code = {})
      : path(TEST_DATA + std::string(file)), used_(std::move(used_by_code)) {
    std::ifstream in(path);
    int number = 0;
    for (std::string line; std::getline(in, line);) {
      ++number;
      if (!line.empty() && line[0] != '#') {
        read_line(line, number);
      }
    }
  }

  std::string sample(const std::string& name) const { return from_hex(texts.at(name)); }

  // Line -> what is wrong there.
  std::map<int, std::string> faults() const {
    std::map<int, std::string> found = faults_;
    for (const auto& [name, text] : texts) {
      if (used_.count(name) == 0) {
        found[0] += "nothing uses $" + name + "\n";
      }
    }
    return found;
  }

 private:
  std::set<std::string> used_;
  std::map<int, std::string> faults_;

  void read_line(std::string line, int number) {
    const bool is_text = line[0] == '$';
    for (std::size_t at = is_text ? 1 : 0; (at = line.find('$', at)) != std::string::npos;) {
      const std::size_t end = std::min(line.find_first_of(" ()|$", at + 1), line.size());
      const std::string name = line.substr(at + 1, end - at - 1);
      if (texts.count(name) == 0) {
        faults_[number] = "no text $" + name;
        return;
      }
      used_.insert(name);
      line.replace(at, end - at, texts[name]);
    }
    if (is_text) {
      texts[line.substr(1, line.find(' ') - 1)] = line.substr(line.find("= ") + 2);
      return;
    }
    std::istringstream fields(line);
    row_t& row = rows.emplace_back();
    row.line = number;
    for (std::string* field : {&row.argument, &row.reason, &row.input}) {
      std::getline(fields, *field, '|');
    }
    if (row.reason.empty() || std::count(line.begin(), line.end(), '|') < 3) {
      faults_[number] = "a row is operation|reason|input|expected";
    }
    std::getline(fields, row.expected);
    row.operation = row.argument.substr(0, row.argument.find(' '));
    row.argument.erase(0, row.operation.size() + 1);
    used_.insert({row.operation, row.argument});
  }
};

#endif
