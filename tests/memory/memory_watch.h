// Stands in for operator new and delete: counts, fails and inspects what the library allocates.

#ifndef PKIDER_TESTS_MEMORY_WATCH_H
#define PKIDER_TESTS_MEMORY_WATCH_H

#include <cstddef>

constexpr char secret[] = "\x5E\xC2Rk3y\xA9#0815";  // fits a std::string without a block

struct memory_watch_t {
  bool armed = false;
  unsigned long failing = 0;  // which allocation fails
  unsigned long allocations = 0;
  std::size_t bytes = 0;  // of all these allocations
  unsigned unwiped = 0;   // blocks given back with the secret in them
  long live = 0;
};

extern memory_watch_t watch;

#endif
