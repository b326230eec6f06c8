// KvInt64 against two oracles: native 64-bit arithmetic, and a plain two-word implementation that
// adds with a carry, multiplies bit by bit and divides by shift and subtract.
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

struct Words {
  o_u4b low, high;
  bool operator==(const Words&) const = default;
  bool Negative() const { return (high & 0x80000000u) != 0; }
};

Words Of(const KvInt64& value) {
  return {value.low, static_cast<o_u4b>(value.high)};
}

Words Add(Words a, Words b) {
  const o_u4b low = a.low + b.low;
  return {low, a.high + b.high + (low < a.low ? 1u : 0u)};
}
Words Negate(Words a) {
  return Add({~a.low, ~a.high}, {1, 0});
}
Words Magnitude(Words a) {
  return a.Negative() ? Negate(a) : a;
}
Words Double(Words a) {
  return {a.low << 1, (a.high << 1) | (a.low >> 31)};
}
bool Bit(Words a, unsigned i) {
  return (((i < 32 ? a.low : a.high) >> (i % 32)) & 1) != 0;
}
bool Below(Words a, Words b) {
  return a.high != b.high ? a.high < b.high : a.low < b.low;
}

constexpr Words kMostNegative{0, 0x80000000u};

Words Multiply(Words a, Words b) {
  if (a == kMostNegative) return Bit(b, 0) ? kMostNegative : Words{0, 0};
  if (b == kMostNegative) return Bit(a, 0) ? kMostNegative : Words{0, 0};
  const Words by = Magnitude(b);
  Words product{0, 0};
  for (unsigned i = 0; i < 63; ++i, a = Double(a)) {
    if (Bit(by, i)) product = Add(product, a);
  }
  return b.Negative() ? Negate(product) : product;
}

Words Divide(Words a, Words b, bool wantRemainder) {
  const Words dividend = Magnitude(a), by = Magnitude(b);
  Words quotient{0, 0}, remainder{0, 0};
  for (int i = 63; i >= 0; --i) {
    remainder = Double(remainder);
    remainder.low |= Bit(dividend, static_cast<unsigned>(i)) ? 1 : 0;
    quotient = Double(quotient);
    if (!Below(remainder, by)) {
      remainder = Add(remainder, Negate(by));
      quotient.low |= 1;
    }
  }
  if (wantRemainder) return a.Negative() ? Negate(remainder) : remainder;
  return a.Negative() != b.Negative() ? Negate(quotient) : quotient;
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

TEST_CASE("arithmetic of generated values equals native and two-word arithmetic") {
  const std::vector<o_8b> values = Operands();
  for (const o_8b a : values) {
    for (const o_8b b : values) {
      CAPTURE(a);
      CAPTURE(b);
      const KvInt64 x(a), y(b);
      const Words u = Of(x), v = Of(y);
      REQUIRE(Of(x + y) == Add(u, v));
      REQUIRE(Of(x - y) == Add(u, Negate(v)));
      REQUIRE(Of(x * y) == Multiply(u, v));
      REQUIRE((x & y).Get8b() == (a & b));
      REQUIRE((x | y).Get8b() == (a | b));
      REQUIRE((x < y) == (a < b));
      REQUIRE((x > y) == (a > b));
      REQUIRE((x <= y) == (a <= b));
      REQUIRE((x >= y) == (a >= b));
      REQUIRE((x == y) == (a == b));
      REQUIRE((x != y) == (a != b));
      o_8b sum;
      if (!__builtin_add_overflow(a, b, &sum)) REQUIRE((KvInt64(x) += y).Get8b() == sum);
      REQUIRE((KvInt64(x) -= y) == x - y);
      REQUIRE((KvInt64(x) *= y) == x * y);
      if (b == 0) continue;
      REQUIRE((KvInt64(x) /= y) == x / y);
      REQUIRE((KvInt64(x) %= y) == x % y);
      REQUIRE(Of(x / y) == Divide(u, v, false));
      REQUIRE(Of(x % y) == Divide(u, v, true));
    }
    const KvInt64 x(a);
    CHECK(Of(-x) == Negate(Of(x)));
    CHECK((~x).Get8b() == ~a);
    CHECK(Of(x.Abs()) == Magnitude(Of(x)));
    CHECK(Of(++KvInt64(x)) == Add(Of(x), {1, 0}));
    CHECK(Of(--KvInt64(x)) == Add(Of(x), {~0u, ~0u}));
    Words shifted = Of(x);
    o_8b halved = a;
    for (unsigned count = 0; count < 70; ++count) {
      REQUIRE(Of(x << count) == shifted);
      REQUIRE((x >> count).Get8b() == halved);
      REQUIRE((KvInt64(x) <<= count) == x << count);
      REQUIRE((KvInt64(x) >>= count) == x >> count);
      shifted = Double(shifted);
      halved = (halved - (halved & 1)) / 2;
    }
  }
  CHECK((KvInt64(5) << UINT_MAX) == 0);
  CHECK((KvInt64(-5) >> UINT_MAX) == -1);
}

TEST_CASE("the constructors agree on the words") {
  CHECK(Of(KvInt64(-2)) == Words{0xFFFFFFFEu, 0xFFFFFFFFu});
  CHECK(Of(KvInt64(0xFFFFFFFEu)) == Words{0xFFFFFFFEu, 0});
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
