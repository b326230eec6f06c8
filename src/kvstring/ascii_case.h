// ascii_case.h - case mapping of ASCII text, a 64-bit word at a time: eight bytes or four 16-bit
// units. Every code set begins with ASCII, so this serves them all up to the first unit beyond it.
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

// Maps whole words of `text` in place, `bytes` bytes of it at most, up to the first word with a
// unit that is not ASCII. Returns the bytes done.
inline unsigned MapAsciiCase(unsigned char* text, unsigned bytes, bool wide, LetterCase to) {
  constexpr std::uint64_t kByteOnes = 0x0101010101010101;
  constexpr std::uint64_t kUnitOnes = 0x0001000100010001;
  unsigned done = 0;
  for (; done + 8 <= bytes; done += 8) {
    std::uint64_t word;
    std::memcpy(&word, text + done, 8);
    if ((word & (wide ? 0xFF80 * kUnitOnes : 0x80 * kByteOnes)) != 0) break;
    word = wide ? MapAsciiWord<kUnitOnes>(word, to) : MapAsciiWord<kByteOnes>(word, to);
    std::memcpy(text + done, &word, 8);
  }
  return done;
}

}  // namespace kv
