// The sort keys of KvString. Not made yet: every string is refused.
#pragma once

#include "kvtypevl/operations/sort_key.h"

namespace kv {

struct StringKeys {
  static o_u8b Bound(o_u8b, unsigned) { return 0; }
  static int Check(const KeyedRun&, o_u8b&) { return kvNotSupported; }
  static o_u8b Measure(const KeyedRun&) { return 0; }
  static std::size_t Write(const KeyedRun&, unsigned char*, std::size_t*) { return 0; }
  static int Read(KeySource&, const KvSortKeyKind&, bool, void*) { return kvNotSupported; }
  static std::size_t WriteBeginning(const KeyedRun&, unsigned char*) { return 0; }

  static constexpr SortKeyHandlers kHandlers{0,     Bound, Check,          Measure,
                                             Write, Read,  WriteBeginning, WriteBeginning};
};

}  // namespace kv
