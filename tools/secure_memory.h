// Passwords and derived keys: memory that is locked, wiped when given back, and in no core dump.
// All other heap memory of the command is wiped too (wiped_heap.cpp), and so is the stack that a
// verb used.

#ifndef PKIDER_TOOLS_SECURE_MEMORY_H
#define PKIDER_TOOLS_SECURE_MEMORY_H

#include <gcrypt.h>

#include <cstddef>
#include <functional>
#include <new>
#include <vector>

// protect_secrets readies libgcrypt's secure memory and forbids core dumps and tracing. Call it
// before there is any secret. Throws std::runtime_error, also when the memory cannot
// be locked, unless it `may_be_swapped`.
void protect_secrets(bool may_be_swapped = false);

// Does `work` under protect_secrets, and then wipes the stack that it used, whether it throws or
// not.
void with_secrets(bool may_be_swapped, const std::function<void()>& work);

template <class T>
struct secure_allocator_t {
  using value_type = T;

  secure_allocator_t() = default;
  template <class U>
  explicit secure_allocator_t(const secure_allocator_t<U>&) {}

  T* allocate(std::size_t count) {
    void* block = gcry_calloc_secure(count, sizeof(T));
    if (block == nullptr) {
      throw std::bad_alloc();
    }
    return static_cast<T*>(block);
  }
  void deallocate(T* block, std::size_t) { gcry_free(block); }  // wipes

  friend bool operator==(const secure_allocator_t&, const secure_allocator_t&) { return true; }
  friend bool operator!=(const secure_allocator_t&, const secure_allocator_t&) { return false; }
};

// Not a std::string: that keeps short texts outside the allocator's memory.
using secret_t = std::vector<unsigned char, secure_allocator_t<unsigned char>>;

#endif
