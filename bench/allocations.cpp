// Counts allocations: the program's malloc stands before the C library's, and operator new and the
// peers end in it.

#include <cstddef>

#include "cases.h"

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
}

static thread_local std::size_t count = 0;

std::size_t allocations() {
  return count;
}

extern "C" void* malloc(std::size_t size) {
  ++count;
  return __libc_malloc(size);
}

extern "C" void* calloc(std::size_t elements, std::size_t size) {
  ++count;
  return __libc_calloc(elements, size);
}

extern "C" void* realloc(void* block, std::size_t size) {
  ++count;
  return __libc_realloc(block, size);
}
