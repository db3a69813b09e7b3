// The entries of an OID map in the order of one of their keys, to be found by it.
//
// An ordered sequence, searched by halves, and in front of it a table of slots that mostly names
// the right entry without a search.
//
// A lookup, step by step: the entry whose DER content octets are 55 04 03 (2.5.4.3).
//
//   slot    hint + 8 * size, modulo 128: 3 + 24 = 27. The hint of DER and dotted text is the last
//           byte, which tells attribute types apart; that of short names is made of the first two.
//   empty   Every entry's own slot is taken: by itself, or by the first of several that share the
//           slot. An empty slot therefore means that no entry has this key.
//   hit     The entry in the slot has the key 55 04 03: found.
//   search  With another entry there, such as 2A 0B (1.2.11: 11 + 16 is 27, too), the key may still
//           be in the sequence, which is searched in its order.

#ifndef PKIDER_SRC_OID_INDEX_H
#define PKIDER_SRC_OID_INDEX_H

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <list>
#include <utility>
#include <vector>

#include <pkider/asn_oidmap.h>

// Byte comparisons of two keys of one size. `folded` is how one byte counts in them. Keys that are
// equal have one `hint`, and keys of one map mostly have different ones.
struct oid_memcmp_t {
  static unsigned hint(const unsigned char* key, unsigned size) {
    return size == 0 ? 0 : key[size - 1];
  }
  static int compare(const void* a, const void* b, unsigned size) {
    return std::memcmp(a, b, size);
  }
  // What needs no call: keys of three bytes, as most attribute types have, in two pairs that
  // overlap.
  static bool equal_at_once(const void* a, const void* b, unsigned size) {
    const auto* left = static_cast<const unsigned char*>(a);
    const auto* right = static_cast<const unsigned char*>(b);
    return size == 3 && std::memcmp(left, right, 2) == 0 &&
           std::memcmp(left + 1, right + 1, 2) == 0;
  }
  static unsigned folded(unsigned char c) { return c; }
  static bool ends_key(unsigned char) { return false; }
};

// ASCII case ignored, and nothing compared after a zero byte: strncasecmp in the C locale.
struct oid_strcmp_t {
  static unsigned hint(const unsigned char* key, unsigned size) {
    const unsigned first = size == 0 ? 0 : folded(key[0]);
    return size < 2 || first == 0 ? first : first + 2 * folded(key[1]);
  }
  static int compare(const void* a, const void* b, unsigned size) {
    const auto* left = static_cast<const unsigned char*>(a);
    const auto* right = static_cast<const unsigned char*>(b);
    for (unsigned i = 0; i < size; ++i) {
      if (left[i] != right[i] && folded(left[i]) != folded(right[i])) {
        return folded(left[i]) < folded(right[i]) ? -1 : 1;
      }
      if (left[i] == 0) {
        break;
      }
    }
    return 0;
  }
  static bool equal_at_once(const void* a, const void* b, unsigned size) {
    return compare(a, b, size) == 0;
  }
  static unsigned folded(unsigned char c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; }
  static bool ends_key(unsigned char c) { return c == 0; }
};

// The order of entries by one of their keys: the shorter first, equal sizes by the byte comparison.
template <auto Key, auto Size, class Compare>
struct oid_map_compare_t {
  static bool precedes(const OIDdescr_t* a, const OIDdescr_t* b) {
    if (a->*Size != b->*Size) {
      return a->*Size < b->*Size;
    }
    return Compare::compare(a->*Key, b->*Key, a->*Size) < 0;
  }
};

// What one sorts by: entries lie apart in memory, heads do not.
struct headed_entry_t {
  static constexpr unsigned key_bytes = 7;

  std::uint64_t head;  // size of the key (up to 255), then its first bytes as they compare
  const OIDdescr_t* entry;

  bool has_whole_key() const { return head >> 8 * key_bytes <= key_bytes; }
};

// The entries in order; of those that are equal only the first. `precedes` decides between keys
// that are longer than their heads.
std::vector<const OIDdescr_t*> sorted_entries_(std::vector<headed_entry_t> entries,
                                               bool (*precedes)(const OIDdescr_t* a,
                                                                const OIDdescr_t* b));

template <auto Key, auto Size, class Compare>
class oid_index_t {
 public:
  // Takes in all entries of a map; Q13: of those with one key, only the first.
  void build(const std::list<OIDdescr_t>& entries) {
    std::vector<headed_entry_t> headed;
    headed.reserve(entries.size());
    for (const OIDdescr_t& entry : entries) {
      headed.push_back({head_of(entry), &entry});
    }
    entries_ = sorted_entries_(std::move(headed), precedes);
    slots_.fill(nullptr);
    // From the last to the first, so that the shortest key of a slot keeps it.
    for (auto entry = entries_.rbegin(); entry != entries_.rend(); ++entry) {
      slots_[slot_of((*entry)->*Key, (*entry)->*Size)] = *entry;
    }
  }

  // The entry with this key, or null.
  template <class Char>
  const OIDdescr_t* find(const Char* key, unsigned size) const {
    const OIDdescr_t* entry = slots_[slot_of(key, size)];
    const bool no_such_key = entry == nullptr;
    if (no_such_key || (entry->*Size == size && Compare::equal_at_once(entry->*Key, key, size))) {
      return entry;
    }
    return search(*entry, key, size);
  }

 private:
  static constexpr auto precedes = oid_map_compare_t<Key, Size, Compare>::precedes;
  // Few, since every program that starts pays for the memory that the default maps touch.
  static constexpr unsigned slots = 128;

  static std::uint64_t head_of(const OIDdescr_t& entry) {
    const auto* key = reinterpret_cast<const unsigned char*>(entry.*Key);
    const unsigned size = std::min(entry.*Size, headed_entry_t::key_bytes);
    std::uint64_t head = std::min(entry.*Size, 255U);
    unsigned i = 0;
    for (; i < size && !Compare::ends_key(key[i]); ++i) {
      head = head << 8 | Compare::folded(key[i]);
    }
    return head << 8 * (headed_entry_t::key_bytes - i);
  }

  static std::size_t slot_of(const void* key, unsigned size) {
    return (Compare::hint(static_cast<const unsigned char*>(key), size) + size * 8) % slots;
  }

  // Not part of find(), which would save registers for it first.
  template <class Char>
  __attribute__((noinline)) const OIDdescr_t* search(const OIDdescr_t& in_slot, const Char* key,
                                                     unsigned size) const {
    if (in_slot.*Size == size && Compare::compare(in_slot.*Key, key, size) == 0) {
      return &in_slot;
    }
    OIDdescr_t wanted = {};
    wanted.*Key = key;
    wanted.*Size = size;
    const auto found = std::lower_bound(entries_.begin(), entries_.end(), &wanted, precedes);
    return found == entries_.end() || precedes(&wanted, *found) ? nullptr : *found;
  }

  std::vector<const OIDdescr_t*> entries_;
  std::array<const OIDdescr_t*, slots> slots_;
};

#endif
