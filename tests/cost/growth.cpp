// Runs every attack in two sizes, and has Valgrind count the instructions of each run. What it
// counts goes into its profile under "operation, attack|elements|sorts|calls of operator new|their
// bytes".

#include <valgrind/callgrind.h>

#include "attacks.h"
#include "memory/memory_watch.h"

static void measure(const operation_t& operation, const attack_t& attack, std::size_t size) {
  const hostile_t input = build(operation, attack, size);
  watch = {};
  CALLGRIND_START_INSTRUMENTATION;
  operation.run(input.text);
  CALLGRIND_STOP_INSTRUMENTATION;
  const std::string counted = std::string(operation.name) + ", " + attack.name + "|" +
                              std::to_string(input.units) + "|" + std::to_string(operation.sorts) +
                              "|" + std::to_string(watch.allocations) + "|" +
                              std::to_string(watch.bytes);
  CALLGRIND_DUMP_STATS_AT(counted.c_str());
}

int main() {
  for (const operation_t& operation : operations) {
    for (const attack_t& attack : operation.attacks) {
      measure(operation, attack, 64 * 1024);
      measure(operation, attack, 512 * 1024);
    }
  }
}
