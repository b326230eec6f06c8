#include "names.h"

#include "failure.h"
#include "kv.h"
#include "numbers.h"

namespace {

struct NamedCodeSet {
  unsigned char number;
  const char* name;
  const char* otherName;
};

constexpr NamedCodeSet kCodeSets[] = {
    {0, "bytes", "native"},        {1, "ISO-8859-1", "latin1"},   {2, "Windows-1252", "cp1252"},
    {3, "ISO-8859-15", "latin9"},  {4, "IBM850", "cp850"},        {5, "MacRoman", "macintosh"},
    {6, "ISO-8859-2", "latin2"},   {7, "Windows-1250", "cp1250"}, {8, "ISO-8859-5", "cyrillic"},
    {9, "Windows-1251", "cp1251"}, {10, "KOI8-R", "koi8r"},       {11, "ISO-8859-7", "greek"},
    {12, "ISO-8859-9", "latin5"},  {253, "Unicode", "ucs2"},
};

// The languages that have a code of their own; 0 begins the search. Unknown numbers answer as
// another language does, the ideographic ones have no code.
const KvLanguage* NextLanguage(unsigned& number) {
  while (++number < kvLanguageNull) {
    const KvLanguage* language =
        KvLanguageContext::QueryLanguage(static_cast<unsigned char>(number));
    if (language->Number() == number && *language->Code() != '\0') return language;
  }
  return nullptr;
}

}  // namespace

unsigned char FindCodeSet(std::string_view text) {
  for (const NamedCodeSet& named : kCodeSets) {
    if (EqualsIgnoringCase(text, named.name) || EqualsIgnoringCase(text, named.otherName)) {
      return named.number;
    }
  }
  unsigned long long number = 0;
  if (ReadInteger(text, 0, kvCodeSetUnicode, number) == NumberFault::kNone) {
    return static_cast<unsigned char>(number);
  }
  FailUsage("unknown code set " + Quoted(text) + "; kvtm help convert lists them");
}

unsigned char FindLanguage(std::string_view text) {
  for (unsigned next = 0; const KvLanguage* language = NextLanguage(next);) {
    if (EqualsIgnoringCase(text, language->Name()) || EqualsIgnoringCase(text, language->Code())) {
      return language->Number();
    }
  }
  unsigned long long number = 0;
  if (ReadInteger(text, 0, 253, number) == NumberFault::kNone) {
    return static_cast<unsigned char>(number);
  }
  FailUsage("unknown language " + Quoted(text) + "; kvtm help sort lists them");
}

std::string CodeSetName(unsigned char codeSet) {
  for (const NamedCodeSet& named : kCodeSets) {
    if (named.number == codeSet) return named.name;
  }
  return "code set " + std::to_string(codeSet);
}

std::string LanguageName(unsigned char language) {
  for (unsigned next = 0; const KvLanguage* named = NextLanguage(next);) {
    if (named->Number() == language) return named->Name();
  }
  return "language " + std::to_string(language);
}

std::string CodeSetNames() {
  std::string names;
  for (const NamedCodeSet& named : kCodeSets) names += std::string(named.name) + " ";
  return names;
}

std::string LanguageNames() {
  std::string names;
  for (unsigned next = 0; const KvLanguage* language = NextLanguage(next);) {
    names += std::string(language->Name()) + " ";
  }
  return names;
}
