// The scans by vectors of 32 bytes, two a step, and the plain loop that gives the same.

#include "kvstring/unit_scan.h"

#include <cstring>

#include "kvstring/string_edit.h"
#include "zbsvectors.h"
#include "zinorder.h"

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#endif

namespace kv {
namespace {

constexpr unsigned kPlainBlock = 32;

template <class Unit>
bool HasWanted(const unsigned char* text, const WantedUnits<Unit>& wanted) {
  Unit block[kPlainBlock];
  std::memcpy(block, text, sizeof block);
  Unit hit = 0;
  for (const Unit unit : block) {
    hit = static_cast<Unit>(hit | (unit == wanted.units[0]) | (unit == wanted.units[1]) |
                            (unit == wanted.units[2]) | (unit == wanted.units[3]) |
                            (unit > WantedUnits<Unit>::kLast));
  }
  return hit != 0;
}

template <class Unit>
unsigned PassOverPlainly(const unsigned char* text, unsigned count,
                         const WantedUnits<Unit>& wanted) {
  unsigned passed = 0;
  while (count - passed >= kPlainBlock && !HasWanted(text + passed * sizeof(Unit), wanted)) {
    passed += kPlainBlock;
  }
  return passed;
}

std::uint64_t WordsOfWeightPlainly(const unsigned* words, unsigned mask, unsigned pairMask,
                                   unsigned weight) {
  std::uint64_t found = 0;
  for (unsigned place = 0; place < 64; ++place) {
    const unsigned word = words[place];
    const bool hit = (word & mask) == weight ||
                     ((word & kSpecialBits) != 0 && ((word ^ weight) & pairMask) == 0);
    found |= std::uint64_t{hit} << place;
  }
  return found;
}

#if defined(__x86_64__) || defined(__i386__)
#define KV_WITH_AVX2 [[gnu::target("avx2")]]

template <class Unit>
KV_WITH_AVX2 inline __m256i Each(Unit unit) {
  return sizeof(Unit) == 1 ? _mm256_set1_epi8(static_cast<char>(unit))
                           : _mm256_set1_epi16(static_cast<short>(unit));
}

template <class Unit>
KV_WITH_AVX2 inline __m256i EqualTo(__m256i units, __m256i wanted) {
  return sizeof(Unit) == 1 ? _mm256_cmpeq_epi8(units, wanted) : _mm256_cmpeq_epi16(units, wanted);
}

// All bits where a 16-bit unit is beyond the last; of bytes none is.
template <class Unit>
KV_WITH_AVX2 inline __m256i Beyond(__m256i units) {
  if (sizeof(Unit) == 1) return _mm256_setzero_si256();
  static_assert(WantedUnits<unsigned short>::kLast == 511);
  return _mm256_and_si256(units, _mm256_set1_epi16(static_cast<short>(0xFE00)));
}

template <class Unit, bool isSingle>
KV_WITH_AVX2 unsigned PassOverByAvx2(const unsigned char* text, unsigned count,
                                     const WantedUnits<Unit>& wanted) {
  constexpr unsigned kUnits = 64 / sizeof(Unit);
  const __m256i first = Each(wanted.units[0]);
  const __m256i second = Each(wanted.units[1]);
  const __m256i third = Each(wanted.units[2]);
  const __m256i fourth = Each(wanted.units[3]);
  unsigned passed = 0;
  for (; count - passed >= kUnits; passed += kUnits) {
    const auto* at = reinterpret_cast<const __m256i*>(text + passed * sizeof(Unit));
    const __m256i a = _mm256_loadu_si256(at);
    const __m256i b = _mm256_loadu_si256(at + 1);
    __m256i hits = _mm256_or_si256(EqualTo<Unit>(a, first), EqualTo<Unit>(b, first));
    if (!isSingle) {
      hits = _mm256_or_si256(hits, EqualTo<Unit>(a, second));
      hits = _mm256_or_si256(hits, EqualTo<Unit>(b, second));
      hits = _mm256_or_si256(hits, EqualTo<Unit>(a, third));
      hits = _mm256_or_si256(hits, EqualTo<Unit>(b, third));
      hits = _mm256_or_si256(hits, EqualTo<Unit>(a, fourth));
      hits = _mm256_or_si256(hits, EqualTo<Unit>(b, fourth));
    }
    hits = _mm256_or_si256(hits, Beyond<Unit>(_mm256_or_si256(a, b)));
    if (!_mm256_testz_si256(hits, hits)) break;
  }
  return passed;
}

KV_WITH_AVX2 std::uint64_t WordsOfWeightByAvx2(const unsigned* words, unsigned mask,
                                               unsigned pairMask, unsigned weight) {
  const __m256i masks = _mm256_set1_epi32(static_cast<int>(mask));
  const __m256i weights = _mm256_set1_epi32(static_cast<int>(weight));
  const __m256i pairMasks = _mm256_set1_epi32(static_cast<int>(pairMask));
  const __m256i pairWeights = _mm256_set1_epi32(static_cast<int>(weight & pairMask));
  std::uint64_t found = 0;
  for (unsigned place = 0; place < 64; place += 8) {
    const __m256i eight = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(words + place));
    const __m256i equal = _mm256_cmpeq_epi32(_mm256_and_si256(eight, masks), weights);
    const __m256i alike = _mm256_cmpeq_epi32(_mm256_and_si256(eight, pairMasks), pairWeights);
    // kPairBit is the sign, and kPartMark is made it.
    static_assert(kPartMark << 28 == kPairBit);
    const __m256i special = _mm256_or_si256(eight, _mm256_slli_epi32(eight, 28));
    const __m256i hits = _mm256_or_si256(equal, _mm256_and_si256(alike, special));
    const int bits = _mm256_movemask_ps(_mm256_castsi256_ps(hits));
    found |= static_cast<std::uint64_t>(static_cast<unsigned>(bits)) << place;
  }
  return found;
}

inline unsigned LineOffset(const unsigned char* at) {
  return static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(at) % 64);
}

// The least of four units is zero where one of them is.
template <class Unit>
[[gnu::target("avx512bw")]] inline __m512i LeastOf(const __m512i& a, const __m512i& b,
                                                   const __m512i& c, const __m512i& d) {
  return sizeof(Unit) == 1 ? _mm512_min_epu8(_mm512_min_epu8(a, b), _mm512_min_epu8(c, d))
                           : _mm512_min_epu16(_mm512_min_epu16(a, b), _mm512_min_epu16(c, d));
}

// Copies whole blocks of 128 bytes without a zero unit. Result: the units copied.
template <class Unit>
KV_WITH_AVX2 unsigned CopyBlocks(unsigned char* out, const unsigned char* in, unsigned limit) {
  constexpr unsigned kUnits = 128 / sizeof(Unit);
  const __m256i zero = _mm256_setzero_si256();
  unsigned copied = 0;
  for (; limit - copied >= kUnits; copied += kUnits, in += 128, out += 128) {
    const auto* from = reinterpret_cast<const __m256i*>(in);
    auto* to = reinterpret_cast<__m256i*>(out);
    const __m256i a = _mm256_loadu_si256(from);
    const __m256i b = _mm256_loadu_si256(from + 1);
    const __m256i c = _mm256_loadu_si256(from + 2);
    const __m256i d = _mm256_loadu_si256(from + 3);
    // The least of four units is zero where one of them is.
    const __m256i least = sizeof(Unit) == 1
                              ? _mm256_min_epu8(_mm256_min_epu8(a, b), _mm256_min_epu8(c, d))
                              : _mm256_min_epu16(_mm256_min_epu16(a, b), _mm256_min_epu16(c, d));
    if (_mm256_movemask_epi8(EqualTo<Unit>(least, zero)) != 0) break;
    _mm256_storeu_si256(to, a);
    _mm256_storeu_si256(to + 1, b);
    _mm256_storeu_si256(to + 2, c);
    _mm256_storeu_si256(to + 3, d);
  }
  return copied;
}

// The same by whole cache lines: the first one is written twice, so that all others begin where one
// of `out` does.
template <class Unit>
[[gnu::target("avx512bw")]] unsigned CopyLines(unsigned char* out, const unsigned char* in,
                                               unsigned limit) {
  constexpr unsigned kBlock = 256;
  const unsigned bytes = limit * static_cast<unsigned>(sizeof(Unit));
  unsigned at = 0;
  for (; bytes - at >= kBlock; at += at == 0 ? 64 - LineOffset(out) : kBlock) {
    const __m512i a = _mm512_loadu_si512(in + at);
    const __m512i b = _mm512_loadu_si512(in + at + 64);
    const __m512i c = _mm512_loadu_si512(in + at + 128);
    const __m512i d = _mm512_loadu_si512(in + at + 192);
    const bool ends =
        sizeof(Unit) == 1
            ? _mm512_testn_epi8_mask(LeastOf<Unit>(a, b, c, d), LeastOf<Unit>(a, b, c, d)) != 0
            : _mm512_testn_epi16_mask(LeastOf<Unit>(a, b, c, d), LeastOf<Unit>(a, b, c, d)) != 0;
    if (ends) break;
    _mm512_storeu_si512(out + at, a);
    _mm512_storeu_si512(out + at + 64, b);
    _mm512_storeu_si512(out + at + 128, c);
    _mm512_storeu_si512(out + at + 192, d);
  }
  return at / static_cast<unsigned>(sizeof(Unit));
}
#endif

template <class Unit>
unsigned PassOverWidely(const unsigned char* text, unsigned count,
                        const WantedUnits<Unit>& wanted) {
#if defined(__x86_64__) || defined(__i386__)
  if (Vectors() >= VectorSet::kAvx2) {
    return wanted.isSingle ? PassOverByAvx2<Unit, true>(text, count, wanted)
                           : PassOverByAvx2<Unit, false>(text, count, wanted);
  }
#endif
  return PassOverPlainly(text, count, wanted);
}

}  // namespace

unsigned PassOver(const unsigned char* text, unsigned count,
                  const WantedUnits<unsigned char>& wanted) {
  if (!wanted.isSingle) return PassOverWidely(text, count, wanted);
  const void* found = std::memchr(text, wanted.units[0], count);
  if (found == nullptr) return count;
  return static_cast<unsigned>(static_cast<const unsigned char*>(found) - text);
}

unsigned PassOver(const unsigned char* text, unsigned count,
                  const WantedUnits<unsigned short>& wanted) {
  return PassOverWidely(text, count, wanted);
}

std::uint64_t WordsOfWeight(const unsigned* words, unsigned mask, unsigned pairMask,
                            unsigned weight) {
#if defined(__x86_64__) || defined(__i386__)
  if (Vectors() >= VectorSet::kAvx2) return WordsOfWeightByAvx2(words, mask, pairMask, weight);
#endif
  return WordsOfWeightPlainly(words, mask, pairMask, weight);
}

unsigned CopyToZero(unsigned char* out, const unsigned char* in, bool wide, unsigned limit) {
  unsigned copied = 0;
#if defined(__x86_64__) || defined(__i386__)
  if (Vectors() >= VectorSet::kAvx512 && LineOffset(out) % 2 == 0) {
    copied =
        wide ? CopyLines<unsigned short>(out, in, limit) : CopyLines<unsigned char>(out, in, limit);
  } else if (Vectors() >= VectorSet::kAvx2) {
    copied = wide ? CopyBlocks<unsigned short>(out, in, limit)
                  : CopyBlocks<unsigned char>(out, in, limit);
  }
#endif
  const unsigned width = wide ? 2 : 1;
  const unsigned rest = TextLength(in + copied * width, wide, limit - copied);
  if (rest != 0) std::memcpy(out + copied * width, in + copied * width, rest * width);
  return copied + rest;
}

}  // namespace kv
