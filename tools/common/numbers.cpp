#include "numbers.h"

#include <charconv>
#include <cmath>

namespace {

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// Takes a sign off the front. True when it was a minus.
bool TakeSign(std::string_view& text) {
  if (text.empty() || (text.front() != '-' && text.front() != '+')) return false;
  const bool negative = text.front() == '-';
  text.remove_prefix(1);
  return negative;
}

}  // namespace

char LowerAscii(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

std::string_view TrimBlanks(std::string_view text) {
  static constexpr std::string_view kBlanks = " \t\r\n\v\f";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (LowerAscii(a[i]) != LowerAscii(b[i])) return false;
  }
  return true;
}

NumberFault ReadInteger(std::string_view text, long long least, unsigned long long greatest,
                        unsigned long long& bits) {
  text = TrimBlanks(text);
  const bool negative = TakeSign(text);
  if (text.empty() || !IsDigit(text.front())) return NumberFault::kNotANumber;
  unsigned long long magnitude = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), magnitude);
  if (end != text.data() + text.size()) return NumberFault::kNotANumber;
  if (error == std::errc::result_out_of_range) return NumberFault::kOutOfRange;
  // Unsigned, so that the magnitude of the smallest number needs no case of its own.
  const unsigned long long leastMagnitude = 0ULL - static_cast<unsigned long long>(least);
  if (negative ? magnitude > leastMagnitude : magnitude > greatest) return NumberFault::kOutOfRange;
  bits = negative ? 0ULL - magnitude : magnitude;
  return NumberFault::kNone;
}

std::string ShortestText(float number) {
  if (std::isnan(number)) return "NaN";
  if (std::isinf(number)) return std::signbit(number) ? "-Infinity" : "Infinity";
  char text[32];
  const auto [end, error] = std::to_chars(text, text + sizeof text, number);
  return {text, error == std::errc() ? end : text};
}
