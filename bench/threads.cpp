// Prints how much more two threads do than one, for names and containers. One thread works alone,
// then two at once, many times, all workloads in turns; the shortest time of either counts, as
// others may use the cores, for seconds at a time.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>

#include "cases.h"
#include "samples.h"

namespace {

constexpr const char* measured[] = {"W2-direct/names/ours", "W2-reverse/names/ours",
                                    "W3/names/ours", "W5-read/100/ours", "W5-write/100/ours"};
constexpr int rounds = 1001;
constexpr double seconds_per_round = 0.001;

// Of `threads` threads that each run the case `runs` times, from the moment all are ready.
double seconds(const case_t& one, unsigned runs, unsigned threads) {
  std::atomic<unsigned> ready = 0;
  std::atomic<bool> begun = false;
  std::vector<std::thread> workers;
  for (unsigned i = 0; i < threads; ++i) {
    workers.emplace_back([&] {
      one.run();
      ++ready;
      while (!begun) {
      }
      for (unsigned run = 0; run < runs; ++run) {
        require(one.run() != 0, one.workload.name);
      }
    });
  }
  while (ready != threads) {
    std::this_thread::yield();
  }
  const auto begin = std::chrono::steady_clock::now();
  begun = true;
  for (std::thread& worker : workers) {
    worker.join();
  }
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

struct measurement_t {
  const case_t& one;
  unsigned runs;
  double alone = 1e9;
  double together = 1e9;

  explicit measurement_t(const case_t& measured_case)
      : one(measured_case),
        runs(static_cast<unsigned>(seconds_per_round / (seconds(one, 10, 1) / 10)) + 1) {}

  void measure() {
    alone = std::min(alone, seconds(one, runs, 1));
    together = std::min(together, seconds(one, runs, 2));
  }
};

}  // namespace

int main() {
  const samples_t samples = load_samples(CERTIFICATES);
  cases_t cases;
  add_ours(samples, cases);
  std::vector<measurement_t> measurements;
  for (const case_t& one : cases) {
    if (std::find(std::begin(measured), std::end(measured), title(one)) != std::end(measured)) {
      measurements.emplace_back(one);
    }
  }
  for (int round = 0; round < rounds; ++round) {
    for (measurement_t& measurement : measurements) {
      measurement.measure();
    }
  }
  for (const measurement_t& m : measurements) {
    std::printf("%s %.3f\n", title(m.one).c_str(), 2 * m.alone / m.together);
  }
}
