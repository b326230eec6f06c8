// Passing over the units of a text, in vectors: those that cannot be what is looked for, and those
// before its end.
#pragma once

#include <cstdint>

namespace kv {

// What is looked for: up to four units, of which the last ones repeat where there are fewer, and
// every unit above kLast.
template <class Unit>
struct WantedUnits {
  static constexpr unsigned kMost = 4;
  static constexpr Unit kLast = sizeof(Unit) == 1 ? 255 : 511;

  Unit units[kMost] = {};
  bool isSingle = false;  // all four are the same
};

// How many of the `count` units at `text`, which need not be aligned, can be passed over: none of
// them is wanted. What stopped the scan is among the next kStop units, or they are fewer.
inline constexpr unsigned kStop = 64;
unsigned PassOver(const unsigned char* text, unsigned count,
                  const WantedUnits<unsigned char>& wanted);
unsigned PassOver(const unsigned char* text, unsigned count,
                  const WantedUnits<unsigned short>& wanted);

// Of 64 order words a bit each: whether it has `weight` at the bits of `mask`, or stands for two
// orders or a part of a contraction and has it at those of `pairMask`.
std::uint64_t WordsOfWeight(const unsigned* words, unsigned mask, unsigned pairMask,
                            unsigned weight);

// Copies the units before the first zero one, at most `limit`, and tells how many. What is written
// behind them, up to `limit` units, is no matter. The two texts do not overlap.
unsigned CopyToZero(unsigned char* out, const unsigned char* in, bool wide, unsigned limit);

}  // namespace kv
