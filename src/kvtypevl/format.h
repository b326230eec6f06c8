// The format byte of a buffer: which form the values in it have, and in which byte order.
#pragma once

namespace kv {

struct Format {
  unsigned char byte;

  // 0x08: the buffer holds C++ objects. Clear: stored bytes.
  constexpr bool IsMemory() const { return (byte & 0x08) != 0; }

  // Low four bits 2: the bytes of each stored multi-byte field run from the most significant down.
  // Every other code is memory order.
  constexpr bool IsReversed() const { return (byte & 0x0F) == 2; }
};

inline constexpr Format kMemory{8};

}  // namespace kv
