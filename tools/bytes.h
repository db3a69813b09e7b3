// Strings as the library's functions take them.

#ifndef PKIDER_TOOLS_BYTES_H
#define PKIDER_TOOLS_BYTES_H

#include <string>
#include <string_view>

#include <pkider/asn_reader.h>

inline const unsigned char* bytes(const std::string& s) {
  return reinterpret_cast<const unsigned char*>(s.data());
}

// No input is larger than 32 bits count.
inline unsigned size32(const std::string& s) {
  return static_cast<unsigned>(s.size());
}

inline blob_t view(std::string_view s) {
  // cppcheck-suppress returnDanglingLifetime ; a view of what another shows
  return {static_cast<unsigned>(s.size()), reinterpret_cast<const unsigned char*>(s.data())};
}

inline std::string to_string(const blob_t& view) {
  return std::string(reinterpret_cast<const char*>(view.data), view.size);
}

#endif
