#include "kvbase/key_run.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kvbase/key_run_wide.h"
#include "kvbase/line_writer.h"
#include "zbsvectors.h"

#if defined(__x86_64__) || defined(__i386__)
#define KV_KEYS [[gnu::target("avx2")]]
#endif

namespace kv {

#ifdef KV_KEYS
namespace {

constexpr unsigned kVector = sizeof(__m128i);

KV_KEYS inline __m128i LoadVector(const void* at) {
  return _mm_loadu_si128(static_cast<const __m128i*>(at));
}

KV_KEYS inline void StoreVector(void* at, __m128i vector) {
  _mm_storeu_si128(static_cast<__m128i*>(at), vector);
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
  } else if constexpr (step == KeyStep::kKeep) {
    return _mm256_and_si256(bytes, turned);
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

// An even number of vectors. Each is written whole: what is behind its keys is written over by the
// next one.
template <KeyStep step>
KV_KEYS unsigned char* WritePairs(unsigned char* keys, const unsigned char* values,
                                  std::size_t vectors, const KeyMap& map) {
  const __m256i from = LoadPair(map.from.data(), 0);
  const __m256i turned = LoadPair(map.turned.data(), 0);
  const unsigned each = map.ValuesIn(kVector);
  const std::size_t valueStep = std::size_t{each} * map.valueWidth;
  const std::size_t keyStep = std::size_t{each} * map.keyWidth;
  for (; vectors != 0; vectors -= 2, values += 2 * valueStep, keys += 2 * keyStep) {
    _mm_prefetch(values + kAhead, _MM_HINT_T0);
    const __m256i bytes = _mm256_shuffle_epi8(LoadPair(values, valueStep), from);
    const __m256i pair = Take<step>(bytes, turned);
    StoreVector(keys, _mm256_castsi256_si128(pair));
    StoreVector(keys + keyStep, _mm256_extracti128_si256(pair, 1));
  }
  return keys;
}

VectorWriter PairWriterOf(KeyStep step) {
  switch (step) {
    case KeyStep::kTurn:
      return WritePairs<KeyStep::kTurn>;
    case KeyStep::kFloat:
      return WritePairs<KeyStep::kFloat>;
    case KeyStep::kDouble:
      return WritePairs<KeyStep::kDouble>;
    case KeyStep::kPlusOne:
      return WritePairs<KeyStep::kPlusOne>;
    case KeyStep::kKeep:
      return WritePairs<KeyStep::kKeep>;
    case KeyStep::kBoolean:
      break;
  }
  return WritePairs<KeyStep::kBoolean>;
}

// So many whole vectors lie in `bytes` bytes, each beginning `step` behind the last one.
std::size_t VectorsIn(std::size_t bytes, std::size_t step, unsigned vector) {
  return bytes < vector ? 0 : (bytes - vector) / step + 1;
}

// So many vectors of `vector` bytes can be taken from the values and written to their keys.
std::size_t VectorsOf(const KeyMap& map, std::size_t count, unsigned vector) {
  const std::size_t each = map.ValuesIn(vector);
  if (each == 0) return 0;
  return std::min(VectorsIn(count * map.valueWidth, each * map.valueWidth, vector),
                  VectorsIn(count * map.keyWidth, each * map.keyWidth, vector));
}

void WriteVectors(unsigned char* keys, const unsigned char* values, std::size_t vectors,
                  const KeyMap& map, unsigned vector, VectorWriter write) {
  const unsigned each = map.ValuesIn(vector);
  if (vectors * each * map.keyWidth < kStreamed) {
    write(keys, values, vectors, map);
    return;
  }
  LineWriter lines(keys);
  while (vectors != 0) {
    const std::size_t taken = std::min<std::size_t>(vectors, LineWriter::kBlock / vector);
    lines.Take(write(lines.Room(), values, taken, map));
    values += taken * each * map.valueWidth;
    vectors -= taken;
  }
  lines.Finish();
}

}  // namespace

unsigned WriteLeadingKeys(unsigned char* keys, const unsigned char* values, unsigned count,
                          const KeyMap& map) {
  const VectorSet set = Vectors();
  if (set < VectorSet::kAvx2) return 0;
  const bool isWide = set >= VectorSet::kVbmi2;
  const unsigned vector = isWide ? KeyMap::kVector : kVector;
  const std::size_t vectors = VectorsOf(map, count, vector) / 2 * 2;
  if (vectors == 0) return 0;
  WriteVectors(keys, values, vectors, map, vector,
               isWide ? WideWriterOf(map.step) : PairWriterOf(map.step));
  return static_cast<unsigned>(vectors * map.ValuesIn(vector));
}

#else

unsigned WriteLeadingKeys(unsigned char*, const unsigned char*, unsigned, const KeyMap&) {
  return 0;
}

unsigned WriteLeadingKeys(unsigned char*&, std::size_t, const unsigned char*, unsigned,
                          const NullableKeyMap&, unsigned char) {
  return 0;
}

#endif

}  // namespace kv
