// Writing DER: an element is an expression of its parts, such as
//
//   sequence(oid(g_oid_PBKDF2), sequence(octet_string(salt), integer(iterations)))
//
// which knows its encoded size before a byte is written and is then written once, in order, where
// it belongs: to the end of a string or of an element under construction.
//
// An expression copies nothing: what its parts show must live until it is written. A part is
// whatever has a size() of 64 bits and a write() of so many bytes. Sizes past 32 bits are refused
// with std::bad_alloc before anything is written.

#ifndef PKIDER_SRC_DER_WRITER_H
#define PKIDER_SRC_DER_WRITER_H

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <tuple>
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

// ---- Where parts are written: a place takes octets and gives the place after them ----

// Memory that has room for all.
inline unsigned char* put(unsigned char* p, const unsigned char* octets, unsigned count) {
  if (count != 0) {
    std::memcpy(p, octets, count);
  }
  return p + count;
}
inline unsigned char* put_header(unsigned char* p, unsigned char identifier,
                                 std::uint64_t content) {
  return asn_put_header_(identifier, static_cast<unsigned>(content), p);
}

// The end of a string that has room reserved for all. A string cannot grow without zeroes where the
// parts will be: they are put there little by little, while the processor's cache holds them, and
// not where many octets follow at once.
struct string_end_t {
  std::string* s;
  unsigned char* next;
  std::size_t zeroes;  // from `next` to the end of the string
};

constexpr unsigned few_octets = 256;

inline string_end_t end_of(std::string* s) {
  return {s, reinterpret_cast<unsigned char*>(s->data()) + s->size(), 0};
}
// What was not needed of the string's zeroes goes.
inline void trim(string_end_t p) {
  p.s->resize(p.s->size() - p.zeroes);
}
inline string_end_t make_zeroes(string_end_t p) {
  trim(p);
  const std::size_t size = p.s->size();
  p.s->resize(std::min(p.s->capacity(), size + few_octets));
  return {p.s, p.next, p.s->size() - size};
}
inline string_end_t put(string_end_t p, const unsigned char* octets, unsigned count) {
  if (count > few_octets) {
    trim(p);
    p.s->append(reinterpret_cast<const char*>(octets), count);
    return end_of(p.s);
  }
  if (p.zeroes < count) {
    p = make_zeroes(p);
  }
  return {p.s, put(p.next, octets, count), p.zeroes - count};
}
inline string_end_t put_header(string_end_t p, unsigned char identifier, std::uint64_t content) {
  const unsigned size = asn_header_size_(content);
  if (p.zeroes < size) {
    p = make_zeroes(p);
  }
  return {p.s, put_header(p.next, identifier, content), p.zeroes - size};
}

// ---- Parts ----

// Complete elements, as they are.
class encoded_t {
 public:
  explicit encoded_t(const blob_t& elements) : elements_(elements) {}
  std::uint64_t size() const { return elements_.size; }
  template <class Place>
  Place write(Place p) const {
    return put(p, elements_.data, elements_.size);
  }

 private:
  blob_t elements_;
};

// An identifier and a length alone.
class header_t {
 public:
  header_t(unsigned char identifier, std::uint64_t content)
      : identifier_(identifier), content_(content) {}
  std::uint64_t size() const { return asn_header_size_(content_); }
  template <class Place>
  Place write(Place p) const {
    return put_header(p, identifier_, content_);
  }

 private:
  unsigned char identifier_;
  std::uint64_t content_;
};

// An element of octets.
class primitive_t {
 public:
  primitive_t(unsigned char identifier, const blob_t& octets)
      : identifier_(identifier), octets_(octets) {}
  std::uint64_t size() const { return asn_header_size_(octets_.size) + encoded_t(octets_).size(); }
  template <class Place>
  Place write(Place p) const {
    return put(put_header(p, identifier_, octets_.size), octets_.data, octets_.size);
  }

 private:
  unsigned char identifier_;
  blob_t octets_;
};

template <unsigned N>
class oid_t {
 public:
  explicit oid_t(const unsigned char (&octets)[N]) : octets_(octets) {}
  std::uint64_t size() const { return asn_header_size_(N) + N; }
  template <class Place>
  Place write(Place p) const {
    return put(put_header(p, asn_tag_t::OID, N), octets_, N);
  }

 private:
  const unsigned char (&octets_)[N];
};

class integer_t {
 public:
  explicit integer_t(unsigned value) : content_(integer_octets_(value)) {}
  std::uint64_t size() const { return asn_header_size_(content_.size) + content_.size; }
  template <class Place>
  Place write(Place p) const {
    return put(put_header(p, asn_tag_t::INTEGER, content_.size), content_.octets, content_.size);
  }

 private:
  integer_octets_t content_;
};

// Parts in a row.
template <class... Parts>
class parts_t {
 public:
  explicit parts_t(const Parts&... parts)
      : size_((std::uint64_t{0} + ... + parts.size())), parts_(parts...) {}
  std::uint64_t size() const { return size_; }
  template <class Place>
  Place write(Place p) const {
    std::apply([&p](const auto&... part) { ((p = part.write(p)), ...); }, parts_);
    return p;
  }

 private:
  std::uint64_t size_;
  std::tuple<Parts...> parts_;
};

// An element of other parts.
template <unsigned char identifier, class... Parts>
class element_t {
 public:
  explicit element_t(const Parts&... parts)
      : content_((std::uint64_t{0} + ... + parts.size())), parts_(parts...) {}
  std::uint64_t size() const { return asn_header_size_(content_) + content_; }
  template <class Place>
  Place write(Place p) const {
    p = put_header(p, identifier, content_);
    std::apply([&p](const auto&... part) { ((p = part.write(p)), ...); }, parts_);
    return p;
  }

 private:
  std::uint64_t content_;
  std::tuple<Parts...> parts_;
};

// Parts that are there or not.
template <class... Parts>
class optional_t {
 public:
  explicit optional_t(bool present, const Parts&... parts) : present_(present), parts_(parts...) {}
  std::uint64_t size() const {
    const auto sum = [](const auto&... part) { return (std::uint64_t{0} + ... + part.size()); };
    return present_ ? std::apply(sum, parts_) : 0;
  }
  template <class Place>
  Place write(Place p) const {
    if (present_) {
      std::apply([&p](const auto&... part) { ((p = part.write(p)), ...); }, parts_);
    }
    return p;
  }

 private:
  bool present_;
  std::tuple<Parts...> parts_;
};

// What `to_part` makes of each member of a list. Parts of members are made twice, for their size
// and when they are written, and never kept.
template <class List, class ToPart>
class list_t {
 public:
  list_t(const List& list, ToPart to_part) : list_(list), to_part_(to_part) {
    for (const auto& member : list_) {
      size_ += to_part_(member).size();
    }
  }
  std::uint64_t size() const { return size_; }
  template <class Place>
  Place write(Place p) const {
    for (const auto& member : list_) {
      p = to_part_(member).write(p);
    }
    return p;
  }

 private:
  const List& list_;
  ToPart to_part_;
  std::uint64_t size_ = 0;
};

// ---- The same under the names of ASN.1 ----

template <class... Parts>
auto sequence(const Parts&... parts) {
  return element_t<asn_tag_t::SEQUENCE, Parts...>(parts...);
}
template <class... Parts>
auto set(const Parts&... parts) {
  return element_t<asn_tag_t::SET, Parts...>(parts...);
}
// [0] EXPLICIT
template <class Part>
auto context_0(const Part& part) {
  return element_t<asn_tag_t::CONTEXT_0, Part>(part);
}
template <class Part>
auto octet_string(const Part& part) {
  return element_t<asn_tag_t::OCTET_STRING, Part>(part);
}
inline auto octet_string(const blob_t& octets) {
  return primitive_t(asn_tag_t::OCTET_STRING, octets);
}
inline auto null() {
  return primitive_t(asn_tag_t::NULL_TAG, {});
}
inline auto integer(unsigned value) {
  return integer_t(value);
}
template <unsigned N>
auto oid(const unsigned char (&octets)[N]) {
  return oid_t<N>(octets);
}
inline auto oid(const blob_t& octets) {
  return primitive_t(asn_tag_t::OID, octets);
}
template <class... Parts>
auto optional(bool present, const Parts&... parts) {
  return optional_t<Parts...>(present, parts...);
}
template <class List, class ToPart>
auto sequence_of(const List& list, ToPart to_part) {
  return sequence(list_t<List, ToPart>(list, to_part));
}
inline auto primitive(unsigned char identifier, const blob_t& octets) {
  return primitive_t(identifier, octets);
}
inline auto encoded(const blob_t& elements) {
  return encoded_t(elements);
}

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
// the builder's own growth does not.
template <unsigned N, class Part>
void append_one_of_many(asn_tag_t_<N>& parent, const Part& part) {
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

// The same for a part of any size, without zeroes in all its memory before its octets.
template <class Part>
void append_large(std::string& out, const Part& part) {
  constexpr unsigned cached = 1U << 20;  // zeroes that stay in the cache cost less than steps
  if (part.size() < cached) {
    append(out, part);
    return;
  }
  reserve_string_(out, size32_(part.size()));
  trim(part.write(end_of(&out)));
}

// Replaces a string, which may hold what the part shows.
template <class Part>
void assign(std::string& out, const Part& part) {
  std::string der;
  append(der, part);
  out = std::move(der);
}

}  // namespace asn1

#endif
