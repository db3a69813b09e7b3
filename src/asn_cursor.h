// The reading cursor: every reader of the library walks its input with it.

#ifndef PKIDER_SRC_ASN_CURSOR_H
#define PKIDER_SRC_ASN_CURSOR_H

#include <cstring>

#include <pkider/asn_reader.h>

// The header of one element: its own size, and the length it declares.
struct asn1_header_t {
  unsigned size;  // 0 where there is no header
  unsigned len;
};

// Decodes the header that must begin the `n` bytes at `p` and have the identifier `type`. Whether
// the content fits is left to the caller. No other code looks at a length octet.
inline asn1_header_t asn1_decode_header_(asn_tag_t::Type type, const unsigned char* p, unsigned n) {
  if (n < 2) {
    return {0, 0};
  }
  if (type != asn_tag_t::ANY && p[0] != type) {  // Q2: one byte, whatever its tag number
    return {0, 0};
  }
  const unsigned first = p[1];
  if (first < 0x80) {
    return {2, first};
  }
  const unsigned count = first & 0x7F;
  if (count == 0 || count > 4 || n < count + 2) {
    return {0, 0};
  }
  unsigned length = p[2];
  for (unsigned i = 1; i < count; ++i) {
    length = length << 8 | p[2 + i];
  }
  return {2 + count, length};  // Q1: minimal or not
}

// Takes an element with this header off `cur`, if it fits.
inline bool asn1_take_(const asn1_header_t& header, asn_iter_t* cur, asn_iter_t* out) {
  out->len = header.len;
  if (header.len > cur->len - header.size) {
    out->ptr = nullptr;
    return false;
  }
  out->ptr = cur->ptr + header.size;
  cur->ptr = out->ptr + header.len;
  cur->len -= header.size + header.len;
  return true;
}

// Takes the next element, which must have the identifier `type`, off `cur`; its content is `out`.
// On failure `cur` is unchanged and out->ptr null. Unlike asn1_read_tag it never accepts content
// that ends beyond the cursor. `cur` and `out` must be two objects.
//
// Q3: readers take the elements they expect and never ask whether any bytes are left after them.
inline bool asn1_read_tag_i_(asn_tag_t::Type type, asn_iter_t* cur, asn_iter_t* out) {
  const asn1_header_t header = asn1_decode_header_(type, cur->ptr, cur->len);
  if (header.size == 2) {  // most are: apart, the compiler makes less of them
    return asn1_take_({2, header.len}, cur, out);
  }
  if (header.size == 0) {
    *out = {nullptr, header.len};
    return false;
  }
  return asn1_take_(header, cur, out);
}

// The same step with the identifier made from a class and a tag number below 31.
inline bool asn1_read_tag_i_(asn_tag::Class cls, unsigned char number, asn_iter_t* cur,
                             asn_iter_t* out) {
  const unsigned leading = cls == asn_tag::CONTEXT_PRIMITIVE ? 0x80U : (cls << 6 | 0x20U);
  return asn1_read_tag_i_(static_cast<asn_tag_t::Type>(leading | number), cur, out);
}

// Tells whether the next element of `cur`, if any, has the identifier `type`.
inline bool asn1_next_is_(asn_tag_t::Type type, const asn_iter_t& cur) {
  return cur.len != 0 && cur.ptr[0] == type;
}

inline blob_t asn1_view_(const asn_iter_t& content) {
  return {content.len, content.ptr};
}

// The same step, its content as a view, which is untouched on failure.
inline bool asn1_read_view_(asn_tag_t::Type type, asn_iter_t* cur, blob_t* out) {
  asn_iter_t content;
  if (!asn1_read_tag_i_(type, cur, &content)) {
    return false;
  }
  *out = asn1_view_(content);
  return true;
}

inline asn_iter_t asn1_iter_(const blob_t& view) {
  return {view.data, view.size};
}

// All of `whole` from `begin` on.
inline asn_iter_t asn1_rest_(const blob_t& whole, const unsigned char* begin) {
  return {begin, whole.size - static_cast<unsigned>(begin - whole.data)};
}

// All from `begin` up to `end`.
inline asn_iter_t asn1_range_(const unsigned char* begin, const unsigned char* end) {
  return {begin, static_cast<unsigned>(end - begin)};
}

// Compares OID content octets with a table of them.
template <unsigned N>
bool asn_oid_equal_(const blob_t& oid, const unsigned char (&table)[N]) {
  return oid.size == N && std::memcmp(oid.data, table, N) == 0;
}

#endif
