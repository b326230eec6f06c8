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
constexpr unsigned kBlock = 4096;
// From here on keys go past the caches: they are more than a core has of its own, and a store that
// goes through reads each line before it is written.
constexpr std::size_t kStreamed = std::size_t{1} << 22;

KV_KEYS inline __m128i LoadVector(const void* at) {
  return _mm_loadu_si128(static_cast<const __m128i*>(at));
}

// Numbers of `width` bytes with their bytes the other way round.
template <unsigned width>
KV_KEYS inline __m128i TurnAround(__m128i numbers) {
  static constexpr std::array<unsigned char, kVector> kFrom = [] {
    std::array<unsigned char, kVector> from{};
    for (unsigned i = 0; i < kVector; ++i) from[i] = static_cast<unsigned char>(i ^ (width - 1));
    return from;
  }();
  return _mm_shuffle_epi8(numbers, LoadVector(kFrom.data()));
}

template <KeyStep step>
KV_KEYS inline __m128i Take(__m128i bytes, __m128i turned) {
  if constexpr (step == KeyStep::kTurn) {
    return _mm_xor_si128(bytes, turned);
  } else if constexpr (step == KeyStep::kFloat) {
    // As signed numbers: the sign bit alone, which is -0, is the least of them and stays as it is.
    const __m128i sign = _mm_set1_epi32(INT32_MIN);
    const __m128i negative =
        _mm_andnot_si128(_mm_cmpeq_epi32(bytes, sign), _mm_cmpgt_epi32(_mm_setzero_si128(), bytes));
    const __m128i isNan =
        _mm_cmpgt_epi32(_mm_andnot_si128(sign, bytes), _mm_set1_epi32(0x7F800000));
    const __m128i word =
        _mm_or_si128(_mm_andnot_si128(negative, sign), _mm_xor_si128(bytes, negative));
    return TurnAround<4>(_mm_andnot_si128(isNan, word));
  } else if constexpr (step == KeyStep::kDouble) {
    const __m128i sign = _mm_set1_epi64x(INT64_MIN);
    const __m128i negative =
        _mm_andnot_si128(_mm_cmpeq_epi64(bytes, sign), _mm_cmpgt_epi64(_mm_setzero_si128(), bytes));
    const __m128i isNan =
        _mm_cmpgt_epi64(_mm_andnot_si128(sign, bytes), _mm_set1_epi64x(0x7FF0000000000000));
    const __m128i word =
        _mm_or_si128(_mm_andnot_si128(negative, sign), _mm_xor_si128(bytes, negative));
    return TurnAround<8>(_mm_andnot_si128(isNan, word));
  } else if constexpr (step == KeyStep::kPlusOne) {
    return TurnAround<4>(_mm_add_epi32(bytes, _mm_set1_epi32(1)));
  } else {
    // Comparisons give -1, which is taken away.
    const __m128i key = _mm_xor_si128(bytes, _mm_set1_epi8(INT8_MIN));
    const __m128i isNegative = _mm_cmpgt_epi8(_mm_setzero_si128(), bytes);
    const __m128i isNull = _mm_cmpeq_epi8(bytes, _mm_set1_epi8(-1));
    return _mm_andnot_si128(isNull, _mm_sub_epi8(key, isNegative));
  }
}

enum class Way : bool { kThroughCache, kPastCache };

// Each vector is written whole: what is behind its keys is written over by the next one. Past the
// cache goes only what fills its vectors and is aligned.
template <KeyStep step, Way way>
KV_KEYS void WriteVectors(unsigned char* keys, const unsigned char* values, std::size_t vectors,
                          const KeyMap& map) {
  const __m128i from = LoadVector(map.from.data());
  const __m128i turned = LoadVector(map.turned.data());
  const std::size_t valueStep = std::size_t{map.valuesAVector} * map.valueWidth;
  const std::size_t keyStep = way == Way::kPastCache ? kVector : map.valuesAVector * map.keyWidth;
  for (; vectors != 0; --vectors, values += valueStep, keys += keyStep) {
    const __m128i bytes = _mm_shuffle_epi8(LoadVector(values), from);
    auto* const to = reinterpret_cast<__m128i*>(keys);
    if constexpr (way == Way::kPastCache) {
      _mm_stream_si128(to, Take<step>(bytes, turned));
    } else {
      _mm_storeu_si128(to, Take<step>(bytes, turned));
    }
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
  alignas(kLine) unsigned char block[kLine + kBlock + kVector];
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
    std::memcpy(keys, block, lead);
    StreamLines(keys + lead, block + lead, lines);
    const std::size_t done = lead + lines * kLine;
    keys += done;
    held -= done;
    toLine -= lead;
    std::memmove(block, block + done, held);
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
               VectorsIn(std::size_t{count} * map.keyWidth, each * map.keyWidth));
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
