// Escapes for terminals and for JSON.

#include "text.h"

#include <algorithm>
#include <cwchar>
#include <cwctype>
#include <iomanip>
#include <iostream>
#include <iterator>

#include <pkider/int2str.h>

std::string hex(const blob_t& view, char separator) {
  std::string text;
  return TO_HEX_STD_STRING(view.data, view.size, text, separator);
}

namespace {

struct range_t {
  wchar_t first;
  wchar_t last;
};

// Characters that are not seen, or that change the direction of the text around them: Unicode's
// Default_Ignorable_Code_Point, line and paragraph separators, annotation marks and an empty
// Braille cell.
constexpr range_t invisible[] = {
    {0x00AD, 0x00AD},   {0x034F, 0x034F},   {0x061C, 0x061C},   {0x115F, 0x1160}, {0x17B4, 0x17B5},
    {0x180B, 0x180F},   {0x200B, 0x200F},   {0x2028, 0x202E},   {0x2060, 0x206F}, {0x2800, 0x2800},
    {0x3164, 0x3164},   {0xFE00, 0xFE0F},   {0xFEFF, 0xFEFF},   {0xFFA0, 0xFFA0}, {0xFFF0, 0xFFFB},
    {0x1BCA0, 0x1BCA3}, {0x1D173, 0x1D17A}, {0xE0000, 0xE0FFF},
};

bool is_printable(wchar_t c) {
  return std::iswprint(static_cast<std::wint_t>(c)) != 0 &&
         std::none_of(std::begin(invisible), std::end(invisible),
                      [c](const range_t& range) { return range.first <= c && c <= range.last; });
}

bool is_plain(char c) {
  return c >= ' ' && c <= '~';
}

void escape_bytes(std::string& out, std::string_view unit, wchar_t) {
  for (const char byte : unit) {
    out += '\\';
    TO_HEX_STD_STRING(reinterpret_cast<const unsigned char*>(&byte), 1, out, 0);
  }
}

// Above FFFF in two halves (RFC 8259, 7).
void escape_for_json(std::string& out, std::string_view, wchar_t c) {
  constexpr unsigned first_high = 0x10000;
  // NOLINTNEXTLINE(bugprone-signed-char-misuse,cert-str34-c): a wide one, never negative
  const auto code = static_cast<unsigned>(c);
  const auto add = [&out](unsigned half) {
    const unsigned char octets[] = {static_cast<unsigned char>(half >> 8),
                                    static_cast<unsigned char>(half)};
    TO_HEX_STD_STRING(octets, sizeof octets, out += "\\u", 0);
  };
  if (code < first_high) {
    add(code);
    return;
  }
  add(0xD800 + ((code - first_high) >> 10));
  add(0xDC00 + (code & 0x3FF));
}

// `text` with `escape` of everything that is not safe; what is not UTF-8 comes byte by byte.
template <class Escape>
std::string escaped(std::string_view text, Escape escape) {
  std::string out;
  while (!text.empty()) {
    const auto* const plain_end = std::find_if_not(text.begin(), text.end(), is_plain);
    out.append(text.begin(), plain_end);
    text.remove_prefix(static_cast<std::size_t>(plain_end - text.begin()));
    if (text.empty()) {
      break;
    }
    wchar_t c = 0;
    std::mbstate_t state = {};
    const std::size_t read = std::mbrtowc(&c, text.data(), text.size(), &state);
    const bool valid = read != 0 && read <= text.size();
    const std::string_view unit = text.substr(0, valid ? read : 1);
    text.remove_prefix(unit.size());
    if (valid && is_printable(c)) {
      out += unit;
    } else {
      escape(out, unit, c);
    }
  }
  return out;
}

}  // namespace

std::string printable(std::string_view text) {
  return escaped(text, escape_bytes);
}

std::string printable_json(std::string_view json) {
  return escaped(json, escape_for_json);
}

void print_field(const char* name, const std::string& value) {
  constexpr int value_column = 19;
  std::cout << std::left << std::setw(value_column) << std::string(name) + ':' << printable(value)
            << '\n';
}
