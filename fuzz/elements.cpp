// Elements and INTEGERs. The first four bytes are a limit; the rest is DER.

#include <pkider/asn_tag.h>

#include "laws.h"

namespace {

// What a builder makes of the same content is not longer and reads back as the same element.
void check_builder(asn_tag_t::Type type, const unsigned char* content, unsigned length,
                   unsigned header) {
  asn_tag_t_<24> built(static_cast<unsigned char>(type), content, length / 2);
  built.append_bytes(content + length / 2, length - length / 2);
  unsigned again = 0;
  const unsigned char* const read =
      asn1_read_tag(type, built.encoded(), built.encoded_size(), &again);
  law(read != nullptr && again == length && std::equal(read, read + again, content));
  law(built.encoded_size() <= header + length);
}

void walk(asn_iter_t level, unsigned depth, unsigned limit) {
  unsigned length = 0;
  while (const unsigned char* const content =
             asn1_read_tag(asn_tag_t::ANY, level.ptr, level.len, &length)) {
    const unsigned header = static_cast<unsigned>(content - level.ptr);
    law(header >= 2 && header <= 6 && header <= level.len);
    if (length > level.len - header) {
      law(length > ~0U - header);
      return;
    }
    check_builder(asn_tag_t::Type{*level.ptr}, content, length, header);
    unsigned value = 0x5AA55AA5;
    law(asn_read_INTEGER(content, length, value, limit) || value == 0x5AA55AA5);
    if (depth != 0) {
      walk({content, length}, depth - 1, limit);
    }
    level = {content + length, level.len - header - length};
  }
}

}  // namespace

int harness_elements(const std::uint8_t* data, std::size_t size) {
  std::string_view rest = text_of(data, size);
  const unsigned limit = take_number(rest);
  const exact_t der(rest);
  walk({der.data(), der.size()}, 8, limit);
  return 0;
}
