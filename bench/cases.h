// What is measured: a list of cases, each one toolkit doing one job on one input. Cases with the
// same workload and input are compared with each other.

#ifndef PKIDER_BENCH_CASES_H
#define PKIDER_BENCH_CASES_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

struct samples_t;

struct workload_t {
  const char* name;   // as in scripts/bench, such as "W2-direct"
  std::string input;  // "names", or the number of parts of a generated input
  std::size_t items;  // what one run handles: figures are divided by it
};

struct case_t {
  workload_t workload;
  const char* who;
  std::function<std::size_t()> run;  // returns a sum over its results
  // How the results differ in meaning from the library's. Without a note the sums must be equal.
  const char* note;
};
using cases_t = std::vector<case_t>;

// Workload, input and toolkit, such as "W2-direct/names/ours".
std::string title(const case_t& one);

// Counted in one run.
double allocations_per_item(const case_t& one);

// One list of cases for each toolkit. Those of the peers use nothing but its public interface.
void add_ours(const samples_t& samples, cases_t& cases);
void add_floor(const samples_t& samples, cases_t& cases);
void add_openssl(const samples_t& samples, cases_t& cases);
void add_gnutls(const samples_t& samples, cases_t& cases);
void add_mbedtls(const samples_t& samples, cases_t& cases);
void add_botan(const samples_t& samples, cases_t& cases);

// All cases that this build has, each run once and found right.
cases_t checked_cases(const samples_t& samples);

// Ends the program: a figure of a failing call is worth nothing.
[[noreturn]] void fail(const char* call);
inline void require(bool success, const char* call) {
  if (!success) {
    fail(call);
  }
}

// A case that does `one` for each of `inputs`, which must outlive it.
template <class Inputs, class One>
void add_each(cases_t& cases, const workload_t& workload, const char* who, const Inputs& inputs,
              One one, const char* note = "") {
  const auto run = [&inputs, one] {
    std::size_t sum = 0;
    for (const auto& input : inputs) {
      sum += one(input);
    }
    return sum;
  };
  cases.push_back({workload, who, run, note});
}

// A case that does `one` for a single input.
template <class Input, class One>
void add_one(cases_t& cases, const workload_t& workload, const char* who, const Input& input,
             One one, const char* note = "") {
  cases.push_back({workload, who, [&input, one] { return one(input); }, note});
}

// How often this thread allocated memory so far.
std::size_t allocations();

#endif
