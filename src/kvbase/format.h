// The format byte of a buffer: which form the values in it have, and in which byte order.
//
// There are two questions about the memory form, and the codes 9 to 15 are where they differ:
// comparers, hashes, bounds and steps take them for stored forms in memory order, translate takes
// them for memory.
#pragma once

namespace kv {

struct Format {
  unsigned char byte;

  // Low four bits 8: the buffer holds C++ objects.
  constexpr bool IsMemory() const { return (byte & 0x0F) == 8; }

  // What translate goes by, and a stored nullable scalar for the place of its indicator.
  constexpr bool HasMemoryBit() const { return (byte & 0x08) != 0; }

  // Low four bits 2: the bytes of each stored multi-byte field run from the most significant down.
  // Every other code is memory order.
  constexpr bool IsReversed() const { return (byte & 0x0F) == 2; }

  // The format of stored bytes that were written with this one, for functions that would otherwise
  // take code 8 for memory.
  constexpr Format AsStored() const {
    return {static_cast<unsigned char>(IsMemory() ? byte & 0xF0 : byte)};
  }
};

inline constexpr Format kMemory{8};

}  // namespace kv
