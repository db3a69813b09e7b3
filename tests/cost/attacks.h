// Inputs built to be slow, of any size, and the functions that take them.

#ifndef PKIDER_TESTS_COST_ATTACKS_H
#define PKIDER_TESTS_COST_ATTACKS_H

#include <string>
#include <vector>

using text_t = const std::string&;

// An input of any size: what `wrap` makes of many units. "%u" in a unit is another number of up to
// six digits in each.
struct attack_t {
  const char* name;
  std::string unit;
  std::string (*wrap)(text_t units);
};

struct operation_t {
  const char* name;
  void (*run)(text_t in);
  std::string ordinary;
  std::vector<attack_t> attacks;
  unsigned elements = 1;  // attributes, lines or bags of the ordinary input
  bool sorts = false;     // costs the logarithm of its elements besides
};

struct hostile_t {
  std::string text;
  unsigned units = 0;
};

// The least input of an attack that has `size` bytes of units.
hostile_t build(const attack_t& attack, std::size_t size);

extern const std::vector<operation_t> operations;

#endif
