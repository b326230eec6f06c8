// The sort keys of KvBlob:
//
//   null   00
//   else   01, the bytes, each 00 among them written 00 FF, then 00 00
//
// So a blob that another one continues comes before it, whatever it continues with.
#pragma once

#include "kvtypevl/operations/sort_key.h"

namespace kv {

struct BlobKeys {
  static o_u8b Bound(o_u8b bytes, unsigned count);
  static int Check(const KeyedRun& run, o_u8b& bytes);
  static o_u8b Measure(const KeyedRun& run);
  static std::size_t Write(const KeyedRun& run, unsigned char* keys, std::size_t* offsets);
  static int Read(KeySource& source, const KvSortKeyKind& kind, bool nullsHigh, void* value);
  // The leading part of the key of one blob: without its end, or whole.
  static std::size_t WriteBeginning(const KeyedRun& run, unsigned char* key);
  static std::size_t WriteWhole(const KeyedRun& run, unsigned char* key) {
    return Write(run, key, nullptr);
  }

  static constexpr SortKeyHandlers kHandlers{0,     Bound, Check,          Measure,
                                             Write, Read,  WriteBeginning, WriteWhole};
};

}  // namespace kv
