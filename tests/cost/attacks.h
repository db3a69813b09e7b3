// Inputs built to be slow, of any size, and the functions that take them.

#ifndef PKIDER_TESTS_COST_ATTACKS_H
#define PKIDER_TESTS_COST_ATTACKS_H

#include <string>
#include <vector>

using text_t = const std::string&;

// An input of any size: `whole` with many units in the place of its '@'. "%u" in a unit is another
// number of up to six digits in each.
struct attack_t {
  const char* name;
  std::string unit;
  std::string whole = "@";
};

struct operation_t {
  const char* name;
  void (*run)(text_t in);
  bool is_text;  // the inputs are as they stand here, or else for from_hex
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
hostile_t build(const operation_t& operation, const attack_t& attack, std::size_t size);

std::string ordinary(const operation_t& operation);

extern const std::vector<operation_t> operations;

#endif
