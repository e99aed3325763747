// A fuzzer without libFuzzer, for every compiler: first the inputs of FOLDER, then COUNT random
// ones, half of them changed copies of those.
//
//   fuzz_... FOLDER COUNT [SEED]

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

#include "tests/fuzz/input.hpp"

int main(int argc, char** argv) {
  if (argc < 3) return 2;
  using Bytes = std::vector<std::uint8_t>;
  std::vector<Bytes> kept;
  for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
    std::ifstream file(entry.path(), std::ios::binary);
    kept.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  }
  std::ranges::sort(kept);  // folders have no order
  const unsigned long count = std::strtoul(argv[2], nullptr, 10);
  const unsigned long seed = argc > 3 ? std::strtoul(argv[3], nullptr, 10) : 23;
  std::mt19937 random(static_cast<unsigned>(seed));
  for (const Bytes& input : kept) LLVMFuzzerTestOneInput(input.data(), input.size());
  for (unsigned long k = 0; k < count; ++k) {
    Bytes input(random() % 600);
    if (k % 2 == 0 && !kept.empty()) input = kept[random() % kept.size()];
    const std::size_t changes = k % 2 == 0 ? 1 + random() % 8 : input.size();
    for (std::size_t c = 0; c < changes && !input.empty(); ++c) {
      const std::size_t at = k % 2 == 0 ? random() % input.size() : c;
      input[at] = static_cast<std::uint8_t>(random());
    }
    LLVMFuzzerTestOneInput(input.data(), input.size());
  }
  std::printf("%zu kept inputs, %lu random ones of seed %lu\n", kept.size(), count, seed);
}
