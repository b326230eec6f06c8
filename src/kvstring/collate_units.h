// collate_units.h - what the collation sources share: how a Text is resolved and where it ends, the
// options that every walk over orders looks at, and the units of a text with their order words.
#pragma once

#include "kvstring/collate_quick.h"

namespace kv {

// Either rules out wildcards.
inline constexpr unsigned short kNoWildcards = kvCompareExact | kvCompareKeyOrder;

// Whether `pattern` has one of the process's wildcards in it.
bool HasWildcard(const Text& pattern);

// Whether the whole of `text` matches `pattern`, wildcards included.
bool MatchesPattern(const Text& text, const Text& pattern, unsigned short cmpOp);

// Replaces the numbers that stand for a default.
inline Text Resolve(Text text) {
  if (text.codeSet == kvCodeSetBytes) text.codeSet = KvLanguageContext::GetNativeCodeSet();
  if (text.language == 255) text.language = KvLanguageContext::GetDefaultLanguage();
  return text;
}

inline Text Limited(Text text, unsigned length) {
  if (length < text.length) text.length = length;
  return text;
}

// Null when only the terminator ends the text.
inline const unsigned char* EndOf(const Text& text) {
  if (text.units == nullptr || text.length == kToTerminator) return nullptr;
  return BeginOf(text) + text.length * UnitWidth(text.codeSet);
}

// What follows the first `units` units of a text.
inline Text RestOf(Text text, unsigned units) {
  text.units = BeginOf(text) + units * UnitWidth(text.codeSet);
  if (text.length != kToTerminator) text.length -= units;
  return text;
}

// The bits of an order word that a compare operation looks at.
inline unsigned LevelMask(unsigned short cmpOp) {
  unsigned mask = ~kMarks;
  if ((cmpOp & kvCompareIgnoreCase) != 0) mask &= ~kCaseBits;
  if ((cmpOp & kvCompareIgnoreAccents) != 0) mask &= ~kAccentBits;
  if ((cmpOp & kvCompareIgnoreVariants) != 0) mask &= ~kExtensionBits;
  return mask;
}

// The units of a text of one width, one after the other, and their order words.
template <class Unit, class Table>
class Units {
 public:
  Units(const void* text, const Table& table, const void* end, bool isReversed = false)
      : position_(static_cast<const unsigned char*>(text)),
        table_(table),
        end_(static_cast<const unsigned char*>(end)),
        isReversed_(isReversed) {}

  // 0 at the end.
  Unit Get() const { return position_ == end_ ? Unit{0} : Load(position_); }

  // The unit so many before the present one, which the caller knows to be there.
  Unit Back(unsigned units) const { return Load(position_ - units * sizeof(Unit)); }

  // The units behind so many.
  Units From(unsigned units) const {
    Units rest = *this;
    rest.Advance(units);
    return rest;
  }

  void Advance(unsigned units = 1) { position_ += units * sizeof(Unit); }
  void GoBack(unsigned units) { position_ -= units * sizeof(Unit); }
  unsigned Word(Unit unit) const { return table_.Word(unit); }
  const unsigned char* Position() const { return position_; }
  const Table& GetTable() const { return table_; }
  unsigned Passed(const void* text) const {
    const auto bytes = position_ - static_cast<const unsigned char*>(text);
    return static_cast<unsigned>(bytes) / unsigned{sizeof(Unit)};
  }
  bool HasTableOf(const Units& other) const { return table_ == other.table_; }
  template <class Other>
  bool HasTableOf(const Other&) const {
    return false;
  }

 private:
  Unit Load(const unsigned char* at) const { return ReadUnit<Unit>(at, isReversed_); }

  const unsigned char* position_;
  Table table_;
  const unsigned char* end_;  // null: the text ends at its terminator
  bool isReversed_;
};

using ByteUnits = Units<unsigned char, ByteOrderTable>;
using WideUnits = Units<unsigned short, WideOrderTable>;

inline ByteUnits BytesOf(const Text& text) {
  return {text.units, ByteOrderTable(text.codeSet, text.language), EndOf(text)};
}

inline WideUnits WidesOf(const Text& text) {
  return {text.units, WideOrderTable(text.language), EndOf(text), IsReversed(text)};
}

// Calls `walk` with the units of two resolved texts, each at its width.
template <class Walk>
auto WithUnits(const Text& text1, const Text& text2, Walk walk) {
  const auto against2 = [&](auto units1) {
    return KvIsWideCodeSet(text2.codeSet) ? walk(units1, WidesOf(text2))
                                          : walk(units1, BytesOf(text2));
  };
  return KvIsWideCodeSet(text1.codeSet) ? against2(WidesOf(text1)) : against2(BytesOf(text1));
}

}  // namespace kv
