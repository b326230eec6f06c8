// KvIString and KvCaseIString: the order against a plain transcription of the tables, the values,
// and the rows in memory and stored form.
#include <doctest/doctest.h>

#include <bit>
#include <cctype>
#include <cstring>
#include <memory>
#include <sstream>
#include <type_traits>
#include <utility>

#include "kvblob.h"
#include "kvcompare.h"
#include "kvistring.h"
#include "kvstring/istring_weights.h"
#include "support/random.h"
#include "support/texts.h"

namespace {

constexpr unsigned char kMemoryOrder = 0;
constexpr unsigned char kReversed = 2;

// --- The tables once more, typed as rows of hexadecimal, and the comparison step by step ---

struct PlainWeight {
  int first = 0;
  int second = 0;
};

class PlainTable {
 public:
  explicit PlainTable(bool caseless) {
    Weights(0x40, "40 54 5B 5E 61 69 6F 71 73 79 7F 81 83 85 87 90");
    Weights(0x50, "97 99 9B 9D 9F A5 AB AD AF B3 B7 42 43 44 45 46");
    if (caseless) {
      Weights(0x60, "41 54 5B 5E 61 69 6F 71 73 79 7F 81 83 85 87 90");
      Weights(0x70, "97 99 9B 9D 9F A5 AB AD AF B3 B7 47 48 49 4A 4B");
    } else {
      Weights(0x60, "41 4E 5A 5C 60 64 6E 70 72 74 7E 80 82 84 86 8A");
      Weights(0x70, "96 98 9A 9C 9E A0 AA AC AE B0 B6 47 48 49 4A 4B");
    }
    const char* capitals =
        "54/03 54/02 54/04 54/05 54/01 BD/00 B9/00 5E/01 69/03 69/02 69/04 69/01 79/03 79/02 79/04 "
        "79/01 63/00 89/00 90/03 90/02 90/04 90/05 90/01 4C/00 BB/00 A5/03 A5/02 A5/04 A5/01 B3/02 "
        "BF/00 9C/9C";
    const char* small =
        "4E/03 4E/02 4E/04 4E/05 4E/01 BC/00 B8/00 5C/01 64/03 64/02 64/04 64/01 74/03 74/02 74/04 "
        "74/01 62/00 88/00 8A/03 8A/02 8A/04 8A/05 8A/01 4D/00 BA/00 A0/03 A0/02 A0/04 A0/01 B0/02 "
        "BE/00 B0/01";
    Pairs(0xC0, capitals);
    Pairs(0xE0, caseless ? capitals : small);
    if (caseless) Pairs(0xDF, "9D/9D");
    if (caseless) Pairs(0xF7, "4D/00");
    if (caseless) Pairs(0xFF, "B3/01");
    for (int c = 0; c < 0x40; ++c) table_[c] = {c, 0};
    for (int c = 0x80; c < 0xA0; ++c) table_[c] = {c + 0x60, 0};
    for (int c = 0xA0; c < 0xC0; ++c) table_[c] = {c + 0x10, 0};
    Pairs(0x8C, "90/69");
    Pairs(0x9C, caseless ? "90/69" : "8A/64");
    Pairs(0x9F, "B3/01");
  }

  int Compare(const std::string& a, const std::string& b, unsigned char flagsA,
              unsigned char flagsB, int steps = 65535) const {
    if (a.empty() || b.empty()) return static_cast<int>(b.empty()) - static_cast<int>(a.empty());
    Side left{this, a.c_str(), flagsA, accentFlag_ && (flagsA & 0x20) != 0};
    Side right{this, b.c_str(), flagsB, accentFlag_ && (flagsA & 0x20) != 0};
    for (; steps > 0; --steps) {
      const int x = left.Step();
      const int y = right.Step();
      if (x != y) return x - y;
      if (left.ended || right.ended) return 0;
    }
    return 0;
  }
  void SetAccentFlag() { accentFlag_ = true; }

 private:
  struct Side {
    const PlainTable* table;
    const char* at;
    unsigned char flags;
    bool accents;
    int pending = 0;
    bool ended = false;

    int Step() {
      if ((flags & 0x80) == 0 && pending != 0) {
        const int weight = pending;
        pending = 0;
        return weight;
      }
      const auto byte = static_cast<unsigned char>(*at);
      ended = byte == 0;
      if (!ended) ++at;
      if ((flags & 0x80) != 0) return byte;
      const PlainWeight weight = table->table_[byte];
      if (accents) return weight.second > 8 ? weight.first - 1 : weight.first + weight.second;
      if (weight.second > 8) pending = weight.second;
      return weight.first;
    }
  };

  void Weights(int from, const char* row) {
    std::istringstream in(row);
    in >> std::hex;
    for (int weight; in >> weight; ++from) table_[from] = {weight, 0};
  }
  void Pairs(int from, const char* row) {
    std::istringstream in(row);
    in >> std::hex;
    char slash;
    for (PlainWeight weight; in >> weight.first >> slash >> weight.second; ++from) {
      table_[from] = weight;
    }
  }

  PlainWeight table_[256];
  bool accentFlag_ = false;
};

// A text of few letters in all their variants, so that long stretches weigh alike.
std::string RandomText(Random& random) {
  static constexpr char kBytes[] =
      "aAeEsSoOzZ019 \xE9\xC9\xE4\xDF\x8C\x9C\xD6\xF6\x9F\xFF\xC7\xE6\x41";
  std::string text(random() % 24, 0);
  for (char& c : text) {
    c = random() % 20 == 0 ? static_cast<char>(1 + random() % 255)
                           : kBytes[random() % (sizeof kBytes - 1)];
  }
  return text;
}

// Changes that often keep the weights: case, accents, ligatures.
std::string Variant(Random& random, std::string text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (random() % 3 != 0) continue;
    if (text[i] == '\xDF') text.replace(i, 1, "ss");
    if (text[i] == '\x8C') text.replace(i, 1, "OE");
    if (text[i] == 'e') text[i] = '\xE9';
    if (std::isalpha(static_cast<unsigned char>(text[i])))
      text[i] = static_cast<char>(text[i] ^ 0x20);
  }
  return text;
}

template <class String>
void CheckOrder(const PlainTable& table) {
  Random random(1);
  for (int round = 0; round < 60000; ++round) {
    const std::string a = RandomText(random);
    const std::string b = random() % 3 == 0 ? RandomText(random) : Variant(random, a);
    static constexpr unsigned char kFlags[] = {0, 0, 0x5F, 0x80, 0x20, 0xA0};  // 0x5F says nothing
    String left(a.c_str()), right(b.c_str());
    left.SetFlags(kFlags[random() % 6]);
    right.SetFlags(kFlags[random() % 6]);
    CAPTURE(a);
    CAPTURE(b);
    REQUIRE(left.Compare(right) == table.Compare(a, b, left.GetFlags(), right.GetFlags()));
    const auto steps = static_cast<unsigned short>(1 + random() % 30);
    REQUIRE(left.Compare(right, steps) ==
            table.Compare(a, b, left.GetFlags(), right.GetFlags(), steps));
    if (left.GetFlags() != 0 || right.GetFlags() != 0) continue;
    REQUIRE((left == right) == (left.Compare(right) == 0));
    REQUIRE((left < right) == (right > left));
  }
}

template <class String>
void CheckStoredRows(char type, int (*compare)(unsigned char, unsigned, void*, unsigned, void*,
                                               unsigned short, unsigned, int&)) {
  String values[3] = {String("Stra\337e"), String(), String("z")};
  for (const unsigned char order : {kMemoryOrder, kReversed}) {
    unsigned char stored[64];
    const unsigned size = Types().Store(type, stored, values, order, 3);
    CHECK(size == 12 + 6 + 7);
    CHECK(std::memcmp(stored, order == 2 ? "\x00\x0A\x01\x01Stra" : "\x0A\x00\x01\x01Stra", 8) ==
          0);
    CHECK(std::memcmp(stored + 9, "e\x00\xFF", 3) == 0);
    CHECK(Types().DiskLenGet(type, stored, order, 3, 0) == size);
    MemFile file(stored, size);
    CHECK(Types().DiskLenGetFromMemFile(type, &file, order, 3) == size);
    String loaded[3] = {String("x"), String("y"), String()};
    CHECK(Types().Load(type, loaded, stored, order, 3) == size);
    for (int i = 0; i < 3; ++i) CHECK(std::strcmp(loaded[i].StrGet(), values[i].StrGet()) == 0);

    String other[3] = {String("Strasse"), String(), String("y")};
    unsigned char otherStored[64];
    const unsigned otherSize = Types().Translate(type, otherStored, order, 64, other, 8, 0, 3);
    int status = 1;
    const int memoryOrder = compare(8, 0, values, 0, other, 0, 3, status);
    CHECK(status == 0);
    CHECK(compare(order, size, stored, otherSize, otherStored, 0, 3, status) == memoryOrder);
    CHECK(compare(order, 0, stored, 0, otherStored, 0, 3, status) == memoryOrder);
    CHECK(memoryOrder == 1);
    CHECK(compare(8, 2 * sizeof(String), values, 0, other, 0, 3, status) == 0);
    CHECK(status == kvBufferShort);
    CHECK(compare(order, 18, stored, 0, otherStored, 0, 3, status) == 0);
    CHECK(status == kvBufferShort);
    CHECK(compare(order, 0, otherStored, 18, stored, 0, 3, status) == 0);
    CHECK(status == kvBufferShort);
  }
}

}  // namespace

TEST_CASE("KvIString orders by its table") {
  CheckOrder<KvIString>(PlainTable(false));
}

TEST_CASE("KvCaseIString orders by its table") {
  PlainTable table(true);
  table.SetAccentFlag();
  CheckOrder<KvCaseIString>(table);
}

TEST_CASE_TEMPLATE("a text that begins with its end differs by the first bytes", String, KvIString,
                   KvCaseIString) {
  String ended("xyz");
  ended[0] = '\0';
  for (int byte = 1; byte < 256; ++byte) {
    CAPTURE(byte);
    for (const char* tail : {"", "a", "abcdefgh"}) {
      String other((std::string(1, static_cast<char>(byte)) + tail).c_str());
      for (const int flags : {0, 0x20, 0x80}) {
        other.SetFlags(static_cast<unsigned char>(flags));
        REQUIRE(ended.Compare(other) == -byte);
        REQUIRE(other.Compare(ended) == byte);
        REQUIRE(other.Compare(ended, 1) == byte);
      }
    }
  }
  String text("abcdefgh");
  String other("abzdefgh");
  text[1] = other[1] = '\0';  // within a word, before what differs
  CHECK(text.Compare(other) == 0);
  CHECK(ended.Compare(ended) == 0);
  CHECK(ended.Compare(String()) == 1);
  CHECK(String().Compare(ended) == -1);
}

TEST_CASE("a byte in each place of a word weighs what it weighs alone") {
  const PlainTable table(true);
  const std::string letters = "abcdefghijklmnopqrstuvwx";
  // The case differs from the first letter on, from within a word, from a word on.
  for (const std::size_t same : {0u, 3u, 8u}) {
    const std::string capitals =
        letters.substr(0, same) + std::string("ABCDEFGHIJKLMNOPQRSTUVWX").substr(same);
    for (std::size_t at = 0; at < letters.size(); ++at) {
      for (int byte = 1; byte < 256; ++byte) {
        std::string other = letters;
        other[at] = static_cast<char>(byte);
        CAPTURE(capitals);
        CAPTURE(at);
        CAPTURE(byte);
        REQUIRE(KvCaseIString(capitals.c_str()).Compare(KvCaseIString(other.c_str())) ==
                table.Compare(capitals, other, 0, 0));
      }
    }
  }
  CHECK(KvCaseIString("ABCDEFGH") != KvCaseIString("abcdefg("));
}

TEST_CASE_TEMPLATE("two bytes in each place of a word stop, unless they differ in case", Difference,
                   kv::PlainDifferenceBeyondCase, kv::DifferenceBeyondCase, kv::PlainDifference,
                   kv::AnyDifference) {
  const bool foldsCase = !std::is_same_v<Difference, kv::PlainDifference> &&
                         !std::is_same_v<Difference, kv::AnyDifference>;
  unsigned wrong = 0;
  for (unsigned pair = 0; pair < 0x10000; ++pair) {
    const auto left = static_cast<unsigned char>(pair);
    const auto right = static_cast<unsigned char>(pair >> 8);
    const bool isCase =
        foldsCase && left < 0x80 && std::isalpha(left) != 0 && (left ^ right) == 0x20;
    const bool stops = left == 0 || (left != right && !isCase);
    const unsigned place = pair * 2654435761u >> 29;
    unsigned char a[8];
    unsigned char b[8];
    std::memcpy(a, "Donau-\xD6X", 8);
    std::memcpy(b, foldsCase ? "dONAU-\xD6x" : "Donau-\xD6X", 8);
    a[place] = left;
    b[place] = right;
    const auto found = Difference::Stops(a, b);
    const auto first = static_cast<unsigned>(std::countr_zero(found)) / Difference::kBits;
    if (stops ? first != place : found != 0) ++wrong;
  }
  CHECK(wrong == 0);
}

TEST_CASE("long texts are compared up to 65,535 weights") {
  const PlainTable table(true);
  // 32,767 ligatures are 65,534 weights: one more weight is seen, the next one is not.
  const std::string ligatures(32767, '\x8C');
  for (const char* end : {"a", "xa", "xya"}) {
    const std::string a = ligatures + end;
    const std::string b = ligatures + std::string(std::strlen(end) - 1, end[0]) + "b";
    CHECK(KvCaseIString(a.c_str()).Compare(KvCaseIString(b.c_str())) == table.Compare(a, b, 0, 0));
  }
  for (const std::size_t count : {8u, 16u}) {
    const std::string same(count, '\x8C');
    const KvIString a((same + 'a').c_str()), b((same + 'b').c_str());
    CHECK(a.Compare(b, static_cast<unsigned short>(2 * count)) == 0);
    CHECK(a.Compare(b, static_cast<unsigned short>(2 * count + 1)) < 0);
  }
  const std::string plain(65534, 'q');
  CHECK(KvCaseIString((plain + "a").c_str()) < KvCaseIString((plain + "b").c_str()));
  CHECK(KvCaseIString((plain + "qa").c_str()) == KvCaseIString((plain + "qb").c_str()));
}

TEST_CASE("values are made of characters, numbers and texts") {
  CHECK(std::string(KvIString('\x01').StrGet()) == "\x01");
  CHECK(KvIString('\0').Compare(KvIString()) == 0);
  for (const double number : {0.1, -1e300, 0.0, 123456.789, -1.0 / 3, 5e-324}) {
    char expected[400];
    std::snprintf(expected, sizeof expected, "%f", number);
    CHECK(std::string(KvIString(number).StrGet()) == expected);
  }
  CHECK(!KvIString(static_cast<const char*>(nullptr)));
  CHECK(KvIString("abc", 0).IsEmpty());
  CHECK(std::string(KvIString("abcdef", 3).StrGet()) == "abc");
  CHECK(KvIString("ab", 5).Len() == 2);

  KvIString flagged("abc");
  flagged.SetFlags(0x80);
  KvIString copy(flagged);
  CHECK(copy.GetFlags() == 0);
  copy = flagged;
  CHECK(copy.GetFlags() == 0x80);
  copy = "new";
  CHECK(copy.GetFlags() == 0);
  const KvIString& itself = copy;
  copy = itself;
  CHECK(std::string((copy + KvIString("er")).StrGet()) == "newer");
  copy += copy;
  CHECK(std::string(copy.StrGet()) == "newnew");
  CHECK((KvIString() + KvIString()).IsEmpty());
  CHECK(std::string(("<" + KvCaseIString("b") + ">").StrGet()) == "<b>");
  CHECK(std::string((KvIString("a") + "b" + static_cast<const char*>(nullptr)).StrGet()) == "ab");
}

TEST_CASE("numbers are read in decimal and end at the nearest") {
  CHECK(static_cast<int>(KvIString(" \t-12x")) == -12);
  CHECK(static_cast<int>(KvIString("0x10")) == 0);
  CHECK(static_cast<int>(KvIString("99999999999")) == 2147483647);
  CHECK(static_cast<short>(KvIString("65537")) == 1);
  CHECK(static_cast<double>(KvIString("2.5e3")) == 2500.0);
}

TEST_CASE("parts and edits") {
  const KvIString text("abcdef");
  CHECK(std::string(text.Copy(2, 3).StrGet()) == "cde");
  CHECK(std::string(text.Copy(2, 99).StrGet()) == "cdef");
  CHECK(text.Copy(6, 1).IsEmpty());
  CHECK(KvIString("ab").Hash() == 9 * 0x4E + 0x5A);
  CHECK(text.SubStringPos("cd") == 2);
  CHECK(text.SubStringPos("CD") == -1);

  const auto edited = [&](auto edit) {
    KvIString value(text);
    edit(value);
    return std::string(value.StrGet());
  };
  CHECK(edited([](KvIString& v) { v.Cut(1, 2); }) == "adef");
  CHECK(edited([](KvIString& v) { v.Cut(1, 65535); }) == "a");
  CHECK(edited([](KvIString& v) { v.Cut(0, 6); }) == "");
  CHECK(edited([](KvIString& v) { v.Cut(6, 1); }) == "abcdef");
  CHECK(edited([](KvIString& v) { v.Insert("XY", 6); }) == "abcdefXY");
  CHECK(edited([](KvIString& v) { v.Insert(v, 3); }) == "abcabcdefdef");
  CHECK(edited([](KvIString& v) { v.Insert("XY", 7); }) == "abcdef");
  CHECK(edited([](KvIString& v) { v.Replace("XYZ", 4); }) == "abcdXY");
  CHECK(edited([](KvIString& v) { v.Replace(v, 2); }) == "ababcd");
  CHECK(edited([](KvIString& v) { v.Replace("X", 6); }) == "abcdef");
  KvIString cut("abcdefgh");
  cut[6] = '\0';
  cut.Replace("XY", 7);  // what lies behind the end is not the text's
  CHECK(std::as_const(cut)[7] == 'h');
  CHECK(edited([](KvIString& v) { v.Expand(9, '\x01'); }) == "abcdef\x01\x01\x01");
  CHECK(edited([](KvIString& v) { v.Expand(6, '.'); }) == "abcdef");
  CHECK(edited([](KvIString& v) { v.Fill(3, '\x01'); }) == "\x01\x01\x01");
  CHECK(edited([](KvIString& v) { v.Fill(0, 'q'); }) == "");
  CHECK(edited([](KvIString& v) { v[1] = '\0'; }) == "a");
}

TEST_CASE_TEMPLATE("what adds nothing leaves the very text", String, KvIString, KvCaseIString) {
  String text("abc");
  String& itself = text;
  const char* const buffer = text.StrGet();
  text = itself;
  text += String("");
  text.Insert(String(""), 1);
  text.Cut(3, 1);
  CHECK(text.StrGet() == buffer);  // two new blocks could end where the first one was
  text.Cut(4, 1);
  text.Replace(String("xy"), 3);
  text.Expand(3, 'x');
  text.Expand(2, 'x');
  text.Expand(9, '\0');
  CHECK(text.StrGet() == buffer);
  CHECK(std::strcmp(text.StrGet(), "abc") == 0);
  text.Fill(0, 'x');
  CHECK(text.Compare(String()) == 0);
  String empty;
  empty.ToUpper();
  empty.ToLower();
  empty.Cut(0, 1);
  empty.Expand(0, 'x');
  empty.Fill(0, 'x');
  empty.Fill(3, '\0');
  CHECK((empty.Compare(String()) == 0 && std::strcmp(empty.StrGet(), "") == 0));
}

TEST_CASE("case mapping over all bytes, with its exceptions") {
  for (int c = 1; c < 256; ++c) {
    CAPTURE(c);
    KvIString lower(static_cast<char>(c)), upper(static_cast<char>(c));
    lower.ToLower();
    upper.ToUpper();
    int expectedLower = c, expectedUpper = c;
    if (c < 0x80) expectedLower = std::tolower(c);
    if (c < 0x80) expectedUpper = std::toupper(c);
    if (c >= 0xC0 && c < 0xDF && c != 0xD7) expectedLower = c + 0x20;
    if (c >= 0xE0 && c < 0xFF && c != 0xF7) expectedUpper = c - 0x20;
    if (c == 0x8C) expectedLower = 0x9C;
    if (c == 0x9C) expectedUpper = 0x8C;
    if (c == 0xFF) expectedLower = 0x9F;
    if (c == 0x9F) expectedUpper = 0xFF;
    CHECK(static_cast<unsigned char>(lower[0]) == expectedLower);
    CHECK(static_cast<unsigned char>(upper[0]) == expectedUpper);
  }
  KvIString text(" 10 02 ");
  text.SpaceToZero();
  CHECK(std::string(text.StrGet()) == "0100020");
  text.ZeroToSpace();
  CHECK(std::string(text.StrGet()) == " 1   2 ");
}

TEST_CASE("rows: stored form and order in every form") {
  CheckStoredRows<KvIString>(KvISTRING_T, KvIStringCompare);
  CheckStoredRows<KvCaseIString>(KvCASEISTRING_T, KvCaseIStringCompare);
}

TEST_CASE("a stored text whose terminator was written over ends before it") {
  unsigned char bare[] = {5, 0, 1, 1, 'a', 'b', 'c', 'z'};
  unsigned char whole[16];
  const KvIString a("a");
  Types().Store(KvISTRING_T, whole, &a, 0, 1);
  int status = -1;
  CHECK(KvIStringCompare(0, 7, bare, 0, whole, 0, 1, status) == 0);
  CHECK(KvIStringCompare(0, 0, bare, 0, whole, 0, 1, status) == 0);
  CHECK(KvIStringCompare(0, 0, whole, 0, bare, 0, 1, status) == 0);
}

TEST_CASE("rows read what KvString stored, in the old form and 16-bit too") {
  KvIString values[2];
  CHECK(Types().Load(KvISTRING_T, values, "\x07\000abc\0de", 0, 2) == 9);
  CHECK(std::string(values[0].StrGet()) == "abc");
  CHECK(std::string(values[1].StrGet()) == "de");
  CHECK(Types().Load(KvISTRING_T, values, "\x02\x00z", 0, 0) == 0);
  CHECK(Types().Load(KvISTRING_T, values, "\0\0", 0, 1) == 0);
  CHECK(std::string(values[0].StrGet()) == "abc");
  KvString wide(static_cast<unsigned short>(0xE9));
  for (const unsigned char order : {kMemoryOrder, kReversed}) {
    unsigned char stored[16];
    const unsigned size = Types().Store(KvSTRING_T, stored, &wide, order, 1);
    CHECK(Types().Load(KvISTRING_T, values, stored, order, 1) == size);
    CHECK(std::string(values[0].StrGet()) == "\xE9");
    int status;
    KvIString e("e");
    unsigned char storedE[16];
    Types().Store(KvISTRING_T, storedE, &e, order, 1);
    CHECK(KvIStringCompare(order, 0, stored, 0, storedE, 0, 1, status) == 0);
  }
  CHECK(Types().Load(KvISTRING_T, values, "\0\0", 0, 1) == 0);
}

TEST_CASE("rows: text, hash, step and bounds") {
  KvCaseIString value("100% Zo\xEB");
  CHECK(Print(KvCASEISTRING_T, value) == "100% Zo\xEB");
  CHECK(Print(KvCASEISTRING_T, value, "<%-11.5s|") == "<100%       |");
  CHECK(Print(KvCASEISTRING_T, value, "%s %s") == "100% Zo\xEB");
  CHECK(Print(KvCASEISTRING_T, value, "%n") == "100% Zo\xEB");
  CHECK(Print(KvCASEISTRING_T, value, "%") == "100% Zo\xEB");
  CHECK(Print(KvCASEISTRING_T, KvCaseIString(), "<%s>") == "");
  value.SetFlags(0x20);
  const unsigned short wide[] = {'Z', 0xEB, 0};
  KvString text(wide);
  Types().ScanFromKvString(KvCASEISTRING_T, &value, text, nullptr, 1);
  CHECK(std::string(value.StrGet()) == "Z\xEB");
  CHECK(value.GetFlags() == 0);
  int status = 1;
  CHECK(Types().Hash(KvCASEISTRING_T, 0, &value, 1, 8, status) == 0);
  CHECK(status == 0);

  KvCaseIString next(value);
  CHECK(Types().GetValue(KvCASEISTRING_T, &next, 0, 8, 'M') == 0);
  CHECK(value < next);
  CHECK(next < KvCaseIString("Z\xEB "));

  // Stored: in place where there is room, and only what lies in the buffer.
  KvBlob blob("xy", 2);
  for (const char id : {KvISTRING_T, KvCASEISTRING_T, KvBLOB_T}) {
    CAPTURE(int{id});
    KvIString shortText("ab");
    void* from = id == KvBLOB_T ? static_cast<void*>(&blob) : &shortText;
    unsigned char buffer[32];
    const unsigned size = Types().Store(id, buffer, from, 0, 1);
    const int noRoom = id == KvBLOB_T ? kvNotSupported : kvOverflow;
    CHECK(Types().GetValue(id, buffer, 0, 0, 'O') == kvOk);
    CHECK(Types().GetValue(id, buffer, size, 0, 'O') == kvOk);
    CHECK(Types().GetValue(id, buffer, 0, 0, 'M') == noRoom);
    CHECK(Types().GetValue(id, buffer, size, 0, 'N') == noRoom);
    unsigned char old[] = {1, 0, 0};  // an old run of one empty text
    CHECK(Types().GetValue(id, old, sizeof old, 0, 'O') == kvNotSupported);
    for (unsigned length = 1; length < size; ++length) {
      std::unique_ptr<unsigned char[]> cut(new unsigned char[length]);
      std::memcpy(cut.get(), buffer, length);
      CHECK(Types().GetValue(id, cut.get(), length, 0, 'O') == kvNotSupported);
    }
    unsigned char reversed[32];
    Types().Store(id, reversed, from, 2, 1);
    CHECK(Types().GetValue(id, reversed, size, 2, 'O') == kvNotSupported);
    const int stepped = id == KvBLOB_T ? kvNotSupported : kvOk;
    CHECK(Types().GetValue(id, buffer, size + 1, 0, 'M') == stepped);
    if (stepped != kvOk) continue;
    CHECK(Types().DiskLenGet(id, buffer, 0, 1, 0) == size + 1);
    CHECK(Types().Load(id, &shortText, buffer, 0, 1) == size + 1);
    CHECK(std::string(shortText.StrGet()) == "ab\x01");
  }

  unsigned char lower[16], upper[16], constant[16];
  const auto store = [](unsigned char* at, const char* characters) {
    const KvCaseIString string(characters);
    return Types().Store(KvCASEISTRING_T, at, &string, 0, 1);
  };
  KvIdxBounds bounds{lower, upper, static_cast<unsigned char>(store(lower, "box a")),
                     static_cast<unsigned char>(store(upper, "BOX Z"))};
  const unsigned size = store(constant, "box m");
  const auto fraction = [&](unsigned short op, KvIdxBounds* recorded) {
    return Types().EvalAndBound(KvCASEISTRING_T, &bounds, op, constant, 0, 1, recorded, nullptr);
  };
  KvIdxBounds recorded;
  const float less = fraction(kvPredicateLess, &recorded);
  CHECK(less > 0.3f);
  CHECK(less < 0.7f);
  CHECK(less + fraction(kvPredicateGreater, nullptr) == doctest::Approx(1.0));
  CHECK(recorded.lower == nullptr);
  REQUIRE(recorded.upperLength == size);
  CHECK(std::memcmp(recorded.upper, constant, size) == 0);
  std::free(recorded.upper);
  store(constant, "cab");
  CHECK(fraction(kvPredicateLess, nullptr) == 1.0f);
  CHECK(fraction(kvPredicateGreater, nullptr) == 0.0f);
  bounds.lowerLength = static_cast<unsigned char>(store(lower, "box \x01"));
  store(constant, "box \x01z");
  CHECK(fraction(kvPredicateLess, nullptr) > 0);
  // Two texts that part at once and yet are only 26 of their tenth letters apart.
  bounds.lowerLength = static_cast<unsigned char>(store(lower, "azzzzzzzzm"));
  bounds.upperLength = static_cast<unsigned char>(store(upper, "baaaaaaaam"));
  store(constant, "azzzzzzzzz");
  CHECK(fraction(kvPredicateLess, nullptr) == doctest::Approx(0.5).epsilon(0.05));
}
