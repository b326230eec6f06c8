// Where a range of keys is cut in halves.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace engines {

// The middle between two keys, read as fractions with 256 for 10, to one digit more than they have.
inline std::string KeyMiddle(std::string_view first, std::string_view second) {
  const auto digit = [](std::string_view key, std::size_t at) {
    return at < key.size() ? static_cast<unsigned char>(key[at]) : 0U;
  };
  std::string middle(std::max(first.size(), second.size()) + 1, '\0');
  unsigned carry = 0;
  for (std::size_t i = middle.size(); i-- > 0;) {
    const unsigned sum = digit(first, i) + digit(second, i) + carry;
    middle[i] = static_cast<char>(sum);
    carry = sum >> 8;
  }
  for (char& each : middle) {
    const unsigned sum = carry << 8 | static_cast<unsigned char>(each);
    each = static_cast<char>(sum >> 1);
    carry = sum & 1;
  }
  return middle;
}

}  // namespace engines
