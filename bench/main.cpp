// Runs the cases under Google Benchmark. Times are per run of all items; the counters `items` and
// `allocations` (per item) and the label go with them.

#include <benchmark/benchmark.h>

#include "cases.h"
#include "samples.h"

namespace {

void measure(benchmark::State& state, const case_t& one) {
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
  const samples_t samples = load_samples(CERTIFICATES);
  const cases_t cases = checked_cases(samples);
  for (const case_t& one : cases) {
    benchmark::RegisterBenchmark(title(one).c_str(),
                                 [&one](benchmark::State& state) { measure(state, one); });
  }
  benchmark::RunSpecifiedBenchmarks();
}
