// Single DER elements and small INTEGERs (X.690, 8.1, 8.3).

#include <cstdint>
#include <string>

#include <pkider/asn_reader.h>

#include "asn_cursor.h"
#include "der_writer.h"
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
  const integer_octets_t content = integer_octets_(value);
  append_string_(out, {reinterpret_cast<const char*>(content.octets), content.size});
}
