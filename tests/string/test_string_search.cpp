// KvString: comparing, searching, replacing, splitting.
#include <doctest/doctest.h>

#include <vector>

#include "kvcollate.h"
#include "kvorder.h"
#include "string/text.h"
#include "support/vector_sets.h"

namespace {

constexpr unsigned short kByValue = kvCompareExact;

}  // namespace

TEST_CASE("comparison operators follow the default operation, through code sets") {
  const KvString latin("caf\xE9");
  KvString wide(latin);
  wide.MapToCodeSet(253);
  CHECK(latin == wide);
  CHECK(latin.EqualsIgnoreLanguage(wide));
  CHECK((latin != wide) == 0);
  CHECK(latin > KvString("cafe"));
  CHECK(latin <= wide);
  CHECK(KvString("Cafe").Compare("cafe", -1, kvCompareIgnoreCase) == 0);
  CHECK(KvString("Cafe") < KvString("cafe"));
  CHECK(KvString("abcX").Compare("abcY", 3) == 0);
  CHECK(KvString("abcX").Compare("abcY", 4) == -1);

  KvString null;
  null.SetNullValue();
  CHECK((KvString("a") != null) == 1);
  CHECK((null != null) == 0);

  const KvString swedish = Make(u"\u00E5", 253, 10);
  const KvString english = Make(u"\u00E5", 253, 1);
  CHECK(swedish != english);  // a letter of its own behind z, or an a with a ring
  CHECK(swedish.EqualsIgnoreLanguage(english));
  CHECK(!english.EqualsIgnoreLanguage(KvString("a")));
}

TEST_CASE("where no operation is named, the default one counts") {
  const KvString text("xAb");
  for (const bool isSet : {false, true}) {
    KvLanguageContext::SetDefaultCmpOp(isSet ? kvCompareIgnoreCase : 0);
    CHECK((text.Compare("XaB") == 0) == isSet);
    CHECK((KvChar('a').Compare(KvChar('A')) == 0) == isSet);
    const int place = isSet ? 1 : -1;
    CHECK(text.Find("a") == place);
    CHECK(text.Find('a') == place);
    CHECK(text.Find(static_cast<unsigned short>('a')) == place);
    CHECK(text.SubStringPos("a") == place);
    CHECK(text.Find("a", 0, kvCompareExact) == -1);
  }
  KvLanguageContext::SetDefaultCmpOp(0);
}

TEST_CASE("unlike strings give the result of their comparison as it is") {
  const KvString a("a"), c("c");
  KvString plain(kvCodeSetBytes, kvLanguageEnglish);
  KvString high(kvCodeSetBytes, kvLanguageEnglish);
  plain << "a";
  high << "\xE0";
  CHECK((a != c) == -1);
  KvLanguageContext::SetDefaultCmpOp(kvCompareKeyOrder);
  CHECK((a != c) == -2048);
  CHECK((c != a) == 2048);
  KvLanguageContext::SetDefaultCmpOp(kvCompareExact);
  CHECK((a != c) == -1);
  CHECK((high != plain) == 0xE0 - 'a');
  KvLanguageContext::SetDefaultCmpOp(0);
}

TEST_CASE("long texts are searched alike with all vectors, wherever the pattern stands") {
  struct Case {
    const char16_t* pattern;
    const char16_t* present;  // what stands in the text for it
    unsigned short operation;
  };
  constexpr Case kCases[] = {
      {u"Z", u"Z", 0},
      {u"Z", u"z", kvCompareIgnoreCase},
      {u"\u00E9t", u"E\u0054", kvCompareIgnoreCase | kvCompareIgnoreAccents},
      {u"\u00DF", u"\u00DF", 0},  // of two orders
      {u"s", u"s", kvCompareIgnoreVariants},
      {u"s", u"\u00DF", kvCompareIgnoreVariants},
      // The first and the last of a row of the tables.
      {u"\u0101", u"\u0100", kvCompareIgnoreCase},
      {u"\u0101", u"\u0101", kvCompareIgnoreCase},
      {u"\u013F", u"\u0140", kvCompareIgnoreCase},
      {u"\u0178", u"\u00FF", kvCompareIgnoreCase},
      {u"\u0180", u"\u0180", 0},
      {u"9", u"\u00B9", kvCompareIgnoreVariants},
  };
  support::WithEachVectorSet([&] {
    Random random(4);
    for (const unsigned char codeSet : {static_cast<unsigned char>(1), kvCodeSetUnicode}) {
      for (const Case& each : kCases) {
        if (codeSet == 1 && each.pattern[0] > 0xFF) continue;
        for (unsigned round = 0; round < 150; ++round) {
          std::u16string units(1 + random(round % 2 == 0 ? 700 : 140), u'a');
          for (char16_t& unit : units) unit = static_cast<char16_t>(u'b' + random(3));
          // Now and then a unit that no list of Latin letters has.
          if (codeSet != 1 && round % 3 == 0)
            units[random(static_cast<unsigned>(units.size()))] = u'\u4E00';
          const unsigned place = random(static_cast<unsigned>(units.size()));
          const KvString without = Make(units, codeSet);
          KvString with = Make(units.insert(place, each.present), codeSet);
          const KvString pattern = Make(each.pattern, codeSet);
          const auto start = static_cast<unsigned short>(random(40));
          const bool isOne = each.pattern[0] != u'9';  // a superscript one is no nine
          const bool isBehind = start <= place && isOne;
          const int expected = isBehind ? static_cast<int>(place) : -1;
          CHECK(without.Find(pattern, start, each.operation) == -1);
          CHECK(with.Find(pattern, start, each.operation) == expected);
          // A zero unit ends the text before the end of its block.
          const unsigned end = random(static_cast<unsigned>(units.size()));
          with[static_cast<int>(end)] = static_cast<unsigned short>(0);
          CHECK(with.Len() == end);
          const bool isThere = place + pattern.Len() <= end;
          CHECK(with.Find(pattern, start, each.operation) == (isThere ? expected : -1));
          CHECK(with.Find(KvString(""), static_cast<unsigned short>(end + 1)) == -1);
        }
      }
    }
  });
}

TEST_CASE("a search finds its own pattern, whatever was searched for before") {
  struct Case {
    const char16_t* pattern;
    unsigned char codeSet;
    unsigned char language;
    unsigned short operation;
    int place;
  };
  // In Swedish a with a ring is no a; in Slovak ch is a letter of its own.
  constexpr const char16_t* kMarks = u"\u00E5ach\u017Ez\u00DF";
  constexpr Case kCases[] = {
      {u"a", 1, 1, 0, 81},
      {u"A", 1, 1, 0, -1},
      {u"A", 1, 1, kvCompareIgnoreCase, 81},
      {u"a", 1, 1, kvCompareIgnoreAccents, 80},
      {u"a", 1, 10, kvCompareIgnoreAccents, 81},
      {u"a", kvCodeSetUnicode, 1, kvCompareIgnoreAccents, 80},
      {u"a", kvCodeSetUnicode, 10, kvCompareIgnoreAccents, 81},
      {u"c", 7, 1, 0, 82},
      {u"c", 7, 16, 0, -1},
      {u"h", 7, 16, 0, 83},
      {u"ch", 7, 16, 0, 82},
      {u"z", 1, 1, kvCompareIgnoreAccents, 85},
      {u"z", 7, 1, kvCompareIgnoreAccents, 84},
      {u"ch", kvCodeSetUnicode, 13, 0, 82},
      {u"s", 1, 1, kvCompareIgnoreVariants, 86},
      {u"s", kvCodeSetUnicode, 16, kvCompareIgnoreVariants, 86},
  };
  const auto check = [&](const Case& each) {
    const std::u16string units = std::u16string(80, u'x') + kMarks;
    KvString text = Make(units, kvCodeSetUnicode, each.language);
    text.MapToCodeSet(each.codeSet);
    CHECK(text.Find(Make(each.pattern, each.codeSet, each.language), 0, each.operation) ==
          each.place);
  };
  // What contracts in one of the two languages alone is compared order by order.
  for (const unsigned char language : std::initializer_list<unsigned char>{1, 16}) {
    const auto other = static_cast<unsigned char>(17 - language);
    const KvString text = Make(kMarks, kvCodeSetUnicode, language);
    const auto find = [&](const char16_t* pattern) {
      return text.Find(Make(pattern, kvCodeSetUnicode, other), 0, 0);
    };
    CHECK(find(u"ch") == -1);
    CHECK(find(u"ach") == -1);
    CHECK(find(u"c") == (language == 1 ? 2 : -1));
    CHECK(find(u"h") == 3);
    CHECK(find(u"a") == 1);
  }
  support::WithEachVectorSet([&] {
    for (const Case& first : kCases) {
      for (const Case& second : kCases) {
        check(first);
        check(second);
      }
    }
  });
}

TEST_CASE("all matches are replaced as a plain walk replaces them, up to the limit") {
  Random random(5);
  for (unsigned round = 0; round < 600; ++round) {
    const auto text = [&random](unsigned most) {
      std::u16string units(random(most), u'a');
      for (char16_t& unit : units) unit = static_cast<char16_t>(u'a' + random(3));
      return units;
    };
    std::u16string units = text(60);
    const std::u16string pattern = text(3) + u'a';
    const std::u16string replacement = text(5);
    const unsigned start = random(5);
    const unsigned char codeSets[] = {1, kvCodeSetUnicode};
    KvString ours = Make(units, codeSets[random(2)]);
    ours.ReplaceAll(Make(pattern, codeSets[random(2)]), Make(replacement, codeSets[random(2)]),
                    static_cast<unsigned short>(start));
    for (std::size_t at = start; (at = units.find(pattern, at)) != std::u16string::npos;) {
      units.replace(at, pattern.size(), replacement);
      at += replacement.size();
    }
    CHECK((Units(ours) == units));
    CHECK(ours.GetBufferSize() ==
          (ours.StrGet() == KvString().StrGet()
               ? 0
               : (units.size() + 1) * (KvIsWideCodeSet(ours.GetCodeSet()) ? 2 : 1)));
  }
  // What is between two matches does not fit, and what the replacement is in the text's code set.
  KvString wide = Make(u"axa", kvCodeSetUnicode);
  wide.ReplaceAll("x", Make(std::u16string(40000, u'b'), 1));
  CHECK((Units(wide) == u"a" + std::u16string(KvString::kMaximumBytes / 2 - 2, u'b')));
  KvString gap = Make(u"a" + std::u16string(40000, u'x') + u"a", 1);
  gap.ReplaceAll("a", Make(std::u16string(30000, u'b'), 1));
  CHECK((Units(gap) ==
         std::u16string(30000, u'b') + std::u16string(KvString::kMaximumBytes - 30001, u'x')));
  KvString full = Make(std::u16string(33000, u'a'), 1);
  full.ReplaceAll("a", "bc");
  CHECK(full.Len() == KvString::kMaximumBytes - 1);
  CHECK(full.StrGet()[0] == 'b');
}

TEST_CASE("an iterator yields one or two orders a character") {
  KvString text("a\337z");
  KvStringIterator each(text);
  std::vector<unsigned short> orders;
  for (unsigned short order = each.GetNextOrder(0); order != 0; order = each.GetNextOrder(0)) {
    orders.push_back(order);
  }
  REQUIRE(orders.size() == 4);
  for (const unsigned short order : orders) CHECK(order / 0x4000 == 1);  // letters
  CHECK((orders[1] & 3) != 0);
  CHECK((orders[0] & 3) == 0);
  CHECK((orders[0] >> 2 & 31) == 3);
  CHECK((orders[3] >> 2 & 31) == 28);

  // The end of the text comes after the last order, not after the last character's first.
  KvString expandedLast("a\xDF");
  unsigned steps = 0;
  for (KvStringIterator last(expandedLast); !last.IsEOS(); last.GetNextOrder(0)) ++steps;
  CHECK(steps == 3);
  // Back from the end, the last character gives its order once more.
  CHECK(each.GetNextOrder(0) == 0);
  CHECK((--each).GetNextOrder(0) == orders.back());
  // Attached characters give their orders in place of the current one's.
  KvString behind("xz");
  KvStringIterator attached(behind);
  auto* list = new KvWCharList;
  list->Append('a');
  list->Append(0xDF);
  list->Append('b');
  attached.SetOverflow(list);
  std::string letters;
  while (const unsigned short order = attached.GetNextOrder(0)) {
    unsigned char letter;
    KvConvertOrderToChar(order, 1, letter, 0, nullptr);
    letters += static_cast<char>(letter);
  }
  CHECK(letters == "assbz");
  CHECK(attached.GetNextOrder(0) == 0);
  attached.Destroy();
  CHECK(attached.GetNextOrder(0) == 0);
}

TEST_CASE("finding") {
  CHECK(KvString("xxab").Find("ab") == 2);
  CHECK(KvString("aba").Find("a") == 0);  // from the first one on, when nothing else is said
  CHECK(KvString("aba").Find('a') == 0);
  CHECK(KvString("aba").Find(static_cast<unsigned short>('a')) == 0);
  CHECK(KvString("xxab").Find("ab", 3) == -1);
  CHECK(KvString("").Find("ab") == -1);
  CHECK(KvString("").Find("") == -1);
  CHECK(KvString("abc").Find("", 2) == 2);
  CHECK(KvString("abc").Find("", 4) == -1);
  CHECK(KvString("xxAB").Find("ab", 0, kvCompareIgnoreCase) == 2);
  CHECK(KvString("xx\xC4").Find(Make(u"\u00E4", 253), 0, kvCompareIgnoreCase) == 2);
  CHECK(KvString("a,b").Find(',') == 1);
  CHECK(KvString("a,b").Find(static_cast<unsigned short>('b')) == 2);
  CHECK(Make(u"\u4E2D,\u6587", 253).Find(static_cast<unsigned short>(0x6587)) == 2);
  CHECK(Make(u"\u4E2D,\u6587", 253).Find(',') == 1);
  CHECK(KvString("aba").SubStringPos("a") == 0);
  CHECK(KvString("abc").Find('\0', 2) == 2);
  CHECK(KvString("abc").Find(static_cast<unsigned short>(0), 2) == 2);
  CHECK(Make(u"a\u0001b", 1).Find(Make(u"\u0001b", 253)) == 1);
  CHECK(KvString("x\xE4").Find(Make(u"\u0084", 4), 0, kvCompareExact) == 1);
  CHECK(KvString("aXb").Find("x", 0, kByValue) == -1);

  // Positions beyond 32,767 come out negative.
  KvString far;
  far.Fill(40000, '.');
  far << "ab";
  CHECK(far.Find("ab") == static_cast<short>(40000));
}

TEST_CASE("a search in blocks stops at both cases and at every relative beyond ASCII") {
  for (const unsigned char codeSet : std::initializer_list<unsigned char>{1, 253}) {
    const auto find = [&](std::u16string tail, const char* pattern, unsigned short op) {
      const KvString text = Make(std::u16string(101, u'-') + tail, codeSet);
      return text.Find(pattern, 0, op);
    };
    CHECK(find(u"xA", "a", kvCompareIgnoreCase) == 102);
    CHECK(find(u"x\u00C4", "a", kvCompareIgnoreCase | kvCompareIgnoreAccents) == 102);
    CHECK(find(u"A\u00E4a", "a", 0) == 103);
    CHECK(find(u"\u00E6x", "ae", kvCompareIgnoreVariants) == 101);
    CHECK(find(u"  b", "b", kvCompareSkipSpaces) == 101);
    CHECK(find(u"*a", "*", 0) == 101);
    CHECK(find(u"a", "", 0) == 0);
  }
}

TEST_CASE("replacing") {
  KvString text("aba");
  text.ReplaceAll("a", "aa");
  CHECK(Bytes(text) == "aabaa");
  text.ReplaceAll("aa", "");
  CHECK(Bytes(text) == "b");
  text.ReplaceAll("", "x");
  CHECK(Bytes(text) == "b");
  text = "--";
  text.ReplaceAll(static_cast<unsigned short>('-'), static_cast<unsigned short>('+'));
  CHECK(Bytes(text) == "++");
  text.ReplaceAll('+', '-');
  CHECK(Bytes(text) == "--");
  text = "a-b-c";
  text.ReplaceAll('-', '+', 2);
  CHECK(Bytes(text) == "a-b+c");
  text.ReplaceAll('-', '\0');
  CHECK(Bytes(text) == "ab+c");
  text.ReplaceAll(static_cast<unsigned short>('b'), static_cast<unsigned short>(0x20AC));
  CHECK(Bytes(text) == "a?+c");
  text.ReplaceAll(text, text);
  CHECK(Bytes(text) == "a?+c");
  text.ReplaceAll("c", text);
  CHECK(Bytes(text) == "a?+a?+c");
  KvString swedish = Make(u"x\u00E5", 253, 10);
  swedish.ReplaceAll(static_cast<unsigned short>(0xE5), static_cast<unsigned short>('o'));
  CHECK(Units(swedish) == u"xo");
  KvString narrow = Make(u"x\u00E5", 1, 10);
  narrow.ReplaceAll('\xE5', 'o');
  CHECK(Bytes(narrow) == "xo");
}

TEST_CASE("splitting a list") {
  const auto items = [](const char* text, const char* delimiter) {
    KvString list(text), item;
    std::string all;
    unsigned short at = 0;
    while (KvSplitList(list, item, delimiter, at) == kvOk) all += "[" + Bytes(item) + "]";
    CHECK(KvSplitList(list, item, delimiter, at) == kvListEnd);
    return all;
  };
  CHECK(items("a, b ,,c c\t", ",") == "[a][b][][c c]");
  CHECK(items(",a,", ",") == "[a]");
  CHECK(items("one", ",") == "[one]");
  CHECK(items("", ",") == "");
  // Only the first character of a longer delimiter is passed over.
  CHECK(items("a::b", "::") == "[a][:b]");
}

TEST_CASE("wildcards are off until they are set") {
  CHECK(KvString("abc") != KvString("a*"));
  CHECK(KvString::SetAsterisk(KvChar('*')) == 0);
  CHECK(KvString::SetQuestion(KvChar('?')) == 0);
  CHECK(KvString::SetEscape(KvChar('\\')) == 0);
  CHECK(KvString("abc") == KvString("a*"));
  CHECK(KvString("abc") == KvString("a?c"));
  CHECK(KvString("a*") == KvString("a\\*"));
  CHECK(KvString("ab") != KvString("a\\*"));
  CHECK(KvString("xxabyy").Find("a?y") == 2);
  CHECK(KvString("abc").Compare("a*", -1, kByValue) != 0);
  KvString::SetAsterisk(KvChar('\0'));
  KvString::SetQuestion(KvChar('\0'));
  KvString::SetEscape(KvChar('\0'));
  CHECK(KvString("abc") != KvString("a*"));
}
