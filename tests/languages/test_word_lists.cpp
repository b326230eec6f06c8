// The library's order of real words against ICU's collator of each language, capitals first: the
// word lists and spelling dictionaries that are installed. Every pair of neighbours in ICU's order
// must be in the same order here.
#ifdef KV_HAVE_ICU

#include <doctest/doctest.h>
#include <unicode/uchar.h>
#include <unicode/ucol.h>

#include <algorithm>
#include <initializer_list>
#include <memory>
#include <string_view>

#include "languages.h"

namespace {

using kvtest::kLists;
using kvtest::List;
using kvtest::Words;

constexpr std::size_t kWords = 20000;

struct CloseCollator {
  void operator()(UCollator* collator) const { ucol_close(collator); }
};

class Collator {
 public:
  Collator(const char* language, UColAttributeValue strength) {
    UErrorCode status = U_ZERO_ERROR;
    collator_.reset(ucol_open(language, &status));
    ucol_setAttribute(collator_.get(), UCOL_CASE_FIRST, UCOL_UPPER_FIRST, &status);
    ucol_setAttribute(collator_.get(), UCOL_NORMALIZATION_MODE, UCOL_ON, &status);
    ucol_setAttribute(collator_.get(), UCOL_STRENGTH, strength, &status);
    REQUIRE(U_SUCCESS(status));
  }
  int operator()(const std::u16string& a, const std::u16string& b) const {
    return ucol_strcoll(collator_.get(), a.data(), static_cast<int>(a.size()), b.data(),
                        static_cast<int>(b.size()));
  }

 private:
  std::unique_ptr<UCollator, CloseCollator> collator_;
};

// What is not compared: other than words of Latin letters, and a before a letter a with a mark in
// Danish and Norwegian, which ICU takes apart and finds the letter aa in.
bool IsExempt(const std::u16string& word, std::string_view code) {
  const bool hasAa = code == "da" || code == "no";
  char16_t last = 0;
  for (const char16_t unit : word) {
    const bool isLatin = unit < 0x250 && unit != 0xB5 && unit != 0x149;
    if (unit != '\'' && unit != '-' && !(isLatin && u_isalpha(unit))) return true;
    const bool isMarkedA = unit >= 0xE0 && unit <= 0xE5;
    if (hasAa && isMarkedA && (last == 'a' || last == 'A')) return true;
    last = unit;
  }
  return word.empty();
}

// What docs/collation.md says to differ below the letters.
bool DiffersBelow(const std::u16string& word, std::string_view code) {
  return word.find(u'\u00DF') != word.npos || (code == "da" && word.find(u"aa") != word.npos) ||
         (code == "da" && word.find(u"Aa") != word.npos);
}

// Some kWords words spread over the list; lines of dictionaries end at their flags.
Words SomeWords(const std::string& path, std::string_view code) {
  const std::vector<std::string> lines = kvtest::ReadLines(path);
  Words words;
  const std::size_t step = lines.size() / kWords + 1;
  for (std::size_t first = 0; first < step && words.size() < kWords; ++first) {
    for (std::size_t i = first; i < lines.size() && words.size() < kWords; i += step) {
      std::u16string word = kvtest::FromUtf8(kvtest::WordOf(lines[i]));
      if (!IsExempt(word, code)) words.push_back(std::move(word));
    }
  }
  return words;
}

std::string Utf8(const std::u16string& text) {
  std::string bytes;
  for (const char16_t unit : text) {
    char encoded[3];
    bytes.append(encoded, static_cast<unsigned>(KvWChar2MultiByte(encoded, unit)));
  }
  return bytes;
}

struct Disagreements {
  unsigned primary = 0;
  unsigned below = 0;  // but for what the page lists
  std::string first;
};

Disagreements Compared(Words& words, unsigned char number, const char* code) {
  const Collator full(code, UCOL_TERTIARY);
  const Collator letters(code, UCOL_PRIMARY);
  std::sort(words.begin(), words.end(),
            [&](const auto& a, const auto& b) { return full(a, b) < 0; });
  Disagreements found;
  for (std::size_t i = 1; i < words.size(); ++i) {
    const std::u16string& a = words[i - 1];
    const std::u16string& b = words[i];
    if (full(a, b) == 0 || kvtest::Compare(a, b, number) == -1) continue;
    const bool primary = letters(a, b) != 0;
    if (!primary && (DiffersBelow(a, code) || DiffersBelow(b, code))) continue;
    ++(primary ? found.primary : found.below);
    if (found.first.empty()) found.first = Utf8(a) + " before " + Utf8(b);
  }
  return found;
}

}  // namespace

TEST_CASE("no word of a word list is out of place") {
  std::string missing;
  for (const List& list : kLists) {
    Words words = SomeWords(kvtest::PathOf(list), list.code);
    if (words.empty()) {
      missing += std::string(" ") + list.path;
      continue;
    }
    CAPTURE(std::string(list.code));
    CHECK(words.size() > kWords / 2);
    const Disagreements found = Compared(words, list.number, list.code);
    CAPTURE(found.first);
    CHECK(found.primary == 0);
    CHECK(found.below == 0);
  }
  if (!missing.empty()) MESSAGE("word lists not found in /usr/share:", missing);
}

#endif
