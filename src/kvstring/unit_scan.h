// Passing over the units of a text, in vectors: those that cannot be what is looked for, and those
// before its end.
#pragma once

#include <cstdint>

namespace kv {

// What is looked for: one, two or four units, of which the last ones may repeat, and every unit
// above kLast.
template <class Unit>
struct WantedUnits {
  static constexpr unsigned kMost = 4;
  static constexpr Unit kLast = sizeof(Unit) == 1 ? 255 : 511;

  Unit units[kMost] = {};
  unsigned char kinds = kMost;  // 1, 2 or 4; all above 2 count as 4
};

// How many of the `count` units at `text`, which need not be aligned, can be passed over: the place
// of the first one that is wanted or zero, `count` when none is. Nothing behind them is read.
unsigned PassOver(const unsigned char* text, unsigned count,
                  const WantedUnits<unsigned char>& wanted);
unsigned PassOver(const unsigned char* text, unsigned count,
                  const WantedUnits<unsigned short>& wanted);

// The same for zero units alone: the length of a text in memory of at least `limit` units.
unsigned PassToZero(const unsigned char* text, bool wide, unsigned limit);

// Of 128 order words a bit each: whether it has `weight` at the bits of `mask`, or stands for two
// orders or a part of a contraction and has it at those of `pairMask`.
using WordBits = std::uint64_t[2];
void WordsOfWeight(WordBits& found, const unsigned* words, unsigned mask, unsigned pairMask,
                   unsigned weight);

// Copies the units before the first zero one, at most `limit`, and tells how many. What is written
// behind them, up to `limit` units, is no matter. The two texts do not overlap.
unsigned CopyToZero(unsigned char* out, const unsigned char* in, bool wide, unsigned limit);

}  // namespace kv
