// candidates.h - where in a text a pattern could begin, found in blocks of 64-bit words. A search
// then compares there only.
//
// Of the ASCII characters one or two (the cases of a letter) can match the pattern's first
// character; the walk stops at those and, for want of knowing better, at everything beyond ASCII.
#pragma once

#include <cstdint>

#include "kvstring/collate.h"
#include "kvstring/string_edit.h"

namespace kv {

class Candidates {
 public:
  // Over `text`, whose length must be given, in memory order.
  explicit Candidates(const Text& text)
      : units_(static_cast<const unsigned char*>(text.units)),
        length_(text.length),
        wide_(KvIsWideCodeSet(text.codeSet)) {}

  // Adds an ASCII unit to stop at. False when two are there already.
  bool StopAt(unsigned short unit) {
    if (count_ == 2) return false;
    for (unsigned index = count_++; index < 2; ++index) stops_[index] = unit;
    return true;
  }

  // The first candidate from `position` on, the text's length when there is none.
  unsigned Next(unsigned position) const {
    return wide_ ? NextIn<2>(position) : NextIn<1>(position);
  }

 private:
  static constexpr unsigned kBlock = 32;  // bytes

  template <unsigned width>
  unsigned NextIn(unsigned position) const {
    constexpr unsigned kUnitsABlock = kBlock / width;
    while (position + kUnitsABlock <= length_ && !BlockHasCandidate<width>(position)) {
      position += kUnitsABlock;
    }
    while (position < length_ && !IsCandidate(position)) ++position;
    return position;
  }

  template <unsigned width>
  bool BlockHasCandidate(unsigned position) const {
    constexpr std::uint64_t kOnes = width == 1 ? 0x0101010101010101 : 0x0001000100010001;
    constexpr std::uint64_t kTops = kOnes << (8 * width - 1);
    constexpr std::uint64_t kBeyondAscii = (width == 1 ? 0x80 : 0xFF80) * kOnes;
    std::uint64_t zeros = 0;
    std::uint64_t beyond = 0;
    for (unsigned offset = 0; offset < kBlock; offset += 8) {
      std::uint64_t word;
      std::memcpy(&word, units_ + position * width + offset, 8);
      const std::uint64_t first = word ^ stops_[0] * kOnes;
      const std::uint64_t second = word ^ stops_[1] * kOnes;
      zeros |= ((first - kOnes) & ~first) | ((second - kOnes) & ~second);
      beyond |= word;
    }
    return ((zeros & kTops) | (beyond & kBeyondAscii)) != 0;
  }

  bool IsCandidate(unsigned position) const {
    const unsigned short unit = ReadUnit(units_, wide_, position);
    return unit >= 0x80 || unit == stops_[0] || unit == stops_[1];
  }

  const unsigned char* units_;
  unsigned length_;
  bool wide_;
  unsigned count_ = 0;
  unsigned short stops_[2] = {};
};

}  // namespace kv
