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
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "kvbase/run.h"
#include "kvistring.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

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

// 0xC0 to 0xDF. KvCaseIString has its own sharp s.
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

// ---------------------------------------------------------------------------------------------
// Comparing

inline constexpr unsigned kLongestWeightedText = 65535;  // in weights compared

// One side of a comparison: `length` bytes without a zero among them; null is the empty value.
struct WeightedText {
  const unsigned char* bytes;
  std::size_t length;
  unsigned char flags;

  unsigned char At(std::size_t index) const { return index < length ? bytes[index] : 0; }
  bool HasWord(std::size_t index) const { return length - index >= 8 && index < length; }
  const WeightedText& Measured() const { return *this; }
};

// One side whose text ends at a zero byte and lies in a block that can be read in words of eight
// bytes up to the word with that zero: its length need not be known beforehand.
struct PaddedText {
  const unsigned char* bytes;
  unsigned char flags;

  unsigned char At(std::size_t index) const { return bytes[index]; }
  static bool HasWord(std::size_t) { return true; }
  WeightedText Measured() const {
    return {bytes, std::strlen(reinterpret_cast<const char*>(bytes)), flags};
  }
};

// Yields the weights of one side, one a step; 0 at the end of the text.
template <class Weights>
class WeightWalk {
 public:
  explicit WeightWalk(const WeightedText& text, std::size_t start = 0, bool accents = false)
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

// The order of two texts by the plain rules: the difference of the first weights that differ within
// `steps` of them, or of the first bytes themselves when one of the texts has none. The first
// `skipped` bytes are known to weigh alike.
template <class Weights>
int CompareByWeights(const WeightedText& a, const WeightedText& b, unsigned steps,
                     std::size_t skipped = 0) {
  if (skipped == 0 && (a.At(0) == 0 || b.At(0) == 0)) return int{a.At(0)} - int{b.At(0)};
  const bool accents =
      WeightsOf<Weights>::kHasAccentFlag && (a.flags & KvWeightedString<Weights>::kAccents) != 0;
  WeightWalk<Weights> left(a, skipped, accents);
  WeightWalk<Weights> right(b, skipped, accents);
  for (; steps != 0; --steps) {
    const auto leftWeight = static_cast<int>(left.Next());
    const auto rightWeight = static_cast<int>(right.Next());
    if (leftWeight != rightWeight) return leftWeight - rightWeight;
    if (leftWeight == 0) return 0;
  }
  return 0;
}

inline constexpr std::uint64_t kEachByte = 0x0101010101010101;
inline constexpr std::uint64_t kTopBits = 0x8080808080808080;

// The top bit of every zero byte; above the first one other bits may be set too.
constexpr std::uint64_t ZeroBytes(std::uint64_t word) {
  return (word - kEachByte) & ~word & kTopBits;
}

// Of eight bytes of two texts those that differ and the zero bytes of the first text: each has a
// bit or more of its own eight, from below. Above the first zero byte other bits may be set too.
struct PlainDifference {
  using Mask = std::uint64_t;
  static constexpr unsigned kBits = 8;

  static Mask Stops(const unsigned char* a, const unsigned char* b) {
    const std::uint64_t left = LoadWord(a);
    return (left ^ LoadWord(b)) | ZeroBytes(left);
  }
};

// The same for bytes that differ otherwise than in the case of an ASCII letter.
struct PlainDifferenceBeyondCase {
  using Mask = std::uint64_t;
  static constexpr unsigned kBits = 8;

  static Mask Stops(const unsigned char* a, const unsigned char* b) {
    const std::uint64_t left = LoadWord(a);
    const std::uint64_t small = (left | 0x20 * kEachByte) & ~kTopBits;
    const std::uint64_t fromA = small + (0x80 - 'a') * kEachByte;
    const std::uint64_t behindZ = small + (0x7F - 'z') * kEachByte;
    const std::uint64_t letters = fromA & ~behindZ & ~left & kTopBits;
    return ((left ^ LoadWord(b)) & ~(letters >> 2)) | ZeroBytes(left);
  }
};

#if defined(__SSE2__)
inline __m128i LoadEight(const unsigned char* at) {
  return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(at));
}

// The places of the bytes that are zero in `left`, or not zero in `differing`: a bit for each.
inline unsigned StopsOf(__m128i left, __m128i differing) {
  const __m128i zero = _mm_setzero_si128();
  const __m128i passed =
      _mm_andnot_si128(_mm_cmpeq_epi8(left, zero), _mm_cmpeq_epi8(differing, zero));
  return static_cast<unsigned>(~_mm_movemask_epi8(passed) & 0xFF);
}

// Where words are of 32 bits: elsewhere one of 64 is no slower.
struct VectorDifference {
  using Mask = unsigned;
  static constexpr unsigned kBits = 1;

  static Mask Stops(const unsigned char* a, const unsigned char* b) {
    const __m128i left = LoadEight(a);
    return StopsOf(left, _mm_xor_si128(left, LoadEight(b)));
  }
};

// In half of the instructions, and with one bit a byte.
struct DifferenceBeyondCase {
  using Mask = unsigned;
  static constexpr unsigned kBits = 1;

  static Mask Stops(const unsigned char* a, const unsigned char* b) {
    const __m128i caseBits = _mm_set1_epi8(0x20);
    const __m128i left = LoadEight(a);
    // The letters become the 26 lowest signed bytes.
    const __m128i fromA = _mm_add_epi8(_mm_or_si128(left, caseBits), _mm_set1_epi8(0x80 - 'a'));
    const __m128i letters = _mm_cmplt_epi8(fromA, _mm_set1_epi8(-128 + 26));
    const __m128i ignored = _mm_and_si128(letters, caseBits);
    return StopsOf(left, _mm_andnot_si128(ignored, _mm_xor_si128(left, LoadEight(b))));
  }
};
using AnyDifference = std::conditional_t<sizeof(void*) >= 8, PlainDifference, VectorDifference>;
#else
using AnyDifference = PlainDifference;
using DifferenceBeyondCase = PlainDifferenceBeyondCase;
#endif

template <class Weights>
constexpr bool WeighAlike(unsigned char a, unsigned char b) {
  const Weight left = WeightsOf<Weights>::kTable[a];
  const Weight right = WeightsOf<Weights>::kTable[b];
  const bool sameEnd = left.second == right.second || (!left.IsExpansion() && !right.IsExpansion());
  return left.first == right.first && sameEnd;
}

// The order of two bytes at place `at`, 0 when their first weights are the same. A text without a
// first byte differs from another by that byte, not by its weight.
template <class Weights>
constexpr int OrderOfBytes(unsigned char left, unsigned char right, std::size_t at) {
  const int order =
      WeightsOf<Weights>::kTable[left].first - WeightsOf<Weights>::kTable[right].first;
  return at == 0 && (left == 0 || right == 0) ? left - right : order;
}

// CompareByWeights from byte `at` on, for texts whose bytes before that weigh alike. Kept out of
// the way of the fast path, which seldom comes here.
template <class Weights, class Text>
[[gnu::noinline]] int CompareSlowly(const Text a, const Text b, unsigned steps, std::size_t at) {
  for (std::size_t i = 0; i < at; ++i) {
    steps -= WeightsOf<Weights>::kTable[a.At(i)].IsExpansion() ? 2 : 1;
  }
  return CompareByWeights<Weights>(a.Measured(), b.Measured(), steps, at);
}

// Bytes that cannot weigh more than `steps` weights: a byte has two at most.
constexpr std::size_t SafeBytes(unsigned steps) {
  return steps / 2;
}

// The place from `at` on, before which two texts weigh alike, of the first bytes with a difference
// of this kind, or of the end that the texts have in common; or where one of them has no whole word
// left, or `safe` is near. Words begin at multiples of eight, where a padded text can be read in
// words.
template <class Difference, class Text>
inline std::size_t PassAlike(const Text& a, const Text& b, std::size_t safe, std::size_t at) {
  std::size_t word = at / 8 * 8;
  using Mask = typename Difference::Mask;
  Mask ahead = ~Mask{0} << Difference::kBits * (at - word);
  while (word + 8 < safe && a.HasWord(word) && b.HasWord(word)) {
    const Mask stops = Difference::Stops(a.bytes + word, b.bytes + word) & ahead;
    if (stops != 0) {
      return word + static_cast<unsigned>(std::countr_zero(stops)) / Difference::kBits;
    }
    word += 8;
    at = word;
    ahead = ~Mask{0};
  }
  return at;
}

// The order of two folded texts whose first `at` bytes weigh alike, from there on: what differs in
// case or accents goes on here, the others are decided in CompareWeighted.
template <class Weights, class Text>
[[gnu::noinline]] int CompareFromVariant(const Text a, const Text b, unsigned steps,
                                         std::size_t at) {
  constexpr bool kFoldsCase = WeighAlike<Weights>('a', 'A');
  using Difference = std::conditional_t<kFoldsCase, DifferenceBeyondCase, AnyDifference>;
  const std::size_t safe = SafeBytes(steps);
  for (; at < safe; ++at) {
    at = PassAlike<Difference>(a, b, safe, at);
    const unsigned char left = a.At(at);
    const unsigned char right = b.At(at);
    if ((left | right) == 0) return 0;
    const int order = OrderOfBytes<Weights>(left, right, at);
    if (order != 0) return order;
    if (!WeighAlike<Weights>(left, right)) break;
  }
  return CompareSlowly<Weights>(a, b, steps, at);
}

// The same as CompareByWeights for texts of one kind: words that are alike, then, as a rule, one
// byte that decides. Texts that differ in the case of their first letter may well differ in that of
// others; those that do not are mostly equal up to that byte.
template <class Weights, class Text>
[[gnu::always_inline]] inline int CompareWeighted(const Text a, const Text b,
                                                  unsigned steps = kLongestWeightedText) {
  constexpr bool kFoldsCase = WeighAlike<Weights>('a', 'A');
  constexpr unsigned char kFlags =
      KvWeightedString<Weights>::kRawBytes | KvWeightedString<Weights>::kAccents;
  if (a.bytes == nullptr || b.bytes == nullptr) return (a.bytes != nullptr) - (b.bytes != nullptr);
  if (((a.flags | b.flags) & kFlags) != 0) return CompareSlowly<Weights>(a, b, steps, 0);
  std::size_t at = 0;
  unsigned char left = a.At(0);
  unsigned char right = b.At(0);
  if (left == right) {
    at = PassAlike<AnyDifference>(a, b, SafeBytes(steps), 0);
  } else {
    const int order = OrderOfBytes<Weights>(left, right, 0);
    if (order != 0) return order;
    if (kFoldsCase) at = PassAlike<DifferenceBeyondCase>(a, b, SafeBytes(steps), 0);
  }
  if (at != 0) {
    left = a.At(at);
    right = b.At(at);
    if ((left | right) == 0) return 0;
    const int order = OrderOfBytes<Weights>(left, right, at);
    if (order != 0) return order;
  }
  // No flag that counts is set here, so none is kept in a register for this.
  Text plainA = a;
  Text plainB = b;
  plainA.flags = plainB.flags = 0;
  return CompareFromVariant<Weights>(plainA, plainB, steps, at);
}

}  // namespace kv
