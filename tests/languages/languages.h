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

// None where there is no such file.
inline std::vector<std::string> ReadLines(const std::string& path) {
  std::vector<std::string> lines;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) lines.push_back(std::move(line));
  return lines;
}

inline Words ReadWords(const std::string& path) {
  Words words;
  for (const std::string& line : ReadLines(path)) words.push_back(FromUtf8(line));
  return words;
}

struct List {
  unsigned char number;
  const char* code;
  const char* path;
};

// Finnish has no list: its hard words must do.
constexpr List kLists[] = {
    {1, "en", "dict/american-english"},
    {2, "de", "dict/ngerman"},
    {3, "fr", "dict/french"},
    {4, "es", "dict/spanish"},
    {5, "it", "dict/italian"},
    {6, "pt", "dict/portuguese"},
    {7, "nl", "dict/dutch"},
    {8, "da", "dict/danish"},
    {9, "no", "dict/bokmaal"},
    {10, "sv", "dict/swedish"},
    {12, "pl", "dict/polish"},
    {13, "cs", "hunspell/cs_CZ.dic"},
    {14, "hu", "hunspell/hu_HU.dic"},
    {15, "tr", "hunspell/tr_TR.dic"},
    {16, "sk", "hunspell/sk_SK.dic"},
    {17, "hr", "hunspell/hr_HR.dic"},
    {18, "ro", "hunspell/ro_RO.dic"},
    {19, "is", "hunspell/is_IS.dic"},
};

inline std::string PathOf(const List& list) {
  return std::string("/usr/share/") + list.path;
}

// Lines of dictionaries have flags behind the word.
inline std::string WordOf(const std::string& line) {
  return line.substr(0, line.find_first_of("/\t "));
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
