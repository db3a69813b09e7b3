// Elements that go into elements and strings.

#ifndef PKIDER_SRC_DER_WRITER_H
#define PKIDER_SRC_DER_WRITER_H

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>

#include <pkider/asn_tag.h>

#include "out_string.h"

// Appends a child to a parent that may get any number of them: room at least doubles when it grows,
// which the builder's own growth does not.
template <unsigned N, unsigned M>
void append_one_of_many_(asn_tag_t_<N>& parent, const asn_tag_t_<M>& child) {
  if (parent.capacity - parent.len < std::uint64_t{child.size} + 6) {
    const bool may_double = parent.len < std::numeric_limits<unsigned>::max() / 4;
    parent.reserve(may_double ? std::max(parent.len, child.size) : child.size);
  }
  parent.append_tag(child);
}

template <unsigned N>
void append_INTEGER_(asn_tag_t_<N>& parent, unsigned value) {
  std::string octets;
  asn_write_INTEGER(value, octets);
  parent.append_element(asn_tag_t::INTEGER, octets.data(), size32_(octets));
}

// Replaces `out` with a finished element.
template <unsigned N>
void assign_tag_(std::string& out, const asn_tag_t_<N>& element) {
  out.assign(reinterpret_cast<const char*>(element.encoded()), element.encoded_size());
}

#endif
