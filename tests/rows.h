// Cases as rows of text files.

#ifndef PKIDER_TESTS_ROWS_H
#define PKIDER_TESTS_ROWS_H

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include <pkider/asn_reader.h>

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

  void expect_sound() const {
    EXPECT_FALSE(rows.empty()) << path;
    for (const auto& [line, fault] : faults_) {
      ADD_FAILURE_AT(path.c_str(), line) << fault;
    }
    for (const auto& [name, text] : texts) {
      EXPECT_EQ(used_.count(name), 1U) << path << ": nothing uses $" << name;
    }
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

using operations_t = std::map<std::string, std::string (*)(const row_t&)>;

// Runs the operation of each row of a file. What fails is told with the row's file and line.
inline void run_rows(const rows_t& file, const operations_t& operations) {
  file.expect_sound();
  for (const row_t& row : file.rows) {
    const testing::ScopedTrace trace(file.path.c_str(), row.line, row.reason);
    try {
      EXPECT_EQ(operations.at(row.operation)(row), row.expected);
    } catch (const std::exception& e) {
      ADD_FAILURE() << "this row cannot be run: " << e.what();
    }
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

// What reading gives with every other identifier octet of one element in turn: one outcome, in
// which
// "__" stands for the octet itself, or the first and the last of several. The element is the Nth
// "XX(" of a text for from_hex.
template <class Read>
std::string with_other_tags(std::string text, unsigned n, const Read& read) {
  std::size_t at = text.find('(');
  while (--n != 0) {
    at = text.find('(', at + 1);
  }
  std::string der = from_hex(text);
  const std::string own = text.substr(at - 2, 2);
  text.replace(at - 2, 2, "FF");
  const auto octet = std::mismatch(der.begin(), der.end(), from_hex(text).begin()).first;
  std::map<std::string, std::string> outcomes;  // by octet
  for (unsigned tag = 0; tag < 0x100; ++tag) {
    const std::string other = to_hex(std::string(1, static_cast<char>(tag)));
    if (other != own) {
      *octet = static_cast<char>(tag);
      outcomes[other] = read(exact_t(der));
    }
  }
  const std::string& first = outcomes.begin()->second;
  const std::string& last = outcomes.rbegin()->second;
  const auto shown = std::mismatch(first.begin(), first.end(), last.begin(), last.end()).first;
  const auto place = static_cast<std::size_t>(shown - first.begin());
  std::set<std::string> told;
  for (auto& [other, outcome] : outcomes) {
    told.insert(outcome.compare(place, 2, other) == 0 ? outcome.replace(place, 2, "__") : outcome);
  }
  return own + ": " + *told.begin() + (told.size() == 1 ? "" : " to " + *told.rbegin());
}

#endif
