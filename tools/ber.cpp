// BER to DER (X.690, 8 and 10), element by element.

#include "ber.h"

#include <pkider/asn_tag.h>

#include "asn_cursor.h"
#include "bytes.h"

namespace {

constexpr unsigned constructed = 0x20;
constexpr unsigned max_depth = 32;
constexpr unsigned char indefinite_length = 0x80;

bool is_indefinite(const asn_iter_t& cur) {
  return cur.len >= 2 && (cur.ptr[0] & constructed) != 0 && cur.ptr[1] == indefinite_length;
}

bool at_end_of_contents(const asn_iter_t& cur) {
  return cur.len >= 2 && cur.ptr[0] == 0 && cur.ptr[1] == 0;
}

void step(asn_iter_t& cur, unsigned count) {
  cur.ptr += count;
  cur.len -= count;
}

bool convert(asn_iter_t& cur, unsigned depth, std::string& out);

// The content of a constructed element, up to the end of `cur` or the end-of-contents octets.
bool convert_content(asn_iter_t& cur, bool indefinite, unsigned depth, bool pieces,
                     std::string& out) {
  while (indefinite ? !at_end_of_contents(cur) : cur.len != 0) {
    if (!pieces) {
      if (!convert(cur, depth + 1, out)) {
        return false;
      }
      continue;
    }
    std::string child;
    if (!convert(cur, depth + 1, child)) {
      return false;
    }
    asn_iter_t content = asn1_iter_(view(child));
    asn_iter_t piece;
    if (!asn1_read_tag_i_(asn_tag_t::OCTET_STRING, &content, &piece)) {
      return false;
    }
    out += to_string(asn1_view_(piece));
  }
  return true;
}

// Takes the next element off `cur` and appends it.
bool convert(asn_iter_t& cur, unsigned depth, std::string& out) {
  const bool indefinite = is_indefinite(cur);
  const unsigned char* begin = cur.ptr;
  asn_iter_t content;
  if (depth > max_depth || (!indefinite && !asn1_read_tag_i_(asn_tag_t::ANY, &cur, &content))) {
    return false;
  }
  if ((*begin & constructed) == 0) {
    out += to_string(asn1_view_(asn1_range_(begin, cur.ptr)));
    return true;
  }
  constexpr unsigned char constructed_octets = asn_tag_t::OCTET_STRING | constructed;
  const bool pieces = *begin == constructed_octets;
  std::string converted;
  if (indefinite) {
    step(cur, 2);
    if (!convert_content(cur, true, depth, pieces, converted)) {
      return false;
    }
    step(cur, 2);
  } else if (!convert_content(content, false, depth, pieces, converted)) {
    out += to_string(asn1_view_(asn1_range_(begin, cur.ptr)));
    return true;
  }
  out +=
      der_element(pieces ? static_cast<unsigned char>(asn_tag_t::OCTET_STRING) : *begin, converted);
  return true;
}

}  // namespace

bool ber_to_der(const blob_t& ber, std::string& der) {
  asn_iter_t cur = asn1_iter_(ber);
  der.clear();
  return convert(cur, 0, der);
}

bool ber_is_one_element(const blob_t& ber) {
  asn_iter_t cur = asn1_iter_(ber);
  const bool right_kind =
      asn1_next_is_(asn_tag_t::SEQUENCE, cur) || asn1_next_is_(asn_tag_t::OCTET_STRING, cur);
  std::string der;
  return right_kind && convert(cur, 0, der) && cur.len == 0;
}

std::string der_element(unsigned char tag, const std::string& content) {
  const asn_tag_t_<0> element(tag, content.data(), size32(content));
  return to_string({element.encoded_size(), element.encoded()});
}

bool read_octets(unsigned char primitive, asn_iter_t& cur, std::string& octets) {
  if (cur.len == 0) {
    return false;
  }
  const bool whole = cur.ptr[0] == primitive;
  asn_iter_t content;
  if ((!whole && cur.ptr[0] != (primitive | constructed)) ||
      !asn1_read_tag_i_(asn_tag_t::ANY, &cur, &content)) {
    return false;
  }
  octets.clear();
  if (!whole) {
    return convert_content(content, false, 0, true, octets);
  }
  octets = to_string(asn1_view_(content));
  return true;
}
