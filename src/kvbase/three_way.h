// Three-way order of two plain values: -1, 0, 1.
#pragma once

#include <cmath>

namespace kv {

template <class T>
constexpr int ThreeWay(T a, T b) {
  return (a > b) - (a < b);
}

// NaNs come first and are equal to each other, and the zeros compare equal.
template <class T>
int FloatingOrder(T a, T b) {
  if (a < b) return -1;
  if (a > b) return 1;
  return std::isnan(b) - std::isnan(a);
}

}  // namespace kv
