// _kvnulty.h - the template of the nullable scalar types that kvnull.h names.
//
// Memory form: the scalar, a flag byte, and padding to the scalar's alignment. An 8-byte scalar
// aligns to 8 in every ABI; KvInt64, which is two 4-byte words, to 4.
//
//   scalar of 1 byte       0 value   1 null
//   scalar of 2 bytes      0 value   2 null   3 padding
//   scalar of 4 bytes      0 value   4 null   5 to 7 padding
//   KvInt64                0 value   8 null   9 to 11 padding
//   other 8-byte scalars   0 value   8 null   9 to 15 padding
//
// Stored form: an indicator byte, 1 for null, then the scalar in its own stored form. Stored with
// the format bit 0x08 (formats 8 to 15) the scalar comes first and the indicator byte behind it,
// without padding. So comparers and hashes read formats 9 to 15.
#pragma once

#include "kvbase.h"
#include "kvint64.h"

template <class Scalar>
inline constexpr unsigned kvNullableAlignment = sizeof(Scalar);
template <>
inline constexpr unsigned kvNullableAlignment<KvInt64> = alignof(KvInt64);

// Padding is a member, and always zero, so that equal values have equal bytes wherever they come
// from: runs are then compared as bytes.
template <unsigned bytes>
struct KvNullablePadding {
  o_u1b zero[bytes] = {};
};
template <>
struct KvNullablePadding<0> {};

template <class Scalar>
class alignas(kvNullableAlignment<Scalar>) KvNullable {
 public:
  constexpr KvNullable() = default;  // null
  constexpr KvNullable(Scalar present) : value(present), null(0) {}

  constexpr int IsNullValue() const { return null != 0; }
  // Result: 0.
  constexpr int SetNullValue() {
    *this = KvNullable();
    return 0;
  }

  // Null equals null and is less than every value.
  friend constexpr bool operator==(const KvNullable& a, const KvNullable& b) {
    if (a.IsNullValue() || b.IsNullValue()) return a.IsNullValue() && b.IsNullValue();
    return a.value == b.value;
  }
  friend constexpr bool operator!=(const KvNullable& a, const KvNullable& b) { return !(a == b); }
  friend constexpr bool operator<(const KvNullable& a, const KvNullable& b) {
    if (a.IsNullValue() || b.IsNullValue()) return a.IsNullValue() && !b.IsNullValue();
    return a.value < b.value;
  }
  friend constexpr bool operator>(const KvNullable& a, const KvNullable& b) { return b < a; }

  Scalar value{};
  o_u1b null = 1;  // not 0: null
  [[no_unique_address]] KvNullablePadding<kvNullableAlignment<Scalar> - 1> padding;
};
