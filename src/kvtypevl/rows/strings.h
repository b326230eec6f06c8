// The catalogue rows of KvString: the current one, and the old catalogue's, which
// differs in its stored form and has neither a null nor a successor.
#pragma once

#include "kvcompare.h"
#include "kvstring.h"
#include "kvtypevl/operations/row.h"

class KvString;

namespace kv {

KvString& PrintString(KvString& out, void* values, const char* format, unsigned count);
void* ScanString(void* values, KvString& text, const char* format, unsigned count);

// The row that asks. A text has its length where it is stored, also one without room for a
// terminator, so that the answers are the same.
enum class StringRowFlag : unsigned short { kCurrent = 0, kOld = 1 };

// string_bounds.cpp
float EvalAndBoundStrings(KvIdxBounds* bounds, unsigned short& predicate, void* value,
                          unsigned char format, unsigned count, KvIdxBounds* newBounds);
float EvalAndBoundOldStrings(KvIdxBounds* bounds, unsigned short& predicate, void* value,
                             unsigned char format, unsigned count, KvIdxBounds* newBounds);
struct StringRow;
struct OldStringRow;
extern template struct RowHandlers<StringRow>;
extern template struct RowHandlers<OldStringRow>;

constexpr RowSlots StringSlots() {
  return RowHandlers<StringRow>::Slots(Nulls::kYes, StringCompare);
}

// Comparing, hashing and evaluating have an entry for each row: a host tells the rows by them, and
// may exchange the comparer of one. Behind the entries stands the same core, which takes the row as
// a trailing flag and reads both stored forms for either.
constexpr RowSlots OldStringSlots() {
  using Old = RowHandlers<OldStringRow>;
  RowSlots slots = StringSlots();
  slots.store = Old::Store;
  slots.size = Old::Size;
  slots.memFileSize = Old::MemFileSize;
  slots.compare = Old::Compare;
  slots.evalAndBound = Old::EvalAndBound;
  slots.hash = Old::Hash;
  slots.translate = Old::Translate;
  slots.isNull = Old::IsNull;
  slots.setNull = nullptr;
  slots.step = Old::Step;
  return slots;
}

}  // namespace kv
