// What a target holds to be true of every input; else the fuzzer is told.
#pragma once

#include <cstdlib>

inline void Require(bool holds) {
  if (!holds) std::abort();
}
