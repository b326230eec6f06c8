// Runs of small ASCII letters, eight at a time: their orders are the same in every language and
// code set, are plain, and their level-1 codes are three apart. text_key.cpp takes them out of the
// way; its plain walk is the twin that the tests hold this against.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

#include "kvstring/text_key_layout.h"

namespace kv {

inline constexpr std::uint64_t kEveryByte = 0x0101010101010101;

// Looking for a run takes longer than the code of one unit, so it is looked for where one begins.
constexpr bool IsSmallLetter(unsigned unit) {
  return unit - 'a' < 26;
}

// How many bytes of a word, from the lowest up, are small letters before the first that is none.
inline unsigned LeadingSmallLetters(std::uint64_t word) {
  constexpr std::uint64_t kTops = 0x80 * kEveryByte;
  const std::uint64_t ascii = word & ~kTops;
  const std::uint64_t fromA = ascii + (0x80 - 'a') * kEveryByte;
  const std::uint64_t behindZ = ascii + (0x7F - 'z') * kEveryByte;
  const std::uint64_t others = (~fromA | behindZ | word) & kTops;
  return static_cast<unsigned>(std::countr_zero(others)) / 8;
}

// The codes of eight small letters. What other bytes become means nothing, but letters below them
// keep theirs.
constexpr std::uint64_t SmallLetterCodes(std::uint64_t word) {
  return (word - 'a' * kEveryByte) * 3 + kLetterByte * kEveryByte;
}

// Eight units from `index` on as the bytes of a word, those that are no bytes as 80, and zeros
// behind the end of the text.
inline std::uint64_t EightUnits(const unsigned char* units, unsigned index, unsigned length) {
  std::uint64_t word = 0;
  if (length - index >= 8) {
    std::memcpy(&word, units + index, 8);
  } else if (length >= 8) {
    std::memcpy(&word, units + length - 8, 8);
    word >>= 8 * (8 - (length - index));
  } else {
    for (unsigned i = length; i-- != index;) word = word << 8 | units[i];
  }
  return word;
}

inline std::uint64_t FourWideUnits(const unsigned char* units) {
  constexpr std::uint64_t kLow = 0x00FF00FF00FF00FF;
  std::uint64_t word;
  std::memcpy(&word, units, 8);
  const std::uint64_t high = word >> 8 & kLow;
  word = (word & kLow) | ((high + kLow) >> 1 & 0x0080008000800080);
  word = (word | word >> 8) & 0x0000FFFF0000FFFF;
  return (word | word >> 16) & 0xFFFFFFFF;
}

inline std::uint64_t EightWideUnits(const unsigned char* units, unsigned index, unsigned length) {
  const unsigned char* const at = units + std::size_t{2} * index;
  if (length - index >= 8) return FourWideUnits(at) | FourWideUnits(at + 8) << 32;
  std::uint64_t word = 0;
  for (unsigned i = length - index; i-- != 0;) {
    const unsigned char high = at[2 * i + 1];
    word = word << 8 | (high == 0 ? at[2 * i] : 0x80);
  }
  return word;
}

}  // namespace kv
