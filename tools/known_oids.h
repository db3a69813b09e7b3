// Names for object identifiers that neither the OID map nor the library's algorithm tables know:
// algorithms, curves, parameter sets, extensions, key purposes and the other parts of certificates.

#ifndef PKIDER_TOOLS_KNOWN_OIDS_H
#define PKIDER_TOOLS_KNOWN_OIDS_H

#include <string>
#include <string_view>

#include <pkider/asn_reader.h>

// The usual name of a dotted OID; empty when it has none here.
std::string_view known_oid_name(std::string_view dotted);

// The dotted OID of such a name (ASCII case ignored); empty when there is none.
std::string_view known_oid_by_name(std::string_view name);

// The dotted text of an OID's content octets as the standard has it: the first arc is at most 2,
// and arcs may have more than 32 bits, unlike in oid_asn_to_str_. Empty when the OID is malformed.
std::string dotted_oid(const blob_t& oid);

// What an OID (content octets) is called: an algorithm name of the library, or the dotted text and
// a name above, or the dotted text alone.
std::string describe_oid(const unsigned char* oid, unsigned size);

// The same, but always with the dotted text, as for parameter sets.
std::string describe_param_set(const blob_t& oid);

#endif
