// The layout of collation orders over the whole 16-bit range, and what the languages make of it.
#include <doctest/doctest.h>

#include <initializer_list>
#include <map>
#include <utility>

#include "zin.h"
#include "zinorder.h"

namespace {

KvCollationOrders Orders(unsigned unicode, unsigned char language = 1) {
  return KvCodeSet(253).Orders(static_cast<unsigned short>(unicode), language);
}

using Languages = std::initializer_list<unsigned char>;

// A letter order from its fields.
unsigned Letter(char base, unsigned letterCase, unsigned accent, unsigned extension = 0) {
  return 0x4000u | letterCase << 12 | accent << 7 | static_cast<unsigned>(base - 62) << 2 |
         extension;
}

bool IsLetterOrder(unsigned order) {
  return order >= 0x4000 && order < 0x8000;
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

TEST_CASE("ligatures and sharp s are two letters, both marked as extended") {
  struct {
    unsigned unicode;
    char first, second;
    unsigned letterCase;
  } const cases[] = {{0xDF, 'S', 'S', 1},  {0xE6, 'A', 'E', 1},  {0xC6, 'A', 'E', 0},
                     {0x153, 'O', 'E', 1}, {0x133, 'I', 'J', 1}, {0xDE, 'T', 'H', 0}};
  for (const auto& each : cases) {
    CAPTURE(each.unicode);
    const KvCollationOrders orders = Orders(each.unicode);
    CHECK((orders.first & ~3u) == Letter(each.first, each.letterCase, 0));
    CHECK((orders.second & ~3u) == Letter(each.second, each.letterCase, 0));
    CHECK((orders.first & 3) != 0);
    CHECK((orders.second & 3) != 0);
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
  for (unsigned char language : Languages{1, 8, 10, 15, 20}) {
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

TEST_CASE("order words are the orders, packed") {
  const kv::WideOrderTable table(2);
  for (unsigned unicode = 0; unicode < 0x10000; ++unicode) {
    const unsigned word = table.Word(static_cast<unsigned short>(unicode));
    const KvCollationOrders orders = Orders(unicode, 2);
    if ((word & kv::kPairBit) == 0 && word != kv::OrderWeight(orders.first)) {
      CHECK(word == kv::OrderWeight(orders.first));
    }
  }
}

TEST_CASE("a unit sorts as its Unicode character does, in every code set") {
  for (unsigned char codeSet = 1; codeSet <= 12; ++codeSet) {
    for (unsigned char language : Languages{2, 9, 11, 15}) {
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

TEST_CASE("letters after z, and the Turkish i") {
  const auto letterCode = [](unsigned unicode, unsigned char language) {
    return Orders(unicode, language).first >> 2 & 31u;
  };
  for (unsigned char language : Languages{10, 11}) {
    CHECK(letterCode(0xE5, language) == 29);
    CHECK(letterCode(0xC4, language) == 30);
    CHECK(letterCode(0xF6, language) == 31);
    CHECK(Orders(0xE5, language).first == 0x5000 + (29 << 2));
  }
  for (unsigned char language : Languages{8, 9}) {
    CHECK(letterCode(0xC6, language) == 29);
    CHECK(letterCode(0xF8, language) == 30);
    CHECK(letterCode(0xE5, language) == 31);
    CHECK(Orders(0xE6, language).second == 0);
  }
  for (unsigned char language : Languages{1, 2, 3, 20}) CHECK(letterCode(0xE4, language) == 3);
  CHECK(Orders(0x131, 15).first == Orders('i', 1).first);
  CHECK(Orders('i', 15).first == (Orders(0x130, 15).first | 0x1000));
  CHECK(IsLetterOrder(Orders('i', 15).first));
}
