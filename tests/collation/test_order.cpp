// Collation orders in words: every table over its full range, and back from order to character.
#include <doctest/doctest.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "kvorder.h"
#include "kvstring.h"
#include "zin.h"

namespace {

std::string Describe(unsigned order, unsigned char language = 1) {
  KvString text("before");
  CHECK(KvConvertOrderToString(static_cast<unsigned short>(order), language, text) == 0);
  return text.StrGet();
}

struct Rendered {
  unsigned char ch;
  const char* name;
};

Rendered Render(unsigned order, int findAccented = 0, unsigned char language = 1) {
  Rendered result{0, "untouched"};
  CHECK(KvConvertOrderToChar(static_cast<unsigned short>(order), language, result.ch, findAccented,
                             &result.name) == 0);
  return result;
}

unsigned Letter(unsigned code, unsigned letterCase, unsigned accent, unsigned extension = 0) {
  return 0x4000u | letterCase << 12 | accent << 7 | code << 2 | extension;
}

}  // namespace

TEST_CASE("orders describe as expected at the edges of each class") {
  CHECK(Describe(0) == "space");
  CHECK(Describe(12) == "space");
  CHECK(Describe(13) == "undefined ordering indicator");
  CHECK(Describe(79) == "space");
  CHECK(Describe(80) == "symbol ");
  CHECK(Describe(80 + 44) == "symbol solidus");
  CHECK(Describe(16127) == "symbol ");
  CHECK(Describe(16128) == "digit 0");
  CHECK(Describe(16128 + 10 * 7 + 1) == "digit 7 with expand");
  CHECK(Describe(16383) == "digit 25 with expand");
  CHECK(Describe(Letter(7, 1, 2)) == "lower letter e with accent acute");
  CHECK(Describe(Letter(3, 0, 0, 1)) == "upper letter A with extension");
  CHECK(Describe(Letter(28, 2, 14, 3)) ==
        "lower letter z with accent o_double acute with extension");
  CHECK(Describe(Letter(3, 1, 31)) == "lower letter a with ");
  CHECK(Describe(0x8000) == "HAN character 0x8000\n");
  CHECK(Describe(0x41, 20) == "HAN character 0x0041\n");
  CHECK(Describe(80 + 44, 128 + 19) == "symbol solidus");  // seven bits of language
  CHECK(Describe(80 + 44, 128 + 20) == "HAN character 0x007c\n");
}

TEST_CASE("every digit order gives its digit and flag") {
  for (unsigned order = 0; order < 0x10000; ++order) {
    unsigned short digit = 777;
    unsigned short expand = 777;
    const int status = KvExtractDigitFromOrder(static_cast<unsigned short>(order), digit, expand);
    if (order < 16128 || order > 16383) {
      CHECK((status == kvBadArgument && digit == 777 && expand == 777));
      continue;
    }
    CHECK(status == 0);
    const std::string words =
        "digit " + std::to_string(digit) + (expand != 0 ? " with expand" : "");
    CHECK(Describe(order) == words);
    CHECK(Render(order).ch == '0' + digit);
  }
}

TEST_CASE("every symbol order gives its number, and the table names 57 of them") {
  unsigned named = 0;
  std::string dots;
  for (unsigned order = 0; order < 0x10000; ++order) {
    unsigned short symbol = 777;
    const int status = KvExtractSymbolFromOrder(static_cast<unsigned short>(order), symbol);
    if (order < 80 || order > 16127) {
      CHECK((status == kvBadArgument && symbol == 777));
      continue;
    }
    CHECK((status == 0 && symbol == order - 80));
    const std::string words = Describe(order);
    const unsigned char ch = Render(order).ch;
    CHECK((ch == 7) == (words == "symbol "));
    if (ch == 7) continue;
    ++named;
    CHECK((symbol >= 32 && symbol <= 139));
    if (ch == '.') dots += std::to_string(symbol) + ' ';
    // A symbol that a character renders sorts where that character does, but for the acute accent,
    // which shares its rendering with the apostrophe.
    if (ch != '.' && symbol != 88) {
      CHECK(KvCodeSet(1).Orders(ch, 1).first == order);
    }
  }
  CHECK(named == 57);
  CHECK(dots ==
        "34 35 41 46 49 50 58 59 68 69 70 71 74 75 77 78 80 87 94 98 99 106 108 109 110 139 ");
  CHECK(Describe(80 + 55) == "symbol \"");
  CHECK(Describe(80 + 58) == "symbol left pointing o_double angle quotation mark");
  CHECK(Describe(80 + 88) == "symbol '");
  CHECK(Describe(80 + 80) == "symbol reverse solidus");
}

TEST_CASE("characters of ISO 8859-1 come back from their order") {
  // The names spell the base letter last, small or capital, so they must agree with the letter.
  for (unsigned code = 128; code < 256; ++code) {
    CAPTURE(code);
    const KvCollationOrders orders = KvCodeSet(1).Orders(static_cast<unsigned short>(code), 1);
    const bool accented =
        orders.first >= 0x4000 && orders.first < 0x8000 && (orders.first & 0x0F80) != 0;
    const Rendered found = Render(orders.first, 1);
    if (!accented) {
      CHECK(std::string(found.name) == "untouched");
      continue;
    }
    CHECK(found.ch == code);
    if (code < 192) {  // the ordinal indicators have no names
      CHECK(std::string(found.name).empty());
      continue;
    }
    CHECK(found.name[0] == '\\');
    const bool isThorn = code == 0xDE || code == 0xFE;  // a letter behind z, named "TH"
    if (!isThorn) CHECK(found.name[std::strlen(found.name) - 1] == Render(orders.first).ch);
  }
  CHECK(std::string(Render(Letter(7, 1, 2), 1).name) == "\\'e");
  CHECK(std::string(Render(Letter(6, 0, 8), 1).name) == "\\-D");
  CHECK(std::string(Render(Letter(3, 1, 7), 1).name) == "\\aa");
  CHECK(std::string(Render(Letter(27, 1, 6), 1).name) == "\\\"y");
}

TEST_CASE("orders without a character of their own") {
  CHECK(Render(12).ch == ' ');
  CHECK(Render(80).ch == 7);
  CHECK(Render(0x8000).ch == 127);
  CHECK(Render('A', 0, 20).ch == 127);
  CHECK(Render(Letter(3, 0, 0)).ch == 'A');
  CHECK(Render(Letter(28, 3, 0)).ch == 'z');
  CHECK(Render(Letter(31, 0, 0)).ch == ']');
  const Rendered none = Render(Letter(3, 0, 9), 1);  // A with caron
  CHECK(none.ch == 'A');
  CHECK(std::string(none.name).empty());
  CHECK(std::string(Render(Letter(3, 0, 0), 1).name) == "untouched");
}
