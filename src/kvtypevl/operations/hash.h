// HashRun: XOR of the elements' 32-bit keys, times one multiplier. Hash indexes store the result;
// neither the keys nor the multiplier ever change.
//
// The keys of the plain scalars are linear over XOR (bit patterns, sign and zero extension, low
// half XOR high half), and so is reversing bytes. Such a run is XORed as raw words first, as fast
// as memory delivers it, and reversed and turned into a key once.
#pragma once

#include <bit>
#include <type_traits>

#include "kvbase.h"
#include "kvbase/codec.h"
#include "kvbase/run.h"
#include "kvhash.h"

namespace kv {

inline constexpr unsigned kHashMultiplier = 1103515245;  // 0x41C64E6D
inline constexpr unsigned kNullHash = kvNullHash;

// Sixteen bytes that are XORed at once.
using XorBlock = std::uint64_t __attribute__((vector_size(16)));

inline XorBlock LoadBlock(const unsigned char* at) {
  XorBlock block;
  std::memcpy(&block, at, sizeof block);
  return block;
}

// A word of `width` bytes (1, 2, 4 or 8) as the host has it in memory, and its way back.
inline std::uint64_t LoadMemoryWord(const unsigned char* at, unsigned width) {
  std::uint64_t word = 0;
  std::memcpy(reinterpret_cast<unsigned char*>(&word) + (kHostIsBig ? 8 - width : 0), at, width);
  return word;
}
inline const unsigned char* BytesOfMemoryWord(const std::uint64_t& word, unsigned width) {
  return reinterpret_cast<const unsigned char*>(&word) + (kHostIsBig ? 8 - width : 0);
}

// XOR of all `width`-byte words (1, 2, 4 or 8) of a buffer of `size` bytes, a multiple of `width`.
// Four blocks are under way at a time, so that none waits for the one before.
inline std::uint64_t XorWords(const unsigned char* at, std::size_t size, unsigned width) {
  XorBlock a{}, b{}, c{}, d{};
  std::size_t i = 0;
  for (; i + 64 <= size; i += 64) {
    a ^= LoadBlock(at + i);
    b ^= LoadBlock(at + i + 16);
    c ^= LoadBlock(at + i + 32);
    d ^= LoadBlock(at + i + 48);
  }
  const XorBlock all = a ^ b ^ c ^ d;
  std::uint64_t folded = all[0] ^ all[1];
  for (; i + 8 <= size; i += 8) folded ^= LoadMemoryWord(at + i, 8);
  for (unsigned bits = 64; bits > 8 * width; bits /= 2) folded ^= folded >> (bits / 2);
  for (; i < size; i += width) folded ^= LoadMemoryWord(at + i, width);
  return width == 8 ? folded : folded & ((std::uint64_t{1} << (8 * width)) - 1);
}

template <class Row>
unsigned HashRun(unsigned char formatByte, unsigned length, const void* value, unsigned count,
                 int& status) {
  using Codec = typename Row::Codec;
  const Format format{static_cast<unsigned char>(formatByte & 0x0F)};
  const auto* at = static_cast<const unsigned char*>(value);
  status = kvOk;
  if (count == 0) return 0;
  const unsigned stride = Codec::Stride(format);
  const unsigned visible = VisibleElements(length, stride, count);
  if (visible < count) status = kvBufferShort;

  if constexpr (requires { Row::kKeyIsLinear; } && Codec::HasSameLayout(false) &&
                std::has_single_bit(Codec::kStoredWidth) && Codec::kStoredWidth <= 8) {
    if (visible == 1) return Row::Key(Codec::Read(at, format)) * kHashMultiplier;
    const std::uint64_t folded = XorWords(at, std::size_t{visible} * stride, stride);
    return Row::Key(Codec::Read(BytesOfMemoryWord(folded, stride), format)) * kHashMultiplier;
  } else {
    unsigned combined = 0;
    for (unsigned i = 0; i < visible; ++i, at += stride) {
      combined ^= Row::Key(Codec::Read(at, format));
    }
    return combined * kHashMultiplier;
  }
}

// Sign- or zero-extended to 32 bits, as the type has it; wider types fold their halves.
template <class T>
constexpr unsigned IntegerKey(T value) {
  if constexpr (sizeof(T) == 8) {
    const auto bits = static_cast<o_u8b>(value);
    return static_cast<unsigned>(bits) ^ static_cast<unsigned>(bits >> 32);
  } else {
    return static_cast<unsigned>(
        static_cast<std::conditional_t<std::is_signed_v<T>, int, unsigned>>(value));
  }
}

}  // namespace kv
