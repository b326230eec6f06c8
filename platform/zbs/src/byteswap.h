// One loop that copies a run of fields and reverses the bytes of each on the way. Loads and stores
// go through memcpy, so nothing need be aligned, and the compiler vectorises the loop.
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

// `destination` and `source` may be equal; otherwise they do not overlap.
template <class Word>
inline void CopyReversed(void* destination, const void* source, std::size_t count) {
  auto* out = static_cast<unsigned char*>(destination);
  auto* in = static_cast<const unsigned char*>(source);
  for (std::size_t i = 0; i < count; ++i) {
    Word word;
    std::memcpy(&word, in + i * sizeof(Word), sizeof(Word));
    word = Reverse(word);
    std::memcpy(out + i * sizeof(Word), &word, sizeof(Word));
  }
}

}  // namespace kv
