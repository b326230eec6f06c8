// Repeatable random numbers of 32 and 64 bits, the same on every host.
#pragma once

#include <cstdint>
#include <random>

class Random {
 public:
  explicit Random(unsigned seed) : engine_(seed) {}
  unsigned operator()() { return static_cast<unsigned>(engine_()); }
  std::uint64_t Wide() {
    const std::uint64_t high = (*this)();
    return high << 32 | (*this)();
  }

 private:
  std::mt19937 engine_;
};
