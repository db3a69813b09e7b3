// Keys pass through many strings: of the inputs, the library, the encoders. So every block of
// the C++ heap is wiped before it is given back.

#include <malloc.h>

#include <cstdlib>
#include <cstring>
#include <new>

void* operator new(std::size_t size) {
  void* block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) {
    throw std::bad_alloc();
  }
  return block;
}

// Not left to the default, which sanitizers replace by another heap's.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return std::malloc(size == 0 ? 1 : size);
}

void operator delete(void* block) noexcept {
  if (block != nullptr) {
    explicit_bzero(block, malloc_usable_size(block));
    std::free(block);
  }
}

void operator delete(void* block, std::size_t) noexcept {
  operator delete(block);
}
