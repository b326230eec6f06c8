// Printing and reading of floating numbers in their default form. Nearly all go by seventeen digits
// and one multiplication (float_digits.h); the standard library does the others.
#include "kvtext/float_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>
#include <system_error>

#include "kvbase/unit.h"
#include "kvtext/decimal.h"
#include "kvtext/digits.h"
#include "kvtext/float_digits.h"
#include "kvtext/number_text.h"

namespace kv {
namespace {

// --- Printing ---

constexpr unsigned kDigits = 17;

// The digits of a number, without the zeros at their end.
class DigitText {
 public:
  explicit DigitText(std::uint64_t digits) {
    constexpr std::uint32_t kEight = 100000000;
    const DigitHalves halves = SplitDigits(digits);
    WriteEightDigits(text_ + kDigits - 8, halves.lower);
    WriteEightDigits(text_ + kDigits - 16, halves.upper % kEight);
    text_[0] = static_cast<char>('0' + halves.upper / kEight);
    while (text_[length_ - 1] == '0') --length_;
  }

  // Those from `first` up to `last`, zeros at the end only as far as they are asked for.
  char* Put(char* at, unsigned first, unsigned last) const {
    return std::copy(text_ + first, text_ + last, at);
  }
  unsigned Length() const { return length_; }

 private:
  char text_[kDigits];
  unsigned length_ = kDigits;
};

// 0.00012
char* PutBehindZeros(char* at, const DigitText& digits, int power) {
  std::memcpy(at, "0.000", 5);
  return digits.Put(at + 1 - power, 0, digits.Length());
}

// 1234 or 1234.5
char* PutWithPoint(char* at, const DigitText& digits, unsigned whole) {
  at = digits.Put(at, 0, whole);
  if (digits.Length() <= whole) return at;
  *at = '.';
  return digits.Put(at + 1, whole, digits.Length());
}

// 1.2345e+67
char* PutWithExponent(char* at, const DigitText& digits, int power) {
  at = PutWithPoint(at, digits, 1);
  *at++ = 'e';
  *at++ = power < 0 ? '-' : '+';
  const auto size = static_cast<unsigned>(power < 0 ? -power : power);
  if (size >= 100) *at++ = static_cast<char>('0' + size / 100);
  std::memcpy(at, &kTwoDigits[2 * (size % 100)], 2);
  return at + 2;
}

char* PutDigits(char* at, const SeventeenDigits& found) {
  const DigitText digits(found.digits);
  if (found.power < -4 || found.power >= static_cast<int>(kDigits)) {
    return PutWithExponent(at, digits, found.power);
  }
  if (found.power < 0) return PutBehindZeros(at, digits, found.power);
  return PutWithPoint(at, digits, static_cast<unsigned>(found.power) + 1);
}

unsigned PutWord(char* text, const char* word) {
  const std::size_t length = std::strlen(word);
  std::memcpy(text, word, length);
  return static_cast<unsigned>(length);
}

// --- Reading ---

// Whether the decimal number at `digits` (digits, point, exponent) that is out of range is too
// large rather than too small: whether its first significant digit stands before the point once
// the exponent has moved it.
bool IsTooLarge(const char* digits) {
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

// The digits of a text whose buffer may be read up to `end`.
class DigitReader {
 public:
  DigitReader(const char* text, const char* end) : at(text), end_(end) {}

  void TakeFew() {
    while (IsDigit(*at)) TakeUpToNine();
  }
  void TakeMany() {
    while (end_ - at >= 8 && TakeEight()) at += 8;
    TakeFew();
  }

  const char* at;
  std::uint64_t digits = 0;

 private:
  // As many as 32 bits hold.
  void TakeUpToNine() {
    const char* const first = at;
    std::uint32_t few = 0;
    for (; at - first < 9 && IsDigit(*at); ++at) {
      few = few * 10 + static_cast<std::uint32_t>(*at - '0');
    }
    digits = digits * kTens[static_cast<std::size_t>(at - first)] + few;
  }

  bool TakeEight() {
    const auto first = ReadUnit<std::uint32_t>(at, std::endian::native == std::endian::big);
    const auto second = ReadUnit<std::uint32_t>(at + 4, std::endian::native == std::endian::big);
    if (!AreDigits(first) || !AreDigits(second)) return false;
    digits = digits * 100000000 + (FourDigits(first) * 10000 + FourDigits(second));
    return true;
  }

  static constexpr std::uint32_t kEach = 0x01010101;
  // The upper half of a digit is 3, and stays 3 when 6 is added.
  static constexpr bool AreDigits(std::uint32_t word) {
    return ((word & 0xF0 * kEach) | (((word + 6 * kEach) & 0xF0 * kEach) >> 4)) == 0x33 * kEach;
  }
  // Neighbours are added up to pairs, and those.
  static constexpr std::uint32_t FourDigits(std::uint32_t word) {
    word = (word & 0x0F * kEach) * (1 + (10 << 8)) >> 8;
    return (word & 0x00FF00FF) * (1 + (100 << 16)) >> 16;
  }

  static constexpr std::uint32_t kTens[] = {1,      10,      100,      1000,      10000,
                                            100000, 1000000, 10000000, 100000000, 1000000000};

  const char* end_;
};

// Takes an exponent, if one stands there. A letter without a number behind it is not part of the
// text.
const char* TakeExponent(const char* at, int& power) {
  if (*at != 'e' && *at != 'E') return at;
  const char* digit = at + 1;
  const bool negative = *digit == '-';
  if (negative || *digit == '+') ++digit;
  if (!IsDigit(*digit)) return at;
  constexpr int kFarBeyond = 99999;
  int exponent = 0;
  for (; IsDigit(*digit); ++digit) exponent = std::min(exponent * 10 + (*digit - '0'), kFarBeyond);
  power += negative ? -exponent : exponent;
  return digit;
}

// In 32 bits the halves are put together in a register: in memory, where the compiler does it, a
// read of the whole waits until both are written.
double DoubleOf(std::uint64_t bits) {
#if defined(__i386__) && defined(__SSE2__)
  typedef std::uint32_t Words __attribute__((vector_size(16)));
  typedef double Doubles __attribute__((vector_size(16)));
  const Words words = {static_cast<std::uint32_t>(bits), static_cast<std::uint32_t>(bits >> 32)};
  return reinterpret_cast<Doubles>(words)[0];
#else
  return std::bit_cast<double>(bits);
#endif
}

// Reads a number of up to 19 significant digits that begins with a digit, or a point and a digit.
// Null, and nothing read, for others and for those whose last bit cannot be told so quickly.
const char* ReadShortDouble(const char* text, const char* bufferEnd, double& value) {
  constexpr std::ptrdiff_t kMost = 19;  // what 64 bits hold
  DigitReader reader(text, bufferEnd);
  reader.TakeFew();
  std::ptrdiff_t count = reader.at - text;
  int power = 0;
  if (*reader.at == '.') {
    const char* const fraction = ++reader.at;
    reader.TakeMany();
    power = static_cast<int>(fraction - reader.at);
    count -= power;
  }
  if (count > kMost) {
    for (; *text == '0' || *text == '.'; ++text) count -= *text == '0' ? 1 : 0;
    if (count > kMost) return nullptr;
  }
  const char* const end = TakeExponent(reader.at, power);
  const std::uint64_t bits = ComposeDouble(reader.digits, power);
  if (bits == 0 && reader.digits != 0) return nullptr;
  value = DoubleOf(bits);
  return end;
}

// Reads any number that begins so.
[[gnu::noinline]] const char* ReadLongDouble(const char* text, double& value) {
  const auto result = ReadDouble(text, text + std::strlen(text), value);
  if (result.ec == std::errc::result_out_of_range) {
    value = IsTooLarge(text) ? std::numeric_limits<double>::infinity() : 0.0;
  }
  return result.ptr;
}

}  // namespace

unsigned PrintDefaultFloat(char (&text)[kFloatTextSize], const double& value) {
  if (std::isnan(value)) return PutWord(text, "NaN");
  if (std::isinf(value)) return PutWord(text, value < 0 ? "-Infinity" : "Infinity");
  char* at = text;
  if (std::signbit(value)) *at++ = '-';
  const double magnitude = std::abs(value);
  SeventeenDigits found;
  if (magnitude != 0 && FindDigits(magnitude, found)) {
    at = PutDigits(at, found);
  } else {
    at = std::to_chars(at, std::end(text), magnitude, std::chars_format::general, kDigits).ptr;
  }
  return static_cast<unsigned>(at - text);
}

const char* ReadFloatText(const char* text, const char* bufferEnd, double& value) {
  const char* number = SkipBlanks(text);
  const bool negative = *number == '-';
  if (*number == '-' || *number == '+') ++number;
  if (!IsDigit(*number) && !(*number == '.' && IsDigit(number[1]))) return nullptr;
  double magnitude = 0;
  const char* end = ReadShortDouble(number, bufferEnd, magnitude);
  if (end == nullptr) end = ReadLongDouble(number, magnitude);
  value = negative ? -magnitude : magnitude;
  return end;
}

}  // namespace kv
