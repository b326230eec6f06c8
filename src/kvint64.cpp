// KvInt64: the parts of the 64-bit integer that do not belong in a header: the conversion from
// double through its seven printed digits, and the report of a division by zero.
#include "kvint64.h"

#include <charconv>
#include <cmath>

#include "zbs.h"

namespace {

constexpr o_double kLargestConverted = 9223372036854774784.0;
constexpr int kPrintedFraction = 6;  // digits that "%E" prints after the point

// `magnitude` lies in [1, kLargestConverted]. to_chars prints d.ddddddE+ee as "%E" does, whatever
// the process's locale takes for a decimal point.
o_8b FromPrintedDigits(o_double magnitude) {
  char text[32];
  const char* end = std::to_chars(text, text + sizeof text, magnitude,
                                  std::chars_format::scientific, kPrintedFraction)
                        .ptr;
  const char* exponentText = text + 2 + kPrintedFraction + 2;  // behind "d.dddddde+"
  int exponent = 0;
  std::from_chars(exponentText, end, exponent);
  o_8b value = text[0] - '0';
  const char* digit = text + 2;
  for (int i = 0; i < kPrintedFraction && exponent > 0; ++i, --exponent) {
    value = value * 10 + (*digit++ - '0');
  }
  for (; exponent > 0; --exponent) value *= 10;
  return value;
}

}  // namespace

KvInt64::KvInt64(o_double value) {
  const o_double magnitude = std::fabs(value);
  if (!(magnitude >= 1.0)) return;  // NaN too
  const KvInt64 whole =
      magnitude > kLargestConverted ? KvInt64(LLONG_MAX) : KvInt64(FromPrintedDigits(magnitude));
  *this = value < 0 ? -whole : whole;
}

KvInt64 KvInt64::DivideByZero() {
  // Hosts match on the source and line of this report; both are fixed.
  KIVO_assert("KvInt64 divide by zero", "src/kvint64", 746);
  return KvInt64();
}
