// Decimal digits of whole numbers whose length is known before the first of them is written: a
// KvString's block is of just the size of its text, and a caller's buffer is left alone when it is
// too small.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace kv {

// "00", "01" to "99".
inline constexpr std::array<char, 200> kTwoDigits = [] {
  std::array<char, 200> pairs{};
  for (unsigned i = 0; i < 100; ++i) {
    pairs[2 * i] = static_cast<char>('0' + i / 10);
    pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
  }
  return pairs;
}();

// 10, 100 and so on at 1, 2 and so on: the smallest number with so many digits and one. That of one
// digit is 0.
inline constexpr std::array<std::uint64_t, 20> kSmallestWith = [] {
  std::array<std::uint64_t, 20> smallest{};
  std::uint64_t power = 1;
  for (std::size_t i = 1; i < smallest.size(); ++i) smallest[i] = power *= 10;
  return smallest;
}();

template <class Unsigned>
constexpr unsigned CountDigits(Unsigned value) {
  // 1233 / 4096 is log 2 closely enough: one too few at most, which the number itself tells.
  const unsigned fewest = static_cast<unsigned>(std::bit_width(value | Unsigned{1})) * 1233 >> 12;
  return fewest + (value >= kSmallestWith[fewest] ? 1 : 0);
}

// --- Divisions of 64 bits ---
// Hosts of 32 bits do them in a function, some 30 ns each. What printing needs takes two or three
// products there.

inline constexpr bool kDividesWide = sizeof(void*) >= 8;

// A number below 10^17 as its upper nine digits and its lower eight.
struct DigitHalves {
  std::uint32_t upper;
  std::uint32_t lower;
};
constexpr DigitHalves SplitDigits(std::uint64_t number) {
  constexpr std::uint32_t kEight = 100000000;  // 2^8 * 5^8
  if constexpr (kDividesWide) {
    return {static_cast<std::uint32_t>(number / kEight),
            static_cast<std::uint32_t>(number % kEight)};
  } else {
    // The first 32 of 57 bits give a quotient that is right or one too small, as the rest tells.
    constexpr std::uint64_t kInverse = (std::uint64_t{1} << 50) / 390625;
    auto upper = static_cast<std::uint32_t>((number >> 25) * kInverse >> 33);
    std::uint32_t lower = static_cast<std::uint32_t>(number) - upper * kEight;
    const bool isSmall = lower >= kEight;
    upper += isSmall ? 1 : 0;
    lower -= isSmall ? kEight : 0;
    return {upper, lower};
  }
}

// Divides by ten. Result: the last digit.
constexpr unsigned TakeLastDigit(std::uint64_t& number) {
  if constexpr (kDividesWide) {
    const auto last = static_cast<unsigned>(number % 10);
    number /= 10;
    return last;
  } else {
    // 2^32 leaves 1 when it is divided by 5. What divides without a rest is multiplied instead.
    constexpr std::uint64_t kInverseOf5 = 0xCCCCCCCCCCCCCCCD;
    const std::uint64_t sum = (number & 0xFFFFFFFF) + (number >> 32);
    const unsigned rest =
        (static_cast<std::uint32_t>(sum) + static_cast<std::uint32_t>(sum >> 32)) % 5;
    const unsigned last = rest + 5 * ((rest ^ static_cast<unsigned>(number)) & 1);
    number = ((number - last) >> 1) * kInverseOf5;
    return last;
  }
}

// --- Writing ---

// Writes the digits of `value` so that they end before `end`; `value` 0 writes none. Result: where
// they begin.
inline char* WriteDigitsBefore(char* end, std::uint32_t value) {
  for (; value >= 100; value /= 100) {
    end -= 2;
    std::memcpy(end, &kTwoDigits[2 * (value % 100)], 2);
  }
  if (value >= 10) {
    end -= 2;
    std::memcpy(end, &kTwoDigits[2 * value], 2);
  } else if (value != 0) {
    *--end = static_cast<char>('0' + value);
  }
  return end;
}

// Writes eight digits, leading zeros among them, to `text`. The halves do not wait for each other.
inline void WriteEightDigits(char* text, std::uint32_t value) {
  const std::uint32_t upper = value / 10000;
  const std::uint32_t lower = value % 10000;
  std::memcpy(text, &kTwoDigits[2 * (upper / 100)], 2);
  std::memcpy(text + 2, &kTwoDigits[2 * (upper % 100)], 2);
  std::memcpy(text + 4, &kTwoDigits[2 * (lower / 100)], 2);
  std::memcpy(text + 6, &kTwoDigits[2 * (lower % 100)], 2);
}

// A whole number on its way to a text.
template <class Integer>
class DecimalInteger {
  // 64 bits only where they are needed: half the hosts divide them in a function.
  using Magnitude = std::conditional_t<sizeof(Integer) == 8, std::uint64_t, std::uint32_t>;

 public:
  explicit constexpr DecimalInteger(Integer value) : magnitude_(static_cast<Magnitude>(value)) {
    if (value < 0) {
      magnitude_ = 0 - magnitude_;
      isNegative_ = 1;
    }
    length_ = isNegative_ + CountDigits(magnitude_);
  }

  constexpr unsigned Length() const { return length_; }

  // Writes Length() characters to `text`.
  void WriteTo(char* text) const {
    *text = isNegative_ != 0 ? '-' : '0';
    char* end = text + length_;
    Magnitude rest = magnitude_;
    if constexpr (sizeof(Magnitude) == 8) {
      for (; rest > 0xFFFFFFFF; rest /= 100000000) {
        end -= 8;
        WriteEightDigits(end, static_cast<std::uint32_t>(rest % 100000000));
      }
    }
    WriteDigitsBefore(end, static_cast<std::uint32_t>(rest));
  }

 private:
  Magnitude magnitude_;
  unsigned isNegative_ = 0;
  unsigned length_;
};

}  // namespace kv
