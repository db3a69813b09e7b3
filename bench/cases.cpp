// All cases, and what is checked of each before it is measured.

#include "cases.h"

#include <cstdio>
#include <cstdlib>
#include <map>

#include "samples.h"

void fail(const char* call) {
  std::fprintf(stderr, "bench: %s failed\n", call);
  std::exit(1);
}

std::string title(const case_t& one) {
  return one.workload.name + ("/" + one.workload.input) + "/" + one.who;
}

double allocations_per_item(const case_t& one) {
  const std::size_t before = allocations();
  one.run();
  return static_cast<double>(allocations() - before) / static_cast<double>(one.workload.items);
}

namespace {

// Cases without a note give what the first of their kind, the library's, gives.
void check(const cases_t& cases) {
  std::map<std::string, std::size_t> sums;
  for (const case_t& one : cases) {
    const std::size_t sum = one.run();
    const auto [first, added] = sums.emplace(one.workload.name + ("/" + one.workload.input), sum);
    const bool same = *one.note != '\0' || sum == first->second;
    if (sum == 0 || !same) {
      fail((title(one) + ": " + std::to_string(sum) + " against " + std::to_string(first->second))
               .c_str());
    }
  }
}

}  // namespace

cases_t checked_cases(const samples_t& samples) {
  cases_t cases;
  add_ours(samples, cases);
  add_floor(samples, cases);
#ifdef HAVE_OPENSSL
  add_openssl(samples, cases);
#endif
#ifdef HAVE_GNUTLS
  add_gnutls(samples, cases);
#endif
#ifdef HAVE_MBEDTLS
  add_mbedtls(samples, cases);
#endif
#ifdef HAVE_BOTAN
  add_botan(samples, cases);
#endif
  check(cases);
  return cases;
}
