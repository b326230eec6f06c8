// KvInt64 against native 64-bit arithmetic, which wraps around without a sign.
#include <doctest/doctest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "kvint64.h"
#include "zbs.h"

namespace {

o_u8b Bits(const KvInt64& value) {
  return o_u8b{static_cast<o_u4b>(value.high)} << 32 | value.low;
}
o_u8b WithSign(o_u8b magnitude, bool isNegative) {
  return isNegative ? 0 - magnitude : magnitude;
}
o_u8b Magnitude(o_8b value) {
  return WithSign(static_cast<o_u8b>(value), value < 0);
}

// Edge values crossed with each other, then random ones of every magnitude.
std::vector<o_8b> Operands() {
  std::vector<o_8b> values;
  for (const o_8b edge : {0LL, 9LL, 0x80000000LL, 0x100000000LL, LLONG_MIN, 0x7FFFFFFF00000000LL}) {
    for (const o_8b near : {-2, -1, 0, 1, 2}) {
      values.push_back(static_cast<o_8b>(static_cast<o_u8b>(edge) + static_cast<o_u8b>(near)));
      values.push_back(static_cast<o_8b>(static_cast<o_u8b>(near) - static_cast<o_u8b>(edge)));
    }
  }
  std::mt19937_64 random(20260801);
  for (int i = 0; i < 200; ++i) values.push_back(static_cast<o_8b>(random()) >> (random() % 63));
  return values;
}

std::string g_assertion;
void RecordAssertion(const char* text, const char* source, int line) {
  g_assertion = std::string(text) + "|" + source + "|" + std::to_string(line);
}

}  // namespace

TEST_CASE("arithmetic of generated values equals native arithmetic") {
  const std::vector<o_8b> values = Operands();
  for (const o_8b a : values) {
    for (const o_8b b : values) {
      CAPTURE(a);
      CAPTURE(b);
      const KvInt64 x(a), y(b);
      const auto u = static_cast<o_u8b>(a), v = static_cast<o_u8b>(b);
      REQUIRE(Bits(x + y) == u + v);
      REQUIRE(Bits(x - y) == u - v);
      REQUIRE(Bits(x * y) == u * v);
      REQUIRE((x & y).Get8b() == (a & b));
      REQUIRE((x | y).Get8b() == (a | b));
      REQUIRE((x < y) == (a < b));
      REQUIRE((x > y) == (a > b));
      REQUIRE((x <= y) == (a <= b));
      REQUIRE((x >= y) == (a >= b));
      REQUIRE((x == y) == (a == b));
      REQUIRE((x != y) == (a != b));
      REQUIRE((KvInt64(x) += y) == x + y);
      REQUIRE((KvInt64(x) -= y) == x - y);
      REQUIRE((KvInt64(x) *= y) == x * y);
      if (b == 0) continue;
      REQUIRE((KvInt64(x) /= y) == x / y);
      REQUIRE((KvInt64(x) %= y) == x % y);
      REQUIRE(Bits(x / y) == WithSign(Magnitude(a) / Magnitude(b), (a < 0) != (b < 0)));
      REQUIRE(Bits(x % y) == WithSign(Magnitude(a) % Magnitude(b), a < 0));
    }
    const KvInt64 x(a);
    const auto u = static_cast<o_u8b>(a);
    CHECK(Bits(-x) == 0 - u);
    CHECK((~x).Get8b() == ~a);
    CHECK(Bits(x.Abs()) == Magnitude(a));
    CHECK(Bits(++KvInt64(x)) == u + 1);
    CHECK(Bits(--KvInt64(x)) == u - 1);
    o_8b halved = a;
    for (unsigned count = 0; count < 70; ++count) {
      REQUIRE(Bits(x << count) == (count < 64 ? u << count : 0));
      REQUIRE((x >> count).Get8b() == halved);
      REQUIRE((KvInt64(x) <<= count) == x << count);
      REQUIRE((KvInt64(x) >>= count) == x >> count);
      halved = (halved - (halved & 1)) / 2;
    }
  }
  CHECK((KvInt64(5) << UINT_MAX) == 0);
  CHECK((KvInt64(-5) >> UINT_MAX) == -1);
}

TEST_CASE("the constructors agree on the words") {
  CHECK(Bits(KvInt64(-2)) == 0xFFFFFFFFFFFFFFFE);
  CHECK(Bits(KvInt64(0xFFFFFFFEu)) == 0xFFFFFFFE);
  CHECK(KvInt64(1u, -1).Get8b() == -0xFFFFFFFFll);
  CHECK(KvInt64(-3l) == KvInt64(-3));
  KvInt64 assigned(7u, 7);
  assigned = -1;
  CHECK(assigned.Get8b() == -1);
}

TEST_CASE("division by zero is reported and gives 0") {
  const KvAssertHandler previous = KIVO_SetAssertHandler(RecordAssertion);
  CHECK((KvInt64(9) / KvInt64(0)).Get8b() == 0);
  CHECK(g_assertion == "KvInt64 divide by zero|src/kvint64|746");
  g_assertion.clear();
  CHECK(KvInt64(9).Division(KvInt64(), 1).Get8b() == 0);
  CHECK(g_assertion == "KvInt64 divide by zero|src/kvint64|746");
  KIVO_SetAssertHandler(previous);
}

TEST_CASE("a double is taken through its seven printed digits") {
  struct {
    o_double from;
    o_8b to;
  } const cases[] = {{0.9, 0},
                     {1.0, 1},
                     {-1.0, -1},
                     {-2.5, -2},
                     {1.9999999, 2},
                     {9.9999999, 10},
                     {123456789.0, 123456800},
                     {-123456750.0, -123456800},
                     {9223372036854774784.0, 9223372000000000000},
                     {9223372036854775808.0, LLONG_MAX},
                     {-9223372036854775808.0, -LLONG_MAX},
                     {1e30, LLONG_MAX},
                     {HUGE_VAL, LLONG_MAX},
                     {-HUGE_VAL, -LLONG_MAX},
                     {NAN, 0}};
  for (const auto& one : cases) {
    CAPTURE(one.from);
    CHECK(KvInt64(one.from).Get8b() == one.to);
  }
  // Oracle: printing with "%.6E" and reading the text back as an exact long double cuts the same.
  std::mt19937_64 random(7);
  for (int i = 0; i < 20000; ++i) {
    const o_double x =
        std::ldexp(static_cast<o_double>(random()), -static_cast<int>(random() % 70));
    if (x > 9.2e18) continue;
    char text[32];
    std::snprintf(text, sizeof text, "%E", x);
    const o_8b expected = x < 1 ? 0 : static_cast<o_8b>(std::strtold(text, nullptr));
    REQUIRE(KvInt64(-x).Get8b() == -expected);
  }
}
