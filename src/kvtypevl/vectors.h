// Vectors of 32-bit lanes, 16, 32 or 64 bytes wide. A kernel is written once over the width, and
// compiled once for each width that a processor may have; WidestVectors() tells which copy to call.
// A kernel is always inlined into a copy and takes vectors by reference only: passing one by value
// depends on what the caller was compiled for.
#pragma once

#include <cstring>
#include <utility>

namespace kv {

template <class Lane, unsigned width>
struct LanesOf {
  typedef Lane Type __attribute__((vector_size(width)));  // the attribute is lost on an alias
};
template <unsigned width>
using Lanes = typename LanesOf<unsigned, width>::Type;
template <unsigned width>
using SignedLanes = typename LanesOf<int, width>::Type;
template <unsigned width>
using HalfLanes = typename LanesOf<unsigned short, width>::Type;

// Bytes in the widest vectors that this processor multiplies and shuffles by lanes.
inline unsigned WidestVectors() {
#if defined(__x86_64__) || defined(__i386__)
  if (__builtin_cpu_supports("avx512bw") != 0) return 64;
  if (__builtin_cpu_supports("avx2") != 0) return 32;
#endif
  return 16;
}

template <unsigned width, class Vector, std::size_t... lane>
[[gnu::always_inline]] inline void JoinHalves(Lanes<width>& joined, const Vector& low,
                                              const Vector& high, std::index_sequence<lane...>) {
  joined = __builtin_shufflevector(low, high, lane...);
}

// Blocks of 16 bytes that stand `step` bytes apart, the first at `at`.
template <unsigned width, unsigned step = 16>
[[gnu::always_inline]] inline void LoadBlocks(Lanes<width>& loaded, const unsigned char* at) {
  if constexpr (width == 16 || step == 16) {
    std::memcpy(&loaded, at, sizeof loaded);
  } else {
    Lanes<width / 2> low, high;
    LoadBlocks<width / 2, step>(low, at);
    LoadBlocks<width / 2, step>(high, at + width / 32 * step);
    JoinHalves<width>(loaded, low, high, std::make_index_sequence<width / 4>());
  }
}

// In every block of 16 bytes: lanes i and j of `a`, then k and l of `b`.
template <unsigned width, unsigned i, unsigned j, unsigned k, unsigned l, std::size_t... lane>
[[gnu::always_inline]] inline void ChooseLanes(Lanes<width>& chosen, const Lanes<width>& a,
                                               const Lanes<width>& b,
                                               std::index_sequence<lane...>) {
  constexpr std::size_t from[] = {i, j, width / 4 + k, width / 4 + l};
  chosen = __builtin_shufflevector(a, b, (lane / 4 * 4 + from[lane % 4])...);
}

template <unsigned width, unsigned i, unsigned j, unsigned k, unsigned l>
[[gnu::always_inline]] inline void ChooseLanes(Lanes<width>& chosen, const Lanes<width>& a,
                                               const Lanes<width>& b) {
  ChooseLanes<width, i, j, k, l>(chosen, a, b, std::make_index_sequence<width / 4>());
}

}  // namespace kv
