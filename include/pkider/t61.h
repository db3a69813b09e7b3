// T.61 (Teletex) strings to UTF-8, for the T61String values of old certificates.
//
// The repertoire is that of ITU-T T.61: one byte a character, and non-spacing diacritic prefixes
// (C1 to CF, except C9, which is not assigned) that combine with the byte after them. Both
// functions are pure: any thread.

#ifndef PKIDER_T61_H
#define PKIDER_T61_H

#include <string>

#include "pkider_api.h"

// ldap_t61s_to_utf8s appends the UTF-8 form of `len` bytes of T.61 to `out`.
//
// Returns false, with `out` untouched, when a byte is not valid T.61. A prefix and the byte after
// it give the precomposed letter where Unicode has one (the exceptions are Q30 of docs/dialect.md);
// the spacing accent before a space or 00, if there is one (there is none for CC, the underline);
// else that byte taken as a code point, then the combining mark. The byte after a prefix is not
// checked. A prefix that is the last byte is combined with the byte after the input, src[len],
// which must then be readable. The text must not lie in `out`. Throws std::bad_alloc only.
PKIDER_API bool ldap_t61s_to_utf8s(const char* src, unsigned len, std::string& out);

// ldap_x_wc_to_utf8 encodes one code point in the 1-to-6-byte form of UTF-8 (RFC 2279).
//
// Returns the number of bytes that `wc` needs, written to `dst` unless it is null; 0, with nothing
// written, when `dst` is not null and `count` is less than that; -1 when `wc` is above 7FFFFFFF.
PKIDER_API int ldap_x_wc_to_utf8(char* dst, unsigned wc, unsigned count);

#endif
