// zinorder.h - the collation order tables themselves, for code that compares or hashes text and
// cannot afford a call for each character. Everybody else asks KvCodeSet::Orders.
//
// A table has one 32-bit *order word* for each unit of a code set in a language:
//
//    31 30            16 15             0
//   +--+----------------+----------------+
//   | 0| primary        | rest           |   one order: primary | rest
//   +--+----------------+----------------+
//   | 1| first order    | second order   |   two orders; bit 15 of the second belongs to both
//   +--+----------------+----------------+
//
// For a character of one order, the primary half is what the character *is* and the rest is what
// tells variants of it apart: accent 0x0F80, case 0x3000 and an extension of 3, at the bits that
// they have in the order. (Extensions 1 and 2 make another letter, so they are primary.) So one
// subtraction of two words compares two characters at all levels that matter for the result, and
// the order is the two halves ORed. A unit of 0 has the word 0.
//
// A *contraction* is several units that a language sorts as one letter, such as Czech ch. Units
// that are in none compare by their words wherever they stand. Those that may be in one have marks
// in the rest, where the letter code of an order would be and no order word has anything:
//
//    6  5   4         3      2   1  0
//   +-----+---------+------+-------+----+
//   | 0 0 | follows | part | moves | ...|
//   +-----+---------+------+-------+----+
//
// "Part" is set with either of the others. "Follows": other units than the first of a contraction
// are this one. "Moves": the unit may begin a contraction that has another letter between itself
// and its first letter, as Czech ch has d, or it is such a letter; so the words alone do not tell
// which of two units comes first. Languages without contractions have none of this and pay nothing
// for it.
//
// Orders are in stored indexes by their effect: an order once given to a character stays.
#pragma once

#include <bit>

#include "zin.h"

namespace kv {

// The first order of each class of characters; before the symbols are the spaces, and behind the
// letters is everything else. They belong to the layout that kvorder.h draws.
inline constexpr unsigned kFirstSymbolOrder = 80;
inline constexpr unsigned kFirstDigitOrder = 0x3F00;
inline constexpr unsigned kFirstLetterOrder = 0x4000;
inline constexpr unsigned kFirstOtherOrder = 0x8000;

namespace zin {
// Generated (platform/zin/data/orders.cpp). Reach them through the order tables below.
inline constexpr unsigned kByteCodeSets = 12;
extern KV_EXPORT const unsigned char kTailorings[256];  // by language
// Halves of 128 units, of which tables have many in common: their numbers by language and code
// set. Those of number 0 serve languages of 20 and above too.
extern KV_EXPORT const unsigned char kByteHalfNumbers[][2];
extern KV_EXPORT const unsigned kByteHalves[][128];
extern KV_EXPORT const unsigned kLatinOrders[][512];  // the first units of 16-bit text
// Pages of 256 units; 0 for a page whose order words are computed, and for the first two.
extern KV_EXPORT const unsigned char kOrderPageIndex[][256];
extern KV_EXPORT const unsigned kOrderPages[][256];

// A run of units that sorts as one letter.
struct Contraction {
  unsigned short letters[4];  // the orders of its units without their case, then 0
  // What it gives, without case. The second is 0 but for runs such as Hungarian ssz, which stands
  // for sz twice.
  unsigned short orders[2];
  bool mixedCase;  // a small letter and a capital make the contraction too
};

// All contractions; those of a set that begin with letter code c are the entries from
// kContractionStarts[set][c] to [c + 1], longer ones first.
extern KV_EXPORT const Contraction kContractions[];
extern KV_EXPORT const unsigned char kContractionSets[];  // by tailoring
extern KV_EXPORT const unsigned char kContractionStarts[][33];
// For each set and letter code a bit for each letter code that follows it in a contraction.
extern KV_EXPORT const unsigned kContractionFollowers[][32];

// The letters of a tailoring's alphabet, a bit for each letter code and extension: bit n & 31 of
// word n / 32 for the low seven bits n of an order.
extern KV_EXPORT const unsigned kAlphabets[][4];

// Beginnings of words that part the words of a language, 1 to 19 and 0 as 1, into stretches of as
// many words each: numbers of kWordMarkLetters digits, see WordPlaces.
inline constexpr unsigned kWordMarkCount = 191;
inline constexpr unsigned kWordMarkLetters = 5;
extern KV_EXPORT const unsigned kWordMarks[20][kWordMarkCount];
}  // namespace zin

inline constexpr unsigned kPairBit = 0x80000000u;  // two orders
// The marks of a word of one order.
inline constexpr unsigned kMovesMark = 0x04;
inline constexpr unsigned kPartMark = 0x08;
inline constexpr unsigned kFollowsMark = 0x10;
inline constexpr unsigned kMarks = kMovesMark | kPartMark | kFollowsMark;
// What a word of one order that stands for itself wherever it is has none of.
inline constexpr unsigned kSpecialBits = kPairBit | kPartMark;
inline constexpr unsigned kAccentBits = 0x0F80;
inline constexpr unsigned kCaseBits = 0x3000;
inline constexpr unsigned kExtensionBits = 0x0003;
inline constexpr unsigned kPartExtension = 3;  // the only extension that is no other letter

// The two orders of a character that has neither a page nor a case partner.
constexpr unsigned ComputedOrderWord(unsigned short unit) {
  return kPairBit | 0x8000u | static_cast<unsigned>(unit >> 1) << 16 |
         static_cast<unsigned>(unit & 1) << 1;
}

constexpr unsigned short FirstOrder(unsigned word) {
  if ((word & kPairBit) == 0) {
    return static_cast<unsigned short>(word >> 16 | (word & 0xFFFF & ~kMarks));
  }
  return static_cast<unsigned short>((word >> 16 & 0x7FFF) | (word & 0x8000));
}

// Whether the unit of this word may be part of a contraction.
constexpr bool IsContractionPart(unsigned word) {
  return (word & kSpecialBits) == kPartMark;
}

// 0 when the word holds one order only.
constexpr unsigned short SecondOrder(unsigned word) {
  return static_cast<unsigned short>((word & kPairBit) == 0 ? 0 : word & 0xFFFF);
}

// A single order as primary half and rest, so that orders compare level by level. A second order
// of a character outside the Latin letters (0x8000 to 0x8003, which is never a first one) keeps
// its case in bit 0; here it moves to where the case of a letter is.
constexpr unsigned OrderWeight(unsigned order) {
  if (order >= kFirstOtherOrder) {
    return order <= 0x8003 ? (order & 0xFFFE) << 16 | (order & 1) << 12 : order << 16;
  }
  if (order >= kFirstLetterOrder) {
    const unsigned primary = (order & kExtensionBits) == kPartExtension ? 0x407C : 0x407F;
    return (order & primary) << 16 | (order & ~primary & 0x3FFF);
  }
  if (order >= kFirstDigitOrder) return (order & 0xFFFE) << 16 | (order & 1);
  return order << 16;
}

// Slot of an 8-bit code set (up to 224) among the generated tables: 0 for number 1 and so on.
// Number 0 must have been replaced by the native code set; unknown numbers are as 1.
constexpr unsigned ByteCodeSetSlot(unsigned char codeSet) {
  const unsigned slot = codeSet - 1u;
  return slot < zin::kByteCodeSets ? slot : 0;
}

// The order words of an 8-bit code set in a language.
class ByteOrderTable {
 public:
  ByteOrderTable(unsigned char codeSet, unsigned char language)
      : ByteOrderTable(zin::kByteHalfNumbers[(language < 20u ? language : 0u) * zin::kByteCodeSets +
                                             ByteCodeSetSlot(codeSet)]) {}
  [[gnu::always_inline]] unsigned Word(unsigned char unit) const {
    return RowOf128(unit)[unit & 127];
  }
  // The words of the 128 units from `unit` on, a multiple of 128.
  const unsigned* RowOf128(unsigned unit) const { return unit < 128 ? low_ : high_; }
  bool operator==(const ByteOrderTable& other) const {
    return low_ == other.low_ && high_ == other.high_;
  }

 private:
  explicit ByteOrderTable(const unsigned char (&halves)[2])
      : low_(zin::kByteHalves[halves[0]]), high_(zin::kByteHalves[halves[1]]) {}

  const unsigned* low_;
  const unsigned* high_;
};

// The order words of 16-bit Unicode in a language.
class WideOrderTable {
 public:
  explicit WideOrderTable(unsigned char language)
      : latin_(zin::kLatinOrders[zin::kTailorings[language]]),
        pageIndex_(zin::kOrderPageIndex[zin::kTailorings[language]]) {}
  [[gnu::always_inline]] unsigned Word(unsigned short unit) const {
    return unit < 512 ? latin_[unit] : PageWord(unit);
  }
  // The words of the 128 units from `unit` on, a multiple of 128 below 512.
  const unsigned* RowOf128(unsigned unit) const { return latin_ + unit; }
  bool operator==(const WideOrderTable& other) const { return latin_ == other.latin_; }

 private:
  unsigned PageWord(unsigned short unit) const {
    const unsigned page = pageIndex_[unit >> 8];
    return page == 0 ? ComputedOrderWord(unit) : zin::kOrderPages[page][unit & 0xFF];
  }

  const unsigned* latin_;
  const unsigned char* pageIndex_;
};

// The letters of a language in their sequence, for estimates.
class Alphabet {
 public:
  explicit Alphabet(unsigned char language)
      : letters_(zin::kAlphabets[zin::kTailorings[language]]) {}

  unsigned Count() const { return Below(128); }
  bool Has(unsigned order) const { return (letters_[order >> 5 & 3] >> (order & 31) & 1) != 0; }
  // The place of a letter order, from 0 on; of a letter that is not in the alphabet the place of
  // the letter before it.
  unsigned PlaceOf(unsigned order) const {
    const unsigned upTo = Below((order & 127) + 1);
    return upTo == 0 ? 0 : upTo - 1;
  }

 private:
  // How many letters lie below a place of 7 bits.
  unsigned Below(unsigned end) const {
    unsigned count = 0;
    for (unsigned word = 0; word < end / 32; ++word) count += BitsOf(letters_[word]);
    if (end % 32 != 0) count += BitsOf(letters_[end / 32] & ((1u << end % 32) - 1));
    return count;
  }
  static unsigned BitsOf(unsigned word) { return static_cast<unsigned>(std::popcount(word)); }

  const unsigned* letters_;
};

inline bool HasContractions(unsigned char language) {
  return zin::kContractionSets[zin::kTailorings[language]] != 0;
}

// Which units may stand side by side in a contraction of a language. Between two others a letter
// ends, whatever is around them.
class ContractionLinks {
 public:
  explicit ContractionLinks(unsigned char language)
      : ContractionLinks(zin::kContractionSets + zin::kTailorings[language]) {}

  // Takes the words of two neighbours; 1 or 0, without a branch.
  unsigned Bit(unsigned word1, unsigned word2) const {
    const unsigned areParts =
        unsigned{IsContractionPart(word1)} & unsigned{IsContractionPart(word2)};
    return followers_[LetterCode(word1)] >> LetterCode(word2) & areParts;
  }
  bool Between(unsigned word1, unsigned word2) const { return Bit(word1, word2) != 0; }

 private:
  explicit ContractionLinks(const unsigned char* set)
      : followers_(zin::kContractionFollowers[*set]) {}

  static unsigned LetterCode(unsigned word) { return word >> 18 & 31; }

  const unsigned* followers_;
};

// The order word without marks: what the unit is where it stands for itself.
constexpr unsigned WordAlone(unsigned word) {
  return (word & kPairBit) == 0 ? word & ~kMarks : word;
}

// What a run of letters contracts to.
struct Contracted {
  unsigned units = 0;  // 0: it begins with no contraction
  unsigned short orders[2] = {};
};

// The longest contraction of `language` at the front of a run of `count` orders (4 at most), which
// are those of consecutive units that may be part of one.
KV_EXPORT Contracted Contract(unsigned char language, const unsigned short* orders, unsigned count);

// Whether any contraction of `language` gives an order with this weight at the bits of `mask`.
KV_EXPORT bool HasContractionOf(unsigned char language, unsigned weight, unsigned mask);

}  // namespace kv
