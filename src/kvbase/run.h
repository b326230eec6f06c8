// What every walk over a run shares: how many elements the buffers let it see, and where two runs
// first differ.
//
// The buffer-end rule: an element is seen when it *starts* inside its buffer; the last one may end
// outside and is read whole. The first element is always seen. A length of 0 means "exactly count
// elements". So a buffer of `length` bytes shows ceil(length / stride) elements, at least one.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kvbase/unit.h"
#include "zbshost.h"

namespace kv {

// Elements of a run of `count` (at least 1) that a buffer of `length` bytes shows.
constexpr unsigned VisibleElements(unsigned length, unsigned stride, unsigned count) {
  if (length == 0) return count;
  const unsigned started = length / stride + (length % stride != 0 ? 1 : 0);
  return std::min(started, count);
}

// Eight bytes as a word, the first byte the least significant one on every host: the position of a
// byte in memory is its position from the bottom of the word.
inline std::uint64_t LoadWord(const unsigned char* at) {
  return ReadUnit<std::uint64_t>(at, kHostIsBig);
}

// Bits in the units of a word that are zero. The lowest one is exact; units above a zero one may
// have bits too.
template <class Unit>
constexpr std::uint64_t ZeroUnits(std::uint64_t word) {
  constexpr std::uint64_t kOnes = sizeof(Unit) == 1 ? 0x0101010101010101 : 0x0001000100010001;
  constexpr std::uint64_t kTops = kOnes << (8 * sizeof(Unit) - 1);
  return (word - kOnes) & ~word & kTops;
}

// Whether one of the units that a word holds is zero.
template <class Unit>
constexpr bool HasZeroUnit(std::uint64_t word) {
  return ZeroUnits<Unit>(word) != 0;
}

// The bytes at the front of two buffers that are equal in whole blocks of vectors wider than those
// of memcmp; 0 where there are none.
std::size_t EqualBlocks(const unsigned char* a, const unsigned char* b, std::size_t size);

// The position of the first byte in which two buffers differ, `size` when they do not. A difference
// near the front, the common case between index keys, is found without a call. Long equal stretches
// go by the widest vectors, and what is left of them through memcmp.
inline std::size_t FirstDifference(const unsigned char* a, const unsigned char* b,
                                   std::size_t size) {
  constexpr std::size_t kNear = 32;
  constexpr std::size_t kLong = 512;
  constexpr std::size_t kBlock = 16384;
  std::size_t at = 0;
  const auto scanWords = [&](std::size_t end) {
    for (; at + 8 <= end; at += 8) {
      const std::uint64_t difference = LoadWord(a + at) ^ LoadWord(b + at);
      if (difference != 0) {
        at += static_cast<std::size_t>(std::countr_zero(difference)) / 8;
        return true;
      }
    }
    return false;
  };
  if (scanWords(std::min(size, kNear))) return at;
  if (size - at >= kLong) {
    at += EqualBlocks(a + at, b + at, size - at);
    if (at == size) return size;
  }
  while (size - at >= kBlock && std::memcmp(a + at, b + at, kBlock) == 0) at += kBlock;
  if (size - at < kBlock && std::memcmp(a + at, b + at, size - at) == 0) return size;
  if (scanWords(size)) return at;
  while (at < size && a[at] == b[at]) ++at;
  return at;
}

}  // namespace kv
