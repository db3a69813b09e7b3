// One thing that is shown: named fields, one line each or as a JSON object.

#ifndef PKIDER_TOOLS_RECORD_H
#define PKIDER_TOOLS_RECORD_H

#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

// Whether records and messages are JSON; set by --json before any verb runs.
bool& json_output();

class record_t {
 public:
  using list_t = std::vector<std::string>;
  using value_t = std::variant<std::string, std::uint64_t, bool, list_t, std::vector<record_t>>;

  // A field whose JSON value is its text, or another one that programs read more easily. Its JSON
  // name is `name` in lower case, with '_' for anything but letters and digits.
  void add(const std::string& name, const std::string& text) { add(name, text, text); }
  void add(const std::string& name, const std::string& text, value_t json) {
    fields_.push_back({name, {text}, std::move(json)});
  }

  // A field of the JSON object alone. Records in it are to be moved here: libstdc++ 12 crashes when
  // memory runs out while a variant with containers is copied.
  void add_json(const std::string& name, value_t json) {
    fields_.push_back({name, {}, std::move(json)});
  }

  // A list, a line for each; nothing when it is empty.
  void add_lines(const std::string& name, const list_t& lines) {
    if (!lines.empty()) {
      fields_.push_back({name, lines, lines});
    }
  }

  struct field_t {
    std::string name;
    list_t lines;  // of text
    value_t json;
  };
  const std::vector<field_t>& fields() const { return fields_; }

 private:
  std::vector<field_t> fields_;
};

// Writes a record to standard output, as "NAME:      VALUE" lines with values aligned and made
// printable, an empty line before all but the first record; records that are values follow in the
// same way. Or as one line of JSON.
void print(const record_t& record);

// The JSON object, in one line, safe for a terminal. Bytes that are not UTF-8 become U+FFFD.
std::string json_line(const record_t& record);

// Writes `line` instead of the fields where text is wanted.
void print(const record_t& record, const std::string& line);

#endif
