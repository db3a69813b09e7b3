// Distinguished names: DER (an X.501 Name, as in a certificate's issuer and subject) and printable
// text such as
//
//   C=RU,O=Org+OU=Dev,CN=User1
//
// A printable DN is a zero-terminated string of attributes NAME=value. ',' separates RDNs, '+' the
// attributes of one RDN. Blanks (space, tab) are free before a name and between a name and its '=';
// every other blank belongs to a value. In a value, '+' and ',' stand as they are only inside
// double quotes or after a backslash. An empty or blank text is the name without attributes.
//
// Attributes are named by an OID map (asn_oidmap.h); a null map means none, and then every type is
// a dotted OID. All functions are pure over the caller's memory: any thread. They throw
// std::bad_alloc only. An output must not hold the input, except where a comment says so.

#ifndef PKIDER_ASN_PRINTABLE_H
#define PKIDER_ASN_PRINTABLE_H

#include <string>

#include "asn_oidmap.h"
#include "pkider_api.h"

// ---- Queries and edits on the text ----
//
// They keep no list of attributes and allocate nothing but what printable_dn_get_attr appends.

// What printable_dn_get_attr appends. Any value but 1 means DN_GET_ATTR_RDN.
enum PrintableDnGetAttr : int {
  DN_GET_ATTR_RDN = 0,    // the attribute, from its name to the end of its value: CN=User1
  DN_GET_ATTR_VALUE = 1,  // its value: User1
};

// printable_dn_get_attr appends the text of the first attribute named `attr_name` (exact bytes:
// case matters) to `result`, as written: quotes, backslashes and blanks stay.
//
// Returns false, with `result` untouched, when `dn` is malformed or has no such attribute.
PKIDER_API bool printable_dn_get_attr(const char* dn, const char* attr_name, std::string& result,
                                      PrintableDnGetAttr mode);

// printable_dn_contain_attrs tells whether the comma-separated components of `attrs` stand in `dn`,
// in order, each equal byte for byte to the text between two commas. Other pieces may lie between
// them. It compares text and checks none: `x` is found in `x,CN=`, `CN=a` not in `CN=a+O=b`.
//
// It is one forward scan and never goes back: after a component fails at the comma that ends a
// piece, the next piece is not examined (CN=ab is not found in CN=a,CN=ab); where the last
// component ends inside a piece the answer is false at once, whatever follows, unless a quote comes
// next: then the scan goes on. An empty `attrs` is contained where `dn` ends, or has an empty
// piece, before any piece that begins with another character than a quote: in an empty text, in
// `,a` and in `"a"`, but not in `a` or `"a",b`.
//
// A character counts as escaped when the one before it is a backslash, even one that is escaped
// itself: to this function `CN=x\\,O=Evil` is one piece, to printable_to_asn_dn two attributes. A
// rule that refuses names by what they contain must not rely on a false result: let it look at the
// DER.
PKIDER_API bool printable_dn_contain_attrs(const char* dn, const char* attrs);

// printable_dn_C_before_CN is false when an attribute CN stands before the first attribute C, or
// when `dn` is malformed; true otherwise, also where there is no C. Case matters.
PKIDER_API bool printable_dn_C_before_CN(const char* dn);

// printable_dn_reverse reverses the order of the RDNs in place; the text of each, its leading
// blanks included, and the order of the attributes inside it stay. A backslash that ends `dn` comes
// to stand before a comma, and then escapes it.
//
// Returns `dn`, or null with the text unchanged when it is malformed.
PKIDER_API char* printable_dn_reverse(char* dn);

// ---- DER to text ----

// The order in which RDNs are written. Any value but 1 means DN_ORDER_DIRECT.
enum PrintableDnOrder : int {
  DN_ORDER_DIRECT = 0,   // as they stand in the DER
  DN_ORDER_REVERSE = 1,  // last first; the attributes inside one RDN keep their order
};

// asn_dn_to_printable appends the text of the Name (RFC 5280, 4.1.2.4) at `der` to `out`. An empty
// Name appends nothing.
//
// A type is written as its short name in `map`, or dotted. Values of type UTF8String,
// PrintableString and IA5String are taken as they are, T61String, BMPString and UniversalString are
// converted to UTF-8; in all of these each of " # + , ; < = > \ gets a backslash before it, and
// blanks at the ends do not. A NumericString must hold digits and spaces and is written as it is.
// Any other value is '#' and the hexadecimal DER of all that follows the type in its attribute.
//
// Returns false when the DER is malformed or a value cannot be converted. What was appended then
// stays: in direct order everything before the fault; in reverse order the RDNs that stand before
// the faulty one in the DER, last first and each with a comma after it. After std::bad_alloc what
// follows the old content of `out` is unspecified. Nothing outside the `len` bytes is read.
PKIDER_API bool asn_dn_to_printable(const unsigned char* der, unsigned len, std::string& out,
                                    PrintableDnOrder order, oid_map_handle_t map);

// asn_oid_to_printable names the OBJECT IDENTIFIER element (tag included) at `der`.
//
// With a short name in `map`, or else an algorithm name (I2S_PKI_ALG_T), `out` is replaced by that
// name; an algorithm name is followed by the dotted OID in parentheses when `with_oid` is true.
// Otherwise the dotted OID is appended to `out`. Returns false when the element cannot be read
// (`out` untouched) or the OID is malformed (the arcs before the fault stay appended).
PKIDER_API bool asn_oid_to_printable(const unsigned char* der, unsigned len, std::string& out,
                                     bool with_oid, oid_map_handle_t map);

// ---- Text to DER ----

// printable_to_asn_dn replaces `der` with the DER Name that `dn` spells.
//
// A name is looked up in `map` by short name (ASCII case ignored) or else must be a dotted OID. A
// value is one of
//   plain   a backslash stands before one of " # + , ; < = > \ or before two hexadecimal
//           digits that give a byte; without one, none of these nine may stand anywhere in it;
//   "..."   only \" is an escape (for a quote); any other backslash stands for itself, and so does
//           a quote in the middle;
//   #hex    the DER of an element, of which identifier and content are taken.
// Except for #hex the string type follows from the bytes alone: PrintableString if they all belong
// to its alphabet, IA5String if all are below 80, else UTF8String (not checked to be UTF-8). A
// backslash that stands for itself inside quotes does not count. The attributes of one RDN are
// written in text order, not sorted.
//
// Returns false, with `der` unchanged, when `dn` is malformed or a name or value is not as above.
PKIDER_API bool printable_to_asn_dn(const char* dn, std::string& der, oid_map_handle_t map);

// printable_dn_normalize encodes `in` and decodes it again, so that equal names get equal text:
// short names from `map`, no blanks around separators, the nine characters escaped by a backslash.
//
// Returns true with the text in `out` and, unless `der` is null, the DER in `*der`, each replaced.
// When `in` cannot be encoded it returns false with both untouched; when the encoding cannot be
// decoded (a #hex value of a string type may be wrong), false with the partial text in `out` and
// `*der` replaced. `out` may be `in` itself, but `der` must be neither `in` nor `out`.
//
// The normal form of a name is its own normal form, with three exceptions: a byte 00 of a value
// (\00) stands as it is in `out`, where it ends the text for whoever reads it as zero-terminated; a
// dotted type whose second arc is 40 or more prints with another first arc (oid_asn_to_str_); a map
// with further lines may give a type an empty short name, or that of another type (asn_oidmap.h).
PKIDER_API bool printable_dn_normalize(const std::string& in, std::string& out, std::string* der,
                                       oid_map_handle_t map);

#endif
