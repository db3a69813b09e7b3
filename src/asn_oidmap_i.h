// OID maps from the inside.

#ifndef PKIDER_SRC_ASN_OIDMAP_I_H
#define PKIDER_SRC_ASN_OIDMAP_I_H

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <list>
#include <vector>

#include "asn_oidmap.h"

// Reads one decimal number at `p`, up to `end` or the separator, on which it leaves `p`. Nothing to
// read is 0. False when another character stands there or the number does not fit 32 bits.
bool str_to_uint32_(const char*& p, const char* end, char sep, unsigned& value);

// Byte comparisons of two keys of one size. `head` packs what compare() sees of the first bytes, so
// that the order of heads is the order of keys wherever heads differ.
struct oid_memcmp_t {
  static constexpr unsigned head_size = 7;

  static int compare(const void* a, const void* b, unsigned size) {
    return std::memcmp(a, b, size);
  }
  static std::uint64_t head(const void* key, unsigned size) {
    const auto* bytes = static_cast<const unsigned char*>(key);
    std::uint64_t head = 0;
    for (unsigned i = 0; i < head_size; ++i) {
      head = head << 8 | (i < size ? bytes[i] : 0U);
    }
    return head;
  }
};

// ASCII case ignored, and nothing compared after a zero byte: strncasecmp in the C locale.
struct oid_strcmp_t {
  static constexpr unsigned head_size = 7;

  static unsigned lower(char c) {
    return static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
  }
  static int compare(const void* a, const void* b, unsigned size) {
    const auto* left = static_cast<const char*>(a);
    const auto* right = static_cast<const char*>(b);
    for (unsigned i = 0; i < size; ++i) {
      const unsigned l = lower(left[i]);
      const unsigned r = lower(right[i]);
      if (l != r) {
        return l < r ? -1 : 1;
      }
      if (l == 0) {
        break;
      }
    }
    return 0;
  }
  static std::uint64_t head(const void* key, unsigned size) {
    const auto* text = static_cast<const char*>(key);
    std::uint64_t head = 0;
    bool ended = false;
    for (unsigned i = 0; i < head_size; ++i) {
      ended = ended || i >= size || text[i] == 0;
      head = head << 8 | (ended ? 0U : lower(text[i]));
    }
    return head;
  }
};
