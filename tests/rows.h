// DER written as text, cases as rows of text files, and the output of Python programs.

#ifndef PKIDER_TESTS_ROWS_H
#define PKIDER_TESTS_ROWS_H

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <sstream>
#include <vector>

#include "asn_reader.h"
#include "test_util.h"

// Hex bytes, and tag(content) for an element whose length is worked out: der_text("30(02(05)
// 0400)") is 30 05 02 01 05 04 00.
inline std::string der_text(std::string_view text) {
  std::vector<std::string> open(1);
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '(') {
      open.emplace_back();
    } else if (text[i] == ')') {
      const std::string content = open.back();
      open.pop_back();
      const auto tag = static_cast<unsigned char>(open.back().back());
      open.back().pop_back();
      open.back() += der(tag, content);
    } else if (text[i] != ' ') {
      open.back() += from_hex(text.substr(i++, 2));
    }
  }
  EXPECT_EQ(open.size(), 1u) << text;
  return open.front();
}

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
        for (std::string* field : {&row.operation, &row.reason, &row.input}) {
          std::getline(fields, *field, '|');
        }
        std::getline(fields, row.expected);
        row.argument =
            row.operation.substr(std::min(row.operation.size(), row.operation.find(' ')));
        row.operation.resize(row.operation.size() - row.argument.size());
        row.argument.erase(0, 1);
      }
    }
  }

  std::string sample(const std::string& name) const { return der_text(texts.at(name)); }
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

// The lines that Python prints.
inline std::vector<std::string> python(const std::string& arguments) {
  std::vector<std::string> lines;
  FILE* const output = popen(("/usr/bin/python3 " + arguments).c_str(), "r");
  for (char line[1 << 14]; std::fgets(line, sizeof line, output) != nullptr;) {
    lines.emplace_back(line);
  }
  EXPECT_EQ(pclose(output), 0) << arguments;
  return lines;
}

#endif
