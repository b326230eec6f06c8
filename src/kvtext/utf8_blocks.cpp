// UTF-8 by the widest vectors there are. This file has the kernels of those that compress bytes
// (AVX-512 VBMI2), by blocks of 64 bytes and of 32 units: they leave out what is no character's and
// put the rest together without any table. Narrower ones go by tables (utf8_shuffles.h).

#include "kvtext/utf8_blocks.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>

#include "kvtext/utf8_shuffles.h"
#include "zbsvectors.h"

#if defined(__x86_64__)
#include <immintrin.h>
#ifndef __clang__
// What this compiler's own header leaves undefined in an unused operand is no fault.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#endif

namespace kv::utf8 {

#if defined(__x86_64__)
namespace {

// Every processor with VBMI2 has the bit instructions too.
#define KV_WITH_VBMI2 \
  [[gnu::target("avx512bw,avx512vl,avx512vbmi,avx512vbmi2,bmi,bmi2,lzcnt,popcnt")]]

constexpr std::size_t kBlockBytes = 64;
constexpr std::size_t kBlockUnits = 32;

KV_WITH_VBMI2 inline __m512i EachByte(unsigned value) {
  return _mm512_set1_epi8(static_cast<char>(value));
}

// The bytes 0, 1 and 2 of the character that begins at each place. What lies behind the end is 0.
struct Window {
  __m512i first, second, third;
};

KV_WITH_VBMI2 inline void LoadWindow(Window& window, const unsigned char* in, std::size_t left) {
  if (left >= kBlockBytes + 2) {
    window.first = _mm512_loadu_si512(in);
    window.second = _mm512_loadu_si512(in + 1);
    window.third = _mm512_loadu_si512(in + 2);
  } else {
    window.first = _mm512_maskz_loadu_epi8(LowBits(left), in);
    window.second = _mm512_maskz_loadu_epi8(LowBits(left - 1), in + 1);
    window.third = _mm512_maskz_loadu_epi8(LowBits(left < 2 ? 0 : left - 2), in + 2);
  }
}

// Where the characters of a block begin.
struct Places {
  std::uint64_t leads;      // of two and three bytes
  std::uint64_t threes;     // of three
  std::uint64_t followers;  // continuation bytes
};

// False when the block has bytes that begin no character of up to three, or one encoded longer than
// needed.
KV_WITH_VBMI2 inline bool FindPlaces(Places& places, const Window& window, std::uint64_t high) {
  const __m512i first = window.first;
  places.leads =
      _mm512_cmplt_epu8_mask(_mm512_sub_epi8(first, EachByte(0xC2)), EachByte(0xF0 - 0xC2));
  places.followers = _mm512_cmplt_epi8_mask(first, EachByte(0xC0));
  places.threes = _mm512_mask_cmpge_epu8_mask(places.leads, first, EachByte(0xE0));
  if ((places.leads | places.followers) != high) return false;
  if (places.threes == 0) return true;
  const std::uint64_t e0 = _mm512_mask_cmpeq_epi8_mask(places.threes, first, EachByte(0xE0));
  return _mm512_mask_cmplt_epu8_mask(e0, window.second, EachByte(0xA0)) == 0;
}

// Writes the units of the characters that begin at `starts`, `count` of them.
KV_WITH_VBMI2 inline void WriteUnits(const Window& window, const Places& places,
                                     std::uint64_t starts, std::size_t count, unsigned short* out) {
  alignas(64) static constexpr auto kPairs = [] {
    struct {
      unsigned char at[64];
    } pairs{};
    for (unsigned i = 0; i < 64; ++i) {
      pairs.at[i] = static_cast<unsigned char>(i / 2 + (i % 2 != 0 ? 64 : 0));
    }
    return pairs;
  }();
  // The last two bytes of each, and the low and the high byte of its unit:
  // low yyxxxxxx of ..yy ..xxxxxx, high zzzzyyyy of zzzz ..yyyy..
  const __m512i before = _mm512_mask_mov_epi8(window.first, places.threes, window.second);
  const __m512i last = _mm512_mask_mov_epi8(window.second, places.threes, window.third);
  const __m512i bits =
      _mm512_ternarylogic_epi64(EachByte(0xC0), _mm512_slli_epi16(before, 6), last, 0xCA);
  const __m512i low = _mm512_mask_mov_epi8(window.first, places.leads, bits);
  const __m512i top = _mm512_maskz_mov_epi8(places.threes, _mm512_slli_epi16(window.first, 4));
  const __m512i middle = _mm512_maskz_mov_epi8(places.leads, _mm512_srli_epi16(before, 2));
  const __m512i high = _mm512_ternarylogic_epi64(EachByte(0x0F), middle, top, 0xCA);
  const __m512i lows = _mm512_maskz_compress_epi8(starts, low);
  const __m512i highs = _mm512_maskz_compress_epi8(starts, high);
  const __m512i pairs = _mm512_load_si512(&kPairs);
  _mm512_mask_storeu_epi16(out, static_cast<__mmask32>(LowBits(count)),
                           _mm512_permutex2var_epi8(lows, pairs, highs));
  if (count <= kBlockUnits) return;
  _mm512_mask_storeu_epi16(
      out + kBlockUnits, static_cast<__mmask32>(LowBits(count - kBlockUnits)),
      _mm512_permutex2var_epi8(lows, _mm512_add_epi8(pairs, EachByte(32)), highs));
}

KV_WITH_VBMI2 inline void WriteAscii(__m512i bytes, std::size_t count, unsigned short* out) {
  _mm512_mask_storeu_epi16(out, static_cast<__mmask32>(LowBits(count)),
                           _mm512_cvtepu8_epi16(_mm512_castsi512_si256(bytes)));
  if (count <= kBlockUnits) return;
  _mm512_mask_storeu_epi16(out + kBlockUnits, static_cast<__mmask32>(LowBits(count - kBlockUnits)),
                           _mm512_cvtepu8_epi16(_mm512_extracti64x4_epi64(bytes, 1)));
}

// Whether the bytes at `in` are the continuation bytes that `due` asks for: one or two.
inline bool Continue(const unsigned char* in, std::uint64_t due) {
  const unsigned first = (in[0] & 0xC0) == 0x80 ? 1 : 0;
  const unsigned second = (in[1] & 0xC0) == 0x80 ? 2 : 0;
  return (due & ~(first | second)) == 0;
}

KV_WITH_VBMI2 Progress DecodeByVbmi2(const unsigned char* in, std::size_t stop, unsigned short* out,
                                     std::size_t room) {
  std::size_t at = 0;
  std::size_t count = 0;
  std::uint64_t due = 0;  // a bit a continuation byte of a character written with the block before
  while (at < stop) {
    const std::size_t left = stop - at;
    std::size_t length = std::min(left, kBlockBytes);
    Window window;
    LoadWindow(window, in + at, left);
    const std::uint64_t high = _mm512_movepi8_mask(window.first);
    if ((high | due) == 0) {
      if (room - count < length) break;
      WriteAscii(window.first, length, out + count);
      count += length;
      at += length;
      continue;
    }
    Places places;
    if (!FindPlaces(places, window, high)) break;
    const std::uint64_t wanted = due | places.leads << 1 | places.threes << 2;
    if (((wanted ^ places.followers) & LowBits(length)) != 0) break;
    std::uint64_t over = length < 64 ? wanted >> length : places.leads >> 63 | places.threes >> 62;
    if (over != 0 && left >= kBlockBytes + 2) {
      if (!Continue(in + at + kBlockBytes, over)) break;
    } else if (over != 0) {
      // The last character goes on behind `stop`, or is for the next round.
      length = 63 - static_cast<std::size_t>(std::countl_zero(places.leads));
      if (length == 0) break;
      over = 0;
    }
    const std::uint64_t starts = ~places.followers & LowBits(length);
    const auto units = static_cast<std::size_t>(std::popcount(starts));
    if (room - count < units) break;
    WriteUnits(window, places, starts, units, out + count);
    count += units;
    at += length;
    due = over;
  }
  return {at + static_cast<std::size_t>(std::popcount(due)), count};
}

// Leaves out the zero bytes of `spread` and writes the rest. False when there is no room.
KV_WITH_VBMI2 inline bool WriteBytes(__m512i spread, char* out, std::size_t size,
                                     std::size_t& written) {
  const std::uint64_t kept = _mm512_test_epi8_mask(spread, spread);
  const auto length = static_cast<std::size_t>(std::popcount(kept));
  if (size - written < length) return false;
  _mm512_mask_storeu_epi8(out + written, LowBits(length), _mm512_maskz_compress_epi8(kept, spread));
  written += length;
  return true;
}

// Units below 0x800, a unit in two bytes, the first one the lower; the byte that a unit of ASCII
// does not have is zero, and a zero unit has none.
KV_WITH_VBMI2 inline __m512i SpreadInTwo(__m512i units, __mmask32 ascii) {
  // 10xxxxxx 110yyyyy
  const __m512i x = _mm512_slli_epi16(units, 8);
  const __m512i y =
      _mm512_or_si512(_mm512_srli_epi16(units, 6), _mm512_set1_epi16(static_cast<short>(0x80C0)));
  const __m512i both = _mm512_ternarylogic_epi64(_mm512_set1_epi16(0x3F00), x, y, 0xEA);
  return _mm512_mask_mov_epi16(both, ascii, x);
}

// The same for 16 units of any kind, a unit in four bytes, of which the uppermost is zero.
KV_WITH_VBMI2 inline __m512i SpreadInFour(__m256i units) {
  const __m512i wide = _mm512_cvtepu16_epi32(units);
  const __mmask16 ascii = _mm512_cmplt_epu32_mask(wide, _mm512_set1_epi32(0x80));
  const __mmask16 two = _mm512_cmplt_epu32_mask(wide, _mm512_set1_epi32(0x800));
  // 10xxxxxx 10yyyyyy 1110zzzz; of two bytes 10xxxxxx 110yyyyy
  const __m512i x = _mm512_slli_epi32(wide, 16);
  const __m512i y = _mm512_slli_epi32(wide, 2);
  const __m512i z = _mm512_or_si512(_mm512_srli_epi32(wide, 12), _mm512_set1_epi32(0x8080E0));
  const __m512i xy = _mm512_ternarylogic_epi64(_mm512_set1_epi32(0x3F0000), x, y, 0xCA);
  const __m512i three = _mm512_ternarylogic_epi64(_mm512_set1_epi32(0x3F3F00), xy, z, 0xEA);
  const __m512i each = _mm512_mask_xor_epi32(three, two, three, _mm512_set1_epi32(0x0040E0));
  return _mm512_mask_mov_epi32(each, ascii, x);
}

// Takes 64 units a step while they are ASCII and none is zero. Result: the units taken. Not
// inlined: mixed text took a quarter longer when the two loops shared the registers.
KV_WITH_VBMI2 [[gnu::noinline]] std::size_t EncodeAscii(const unsigned short* in, std::size_t count,
                                                        char* out) {
  constexpr std::size_t kUnits = 2 * kBlockUnits;
  alignas(64) static constexpr auto kLowBytes = [] {
    std::array<unsigned char, 64> from{};
    for (unsigned i = 0; i < 64; ++i) from[i] = static_cast<unsigned char>(2 * i);
    return from;
  }();
  const __m512i lowBytes = _mm512_load_si512(kLowBytes.data());
  const __m512i one = _mm512_set1_epi16(1);
  std::size_t at = 0;
  for (; count - at >= kUnits; at += kUnits) {
    const __m512i first = _mm512_loadu_si512(in + at);
    const __m512i second = _mm512_loadu_si512(in + at + kBlockUnits);
    // A zero unit wraps round to one that is no ASCII.
    const __m512i before =
        _mm512_or_si512(_mm512_sub_epi16(first, one), _mm512_sub_epi16(second, one));
    const __m512i all = _mm512_ternarylogic_epi64(first, second, before, 0xFE);
    if (_mm512_test_epi16_mask(all, _mm512_set1_epi16(~0x7F)) != 0) break;
    _mm512_storeu_si512(out + at, _mm512_permutex2var_epi8(first, lowBytes, second));
  }
  return at;
}

KV_WITH_VBMI2 Progress EncodeByVbmi2(const unsigned short* in, std::size_t count, char* out,
                                     std::size_t size) {
  std::size_t at = EncodeAscii(in, std::min(count, size), out);
  std::size_t written = at;
  while (at < count) {
    std::size_t length = std::min(count - at, kBlockUnits);
    auto present = static_cast<__mmask32>(LowBits(length));
    __m512i units = _mm512_maskz_loadu_epi16(present, in + at);
    const __mmask32 zeros = _mm512_mask_testn_epi16_mask(present, units, units);
    if (zeros != 0) {
      length = static_cast<std::size_t>(std::countr_zero(zeros));
      if (length == 0) break;
      present = static_cast<__mmask32>(LowBits(length));
      units = _mm512_maskz_mov_epi16(present, units);
    }
    const __mmask32 ascii = _mm512_cmplt_epu16_mask(units, _mm512_set1_epi16(0x80));
    if (static_cast<__mmask32>(~ascii) == 0) {
      if (size - written < length) break;
      _mm256_mask_storeu_epi8(out + written, present, _mm512_cvtepi16_epi8(units));
      written += length;
    } else if (_mm512_cmpge_epu16_mask(units, _mm512_set1_epi16(0x800)) == 0) {
      if (!WriteBytes(SpreadInTwo(units, ascii), out, size, written)) break;
    } else {
      if (!WriteBytes(SpreadInFour(_mm512_castsi512_si256(units)), out, size, written)) break;
      const __m256i upper = _mm512_extracti64x4_epi64(units, 1);
      if (!WriteBytes(SpreadInFour(upper), out, size, written))
        return {at + kBlockUnits / 2, written};
    }
    at += length;
  }
  return {at, written};
}

}  // namespace
#endif

namespace {

// In 32-bit code the masks of VBMI2 take two registers each, and the tables of AVX2 are faster.
VectorSet KernelSet() {
  return sizeof(void*) == 4 ? std::min(Vectors(), VectorSet::kAvx2) : Vectors();
}

}  // namespace

bool HasBlocks(std::size_t bytes) {
  // What the tables gain, their start and the plain rest take away again: one block of German took
  // twice as long as the plain walk.
  constexpr std::size_t kTwoNarrowBlocks = 64;
  const VectorSet set = KernelSet();
  return set == VectorSet::kVbmi2 || (set >= VectorSet::kSsse3 && bytes >= kTwoNarrowBlocks);
}

Progress DecodeBlocks([[maybe_unused]] const unsigned char* in, [[maybe_unused]] std::size_t stop,
                      [[maybe_unused]] unsigned short* out, [[maybe_unused]] std::size_t room) {
  [[maybe_unused]] const VectorSet set = KernelSet();
#if defined(__x86_64__)
  if (set == VectorSet::kVbmi2) return DecodeByVbmi2(in, stop, out, room);
#endif
#if defined(__x86_64__) || defined(__i386__)
  if (set >= VectorSet::kAvx2) return DecodeByAvx2(in, stop, out, room);
  if (set == VectorSet::kSsse3) return DecodeBySsse3(in, stop, out, room);
#endif
  return {};
}

Progress EncodeBlocks([[maybe_unused]] const unsigned short* in, [[maybe_unused]] std::size_t count,
                      [[maybe_unused]] char* out, [[maybe_unused]] std::size_t size) {
  [[maybe_unused]] const VectorSet set = KernelSet();
#if defined(__x86_64__)
  if (set == VectorSet::kVbmi2) return EncodeByVbmi2(in, count, out, size);
#endif
#if defined(__x86_64__) || defined(__i386__)
  if (set >= VectorSet::kAvx2) return EncodeByAvx2(in, count, out, size);
  if (set == VectorSet::kSsse3) return EncodeBySsse3(in, count, out, size);
#endif
  return {};
}

}  // namespace kv::utf8
