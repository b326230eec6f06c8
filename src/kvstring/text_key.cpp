#include "kvstring/text_key.h"

#include <cstring>

#include "kvbase/key_bytes.h"
#include "kvstring/collate_units.h"
#include "kvstring/text_key_layout.h"
#include "kvstring/text_key_runs.h"
#include "zbshost.h"

namespace kv {
namespace {

// One-byte codes by primary half, 0 where there is none.
constexpr unsigned kBytePrimaries = 0x4080;
constexpr auto kByteCodes = [] {
  std::array<unsigned char, kBytePrimaries> codes{};
  const auto add = [&codes](unsigned first, unsigned last) {
    for (unsigned primary = first; primary <= last; ++primary) {
      const LevelOneCode code = CodeOf(primary);
      if (code.size == 1) codes[primary] = code.bytes[0];
    }
  };
  add(1, 190);
  add(kFirstDigitOrder, kBytePrimaries - 1);
  return codes;
}();

// Marks of one level, kept until level 1 is written. A text with more of them is walked again.
class KeptMarks {
 public:
  void Put(unsigned char byte) {
    if (size_ < sizeof bytes_) bytes_[size_] = byte;
    ++size_;
  }
  bool IsFull() const { return size_ > sizeof bytes_; }
  const unsigned char* Bytes() const { return bytes_; }
  unsigned Size() const { return size_; }

 private:
  unsigned char bytes_[48];
  unsigned size_ = 0;
};

enum class Level { kAccents, kCase, kVariants };

// The marks of one level into a sink, order by order.
template <Level level, class Sink>
class Marker {
 public:
  explicit Marker(Sink& sink) : sink_(sink) {}

  // The order at `position`, counted from 0.
  void Note(unsigned weight, unsigned before, unsigned position) {
    if constexpr (level == Level::kAccents) {
      const unsigned accent = AccentOf(weight);
      if (accent != 0) PutMark(sink_, kAccent, 31 * Gap(position) + (31 - accent));
    } else if constexpr (level == Level::kCase) {
      const unsigned found = CaseOf(weight);
      const unsigned plain = PlainCase(weight, before);
      if (found < plain) PutMark(sink_, kCaseBelow, 3 * Gap(position) + found);
      if (found > plain) PutMark(sink_, kCaseAbove, 3 * Gap(position) + (3 - found));
    } else {
      if (IsVariant(weight)) PutMark(sink_, kVariant, Gap(position));
    }
  }

 private:
  unsigned Gap(unsigned position) {
    const unsigned gap = position - next_;
    next_ = position + 1;
    return gap;
  }

  Sink& sink_;
  unsigned next_ = 0;
};

// The weights of a text, one an order, without what the options leave out.
class Weights {
 public:
  Weights(const Text& text, unsigned short cmpOp)
      : cursor_(text), mask_(LevelMask(cmpOp)), skipsSpaces_((cmpOp & kvCompareSkipSpaces) != 0) {}

  // 0 at the end.
  unsigned Next() {
    const unsigned order = skipsSpaces_ ? cursor_.NextVisible() : cursor_.Next();
    return OrderWeight(order) & mask_;
  }

 private:
  OrderCursor cursor_;
  unsigned mask_;
  bool skipsSpaces_;
};

template <Level level, class Sink>
void PutLevelAgain(const Text& text, unsigned short cmpOp, Sink& sink) {
  Weights weights(text, cmpOp);
  Marker<level, Sink> marker(sink);
  unsigned before = 0;
  for (unsigned position = 0;; ++position) {
    const unsigned weight = weights.Next();
    if (weight == 0) break;
    marker.Note(weight, before, position);
    before = weight >> 16;
  }
}

// Whether an order has nothing to mark as far as its own weight tells.
constexpr bool IsPlain(unsigned weight) {
  return (weight & 0xFFFF) == (weight >> 30 & 1) << 12;
}

// Writes level 1 and keeps the marks.
template <class Sink>
class TextKeyWriter {
 public:
  TextKeyWriter(const Text& text, unsigned short cmpOp, Sink& sink)
      : text_(text), cmpOp_(cmpOp), caseCounts_((cmpOp & kvCompareIgnoreCase) == 0), sink_(sink) {}

  void PutAll() {
    PutBeginning();
    PutEndOfLevelOne();
    PutMarks<Level::kAccents>(accents_);
    PutMarks<Level::kCase>(cases_);
    PutMarks<Level::kVariants>(variants_);
    const bool isOther = position_ != 0 && SortClassOf(text_.language) == 20;
    sink_.Put(isOther ? kTextKeyEndOfClass20 : kTextKeyEnd);
  }

  // The leading byte and level 1. An order from 8000 on that still waits for the next one is left
  // out.
  void PutBeginning() {
    sink_.Put(0x01);
    const bool isByUnits = text_.codeSet != kvCodeSetOrders && (cmpOp_ & kvCompareSkipSpaces) == 0;
    if (!isByUnits) return AddOrders(text_);
    if (KvIsWideCodeSet(text_.codeSet)) {
      AddUnits(WidesOf(text_));
    } else {
      AddUnits(BytesOf(text_));
    }
  }

  void PutEndOfLevelOne() {
    if (waiting_ != 0) PutCode(ScriptCode(waiting_, Following::kLess));
    sink_.Put(kLevelOneEnd);
  }

  // The leading bytes of a code that is not whole.
  void PutPartOfCode() {
    if (waiting_ == 0) return;
    const LevelOneCode code = ScriptCode(waiting_, Following::kLess);
    sink_.Put(code.bytes, code.size - 1u);
  }

 private:
  void AddOrders(const Text& text) {
    Weights weights(text, cmpOp_);
    for (unsigned weight = weights.Next(); weight != 0; weight = weights.Next()) Add(weight);
  }

  // Unit by unit, up to the first one that may be part of a contraction.
  template <class Units>
  void AddUnits(Units units) {
    const unsigned mask = LevelMask(cmpOp_);
    for (unsigned index = 0;;) {
      const unsigned word = index == text_.length ? 0 : units.Word(units.Get());
      if (word == 0) return;
      if ((word & kSpecialBits) == 0) {
        AddPlain(word & mask);
      } else if (IsContractionPart(word)) {
        return AddOrders(RestOf(text_, index));
      } else {
        Add(OrderWeight(FirstOrder(word)) & mask);
        Add(OrderWeight(SecondOrder(word)) & mask);
      }
      units.Advance();
      ++index;
    }
  }

  // A weight of one order below 8000. None waits here: a unit with an order from 8000 on has two,
  // the second of which the first one's code takes in.
  void AddPlain(unsigned weight) {
    const unsigned primary = weight >> 16;
    if (kByteCodes[primary] == 0) return Add(weight);
    sink_.Put(kByteCodes[primary]);
    if (!IsPlain(weight)) Note(weight);
    before_ = primary;
    ++position_;
  }

  void Add(unsigned weight) {
    const unsigned primary = weight >> 16;
    AddPrimary(primary);
    if (!IsPlain(weight) || primary >= kFirstOtherOrder) Note(weight);
    before_ = primary;
    ++position_;
  }

  void AddPrimary(unsigned primary) {
    if (waiting_ != 0) {
      const Following following = FollowingOf(primary);
      PutCode(ScriptCode(waiting_, following));
      waiting_ = 0;
      if (following == Following::kFirstHalf || following == Following::kSecondHalf) return;
    }
    if (primary >= kFirstOtherOrder) {
      waiting_ = primary;
    } else if (primary < kBytePrimaries && kByteCodes[primary] != 0) {
      sink_.Put(kByteCodes[primary]);
    } else {
      PutCode(CodeOf(primary));
    }
  }

  void PutCode(const LevelOneCode& code) { sink_.Put(code.bytes, code.size); }

  void Note(unsigned weight) {
    accentMarker_.Note(weight, before_, position_);
    if (caseCounts_) caseMarker_.Note(weight, before_, position_);
    variantMarker_.Note(weight, before_, position_);
  }

  template <Level level>
  void PutMarks(const KeptMarks& kept) {
    if (kept.IsFull()) return PutLevelAgain<level>(text_, cmpOp_, sink_);
    if (kept.Size() != 0) sink_.Put(kept.Bytes(), kept.Size());
  }

  const Text& text_;
  unsigned short cmpOp_;
  bool caseCounts_;
  Sink& sink_;
  KeptMarks accents_, cases_, variants_;
  Marker<Level::kAccents, KeptMarks> accentMarker_{accents_};
  Marker<Level::kCase, KeptMarks> caseMarker_{cases_};
  Marker<Level::kVariants, KeptMarks> variantMarker_{variants_};
  unsigned waiting_ = 0;  // an order from 8000 on whose code depends on the next one
  unsigned before_ = 0;
  unsigned position_ = 0;
};

// ---------------------------------------------------------------------------------------------
// The quick way, for texts whose every unit has one order with a code of one byte: all but the key
// itself stays in registers. Any other unit sends the text the other way.

// Marks of one level; few texts have more.
class FewMarks {
 public:
  void Put(unsigned char byte) { bytes_[size_++] = byte; }
  bool HasRoom() const { return size_ + 4 <= sizeof bytes_; }
  unsigned char* CopyTo(unsigned char* to) const {
    for (unsigned i = 0; i < size_; ++i) *to++ = bytes_[i];
    return to;
  }

 private:
  unsigned char bytes_[32];
  unsigned size_ = 0;
};

struct QuickMarks {
  FewMarks accents, cases;
  Marker<Level::kAccents, FewMarks> accentMarker{accents};
  Marker<Level::kCase, FewMarks> caseMarker{cases};

  // False for what has to go the other way.
  bool Note(unsigned weight, unsigned position, bool caseCounts) {
    if (IsVariant(weight) || !accents.HasRoom() || !cases.HasRoom()) return false;
    accentMarker.Note(weight, 0, position);
    if (caseCounts) caseMarker.Note(weight, 0, position);
    return true;
  }
};

// The end of the key, or null.
template <class Units, class EightFrom>
[[gnu::always_inline]] inline unsigned char* WriteQuickly(const Text& text, Units units,
                                                          EightFrom eightFrom, unsigned short cmpOp,
                                                          unsigned char* key,
                                                          const unsigned char* room) {
  const bool inRuns = !kHostIsBig && !IsReversed(text) && !HasContractions(text.language);
  const bool caseCounts = (cmpOp & kvCompareIgnoreCase) == 0;
  const unsigned mask = LevelMask(cmpOp);
  const unsigned length = text.length;
  QuickMarks marks;
  unsigned index = 0;
  *key++ = 0x01;
  while (index != length) {
    if (inRuns && IsSmallLetter(units.Get()) && room - key >= 8) {
      const std::uint64_t eight = eightFrom(BeginOf(text), index, length);
      const unsigned letters = LeadingSmallLetters(eight);
      const std::uint64_t codes = SmallLetterCodes(eight);
      std::memcpy(key, &codes, 8);
      key += letters;
      index += letters;
      units.Advance(letters);
      if (index == length) break;
      if (letters == 8) continue;
    }
    const unsigned word = units.Word(units.Get());
    if (word == 0) break;
    const unsigned char code = (word & kSpecialBits) == 0 ? kByteCodes[word >> 16] : 0;
    if (code == 0) return nullptr;
    *key++ = code;
    if (!IsPlain(word & mask) && !marks.Note(word & mask, index, caseCounts)) return nullptr;
    units.Advance();
    ++index;
  }
  *key++ = kLevelOneEnd;
  key = marks.cases.CopyTo(marks.accents.CopyTo(key));
  const bool isOther = index != 0 && SortClassOf(text.language) == 20;
  *key++ = isOther ? kTextKeyEndOfClass20 : kTextKeyEnd;
  return key;
}

// What such a key has besides a byte for each unit.
constexpr unsigned kMostMarks = 2 * sizeof(FewMarks) + 3;

unsigned char* WriteQuickly(const Text& text, unsigned short cmpOp, unsigned char* key,
                            const unsigned char* room) {
  if (text.codeSet == kvCodeSetOrders || (cmpOp & kvCompareSkipSpaces) != 0) return nullptr;
  return KvIsWideCodeSet(text.codeSet)
             ? WriteQuickly(text, WidesOf(text), EightWideUnits, cmpOp, key, room)
             : WriteQuickly(text, BytesOf(text), EightUnits, cmpOp, key, room);
}

}  // namespace

unsigned char* WriteTextKey(const Text& text, unsigned short cmpOp, unsigned char* key,
                            const unsigned char* room) {
  if (unsigned char* const quick = WriteQuickly(text, cmpOp, key, room)) return quick;
  KeySink end(key);
  TextKeyWriter(text, cmpOp, end).PutAll();
  return end.At();
}

std::size_t TextKeySize(const Text& text, unsigned short cmpOp) {
  // Writing a short key the quick way takes less than measuring it.
  unsigned char scratch[256];
  if (text.length <= sizeof scratch - kMostMarks) {
    const unsigned char* const end = WriteQuickly(text, cmpOp, scratch, scratch + sizeof scratch);
    if (end != nullptr) return static_cast<std::size_t>(end - scratch);
  }
  KeyMeasure size;
  TextKeyWriter(text, cmpOp, size).PutAll();
  return static_cast<std::size_t>(size.Size());
}

unsigned char* WriteTextKeyBeginning(const Text& text, unsigned short cmpOp, unsigned char* key) {
  KeySink end(key);
  TextKeyWriter writer(text, cmpOp, end);
  writer.PutBeginning();
  writer.PutPartOfCode();
  return end.At();
}

unsigned char* WriteTextKeyBase(const Text& text, unsigned short cmpOp, unsigned char* key) {
  KeySink end(key);
  TextKeyWriter writer(text, cmpOp, end);
  writer.PutBeginning();
  writer.PutEndOfLevelOne();
  return end.At();
}

}  // namespace kv
