// Runs a check with every set of vector instructions that this processor has, narrowest first.
#pragma once

#include "zbsvectors.h"

namespace support {

template <class Check>
void WithEachVectorSet(Check check) {
  for (unsigned set = 0; set <= static_cast<unsigned>(kv::VectorSet::kWidest); ++set) {
    const auto limit = static_cast<kv::VectorSet>(set);
    kv::LimitVectors(limit);
    if (kv::Vectors() == limit) check();
  }
  kv::LimitVectors(kv::VectorSet::kWidest);
}

}  // namespace support
