// Word lists and the library's order of 16-bit words.
#pragma once

#include <fstream>
#include <string>
#include <vector>

#include "kvcollate.h"
#include "kvmbs.h"
#include "kvstring.h"
#include "string/text.h"

namespace kvtest {

using Words = std::vector<std::u16string>;

// Some lists are in ISO 8859-1.
inline std::u16string FromUtf8(const std::string& text) {
  KvString string(kvCodeSetUnicode, kvLanguageEnglish);
  if (KvMBS2KvString(text.c_str(), string, static_cast<int>(text.size())) >= 0) {
    return Units(string);
  }
  KvString bytes(text.c_str());
  bytes.MapToCodeSet(kvCodeSetUnicode);
  return Units(bytes);
}

// A list without such a file is empty.
inline Words ReadWords(const std::string& path) {
  std::ifstream file(path);
  Words words;
  for (std::string line; std::getline(file, line);) words.push_back(FromUtf8(line));
  return words;
}

inline Words HardWords(const char* code) {
  return ReadWords(std::string(KV_SOURCE_DIR "/tests/languages/words/") + code + ".txt");
}

inline int Compare(const std::u16string& a, const std::u16string& b, unsigned char language) {
  return KvStrCmp(kvCodeSetUnicode, language, reinterpret_cast<const char*>(a.c_str()),
                  kvCodeSetUnicode, language, reinterpret_cast<const char*>(b.c_str()), 0, -1, 1,
                  nullptr);
}

}  // namespace kvtest
