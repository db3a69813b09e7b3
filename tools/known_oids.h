// Names for object identifiers that neither the OID map nor the library's algorithm tables know:
// parameter sets, curves, and the other algorithms common in certificates.

#ifndef PKIDER_TOOLS_KNOWN_OIDS_H
#define PKIDER_TOOLS_KNOWN_OIDS_H

#include <string>
#include <string_view>

// The usual name of a dotted OID; empty when it has none here.
std::string_view known_oid_name(std::string_view dotted);

// The dotted OID of such a name (ASCII case ignored); empty when there is none.
std::string_view known_oid_by_name(std::string_view name);

// What an OID (content octets) is called: an algorithm name of the library, or a name above after
// the dotted text, or the dotted text alone.
std::string describe_oid(const unsigned char* oid, unsigned size);

#endif
