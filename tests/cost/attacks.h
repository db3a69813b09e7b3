// Inputs built to be slow, of any size, and the functions that take them.

#ifndef PKIDER_TESTS_COST_ATTACKS_H
#define PKIDER_TESTS_COST_ATTACKS_H

#include <string>
#include <vector>

using text_t = const std::string&;

struct hostile_t {
  std::string text;
  unsigned units;
};

// A row of tests/data/attacks.txt, and the ordinary input of its operation.
struct attack_t {
  std::string operation, name;
  void (*run)(text_t in, std::string& out);
  bool is_der;
  bool sorts;  // its cost grows by the logarithm of its units, too
  std::string ordinary;
  unsigned elements;  // attributes, lines or bags of the ordinary input
  std::string unit, whole;

  // The least input that has `size` bytes of units.
  hostile_t build(std::size_t size) const;
};

std::vector<attack_t> read_attacks();

#endif
