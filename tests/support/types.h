// What nearly every test begins with: the type manager, the format of memory form, and how many
// rows there are, which the catalogue says.
#pragma once

#include "kv.h"

namespace support {

inline constexpr unsigned char kMemory = 8;

inline KvTypeMgr& Types() {
  return *DefaultTypeMgr(nullptr);
}

template <class T>
constexpr int Sign(T order) {
  return (order > 0) - (order < 0);
}

// Without the illegal row, which is the last one.
inline const char kRowCount = [] {
  char id = 0;
  while (Types().IsValidType(id) != 0) ++id;
  return static_cast<char>(id - 1);
}();

}  // namespace support
