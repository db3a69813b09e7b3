// Single DER elements and small INTEGERs (X.690, 8.1, 8.3).

#include <cstdint>

#include <pkider/asn_reader.h>

#include "asn_cursor.h"
#include "out_string.h"

const unsigned char* asn1_read_tag(asn_tag_t::Type type, const unsigned char* p, unsigned n,
                                   unsigned* len) {
  const asn1_header_t header = asn1_decode_header_(type, p, n);
  if (header.size == 0) {
    return nullptr;
  }
  *len = header.len;
  return n < header.len + header.size ? nullptr : p + header.size;  // Q4: the sum wraps
}

bool asn_read_INTEGER(const void* p, unsigned n, unsigned& value, unsigned limit) {
  if (n == 0) {  // Q5
    return true;
  }
  const auto* byte = static_cast<const unsigned char*>(p);
  if ((*byte & 0x80) != 0) {
    return false;
  }
  std::uint64_t v = 0;
  for (const unsigned char* last = byte + n - 1; byte != last; ++byte) {
    v = v << 8 | *byte;
    if (v > limit) {  // Q6: never tested on the final number
      return false;
    }
  }
  value = static_cast<unsigned>(v << 8 | *byte);
  return true;
}

void asn_write_INTEGER(unsigned value, std::string& out) {
  char octets[5];
  unsigned count = 0;
  for (unsigned shift = 32; shift != 0;) {
    shift -= 8;
    const unsigned byte = value >> shift & 0xFF;
    if (byte == 0) {  // Q7: inner and trailing zero bytes go too
      continue;
    }
    if (count == 0 && byte >= 0x80) {
      octets[count++] = 0;
    }
    octets[count++] = static_cast<char>(byte);
  }
  if (count == 0) {
    octets[count++] = 0;
  }
  append_string_(out, {octets, count});
}
