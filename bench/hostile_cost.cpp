// What inputs built to be slow cost: nanoseconds per byte of 1 MiB of each, beside ordinary input;
// and where that is more than twice as much, because the attack's elements are smaller, nanoseconds
// per element, which may then be no more than twice those of an ordinary one; in a map, which is
// sorted, times the logarithm of their number.

#include <malloc.h>

#include <cmath>
#include <cstdio>
#include <ctime>
#include <limits>

#include "cost/attacks.h"

namespace {

constexpr std::size_t mebibyte = 1U << 20;

// The least processor time of several runs, in nanoseconds per byte.
double cost(const attack_t& attack, text_t in, int times) {
  const std::size_t runs = 1 + (1U << 16) / in.size();
  std::clock_t least = std::numeric_limits<std::clock_t>::max();
  for (int i = 0; i < times; ++i) {
    const std::clock_t start = std::clock();
    for (std::size_t run = 0; run < runs; ++run) {
      std::string out;
      attack.run(in, out);
    }
    least = std::min(least, std::clock() - start);
  }
  return static_cast<double>(least) * (1e9 / CLOCKS_PER_SEC) /
         static_cast<double>(runs * in.size());
}

// A row of the table; false when the attack costs too much.
bool print_row(const attack_t& attack) {
  const double ordinary = cost(attack, attack.ordinary, 9);
  const hostile_t input = attack.build(mebibyte);
  const double hostile = cost(attack, input.text, 9);
  std::printf("| `%s` | %s | %.2f | %.2f | %.1f |", attack.operation.c_str(), attack.name.c_str(),
              ordinary, hostile, hostile / ordinary);
  if (hostile <= 2 * ordinary) {
    std::puts(" | |");
    return true;
  }
  const auto per_element = [](double ns_per_byte, text_t text, unsigned elements) {
    return ns_per_byte * static_cast<double>(text.size()) / static_cast<double>(elements);
  };
  const double element = per_element(ordinary, attack.ordinary, attack.elements);
  const double hostile_element = per_element(hostile, input.text, input.units);
  std::printf(" %.0f | %.0f |\n", element, hostile_element);
  const double sorting = attack.sorts ? std::log(input.units) / std::log(attack.elements) : 1;
  return hostile_element <= 2 * sorting * element;
}

}  // namespace

int main() {
  // Keeps memory once taken: what the system does to hand out fresh pages is not our cost.
  mallopt(M_MMAP_MAX, 0);
  mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
  int failures = 0;
  for (const attack_t& attack : read_attacks()) {
    if (!print_row(attack)) {
      std::printf("%s, %s: costs too much\n", attack.operation.c_str(), attack.name.c_str());
      ++failures;
    }
  }
  return failures == 0 ? 0 : 1;
}
