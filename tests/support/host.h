// What a test has to know of the host: stored bytes are the same everywhere, memory is the host's.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

namespace support {

// Of so many rounds those that there is time for: KV_TEST_SHARE=20, for an emulator, is one in 20.
inline int Rounds(int all) {
  const char* share = std::getenv("KV_TEST_SHARE");
  return share != nullptr ? all / std::max(1, std::atoi(share)) : all;
}

inline constexpr bool kHostIsBig = std::endian::native == std::endian::big;

// What iconv calls 16-bit units as this host has them in memory: the name that the C library knows
// without files, which are not there under emulation.
inline constexpr const char* kUnitsForIconv = kHostIsBig ? "UCS-2BE" : "UCS-2LE";

// The bytes of a run as they are stored: most significant byte of each value first, or last.
template <class T>
std::vector<unsigned char> StoredBytes(const T* values, std::size_t count,
                                       bool mostSignificantFirst) {
  std::vector<unsigned char> bytes(count * sizeof(T));
  if (count != 0) std::memcpy(bytes.data(), values, bytes.size());
  if (mostSignificantFirst == kHostIsBig) return bytes;
  for (std::size_t i = 0; i < count; ++i) {
    const auto at = bytes.begin() + static_cast<std::ptrdiff_t>(i * sizeof(T));
    std::reverse(at, at + static_cast<std::ptrdiff_t>(sizeof(T)));
  }
  return bytes;
}

inline std::string Hex(const std::vector<unsigned char>& bytes) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (const unsigned char byte : bytes) text += {kDigits[byte >> 4], kDigits[byte & 15]};
  return text;
}

// Blanks may stand between the digits.
inline std::vector<unsigned char> FromHex(const std::string& text) {
  std::vector<unsigned char> bytes;
  std::istringstream in(text);
  for (std::string digits = "00"; in >> digits[0] >> digits[1];) {
    bytes.push_back(static_cast<unsigned char>(std::stoi(digits, nullptr, 16)));
  }
  return bytes;
}

// A 16-bit unit the other way round than this host has it in memory.
constexpr unsigned short Swapped(unsigned short unit) {
  return static_cast<unsigned short>(unit << 8 | unit >> 8);
}

}  // namespace support
