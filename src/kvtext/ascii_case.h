// Case mapping of the ASCII letters of a text, which every code set begins with, and where its
// other characters stand. Units of either width, by vectors where the processor has them.
#pragma once

#include <cstdint>

namespace kv {

enum class LetterCase { kLower, kUpper };

// Gives the ASCII letters among `count` units the case `to`. All other units stay as they are.
void MapAsciiCase(unsigned char* text, unsigned count, bool wide, LetterCase to);

// The units beyond ASCII in the next block that has one: from `from` on, a multiple of kBlockOfBits
// that is moved on to where that block begins. A bit a unit, the first one the lowest; 0 when there
// are none up to `count`.
inline constexpr unsigned kBlockOfBits = 64;
std::uint64_t NextBeyondAscii(const unsigned char* text, unsigned count, bool wide, unsigned& from);

}  // namespace kv
