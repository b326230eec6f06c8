// Keys of single values, as the tests of this folder look at them.
#pragma once

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "kv.h"
#include "support/values_of.h"

namespace sortkey {

using support::Bytes;
using support::Hex;
using support::Sign;
using support::Types;

inline constexpr unsigned char kForms[] = {8, 0, 2};

// The key; empty when there is none, which is a failure where keys are expected.
inline Bytes KeyOf(const KvSortKeyKind& kind, const void* value, unsigned char format = 8,
                   unsigned length = 0) {
  std::size_t size = 0;
  KvSortKey(kind, value, length, format, nullptr, 0, size);
  Bytes key(size);
  if (KvSortKey(kind, value, length, format, key.data(), size, size) != kvOk) return {};
  // With room behind it other ways are taken, to the same key.
  Bytes roomy(8 * size + 64);
  KvSortKey(kind, value, length, format, roomy.data(), roomy.size(), size);
  roomy.resize(size);
  if (roomy != key) key.clear();
  return key;
}

// -1, 0 or 1; 2 when one is the beginning of the other, which no two keys may be.
inline int Order(const Bytes& a, const Bytes& b) {
  const int order = std::memcmp(a.data(), b.data(), std::min(a.size(), b.size()));
  if (order != 0) return order < 0 ? -1 : 1;
  return a.size() == b.size() ? 0 : 2;
}

// What options make of the order of two values, of which either may be null.
inline int OrderUnder(unsigned char options, int order, const bool (&isNull)[2]) {
  const bool areLast = (options & kvSortKeyNullsLast) != 0;
  if (isNull[0] != isNull[1] && (areLast || (options & kvSortKeyNullsFirst) != 0)) {
    return isNull[0] == areLast ? 1 : -1;
  }
  return (options & kvSortKeyDescending) != 0 ? -order : order;
}

inline Bytes Complement(Bytes bytes) {
  for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(~byte);
  return bytes;
}

}  // namespace sortkey
