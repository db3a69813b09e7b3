// operator new and delete that count, fail and search.

#include "memory_watch.h"

#include <malloc.h>
#include <string.h>

#include <cstdlib>
#include <new>

memory_watch_t watch;

namespace {

void* try_to_allocate(std::size_t size) {
  const bool fails = watch.allocations++ == watch.failing && watch.armed;
  void* const block = fails ? nullptr : std::malloc(size);
  watch.bytes += size;
  watch.live += block != nullptr ? 1 : 0;
  return block;
}

void* allocate(std::size_t size) {
  if (void* const block = try_to_allocate(size)) {
    return block;
  }
  throw std::bad_alloc();
}

void release(void* block) {
  if (block != nullptr) {
    const std::size_t size = malloc_usable_size(block);
    watch.unwiped += watch.armed && memmem(block, size, secret, sizeof(secret) - 1) != nullptr;
    --watch.live;
    explicit_bzero(block, size);  // so that no later block shows what this one held
    std::free(block);
  }
}

}  // namespace

// clang-format off
void* operator new(std::size_t size) { return allocate(size); }
void* operator new[](std::size_t size) { return allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return try_to_allocate(size); }
void operator delete(void* block) noexcept { release(block); }
void operator delete[](void* block) noexcept { release(block); }
void operator delete(void* block, std::size_t) noexcept { release(block); }
void operator delete[](void* block, std::size_t) noexcept { release(block); }
// clang-format on
