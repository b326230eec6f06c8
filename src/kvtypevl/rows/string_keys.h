// The sort keys of KvString: 00 for null, else those of kvstring/text_key.h, or under
// kvSortKeyPlainBytes 01, the bytes, 00.
#pragma once

#include "kvtypevl/operations/sort_key.h"

namespace kv {

struct StringKeys {
  static o_u8b Bound(o_u8b bytes, unsigned count);
  static int Check(const KeyedRun& run, o_u8b& bytes);
  static o_u8b Measure(const KeyedRun& run);
  static std::size_t Write(const KeyedRun& run, unsigned char* keys, std::size_t* offsets);
  static int Read(KeySource& source, const KvSortKeyKind& kind, bool nullsHigh, void* value);
  static std::size_t WriteBeginning(const KeyedRun& run, unsigned char* key);
  static std::size_t WriteSameBase(const KeyedRun& run, unsigned char* key);

  static constexpr SortKeyHandlers kHandlers{0,     Bound, Check,          Measure,
                                             Write, Read,  WriteBeginning, WriteSameBase};
};

}  // namespace kv
