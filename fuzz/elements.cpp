// Elements and INTEGERs. The first four bytes are a limit; the rest is DER.

#include <pkider/asn_tag.h>

#include "model.h"

namespace {

// Built in two halves, and as a child. What our own encoder makes of it is found whole, and
// refused without its last byte and under another tag.
void check_builder(unsigned char tag, const std::string& content) {
  const std::string encoded = der(tag, content);
  const auto half = static_cast<unsigned>(content.size() / 2);
  asn_tag_t_<24> built(tag, content.data(), half);
  built.append_bytes(content.data() + half, static_cast<unsigned>(content.size()) - half);
  asn_tag_t_<0> parent(0x30);
  parent.append_element(tag, content.data(), static_cast<unsigned>(content.size()));
  parent.append_tag(built);
  law(bytes_of(blob_t{built.encoded_size(), built.encoded()}) == encoded);
  law(bytes_of(blob_t{parent.encoded_size(), parent.encoded()}) == der(0x30, encoded + encoded));

  const exact_t element(encoded);
  unsigned length = 0;
  const auto find = [&](unsigned type, unsigned size) {
    return asn1_read_tag(asn_tag_t::Type{type}, element.data(), size, &length);
  };
  const unsigned char* const read = find(tag, element.size());
  law(read != nullptr && bytes_of(blob_t{length, read}) == content);
  law(find(tag, element.size() - 1) == nullptr);
  law(tag == 1 || find(tag ^ 1U, element.size()) == nullptr);
}

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
    check_builder(*level.ptr, octets);
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
