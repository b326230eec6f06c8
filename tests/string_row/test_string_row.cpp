// The string row: order, hash, text, null, step and bounds through the type manager.
#include <doctest/doctest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "kvcollate.h"
#include "kvhash.h"
#include "kvtypemgr.h"
#include "string/text.h"

namespace {

std::vector<unsigned char> Stored(const KvString& string, unsigned char format) {
  std::vector<unsigned char> block(string.GetBufferSize() + 8u);
  block.resize(KvTypeMgr().Store(KvSTRING_T, block.data(), &string, format, 1));
  return block;
}

std::vector<KvString> SomeTexts() {
  std::vector<KvString> texts;
  for (const char16_t* text : {u"", u"a", u"A", u"\u00E4", u"aa", u"ab", u"Stra\u00DFe", u"Strasse",
                               u"strasse", u"zz", u"7", u" x", u"x y", u"\u00E6", u"ae"}) {
    for (const unsigned char codeSet : std::initializer_list<unsigned char>{1, 253}) {
      for (const unsigned char language : std::initializer_list<unsigned char>{1, 10})
        texts.push_back(Make(text, codeSet, language));
    }
  }
  // Several letters that sort as one, in two code sets: "ch" in Czech, "ssz" in Hungarian.
  for (const char16_t* text : {u"c", u"ch", u"Ch", u"hc", u"ssz", u"szsz"}) {
    for (const unsigned char language : std::initializer_list<unsigned char>{13, 14}) {
      texts.push_back(Make(text, 7, language));
      texts.push_back(Make(text, 253, language));
    }
  }
  texts.emplace_back();
  texts.back().SetNullValue();
  return texts;
}

std::string Printed(const KvString& value, const char* format = nullptr) {
  KvString out("before"), copy(value);
  DefaultTypeMgr(nullptr)->PrintToKvString(KvSTRING_T, out, &copy, format, 1);
  return Bytes(out);
}

}  // namespace

TEST_CASE("order and hash are the same in memory and in both stored orders") {
  const KvTypeMgr types;
  const std::vector<KvString> texts = SomeTexts();
  for (const KvString& a : texts) {
    int status = -1;
    const unsigned hash = types.Hash(KvSTRING_T, 0, const_cast<KvString*>(&a), 1, 8, status);
    CHECK(hash == HashString(a.GetCodeSet(), a.GetLanguage(), a.StrGet(), -1, 1) * 1103515245u);
    for (const unsigned char format : std::initializer_list<unsigned char>{0, 2}) {
      auto block = Stored(a, format);
      CHECK(types.Hash(KvSTRING_T, 0, block.data(), 1, format, status) == hash);
      CHECK(types.Hash(KvSTRING_T, static_cast<unsigned>(block.size()), block.data(), 1, format,
                       status) == hash);
      CHECK(status == 0);
    }
    for (const KvString& b : texts) {
      for (const unsigned short op : {kvCompareExact, kvCompareIgnoreCase, kvCompareKeyOrder}) {
        const int direct = a.Compare(b, -1, op);
        const int expected = (direct > 0) - (direct < 0);
        CHECK(types.Cmp(KvSTRING_T, const_cast<KvString*>(&a), const_cast<KvString*>(&b), op, 1,
                        8) == expected);
        for (const unsigned char format : std::initializer_list<unsigned char>{0, 2}) {
          auto left = Stored(a, format), right = Stored(b, format);
          CHECK(types.Cmp(KvSTRING_T, static_cast<unsigned>(left.size()), left.data(), 0,
                          right.data(), op, 1, format, status) == expected);
          CHECK(status == 0);
        }
      }
    }
  }
  int status = -1;
  CHECK(types.Hash(KvSTRING_T, 0, nullptr, 0, 8, status) == 0);
  KvString pair[2] = {"x", "x"};
  CHECK(types.Hash(KvSTRING_T, 0, pair, 2, 8, status) == 0);
}

// Stored texts are passed over in words; loaded ones, unit by unit, are the plain twin.
TEST_CASE("stored texts compare as loaded ones, wherever they differ or end") {
  const KvTypeMgr types;
  for (const unsigned char codeSet : std::initializer_list<unsigned char>{1, 253}) {
    for (unsigned length = 1; length <= 20; ++length) {
      std::u16string text;
      while (text.size() < length) text += static_cast<char16_t>('a' + text.size());
      const KvString whole = Make(text.c_str(), codeSet, 2);
      for (unsigned place = 0; place < length; ++place) {
        CAPTURE(place);
        std::vector<std::u16string> others(3, text);
        others[0][place] = u'z';
        others[1][place] = static_cast<char16_t>('A' + place);
        others[2].resize(place);
        for (const unsigned char format : std::initializer_list<unsigned char>{0, 2}) {
          const auto compare = [&](std::vector<unsigned char> left,
                                   std::vector<unsigned char> right) {
            int status = -1;
            const int order =
                types.Cmp(KvSTRING_T, static_cast<unsigned>(left.size()), left.data(),
                          static_cast<unsigned>(right.size()), right.data(), 0, 1, format, status);
            CHECK(status == kvOk);
            return order;
          };
          const auto block = Stored(whole, format);
          for (const std::u16string& each : others) {
            const KvString other = Make(each.c_str(), codeSet, 2);
            const int expected = whole.Compare(other) < 0 ? -1 : 1;
            CHECK(compare(block, Stored(other, format)) == expected);
            CHECK(compare(Stored(other, format), block) == -expected);
          }
          // A zero unit ends a text before its length does.
          auto broken = block;
          const unsigned width = codeSet == 253 ? 2 : 1;
          std::fill_n(broken.begin() + 4 + place * width, width, static_cast<unsigned char>(0));
          CHECK(compare(block, broken) == 1);
          CHECK(compare(broken, Stored(Make(others[2].c_str(), codeSet, 2), format)) == 0);
        }
      }
    }
  }
}

// Runs skip what they have in common unread; one by one, the strings take another way.
TEST_CASE("a stored run compares as its strings do one by one, wherever a buffer ends") {
  const KvTypeMgr types;
  std::vector<KvString> left = {"same", Make(u"\u20ACuro", 253, 5), "", "same", "tail"};
  left[2].SetNullValue();
  for (const unsigned char format : std::initializer_list<unsigned char>{0, 2}) {
    for (const char* last : {"tail", "Tail", "tails", "a"}) {
      std::vector<KvString> right = left;
      right.back() = last;
      std::vector<unsigned char> bytes[2];
      std::vector<unsigned> starts[2];
      for (std::size_t i = 0; i < left.size(); ++i) {
        for (int side = 0; side < 2; ++side) {
          starts[side].push_back(static_cast<unsigned>(bytes[side].size()));
          const auto block = Stored((side == 0 ? left : right)[i], format);
          bytes[side].insert(bytes[side].end(), block.begin(), block.end());
        }
      }
      const auto count = static_cast<unsigned>(left.size());
      for (auto length = static_cast<unsigned>(bytes[0].size()); length != 0; --length) {
        const std::vector<unsigned char> cut(bytes[0].begin(), bytes[0].begin() + length);
        int expected = 0, expectedStatus = 0;
        for (unsigned i = 0; i < count && expected == 0 && expectedStatus == 0; ++i) {
          expectedStatus = kvBufferShort;
          if (starts[0][i] >= length) break;
          expected = types.Cmp(KvSTRING_T, length - starts[0][i],
                               const_cast<unsigned char*>(cut.data()) + starts[0][i], 0,
                               bytes[1].data() + starts[1][i], 0, 1, format, expectedStatus);
        }
        int status = -1;
        CHECK(types.Cmp(KvSTRING_T, length, const_cast<unsigned char*>(cut.data()), 0,
                        bytes[1].data(), 0, count, format, status) == expected);
        CHECK(status == expectedStatus);
      }
      int status = -1;
      CHECK(
          types.Cmp(KvSTRING_T, 0, bytes[0].data(), 0, bytes[1].data(), 0, count, format, status) ==
          types.Cmp(KvSTRING_T, 0, left.data(), 0, right.data(), 0, count, 8, status));
    }
  }
}

TEST_CASE("a stored pattern is no equal of itself when its escape stands for another text") {
  const KvTypeMgr types;
  KvString run[2] = {"a\\b", "c"};
  std::vector<unsigned char> blocks = Stored(run[0], 0);
  const auto second = Stored(run[1], 0);
  blocks.insert(blocks.end(), second.begin(), second.end());
  int status = -1;
  const auto compare = [&] {
    const int loaded = types.Cmp(KvSTRING_T, 0, run, 0, run, 0, 2, 8, status);
    CHECK(types.Cmp(KvSTRING_T, 0, blocks.data(), 0, blocks.data(), 0, 2, 0, status) == loaded);
    return loaded;
  };
  CHECK(compare() == 0);
  KvString::SetEscape(KvChar('\\', 1, 1));
  CHECK(compare() != 0);
  KvString::SetEscape(KvChar('\0', 1, 1));
}

TEST_CASE("null, conversion and default") {
  KvTypeMgr types, old(3);
  KvString value("x");
  CHECK(types.SupportsNullValue(KvSTRING_T) == 1);
  CHECK(old.SupportsNullValue(KvSTRING_T) == 0);
  CHECK(types.SetNullValue(KvSTRING_T, &value) == 0);
  CHECK(types.IsNullValue(KvSTRING_T, &value) == 1);
  CHECK(old.IsNullValue(KvSTRING_T, &value) == 0);
  value = "y";
  CHECK(old.SetNullValue(KvSTRING_T, &value) == 0);
  CHECK(value.IsEmpty());
  CHECK(!value.IsNullValue());

  KvString run[2] = {Make(u"\u20AC", 253, 5), KvString("b")};
  KvTypeConvertData* texts = types.ConvertTo(KvSTRING_T, run, 2);
  REQUIRE(texts != nullptr);
  CHECK(Units(*texts->GetString(0)) == u"\u20AC");
  auto* back = static_cast<KvString*>(types.ConvertFrom(KvSTRING_T, texts, 2));
  CHECK(back[0].GetLanguage() == 5);
  CHECK(Bytes(back[1]) == "b");
  types.Delete(KvSTRING_T, back, 2);
  delete texts;
  auto* defaults = static_cast<KvString*>(types.DefaultValue(KvSTRING_T, 3, 0));
  CHECK(defaults[2].IsEmpty());
  types.Delete(KvSTRING_T, defaults, 3);
}

TEST_CASE("printing") {
  CHECK(Printed("text") == "text");
  CHECK(Printed("") == "");
  CHECK(Printed("text", "[%s]") == "[text]");
  CHECK(Printed("text", "%10s|") == "      text|");
  CHECK(Printed("text", "%-6.2s|%%") == "te    |%");
  CHECK(Printed("text", "%s\x01") == "text\x01");
  CHECK(Printed("text", "none") == "none");
  CHECK(Printed("text", "%") == "%");
  for (const char* bad : {"%s%s", "%d", "%n", "%*s", "%.", "%-"})
    CHECK(Printed("text", bad) == "text");
  CHECK(Printed("x", "%99999999999s").size() == 1040);
  KvString null;
  null.SetNullValue();
  CHECK(Printed(null) == "{NULL}");

  KvString out, wide = Make(u"\u20AC", 253, 5);
  KvTypeMgr types;
  types.PrintToKvString(KvSTRING_T, out, &wide, nullptr, 1);
  CHECK(Units(out) == u"\u20AC");
  types.PrintToKvString(KvSTRING_T, wide, &wide, "<%s>", 1);
  CHECK(Units(wide) == u"<\u20AC>");
  KvString run[2] = {"a", "b"};
  KvString list;
  types.PrintToKvString(KvSTRING_T, list, run, nullptr, 2);
  CHECK(Bytes(list) == "a,b");
}

TEST_CASE("a string of collation orders prints order by order") {
  KvString orders(254, 1);
  KvString text("\3517/");
  KvStringIterator each(text);
  for (unsigned short order; (order = each.GetNextOrder(0)) != 0;) orders << order;
  REQUIRE(orders.Len() == 3);
  CHECK(Printed(orders) == "\3517/");
  CHECK(Printed(orders, "%1M") == "e7/");
  CHECK(Printed(orders, "%3M") == "lower letter e with accent acute, digit 7, symbol solidus");
  CHECK(Printed(orders, "%4M").size() == 14);
  CHECK(Printed(orders, "<%1M|%2M>") == "<e7/|\3517/>");
  orders << static_cast<unsigned short>(0x8000);
  CHECK(Printed(orders, "%1M") == "[MIX]e7/\x7F");
  CHECK(Printed(orders.Right(1), "%1M") == "\x7F");
  CHECK(Printed(orders.Right(1) + orders.Left(1), "%1M") == "[MIX]\x7F\x65");
}

TEST_CASE("scanning") {
  KvTypeMgr types;
  KvString value("before");
  KvString wide = Make(u"\u20ACuro", 253, 5);
  CHECK(types.ScanFromKvString(KvSTRING_T, &value, wide, nullptr, 1) == &value);
  CHECK(Units(value) == u"\u20ACuro");
  KvString null("{NULL} and more");
  types.ScanFromKvString(KvSTRING_T, &value, null, nullptr, 1);
  CHECK(value.IsNullValue());
  KvString almost("{NULL");
  types.ScanFromKvString(KvSTRING_T, &value, almost, nullptr, 1);
  CHECK(Bytes(value) == "{NULL");
  CHECK(types.ScanFromKvString(KvSTRING_T, nullptr, almost, nullptr, 1) == nullptr);
}

TEST_CASE("the successor is the shortest longer text behind a text") {
  KvTypeMgr types;
  KvString null;
  null.SetNullValue();
  CHECK(types.GetValue(KvSTRING_T, &null, 0, 8, 'M') == 0);
  CHECK(!null.IsNullValue());
  CHECK(null.IsEmpty());
  for (KvString text : SomeTexts()) {
    if (text.IsNullValue()) continue;
    KvString next(text);
    CHECK(types.GetValue(KvSTRING_T, &next, 0, 8, 'M') == 0);
    CHECK(next > text);
    CHECK(next.Len() == text.Len() + 1);
    // Nothing that begins with the text lies between the two.
    for (unsigned unit = 1; unit < 256; ++unit) {
      KvString other(text);
      other << KvString(static_cast<unsigned char>(unit));
      CHECK(!(other < next));
    }
  }
  KvString text("x");
  CHECK(types.GetValue(KvSTRING_T, &text, 0, 8, 'O') == 0);
  CHECK(types.GetValue(KvSTRING_T, &text, 0, 8, 'x') == kvNotSupported);
  CHECK(Bytes(text) == "x");
  text.Fill(65535, 'z');
  CHECK(types.GetValue(KvSTRING_T, &text, 0, 8, 'N') == kvOverflow);
  KvTypeMgr old(3);
  CHECK(old.GetValue(KvSTRING_T, &text, 0, 8, 'N') == kvNotSupported);

  // Stored in either order, where the buffer has room for one more. Only 8 itself is memory.
  for (const unsigned char format : std::initializer_list<unsigned char>{0, 2, 10, 0x88}) {
    auto block = Stored(Make(u"ab", 253), format);
    const auto before = block;
    CHECK(types.GetValue(KvSTRING_T, block.data(), 0, format, 'M') == kvOverflow);
    CHECK(block == before);
    block.resize(block.size() + 2);
    CHECK(types.GetValue(KvSTRING_T, block.data(), static_cast<unsigned>(block.size()), format,
                         'M') == 0);
    KvString loaded;
    CHECK(types.Load(KvSTRING_T, &loaded, block.data(), format, 1) == block.size());
    CHECK(loaded > Make(u"ab", 253));
    CHECK(Units(loaded).substr(0, 2) == u"ab");
  }
}

namespace {

struct Range {
  KvString low, high;
  KvIdxBounds bounds;
  Range(const KvString& from, const KvString& to) : low(from), high(to) {
    bounds.lower = reinterpret_cast<unsigned char*>(&low);
    bounds.upper = reinterpret_cast<unsigned char*>(&high);
  }
  float operator()(unsigned short op, const KvString& constant) {
    KvString copy(constant);
    return KvTypeMgr().EvalAndBound(KvSTRING_T, &bounds, op, &copy, 8, 1, nullptr, nullptr);
  }
};

}  // namespace

TEST_CASE("estimates of uniform columns are close to the truth") {
  // Columns of one kind each: what the share of values below a constant really is.
  Random random(9);
  const auto digits = [&] {
    std::string text;
    for (int i = 0; i < 6; ++i) text.push_back(static_cast<char>('0' + random(10)));
    return text;
  };
  const auto letters = [&] {
    std::string text = "key";
    for (unsigned i = 0, length = 3 + random(4); i < length; ++i) {
      text.push_back(static_cast<char>('a' + random(26)));
    }
    return text;
  };
  for (int kind = 0; kind < 2; ++kind) {
    std::vector<std::string> column;
    for (int i = 0; i < 4000; ++i) column.push_back(kind == 0 ? digits() : letters());
    std::sort(column.begin(), column.end());
    Range range(column.front().c_str(), column.back().c_str());
    for (int probe = 0; probe < 200; ++probe) {
      const std::string constant = kind == 0 ? digits() : letters();
      const auto below = std::lower_bound(column.begin(), column.end(), constant) - column.begin();
      const double truth = static_cast<double>(below) / static_cast<double>(column.size());
      CHECK(range(kvPredicateLess, constant.c_str()) == doctest::Approx(truth).epsilon(0.05));
      CHECK(range(kvPredicateGreater, constant.c_str()) ==
            doctest::Approx(1 - truth).epsilon(0.05));
    }
  }
}

TEST_CASE("places of texts count the characters of the classes that a range has") {
  // Spaces take one place, symbols 159, digits 10, English letters 26.
  static constexpr struct {
    const char *low, *high, *text;
    double place;
  } kCases[] = {{"0", "9", "5", 5.0 / 9},     {"000", "999", "500", 500.0 / 999},
                {"0", "z", "9", 9.0 / 35},    {"0", "z", "a", 10.0 / 35},
                {" ", "9", "0", 160.0 / 169}, {" ", "z", "0", 160.0 / 195},
                {" ", "z", "a", 170.0 / 195}, {"0 m", "1 m", "0 z", 0.5}};
  for (const auto& each : kCases) {
    CAPTURE(each.text);
    const float fraction = Range(each.low, each.high)(kvPredicateLess, each.text);
    CHECK(fraction == doctest::Approx(each.place).epsilon(1e-6));
  }
}

TEST_CASE("the letters of other scripts are digits from 234 on, in stretches of 32") {
  const auto digit = [](const char16_t* letter) {
    KvString text = Make(letter, 253);
    return 234.0 + KvStringIterator(text).GetNextOrder(0) - 0x8000;
  };
  // Two characters share an order, and a second one, 236 for these, tells them apart.
  const double first = digit(u"\u03B1"), width = digit(u"\u03C9") - first;
  Range range(Make(u"\u03B1", 253), Make(u"\u03C9", 253));
  CHECK(range(kvPredicateLess, Make(u"\u03BD", 253)) ==
        doctest::Approx((digit(u"\u03BD") - first) / width));
  CHECK(range(kvPredicateLess, Make(u"\u03B1\u03B1", 253)) * width ==
        doctest::Approx((std::fmod(first, 32) + 12 / 32.0) / (32 * 32)));
}

TEST_CASE("fractions at and beyond the ends of a range") {
  // A column that begins with digits is not one of words, among which they have no place.
  CHECK(Range("0", "yes")(kvPredicateLess, "9") > 0.1f);
  Range range("car", "cat");
  CHECK(range(kvPredicateLess, "cas") == doctest::Approx(0.5));
  CHECK(range(kvPredicateLess, "b") == 0);
  CHECK(range(kvPredicateGreater, "b") == 1);
  CHECK(range(kvPredicateLess, "d") == 1);
  CHECK(range(kvPredicateGreater, "zebra") == 0);
  CHECK(range(kvPredicateEqual, "b") == 0);
  CHECK(range(kvPredicateEqual, "cas") > 0);
  CHECK(range(kvPredicateEqual, "cas") < 0.01f);
  CHECK(range(kvPredicateLess | kvPredicateGreater | kvPredicateEqual, "cas") == 1);
  CHECK(range(0, "cas") == 0);
  KvString null;
  null.SetNullValue();
  CHECK(range(kvPredicateGreater, null) == 1);
  CHECK(range(kvPredicateLess | kvPredicateEqual, null) == 0);
  Range one("x", "x");
  CHECK(one(kvPredicateEqual, "x") == 1);
  CHECK(one(kvPredicateEqual, "y") == 0);
  CHECK(one(kvPredicateGreater, "w") == 1);
  CHECK(one(kvPredicateGreater, "x") == 0);
  Range inverted("b", "a");
  CHECK(inverted(kvPredicateGreater, "aa") == 0);
  range.bounds.lower = nullptr;
  CHECK(range(kvPredicateLess, "cas") == 0);
}

TEST_CASE("new bounds hold the constant in its own form and are freed by the caller") {
  const KvTypeMgr types;
  unsigned short op = kvPredicateLess;
  KvIdxBounds fresh;
  {
    KvString constant = Make(u"gr\u00FCn", 253, 2);
    types.EvalAndBound(KvSTRING_T, nullptr, op, &constant, 8, 1, &fresh, nullptr);
    CHECK(fresh.lower == nullptr);
    REQUIRE(fresh.upper != nullptr);
    // The bound has its own text.
    constant.Fill(5, 'x');
  }
  CHECK(Units(*reinterpret_cast<KvString*>(fresh.upper)) == u"gr\u00FCn");
  unsigned char* const kept = fresh.upper;
  KvString other("other");
  op = kvPredicateEqual;
  types.EvalAndBound(KvSTRING_T, nullptr, op, &other, 8, 1, &fresh, nullptr);
  CHECK(fresh.upper == kept);
  CHECK(Bytes(*reinterpret_cast<KvString*>(fresh.lower)) == "other");
  // They serve as the next range.
  op = kvPredicateGreater;
  CHECK(types.EvalAndBound(KvSTRING_T, &fresh, op, &other, 8, 1, nullptr, nullptr) == 0);
  std::free(fresh.lower);
  std::free(fresh.upper);

  // A run of strings as well, as long as all of it fits.
  constexpr unsigned kMost = 255 / sizeof(KvString);
  const KvString run[] = {"first", "the second"};
  std::vector<KvString> many(kMost + 1);
  KvIdxBounds runs, most, none;
  types.EvalAndBound(KvSTRING_T, nullptr, op = kvPredicateEqual, run, 8, 2, &runs, nullptr);
  for (unsigned i = 0; i < 2; ++i) {
    CHECK(Bytes(reinterpret_cast<KvString*>(runs.lower)[i]) == Bytes(run[i]));
  }
  types.EvalAndBound(KvSTRING_T, nullptr, op, many.data(), 8, kMost, &most, nullptr);
  CHECK(most.lowerLength == kMost * sizeof(KvString));
  types.EvalAndBound(KvSTRING_T, nullptr, op, many.data(), 8, kMost + 1, &none, nullptr);
  CHECK(none.lower == nullptr);
  for (const KvIdxBounds& each : {runs, most}) {
    std::free(each.lower);
    std::free(each.upper);
  }

  auto block = Stored(KvString("abc"), 2);
  KvIdxBounds stored;
  op = kvPredicateEqual;
  types.EvalAndBound(KvSTRING_T, nullptr, op, block.data(), 2, 1, &stored, nullptr);
  CHECK(std::vector<unsigned char>(stored.lower, stored.lower + stored.lowerLength) == block);
  std::free(stored.lower);
  std::free(stored.upper);
  auto longBlock = Stored(KvString(std::string(300, 'x').c_str()), 0);
  types.EvalAndBound(KvSTRING_T, nullptr, op, longBlock.data(), 0, 1, &none, nullptr);
  CHECK(none.lower == nullptr);
  KvString longText(std::string(300, 'x').c_str());
  types.EvalAndBound(KvSTRING_T, nullptr, op, &longText, 8, 1, &none, nullptr);
  CHECK(none.lower == nullptr);
}

TEST_CASE("a pattern narrows to what all its matches begin with") {
  KvString::SetAsterisk(KvChar('*'));
  Range range("a", "z");
  CHECK(range(kvPredicateEqual, "m*") == doctest::Approx(1.0 / 25).epsilon(0.05));
  CHECK(range(kvPredicateEqual, "*") == 1);
  const KvTypeMgr types;
  unsigned short op = kvPredicateEqual;
  for (const unsigned char format : std::initializer_list<unsigned char>{8, 2}) {
    KvString pattern("ab*c"), bound;
    auto block = Stored(pattern, 2);
    KvIdxBounds fresh;
    void* value = format == 8 ? static_cast<void*>(&pattern) : block.data();
    types.EvalAndBound(KvSTRING_T, nullptr, op, value, format, 1, &fresh, nullptr);
    CHECK(fresh.upper == nullptr);
    REQUIRE(fresh.lower != nullptr);
    if (format == 8) {
      bound = *reinterpret_cast<KvString*>(fresh.lower);
    } else {
      types.Load(KvSTRING_T, &bound, fresh.lower, 2, 1);
    }
    CHECK(Bytes(bound) == "ab");
    std::free(fresh.lower);
    // A prefix that is empty, or longer than a bound: 248 letters are one only when stored.
    for (const unsigned count : {0u, 248u, 300u, 30000u}) {
      pattern = std::string(count, 'x').c_str();
      pattern << "*";
      block = Stored(pattern, 2);
      value = format == 8 ? static_cast<void*>(&pattern) : block.data();
      KvIdxBounds beginning;
      types.EvalAndBound(KvSTRING_T, nullptr, op, value, format, 1, &beginning, nullptr);
      CHECK((beginning.lower != nullptr) == (count == 248 && format == 2));
      std::free(beginning.lower);
    }
  }
  KvString ended("a.b*");  // a wildcard behind the end
  ended[1] = '\0';
  KvIdxBounds both;
  types.EvalAndBound(KvSTRING_T, nullptr, op, &ended, 8, 1, &both, nullptr);
  CHECK(both.upper != nullptr);
  std::free(both.lower);
  std::free(both.upper);
  // As much as lies between what begins so and what begins with the next letter, among words too.
  for (Range each : {Range("aa", "zz"), Range("aardvark", "zulu")}) {
    const std::string ways[][3] = {{"m*", "m", "n"}, {"ma*", "ma", "mb"}, {"mab*", "mab", "mac"}};
    for (const auto& way : ways) {
      CHECK(each(kvPredicateEqual, way[0].c_str()) ==
            doctest::Approx(each(kvPredicateLess, way[2].c_str()) -
                            each(kvPredicateLess, way[1].c_str()))
                .epsilon(0.001));
    }
  }
  // Each letter of the prefix narrows it, alike in both widths and every form.
  CHECK(Range("b", "c")(kvPredicateEqual, "a*") < 1e-6f);
  CHECK(Range("b", "c")(kvPredicateEqual, "d*") < 1e-6f);
  CHECK(Range("aa", "zz")(kvPredicateEqual, "a*") * 26 == doctest::Approx(1).epsilon(0.05));
  CHECK(Range("aa", "zz")(kvPredicateEqual, "ab*") * (26 * 26) == doctest::Approx(1).epsilon(0.05));
  for (const unsigned char codeSet : std::initializer_list<unsigned char>{1, 253}) {
    KvString constant = Make(u"abc*", codeSet), low = Make(u"aa", codeSet),
             high = Make(u"zz", codeSet);
    for (const unsigned char format : std::initializer_list<unsigned char>{8, 0, 2}) {
      auto value = Stored(constant, format), lower = Stored(low, format),
           upper = Stored(high, format);
      KvIdxBounds bounds{lower.data(), upper.data(), 0, 0};
      void* at = value.data();
      if (format == 8) {
        bounds = {reinterpret_cast<unsigned char*>(&low), reinterpret_cast<unsigned char*>(&high),
                  0, 0};
        at = &constant;
      }
      CAPTURE(int{codeSet});
      CAPTURE(int{format});
      const float three =
          types.EvalAndBound(KvSTRING_T, &bounds, op, at, format, 1, nullptr, nullptr);
      CHECK(three * (26 * 26 * 26) == doctest::Approx(1).epsilon(0.05));
    }
  }
  KvString::SetAsterisk(KvChar('\0'));
}

TEST_CASE("estimates go by the places of letters in the alphabet of the language") {
  const char16_t* const alphabet[] = {
      u"a",      u"b", u"c", u"\u010D", u"d", u"e", u"f", u"g", u"h",     u"ch",     u"i",
      u"j",      u"k", u"l", u"m",      u"n", u"o", u"p", u"q", u"r",     u"\u0159", u"s",
      u"\u0161", u"t", u"u", u"v",      u"w", u"x", u"y", u"z", u"\u017E"};
  KvString lower = Make(u"aaaa", 253, 13);
  KvString upper = Make(u"\u017E\u017E\u017E\u017E", 253, 13);
  KvIdxBounds range{reinterpret_cast<unsigned char*>(&lower),
                    reinterpret_cast<unsigned char*>(&upper), sizeof lower, sizeof upper};
  double place = 0.5;
  for (const char16_t* letter : alphabet) {
    CAPTURE(place);
    KvString constant = Make(std::u16string(letter) + u"n", 253, 13);
    unsigned short less = kvPredicateLess;
    const float fraction =
        KvTypeMgr().EvalAndBound(KvSTRING_T, &range, less, &constant, 8, 1, nullptr, nullptr);
    CHECK(fraction == doctest::Approx(place / std::size(alphabet)).epsilon(0.01));
    ++place;
  }
  // From "aa" to "zz" texts are spread evenly, in Swedish, too, which has letters behind z.
  lower = Make(u"aa", 253, 10);
  upper = Make(u"zz", 253, 10);
  KvString middle = Make(u"mm", 253, 10);
  unsigned short isLess = kvPredicateLess;
  CHECK(KvTypeMgr().EvalAndBound(KvSTRING_T, &range, isLess, &middle, 8, 1, nullptr, nullptr) ==
        doctest::Approx(0.48));
  // Orders that no character has stand among their kind: numbers before letters.
  lower = Make(u"\x3F00", kvCodeSetOrders);
  upper = Make(u"\x7FFF", kvCodeSetOrders);
  float before = 0;
  for (const char16_t order : {u'\x3F5A', u'\x3FFF', u'\x4004', u'\x4FFF'}) {
    KvString constant = Make(std::u16string(1, order), kvCodeSetOrders);
    unsigned short less = kvPredicateLess;
    const float fraction =
        KvTypeMgr().EvalAndBound(KvSTRING_T, &range, less, &constant, 8, 1, nullptr, nullptr);
    CHECK(fraction >= before);
    before = fraction;
  }
}
