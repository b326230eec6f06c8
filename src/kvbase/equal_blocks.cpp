// Equal blocks by vectors of 64 bytes. Narrower ones are memcmp's own.

#include "kvbase/run.h"
#include "zbsvectors.h"

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#endif

namespace kv {

#if defined(__x86_64__) || defined(__i386__)
namespace {

#define KV_WITH_AVX512 [[gnu::target("avx512bw")]]

// The bits in which two lines differ, with those of `others`.
KV_WITH_AVX512 inline void AddDifference(__m512i& others, const unsigned char* a,
                                         const unsigned char* b) {
  others = _mm512_ternarylogic_epi64(others, _mm512_loadu_si512(a), _mm512_loadu_si512(b), 0xF6);
}

KV_WITH_AVX512 inline bool IsZero(const __m512i& bits) {
  return _mm512_test_epi64_mask(bits, bits) == 0;
}

constexpr std::size_t kLine = sizeof(__m512i);
constexpr std::size_t kBlock = 4 * kLine;

KV_WITH_AVX512 inline bool IsEqualBlock(const unsigned char* a, const unsigned char* b) {
  __m512i difference = _mm512_setzero_si512();
  AddDifference(difference, a, b);
  AddDifference(difference, a + kLine, b + kLine);
  AddDifference(difference, a + 2 * kLine, b + 2 * kLine);
  AddDifference(difference, a + 3 * kLine, b + 3 * kLine);
  return IsZero(difference);
}

KV_WITH_AVX512 std::size_t EqualBy64(const unsigned char* a, const unsigned char* b,
                                     std::size_t size) {
  if (size < kBlock) return 0;
  __m512i difference = _mm512_setzero_si512();
  AddDifference(difference, a, b);
  if (!IsZero(difference)) return 0;
  // From here on one of the two is read by whole cache lines.
  std::size_t at = kLine - reinterpret_cast<std::uintptr_t>(a) % kLine;
  for (; size - at >= kBlock; at += kBlock) {
    if (!IsEqualBlock(a + at, b + at)) return at;
  }
  // The last block ends with the buffers and begins among what is equal already.
  return IsEqualBlock(a + size - kBlock, b + size - kBlock) ? size : at;
}

}  // namespace
#endif

std::size_t EqualBlocks([[maybe_unused]] const unsigned char* a,
                        [[maybe_unused]] const unsigned char* b,
                        [[maybe_unused]] std::size_t size) {
#if defined(__x86_64__) || defined(__i386__)
  if (Vectors() >= VectorSet::kAvx512) return EqualBy64(a, b, size);
#endif
  return 0;
}

}  // namespace kv
