// KvChar, KvWCharList, the case operations and KvStringIterator.

#include "kvchar.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "kvbase/format.h"
#include "kvstring.h"
#include "kvstring/string_edit.h"
#include "zbs.h"
#include "zbshost.h"

namespace kv {
namespace {

unsigned char CodeSetOr(unsigned char codeSet, unsigned char fallback) {
  return codeSet == 255 ? fallback : codeSet;
}

unsigned char LanguageOrDefault(unsigned char language) {
  return language == 255 ? KvLanguageContext::GetDefaultLanguage() : language;
}

// The text of a string for those who only read it, though KvChar and the iterator can write.
unsigned char* UnitsOf(KvString& text) {
  unsigned char* buffer = StringAccess::Buffer(text);
  return buffer != nullptr ? buffer : const_cast<unsigned char*>(kEmptyText);
}

unsigned char* Writable(const void* text) {
  return const_cast<unsigned char*>(static_cast<const unsigned char*>(text));
}

// Hands what a case mapping made beyond the first unit to the iterator.
KvChar WithOverflow(const unsigned short* mapped, unsigned count, const KvChar& source,
                    KvStringIterator* overflow) {
  if (count > 1 && overflow != nullptr) {
    auto* list = new (std::nothrow) KvWCharList;
    if (list == nullptr) KvCallMemoryHandler(sizeof(KvWCharList));
    for (unsigned index = 1; list != nullptr && index < count; ++index) list->Append(mapped[index]);
    if (list == nullptr || list->Count() != count - 1) overflow->GiveUp();
    overflow->SetOverflow(list, source.GetCodeSet());
  }
  KvChar first(source);
  first = mapped[0];
  return first;
}

}  // namespace
}  // namespace kv

// ---------------------------------------------------------------------------------------------

KvChar::KvChar(KvString& text, int offset)
    : position_(kv::UnitsOf(text)),
      value_(0),
      codeSet_(text.GetCodeSet()),
      language_(text.GetLanguage()),
      byteOrder_(kv::kMemoryOrder) {
  if (kv::StringAccess::Buffer(text) != nullptr) position_ += offset;
}

KvChar::KvChar(const KvChar& source)
    : position_(nullptr),
      value_(source.Value()),
      codeSet_(source.codeSet_),
      language_(kv::LanguageOrDefault(source.language_)),
      byteOrder_(kv::kMemoryOrder) {}

KvChar::KvChar(char unit, unsigned char codeSet, unsigned char language)
    : position_(nullptr),
      value_(static_cast<unsigned char>(unit)),
      codeSet_(kv::CodeSetOr(codeSet, KvLanguageContext::GetDefault8CodeSet())),
      language_(kv::LanguageOrDefault(language)),
      byteOrder_(kv::kMemoryOrder) {}

KvChar::KvChar(unsigned short unit, unsigned char codeSet, unsigned char language)
    : position_(nullptr),
      value_(unit),
      codeSet_(kv::CodeSetOr(codeSet, KvLanguageContext::GetDefault16CodeSet())),
      language_(kv::LanguageOrDefault(language)),
      byteOrder_(kv::kMemoryOrder) {
  if (!KvIsWideCodeSet(codeSet_)) value_ = static_cast<unsigned char>(unit);
}

KvChar::KvChar(const char* position, unsigned char codeSet, unsigned char language,
               unsigned char byteOrder)
    : position_(kv::Writable(position)),
      value_(0),
      codeSet_(kv::CodeSetOr(codeSet, KvLanguageContext::GetDefault8CodeSet())),
      language_(kv::LanguageOrDefault(language)),
      byteOrder_(byteOrder) {}

KvChar::KvChar(const Place& place)
    : position_(place.position),
      value_(place.value),
      codeSet_(place.codeSet),
      language_(place.language),
      byteOrder_(place.byteOrder) {}

KvChar KvChar::Detached() {
  return KvChar(Place{nullptr, 0, 255, 255, kv::kMemoryOrder});
}

unsigned short KvChar::Value() const {
  if (position_ == nullptr) return value_;
  const bool wide = KvIsWideCodeSet(codeSet_);
  const unsigned short unit = kv::UnitAt(position_, wide);
  return wide && kv::IsReversed(byteOrder_) ? kv::Reversed(unit) : unit;
}

KvChar& KvChar::operator=(const KvChar& source) {
  if (position_ != nullptr) return *this = source.MapTo(codeSet_).Value();
  value_ = source.Value();
  codeSet_ = source.codeSet_;
  language_ = source.language_;
  byteOrder_ = source.byteOrder_;
  return *this;
}

KvChar& KvChar::operator=(char unit) {
  if (position_ == nullptr) {
    value_ = static_cast<unsigned char>(unit);
  } else if (position_ != kv::kEmptyText) {
    // Of a 16-bit unit the low byte as the host has it: what is written is the same everywhere.
    const bool lowIsSecond = kv::kHostIsBig && KvIsWideCodeSet(codeSet_);
    position_[lowIsSecond ? 1 : 0] = static_cast<unsigned char>(unit);
  }
  return *this;
}

KvChar& KvChar::operator=(unsigned short unit) {
  const bool wide = KvIsWideCodeSet(codeSet_);
  if (position_ == nullptr) {
    value_ = wide ? unit : static_cast<unsigned char>(unit);
  } else if (position_ != kv::kEmptyText) {
    const bool isReversed = wide && kv::IsReversed(byteOrder_);
    kv::WriteUnit(position_, wide, 0, isReversed ? kv::Reversed(unit) : unit);
  }
  return *this;
}

KvChar KvChar::MapTo(unsigned char codeSet) const {
  if (codeSet == 0 || codeSet == codeSet_) return KvChar(*this);
  const unsigned short mapped =
      KvLanguageContext::QueryCodeSet(codeSet)->MapFrom(Value(), codeSet_);
  return KvChar(
      Place{nullptr, mapped, codeSet, kv::LanguageOrDefault(language_), kv::kMemoryOrder});
}

unsigned short KvChar::PropertyOrder() const {
  const KvCodeSet* codeSet = KvLanguageContext::QueryCodeSet(codeSet_);
  const unsigned short unicode = codeSet->ToUnicode(Value());
  const KvUnicodeRecord* record = codeSet->GetUnicodeProps()->Lookup(unicode);
  return record != nullptr ? record->PropertyOrder() : unicode;
}

bool KvChar::IsSpace() const {
  return PropertyOrder() < kv::kFirstSymbolOrder;
}

bool KvChar::IsSymbol() const {
  const unsigned short order = PropertyOrder();
  return order >= kv::kFirstSymbolOrder && order < kv::kFirstDigitOrder;
}

bool KvChar::IsDigit() const {
  const unsigned short order = PropertyOrder();
  return order >= kv::kFirstDigitOrder && order < kv::kFirstLetterOrder;
}

bool KvChar::IsAlpha() const {
  const unsigned short order = PropertyOrder();
  return order >= kv::kFirstLetterOrder && order < kv::kFirstOtherOrder;
}

bool KvChar::IsHan() const {
  return PropertyOrder() >= kv::kFirstOtherOrder;
}

KvChar KvChar::ToLower(KvStringIterator* overflow) const {
  unsigned short mapped[3];
  const unsigned count =
      KvLanguageContext::QueryCodeSet(codeSet_)->ToLower(Value(), mapped, language_);
  return kv::WithOverflow(mapped, count, *this, overflow);
}

KvChar KvChar::ToUpper(KvStringIterator* overflow) const {
  unsigned short mapped[3];
  const unsigned count =
      KvLanguageContext::QueryCodeSet(codeSet_)->ToUpper(Value(), mapped, language_);
  return kv::WithOverflow(mapped, count, *this, overflow);
}

// ---------------------------------------------------------------------------------------------

KvWCharList::KvWCharList(const KvWCharList& source) {
  *this = source;
}

KvWCharList& KvWCharList::operator=(const KvWCharList& source) {
  if (this == &source) return *this;
  count_ = 0;
  for (unsigned index = 0; index < source.count_; ++index) Append(source.units_[index]);
  return *this;
}

KvWCharList::~KvWCharList() {
  std::free(units_);
}

void KvWCharList::Append(unsigned short unit) {
  if (count_ == capacity_) {
    const unsigned capacity = capacity_ == 0 ? 4 : 2 * capacity_;
    const unsigned size = capacity * unsigned{sizeof(unsigned short)};
    void* grown = std::realloc(units_, size);
    if (grown == nullptr) return KvCallMemoryHandler(size);
    units_ = static_cast<unsigned short*>(grown);
    capacity_ = capacity;
  }
  units_[count_++] = unit;
}

KvCharOperation::~KvCharOperation() = default;

KvChar KvCharToLower::Apply(const KvChar& source, KvStringIterator* overflow) {
  return source.ToLower(overflow);
}

KvChar KvCharToUpper::Apply(const KvChar& source, KvStringIterator* overflow) {
  return source.ToUpper(overflow);
}

// ---------------------------------------------------------------------------------------------

void KvStringIterator::Begin(const void* text, unsigned char codeSet, unsigned char language,
                             unsigned char byteOrder) {
  codeSet_ = codeSet;
  language_ = kv::LanguageOrDefault(language);
  codeSetObject_ = KvLanguageContext::QueryCodeSet(codeSet_);
  sortClass_ = codeSetObject_->SortClass(language_);
  overflowCodeSet_ = codeSet_;
  overflowIndex_ = 0;
  byteOrder_ = byteOrder;
  ownsText_ = false;
  position_ = kv::Writable(text);
  overflow_ = nullptr;
  limit_ = nullptr;
  orderPosition_ = nullptr;
  pendingOrder_ = 0;
  std::memset(ownText_, 0, sizeof ownText_);
  origin_ = nullptr;
}

KvStringIterator::KvStringIterator(KvString& text) {
  Begin(kv::UnitsOf(text), text.GetCodeSet(), text.GetLanguage(), kv::kMemoryOrder);
}

KvStringIterator::KvStringIterator(const char* text, unsigned char codeSet, unsigned char language,
                                   unsigned char byteOrder) {
  Begin(text, kv::CodeSetOr(codeSet, KvLanguageContext::GetDefault8CodeSet()), language, byteOrder);
}

KvStringIterator::KvStringIterator(const unsigned short* text, unsigned char codeSet,
                                   unsigned char language, unsigned char byteOrder) {
  Begin(text, kv::CodeSetOr(codeSet, KvLanguageContext::GetDefault16CodeSet()), language,
        byteOrder);
}

KvStringIterator::KvStringIterator(const KvChar& character) {
  Begin(nullptr, character.GetCodeSet(), character.GetLanguage(), kv::kMemoryOrder);
  kv::WriteUnit(ownText_, Width() == 2, 0, character.Value());
  ownsText_ = true;
  position_ = ownText_;
  origin_ = this;
}

KvStringIterator::KvStringIterator(const KvStringIterator& source) : overflow_(nullptr) {
  *this = source;
}

KvStringIterator& KvStringIterator::operator=(const KvStringIterator& source) {
  if (this == &source) return *this;
  delete overflow_;
  codeSetObject_ = source.codeSetObject_;
  codeSet_ = source.codeSet_;
  language_ = source.language_;
  sortClass_ = source.sortClass_;
  overflowCodeSet_ = source.overflowCodeSet_;
  overflowIndex_ = source.overflowIndex_;
  byteOrder_ = source.byteOrder_;
  ownsText_ = source.ownsText_;
  std::memcpy(ownText_, source.ownText_, sizeof ownText_);
  origin_ = source.origin_;
  position_ = source.position_;
  limit_ = source.limit_;
  orderPosition_ = source.orderPosition_;
  // A text of its own moves with the iterator.
  if (ownsText_ && position_ != nullptr) {
    position_ = ownText_ + (source.position_ - source.ownText_);
    if (orderPosition_ != nullptr) orderPosition_ = ownText_;  // its only character
  }
  pendingOrder_ = source.pendingOrder_;
  gaveUp_ = source.gaveUp_;
  overflow_ = nullptr;
  if (source.overflow_ == nullptr) return *this;
  overflow_ = new (std::nothrow) KvWCharList(*source.overflow_);
  if (overflow_ == nullptr) KvCallMemoryHandler(sizeof(KvWCharList));
  return *this;
}

bool KvStringIterator::operator==(const KvStringIterator& other) const {
  if (position_ == nullptr || !ownsText_ || origin_ != other.origin_) {
    return position_ == other.position_;
  }
  return other.position_ != nullptr && position_ - ownText_ == other.position_ - other.ownText_;
}

KvStringIterator::~KvStringIterator() {
  delete overflow_;
}

bool KvStringIterator::IsPending() const {
  return overflow_ != nullptr && overflowIndex_ < overflow_->Count();
}

KvChar KvStringIterator::operator*() {
  // A code set of 255 is here a text's own and stands for no default.
  if (IsPending()) {
    const unsigned short unit = (*overflow_)[overflowIndex_++];
    return KvChar(KvChar::Place{nullptr, unit, overflowCodeSet_, language_, kv::kMemoryOrder});
  }
  return KvChar(KvChar::Place{position_, 0, codeSet_, language_, byteOrder_});
}

KvStringIterator& KvStringIterator::operator++() {
  if (IsPending()) return *this;
  delete overflow_;
  overflow_ = nullptr;
  if (position_ != nullptr) position_ += Width();
  return *this;
}

KvStringIterator KvStringIterator::operator++(int) {
  KvStringIterator before(*this);
  ++*this;
  return before;
}

KvStringIterator& KvStringIterator::operator--() {
  if (position_ != nullptr) position_ -= Width();
  return *this;
}

KvStringIterator KvStringIterator::operator--(int) {
  KvStringIterator before(*this);
  --*this;
  return before;
}

void KvStringIterator::Step(unsigned short forward) {
  if (forward != 0) {
    ++*this;
  } else {
    --*this;
  }
}

bool KvStringIterator::IsEOS() const {
  if (overflow_ != nullptr) return false;
  return position_ == nullptr || kv::UnitAt(position_, Width() == 2) == 0;
}

void KvStringIterator::SetOverflow(KvWCharList* list, unsigned char codeSet) {
  if (list != overflow_) delete overflow_;
  overflow_ = list;
  overflowIndex_ = 0;
  overflowCodeSet_ = kv::CodeSetOr(codeSet, codeSet_);
}

void KvStringIterator::Transform(KvStringIterator& out, KvCharOperation& operation) {
  while (!gaveUp_ && !IsEOS() && (out.limit_ == nullptr || out.position_ < out.limit_)) {
    *out = IsPending() ? **this : operation.Apply(**this, this);
    ++out;
    ++*this;
  }
  *out = static_cast<unsigned short>(0);
}

void KvStringIterator::Destroy() {
  position_ = nullptr;
  orderPosition_ = nullptr;
  pendingOrder_ = 0;
}
