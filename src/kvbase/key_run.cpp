#include "kvbase/key_run.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "zbsvectors.h"

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define KV_KEYS [[gnu::target("avx2")]]
#endif

namespace kv {

#ifdef KV_KEYS
namespace {

constexpr unsigned kVector = KeyMap::kVector;
constexpr unsigned kLine = 64;
// Short, so that the processor reads the next block while the lines of one are on their way.
constexpr unsigned kBlock = 512;
// From here on keys go past the caches: they are more than a core has of its own, and a store that
// goes through reads each line before it is written.
constexpr std::size_t kStreamed = std::size_t{1} << 22;

KV_KEYS inline __m128i LoadVector(const void* at) {
  return _mm_loadu_si128(static_cast<const __m128i*>(at));
}

// Two vectors side by side.
KV_KEYS inline __m256i LoadPair(const unsigned char* at, std::size_t step) {
  return _mm256_inserti128_si256(_mm256_castsi128_si256(LoadVector(at)), LoadVector(at + step), 1);
}

// Numbers of `width` bytes with their bytes the other way round.
template <unsigned width>
KV_KEYS inline __m256i TurnAround(__m256i numbers) {
  static constexpr std::array<unsigned char, kVector> kFrom = [] {
    std::array<unsigned char, kVector> from{};
    for (unsigned i = 0; i < kVector; ++i) from[i] = static_cast<unsigned char>(i ^ (width - 1));
    return from;
  }();
  return _mm256_shuffle_epi8(numbers, LoadPair(kFrom.data(), 0));
}

// The word of a floating number: `negative` has all bits of the negative ones set, -0 not among
// them.
KV_KEYS inline __m256i WordOf(__m256i bits, __m256i sign, __m256i negative, __m256i isNan) {
  const __m256i word =
      _mm256_or_si256(_mm256_andnot_si256(negative, sign), _mm256_xor_si256(bits, negative));
  return _mm256_andnot_si256(isNan, word);
}

template <KeyStep step>
KV_KEYS inline __m256i Take(__m256i bytes, __m256i turned) {
  const __m256i zero = _mm256_setzero_si256();
  if constexpr (step == KeyStep::kTurn) {
    return _mm256_xor_si256(bytes, turned);
  } else if constexpr (step == KeyStep::kFloat) {
    const __m256i sign = _mm256_set1_epi32(INT32_MIN);
    const __m256i negative =
        _mm256_andnot_si256(_mm256_cmpeq_epi32(bytes, sign), _mm256_cmpgt_epi32(zero, bytes));
    const __m256i isNan =
        _mm256_cmpgt_epi32(_mm256_andnot_si256(sign, bytes), _mm256_set1_epi32(0x7F800000));
    return TurnAround<4>(WordOf(bytes, sign, negative, isNan));
  } else if constexpr (step == KeyStep::kDouble) {
    const __m256i sign = _mm256_set1_epi64x(INT64_MIN);
    const __m256i negative =
        _mm256_andnot_si256(_mm256_cmpeq_epi64(bytes, sign), _mm256_cmpgt_epi64(zero, bytes));
    const __m256i isNan = _mm256_cmpgt_epi64(_mm256_andnot_si256(sign, bytes),
                                             _mm256_set1_epi64x(0x7FF0000000000000));
    return TurnAround<8>(WordOf(bytes, sign, negative, isNan));
  } else if constexpr (step == KeyStep::kPlusOne) {
    return TurnAround<4>(_mm256_add_epi32(bytes, _mm256_set1_epi32(1)));
  } else {
    // Comparisons give -1, which is taken away.
    const __m256i key = _mm256_xor_si256(bytes, _mm256_set1_epi8(INT8_MIN));
    const __m256i isNegative = _mm256_cmpgt_epi8(zero, bytes);
    const __m256i isNull = _mm256_cmpeq_epi8(bytes, _mm256_set1_epi8(-1));
    return _mm256_andnot_si256(isNull, _mm256_sub_epi8(key, isNegative));
  }
}

enum class Way : bool { kThroughCache, kPastCache };

template <Way way>
KV_KEYS inline void PutVector(unsigned char* keys, __m128i vector) {
  auto* const to = reinterpret_cast<__m128i*>(keys);
  if constexpr (way == Way::kPastCache) {
    _mm_stream_si128(to, vector);
  } else {
    _mm_storeu_si128(to, vector);
  }
}

// An even number of vectors. Each is written whole: what is behind its keys is written over by the
// next one. Past the cache goes only what fills its vectors and is aligned.
template <KeyStep step, Way way>
KV_KEYS void WriteVectors(unsigned char* keys, const unsigned char* values, std::size_t vectors,
                          const KeyMap& map) {
  const __m256i from = LoadPair(map.from.data(), 0);
  const __m256i turned = LoadPair(map.turned.data(), 0);
  const std::size_t valueStep = std::size_t{map.valuesAVector} * map.valueWidth;
  const std::size_t keyStep = way == Way::kPastCache ? kVector : map.valuesAVector * map.keyWidth;
  for (; vectors != 0; vectors -= 2, values += 2 * valueStep, keys += 2 * keyStep) {
    const __m256i bytes = _mm256_shuffle_epi8(LoadPair(values, valueStep), from);
    const __m256i pair = Take<step>(bytes, turned);
    PutVector<way>(keys, _mm256_castsi256_si128(pair));
    PutVector<way>(keys + keyStep, _mm256_extracti128_si256(pair, 1));
  }
}

template <Way way>
void WriteVectors(unsigned char* keys, const unsigned char* values, std::size_t vectors,
                  const KeyMap& map) {
  switch (map.step) {
    case KeyStep::kTurn:
      return WriteVectors<KeyStep::kTurn, way>(keys, values, vectors, map);
    case KeyStep::kFloat:
      return WriteVectors<KeyStep::kFloat, way>(keys, values, vectors, map);
    case KeyStep::kDouble:
      return WriteVectors<KeyStep::kDouble, way>(keys, values, vectors, map);
    case KeyStep::kPlusOne:
      return WriteVectors<KeyStep::kPlusOne, way>(keys, values, vectors, map);
    case KeyStep::kBoolean:
      return WriteVectors<KeyStep::kBoolean, way>(keys, values, vectors, map);
  }
}

KV_KEYS void StreamLines(unsigned char* to, const unsigned char* from, std::size_t lines) {
  for (; lines != 0; --lines, to += kLine, from += kLine) {
    for (unsigned i = 0; i < kLine; i += kVector) {
      _mm_stream_si128(reinterpret_cast<__m128i*>(to + i), LoadVector(from + i));
    }
  }
}

// By way of a block that stays in the cache; what fills no line of it begins the next one.
void WriteByBlocks(unsigned char* keys, const unsigned char* values, std::size_t vectors,
                   const KeyMap& map) {
  alignas(kLine) unsigned char block[kLine + kBlock + kLine];
  const std::size_t keyStep = std::size_t{map.valuesAVector} * map.keyWidth;
  std::size_t toLine = -reinterpret_cast<std::uintptr_t>(keys) % kLine;
  std::size_t held = 0;
  while (vectors != 0) {
    const std::size_t taken = std::min<std::size_t>(vectors, kBlock / kVector);
    WriteVectors<Way::kThroughCache>(block + held, values, taken, map);
    values += taken * map.valuesAVector * map.valueWidth;
    vectors -= taken;
    held += taken * keyStep;
    const std::size_t lead = std::min(toLine, held);
    const std::size_t lines = (held - lead) / kLine;
    if (lead != 0) std::memcpy(keys, block, lead);
    StreamLines(keys + lead, block + lead, lines);
    const std::size_t done = lead + lines * kLine;
    keys += done;
    held -= done;
    toLine -= lead;
    if (done >= kLine) {
      std::memcpy(block, block + done, kLine);  // of which `held` bytes matter
    } else {
      std::memmove(block, block + done, held);
    }
  }
  std::memcpy(keys, block, held);
}

void WritePastCache(unsigned char* keys, const unsigned char* values, std::size_t vectors,
                    const KeyMap& map) {
  const bool isAligned = reinterpret_cast<std::uintptr_t>(keys) % kVector == 0;
  if (isAligned && map.valuesAVector * map.keyWidth == kVector) {
    WriteVectors<Way::kPastCache>(keys, values, vectors, map);
  } else {
    WriteByBlocks(keys, values, vectors, map);
  }
  _mm_sfence();  // such stores are not in order with those behind them
}

// So many whole vectors lie in `bytes` bytes, each beginning `step` behind the last one.
std::size_t VectorsIn(std::size_t bytes, std::size_t step) {
  return bytes < kVector ? 0 : (bytes - kVector) / step + 1;
}

}  // namespace

unsigned WriteLeadingKeys(unsigned char* keys, const unsigned char* values, unsigned count,
                          const KeyMap& map) {
  const std::size_t each = map.valuesAVector;
  if (each == 0) return 0;
  const std::size_t vectors =
      std::min(VectorsIn(std::size_t{count} * map.valueWidth, each * map.valueWidth),
               VectorsIn(std::size_t{count} * map.keyWidth, each * map.keyWidth)) /
      2 * 2;
  if (vectors == 0 || Vectors() < VectorSet::kAvx2) return 0;
  if (vectors >= kStreamed / kVector) {
    WritePastCache(keys, values, vectors, map);
  } else {
    WriteVectors<Way::kThroughCache>(keys, values, vectors, map);
  }
  return static_cast<unsigned>(vectors * each);
}

#else

unsigned WriteLeadingKeys(unsigned char*, const unsigned char*, unsigned, const KeyMap&) {
  return 0;
}

#endif

}  // namespace kv
