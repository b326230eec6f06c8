// collate_search.cpp - whether and where a text matches a pattern by collation orders: the
// process's wildcards, the test for a beginning, and the search for a place.
#include <algorithm>
#include <bit>
#include <cstring>

#include "kvstring/collate_units.h"
#include "kvstring/unit_scan.h"

namespace kv {

constinit bool wildcardsInUse = false;

namespace {

struct Wildcards {
  unsigned short asterisk;
  unsigned short question;
  unsigned short escape;
};

constinit Wildcards wildcards{};

unsigned short& OrderOf(Wildcard wildcard) {
  constexpr unsigned short Wildcards::*kMembers[] = {&Wildcards::asterisk, &Wildcards::question,
                                                     &Wildcards::escape};
  return wildcards.*kMembers[static_cast<unsigned>(wildcard)];
}

// The bits of an order's weight that must agree where two characters match.
unsigned MatchMask(unsigned short cmpOp) {
  return (cmpOp & kvCompareKeyOrder) != 0 ? ~kMarks : LevelMask(cmpOp);
}

// Key order knows no options.
bool SkipsSpaces(unsigned short cmpOp) {
  return (cmpOp & (kvCompareSkipSpaces | kvCompareKeyOrder)) == kvCompareSkipSpaces;
}

// Matches a pattern with wildcards by going back to the last asterisk only: what an earlier one
// matched never needs to change. Time is at worst the product of the lengths, memory constant.
class Matcher {
 public:
  Matcher(const Text& text, const Text& pattern, unsigned short cmpOp)
      : text_(text),
        pattern_(pattern),
        mask_(MatchMask(cmpOp)),
        skipSpaces_(SkipsSpaces(cmpOp)),
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

  // Whether the part of the text that matched ends with a character.
  bool IsWhole() const { return !text_.IsInside(); }

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
    // The end of the text has the weight 0, from which that of every order differs.
    return ((OrderWeight(Next(text_)) ^ OrderWeight(wanted)) & mask_) == 0;
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

// A pattern without wildcards and contractions at the beginning of a text, by order words.
// kOrderByOrder when an order of the one stands against the first of two of the other.
enum class Beginning { kNo, kYes, kOrderByOrder };

template <class Units1, class Units2>
Beginning BeginsWithWords(Units1 text, Units2 pattern, unsigned mask) {
  const bool sameTable = text.HasTableOf(pattern);
  for (;; text.Advance(), pattern.Advance()) {
    const auto wanted = pattern.Get();
    if (wanted == 0) return Beginning::kYes;
    const auto found = text.Get();
    if (wanted == found && sameTable) continue;
    const unsigned word1 = text.Word(found);
    const unsigned word2 = pattern.Word(wanted);
    if (((word1 | word2) & kPairBit) != 0) {
      if (word1 == word2) continue;
      return Beginning::kOrderByOrder;
    }
    // The end of the text has the word 0, from which that of every unit differs.
    if (((word1 ^ word2) & mask) != 0) return Beginning::kNo;
  }
}

// Whether order words can tell where a pattern may begin: it has a first order, which the text must
// have too, at the same place.
bool IsPlainPattern(const Text& text, const Text& pattern, unsigned short cmpOp) {
  if ((cmpOp & kvCompareSkipSpaces) != 0) return false;
  if (text.codeSet == kvCodeSetOrders || pattern.codeSet == kvCodeSetOrders) return false;
  return (cmpOp & kNoWildcards) != 0 || !wildcardsInUse || !HasWildcard(pattern);
}

// The units with which a pattern can begin: those whose first order is the pattern's at the levels
// that count, and where a contraction may give that order, the units of contractions. Of long texts
// whole blocks without such a unit are passed over.
template <class Unit, class Table>
class FirstUnits {
 public:
  // A unit matches whose first order has `weight` at the bits of `mask`.
  FirstUnits(const Units<Unit, Table>& text, unsigned weight, unsigned mask, bool hasParts)
      : table_(text.GetTable()), weight_(weight), mask_(mask), hasParts_(hasParts) {}

  bool Has(Unit unit) const {
    const unsigned word = table_.Word(unit);
    if (hasParts_ && IsContractionPart(word)) return true;
    const unsigned weight = (word & kPairBit) != 0 ? OrderWeight(FirstOrder(word)) : word;
    return (weight & mask_) == weight_;
  }

  // The first position from `position` on whose unit is one of them, `length` when there is none
  // before that and before the end of the text.
  unsigned Next(const Text& text, unsigned position, unsigned length) {
    if (length - position >= kWorthwhile && list_ == nullptr) list_ = &Listed();
    const bool byVectors = list_ != nullptr && list_->isShort && !IsReversed(text);
    while (position < length) {
      if (byVectors) {
        position +=
            PassOver(BeginOf(text) + position * sizeof(Unit), length - position, list_->wanted);
      }
      const unsigned last = std::min(length, position + kOneByOne);
      for (; position < last; ++position) {
        const Unit unit = ReadUnit<Unit>(BeginOf(text) + position * sizeof(Unit), IsReversed(text));
        if (unit == 0) return length;
        if (Has(unit)) return position;
      }
    }
    return length;
  }

 private:
  static constexpr unsigned kWorthwhile =
      32;  // units that are slower to look at than what was listed is to find
  static constexpr unsigned kOneByOne = 64;  // units that vectors stop at come in groups

  // What was listed, and for what. One is kept for each thread: who searches one text searches many
  // for the same pattern, and listing takes as long as passing over 5000 units.
  struct List {
    const unsigned* rows[2] = {};
    unsigned weight = 0;
    unsigned mask = 0;
    bool hasParts = false;
    bool isShort = false;  // `wanted` has them all, up to its last
    WantedUnits<Unit> wanted;
  };

  const List& Listed() const {
    constinit static thread_local List kept;
    const unsigned* const rows[2] = {table_.RowOf128(0), table_.RowOf128(128)};
    const bool isKept = kept.rows[0] == rows[0] && kept.rows[1] == rows[1] &&
                        kept.weight == weight_ && kept.mask == mask_ && kept.hasParts == hasParts_;
    if (!isKept) {
      kept = {{rows[0], rows[1]}, weight_, mask_, hasParts_, false, {}};
      Fill(kept);
    }
    return kept;
  }

  // Fills the list, unless there are too many.
  void Fill(List& list) const {
    constexpr unsigned kMost = WantedUnits<Unit>::kMost;
    unsigned count = 0;
    const auto take = [&](unsigned unit) {
      if (unit == 0 || !Has(static_cast<Unit>(unit))) return;
      if (count < kMost) list.wanted.units[count] = static_cast<Unit>(unit);
      ++count;
    };
    const unsigned pairMask = PairMask();
    for (unsigned row = 0; row <= WantedUnits<Unit>::kLast; row += 128) {
      WordBits found;
      WordsOfWeight(found, table_.RowOf128(row), mask_, pairMask, weight_);
      for (unsigned half = 0; half < 2; ++half) {
        for (std::uint64_t bits = found[half]; bits != 0; bits &= bits - 1) {
          take(row + 64 * half + static_cast<unsigned>(std::countr_zero(bits)));
        }
      }
    }
    if (count == 0 || count > kMost) return;
    std::fill(list.wanted.units + count, list.wanted.units + kMost, list.wanted.units[0]);
    list.wanted.kinds = static_cast<unsigned char>(count);
    list.isShort = true;
  }

  // Where the first of two orders can be told from the pattern's without taking it apart: the bits
  // of a letter code are at the same place in both words, as these bits of any other order are.
  unsigned PairMask() const { return hasParts_ ? 0 : 0x407C0000u; }

  Table table_;
  unsigned weight_;
  unsigned mask_;
  bool hasParts_;
  const List* list_ = nullptr;
};

unsigned LengthOf(const Text& text) {
  return TextLength(text.units, KvIsWideCodeSet(text.codeSet), text.length);
}

// Whether the text has so many units from a position on that it reaches.
bool HasUnitsAt(const Text& text, unsigned position, unsigned count) {
  return LengthOf(Limited(RestOf(text, position), count)) == count;
}

// Plain bytes, by value.
int FindBytes(const Text& text, const Text& pattern, unsigned start) {
  if (pattern.length == 0) return static_cast<int>(start);
  const WantedUnits<unsigned char> first{{*BeginOf(pattern)}, 1};
  const unsigned tried = text.length - pattern.length + 1;
  for (unsigned at = start; at < tried; ++at) {
    at += PassOver(BeginOf(text) + at, tried - at, first);
    if (at == tried || BeginOf(text)[at] == 0) return -1;
    // The pattern has no zero byte, so what is equal to it is all text.
    if (std::memcmp(BeginOf(text) + at, pattern.units, pattern.length) == 0) {
      return static_cast<int>(at);
    }
  }
  return -1;
}

// One search, resolved: what is tried at a position, and which positions are worth it.
class Search {
 public:
  Search(const Text& text, const Text& pattern, unsigned short cmpOp)
      : text_(text),
        pattern_(pattern),
        length_(text.length),
        cmpOp_(cmpOp),
        isWhole_((cmpOp & kNoWildcards) != 0) {}

  int From(unsigned start) {
    if (!IsPlainPattern(text_, pattern_, cmpOp_) || pattern_.length == 0) {
      length_ = start + LengthOf(RestOf(text_, start));
      if (length_ - start < pattern_.length) return -1;
      return AtEvery(start);
    }
    return WithUnits(text_, pattern_, [&](const auto& text, const auto& pattern) {
      return AtFirstUnits(start, text, pattern);
    });
  }

 private:
  int AtEvery(unsigned start) const {
    for (unsigned position = start; position < Tried(); ++position) {
      if (IsAt(position)) return WhereItFits(position);
    }
    return -1;
  }

  // Tries the positions of the units with which the pattern can begin.
  template <class TextUnits, class PatternUnits>
  int AtFirstUnits(unsigned start, const TextUnits& text, const PatternUnits& pattern) const {
    const bool contracts = HasContractions(text_.language);
    const bool byWords = !contracts && !HasContractions(pattern_.language);
    const unsigned mask = MatchMask(cmpOp_);
    const unsigned word = pattern.Word(pattern.Get());
    const unsigned short order =
        IsContractionPart(word) ? OrderCursor(pattern_).Next() : FirstOrder(word);
    const unsigned weight = OrderWeight(order) & mask;
    FirstUnits firsts(text, weight, mask,
                      contracts && HasContractionOf(text_.language, weight, mask));
    for (unsigned at = start; (at = firsts.Next(text_, at, Tried())) < Tried(); ++at) {
      const Beginning beginning =
          byWords ? BeginsWithWords(text.From(at), pattern, mask) : Beginning::kOrderByOrder;
      // Unit stood against unit, so the text has as many.
      if (beginning == Beginning::kYes) return static_cast<int>(at);
      if (beginning == Beginning::kOrderByOrder && IsAt(at)) return WhereItFits(at);
    }
    return -1;
  }

  // The text may end before its length says so; one position that leaves no room for the pattern
  // has none behind it that does.
  int WhereItFits(unsigned position) const {
    return HasUnitsAt(text_, position, pattern_.length) ? static_cast<int>(position) : -1;
  }

  // Positions that leave room for the pattern.
  unsigned Tried() const { return length_ - pattern_.length + 1; }

  bool IsAt(unsigned position) const {
    Matcher matcher(RestOf(text_, position), pattern_, cmpOp_);
    return matcher.Matches(true) && (!isWhole_ || matcher.IsWhole());
  }

  const Text& text_;
  const Text& pattern_;
  unsigned length_;  // of the text at most
  unsigned short cmpOp_;
  bool isWhole_;
};

// Whether exact comparison keeps two texts apart whatever their orders: a null from a text that is
// there, and texts with orders of unlike sort classes.
bool AreApart(const Text& text, const Text& pattern, unsigned short cmpOp) {
  if (text.IsNull() || pattern.IsNull()) return text.IsNull() != pattern.IsNull();
  if (SortClassOf(text.language) == SortClassOf(pattern.language)) return false;
  OrderCursor cursor(pattern);
  return (SkipsSpaces(cmpOp) ? cursor.NextVisible() : cursor.Next()) != 0;
}

}  // namespace

bool HasWildcard(const Text& pattern) {
  OrderCursor cursor(pattern);
  for (unsigned short order = cursor.Next(); order != 0; order = cursor.Next()) {
    if (order == wildcards.asterisk || order == wildcards.question || order == wildcards.escape) {
      return true;
    }
  }
  return false;
}

bool MatchesPattern(const Text& text, const Text& pattern, unsigned short cmpOp) {
  return Matcher(text, pattern, cmpOp).Matches(false);
}

int FindText(const Text& text, const Text& pattern, unsigned short cmpOp, unsigned start) {
  if (start > text.length || text.length - start < pattern.length) return -1;
  const bool isWhole = (cmpOp & kNoWildcards) != 0;
  if (!isWhole && pattern.IsNull()) {
    const bool isHere = text.IsNull() && HasUnitsAt(text, start, pattern.length);
    return isHere ? static_cast<int>(start) : -1;
  }
  if (isWhole && (text.codeSet | pattern.codeSet) == 0 && !text.IsNull() && !pattern.IsNull()) {
    return FindBytes(text, pattern, start);
  }
  const Text resolved = Resolve(text);
  const Text resolvedPattern = Resolve(pattern);
  if (isWhole && AreApart(resolved, resolvedPattern, cmpOp)) return -1;
  return Search(resolved, resolvedPattern, cmpOp).From(start);
}

void SetWildcardOrder(Wildcard wildcard, unsigned short order) {
  OrderOf(wildcard) = order;
  wildcardsInUse = (wildcards.asterisk | wildcards.question | wildcards.escape) != 0;
}

unsigned short GetWildcardOrder(Wildcard wildcard) {
  return OrderOf(wildcard);
}

}  // namespace kv
