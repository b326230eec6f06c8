// KvSeal: conversions between the three words of a seal and 64-bit numbers.
#include "kvseal.h"

#include "kvint64.h"
#include "kvobjid.h"

void KvSeal::ConvertFrom(const o_8b& number) {
  low = static_cast<o_u2b>(number & 0xFFFF);
  middle = static_cast<o_u2b>((number >> 16) & 0xFFFF);
  high = static_cast<o_u2b>((number >> 32) & 0xFFFF);
}

void KvSeal::ConvertFrom(const KvInt64& number) {
  ConvertFrom(number.Get8b());
}

void KvSeal::ConvertFrom(const KvObjId& object) {
  ConvertFrom(static_cast<o_8b>(object.ObjectNumber()));
}

void KvSeal::ConvertTo(o_8b& number) const {
  number = o_8b{high} << 32 | o_8b{middle} << 16 | o_8b{low};
}

void KvSeal::ConvertTo(KvInt64& number) const {
  o_8b value;
  ConvertTo(value);
  number = value;
}
