// Runs every harness over its folder of the corpus: each file, each prefix of it and each change of
// one of its bits, named on the way; then all files in many threads at once, of which each begins
// elsewhere.

#include <filesystem>
#include <fstream>
#include <future>
#include <iostream>
#include <iterator>
#include <map>
#include <vector>

#include "laws.h"

namespace {

const std::map<std::string, harness_t*> harnesses = {
    {"containers", harness_containers},     {"elements", harness_elements}, {"keys", harness_keys},
    {"name_to_text", harness_name_to_text}, {"oids", harness_oids},         {"t61", harness_t61},
    {"text_to_name", harness_text_to_name}, {"times", harness_times}};

void run(harness_t* harness, const std::string& bytes) {
  harness(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

void run_damaged(harness_t* harness, std::string bytes) {
  for (std::size_t n = 0; n < bytes.size(); ++n) {
    run(harness, bytes.substr(0, n));
    const char good = bytes[n];
    for (int bit = 1; bit < 0x100; bit <<= 1) {
      bytes[n] = static_cast<char>(good ^ bit);
      run(harness, bytes);
    }
    bytes[n] = good;
  }
}

}  // namespace

int main(int, char** argv) {
  std::vector<std::pair<harness_t*, std::string>> inputs;
  for (const auto& file : std::filesystem::recursive_directory_iterator(argv[1])) {
    if (file.is_regular_file()) {
      std::cout << file.path().native() << std::endl;  // the last one shown is the culprit
      std::ifstream in(file.path(), std::ios::binary);
      const auto& [harness, bytes] =
          inputs.emplace_back(harnesses.at(file.path().parent_path().filename()),
                              std::string(std::istreambuf_iterator<char>(in), {}));
      run(harness, bytes);
      run_damaged(harness, bytes);
    }
  }
  std::cout << inputs.size() << " files, in threads" << std::endl;
  std::vector<std::future<void>> threads;
  for (std::size_t t = 0; t < 8; ++t) {
    threads.push_back(std::async(std::launch::async, [t, &inputs] {
      for (std::size_t i = 0; i < inputs.size(); ++i) {
        const auto& [harness, bytes] = inputs[(i + t * inputs.size() / 8) % inputs.size()];
        run(harness, bytes);
      }
    }));
  }
  return inputs.empty() ? 1 : 0;
}
