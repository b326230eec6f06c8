#include "base64.h"

#include <array>

namespace engines {
namespace {

constexpr std::string_view kDigits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::array<signed char, 256> kValues = [] {
  std::array<signed char, 256> values{};
  values.fill(-1);
  for (unsigned i = 0; i < kDigits.size(); ++i) {
    values[static_cast<unsigned char>(kDigits[i])] = static_cast<signed char>(i);
  }
  return values;
}();

}  // namespace

void AppendBase64(std::string& text, std::string_view bytes) {
  while (!bytes.empty()) {
    char three[3] = {};
    const std::size_t size = bytes.copy(three, std::size(three));
    unsigned bits = 0;
    for (const char byte : three) bits = bits << 8 | static_cast<unsigned char>(byte);
    for (unsigned i = 0; i < 4; ++i) {
      text += i <= size ? kDigits[bits >> (18 - 6 * i) & 63] : '=';
    }
    bytes.remove_prefix(size);
  }
}

std::string FromBase64(std::string_view text) {
  std::string bytes;
  unsigned bits = 0;
  unsigned count = 0;
  for (const char digit : text) {
    const signed char value = kValues[static_cast<unsigned char>(digit)];
    if (value < 0) break;
    bits = bits << 6 | static_cast<unsigned>(value);
    count += 6;
    if (count < 8) continue;
    count -= 8;
    bytes += static_cast<char>(bits >> count & 0xFF);
  }
  return bytes;
}

}  // namespace engines
