// collate.h - texts by collation order: the cursor that yields orders, comparison, searching and
// the process's wildcards. Everything reads a Text, which may end at a terminator or after a number
// of units and may hold 16-bit units in either byte order at any address, so that stored strings
// are compared and hashed where they lie.
#pragma once

#include "kvbase/unit.h"
#include "zinorder.h"

class KvString;

namespace kv {

inline constexpr unsigned kToTerminator = 0xFFFFFFFF;
inline constexpr unsigned char kMemoryOrder = 1;  // of units as the host has them, see IsReversed

struct Text {
  unsigned char codeSet;
  unsigned char language;           // 255: the default language
  const void* units;                // null: no text
  unsigned length = kToTerminator;  // units; a zero unit ends the text before that
  unsigned char byteOrder = kMemoryOrder;

  bool IsNull() const {
    return language == kvLanguageNull || (codeSet == kvCodeSetOrders && language == 0);
  }
};

// Whether 16-bit units lie the other way round than the host has them. The low four bits of a byte
// order say it, as in a format byte, but the order of a text in memory is relative to memory: on
// every host 2 is reversed.
constexpr bool IsReversed(unsigned char byteOrder) {
  return (byteOrder & 0x0F) == 2;
}
constexpr bool IsReversed(const Text& text) {
  return IsReversed(text.byteOrder);
}

// The sort class of a language as every code set has it.
constexpr unsigned char SortClassOf(unsigned char language) {
  return language >= 20 ? 20 : 1;
}

// What collation hashing and key order make of an order: for letters the letter code goes above
// accent and case, so that keys sort by what the character is first.
constexpr unsigned OrderKey(unsigned char sortClass, unsigned short order) {
  if (order == 0) return 0;
  const unsigned top = static_cast<unsigned>(sortClass) << 24;
  if (sortClass != 20 && (order & 0xC000) == 0x4000) {
    return top | (order & 0x407Fu) << 8 | (order >> 7 & 0x7Fu);
  }
  return top | static_cast<unsigned>(order) << 8;
}

// Yields the collation orders of a text one after the other, those of contractions as one. Copying
// it marks a place to come back to. At the end of the text it stays where it is and yields 0.
class OrderCursor {
 public:
  explicit OrderCursor(const Text& text);

  // The next order, 0 at the end.
  unsigned short Next() {
    if (pending_ != 0) return TakePending();
    const unsigned short unit = Unit();
    if (unit == 0) return 0;
    if (isOrders_) {
      position_ += width_;
      return unit;
    }
    const unsigned word = Word(unit);
    if ((word & kSpecialBits) == 0) [[likely]] {
      position_ += width_;
      return FirstOrder(word);
    }
    if (IsContractionPart(word)) return NextOfRun();
    position_ += width_;
    pending_ = SecondOrder(word);
    return FirstOrder(word);
  }

  // As Next, but passes over orders of spaces.
  unsigned short NextVisible() {
    unsigned short order = Next();
    while (order != 0 && order < kFirstSymbolOrder) order = Next();
    return order;
  }

  // Drops what the last character still has to yield.
  void DropPending() { pending_ = 0; }

  // Whether the next order is the second one of a character or a contraction.
  bool IsInside() const { return pending_ != 0; }

  bool AtEnd() const { return pending_ == 0 && Unit() == 0; }

  // Behind the last unit that yielded an order, its second one perhaps still to come.
  const unsigned char* Position() const { return position_; }

 private:
  OrderCursor(const Text& text, unsigned char language);  // which is not 255

  unsigned short TakePending() {
    const unsigned short order = pending_;
    pending_ = 0;
    return order;
  }

  // The next order, at a unit that may begin a contraction.
  unsigned short NextOfRun();

  unsigned Word(unsigned short unit) const {
    return width_ == 1 ? bytes_.Word(static_cast<unsigned char>(unit)) : wide_.Word(unit);
  }

  unsigned short Unit() const {
    if (position_ == end_) return 0;
    if (width_ == 1) return *position_;
    return ReadUnit<unsigned short>(position_, isReversed_);
  }

  const unsigned char* position_;
  const unsigned char* end_;  // null: the text ends at its terminator
  ByteOrderTable bytes_;
  WideOrderTable wide_;
  unsigned short pending_ = 0;
  unsigned char language_;
  unsigned char width_;
  bool isReversed_;
  bool isOrders_;
};

// As KvStrCmp (kvcollate.h), on at most `maxLength` characters; 65535 is no limit. Both texts have
// one byte order.
int CompareTexts(const Text& text1, const Text& text2, unsigned short cmpOp,
                 unsigned short maxLength = 65535);

// The same for two strings, whole: -1, 0 or 1.
int CompareStrings(const KvString& string1, const KvString& string2, unsigned short cmpOp);

// The first position from `start` on, in units, where the pattern is found; -1 when there is none.
// Both lengths must be given, the pattern's exactly; a zero unit may end the text before its
// length, behind `start` units. Only positions that leave as many units as the pattern has are
// tried. A position counts when the text from there on begins with the pattern: equal orders under
// the options of `cmpOp`, as if a wildcard for the rest followed the pattern. With kvCompareExact
// or kvCompareKeyOrder the text's part must be whole characters; otherwise the process's wildcards
// count in the pattern as in KvStrCmp. A contraction is never matched by its first letters alone.
int FindText(const Text& text, const Text& pattern, unsigned short cmpOp, unsigned start);

// The hash of a whole text, as HashString (kvhash.h) with length -1 has it.
unsigned HashText(const Text& text);
// The same for `length` orders (bytes in code set 0), as many as there are for -1.
unsigned HashText(const Text& text, short length);

// The process's wildcards: the collation order that plays each part, 0 for none. Set before texts
// are compared concurrently.
enum class Wildcard { kAsterisk, kQuestion, kEscape };
void SetWildcardOrder(Wildcard wildcard, unsigned short order);
unsigned short GetWildcardOrder(Wildcard wildcard);

}  // namespace kv
