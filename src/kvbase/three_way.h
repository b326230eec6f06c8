// Three-way order of two plain values: -1, 0, 1.
#pragma once

#include <cmath>

namespace kv {

template <class T>
constexpr int ThreeWay(T a, T b) {
  return (a > b) - (a < b);
}

// NaN first, then -infinity, every finite value, +infinity.
template <class T>
int FloatingClass(T value) {
  if (std::isnan(value)) return -2;
  if (std::isinf(value)) return value < 0 ? -1 : 1;
  return 0;
}

// NaNs are equal to each other and the zeros compare equal.
template <class T>
int FloatingOrder(T a, T b) {
  if (a < b) return -1;
  if (a > b) return 1;
  if (a == b) return 0;
  return ThreeWay(FloatingClass(a), FloatingClass(b));
}

}  // namespace kv
