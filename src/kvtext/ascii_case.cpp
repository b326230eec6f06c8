// ASCII case by vectors: of 16 bytes, which the compiler makes of what the processor has, and
// of 32.

#include "kvtext/ascii_case.h"

#include <algorithm>

#include "kvbase/unit.h"
#include "kvbase/vectors.h"

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#endif

namespace kv {
namespace {

template <class Unit>
constexpr Unit MapLetter(Unit unit, Unit first) {
  const auto place = static_cast<Unit>(unit - first);
  return static_cast<Unit>(unit ^ (place < 26 ? 0x20 : 0));
}

// By vectors of `width` bytes, then unit by unit.
template <class Unit, unsigned width>
[[gnu::always_inline]] inline void MapBlocks(unsigned char* text, unsigned count, LetterCase to) {
  using Units = typename LanesOf<Unit, width>::Type;
  const Unit first = to == LetterCase::kUpper ? 'a' : 'A';
  constexpr unsigned kUnits = width / sizeof(Unit);
  for (; count >= kUnits; count -= kUnits, text += width) {
    Units units;
    std::memcpy(&units, text, width);
    const Units letters = reinterpret_cast<Units>(units - first < Unit{26});
    units ^= letters & Unit{0x20};
    std::memcpy(text, &units, width);
  }
  for (; count != 0; --count, text += sizeof(Unit)) {
    const Unit unit = MapLetter(ReadUnit<Unit>(text), first);
    std::memcpy(text, &unit, sizeof unit);
  }
}

// All bits that tell in a word of units that one is beyond ASCII.
template <class Unit>
constexpr std::uint64_t kBeyond = sizeof(Unit) == 1 ? 0x8080808080808080 : 0xFF80FF80FF80FF80;

template <class Unit>
bool IsAsciiBlock(const unsigned char* text) {
  std::uint64_t words[kBlockOfBits * sizeof(Unit) / 8];
  std::memcpy(words, text, sizeof words);
  std::uint64_t all = 0;
  for (const std::uint64_t word : words) all |= word;
  return (all & kBeyond<Unit>) == 0;
}

// Of `count` units, at most a block. A word without one is passed over.
template <class Unit>
std::uint64_t BeyondAscii(const unsigned char* text, unsigned count) {
  constexpr unsigned kUnits = 8 / sizeof(Unit);
  std::uint64_t beyond = 0;
  for (unsigned word = 0; word < count; word += kUnits) {
    const unsigned char* at = text + word * sizeof(Unit);
    const unsigned units = std::min(count - word, kUnits);
    if (units == kUnits && (ReadUnit<std::uint64_t>(at) & kBeyond<Unit>) == 0) continue;
    for (unsigned i = 0; i < units; ++i) {
      beyond |= std::uint64_t{ReadUnit<Unit>(at + i * sizeof(Unit)) >= 0x80} << (word + i);
    }
  }
  return beyond;
}

template <class Unit>
std::uint64_t NextBeyondAsciiPlainly(const unsigned char* text, unsigned count, unsigned& from) {
  for (; from < count; from += kBlockOfBits) {
    const unsigned char* at = text + from * sizeof(Unit);
    const unsigned taken = std::min(count - from, kBlockOfBits);
    if (taken == kBlockOfBits && IsAsciiBlock<Unit>(at)) continue;
    if (const std::uint64_t beyond = BeyondAscii<Unit>(at, taken)) return beyond;
  }
  return 0;
}

#if defined(__x86_64__) || defined(__i386__)
#define KV_WITH_AVX2 [[gnu::target("avx2")]]

template <class Unit>
KV_WITH_AVX2 void MapByAvx2(unsigned char* text, unsigned count, LetterCase to) {
  MapBlocks<Unit, 32>(text, count, to);
}

KV_WITH_AVX2 inline __m256i Load(const unsigned char* at) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
}

KV_WITH_AVX2 inline std::uint64_t UpperBits(const __m256i& low, const __m256i& high) {
  const auto lows = static_cast<unsigned>(_mm256_movemask_epi8(low));
  const auto highs = static_cast<unsigned>(_mm256_movemask_epi8(high));
  return std::uint64_t{highs} << 32 | lows;
}

// A byte for each of 32 units, whose upper bit tells that the unit is ASCII.
KV_WITH_AVX2 inline __m256i AsciiOf(const __m256i& low, const __m256i& high) {
  const __m256i last = _mm256_set1_epi16(0x7F);
  const __m256i a = _mm256_cmpeq_epi16(_mm256_max_epu16(low, last), last);
  const __m256i b = _mm256_cmpeq_epi16(_mm256_max_epu16(high, last), last);
  // Packing takes 16 bytes of the one and of the other in turn.
  return _mm256_permute4x64_epi64(_mm256_packs_epi16(a, b), 0xD8);
}

KV_WITH_AVX2 std::uint64_t NextBytesBeyond(const unsigned char* text, unsigned count,
                                           unsigned& from) {
  for (; count - from >= kBlockOfBits; from += kBlockOfBits) {
    const std::uint64_t beyond = UpperBits(Load(text + from), Load(text + from + 32));
    if (beyond != 0) return beyond;
  }
  return NextBeyondAsciiPlainly<unsigned char>(text, count, from);
}

KV_WITH_AVX2 std::uint64_t NextUnitsBeyond(const unsigned char* text, unsigned count,
                                           unsigned& from) {
  const __m256i beyond = _mm256_set1_epi16(~0x7F);
  for (; count - from >= kBlockOfBits; from += kBlockOfBits) {
    const unsigned char* at = text + 2 * from;
    const __m256i a = Load(at);
    const __m256i b = Load(at + 32);
    const __m256i c = Load(at + 64);
    const __m256i d = Load(at + 96);
    const __m256i all = _mm256_or_si256(_mm256_or_si256(a, b), _mm256_or_si256(c, d));
    if (_mm256_testz_si256(all, beyond) == 0) return ~UpperBits(AsciiOf(a, b), AsciiOf(c, d));
  }
  return NextBeyondAsciiPlainly<unsigned short>(text, count, from);
}
#endif

template <class Unit>
void Map(unsigned char* text, unsigned count, LetterCase to) {
#if defined(__x86_64__) || defined(__i386__)
  if (Vectors() >= VectorSet::kAvx2) return MapByAvx2<Unit>(text, count, to);
#endif
  MapBlocks<Unit, 16>(text, count, to);
}

}  // namespace

void MapAsciiCase(unsigned char* text, unsigned count, bool wide, LetterCase to) {
  wide ? Map<unsigned short>(text, count, to) : Map<unsigned char>(text, count, to);
}

std::uint64_t NextBeyondAscii(const unsigned char* text, unsigned count, bool wide,
                              unsigned& from) {
  if (from >= count) return 0;
#if defined(__x86_64__) || defined(__i386__)
  if (Vectors() >= VectorSet::kAvx2) {
    return wide ? NextUnitsBeyond(text, count, from) : NextBytesBeyond(text, count, from);
  }
#endif
  return wide ? NextBeyondAsciiPlainly<unsigned short>(text, count, from)
              : NextBeyondAsciiPlainly<unsigned char>(text, count, from);
}

}  // namespace kv
