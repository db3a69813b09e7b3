// DER written as text, and files of rows of it, for the tests of key containers.

#ifndef PKIDER_TESTS_DER_TEXT_H
#define PKIDER_TESTS_DER_TEXT_H

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <string_view>
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
      if (line.empty() || line[0] == '#') {
        continue;
      }
      for (std::size_t at = 1; (at = line.find('$', at)) != std::string::npos;) {
        const std::size_t end = line.find_first_of(" ()|", at);
        line.replace(at, end - at, text(line.substr(at + 1, end - at - 1)));
      }
      if (line[0] == '$') {
        texts[line.substr(1, line.find(' ') - 1)] = line.substr(line.find("= ") + 2);
        continue;
      }
      std::istringstream fields(line);
      row_t& row = rows.emplace_back();
      for (std::string* field : {&row.sample, &row.reason, &row.change, &row.expected}) {
        std::getline(fields, *field, '|');
      }
    }
  }

  const std::string& text(const std::string& name) const { return texts.at(name); }

  // A row's sample after its change "from -> to".
  std::string changed(const row_t& row) const {
    const std::size_t arrow = row.change.find(" -> ");
    const std::string from = row.change.substr(0, arrow), sample = text(row.sample);
    return der_text(
        std::string(sample).replace(sample.find(from), from.size(), row.change.substr(arrow + 4)));
  }
};

inline blob_t view(const std::string& bytes) {
  return {static_cast<unsigned>(bytes.size()),
          reinterpret_cast<const unsigned char*>(bytes.data())};
}

#endif
