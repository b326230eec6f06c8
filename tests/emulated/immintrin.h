// Stands in front of the compiler's own header where a kernel is compiled for a machine that may
// lack its instructions: each is computed lane by lane, most of them by SIMDe. What SIMDe lacks is
// below. Masked loads and stores touch the bytes of their mask and no other, as the processor does,
// so that a fence behind a block sees the byte too many.
#pragma once

#include <cstdlib>
#include <cstring>
#include <functional>  // has functions named as the macro below
#include <string>

#define SIMDE_NO_NATIVE
#define SIMDE_ENABLE_NATIVE_ALIASES
#include <simde/x86/avx512.h>

using __mmask8 = simde__mmask8;
using __mmask16 = simde__mmask16;
using __mmask32 = simde__mmask32;
using __mmask64 = simde__mmask64;

// No instruction of such a set may be generated: the compiler would use it for other loops, too.
#define target(sets) unused

namespace emulated {

// Everything, but for the sets that KV_LACKS names with blanks between them.
inline bool ProcessorHas(const char* set) {
  const char* lacking = std::getenv("KV_LACKS");
  if (lacking == nullptr) return true;
  return (' ' + std::string(lacking) + ' ').find(' ' + std::string(set) + ' ') == std::string::npos;
}

template <class Lane>
Lane LaneOf(const simde__m512i& vector, unsigned i) {
  Lane lane;
  std::memcpy(&lane, reinterpret_cast<const char*>(&vector) + i * sizeof lane, sizeof lane);
  return lane;
}

template <class Lane>
void SetLane(simde__m512i& vector, unsigned i, Lane lane) {
  std::memcpy(reinterpret_cast<char*>(&vector) + i * sizeof lane, &lane, sizeof lane);
}

// A bit for each lane of the mask for which the comparison holds.
template <class Lane, class Compare>
unsigned long long Compared(unsigned long long mask, const simde__m512i& a, const simde__m512i& b,
                            Compare holds) {
  unsigned long long result = 0;
  for (unsigned i = 0; i < 64 / sizeof(Lane); ++i) {
    const bool bit = (mask >> i & 1) != 0 && holds(LaneOf<Lane>(a, i), LaneOf<Lane>(b, i));
    result |= static_cast<unsigned long long>(bit) << i;
  }
  return result;
}

template <class Lane>
simde__m512i Loaded(unsigned long long mask, const void* from) {
  simde__m512i vector = simde_mm512_setzero_si512();
  for (unsigned i = 0; i < 64 / sizeof(Lane); ++i) {
    if ((mask >> i & 1) != 0) SetLane(vector, i, static_cast<const Lane*>(from)[i]);
  }
  return vector;
}

// Of a vector or the half of one.
template <class Lane, class Vector>
void StoreSome(void* to, unsigned long long mask, const Vector& vector) {
  for (unsigned i = 0; i < sizeof vector / sizeof(Lane); ++i) {
    if ((mask >> i & 1) == 0) continue;
    std::memcpy(static_cast<char*>(to) + i * sizeof(Lane),
                reinterpret_cast<const char*>(&vector) + i * sizeof(Lane), sizeof(Lane));
  }
}

template <class From, class To>
simde__m512i Widened(const simde__m256i& half) {
  simde__m512i vector;
  for (unsigned i = 0; i < 64 / sizeof(To); ++i) {
    From lane;
    std::memcpy(&lane, reinterpret_cast<const char*>(&half) + i * sizeof lane, sizeof lane);
    SetLane(vector, i, static_cast<To>(lane));
  }
  return vector;
}

inline simde__m512i Compressed(unsigned long long mask, const simde__m512i& vector) {
  simde__m512i result = simde_mm512_setzero_si512();
  unsigned to = 0;
  for (unsigned i = 0; i < 64; ++i) {
    if ((mask >> i & 1) != 0) SetLane(result, to++, LaneOf<unsigned char>(vector, i));
  }
  return result;
}

inline constexpr auto kLess = [](auto a, auto b) { return a < b; };
inline constexpr auto kNotLess = [](auto a, auto b) { return a >= b; };
inline constexpr auto kMore = [](auto a, auto b) { return a > b; };
inline constexpr auto kUnequal = [](auto a, auto b) { return a != b; };
inline constexpr auto kDisjoint = [](auto a, auto b) { return (a & b) == 0; };

using U8 = unsigned char;
using U16 = unsigned short;
using U32 = unsigned;
using U64 = unsigned long long;
inline constexpr U64 kAll = ~0ULL;

}  // namespace emulated

#define _mm256_mask_storeu_epi8(to, mask, a) emulated::StoreSome<emulated::U8>(to, mask, a)
#define _mm512_mask_storeu_epi8(to, mask, a) emulated::StoreSome<emulated::U8>(to, mask, a)
#define _mm512_mask_storeu_epi16(to, mask, a) emulated::StoreSome<emulated::U16>(to, mask, a)
#define _mm512_maskz_loadu_epi8(mask, from) emulated::Loaded<emulated::U8>(mask, from)
#define _mm512_maskz_loadu_epi16(mask, from) emulated::Loaded<emulated::U16>(mask, from)
#define _mm512_maskz_compress_epi8(mask, a) emulated::Compressed(mask, a)
#define _mm512_cvtepu8_epi16(half) emulated::Widened<emulated::U8, emulated::U16>(half)
#define _mm512_cvtepu16_epi32(half) emulated::Widened<emulated::U16, emulated::U32>(half)

#define KV_COMPARED(lane, mask, a, b, how) \
  emulated::Compared<emulated::lane>(mask, a, b, emulated::how)
#define _mm512_cmplt_epu16_mask(a, b) KV_COMPARED(U16, emulated::kAll, a, b, kLess)
#define _mm512_cmplt_epu32_mask(a, b) KV_COMPARED(U32, emulated::kAll, a, b, kLess)
#define _mm512_cmpneq_epi8_mask(a, b) KV_COMPARED(U8, emulated::kAll, a, b, kUnequal)
#define _mm512_mask_cmplt_epu8_mask(mask, a, b) KV_COMPARED(U8, mask, a, b, kLess)
#undef _mm512_mask_cmpge_epu8_mask  // it takes an argument too many
#define _mm512_mask_cmpge_epu8_mask(mask, a, b) KV_COMPARED(U8, mask, a, b, kNotLess)
#define _mm512_mask_cmpgt_epu32_mask(mask, a, b) KV_COMPARED(U32, mask, a, b, kMore)
#define _mm512_mask_cmpgt_epu64_mask(mask, a, b) KV_COMPARED(U64, mask, a, b, kMore)
#define _mm512_mask_cmpneq_epi8_mask(mask, a, b) KV_COMPARED(U8, mask, a, b, kUnequal)
#define _mm512_mask_cmpneq_epi16_mask(mask, a, b) KV_COMPARED(U16, mask, a, b, kUnequal)
#define _mm512_testn_epi8_mask(a, b) KV_COMPARED(U8, emulated::kAll, a, b, kDisjoint)
#define _mm512_testn_epi16_mask(a, b) KV_COMPARED(U16, emulated::kAll, a, b, kDisjoint)
#define _mm512_testn_epi32_mask(a, b) KV_COMPARED(U32, emulated::kAll, a, b, kDisjoint)
#define _mm512_mask_testn_epi16_mask(mask, a, b) KV_COMPARED(U16, mask, a, b, kDisjoint)
#define _mm512_mask_testn_epi32_mask(mask, a, b) KV_COMPARED(U32, mask, a, b, kDisjoint)
