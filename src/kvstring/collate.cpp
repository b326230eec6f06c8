// collate.cpp - comparing texts by collation orders, level by level in one pass. A text is read as
// order words (zinorder.h); characters of one order, nearly all of them, compare by one exclusive
// or of two words. Whatever else there is (ligatures against plain letters, options that skip,
// texts of orders) goes through order cursors, which are plain and slower.
#include "kvstring/collate.h"

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "kvcollate.h"
#include "kvstring/candidates.h"

namespace kv {

namespace {

constexpr unsigned short kNoWildcards = kvCompareExact | kvCompareKeyOrder;
constexpr unsigned char kOrderCodeSet = 254;

struct Wildcards {
  unsigned short asterisk;
  unsigned short question;
  unsigned short escape;
  bool Any() const { return (asterisk | question | escape) != 0; }
};

constinit Wildcards wildcards{};

// Replaces the numbers that stand for a default.
Text Resolve(Text text) {
  if (text.codeSet == kvCodeSetBytes) text.codeSet = KvLanguageContext::GetNativeCodeSet();
  if (text.language == 255) text.language = KvLanguageContext::GetDefaultLanguage();
  return text;
}

Text Limited(Text text, unsigned length) {
  if (length < text.length) text.length = length;
  return text;
}

bool IsReversed(const Text& text) {
  return (text.byteOrder & 0x0F) == 2;
}

const unsigned char* BeginOf(const Text& text) {
  return static_cast<const unsigned char*>(text.units);
}

const unsigned char* EndOf(const Text& text) {
  if (text.units == nullptr || text.length == kToTerminator) return nullptr;
  return BeginOf(text) + text.length * (KvIsWideCodeSet(text.codeSet) ? 2u : 1u);
}

// The bits of an order word that a compare operation looks at.
unsigned LevelMask(unsigned short cmpOp) {
  unsigned mask = 0xFFFFFFFF;
  if ((cmpOp & kvCompareIgnoreCase) != 0) mask &= ~kCaseBits;
  if ((cmpOp & kvCompareIgnoreAccents) != 0) mask &= ~kAccentBits;
  if ((cmpOp & kvCompareIgnoreVariants) != 0) mask &= ~kExtensionBits;
  return mask;
}

// What the walk over two texts has found so far: the first difference of each level below the
// primary one, which ends the walk.
class Levels {
 public:
  explicit Levels(unsigned short cmpOp) : mask_(LevelMask(cmpOp)) {}

  // Takes two weights with equal primary halves.
  void Note(unsigned weight1, unsigned weight2) {
    Note(accent_, weight1, weight2, kAccentBits);
    Note(case_, weight1, weight2, kCaseBits);
    Note(extension_, weight1, weight2, kExtensionBits);
  }

  // The order of two texts that are equal at the primary level.
  int Decide() const {
    if (accent_ != 0) return accent_;
    return case_ != 0 ? case_ : extension_;
  }

 private:
  void Note(int& level, unsigned weight1, unsigned weight2, unsigned bits) const {
    const unsigned field1 = weight1 & mask_ & bits;
    const unsigned field2 = weight2 & mask_ & bits;
    if (level == 0 && field1 != field2) level = field1 < field2 ? -1 : 1;
  }

  unsigned mask_;
  int accent_ = 0;
  int case_ = 0;
  int extension_ = 0;
};

int Sign(unsigned value1, unsigned value2) {
  return value1 < value2 ? -1 : 1;
}

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

// Reads the units of a text of bytes and their order words.
class ByteReader {
 public:
  static constexpr unsigned kWidth = 1;
  explicit ByteReader(const Text& text)
      : position_(BeginOf(text)), end_(EndOf(text)), table_(text.codeSet, text.language) {}
  unsigned Unit() const { return position_ == end_ ? 0u : *position_; }
  unsigned Word(unsigned unit) const { return table_.Word(static_cast<unsigned char>(unit)); }
  void Advance(unsigned units = 1) { position_ += units; }
  bool SameTable(const ByteReader& other) const { return table_ == other.table_; }
  unsigned Passed(const Text& text) const {
    return static_cast<unsigned>(position_ - BeginOf(text));
  }

 private:
  const unsigned char* position_;
  const unsigned char* end_;
  ByteOrderTable table_;
};

// The same over 16-bit units in either byte order.
class WideReader {
 public:
  static constexpr unsigned kWidth = 2;
  explicit WideReader(const Text& text)
      : position_(BeginOf(text)),
        end_(EndOf(text)),
        isReversed_(IsReversed(text)),
        table_(text.language) {}
  unsigned Unit() const {
    if (position_ == end_) return 0;
    unsigned short unit;
    std::memcpy(&unit, position_, 2);
    return isReversed_ ? __builtin_bswap16(unit) : unit;
  }
  unsigned Word(unsigned unit) const { return table_.Word(static_cast<unsigned short>(unit)); }
  void Advance(unsigned units = 1) { position_ += 2 * units; }
  bool SameTable(const WideReader& other) const { return table_ == other.table_; }
  unsigned Passed(const Text& text) const {
    return static_cast<unsigned>(position_ - BeginOf(text)) / 2;
  }

 private:
  const unsigned char* position_;
  const unsigned char* end_;
  bool isReversed_;
  WideOrderTable table_;
};

bool SameTable(const ByteReader&, const WideReader&) {
  return false;
}
bool SameTable(const WideReader&, const ByteReader&) {
  return false;
}
template <class Reader>
bool SameTable(const Reader& reader1, const Reader& reader2) {
  return reader1.SameTable(reader2);
}

// What follows the first `units` units of a text.
Text Rest(Text text, unsigned units) {
  const unsigned width = KvIsWideCodeSet(text.codeSet) ? 2 : 1;
  text.units = BeginOf(text) + units * width;
  if (text.length != kToTerminator) text.length -= units;
  return text;
}

// How many units two texts of one order table begin with alike, as far as whole words tell. Texts
// that only their terminator ends are not read in words.
template <unsigned width>
unsigned SharedUnits(const Text& text1, const Text& text2) {
  constexpr std::uint64_t kOnes = width == 1 ? 0x0101010101010101 : 0x0001000100010001;
  constexpr std::uint64_t kTops = kOnes << (8 * width - 1);
  constexpr unsigned kUnitsAWord = 8 / width;
  if (text1.length == kToTerminator || text2.length == kToTerminator) return 0;
  if (width == 2 && IsReversed(text1) != IsReversed(text2)) return 0;
  const unsigned units = std::min(text1.length, text2.length);
  unsigned shared = 0;
  for (; shared + kUnitsAWord <= units; shared += kUnitsAWord) {
    std::uint64_t word1;
    std::uint64_t word2;
    std::memcpy(&word1, BeginOf(text1) + shared * width, 8);
    std::memcpy(&word2, BeginOf(text2) + shared * width, 8);
    const bool hasZero = ((word1 - kOnes) & ~word1 & kTops) != 0;
    if (word1 != word2 || hasZero) break;
  }
  return shared;
}

template <class Reader1, class Reader2>
int CompareWords(const Text& text1, const Text& text2, Levels& levels) {
  Reader1 reader1(text1);
  Reader2 reader2(text2);
  const bool sameTable = SameTable(reader1, reader2);
  if constexpr (std::is_same_v<Reader1, Reader2>) {
    const unsigned shared = sameTable ? SharedUnits<Reader1::kWidth>(text1, text2) : 0;
    reader1.Advance(shared);
    reader2.Advance(shared);
  }
  for (;; reader1.Advance(), reader2.Advance()) {
    const unsigned unit1 = reader1.Unit();
    const unsigned unit2 = reader2.Unit();
    if (unit1 == unit2 && sameTable) {
      if (unit1 == 0) return levels.Decide();
      continue;
    }
    const unsigned word1 = reader1.Word(unit1);
    const unsigned word2 = reader2.Word(unit2);
    if (((word1 | word2) & kPairBit) != 0) break;
    if (const int sign = CompareWeights(word1, word2, levels)) return sign;
    if (unit1 == 0) return levels.Decide();
  }
  return CompareOrders(OrderCursor(Rest(text1, reader1.Passed(text1))),
                       OrderCursor(Rest(text2, reader2.Passed(text2))), false, levels);
}

int CompareLevels(const Text& text1, const Text& text2, unsigned short cmpOp) {
  Levels levels(cmpOp);
  const bool skipSpaces = (cmpOp & kvCompareSkipSpaces) != 0;
  if (skipSpaces || text1.codeSet == kOrderCodeSet || text2.codeSet == kOrderCodeSet) {
    return CompareOrders(OrderCursor(text1), OrderCursor(text2), skipSpaces, levels);
  }
  if (KvIsWideCodeSet(text1.codeSet)) {
    return KvIsWideCodeSet(text2.codeSet)
               ? CompareWords<WideReader, WideReader>(text1, text2, levels)
               : CompareWords<WideReader, ByteReader>(text1, text2, levels);
  }
  return KvIsWideCodeSet(text2.codeSet)
             ? CompareWords<ByteReader, WideReader>(text1, text2, levels)
             : CompareWords<ByteReader, ByteReader>(text1, text2, levels);
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
  ByteReader reader1(text1);
  ByteReader reader2(text2);
  for (;; reader1.Advance(), reader2.Advance()) {
    const unsigned unit1 = reader1.Unit();
    const unsigned unit2 = reader2.Unit();
    if (unit1 != unit2) return static_cast<int>(unit1) - static_cast<int>(unit2);
    if (unit1 == 0) return 0;
  }
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

// Matches a pattern with wildcards by going back to the last asterisk only: what an earlier one
// matched never needs to change. Time is at worst the product of the lengths, memory constant.
class Matcher {
 public:
  Matcher(const Text& text, const Text& pattern, unsigned short cmpOp)
      : text_(text),
        pattern_(pattern),
        mask_(LevelMask(cmpOp)),
        skipSpaces_((cmpOp & kvCompareSkipSpaces) != 0),
        wildcards_((cmpOp & kNoWildcards) != 0 ? Wildcards{} : wildcards) {}

  // With `prefix` the text may go on after the pattern's end.
  bool Matches(bool prefix) {
    for (;;) {
      const unsigned short wanted = Next(pattern_);
      if (wanted != 0 && wanted == wildcards_.asterisk) {
        MarkAsterisk();
        continue;
      }
      if (wanted == 0 && (prefix || AtEnd(text_))) return true;
      if (MatchesOne(wanted)) continue;
      if (!GoBack()) return false;
    }
  }

  // Whether the pattern has a wildcard at all.
  static bool HasWildcard(const Text& pattern) {
    OrderCursor cursor(pattern);
    for (unsigned short order = cursor.Next(); order != 0; order = cursor.Next()) {
      if (order == wildcards.asterisk || order == wildcards.question || order == wildcards.escape) {
        return true;
      }
    }
    return false;
  }

 private:
  unsigned short Next(OrderCursor& cursor) const {
    return skipSpaces_ ? cursor.NextVisible() : cursor.Next();
  }

  bool AtEnd(OrderCursor cursor) const { return Next(cursor) == 0; }

  bool MatchesOne(unsigned short wanted) {
    if (wanted == 0) return false;
    if (wanted == wildcards_.question) {
      if (Next(text_) == 0) return false;
      text_.DropPending();
      return true;
    }
    if (wanted == wildcards_.escape && !AtEnd(pattern_)) wanted = Next(pattern_);
    const unsigned short found = Next(text_);
    return found != 0 && ((OrderWeight(found) ^ OrderWeight(wanted)) & mask_) == 0;
  }

  void MarkAsterisk() {
    hasAsterisk_ = true;
    textMark_ = text_;
    patternMark_ = pattern_;
  }

  // Lets the last asterisk take one order more.
  bool GoBack() {
    if (!hasAsterisk_ || Next(textMark_) == 0) return false;
    text_ = textMark_;
    pattern_ = patternMark_;
    return true;
  }

  OrderCursor text_;
  OrderCursor pattern_;
  unsigned mask_;
  bool skipSpaces_;
  Wildcards wildcards_;
  bool hasAsterisk_ = false;
  OrderCursor textMark_ = text_;
  OrderCursor patternMark_ = pattern_;
};

// Two resolved texts by levels, with the process's wildcards unless they are ruled out.
int CompareCollated(const Text& text1, const Text& text2, unsigned short cmpOp) {
  const bool asPattern =
      wildcards.Any() && (cmpOp & kNoWildcards) == 0 && Matcher::HasWildcard(text2);
  if (asPattern && Matcher(text1, text2, cmpOp).Matches(false)) return 0;
  const int result = CompareWithClass(text1, text2, cmpOp);
  return asPattern && result == 0 ? -1 : result;
}

// A search over fewer positions than this is not worth looking for candidates first.
constexpr unsigned kShortestSkip = 64;

// Puts the ASCII characters that the pattern could begin with among the candidates. False when the
// search has to look everywhere: in texts of orders, in reversed ones, and when spaces or a
// wildcard may come first.
bool NarrowCandidates(Candidates& candidates, const Text& text, const Text& pattern,
                      unsigned short cmpOp) {
  const bool hasWildcards = wildcards.Any() && (cmpOp & kNoWildcards) == 0;
  if (hasWildcards || (cmpOp & kvCompareSkipSpaces) != 0 || pattern.length == 0) return false;
  if (text.codeSet == kOrderCodeSet || pattern.codeSet == kOrderCodeSet) return false;
  if (IsReversed(text)) return false;
  const unsigned mask = LevelMask(cmpOp);
  const unsigned first = OrderWeight(OrderCursor(pattern).Next()) & mask;
  for (unsigned short unit = 1; unit < 0x80; ++unit) {
    OrderCursor character({text.codeSet, text.language, &unit, 1});
    const bool matches = (OrderWeight(character.Next()) & mask) == first;
    if (matches && !candidates.StopAt(unit)) return false;
  }
  return true;
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

bool BeginsWith(const Text& text, const Text& pattern, unsigned short cmpOp) {
  return Matcher(Resolve(text), Resolve(pattern), cmpOp).Matches(true);
}

int FindText(const Text& text, const Text& pattern, unsigned short cmpOp, unsigned start) {
  const bool whole = (cmpOp & kNoWildcards) != 0;
  if (text.length < pattern.length) return -1;
  const unsigned last = text.length - pattern.length;
  Candidates candidates(text);
  const bool skips = last >= start && last - start >= kShortestSkip &&
                     NarrowCandidates(candidates, text, pattern, cmpOp);
  for (unsigned position = start; position <= last; ++position) {
    if (skips) position = candidates.Next(position);
    if (position > last) break;
    const Text rest = Rest(text, position);
    const bool found =
        whole ? CompareTexts(rest, pattern, cmpOp, static_cast<unsigned short>(pattern.length)) == 0
              : BeginsWith(rest, pattern, cmpOp);
    if (found) return static_cast<int>(position);
  }
  return -1;
}

void SetWildcardOrder(Wildcard wildcard, unsigned short order) {
  switch (wildcard) {
    case Wildcard::kAsterisk:
      wildcards.asterisk = order;
      break;
    case Wildcard::kQuestion:
      wildcards.question = order;
      break;
    case Wildcard::kEscape:
      wildcards.escape = order;
      break;
  }
}

unsigned short GetWildcardOrder(Wildcard wildcard) {
  switch (wildcard) {
    case Wildcard::kAsterisk:
      return wildcards.asterisk;
    case Wildcard::kQuestion:
      return wildcards.question;
    case Wildcard::kEscape:
      return wildcards.escape;
  }
  return 0;
}

}  // namespace kv

int KvStrCmp(unsigned char codeSet1, unsigned char language1, const char* text1,
             unsigned char codeSet2, unsigned char language2, const char* text2,
             unsigned short cmpOp, short maxLength, unsigned char byteOrder, int* status) {
  if (status != nullptr) *status = kvOk;
  return kv::CompareTexts({codeSet1, language1, text1, kv::kToTerminator, byteOrder},
                          {codeSet2, language2, text2, kv::kToTerminator, byteOrder}, cmpOp,
                          static_cast<unsigned short>(maxLength));
}
