// Texts as the tests see them: units of either width in a std::u16string.
#pragma once

#include <cstring>
#include <random>
#include <string>

#include "kvstring.h"

inline std::u16string Units(const KvString& text) {
  std::u16string units;
  const char* at = text.StrGet();
  for (unsigned index = 0, length = text.Len(); index < length; ++index) {
    char16_t unit = static_cast<unsigned char>(at[index]);
    if (KvIsWideCodeSet(text.GetCodeSet())) std::memcpy(&unit, at + 2 * index, 2);
    units.push_back(unit);
  }
  return units;
}

// Numbers below a limit, the same ones in every run.
class Random {
 public:
  explicit Random(unsigned seed) : engine_(seed) {}
  unsigned operator()(unsigned limit) { return static_cast<unsigned>(engine_() % limit); }

 private:
  std::mt19937 engine_;
};

inline std::string Bytes(const KvString& text) {
  return text.StrGet();
}

inline const unsigned short* Wide(const char16_t* text) {
  return reinterpret_cast<const unsigned short*>(text);
}

// A string in a given code set; units are cut to its width.
inline KvString Make(const std::u16string& units, unsigned char codeSet,
                     unsigned char language = 1) {
  KvString text(codeSet, language);
  if (KvIsWideCodeSet(codeSet)) {
    text = Wide(units.c_str());
  } else {
    text = std::string(units.begin(), units.end()).c_str();
  }
  text.SetCodeSetCode(codeSet);
  text.SetLanguage(language);
  return text;
}
