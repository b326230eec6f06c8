// The sort keys of every row, by type id.
#pragma once

#include <array>

#include "kvtypeid.h"
#include "kvtypevl/operations/sort_key.h"

namespace kv {

extern const std::array<const SortKeyHandlers*, KvRES_T> sortKeyRows;

// Null for the illegal row, whose values have no bytes to order.
inline const SortKeyHandlers* SortKeysOf(int row) {
  return static_cast<unsigned>(row) < sortKeyRows.size() ? sortKeyRows[static_cast<unsigned>(row)]
                                                         : nullptr;
}

}  // namespace kv
