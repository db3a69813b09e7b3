// The splitter of printable DNs.

#ifndef PKIDER_SRC_ASN_PRINTABLE_I_H
#define PKIDER_SRC_ASN_PRINTABLE_I_H

#include <vector>

// One attribute, as ranges of the text it was found in.
struct RDNdescr_t {
  const char* name_begin;
  const char* name_end;
  const char* value_begin;  // right after the '=': blanks belong to the value
  const char* value_end;    // the separator or the terminating zero
  bool plus_joined;         // in the RDN of the attribute before it
};

// Appends the attributes of `dn` to `out`. On a malformed text returns false; those before the
// fault stay.
bool printable_dn_parse(const char* dn, std::vector<RDNdescr_t>& out);

#endif
