// pkider: names, object identifiers, certificates and key containers on the command line.

#include <gcrypt.h>
#include <unistd.h>

#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <exception>
#include <iostream>
#include <new>
#include <string>

#include "command_line.h"
#include "messages.h"

namespace {

constexpr int status_bad_input = 1;
constexpr int status_wrong_usage = 2;

// Instead of an abort, which is how libgcrypt ends where it finds no memory.
void end_without_memory(void*, int, const char* text) {
  static_cast<void>(std::fprintf(stderr, "pkider: %s\n", text));
  _exit(status_bad_input);
}

}  // namespace

int main(int argc, char** argv) {
  gcry_set_fatalerror_handler(end_without_memory, nullptr);
  static_cast<void>(std::setlocale(LC_CTYPE, "C.UTF-8"));  // for printable()
  std::cout.exceptions(std::ios::badbit);
  int status = status_bad_input;
  try {
    status = run_command_line(argc, argv) ? 0 : status_wrong_usage;
    std::cout.flush();
  } catch (const std::ios::failure&) {
    const int why = errno;
    std::cout.exceptions(std::ios::goodbit);  // messages flush it too
    report(std::string("standard output: ") + std::strerror(why));
  } catch (const std::bad_alloc&) {
    report("out of memory");
  } catch (const input_error_t& e) {
    report(e.file(), e.wrong());
  } catch (const std::exception& e) {
    report(e.what());
  }
  return status == 0 && anything_reported() ? status_bad_input : status;
}
