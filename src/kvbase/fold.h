// The hash of a run of units, texts and blobs alike: h = 9 * h + key, unit by unit, modulo 2^32.
// Stored indexes hold the results.
#pragma once

#include <cstddef>
#include <cstring>

namespace kv {

inline constexpr unsigned kFoldFactor = 9;

constexpr unsigned Fold(unsigned hash, unsigned key) {
  return hash * kFoldFactor + key;
}

// Folds `count` units at `units`, which need not be aligned. Eight steps are taken at once, in
// pairs of pairs: step by step, each multiplication would wait for the one before.
template <class Unit, class Key>
unsigned FoldUnits(const void* units, std::size_t count, Key key) {
  constexpr unsigned kTwo = kFoldFactor * kFoldFactor;
  constexpr unsigned kFour = kTwo * kTwo;
  constexpr unsigned kSteps = 8;
  const auto* at = static_cast<const unsigned char*>(units);
  unsigned hash = 0;
  for (; count >= kSteps; count -= kSteps) {
    Unit unit[kSteps];
    std::memcpy(unit, at, sizeof unit);
    at += sizeof unit;
    const auto two = [&](unsigned i) { return Fold(key(unit[i]), key(unit[i + 1])); };
    const auto four = [&](unsigned i) { return two(i) * kTwo + two(i + 2); };
    hash = hash * (kFour * kFour) + (four(0) * kFour + four(4));
  }
  for (; count > 0; --count, at += sizeof(Unit)) {
    Unit unit;
    std::memcpy(&unit, at, sizeof unit);
    hash = Fold(hash, key(unit));
  }
  return hash;
}

}  // namespace kv
