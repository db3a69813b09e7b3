// Runs every harness over its folder of the corpus: each file, each prefix of a small one and each
// change of one of its bits, named on the way; then all files in many threads at once, of which
// each begins elsewhere.

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <thread>
#include <vector>

#include "laws.h"

namespace {

using harness_t = int (*)(const std::uint8_t*, std::size_t);

const std::map<std::string, harness_t> harnesses = {
    {"containers", harness_containers},     {"elements", harness_elements}, {"keys", harness_keys},
    {"name_to_text", harness_name_to_text}, {"oids", harness_oids},         {"t61", harness_t61},
    {"text_to_name", harness_text_to_name}, {"times", harness_times}};

struct input_t {
  harness_t harness;
  std::string bytes;
  void run(std::size_t size) const {
    harness(reinterpret_cast<const std::uint8_t*>(bytes.data()), size);
  }
  void run_damaged() {
    for (std::size_t n = 0; n < bytes.size(); ++n) {
      run(n);
      for (int bit = 1; bit < 0x100; bit <<= 1) {
        bytes[n] = static_cast<char>(bytes[n] ^ bit);
        run(bytes.size());
        bytes[n] = static_cast<char>(bytes[n] ^ bit);
      }
    }
  }
};

}  // namespace

int main(int, char** argv) {
  constexpr std::size_t small = 512;
  std::vector<input_t> inputs;
  for (const auto& file : std::filesystem::recursive_directory_iterator(argv[1])) {
    if (file.is_regular_file()) {
      std::cout << file.path().native() << std::endl;  // the last one shown is the culprit
      std::ifstream in(file.path(), std::ios::binary);
      input_t& input = inputs.emplace_back();
      input = {harnesses.at(file.path().parent_path().filename()),
               std::string(std::istreambuf_iterator<char>(in), {})};
      input.run(input.bytes.size());
      if (input.bytes.size() < small) {
        input.run_damaged();
      }
    }
  }
  std::cout << inputs.size() << " files, in threads" << std::endl;
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < 8; ++t) {
    threads.emplace_back([t, &inputs] {
      for (std::size_t i = 0; i < inputs.size(); ++i) {
        const input_t& input = inputs[(i + t * inputs.size() / 8) % inputs.size()];
        input.run(input.bytes.size());
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  return inputs.empty() ? 1 : 0;
}
