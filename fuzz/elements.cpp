// Elements and INTEGERs. The first four bytes are a limit; the rest is DER.

#include "model.h"

namespace {

// Below, on and above the limit that the number needs.
void check_INTEGER(const std::string& octets, unsigned limit) {
  const unsigned needed = number_of(octets.substr(0, octets.size() - 1));
  for (const unsigned tried : {limit, needed, needed - 1, needed + 1}) {
    unsigned value = 0x5AA55AA5;
    const auto expected = model::read_INTEGER(octets, tried);
    law(asn_read_INTEGER(octets.data(), static_cast<unsigned>(octets.size()), value, tried) ==
        expected.has_value());
    law(value == expected.value_or(0x5AA55AA5));
  }
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
    const std::string octets = bytes_of(blob_t{length, content});
    if (length != 0) {
      check_INTEGER(octets, limit);
    }
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
