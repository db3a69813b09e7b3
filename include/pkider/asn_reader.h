// Reading DER: one element header, small INTEGERs, and the two view types of the whole library.
//
// Nothing here allocates or copies. Every result is a pointer into the caller's bytes and a length,
// valid as long as those bytes are. All sizes are 32-bit unsigned counts of bytes.
//
// The dialect is deliberately lenient: non-minimal lengths are accepted and bytes after an element
// are ignored (docs/dialect.md lists every deviation). All functions are pure: any thread.

#ifndef PKIDER_ASN_READER_H
#define PKIDER_ASN_READER_H

#include <string>

#include "pkider_api.h"

// A borrowed view of bytes. Owns nothing; the operation that fills one says whose bytes it shows.
struct blob_t {
  unsigned size = 0;
  const unsigned char* data = nullptr;
};

// A cursor over DER (the next unread byte, the bytes that remain) and equally the content of one
// element. The content of a constructed element is the cursor over its children.
struct asn_iter_t {
  const unsigned char* ptr = nullptr;
  unsigned len = 0;
};

// The whole identifier octet: class, constructed bit and tag number (X.690, 8.1.2). Any other byte
// may be cast to this type; only single-byte identifiers are understood.
struct asn_tag_t {
  enum Type : unsigned {
    ANY = 0x00,  // reading only: accepts every identifier
    INTEGER = 0x02,
    BIT_STRING = 0x03,
    OCTET_STRING = 0x04,
    NULL_TAG = 0x05,
    OID = 0x06,
    BMP_STRING = 0x1E,
    SEQUENCE = 0x30,
    SET = 0x31,
    CONTEXT_0 = 0xA0,
  };
};

// The class of a tag, for programs that put identifiers together: no function of these headers
// takes one. Classes 0 to 3 stand for constructed tags; CONTEXT_PRIMITIVE is the context-specific
// class without the constructed bit.
struct asn_tag {
  enum Class : unsigned {
    UNIVERSAL = 0,
    APPLICATION = 1,
    CONTEXT = 2,
    PRIVATE = 3,
    CONTEXT_PRIMITIVE = 4,
  };
};

// asn1_read_tag recognises the header of one element at `p`, of which `n` bytes may be read.
//
// Returns a pointer to the first content byte (2 to 6 bytes after `p`) and stores the content's
// length in `*len`; null when `n` is too small, the identifier differs from `type` (ANY accepts
// all), the length is indefinite or has more than four length bytes, or the element does not fit.
//
// On failure `*len` holds the declared length if the header itself could be read, and is untouched
// otherwise. The fit test is 32-bit arithmetic that wraps: a declared length of 2^32 - k - 2 or
// more, after k length bytes, passes (30 84 FF FF FF FA is such an element). A caller that goes on
// to read the content must therefore compare `*len` with what remains of its input; the library's
// own readers all do.
//
// `p` may be null when `n` is 0. At most `n` bytes are read.
PKIDER_API const unsigned char* asn1_read_tag(asn_tag_t::Type type, const unsigned char* p,
                                              unsigned n, unsigned* len);

// asn_read_INTEGER reads the content octets (no tag, no length) of a non-negative INTEGER.
//
// Returns true with the low 32 bits of the number in `value`; false, with `value` untouched, for a
// negative number or one that grows past `limit`. An empty content returns true and leaves `value`
// untouched too. Leading zero bytes are accepted in any number.
//
// `limit` is compared with the number formed so far before each further byte is taken in, never
// with the final number: with a limit of 10, 00 FF reads as 255 and 0B 00 is refused; with
// 0xFFFFFFFF, 01 00 00 00 00 reads as 0.
//
// `p` may be null when `n` is 0.
PKIDER_API bool asn_read_INTEGER(const void* p, unsigned n, unsigned& value, unsigned limit);

// asn_write_INTEGER appends the content octets (no tag, no length) of `value` to `out`.
//
// Only the non-zero bytes of `value` are written, the most significant first, after one 00 when the
// first of them has its top bit set; 0 is written as 00. A value with a zero byte below its leading
// byte therefore becomes another number (256 is written as 01, 2048 as 08): where the number
// matters, choose values without one. Throws std::bad_alloc only.
PKIDER_API void asn_write_INTEGER(unsigned value, std::string& out);

#endif
