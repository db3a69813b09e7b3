// What the harnesses share. A harness checks laws, not only the absence of crashes; a broken law
// ends the process, so that the fuzzer keeps the input.

#ifndef PKIDER_FUZZ_LAWS_H
#define PKIDER_FUZZ_LAWS_H

#include <cstdint>
#include <cstdlib>

#include "asn_reader.h"
#include "test_util.h"

// Each becomes the entry point of one fuzzer; replay.cpp runs them all.
extern "C" {
int harness_containers(const std::uint8_t* data, std::size_t size);
int harness_elements(const std::uint8_t* data, std::size_t size);
int harness_keys(const std::uint8_t* data, std::size_t size);
int harness_name_to_text(const std::uint8_t* data, std::size_t size);
int harness_oids(const std::uint8_t* data, std::size_t size);
int harness_t61(const std::uint8_t* data, std::size_t size);
int harness_text_to_name(const std::uint8_t* data, std::size_t size);
int harness_times(const std::uint8_t* data, std::size_t size);
}

inline void law(bool holds) {
  if (!holds) {
    std::abort();
  }
}

inline std::string_view text_of(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

// The number in the first four bytes of `input`, which steers a harness and is taken off it.
inline unsigned take_number(std::string_view& input) {
  unsigned number = 0;
  for (const char c : input.substr(0, 4)) {
    number = number << 8 | static_cast<unsigned char>(c);
  }
  input.remove_prefix(std::min<std::size_t>(4, input.size()));
  return number;
}

#endif
