// T.61 to UTF-8 inside a longer input.

#ifndef PKIDER_SRC_T61_UTF8_H
#define PKIDER_SRC_T61_UTF8_H

#include <string>

// ldap_t61s_to_utf8s with the byte after the input elsewhere. It is read only when the input ends
// in a diacritic prefix.
bool t61_append_utf8_(const unsigned char* src, unsigned len, const unsigned char* following,
                      std::string& out);

#endif
