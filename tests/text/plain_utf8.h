// UTF-8 by its plain rules, a character at a time and from a table: the oracle of the fast kernels,
// for the tests and the fuzzer.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <numeric>
#include <string>
#include <string_view>
#include <vector>

#include "kvmbs.h"
#include "kvstring.h"

namespace plain {

struct Row {
  std::uint32_t leadMask, leadValue;
  int shift;
  std::uint32_t largest, smallest;
};

inline constexpr Row kRows[] = {
    {0x80, 0x00, 0, 0x7F, 0},
    {0xE0, 0xC0, 6, 0x7FF, 0x80},
    {0xF0, 0xE0, 12, 0xFFFF, 0x800},
    {0xF8, 0xF0, 18, 0x1FFFFF, 0x10000},
    {0xFC, 0xF8, 24, 0x3FFFFFF, 0x200000},
    {0xFE, 0xFC, 30, 0x7FFFFFFF, 0x4000000},
};

// Bytes used, or -1.
inline int DecodeOne(std::string_view in, unsigned short& out) {
  if (in.empty()) return -1;
  const auto lead = static_cast<unsigned char>(in[0]);
  std::uint32_t value = lead;
  std::size_t length = 0;
  for (const Row& row : kRows) {
    ++length;
    if ((lead & row.leadMask) == row.leadValue) {
      value &= row.largest;
      if (value < row.smallest) return -1;
      out = static_cast<unsigned short>(value);
      return static_cast<int>(length);
    }
    if (in.size() <= length) return -1;
    const std::uint32_t next = static_cast<unsigned char>(in[length]) ^ 0x80u;
    if (next > 0x3F) return -1;
    value = value * 64 + next;
  }
  return -1;
}

// `value` in as many bytes as a row's have.
inline std::string EncodeAs(const Row& row, std::uint32_t value) {
  std::string out(1, static_cast<char>(value >> row.shift | row.leadValue));
  for (int shift = row.shift; shift > 0;) {
    shift -= 6;
    out += static_cast<char>((value >> shift & 0x3F) | 0x80);
  }
  return out;
}

inline std::string Encode(std::uint32_t value) {
  const Row* row = kRows;
  while (row->largest < value) ++row;
  return EncodeAs(*row, value);
}

struct DecodedString {
  int result = 0;
  std::vector<unsigned short> units;
};

// What a string decoder gives: ends at a zero character, is too long at 32,768 bytes, keeps what
// came before.
inline DecodedString DecodeString(std::string_view in) {
  DecodedString decoded;
  while (static_cast<std::size_t>(decoded.result) < in.size()) {
    unsigned short unit = 0;
    const int length = DecodeOne(in.substr(static_cast<std::size_t>(decoded.result)), unit);
    if (length < 0) {
      decoded.result = -1;
      break;
    }
    if (unit == 0) break;
    decoded.units.push_back(unit);
    decoded.result += length;
    if (decoded.result >= 32768) {
      decoded.result = -2;
      break;
    }
  }
  if (decoded.units.size() > 32765) decoded.units.resize(32765);
  return decoded;
}

// What the array decoder gives: zero characters are characters, no limit.
inline DecodedString DecodeArray(std::string_view in) {
  DecodedString decoded;
  for (std::size_t at = 0; at < in.size();) {
    unsigned short unit = 0;
    const int length = DecodeOne(in.substr(at), unit);
    if (length < 0) {
      decoded.result = -1;
      return decoded;
    }
    decoded.units.push_back(unit);
    at += static_cast<std::size_t>(length);
  }
  decoded.result = static_cast<int>(decoded.units.size());
  return decoded;
}

inline std::vector<unsigned short> UnitsOf(const KvString& text) {
  std::vector<unsigned short> units(text.Len());
  if (!units.empty()) std::memcpy(units.data(), text.StrGet(), 2 * units.size());
  return units;
}

// The library's decoders against these. `check` is told whether something holds.
template <class Check>
void CheckDecoders(std::string_view bytes, Check check) {
  // A block of exactly the input's size, so that any read beyond it is seen (fence.cpp).
  const auto exact = std::make_unique<char[]>(bytes.size());
  std::copy(bytes.begin(), bytes.end(), exact.get());
  const int size = static_cast<int>(bytes.size());

  const DecodedString expected = DecodeString(bytes);
  KvString text(1, 7);
  check(KvMBS2KvString(exact.get(), text, size) == expected.result);
  check(UnitsOf(text) == expected.units);
  check(text.GetCodeSet() == 253 && text.GetLanguage() == 7);
  check(text.GetBufferSize() == (expected.units.empty() ? 0 : 2 * expected.units.size() + 2));

  const DecodedString array = DecodeArray(bytes);
  // A block of a whole page: nothing can be read before it.
  std::vector<char> goesOn(std::max<std::size_t>(4096, bytes.size() + 3), '\x80');
  std::copy(bytes.begin(), bytes.end(), goesOn.begin());
  for (const std::size_t room :
       {std::size_t{0}, array.units.size() / 2, array.units.size() + 3, array.units.size() + 20}) {
    // Each unit its own, so that one of them put back in another's place is seen.
    std::vector<unsigned short> before(room);
    std::iota(before.begin(), before.end(), static_cast<unsigned short>(0xAB00));
    std::vector<unsigned short> out = before;
    check(KvMultiByteStr2WCharStr(out.data(), static_cast<int>(room), exact.get(), size) ==
          array.result);
    const auto stored = static_cast<std::ptrdiff_t>(std::min(room, array.units.size()));
    check(std::equal(out.begin(), out.begin() + stored, array.units.begin()));
    check(std::equal(out.begin() + stored, out.end(), before.begin() + stored));
    // What stands behind the size is not read, though it would go on with a cut character.
    check(KvMultiByteStr2WCharStr(out.data(), static_cast<int>(room), goesOn.data(), size) ==
          array.result);
  }
}

}  // namespace plain
