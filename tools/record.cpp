// Records as aligned lines or as JSON.

#include "record.h"

#include <algorithm>
#include <cctype>
#include <iostream>
#include <nlohmann/json.hpp>

#include "messages.h"
#include "text.h"

namespace {

using json_t = nlohmann::ordered_json;

json_t to_json(const record_t& record);

struct to_json_t {
  template <class Value>
  json_t operator()(const Value& value) const {
    return value;
  }
  json_t operator()(const std::vector<record_t>& records) const {
    json_t array = json_t::array();
    for (const record_t& record : records) {
      array.push_back(to_json(record));
    }
    return array;
  }
};

// "SHA-1" becomes sha_1.
std::string json_name(std::string name) {
  for (char& c : name) {
    c = std::isalnum(static_cast<unsigned char>(c)) != 0
            ? static_cast<char>(std::tolower(static_cast<unsigned char>(c)))
            : '_';
  }
  return name;
}

json_t to_json(const record_t& record) {
  json_t object = json_t::object();
  for (const record_t::field_t& field : record.fields()) {
    object[json_name(field.name)] = std::visit(to_json_t(), field.json);
  }
  return object;
}

void print_text(const record_t& record) {
  static bool first = true;
  if (!first) {
    std::cout << '\n';
  }
  first = false;
  for (const record_t::field_t& field : record.fields()) {
    for (const std::string& line : field.lines) {
      print_field(field.name.c_str(), line);
    }
  }
  for (const record_t::field_t& field : record.fields()) {
    if (const auto* parts = std::get_if<std::vector<record_t>>(&field.json)) {
      std::for_each(parts->begin(), parts->end(), print_text);
    }
  }
}

}  // namespace

bool& json_output() {
  static bool json = false;
  return json;
}

std::string json_line(const record_t& record) {
  return printable_json(to_json(record).dump(-1, ' ', false, json_t::error_handler_t::replace));
}

void print(const record_t& record) {
  show_progress("");
  if (json_output()) {
    std::cout << json_line(record) << '\n';
  } else {
    print_text(record);
  }
}

void print(const record_t& record, const std::string& line) {
  show_progress("");
  std::cout << (json_output() ? json_line(record) : line) << '\n';
}
