// How one element is read from and written to each form. A codec is a list of fields, each a place
// in the memory form and a width; the stored form is the fields packed in the order of the list.
//
//   struct KvObjId { o_u4b block; o_u4b low; o_u2b high; };          memory: 4 4 2 and 2 of padding
//   FieldCodec<KvObjId, Field{0, 4}, Field{4, 4}, Field{8, 2}>       stored: 4 4 2
//
// Field order never depends on the byte order; only the bytes within a field do.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "kvbase/format.h"

namespace kv {

enum class FieldOrder : unsigned char {
  kByFormat,        // least significant byte first, or reversed under byte-order code 2
  kMostSignificant  // most significant byte first whatever the format says
};

struct Field {
  unsigned offset;  // in the memory form
  unsigned width;   // 1, 2, 4 or 8 bytes
  FieldOrder order = FieldOrder::kByFormat;
};

template <unsigned width>
inline void CopyField(unsigned char* destination, const unsigned char* source, bool reversed) {
  if (!reversed || width == 1) {
    std::memcpy(destination, source, width);
  } else if constexpr (width == 2) {
    std::uint16_t word;
    std::memcpy(&word, source, 2);
    word = __builtin_bswap16(word);
    std::memcpy(destination, &word, 2);
  } else if constexpr (width == 4) {
    std::uint32_t word;
    std::memcpy(&word, source, 4);
    word = __builtin_bswap32(word);
    std::memcpy(destination, &word, 4);
  } else if constexpr (width == 8) {
    std::uint64_t word;
    std::memcpy(&word, source, 8);
    word = __builtin_bswap64(word);
    std::memcpy(destination, &word, 8);
  }
}

template <class T, Field... fields>
struct FieldCodec {
  static_assert(std::is_trivially_copyable_v<T>);
  using Value = T;

  static constexpr unsigned kMemoryWidth = sizeof(T);
  static constexpr unsigned kStoredWidth = (fields.width + ... + 0u);

  // The stored form in memory order is the memory form, byte for byte.
  static constexpr bool kSameLayout = [] {
    unsigned packed = 0;
    bool same = true;
    ((same = same && fields.offset == packed && fields.order == FieldOrder::kByFormat,
      packed += fields.width),
     ...);
    return same && packed == sizeof(T);
  }();

  // Bytes from one element to the next.
  static constexpr unsigned Stride(Format format) {
    return format.IsMemory() ? kMemoryWidth : kStoredWidth;
  }

  // A value of all-zero bytes to read into. Not T(): the default constructors of the date types
  // read the clock.
  static constexpr T Blank() { return std::bit_cast<T>(std::array<unsigned char, sizeof(T)>{}); }

  // Members that no field names keep what `value` held.
  static void Load(T& value, const unsigned char* stored, bool reversed) {
    auto* memory = reinterpret_cast<unsigned char*>(&value);
    (CopyField<fields.width>(memory + fields.offset, Advance(stored, fields.width),
                             IsSwapped(fields, reversed)),
     ...);
  }

  static void Store(unsigned char* stored, const T& value, bool reversed) {
    auto* memory = reinterpret_cast<const unsigned char*>(&value);
    (CopyField<fields.width>(Advance(stored, fields.width), memory + fields.offset,
                             IsSwapped(fields, reversed)),
     ...);
  }

  // The element at `at`, which holds either form and need not be aligned. Members that the stored
  // form leaves out are zero.
  static T Read(const unsigned char* at, Format format) {
    T value = Blank();
    if (format.IsMemory()) {
      std::memcpy(static_cast<void*>(&value), at, sizeof(T));
    } else {
      Load(value, at, format.IsReversed());
    }
    return value;
  }

 private:
  static constexpr bool IsSwapped(Field field, bool reversed) {
    return field.order == FieldOrder::kMostSignificant || reversed;
  }

  template <class Byte>
  static Byte* Advance(Byte*& cursor, unsigned width) {
    Byte* here = cursor;
    cursor += width;
    return here;
  }
};

// A plain scalar: one field, the same in memory and stored in memory order.
template <class T>
using ScalarCodec = FieldCodec<T, Field{0, sizeof(T)}>;

}  // namespace kv
