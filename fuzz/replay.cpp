// Runs every harness over its folder of the corpus: each file, each prefix of it and each change of
// one of its bits, named on the way; then all files in many threads at once, of which each begins
// elsewhere.
//
// With a number N after the folder only every Nth byte is damaged: for slow tools. A slow harness
// has a further N, and one thread.
//
// With a number N instead of a folder: all inputs of up to two bytes, and every Nth of three.

#include <filesystem>
#include <fstream>
#include <future>
#include <iostream>
#include <iterator>
#include <vector>

#include "laws.h"

namespace {

constexpr struct {
  const char* name;
  harness_t* run;
  std::size_t steering;  // bytes at the front that are not input to a reader
  unsigned slow = 1;     // it gets one of so many damaged and small inputs
} harnesses[] = {
#ifdef HAVE_COMMAND
    {"command", harness_command, 0, 16},
#endif
    {"containers", harness_containers, 0},
    {"elements", harness_elements, 4},
    {"keys", harness_keys, 0},
    {"name_to_text", harness_name_to_text, 0},
    {"oids", harness_oids, 0},
#ifdef HAVE_PEERS
    {"peers", harness_peers, 0},
#endif
    {"t61", harness_t61, 0},
    {"text_to_name", harness_text_to_name, 0},
    {"times", harness_times, 8},
};

void run(harness_t* harness, const std::string& bytes) {
  harness(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

void run_damaged(harness_t* harness, std::string bytes, std::size_t step) {
  for (std::size_t n = step - 1; n < bytes.size(); n += step) {
    run(harness, bytes.substr(0, n));
    const char good = bytes[n];
    for (int bit = 1; bit < 0x100; bit <<= 1) {
      bytes[n] = static_cast<char>(good ^ bit);
      run(harness, bytes);
    }
    bytes[n] = good;
  }
}

// Every input of up to two bytes, and of three every `step`-th.
void run_small(unsigned step) {
  for (const auto& [name, harness, steering, slow] : harnesses) {
    for (unsigned size = 0; size <= 3; ++size) {
      for (unsigned n = 0; n >> 8 * size == 0; n += (size == 3 ? step : 1) * slow) {
        std::string bytes(steering, '\0');
        for (unsigned i = 0; i < size; ++i) {
          bytes += static_cast<char>(n >> 8 * i);
        }
        run(harness, bytes);
      }
    }
    std::cout << name << std::endl;
  }
}

}  // namespace

int main(int, char** argv) {
  if (const int step = std::atoi(argv[1])) {
    run_small(static_cast<unsigned>(step));
    return 0;
  }
  const std::filesystem::path corpus = argv[1];
  const std::size_t step = argv[2] == nullptr ? 1 : std::stoul(argv[2]);
  std::vector<std::pair<harness_t*, std::string>> inputs;
  for (const auto& [name, harness, steering, slow] : harnesses) {
    for (const auto& file : std::filesystem::directory_iterator(corpus / name)) {
      std::cout << file.path().native() << std::endl;  // the last one shown is the culprit
      std::ifstream in(file.path(), std::ios::binary);
      const std::string bytes(std::istreambuf_iterator<char>(in), {});
      run(harness, bytes);
      run_damaged(harness, bytes, step * slow);
      if (slow == 1) {
        inputs.emplace_back(harness, bytes);
      }
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
