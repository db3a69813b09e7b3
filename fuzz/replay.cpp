// Runs a harness over every file of the given folders, and over every prefix of each small one.

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

#include "laws.h"

int main(int argc, char** argv) {
  constexpr std::size_t small = 1024;
  std::size_t runs = 0;
  for (int i = 1; i < argc; ++i) {
    for (const auto& file : std::filesystem::directory_iterator(argv[i])) {
      std::ifstream in(file.path(), std::ios::binary);
      const std::string input(std::istreambuf_iterator<char>(in), {});
      const auto* data = reinterpret_cast<const std::uint8_t*>(input.data());
      std::cout << file.path().filename() << std::endl;  // the last one shown is the culprit
      for (std::size_t n = input.size() <= small ? 0 : input.size(); n <= input.size(); ++n) {
        LLVMFuzzerTestOneInput(data, n);
        ++runs;
      }
    }
  }
  std::cout << runs << " inputs" << std::endl;
  return runs == 0 ? 1 : 0;
}
