// Letters of their own and contractions: alphabets as schools teach them, a plain model of how runs
// of letters contract, and agreement of all that compares, hashes, searches and steps with the
// orders that GetNextOrder yields.
#include <doctest/doctest.h>

#include <algorithm>
#include <initializer_list>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "kvchar.h"
#include "kvcollate.h"
#include "kvhash.h"
#include "kvstring.h"
#include "support/host.h"
#include "support/letters.h"
#include "support/types.h"
#include "zin.h"

namespace {

using Text = std::u16string;
using namespace support;

struct Language {
  unsigned char number;
  unsigned char codeSet;     // of bytes, with all its letters
  const char16_t* alphabet;  // capitals and small letters aside
  const char16_t* letters;   // random texts are made of
};

constexpr Language kLanguages[] = {
    {4, 1, u"a b c n \u00F1 o z", u"nN\u00F1\u00D1oa"},
    {8, 1, u"a y z \u00E6 \u00F8 \u00E5", u"aA\u00E5\u00E6z"},
    {9, 1, u"a y z \u00E6 \u00F8 \u00E5", u"aA\u00E5\u00F8z"},
    {10, 1, u"a o y z \u00E5 \u00E4 \u00F6", u"a\u00E5\u00E4\u00F6z"},
    {12, 7,
     u"a \u0105 b c \u0107 d e \u0119 f l \u0142 m n \u0144 o \u00F3 p s \u015B t z \u017A \u017C",
     u"l\u0142z\u017A\u017Cs"},
    {13, 7, u"c \u010D d h ch i r \u0159 s \u0161 t z \u017E", u"cChHdsi\u010D"},
    {14, 7, u"c cs d dz dzs e g gy h l ly m n ny o \u00F6 p s sz t ty u \u00FC v z zs",
     u"cCdDzZsSgGyYlLnNtTa"},
    {15, 12, u"c \u00E7 d g \u011F h \u0131 i j o \u00F6 p s \u015F t u \u00FC v",
     u"iI\u0131\u0130h"},
    {16, 7, u"a \u00E4 b c \u010D d h ch i o \u00F4 p s \u0161 t z \u017E", u"cChHdsi\u010D"},
    {17, 7, u"c \u010D \u0107 d d\u017E \u0111 e l lj m n nj o s \u0161 t z \u017E",
     u"dD\u017E\u017DlLjJnNa"},
    {18, 7, u"a \u0103 \u00E2 b i \u00EE j s t u", u"aAi\u00EE\u0103\u00E2"},
    {19, 1,
     u"a \u00E1 b d \u00F0 e \u00E9 f i \u00ED j o \u00F3 p u \u00FA v y \u00FD z \u00FE \u00E6 "
     u"\u00F6",
     u"d\u00F0o\u00F6\u00F3a"},
};

std::vector<Text> Words(const char16_t* list) {
  std::vector<Text> words(1);
  for (; *list != 0; ++list) {
    if (*list == u' ') {
      words.emplace_back();
    } else {
      words.back() += *list;
    }
  }
  return words;
}

int Compare(const Text& a, const Text& b, unsigned char language, unsigned short cmpOp = 0,
            short maxLength = -1) {
  const Form form1(a, 253);
  const Form form2(b, 253);
  return KvStrCmp(253, language, form1.Get(), 253, language, form2.Get(), cmpOp, maxLength, 1,
                  nullptr);
}

// Mixed up from the letters of a language, with an accent now and then.
class Random {
 public:
  explicit Random(unsigned seed) : engine_(seed) {}
  unsigned Below(unsigned bound) { return static_cast<unsigned>(engine_() % bound); }
  const Language& AnyLanguage() { return kLanguages[Below(std::size(kLanguages))]; }
  Text Of(const Language& language, unsigned most) {
    const Text letters(language.letters);
    Text text;
    for (unsigned left = Below(most + 1); left > 0; --left) {
      text += letters[Below(static_cast<unsigned>(letters.size()))];
    }
    return text;
  }
  Text Changed(Text text, const Language& language) {
    for (unsigned left = Below(3); left > 0; --left) {
      text.insert(Below(static_cast<unsigned>(text.size()) + 1), Of(language, 1));
      if (Below(2) == 0) text.erase(Below(static_cast<unsigned>(text.size()) + 1), 1);
    }
    return text;
  }

 private:
  std::mt19937 engine_;
};

}  // namespace

TEST_CASE("each letter of an alphabet comes after all words of the letter before it") {
  for (const Language& language : kLanguages) {
    CAPTURE(int{language.number});
    const std::vector<Text> letters = Words(language.alphabet);
    for (std::size_t i = 1; i < letters.size(); ++i) {
      const Text last = letters[i - 1] + u"x";  // x begins no letter of two
      const Text first = letters[i];
      CAPTURE(i);
      CHECK(Compare(last, first, language.number) == -1);
      CHECK(Compare(last, first, language.number, kvCompareKeyOrder) < 0);
      const Form narrow(first, language.codeSet);
      CHECK(KvStrCmp(language.codeSet, language.number, Form(last, language.codeSet).Get(),
                     language.codeSet, language.number, narrow.Get(), 0, -1, 1, nullptr) == -1);
    }
  }
}

TEST_CASE("runs of letters contract from the left, the longest first, in their own cases only") {
  struct {
    unsigned char language;
    const char16_t* text;
    const char16_t* parts;  // what it is made of
  } const cases[] = {
      {13, u"chch", u"ch ch"},
      {13, u"cchh", u"c ch h"},
      {13, u"cHChCH", u"cH Ch CH"},
      {8, u"aaa", u"aa a"},
      {8, u"aAAaAA", u"a AA a AA"},
      {17, u"dzd\u017E", u"d z d\u017E"},
      {17, u"D\u017Dd\u017D", u"D\u017D d \u017D"},
      {17, u"Ljnjlnj", u"Lj nj l nj"},
      {14, u"dzsdz", u"dzs dz"},
      {14, u"Dzscs", u"Dzs cs"},
      {14, u"cSdZszS", u"c S d Zs z S"},
      {14, u"ddzsddz", u"ddzs ddz"},
      {14, u"sssz", u"s ssz"},
      {14, u"sszszz", u"ssz sz z"},
      {14, u"ggyggggy", u"ggy g g ggy"},
      {12, u"chsz", u"c h s z"},
  };
  for (const auto& each : cases) {
    Orders expected;
    for (const Text& part : Words(each.parts)) {
      const Orders orders = OrdersOf(Form(part, 253), each.language);
      expected.insert(expected.end(), orders.begin(), orders.end());
      const bool doubled = part.size() > 2 && part[0] == part[1];
      CHECK(orders.size() == (doubled ? 2u : 1u));
    }
    CAPTURE(int{each.language});
    CHECK(OrdersOf(Form(each.text, 253), each.language) == expected);
    CHECK(OrdersOf(Form(each.text, 7), each.language) == expected);
    CHECK(OrdersOf(Form(each.text, 253, true), each.language) == expected);
  }
}

TEST_CASE("the case of a contraction is that of its first and its last letter") {
  const auto sorted = [](const char16_t* list, unsigned char language) {
    const std::vector<Text> words = Words(list);
    for (std::size_t i = 1; i < words.size(); ++i) {
      CAPTURE(i);
      CHECK(Compare(words[i - 1], words[i], language) == -1);
      CHECK(Compare(words[i - 1], words[i], language, kvCompareIgnoreCase) == 0);
    }
  };
  sorted(u"CHX cHX ChX chX", 13);
  sorted(u"DZSX DzsX dzsX", 14);
  sorted(u"SSZX SszX sszX", 14);
  sorted(u"AAX AaX aaX", 9);
  CHECK(Compare(u"cS", u"cs", 14, kvCompareIgnoreCase) == -1);
  // A doubled form is its letter twice, told apart below the letters.
  CHECK(Compare(u"szsz", u"ssz", 14) == -1);
  CHECK(Compare(u"szsza", u"sszb", 14) == -1);
  CHECK(Compare(u"szszb", u"ssza", 14) == 1);
  CHECK(Compare(u"szsz", u"ssz", 14, kvCompareIgnoreAccents) == 0);
  CHECK(Compare(u"\u00E5", u"aa", 8) == -1);
  CHECK(Compare(u"\u00E5b", u"aaa", 8) == 1);
}

TEST_CASE("a text that a length cuts is the letters that are left") {
  CHECK(Compare(u"ch", u"c", 13, 0, 1) == 0);
  CHECK(Compare(u"ch", u"cx", 13, kvCompareKeyOrder, 1) == 0);
  CHECK(Compare(u"ch", u"hx", 13, 0, 2) == 1);
  CHECK(Compare(u"ssz", u"szsz", 14, 0, 2) == -1);  // "ss" and "sz"
  const Form word(u"chch", 253);
  const unsigned whole = HashString(253, 13, Form(u"ch", 253).Get(), -1, 1);
  CHECK(HashString(253, 13, word.Get(), 1, 1) == HashString(253, 13, Form(u"c", 253).Get(), -1, 1));
  CHECK(HashString(253, 13, word.Get(), 2, 1) == whole * 9);  // two units, one order, two steps
}

TEST_CASE("a letter in front of where a text begins does not contract with it") {
  Random random(18);
  for (int round = 0; round < 5000; ++round) {
    const Language& language = random.AnyLanguage();
    const Text letters(language.letters);
    const auto behindLetter = [&](const Text& text) {
      return Form(letters[random.Below(static_cast<unsigned>(letters.size()))] + text, 253);
    };
    const Text a = random.Of(language, 4), b = random.Of(language, 4);
    const Form formA = behindLetter(a), formB = behindLetter(b);
    CHECK(KvStrCmp(253, language.number, formA.Get() + 2, 253, language.number, formB.Get() + 2, 0,
                   -1, 1, nullptr) == Compare(a, b, language.number));
  }
}

TEST_CASE("what GetNextOrder yields is what comparing and hashing go by, in every form") {
  Random random(16);
  for (int round = 0; round < 20000; ++round) {
    const Language& language = random.AnyLanguage();
    const Text a = random.Of(language, 9);
    const Text b = random.Changed(a, language);
    const Orders ordersA = OrdersOf(Form(a, 253), language.number);
    const Orders ordersB = OrdersOf(Form(b, 253), language.number);
    const int expected = CompareOrders(ordersA, ordersB);
    const unsigned hash = HashOfOrders(ordersA);
    CAPTURE(int{language.number});
    for (const unsigned char codeSet : {language.codeSet, kvCodeSetUnicode}) {
      for (const bool reversed : {false, true}) {
        const Form formA(a, codeSet, reversed);
        const Form formB(b, codeSet, reversed);
        CHECK(KvStrCmp(codeSet, language.number, formA.Get(), codeSet, language.number, formB.Get(),
                       0, -1, formA.ByteOrder(), nullptr) == expected);
        CHECK(KvStrCmp(codeSet, language.number, formA.Get(), 253, language.number,
                       Form(b, 253, reversed).Get(), 0, -1, formA.ByteOrder(),
                       nullptr) == expected);
        CHECK(HashString(codeSet, language.number, formA.Get(), -1, formA.ByteOrder()) == hash);
      }
    }
    if (ordersA == ordersB) CHECK(a == b);
  }
}

TEST_CASE(
    "the first letters of contractions stand before and behind every character by their orders") {
  const auto firstPrimary = [](const Text& text, unsigned char language) {
    const unsigned order = OrdersOf(Form(text, 253), language).front().order;
    if (order >= 0x8000) return order;
    if (order >= 0x4000) return order & ((order & 3) == 3 ? 0x407Cu : 0x407Fu);
    return order >= 0x3F00 ? order & 0xFFFE : order;
  };
  for (const Language& language : kLanguages) {
    std::vector<Text> runs = Words(language.alphabet);
    if (language.number == 8 || language.number == 9) runs.push_back(u"aa");
    std::erase_if(runs, [](const Text& run) { return run.size() == 1; });
    CAPTURE(int{language.number});
    for (const Text& run : runs) {
      for (const Text& begun : {run, run.substr(0, 1), run.substr(0, 1) + u"a", run[0] + run}) {
        const unsigned primary = firstPrimary(begun, language.number);
        for (char16_t unit = 1; unit < 0x300; ++unit) {
          const unsigned other = firstPrimary(Text(1, unit), language.number);
          if (other == primary) continue;
          const int expected = primary < other ? -1 : 1;
          CAPTURE(unsigned{unit});
          CHECK(Compare(begun, Text(1, unit), language.number) == expected);
          // Behind a letter that contracts with nothing, too.
          CHECK(Compare(u"o" + begun, u"o" + Text(1, unit), language.number) == expected);
        }
      }
    }
  }
}

TEST_CASE("key order goes by the same orders") {
  Random random(17);
  const auto keys = [](const Text& text, unsigned char language) {
    std::u32string result;
    for (const Order& each : OrdersOf(Form(text, 253), language)) {
      result.push_back((each.order & 0x407F) << 8 | (each.order >> 7 & 0x7F));
    }
    return result;
  };
  for (int round = 0; round < 5000; ++round) {
    const Language& language = random.AnyLanguage();
    const Text a = random.Of(language, 8);
    const Text b = random.Changed(a, language);
    const auto keysA = keys(a, language.number);
    const auto keysB = keys(b, language.number);
    const int expected = keysA < keysB ? -1 : keysA > keysB ? 1 : 0;
    CHECK(Sign(Compare(a, b, language.number, kvCompareKeyOrder)) == expected);
  }
}

TEST_CASE("long runs of parts of contractions compare in linear time") {
  Text run;
  for (int i = 0; i < 30000; ++i) run += u"sz";
  CHECK(Compare(run + u"a", run + u"b", 14) == -1);
  CHECK(Compare(run + u"s", run + u"c", 14) == 1);
  CHECK(Compare(u"s" + run, u"s" + run + u"z", 14) == -1);
}

// ---------------------------------------------------------------------------------------------

TEST_CASE("searching tries every unit, and ends where an order ends") {
  const auto find = [](const char16_t* text, const char16_t* pattern, unsigned short cmpOp) {
    return StringOf(text, 7, 13).Find(StringOf(pattern, 7, 13), 0, cmpOp);
  };
  for (const unsigned short cmpOp : std::initializer_list<unsigned short>{0, 0x10, 0x100}) {
    CAPTURE(cmpOp);
    CHECK(find(u"ach", u"h", cmpOp) == 2);
    CHECK(find(u"ach", u"c", cmpOp) == -1);
    CHECK(find(u"achc", u"c", cmpOp) == 3);
    CHECK(find(u"ach", u"ch", cmpOp) == 1);
    CHECK(find(u"acch", u"cc", cmpOp) == -1);
  }
  // Two orders each, of which the first are the same.
  CHECK(StringOf(u"\u0437\u0443\u0431", 253, 1)
            .Find(StringOf(u"\u0436", 253, 1), 0, kvCompareKeyOrder) == -1);
  CHECK(StringOf(u"\u00DFb", 1, 1).Find(StringOf(u"\u00DFa", 1, 1), 0, kvCompareKeyOrder) == -1);
  // The end of an order is not the end of a character.
  CHECK(StringOf(u"a\u00DF", 1, 1).Find(StringOf(u"s", 1, 1), 0, kvCompareIgnoreVariants) == 1);
  CHECK(StringOf(u"a\u00DF", 1, 1).Find(StringOf(u"s", 1, 1), 0, 0x210) == -1);
  CHECK(KvChar(static_cast<unsigned short>(0x436), 253, 1)
            .Compare(KvChar(static_cast<unsigned short>(0x437), 253, 1), kvCompareKeyOrder) != 0);
  // Small i is the same letter in every language.
  CHECK(StringOf(u"a title", 12, 15).Find(StringOf(u"title", 1, 1), 0, 0) == 2);
}

TEST_CASE("searching agrees with the plain walk in texts short and long") {
  Random random(18);
  int hits = 0;
  const int rounds = support::Rounds(6000);
  for (int round = 0; round < rounds; ++round) {
    const Language& language = random.AnyLanguage();
    Text text = random.Of(language, 12);
    if (round % 8 == 0) text = Text(700, u'x') + text;  // whole blocks are passed over
    const Text pattern = random.Of(language, 3);
    constexpr unsigned short kOperations[] = {0, 0x20, 0x40, 0x60, 0x10, 0x30, 0x100, 0x50, 0x210};
    const unsigned short cmpOp = kOperations[random.Below(std::size(kOperations))];
    if (text.empty()) continue;
    const int expected = FindPlainly(text, pattern, language.number, cmpOp);
    hits += expected > 0;
    CAPTURE(int{language.number});
    CAPTURE(cmpOp);
    const KvString wide = StringOf(text, 253, language.number);
    const KvString narrow = StringOf(text, language.codeSet, language.number);
    const KvString widePattern = StringOf(pattern, 253, language.number);
    CHECK(wide.Find(widePattern, 0, cmpOp) == expected);
    CHECK(narrow.Find(widePattern, 0, cmpOp) == expected);
    CHECK(narrow.Find(StringOf(pattern, language.codeSet, language.number), 0, cmpOp) == expected);
  }
  CHECK(hits > rounds / 12);
}

// Both are capitals of the small i that all languages share, and what tells a capital from its
// small letter is the case alone: an accent or an extension of its own would part a Turkish
// "istanbul" from "İstanbul" where case does not count.
TEST_CASE("no two letters of any two languages compare equal but I and the Turkish dotted one") {
  std::map<std::u32string, Text> owners;
  std::vector<Text> alike;
  for (unsigned char language = 1; language < 20; ++language) {
    std::vector<Text> texts = Words(
        u"ch cH Ch CH cs Cs dz dzs D\u017E d\u017E gy lj Lj ly nj ny sz ty zs ssz ccs aa Aa AA");
    for (char16_t unit = 0x21; unit < 0x250; ++unit) texts.emplace_back(1, unit);
    for (const Text& text : texts) {
      std::u32string orders;
      for (const Order& each : OrdersOf(Form(text, 253), language))
        orders += static_cast<char32_t>(each.order);
      const Text& owner = owners.emplace(orders, text).first->second;
      if (owner != text) alike.push_back(owner + text);
    }
  }
  CHECK(alike == std::vector<Text>{u"I\u0130"});
}
