// Hashing runs of nullable scalars. Each present element contributes its own product, so unlike the
// plain rows' keys they cannot be XORed first; the products of a run in memory form are made a
// vector at a time.
#pragma once

#include <cstdint>
#include <type_traits>

#include "kvbase/vectors.h"
#include "kvnull.h"
#include "kvtypevl/operations/hash.h"

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

// The elements that one step of AddNullableLanes takes; those of one byte stand two in a lane.
template <class Scalar, unsigned width>
inline constexpr unsigned kNullableStep = width / (sizeof(Scalar) == 1 ? 2 : 4);

// Elements of 4 and 8 bytes, one a lane: its key, and its flag, which is 0 for a present one.
// kvnull.h's layouts place them so (32-bit lanes; "-" is padding):
//
//   8-byte scalars   low high flag -, four loads
//   KvInt64          low high flag, three loads
//   4-byte scalars   key flag, two loads
//
// An element may go to any lane, as long as its key and its flag go to the same one.
template <class Scalar, unsigned width>
[[gnu::always_inline]] inline void LoadNullableLanes(Lanes<width>& keys, Lanes<width>& flags,
                                                     const unsigned char* at) {
  Lanes<width> a, b, c, d, e, f;
  if constexpr (std::is_same_v<Scalar, KvInt64>) {
    LoadLanes<width>(a, at);
    LoadLanes<width>(b, at + width);
    LoadLanes<width>(c, at + 2 * width);
    ChooseThirds<width, 0>(keys, a, b, c);  // low
    ChooseThirds<width, 1>(d, a, b, c);     // high, one lane further up
    ChooseThirds<width, 2>(flags, a, b, c);
    RotateLanes<width, 1>(d);
    RotateLanes<width, 2>(flags);
    keys ^= d;
  } else if constexpr (sizeof(Scalar) == 8) {
    LoadLanes<width>(a, at);
    LoadLanes<width>(b, at + width);
    LoadLanes<width>(c, at + 2 * width);
    LoadLanes<width>(d, at + 3 * width);
    ChooseLanes<width, 2, 2>(e, a, b);
    ChooseLanes<width, 2, 2>(f, c, d);
    ChooseLanes<width, 0, 2>(flags, e, f);
    ChooseLanes<width, 0, 1>(e, a, b);
    ChooseLanes<width, 0, 1>(f, c, d);
    ChooseLanes<width, 0, 2>(keys, e, f);  // low
    ChooseLanes<width, 1, 3>(a, e, f);     // high
    keys ^= a;
  } else {
    LoadLanes<width>(a, at);
    LoadLanes<width>(b, at + width);
    ChooseLanes<width, 0, 2>(keys, a, b);
    ChooseLanes<width, 1, 3>(flags, a, b);
  }
  flags &= 0xFF;
}

// Elements of 1 byte, two a lane as key, flag, key, flag: the keys of the first and of the second
// ones, 0 for a null. Nulls are cleared by the first of the two shifts that extend a sign.
template <class Scalar, unsigned width>
[[gnu::always_inline]] inline void LoadKeyPairs(Lanes<width>& first, Lanes<width>& second,
                                                Lanes<width>& present, const unsigned char* at) {
  constexpr bool kSigned = std::is_signed_v<Scalar>;
  LoadLanes<width>(first, at);
  const auto halves = (HalfLanes<width>)first;
  const auto isPresent = halves < 256;
  const auto kept = (Lanes<width>)(isPresent ? halves << (kSigned ? 8 : 0) : HalfLanes<width>{});
  present = (Lanes<width>)isPresent;
  first = kSigned ? (Lanes<width>)((SignedLanes<width>)(kept << 16) >> 24) : kept & 0xFF;
  second = kSigned ? (Lanes<width>)((SignedLanes<width>)kept >> 24) : kept >> 16;
}

// Elements of 2 bytes, one a lane as key, key, flag, padding.
template <class Scalar, unsigned width>
[[gnu::always_inline]] inline void LoadShortKeys(Lanes<width>& keys, Lanes<width>& present,
                                                 const unsigned char* at) {
  constexpr bool kSigned = std::is_signed_v<Scalar>;
  LoadLanes<width>(keys, at);
  const auto isPresent = (keys & 0xFF0000) == 0;
  keys = isPresent ? (kSigned ? keys << 16 : keys & 0xFFFF) : Lanes<width>{};
  present = (Lanes<width>)isPresent;
  if (kSigned) keys = (Lanes<width>)((SignedLanes<width>)keys >> 16);
}

// Adds the leading elements of a run in memory form that fill whole steps. Result: their number.
// A null's key is cleared, which makes its product 0.
template <class Scalar, unsigned width>
[[gnu::always_inline]] inline unsigned AddNullableLanes(NullableHash& hash, const unsigned char* at,
                                                        unsigned count) {
  constexpr unsigned kStep = kNullableStep<Scalar, width>;
  Lanes<width> products{}, presence{}, keys, others, flags, present;
  unsigned done = 0;
  for (; count - done >= kStep; done += kStep, at += kStep * sizeof(KvNullable<Scalar>)) {
    if constexpr (sizeof(Scalar) == 1) {
      LoadKeyPairs<Scalar, width>(keys, others, present, at);
      products ^= others * kHashMultiplier;
    } else if constexpr (sizeof(Scalar) == 2) {
      LoadShortKeys<Scalar, width>(keys, present, at);
    } else {
      LoadNullableLanes<Scalar, width>(keys, flags, at);
      present = (Lanes<width>)(flags == 0);
      keys &= present;
    }
    products ^= keys * kHashMultiplier;
    presence ^= present;
  }
  // The elements are even in number, so the nulls are odd when the present ones are.
  unsigned odd = 0;
  for (unsigned lane = 0; lane < width / 4; ++lane) {
    hash.products ^= products[lane];
    odd ^= sizeof(Scalar) == 1 ? presence[lane] ^ presence[lane] >> 16 : presence[lane];
  }
  hash.nulls += odd & 1;
  return done;
}

#if defined(__x86_64__) || defined(__i386__)
template <class Scalar>
[[gnu::target("avx512bw")]] unsigned AddNullablesBy64(NullableHash& hash, const unsigned char* at,
                                                      unsigned count) {
  return AddNullableLanes<Scalar, 64>(hash, at, count);
}

template <class Scalar>
[[gnu::target("avx2")]] unsigned AddNullablesBy32(NullableHash& hash, const unsigned char* at,
                                                  unsigned count) {
  return AddNullableLanes<Scalar, 32>(hash, at, count);
}
#endif

// The elements in front of the first one that starts a cache line. Vectors as wide as a line take
// twice the time when each reaches into the next one; 0 where lines do not matter.
template <class Scalar>
unsigned NullablesBeforeLine(const unsigned char* at, unsigned count) {
  constexpr unsigned kLine = 64;
  if (sizeof(Scalar) < 4 || count < 8 * kNullableStep<Scalar, kLine>) return 0;
  auto address = reinterpret_cast<std::uintptr_t>(at);
  for (unsigned before = 0; before < kLine / 4; ++before) {
    if (address % kLine == 0) return before;
    address += sizeof(KvNullable<Scalar>);
  }
  return 0;
}

// As AddNullableLanes, by the widest vectors there are. A few elements are not worth the question.
template <class Scalar>
unsigned AddLeadingNullables([[maybe_unused]] NullableHash& hash,
                             [[maybe_unused]] const unsigned char* at, unsigned count) {
  if (count < kNullableStep<Scalar, 16>) return 0;
#if defined(__x86_64__) || defined(__i386__)
  const unsigned width = WidestVectors();
  if (width == 64 && count >= 4 * kNullableStep<Scalar, 64>) {
    return AddNullablesBy64<Scalar>(hash, at, count);
  }
  if (width >= 32) return AddNullablesBy32<Scalar>(hash, at, count);
#endif
#if defined(__SSE2__) || defined(__aarch64__)
  // The kernels know where in a lane a flag lies on a little-endian host.
  if constexpr (!kHostIsBig) return AddNullableLanes<Scalar, 16>(hash, at, count);
#endif
  return 0;
}

}  // namespace kv
