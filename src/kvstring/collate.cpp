// collate.cpp - comparing texts by collation orders, level by level in one pass. A text is read as
// order words (zinorder.h); characters of one order, nearly all of them, compare by one exclusive
// or of two words. Whatever else there is (ligatures against plain letters, options that skip,
// texts of orders) goes through order cursors, which are plain and slower.
#include <algorithm>
#include <cstdint>

#include "kvstring/collate_units.h"

namespace kv {

namespace {

inline int Sign(unsigned value1, unsigned value2) {
  return value1 < value2 ? -1 : 1;
}

// What the walk over two texts has found so far: for each level below the primary one, which ends
// the walk, the fields of both texts where they first differed.
class Levels {
 public:
  explicit Levels(unsigned short cmpOp) : open_(LevelMask(cmpOp)) {}

  // Takes two weights with equal primary halves.
  void Note(unsigned weight1, unsigned weight2) {
    const unsigned differing = (weight1 ^ weight2) & open_;
    const unsigned fields = ((differing & kAccentBits) != 0 ? kAccentBits : 0) |
                            ((differing & kCaseBits) != 0 ? kCaseBits : 0) |
                            ((differing & kExtensionBits) != 0 ? kExtensionBits : 0);
    first1_ |= weight1 & fields;
    first2_ |= weight2 & fields;
    open_ &= ~fields;
  }

  // The order of two texts that are equal at the primary level.
  int Decide() const { return first1_ == first2_ ? 0 : Sign(Ranked(first1_), Ranked(first2_)); }

 private:
  // Accents above case; an order has them the other way round.
  static unsigned Ranked(unsigned fields) {
    return (fields & kAccentBits) << 8 | (fields & (kCaseBits | kExtensionBits));
  }

  unsigned open_;
  unsigned first1_ = 0;
  unsigned first2_ = 0;
};

// -1 or 1 when two weights differ at the primary level, else 0, with lower differences noted.
int CompareWeights(unsigned weight1, unsigned weight2, Levels& levels) {
  if (weight1 == weight2) return 0;
  if ((weight1 ^ weight2) >> 16 != 0) return Sign(weight1, weight2);
  levels.Note(weight1, weight2);
  return 0;
}

// The plain walk, from wherever the cursors are.
int CompareOrders(OrderCursor cursor1, OrderCursor cursor2, bool skipSpaces, Levels& levels) {
  for (;;) {
    const unsigned order1 = skipSpaces ? cursor1.NextVisible() : cursor1.Next();
    const unsigned order2 = skipSpaces ? cursor2.NextVisible() : cursor2.Next();
    if (const int sign = CompareWeights(OrderWeight(order1), OrderWeight(order2), levels)) {
      return sign;
    }
    if (order1 == 0) return levels.Decide();
  }
}

// Two words of which one at least holds two orders, as CompareWeights. kMixed when the texts have
// to be compared order by order from here on: one order stands against the first of two.
constexpr int kMixed = 2;

int ComparePairs(unsigned word1, unsigned word2, Levels& levels) {
  const unsigned weight1 = OrderWeight(FirstOrder(word1));
  const unsigned weight2 = OrderWeight(FirstOrder(word2));
  if ((weight1 ^ weight2) >> 16 != 0) return Sign(weight1, weight2);
  if ((word1 & word2 & kPairBit) == 0) return kMixed;
  levels.Note(weight1, weight2);
  return CompareWeights(OrderWeight(SecondOrder(word1)), OrderWeight(SecondOrder(word2)), levels);
}

// Walks `units1` and `units2`, which are anywhere in `text1` and `text2`, to the end.
template <class Units1, class Units2>
int CompareWords(const Text& text1, Units1 units1, const Text& text2, Units2 units2,
                 Levels& levels) {
  const bool sameTable = units1.HasTableOf(units2);
  for (;; units1.Advance(), units2.Advance()) {
    const auto unit1 = units1.Get();
    const auto unit2 = units2.Get();
    if (unit1 == unit2 && sameTable) {
      if (unit1 == 0) return levels.Decide();
      continue;
    }
    const unsigned word1 = units1.Word(unit1);
    const unsigned word2 = units2.Word(unit2);
    const bool pairs = ((word1 | word2) & kPairBit) != 0;
    const int sign =
        pairs ? ComparePairs(word1, word2, levels) : CompareWeights(word1, word2, levels);
    if (sign == kMixed) break;
    if (sign != 0) return sign;
    if (unit1 == 0) return levels.Decide();
  }
  return CompareOrders(OrderCursor(RestAt(text1, units1.Position())),
                       OrderCursor(RestAt(text2, units2.Position())), false, levels);
}

int CompareLevels(const Text& text1, const Text& text2, unsigned short cmpOp) {
  Levels levels(cmpOp);
  const bool skipSpaces = (cmpOp & kvCompareSkipSpaces) != 0;
  if (skipSpaces || text1.codeSet == kOrderCodeSet || text2.codeSet == kOrderCodeSet) {
    return CompareOrders(OrderCursor(text1), OrderCursor(text2), skipSpaces, levels);
  }
  return WithUnits(text1, text2, [&](auto units1, auto units2) {
    return CompareWords(text1, units1, text2, units2, levels);
  });
}

// Texts that are equal at every level still differ when their languages sort by different classes,
// as their hashes do. Empty texts have no order to differ in.
int CompareWithClass(const Text& text1, const Text& text2, unsigned short cmpOp) {
  const int result = CompareLevels(text1, text2, cmpOp);
  const unsigned char class1 = SortClassOf(text1.language);
  const unsigned char class2 = SortClassOf(text2.language);
  if (result != 0 || class1 == class2 || OrderCursor(text1).AtEnd()) return result;
  return Sign(class1, class2);
}

int CompareBytes(const Text& text1, const Text& text2) {
  auto units1 = BytesOf(text1);
  auto units2 = BytesOf(text2);
  while (units1.Get() == units2.Get() && units1.Get() != 0) {
    units1.Advance();
    units2.Advance();
  }
  return int{units1.Get()} - int{units2.Get()};
}

int CompareKeys(const Text& text1, const Text& text2, unsigned maxOrders) {
  OrderCursor cursor1(text1);
  OrderCursor cursor2(text2);
  const unsigned char class1 = SortClassOf(text1.language);
  const unsigned char class2 = SortClassOf(text2.language);
  for (unsigned step = 0; step < maxOrders || maxOrders == 65535; ++step) {
    const unsigned key1 = OrderKey(class1, cursor1.Next());
    const unsigned key2 = OrderKey(class2, cursor2.Next());
    // Keys stay below 2^29, so their difference fits.
    if (key1 != key2) return static_cast<int>(key1) - static_cast<int>(key2);
    if (key1 == 0) return 0;
  }
  return 0;
}

// Two resolved texts by levels, with the process's wildcards unless they are ruled out.
int CompareCollated(const Text& text1, const Text& text2, unsigned short cmpOp) {
  const bool asPattern = wildcardsInUse && (cmpOp & kNoWildcards) == 0 && HasWildcard(text2);
  if (asPattern && MatchesPattern(text1, text2, cmpOp)) return 0;
  const int result = CompareWithClass(text1, text2, cmpOp);
  return asPattern && result == 0 ? -1 : result;
}

// Whether nothing about a comparison is out of the ordinary: the same code set and language,
// neither standing for another nor for a null, no wildcards, no options beyond which levels count.
inline bool IsOrdinary(unsigned char codeSet1, unsigned char language1, unsigned char codeSet2,
                       unsigned char language2, unsigned short cmpOp) {
  return codeSet1 == codeSet2 && language1 == language2 && codeSet1 != kvCodeSetBytes &&
         codeSet1 < kOrderCodeSet && language1 < 254 &&
         (cmpOp & (kvCompareSkipSpaces | kvCompareKeyOrder)) == 0 && !wildcardsInUse;
}

// What the first two different characters make of an ordinary comparison. Most comparisons end with
// them; kUndecided when this one does not.
constexpr int kUndecided = 2;

inline int Decide(unsigned word1, unsigned word2) {
  if (((word1 | word2) & kPairBit) != 0) return kUndecided;
  if ((word1 ^ word2) >> 16 != 0) return Sign(word1, word2);
  return kUndecided;
}

// An ordinary comparison of two texts with known lengths and one byte order. What they begin with
// alike is passed over in words, whatever the byte order.
template <class Unit, class Table>
int CompareCounted(const Text& text1, const Text& text2, const Table& table, unsigned short cmpOp) {
  constexpr std::uint64_t kOnes = sizeof(Unit) == 1 ? 0x0101010101010101 : 0x0001000100010001;
  constexpr std::uint64_t kTops = kOnes << (8 * sizeof(Unit) - 1);
  constexpr unsigned kUnitsAWord = 8 / sizeof(Unit);
  const unsigned char* begin1 = BeginOf(text1);
  const unsigned char* begin2 = BeginOf(text2);
  const unsigned units = std::min(text1.length, text2.length);
  unsigned at = 0;
  for (; at + kUnitsAWord <= units; at += kUnitsAWord) {
    std::uint64_t word1;
    std::uint64_t word2;
    std::memcpy(&word1, begin1 + at * sizeof(Unit), 8);
    std::memcpy(&word2, begin2 + at * sizeof(Unit), 8);
    if (word1 != word2 || ((word1 - kOnes) & ~word1 & kTops) != 0) break;
  }
  const auto unitOf = [&at](const Text& text) {
    Unit unit = 0;
    if (at < text.length) std::memcpy(&unit, BeginOf(text) + at * sizeof(Unit), sizeof(Unit));
    return unit;
  };
  Unit unit1 = unitOf(text1);
  Unit unit2 = unitOf(text2);
  while (unit1 == unit2) {
    if (unit1 == 0) return 0;
    ++at;
    unit1 = unitOf(text1);
    unit2 = unitOf(text2);
  }
  if constexpr (sizeof(Unit) == 2) {
    if (IsReversed(text1)) {
      unit1 = __builtin_bswap16(unit1);
      unit2 = __builtin_bswap16(unit2);
    }
  }
  const int result = Decide(table.Word(unit1), table.Word(unit2));
  if (result != kUndecided) return result;
  return CompareLevels(RestAt(text1, begin1 + at * sizeof(Unit)),
                       RestAt(text2, begin2 + at * sizeof(Unit)), cmpOp);
}

int CompareOrdinaryTexts(const Text& text1, const Text& text2, unsigned short cmpOp) {
  const bool counted = text1.length != kToTerminator && text2.length != kToTerminator &&
                       text1.units != nullptr && text2.units != nullptr;
  if (!counted || IsReversed(text1) != IsReversed(text2)) return CompareLevels(text1, text2, cmpOp);
  if (KvIsWideCodeSet(text1.codeSet)) {
    return CompareCounted<unsigned short>(text1, text2, WideOrderTable(text1.language), cmpOp);
  }
  return CompareCounted<unsigned char>(text1, text2, ByteOrderTable(text1.codeSet, text1.language),
                                       cmpOp);
}

}  // namespace

OrderCursor::OrderCursor(const Text& given)
    : position_(BeginOf(given)),
      end_(EndOf(given)),
      bytes_(
          given.codeSet == kvCodeSetBytes ? KvLanguageContext::GetNativeCodeSet() : given.codeSet,
          given.language == 255 ? KvLanguageContext::GetDefaultLanguage() : given.language),
      wide_(given.language == 255 ? KvLanguageContext::GetDefaultLanguage() : given.language),
      width_(KvIsWideCodeSet(given.codeSet) ? 2 : 1),
      isReversed_(IsReversed(given)),
      isOrders_(given.codeSet == kOrderCodeSet) {}

int CompareTexts(const Text& text1, const Text& text2, unsigned short cmpOp,
                 unsigned short maxLength) {
  if (maxLength == 65535 &&
      IsOrdinary(text1.codeSet, text1.language, text2.codeSet, text2.language, cmpOp)) {
    return CompareOrdinaryTexts(text1, text2, cmpOp);
  }
  const bool isNull1 = text1.IsNull();
  const bool isNull2 = text2.IsNull();
  if (isNull2) return isNull1 ? 0 : 1;
  if (isNull1 && (cmpOp & kNoWildcards) != 0) return -1;
  if (maxLength == 0) return 0;
  const unsigned limit = maxLength == 65535 ? kToTerminator : maxLength;
  if ((text1.codeSet | text2.codeSet) == 0 && (cmpOp & kNoWildcards) != 0) {
    return CompareBytes(Limited(text1, limit), Limited(text2, limit));
  }
  if ((cmpOp & kvCompareKeyOrder) != 0) {
    return CompareKeys(Resolve(text1), Resolve(text2), maxLength);
  }
  return CompareCollated(Limited(Resolve(text1), limit), Limited(Resolve(text2), limit), cmpOp);
}

namespace {

// The rest of an ordinary comparison, kept apart so that its beginning needs no stack frame.
template <class Unit, class Table>
[[gnu::noinline]] int CompareFurther(const Table& table, unsigned char codeSet,
                                     unsigned char language, const char* text1, const char* text2,
                                     unsigned short cmpOp) {
  Levels levels(cmpOp);
  using Terminated = Units<Unit, Table, true>;
  return CompareWords({codeSet, language, text1}, Terminated(text1, table),
                      {codeSet, language, text2}, Terminated(text2, table), levels);
}

template <class Unit, class Table>
[[gnu::always_inline]] inline int CompareOrdinary(const Table& table, unsigned char codeSet,
                                                  unsigned char language, const char* text1,
                                                  const char* text2, unsigned short cmpOp) {
  Unit unit1;
  Unit unit2;
  const auto goesOn = [&](std::size_t index) {
    std::memcpy(&unit1, text1 + index * sizeof(Unit), sizeof(Unit));
    std::memcpy(&unit2, text2 + index * sizeof(Unit), sizeof(Unit));
    return unit1 == unit2 && unit1 != 0;
  };
  std::size_t at = 0;
  while (goesOn(at) && goesOn(++at) && goesOn(++at) && goesOn(++at)) ++at;  // four to a round
  if (unit1 == unit2) return 0;
  const int result = Decide(table.Word(unit1), table.Word(unit2));
  if (result != kUndecided) return result;
  return CompareFurther<Unit>(table, codeSet, language, text1 + at * sizeof(Unit),
                              text2 + at * sizeof(Unit), cmpOp);
}

[[gnu::noinline]] int CompareAny(unsigned char codeSet1, unsigned char language1, const char* text1,
                                 unsigned char codeSet2, unsigned char language2, const char* text2,
                                 unsigned short cmpOp, short maxLength, unsigned char byteOrder,
                                 int*) {
  return CompareTexts({codeSet1, language1, text1, kToTerminator, byteOrder},
                      {codeSet2, language2, text2, kToTerminator, byteOrder}, cmpOp,
                      static_cast<unsigned short>(maxLength));
}

}  // namespace

}  // namespace kv

int KvStrCmp(unsigned char codeSet1, unsigned char language1, const char* text1,
             unsigned char codeSet2, unsigned char language2, const char* text2,
             unsigned short cmpOp, short maxLength, unsigned char byteOrder, int* status) {
  if (status != nullptr) *status = kvOk;
  if (kv::IsOrdinary(codeSet1, language1, codeSet2, language2, cmpOp) && byteOrder == 1 &&
      maxLength == -1 && text1 != nullptr && text2 != nullptr) [[likely]] {
    if (KvIsWideCodeSet(codeSet1)) {
      return kv::CompareOrdinary<unsigned short>(kv::WideOrderTable(language1), codeSet1, language1,
                                                 text1, text2, cmpOp);
    }
    return kv::CompareOrdinary<unsigned char>(kv::ByteOrderTable(codeSet1, language1), codeSet1,
                                              language1, text1, text2, cmpOp);
  }
  return kv::CompareAny(codeSet1, language1, text1, codeSet2, language2, text2, cmpOp, maxLength,
                        byteOrder, status);
}
