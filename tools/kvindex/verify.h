// Whether a table's records and index entries belong to each other.
#pragma once

#include <string>
#include <vector>

#include "ordered_store.h"
#include "table.h"

struct Verified {
  unsigned long long records = 0;
  unsigned long long entries = 0;
  unsigned long long faults = 0;
  unsigned long long repaired = 0;
  std::vector<std::string> reports;  // the first faults, a line each
};

// Every record decodes, its key is that of its fields and comes after the one before it in the
// order of the types; each of its entries is there; every entry is that of a record. `repair` adds
// missing entries and erases those without a record; a damaged record is only reported.
Verified Verify(engines::OrderedStore& store, const Table& table, bool repair);
