// Hashing runs of nullable scalars. Each present element contributes its own product, so unlike the
// plain rows' keys they cannot be XORed first; the products of a run in memory form are made four
// at a time where the processor can.
#pragma once

#include <cstring>
#include <type_traits>

#include "kvnull.h"
#include "kvtypevl/hash.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace kv {

// Element by element. A null's scalar is hashed too and masked away: random nulls would make a
// branch unpredictable. An odd number of nulls leaves one null hash in the XOR.
struct NullableHash {
  unsigned products = 0;
  unsigned nulls = 0;

  void Add(bool null, unsigned key) {
    const unsigned presentMask = static_cast<unsigned>(null) - 1;
    products ^= key * kHashMultiplier & presentMask;
    nulls += null;
  }
  unsigned Result() const { return products ^ (nulls % 2 != 0 ? kNullHash : 0); }
};

#if defined(__SSE2__)

// Four elements' keys and flags in 32-bit lanes; a flag of 0 is present.
struct NullableLanes {
  __m128i keys;
  __m128i flags;
};

// Four lanes chosen from two vectors: i and j of `a`, then k and l of `b`.
template <int i, int j, int k, int l>
__m128i ChooseLanes(__m128i a, __m128i b) {
  return _mm_castps_si128(
      _mm_shuffle_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), _MM_SHUFFLE(l, k, j, i)));
}

// The elements at `at`, as kvnull.h's layouts place them (32-bit lanes, and bytes of one lane, from
// low to high; "-" is padding):
//
//   8-byte scalars   low high flag -, four loads
//   KvInt64          low high flag, three loads hold four elements
//   4-byte scalars   key flag, two loads
//   2-byte scalars   bytes key key flag -
//   1-byte scalars   bytes key flag key flag: two elements a lane, `half` chooses
template <class Scalar>
NullableLanes LoadNullableLanes(const unsigned char* at, [[maybe_unused]] unsigned half) {
  const auto load = [at](unsigned vector) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at) + vector);
  };
  const __m128i flagByte = _mm_set1_epi32(0xFF);
  const __m128i a = load(0);
  if constexpr (std::is_same_v<Scalar, KvInt64>) {
    const __m128i b = load(1), c = load(2);
    const __m128i low = ChooseLanes<0, 3, 0, 2>(a, ChooseLanes<2, 2, 1, 1>(b, c));
    const __m128i high =
        ChooseLanes<0, 2, 0, 2>(ChooseLanes<1, 1, 0, 0>(a, b), ChooseLanes<3, 3, 2, 2>(b, c));
    const __m128i flags = ChooseLanes<0, 2, 0, 3>(ChooseLanes<2, 2, 1, 1>(a, b), c);
    return {_mm_xor_si128(low, high), _mm_and_si128(flags, flagByte)};
  } else if constexpr (sizeof(Scalar) == 8) {
    const __m128i b = load(1), c = load(2), d = load(3);
    const __m128i ab = ChooseLanes<0, 1, 0, 1>(a, b), cd = ChooseLanes<0, 1, 0, 1>(c, d);
    const __m128i flags =
        ChooseLanes<0, 2, 0, 2>(ChooseLanes<2, 2, 2, 2>(a, b), ChooseLanes<2, 2, 2, 2>(c, d));
    return {_mm_xor_si128(ChooseLanes<0, 2, 0, 2>(ab, cd), ChooseLanes<1, 3, 1, 3>(ab, cd)),
            _mm_and_si128(flags, flagByte)};
  } else if constexpr (sizeof(Scalar) == 4) {
    const __m128i b = load(1);
    return {ChooseLanes<0, 2, 0, 2>(a, b), _mm_and_si128(ChooseLanes<1, 3, 1, 3>(a, b), flagByte)};
  } else {
    constexpr int kKeyBits = 8 * sizeof(Scalar);
    const __m128i lanes = half == 0 ? a : _mm_srli_epi32(a, 16);
    const __m128i raised = _mm_slli_epi32(lanes, 32 - kKeyBits);
    return {std::is_signed_v<Scalar> ? _mm_srai_epi32(raised, 32 - kKeyBits)
                                     : _mm_srli_epi32(raised, 32 - kKeyBits),
            _mm_and_si128(lanes, _mm_set1_epi32(0xFF << kKeyBits))};
  }
}

// Adds the leading elements of a run in memory form that fill whole loads. Result: their number.
template <class Scalar>
unsigned AddNullableLanes(NullableHash& hash, const unsigned char* at, unsigned count) {
  constexpr unsigned kHalves = sizeof(Scalar) == 1 ? 2 : 1;
  constexpr unsigned kElements = 4 * kHalves;
  constexpr unsigned kBytes = kElements * sizeof(KvNullable<Scalar>);
  const __m128i multiplier = _mm_set1_epi32(static_cast<int>(kHashMultiplier));
  __m128i products = _mm_setzero_si128();
  __m128i presence = _mm_setzero_si128();
  unsigned done = 0;
  for (; count - done >= kElements; done += kElements, at += kBytes) {
    for (unsigned half = 0; half < kHalves; ++half) {
      const NullableLanes lanes = LoadNullableLanes<Scalar>(at, half);
      const __m128i present = _mm_cmpeq_epi32(lanes.flags, _mm_setzero_si128());
      const __m128i keys = _mm_and_si128(lanes.keys, present);
      // The products are 64 bits wide, of even lanes; only their low halves are looked at.
      const __m128i even = _mm_mul_epu32(keys, multiplier);
      const __m128i odd = _mm_mul_epu32(_mm_srli_epi64(keys, 32), multiplier);
      products = _mm_xor_si128(products, _mm_xor_si128(even, odd));
      presence = _mm_xor_si128(presence, present);
    }
  }
  unsigned lane[4];
  std::memcpy(lane, &products, sizeof lane);
  hash.products ^= lane[0] ^ lane[2];
  // The elements are even in number, so the nulls are odd when the present ones are.
  std::memcpy(lane, &presence, sizeof lane);
  hash.nulls += (lane[0] ^ lane[1] ^ lane[2] ^ lane[3]) & 1;
  return done;
}

#else

template <class Scalar>
unsigned AddNullableLanes(NullableHash&, const unsigned char*, unsigned) {
  return 0;
}

#endif

}  // namespace kv
