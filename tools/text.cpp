#include "text.h"

#include <cwchar>
#include <cwctype>
#include <iomanip>
#include <iostream>

#include <pkider/int2str.h>

std::string hex(const blob_t& view, char separator) {
  std::string text;
  return TO_HEX_STD_STRING(view.data, view.size, text, separator);
}

namespace {

// Characters that change the direction of the text around them.
bool is_direction_mark(wchar_t c) {
  return c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E) ||
         (c >= 0x2066 && c <= 0x2069);
}

bool is_printable(wchar_t c) {
  return std::iswprint(static_cast<std::wint_t>(c)) != 0 && !is_direction_mark(c);
}

}  // namespace

std::string printable(std::string_view text) {
  std::string out;
  while (!text.empty()) {
    wchar_t c = 0;
    std::mbstate_t state = {};
    const std::size_t read = std::mbrtowc(&c, text.data(), text.size(), &state);
    const bool valid = read != 0 && read <= text.size();
    const std::string_view unit = text.substr(0, valid ? read : 1);
    text.remove_prefix(unit.size());
    if (valid && is_printable(c)) {
      out += unit;
      continue;
    }
    for (const char byte : unit) {
      out += '\\';
      TO_HEX_STD_STRING(reinterpret_cast<const unsigned char*>(&byte), 1, out, 0);
    }
  }
  return out;
}

void print_field(const char* name, const std::string& value) {
  constexpr int value_column = 19;
  std::cout << std::left << std::setw(value_column) << std::string(name) + ':' << printable(value)
            << '\n';
}
