// The catalogue rows of KvIString and KvCaseIString, from one template.
//
// They are stored in the new form of KvString (kvstorage.h) with the default 8-bit code set and the
// default language; flags are not stored. Both stored forms are read, whoever wrote them.
#pragma once

#include "kvistring.h"
#include "kvtypevl/operations/row.h"

namespace kv {

template <class Weights>
struct WeightedStringRow;

template <class Weights>
constexpr KvTypeDescriptor WeightedStringSlots(KvCompareFunc compare) {
  return RowHandlers<WeightedStringRow<Weights>>::Slots(Nulls::kNo, compare);
}

}  // namespace kv
