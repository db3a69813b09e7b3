// Writing DER: an element is an expression of its parts, such as
//
//   sequence{oid{g_oid_PBKDF2}, sequence{octet_string{salt}, integer{iterations}}}
//
// which knows its encoded size before a byte is written and is then written once, in order, where
// it belongs: to the end of a string or of an element under construction.
//
// An expression copies no octets: what its parts show must live until it is written. Braces make
// every part where it stays. A part that has a name would be copied into the next; named{} only
// refers to it.
//
// A part is whatever has a size() of 64 bits and a write() of so many bytes, which takes the place
// of its first byte and returns the place after its last. Sizes past 32 bits are refused with
// std::bad_alloc before anything is written.

#ifndef PKIDER_SRC_DER_WRITER_H
#define PKIDER_SRC_DER_WRITER_H

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <utility>

#include <pkider/asn_reader.h>
#include <pkider/asn_tag.h>

#include "out_string.h"

// The content octets of an INTEGER.
struct integer_octets_t {
  unsigned char octets[5];
  unsigned size;
};

inline integer_octets_t integer_octets_(unsigned value) {
  integer_octets_t out = {};
  for (unsigned shift = 32; shift != 0;) {
    shift -= 8;
    const auto byte = static_cast<unsigned char>(value >> shift);
    if (byte == 0) {  // Q7: inner and trailing zero bytes go too
      continue;
    }
    out.size += out.size == 0 && byte >= 0x80;
    out.octets[out.size++] = byte;
  }
  out.size += out.size == 0;
  return out;
}

namespace asn1 {

// ---- Parts ----

// An identifier and a length alone.
struct header {
  unsigned char identifier;
  std::uint64_t content;

  std::uint64_t size() const { return asn_header_size_(content); }
  unsigned char* write(unsigned char* p) const {
    return content < 0x80 ? asn_put_header_(identifier, static_cast<unsigned char>(content), p)
                          : write_long(p);
  }

 private:
  // Out of line: it would be most of every writer's code.
  __attribute__((noinline)) unsigned char* write_long(unsigned char* p) const {
    return asn_put_header_(identifier, static_cast<unsigned>(content), p);
  }
};

// Octets as they are: complete elements, or the content of one.
class encoded {
 public:
  encoded(const blob_t& elements) : elements_(elements) {}
  std::uint64_t size() const { return elements_.size; }
  unsigned char* write(unsigned char* p) const {
    return std::copy_n(elements_.data, elements_.size, p);
  }

 private:
  blob_t elements_;
};

// An element of octets.
struct primitive {
  unsigned char identifier;
  blob_t octets;

  std::uint64_t size() const { return asn_header_size_(octets.size) + std::uint64_t{octets.size}; }
  unsigned char* write(unsigned char* p) const {
    return std::copy_n(octets.data, octets.size, header{identifier, octets.size}.write(p));
  }
};

// A part that has a name, by reference.
template <class Part>
struct named {
  const Part& part;

  std::uint64_t size() const { return part.size(); }
  unsigned char* write(unsigned char* p) const { return part.write(p); }
};
template <class Part>
named(const Part&) -> named<Part>;

// Up to three parts in a row. One template for each number, as members cannot be a pack.
template <class... Parts>
struct row;
template <class... Parts>
row(Parts...) -> row<Parts...>;

template <class A>
struct row<A> {
  A a;
  std::uint64_t total = a.size();

  std::uint64_t size() const { return total; }
  unsigned char* write(unsigned char* p) const { return a.write(p); }
};
template <class A, class B>
struct row<A, B> {
  A a;
  B b;
  std::uint64_t total = a.size() + b.size();

  std::uint64_t size() const { return total; }
  unsigned char* write(unsigned char* p) const { return b.write(a.write(p)); }
};
template <class A, class B, class C>
struct row<A, B, C> {
  A a;
  B b;
  C c;
  std::uint64_t total = a.size() + b.size() + c.size();

  std::uint64_t size() const { return total; }
  unsigned char* write(unsigned char* p) const { return c.write(b.write(a.write(p))); }
};

// An element of other parts.
template <unsigned char identifier, class... Parts>
struct element_t : row<Parts...> {
  std::uint64_t size() const { return asn_header_size_(this->total) + this->total; }
  unsigned char* write(unsigned char* p) const {
    return row<Parts...>::write(header{identifier, this->total}.write(p));
  }
};

// The last guide of each makes an element with one part of its own kind a wrapper, not a copy.
template <class... Parts>
struct sequence : element_t<asn_tag_t::SEQUENCE, Parts...> {};
template <class... Parts>
sequence(Parts...) -> sequence<Parts...>;
template <class... Parts>
sequence(sequence<Parts...>) -> sequence<sequence<Parts...>>;

template <class... Parts>
struct set : element_t<asn_tag_t::SET, Parts...> {};
template <class... Parts>
set(Parts...) -> set<Parts...>;
template <class... Parts>
set(set<Parts...>) -> set<set<Parts...>>;

// [0] EXPLICIT
template <class Part>
struct context_0 : element_t<asn_tag_t::CONTEXT_0, Part> {};
template <class Part>
context_0(Part) -> context_0<Part>;
template <class Part>
context_0(context_0<Part>) -> context_0<context_0<Part>>;

template <class Part>
struct octet_string : element_t<asn_tag_t::OCTET_STRING, Part> {};
template <class Part>
octet_string(Part) -> octet_string<Part>;
template <class Part>
octet_string(octet_string<Part>) -> octet_string<octet_string<Part>>;
octet_string(blob_t)->octet_string<encoded>;

template <unsigned N>
class table_t {
 public:
  table_t(const unsigned char (&octets)[N]) : octets_(octets) {}
  std::uint64_t size() const { return N; }
  unsigned char* write(unsigned char* p) const {
    std::memcpy(p, octets_, N);  // unlike std::copy_n without a call
    return p + N;
  }

 private:
  const unsigned char (&octets_)[N];
};

template <class Octets>
struct oid : element_t<asn_tag_t::OID, Octets> {};
template <unsigned N>
oid(const unsigned char (&)[N]) -> oid<table_t<N>>;
oid(blob_t)->oid<encoded>;

struct null {
  static std::uint64_t size() { return 2; }
  static unsigned char* write(unsigned char* p) { return header{asn_tag_t::NULL_TAG, 0}.write(p); }
};

class number_t {
 public:
  number_t(unsigned value) : content_(integer_octets_(value)) {}
  std::uint64_t size() const { return content_.size; }
  unsigned char* write(unsigned char* p) const {
    return std::copy_n(content_.octets, content_.size, p);
  }

 private:
  integer_octets_t content_;
};
struct integer : element_t<asn_tag_t::INTEGER, number_t> {};

// A part that is there or not.
template <class Part>
struct optional {
  bool present;
  Part part;

  std::uint64_t size() const { return present ? part.size() : 0; }
  unsigned char* write(unsigned char* p) const { return present ? part.write(p) : p; }
};
template <class Part>
optional(bool, Part) -> optional<Part>;

// What `to_part` makes of each member of a list. Parts of members are made twice, for their size
// and when they are written, and never kept.
template <class List, class ToPart>
struct each {
  const List& list;
  ToPart to_part;
  std::uint64_t total = sum();

  std::uint64_t size() const { return total; }
  unsigned char* write(unsigned char* p) const {
    for (const auto& member : list) {
      p = to_part(member).write(p);
    }
    return p;
  }
  std::uint64_t sum() const {
    std::uint64_t size = 0;
    for (const auto& member : list) {
      size += to_part(member).size();
    }
    return size;
  }
};
template <class List, class ToPart>
each(const List&, ToPart) -> each<List, ToPart>;

inline blob_t view(std::string_view s) {
  return {size32_(s.size()), reinterpret_cast<const unsigned char*>(s.data())};
}

// ---- Writing ----

// Appends to an element under construction, whose buffer grows at most once.
template <unsigned N, class Part>
void append(asn_tag_t_<N>& parent, const Part& part) {
  part.write(parent.append_room(size32_(part.size())));
}

// The same to a parent that may get any number of parts: room at least doubles when it grows, which
// the builder's own growth does not. Inlined, or else a part of few octets takes as long to pass as
// to write: names are written in a tenth less time.
template <unsigned N, class Part>
__attribute__((always_inline)) inline void append_one_of_many(asn_tag_t_<N>& parent,
                                                              const Part& part) {
  const unsigned size = size32_(part.size());
  if (parent.capacity - parent.len < std::uint64_t{size} + 6) {
    const bool may_double = parent.len < std::numeric_limits<unsigned>::max() / 4;
    parent.reserve(may_double ? std::max(parent.len, size) : size);
  }
  append(parent, part);
}

// Appends to a string, which may not hold what the part shows.
template <class Part>
void append(std::string& out, const Part& part) {
  part.write(reinterpret_cast<unsigned char*>(grow_string_(out, size32_(part.size()))));
}

// Where to write what will replace `out`: a new string, as parts may show what `out` holds, or the
// room of an empty one.
inline std::string room_for(std::string& out) {
  return out.empty() ? std::move(out) : std::string();
}

// Replaces a string, which may hold what the part shows.
template <class Part>
void assign(std::string& out, const Part& part) {
  std::string der = room_for(out);
  append(der, part);
  out = std::move(der);
}

// The same by way of the stack, without a new string, for a part that is mostly small and no
// secret.
template <class Part>
void assign_public(std::string& out, const Part& part) {
  unsigned char small[128];
  const unsigned size = size32_(part.size());
  if (size > sizeof small) {
    assign(out, part);
    return;
  }
  part.write(small);
  out.assign(reinterpret_cast<const char*>(small), size);
}

}  // namespace asn1

#endif
