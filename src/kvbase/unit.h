// Whole numbers as they lie in memory, where they need not be aligned: the units of texts, the
// fields of stored forms, the words of keys.
#pragma once

#include <concepts>
#include <cstdint>
#include <cstring>

namespace kv {

// The unsigned number of a width in bytes; there is none of any other width.
template <unsigned width>
struct UnsignedOf;
template <>
struct UnsignedOf<1> {
  using Type = std::uint8_t;
};
template <>
struct UnsignedOf<2> {
  using Type = std::uint16_t;
};
template <>
struct UnsignedOf<4> {
  using Type = std::uint32_t;
};
template <>
struct UnsignedOf<8> {
  using Type = std::uint64_t;
};

// The bytes of a number the other way round.
template <std::unsigned_integral Unit>
constexpr Unit Reversed(Unit unit) {
  static_assert(sizeof unit <= 8);
  if constexpr (sizeof unit == 2) return __builtin_bswap16(unit);
  if constexpr (sizeof unit == 4) return __builtin_bswap32(unit);
  if constexpr (sizeof unit == 8) return __builtin_bswap64(unit);
  return unit;
}

// `reversed` says that it lies the other way round than the host has its numbers.
template <std::unsigned_integral Unit>
inline Unit ReadUnit(const void* at, bool reversed = false) {
  Unit unit;
  std::memcpy(&unit, at, sizeof unit);
  return reversed ? Reversed(unit) : unit;
}

}  // namespace kv
