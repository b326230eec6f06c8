// KvStrCmp: the settled rules, levels, options, languages; and agreement of every way of reading
// the same text.
#include <doctest/doctest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "kvcollate.h"
#include "kvhash.h"
#include "kvstring.h"
#include "random_text.h"

namespace {

enum Language : unsigned char {
  kEnglish = 1,
  kGerman = 2,
  kDanish = 8,
  kSwedish = 10,
  kTurkish = 15
};

int Compare(const char* text1, const char* text2, unsigned short cmpOp = 0,
            unsigned char language = kEnglish, int maxLength = -1) {
  return KvStrCmp(1, language, text1, 1, language, text2, cmpOp, static_cast<short>(maxLength), 1,
                  nullptr);
}

std::vector<std::string> Sorted(std::vector<std::string> words, unsigned char language) {
  std::sort(words.begin(), words.end(), [language](const std::string& a, const std::string& b) {
    return Compare(a.c_str(), b.c_str(), 0, language) < 0;
  });
  return words;
}

}  // namespace

TEST_CASE("levels decide in turn, each over the whole text") {
  CHECK(Compare("abc", "Zebra") == -1);
  CHECK(Compare("ab", "abc") == -1);
  CHECK(Compare("B\xE4r", "Bar") == 1);
  CHECK(Compare("B\xE4r", "Barren") == -1);  // a letter more beats an accent
  CHECK(Compare("\351a",
                "eA") == 1);           // an accent beats a case before it
  CHECK(Compare("Arm", "arm") == -1);  // capitals first
  CHECK(Compare("arM", "Arm") == 1);   // the first case difference counts
  CHECK(Compare("Masse", "Ma\337e") == -1);
  CHECK(Compare("MASSE",
                "ma\337e") == -1);  // case beats the variant
  CHECK(Compare("2", "\xB2") == -1);
  CHECK(Compare("x y", "x-y") == -1);  // space, symbol, digit, letter
  CHECK(Compare("x-y", "x1y") == -1);
  CHECK(Compare("x1y", "xay") == -1);
  CHECK(Compare("", "") == 0);
  CHECK(Compare(nullptr, "") == 0);
  CHECK(Compare(nullptr, "a") == -1);
}

TEST_CASE("options take levels away") {
  CHECK(Compare("Arm", "arm", kvCompareIgnoreCase) == 0);
  CHECK(Compare("B\xE4r", "Bar", kvCompareIgnoreAccents) == 0);
  CHECK(Compare("B\xC4R", "bar", kvCompareIgnoreAccents | kvCompareIgnoreCase) == 0);
  CHECK(Compare("B\xC4R", "bar", kvCompareIgnoreAccents) == -1);
  CHECK(Compare("Ma\337e", "Masse", kvCompareIgnoreVariants) == 0);
  CHECK(Compare("\xB2", "2", kvCompareIgnoreVariants) == 0);
  CHECK(Compare(" a\tb ", "ab", kvCompareSkipSpaces) == 0);
  CHECK(Compare(" a\tc ", "ab", kvCompareSkipSpaces) == 1);
  CHECK(Compare("   ", "", kvCompareSkipSpaces) == 0);
}

TEST_CASE("ignoring case works for letters outside Latin too") {
  const unsigned short upper[] = {0x391, 0x416, 0x3A3, 0};
  const unsigned short lower[] = {0x3B1, 0x436, 0x3C3, 0};
  const auto compare = [&](unsigned short cmpOp) {
    return KvStrCmp(253, 1, reinterpret_cast<const char*>(upper), 253, 1,
                    reinterpret_cast<const char*>(lower), cmpOp, -1, 1, nullptr);
  };
  CHECK(compare(0) == -1);
  CHECK(compare(kvCompareIgnoreCase) == 0);
}

TEST_CASE("languages sort their own letters where their readers look for them") {
  using Words = std::vector<std::string>;
  const Words german{"Apfel", "\xC4pfel", "Arm", "arm", "Ma\xDF", "Masse", "\xD6l", "Olm", "Zaun"};
  CHECK(Sorted(german, kGerman) ==
        Words{"Apfel", "\xC4pfel", "Arm", "arm", "Ma\xDF", "Masse", "\xD6l", "Olm", "Zaun"});
  const Words nordic{"zon", "\xE5r", "\xE4ra", "\xF6ra", "arm", "ort"};
  CHECK(Sorted(nordic, kSwedish) == Words{"arm", "ort", "zon", "\xE5r", "\xE4ra", "\xF6ra"});
  const Words danish{"\xE5r", "\xE6re", "\xF8re", "zon", "arm"};
  CHECK(Sorted(danish, kDanish) == Words{"arm", "zon", "\xE6re", "\xF8re", "\xE5r"});
  // Dotless before dotted, and each with its own capital (ISO 8859-9: FD dotless, DD dotted).
  const auto turkish = [](const char* a, const char* b, unsigned short op) {
    return KvStrCmp(12, kTurkish, a, 12, kTurkish, b, op, -1, 1, nullptr);
  };
  CHECK(turkish("\xFD", "i", 0) == -1);
  CHECK(turkish("I", "\xFD", kvCompareIgnoreCase) == 0);
  CHECK(turkish("\xDD", "i", kvCompareIgnoreCase) == 0);
  CHECK(turkish("I", "i", kvCompareIgnoreCase) == -1);
}

TEST_CASE("null texts") {
  const auto compare = [](unsigned char language1, unsigned char language2, unsigned short cmpOp) {
    return KvStrCmp(1, language1, "b", 1, language2, "a", cmpOp, -1, 1, nullptr);
  };
  for (unsigned cmpOp : {0x0u, 0x10u, 0x100u}) {
    CHECK(compare(254, 254, static_cast<unsigned short>(cmpOp)) == 0);
    CHECK(compare(1, 254, static_cast<unsigned short>(cmpOp)) == 1);
  }
  CHECK(compare(254, 1, 0x10) == -1);
  CHECK(compare(254, 1, 0x100) == -1);
  CHECK(compare(254, 1, 0) == 1);  // compared as the text that it has, as indexes have it
  CHECK(KvStrCmp(254, 0, nullptr, 1, 1, "", kvCompareExact, -1, 1, nullptr) == -1);
}

TEST_CASE("lengths limit what counts") {
  CHECK(Compare("abc", "abd", 0, kEnglish, 2) == 0);
  CHECK(Compare("abc", "abd", 0, kEnglish, 3) == -1);
  CHECK(Compare("abc", "xyz", 0, kEnglish, 0) == 0);
  const std::string same(65534, 'a');
  for (const int most : {-2, -1}) {
    CHECK(Compare((same + 'b').c_str(), (same + 'c').c_str(), 0, kEnglish, most) ==
          (most == -1 ? -1 : 0));
  }
  CHECK(Compare("\337a", "\337b", 0, kEnglish, 1) == 0);            // characters, not orders
  constexpr unsigned short kOperations[] = {0, kvCompareKeyOrder};  // characters, not orders
  for (const unsigned short cmpOp : kOperations) {
    CAPTURE(cmpOp);
    CHECK(Compare("\xDFz", "\xDFy", cmpOp, kEnglish, 1) == 0);
    CHECK(Compare("\xDFz", "\xDFy", cmpOp, kEnglish, 2) > 0);
  }
  int status = 7;
  KvStrCmp(1, 1, "a", 1, 1, "b", 0, -1, 1, &status);
  CHECK(status == 0);
}

TEST_CASE("plain bytes compare by value when asked to, else in the native code set") {
  const auto compare = [](const char* a, const char* b, unsigned short op, int maxLength) {
    return KvStrCmp(0, 1, a, 0, 1, b, op, static_cast<short>(maxLength), 1, nullptr);
  };
  CHECK(compare("a\xE4", "a\x7F", kvCompareExact, -1) == 0xE4 - 0x7F);
  CHECK(compare("a", "abc", kvCompareExact, -1) == -'b');
  CHECK(compare("axc", "ayc", kvCompareKeyOrder, 1) == 0);
  CHECK(compare(nullptr, "a", kvCompareExact, -1) == -'a');
  CHECK(compare("\xE4", "b", 0, -1) == -1);
  CHECK(KvStrCmp(0, 1, "\xE4", 1, 1, "\xE4", kvCompareExact, -1, 1, nullptr) == 0);
}

TEST_CASE("key order goes character by character and keeps everything") {
  CHECK(Compare("B\xE4r", "Bas", kvCompareKeyOrder) > 0);  // an accent decides where it stands
  CHECK(Compare("aB", "Ac", kvCompareKeyOrder) > 0);       // case decides at the first letter
  CHECK(Compare("abc", "abc", kvCompareKeyOrder) == 0);
  CHECK(Compare("ab", "abc", kvCompareKeyOrder) < 0);
  // Letters of the same kind stay together: letter code above case and accent.
  CHECK(Compare("a", "\xC9", kvCompareKeyOrder) < 0);
  CHECK(KvStrCmp(1, 1, "z", 1, 20, "a", kvCompareKeyOrder, -1, 1, nullptr) < 0);  // sort class
}

TEST_CASE(
    "texts that are equal but for the sort class of their language differ, empty ones do not") {
  const auto compare = [](const char* a, const char* b, unsigned short cmpOp) {
    return KvStrCmp(1, 1, a, 1, 20, b, cmpOp, -1, 1, nullptr);
  };
  CHECK((compare("a", "a", 0) == -1 && compare(" ", " ", 0) == -1));
  CHECK(compare("", "", 0) == 0);
  CHECK(compare("  ", " ", kvCompareSkipSpaces) == 0);
  CHECK(compare("", " ", kvCompareSkipSpaces) == 0);
}

TEST_CASE("texts of collation orders compare as the texts they came from") {
  const unsigned short orders[] = {0x4000 | 3 << 2, 0x5000 | 4 << 2, 0};  // "Ab"
  const auto* text = reinterpret_cast<const char*>(orders);
  CHECK(KvStrCmp(254, 1, text, 1, 1, "Ab", 0, -1, 1, nullptr) == 0);
  CHECK(KvStrCmp(254, 1, text, 1, 1, "Ac", 0, -1, 1, nullptr) == -1);
  for (const unsigned short last : std::initializer_list<unsigned short>{
           79, 80}) {  // the last of the spaces, and the first symbol
    const unsigned short one[] = {last, 0};
    CHECK(KvStrCmp(254, 1, reinterpret_cast<const char*>(one), 1, 1, "", kvCompareSkipSpaces, -1, 1,
                   nullptr) == last - 79);
  }
}

TEST_CASE("comparison is an order, the same in every code set, byte order and length form") {
  kvtest::RandomText random(20240);
  for (int round = 0; round < 20000; ++round) {
    const auto language = static_cast<unsigned char>(random.Pick({1, 2, 8, 10, 15, 20}));
    const auto cmpOp = static_cast<unsigned short>((random.Below(64) << 4 & 0xFEEFu));
    const std::string a = random.Latin(8);
    const std::string b = random.Mutated(a);
    const int expected = Compare(a.c_str(), b.c_str(), cmpOp, language);
    CHECK(expected == -Compare(b.c_str(), a.c_str(), cmpOp, language));
    for (int byteOrder = 1; byteOrder <= 2; ++byteOrder) {
      const auto wideA = kvtest::Widened(a, byteOrder == 2);
      const auto wideB = kvtest::Widened(b, byteOrder == 2);
      const auto compare = [&](unsigned char set1, const void* text1, unsigned char set2,
                               const void* text2) {
        return KvStrCmp(set1, language, static_cast<const char*>(text1), set2, language,
                        static_cast<const char*>(text2), cmpOp, -1,
                        static_cast<unsigned char>(byteOrder), nullptr);
      };
      CHECK(compare(1, a.c_str(), 253, wideB.data()) == expected);
      CHECK(compare(253, wideA.data(), 253, wideB.data()) == expected);
      CHECK(compare(253, wideB.data(), 1, a.c_str()) == -expected);
    }
    const std::string c = random.Mutated(b);
    const int bToC = Compare(b.c_str(), c.c_str(), cmpOp, language);
    if (expected <= 0 && bToC <= 0) CHECK(Compare(a.c_str(), c.c_str(), cmpOp, language) <= 0);
  }
}

TEST_CASE("the one pass agrees with comparing level after level") {
  // The plain way: all orders of both texts, then each level on its own. (Orders are texts here: on
  // big-endian hosts g++ 12 compares vectors of unsigned numbers wrongly.)
  const auto orders = [](const std::string& text, unsigned char language) {
    std::u32string result;
    for (char unit : text) {
      const KvCollationOrders pair =
          KvCodeSet(1).Orders(static_cast<unsigned char>(unit), language);
      result.push_back(pair.first);
      if (pair.second != 0) result.push_back(pair.second);
    }
    return result;
  };
  const auto level = [](std::u32string values, int which) {
    for (char32_t& order : values) {
      const bool letter = order >= 0x4000 && order < 0x8000;
      const bool digit = order >= 0x3F00 && order < 0x4000;
      switch (which) {
        case 0:
          if (letter) order &= (order & 3) == 3 ? 0x407Cu : 0x407Fu;
          if (digit) order &= 0xFFFE;
          break;
        case 1:
          order = letter ? order & 0x0F80 : 0;
          break;
        case 2:
          order = letter ? order & 0x3000 : 0;
          break;
        default:
          order = letter ? (order & 3) / 3 : digit ? order & 1 : 0;
          break;
      }
    }
    return values;
  };
  kvtest::RandomText random(4711);
  for (int round = 0; round < 20000; ++round) {
    const auto language = static_cast<unsigned char>(random.Pick({1, 2, 4, 11, 12}));
    const std::string a = random.Latin(10);
    const std::string b = random.Mutated(a);
    const auto ordersA = orders(a, language);
    const auto ordersB = orders(b, language);
    int expected = 0;
    for (int which = 0; which < 4 && expected == 0; ++which) {
      const auto levelA = level(ordersA, which);
      const auto levelB = level(ordersB, which);
      expected = levelA < levelB ? -1 : levelA > levelB ? 1 : 0;
    }
    CHECK(Compare(a.c_str(), b.c_str(), 0, language) == expected);
  }
}

TEST_CASE("equal texts hash equal, in whatever code set and language") {
  kvtest::RandomText random(99);
  int equal = 0;
  for (int round = 0; round < 40000; ++round) {
    const std::string a = random.Latin(4) + 'x';
    const std::string b = random.Below(2) == 0 ? a : random.Mutated(a);
    const auto wide = kvtest::Widened(b, true);
    const auto* wideText = reinterpret_cast<const char*>(wide.data());
    const auto language1 = static_cast<unsigned char>(random.Pick({1, 2, 10, 20}));
    const auto language2 = static_cast<unsigned char>(random.Pick({1, 3, 8, 20}));
    if (KvStrCmp(1, language1, a.c_str(), 253, language2, wideText, 0, -1, 2, nullptr) != 0) {
      continue;
    }
    ++equal;
    CHECK(HashString(1, language1, a.c_str(), -1, 1) ==
          HashString(253, language2, wideText, -1, 2));
  }
  CHECK(equal > 5000);
}

TEST_CASE("hashes by hand") {
  const auto key = [](unsigned order) {  // of a letter order, sort class 1
    return 1u << 24 | (order & 0x407F) << 8 | (order >> 7 & 0x7F);
  };
  const unsigned a = 0x5000 | 3 << 2;
  const unsigned s = 0x5000 | 21 << 2 | 3;
  CHECK(HashString(1, 1, "a", -1, 1) == key(a));
  CHECK(HashString(1, 1, "a\xDF", -1, 1) == (key(a) * 9 + key(s)) * 9 + key(s));
  CHECK(HashString(1, 1, "a\xDF", 2, 1) == key(a) * 9 + key(s));  // a step is an order
  for (const short length : std::initializer_list<short>{-2, -1, 0, 2}) {
    CHECK(HashString(1, 254, "ab", length, 1) == kvNullHash);
    CHECK(HashString(254, 0, "ab", length, 1) == kvNullHash);
    CHECK(HashString(0, 1, nullptr, length, 1) == 0);
  }
  CHECK(HashString(1, 1, "a\0b", 3, 1) == key(a) * 81);  // the end yields orders of 0
  CHECK(HashString(1, 20, "a", -1, 1) == (20u << 24 | a << 8));
  CHECK(HashString(1, 1, "!", -1, 1) == (1u << 24 | 120u << 8));
  CHECK(HashString(0, 1, "\377b", -1, 1) == 0xFFu * 9 + 'b');
  CHECK(HashString(0, 1, "a\0b", 3, 1) == ('a' * 9u + 0) * 9 + 'b');
  CHECK(HashString(1, 1, "abc", 0, 1) == 0);
  CHECK(HashString(1, 1, "abc", -2, 1) == 0);
  CHECK(HashString(255, 255, "aa", -1, 255) == key(a) * 10);

  CHECK(HashKvString(KvString("ab")) == 971);
  CHECK(HashKvString7(KvString("ab")) == 971);
  CHECK(HashKvString(KvString()) == 0);
  CHECK(HashKvString(KvString("\xE4")) == 0xFFFFFFE4);
  CHECK(HashKvString7(KvString("\xE4")) == 0x64);
  const unsigned short wide[] = {0x3B1, 'b', 0};
  CHECK(HashKvString(KvString(wide)) == 0x3B1 * 9 + 'b');
  CHECK(HashKvString7(KvString(wide)) == (0x3B1 & 0x7F) * 9 + 'b');
}
