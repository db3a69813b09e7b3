// OID maps from the inside: the numbers of their text, their entries and indexes.

#ifndef PKIDER_SRC_OID_MAP_H
#define PKIDER_SRC_OID_MAP_H

#include <list>

#include <pkider/asn_oidmap.h>

#include "oid_index.h"

// Reads one decimal number at `p`, up to `end` or the separator, on which it leaves `p`. Nothing to
// read is 0. False when another character stands there or the number does not fit 32 bits.
bool str_to_uint32_(const char*& p, const char* end, char sep, unsigned& value);

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
