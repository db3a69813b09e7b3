// DER written as text, files of rows of it, and the output of Python programs.

#ifndef PKIDER_TESTS_DER_TEXT_H
#define PKIDER_TESTS_DER_TEXT_H

#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <sstream>

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
  std::string sample, reason, change, expected;
};

// A file of tests/data: rows "sample | reason | change | expected", and the samples, which lines
// "$name = text" name.
struct rows_t {
  std::vector<row_t> rows;
  std::map<std::string, std::string> texts;

  explicit rows_t(const char* file) {
    std::ifstream in(std::string(TEST_DATA) + file);
    for (std::string line; std::getline(in, line);) {
      const std::string start = line.substr(0, 1);
      for (std::size_t at = 1; start != "#" && (at = line.find('$', at)) != std::string::npos;) {
        const std::size_t end = line.find_first_of(" ()|", at);
        line.replace(at, end - at, texts.at(line.substr(at + 1, end - at - 1)));
      }
      if (start == "$") {
        texts[line.substr(1, line.find(' ') - 1)] = line.substr(line.find("= ") + 2);
      } else if (!start.empty() && start != "#") {
        std::istringstream fields(line);
        row_t& row = rows.emplace_back();
        for (std::string* field : {&row.sample, &row.reason, &row.change, &row.expected}) {
          std::getline(fields, *field, '|');
        }
      }
    }
  }

  std::string sample(const std::string& name) const { return der_text(texts.at(name)); }

  // A row's sample after its change "from -> to".
  std::string changed(const row_t& row) const {
    std::string text = texts.at(row.sample);
    const std::size_t arrow = row.change.find(" -> ");
    const std::string from = row.change.substr(0, arrow);
    return der_text(text.replace(text.find(from), from.size(), row.change.substr(arrow + 4)));
  }
};

inline blob_t view(const std::string& bytes) {
  return {static_cast<unsigned>(bytes.size()),
          reinterpret_cast<const unsigned char*>(bytes.data())};
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
