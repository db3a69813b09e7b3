// The order of an OID map's entries: one function for all keys, which a template would repeat for
// each.

#include "oid_index.h"

#include <algorithm>
#include <vector>

#include <pkider/asn_oidmap.h>

std::vector<const OIDdescr_t*> sorted_entries_(std::vector<headed_entry_t> entries,
                                               bool (*precedes)(const OIDdescr_t* a,
                                                                const OIDdescr_t* b)) {
  const auto less = [precedes](const headed_entry_t& a, const headed_entry_t& b) {
    if (a.head != b.head || a.has_whole_key()) {
      return a.head < b.head;
    }
    return precedes(a.entry, b.entry);
  };
  std::stable_sort(entries.begin(), entries.end(), less);
  std::vector<const OIDdescr_t*> sorted;
  sorted.reserve(entries.size());
  const headed_entry_t* last = nullptr;
  for (const headed_entry_t& e : entries) {
    if (last == nullptr || less(*last, e)) {
      sorted.push_back(e.entry);
    }
    last = &e;
  }
  return sorted;
}
