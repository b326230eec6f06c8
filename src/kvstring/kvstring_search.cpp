// KvString: comparing, searching and what is built on searching; the wildcard characters.

#include <algorithm>
#include <cstring>

#include "kvcollate.h"
#include "kvstring.h"
#include "kvstring/collate.h"
#include "kvstring/string_edit.h"
#include "zbs.h"

namespace kv {
namespace {

constexpr unsigned short kDefaultOperation = 65535;
constexpr short kWholeText = -1;

unsigned short OperationOrDefault(unsigned short operation) {
  return operation == kDefaultOperation ? KvLanguageContext::GetDefaultCmpOp() : operation;
}

// What the comparison operators ask.
int CompareByDefault(const KvString& a, const KvString& b) {
  return CompareStrings(a, b, KvLanguageContext::GetDefaultCmpOp());
}

// With the length that searching wants to know.
Text CountedTextOf(const KvString& string) {
  return {string.GetCodeSet(), string.GetLanguage(), string.StrGet(), string.Len()};
}

// The position of `pattern` in `text` from `start` on as a plain number; -1 when it is not there.
int FindPosition(const KvString& text, const Text& pattern, unsigned start,
                 unsigned short operation) {
  if (text.IsEmpty()) return -1;
  const Text whole = TextOf(text);
  const bool wide = KvIsWideCodeSet(whole.codeSet);
  if (start != 0 && TextLength(whole.units, wide, std::min(start, whole.length)) < start) return -1;
  return FindText(whole, pattern, OperationOrDefault(operation), start);
}

// Replaces match by match, as far as the text may grow: what the limit cuts off is not searched.
void ReplaceOneByOne(KvString& text, const Text& wanted, const KvString& replacement,
                     unsigned from) {
  const unsigned short added = replacement.Len();
  for (;;) {
    const int found = FindPosition(text, wanted, from, kDefaultOperation);
    if (found < 0) return;
    const auto position = static_cast<unsigned short>(found);
    text.Cut(position, static_cast<unsigned short>(wanted.length));
    text.Insert(replacement, position);
    from = position + added;
  }
}

// The units of a text that is written anew.
class NewText {
 public:
  NewText(unsigned char* block, unsigned room, unsigned width)
      : block_(block), room_(room), width_(width) {}

  // False when they do not fit.
  bool Add(const unsigned char* units, unsigned count) {
    if (room_ - length_ < count) return false;
    if (count != 0) std::memcpy(block_ + length_ * width_, units, count * width_);
    length_ += count;
    return true;
  }
  unsigned Length() const { return length_; }

 private:
  unsigned char* block_;
  unsigned room_;
  unsigned width_;
  unsigned length_ = 0;
};

// Writes `text` with its matches replaced, the first of which is `found`. False when it is too
// long.
bool WriteReplaced(NewText& out, const Text& text, const Text& wanted, const Text& replacement,
                   int found) {
  const unsigned width = UnitWidth(text.codeSet);
  const unsigned short operation = OperationOrDefault(kDefaultOperation);
  const auto* units = static_cast<const unsigned char*>(text.units);
  unsigned from = 0;
  for (; found >= 0; found = FindText(text, wanted, operation, from)) {
    const auto position = static_cast<unsigned>(found);
    if (!out.Add(units + from * width, position - from)) return false;
    if (!out.Add(static_cast<const unsigned char*>(replacement.units), replacement.length)) {
      return false;
    }
    from = position + wanted.length;
  }
  return out.Add(units + from * width, text.length - from);
}

enum class Rewriting { kDone, kTooLong };

// Replaces all matches in one pass, unless the text would become longer than a text may be.
Rewriting RewriteMatches(KvString& text, const Text& wanted, const KvString& replacement,
                         unsigned start) {
  const int found = FindPosition(text, wanted, start, kDefaultOperation);
  if (found < 0) return Rewriting::kDone;
  const Text own = CountedTextOf(text);
  KvString converted(own.codeSet, own.language);
  const bool asItIs = own.codeSet == replacement.GetCodeSet();
  if (!asItIs) converted << replacement;
  const Text put = CountedTextOf(asItIs ? replacement : converted);
  if (put.length != replacement.Len()) return Rewriting::kTooLong;
  const unsigned width = UnitWidth(own.codeSet);
  const unsigned growth = put.length > wanted.length ? put.length - wanted.length : 0;
  const unsigned most = own.length + own.length / wanted.length * growth;
  const unsigned room = std::min(most, MaximumLength(own.codeSet));
  const unsigned size = (room + 1) * width;
  OwnedBlock<unsigned char> block(AllocateBlock(size));
  if (block == nullptr) return Rewriting::kDone;
  NewText out(block.get(), room, width);
  if (!WriteReplaced(out, own, wanted, put, found)) return Rewriting::kTooLong;
  StringAccess::ReplaceExactly(text, block.release(), size, out.Length());
  return Rewriting::kDone;
}

int SetWildcard(Wildcard wildcard, const KvChar& character) {
  KvStringIterator one(character);
  SetWildcardOrder(wildcard, one.GetNextOrder(0));
  return kvOk;
}

}  // namespace
}  // namespace kv

bool KvString::operator==(const KvString& other) const {
  return this == &other || kv::CompareByDefault(*this, other) == 0;
}

// Callers of old use the result of KvStrCmp as it is; only key order and exact bytes have others
// than -1, 0 and 1.
int KvString::operator!=(const KvString& other) const {
  const unsigned short operation = GetDefaultCmpOp();
  const bool isSign = (operation & (kvCompareExact | kvCompareKeyOrder)) == 0;
  return isSign ? kv::CompareByDefault(*this, other) : Compare(other, kv::kWholeText, operation);
}

bool KvString::operator<(const KvString& other) const {
  return kv::CompareByDefault(*this, other) < 0;
}
bool KvString::operator<=(const KvString& other) const {
  return kv::CompareByDefault(*this, other) <= 0;
}
bool KvString::operator>(const KvString& other) const {
  return kv::CompareByDefault(*this, other) > 0;
}
bool KvString::operator>=(const KvString& other) const {
  return kv::CompareByDefault(*this, other) >= 0;
}

int KvString::Compare(const KvString& other, short maximumLength,
                      unsigned short compareOperation) const {
  return kv::CompareTexts(kv::TextOf(*this), kv::TextOf(other),
                          kv::OperationOrDefault(compareOperation),
                          static_cast<unsigned short>(maximumLength));
}

bool KvString::EqualsIgnoreLanguage(const KvString& other) const {
  const unsigned char language =
      language_ == other.language_ ? language_ : static_cast<unsigned char>(0);
  return KvStrCmp(codeSet_, language, StrGet(), other.codeSet_, language, other.StrGet(),
                  kvCompareKeyOrder, kv::kWholeText, kv::kMemoryOrder, nullptr) == 0;
}

short KvString::Find(const KvString& pattern, unsigned short start,
                     unsigned short compareOperation) const {
  return static_cast<short>(
      kv::FindPosition(*this, kv::CountedTextOf(pattern), start, compareOperation));
}

short KvString::Find(char unit, unsigned short start, unsigned short compareOperation) const {
  const kv::Text pattern{kvCodeSetBytes, language_, &unit, unit != 0 ? 1u : 0u};
  return static_cast<short>(kv::FindPosition(*this, pattern, start, compareOperation));
}

short KvString::Find(unsigned short unit, unsigned short start,
                     unsigned short compareOperation) const {
  const kv::Text pattern{GetDefault16CodeSet(), language_, &unit, unit != 0 ? 1u : 0u};
  return static_cast<short>(kv::FindPosition(*this, pattern, start, compareOperation));
}

short KvString::SubStringPos(const KvString& pattern, unsigned short compareOperation) const {
  return Find(pattern, 0, compareOperation);
}

// The search goes on behind each replacement, so one that contains the pattern does not loop.
void KvString::ReplaceAll(const KvString& pattern, const KvString& replacement,
                          unsigned short start) {
  if (&pattern == this || &replacement == this) {
    ReplaceAll(KvString(pattern), KvString(replacement), start);
    return;
  }
  const kv::Text wanted = kv::CountedTextOf(pattern);
  if (wanted.length == 0) return;
  const kv::Rewriting done = kv::RewriteMatches(*this, wanted, replacement, start);
  if (done == kv::Rewriting::kTooLong) kv::ReplaceOneByOne(*this, wanted, replacement, start);
}

void KvString::ReplaceAll(char from, char to, unsigned short start) {
  KvString pattern(from);
  pattern.SetLanguage(language_);
  ReplaceAll(pattern, KvString(to), start);
}

void KvString::ReplaceAll(unsigned short from, unsigned short to, unsigned short start) {
  KvString pattern(from);
  pattern.SetLanguage(language_);
  ReplaceAll(pattern, KvString(to), start);
}

int KvString::SetAsterisk(const KvChar& character) {
  return kv::SetWildcard(kv::Wildcard::kAsterisk, character);
}

int KvString::SetQuestion(const KvChar& character) {
  return kv::SetWildcard(kv::Wildcard::kQuestion, character);
}

int KvString::SetEscape(const KvChar& character) {
  return kv::SetWildcard(kv::Wildcard::kEscape, character);
}

int KvSplitList(KvString& list, KvString& item, const KvString& delimiter,
                unsigned short& position) {
  const kv::Text wanted = kv::CountedTextOf(delimiter);
  int end = kv::FindPosition(list, wanted, position, kv::kDefaultOperation);
  while (end == 0) end = kv::FindPosition(list, wanted, ++position, kv::kDefaultOperation);
  if (end < 0) {
    end = list.Len();
    if (position >= end) return kvListEnd;
  }
  item = list.Copy(position, static_cast<unsigned short>(end - position));
  item.Trim();
  position = static_cast<unsigned short>(end + 1);
  return kvOk;
}

// ---------------------------------------------------------------------------------------------

int KvChar::Compare(const KvChar& other, unsigned short compareOperation) const {
  const kv::UnitText unit(Value(), codeSet_);
  const kv::UnitText otherUnit(other.Value(), other.codeSet_);
  return KvStrCmp(codeSet_, language_, reinterpret_cast<const char*>(unit.bytes), other.codeSet_,
                  other.language_, reinterpret_cast<const char*>(otherUnit.bytes),
                  kv::OperationOrDefault(compareOperation), kv::kWholeText, kv::kMemoryOrder,
                  nullptr);
}

// Contractions are in the text only: an overflow character gives its orders by itself.
unsigned short KvStringIterator::GetNextOrder(unsigned short /*flags*/) {
  if (pendingOrder_ != 0 && orderPosition_ == position_) {
    const unsigned short second = pendingOrder_;
    pendingOrder_ = 0;
    StepOverOrders();
    return second;
  }
  pendingOrder_ = 0;
  if (IsEOS()) return 0;
  kv::Text text{codeSet_, language_, position_, kv::kToTerminator, byteOrder_};
  kv::UnitText own;
  if (overflow_ != nullptr) {
    const KvChar character(**this);
    own = kv::UnitText(character.Value(), character.GetCodeSet());
    text = {character.GetCodeSet(), language_, own.bytes};
  }
  kv::OrderCursor orders(text);
  const unsigned short first = orders.Next();
  pendingOrder_ = orders.IsInside() ? orders.Next() : static_cast<unsigned short>(0);
  orderPosition_ = position_;
  // A text is not at its end while an order of its last character is to come.
  if (pendingOrder_ == 0) StepOverOrders();
  return first;
}

void KvStringIterator::StepOverOrders() {
  if (overflow_ != nullptr || position_ == nullptr) {
    ++*this;
    return;
  }
  kv::OrderCursor orders({codeSet_, language_, position_, kv::kToTerminator, byteOrder_});
  orders.Next();
  position_ += orders.Position() - position_;
}
