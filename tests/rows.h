// Runs rows as tests.

#ifndef PKIDER_TESTS_ROWS_H
#define PKIDER_TESTS_ROWS_H

#include <gtest/gtest.h>

#include <pkider/asn_reader.h>

#include "row_file.h"

using operations_t = std::map<std::string, std::string (*)(const row_t&)>;

// Runs the operation of each row of a file. What fails is reported with the row's file and line.
inline void run_rows(const rows_t& file, const operations_t& operations) {
  EXPECT_FALSE(file.rows.empty()) << file.path;
  for (const auto& [line, fault] : file.faults()) {
    ADD_FAILURE_AT(file.path.c_str(), line) << fault;
  }
  for (const row_t& row : file.rows) {
    const testing::ScopedTrace trace(file.path.c_str(), row.line, row.reason);
    if (operations.count(row.operation) == 0) {
      ADD_FAILURE() << "no such operation: " << row.operation;
      continue;
    }
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

// What the records hold before each read.
inline const std::string untouched("\xEE", 1);
inline const blob_t old = view(untouched);

inline std::string hex_number(unsigned long long number) {
  std::ostringstream text;
  text << std::hex << std::uppercase << number;
  return text.str();
}

// What a view may show: what was there before, the input, and what a test adds.
inline std::vector<blob_t> shown;

inline std::string show(const blob_t& blob) {
  const bool inside = std::any_of(shown.begin(), shown.end(), [&](const blob_t& one) {
    return contains(one.data, one.size, blob);
  });
  return blob.size == 0 ? "" : inside ? to_hex(bytes_of(blob)) : "outside the input";
}

// What reads a sample, and tells its outcome.
using readers_t = std::map<std::string, std::string (*)(const exact_t&)>;

inline std::string read(const readers_t& readers, const std::string& sample, const exact_t& in) {
  shown = {old, {in.size(), in.data()}};
  return readers.at(sample)(in);
}

// What reading gives with every other identifier octet of one element in turn: one outcome, in
// which "__" stands for the octet itself, or the first and the last of several. The element is the
// Nth "XX(" of a text for from_hex.
inline std::string with_other_tags(const rows_t& file, const row_t& row, const readers_t& readers) {
  std::string text = file.texts.at(row.argument);
  unsigned long n = std::stoul(row.input);
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
      outcomes[other] = read(readers, row.argument, exact_t(der));
    }
  }
  const std::string& first = outcomes.begin()->second;
  const std::string& last = outcomes.rbegin()->second;
  const auto octet_shown =
      std::mismatch(first.begin(), first.end(), last.begin(), last.end()).first;
  const auto place = static_cast<std::size_t>(octet_shown - first.begin());
  std::set<std::string> told;
  for (auto& [other, outcome] : outcomes) {
    told.insert(outcome.compare(place, 2, other) == 0 ? outcome.replace(place, 2, "__") : outcome);
  }
  return own + ": " + *told.begin() + (told.size() == 1 ? "" : " to " + *told.rbegin());
}

#endif
