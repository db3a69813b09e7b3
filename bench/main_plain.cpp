// Runs the cases with nothing but the standard library, for builds that have no Google Benchmark:
// medians of interleaved repetitions, printed in the same JSON.
//
//   bench_plain [repetitions]

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "cases.h"
#include "samples.h"

namespace {

volatile std::size_t sink;

// Of CPU time, as other processes may be running. The first run is not measured: it tidies up after
// the case before, as when malloc first merges ten thousand freed nodes of a list.
double nanoseconds_per_run(const case_t& one, std::size_t runs) {
  sink = one.run();
  const std::clock_t begin = std::clock();
  for (std::size_t i = 0; i < runs; ++i) {
    sink = one.run();
  }
  const double clocks = static_cast<double>(std::clock() - begin);
  return clocks / CLOCKS_PER_SEC * 1e9 / static_cast<double>(runs);
}

// As many as take about 20 ms.
std::size_t enough_runs(const case_t& one) {
  constexpr double wanted = 20e6;
  std::size_t runs = 1;
  double spent = 0;
  while (spent < wanted / 20) {
    runs *= 4;
    spent = nanoseconds_per_run(one, runs) * static_cast<double>(runs);
  }
  return static_cast<std::size_t>(static_cast<double>(runs) * wanted / spent) + 1;
}

double median(std::vector<double> times) {
  std::sort(times.begin(), times.end());
  return times[times.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  const int repetitions = argc > 1 ? std::atoi(argv[1]) : 5;
  const samples_t samples = load_samples(CERTIFICATES);
  const cases_t cases = checked_cases(samples);
  std::vector<std::size_t> runs;
  for (const case_t& one : cases) {
    runs.push_back(enough_runs(one));
  }
  std::vector<std::vector<double>> times(cases.size());
  for (int round = 0; round < repetitions; ++round) {
    for (std::size_t i = 0; i < cases.size(); ++i) {
      times[i].push_back(nanoseconds_per_run(cases[i], runs[i]));
    }
  }
  std::printf("{\"benchmarks\": [");
  for (std::size_t i = 0; i < cases.size(); ++i) {
    std::printf("%s\n{\"run_name\": \"%s\", \"aggregate_name\": \"median\", \"cpu_time\": %.1f, ",
                i == 0 ? "" : ",", title(cases[i]).c_str(), median(times[i]));
    std::printf("\"items\": %zu, \"allocations\": %g}", cases[i].workload.items,
                allocations_per_item(cases[i]));
  }
  std::printf("\n]}\n");
}
