// loading_test LIBRARY FAULTS: loads and unloads the library many times, with each allocation
// failing while it is loaded, and ends the process while threads are in it.

#include <dlfcn.h>
#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include <pkider/asn_oidmap.h>

namespace {

void expect(bool holds, const char* what) {
  if (!holds) {
    std::printf("%s\n", what);
    std::exit(1);
  }
}

template <class Function>
Function* get(void* library, const char* name) {
  auto* const found = reinterpret_cast<Function*>(dlsym(library, name));
  expect(found != nullptr, name);
  return found;
}

// By the C++ names, for char* and unsigned.
void use(void* library) {
  const auto parse = get<decltype(oid_map_parse)>(library, "_Z13oid_map_parsePKcj");
  const auto release = get<decltype(oid_map_release)>(library, "_Z15oid_map_releaseP9OIDmaps_t");
  const auto find = get<decltype(oid_map_find_sn)>(library, "_Z15oid_map_find_snP9OIDmaps_tPKcj");
  const oid_map_handle_t map = parse("1.2.3=X", 7);
  expect(find(map, "x", 1) != nullptr, "x is not found");
  release(map);
}

// The status of a process that runs this.
template <class Action>
int status_of(const Action& action) {
  const pid_t child = fork();
  if (child == 0) {
    action();
    _exit(1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return status;
}

// All of it goes when it is unloaded, each time, its memory too.
void load_often(const char* name) {
  std::size_t used = 0;
  for (int i = 0; i < 500; ++i) {
    void* const library = dlopen(name, RTLD_NOW | RTLD_LOCAL);
    expect(library != nullptr, "cannot be loaded");
    use(library);
    expect(dlclose(library) == 0 && dlopen(name, RTLD_NOW | RTLD_NOLOAD) == nullptr,
           "is not unloaded");
    used = i == 10 ? mallinfo2().uordblks : used;
  }
  expect(mallinfo2().uordblks <= used + 4096, "memory is left");
}

// Loaded at the start of a program, with one allocation failing: the exception ends it, or nothing.
void load_without_memory(const char* self, const char* name, const char* faults) {
  int ended = 0;
  for (int number = 0; number < 200; ++number) {
    const int status = status_of([&] {
      setenv("FAULT", ("memory " + std::to_string(number)).c_str(), 1);
      setenv("LD_PRELOAD", (std::string(name) + ':' + faults).c_str(), 1);
      close(STDERR_FILENO);
      execl(self, self, static_cast<char*>(nullptr));
    });
    expect(WIFSIGNALED(status) ? WTERMSIG(status) == SIGABRT : WEXITSTATUS(status) == 0,
           "ends otherwise while it is loaded");
    ended += WIFSIGNALED(status) ? 1 : 0;
  }
  expect(ended > 20, "loads without memory");
}

// Threads that use other maps are not disturbed when the default ones are destroyed.
void exit_with_threads(const char* name) {
  for (int i = 0; i < 50; ++i) {
    const int status = status_of([name] {
      void* const library = dlopen(name, RTLD_NOW);
      for (int t = 0; t < 4; ++t) {
        std::thread([library] {
          for (;;) {
            use(library);
          }
        }).detach();
      }
      use(library);
      std::exit(0);
    });
    expect(WIFEXITED(status) && WEXITSTATUS(status) == 0, "exit with threads");
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 1) {
    return 0;
  }
  load_often(argv[1]);
  load_without_memory(argv[0], argv[1], argv[2]);
  exit_with_threads(argv[1]);
}
