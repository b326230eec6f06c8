// Byte reversal in blocks: one shuffle of a vector register reverses every field in it.

#include "byteswap.h"

#include "zbsvectors.h"

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#endif

namespace kv {

#if defined(__x86_64__) || defined(__i386__)
namespace {

constexpr std::size_t kBlock = 128;

// The shuffle that reverses fields of `width` bytes: byte i of a 16-byte lane comes from the place
// mirrored within its field.
[[gnu::target("ssse3")]] __m128i LaneShuffle(unsigned width) {
  alignas(16) unsigned char from[16];
  for (unsigned i = 0; i < 16; ++i) from[i] = static_cast<unsigned char>(i ^ (width - 1));
  return _mm_load_si128(reinterpret_cast<const __m128i*>(from));
}

[[gnu::target("avx2")]] std::size_t CopyWithAvx2(unsigned char* out, const unsigned char* in,
                                                 std::size_t bytes, unsigned width) {
  const __m256i shuffle = _mm256_broadcastsi128_si256(LaneShuffle(width));
  std::size_t at = 0;
  for (; at + kBlock <= bytes; at += kBlock) {
    const auto* from = reinterpret_cast<const __m256i*>(in + at);
    auto* to = reinterpret_cast<__m256i*>(out + at);
    const __m256i a = _mm256_shuffle_epi8(_mm256_loadu_si256(from), shuffle);
    const __m256i b = _mm256_shuffle_epi8(_mm256_loadu_si256(from + 1), shuffle);
    const __m256i c = _mm256_shuffle_epi8(_mm256_loadu_si256(from + 2), shuffle);
    const __m256i d = _mm256_shuffle_epi8(_mm256_loadu_si256(from + 3), shuffle);
    _mm256_storeu_si256(to, a);
    _mm256_storeu_si256(to + 1, b);
    _mm256_storeu_si256(to + 2, c);
    _mm256_storeu_si256(to + 3, d);
  }
  return at;
}

[[gnu::target("ssse3")]] std::size_t CopyWithSsse3(unsigned char* out, const unsigned char* in,
                                                   std::size_t bytes, unsigned width) {
  const __m128i shuffle = LaneShuffle(width);
  std::size_t at = 0;
  for (; at + kBlock <= bytes; at += kBlock) {
    for (std::size_t lane = 0; lane < kBlock; lane += 16) {
      const __m128i fields = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + at + lane));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out + at + lane),
                       _mm_shuffle_epi8(fields, shuffle));
    }
  }
  return at;
}

}  // namespace

std::size_t CopyReversedBlocks(unsigned char* out, const unsigned char* in, std::size_t bytes,
                               unsigned width) {
  const VectorSet set = Vectors();
  if (set >= VectorSet::kAvx2) return CopyWithAvx2(out, in, bytes, width);
  if (set >= VectorSet::kSsse3) return CopyWithSsse3(out, in, bytes, width);
  return 0;
}
#else
std::size_t CopyReversedBlocks(unsigned char*, const unsigned char*, std::size_t, unsigned) {
  return 0;
}
#endif

}  // namespace kv
