// Cases as rows of text files.

#ifndef PKIDER_TESTS_ROWS_H
#define PKIDER_TESTS_ROWS_H

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>

#include <pkider/asn_reader.h>

#include "test_util.h"

struct row_t {
  std::string operation, argument, reason, input, expected;
};

// A file of tests/data: rows "operation argument|reason|input|expected", and texts: a line
// "$name = text" gives one, and "$name" stands for it in the lines after.
struct rows_t {
  std::vector<row_t> rows;
  std::map<std::string, std::string> texts;

  explicit rows_t(const char* file) {
    std::ifstream in(std::string(TEST_DATA) + file);
    for (std::string line; std::getline(in, line);) {
      const char start = line[0];
      for (std::size_t at = 1; start != '#' && (at = line.find('$', at)) != std::string::npos;) {
        const std::size_t end = line.find_first_of(" ()|$", at + 1);
        line.replace(at, end - at, texts.at(line.substr(at + 1, end - at - 1)));
      }
      if (start == '$') {
        texts[line.substr(1, line.find(' ') - 1)] = line.substr(line.find("= ") + 2);
      } else if (start != '#' && start != 0) {
        std::istringstream fields(line);
        row_t& row = rows.emplace_back();
        for (std::string* field : {&row.argument, &row.reason, &row.input}) {
          std::getline(fields, *field, '|');
        }
        std::getline(fields, row.expected);
        row.operation = row.argument.substr(0, row.argument.find(' '));
        row.argument.erase(0, row.operation.size() + 1);
      }
    }
  }

  std::string sample(const std::string& name) const { return from_hex(texts.at(name)); }
};

using operations_t = std::map<std::string, std::string (*)(const row_t&)>;

// Runs the operation of each row of a file.
inline void run_rows(const rows_t& file, const operations_t& operations) {
  EXPECT_FALSE(file.rows.empty());
  for (const row_t& row : file.rows) {
    EXPECT_EQ(operations.at(row.operation)(row), row.expected)
        << row.operation << ' ' << row.argument << ": " << row.reason << ": " << row.input;
  }
}

inline blob_t view(const std::string& bytes) {
  return {static_cast<unsigned>(bytes.size()),
          reinterpret_cast<const unsigned char*>(bytes.data())};
}

inline std::string hex_number(unsigned long long number) {
  std::ostringstream text;
  text << std::hex << std::uppercase << number;
  return text.str();
}

#endif
