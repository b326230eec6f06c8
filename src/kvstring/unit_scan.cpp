// The scans by vectors of 64 and of 32 bytes, four a step, and the plain loops that give the same.
//
// A scan ends at the first unit that it looks for, and at a zero unit, so that a text need not be
// measured before it is searched: both are one pass.

#include "kvstring/unit_scan.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "kvbase/unit.h"
#include "zbsvectors.h"
#include "zinorder.h"

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#endif

namespace kv {
namespace {

// The units that end a scan beside the zero unit: the first `kinds` of `units`, and with
// `endsBeyond` those above kLast.
template <class UnitType, unsigned kindCount, bool endsBeyondLast>
struct Ends {
  using Unit = UnitType;
  static constexpr unsigned kKinds = kindCount;
  static constexpr bool kEndsBeyond = endsBeyondLast;

  const Unit* units;

  bool Has(Unit unit) const {
    bool hit = unit == 0 || (kEndsBeyond && unit > WantedUnits<Unit>::kLast);
    for (unsigned kind = 0; kind < kKinds; ++kind) hit |= unit == units[kind];
    return hit;
  }
};

// --- Plain loops ---

// Whether one of the units of a block ends the scan. No branch inside, so that it comes out as
// vectors.
constexpr unsigned kPlainBlock = 32;

template <class Ends>
bool EndsInBlock(const unsigned char* text, const Ends& ends) {
  typename Ends::Unit block[kPlainBlock];
  std::memcpy(block, text, sizeof block);
  unsigned char hit = 0;
  for (const auto unit : block) hit = static_cast<unsigned char>(hit | (ends.Has(unit) ? 1 : 0));
  return hit != 0;
}

// The bytes before the first `byte`, `count` when there is none.
unsigned BytesBefore(const unsigned char* text, unsigned char byte, unsigned count) {
  const void* found = std::memchr(text, byte, count);
  if (found == nullptr) return count;
  return static_cast<unsigned>(static_cast<const unsigned char*>(found) - text);
}

template <class Ends>
unsigned PassPlainly(const unsigned char* text, unsigned count, const Ends& ends) {
  using Unit = typename Ends::Unit;
  if constexpr (sizeof(Unit) == 1 && Ends::kKinds <= 1) {
    // The C library's vectors, even in two walks, are faster than this one.
    if constexpr (Ends::kKinds == 1) count = BytesBefore(text, ends.units[0], count);
    return BytesBefore(text, 0, count);
  }
  unsigned passed = 0;
  while (count - passed >= kPlainBlock && !EndsInBlock(text + passed * sizeof(Unit), ends)) {
    passed += kPlainBlock;
  }
  while (passed < count && !ends.Has(ReadUnit<Unit>(text + passed * sizeof(Unit)))) ++passed;
  return passed;
}

void WordsOfWeightPlainly(WordBits& found, const unsigned* words, unsigned mask, unsigned pairMask,
                          unsigned weight) {
  for (std::uint64_t& bits : found) {
    for (std::uint64_t bit = 1; bit != 0; bit <<= 1) {
      const unsigned word = *words++;
      const bool hit = (word & mask) == weight ||
                       ((word & kSpecialBits) != 0 && ((word ^ weight) & pairMask) == 0);
      if (hit) bits |= bit;
    }
  }
}

#if defined(__x86_64__) || defined(__i386__)

inline unsigned LineOffset(const unsigned char* at) {
  return static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(at) % 64);
}

// --- 32 bytes ---

#define KV_WITH_AVX2 [[gnu::target("avx2")]]

template <class Unit>
KV_WITH_AVX2 inline __m256i EqualTo(const __m256i& units, const __m256i& wanted) {
  return sizeof(Unit) == 1 ? _mm256_cmpeq_epi8(units, wanted) : _mm256_cmpeq_epi16(units, wanted);
}

template <class Unit>
KV_WITH_AVX2 inline __m256i LeastOf(const __m256i& a, const __m256i& b) {
  return sizeof(Unit) == 1 ? _mm256_min_epu8(a, b) : _mm256_min_epu16(a, b);
}

template <class Ends>
struct Scan32 {
  using Unit = typename Ends::Unit;
  __m256i wanted[Ends::kKinds + 1] = {};  // at least one, that there is an array

  KV_WITH_AVX2 explicit Scan32(const Ends& ends) {
    for (unsigned kind = 0; kind < Ends::kKinds; ++kind) {
      const Unit unit = ends.units[kind];
      wanted[kind] = sizeof(Unit) == 1 ? _mm256_set1_epi8(static_cast<char>(unit))
                                       : _mm256_set1_epi16(static_cast<short>(unit));
    }
  }

  // Adds bits where a unit is wanted.
  KV_WITH_AVX2 void AddWanted(__m256i& hits, const __m256i& units) const {
    for (unsigned kind = 0; kind < Ends::kKinds; ++kind) {
      hits = _mm256_or_si256(hits, EqualTo<Unit>(units, wanted[kind]));
    }
  }

  // Bits where a unit is zero in `least`, or beyond in `all`, which may be several in one.
  KV_WITH_AVX2 static __m256i Outside(const __m256i& least, const __m256i& all) {
    const __m256i zeros = EqualTo<Unit>(least, _mm256_setzero_si256());
    if (!Ends::kEndsBeyond) return zeros;
    const __m256i first = _mm256_set1_epi16(WantedUnits<unsigned short>::kLast + 1);
    return _mm256_or_si256(zeros, EqualTo<Unit>(LeastOf<Unit>(all, first), first));
  }

  // The bytes of a vector before the unit that ends the scan, 32 when none does.
  KV_WITH_AVX2 unsigned AheadInOne(const unsigned char* at) const {
    const __m256i units = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
    __m256i hits = Outside(units, units);
    AddWanted(hits, units);
    const auto found = static_cast<unsigned>(_mm256_movemask_epi8(hits));
    return static_cast<unsigned>(std::countr_zero(found));
  }

  KV_WITH_AVX2 bool EndsInFour(const unsigned char* at) const {
    const auto* from = reinterpret_cast<const __m256i*>(at);
    const __m256i a = _mm256_loadu_si256(from);
    const __m256i b = _mm256_loadu_si256(from + 1);
    const __m256i c = _mm256_loadu_si256(from + 2);
    const __m256i d = _mm256_loadu_si256(from + 3);
    const __m256i least = LeastOf<Unit>(LeastOf<Unit>(a, b), LeastOf<Unit>(c, d));
    __m256i hits = Outside(least, _mm256_or_si256(_mm256_or_si256(a, b), _mm256_or_si256(c, d)));
    AddWanted(hits, a);
    AddWanted(hits, b);
    AddWanted(hits, c);
    AddWanted(hits, d);
    return _mm256_testz_si256(hits, hits) == 0;
  }
};

template <class Ends>
KV_WITH_AVX2 unsigned PassByAvx2(const unsigned char* text, unsigned count, const Ends& ends) {
  constexpr unsigned kUnit = sizeof(typename Ends::Unit);
  const unsigned bytes = count * kUnit;
  if (bytes < 32) return PassPlainly(text, count, ends);
  const Scan32<Ends> scan(ends);
  unsigned at = 0;
  while (bytes - at >= 128 && !scan.EndsInFour(text + at)) at += 128;
  // The last vector ends with the text, so it begins among what has been passed already.
  for (; at < bytes; at += 32) {
    at = std::min(at, bytes - 32);
    const unsigned ahead = scan.AheadInOne(text + at);
    if (ahead != 32) return (at + ahead) / kUnit;
  }
  return count;
}

KV_WITH_AVX2 void WordsOfWeightByAvx2(WordBits& found, const unsigned* words, unsigned mask,
                                      unsigned pairMask, unsigned weight) {
  const __m256i masks = _mm256_set1_epi32(static_cast<int>(mask));
  const __m256i weights = _mm256_set1_epi32(static_cast<int>(weight));
  const __m256i pairMasks = _mm256_set1_epi32(static_cast<int>(pairMask));
  const __m256i pairWeights = _mm256_set1_epi32(static_cast<int>(weight & pairMask));
  for (unsigned place = 0; place < 128; place += 8) {
    const __m256i eight = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(words + place));
    const __m256i equal = _mm256_cmpeq_epi32(_mm256_and_si256(eight, masks), weights);
    const __m256i alike = _mm256_cmpeq_epi32(_mm256_and_si256(eight, pairMasks), pairWeights);
    // kPairBit is the sign, and kPartMark is made it.
    static_assert(kPartMark << 28 == kPairBit);
    const __m256i special = _mm256_or_si256(eight, _mm256_slli_epi32(eight, 28));
    const __m256i hits = _mm256_or_si256(equal, _mm256_and_si256(alike, special));
    const int bits = _mm256_movemask_ps(_mm256_castsi256_ps(hits));
    found[place / 64] |= std::uint64_t{static_cast<unsigned>(bits)} << place % 64;
  }
}

// --- 64 bytes ---

#define KV_WITH_AVX512 [[gnu::target("avx512bw")]]

// The least of several units is zero where one of them is.
template <class Unit>
KV_WITH_AVX512 inline __m512i LeastOf(const __m512i& a, const __m512i& b) {
  return sizeof(Unit) == 1 ? _mm512_min_epu8(a, b) : _mm512_min_epu16(a, b);
}

// Masks have a bit for a unit. Comparing under the mask of the units that are still to be passed
// joins the comparisons without an instruction for it.
template <class Ends>
struct Scan64 {
  using Unit = typename Ends::Unit;
  static constexpr unsigned kUnits = 64 / sizeof(Unit);
  static constexpr std::uint64_t kAll = kUnits == 64 ? ~std::uint64_t{0} : 0xFFFFFFFF;
  __m512i wanted[Ends::kKinds + 1];  // at least one, that there is an array

  KV_WITH_AVX512 explicit Scan64(const Ends& ends) {
    for (unsigned kind = 0; kind < Ends::kKinds; ++kind) {
      const Unit unit = ends.units[kind];
      wanted[kind] = sizeof(Unit) == 1 ? _mm512_set1_epi8(static_cast<char>(unit))
                                       : _mm512_set1_epi16(static_cast<short>(unit));
    }
  }

  KV_WITH_AVX512 static std::uint64_t NotZero(std::uint64_t among, const __m512i& units) {
    return sizeof(Unit) == 1
               ? _mm512_mask_test_epi8_mask(among, units, units)
               : _mm512_mask_test_epi16_mask(static_cast<__mmask32>(among), units, units);
  }

  KV_WITH_AVX512 static std::uint64_t NotBeyond(std::uint64_t among, const __m512i& units) {
    if (!Ends::kEndsBeyond) return among;
    static_assert(WantedUnits<unsigned short>::kLast == 511);
    return _mm512_mask_testn_epi16_mask(static_cast<__mmask32>(among), units,
                                        _mm512_set1_epi16(~511));
  }

  KV_WITH_AVX512 std::uint64_t NotWanted(std::uint64_t among, const __m512i& units) const {
    for (unsigned kind = 0; kind < Ends::kKinds; ++kind) {
      among = sizeof(Unit) == 1 ? _mm512_mask_cmpneq_epi8_mask(among, units, wanted[kind])
                                : _mm512_mask_cmpneq_epi16_mask(static_cast<__mmask32>(among),
                                                                units, wanted[kind]);
    }
    return among;
  }

  // The bytes before the unit that ends the scan among the first `bytes`, at most 64; `bytes` when
  // none does.
  KV_WITH_AVX512 unsigned AheadInOne(const unsigned char* at, unsigned bytes) const {
    const __m512i units = _mm512_maskz_loadu_epi8(LowBits(bytes), at);
    // What was not loaded is zero.
    const std::uint64_t passed = NotBeyond(NotWanted(NotZero(kAll, units), units), units);
    return static_cast<unsigned>(std::countr_one(passed)) * unsigned{sizeof(Unit)};
  }

  KV_WITH_AVX512 bool EndsInFour(const unsigned char* at) const {
    const __m512i a = _mm512_loadu_si512(at);
    const __m512i b = _mm512_loadu_si512(at + 64);
    const __m512i c = _mm512_loadu_si512(at + 128);
    const __m512i d = _mm512_loadu_si512(at + 192);
    std::uint64_t passed = NotWanted(NotWanted(NotWanted(NotWanted(kAll, a), b), c), d);
    passed = NotZero(passed, LeastOf<Unit>(LeastOf<Unit>(a, b), LeastOf<Unit>(c, d)));
    if (Ends::kEndsBeyond) {
      passed = NotBeyond(passed, _mm512_or_si512(_mm512_or_si512(a, b), _mm512_or_si512(c, d)));
    }
    return passed != kAll;
  }
};

// From the first cache line on by whole ones: a load that reaches into the next costs two.
template <class Ends>
KV_WITH_AVX512 unsigned PassByAvx512(const unsigned char* text, unsigned count, const Ends& ends) {
  constexpr unsigned kUnit = sizeof(typename Ends::Unit);
  const unsigned bytes = count * kUnit;
  const Scan64<Ends> scan(ends);
  unsigned at = 0;
  unsigned step = 64 - LineOffset(text) / kUnit * kUnit;
  while (at < bytes) {
    step = std::min(step, bytes - at);
    const unsigned ahead = scan.AheadInOne(text + at, step);
    at += ahead;
    if (ahead != step) break;
    while (bytes - at >= 256 && !scan.EndsInFour(text + at)) at += 256;
    step = 64;
  }
  return at / kUnit;
}

KV_WITH_AVX512 void WordsOfWeightByAvx512(WordBits& found, const unsigned* words, unsigned mask,
                                          unsigned pairMask, unsigned weight) {
  const __m512i masks = _mm512_set1_epi32(static_cast<int>(mask));
  const __m512i weights = _mm512_set1_epi32(static_cast<int>(weight));
  const __m512i specialBits = _mm512_set1_epi32(static_cast<int>(kSpecialBits));
  const __m512i pairMasks = _mm512_set1_epi32(static_cast<int>(pairMask));
  for (std::uint64_t& bits : found) {
    for (unsigned place = 0; place < 64; place += 16, words += 16) {
      const __m512i loaded = _mm512_loadu_si512(words);
      const __m512i others = _mm512_xor_si512(loaded, weights);
      const __mmask16 pairs = _mm512_test_epi32_mask(loaded, specialBits);
      const __mmask16 alike = _mm512_mask_testn_epi32_mask(pairs, others, pairMasks);
      const __mmask16 equal = _mm512_testn_epi32_mask(others, masks);
      bits |= std::uint64_t{static_cast<unsigned>(alike | equal)} << place;
    }
  }
}

// --- Copying ---

// What the copying loop asks of vectors of either width. By reference only, as the loop is compiled
// for none of them until it stands in a copy for one.
struct Vector32 {
  using Type = __m256i;
  KV_WITH_AVX2 static void Load(Type& vector, const unsigned char* at) {
    vector = _mm256_loadu_si256(reinterpret_cast<const Type*>(at));
  }
  KV_WITH_AVX2 static void Store(unsigned char* at, const Type& vector) {
    _mm256_storeu_si256(reinterpret_cast<Type*>(at), vector);
  }
  template <class Unit>
  KV_WITH_AVX2 static void Lessen(Type& least, const Type& other) {
    least = LeastOf<Unit>(least, other);
  }
  template <class Unit>
  KV_WITH_AVX2 static bool HasZero(const Type& units) {
    return _mm256_movemask_epi8(EqualTo<Unit>(units, _mm256_setzero_si256())) != 0;
  }
};

struct Vector64 {
  using Type = __m512i;
  KV_WITH_AVX512 static void Load(Type& vector, const unsigned char* at) {
    vector = _mm512_loadu_si512(at);
  }
  KV_WITH_AVX512 static void Store(unsigned char* at, const Type& vector) {
    _mm512_storeu_si512(at, vector);
  }
  template <class Unit>
  KV_WITH_AVX512 static void Lessen(Type& least, const Type& other) {
    least = LeastOf<Unit>(least, other);
  }
  template <class Unit>
  KV_WITH_AVX512 static bool HasZero(const Type& units) {
    return sizeof(Unit) == 1 ? _mm512_testn_epi8_mask(units, units) != 0
                             : _mm512_testn_epi16_mask(units, units) != 0;
  }
};

// Copies one block of eight vectors: all loads, then the stores, as a load that comes behind a
// store waits where their addresses look alike. False, and nothing done, when it has a zero unit.
template <class Vector, class Unit>
[[gnu::always_inline]] inline bool CopyBlock(unsigned char* out, const unsigned char* in) {
  constexpr unsigned kVector = sizeof(typename Vector::Type);
  typename Vector::Type units[8];
#pragma GCC unroll 8
  for (unsigned i = 0; i < 8; ++i) Vector::Load(units[i], in + i * kVector);
  typename Vector::Type least = units[0];
  typename Vector::Type least2 = units[1];
#pragma GCC unroll 3
  for (unsigned i = 2; i < 8; i += 2) {
    Vector::template Lessen<Unit>(least, units[i]);
    Vector::template Lessen<Unit>(least2, units[i + 1]);
  }
  Vector::template Lessen<Unit>(least, least2);
  if (Vector::template HasZero<Unit>(least)) return false;
#pragma GCC unroll 8
  for (unsigned i = 0; i < 8; ++i) Vector::Store(out + i * kVector, units[i]);
  return true;
}

// Copies whole blocks without a zero unit. Result: the units copied. The first block is followed by
// one that begins where a cache line of `out` does, the last one ends with the text: both are
// written over what stands there already.
template <class Vector, class Unit>
[[gnu::always_inline]] inline unsigned CopyBlocks(unsigned char* out, const unsigned char* in,
                                                  unsigned limit) {
  constexpr unsigned kUnit = sizeof(Unit);
  constexpr unsigned kBlock = 8 * sizeof(typename Vector::Type);
  const unsigned bytes = limit * kUnit;
  if (bytes < kBlock || !CopyBlock<Vector, Unit>(out, in)) return 0;
  const unsigned toLine = 64 - LineOffset(out) / kUnit * kUnit;
  unsigned at = 0;
  while (at + kBlock < bytes) {
    const unsigned next = std::min(at == 0 ? toLine : at + kBlock, bytes - kBlock);
    if (!CopyBlock<Vector, Unit>(out + next, in + next)) return (at + kBlock) / kUnit;
    at = next;
  }
  return limit;
}

KV_WITH_AVX2 unsigned CopyByAvx2(unsigned char* out, const unsigned char* in, bool wide,
                                 unsigned limit) {
  return wide ? CopyBlocks<Vector32, unsigned short>(out, in, limit)
              : CopyBlocks<Vector32, unsigned char>(out, in, limit);
}

KV_WITH_AVX512 unsigned CopyByAvx512(unsigned char* out, const unsigned char* in, bool wide,
                                     unsigned limit) {
  return wide ? CopyBlocks<Vector64, unsigned short>(out, in, limit)
              : CopyBlocks<Vector64, unsigned char>(out, in, limit);
}
#endif

template <class Ends>
unsigned Pass(const unsigned char* text, unsigned count, const Ends& ends) {
#if defined(__x86_64__) || defined(__i386__)
  if (Vectors() >= VectorSet::kAvx512) return PassByAvx512(text, count, ends);
  if (Vectors() >= VectorSet::kAvx2) return PassByAvx2(text, count, ends);
#endif
  return PassPlainly(text, count, ends);
}

template <class Unit>
unsigned PassOverWanted(const unsigned char* text, unsigned count,
                        const WantedUnits<Unit>& wanted) {
  constexpr bool kEndsBeyond = sizeof(Unit) == 2;
  if (wanted.kinds == 1) return Pass(text, count, Ends<Unit, 1, kEndsBeyond>{wanted.units});
  if (wanted.kinds == 2) return Pass(text, count, Ends<Unit, 2, kEndsBeyond>{wanted.units});
  return Pass(text, count, Ends<Unit, 4, kEndsBeyond>{wanted.units});
}

}  // namespace

unsigned PassOver(const unsigned char* text, unsigned count,
                  const WantedUnits<unsigned char>& wanted) {
  return PassOverWanted(text, count, wanted);
}

unsigned PassOver(const unsigned char* text, unsigned count,
                  const WantedUnits<unsigned short>& wanted) {
  return PassOverWanted(text, count, wanted);
}

unsigned PassToZero(const unsigned char* text, bool wide, unsigned limit) {
  return wide ? Pass(text, limit, Ends<unsigned short, 0, false>{nullptr})
              : Pass(text, limit, Ends<unsigned char, 0, false>{nullptr});
}

void WordsOfWeight(WordBits& found, const unsigned* words, unsigned mask, unsigned pairMask,
                   unsigned weight) {
  found[0] = found[1] = 0;
#if defined(__x86_64__) || defined(__i386__)
  const VectorSet set = Vectors();
  if (set >= VectorSet::kAvx512) {
    return WordsOfWeightByAvx512(found, words, mask, pairMask, weight);
  }
  if (set >= VectorSet::kAvx2) return WordsOfWeightByAvx2(found, words, mask, pairMask, weight);
#endif
  WordsOfWeightPlainly(found, words, mask, pairMask, weight);
}

unsigned CopyToZero(unsigned char* out, const unsigned char* in, bool wide, unsigned limit) {
  unsigned copied = 0;
#if defined(__x86_64__) || defined(__i386__)
  if (Vectors() >= VectorSet::kAvx512) {
    copied = CopyByAvx512(out, in, wide, limit);
  } else if (Vectors() >= VectorSet::kAvx2) {
    copied = CopyByAvx2(out, in, wide, limit);
  }
#endif
  const unsigned width = wide ? 2 : 1;
  const unsigned rest = PassToZero(in + copied * width, wide, limit - copied);
  if (rest != 0) std::memcpy(out + copied * width, in + copied * width, rest * width);
  return copied + rest;
}

}  // namespace kv
