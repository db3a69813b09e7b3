#include "secure_memory.h"

#include <sys/prctl.h>
#include <sys/resource.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

void protect_secrets() {
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
  gcry_control(GCRYCTL_INIT_SECMEM, pool_size);
  gcry_control(GCRYCTL_INITIALIZATION_FINISHED);
}
