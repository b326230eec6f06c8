// The two catalogues: what every type id means. Arrays of pointers to rows; the rows themselves are
// mutable process-wide data (the exchange operations), the arrays are not.
#pragma once

#include <array>

#include "kvtypeid.h"
#include "kvtypemgr.h"
#include "kvtypevl/operations/row.h"

namespace kv {

// The illegal row is the last one.
inline constexpr int kIllegalRow = KvRES_T;
inline constexpr int kRowCount = kIllegalRow + 1;
inline constexpr int kOldRowCount = 28;

// Format version 4 and above, and below 4. The two share their rows but the string row: the old one
// has its own stored form and no null.
extern const std::array<KvTypeDescriptor*, kRowCount> currentCatalogue;
extern const std::array<KvTypeDescriptor*, kOldRowCount> oldCatalogue;

// The comparer and the scan function that a row had before anybody exchanged them.
extern const std::array<KvCompareFunc, kRowCount> ownCompare;
extern const std::array<KvScanFunc, kRowCount> ownScan;

// What checked scans and sort keys go by.
extern const std::array<CheckedScanFunc, kIllegalRow> checkedScans;
extern const std::array<const SortKeyHandlers*, kIllegalRow> sortKeyRows;

// Null for the illegal row, whose values have no bytes to order.
inline const SortKeyHandlers* SortKeysOf(int row) {
  return static_cast<unsigned>(row) < sortKeyRows.size() ? sortKeyRows[static_cast<unsigned>(row)]
                                                         : nullptr;
}

// The row of a type id. Ids below 100 are their own row, also where there is none (47 to 99 and
// negative ones: callers ask IsValidType). Ids from 100 on that have no row yet are
// the illegal row: schemas of later releases load, and their unknown types answer harmlessly.
constexpr int RowOf(char id) {
  if (id < 100) return id;
  return id - 54 < kIllegalRow ? id - 54 : kIllegalRow;
}

}  // namespace kv
