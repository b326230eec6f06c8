// Reading whole numbers from text, with the manners of the C library: leading blanks, one sign, a
// radix told from the text or given. Digits that overflow are consumed all the same, and the value
// saturates at the width asked for. Unlike the C library's own functions the result depends neither
// on the ABI nor on the locale.
#pragma once

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <system_error>

namespace kv {

constexpr bool IsBlank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}
constexpr bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

constexpr bool IsHexDigit(char c) {
  return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// The digit of a value up to 15, and the value of a digit.
constexpr char HexDigit(unsigned value) {
  return "0123456789abcdef"[value];
}
constexpr unsigned HexValue(char digit) {
  return static_cast<unsigned>(IsDigit(digit) ? digit - '0' : (digit | 0x20) - 'a' + 10);
}

constexpr const char* SkipBlanks(const char* text) {
  while (IsBlank(*text)) ++text;
  return text;
}

// A number as it stands in a text: sign and magnitude. `end` is null when there was no number.
struct IntegerText {
  unsigned long long magnitude = 0;
  bool negative = false;
  bool overflow = false;  // the magnitude does not fit 64 bits
  const char* end = nullptr;
};

// Reads the number that stands in [text, last): no blanks are skipped. Radix 0 tells 0x1F and 017
// by their prefix; radix 16 takes the prefix 0x as well. A prefix without digits is the digit 0.
inline IntegerText ReadInteger(const char* text, const char* last, int radix) {
  IntegerText number;
  if (text < last && (*text == '-' || *text == '+')) number.negative = *text++ == '-';
  const bool hexPrefix = last - text >= 3 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X') &&
                         IsHexDigit(text[2]);
  if (hexPrefix && (radix == 0 || radix == 16)) {
    text += 2;
    radix = 16;
  }
  if (radix == 0) radix = text < last && *text == '0' ? 8 : 10;
  const auto [end, error] = std::from_chars(text, last, number.magnitude, radix);
  if (error == std::errc::invalid_argument) return number;
  number.overflow = error == std::errc::result_out_of_range;
  number.end = end;
  return number;
}

// The number as a signed value of `bits` bits (32 or 64): what lies beyond is the nearest end.
constexpr long long SaturateSigned(const IntegerText& number, unsigned bits) {
  const unsigned long long largest = (1ULL << (bits - 1)) - 1;
  const unsigned long long limit = largest + (number.negative ? 1 : 0);
  const auto magnitude = number.overflow ? limit : std::min(number.magnitude, limit);
  return static_cast<long long>(number.negative ? 0 - magnitude : magnitude);
}

// The number as an unsigned value of `bits` bits: a minus sign wraps, what lies beyond is the
// largest value, whatever the sign.
constexpr unsigned long long SaturateUnsigned(const IntegerText& number, unsigned bits) {
  const unsigned long long largest = ~0ULL >> (64 - bits);
  if (number.overflow || number.magnitude > largest) return largest;
  return number.negative ? (0 - number.magnitude) & largest : number.magnitude;
}

}  // namespace kv
