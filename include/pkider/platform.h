// What the library needs from its platform: where its configuration lies, and code pages.

#ifndef PKIDER_PLATFORM_H
#define PKIDER_PLATFORM_H

#include "pkider_api.h"

// system_config_dir returns the directory of "zeloids.cfg", ended by '/', as a constant string.
//
// The library's own answer is fixed when it is built. It is a weak symbol: a program that is linked
// with the library and defines a function of this name and type puts its own directory in its
// place. A program that loads the library by dlopen must also export the function (link with
// -rdynamic). The library calls it once, while it is being loaded: in a linked program before any
// constructor of the program has run.
PKIDER_API const char* system_config_dir();

// What CodepageConverter converts.
enum codepage_t : unsigned {
  CODEPAGE_UCS2BE = 2,
  CODEPAGE_UCS4BE = 4,
  CODEPAGE_UTF8 = 6,
};

// CodepageConverter turns UCS-2 or UCS-4, big-endian, into UTF-8 (RFC 3629).
//
// Input is invalid when its length is not a multiple of the unit (2 or 4 bytes), or when a unit is
// a surrogate (D800 to DFFF) or above 10FFFF. A converter for any other pair of code pages finds
// every input invalid. It holds no text; one object may serve many threads.
class PKIDER_API CodepageConverter {
 public:
  CodepageConverter(codepage_t source, codepage_t target);
  // Not inline, so that it can change. NOLINTNEXTLINE(performance-trivially-destructible)
  ~CodepageConverter();

  // The number of bytes that converting `size` bytes of `text` gives; 0 for invalid or empty input,
  // and where 32 bits do not hold it.
  unsigned output_size(const void* text, unsigned size) const;

  // Writes the conversion to `out`, no terminating zero. Returns the number of bytes written; 0,
  // with `out` untouched, where output_size gives 0 or `out_size` is too small.
  unsigned convert(const void* text, unsigned size, char* out, unsigned out_size) const;

 private:
  unsigned unit_size_;  // bytes in a unit of the source; 0 for a pair not supported
};

#endif
