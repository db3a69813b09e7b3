// T.61 and code pages.

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
  const std::string_view text = text_of(data, size);
  check_t61(text);
  check_codepage(text, CODEPAGE_UCS2BE);
  check_codepage(text, CODEPAGE_UCS4BE);
  return 0;
}
