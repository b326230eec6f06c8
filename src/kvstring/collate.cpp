// collate.cpp - comparing texts by collation orders, level by level in one pass. docs/collation.md
// says which way of comparing runs when: by units up to the first difference, by order words, by
// orders, by keys, or plain bytes.
#include <iterator>

#include "kvbase/three_way.h"
#include "kvstring/collate_quick.h"
#include "kvstring/collate_units.h"

namespace kv {

namespace {

// The contraction with which a run of letters begins, if it does. `word` is that of its first unit,
// and `nextWord` gives the next one's as long as they may stand side by side.
template <class NextWord>
Contracted ContractRun(unsigned char language, unsigned word, NextWord nextWord) {
  const ContractionLinks links(language);
  unsigned short orders[4] = {FirstOrder(word)};
  unsigned count = 1;
  while (count < std::size(orders)) {
    const unsigned next = nextWord();
    if (!links.Between(word, next)) break;
    orders[count++] = FirstOrder(next);
    word = next;
  }
  return count > 1 ? Contract(language, orders, count) : Contracted{};
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
  int Decide() const {
    return first1_ == first2_ ? 0 : OrderOfUnequal(Ranked(first1_), Ranked(first2_));
  }

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
  if ((weight1 ^ weight2) >> 16 != 0) return OrderOfUnequal(weight1, weight2);
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

// As CompareWeights, for two words when at least one of them may hold two orders. kMixed when the
// texts have to be compared order by order from here on: one order stands against the first of two,
// or a unit may be in a contraction with its neighbour.
constexpr int kMixed = 2;

int ComparePairs(unsigned word1, unsigned word2, Levels& levels) {
  if (((word1 | word2) & kPairBit) == 0) return CompareWeights(word1, word2, levels);
  const unsigned weight1 = OrderWeight(FirstOrder(word1));
  const unsigned weight2 = OrderWeight(FirstOrder(word2));
  if ((weight1 ^ weight2) >> 16 != 0) return OrderOfUnequal(weight1, weight2);
  if ((word1 & word2 & kPairBit) == 0) return kMixed;
  levels.Note(weight1, weight2);
  return CompareWeights(OrderWeight(SecondOrder(word1)), OrderWeight(SecondOrder(word2)), levels);
}

// The word of the unit behind the present one, 0 at the end.
template <class Units>
[[gnu::always_inline]] inline unsigned WordBehind(Units units) {
  units.Advance(units.Get() != 0);
  return units.Word(units.Get());
}

// Whether the present unit of a text, which has this word, may be in a contraction with the one
// before it or, where `forward` is 1, behind it. It is asked of letters that cannot be foreseen, so
// it is computed and does not branch on them.
template <class Units>
unsigned IsLinked(const ContractionLinks& links, const Text& text, const Units& units,
                  unsigned word, unsigned forward) {
  const unsigned before = units.Position() != text.units ? units.Word(units.Back(1)) : 0;
  return links.Bit(before, word) | (links.Bit(word, WordBehind(units)) & forward);
}

// Two units that differ, one at least of two orders or in contractions; as ComparePairs.
template <class Units1, class Units2>
int CompareSpecial(const Text& text1, const Units1& units1, const Text& text2, const Units2& units2,
                   Levels& levels) {
  const unsigned word1 = units1.Word(units1.Get());
  const unsigned word2 = units2.Word(units2.Get());
  // What the marks say holds among the letters of one language.
  const bool isSettled = units1.HasTableOf(units2) && IsSettled(word1, word2, kUnsettledFirst);
  const unsigned forward = isSettled ? 0 : 1;
  const unsigned linked =
      IsLinked(ContractionLinks(text1.language), text1, units1, word1, forward) |
      IsLinked(ContractionLinks(text2.language), text2, units2, word2, forward);
  return linked != 0 ? kMixed : ComparePairs(WordAlone(word1), WordAlone(word2), levels);
}

// How many units before the present one stand in one run with it or with `other`, the word at the
// same place of a text that is the same up to here: a contraction may reach over this place.
template <class Units>
unsigned RunBefore(const Text& text, const Units& units, unsigned other) {
  const unsigned passed = units.Passed(text.units);
  if (passed == 0) return 0;
  const ContractionLinks links(text.language);
  const auto wordBack = [&](unsigned count) { return units.Word(units.Back(count)); };
  // The present place may be the end of the text, with no unit to read.
  const unsigned present = units.Word(units.Get());
  if ((links.Bit(wordBack(1), present) | links.Bit(wordBack(1), other)) == 0) return 0;
  unsigned run = 1;
  while (run < passed && links.Bit(wordBack(run + 1), wordBack(run)) != 0) ++run;
  return run;
}

// The order of two units of one table with which texts differ that are the same before; 0 where the
// letters beside them do not settle it. What most differences beside contractions need, without the
// records of the walk below.
template <class Units>
[[gnu::always_inline]] inline int CompareUnlinked(unsigned char language, const Units& units1,
                                                  const Units& units2, bool isFirst) {
  const unsigned word1 = units1.Word(units1.Get());
  const unsigned word2 = units2.Word(units2.Get());
  if (!IsSettled(word1, word2, kPairBit)) return 0;
  const ContractionLinks links(language);
  const unsigned before = isFirst ? 0 : units1.Word(units1.Back(1));
  unsigned linked = links.Bit(before, word1) | links.Bit(before, word2);
  if (((word1 | word2) & kMovesMark) != 0) {
    linked |= links.Bit(word1, WordBehind(units1)) | links.Bit(word2, WordBehind(units2));
  }
  return linked != 0 ? 0 : OrderOfUnequal(word1, word2);
}

// The weight of the order that the text goes on with, contracted where it is.
template <class Units>
unsigned NextWeight(unsigned char language, Units units) {
  const unsigned word = units.Word(units.Get());
  if (!IsContractionPart(word)) return OrderWeight(FirstOrder(word));
  const auto nextWord = [&] {
    units.Advance();
    return units.Word(units.Get());
  };
  const Contracted contracted = ContractRun(language, word, nextWord);
  return contracted.units != 0 ? OrderWeight(contracted.orders[0]) : WordAlone(word);
}

// Walks `units1` and `units2`, which are anywhere in `text1` and `text2`, to the end. What is
// before them is the same in both texts, if their tables are.
template <class Units1, class Units2>
[[gnu::always_inline]] inline int CompareWords(const Text& text1, Units1 units1, const Text& text2,
                                               Units2 units2, Levels& levels) {
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
    const bool special = ((word1 | word2) & kSpecialBits) != 0;
    const int sign = special ? CompareSpecial(text1, units1, text2, units2, levels)
                             : CompareWeights(word1, word2, levels);
    if (sign == kMixed) break;
    if (sign != 0) return sign;
    if (unit1 == 0) return levels.Decide();
  }
  const unsigned back = sameTable ? RunBefore(text1, units1, units2.Word(units2.Get())) : 0;
  units1.GoBack(back);
  units2.GoBack(back);
  const unsigned weight1 = NextWeight(text1.language, units1);
  const unsigned weight2 = NextWeight(text2.language, units2);
  if ((weight1 ^ weight2) >> 16 != 0) return OrderOfUnequal(weight1, weight2);
  return CompareOrders(OrderCursor(RestOf(text1, units1.Passed(text1.units))),
                       OrderCursor(RestOf(text2, units2.Passed(text2.units))), false, levels);
}

int CompareLevels(const Text& text1, const Text& text2, unsigned short cmpOp) {
  Levels levels(cmpOp);
  const bool skipSpaces = (cmpOp & kvCompareSkipSpaces) != 0;
  if (skipSpaces || text1.codeSet == kvCodeSetOrders || text2.codeSet == kvCodeSetOrders) {
    return CompareOrders(OrderCursor(text1), OrderCursor(text2), skipSpaces, levels);
  }
  return WithUnits(text1, text2, [&](auto units1, auto units2) {
    return CompareWords(text1, units1, text2, units2, levels);
  });
}

// Texts that are equal at every level still differ when their languages sort by different classes,
// as their hashes do. Texts with nothing to compare have no order to differ in.
int CompareLevelsAndClass(const Text& text1, const Text& text2, unsigned short cmpOp) {
  const int result = CompareLevels(text1, text2, cmpOp);
  const unsigned char class1 = SortClassOf(text1.language);
  const unsigned char class2 = SortClassOf(text2.language);
  if (result != 0 || class1 == class2) return result;
  OrderCursor cursor(text1);
  const bool skipSpaces = (cmpOp & kvCompareSkipSpaces) != 0;
  const bool isEmpty = (skipSpaces ? cursor.NextVisible() : cursor.Next()) == 0;
  return isEmpty ? 0 : OrderOfUnequal(class1, class2);
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

int CompareKeys(const Text& text1, const Text& text2) {
  OrderCursor cursor1(text1);
  OrderCursor cursor2(text2);
  const unsigned char class1 = SortClassOf(text1.language);
  const unsigned char class2 = SortClassOf(text2.language);
  for (;;) {
    const unsigned key1 = OrderKey(class1, cursor1.Next());
    const unsigned key2 = OrderKey(class2, cursor2.Next());
    // Keys stay below 2^29, so their difference fits.
    if (key1 != key2) return static_cast<int>(key1) - static_cast<int>(key2);
    if (key1 == 0) return 0;
  }
}

// Two resolved texts by levels, with the process's wildcards unless they are ruled out.
int CompareByLevels(const Text& text1, const Text& text2, unsigned short cmpOp) {
  const bool asPattern = wildcardsInUse && (cmpOp & kNoWildcards) == 0 && HasWildcard(text2);
  if (asPattern && MatchesPattern(text1, text2, cmpOp)) return 0;
  const int result = CompareLevelsAndClass(text1, text2, cmpOp);
  return asPattern && result == 0 ? -1 : result;
}

}  // namespace

OrderCursor::OrderCursor(const Text& given)
    : OrderCursor(given, given.language == 255 ? KvLanguageContext::GetDefaultLanguage()
                                               : given.language) {}

OrderCursor::OrderCursor(const Text& given, unsigned char language)
    : position_(BeginOf(given)),
      end_(EndOf(given)),
      bytes_(
          given.codeSet == kvCodeSetBytes ? KvLanguageContext::GetNativeCodeSet() : given.codeSet,
          language),
      wide_(language),
      language_(language),
      width_(KvIsWideCodeSet(given.codeSet) ? 2 : 1),
      isReversed_(IsReversed(given)),
      isOrders_(given.codeSet == kvCodeSetOrders) {}

unsigned short OrderCursor::NextOfRun() {
  const unsigned char* begin = position_;
  const unsigned word = Word(Unit());
  const Contracted contracted = ContractRun(language_, word, [this] {
    position_ += width_;
    return Word(Unit());
  });
  position_ = begin + std::max(contracted.units, 1u) * width_;
  pending_ = contracted.orders[1];
  return contracted.units != 0 ? contracted.orders[0] : FirstOrder(word);
}

int CompareWordsFrom(const Text& text1, const Text& text2, unsigned passed, unsigned short cmpOp) {
  const auto compare = [&](auto units1, auto units2) {
    units1.Advance(passed);
    units2.Advance(passed);
    if (const int sign = CompareUnlinked(text1.language, units1, units2, passed == 0)) return sign;
    Levels levels(cmpOp);
    return CompareWords(text1, units1, text2, units2, levels);
  };
  return KvIsWideCodeSet(text1.codeSet) ? compare(WidesOf(text1), WidesOf(text2))
                                        : compare(BytesOf(text1), BytesOf(text2));
}

int CompareInGeneral(const Text& text1, const Text& text2, unsigned short cmpOp,
                     unsigned short maxLength) {
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
    return CompareKeys(Limited(Resolve(text1), limit), Limited(Resolve(text2), limit));
  }
  return CompareByLevels(Limited(Resolve(text1), limit), Limited(Resolve(text2), limit), cmpOp);
}

int CompareTexts(const Text& text1, const Text& text2, unsigned short cmpOp,
                 unsigned short maxLength) {
  const bool isCounted = text1.units != nullptr && text2.units != nullptr &&
                         text1.length != kToTerminator && text2.length != kToTerminator;
  if (isCounted && maxLength == 65535 &&
      ComparesByUnits(text1.codeSet, text1.language, text2.codeSet, text2.language, cmpOp)) {
    return CompareCountedUnits(text1, text2, cmpOp);
  }
  return CompareInGeneral(text1, text2, cmpOp, maxLength);
}

namespace {

// Goes on by order words in terminated texts whose first `passed` units are the same.
[[gnu::noinline]] int CompareTerminatedWords(unsigned char codeSet, unsigned char language,
                                             const void* text1, const void* text2, unsigned passed,
                                             unsigned short cmpOp) {
  // Units straight from the values, not from a copy of the texts.
  const auto* rest1 = static_cast<const unsigned char*>(text1) + passed * UnitWidth(codeSet);
  const auto* rest2 = static_cast<const unsigned char*>(text2) + passed * UnitWidth(codeSet);
  const auto compare = [&](auto units1, auto units2) {
    if (const int sign = CompareUnlinked(language, units1, units2, passed == 0)) return sign;
    Levels levels(cmpOp);
    return CompareWords({codeSet, language, text1}, units1, {codeSet, language, text2}, units2,
                        levels);
  };
  if (KvIsWideCodeSet(codeSet)) {
    const WideOrderTable table(language);
    return compare(WideUnits(rest1, table, nullptr), WideUnits(rest2, table, nullptr));
  }
  const ByteOrderTable table(codeSet, language);
  return compare(ByteUnits(rest1, table, nullptr), ByteUnits(rest2, table, nullptr));
}

[[gnu::noinline]] int CompareStringsInGeneral(const KvString& string1, const KvString& string2,
                                              unsigned short cmpOp) {
  return ThreeWay(CompareInGeneral(TextOf(string1), TextOf(string2), cmpOp, 65535), 0);
}

}  // namespace

// Strings end at their terminators; only a null buffer has none.
int CompareStrings(const KvString& string1, const KvString& string2, unsigned short cmpOp) {
  const unsigned char codeSet = string1.GetCodeSet();
  const unsigned char language = string1.GetLanguage();
  const unsigned char* text1 = StringAccess::Buffer(string1);
  const unsigned char* text2 = StringAccess::Buffer(string2);
  if (!ComparesByUnits(codeSet, language, string2.GetCodeSet(), string2.GetLanguage(), cmpOp) ||
      text1 == nullptr || text2 == nullptr) {
    return CompareStringsInGeneral(string1, string2, cmpOp);
  }
  return CompareTerminatedUnits(codeSet, language, text1, text2, [&](unsigned passed) {
    return CompareTerminatedWords(codeSet, language, text1, text2, passed, cmpOp);
  });
}

}  // namespace kv

int KvStrCmp(unsigned char codeSet1, unsigned char language1, const char* text1,
             unsigned char codeSet2, unsigned char language2, const char* text2,
             unsigned short cmpOp, short maxLength, unsigned char byteOrder, int* status) {
  if (status != nullptr) *status = kvOk;
  if (!kv::ComparesByUnits(codeSet1, language1, codeSet2, language2, cmpOp) ||
      kv::IsReversed(byteOrder) || maxLength != -1 || text1 == nullptr || text2 == nullptr) {
    return kv::CompareTexts({codeSet1, language1, text1, kv::kToTerminator, byteOrder},
                            {codeSet2, language2, text2, kv::kToTerminator, byteOrder}, cmpOp,
                            static_cast<unsigned short>(maxLength));
  }
  return kv::CompareTerminatedUnits(codeSet1, language1, text1, text2, [&](unsigned passed) {
    return kv::CompareTerminatedWords(codeSet1, language1, text1, text2, passed, cmpOp);
  });
}
