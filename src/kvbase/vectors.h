// Vectors of 32-bit lanes, 16, 32 or 64 bytes wide. A kernel is written once over the width, and
// compiled once for each width that a processor may have; WidestVectors() tells which copy to call.
// A kernel is always inlined into a copy and takes vectors by reference only: passing one by value
// depends on what the caller was compiled for.
#pragma once

#include <cstring>
#include <utility>

#include "zbsvectors.h"

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

template <unsigned width>
[[gnu::always_inline]] inline void LoadLanes(Lanes<width>& loaded, const unsigned char* at) {
  std::memcpy(&loaded, at, sizeof loaded);
}

// In every block of 16 bytes: lanes i and j of `a`, then the same of `b`.
template <unsigned width, unsigned i, unsigned j, std::size_t... lane>
[[gnu::always_inline]] inline void ChooseLanes(Lanes<width>& chosen, const Lanes<width>& a,
                                               const Lanes<width>& b,
                                               std::index_sequence<lane...>) {
  constexpr std::size_t from[] = {i, j, width / 4 + i, width / 4 + j};
  chosen = __builtin_shufflevector(a, b, (lane / 4 * 4 + from[lane % 4])...);
}

template <unsigned width, unsigned i, unsigned j>
[[gnu::always_inline]] inline void ChooseLanes(Lanes<width>& chosen, const Lanes<width>& a,
                                               const Lanes<width>& b) {
  ChooseLanes<width, i, j>(chosen, a, b, std::make_index_sequence<width / 4>());
}

// Of three vectors in a row, every third lane from lane `first` on, each where it stands: 3 shares
// no factor with the number of lanes, so that no two stand in the same place.
template <unsigned width, unsigned first, std::size_t... lane>
[[gnu::always_inline]] inline void ChooseThirds(Lanes<width>& chosen, const Lanes<width>& a,
                                                const Lanes<width>& b, const Lanes<width>& c,
                                                std::index_sequence<lane...>) {
  constexpr std::size_t kLanes = width / 4;
  const Lanes<width> ab =
      __builtin_shufflevector(a, b, (lane % 3 == first ? lane : kLanes + lane)...);
  chosen =
      __builtin_shufflevector(ab, c, ((2 * kLanes + lane) % 3 == first ? kLanes + lane : lane)...);
}

template <unsigned width, unsigned first>
[[gnu::always_inline]] inline void ChooseThirds(Lanes<width>& chosen, const Lanes<width>& a,
                                                const Lanes<width>& b, const Lanes<width>& c) {
  ChooseThirds<width, first>(chosen, a, b, c, std::make_index_sequence<width / 4>());
}

// Every lane from `by` places further up, around the end.
template <unsigned width, unsigned by, std::size_t... lane>
[[gnu::always_inline]] inline void RotateLanes(Lanes<width>& lanes, std::index_sequence<lane...>) {
  lanes = __builtin_shufflevector(lanes, lanes, ((lane + by) % (width / 4))...);
}

template <unsigned width, unsigned by>
[[gnu::always_inline]] inline void RotateLanes(Lanes<width>& lanes) {
  RotateLanes<width, by>(lanes, std::make_index_sequence<width / 4>());
}

}  // namespace kv
