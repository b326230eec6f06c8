// The weights by which KvIString and KvCaseIString order bytes, and the comparison over them.
//
// A byte folds into a weight and a second byte. A second byte above 8 is an expansion: the weight
// of one more character (sharp s weighs as two s, the OE ligature as O and E). From 1 to 8 it is an
// accent class, which counts only where it is asked for:
//
//   1 diaeresis or cedilla   2 acute   3 grave   4 circumflex   5 tilde
//
// Index keys are in this order, so the tables never change.
#pragma once

#include <array>
#include <cstddef>

#include "kvistring.h"
#include "kvtypevl/run.h"

namespace kv {

struct Weight {
  unsigned char first = 0;
  unsigned char second = 0;

  constexpr bool IsExpansion() const { return second > 8; }
};

using WeightTable = std::array<Weight, 256>;

namespace weights {

// 0x40 to 0x5F, the same for both classes.
inline constexpr unsigned char kCapitals[32] = {
    0x40, 0x54, 0x5B, 0x5E, 0x61, 0x69, 0x6F, 0x71, 0x73, 0x79, 0x7F, 0x81, 0x83, 0x85, 0x87, 0x90,
    0x97, 0x99, 0x9B, 0x9D, 0x9F, 0xA5, 0xAB, 0xAD, 0xAF, 0xB3, 0xB7, 0x42, 0x43, 0x44, 0x45, 0x46};

// 0x60 to 0x7F with case apart; KvCaseIString takes the capitals' weights for the letters.
inline constexpr unsigned char kSmallLetters[32] = {
    0x41, 0x4E, 0x5A, 0x5C, 0x60, 0x64, 0x6E, 0x70, 0x72, 0x74, 0x7E, 0x80, 0x82, 0x84, 0x86, 0x8A,
    0x96, 0x98, 0x9A, 0x9C, 0x9E, 0xA0, 0xAA, 0xAC, 0xAE, 0xB0, 0xB6, 0x47, 0x48, 0x49, 0x4A, 0x4B};

// 0xC0 to 0xDF, but for the sharp s of KvCaseIString.
inline constexpr Weight kAccentedCapitals[32] = {
    {0x54, 3}, {0x54, 2}, {0x54, 4}, {0x54, 5}, {0x54, 1}, {0xBD, 0}, {0xB9, 0}, {0x5E, 1},
    {0x69, 3}, {0x69, 2}, {0x69, 4}, {0x69, 1}, {0x79, 3}, {0x79, 2}, {0x79, 4}, {0x79, 1},
    {0x63, 0}, {0x89, 0}, {0x90, 3}, {0x90, 2}, {0x90, 4}, {0x90, 5}, {0x90, 1}, {0x4C, 0},
    {0xBB, 0}, {0xA5, 3}, {0xA5, 2}, {0xA5, 4}, {0xA5, 1}, {0xB3, 2}, {0xBF, 0}, {0x9C, 0x9C}};

// 0xE0 to 0xFF with case apart.
inline constexpr Weight kAccentedSmallLetters[32] = {
    {0x4E, 3}, {0x4E, 2}, {0x4E, 4}, {0x4E, 5}, {0x4E, 1}, {0xBC, 0}, {0xB8, 0}, {0x5C, 1},
    {0x64, 3}, {0x64, 2}, {0x64, 4}, {0x64, 1}, {0x74, 3}, {0x74, 2}, {0x74, 4}, {0x74, 1},
    {0x62, 0}, {0x88, 0}, {0x8A, 3}, {0x8A, 2}, {0x8A, 4}, {0x8A, 5}, {0x8A, 1}, {0x4D, 0},
    {0xBA, 0}, {0xA0, 3}, {0xA0, 2}, {0xA0, 4}, {0xA0, 1}, {0xB0, 2}, {0xBE, 0}, {0xB0, 1}};

constexpr unsigned char Byte(unsigned value) {
  return static_cast<unsigned char>(value);
}

constexpr WeightTable KeepingCase() {
  WeightTable table{};
  for (unsigned c = 0; c < 0x40; ++c) table[c] = {Byte(c), 0};
  for (unsigned c = 0x80; c < 0xA0; ++c) table[c] = {Byte(c + 0x60), 0};
  for (unsigned c = 0xA0; c < 0xC0; ++c) table[c] = {Byte(c + 0x10), 0};
  for (unsigned i = 0; i < 32; ++i) {
    table[0x40 + i] = {kCapitals[i], 0};
    table[0x60 + i] = {kSmallLetters[i], 0};
    table[0xC0 + i] = kAccentedCapitals[i];
    table[0xE0 + i] = kAccentedSmallLetters[i];
  }
  table[0x8C] = {0x90, 0x69};  // the OE ligature: O, E
  table[0x9C] = {0x8A, 0x64};
  table[0x9F] = {0xB3, 1};  // Y diaeresis
  return table;
}

constexpr WeightTable IgnoringCase() {
  WeightTable table = KeepingCase();
  for (unsigned c = 'a'; c <= 'z'; ++c) table[c] = table[c - 0x20];
  for (unsigned c = 0xE0; c < 0x100; ++c) table[c] = table[c - 0x20];
  table[0x9C] = table[0x8C];
  table[0xDF] = {0x9D, 0x9D};
  table[0xF7] = {0x4D, 0};  // the division sign is not the small multiplication sign
  table[0xFF] = {0xB3, 1};
  return table;
}

}  // namespace weights

template <class Weights>
struct WeightsOf;

template <>
struct WeightsOf<KvIStringWeights> {
  static constexpr WeightTable kTable = weights::KeepingCase();
  static constexpr bool kHasAccentFlag = false;
};

template <>
struct WeightsOf<KvCaseIStringWeights> {
  static constexpr WeightTable kTable = weights::IgnoringCase();
  static constexpr bool kHasAccentFlag = true;
};

// One side of a comparison: a text without terminator; null is the empty value.
struct WeightedText {
  const unsigned char* bytes;
  std::size_t length;
  unsigned char flags;
};

inline constexpr unsigned kLongestWeightedText = 65535;  // in weights compared

// Yields the weights of one side, one a step; 0 at the end of the text.
template <class Weights>
class WeightWalk {
 public:
  WeightWalk(const WeightedText& text, std::size_t start, bool accents)
      : at_(text.bytes + start),
        end_(text.bytes + text.length),
        raw_((text.flags & KvWeightedString<Weights>::kRawBytes) != 0),
        accents_(accents) {}

  unsigned Next() {
    if (pending_ != 0) {
      const unsigned weight = pending_;
      pending_ = 0;
      return weight;
    }
    if (at_ == end_) return 0;
    const unsigned char byte = *at_++;
    if (raw_) return byte;
    const Weight weight = WeightsOf<Weights>::kTable[byte];
    // With accents a ligature is a character of its own, just before its first letter.
    if (accents_) return weight.IsExpansion() ? weight.first - 1u : weight.first + weight.second;
    if (weight.IsExpansion()) pending_ = weight.second;
    return weight.first;
  }

 private:
  const unsigned char* at_;
  const unsigned char* end_;
  unsigned pending_ = 0;
  bool raw_;
  bool accents_;
};

// The order of two texts: the difference of the first weights that differ within `steps` of them.
template <class Weights>
int CompareWeighted(const WeightedText& a, const WeightedText& b,
                    unsigned steps = kLongestWeightedText) {
  if (a.bytes == nullptr || b.bytes == nullptr) return (a.bytes != nullptr) - (b.bytes != nullptr);
  if (a.length == 0 || b.length == 0) {
    return (a.length != 0 ? a.bytes[0] : 0) - (b.length != 0 ? b.bytes[0] : 0);
  }

  // Equal bytes weigh the same when both sides are folded, or neither; a byte takes two steps at
  // the most.
  std::size_t start = 0;
  const bool sameFolding = ((a.flags ^ b.flags) & KvWeightedString<Weights>::kRawBytes) == 0;
  const std::size_t shorter = a.length < b.length ? a.length : b.length;
  if (sameFolding && 2 * shorter <= steps) start = FirstDifference(a.bytes, b.bytes, shorter);

  const bool accents =
      WeightsOf<Weights>::kHasAccentFlag && (a.flags & KvWeightedString<Weights>::kAccents) != 0;
  WeightWalk<Weights> left(a, start, accents);
  WeightWalk<Weights> right(b, start, accents);
  for (; steps != 0; --steps) {
    const unsigned leftWeight = left.Next();
    const unsigned rightWeight = right.Next();
    if (leftWeight != rightWeight) {
      return static_cast<int>(leftWeight) - static_cast<int>(rightWeight);
    }
    if (leftWeight == 0) return 0;
  }
  return 0;
}

}  // namespace kv
