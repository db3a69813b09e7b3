#include "prf_parameters.h"

#include <pkider/asn_tag.h>

#include "asn_cursor.h"

namespace {

constexpr unsigned char bare_prf[] = {0x30, 0x08, 0x06, 0x06, 0x2A, 0x85, 0x03, 0x02, 0x02, 0x0A};
constexpr unsigned char null_parameters[] = {0x05, 0x00};
constexpr unsigned constructed = 0x20;
// A PRF stands at most 17 elements deep: in a shrouded key of a PFX.
constexpr unsigned max_depth = 20;

bool holds_elements(unsigned char tag, const asn_iter_t& content) {
  asn_iter_t cur = content;
  asn_iter_t sequence;
  return (tag & constructed) != 0 ||
         (tag == asn_tag_t::OCTET_STRING &&
          asn1_read_tag_i_(asn_tag_t::SEQUENCE, &cur, &sequence) && cur.len == 0);
}

void append(std::string& out, const unsigned char* begin, const unsigned char* end) {
  out.append(reinterpret_cast<const char*>(begin), static_cast<std::size_t>(end - begin));
}

// Returns whether anything was added.
bool copy(asn_iter_t cur, unsigned depth, std::string& out) {
  bool changed = false;
  asn_iter_t content;
  for (const unsigned char* begin = cur.ptr; asn1_read_tag_i_(asn_tag_t::ANY, &cur, &content);
       begin = cur.ptr) {
    std::string inner;
    if (asn_oid_equal_(asn1_view_(asn1_range_(begin, cur.ptr)), bare_prf)) {
      append(inner, content.ptr, cur.ptr);
      append(inner, std::begin(null_parameters), std::end(null_parameters));
    } else if (depth == max_depth || !holds_elements(*begin, content) ||
               !copy(content, depth + 1, inner)) {
      append(out, begin, cur.ptr);
      continue;
    }
    const asn_tag_t_<0> rebuilt(*begin, inner.data(), static_cast<unsigned>(inner.size()));
    append(out, rebuilt.encoded(), rebuilt.encoded() + rebuilt.encoded_size());
    changed = true;
  }
  append(out, cur.ptr, cur.ptr + cur.len);
  return changed;
}

}  // namespace

std::string with_prf_parameters(const blob_t& der) {
  std::string out;
  copy(asn1_iter_(der), 0, out);
  return out;
}
