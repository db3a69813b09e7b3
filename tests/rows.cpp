// Runs rows, and the sweep over identifiers.

#include "rows.h"

void run_rows(const rows_t& file, const operations_t& operations) {
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

std::string hex_number(unsigned long long number) {
  std::ostringstream text;
  text << std::hex << std::uppercase << number;
  return text.str();
}

std::vector<blob_t> shown;

std::string show(const blob_t& blob) {
  const bool inside = std::any_of(shown.begin(), shown.end(), [&](const blob_t& one) {
    return contains(one.data, one.size, blob);
  });
  return blob.size == 0 ? "" : inside ? to_hex(bytes_of(blob)) : "outside the input";
}

std::string read(const readers_t& readers, const std::string& sample, const exact_t& in) {
  shown = {old, {in.size(), in.data()}};
  return readers.at(sample)(in);
}

std::string with_other_tags(const rows_t& file, const row_t& row, const readers_t& readers) {
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
