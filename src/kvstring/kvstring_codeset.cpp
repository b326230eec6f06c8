// KvString: code sets and the process-wide settings that strings begin with.

#include <algorithm>

#include "kvstring.h"
#include "kvstring/string_edit.h"

namespace kv {
namespace {

// Replaces the text by itself in `codeSet`. False when memory was short.
bool ConvertText(KvString& text, unsigned char codeSet) {
  const unsigned width = UnitWidth(codeSet);
  const unsigned size = LimitBufferSize((text.Len() + 1u) * width);
  unsigned char* block = AllocateText(size);
  if (block == nullptr) return false;
  ConvertUnits(block, codeSet, StringAccess::Buffer(text), text.GetCodeSet(),
               UnitsIn(size, codeSet) - 1);
  StringAccess::Replace(text, block, size);
  return true;
}

}  // namespace
}  // namespace kv

using kv::StringAccess;

void KvString::SetCodeSet(unsigned char codeSet) {
  const bool sameWidth = KvIsWideCodeSet(codeSet) == KvIsWideCodeSet(codeSet_);
  if (buffer_ != nullptr && !sameWidth && !kv::ConvertText(*this, codeSet)) return;
  codeSet_ = codeSet;
}

int KvString::SetCodeSetCode(unsigned char codeSet) {
  if (KvIsWideCodeSet(codeSet) != KvIsWideCodeSet(codeSet_)) return kvBadArgument;
  codeSet_ = codeSet;
  return kvOk;
}

int KvString::MapToCodeSet(unsigned char codeSet) {
  if (codeSet == 0) return kvBadArgument;
  if (codeSet == codeSet_) return kvOk;
  if (buffer_ != nullptr && !kv::ConvertText(*this, codeSet)) return kvNotSupported;
  codeSet_ = codeSet;
  return kvOk;
}

int KvString::CopyMapped(const KvString& source, unsigned char codeSet, short count) {
  if (this == &source) return kvBadArgument;
  const unsigned width = kv::UnitWidth(codeSet);
  const unsigned wanted = std::min<unsigned>(static_cast<unsigned short>(count), source.Len());
  const unsigned size = kv::LimitBufferSize((wanted + 1) * width);
  if (bufferSize_ < size) {
    unsigned char* block = kv::AllocateText(size);
    if (block == nullptr) return kvNotSupported;
    StringAccess::Replace(*this, block, size);
  } else {
    std::memset(buffer_, 0, bufferSize_);
  }
  codeSet_ = codeSet;
  language_ = source.language_;
  return static_cast<int>(kv::ConvertUnits(buffer_, codeSet, source.StrGet(), source.codeSet_,
                                           std::min(wanted, kv::UnitsIn(size, codeSet) - 1)));
}

// Constant-initialised and never destroyed, so that it is there for every other static object.
const KvString& KvString::EmptyString() {
  static constexpr unsigned char kNoLanguage = 0;
  union Holder {
    constexpr Holder() : string(kvCodeSetBytes, kNoLanguage) {}
    ~Holder() {}
    KvString string;
  };
  static constinit Holder empty;
  return empty.string;
}

unsigned char KvString::GetDefaultCodeSet() {
  return KvLanguageContext::GetDefaultCodeSet();
}
unsigned char KvString::GetDefault8CodeSet() {
  return KvLanguageContext::GetDefault8CodeSet();
}
unsigned char KvString::GetDefault16CodeSet() {
  return KvLanguageContext::GetDefault16CodeSet();
}
unsigned char KvString::GetDefaultLanguage() {
  return KvLanguageContext::GetDefaultLanguage();
}
unsigned short KvString::GetDefaultCmpOp() {
  return KvLanguageContext::GetDefaultCmpOp();
}

int KvString::SetDefaultCodeSet(unsigned char codeSet) {
  return KvLanguageContext::SetDefaultCodeSet(codeSet);
}

int KvString::SetDefaultLanguage(unsigned char language) {
  return KvLanguageContext::SetDefaultLanguage(language);
}

int KvString::SetDefaultCmpOp(unsigned short compareOperation) {
  return KvLanguageContext::SetDefaultCmpOp(compareOperation);
}
