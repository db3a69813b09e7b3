// Prints how many nanoseconds dlopen takes for a library, in this fresh process.

#include <dlfcn.h>

#include <chrono>
#include <cstdio>

int main(int argc, char** argv) {
  if (argc != 2) {
    return 2;
  }
  const auto begin = std::chrono::steady_clock::now();
  const void* library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  const auto spent = std::chrono::steady_clock::now() - begin;
  if (library == nullptr) {
    std::fprintf(stderr, "%s\n", dlerror());
    return 1;
  }
  std::printf("%lld\n", static_cast<long long>(
                            std::chrono::duration_cast<std::chrono::nanoseconds>(spent).count()));
}
