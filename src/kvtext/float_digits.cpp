// Powers of ten are kept with 128 bits, 11 KB of them; all numbers at hand mostly share a few. All
// are cut off, never rounded up, so that what is left out has a sign: the true power lies less than
// a unit of its 128th bit above the one that is used.
#include "kvtext/float_digits.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>

#include "kvtext/digits.h"

namespace kv {
namespace {

// --- Products of 64 bits ---

struct Bits128 {
  std::uint64_t high = 0;
  std::uint64_t low = 0;
};

Bits128 Multiply(std::uint64_t a, std::uint64_t b) {
#if defined(__SIZEOF_INT128__)
  __extension__ using Wide = unsigned __int128;
  const Wide product = static_cast<Wide>(a) * b;
  return {static_cast<std::uint64_t>(product >> 64), static_cast<std::uint64_t>(product)};
#else
  constexpr std::uint64_t kHalf = 0xFFFFFFFF;
  const std::uint64_t low = (a & kHalf) * (b & kHalf);
  const std::uint64_t right = (a & kHalf) * (b >> 32);
  const std::uint64_t left = (a >> 32) * (b & kHalf);
  const std::uint64_t middle = (low >> 32) + (left & kHalf) + (right & kHalf);
  return {(a >> 32) * (b >> 32) + (left >> 32) + (right >> 32) + (middle >> 32),
          middle << 32 | (low & kHalf)};
#endif
}

// The upper 128 of the 192 bits of a product, and the rest.
struct Bits192 {
  std::uint64_t high;
  std::uint64_t middle;
  std::uint64_t low;
};

Bits192 Multiply(const Bits128& a, std::uint64_t b) {
  const Bits128 upper = Multiply(a.high, b);
  const Bits128 lower = Multiply(a.low, b);
  const std::uint64_t middle = upper.low + lower.high;
  return {upper.high + (middle < lower.high ? 1 : 0), middle, lower.low};
}

// --- Powers of ten ---

// Of 10^kLeastPower, behind the least double's digits, up to what brings that to 17 digits.
constexpr int kLeastPower = -342;
constexpr int kGreatestPower = 340;
constexpr unsigned kPowers = kGreatestPower - kLeastPower + 1;

// bits times 2^exponent; the first bit is set.
struct Power {
  Bits128 bits;
  int exponent = 0;
};

// The exponent that belongs to 128 bits: 217706 / 2^16 is the logarithm of ten to the base of two
// closely enough, as is seen below.
constexpr int ExponentOf(int power) {
  return (power * 217706 >> 16) - 127;
}

// A whole number of the compiler's own, to make the table.
class LongNumber {
 public:
  // 2^bit
  constexpr explicit LongNumber(unsigned bit) { words_[bit / 32] = 1u << bit % 32; }

  constexpr void MultiplyBy5() {
    std::uint64_t carry = 0;
    for (std::uint32_t& word : words_) {
      carry += std::uint64_t{word} * 5;
      word = static_cast<std::uint32_t>(carry);
      carry >>= 32;
    }
  }
  constexpr void DivideBy5() {
    std::uint64_t rest = 0;
    for (std::size_t i = words_.size(); i-- > 0;) {
      rest = rest << 32 | words_[i];
      words_[i] = static_cast<std::uint32_t>(rest / 5);
      rest %= 5;
    }
  }

  // The first 128 bits, and the power of two that they are to be multiplied with.
  constexpr Power Cut() const {
    std::size_t top = words_.size() - 1;
    while (words_[top] == 0) --top;
    const auto unused = static_cast<unsigned>(std::countl_zero(words_[top]));
    Power cut;
    cut.exponent = 32 * (static_cast<int>(top) - 3) - static_cast<int>(unused);
    for (unsigned i = 0; i < 4; ++i) {
      const std::uint64_t pair = std::uint64_t{Word(top, i)} << 32 | Word(top, i + 1);
      std::uint64_t& half = i < 2 ? cut.bits.high : cut.bits.low;
      half = half << 32 | static_cast<std::uint32_t>(pair >> (32 - unused));
    }
    return cut;
  }

 private:
  constexpr std::uint32_t Word(std::size_t top, std::size_t below) const {
    return below <= top ? words_[top - below] : 0;
  }

  std::array<std::uint32_t, 40> words_{};
};

constexpr Power CutPower(const LongNumber& number, int power, int unit) {
  Power cut = number.Cut();
  cut.exponent += power - unit;  // 10^n is 5^n times 2^n
  return cut;
}

// By power; what has another exponent than is told for it has no bits.
constexpr std::array<Bits128, kPowers> kBitsOfPowers = [] {
  std::array<Bits128, kPowers> all{};
  const auto put = [&all](const Power& power, int exponent) {
    if (power.exponent == ExponentOf(exponent)) {
      all[static_cast<std::size_t>(exponent - kLeastPower)] = power.bits;
    }
  };
  LongNumber whole(0);
  for (int power = 0; power <= kGreatestPower; ++power) {
    put(CutPower(whole, power, 0), power);
    whole.MultiplyBy5();
  }
  constexpr int kUnit = 1200;  // so many bits stand behind the point
  LongNumber fraction(kUnit);
  for (int power = 0; power >= kLeastPower; --power) {
    put(CutPower(fraction, power, kUnit), power);
    fraction.DivideBy5();
  }
  return all;
}();

static_assert(std::all_of(kBitsOfPowers.begin(), kBitsOfPowers.end(),
                          [](const Bits128& bits) { return bits.high >> 63 != 0; }),
              "every power is there");

Power PowerOfTen(int power) {
  return {kBitsOfPowers[static_cast<std::size_t>(power - kLeastPower)], ExponentOf(power)};
}

// --- Fractions, of 64 bits ---

constexpr std::uint64_t kHalf = std::uint64_t{1} << 63;

// More than what is left out can make of a fraction.
constexpr std::uint64_t kUnsure = 4;

// Whether the true fraction may be a half, or on the other side of it.
constexpr bool MayBeHalf(std::uint64_t fraction) {
  return fraction - (kHalf - kUnsure) <= kUnsure;
}

// The bits of a product behind its first 64 - `whole`, 64 of them.
constexpr std::uint64_t FractionBehind(const Bits192& product, int whole) {
  return product.high << (64 - whole) | product.middle >> whole;
}

constexpr int kMantissaBits = 52;
constexpr int kExponentBias = 1023;

// A value above zero as bits times 2^exponent; the first of the 64 bits is set.
struct Binary {
  explicit Binary(double value) {
    const auto all = std::bit_cast<std::uint64_t>(value);
    const std::uint64_t mantissa = all & ((std::uint64_t{1} << kMantissaBits) - 1);
    const int biased = static_cast<int>(all >> kMantissaBits);
    bits = biased == 0 ? mantissa : mantissa | std::uint64_t{1} << kMantissaBits;
    const int unused = std::countl_zero(bits);
    bits <<= unused;
    exponent = (biased == 0 ? 1 : biased) - kExponentBias - kMantissaBits - unused;
  }
  std::uint64_t bits;
  int exponent;
};

constexpr std::uint64_t kMostOf17 = 99999999999999999;

// Cuts a number of 18 digits and a fraction to 17 digits. False when the rounding is unsure.
bool CutToSeventeen(std::uint64_t& digits, std::uint64_t fraction) {
  const unsigned last = TakeLastDigit(digits);
  if ((last == 4 && fraction >= 0 - kUnsure) || (last == 5 && fraction == 0)) return false;
  digits += last >= 5 ? 1 : 0;
  return true;
}

}  // namespace

bool FindDigits(double value, SeventeenDigits& found) {
  const Binary binary(value);
  // The logarithm of two is 315653 / 2^20 closely enough for all exponents: the power of ten at or
  // below the power of two at or below the value. So there are 17 digits before the point, or 18.
  found.power = (binary.exponent + 63) * 315653 >> 20;
  const Power ten = PowerOfTen(16 - found.power);
  const Bits192 product = Multiply(ten.bits, binary.bits);
  const int behind = -(binary.exponent + ten.exponent + 128);
  const std::uint64_t fraction = FractionBehind(product, behind);
  found.digits = product.high >> behind;
  if (found.digits > kMostOf17) {
    ++found.power;
    if (!CutToSeventeen(found.digits, fraction)) return false;
  } else {
    if (MayBeHalf(fraction)) return false;
    found.digits += fraction >> 63;
  }
  if (found.digits > kMostOf17) {
    TakeLastDigit(found.digits);
    ++found.power;
  }
  return true;
}

std::uint64_t ComposeDouble(std::uint64_t digits, int power) {
  if (digits == 0 || power < kLeastPower || power > kGreatestPower) return 0;
  const int unused = std::countl_zero(digits);
  const Power ten = PowerOfTen(power);
  const Bits192 product = Multiply(ten.bits, digits << unused);
  const int first = static_cast<int>(product.high >> 63);  // whether the first bit is set
  const int behind = 63 - kMantissaBits - 1 + first;
  const std::uint64_t fraction = FractionBehind(product, behind);
  if (MayBeHalf(fraction)) return 0;
  const std::uint64_t mantissa = (product.high >> behind) + (fraction >> 63);
  const int exponent = ten.exponent - unused + 190 + first + kExponentBias;
  if (exponent <= 0 || exponent >= 2 * kExponentBias) return 0;
  // The first bit of the mantissa adds one to the exponent, and so does one that was rounded up to
  // the next power of two.
  return (static_cast<std::uint64_t>(exponent - 1) << kMantissaBits) + mantissa;
}

}  // namespace kv
