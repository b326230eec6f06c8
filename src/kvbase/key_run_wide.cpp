#include "kvbase/key_run_wide.h"

#include <algorithm>
#include <climits>
#include <cstdint>

#include "kvbase/line_writer.h"
#include "zbsvectors.h"

#if defined(__x86_64__) || defined(__i386__)
#ifndef __clang__
// GCC 12 takes the operand that its intrinsics leave undefined for one that is read.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#define KV_WIDE [[gnu::target("avx512bw,avx512vl,avx512vbmi,avx512vbmi2,popcnt")]]

namespace kv {
namespace {

constexpr unsigned kVector = KeyMap::kVector;
// Nullables without a null among so many vectors take the short way.
constexpr unsigned kGroup = 4;

KV_WIDE inline __m512i LoadWide(const void* at) {
  return _mm512_loadu_si512(at);
}

// Numbers of `width` bytes with their bytes the other way round.
template <unsigned width>
KV_WIDE inline void TurnAround(__m512i& numbers) {
  alignas(kVector) static constexpr std::array<unsigned char, kVector> kFrom = [] {
    std::array<unsigned char, kVector> from{};
    for (unsigned i = 0; i < kVector; ++i) {
      from[i] = static_cast<unsigned char>((i ^ (width - 1)) % 16);
    }
    return from;
  }();
  numbers = _mm512_shuffle_epi8(numbers, LoadWide(kFrom.data()));
}

// Floating numbers become their words: the sign bit set on what is not negative, the others
// complemented, -0 as +0, zero for what is no number.
KV_WIDE inline void TakeFloats(__m512i& bits) {
  const __m512i sign = _mm512_set1_epi32(INT_MIN);
  const __mmask16 isNumber =
      _mm512_cmple_epi32_mask(_mm512_andnot_si512(sign, bits), _mm512_set1_epi32(0x7F800000));
  const __mmask16 isNegative = _mm512_mask_cmpgt_epu32_mask(isNumber, bits, sign);
  const __m512i word = _mm512_maskz_or_epi32(isNumber, bits, sign);
  bits = _mm512_mask_xor_epi32(word, isNegative, bits, _mm512_set1_epi32(-1));
}

KV_WIDE inline void TakeDoubles(__m512i& bits) {
  const __m512i sign = _mm512_set1_epi64(INT64_MIN);
  const __mmask8 isNumber = _mm512_cmple_epi64_mask(_mm512_andnot_si512(sign, bits),
                                                    _mm512_set1_epi64(0x7FF0000000000000));
  const __mmask8 isNegative = _mm512_mask_cmpgt_epu64_mask(isNumber, bits, sign);
  const __m512i word = _mm512_maskz_or_epi64(isNumber, bits, sign);
  bits = _mm512_mask_xor_epi64(word, isNegative, bits, _mm512_set1_epi64(-1));
}

KV_WIDE inline void TakeBooleans(__m512i& bytes) {
  const __mmask64 isNegative = _mm512_movepi8_mask(bytes);
  const __mmask64 isValue = _mm512_cmpneq_epi8_mask(bytes, _mm512_set1_epi8(-1));
  const __m512i key = _mm512_xor_si512(bytes, _mm512_set1_epi8(SCHAR_MIN));
  const __m512i moved = _mm512_mask_add_epi8(key, isNegative, key, _mm512_set1_epi8(1));
  bytes = _mm512_maskz_mov_epi8(isValue, moved);
}

template <KeyStep step>
KV_WIDE inline void Take(__m512i& bytes, const __m512i& turned) {
  if constexpr (step == KeyStep::kTurn) {
    bytes = _mm512_xor_si512(bytes, turned);
  } else if constexpr (step == KeyStep::kKeep) {
    bytes = _mm512_and_si512(bytes, turned);
  } else if constexpr (step == KeyStep::kFloat) {
    TakeFloats(bytes);
    TurnAround<4>(bytes);
  } else if constexpr (step == KeyStep::kDouble) {
    TakeDoubles(bytes);
    TurnAround<8>(bytes);
  } else if constexpr (step == KeyStep::kPlusOne) {
    bytes = _mm512_add_epi32(bytes, _mm512_set1_epi32(1));
    TurnAround<4>(bytes);
  } else {
    TakeBooleans(bytes);
  }
}

template <KeyStep step>
KV_WIDE unsigned char* WriteWide(unsigned char* keys, const unsigned char* values,
                                 std::size_t vectors, const KeyMap& map) {
  const __m512i from = LoadWide(map.from.data());
  const __m512i turned = LoadWide(map.turned.data());
  const unsigned each = map.ValuesIn(kVector);
  const std::size_t valueStep = std::size_t{each} * map.valueWidth;
  const std::size_t keyStep = std::size_t{each} * map.keyWidth;
  for (; vectors != 0; --vectors, values += valueStep, keys += keyStep) {
    _mm_prefetch(values + kAhead, _MM_HINT_T0);
    __m512i bytes = _mm512_permutexvar_epi8(from, LoadWide(values));
    Take<step>(bytes, turned);
    _mm512_storeu_si512(keys, bytes);
  }
  return keys;
}

// ---------------------------------------------------------------------------------------------
// Nullables

// A map in registers.
struct NullableMove {
  __m512i from;
  __m512i turned;
  __m512i flagOf;
  __m512i isFlag;
  __m512i nullByte;
  __mmask64 isScalar;
  __mmask64 leading;
  __mmask64 held;
};

KV_WIDE inline void Open(NullableMove& move, const NullableKeyMap& map, unsigned char nullByte) {
  move.from = LoadWide(map.keys.from.data());
  move.turned = LoadWide(map.keys.turned.data());
  move.flagOf = LoadWide(map.flagOf.data());
  move.isFlag = LoadWide(map.isFlag.data());
  move.nullByte = _mm512_set1_epi8(static_cast<char>(nullByte));
  move.isScalar = map.held & ~map.leading;
  move.leading = map.leading;
  move.held = map.held;
}

// The keys of values that are all present. A flag among the numbers of a step becomes whatever it
// may: no byte of a key comes from it.
template <KeyStep step>
KV_WIDE inline void MakePresent(__m512i& bytes, const NullableMove& move) {
  if constexpr (step == KeyStep::kFloat) TakeFloats(bytes);
  if constexpr (step == KeyStep::kDouble) TakeDoubles(bytes);
  bytes = _mm512_maskz_permutexvar_epi8(move.isScalar, move.from, bytes);
  bytes = _mm512_xor_si512(bytes, move.turned);
}

// Keys of values and nulls, moved together. Result: their end.
template <KeyStep step>
KV_WIDE inline unsigned char* PutMixed(unsigned char* keys, const unsigned char* values,
                                       const NullableMove& move) {
  __m512i bytes = LoadWide(values);
  const __m512i flags = _mm512_permutexvar_epi8(move.flagOf, bytes);
  const __mmask64 isNull = _mm512_test_epi8_mask(flags, flags);
  const __mmask64 kept = move.held & (move.leading | ~isNull);
  MakePresent<step>(bytes, move);
  bytes = _mm512_mask_mov_epi8(bytes, isNull, move.nullByte);
  _mm512_storeu_si512(keys, _mm512_maskz_compress_epi8(kept, bytes));
  return keys + __builtin_popcountll(kept);
}

KV_WIDE inline bool HasNullIn(const unsigned char* values, std::size_t step,
                              const NullableMove& move) {
  __m512i all = LoadWide(values);
  for (unsigned i = 1; i < kGroup; ++i) all = _mm512_or_si512(all, LoadWide(values + i * step));
  return _mm512_test_epi8_mask(all, move.isFlag) != 0;
}

template <KeyStep step>
KV_WIDE unsigned char* WriteNullables(unsigned char* keys, const unsigned char* values,
                                      std::size_t vectors, const NullableKeyMap& map,
                                      unsigned char nullByte) {
  NullableMove move;
  Open(move, map, nullByte);
  const unsigned each = map.keys.ValuesIn(kVector);
  const std::size_t valueStep = std::size_t{each} * map.keys.valueWidth;
  const std::size_t keyStep = std::size_t{each} * map.keys.keyWidth;
  for (; vectors >= kGroup; vectors -= kGroup) {
    const bool isMixed = HasNullIn(values, valueStep, move);
    for (unsigned i = 0; i < kGroup; ++i, values += valueStep) {
      _mm_prefetch(values + kAhead, _MM_HINT_T0);
      if (isMixed) {
        keys = PutMixed<step>(keys, values, move);
        continue;
      }
      __m512i bytes = LoadWide(values);
      MakePresent<step>(bytes, move);
      _mm512_storeu_si512(keys, bytes);
      keys += keyStep;
    }
  }
  for (; vectors != 0; --vectors, values += valueStep) keys = PutMixed<step>(keys, values, move);
  return keys;
}

NullableWriter NullableWriterOf(KeyStep step) {
  if (step == KeyStep::kFloat) return WriteNullables<KeyStep::kFloat>;
  if (step == KeyStep::kDouble) return WriteNullables<KeyStep::kDouble>;
  return WriteNullables<KeyStep::kTurn>;
}

// So many whole vectors of values, at most a block of keys, whose room is there if none is null.
std::size_t NextVectors(const KeyMap& map, std::size_t values, std::size_t room) {
  const std::size_t each = map.ValuesIn(kVector);
  const std::size_t bytes = values * map.valueWidth;
  if (bytes < kVector || room < kVector) return 0;
  return std::min({std::size_t{LineWriter::kBlock / kVector},
                   (bytes - kVector) / (each * map.valueWidth) + 1,
                   (room - kVector) / (each * map.keyWidth) + 1});
}

}  // namespace

VectorWriter WideWriterOf(KeyStep step) {
  switch (step) {
    case KeyStep::kTurn:
      return WriteWide<KeyStep::kTurn>;
    case KeyStep::kFloat:
      return WriteWide<KeyStep::kFloat>;
    case KeyStep::kDouble:
      return WriteWide<KeyStep::kDouble>;
    case KeyStep::kPlusOne:
      return WriteWide<KeyStep::kPlusOne>;
    case KeyStep::kKeep:
      return WriteWide<KeyStep::kKeep>;
    case KeyStep::kBoolean:
      break;
  }
  return WriteWide<KeyStep::kBoolean>;
}

unsigned WriteLeadingKeys(unsigned char*& keys, std::size_t room, const unsigned char* values,
                          unsigned count, const NullableKeyMap& map, unsigned char nullByte) {
  if (Vectors() < VectorSet::kVbmi2) return 0;
  const NullableWriter write = NullableWriterOf(map.keys.step);
  const unsigned each = map.keys.ValuesIn(kVector);
  const bool isStreamed = std::size_t{count} * map.keys.keyWidth >= kStreamed;
  LineWriter lines(keys);
  const unsigned char* const begin = keys;
  unsigned done = 0;
  while (done < count) {
    const std::size_t left = room - static_cast<std::size_t>(keys - begin);
    const std::size_t vectors = NextVectors(map.keys, count - done, left);
    if (vectors == 0) break;
    const unsigned char* const from = values + std::size_t{done} * map.keys.valueWidth;
    if (isStreamed) {
      unsigned char* const made = write(lines.Room(), from, vectors, map, nullByte);
      keys += made - lines.Room();
      lines.Take(made);
    } else {
      keys = write(keys, from, vectors, map, nullByte);
    }
    done += static_cast<unsigned>(vectors * each);
  }
  if (isStreamed) lines.Finish();
  return done;
}

}  // namespace kv

#endif
