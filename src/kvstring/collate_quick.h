// collate_quick.h - the comparison that nearly all comparisons are, inline: two texts of one code
// set and language, by levels, without wildcards. It ends at the first difference unless that is
// one of accent, case or ligature; everything else is handed on.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>

#include "kvbase/run.h"
#include "kvcollate.h"
#include "kvstring/collate.h"
#include "kvstring/string_edit.h"

namespace kv {

// Whether the process has named any wildcard.
extern bool wildcardsInUse;

// As CompareTexts, for any two texts.
int CompareInGeneral(const Text& text1, const Text& text2, unsigned short cmpOp,
                     unsigned short maxLength);
// Goes on by order words in two resolved texts that compare by units and whose first `passed` units
// are the same: -1, 0 or 1.
int CompareWordsFrom(const Text& text1, const Text& text2, unsigned passed, unsigned short cmpOp);

inline const unsigned char* BeginOf(const Text& text) {
  return static_cast<const unsigned char*>(text.units);
}

// Of two values that differ.
inline int OrderOfUnequal(unsigned value1, unsigned value2) {
  return value1 < value2 ? -1 : 1;
}

// Whether two texts may be compared unit by unit up to their first difference: the same code set
// and language, no number that stands for another or for a null, no wildcards, no options beyond
// which levels count. Takes values and not texts, for the reason that docs/collation.md gives.
inline bool ComparesByUnits(unsigned char codeSet1, unsigned char language1, unsigned char codeSet2,
                            unsigned char language2, unsigned short cmpOp) {
  return codeSet1 == codeSet2 && language1 == language2 && codeSet1 != kvCodeSetBytes &&
         codeSet1 < kvCodeSetOrders && language1 < 254 &&
         (cmpOp & (kvCompareSkipSpaces | kvCompareKeyOrder)) == 0 && !wildcardsInUse;
}

// Where two texts first differ: the units there, both 0 when the texts are the same.
template <class Unit>
struct Difference {
  std::size_t at;
  Unit unit1;
  Unit unit2;
};

// In texts that only their terminators end, which may not be read in words. What is before `at` is
// the same in both.
template <class Unit>
[[gnu::always_inline]] inline Difference<Unit> DifferenceOfTerminated(const unsigned char* text1,
                                                                      const unsigned char* text2,
                                                                      std::size_t at) {
  Unit unit1;
  Unit unit2;
  const auto same = [&](std::size_t place) __attribute__((always_inline)) {
    unit1 = ReadUnit<Unit>(text1 + place * sizeof(Unit));
    unit2 = ReadUnit<Unit>(text2 + place * sizeof(Unit));
    return unit1 == unit2 && unit1 != 0;
  };
  while (same(at) && same(++at) && same(++at) && same(++at)) ++at;  // four to a round
  return {at, unit1, unit2};
}

// How many of the first `units` units, of which the first `at` are known to be, are the same in two
// texts of one byte order and not zero.
template <class Unit>
[[gnu::always_inline]] inline std::size_t UnitsAlike(const unsigned char* text1,
                                                     const unsigned char* text2, std::size_t units,
                                                     std::size_t at) {
  constexpr std::size_t kUnitsAWord = 8 / sizeof(Unit);
  // The last word reaches back over units that are known to be alike.
  while (at < units && units >= kUnitsAWord) {
    const std::size_t place = std::min(at, units - kUnitsAWord);
    const std::uint64_t word = LoadWord(text1 + place * sizeof(Unit));
    const std::uint64_t ends =
        (word ^ LoadWord(text2 + place * sizeof(Unit))) | ZeroUnits<Unit>(word);
    if (ends != 0) {
      return place + static_cast<unsigned>(std::countr_zero(ends)) / (8 * sizeof(Unit));
    }
    at = place + kUnitsAWord;
  }
  for (; at < units; ++at) {
    const Unit unit = ReadUnit<Unit>(text1 + at * sizeof(Unit));
    if (unit == 0 || unit != ReadUnit<Unit>(text2 + at * sizeof(Unit))) break;
  }
  return at;
}

// In texts of given lengths, in the same byte order. What is before `at` is the same in both.
template <class Unit>
[[gnu::always_inline]] inline Difference<Unit> DifferenceOfCounted(const unsigned char* text1,
                                                                   unsigned length1,
                                                                   const unsigned char* text2,
                                                                   unsigned length2, bool reversed,
                                                                   std::size_t at) {
  at = UnitsAlike<Unit>(text1, text2, std::min(length1, length2), at);
  const Unit unit1 = at < length1 ? ReadUnit<Unit>(text1 + at * sizeof(Unit), reversed) : Unit{0};
  const Unit unit2 = at < length2 ? ReadUnit<Unit>(text2 + at * sizeof(Unit), reversed) : Unit{0};
  return {at, unit1, unit2};
}

// The bits of order words with which a difference may not decide. Behind the first unit a letter
// may also belong to a contraction that begins before it.
inline constexpr unsigned kUnsettledFirst = kPairBit | kMovesMark;
inline constexpr unsigned kUnsettled = kUnsettledFirst | kFollowsMark;

inline bool IsSettled(unsigned word1, unsigned word2, unsigned unsettled) {
  return ((word1 | word2) & unsettled) == 0 && (word1 ^ word2) >> 16 != 0;
}

// The result of a comparison by units from the first difference. When that does not decide, what is
// left is the caller's to hand on, `rest(passed)`: handed on as the plain values that the caller
// was given, it costs the frequent way no stack frame. Most words part with their first unit, so a
// caller that is there says so by `unsettled`.
template <class Unit, class Table, class Rest>
[[gnu::always_inline]] inline int DecideByDifference(const Difference<Unit>& difference,
                                                     const Table& table, Rest rest,
                                                     unsigned unsettled = kUnsettled) {
  if (difference.unit1 == difference.unit2) return 0;
  const unsigned word1 = table.Word(difference.unit1);
  const unsigned word2 = table.Word(difference.unit2);
  return IsSettled(word1, word2, unsettled) ? OrderOfUnequal(word1, word2)
                                            : rest(static_cast<unsigned>(difference.at));
}

// Compares two terminated texts in memory order by units of this width.
template <class Unit, class Table, class Rest>
[[gnu::always_inline]] inline int DecideTerminated(const unsigned char* text1,
                                                   const unsigned char* text2, const Table& table,
                                                   Rest rest) {
  const Unit unit1 = ReadUnit<Unit>(text1);
  const Unit unit2 = ReadUnit<Unit>(text2);
  if (unit1 != unit2) {
    return DecideByDifference(Difference<Unit>{0, unit1, unit2}, table, rest, kUnsettledFirst);
  }
  if (unit1 == 0) return 0;
  return DecideByDifference(DifferenceOfTerminated<Unit>(text1, text2, 1), table, rest);
}

// Compares two terminated texts in memory order by units of this width. Both have `units` units in
// their buffers, one of them a terminator.
template <class Unit, class Table, class Rest>
[[gnu::always_inline]] inline int DecideWithin(const unsigned char* text1,
                                               const unsigned char* text2, unsigned units,
                                               const Table& table, Rest rest) {
  const Unit unit1 = ReadUnit<Unit>(text1);
  const Unit unit2 = ReadUnit<Unit>(text2);
  if (unit1 != unit2) {
    return DecideByDifference(Difference<Unit>{0, unit1, unit2}, table, rest, kUnsettledFirst);
  }
  if (unit1 == 0) return 0;
  const std::size_t at = UnitsAlike<Unit>(text1, text2, units, 1);
  const Difference<Unit> difference{at, ReadUnit<Unit>(text1 + at * sizeof(Unit)),
                                    ReadUnit<Unit>(text2 + at * sizeof(Unit))};
  return DecideByDifference(difference, table, rest);
}

// Compares two texts of given lengths in one byte order by units of this width.
template <class Unit, class Table, class Rest>
[[gnu::always_inline]] inline int DecideCounted(const unsigned char* text1, unsigned length1,
                                                const unsigned char* text2, unsigned length2,
                                                bool reversed, const Table& table, Rest rest) {
  const bool haveFirst = length1 != 0 && length2 != 0;
  if (haveFirst) {
    const Unit unit1 = ReadUnit<Unit>(text1, reversed);
    const Unit unit2 = ReadUnit<Unit>(text2, reversed);
    if (unit1 != unit2) {
      return DecideByDifference(Difference<Unit>{0, unit1, unit2}, table, rest, kUnsettledFirst);
    }
    if (unit1 == 0) return 0;
  }
  return DecideByDifference(
      DifferenceOfCounted<Unit>(text1, length1, text2, length2, reversed, haveFirst ? 1 : 0), table,
      rest);
}

// Compares two terminated texts in memory order by units.
template <class Rest>
[[gnu::always_inline]] inline int CompareTerminatedUnits(unsigned char codeSet,
                                                         unsigned char language, const void* text1,
                                                         const void* text2, Rest rest) {
  const auto* units1 = static_cast<const unsigned char*>(text1);
  const auto* units2 = static_cast<const unsigned char*>(text2);
  if (KvIsWideCodeSet(codeSet)) {
    return DecideTerminated<unsigned short>(units1, units2, WideOrderTable(language), rest);
  }
  return DecideTerminated<unsigned char>(units1, units2, ByteOrderTable(codeSet, language), rest);
}

// Compares two texts of given lengths that are there, in one byte order, by units.
[[gnu::always_inline]] inline int CompareCountedUnits(const Text& text1, const Text& text2,
                                                      unsigned short cmpOp) {
  const auto rest = [&](unsigned passed) {
    return CompareWordsFrom(Text(text1), Text(text2), passed, cmpOp);
  };
  const unsigned char* units1 = BeginOf(text1);
  const unsigned char* units2 = BeginOf(text2);
  if (KvIsWideCodeSet(text1.codeSet)) {
    return DecideCounted<unsigned short>(units1, text1.length, units2, text2.length,
                                         IsReversed(text1), WideOrderTable(text1.language), rest);
  }
  return DecideCounted<unsigned char>(units1, text1.length, units2, text2.length, false,
                                      ByteOrderTable(text1.codeSet, text1.language), rest);
}

}  // namespace kv
