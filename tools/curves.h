// Elliptic curves by their OIDs: sizes, and which of them libgcrypt computes with.

#ifndef PKIDER_TOOLS_CURVES_H
#define PKIDER_TOOLS_CURVES_H

#include <string_view>

struct curve_t {
  std::string_view oid;  // dotted
  const char* name;      // libgcrypt's; null where it does not compute with the curve
  unsigned bits;         // of a coordinate
};

// Null when the curve is not known. No other name must reach libgcrypt: with curves in Montgomery
// form it ends the process.
const curve_t* find_curve(std::string_view oid);

#endif
