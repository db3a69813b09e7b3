// A library with nothing in it, to compare load times and sizes with.

#include <string>

extern "C" __attribute__((visibility("default"))) std::size_t empty_library(const char* text) {
  return std::string(text).size();
}
