// The layout of collation orders over the whole 16-bit range, and what the languages make of it.
#include <doctest/doctest.h>

#include <algorithm>
#include <initializer_list>
#include <map>
#include <string>
#include <utility>

#include "zin.h"
#include "zinorder.h"

namespace {

KvCollationOrders Orders(unsigned unicode, unsigned char language = 1) {
  return KvCodeSet(253).Orders(static_cast<unsigned short>(unicode), language);
}

using Languages = std::initializer_list<unsigned char>;

// A letter order from its fields.
unsigned Letter(int base, unsigned letterCase, unsigned accent, unsigned extension = 0) {
  return 0x4000u | letterCase << 12 | accent << 7 | static_cast<unsigned>(base - 62) << 2 |
         extension;
}

// U+0001 to U+00FF and Latin Extended-A without the few that share an order by equivalence.
constexpr unsigned kLastCovered = 0x17F;

}  // namespace

TEST_CASE("letters carry letter code, accent and case") {
  struct {
    unsigned unicode;
    unsigned order;
  } const cases[] = {
      {'A', Letter('A', 0, 0)},    {'z', Letter('Z', 1, 0)},    {0xC7, Letter('C', 0, 1)},
      {0xE9, Letter('E', 1, 2)},   {0xE8, Letter('E', 1, 3)},   {0xEA, Letter('E', 1, 4)},
      {0xF1, Letter('N', 1, 5)},   {0xC4, Letter('A', 0, 6)},   {0xE5, Letter('A', 1, 7)},
      {0xF8, Letter('O', 1, 8)},   {0xF0, Letter('D', 1, 8)},   {0x142, Letter('L', 1, 8)},
      {0x10D, Letter('C', 1, 9)},  {0x101, Letter('A', 1, 10)}, {0x11F, Letter('G', 1, 11)},
      {0x17C, Letter('Z', 1, 12)}, {0x104, Letter('A', 0, 13)}, {0x151, Letter('O', 1, 14)},
      {0x123, Letter('G', 1, 1)},  {0x212B, Letter('A', 0, 7)},
  };
  for (const auto& each : cases) {
    CAPTURE(each.unicode);
    CHECK(Orders(each.unicode).first == each.order);
    CHECK(Orders(each.unicode).second == 0);
  }
}

TEST_CASE("ligatures and sharp s are two letters, both marked as parts") {
  struct {
    unsigned unicode;
    char first, second;
    unsigned case1, case2;
  } const cases[] = {{0xDF, 'S', 'S', 1, 1},  {0xE6, 'A', 'E', 1, 1},   {0xC6, 'A', 'E', 0, 0},
                     {0x153, 'O', 'E', 1, 1}, {0x133, 'I', 'J', 1, 1},  {0x1C7, 'L', 'J', 0, 0},
                     {0x1F2, 'D', 'Z', 0, 1}, {0xFB01, 'F', 'I', 1, 1}, {0x1E9E, 'S', 'S', 0, 0}};
  for (const auto& each : cases) {
    CAPTURE(each.unicode);
    const KvCollationOrders orders = Orders(each.unicode);
    CHECK(orders.first == Letter(each.first, each.case1, 0, 3));
    CHECK(orders.second == Letter(each.second, each.case2, 0, 3));
  }
}

TEST_CASE("digits, symbols and spaces have their ranges") {
  CHECK(Orders('7').first == 16128 + 70);
  CHECK(Orders(0xB2).first == 16128 + 21);
  CHECK(Orders('_').first == 80 + 32);
  CHECK(Orders('\'').first == 80 + 52);
  CHECK(Orders(0xB4).first == 80 + 88);
  CHECK(Orders(0xB5).first == 80 + 110);
  CHECK(Orders(0xBF).first == 80 + 139);
  for (unsigned space : {0x20U, 0x09U, 0x0DU, 0xA0U, 0x3000U}) CHECK(Orders(space).first < 80);
  CHECK(Orders(0).first == 0);
  for (unsigned symbol : {0x20ACU, 0x2014U, 0x201EU, 0xBCU}) {  // before digits and letters
    CHECK(Orders(symbol).first >= 80);
    CHECK(Orders(symbol).first < 16128);
  }
}

TEST_CASE("everything else takes two orders of 0x8000 and above, case pairs side by side") {
  CHECK(Orders(0x3B1).first == 0x8000 + 0x3B1 / 2);
  CHECK(Orders(0x3B1).second == 0x8003);
  CHECK(Orders(0x391).first == 0x8000 + 0x3B1 / 2);
  CHECK(Orders(0x391).second == 0x8002);
  CHECK(Orders(0x436).second == 0x8001);
  CHECK(Orders(0x416).first == Orders(0x436).first);
  CHECK(Orders(0x3C2).first == 0x8000 + 0x3C2 / 2);  // final sigma: its capital is another's
  CHECK(Orders(0x3C2).second == 0x8000);
  CHECK(Orders(0x4E00).first == 0x8000 + 0x4E00 / 2);
  CHECK(Orders(0x4E01).second == 0x8002);
}

TEST_CASE("over the whole range the layout holds and no two characters share their orders") {
  for (unsigned char language = 1; language <= 20; ++language) {
    CAPTURE(language);
    std::map<std::pair<unsigned, unsigned>, unsigned> owners;
    unsigned shared = 0;
    for (unsigned unicode = 1; unicode < 0x10000; ++unicode) {
      const KvCollationOrders orders = Orders(unicode, language);
      CAPTURE(unicode);
      const bool undefined = orders.first == 13 || orders.second == 13 || orders.first == 0;
      if (undefined) CHECK(!undefined);
      const bool high = orders.first >= 0x8000;
      const bool layout =
          high ? orders.second >= 0x8000 && orders.second <= 0x8003 : orders.second < 0x8000;
      if (!layout) CHECK(layout);
      if (unicode <= kLastCovered && high) CHECK(!high);
      shared += owners.insert({{orders.first, orders.second}, unicode}).second ? 0 : 1;
    }
    // En quad and em quad, the kelvin sign and the angstrom sign are the same characters as others.
    CHECK(shared == 4);
  }
}

TEST_CASE("unlike characters of different languages have unlike orders") {
  std::map<std::pair<unsigned, unsigned>, unsigned> owners;
  for (unsigned unicode = 1; unicode < 0x10000; ++unicode) {
    const bool equivalent =
        unicode == 0x2000 || unicode == 0x2001 || unicode == 0x212A || unicode == 0x212B;
    for (unsigned char language = 1; language <= 20 && !equivalent; ++language) {
      const KvCollationOrders orders = Orders(unicode, language);
      const unsigned owner = owners.insert({{orders.first, orders.second}, unicode}).first->second;
      // The capital of i is the Turkish one there.
      if (owner == unicode || (owner == 'I' && unicode == 0x130 && language == 15)) continue;
      CAPTURE(unicode);
      CAPTURE(language);
      CHECK(owner == unicode);
    }
  }
}

TEST_CASE("order words are the orders, packed") {
  for (unsigned char language : Languages{2, 12, 14}) {
    const kv::WideOrderTable table(language);
    for (unsigned unicode = 0; unicode < 0x10000; ++unicode) {
      const unsigned word = table.Word(static_cast<unsigned short>(unicode));
      const KvCollationOrders orders = Orders(unicode, language);
      if ((word & kv::kPairBit) == 0 && kv::WordAlone(word) != kv::OrderWeight(orders.first)) {
        CHECK(kv::WordAlone(word) == kv::OrderWeight(orders.first));
      }
      if (kv::IsContractionPart(word) && orders.second != 0) CHECK(orders.second == 0);
    }
  }
}

TEST_CASE("a unit sorts as its Unicode character does, in every code set") {
  for (unsigned char codeSet = 1; codeSet <= 12; ++codeSet) {
    for (unsigned char language = 1; language <= 20; ++language) {
      for (unsigned unit = 0; unit < 256; ++unit) {
        const KvCodeSet set(codeSet);
        const auto narrow = static_cast<unsigned short>(unit);
        const KvCollationOrders expected = Orders(set.ToUnicode(narrow), language);
        const KvCollationOrders orders = set.Orders(narrow, language);
        CHECK(orders.first == expected.first);
        CHECK(orders.second == expected.second);
      }
    }
  }
}

TEST_CASE("letters of their own, letters after z, and the Turkish i") {
  struct {
    unsigned unicode;
    unsigned char language;
    unsigned order;
  } const cases[] = {
      {0xF1, 4, Letter('N', 1, 5, 1)},    {0x144, 12, Letter('N', 1, 2, 1)},
      {0x17B, 12, Letter('Z', 0, 12, 2)}, {0x10D, 13, Letter('C', 1, 9, 1)},
      {0x151, 14, Letter('O', 1, 14, 1)}, {0xE5, 10, Letter(91, 1, 7)},
      {0xC4, 11, Letter(92, 0, 6)},       {0xF6, 10, Letter(93, 1, 6)},
      {0xE6, 8, Letter(91, 1, 0)},        {0xF8, 9, Letter(92, 1, 0, 1)},
      {0xE5, 8, Letter(93, 1, 7)},        {0xFC, 8, Letter('Y', 1, 27)},
      {'i', 15, Letter('I', 1, 0)},       {0x130, 15, Letter('I', 0, 0)},
      {0x131, 15, Letter('H', 1, 0, 1)},  {'I', 15, Letter('H', 0, 0, 1)},
      {0x212B, 10, Letter(91, 0, 7)},     {0xE4, 3, Letter('A', 1, 6)},
  };
  for (const auto& each : cases) {
    CAPTURE(each.unicode);
    CAPTURE(each.language);
    CHECK(Orders(each.unicode, each.language).first == each.order);
    CHECK(Orders(each.unicode, each.language).second == 0);
  }
}

TEST_CASE("languages name the letters that an order by itself does not show") {
  const auto name = [](unsigned char language, unsigned order) {
    const char* found =
        KvLanguageContext::QueryLanguage(language)->LetterName(static_cast<unsigned short>(order));
    return std::string(found == nullptr ? "none" : found);
  };
  CHECK(name(10, Letter(91, 0, 7)) == "\xC3\x85");
  CHECK(name(13, Letter('H', 1, 28, 1)) == "cH");
  CHECK(name(14, Letter('D', 2, 30, 2)) == "Dzs");
  CHECK(name(17, Letter('D', 3, 28, 1)) == "d\xC5\xBE");
  CHECK(name(2, Letter('Z', 0, 27, 1)) == "\xC3\x9E");  // in every language
  CHECK(name(12, Letter('A', 1, 27)) == "\xC2\xAA");
  CHECK(name(2, Letter('A', 1, 6)) == "none");
  CHECK(name(20, 0x8000) == "none");
  CHECK(std::string(KvLanguageContext::QueryLanguage(19)->Code()) == "is");
}

// Of each letter the accent, the extension and the letter itself count.
TEST_CASE("a contraction is made of its own letters and no others") {
  unsigned tried = 0;
  for (unsigned char language = 1; language <= 20; ++language) {
    const unsigned set = kv::zin::kContractionSets[kv::zin::kTailorings[language]];
    const unsigned char* const starts = kv::zin::kContractionStarts[set];
    for (unsigned entry = starts[0]; entry < starts[32]; ++entry) {
      kv::zin::Contraction given = kv::zin::kContractions[entry];
      const unsigned short made = given.orders[0];
      const auto units =
          static_cast<unsigned>(std::find(given.letters, given.letters + 4, 0) - given.letters);
      CHECK(kv::Contract(language, given.letters, units).units == units);
      CHECK(kv::Contract(language, given.letters, units).orders[0] == made);
      CHECK(kv::Contract(language, given.letters, units).orders[1] == given.orders[1]);
      CHECK(kv::Contract(language, given.letters, units - 1).units < units);
      for (unsigned at = 0; at < units; ++at) {
        for (const unsigned bit : {1u, 2u, 4u, 0x80u, 0x400u, 0x800u}) {
          given.letters[at] = static_cast<unsigned short>(given.letters[at] ^ bit);
          CHECK(kv::Contract(language, given.letters, units).orders[0] != made);
          given.letters[at] = static_cast<unsigned short>(given.letters[at] ^ bit);
          ++tried;
        }
      }
    }
  }
  CHECK(tried > 300);
}
