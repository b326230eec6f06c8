// The default text of floating numbers: 17 significant digits, which read back to the same bits,
// and the words NaN, Infinity and -Infinity.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>
#include <string_view>

namespace kv {

// What the word NaN reads as: a quiet NaN with its sign bit set. Stored data depends on the bits.
inline constexpr std::uint64_t kReadNaNBits = 0xFFF8000000000000;

// Room for the longest default text: "-1.2345678901234567e-308".
inline constexpr unsigned kFloatTextSize = 32;

// Returns the length of the text, which is not terminated. By reference, since 32-bit calls push a
// double in halves, and a read of the whole waits until both are written.
unsigned PrintDefaultFloat(char (&text)[kFloatTextSize], const double& value);

constexpr char ToLowerLetter(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// Whether the whole of `text` is `word` (in lower case) in any letter case.
constexpr bool IsWord(std::string_view text, std::string_view word) {
  return std::equal(text.begin(), text.end(), word.begin(), word.end(),
                    [](char a, char b) { return ToLowerLetter(a) == b; });
}

// Reads the decimal number that stands behind the blanks of `text`, which is terminated. Beyond the
// range it is an infinity or a zero. Up to `bufferEnd` bytes may be read, behind the terminator
// too. Result: the number's end, null when there is none.
const char* ReadFloatText(const char* text, const char* bufferEnd, double& value);

// The number that one of the three words stands for, 0 for any other text.
inline double NumberOfWord(std::string_view text) {
  const double infinity = std::numeric_limits<double>::infinity();
  if (IsWord(text, "-infinity")) return -infinity;
  if (IsWord(text, "infinity")) return infinity;
  return IsWord(text, "nan") ? std::bit_cast<double>(kReadNaNBits) : 0.0;
}

// Reads a decimal number, or one of the three words when the text does not begin with one. Any
// other text is 0.
inline double ScanDefaultFloat(const char* text, const char* bufferEnd) {
  double value;
  return ReadFloatText(text, bufferEnd, value) != nullptr ? value : NumberOfWord(text);
}

}  // namespace kv
