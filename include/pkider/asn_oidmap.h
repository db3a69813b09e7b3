// Object identifiers: dotted text to DER content octets and back, and maps that name them.
//
// A map gives each OID a short name (CN) and a long name (commonName). Two maps exist from the
// moment the library is loaded; others are built from text with oid_map_parse. A map never changes
// once built: any number of threads may look things up in it. The other functions are pure: any
// thread.

#ifndef PKIDER_ASN_OIDMAP_H
#define PKIDER_ASN_OIDMAP_H

#include <string>

#include "pkider_api.h"

// One entry of a map. The three texts, not the DER, are also ended by a zero byte that their sizes
// do not count. All bytes belong to the map and live as long as it does.
struct OIDdescr_t {
  const unsigned char* oid_asn;  // DER content octets (no tag, no length)
  unsigned oid_asn_size;
  const char* oid_str;  // dotted text, as it stood in the map text
  unsigned oid_str_size;
  const char* oid_sn;  // short name in upper case (A to Z only); may be empty
  unsigned oid_sn_size;
  const char* oid_ln;  // long name as written; may be empty
  unsigned oid_ln_size;
};

// A map, by handle. Null is never a map.
struct OIDmaps_t;
typedef OIDmaps_t* oid_map_handle_t;

// The built-in map of X.500 attribute types, and the same map extended by the lines of the file
// "zeloids.cfg" in system_config_dir() (platform.h). Both are built when the library is loaded,
// live until it is unloaded or the process exits, and must not be released.
//
// Only a regular file of at most 1 MiB is read; anything else counts as no file. A line of it
// cannot rename a built-in OID; it adds new OIDs, and new short names for known ones.
//
// A line that gives a known short name to another OID (1.2.643.100.3 = CN) is kept for that OID
// alone: the OID is then written CN, but CN is still read as 2.5.4.3. Two different names then have
// the same normal form (printable_dn_normalize), though their DER differs: give new OIDs new short
// names.
extern PKIDER_API const oid_map_handle_t OID_MAP_HANDLE_DEFAULT;
extern PKIDER_API const oid_map_handle_t OID_MAP_HANDLE_DEFAULT_FILE;

// oid_str_to_asn_ converts the dotted text [begin, end) to DER content octets (X.690, 8.19).
//
// Returns the number of octets written to `out`, at most 506; 0 when the text is not a dotted OID
// of at least two arcs, its first arc is above 2, an arc does not fit 32 bits, or the encoding
// would be longer. `out` is then undefined. The second arc has no upper limit, whatever the first
// (0.40 gives the bytes of 1.0), and first * 40 + second wraps at 32 bits. Leading zeros of an arc
// are accepted; spaces, signs and empty arcs are not.
PKIDER_API unsigned oid_str_to_asn_(const char* begin, const char* end, unsigned char (&out)[512]);

// oid_asn_to_str_ appends the dotted text of the DER content octets [begin, end) to `text`.
//
// Returns false when the range is empty or ends inside an arc; the arcs before that stay in `text`,
// each with its '.'. The first arc is always the first sub-identifier divided by 40, also where the
// standard says 2 (2.100 prints as 4.20). Arcs of more than 32 bits wrap. Throws std::bad_alloc
// only.
PKIDER_API bool oid_asn_to_str_(const unsigned char* begin, const unsigned char* end,
                                std::string& text);

// oid_map_parse builds a map from `size` bytes of text, lines ended by CR or LF:
//
//   2.5.4.3 = CN, commonName
//
// Blanks (space, tab) are free at a line's beginning and around '=' and ','. A short name runs up
// to a blank, '=', ',' or the line's end; a long name from after the ',' to the line's end,
// trailing blanks included. Anything but a ',' after the short name ends the entry. Lines that do
// not begin with a valid OID and '=' are ignored, so any other text is a comment. Where two lines
// give the same DER, dotted text or short name, the first is found by it. An OID whose short name
// is empty is printed with none (asn_printable.h): "=value".
//
// Always returns a map, which is the caller's to end with oid_map_release. The text is copied: a
// map takes up to 40 bytes of memory for each byte of text (SECURITY.md). Throws std::bad_alloc
// only.
PKIDER_API oid_map_handle_t oid_map_parse(const char* text, unsigned size);

// oid_map_release ends a map from oid_map_parse, and with it every entry found in it. Null is
// ignored. No thread may be using the map.
PKIDER_API void oid_map_release(oid_map_handle_t map);

// The lookups return the entry, which lives as long as the map, or null. `map` must not be null.
//
// oid_map_find_asn finds an entry by its exact DER content octets.
PKIDER_API const OIDdescr_t* oid_map_find_asn(oid_map_handle_t map, const unsigned char* der,
                                              unsigned size);
// oid_map_find_str finds an entry by its exact dotted text (2.5.4.03 does not find 2.5.4.3).
PKIDER_API const OIDdescr_t* oid_map_find_str(oid_map_handle_t map, const char* text,
                                              unsigned size);
// oid_map_find_sn finds an entry by its short name: of the same size, and equal except for ASCII
// case. Nothing is compared after a zero byte in both.
PKIDER_API const OIDdescr_t* oid_map_find_sn(oid_map_handle_t map, const char* name, unsigned size);

#endif
