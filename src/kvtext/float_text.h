// The default text of floating numbers: 17 significant digits, which read back to the same bits,
// and the words NaN, Infinity and -Infinity.
#pragma once

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <system_error>

#include "kvtext/decimal.h"
#include "kvtext/number_text.h"

namespace kv {

// What the word NaN reads as: a quiet NaN with its sign bit set. Stored data depends on the bits.
inline constexpr std::uint64_t kReadNaNBits = 0xFFF8000000000000;

// Room for the longest default text, terminator included: "-1.2345678901234567e-308".
inline constexpr unsigned kFloatTextSize = 32;

// Returns the length of the text.
inline unsigned PrintDefaultFloat(char (&text)[kFloatTextSize], double value) {
  const auto setWord = [&](const char* word) {
    std::memcpy(text, word, std::strlen(word) + 1);
    return static_cast<unsigned>(std::strlen(word));
  };
  if (std::isnan(value)) return setWord("NaN");
  if (std::isinf(value)) return setWord(value < 0 ? "-Infinity" : "Infinity");
  char* end =
      std::to_chars(text, text + sizeof text - 1, value, std::chars_format::general, 17).ptr;
  *end = 0;
  return static_cast<unsigned>(end - text);
}

constexpr char ToLowerLetter(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// Whether the whole of `text` is `word` (in lower case) in any letter case.
constexpr bool IsWord(const char* text, const char* word) {
  for (; *word != 0; ++text, ++word) {
    if (ToLowerLetter(*text) != *word) return false;
  }
  return *text == 0;
}

// Whether the decimal number at `digits` (digits, point, exponent) that is out of range is too
// large rather than too small: whether its first significant digit stands before the point once
// the exponent has moved it.
constexpr bool IsTooLarge(const char* digits) {
  long place = 0;
  bool pointSeen = false;
  bool significant = false;
  for (; IsDigit(*digits) || (*digits == '.' && !pointSeen); ++digits) {
    if (*digits == '.') {
      pointSeen = true;
      continue;
    }
    significant = significant || *digits != '0';
    if (significant && !pointSeen) ++place;
    if (!significant && pointSeen) --place;
  }
  if (*digits != 'e' && *digits != 'E') return place > 0;
  const bool negative = *++digits == '-';
  if (*digits == '-' || *digits == '+') ++digits;
  long exponent = 0;
  for (; IsDigit(*digits); ++digits)
    exponent = std::min(exponent * 10 + (*digits - '0'), 99999999L);
  return place + (negative ? -exponent : exponent) > 0;
}

// Reads the decimal number that stands behind the blanks of `text`. Beyond the range it is an
// infinity or a zero. Result: its end, null when there is none.
inline const char* ReadFloatText(const char* text, double& value) {
  const char* number = SkipBlanks(text);
  const bool negative = *number == '-';
  if (*number == '-' || *number == '+') ++number;
  if (!IsDigit(*number) && !(*number == '.' && IsDigit(number[1]))) return nullptr;
  double magnitude = 0;
  const auto result = ReadDouble(number, number + std::strlen(number), magnitude);
  if (result.ec == std::errc::result_out_of_range) {
    magnitude = IsTooLarge(number) ? std::numeric_limits<double>::infinity() : 0.0;
  }
  value = negative ? -magnitude : magnitude;
  return result.ptr;
}

// The number that one of the three words stands for, 0 for any other text.
inline double NumberOfWord(const char* text) {
  const double infinity = std::numeric_limits<double>::infinity();
  if (IsWord(text, "-infinity")) return -infinity;
  if (IsWord(text, "infinity")) return infinity;
  return IsWord(text, "nan") ? std::bit_cast<double>(kReadNaNBits) : 0.0;
}

// Reads a decimal number, or one of the three words when the text does not begin with one. Any
// other text is 0.
inline double ScanDefaultFloat(const char* text) {
  double value;
  return ReadFloatText(text, value) != nullptr ? value : NumberOfWord(text);
}

}  // namespace kv
