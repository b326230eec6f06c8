// kvseal.h - KvSeal: a 48-bit stamp in three 16-bit words, catalogue row KvSEAL_T.
//
//   memory form, 6 bytes      high, middle, low: value = high * 2^32 + middle * 2^16 + low
//   stored form, 6 bytes      the same words, each high byte first whatever the byte order asked
//                             for, so that the bytes of stored seals order as their values do
//
//   KvSeal seal;
//   seal.ConvertFrom(0x123456789ABCll);   // high 0x1234, middle 0x5678, low 0x9ABC
#pragma once

#include "kvbase.h"

class KvInt64;
class KvString;
class KvObjId;

class KV_EXPORT KvSeal {
 public:
  // The low 48 bits of a number; higher bits are dropped. Of an object id, its object number.
  void ConvertFrom(const KvInt64& number);
  void ConvertFrom(const KvObjId& object);
  void ConvertFrom(const o_8b& number);
  // The 48-bit value, never negative.
  void ConvertTo(KvInt64& number) const;
  void ConvertTo(o_8b& number) const;

  // The value in decimal, replacing what `text` holds. Result: `text`.
  KvString& PrintToKvString(KvString& text) const;
  // A decimal number; its low 48 bits are kept. An empty text gives 0. Result: 0, or
  // kvNotSupported for a text that is no number; the seal then stays as it is.
  int ScanFromKvString(const KvString& text);

  friend constexpr bool operator==(const KvSeal& a, const KvSeal& b) {
    return a.high == b.high && a.middle == b.middle && a.low == b.low;
  }
  friend constexpr bool operator!=(const KvSeal& a, const KvSeal& b) { return !(a == b); }

  o_u2b high = 0;
  o_u2b middle = 0;
  o_u2b low = 0;
};

static_assert(sizeof(KvSeal) == 6);
