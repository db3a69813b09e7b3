// Reads rows.

#include "row_file.h"

#include <fstream>
#include <sstream>

rows_t::rows_t(const char* file, std::set<std::string> used_by_code)
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

std::map<int, std::string> rows_t::faults() const {
  std::map<int, std::string> found = faults_;
  for (const auto& [name, text] : texts) {
    if (used_.count(name) == 0) {
      found[0] += "nothing uses $" + name + "\n";
    }
  }
  return found;
}

void rows_t::read_line(std::string line, int number) {
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
