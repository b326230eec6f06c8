// context.cpp - the process-wide defaults, and the code set and language objects by number.
#include <algorithm>

#include "tables.h"
#include "zindefaults.h"

namespace {

constexpr kv::LanguageDefaults kInitially = {.nativeCodeSet = kvCodeSetLatin1,
                                             .codeSet = kvCodeSetLatin1,
                                             .byteCodeSet = kvCodeSetLatin1,
                                             .wideCodeSet = kvCodeSetUnicode,
                                             .language = kvLanguageEnglish,
                                             .cmpOp = 0};

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

constinit kv::LanguageDefaults kv::languageDefaults = kInitially;

using kv::languageDefaults;

unsigned char KvLanguageContext::GetNativeCodeSet() {
  return languageDefaults.nativeCodeSet;
}
unsigned char KvLanguageContext::GetDefaultCodeSet() {
  return languageDefaults.codeSet;
}
unsigned char KvLanguageContext::GetDefault8CodeSet() {
  return languageDefaults.byteCodeSet;
}
unsigned char KvLanguageContext::GetDefault16CodeSet() {
  return languageDefaults.wideCodeSet;
}
unsigned char KvLanguageContext::GetDefaultLanguage() {
  return languageDefaults.language;
}
unsigned short KvLanguageContext::GetDefaultCmpOp() {
  return languageDefaults.cmpOp;
}

int KvLanguageContext::SetNativeCodeSet(unsigned char codeSet) {
  // Plain bytes resolve through the native code set, so it must be one of bytes, and not they.
  return SetCodeSet(languageDefaults.nativeCodeSet, codeSet,
                    codeSet != kvCodeSetBytes && !KvIsWideCodeSet(codeSet));
}

int KvLanguageContext::SetDefaultCodeSet(unsigned char codeSet) {
  return SetCodeSet(languageDefaults.codeSet, codeSet, true);
}

int KvLanguageContext::SetDefault8CodeSet(unsigned char codeSet) {
  return SetCodeSet(languageDefaults.byteCodeSet, codeSet, !KvIsWideCodeSet(codeSet));
}

int KvLanguageContext::SetDefault16CodeSet(unsigned char codeSet) {
  return SetCodeSet(languageDefaults.wideCodeSet, codeSet, KvIsWideCodeSet(codeSet));
}

int KvLanguageContext::SetDefaultLanguage(unsigned char language) {
  if (IsMarker(language)) return kvBadArgument;
  languageDefaults.language = language;
  return kvOk;
}

int KvLanguageContext::SetDefaultCmpOp(unsigned short cmpOp) {
  languageDefaults.cmpOp = cmpOp;
  return kvOk;
}

const KvCodeSet* KvLanguageContext::QueryCodeSet(unsigned char codeSet) {
  if (codeSet == kvCodeSetBytes) codeSet = languageDefaults.nativeCodeSet;
  if (KvIsWideCodeSet(codeSet)) return &kUnicodeCodeSet;
  return &kCodeSets[kv::ByteCodeSetSlot(codeSet)];
}

const KvLanguage* KvLanguageContext::QueryLanguage(unsigned char language) {
  if (language == 255) language = languageDefaults.language;
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
  languageDefaults = kInitially;
}
