// KvString: making, assigning, appending, asking, and the lifecycle members. Every change of the
// text goes through the edit primitive in string_edit.h.

#include "kvstring.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "kvstring/string_edit.h"
#include "kvstring/unit_scan.h"
#include "kvtext/float_text.h"
#include "zbs.h"

namespace kv {
namespace {

// A count of 65535 asks for the whole text.
constexpr unsigned short kWholeText = 65535;

void AssignDefault16(KvString& target, const void* text, unsigned count) {
  StringAccess::Assign(target, KvLanguageContext::GetDefault16CodeSet(),
                       KvLanguageContext::GetDefaultLanguage(), text,
                       KvLanguageContext::GetDefault16CodeSet(), count);
}

// The decimal text of a number, in a buffer of its own.
class DecimalText {
 public:
  template <typename Number>
  explicit DecimalText(Number number)
      : length_(static_cast<unsigned>(std::to_chars(text_, text_ + sizeof text_, number).ptr -
                                      text_)) {}

  const char* Text() const { return text_; }
  unsigned Length() const { return length_; }

 private:
  char text_[24];
  unsigned length_;
};

KvString& Append(KvString& target, const void* text, unsigned char codeSet, unsigned count) {
  StringAccess::Edit(target, {.mode = EditMode::kPut,
                              .position = target.Len(),
                              .text = text,
                              .codeSet = codeSet,
                              .count = count});
  return target;
}

// A plain text is cut to what a string of the target's width can hold, without a report; only what
// the sum of both cuts off is an overflow.
KvString& AppendPlain(KvString& target, const void* text, unsigned char codeSet, unsigned count) {
  return Append(target, text, codeSet, std::min(count, MaximumLength(target.GetCodeSet())));
}

KvString& AppendDecimal(KvString& target, const DecimalText& number) {
  return Append(target, number.Text(), KvLanguageContext::GetDefault8CodeSet(), number.Length());
}

// Gives a string without a buffer the text of another one of its code set.
void CopyLongText(KvString& target, const KvString& source) {
  const unsigned char codeSet = source.GetCodeSet();
  const unsigned units = UnitsIn(source.GetBufferSize(), codeSet);
  const unsigned size = units * UnitWidth(codeSet);
  unsigned char* block = AllocateBlock(size);
  if (block == nullptr) return;
  const unsigned length =
      CopyToZero(block, StringAccess::Buffer(source), KvIsWideCodeSet(codeSet), units - 1);
  StringAccess::ReplaceExactly(target, block, size, length);
}

}  // namespace
}  // namespace kv

using kv::StringAccess;

void KvString::Init() {
  buffer_ = nullptr;
  bufferSize_ = 0;
  codeSet_ = KvLanguageContext::GetDefaultCodeSet();
  language_ = KvLanguageContext::GetDefaultLanguage();
}

KvString::KvString() {
  Init();
}

KvString::KvString(const KvString& source) : KvString(source.codeSet_, source.language_) {
  // A long text is copied and measured in one walk. Most fill their buffer, so that its size is
  // right for the copy.
  constexpr unsigned kLong = 512;
  if (source.bufferSize_ >= kLong) {
    kv::CopyLongText(*this, source);
    return;
  }
  StringAccess::Assign(*this, codeSet_, language_, source.buffer_, codeSet_, source.Len());
}

KvString::KvString(KvString&& source) noexcept : KvString(source.codeSet_, source.language_) {
  Destruct(source);
}

KvString::KvString(char unit)
    : KvString(kv::languageDefaults.byteCodeSet, kv::languageDefaults.language) {
  kv::AssignDefault8(*this, unit != 0 ? &unit : nullptr, 1);
}

KvString::KvString(unsigned char unit) : KvString(static_cast<char>(unit)) {}

KvString::KvString(unsigned short unit)
    : KvString(kv::languageDefaults.wideCodeSet, kv::languageDefaults.language) {
  kv::AssignDefault16(*this, unit != 0 ? &unit : nullptr, 1);
}

KvString::KvString(short number) : KvString(static_cast<long long>(number)) {}
KvString::KvString(int number) : KvString(static_cast<long long>(number)) {}
KvString::KvString(unsigned int number) : KvString(static_cast<long long>(number)) {}
KvString::KvString(long number) : KvString(static_cast<long long>(number)) {}
KvString::KvString(unsigned long number) : KvString(static_cast<unsigned long long>(number)) {}

KvString::KvString(long long number)
    : KvString(kv::languageDefaults.byteCodeSet, kv::languageDefaults.language) {
  const kv::DecimalText decimal(number);
  kv::AssignDefault8(*this, decimal.Text(), decimal.Length());
}

KvString::KvString(unsigned long long number)
    : KvString(kv::languageDefaults.byteCodeSet, kv::languageDefaults.language) {
  const kv::DecimalText decimal(number);
  kv::AssignDefault8(*this, decimal.Text(), decimal.Length());
}

KvString::KvString(double number)
    : KvString(kv::languageDefaults.byteCodeSet, kv::languageDefaults.language) {
  char text[kv::kFloatTextSize];
  kv::AssignDefault8(*this, text, kv::PrintDefaultFloat(text, number));
}

KvString::KvString(const char* text) : KvString(text, kv::kWholeText) {}
KvString::KvString(const unsigned short* text) : KvString(text, kv::kWholeText) {}

KvString::KvString(const char* text, unsigned short count)
    : KvString(KvLanguageContext::GetDefault8CodeSet(), KvLanguageContext::GetDefaultLanguage()) {
  if (count == 0) return;
  kv::AssignDefault8(*this, text, count == kv::kWholeText ? kv::TextLength(text, false) : count);
}

KvString::KvString(const unsigned short* text, unsigned short count)
    : KvString(KvLanguageContext::GetDefault16CodeSet(), KvLanguageContext::GetDefaultLanguage()) {
  if (count == 0) return;
  kv::AssignDefault16(*this, text, count == kv::kWholeText ? kv::TextLength(text, true) : count);
}

KvString::~KvString() {
  Destroy();
}

KvString& KvString::operator=(const KvString& source) {
  if (this == &source) return *this;
  StringAccess::Assign(*this, source.codeSet_, source.language_, source.buffer_, source.codeSet_,
                       source.Len());
  return *this;
}

KvString& KvString::operator=(KvString&& source) noexcept {
  Destruct(source);
  return *this;
}

KvString& KvString::operator=(const char* text) {
  kv::AssignDefault8(*this, text, kv::TextLength(text, false));
  return *this;
}

KvString& KvString::operator=(const unsigned short* text) {
  kv::AssignDefault16(*this, text, kv::TextLength(text, true));
  return *this;
}

KvString& KvString::operator<<(const KvString& text) {
  return kv::Append(*this, text.buffer_, text.codeSet_, text.Len());
}

KvString& KvString::operator<<(char unit) {
  if (unit == 0) return *this;
  return kv::Append(*this, &unit, KvLanguageContext::GetDefault8CodeSet(), 1);
}

KvString& KvString::operator<<(unsigned short unit) {
  if (!KvIsWideCodeSet(codeSet_)) return *this << static_cast<unsigned int>(unit);
  if (unit == 0) return *this;
  return kv::Append(*this, &unit, codeSet_, 1);
}

KvString& KvString::operator<<(short number) {
  return *this << static_cast<long long>(number);
}
KvString& KvString::operator<<(int number) {
  return *this << static_cast<long long>(number);
}
KvString& KvString::operator<<(unsigned int number) {
  return *this << static_cast<long long>(number);
}
KvString& KvString::operator<<(long number) {
  return *this << static_cast<long long>(number);
}
KvString& KvString::operator<<(unsigned long number) {
  return *this << static_cast<unsigned long long>(number);
}
KvString& KvString::operator<<(long long number) {
  return kv::AppendDecimal(*this, kv::DecimalText(number));
}
KvString& KvString::operator<<(unsigned long long number) {
  return kv::AppendDecimal(*this, kv::DecimalText(number));
}
KvString& KvString::operator<<(float number) {
  return *this << static_cast<double>(number);
}
KvString& KvString::operator<<(double number) {
  return *this << KvString(number);
}

KvString& KvString::operator<<(const char* text) {
  return kv::AppendPlain(*this, text, KvLanguageContext::GetDefault8CodeSet(),
                         kv::TextLength(text, false));
}

KvString& KvString::operator<<(const unsigned short* text) {
  return kv::AppendPlain(*this, text, KvLanguageContext::GetDefault16CodeSet(),
                         kv::TextLength(text, true));
}

void KvString::operator+=(const KvString& text) {
  *this << text;
}

KvString operator+(const KvString& a, const KvString& b) {
  KvString sum(a);
  sum << b;
  return sum;
}

KvString operator+(const KvString& a, const char* b) {
  return a + KvString(b);
}
KvString operator+(const char* a, const KvString& b) {
  return KvString(a) + b;
}

// The last unit of the block is the terminator whatever has been written there, so a text that
// lost its own cannot lead anybody out of the block.
unsigned short KvString::Len() const {
  const unsigned units = kv::UnitsIn(bufferSize_, codeSet_);
  if (units == 0) return 0;
  return static_cast<unsigned short>(kv::TextLength(buffer_, KvIsWideCodeSet(codeSet_), units - 1));
}

bool KvString::IsEmpty() const {
  return bufferSize_ <= kv::UnitWidth(codeSet_) ||
         kv::UnitAt(buffer_, KvIsWideCodeSet(codeSet_)) == 0;
}

bool KvString::IsNullValue() const {
  return language_ == kvLanguageNull || (codeSet_ == kvCodeSetOrders && language_ == 0);
}

const char* KvString::StrGet() const {
  return reinterpret_cast<const char*>(buffer_ != nullptr ? buffer_ : kv::kEmptyText);
}

KvChar KvString::operator[](int index) {
  if (index < 0 || index > Len()) return KvChar::Detached();
  return KvChar(*this, index * static_cast<int>(kv::UnitWidth(codeSet_)));
}

void KvString::Destroy() {
  d_deactivate();
  codeSet_ = 0;
  language_ = 0;
}

void KvString::d_deactivate() {
  StringAccess::Replace(*this, nullptr, 0);
}

// From itself a string takes the text back.
void KvString::Destruct(KvString& other) {
  StringAccess::Replace(*this, std::exchange(other.buffer_, nullptr),
                        std::exchange(other.bufferSize_, static_cast<unsigned short>(0)));
  codeSet_ = other.codeSet_;
  language_ = other.language_;
}

int KvString::SetNullValue() {
  d_deactivate();
  codeSet_ = 0;
  language_ = kvLanguageNull;
  return kvOk;
}
