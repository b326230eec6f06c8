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
// tells variants of it apart: accent 0x0F80, case 0x3000, extension 0x0003, at the bits that they
// have in the order. So one subtraction of two words compares two characters at all levels that
// matter for the result, and the order is the two halves ORed. A unit of 0 has the word 0.
//
// Orders are in stored indexes by their effect: an order once given to a character stays.
#pragma once

#include "zin.h"

namespace kv {

namespace zin {
// Generated (platform/zin/data/orders.cpp). Reach them through OrderTable.
inline constexpr unsigned kByteCodeSets = 12;
extern KV_EXPORT const unsigned char kTailorings[256];  // by language
extern KV_EXPORT const unsigned kByteOrders[4 * kByteCodeSets][256];
extern KV_EXPORT const unsigned kLatinOrders[4][512];  // the first units once more, in one piece
extern KV_EXPORT const unsigned char kOrderPageIndex[4][256];  // page 0: order words are computed
extern KV_EXPORT const unsigned kOrderPages[][256];
}  // namespace zin

inline constexpr unsigned kPairBit = 0x80000000u;  // the word holds two orders
inline constexpr unsigned kAccentBits = 0x0F80;
inline constexpr unsigned kCaseBits = 0x3000;
inline constexpr unsigned kExtensionBits = 0x0003;

// The two orders of a character that has neither a page nor a case partner.
constexpr unsigned ComputedOrderWord(unsigned short unit) {
  return kPairBit | 0x8000u | static_cast<unsigned>(unit >> 1) << 16 |
         static_cast<unsigned>(unit & 1) << 1;
}

constexpr unsigned short FirstOrder(unsigned word) {
  if ((word & kPairBit) == 0) return static_cast<unsigned short>(word >> 16 | (word & 0xFFFF));
  return static_cast<unsigned short>((word >> 16 & 0x7FFF) | (word & 0x8000));
}

// 0 when the word holds one order only.
constexpr unsigned short SecondOrder(unsigned word) {
  return static_cast<unsigned short>((word & kPairBit) == 0 ? 0 : word & 0xFFFF);
}

// A single order as primary half and rest, so that orders compare level by level. A second order
// of a character outside the Latin letters (0x8000 to 0x8003, which is never a first one) keeps
// its case in bit 0; here it moves to where the case of a letter is.
constexpr unsigned OrderWeight(unsigned order) {
  if (order >= 0x8000) {
    return order <= 0x8003 ? (order & 0xFFFE) << 16 | (order & 1) << 12 : order << 16;
  }
  if (order >= 0x4000) return (order & 0x407C) << 16 | (order & 0x3F83);
  if (order >= 0x3F00) return (order & 0xFFFE) << 16 | (order & 1);
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
      : words_(zin::kByteOrders[zin::kTailorings[language] * zin::kByteCodeSets +
                                ByteCodeSetSlot(codeSet)]) {}
  unsigned Word(unsigned char unit) const { return words_[unit]; }
  bool operator==(const ByteOrderTable& other) const { return words_ == other.words_; }

 private:
  const unsigned* words_;
};

// The order words of 16-bit Unicode in a language.
class WideOrderTable {
 public:
  explicit WideOrderTable(unsigned char language)
      : latin_(zin::kLatinOrders[zin::kTailorings[language]]),
        pageIndex_(zin::kOrderPageIndex[zin::kTailorings[language]]) {}
  unsigned Word(unsigned short unit) const { return unit < 512 ? latin_[unit] : PageWord(unit); }
  bool operator==(const WideOrderTable& other) const { return latin_ == other.latin_; }

 private:
  unsigned PageWord(unsigned short unit) const {
    const unsigned page = pageIndex_[unit >> 8];
    return page == 0 ? ComputedOrderWord(unit) : zin::kOrderPages[page][unit & 0xFF];
  }

  const unsigned* latin_;
  const unsigned char* pageIndex_;
};

}  // namespace kv
