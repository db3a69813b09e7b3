// T.61, code pages and single code points. The first four bytes are a code point; the rest is text.

#include <pkider/platform.h>
#include <pkider/t61.h>

#include "model.h"

namespace {

// A prefix at the end looks at the byte after the text.
void check_t61(std::string_view text) {
  const exact_t input(std::string(text) + '\0');
  const model::text_t expected = model::t61_to_utf8(text);
  std::string out = "~";
  law(ldap_t61s_to_utf8s(input.text(), static_cast<unsigned>(text.size()), out) ==
      expected.has_value());
  law(out == '~' + expected.value_or(""));
}

void check_codepage(std::string_view text, codepage_t source) {
  const exact_t input(text);
  const CodepageConverter converter(source, CODEPAGE_UTF8);
  const unsigned size = converter.output_size(input.data(), input.size());
  std::string out(size, '~');
  law(size == 0 || converter.convert(input.data(), input.size(), out.data(), size - 1) == 0);
  law(converter.convert(input.data(), input.size(), out.data(), size) == size);
  law(out == model::wide_to_utf8(text, source).value_or(""));
}

}  // namespace

int harness_t61(const std::uint8_t* data, std::size_t size) {
  std::string_view text = text_of(data, size);
  const unsigned number = take_number(text);
  check_t61(text);
  check_codepage(text, CODEPAGE_UCS2BE);
  check_codepage(text, CODEPAGE_UCS4BE);
  const std::string expected = number >> 31 != 0 ? "" : model::utf8(number);
  std::string out(expected.size(), '~');
  const int needed = number >> 31 != 0 ? -1 : static_cast<int>(out.size());
  law(ldap_x_wc_to_utf8(nullptr, number, 0) == needed);
  law(ldap_x_wc_to_utf8(out.data(), number, static_cast<unsigned>(out.size())) == needed);
  law(out == expected);
  return 0;
}
