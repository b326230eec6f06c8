#include "hex.h"

#include "failure.h"

namespace {

int DigitOf(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

}  // namespace

std::string ToHex(const unsigned char* bytes, std::size_t count) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(2 * count);
  for (std::size_t i = 0; i < count; ++i) {
    text += kDigits[bytes[i] >> 4];
    text += kDigits[bytes[i] & 15];
  }
  return text;
}

void AppendHex(std::string_view text, Bytes& bytes) {
  int high = -1;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (high < 0 && IsBlank(text[i])) continue;
    const int digit = DigitOf(text[i]);
    if (digit < 0) {
      FailValue(Quoted(text.substr(i, 1)) + " is no hex digit, at offset " + std::to_string(i) +
                " of " + Quoted(text));
    }
    if (high < 0) {
      high = digit;
    } else {
      bytes.push_back(static_cast<unsigned char>(high << 4 | digit));
      high = -1;
    }
  }
  if (high >= 0)
    FailValue("a byte takes two hex digits, the last one of " + Quoted(text) + " has one");
}
