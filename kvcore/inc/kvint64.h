// kvint64.h - KvInt64: a signed 64-bit integer held as two 32-bit words, catalogue row KvINT64_T.
//
// Memory form (8 bytes, aligned to 4) and stored form (8 bytes):
//
//   offset 0   low   bits 0 to 31, unsigned
//   offset 4   high  bits 32 to 63, signed: value = high * 2^32 + low
//
// Stored reversed (format 2), each word's bytes are reversed but the low word still comes first.
// This is not the reversed form of o_8b; stored data depends on it.
//
// Arithmetic wraps silently at 64 bits. Division truncates toward zero.
//
//   KvInt64 total(1u, 2);          // low 1, high 2: 8589934593
//   total = (total - 1) / 2;       // 4294967296
//   total >> 33 == 0               // true
//   KvInt64(123456789.0).Get8b()   // 123456800, see the constructor from double
#pragma once

#include <cstring>

#include "kvbase.h"
#include "zbshost.h"

class KvString;

class KV_EXPORT KvInt64 {
 public:
  constexpr KvInt64() = default;  // 0
  constexpr KvInt64(int value) : KvInt64(static_cast<o_8b>(value)) {}
  constexpr KvInt64(unsigned value) : low(value) {}  // high word 0
  constexpr KvInt64(unsigned lowWord, int highWord) : low(lowWord), high(highWord) {}
  constexpr KvInt64(long value) : KvInt64(static_cast<o_8b>(value)) {}
  constexpr KvInt64(o_8b value) : KvInt64(FromBits(static_cast<o_u8b>(value))) {}

  // Keeps the seven significant decimal digits that "%E" prints and fills up with zeros; what is
  // left of the fraction after that rounding is cut off. Values made this way are stored, so the
  // loss stays. Magnitudes above 9223372036854774784 give 2^63 - 1 with the sign of `value` (so
  // -2^63 gives -(2^63 - 1)); magnitudes below 1 and NaN give 0.
  //   1.9999999 -> 2      -2.5 -> -2      123456789.0 -> 123456800      1e30 -> 2^63 - 1
  KvInt64(o_double value);

  constexpr o_8b Get8b() const { return static_cast<o_8b>(Bits()); }

  // The quotient when `wantRemainder` is 0, else the remainder, which has the dividend's sign.
  // Division by zero calls KIVO_assert("KvInt64 divide by zero", "src/kvint64", 746) and gives 0.
  // The most negative value divided by -1 stays what it is, remainder 0.
  constexpr KvInt64 Division(const KvInt64& divisor, int wantRemainder) const;

  // The magnitude; the most negative value, which has none, stays what it is.
  constexpr KvInt64 Abs() const { return high < 0 ? -*this : *this; }

  constexpr KvInt64 operator-() const { return FromBits(0 - Bits()); }
  constexpr KvInt64 operator~() const { return FromBits(~Bits()); }

  friend constexpr KvInt64 operator+(const KvInt64& a, const KvInt64& b) {
    return FromBits(a.Bits() + b.Bits());
  }
  friend constexpr KvInt64 operator-(const KvInt64& a, const KvInt64& b) {
    return FromBits(a.Bits() - b.Bits());
  }
  friend constexpr KvInt64 operator*(const KvInt64& a, const KvInt64& b) {
    // Multiplying by b's magnitude bit by bit and putting its sign back is the product modulo 2^64.
    // So are the rules for the most negative value: 0 by an even value, itself by an odd one.
    return FromBits(a.Bits() * b.Bits());
  }
  friend constexpr KvInt64 operator/(const KvInt64& a, const KvInt64& b) {
    return a.Division(b, 0);
  }
  friend constexpr KvInt64 operator%(const KvInt64& a, const KvInt64& b) {
    return a.Division(b, 1);
  }
  friend constexpr KvInt64 operator&(const KvInt64& a, const KvInt64& b) {
    return FromBits(a.Bits() & b.Bits());
  }
  friend constexpr KvInt64 operator|(const KvInt64& a, const KvInt64& b) {
    return FromBits(a.Bits() | b.Bits());
  }
  // Counts of 64 and more shift everything out.
  friend constexpr KvInt64 operator<<(const KvInt64& a, unsigned count) {
    return count < 64 ? FromBits(a.Bits() << count) : KvInt64();
  }
  // Arithmetic: the sign is copied in, so counts of 64 and more leave 0 or -1.
  friend constexpr KvInt64 operator>>(const KvInt64& a, unsigned count) {
    return a.Get8b() >> (count < 64 ? count : 63);
  }

  constexpr KvInt64& operator+=(const KvInt64& other) { return *this = *this + other; }
  constexpr KvInt64& operator-=(const KvInt64& other) { return *this = *this - other; }
  constexpr KvInt64& operator*=(const KvInt64& other) { return *this = *this * other; }
  constexpr KvInt64& operator/=(const KvInt64& other) { return *this = *this / other; }
  constexpr KvInt64& operator%=(const KvInt64& other) { return *this = *this % other; }
  constexpr KvInt64& operator<<=(unsigned count) { return *this = *this << count; }
  constexpr KvInt64& operator>>=(unsigned count) { return *this = *this >> count; }
  constexpr KvInt64& operator++() { return *this += 1; }
  constexpr KvInt64& operator--() { return *this -= 1; }

  friend constexpr bool operator==(const KvInt64& a, const KvInt64& b) {
    return a.Get8b() == b.Get8b();
  }
  friend constexpr bool operator!=(const KvInt64& a, const KvInt64& b) { return !(a == b); }
  friend constexpr bool operator<(const KvInt64& a, const KvInt64& b) {
    return a.Get8b() < b.Get8b();
  }
  friend constexpr bool operator>(const KvInt64& a, const KvInt64& b) { return b < a; }
  friend constexpr bool operator<=(const KvInt64& a, const KvInt64& b) { return !(b < a); }
  friend constexpr bool operator>=(const KvInt64& a, const KvInt64& b) { return !(a < b); }

  // Prints into `text`, replacing what it holds. Directives of `format`: %S %d %i decimal, %x %X
  // hexadecimal, %o octal with a 0 in front; a "-" stands before a negative value in any radix.
  // Everything else is copied. A null format is "%S". Result: `text`.
  KvString& PrintToKvString(KvString& text, const char* format = nullptr) const;
  // Reads what PrintToKvString printed with the same format: an optional sign, then digits of the
  // directive's radix, behind a 0x where that is 16. Result: 0, or kvNotSupported when the text
  // does not match; the value then stays as it is.
  int ScanFromKvString(const KvString& text, const char* format = nullptr);

  o_u4b low = 0;
  o_4b high = 0;

 private:
  // Two words in memory order are one 64-bit number where the low one comes first; elsewhere its
  // halves change places.
  static constexpr o_u8b LowWordFirst(o_u8b bits) {
    return kv::kHostIsBig ? bits << 32 | bits >> 32 : bits;
  }
  constexpr o_u8b Bits() const { return LowWordFirst(kv::BitCast<o_u8b>(*this)); }
  // Copied and not cast: what is cast some compilers take apart and store word by word.
  static constexpr KvInt64 FromBits(o_u8b number) {
    const o_u8b bits = LowWordFirst(number);
    if (__builtin_is_constant_evaluated()) return kv::BitCast<KvInt64>(bits);
    KvInt64 value;
    std::memcpy(static_cast<void*>(&value), &bits, sizeof value);
    return value;
  }
  static KvInt64 DivideByZero();
};

static_assert(sizeof(KvInt64) == 8 && alignof(KvInt64) == 4);

constexpr KvInt64 KvInt64::Division(const KvInt64& divisor, int wantRemainder) const {
  const o_8b by = divisor.Get8b();
  if (by == 0) return DivideByZero();
  // The one quotient that 64 bits cannot hold, and that the processor refuses, is -2^63 / -1;
  // negation wraps it to itself. Everywhere else dividing the magnitudes and putting the sign
  // back is what the processor's truncating division does.
  if (by == -1) return wantRemainder ? KvInt64() : -*this;
  return wantRemainder ? Get8b() % by : Get8b() / by;
}
