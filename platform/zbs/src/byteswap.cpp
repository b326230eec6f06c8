// Byte reversal in blocks: one shuffle of a vector register reverses every field in it.

#include "byteswap.h"

#include <array>

#include "zbsvectors.h"

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#endif

namespace kv {

#if defined(__x86_64__) || defined(__i386__)
namespace {

// The shuffle that reverses fields of `width` bytes: byte i of a 16-byte lane comes from the place
// mirrored within its field.
[[gnu::target("ssse3")]] __m128i LaneShuffle(unsigned width) {
  alignas(__m128i) unsigned char from[sizeof(__m128i)];
  for (unsigned i = 0; i < sizeof from; ++i) from[i] = static_cast<unsigned char>(i ^ (width - 1));
  return _mm_load_si128(reinterpret_cast<const __m128i*>(from));
}

[[gnu::target("avx2")]] std::size_t CopyWithAvx2(unsigned char* out, const unsigned char* in,
                                                 std::size_t bytes, unsigned width) {
  const __m256i shuffle = _mm256_broadcastsi128_si256(LaneShuffle(width));
  std::size_t at = 0;
  for (; at + kReversedBlock <= bytes; at += kReversedBlock) {
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

// The first places of a vector. In 32 bits a mask that is put together in two registers passes
// through memory, where its reader waits for both halves: there it is compared together.
[[gnu::target("avx512bw")]] inline __mmask64 FirstPlaces(std::size_t count) {
#if defined(__i386__)
  alignas(64) static constexpr auto kPlaces = [] {
    std::array<unsigned char, 64> places{};
    for (unsigned i = 0; i < 64; ++i) places[i] = static_cast<unsigned char>(i);
    return places;
  }();
  return _mm512_cmplt_epu8_mask(_mm512_load_si512(kPlaces.data()),
                                _mm512_set1_epi8(static_cast<char>(count)));
#else
  return LowBits(count);
#endif
}

// Reverses the fields of one vector.
[[gnu::target("avx512bw")]] inline void CopyVector(unsigned char* out, const unsigned char* in,
                                                   const __m512i& shuffle) {
  _mm512_storeu_si512(out, _mm512_shuffle_epi8(_mm512_loadu_si512(in), shuffle));
}

// The same of its first `bytes`, less than 64.
[[gnu::target("avx512bw")]] inline void CopyPart(unsigned char* out, const unsigned char* in,
                                                 std::size_t bytes, const __m512i& shuffle) {
  const __mmask64 taken = FirstPlaces(bytes);
  const __m512i fields = _mm512_maskz_loadu_epi8(taken, in);
  _mm512_mask_storeu_epi8(out, taken, _mm512_shuffle_epi8(fields, shuffle));
}

// Vectors as wide as a cache line store at full speed only where a line begins, and a load that
// comes behind a store waits where their addresses look alike: hence eight loads, then the stores.
[[gnu::target("avx512bw")]] inline void CopyEightVectors(unsigned char* out,
                                                         const unsigned char* in,
                                                         const __m512i& shuffle) {
  const __m512i a = _mm512_shuffle_epi8(_mm512_loadu_si512(in), shuffle);
  const __m512i b = _mm512_shuffle_epi8(_mm512_loadu_si512(in + 64), shuffle);
  const __m512i c = _mm512_shuffle_epi8(_mm512_loadu_si512(in + 128), shuffle);
  const __m512i d = _mm512_shuffle_epi8(_mm512_loadu_si512(in + 192), shuffle);
  const __m512i e = _mm512_shuffle_epi8(_mm512_loadu_si512(in + 256), shuffle);
  const __m512i f = _mm512_shuffle_epi8(_mm512_loadu_si512(in + 320), shuffle);
  const __m512i g = _mm512_shuffle_epi8(_mm512_loadu_si512(in + 384), shuffle);
  const __m512i h = _mm512_shuffle_epi8(_mm512_loadu_si512(in + 448), shuffle);
  _mm512_storeu_si512(out, a);
  _mm512_storeu_si512(out + 64, b);
  _mm512_storeu_si512(out + 128, c);
  _mm512_storeu_si512(out + 192, d);
  _mm512_storeu_si512(out + 256, e);
  _mm512_storeu_si512(out + 320, f);
  _mm512_storeu_si512(out + 384, g);
  _mm512_storeu_si512(out + 448, h);
}

[[gnu::target("avx512bw")]] std::size_t CopyWithAvx512(unsigned char* out, const unsigned char* in,
                                                       std::size_t bytes, unsigned width) {
  const __m512i shuffle = _mm512_maskz_broadcast_i32x4(0xFFFF, LaneShuffle(width));
  const std::size_t toLine = -reinterpret_cast<std::uintptr_t>(out) % 64;
  std::size_t at = 0;
  if (toLine % width == 0 && toLine <= bytes) {
    CopyPart(out, in, toLine, shuffle);
    at = toLine;
  }
  constexpr std::size_t kEight = 8 * sizeof shuffle;
  for (; bytes - at >= kEight; at += kEight) CopyEightVectors(out + at, in + at, shuffle);
  for (; bytes - at >= sizeof shuffle; at += sizeof shuffle) CopyVector(out + at, in + at, shuffle);
  if (at < bytes) CopyPart(out + at, in + at, bytes - at, shuffle);
  return bytes;
}

[[gnu::target("ssse3")]] std::size_t CopyWithSsse3(unsigned char* out, const unsigned char* in,
                                                   std::size_t bytes, unsigned width) {
  const __m128i shuffle = LaneShuffle(width);
  std::size_t at = 0;
  for (; at + kReversedBlock <= bytes; at += kReversedBlock) {
    for (std::size_t lane = 0; lane < kReversedBlock; lane += sizeof(__m128i)) {
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
  if (set >= VectorSet::kAvx512) return CopyWithAvx512(out, in, bytes, width);
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
