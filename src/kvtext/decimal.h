// Decimal numbers into doubles, right to the last bit and in every locale. Not every standard
// library has from_chars for floating numbers; where it is missing, the digits are counted here and
// strtod, which rounds exactly, gets them without a point: that it would look up in the locale.
#pragma once

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <system_error>

#include "kvtext/number_text.h"

namespace kv {

// A number as digits and a power of ten: 0.0125e3 is 125 and -1.
class PlainDecimal {
 public:
  // Result: behind the number at `at`, which has a digit at least.
  const char* Read(const char* at, const char* last) {
    at = TakeDigits(at, last, false);
    if (at != last && *at == '.') at = TakeDigits(at + 1, last, true);
    return TakeExponent(at, last);
  }

  bool IsZero() const { return length_ == 0; }

  double Value() {
    if (isMore_) Put('1');
    char* end = text_ + length_;
    *end++ = 'e';
    const long long power = std::clamp(power_, -kFarBeyond, kFarBeyond);
    *std::to_chars(end, text_ + sizeof text_ - 1, power).ptr = 0;
    const int kept = errno;
    const double value = std::strtod(text_, nullptr);
    errno = kept;
    return value;
  }

 private:
  // No number halfway between two doubles has more digits. Of those behind them it counts only
  // whether one is not zero.
  static constexpr unsigned kDecisive = 768;
  static constexpr long long kFarBeyond = 99999;  // as powers of ten: no digits bring it back

  void Put(char digit) {
    text_[length_++] = digit;
    --power_;
  }

  const char* TakeDigits(const char* at, const char* last, bool isFraction) {
    for (; at != last && IsDigit(*at); ++at) {
      if (!isFraction) ++power_;
      const bool leads = length_ == 0 && *at == '0';
      if (leads) {
        --power_;
      } else if (length_ < kDecisive) {
        Put(*at);
      } else {
        isMore_ = isMore_ || *at != '0';
      }
    }
    return at;
  }

  // A letter without a number behind it is not part of the text.
  const char* TakeExponent(const char* at, const char* last) {
    if (at == last || (*at != 'e' && *at != 'E')) return at;
    const char* digits = at + 1;
    const bool isNegative = digits != last && *digits == '-';
    if (digits != last && (*digits == '-' || *digits == '+')) ++digits;
    if (digits == last || !IsDigit(*digits)) return at;
    long long exponent = 0;
    for (; digits != last && IsDigit(*digits); ++digits) {
      exponent = std::min(exponent * 10 + (*digits - '0'), 99999999999LL);
    }
    power_ += isNegative ? -exponent : exponent;
    return digits;
  }

  char text_[kDecisive + 16];
  unsigned length_ = 0;
  long long power_ = 0;
  bool isMore_ = false;
};

// As std::from_chars, for a text that begins with a digit, or a point and a digit.
inline std::from_chars_result ReadDoubleByDigits(const char* first, const char* last,
                                                 double& value) {
  PlainDecimal decimal;
  const char* end = decimal.Read(first, last);
  const double read = decimal.IsZero() ? 0.0 : decimal.Value();
  if (std::isinf(read) || (read == 0 && !decimal.IsZero())) {
    return {end, std::errc::result_out_of_range};
  }
  value = read;
  return {end, std::errc()};
}

inline std::from_chars_result ReadDouble(const char* first, const char* last, double& value) {
#if defined(__cpp_lib_to_chars)
  return std::from_chars(first, last, value);
#else
  return ReadDoubleByDigits(first, last, value);
#endif
}

}  // namespace kv
