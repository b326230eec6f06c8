// The format byte of a buffer: which form the values in it have, and in which byte order.
//
// There are two questions about the memory form, and the codes 9 to 15 are where they differ:
// comparers, hashes, bounds and steps take them for stored forms in memory order, translate takes
// them for memory.
#pragma once

#include "zbshost.h"

namespace kv {

struct Format {
  unsigned char byte;

  // Low four bits 8: the buffer holds C++ objects.
  constexpr bool IsMemory() const { return (byte & 0x0F) == 8; }

  // What translate goes by, and a stored nullable scalar for the place of its indicator.
  constexpr bool HasMemoryBit() const { return (byte & 0x08) != 0; }

  // Whether the bytes of each stored multi-byte field run the other way round than in memory. Code
  // 2 runs from the most significant down, every other code from the least significant up; which
  // of them is the reverse of memory, the host decides.
  constexpr bool IsReversed() const { return IsSwapped(byte); }

  // The format of stored bytes that were written with this one, for functions that would otherwise
  // take code 8 for memory.
  constexpr Format AsStored() const {
    return {static_cast<unsigned char>(IsMemory() ? byte & 0xF0 : byte)};
  }
};

inline constexpr Format kMemory{8};

}  // namespace kv
