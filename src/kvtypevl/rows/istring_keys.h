// The sort keys of KvIString and KvCaseIString:
//
//   empty   00
//   else    01, the weights (none is 00), 00
//
// A comparison stops at 65,535 weights, and so does a key.
#pragma once

#include "kvistring.h"
#include "kvtypevl/operations/sort_key.h"

namespace kv {

template <class Weights>
struct WeightedKeys {
  static o_u8b Bound(o_u8b bytes, unsigned count);
  static int Check(const KeyedRun& run, o_u8b& bytes);
  static o_u8b Measure(const KeyedRun& run);
  static std::size_t Write(const KeyedRun& run, unsigned char* keys, std::size_t* offsets);
  static int Read(KeySource& source, const KvSortKeyKind& kind, bool nullsHigh, void* value);
  // The leading part of the key of one text: without its end, or whole.
  static std::size_t WriteBeginning(const KeyedRun& run, unsigned char* key);
  static std::size_t WriteWhole(const KeyedRun& run, unsigned char* key) {
    return Write(run, key, nullptr);
  }

  static constexpr SortKeyHandlers kHandlers{0,     Bound, Check,          Measure,
                                             Write, Read,  WriteBeginning, WriteWhole};
};

extern template struct WeightedKeys<KvIStringWeights>;
extern template struct WeightedKeys<KvCaseIStringWeights>;

}  // namespace kv
