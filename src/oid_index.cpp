// The order of an OID map's entries: one function for all keys, which a template would repeat for
// each.

#include "oid_index.h"

#include <algorithm>
#include <vector>

#include <pkider/asn_oidmap.h>

void sort_entries_(std::vector<const OIDdescr_t*>& entries,
                   bool (*precedes)(const OIDdescr_t* a, const OIDdescr_t* b)) {
  std::stable_sort(entries.begin(), entries.end(), precedes);
  const auto same = [precedes](const OIDdescr_t* a, const OIDdescr_t* b) {
    return !precedes(a, b);
  };
  entries.erase(std::unique(entries.begin(), entries.end(), same), entries.end());
}
