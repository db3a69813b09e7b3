// Runs the cases under Google Benchmark. Times are per run of all items; the counters `items` and
// `allocations` (per item) and the label go with them.

#include <benchmark/benchmark.h>

#include "cases.h"
#include "samples.h"

namespace {

void measure(benchmark::State& state, const Case& one) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(one.run());
  }
  state.counters["items"] = static_cast<double>(one.workload.items);
  state.counters["allocations"] = allocations_per_item(one);
  state.SetLabel(one.note);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  const Samples samples = load_samples(CERTIFICATES);
  const Cases cases = checked_cases(samples);
  for (const Case& one : cases) {
    benchmark::RegisterBenchmark(title(one).c_str(),
                                 [&one](benchmark::State& state) { measure(state, one); });
  }
  benchmark::RunSpecifiedBenchmarks();
}
