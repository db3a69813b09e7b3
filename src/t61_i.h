// T.61 conversion from the inside.

#ifndef PKIDER_SRC_T61_I_H
#define PKIDER_SRC_T61_I_H

#include <string>

// ldap_t61s_to_utf8s with the byte after the input elsewhere. It is read only when the input ends
// in a diacritic prefix.
bool t61_append_utf8_(const unsigned char* src, unsigned len, const unsigned char* following,
                      std::string& out);

#endif
