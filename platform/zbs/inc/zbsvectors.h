// zbsvectors.h - which vector instructions the library uses, asked once and known here for all
// kernels. Installed so that a program can take wide vectors away, to measure or to test without
// them; results never depend on it.
//
//   kv::LimitVectors(kv::VectorSet::kPlain);    // from here on the plain loops
//   kv::LimitVectors(kv::VectorSet::kWidest);   // whatever the processor has again
//
// The environment variable KV_VECTORS (plain, ssse3, avx2, avx512 or vbmi2) sets the limit that a
// process begins with.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "kvbase.h"

namespace kv {

// Each includes those before it. Hosts other than x86 have kPlain alone.
enum class VectorSet : unsigned char {
  kPlain,   // what every processor of the build's kind has
  kSsse3,   // 16 bytes, shuffles of bytes
  kAvx2,    // 32 bytes
  kAvx512,  // 64 bytes by bytes and 16-bit lanes (AVX-512BW and VL)
  kVbmi2,   // the same with shuffles and compression of bytes (VBMI and VBMI2)
  kWidest = kVbmi2,
};

// The widest set that may be used from now on, by all threads. A set that the processor lacks
// stands for the widest one that it has. Result: the set used until now.
KV_EXPORT VectorSet LimitVectors(VectorSet limit);

// --- For the library's own parts ---

// The lowest `count` bits, all for 64 and more: the places of a vector that are taken.
constexpr std::uint64_t LowBits(std::size_t count) {
  return count >= 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << count) - 1;
}

// One more than the set in use; 0 until somebody asked.
extern KV_EXPORT std::atomic<unsigned char> vectorSetInUse;

KV_EXPORT VectorSet FindVectorSet();

// The set in use.
inline VectorSet Vectors() {
  const unsigned char known = vectorSetInUse.load(std::memory_order_relaxed);
  return known != 0 ? static_cast<VectorSet>(known - 1) : FindVectorSet();
}

// The same as bytes in a vector: 64, 32 or 16.
inline unsigned WidestVectors() {
  const VectorSet set = Vectors();
  return set >= VectorSet::kAvx512 ? 64 : set == VectorSet::kAvx2 ? 32 : 16;
}

}  // namespace kv
