// context.cpp - the process-wide defaults, and the code set and language objects by number.
#include <algorithm>

#include "tables.h"

namespace {

struct Defaults {
  unsigned char nativeCodeSet = kvCodeSetLatin1;
  unsigned char codeSet = kvCodeSetLatin1;
  unsigned char byteCodeSet = kvCodeSetLatin1;
  unsigned char wideCodeSet = kvCodeSetUnicode;
  unsigned char language = kvLanguageEnglish;
  unsigned short cmpOp = 0;
};

constinit Defaults defaults;

constexpr KvCodeSet kCodeSets[] = {KvCodeSet(1), KvCodeSet(2),  KvCodeSet(3),  KvCodeSet(4),
                                   KvCodeSet(5), KvCodeSet(6),  KvCodeSet(7),  KvCodeSet(8),
                                   KvCodeSet(9), KvCodeSet(10), KvCodeSet(11), KvCodeSet(12)};
constexpr KvCodeSet kUnicodeCodeSet(kvCodeSetUnicode);

constexpr KvLanguage kIdeographic(20, "ideographic", "");

// 254 marks a null string or a text of collation orders, 255 stands for "the default".
constexpr bool IsMarker(unsigned char number) {
  return number >= 254;
}

int SetCodeSet(unsigned char& field, unsigned char codeSet, bool allowed) {
  if (IsMarker(codeSet) || !allowed) return kvBadArgument;
  field = codeSet;
  return kvOk;
}

}  // namespace

unsigned char KvLanguageContext::GetNativeCodeSet() {
  return defaults.nativeCodeSet;
}
unsigned char KvLanguageContext::GetDefaultCodeSet() {
  return defaults.codeSet;
}
unsigned char KvLanguageContext::GetDefault8CodeSet() {
  return defaults.byteCodeSet;
}
unsigned char KvLanguageContext::GetDefault16CodeSet() {
  return defaults.wideCodeSet;
}
unsigned char KvLanguageContext::GetDefaultLanguage() {
  return defaults.language;
}
unsigned short KvLanguageContext::GetDefaultCmpOp() {
  return defaults.cmpOp;
}

int KvLanguageContext::SetNativeCodeSet(unsigned char codeSet) {
  // Plain bytes resolve through the native code set, so it must be one of bytes, and not they.
  return SetCodeSet(defaults.nativeCodeSet, codeSet,
                    codeSet != kvCodeSetBytes && !KvIsWideCodeSet(codeSet));
}

int KvLanguageContext::SetDefaultCodeSet(unsigned char codeSet) {
  return SetCodeSet(defaults.codeSet, codeSet, true);
}

int KvLanguageContext::SetDefault8CodeSet(unsigned char codeSet) {
  return SetCodeSet(defaults.byteCodeSet, codeSet, !KvIsWideCodeSet(codeSet));
}

int KvLanguageContext::SetDefault16CodeSet(unsigned char codeSet) {
  return SetCodeSet(defaults.wideCodeSet, codeSet, KvIsWideCodeSet(codeSet));
}

int KvLanguageContext::SetDefaultLanguage(unsigned char language) {
  if (IsMarker(language)) return kvBadArgument;
  defaults.language = language;
  return kvOk;
}

int KvLanguageContext::SetDefaultCmpOp(unsigned short cmpOp) {
  defaults.cmpOp = cmpOp;
  return kvOk;
}

const KvCodeSet* KvLanguageContext::QueryCodeSet(unsigned char codeSet) {
  if (codeSet == kvCodeSetBytes) codeSet = defaults.nativeCodeSet;
  if (KvIsWideCodeSet(codeSet)) return &kUnicodeCodeSet;
  return &kCodeSets[kv::ByteCodeSetSlot(codeSet)];
}

const KvLanguage* KvLanguageContext::QueryLanguage(unsigned char language) {
  if (language == 255) language = defaults.language;
  if (language >= 20) return &kIdeographic;
  const unsigned slot = language - 1u;
  return &kv::zin::kLanguages[slot < kv::zin::kLanguageCount ? slot : 0];
}

namespace {

// The name among those of one tailoring, null when there is none.
const char* FindLetterName(unsigned tailoring, unsigned short order) {
  using kv::zin::LetterName;
  const LetterName* first = kv::zin::kLetterNames + kv::zin::kLetterNameStarts[tailoring];
  const LetterName* last = kv::zin::kLetterNames + kv::zin::kLetterNameStarts[tailoring + 1];
  const LetterName* found = std::lower_bound(
      first, last, order,
      [](const LetterName& entry, unsigned short key) { return entry.order < key; });
  return found != last && found->order == order ? found->name : nullptr;
}

}  // namespace

const char* KvLanguage::LetterName(unsigned short order) const {
  const char* own = FindLetterName(kv::zin::kTailorings[number_], order);
  return own != nullptr ? own : FindLetterName(0, order);
}

extern "C" void ___KvI18NContext(int) {
  defaults = Defaults();
}
