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

// The order of entries by one of their keys: the shorter first, equal sizes by the byte comparison.
template <auto Key, auto Size, class Compare>
struct oid_map_compare_t {
  bool operator()(const OIDdescr_t& a, const OIDdescr_t& b) const {
    if (a.*Size != b.*Size) {
      return a.*Size < b.*Size;
    }
    return Compare::compare(a.*Key, b.*Key, a.*Size) < 0;
  }
};

// Entries in the order of one key. An ordered sequence rather than a tree: a search touches one
// short run of rows, and reads an entry's own bytes only where its head already matches.
template <auto Key, auto Size, class Compare>
class oid_index_t {
 public:
  // Takes in all entries of a map; of those with one key, only the first.
  void build(const std::list<OIDdescr_t>& entries) {
    rows_.clear();
    rows_.reserve(entries.size());
    for (const OIDdescr_t& entry : entries) {
      rows_.push_back({head_of(entry), &entry});
    }
    std::stable_sort(rows_.begin(), rows_.end(), precedes);
    const auto same = [](const row& a, const row& b) { return !precedes(a, b); };
    rows_.erase(std::unique(rows_.begin(), rows_.end(), same), rows_.end());
  }

  // The entry whose key equals that of `wanted`, or null.
  const OIDdescr_t* find(const OIDdescr_t& wanted) const {
    const row target = {head_of(wanted), &wanted};
    const auto found = std::lower_bound(rows_.begin(), rows_.end(), target, precedes);
    return found == rows_.end() || precedes(target, *found) ? nullptr : found->entry;
  }

 private:
  struct row {
    std::uint64_t head;  // size (up to 255), then the first bytes of the key
    const OIDdescr_t* entry;
  };

  static std::uint64_t head_of(const OIDdescr_t& entry) {
    const std::uint64_t size = std::min(entry.*Size, 255U);
    return size << 56 | Compare::head(entry.*Key, entry.*Size);
  }

  static bool precedes(const row& a, const row& b) {
    if (a.head != b.head) {
      return a.head < b.head;
    }
    return oid_map_compare_t<Key, Size, Compare>()(*a.entry, *b.entry);
  }

  std::vector<row> rows_;
};

struct OIDmaps_t {
  OIDmaps_t() = default;
  OIDmaps_t(const OIDmaps_t&) = delete;
  OIDmaps_t& operator=(const OIDmaps_t&) = delete;
  ~OIDmaps_t();

  std::list<OIDdescr_t> entries;  // in the order of the text; each owns its strings by oid_asn
  oid_index_t<&OIDdescr_t::oid_asn, &OIDdescr_t::oid_asn_size, oid_memcmp_t> by_asn;
  oid_index_t<&OIDdescr_t::oid_str, &OIDdescr_t::oid_str_size, oid_memcmp_t> by_str;
  oid_index_t<&OIDdescr_t::oid_sn, &OIDdescr_t::oid_sn_size, oid_strcmp_t> by_sn;
};

// Adds the entries of a map text to `map`.
void oid_map_parse_(OIDmaps_t& map, const char* text, unsigned size);

#endif
