// Three-way order of two plain values: -1, 0, 1.
#pragma once

namespace kv {

template <class T>
constexpr int ThreeWay(T a, T b) {
  return (a > b) - (a < b);
}

}  // namespace kv
