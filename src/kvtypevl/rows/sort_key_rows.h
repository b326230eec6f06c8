// The sort keys of every row, by type id.
#pragma once

#include "kvtypevl/operations/sort_key.h"

namespace kv {

// Null for the illegal row, whose values have no bytes to order.
const SortKeyHandlers* SortKeysOf(int row);

}  // namespace kv
