// KvString: substrings, editing, trimming, case and transformation. Positions beyond the text are
// clamped or make the call do nothing; none of them is an error.

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <utility>

#include "kvstring.h"
#include "kvstring/string_edit.h"
#include "kvtext/ascii_case.h"

namespace kv {
namespace {

// The text of `target` becomes its first `position` characters and then `count` of its own from
// `start` on.
void KeepOwnText(KvString& target, unsigned position, unsigned start, unsigned count) {
  StringAccess::Edit(target, {.mode = EditMode::kPut,
                              .position = position,
                              .text = StringAccess::Buffer(target),
                              .codeSet = target.GetCodeSet(),
                              .start = start,
                              .count = count});
}

// Puts copies of one unit at `position`. One copy and no copy are no special cases: the count of
// a single unit is what the repeat factor is when it is 1.
void PutCopies(KvString& target, unsigned position, const void* unit, unsigned char codeSet,
               unsigned copies) {
  StringAccess::Edit(target, {.mode = EditMode::kPut,
                              .position = position,
                              .text = unit,
                              .codeSet = codeSet,
                              .count = 1,
                              .repeat = copies});
}

// Case mapping of the units of a text. What a code set has to look up of a unit is kept for the
// next one, in long texts, where that repays making room for it.
class UnitMapper {
 public:
  UnitMapper(const KvString& text, unsigned length, LetterCase to)
      : codeSet_(*KvLanguageContext::QueryCodeSet(text.GetCodeSet())),
        language_(text.GetLanguage()),
        to_(to) {
    constexpr unsigned kLong = 128;
    keeps_ = length >= kLong;
    if (keeps_) kept_ = {};
  }

  // Whether a unit gives one unit.
  bool IsSingle(unsigned short unit) { return Single(unit) != 0; }

  // Whether there has been a unit to map.
  bool WasAsked() const { return wasAsked_; }

  // The unit that it gives, 0 when there are several.
  unsigned short Single(unsigned short unit) {
    wasAsked_ = true;
    Mapping& kept = kept_[unit % kept_.size()];
    if (keeps_ && kept.unit == unit) return kept.single;
    unsigned short mapped[3];
    const unsigned short single = Map(unit, mapped) == 1 ? mapped[0] : 0;
    if (keeps_) kept = {unit, single};
    return single;
  }

  // Whether ASCII maps to ASCII as everywhere.
  bool IsUsual() const { return !codeSet_.HasCaseOf(language_); }
  LetterCase To() const { return to_; }

 private:
  struct Mapping {
    unsigned short unit;
    unsigned short single;
  };

  unsigned Map(unsigned short unit, unsigned short (&mapped)[3]) const {
    return to_ == LetterCase::kUpper ? codeSet_.ToUpper(unit, mapped, language_)
                                     : codeSet_.ToLower(unit, mapped, language_);
  }

  const KvCodeSet& codeSet_;
  unsigned char language_;
  LetterCase to_;
  bool wasAsked_ = false;
  bool keeps_;
  std::array<Mapping, 256> kept_;  // by the low byte of the unit, the last one each; unit 0 is none
};

// Calls `visit` with the place of each unit beyond ASCII until it returns false.
template <class Visit>
void VisitBeyondAscii(const unsigned char* units, unsigned length, bool wide, Visit visit) {
  unsigned from = 0;
  while (std::uint64_t beyond = NextBeyondAscii(units, length, wide, from)) {
    for (; beyond != 0; beyond &= beyond - 1) {
      if (!visit(from + static_cast<unsigned>(std::countr_zero(beyond)))) return;
    }
    from += kBlockOfBits;
  }
}

// Whether each character gives one character. Looked up before anything is mapped: the way round,
// through a second block, may run short of memory, and half a mapping is none.
bool MapsInPlace(const unsigned char* units, unsigned length, bool wide, UnitMapper& mapper) {
  bool isSingle = true;
  VisitBeyondAscii(units, length, wide, [&](unsigned index) {
    isSingle = mapper.IsSingle(UnitAt(units, wide, index));
    return isSingle;
  });
  return isSingle;
}

// For a text whose characters each give one.
void MapCaseInPlace(unsigned char* units, unsigned length, bool wide, UnitMapper& mapper) {
  const auto map = [&](unsigned index) {
    WriteUnit(units, wide, index, mapper.Single(UnitAt(units, wide, index)));
    return true;
  };
  if (mapper.IsUsual()) {
    if (mapper.WasAsked()) VisitBeyondAscii(units, length, wide, map);
    MapAsciiCase(units, length, wide, mapper.To());
  } else {
    for (unsigned index = 0; index < length; ++index) map(index);
  }
}

void MapCase(KvString& text, LetterCase to, KvCharOperation& operation) {
  const unsigned length = text.Len();
  const bool wide = KvIsWideCodeSet(text.GetCodeSet());
  const bool exact = text.GetBufferSize() == (length + 1) * UnitWidth(text.GetCodeSet());
  unsigned char* units = StringAccess::Buffer(text);
  UnitMapper mapper(text, length, to);
  if (exact && MapsInPlace(units, length, wide, mapper)) {
    MapCaseInPlace(units, length, wide, mapper);
  } else {
    text.Transform(operation);
  }
}

}  // namespace
}  // namespace kv

using kv::EditMode;
using kv::StringAccess;

KvString KvString::Copy(unsigned short position, unsigned short count) const {
  const unsigned length = Len();
  if (length <= position) return EmptyString();
  KvString part(codeSet_, language_);
  StringAccess::Edit(part, {.text = buffer_,
                            .codeSet = codeSet_,
                            .start = position,
                            .count = std::min<unsigned>(count, length - position)});
  return part;
}

KvString KvString::Left(unsigned short count) const {
  return Copy(0, count);
}

KvString KvString::Right(unsigned short count) const {
  const unsigned short length = Len();
  const unsigned short taken = std::min(count, length);
  return Copy(static_cast<unsigned short>(length - taken), taken);
}

void KvString::Cut(unsigned short position, unsigned short count) {
  const unsigned length = Len();
  if (length <= position) return;
  const unsigned end = position + std::min<unsigned>(count, length - position);
  kv::KeepOwnText(*this, position, end, length - end);
}

void KvString::Insert(const KvString& text, unsigned short position) {
  if (position > Len()) return;
  StringAccess::Edit(*this, {.mode = EditMode::kInsert,
                             .position = position,
                             .text = text.buffer_,
                             .codeSet = text.codeSet_,
                             .count = text.Len()});
}

void KvString::Replace(const KvString& text, unsigned short position) {
  const unsigned length = Len();
  if (length <= position) return;
  StringAccess::Edit(*this, {.mode = EditMode::kOverwrite,
                             .position = position,
                             .text = text.buffer_,
                             .codeSet = text.codeSet_,
                             .count = std::min<unsigned>(text.Len(), length - position)});
}

void KvString::Expand(unsigned short length, char unit) {
  const unsigned short own = Len();
  if (own >= length) return;
  kv::PutCopies(*this, own, &unit, KvLanguageContext::GetDefault8CodeSet(),
                static_cast<unsigned>(length - own));
}

void KvString::Expand(unsigned short length, unsigned short unit) {
  const unsigned short own = Len();
  if (own >= length) return;
  kv::PutCopies(*this, own, &unit, KvLanguageContext::GetDefault16CodeSet(),
                static_cast<unsigned>(length - own));
}

void KvString::Fill(unsigned short count, char unit) {
  kv::PutCopies(*this, 0, &unit, KvLanguageContext::GetDefault8CodeSet(), count);
}

void KvString::Fill(unsigned short count, unsigned short unit) {
  kv::PutCopies(*this, 0, &unit, KvLanguageContext::GetDefault16CodeSet(), count);
}

// The terminator counts as a blank, so the walk has to end by the length.
void KvString::LeftTrim() {
  const unsigned length = Len();
  if (length == 0) return;
  unsigned blanks = 0;
  const unsigned width = kv::UnitWidth(codeSet_);
  // Not by operator[], which measures the text each time.
  while (blanks < length && KvChar(*this, static_cast<int>(blanks * width)).IsSpace()) ++blanks;
  kv::KeepOwnText(*this, 0, blanks, length - blanks);
}

// Walks back from the last unit of the buffer, which need not be the end of the text, and never
// looks at the first character: a text of blanks keeps one. Both stay so, because stored texts
// and their hashes depend on them.
void KvString::RightTrim() {
  if (buffer_ == nullptr) return;
  const unsigned width = kv::UnitWidth(codeSet_);
  const unsigned length = Len();
  unsigned short kept = static_cast<unsigned short>(length + 1);
  for (unsigned offset = (kv::UnitsIn(bufferSize_, codeSet_) - 1) * width; offset > 0;
       offset -= width) {
    if (!KvChar(*this, static_cast<int>(offset)).IsSpace()) break;
    // In a buffer longer than its text what lies behind counts as part of it. This may wrap around,
    // and nothing is cut.
    --kept;
  }
  if (length > kept) kv::KeepOwnText(*this, kept, 0, 0);
}

void KvString::Trim() {
  LeftTrim();
  RightTrim();
}

void KvString::ToLower() {
  KvCharToLower operation;
  kv::MapCase(*this, kv::LetterCase::kLower, operation);
}

void KvString::ToUpper() {
  KvCharToUpper operation;
  kv::MapCase(*this, kv::LetterCase::kUpper, operation);
}

void KvString::Transform(KvCharOperation& operation) {
  if (bufferSize_ == 0) return;
  const unsigned width = kv::UnitWidth(codeSet_);
  unsigned capacity = std::min(2u * bufferSize_, kMaximumBytes);
  kv::OwnedBlock<unsigned char> block(kv::AllocateText(capacity));
  if (block == nullptr) return;

  KvStringIterator source(*this);
  unsigned used = 0;
  for (;;) {
    KvStringIterator out(*this);
    out.Begin(block.get() + used, codeSet_, language_, kv::kMemoryOrder);
    out.limit_ = block.get() + (kv::UnitsIn(capacity, codeSet_) - 1) * width;
    source.Transform(out, operation);
    used = static_cast<unsigned>(out.position_ - block.get());
    if (source.gaveUp_) return;
    if (source.IsEOS()) break;
    if (capacity == kMaximumBytes) {
      kv::LimitBufferSize(capacity + width);
      break;
    }
    const unsigned grown = std::min(2 * capacity, kMaximumBytes);
    kv::OwnedBlock<unsigned char> larger(kv::AllocateText(grown));
    if (larger == nullptr) return;
    std::memcpy(larger.get(), block.get(), used);
    block = std::move(larger);
    capacity = grown;
  }
  // The size counts the terminator, as everywhere: the next edit and the stored form build on it.
  StringAccess::ReplaceExactly(*this, block.release(), capacity, kv::UnitsIn(used, codeSet_));
}
