// Copies a run of fields and reverses the bytes of each on the way, as fast as the processor moves
// bytes: wide shuffles where it has them, told at run time, else one plain loop.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace kv {

inline std::uint16_t Reverse(std::uint16_t word) {
  return __builtin_bswap16(word);
}
inline std::uint32_t Reverse(std::uint32_t word) {
  return __builtin_bswap32(word);
}
inline std::uint64_t Reverse(std::uint64_t word) {
  return __builtin_bswap64(word);
}

// The plain loop. Loads and stores go through memcpy, so nothing need be aligned.
template <class Word>
inline void CopyReversedPlainly(unsigned char* out, const unsigned char* in, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    Word word;
    std::memcpy(&word, in + i * sizeof(Word), sizeof(Word));
    word = Reverse(word);
    std::memcpy(out + i * sizeof(Word), &word, sizeof(Word));
  }
}

inline constexpr std::size_t kReversedBlock = 128;

// Reverses the fields (1, 2, 4 or 8 bytes wide) of whole such blocks, or of all `bytes`, with
// the widest shuffle at hand. Result: the bytes done, whole fields, or 0.
std::size_t CopyReversedBlocks(unsigned char* out, const unsigned char* in, std::size_t bytes,
                               unsigned width);

// `destination` and `source` may be equal; otherwise they do not overlap.
template <class Word>
inline void CopyReversed(void* destination, const void* source, std::size_t count) {
  auto* out = static_cast<unsigned char*>(destination);
  auto* in = static_cast<const unsigned char*>(source);
  const std::size_t bytes = count * sizeof(Word);
  const std::size_t done =
      bytes < kReversedBlock ? 0 : CopyReversedBlocks(out, in, bytes, sizeof(Word));
  CopyReversedPlainly<Word>(out + done, in + done, count - done / sizeof(Word));
}

// A plain copy. The C library of 32-bit hosts copies with vectors of 16 bytes, so what lies in the
// caches goes here by those that reverse fields, whose fields are single bytes then.
inline void CopyBytes(void* destination, const void* source, std::size_t bytes) {
  constexpr bool kHasWideCopy = sizeof(void*) >= 8;
  constexpr std::size_t kFewest = 512;
  constexpr std::size_t kCached = std::size_t{1} << 19;
  auto* out = static_cast<unsigned char*>(destination);
  auto* in = static_cast<const unsigned char*>(source);
  std::size_t done = 0;
  if (!kHasWideCopy && bytes >= kFewest && bytes < kCached) {
    done = CopyReversedBlocks(out, in, bytes, 1);
  }
  if (done < bytes) std::memcpy(out + done, in + done, bytes - done);
}

}  // namespace kv
