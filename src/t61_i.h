// T.61 conversion from the inside.

#ifndef PKIDER_SRC_T61_I_H
#define PKIDER_SRC_T61_I_H

#include <string>

// ldap_t61s_to_utf8s where the byte after the input is given: it is looked at only when the last
// byte is a diacritic prefix.
bool t61_append_utf8_(const unsigned char* src, unsigned len, unsigned char following,
                      std::string& out);

#endif
