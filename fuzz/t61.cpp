// T.61, code pages and single code points. The first four bytes are a code point, and say where
// the text after them is cut in two.

#include <pkider/platform.h>
#include <pkider/t61.h>

#include "laws.h"

namespace {

// A prefix at the end may look at one byte behind the text.
bool convert(std::string_view text, std::string& out) {
  const exact_t input(std::string(text) + '\0');
  const std::string before = out;
  const bool converted = ldap_t61s_to_utf8s(reinterpret_cast<const char*>(input.data()),
                                            static_cast<unsigned>(text.size()), out);
  law(converted ? out.compare(0, before.size(), before) == 0 : out == before);
  return converted;
}

// Cut between two letters, a text converts to what its parts convert to.
void check_t61(std::string_view text, std::size_t cut) {
  std::size_t at = 0;
  while (at < cut && at < text.size()) {
    at += (text[at] & 0xF0) == 0xC0 ? 2 : 1;
  }
  at = std::min(at, text.size());
  std::string whole = "~", parts = "~";
  const bool converted = convert(text, whole);
  law(converted == (convert(text.substr(0, at), parts) && convert(text.substr(at), parts)));
  law(!converted || whole == parts);
}

void check_codepage(std::string_view text, codepage_t source) {
  const exact_t input(text);
  const CodepageConverter converter(source, CODEPAGE_UTF8);
  const unsigned size = converter.output_size(input.data(), input.size());
  const auto out = std::make_unique<char[]>(size);
  law(size == 0 || converter.convert(input.data(), input.size(), out.get(), size - 1) == 0);
  law(converter.convert(input.data(), input.size(), out.get(), size) == size);
}

}  // namespace

int harness_t61(const std::uint8_t* data, std::size_t size) {
  std::string_view text = text_of(data, size);
  const unsigned number = take_number(text);
  check_t61(text, number & 0xFF);
  check_codepage(text, CODEPAGE_UCS2BE);
  check_codepage(text, CODEPAGE_UCS4BE);
  const int needed = ldap_x_wc_to_utf8(nullptr, number, 0);
  const auto out = std::make_unique<char[]>(needed < 0 ? 0 : static_cast<unsigned>(needed));
  law(ldap_x_wc_to_utf8(out.get(), number, static_cast<unsigned>(needed)) == needed);
  return 0;
}
