// KvString: making, appending, the limit, lifecycle and code sets.
#include <doctest/doctest.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "kvcollate.h"
#include "kvistring.h"
#include "kvmbs.h"
#include "kvobjid.h"
#include "kvtypemgr.h"
#include "string/text.h"
#include "support/vector_sets.h"
#include "zbs.h"

namespace {

struct Overflows {
  static inline int count = 0;
  static inline std::string last;
  static void Handle(const char* text, const char* source, int line) {
    ++count;
    last = std::string(text) + "|" + source + "|" + std::to_string(line);
  }
  Overflows() {
    count = 0;
    last.clear();
    KIVO_SetAssertHandler(Handle);
  }
  ~Overflows() {
    KIVO_SetAssertHandler(nullptr);
    DefaultConfig().SetValue("debug", "stringOverflow", 0);
  }
};

}  // namespace

TEST_CASE("constructors take the default code set of their width") {
  CHECK(KvString().GetBufferSize() == 0);
  for (const unsigned char codeSet : {kvCodeSetUnicode, kvCodeSetLatin1}) {
    CHECK(KvString::SetDefaultCodeSet(codeSet) == kvOk);
    CHECK((KvString::GetDefaultCodeSet() == codeSet && KvString().GetCodeSet() == codeSet));
  }
  CHECK(Bytes(KvString('x')) == "x");
  CHECK(KvString('\0').GetBufferSize() == 0);
  CHECK(Units(KvString(static_cast<unsigned char>(0xE9))) == u"\u00E9");
  const KvString snowman(static_cast<unsigned short>(0x2603));
  CHECK(snowman.GetCodeSet() == 253);
  CHECK(Units(snowman) == u"\u2603");
  CHECK(snowman.GetBufferSize() == 4);
  const KvString none(static_cast<unsigned short>(0));
  CHECK((none.GetCodeSet() == 253 && none.GetBufferSize() == 0));
  CHECK(Bytes(KvString(0.1)) == "0.10000000000000001");
  CHECK(Bytes(KvString(-std::numeric_limits<double>::infinity())) == "-Infinity");
  CHECK(Bytes(KvString("abc")) == "abc");
  CHECK(KvString("abc").GetBufferSize() == 4);
  CHECK(KvString(static_cast<const char*>(nullptr)).GetBufferSize() == 0);
  CHECK(Bytes(KvString("abcdef", 3)) == "abc");
  CHECK(KvString("abc", 0).GetBufferSize() == 0);
  CHECK(KvString("abc", 65535).GetBufferSize() == 4);
  CHECK(Units(KvString(Wide(u"\u4E2D\u6587x"), 2)) == u"\u4E2D\u6587");

  const KvString embedded("ab\0cd", 5);
  CHECK(embedded.Len() == 2);
  CHECK(embedded.GetBufferSize() == 6);
  // In 16 bits too, wherever the zero stands; units of one zero byte end nothing.
  for (unsigned end = 0; end < 300; ++end) {
    std::u16string units(300, end % 2 == 0 ? u'\u0100' : u'\u00FF');
    units[end] = 0;
    CHECK(KvString(Wide(units.c_str()), 300).Len() == end);
  }
}

TEST_CASE("a number of any type becomes its digits, in every class of strings") {
  const auto check = [](auto number) {
    const std::string digits = std::to_string(number);
    KvString appended;
    CHECK(Bytes(appended << number) == digits);
    CHECK(Bytes(KvString(number)) == digits);
    CHECK(KvIString(number).StrGet() == digits);
    CHECK(KvCaseIString(number).StrGet() == digits);
  };
  const auto checkEnds = [&check]<class Number>(Number) {
    check(std::numeric_limits<Number>::min());
    check(std::numeric_limits<Number>::max());
  };
  checkEnds(short{});
  checkEnds(0);
  checkEnds(0u);
  checkEnds(0l);
  checkEnds(0ul);
  checkEnds(0ll);
  checkEnds(0ull);
  CHECK(static_cast<long long>(KvCaseIString(LLONG_MIN)) == LLONG_MIN);
}

TEST_CASE("appending converts to the string's own code set") {
  KvString narrow("n");
  narrow << static_cast<unsigned short>(65) << ' ' << -5 << ' ' << 7u << 'x' << '\0' << 2LL;
  CHECK(Bytes(narrow) == "n65 -5 7x2");
  narrow = "f";
  narrow << 0.1f << ' ' << 0.5;
  CHECK(Bytes(narrow) == "f0.10000000149011612 0.5");

  KvString wide(253, 1);
  CHECK((wide << static_cast<unsigned short>(65)).GetBufferSize() == 4);
  wide << static_cast<unsigned short>(0) << 66;
  CHECK(Units(wide) == u"A66");
  wide << KvString("\xE9") << Wide(u"\u20AC");
  CHECK(Units(wide) == u"A66\u00E9\u20AC");

  // Latin-1 has no euro sign; Windows-1252 has it at 0x80.
  KvString latin("");
  latin += wide;
  CHECK(Units(latin) == u"A66\u00E9?");
  KvString windows(2, 1);
  windows << wide;
  CHECK(Units(windows) == u"A66\u00E9\u0080");
  CHECK(windows.GetCodeSet() == 2);

  CHECK(Units(wide + latin) == u"A66\u00E9\u20ACA66\u00E9?");
  CHECK((wide + latin).GetCodeSet() == 253);
  CHECK(Bytes("<" + KvString("b") + ">") == "<b>");
}

TEST_CASE("the string limit cuts without an error and reports when asked") {
  Overflows overflows;
  const std::string tooLong(70000, 'a');
  KvString text(tooLong.c_str());
  CHECK(text.Len() == 65531);
  CHECK(text.GetBufferSize() == 65532);
  text << "b";
  CHECK(overflows.count == 0);
  DefaultConfig().SetValue("debug", "stringOverflow", 1);
  KvString copy(text);
  CHECK(overflows.count == 0);
  text << "b";
  CHECK(text.Len() == 65531);
  CHECK(overflows.count == 1);
  CHECK(Overflows::last == "String overflow|src/kvstring|1113");
  text.Insert(KvString("XY"), 1);
  CHECK(Bytes(text).substr(0, 4) == "aXYa");
  CHECK(text.Len() == 65531);
  CHECK(overflows.count == 2);

  const std::u16string longWide(40000, u'w');
  KvString wide(longWide.c_str() == nullptr ? nullptr : Wide(longWide.c_str()));
  CHECK(wide.Len() == 32765);
  wide.Fill(65535, 'z');
  CHECK(wide.Len() == 32765);
  CHECK(overflows.count == 3);
  text.MapToCodeSet(253);
  CHECK(text.Len() == 32765);
  CHECK(overflows.count == 4);
  DefaultConfig().SetValue("debug", "stringOverflow", 0);
  text << "b";
  CHECK(overflows.count == 4);
  // Up to the limit nothing overflows.
  DefaultConfig().SetValue("debug", "stringOverflow", 1);
  KvString full(std::string(65530, 'a').c_str());
  full << "b";
  CHECK(full.GetBufferSize() == KvString::kMaximumBytes);
  KvString longer("\xDF");  // becomes two letters
  longer.ToUpper();
  const auto print = [&full](unsigned count) {
    std::string bytes(count, 'm');
    DefaultTypeMgr(nullptr)->PrintToKvString(Kv1B_T, full, bytes.data(), nullptr, count);
    CHECK(full.Len() == KvString::kMaximumBytes - 1);
  };
  print(KvString::kMaximumBytes - 1);
  full.ToUpper();
  const std::string justFits = std::string(KvString::kMaximumBytes - 5, 'm') + '\a';
  DefaultTypeMgr(nullptr)->PrintToKvString(Kv1B_T, full, const_cast<char*>(justFits.data()),
                                           nullptr, static_cast<unsigned>(justFits.size()));
  CHECK(full.Len() == KvString::kMaximumBytes - 1);
  KvObjId id{1, 2, 3};
  DefaultTypeMgr(nullptr)->PrintToKvString(KvOBJID_T, full, &id, nullptr, 1);
  print(KvString::kMaximumBytes - 1);
  CHECK(overflows.count == 4);
  print(KvString::kMaximumBytes);
  CHECK(overflows.count == 5);
  full.Replace("\xDF", 0);  // becomes two letters
  full.ToUpper();
  CHECK(overflows.count == 6);
}

TEST_CASE("a plain text is cut to the width it is appended to, a string is not") {
  Overflows overflows;
  DefaultConfig().SetValue("debug", "stringOverflow", 1);
  const std::string bytes(40000, 'b');
  const std::u16string units(40000, u'w');
  KvString narrow(1, 1);
  narrow << Wide(units.c_str());
  CHECK(narrow.Len() == 40000);
  KvString wide(253, 1);
  wide << bytes.c_str();
  CHECK(wide.Len() == 32765);
  CHECK(overflows.count == 0);
  // Cut silently to what would fit alone, then reported for what does not fit behind the first.
  KvString both(253, 1);
  both << "x" << bytes.c_str();
  CHECK(both.Len() == 32765);
  CHECK(overflows.count == 1);
  KvString string(253, 1);
  string << KvString(bytes.c_str());
  CHECK(string.Len() == 32765);
  CHECK(overflows.count == 2);
  DefaultConfig().SetValue("debug", "stringOverflow", 0);
}

TEST_CASE("a string labelled 255 is 16-bit text like any other above 224") {
  const std::u16string units = u"  stra\u00DFe \u0436";
  KvString marked = Make(units, 253);
  REQUIRE(marked.SetCodeSetCode(255) == kvOk);
  KvString plain = Make(units, 253);
  CHECK(marked == plain);
  CHECK(marked.Compare(plain, 3, kvCompareKeyOrder) == 0);
  CHECK(marked.Find(KvString("\xDF"), 0, 0) == 6);
  marked.ToUpper();
  CHECK(Units(marked) == u"  STRASSE \u0416");
  CHECK(marked.GetCodeSet() == 255);
  marked.ToLower();
  marked.LeftTrim();
  CHECK(Units(marked) == u"strasse \u0436");
  marked[0] = KvChar('\xC4');
  CHECK(Units(marked) == u"\u00C4trasse \u0436");
  KvStringIterator each(marked);
  KvStringIterator copy = each++;
  CHECK((*each).Value() == u't');
  CHECK((*copy).GetCodeSet() == 255);
  CHECK(copy.GetNextOrder(0) == KvStringIterator(KvChar('\xC4')).GetNextOrder(0));
  each.SetOverflow(nullptr);
  CHECK((*each).ToUpper(nullptr).GetCodeSet() == 255);
  CHECK((*each).ToUpper(nullptr).Value() == u'T');
  // As an argument 255 is the default code set of its kind.
  CHECK(KvChar("ab", 255, 1).GetCodeSet() == 1);
  CHECK(KvStringIterator("ab", 255, 1).GetCodeSet() == 1);
}

TEST_CASE("assignment and the lifecycle members") {
  KvString a = Make(u"caf\u00E9", 2, 3);
  KvString b;
  b = a;
  CHECK(Bytes(b) == "caf\xE9");
  CHECK(b.GetCodeSet() == 2);
  CHECK(b.GetLanguage() == 3);
  b = *&b;
  CHECK(b.Len() == 4);
  b = b.StrGet() + 1;  // its own text
  CHECK(Bytes(b) == "af\xE9");
  CHECK(b.GetCodeSet() == 1);
  CHECK(b.GetLanguage() == 1);
  b = static_cast<const char*>(nullptr);
  CHECK(b.GetBufferSize() == 0);
  CHECK(Units(b = Wide(u"xy")) == u"xy");
  CHECK(b.GetCodeSet() == 253);

  KvString moved;
  moved.Destruct(a);
  CHECK(Bytes(moved) == "caf\xE9");
  CHECK(a.GetBufferSize() == 0);
  CHECK(a.GetCodeSet() == 2);
  moved.Destruct(moved);
  CHECK(moved.Len() == 4);
  moved.d_deactivate();
  CHECK(moved.GetCodeSet() == 2);
  CHECK(moved.GetLanguage() == 3);

  moved << "text";
  CHECK(moved.SetNullValue() == 0);
  CHECK(moved.GetBufferSize() == 0);
  CHECK((moved.IsNullValue() && moved.IsEmpty() && moved.GetCodeSet() == 0));
  KvString copy(moved);
  CHECK(copy.IsNullValue());
  moved.Destroy();
  CHECK(!moved.IsNullValue());
  CHECK(moved.GetCodeSet() == 0);
  CHECK(moved.GetLanguage() == 0);
  CHECK(KvString(static_cast<unsigned char>(254), static_cast<unsigned char>(0)).IsNullValue());
  CHECK(!KvString::EmptyString().IsNullValue());

  alignas(KvString) unsigned char raw[sizeof(KvString)];
  std::memset(raw, 0xAA, sizeof raw);
  auto* fresh = reinterpret_cast<KvString*>(raw);
  fresh->Init();
  CHECK(fresh->GetCodeSet() == 1);
  CHECK(fresh->Len() == 0);
}

TEST_CASE("code set operations relabel or convert") {
  KvString text("caf\xE9");
  text.SetCodeSet(9);
  CHECK(Bytes(text) == "caf\xE9");
  text.SetCodeSet(253);
  CHECK(Units(text) == u"caf\u0439");  // 0xE9 in Windows-1251
  CHECK(text.GetBufferSize() == 10);
  CHECK(text.SetCodeSetCode(1) == kvBadArgument);
  CHECK(text.SetCodeSetCode(252) == 0);
  CHECK(text.GetCodeSet() == 252);
  text.SetCodeSet(0);
  CHECK(Bytes(text) == "caf?");
  CHECK(text.GetCodeSet() == 0);
  CHECK(text.MapToCodeSet(0) == kvBadArgument);

  KvString umlaut("\xFC");
  CHECK(umlaut.MapToCodeSet(4) == 0);
  CHECK(Bytes(umlaut) == "\x81");  // IBM 850
  CHECK(umlaut.MapToCodeSet(4) == 0);

  KvString target = Make(u"a long buffer", 1);
  const unsigned short before = target.GetBufferSize();
  const KvString source = Make(u"abc\u20AC", 253, 5);
  CHECK(target.CopyMapped(source, 2, -1) == 4);
  CHECK(Bytes(target) == "abc\x80");
  CHECK(target.GetBufferSize() == before);
  CHECK(target.GetLanguage() == 5);
  CHECK(std::string(target.StrGet() + 4, before - 4) == std::string(before - 4u, '\0'));
  CHECK(target.CopyMapped(source, 253, 2) == 2);
  CHECK(Units(target) == u"ab");
  CHECK(target.CopyMapped(target, 1, -1) == kvBadArgument);
  KvString small;
  CHECK(small.CopyMapped(source, 253, -1) == 4);
  CHECK(small.GetBufferSize() == 10);
}

TEST_CASE("numbers are read as the C library reads them, within 32 and 64 bits") {
  CHECK(static_cast<int>(KvString("  +0x1F")) == 31);
  CHECK(static_cast<int>(KvString("017")) == 15);
  CHECK(static_cast<int>(KvString("99999999999")) == 2147483647);
  CHECK(static_cast<int>(KvString("-99999999999")) == std::numeric_limits<int>::min());
  CHECK(static_cast<long long>(KvString("0x7FFFFFFFFFFFFFFFF")) == 9223372036854775807LL);
  CHECK(static_cast<short>(KvString((std::string(40000, ' ') + "65537").c_str())) == 1);
  CHECK(static_cast<int>(KvString()) == 0);
  CHECK(static_cast<int>(KvString(Wide(u" \t-42x"))) == -42);
  CHECK(static_cast<int>(KvString(Wide(u"0x10"))) == 0);
  CHECK(static_cast<long long>(KvString(Wide(u"-000000000000000000000000000001"))) == -1);
  CHECK(static_cast<double>(KvString("2.5e3")) == 2500.0);
  CHECK(static_cast<double>(KvString(Wide(u"-infinity"))) ==
        -std::numeric_limits<double>::infinity());
  CHECK(static_cast<double>(KvString()) == 0.0);

  int number = 5;
  long long wide = 5;
  CHECK(KvString("+5").Atol(number) == -1);
  CHECK(number == 0);
  CHECK(KvString(" 5").Strtol(number) == -1);
  CHECK(KvString("x").Strtoll(wide) == -1);
  CHECK(wide == 0);
  CHECK(KvString().Atoll(wide) == -1);
  CHECK(KvString("-5").Atol(number) == 0);
  CHECK(number == -5);
  CHECK(KvString("0x10").Atol(number) == 0);
  CHECK(number == 0);
  CHECK(KvString("0x10").Strtol(number) == 0);
  CHECK(number == 16);
  CHECK(KvString("-0x8000000000000000").Strtoll(wide) == 0);
  CHECK(wide == std::numeric_limits<long long>::min());
  CHECK(KvString(Wide(u"0x10")).Strtoll(wide) == 0);
  CHECK(wide == 0);
}

TEST_CASE("16-bit numbers are read as the C library reads the bytes") {
  Random random(12);
  for (int round = 0; round < 20000; ++round) {
    std::string text(random(4), static_cast<char>(7 + random(27)));
    if (random(2) == 0) text += "+-x"[random(3)];
    text.append(random(3), '0');
    for (unsigned left = random(24); left != 0; --left) text += static_cast<char>('0' + random(10));
    text += "/:x"[random(3)];
    const std::u16string units(text.begin(), text.end());
    CHECK(static_cast<long long>(KvString(Wide(units.c_str()))) ==
          std::strtoll(text.c_str(), nullptr, 10));
  }
}

TEST_CASE("a unit becomes what its code set makes of it in that of the text") {
  std::u16string bytes;
  for (char16_t unit = 0x80; unit < 0x100; ++unit) bytes += unit;
  for (unsigned from = 0; from <= 13; ++from) {
    for (unsigned to = 0; to <= 13; ++to) {
      const auto source = static_cast<unsigned char>(from == 13 ? 253 : from);
      const auto target = static_cast<unsigned char>(to == 13 ? 253 : to);
      std::u16string expected = bytes;
      // Bytes stay what they are in any code set of bytes.
      for (char16_t& unit : expected) {
        if (from != 0 || to == 13) unit = KvCodeSet(target).MapFrom(unit, source);
      }
      const KvString text = Make(bytes, source);
      KvString copy(target, 1), filled(target, 1);
      CHECK((Units(copy << text) == expected));
      copy.Replace(text, 0);
      CHECK((Units(copy) == expected));
    }
  }
}

TEST_CASE("a text that lost its terminator ends with its block") {
  for (const unsigned char codeSet :
       {kvCodeSetBytes, static_cast<unsigned char>(1), kvCodeSetUnicode}) {
    for (const unsigned length : {0u, 1u, 3u, 4u, 7u, 100u, 127u, 128u, 600u, 2000u}) {
      KvString text = Make(std::u16string(length, u'7'), codeSet);
      if (length == 0) text.Fill(0, 'x');
      text[static_cast<int>(length)] = static_cast<unsigned short>('8');
      long long number = 0;
      text.Atoll(number);
      CHECK(number == std::strtoll(std::string(length, '7').c_str(), nullptr, 10));
      CHECK(double(text) == std::strtod(std::string(length, '7').c_str(), nullptr));
      CHECK((text.Len() == length && text.IsEmpty() == (length == 0)));
      support::WithEachVectorSet(
          [&] { CHECK(text.Find(Make(u"xxy", codeSet), 0, kvCompareExact) == -1); });
      const KvString copy(text);
      CHECK((Units(copy) == std::u16string(length, u'7')));
      CHECK((KvMBSLength(text, 65535) == int(length) && KvMBSLength(copy, 65535) == int(length)));
      CHECK((text << 'z').Len() == length + 1);
      CHECK(copy.Len() == length);
    }
  }
}
