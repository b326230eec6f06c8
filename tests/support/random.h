// Repeatable random numbers, the same on every host.
#pragma once

#include <cstdint>
#include <random>
#include <type_traits>

struct Random {
  explicit Random(unsigned seed) : engine(seed) {}
  unsigned operator()() { return static_cast<unsigned>(engine()); }
  std::uint64_t Wide() {
    const std::uint64_t high = (*this)();
    return high << 32 | (*this)();
  }
  // From `low` to `high`, both included, which are fewer than 2^64 apart.
  template <class Low, class High>
  auto Between(Low low, High high) {
    const auto first = static_cast<std::uint64_t>(low);
    return static_cast<std::common_type_t<Low, High>>(
        first + Wide() % (static_cast<std::uint64_t>(high) - first + 1));
  }

  std::mt19937 engine;
};
