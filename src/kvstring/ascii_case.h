// ascii_case.h - case mapping of ASCII text in 64-bit words of eight bytes or four 16-bit units.
// Every code set begins with ASCII, so this serves them all up to the first unit beyond it.
#pragma once

#include <cstdint>
#include <cstring>

namespace kv {

enum class LetterCase { kLower, kUpper };

// `kOnes` has a 1 in each lane. Lanes hold values below 0x80, so that no addition carries over.
template <std::uint64_t kOnes>
constexpr std::uint64_t MapAsciiWord(std::uint64_t word, LetterCase to) {
  const std::uint64_t first = to == LetterCase::kUpper ? 'a' : 'A';
  const std::uint64_t last = first + 25;
  const std::uint64_t fromFirst = word + (0x80 - first) * kOnes;
  const std::uint64_t pastLast = word + (0x7F - last) * kOnes;
  // Bit 0x80 of each lane that holds a letter of the other case; 0x20 is what the cases differ in.
  return word ^ ((fromFirst & ~pastLast & 0x80 * kOnes) >> 2);
}

// Maps whole blocks of `text` in place, `bytes` bytes of it at most, up to the first block with a
// unit that is not ASCII. Returns the bytes done, a multiple of kAsciiBlock.
inline constexpr unsigned kAsciiBlock = 32;

template <std::uint64_t kOnes, std::uint64_t kBeyondAscii>
unsigned MapAsciiBlocks(unsigned char* text, unsigned bytes, LetterCase to) {
  constexpr unsigned kWords = kAsciiBlock / 8;
  unsigned done = 0;
  for (; done + kAsciiBlock <= bytes; done += kAsciiBlock) {
    std::uint64_t words[kWords];
    std::memcpy(words, text + done, kAsciiBlock);
    std::uint64_t all = 0;
    for (const std::uint64_t word : words) all |= word;
    if ((all & kBeyondAscii) != 0) break;
    for (std::uint64_t& word : words) word = MapAsciiWord<kOnes>(word, to);
    std::memcpy(text + done, words, kAsciiBlock);
  }
  return done;
}

inline unsigned MapAsciiCase(unsigned char* text, unsigned bytes, bool wide, LetterCase to) {
  return wide ? MapAsciiBlocks<0x0001000100010001, 0xFF80FF80FF80FF80>(text, bytes, to)
              : MapAsciiBlocks<0x0101010101010101, 0x8080808080808080>(text, bytes, to);
}

}  // namespace kv
