// libgcrypt's secure memory, core dumps, and the stack.

#include "secure_memory.h"

#include <sys/prctl.h>
#include <sys/resource.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>

namespace {

// Wipes what calls from this function's caller have left below its frame.
[[gnu::noinline]] void wipe_used_stack() {
  constexpr std::size_t most_used = 262144;
  char area[most_used];
  explicit_bzero(area, sizeof area);
}

struct stack_wiper_t {
  stack_wiper_t() = default;
  stack_wiper_t(const stack_wiper_t&) = delete;
  stack_wiper_t& operator=(const stack_wiper_t&) = delete;
  ~stack_wiper_t() { wipe_used_stack(); }
};

}  // namespace

void protect_secrets(bool may_be_swapped) {
  constexpr unsigned pool_size = 65536;
  constexpr rlimit none = {0, 0};
  if (setrlimit(RLIMIT_CORE, &none) != 0 || prctl(PR_SET_DUMPABLE, 0) != 0) {
    throw std::system_error(errno, std::generic_category(), "core dumps cannot be disabled");
  }
  if (gcry_control(GCRYCTL_INITIALIZATION_FINISHED_P) != 0) {
    return;
  }
  if (gcry_check_version(GCRYPT_VERSION) == nullptr) {
    throw std::runtime_error("libgcrypt is older than " GCRYPT_VERSION);
  }
  gcry_control(GCRYCTL_SUSPEND_SECMEM_WARN);
  const bool locked = gcry_control(GCRYCTL_INIT_SECMEM, pool_size) == 0;
  if (!locked && !may_be_swapped) {
    throw std::runtime_error(
        "the memory for passwords and keys cannot be locked, so it might be written to swap: raise "
        "the limit (ulimit -l 64), or accept that with --may-swap");
  }
  gcry_control(GCRYCTL_INITIALIZATION_FINISHED);
}

void with_secrets(bool may_be_swapped, const std::function<void()>& work) {
  const stack_wiper_t wiper;
  protect_secrets(may_be_swapped);
  work();
}
