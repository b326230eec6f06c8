// How much of an index over the words of a list a predicate selects, estimated and counted.
#include <doctest/doctest.h>

#include <algorithm>

#include "kvtypemgr.h"
#include "languages.h"

namespace {

using kvtest::List;
using kvtest::Words;

// A column of words of the list in their order, from every so manieth line.
Words Column(const List& list, std::size_t step) {
  const std::vector<std::string> lines = kvtest::ReadLines(kvtest::PathOf(list));
  Words words;
  for (std::size_t i = step / 2; i < lines.size(); i += step) {
    words.push_back(kvtest::FromUtf8(kvtest::WordOf(lines[i])));
  }
  std::sort(words.begin(), words.end(),
            [&](const auto& a, const auto& b) { return kvtest::Compare(a, b, list.number) < 0; });
  return words;
}

class Index {
 public:
  Index(const Words& words, unsigned char language)
      : language_(language), lower_(Key(words.front())), upper_(Key(words.back())) {}

  double Estimate(const std::u16string& word) {
    KvIdxBounds range{reinterpret_cast<unsigned char*>(&lower_),
                      reinterpret_cast<unsigned char*>(&upper_), 0, 0};
    KvString constant = Key(word);
    unsigned short less = kvPredicateLess;
    return KvTypeMgr().EvalAndBound(KvSTRING_T, &range, less, &constant, 8, 1, nullptr, nullptr);
  }

 private:
  KvString Key(const std::u16string& word) const {
    KvString key = Make(word, kvCodeSetUnicode);
    key.SetLanguage(language_);
    return key;
  }

  unsigned char language_;
  KvString lower_;
  KvString upper_;
};

}  // namespace

TEST_CASE("estimates over words are within a tenth of the truth") {
  for (const List& list : kvtest::kLists) {
    // Another part of the list each time, one of some hundred words too.
    for (const std::size_t step : {17u, 101u}) {
      const Words words = Column(list, step);
      if (words.empty()) continue;
      CAPTURE(std::string(list.code));
      CAPTURE(step);
      Index index(words, list.number);
      for (unsigned tenth = 1; tenth < 10; ++tenth) {
        CAPTURE(tenth);
        const double estimate = index.Estimate(words[words.size() * tenth / 10]);
        CHECK(estimate == doctest::Approx(tenth / 10.0).epsilon(0.1));
      }
    }
  }
}

TEST_CASE("estimates over the hard words of a language grow with the word") {
  for (unsigned char number = 1; number < 20; ++number) {
    const Words words = kvtest::HardWords(KvLanguageContext::QueryLanguage(number)->Code());
    Index index({u"a", words.back()}, number);
    double last = 0;
    for (const std::u16string& word : words) {
      const double estimate = index.Estimate(word);
      CHECK(estimate >= last);
      last = estimate;
    }
    CHECK(last == 1);
  }
}

TEST_CASE("codes of random letters are estimated as spread evenly, Finnish words as words") {
  Index codes({u"aabqx", u"zzrcd"}, kvLanguageEnglish);
  CHECK(codes.Estimate(u"naaaa") == doctest::Approx(0.5).epsilon(0.01));
  Index words({u"aakkonen", u"\u00E4\u00E4nite"}, 11);
  const double k = words.Estimate(u"k");
  CHECK(words.Estimate(u"l") - k > 0.1);  // a fifth of them; a twenty-ninth of the alphabet
}
