// For the fast fuzzers: every array of `new[]` ends right before a page that cannot be touched, so
// that an access past its end stops the process. Such arrays are the inputs, libFuzzer's copies of
// them and the builder's buffers.

#include <sys/mman.h>

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

constexpr std::size_t page_size = 4096, slot_size = 0x10000, slot_count = 1024;

char* free_slots[slot_count];
std::size_t free_count = 0;

char* make_slots() {
  void* const memory = mmap(nullptr, slot_count * slot_size, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  char* slot = static_cast<char*>(memory);
  for (; free_count < slot_count; slot += slot_size) {
    if (mprotect(slot + slot_size - page_size, page_size, PROT_NONE) != 0) {
      std::abort();
    }
    free_slots[free_count++] = slot;
  }
  return static_cast<char*>(memory);
}

char* const slots = make_slots();

}  // namespace

void* operator new[](std::size_t size) {
  if (size > slot_size - page_size || free_count == 0) {
    return operator new(size);
  }
  return free_slots[--free_count] + slot_size - page_size - size;
}

void operator delete[](void* array) noexcept {
  const std::size_t offset = static_cast<std::size_t>(static_cast<char*>(array) - slots);
  if (offset >= slot_count * slot_size) {
    operator delete(array);
  } else {
    free_slots[free_count++] = slots + offset / slot_size * slot_size;
  }
}
