// Printing and scanning of the scalar rows: the C library is the oracle wherever it is defined.
#include <doctest/doctest.h>

#include <bit>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

#include "kvchecked.h"
#include "kvtext/decimal.h"
#include "support/random.h"
#include "support/texts.h"

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

template <class... Value>
std::string CLibrary(const std::string& format, Value... value) {
  char text[1040];
  std::snprintf(text, sizeof text, format.c_str(), value...);
  return text;
}

// A conversion for whole numbers, as it is written here and for the C library's widths.
struct IntegerFormat {
  std::string ours, c32, c64;
};

IntegerFormat RandomFormat(Random& random) {
  static constexpr const char* kFlags[] = {"", "-", "0", "+", " ", "-+", "#", "0#", "-#"};
  static constexpr const char* kModifiers[] = {"", "l", "ll", "I64", "h", "hh"};
  const char kind = "diuxXoc"[random() % 7];
  const bool isSigned = kind == 'd' || kind == 'i';
  const bool hasAlternative = kind == 'x' || kind == 'X' || kind == 'o';
  const unsigned choice = random() % 9;
  const bool fits = choice < 2 || (choice == 2 && kind != 'c') || (choice < 6 && isSigned) ||
                    (choice >= 6 && hasAlternative);
  std::string front = std::string("<%%%") + (fits ? kFlags[choice] : "");
  if (random() % 2 == 0) front += std::to_string(1 + random() % 30);
  if (kind != 'c' && random() % 3 == 0) front += "." + std::to_string(random() % 25);
  const unsigned modifier = kind == 'c' ? 0 : random() % 6;
  const std::string back = std::string(1, kind) + ">";
  const std::string narrow = modifier >= 4 ? kModifiers[modifier] : "";
  const std::string wide = kind == 'c' || modifier >= 4 ? narrow : "ll";
  return {front + kModifiers[modifier] + back, front + narrow + back, front + wide + back};
}

}  // namespace

TEST_CASE("whole numbers print as the C library prints them") {
  Random random(1);
  for (int round = 0; round < 20000; ++round) {
    const IntegerFormat format = RandomFormat(random);
    CAPTURE(format.ours);
    const auto wide = static_cast<o_8b>(random.Wide() >> random() % 64);
    const auto value = static_cast<o_4b>(wide);
    const auto half = static_cast<o_2b>(wide);
    // Zero as a character would end the C library's text as it ends ours.
    REQUIRE(Print(Kv4B_T, value, format.ours.c_str()) == CLibrary(format.c32, value));
    REQUIRE(Print(KvUNSIGNED_T, value, format.ours.c_str()) == CLibrary(format.c32, value));
    REQUIRE(Print(Kv2B_T, half, format.ours.c_str()) == CLibrary(format.c32, int{half}));
    REQUIRE(Print(KvU2B_T, half, format.ours.c_str()) == CLibrary(format.c32, int{half}));
    // The C library is given what its conversion reads, no more: elsewhere that is another
    // argument.
    const bool readsWide = format.c64.find("ll") != std::string::npos;
    REQUIRE(Print(Kv8B_T, wide, format.ours.c_str()) ==
            (readsWide ? CLibrary(format.c64, wide) : CLibrary(format.c64, value)));
  }
  for (const char* format : {"%.d", "%.0d", "%.0x", "%5.d"}) {
    CHECK(Print(Kv4B_T, o_4b{0}, format) == CLibrary(format, 0));
  }
  CHECK(Print(Kv4B_T, o_4b{5}, "%Ld") == "5");
  CHECK(Print(Kv2B_T, o_2b{-1}, "%x") == "ffffffff");
  CHECK(Print(Kv2B_T, o_2b{-1}, "%hx") == "ffff");
}

TEST_CASE("whole numbers of every length print in a block of just their size") {
  unsigned turn = 0;
  const auto check = [&turn](char id, auto value) {
    const std::string expected = std::to_string(value);
    KvString text;  // a character shorter, just as long, or longer
    text.Fill(static_cast<unsigned short>(expected.size() - 1 + turn++ % 3), 'x');
    DefaultTypeMgr(nullptr)->PrintToKvString(id, text, &value, nullptr, 1);
    REQUIRE(text.StrGet() == expected);
    REQUIRE(text.GetBufferSize() == expected.size() + 1);
  };
  const auto checkAll = [&](o_u8b value) {
    check(KvU8B_T, value);
    check(Kv8B_T, static_cast<o_8b>(value));
    check(KvU4B_T, static_cast<o_u4b>(value));
    check(Kv4B_T, static_cast<o_4b>(value));
    check(KvUNSIGNED_T, static_cast<unsigned>(value));
    check(KvU2B_T, static_cast<o_u2b>(value));
    check(Kv2B_T, static_cast<o_2b>(value));
  };
  Random random(11);
  for (o_u8b power = 1; power != 0; power = power > ~o_u8b{0} / 10 ? 0 : power * 10) {
    for (const o_u8b near : {power - 1, power, power + 1}) {
      checkAll(near);
      checkAll(0 - near);
    }
    for (int round = 0; round < 500; ++round) checkAll(random.Wide() % power);
  }
  for (unsigned bit = 0; bit < 64; ++bit) checkAll(o_u8b{1} << bit);
}

// A format that is given is parsed, the row's own is known: both must read and print alike.
template <class Integer>
void CheckOwnFormat(char type, const char* own, Random& random) {
  std::vector<std::string> texts = Parts(
      "|-|+|--5|+-5| \t-7|12x|x12|017|0x1F| 1 "
      "2|-0|\n+42|1.5|00000000012|999999999|1000000000|2147483648|-2147483649|4294967296|"
      "999999999999999999|-9999999999999999999|");
  for (unsigned length = 1; length < 25; ++length) {
    std::string text = random() % 2 == 0 ? "-" : " ";
    for (unsigned i = 0; i < length; ++i) text += static_cast<char>('0' + random() % 10);
    texts.push_back(text);
  }
  for (const std::string& text : texts) {
    CAPTURE(text);
    const std::vector<char> exact(own, own + std::strlen(own) + 1);  // nothing beside it is read
    const Integer value = Scan(type, text.c_str(), Integer{9});
    CHECK(value == Scan(type, text.c_str(), Integer{9}, exact.data()));
    CHECK(Print(type, value) == Print(type, value, exact.data()));
  }
}

TEST_CASE("the rows' own formats read and print as the same formats given") {
  Random random(6);
  CheckOwnFormat<o_2b>(Kv2B_T, "%hd", random);
  CheckOwnFormat<o_u2b>(KvU2B_T, "%hu", random);
  CheckOwnFormat<o_4b>(Kv4B_T, "%ld", random);
  CheckOwnFormat<o_u4b>(KvU4B_T, "%lu", random);
  CheckOwnFormat<o_u4b>(KvBLOCKID_T, "#%lu", random);
  CheckOwnFormat<int>(KvINT_T, "%d", random);
  CheckOwnFormat<int>(KvENUM_T, "%d", random);
  CheckOwnFormat<unsigned>(KvUNSIGNED_T, "%u", random);
  CheckOwnFormat<o_8b>(Kv8B_T, "%I64d", random);
  CheckOwnFormat<o_u8b>(KvU8B_T, "%I64u", random);
}

TEST_CASE("capital conversions and values that are not there") {
  for (const char* format : {"%A", "%E", "%G", "%a", "%e", "%g", "%f", "%F"}) {
    CAPTURE(format);
    for (const double value : {1.0, -1234.5, 1e-300}) {
      CHECK(Print(KvDOUBLE_T, value, format) == CLibrary(format, value));
    }
  }
  for (const char id : {Kv1B_T, Kv2B_T, Kv4B_T, KvDOUBLE_T, KvFLOAT_T, KvU2B_T, KvU4B_T, KvINT_T,
                        KvUNSIGNED_T, KvENUM_T, KvU1B_T, KvBLOCKID_T, Kv8B_T, KvU8B_T}) {
    CAPTURE(int{id});
    KvString out("before");
    CHECK(Types().PrintToKvString(id, out, nullptr, nullptr, 1).IsEmpty());
  }
}

TEST_CASE("a format that does not parse prints by the default and scans nothing") {
  for (const char* format :
       {"%n",   "%s",    "%*d",   "%d %d", "%",    "%d%",  "%ld%n",  "%q",  "%ls", "%g", "%5",
        "%I6d", "%I34d", "%I65d", "%I64",  "%.*d", "%1$d", "%[0-9]", "%'d", "%p",  "%jd"}) {
    CAPTURE(format);
    CHECK(Print(KvU2B_T, o_u2b{65535}, format) == "65535");
    CHECK(Print(KvBLOCKID_T, o_u4b{7}, format) == "#7");
    CHECK(Scan(Kv4B_T, "5 5", o_4b{9}, format) == 9);
    if (std::strcmp(format, "%g") != 0) {
      CHECK(Print(KvDOUBLE_T, 0.5, format) == "0.5");
      CHECK(Scan(KvDOUBLE_T, "5 5", 9.0, format) == 9.0);
    }
  }
  CHECK(Print(KvDOUBLE_T, 0.5, "%d") == "0.5");
  CHECK(Print(KvDOUBLE_T, 0.5, "ldexp(%d,%g)") == "0.5");
  CHECK(Print(Kv4B_T, o_4b{5}, "100%% sure") == "100% sure");
  CHECK(Print(Kv4B_T, o_4b{5}, "") == "");
  CHECK(Print(Kv4B_T, o_4b{5}, "xd") == "xd");
  CHECK(Print(Kv4B_T, o_4b{5}, "%d\x01") == "5\x01");
}

TEST_CASE("texts are cut at 1039 characters") {
  const std::string literal(2000, 'x');
  CHECK(Print(Kv4B_T, o_4b{5}, ("%d" + literal).c_str()) == ("5" + literal).substr(0, 1039));
  CHECK(Print(Kv4B_T, o_4b{5}, (literal + "%d").c_str()) == literal.substr(0, 1039));
  for (const std::string format : {"%1038d", "%1039d", "%-1041d|", "%.3000d", "a%1200.1100d"}) {
    CHECK(Print(Kv4B_T, o_4b{-5}, format.c_str()) == CLibrary(format, -5));
  }
  CHECK(Print(KvDOUBLE_T, 1e308, "%2000.2000f") == CLibrary("%2000.2000f", 1e308));
  CHECK(Print(Kv4B_T, o_4b{5}, "%99999999999999999999d") == std::string(1039, ' '));
}

TEST_CASE("whole numbers scan as the C library scans them") {
  Random random(2);
  for (int round = 0; round < 20000; ++round) {
    const char kind = "diuxXo"[random() % 6];
    const auto value = static_cast<int>(random() >> random() % 32);
    // Digits for the conversion, with the manners that scanning allows in front.
    const bool hex = kind == 'x' || kind == 'X' || (kind == 'i' && round % 3 == 0);
    const bool octal = kind == 'o' || (kind == 'i' && round % 3 == 1);
    std::string text = CLibrary(hex ? "0x%x" : octal ? "0%o" : "%u", value & 0x7FFFFFFF);
    text = std::string(random() % 3, ' ') + (random() % 3 == 0 ? "-" : "") + text + "rest";
    std::string format = std::string("%") + (random() % 4 == 0 ? "4" : "") + kind;
    CAPTURE(text);
    CAPTURE(format);
    int expected = 77;
    std::sscanf(text.c_str(), format.c_str(), &expected);
    REQUIRE(Scan(Kv4B_T, text.c_str(), o_4b{77}, format.c_str()) == expected);
  }
}

TEST_CASE("every character before a number and after its prefix is read as strtol reads it") {
  for (int c = 1; c < 256; ++c) {
    for (const char* around : {"?7", "0x?", "0X?1", "0?", "1?", "-?5"}) {
      std::string text = around;
      text[text.find('?')] = static_cast<char>(c);
      CAPTURE(text);
      char* end = nullptr;
      const auto expected = static_cast<o_4b>(std::strtol(text.c_str(), &end, 0));
      CHECK(Scan(Kv4B_T, text.c_str(), o_4b{77}, "%i") == (end == text.c_str() ? 77 : expected));
    }
  }
}

TEST_CASE("numbers beyond a row's range") {
  CHECK(Scan(Kv4B_T, "2147483648", o_4b{0}) == INT_MAX);
  CHECK(Scan(Kv4B_T, "-99999999999999999999", o_4b{0}) == INT_MIN);
  CHECK(Scan(KvU4B_T, "4294967295", o_u4b{0}) == UINT_MAX);
  CHECK(Scan(KvU4B_T, "4294967296", o_u4b{0}) == UINT_MAX);
  CHECK(Scan(KvU4B_T, "-1", o_u4b{0}) == UINT_MAX);
  CHECK(Scan(KvU4B_T, "-4294967295", o_u4b{0}) == 1);
  CHECK(Scan(Kv2B_T, "65537", o_2b{0}) == 1);
  CHECK(Scan(Kv2B_T, "4294967296", o_2b{0}) == -1);  // the 32-bit end, cut to 16 bits
  CHECK(Scan(KvU2B_T, "65535", o_u2b{0}) == 65535);
  CHECK(Scan(Kv8B_T, "-9223372036854775809", o_8b{0}) == LLONG_MIN);
  CHECK(Scan(KvU8B_T, "18446744073709551616", o_u8b{0}) == ULLONG_MAX);
  CHECK(Scan(Kv4B_T, "70000", o_4b{0}, "%hd") == 4464);
  CHECK(Scan(Kv4B_T, (std::string(4095, '0') + "78").c_str(), o_4b{0}, "%9999d") == 7);
}

TEST_CASE("what does not match leaves the destination alone") {
  for (const char* text : {"", "x", "-", "+ 5", "#5", "--5"}) {
    CAPTURE(text);
    CHECK(Scan(Kv4B_T, text, o_4b{9}) == 9);
  }
  CHECK(Scan(KvBLOCKID_T, "#12", o_u4b{9}) == 12);
  CHECK(Scan(KvBLOCKID_T, "12", o_u4b{9}) == 9);
  CHECK(Scan(Kv4B_T, "a  % 12", o_4b{9}, "a %%%d") == 12);
  CHECK(Scan(Kv4B_T, "12", o_4b{9}, "%d trailing") == 12);
  CHECK(Scan(Kv4B_T, "  x5", o_4b{9}, " x%d") == 5);
  CHECK(Scan(Kv4B_T, "x5", o_4b{9}, " x%d") == 5);
  CHECK(Scan(Kv4B_T, "A", o_4b{9}, "%c") == 'A');
  CHECK(Scan(Kv4B_T, "a b5", o_4b{9}, "ab%d") == 9);
  o_4b blank = 0;
  CHECK(KvScanChecked(Types(), Kv4B_T, &blank, KvString(" A"), "%c").position == 1);
  CHECK(blank == ' ');
  const char* const minus = "-5";
  CHECK(kv::ReadInteger(minus, minus, 10).end == nullptr);
  CHECK(Scan(Kv4B_T, "0xg", o_4b{9}, "%i") == 0);
  CHECK(Scan(Kv4B_T, "0X1F", o_4b{9}, "%i") == 31);
  CHECK(Scan(Kv4B_T, "0x1F", o_4b{9}, "%2i") == 0);  // the width ends before a digit
  CHECK(Scan(Kv4B_T, "", o_4b{9}, "%c") == 9);
  CHECK(Scan(KvDOUBLE_T, "x", 9.0, "%g") == 9.0);
  // Beyond the range without an exponent.
  CHECK(std::isinf(Scan(KvDOUBLE_T, std::string(400, '9').c_str(), 9.0)));
  CHECK(std::isinf(Scan(KvDOUBLE_T, (std::string(400, '9') + "x-999").c_str(), 9.0)));
  CHECK(Scan(KvDOUBLE_T, ("0." + std::string(400, '0') + "1").c_str(), 9.0) == 0.0);
  CHECK(Scan(KvDOUBLE_T, (std::string(400, '0') + "1e-350").c_str(), 9.0) == 0.0);
  KvString text("5");
  for (const char id : {Kv4B_T, Kv1B_T, KvDOUBLE_T, KvINT64_T, KvBOOLEAN_T}) {
    CHECK(Types().ScanFromKvString(id, nullptr, text, nullptr, 1) == nullptr);
  }
}

TEST_CASE("the exponent that stands by itself has 32 bits") {
  // What the first conversion asks for is not asked of the second.
  CHECK(Print(KvDOUBLE_T, 0.1, "ldexp(%#.9f,%x)") == "ldexp(0.800000000,fffffffd)");
  for (const char* exponent : {"2147483647", "4294967295", "99999999999"}) {
    const std::string text = std::string("ldexp(1,") + exponent + ")";
    CHECK(std::isinf(Scan(KvDOUBLE_T, text.c_str(), 9.0, "ldexp(%f,%d)")));
  }
  double zero = 9;
  CHECK(KvScanChecked(Types(), KvDOUBLE_T, &zero, KvString("ldexp(0,2147483647)"), "ldexp(%f,%d)")
            .status == kvOk);
}

TEST_CASE("a double's default text is the C library's and reads back to the same bits") {
  Random random(3);
  for (int round = 0; round < 30000; ++round) {
    auto value = std::bit_cast<double>(random.Wide());
    if (round % 3 == 0) value = static_cast<double>(static_cast<int>(random())) / 100;
    if (!std::isfinite(value)) continue;
    const std::string text = Print(KvDOUBLE_T, value);
    REQUIRE(text == CLibrary("%.17g", value));
    REQUIRE(std::bit_cast<std::uint64_t>(Scan(KvDOUBLE_T, text.c_str(), 9.0)) ==
            std::bit_cast<std::uint64_t>(value));
    const std::string mantissa = Print(KvDOUBLE_T, value, "ldexp(%.17g,%d)");
    REQUIRE(Scan(KvDOUBLE_T, mantissa.c_str(), 9.0, "ldexp(%.17g,%d)") == value);
    const auto narrow = static_cast<float>(value);
    if (std::isfinite(narrow)) {
      REQUIRE(Print(KvFLOAT_T, narrow) == CLibrary("%.17g", static_cast<double>(narrow)));
    }
    for (const char* format : {"%e", "%+.3f|", "%20.10g", "%a", "%#G", "%-12.1E!", "%-+ #012.3g"}) {
      REQUIRE(Print(KvDOUBLE_T, value, format) == CLibrary(format, value));
    }
  }
  CHECK(Print(KvDOUBLE_T, 0.1) == "0.10000000000000001");
  CHECK(Print(KvFLOAT_T, 0.1f) == "0.10000000149011612");
  CHECK(Print(KvDOUBLE_T, -0.0) == "-0");
}

// Powers of ten and what lies beside them: there the number of digits changes, and numbers between
// 2^53 and 10^18 that end in 5, whose rounding to 17 digits is a matter of their evenness.
TEST_CASE("doubles where digits begin and end print as the C library prints them") {
  const auto check = [](double value) {
    CAPTURE(value);
    REQUIRE(Print(KvDOUBLE_T, value) == CLibrary("%.17g", value));
    REQUIRE(Scan(KvDOUBLE_T, Print(KvDOUBLE_T, value).c_str(), 9.0) == value);
  };
  const auto checkNear = [&](double value) {
    double below = value;
    double above = value;
    for (int step = 0; step < 20; ++step) {
      for (const double near : {below, above}) {
        if (std::isfinite(near)) check(near);
      }
      below = std::nextafter(below, 0.0);
      above = std::nextafter(above, kInfinity);
    }
  };
  for (int power = -330; power <= 308; ++power) {
    checkNear(std::strtod(("1e" + std::to_string(power)).c_str(), nullptr));
    checkNear(std::strtod(("9.9999999999999999e" + std::to_string(power)).c_str(), nullptr));
  }
  for (int exponent = -1074; exponent <= 1023; ++exponent) checkNear(std::ldexp(1.0, exponent));
  for (o_8b number = 100000000000000000; number < 1000000000000000000; number += 123456789012345) {
    check(static_cast<double>(number / 32 * 32 + 8));
    check(static_cast<double>(number));
  }
}

// What is hard to read: ends of the range, points and exponents with nothing before or behind them.
constexpr const char* kDoubleTexts =
    "1x5|1e999|-1e999|1e-999|4.9e-324|2e-324|3e-324|-1e-320|+5|.5|5.|.|-| "
    "\t\n7|1e|1e+|1e5x|0.0000001e-320|1e99999999999999999999|0e99999999999999999999|"
    "1000000000000000000000e-400|0.00000000000000000001e330|179769313486231580793728971405301e276|"
    "1.7976931348623159e308|0.00000000000000000001234567890123456789e20|"
    "00000000000000000000000000000000012345|0.00000000000000000000000000000000000000|"
    "1234567890123456789012345678901234567890|18446744073709551616|9007199254740993|1."
    "00000000000000011102230246251565404e0|.99999999999999999999|0000099999999999999999999|2."
    "2250738585072011e-308|1.\t\t\t\t\t\t\t\t|--5||x|";

// A digit decides after so many that no reader keeps them all.
std::string FarFromHalfway(unsigned zeros, const char* rest) {
  return "9007199254740993." + std::string(zeros, '0') + rest;
}

#if defined(__cpp_lib_to_chars)
void CheckDigits(const std::string& text) {
  CAPTURE(text);
  const char* last = text.data() + text.size();
  double expected = 9;
  double read = 9;
  const auto [expectedEnd, expectedError] = std::from_chars(text.data(), last, expected);
  const auto [end, error] = kv::ReadDoubleByDigits(text.data(), last, read);
  CHECK(end == expectedEnd);
  CHECK(error == expectedError);
  CHECK(std::bit_cast<std::uint64_t>(read) == std::bit_cast<std::uint64_t>(expected));
}
#endif

TEST_CASE("texts read as doubles as strtod reads them") {
  for (const std::string& text : Parts(kDoubleTexts)) {
    CAPTURE(text);
    CHECK(std::bit_cast<std::uint64_t>(Scan(KvDOUBLE_T, text.c_str(), 9.0)) ==
          std::bit_cast<std::uint64_t>(std::strtod(text.c_str(), nullptr)));
  }
  for (int c = 1; c < 256; ++c) {
    std::string text = "1.6798679867986798";
    for (char& place : text) {
      const char before = std::exchange(place, static_cast<char>(c));
      REQUIRE(Scan(KvDOUBLE_T, text.c_str(), 9.0) == std::strtod(text.c_str(), nullptr));
      place = before;
    }
  }
  Random random(4);
  for (int round = 0; round < 30000; ++round) {
    std::string text = CLibrary(round % 2 == 0 ? "%llu." : ".%llu",
                                static_cast<unsigned long long>(random.Wide()));
    text += CLibrary("%ue%d", random(), static_cast<int>(random() % 700) - 350);
    REQUIRE(Scan(KvDOUBLE_T, text.c_str(), 9.0) == std::strtod(text.c_str(), nullptr));
  }
}

TEST_CASE("a double that is a halfway point but for one far digit is rounded by that digit") {
  for (const unsigned zeros : {0u, 750u, 751u, 752u, 753u, 2000u}) {
    CHECK(Scan(KvDOUBLE_T, FarFromHalfway(zeros, "").c_str(), 9.0) == 9007199254740992.0);
    CHECK(Scan(KvDOUBLE_T, FarFromHalfway(zeros, "1").c_str(), 9.0) == 9007199254740994.0);
    CHECK(Scan(KvDOUBLE_T, FarFromHalfway(zeros, "1e-99999").c_str(), 9.0) == 0.0);
  }
}

#if defined(__cpp_lib_to_chars)
TEST_CASE("doubles are read by their digits as the standard library reads them") {
  for (const std::string& text : Parts(kDoubleTexts)) {
    if (std::isdigit(text[0]) != 0 || (text[0] == '.' && text[1] != 0)) CheckDigits(text);
  }
  for (const unsigned zeros : {0u, 751u, 752u, 2000u}) {
    for (const char* rest : {"", "0", "1", "2e-20"}) CheckDigits(FarFromHalfway(zeros, rest));
  }
  // Halfway between two doubles, and 768 digits long where there is a wider type to print it from.
  CheckDigits(CLibrary("%.767Le", std::ldexp(18014398509481983.0L, -1075)));
  Random random(44);
  for (int round = 0; round < 30000; ++round) {
    const double value = std::abs(std::bit_cast<double>(random.Wide()));
    if (!std::isfinite(value)) continue;
    CheckDigits(CLibrary("%.*e", static_cast<int>(random() % 20), value));
    CheckDigits(CLibrary("%.*f", static_cast<int>(random() % 600), value));
  }
}
#endif

TEST_CASE("the words for infinities and NaN") {
  CHECK(Print(KvDOUBLE_T, kInfinity) == "Infinity");
  CHECK(Print(KvDOUBLE_T, -kInfinity) == "-Infinity");
  CHECK(Print(KvDOUBLE_T, -std::nan("")) == "NaN");
  CHECK(Print(KvFLOAT_T, -std::numeric_limits<float>::infinity()) == "-Infinity");
  CHECK(Print(KvDOUBLE_T, kInfinity, "%g") == CLibrary("%g", kInfinity));
  CHECK(Scan(KvDOUBLE_T, "iNFINITY", 9.0) == kInfinity);
  CHECK(Scan(KvDOUBLE_T, "-infinity", 9.0) == -kInfinity);
  CHECK(Scan(KvFLOAT_T, "1e39", 9.0f) == std::numeric_limits<float>::infinity());
  CHECK(std::bit_cast<o_u8b>(Scan(KvDOUBLE_T, "nAn", 9.0)) == 0xFFF8000000000000);
  CHECK(std::bit_cast<o_u4b>(Scan(KvFLOAT_T, "NaN", 9.0f)) == 0xFFC00000);
  for (const char* text : {"inf", "nan(1)", "+Infinity", " NaN", "Infinityx", "-NaN", "Infinit"}) {
    CAPTURE(text);
    CHECK(Scan(KvDOUBLE_T, text, 9.0) == 0.0);
  }
  CHECK(Scan(KvDOUBLE_T, "0x10", 9.0) == 0.0);  // the digit 0, then no number
  CHECK(Scan(KvDOUBLE_T, "0x10", 9.0, "%g") == 16.0);
  CHECK(Scan(KvDOUBLE_T, "12345", 9.0, "%3g") == 123.0);
  const std::string zeros(4096, '0');
  for (const char* format : {"%1040g", "%4095g", "%4096g", "%9999g"}) {
    CHECK(Scan(KvDOUBLE_T, (zeros + "5").c_str(), 9.0, format) == 0.0);
  }
  CHECK(Scan(KvDOUBLE_T, (zeros.substr(1) + "5").c_str(), 9.0, "%4096g") == 5.0);
  const std::string own = "%.17g";  // the default, from another place
  CHECK(Print(KvDOUBLE_T, -HUGE_VAL, own.c_str()) == "-Infinity");
  CHECK(Scan(KvDOUBLE_T, "-infinity", 9.0, own.c_str()) == -HUGE_VAL);
  CHECK(Scan(KvDOUBLE_T, "ldexp(0.5,3", 9.0, "ldexp(%g,%d)") == 4.0);
  CHECK(Scan(KvDOUBLE_T, "ldexp(0.5)", 9.0, "ldexp(%g,%d)") == 9.0);
}

TEST_CASE("characters print as one text and scan byte by byte") {
  char bytes[] = {'A', 0x07, 'B'};
  KvString out;
  std::string all, expected;
  for (int byte = 0; byte < 256; ++byte) {
    all += static_cast<char>(byte);
    const bool isPlain = byte >= ' ' && byte <= '~';
    const std::string printed = isPlain ? all.substr(all.size() - 1) : CLibrary("0x%02x", byte);
    CHECK(Print(Kv1B_T, all.back(), "<%c>") == (isPlain ? "<" + printed + ">" : printed));
    expected += printed;
  }
  CHECK(std::string(Types().PrintToKvString(Kv1B_T, out, all.data(), nullptr, 256).StrGet()) ==
        expected);
  CHECK(std::string(Types().PrintToKvString(KvU1B_T, out, bytes, "%d,", 1).StrGet()) == "65,");
  CHECK(std::string(Types().PrintToKvString(Kv1B_T, out, bytes, "%s", 3).StrGet()) == "A0x07B");
  CHECK(Types().PrintToKvString(Kv1B_T, out, bytes, nullptr, 0).IsEmpty());
  const std::vector<char> many(70000, 'm');
  char* run = const_cast<char*>(many.data());
  CHECK(Types().PrintToKvString(Kv1B_T, out, run, nullptr, 70000).Len() == 65531);

  char read[4] = "...";
  KvString text("xy");
  Types().ScanFromKvString(Kv1B_T, read, text, nullptr, 3);
  CHECK(std::string(read) == "xy.");
  text = "65";
  Types().ScanFromKvString(Kv1B_T, read, text, "%d", 3);  // from each position of the text
  CHECK(read[0] == 65);
  CHECK(read[1] == 5);
  CHECK(read[2] == '.');
}

TEST_CASE("16-bit text is converted first") {
  const unsigned short digits[] = {'-', '1', '2', '.', '5', 0};
  KvString text(digits);
  double number = 0;
  o_4b whole = 0;
  Types().ScanFromKvString(KvDOUBLE_T, &number, text, nullptr, 1);
  Types().ScanFromKvString(Kv4B_T, &whole, text, nullptr, 1);
  CHECK(number == -12.5);
  CHECK(whole == -12);
  const unsigned short accented[] = {0xE9, 0x20AC, 0};
  KvString letters(accented);
  char bytes[3] = "";
  Types().ScanFromKvString(Kv1B_T, bytes, letters, nullptr, 2);
  CHECK(std::string(bytes) == "\xE9?");
}
