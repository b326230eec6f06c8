// UTF-8 to 16-bit units and back: the kernels below kvmbs.h, which draws the encoding. One
// character by the rules, and runs, which take ASCII in blocks and must give exactly what the rules
// give character by character.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kvbase/run.h"
#include "kvtext/utf8_blocks.h"

namespace kv::utf8 {

inline constexpr std::uint64_t kNotAsciiBytes = 0x8080808080808080;

constexpr bool IsContinuation(unsigned char byte) {
  return (byte & 0xC0) == 0x80;
}

// --- One character ---

// Decodes the character at `in`. `available` bytes may be read there, at least 1. Result: the bytes
// used, 0 when they are invalid.
constexpr unsigned DecodeUnit(const unsigned char* in, std::size_t available,
                              unsigned short& unit) {
  constexpr std::uint32_t kSmallest[] = {0x80, 0x800, 0x10000, 0x200000, 0x4000000};
  const unsigned char lead = in[0];
  if (lead < 0x80) {
    unit = lead;
    return 1;
  }
  const auto length = static_cast<unsigned>(std::countl_one(lead));
  if (length < 2 || length > 6 || length > available) return 0;
  std::uint32_t character = lead & (0x7Fu >> length);
  for (unsigned i = 1; i < length; ++i) {
    if (!IsContinuation(in[i])) return 0;
    character = character << 6 | (in[i] & 0x3Fu);
  }
  if (character < kSmallest[length - 2]) return 0;
  unit = static_cast<unsigned short>(character);
  return length;
}

// The same, with what most text is made of first: ASCII and sequences of two bytes.
constexpr unsigned DecodeUnitQuickly(const unsigned char* in, std::size_t available,
                                     unsigned short& unit) {
  const unsigned char lead = in[0];
  if (lead < 0x80) return unit = lead, 1;
  if (lead >= 0xC2 && lead <= 0xDF && available >= 2 && IsContinuation(in[1])) {
    unit = static_cast<unsigned short>((lead & 0x1F) << 6 | (in[1] & 0x3F));
    return 2;
  }
  return DecodeUnit(in, available, unit);
}

constexpr unsigned EncodedLength(unsigned short unit) {
  return 1 + (unit > 0x7F ? 1 : 0) + (unit > 0x7FF ? 1 : 0);
}

// Writes the one to three bytes of `unit`; returns how many.
constexpr unsigned EncodeUnit(unsigned short unit, char* out) {
  if (unit <= 0x7F) {
    out[0] = static_cast<char>(unit);
    return 1;
  }
  const auto continuation = [](unsigned bits) { return static_cast<char>(0x80 | (bits & 0x3F)); };
  if (unit <= 0x7FF) {
    out[0] = static_cast<char>(0xC0 | unit >> 6);
    out[1] = continuation(unit);
    return 2;
  }
  out[0] = static_cast<char>(0xE0 | unit >> 12);
  out[1] = continuation(unit >> 6u);
  out[2] = continuation(unit);
  return 3;
}

// --- Blocks of eight ---

using Bytes = unsigned char __attribute__((vector_size(8)));
using Units = unsigned short __attribute__((vector_size(16)));

// Makes units of eight bytes, whatever they are.
inline void WidenEight(const unsigned char* in, unsigned short* out) {
  Bytes bytes;
  std::memcpy(&bytes, in, sizeof bytes);
  const Units units = __builtin_convertvector(bytes, Units);
  std::memcpy(out, &units, sizeof units);
}

// The same for the first `count` of eight; the units behind them keep what they have.
inline void WidenSome(const unsigned char* in, unsigned short* out, unsigned count) {
  constexpr Units kLanes = {0, 1, 2, 3, 4, 5, 6, 7};
  Bytes bytes;
  std::memcpy(&bytes, in, sizeof bytes);
  Units kept;
  std::memcpy(&kept, out, sizeof kept);
  const Units wanted = reinterpret_cast<Units>(kLanes < static_cast<unsigned short>(count));
  const Units units = (__builtin_convertvector(bytes, Units) & wanted) | (kept & ~wanted);
  std::memcpy(out, &units, sizeof units);
}

// Makes bytes of eight units if all are ASCII and none is zero.
inline bool NarrowEight(const unsigned short* in, char* out) {
  Units units;
  std::memcpy(&units, in, sizeof units);
  // A zero unit wraps round to one that is no ASCII.
  const Units below = units - 1;
  const Units others = (units | below) & 0xFF80;
  std::uint64_t words[2];
  std::memcpy(words, &others, sizeof words);
  if ((words[0] | words[1]) != 0) return false;
  const Bytes bytes = __builtin_convertvector(units, Bytes);
  std::memcpy(out, &bytes, sizeof bytes);
  return true;
}

inline bool IsAscii(const char* text, std::size_t length) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(text);
  std::uint64_t seen = 0;
  std::size_t at = 0;
  for (; length - at >= 8; at += 8) seen |= LoadWord(bytes + at);
  for (; at < length; ++at) seen |= bytes[at];
  return (seen & kNotAsciiBytes) == 0;
}

// --- Runs ---

enum class OnZero : bool { kEnd, kTake };  // at a unit that is zero: end before it, or take it

// Decodes the characters that begin before `stop`, at most `room` of them, from `available` bytes
// (`stop` <= `available`). Under kEnd no byte before `stop` may be zero, but a long sequence whose
// low 16 bits are zero still may come.
template <OnZero onZero>
inline Progress DecodePlainly(const unsigned char* in, std::size_t stop, std::size_t available,
                              unsigned short* out, std::size_t room) {
  Progress progress;
  std::size_t& at = progress.read;
  std::size_t& count = progress.written;
  // Takes one character; false to end the walk.
  const auto step = [&] {
    unsigned short unit = 0;
    const unsigned length = DecodeUnitQuickly(in + at, available - at, unit);
    progress.complete = length != 0;
    if (length == 0 || (onZero == OnZero::kEnd && unit == 0)) return false;
    out[count++] = unit;
    at += length;
    return true;
  };
  while (stop - at >= 8 && room - count >= 8) {
    const std::uint64_t word = LoadWord(in + at);
    const auto ascii = static_cast<unsigned>(std::countr_zero(word & kNotAsciiBytes)) / 8;
    if (ascii == 8) {
      WidenEight(in + at, out + count);
      at += 8;
      count += 8;
      continue;
    }
    WidenSome(in + at, out + count, ascii);
    at += ascii;
    count += ascii;
    do {
      if (!step()) return progress;
    } while (at < stop && count < room && in[at] >= 0x80);
    if (at >= stop) return progress;
  }
  while (at < stop && count < room) {
    if (!step()) return progress;
  }
  progress.complete = at >= stop;
  return progress;
}

// The same by vectors. They stop at what is unusual, and go on behind the stretch that holds it.
template <OnZero onZero>
inline Progress Decode(const unsigned char* in, std::size_t stop, std::size_t available,
                       unsigned short* out, std::size_t room) {
  if (!HasBlocks(stop)) return DecodePlainly<onZero>(in, stop, available, out, room);
  constexpr std::size_t kStretch = 64;
  Progress progress;
  while (progress.read < stop && progress.written < room) {
    const auto take = [&](const Progress& part) {
      progress.read += part.read;
      progress.written += part.written;
    };
    take(DecodeBlocks(in + progress.read, stop - progress.read, out + progress.written,
                      room - progress.written));
    const std::size_t stretch = std::min(stop - progress.read, kStretch);
    const Progress part =
        DecodePlainly<onZero>(in + progress.read, stretch, available - progress.read,
                              out + progress.written, room - progress.written);
    take(part);
    progress.complete = part.complete;
    if (!part.complete || part.read < stretch) return progress;
  }
  progress.complete = progress.read >= stop;
  return progress;
}

// Encodes up to `count` units, ending at a zero, into at most `size` bytes, whole characters only.
inline Progress EncodePlainly(const unsigned short* in, std::size_t count, char* out,
                              std::size_t size) {
  Progress progress;
  std::size_t& at = progress.read;
  std::size_t& written = progress.written;
  while (at < count) {
    if (count - at >= 8 && size - written >= 8 && NarrowEight(in + at, out + written)) {
      at += 8;
      written += 8;
      continue;
    }
    // Up to eight characters one by one: characters beyond ASCII come in groups.
    for (const std::size_t end = count - at < 8 ? count : at + 8; at < end; ++at) {
      const unsigned short unit = in[at];
      if (unit == 0) return progress;
      if (size - written < EncodedLength(unit)) {
        progress.complete = false;
        return progress;
      }
      written += EncodeUnit(unit, out + written);
    }
  }
  return progress;
}

// The same by vectors, which leave the last stretch to it.
inline Progress Encode(const unsigned short* in, std::size_t count, char* out, std::size_t size) {
  const Progress blocks = EncodeBlocks(in, count, out, size);
  Progress rest = EncodePlainly(in + blocks.read, count - blocks.read, out + blocks.written,
                                size - blocks.written);
  rest.read += blocks.read;
  rest.written += blocks.written;
  return rest;
}

// The bytes that Encode writes given the room.
inline std::size_t EncodedLength(const unsigned short* in, std::size_t count) {
  std::size_t length = 0;
  for (std::size_t at = 0; at < count && in[at] != 0; ++at) length += EncodedLength(in[at]);
  return length;
}

}  // namespace kv::utf8
