// ascii_case.h - case mapping of ASCII text in 64-bit words of eight bytes or four 16-bit units,
// several at a time.
// Every code set begins with ASCII, so this serves them all up to the first unit beyond it.
#pragma once

#include <cstdint>
#include <cstring>

namespace kv {

enum class LetterCase { kLower, kUpper };

// The words of one block, mapped side by side.
inline constexpr unsigned kAsciiBlock = 32;
typedef std::uint64_t AsciiWords __attribute__((vector_size(kAsciiBlock)));

inline constexpr std::uint64_t kBeyondAsciiNarrow = 0x8080808080808080;
inline constexpr std::uint64_t kBeyondAsciiWide = 0xFF80FF80FF80FF80;

constexpr std::uint64_t BeyondAscii(bool wide) {
  return wide ? kBeyondAsciiWide : kBeyondAsciiNarrow;
}

// The bytes of the blocks at the front of `text` that hold nothing but ASCII.
inline unsigned AsciiBlocksAhead(const unsigned char* text, unsigned bytes, bool wide) {
  unsigned done = 0;
  for (; done + 2 * kAsciiBlock <= bytes; done += 2 * kAsciiBlock) {
    AsciiWords first, second;
    std::memcpy(&first, text + done, kAsciiBlock);
    std::memcpy(&second, text + done + kAsciiBlock, kAsciiBlock);
    first |= second;
    if (((first[0] | first[1] | first[2] | first[3]) & BeyondAscii(wide)) != 0) break;
  }
  return done;
}

// Maps whole blocks of `text` in place, `bytes` bytes of it at most, up to the first block with a
// unit that is not ASCII. Returns the bytes done, a multiple of kAsciiBlock. `kOnes` has a 1 in
// each unit's place.
template <std::uint64_t kOnes, std::uint64_t kBeyondAscii>
unsigned MapAsciiBlocks(unsigned char* text, unsigned bytes, LetterCase to) {
  const std::uint64_t first = to == LetterCase::kUpper ? 'a' : 'A';
  const std::uint64_t last = first + 25;
  unsigned done = 0;
  for (; done + kAsciiBlock <= bytes; done += kAsciiBlock) {
    AsciiWords words;
    std::memcpy(&words, text + done, kAsciiBlock);
    if (((words[0] | words[1] | words[2] | words[3]) & kBeyondAscii) != 0) break;
    // Units are below 0x80, so no addition carries over into the next. Bit 0x80 is then set in each
    // unit that is a letter of the other case; 0x20 is what the cases differ in.
    const AsciiWords fromFirst = words + (0x80 - first) * kOnes;
    const AsciiWords pastLast = words + (0x7F - last) * kOnes;
    words ^= (fromFirst & ~pastLast & 0x80 * kOnes) >> 2;
    std::memcpy(text + done, &words, kAsciiBlock);
  }
  return done;
}

inline unsigned MapAsciiCase(unsigned char* text, unsigned bytes, bool wide, LetterCase to) {
  return wide ? MapAsciiBlocks<0x0001000100010001, kBeyondAsciiWide>(text, bytes, to)
              : MapAsciiBlocks<0x0101010101010101, kBeyondAsciiNarrow>(text, bytes, to);
}

}  // namespace kv
