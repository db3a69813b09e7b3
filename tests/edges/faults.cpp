// Preloaded into a program, makes one call of the C library fail: FAULT=KIND NUMBER in the
// environment, where KIND is
//   memory   malloc and its kind find no memory
//   full     a call that changes files fails, as on a full disk
//   SIGTERM or SIGKILL   that signal comes before such a call
// and NUMBER counts these calls from 0. Where there are fewer, nothing happens, and the program
// says "no fault" at its end.

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

struct fault_t {
  char kind[16] = "none";
  unsigned long calls_left = 0;
  bool happened = false;
} fault;

bool is_kind(const char* name) {
  return std::strcmp(fault.kind, name) == 0;
}

__attribute__((constructor)) void read_fault() {
  const char* const given = std::getenv("FAULT");
  std::sscanf(given == nullptr ? "none 0" : given, "%15s %lu", fault.kind, &fault.calls_left);
}

__attribute__((destructor)) void tell() {
  if (!is_kind("none") && !fault.happened) {
    dprintf(STDERR_FILENO, "no fault\n");
  }
}

bool is_next() {
  fault.happened = fault.happened || fault.calls_left == 0;
  return fault.calls_left-- == 0;
}

bool memory_fails() {
  const bool fails = is_kind("memory") && is_next();
  errno = fails ? ENOMEM : errno;
  return fails;
}

bool change_fails() {
  if (is_kind("none") || is_kind("memory") || !is_next()) {
    return false;
  }
  if (!is_kind("full")) {
    std::raise(is_kind("SIGTERM") ? SIGTERM : SIGKILL);
    return false;
  }
  errno = ENOSPC;
  return true;
}

template <class Function>
Function* next(Function*, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);

void* malloc(std::size_t size) {
  return memory_fails() ? nullptr : __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) {
  return memory_fails() ? nullptr : __libc_calloc(count, size);
}
void* realloc(void* block, std::size_t size) {
  return memory_fails() ? nullptr : __libc_realloc(block, size);
}

ssize_t write(int file, const void* data, std::size_t size) {
  return change_fails() ? -1 : next(&write, "write")(file, data, size);
}
int fsync(int file) {
  return change_fails() ? -1 : next(&fsync, "fsync")(file);
}
int syncfs(int file) noexcept {
  return change_fails() ? -1 : next(&syncfs, "syncfs")(file);
}
int fchmod(int file, mode_t mode) noexcept {
  return change_fails() ? -1 : next(&fchmod, "fchmod")(file, mode);
}
int fchown(int file, uid_t user, gid_t group) noexcept {
  return change_fails() ? -1 : next(&fchown, "fchown")(file, user, group);
}
int linkat(int from_dir, const char* from, int to_dir, const char* to, int flags) noexcept {
  return change_fails() ? -1 : next(&linkat, "linkat")(from_dir, from, to_dir, to, flags);
}
int rename(const char* from, const char* to) noexcept {
  return change_fails() ? -1 : next(&rename, "rename")(from, to);
}
int mkdir(const char* path, mode_t mode) noexcept {
  return change_fails() ? -1 : next(&mkdir, "mkdir")(path, mode);
}

}  // extern "C"
