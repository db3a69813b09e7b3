// What the harnesses share. A harness checks laws, not only the absence of crashes; a broken law
// ends the process, so that the fuzzer keeps the input.

#ifndef PKIDER_FUZZ_LAWS_H
#define PKIDER_FUZZ_LAWS_H

#include <cstdlib>

#include "test_util.h"

// Each becomes the entry point of one fuzzer; replay.cpp runs them all.
using harness_t = int(const std::uint8_t* data, std::size_t size);
extern "C" {
harness_t harness_command, harness_containers, harness_elements, harness_keys, harness_name_to_text,
    harness_oids, harness_peers, harness_t61, harness_text_to_name, harness_times;
}

inline void law(bool holds) {
  if (!holds) {
    std::abort();
  }
}

inline std::string_view text_of(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

// The number of which these are the bytes, the highest first; it wraps.
inline unsigned number_of(std::string_view bytes) {
  unsigned number = 0;
  for (const char c : bytes) {
    number = number << 8 | static_cast<unsigned char>(c);
  }
  return number;
}

// The first bytes of `input`, which are taken off it.
inline std::string_view take(std::string_view& input, std::size_t size) {
  const std::string_view taken = input.substr(0, size);
  input.remove_prefix(taken.size());
  return taken;
}
inline unsigned take_number(std::string_view& input, std::size_t size = 4) {
  return number_of(take(input, size));
}

#endif
