// UTF-8 by blocks, by vectors of 16 bytes and of 32. Every byte or unit of a block becomes a field
// of fixed width; a shuffle from a table, chosen by eight bits that tell what the fields are, then
// moves together what is wanted of 16 bytes. A store writes 16 bytes however many are wanted, and
// the next one begins within it. What the last store writes too much is put back.

#include "kvtext/utf8_shuffles.h"

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

#include "kvbase/vectors.h"
#include "kvtext/utf8.h"

namespace kv::utf8 {
namespace {

#define KV_WITH_SSSE3 [[gnu::target("ssse3")]]
#define KV_WITH_AVX2 [[gnu::target("avx2")]]
#define KV_INLINE [[gnu::always_inline]] inline

template <unsigned width>
using Bytes = typename LanesOf<unsigned char, width>::Type;
template <unsigned width>
using SignedBytes = typename LanesOf<signed char, width>::Type;

constexpr std::size_t kBlockBytes = 32;
constexpr std::size_t kBlockUnits = 16;
constexpr std::size_t kStore = 16;

// The vectors of a block.
template <unsigned width>
constexpr unsigned kParts = kBlockBytes / width;

// --- Tables ---

// A shuffle for each eight bits, and the fields that it keeps.
struct Shuffles {
  alignas(16) unsigned char from[256][16];
  unsigned char kept[256];
};

// `keeps(bits, place)` tells whether the byte at `place` of 16 is wanted.
template <class Keeps>
constexpr Shuffles MakeShuffles(Keeps keeps) {
  Shuffles table{};
  for (unsigned bits = 0; bits < 256; ++bits) {
    unsigned kept = 0;
    for (unsigned place = 0; place < 16; ++place) {
      if (keeps(bits, place)) table.from[bits][kept++] = static_cast<unsigned char>(place);
    }
    table.kept[bits] = static_cast<unsigned char>(kept);
  }
  return table;
}

// Units, of which those whose bit is set are wanted.
constexpr Shuffles kChosenUnits =
    MakeShuffles([](unsigned bits, unsigned place) { return (bits >> place / 2 & 1) != 0; });

// Two bytes a unit. Of one whose bit is set, an ASCII one, only the second is wanted.
constexpr Shuffles kOfTwo = MakeShuffles(
    [](unsigned bits, unsigned place) { return place % 2 == 1 || (bits >> place / 2 & 1) == 0; });

// Four bytes a unit: first, nothing, second, third. Two bits a unit: ASCII, below 0x800.
constexpr Shuffles kOfThree = MakeShuffles([](unsigned bits, unsigned place) {
  const unsigned kind = bits >> place / 4 * 2 & 3;
  return place % 4 == 3 || (place % 4 == 2 && (kind & 1) == 0) || (place % 4 == 0 && kind == 0);
});

// --- Instructions that have no operator ---

KV_WITH_SSSE3 inline unsigned UpperBits(const Bytes<16>& bytes) {
  return static_cast<unsigned>(_mm_movemask_epi8(reinterpret_cast<const __m128i&>(bytes)));
}

KV_WITH_AVX2 inline unsigned UpperBits(const Bytes<32>& bytes) {
  return static_cast<unsigned>(_mm256_movemask_epi8(reinterpret_cast<const __m256i&>(bytes)));
}

// What each byte is above `floor`, or zero.
KV_WITH_SSSE3 inline void TakeAbove(Bytes<16>& bytes, unsigned char floor) {
  bytes = reinterpret_cast<Bytes<16>>(_mm_subs_epu8(reinterpret_cast<const __m128i&>(bytes),
                                                    _mm_set1_epi8(static_cast<char>(floor))));
}

KV_WITH_AVX2 inline void TakeAbove(Bytes<32>& bytes, unsigned char floor) {
  bytes = reinterpret_cast<Bytes<32>>(_mm256_subs_epu8(reinterpret_cast<const __m256i&>(bytes),
                                                       _mm256_set1_epi8(static_cast<char>(floor))));
}

// Writes what is wanted of 16 bytes, and whatever behind it.
KV_WITH_SSSE3 inline void StoreShuffled(void* out, const Bytes<16>& bytes, const Shuffles& table,
                                        unsigned bits) {
  const __m128i from = _mm_load_si128(reinterpret_cast<const __m128i*>(table.from[bits]));
  _mm_storeu_si128(static_cast<__m128i*>(out),
                   _mm_shuffle_epi8(reinterpret_cast<const __m128i&>(bytes), from));
}

// The words of two vectors, or of one, as signed bytes; what does not fit is cut.
KV_WITH_SSSE3 inline void Narrow(Bytes<16>& bytes, const HalfLanes<16>* words) {
  bytes = reinterpret_cast<Bytes<16>>(_mm_packs_epi16(reinterpret_cast<const __m128i&>(words[0]),
                                                      reinterpret_cast<const __m128i&>(words[1])));
}

KV_WITH_AVX2 inline void Narrow(Bytes<16>& bytes, const HalfLanes<32>* words) {
  const __m256i both = reinterpret_cast<const __m256i&>(*words);
  bytes = reinterpret_cast<Bytes<16>>(
      _mm_packs_epi16(_mm256_castsi256_si128(both), _mm256_extracti128_si256(both, 1)));
}

// --- Vectors of either width ---

template <class To, class From>
KV_INLINE void As(To& to, const From& from) {
  to = reinterpret_cast<To>(from);
}

template <class Vector>
KV_INLINE void Load(Vector& vector, const void* at) {
  std::memcpy(&vector, at, sizeof vector);
}

// Where bytes are from 0x80 on and below `end`: as signed ones they stand lowest.
template <unsigned width>
KV_INLINE void MarkHighBelow(Bytes<width>& marks, const Bytes<width>& bytes, unsigned end) {
  marks = reinterpret_cast<Bytes<width>>(reinterpret_cast<SignedBytes<width>>(bytes) <
                                         static_cast<signed char>(end));
}

// Two bits for each of the words, whose bits are all the same.
template <unsigned width, class Words>
KV_INLINE unsigned WordBits(const Words& words) {
  return UpperBits(reinterpret_cast<Bytes<width>>(words));
}

// Every byte moved up or down. The bits that come from its neighbour are left in.
template <unsigned width>
KV_INLINE void ShiftUp(Bytes<width>& bytes, unsigned bits) {
  As(bytes, reinterpret_cast<HalfLanes<width>>(bytes) << bits);
}

template <unsigned width>
KV_INLINE void ShiftDown(Bytes<width>& bytes, unsigned bits) {
  As(bytes, reinterpret_cast<HalfLanes<width>>(bytes) >> bits);
}

// Lanes of `a` and of `b` in turn, from the lower or the upper half of every 16 bytes.
template <unsigned upper, class Vector, std::size_t... place>
KV_INLINE void Interleave(Vector& mixed, const Vector& a, const Vector& b,
                          std::index_sequence<place...>) {
  constexpr std::size_t kLanes = sizeof...(place);
  constexpr std::size_t kInBlock = 16 * kLanes / sizeof(Vector);
  mixed = __builtin_shufflevector(a, b,
                                  (place / kInBlock * kInBlock + upper * kInBlock / 2 +
                                   place % kInBlock / 2 + place % 2 * kLanes)...);
}

// Two vectors of fields, of which every 16 bytes are those of the one and then of the other.
template <unsigned width>
struct Fields {
  Bytes<width> lower, upper;
};

template <class Vector>
KV_INLINE void Interleave(Fields<sizeof(Vector)>& fields, const Vector& a, const Vector& b) {
  constexpr auto kPlaces = std::make_index_sequence<sizeof(Vector) / sizeof(a[0])>();
  Vector mixed;
  Interleave<0>(mixed, a, b, kPlaces);
  As(fields.lower, mixed);
  Interleave<1>(mixed, a, b, kPlaces);
  As(fields.upper, mixed);
}

// 16 bytes of a vector.
template <unsigned block, unsigned width, std::size_t... place>
KV_INLINE void TakeSixteen(Bytes<16>& sixteen, const Bytes<width>& bytes,
                           std::index_sequence<place...>) {
  sixteen = __builtin_shufflevector(bytes, bytes, (16 * block + place)...);
}

// Stores what is wanted of the block of 16 bytes.
template <unsigned block, unsigned width>
KV_INLINE void StoreShuffled(unsigned char* out, const Bytes<width>& bytes, const Shuffles& table,
                             unsigned bits) {
  Bytes<16> sixteen;
  TakeSixteen<block, width>(sixteen, bytes, std::make_index_sequence<16>());
  StoreShuffled(out, sixteen, table, bits);
}

// Where the output ends, and what stood behind it before stores wrote there.
struct Output {
  unsigned char* end;
  unsigned char behind[kStore];

  KV_INLINE void KeepBehind(const unsigned char* newEnd) { std::memcpy(behind, newEnd, kStore); }
  KV_INLINE void PutBack() const { std::memcpy(end, behind, kStore); }
};

// Stores what is wanted of four times 16 bytes, eight of `bits` each. These are 16 bytes at least,
// so that they cover what the block before has written too much.
template <unsigned width>
KV_INLINE void StoreFour(Output& out, const Fields<width>* fields, const Shuffles& table,
                         unsigned bits) {
  const unsigned a = bits & 0xFF, b = bits >> 8 & 0xFF, c = bits >> 16 & 0xFF, d = bits >> 24;
  unsigned char* const first = out.end;
  unsigned char* const second = first + table.kept[a];
  unsigned char* const third = second + table.kept[b];
  unsigned char* const fourth = third + table.kept[c];
  out.end = fourth + table.kept[d];
  out.KeepBehind(out.end);
  constexpr unsigned kBlock = width / 32;
  const Fields<width>& others = fields[kParts<width> - 1];
  StoreShuffled<0, width>(first, fields->lower, table, a);
  StoreShuffled<0, width>(second, fields->upper, table, b);
  StoreShuffled<kBlock, width>(third, others.lower, table, c);
  StoreShuffled<kBlock, width>(fourth, others.upper, table, d);
}

// --- Decoding ---

// What the bytes of a block are, a bit each.
struct Kinds {
  unsigned high = 0;       // no ASCII
  unsigned leads = 0;      // of two and three bytes
  unsigned twos = 0;       // of two
  unsigned followers = 0;  // continuation bytes
};

// Of characters of the block before, as bits of the first bytes of the next one.
struct Due {
  unsigned followers = 0;  // a byte that they still lack
  unsigned threes = 0;     // two bits: their leads at its last two bytes, if of three; then a
                           // follower is due, too
};

template <unsigned width>
KV_INLINE void Examine(Kinds& kinds, const unsigned char* in, unsigned place) {
  Bytes<width> bytes, mark;
  Load(bytes, in);
  kinds.high |= UpperBits(bytes) << place;
  MarkHighBelow<width>(mark, bytes, 0xC0);
  kinds.followers |= UpperBits(mark) << place;
  // 0xC2, the first lead that is valid, becomes 0x80.
  constexpr unsigned char kDown = 0xC2 - 0x80;
  bytes -= kDown;
  MarkHighBelow<width>(mark, bytes, 0xF0 - kDown);
  kinds.leads |= UpperBits(mark) << place;
  MarkHighBelow<width>(mark, bytes, 0xE0 - kDown);
  kinds.twos |= UpperBits(mark) << place;
}

// Makes fields of the units of the characters that end at each byte. The two bytes before are
// read. Result: bits where three bytes encode less than 0x800.
template <unsigned width, bool hasThrees>
KV_INLINE unsigned MakeUnits(Fields<width>& fields, const unsigned char* in) {
  Bytes<width> last, before, first, follows;
  Load(last, in);
  Load(before, in - 1);
  MarkHighBelow<width>(follows, last, 0xC0);
  // low yyxxxxxx of ..yyyyyy ..xxxxxx, high zzzzyyyy of ....zzzz ..yyyyyy
  Bytes<width> y = before & follows;
  Bytes<width> yy = y;
  ShiftUp<width>(yy, 6);
  ShiftDown<width>(y, 2);
  const Bytes<width> low = last ^ ((last ^ yy) & (follows & 0xC0));
  Bytes<width> high = y & 0x0F;
  unsigned overlong = 0;
  if constexpr (hasThrees) {
    Load(first, in - 2);
    Bytes<width> mark, e0;
    MarkHighBelow<width>(mark, before, 0xA0);
    As(e0, first == 0xE0);
    overlong = UpperBits(e0 & mark);
    TakeAbove(first, 0xE0);
    ShiftUp<width>(first, 4);
    high |= first;
  }
  Interleave(fields, low, high);
  return overlong;
}

template <unsigned width, bool hasThrees>
KV_INLINE bool StoreUnits(Output& out, const unsigned char* in, unsigned ends) {
  Fields<width> fields[kParts<width>];
  unsigned overlong = 0;
#pragma GCC unroll 2
  for (unsigned i = 0; i < kParts<width>; ++i) {
    overlong |= MakeUnits<width, hasThrees>(fields[i], in + i * width);
  }
  if (overlong != 0) return false;
  StoreFour<width>(out, fields, kChosenUnits, ends);
  return true;
}

// Takes a block, if all of it is usual.
template <unsigned width>
KV_INLINE bool DecodeBlock(Output& out, Due& due, const Kinds& kinds, const unsigned char* in) {
  const unsigned threes = kinds.leads ^ kinds.twos;
  // Bytes that their character does not end with.
  const unsigned open = kinds.leads | threes << 1 | due.threes >> 1;
  const unsigned unknown = (kinds.leads | kinds.followers) ^ kinds.high;
  const unsigned misplaced = kinds.followers ^ (open << 1 | due.followers);
  if ((unknown | misplaced) != 0) return false;
  const bool stored = (threes | due.threes) == 0 ? StoreUnits<width, false>(out, in, ~open)
                                                 : StoreUnits<width, true>(out, in, ~open);
  if (stored) due = {open >> 31, threes >> 30};
  return stored;
}

// Makes units of a block of ASCII.
KV_INLINE void WidenBlock(unsigned char* out, const unsigned char* in) {
  const Bytes<16> zero{};
#pragma GCC unroll 2
  for (unsigned i = 0; i < 2; ++i) {
    Bytes<16> bytes;
    Load(bytes, in + 16 * i);
    Fields<16> units;
    Interleave(units, bytes, zero);
    std::memcpy(out + 32 * i, &units, sizeof units);
  }
}

// Takes the ASCII blocks that the text begins with. A short text is often nothing else.
template <unsigned width>
KV_INLINE void DecodeAsciiStart(Progress& progress, const unsigned char* in, std::size_t stop,
                                unsigned short* units, std::size_t room) {
  std::size_t at = 0;
  for (; std::min(stop, room) - at >= kBlockBytes; at += kBlockBytes) {
    unsigned high = 0;
#pragma GCC unroll 2
    for (unsigned i = 0; i < kParts<width>; ++i) {
      Bytes<width> bytes;
      Load(bytes, in + at + i * width);
      high |= UpperBits(bytes);
    }
    if (high != 0) break;
    WidenBlock(reinterpret_cast<unsigned char*>(units + at), in + at);
  }
  progress.read = progress.written = at;
}

// A block looks at the two bytes before it, so the first characters of the text are taken one by
// one. False when one of them is unusual.
inline bool DecodeStart(Progress& progress, const unsigned char* in, std::size_t stop,
                        unsigned short* units) {
  while (progress.read < 2) {
    const unsigned length =
        DecodeUnitQuickly(in + progress.read, stop - progress.read, units[progress.written]);
    if (length == 0 || length > 3) return false;
    progress.read += length;
    ++progress.written;
  }
  return true;
}

template <unsigned width>
KV_INLINE Progress DecodeByShuffles(const unsigned char* in, std::size_t stop,
                                    unsigned short* units, std::size_t room) {
  // A block's room, and a store's behind it.
  constexpr std::size_t kRoom = kBlockBytes + kStore / 2;
  Progress progress;
  DecodeAsciiStart<width>(progress, in, stop, units, room);
  if (stop - progress.read < 4 + kBlockBytes || room - progress.written < 2 + kRoom) {
    return progress;
  }
  if (!DecodeStart(progress, in, stop, units)) return progress;
  std::size_t at = progress.read;
  Output out = {reinterpret_cast<unsigned char*>(units + progress.written), {}};
  out.KeepBehind(out.end);
  const auto* const lastEnd = reinterpret_cast<const unsigned char*>(units + room - kRoom);
  Due due;
  for (; stop - at >= kBlockBytes && out.end <= lastEnd; at += kBlockBytes) {
    Kinds kinds;
#pragma GCC unroll 2
    for (unsigned i = 0; i < kParts<width>; ++i) {
      Examine<width>(kinds, in + at + i * width, i * width);
    }
    if ((kinds.high | due.followers) == 0) {
      WidenBlock(out.end, in + at);
      out.end += 2 * kBlockBytes;
      out.KeepBehind(out.end);
    } else {
      if (!DecodeBlock<width>(out, due, kinds, in + at)) break;
    }
  }
  out.PutBack();
  const unsigned cut = due.followers == 0 ? 0 : in[at - 1] < 0xC0 ? 2 : 1;
  return {at - cut, static_cast<std::size_t>(reinterpret_cast<unsigned short*>(out.end) - units)};
}

// --- Encoding ---

// 16 units, and all bits of each that is ASCII, and that is below 0x800.
template <unsigned width>
struct Block {
  HalfLanes<width> units[kParts<width>];
  HalfLanes<width> ascii[kParts<width>];
  HalfLanes<width> below[kParts<width>];
};

// The last two bytes of units, in the order of memory. Of a unit in two bytes they are all, of an
// ASCII one the second of them is.
template <unsigned width, bool hasThrees>
KV_INLINE void EncodeTail(HalfLanes<width>& tail, const Block<width>& block, unsigned part) {
  const HalfLanes<width> units = block.units[part];
  HalfLanes<width> more = (units & 0x3F) << 8;
  if constexpr (hasThrees) {
    more |= (units >> 6 & 0x3F) | (block.below[part] & 0x40) | 0x8080;
  } else {
    more |= units >> 6 | 0x80C0;
  }
  tail = more ^ ((more ^ units << 8) & block.ascii[part]);
}

// Units below 0x800.
template <unsigned width>
KV_INLINE void EncodeInTwo(Output& out, const Block<width>& block) {
  Bytes<16> ascii;
  Narrow(ascii, block.ascii);
  const unsigned bits = UpperBits(ascii);
  Bytes<width> tails[kParts<width>];
#pragma GCC unroll 2
  for (unsigned i = 0; i < kParts<width>; ++i) {
    HalfLanes<width> tail;
    EncodeTail<width, false>(tail, block, i);
    As(tails[i], tail);
  }
  unsigned char* const first = out.end;
  unsigned char* const second = first + kOfTwo.kept[bits & 0xFF];
  out.end = second + kOfTwo.kept[bits >> 8];
  out.KeepBehind(out.end);
  StoreShuffled<0, width>(first, tails[0], kOfTwo, bits & 0xFF);
  StoreShuffled<width / 32, width>(second, tails[kParts<width> - 1], kOfTwo, bits >> 8);
}

template <unsigned width>
KV_INLINE void EncodeInThree(Output& out, const Block<width>& block) {
  Fields<width> fields[kParts<width>];
  unsigned bits = 0;
#pragma GCC unroll 2
  for (unsigned i = 0; i < kParts<width>; ++i) {
    HalfLanes<width> tail;
    EncodeTail<width, true>(tail, block, i);
    const HalfLanes<width> lead = block.units[i] >> 12 | 0xE0;
    Interleave(fields[i], lead, tail);
    Bytes<width> kinds;
    As(kinds, (block.ascii[i] & 0x00FF) | (block.below[i] & 0xFF00));
    bits |= UpperBits(kinds) << i * width;
  }
  StoreFour<width>(out, fields, kOfThree, bits);
}

// Takes a block without a zero unit.
template <unsigned width>
KV_INLINE bool EncodeBlock(Output& out, const unsigned short* in) {
  Block<width> block;
  unsigned zeros = 0, ascii = 0, below = 0;  // two bits a unit
#pragma GCC unroll 2
  for (unsigned i = 0; i < kParts<width>; ++i) {
    Load(block.units[i], in + i * width / 2);
    As(block.ascii[i], block.units[i] < 0x80);
    As(block.below[i], block.units[i] < 0x800);
    zeros |= WordBits<width>(block.units[i] == 0) << i * width;
    ascii |= WordBits<width>(block.ascii[i]) << i * width;
    below |= WordBits<width>(block.below[i]) << i * width;
  }
  if (zeros != 0) return false;
  if (ascii == ~0u) {
    Bytes<16> bytes;
    Narrow(bytes, block.units);
    std::memcpy(out.end, &bytes, sizeof bytes);
    out.end += sizeof bytes;
    out.KeepBehind(out.end);
  } else if (below == ~0u) {
    EncodeInTwo<width>(out, block);
  } else {
    EncodeInThree<width>(out, block);
  }
  return true;
}

// Takes blocks of four vectors of ASCII units without a zero. Result: the units taken.
template <unsigned width>
KV_INLINE std::size_t EncodeAscii(unsigned char* out, const unsigned short* in, std::size_t count) {
  constexpr std::size_t kUnits = 4 * width / 2;
  std::size_t at = 0;
  for (; count - at >= kUnits; at += kUnits) {
    HalfLanes<width> units[4];
    HalfLanes<width> all{};
#pragma GCC unroll 4
    for (unsigned i = 0; i < 4; ++i) {
      Load(units[i], in + at + i * width / 2);
      // A zero unit wraps round to one that is no ASCII.
      all |= units[i] | (units[i] - 1);
    }
    if (WordBits<width>((all & 0xFF80) == 0) != static_cast<unsigned>(LowBits(width))) break;
#pragma GCC unroll 4
    for (unsigned i = 0; i < 4; i += kParts<width>) {
      Bytes<16> bytes;
      Narrow(bytes, units + i);
      std::memcpy(out + at + i * width / 2, &bytes, sizeof bytes);
    }
  }
  return at;
}

template <unsigned width>
KV_INLINE Progress EncodeByShuffles(const unsigned short* in, std::size_t count, char* bytes,
                                    std::size_t size) {
  // A block's room, and a store's behind it.
  constexpr std::size_t kRoom = 3 * kBlockUnits + kStore;
  Output out = {reinterpret_cast<unsigned char*>(bytes), {}};
  std::size_t at = EncodeAscii<width>(out.end, in, std::min(count, size));
  out.end += at;
  if (size - at < kRoom) return {at, at};
  const unsigned char* const lastEnd = reinterpret_cast<unsigned char*>(bytes) + size - kRoom;
  out.KeepBehind(out.end);
  for (; count - at >= kBlockUnits && out.end <= lastEnd; at += kBlockUnits) {
    if (!EncodeBlock<width>(out, in + at)) break;
  }
  out.PutBack();
  return {at, static_cast<std::size_t>(out.end - reinterpret_cast<unsigned char*>(bytes))};
}

}  // namespace

KV_WITH_SSSE3 Progress DecodeBySsse3(const unsigned char* in, std::size_t stop, unsigned short* out,
                                     std::size_t room) {
  return DecodeByShuffles<16>(in, stop, out, room);
}

KV_WITH_AVX2 Progress DecodeByAvx2(const unsigned char* in, std::size_t stop, unsigned short* out,
                                   std::size_t room) {
  return DecodeByShuffles<32>(in, stop, out, room);
}

KV_WITH_SSSE3 Progress EncodeBySsse3(const unsigned short* in, std::size_t count, char* out,
                                     std::size_t size) {
  return EncodeByShuffles<16>(in, count, out, size);
}

KV_WITH_AVX2 Progress EncodeByAvx2(const unsigned short* in, std::size_t count, char* out,
                                   std::size_t size) {
  return EncodeByShuffles<32>(in, count, out, size);
}

}  // namespace kv::utf8
#endif
