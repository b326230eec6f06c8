// Hard words of each language, in the order that ICU's collator gives them with capitals first.
// Where ICU is there, test_word_lists.cpp checks the lists themselves. Left out are words of which
// docs/collation.md says that they differ below the letters.
#include <doctest/doctest.h>

#include "languages.h"
#include "zin.h"

namespace {

using kvtest::Words;

// Both words in a code set of bytes; false when it lacks a letter of theirs.
bool InBytes(unsigned char codeSet, const std::u16string& word, KvString& narrow) {
  narrow = Make(word, kvCodeSetUnicode);
  narrow.MapToCodeSet(codeSet);
  KvString back(narrow);
  back.MapToCodeSet(kvCodeSetUnicode);
  return Units(back) == word;
}

}  // namespace

TEST_CASE("hard words stand where a reader of each language looks for them") {
  for (unsigned char number = 1; number < 20; ++number) {
    const KvLanguage& language = *KvLanguageContext::QueryLanguage(number);
    CAPTURE(std::string(language.Name()));
    const Words words = kvtest::HardWords(language.Code());
    CHECK(words.size() >= 95);
    for (std::size_t i = 1; i < words.size(); ++i) {
      CAPTURE(i);  // the line of the second one, from 0
      CHECK(kvtest::Compare(words[i - 1], words[i], number) == -1);
      CHECK(kvtest::Compare(words[i], words[i - 1], number) == 1);
    }
  }
}

TEST_CASE("in code sets of bytes the same words stand the same way") {
  unsigned compared = 0;
  for (unsigned char number = 1; number < 20; ++number) {
    const Words words = kvtest::HardWords(KvLanguageContext::QueryLanguage(number)->Code());
    for (const unsigned char codeSet : std::initializer_list<unsigned char>{1, 4, 5, 6, 7, 12}) {
      KvString last, word;
      bool hasLast = false;
      for (const std::u16string& each : words) {
        if (!InBytes(codeSet, each, word)) continue;
        word.SetLanguage(number);
        if (hasLast) CHECK(last.Compare(word, -1, 0) == -1);
        last = word;
        hasLast = true;
        ++compared;
      }
    }
  }
  CHECK(compared > 4000);
}
