// kvboolean.h - KvBoolean: a truth value with a null state in one byte, catalogue row KvBOOLEAN_T.
//
// Memory form and stored form, 1 byte: 0 false, 255 null, anything else true (1 when made here).
//
//   KvBoolean answer(7);      // true, stored as 1
//   answer.SetNullValue();
//   answer < KvBoolean(0);    // true: null orders before false
#pragma once

#include "kvbase.h"

class KV_EXPORT KvBoolean {
 public:
  static constexpr o_u1b kNull = 255;

  constexpr KvBoolean() = default;  // false
  constexpr KvBoolean(int truth) : value(truth != 0 ? 1 : 0) {}
  constexpr KvBoolean& operator=(int truth) { return *this = KvBoolean(truth); }

  constexpr int IsNullValue() const { return value == kNull; }
  // Result: 0.
  constexpr int SetNullValue() {
    value = kNull;
    return 0;
  }

  // Null equals only null; two other values are equal when both are true or both are false.
  friend constexpr bool operator==(const KvBoolean& a, const KvBoolean& b) {
    if (a.IsNullValue() || b.IsNullValue()) return a.value == b.value;
    return (a.value != 0) == (b.value != 0);
  }
  friend constexpr bool operator!=(const KvBoolean& a, const KvBoolean& b) { return !(a == b); }
  // Null is less than every other value. Two others order by their bytes, read as signed, so that
  // two true values may be equal and still order: indexes keep such bytes apart.
  friend constexpr bool operator<(const KvBoolean& a, const KvBoolean& b) {
    if (a.IsNullValue() || b.IsNullValue()) return a.IsNullValue() && !b.IsNullValue();
    return static_cast<char>(a.value) < static_cast<char>(b.value);
  }
  friend constexpr bool operator>(const KvBoolean& a, const KvBoolean& b) { return b < a; }

  o_u1b value = 0;
};

static_assert(sizeof(KvBoolean) == 1);
