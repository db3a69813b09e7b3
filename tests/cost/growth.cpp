// Runs every attack in two sizes, and has Valgrind count the instructions of each run. What it
// counts goes into its profile under "operation, attack|elements|sorts|calls of operator new|their
// bytes".

#include <valgrind/callgrind.h>

#include "attacks.h"
#include "memory/memory_watch.h"

static void measure(const attack_t& attack, std::size_t size) {
  const hostile_t input = attack.build(size);
  std::string out;
  watch = {};
  CALLGRIND_START_INSTRUMENTATION;
  attack.run(input.text, out);
  CALLGRIND_STOP_INSTRUMENTATION;
  const std::string counted = attack.operation + ", " + attack.name + "|" +
                              std::to_string(input.units) + "|" + std::to_string(attack.sorts) +
                              "|" + std::to_string(watch.allocations) + "|" +
                              std::to_string(watch.bytes);
  CALLGRIND_DUMP_STATS_AT(counted.c_str());
}

int main() {
  for (const attack_t& attack : read_attacks()) {
    measure(attack, 64 * 1024);
    measure(attack, 512 * 1024);
  }
}
