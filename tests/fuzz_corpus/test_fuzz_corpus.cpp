// Every fuzz target over its committed inputs, over what is left of each when it ends early, and
// over random bytes behind such a beginning. The targets check themselves and abort; a sanitizer
// build sees a byte too far as well.

#include <doctest/doctest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "support/host.h"

namespace {

namespace fs = std::filesystem;
using Target = int (*)(const std::uint8_t* data, std::size_t size);

// In a heap block of its very size.
void Run(Target target, const std::string& bytes, std::size_t size) {
  const auto exact = std::make_unique<std::uint8_t[]>(size);
  std::copy_n(bytes.begin(), size, exact.get());
  CHECK(target(exact.get(), size) == 0);
}

void RunCorpus(const std::string& name, Target target) {
  std::vector<fs::path> inputs;
  for (const auto& entry : fs::directory_iterator(fs::path(KV_SOURCE_DIR) / "fuzz/corpus" / name)) {
    inputs.push_back(entry.path());
  }
  CHECK(inputs.size() >= 10);
  std::sort(inputs.begin(), inputs.end());
  std::mt19937 random(1);
  for (const fs::path& input : inputs) {
    std::ifstream file(input, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    const std::string which = input.filename().string();
    CAPTURE(which);
    Run(target, bytes, bytes.size());
    for (const std::size_t part : {bytes.size() / 2, bytes.size() * 3 / 4}) {
      CAPTURE(part);
      Run(target, bytes, part);
    }
    for (int round = support::Rounds(20); round > 0; --round) {
      std::string other = bytes.substr(0, random() % (bytes.size() + 1));
      for (std::size_t more = random() % 500; more != 0; --more) {
        other += static_cast<char>(random());
      }
      Run(target, other, other.size());
    }
  }
}

}  // namespace

// KV_FUZZ_TARGETS is KV_FUZZ_TARGET(NAME) for each, made by CMake from the folder.
#define KV_FUZZ_TARGET(name)                                        \
  extern "C" int name(const std::uint8_t* data, std::size_t size);  \
  TEST_CASE("inputs of " #name " are taken as its target checks") { \
    RunCorpus(#name, name);                                         \
  }
KV_FUZZ_TARGETS
