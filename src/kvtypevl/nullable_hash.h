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

// The elements at `at`, as kvnull.h's layouts place them (bytes of one lane, low to high):
//
//   4-byte scalars   two loads, key words and flag words alternating
//   2-byte scalars   key key flag 0
//   1-byte scalars   key flag key flag: two elements a lane, `half` chooses
template <class Scalar>
NullableLanes LoadNullableLanes(const unsigned char* at, [[maybe_unused]] unsigned half) {
  const auto load = [at](unsigned offset) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at + offset));
  };
  if constexpr (sizeof(Scalar) == 4) {
    const __m128 a = _mm_castsi128_ps(load(0));
    const __m128 b = _mm_castsi128_ps(load(16));
    const __m128i flags = _mm_castps_si128(_mm_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1)));
    return {_mm_castps_si128(_mm_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0))),
            _mm_and_si128(flags, _mm_set1_epi32(0xFF))};
  } else {
    constexpr int kKeyBits = 8 * sizeof(Scalar);
    const __m128i lanes = half == 0 ? load(0) : _mm_srli_epi32(load(0), 16);
    const __m128i raised = _mm_slli_epi32(lanes, 32 - kKeyBits);
    return {std::is_signed_v<Scalar> ? _mm_srai_epi32(raised, 32 - kKeyBits)
                                     : _mm_srli_epi32(raised, 32 - kKeyBits),
            _mm_and_si128(lanes, _mm_set1_epi32(0xFF << kKeyBits))};
  }
}

// Adds the leading elements of a run in memory form that fill whole loads. Result: their number.
template <class Scalar>
unsigned AddNullableLanes(NullableHash& hash, const unsigned char* at, unsigned count) {
  constexpr unsigned kLoads = sizeof(Scalar) == 4 ? 2 : 1;
  constexpr unsigned kHalves = sizeof(Scalar) == 1 ? 2 : 1;
  constexpr unsigned kElements = 4 * kHalves;
  const __m128i multiplier = _mm_set1_epi32(static_cast<int>(kHashMultiplier));
  __m128i products = _mm_setzero_si128();
  __m128i presence = _mm_setzero_si128();
  unsigned done = 0;
  for (; count - done >= kElements; done += kElements, at += 16 * kLoads) {
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
