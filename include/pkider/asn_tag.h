// Building DER: one element, its header kept right before its content.
//
// Content is appended without knowing its final length. The first six bytes of the buffer are
// reserved for the header, which is rewritten against the content after every append. Nest elements
// by finishing the child and appending it to its parent:
//
//   asn_tag_t_<32> algorithm(asn_tag_t::SEQUENCE);
//   algorithm.append_element(asn_tag_t::OID, oid, sizeof oid);
//   asn_tag_t_<64> sequence(asn_tag_t::SEQUENCE);
//   sequence.append_tag(algorithm);
//   der.assign(reinterpret_cast<const char*>(sequence.encoded()), sequence.encoded_size());
//
// Lengths are always minimal. Every operation that grows the buffer throws std::bad_alloc when
// memory runs out or the buffer would pass 32 bits, and then leaves the element as it was. A
// builder belongs to one thread at a time.

#ifndef PKIDER_ASN_TAG_H
#define PKIDER_ASN_TAG_H

#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>

#include "asn_reader.h"

// The size of the identifier and the minimal length before `content` bytes.
inline unsigned asn_header_size_(std::uint64_t content) {
  return content < 0x80        ? 2
         : content < 0x100     ? 3
         : content < 0x10000   ? 4
         : content < 0x1000000 ? 5
                               : 6;
}

// Writes both to `p`; returns where the content begins.
inline unsigned char* asn_put_header_(unsigned char identifier, unsigned content,
                                      unsigned char* p) {
  *p++ = identifier;
  if (content < 0x80) {
    *p++ = static_cast<unsigned char>(content);
    return p;
  }
  const unsigned count = asn_header_size_(content) - 2;
  *p++ = static_cast<unsigned char>(0x80 | count);
  for (unsigned i = count; i != 0; content >>= 8) {
    p[--i] = static_cast<unsigned char>(content);
  }
  return p + count;
}

// The data of a builder. Read them freely; only the builder's operations may change them.
template <unsigned N>
struct asn_tag_fields_t_ {
  unsigned char tag;   // the identifier octet
  unsigned size;       // the encoded size: header and content
  unsigned char* buf;  // inline_buf, or a heap array; content starts at buf + 6
  unsigned capacity;   // bytes in buf, header area included
  unsigned len;        // content bytes so far
  unsigned char inline_buf[N];
};

template <>
struct asn_tag_fields_t_<0> {
  unsigned char tag;
  unsigned size;
  unsigned char* buf;
  unsigned capacity;
  unsigned len;
  static constexpr unsigned char* inline_buf = nullptr;
};

// One element under construction, with room for N - 6 content bytes in the object itself; beyond
// that, and always for N below 6, its bytes are on the heap. Not copyable: it owns its buffer.
template <unsigned N>
class asn_tag_t_ : public asn_tag_fields_t_<N> {
 public:
  // The empty element: `tag`, then a length of 0.
  explicit asn_tag_t_(unsigned char identifier) {
    if constexpr (N < header_room) {
      buf = new unsigned char[header_room + spare];
      capacity = header_room + spare;
    } else {
      buf = inline_buf;
      capacity = N;
    }
    reset(identifier);
  }

  // The element with `count` bytes of `content`.
  asn_tag_t_(unsigned char identifier, const void* content, unsigned count)
      : asn_tag_t_(identifier) {
    append_bytes(content, count);
  }

  asn_tag_t_(const asn_tag_t_&) = delete;
  asn_tag_t_& operator=(const asn_tag_t_&) = delete;

  ~asn_tag_t_() { release(); }

  // reserve makes room for `extra` more content bytes, so that appending them moves nothing. When
  // the buffer must grow it gets exactly 16 bytes more than needed: a writer with many children to
  // append reserves for all of them at once.
  void reserve(unsigned extra) {
    if (capacity < std::uint64_t{len} + extra + header_room) {
      grow(extra);
    }
  }

  // append_bytes appends `count` bytes, copied from `source`, to the content. `source` may be null
  // when `count` is 0, and must not lie inside this builder.
  void append_bytes(const void* source, unsigned count) {
    std::copy_n(static_cast<const unsigned char*>(source), count, append_room(count));
  }

  // append_tag appends the complete encoding of another element. A builder cannot be its own child.
  template <unsigned M>
  void append_tag(const asn_tag_t_<M>& child) {
    append_bytes(child.encoded(), child.encoded_size());
  }

  // append_element appends an element with `count` bytes of `content`: what append_tag does with a
  // builder of them, without one. For `content` holds what holds for `source` above.
  void append_element(unsigned char identifier, const void* content, unsigned count) {
    const unsigned header = asn_header_size_(count);
    if (count > std::numeric_limits<unsigned>::max() - header) {
      throw std::bad_alloc();
    }
    unsigned char* begin = asn_put_header_(identifier, count, append_room(header + count));
    std::copy_n(static_cast<const unsigned char*>(content), count, begin);
  }

  // append_room appends `count` bytes for the caller to write at once: what they hold until then is
  // undefined. Returns the first, valid like encoded().
  unsigned char* append_room(unsigned count) {
    reserve(count);
    unsigned char* room = buf + (header_room + len);
    len += count;
    write_header();
    return room;
  }

  // reset makes this an empty element again, with another identifier, and keeps its buffer.
  void reset(unsigned char identifier) {
    tag = identifier;
    len = 0;
    write_header();
  }

  // The finished encoding: encoded_size() bytes, valid until the next operation that changes the
  // builder, or its end.
  const unsigned char* encoded() const { return buf + header_room + len - size; }
  unsigned encoded_size() const { return size; }

  using asn_tag_fields_t_<N>::tag;
  using asn_tag_fields_t_<N>::size;
  using asn_tag_fields_t_<N>::buf;
  using asn_tag_fields_t_<N>::capacity;
  using asn_tag_fields_t_<N>::len;
  using asn_tag_fields_t_<N>::inline_buf;

 private:
  static constexpr unsigned header_room = 6;
  static constexpr unsigned spare = 16;

  void grow(unsigned extra) {
    const std::uint64_t wanted = std::uint64_t{len} + extra + header_room + spare;
    if (wanted > std::numeric_limits<unsigned>::max()) {
      throw std::bad_alloc();
    }
    auto* grown = new unsigned char[static_cast<unsigned>(wanted)];
    std::copy_n(buf, len + header_room, grown);
    release();
    buf = grown;
    capacity = static_cast<unsigned>(wanted);
  }

  void release() {
    if (buf != inline_buf) {
      delete[] buf;
    }
  }

  void write_header() {
    const unsigned header = asn_header_size_(len);
    asn_put_header_(tag, len, buf + header_room - header);
    size = header + len;
  }
};

#endif
