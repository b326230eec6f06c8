// What others take of the date and time rows, whose policies are in dates.cpp: the slots of
// d_Interval, and points in time as stored values.
#pragma once

#include "kvcompare.h"
#include "kvdatime.h"
#include "kvodmg.h"
#include "kvtypevl/operations/row.h"
#include "kvtypevl/rows/scalars.h"

namespace kv {

struct IntervalRow;

// d_Interval shares with o_float all but its lifetime, its storage and its text.
constexpr RowSlots IntervalSlots() {
  constexpr RowSlots number = ScalarSlots<FloatRow>(FloatCompare);
  RowSlots slots = RowHandlers<IntervalRow>::Slots(Nulls::kNo);
  slots.nullSize = number.nullSize;
  slots.size = number.size;
  slots.memFileSize = number.memFileSize;
  slots.compare = number.compare;
  slots.evalAndBound = number.evalAndBound;
  slots.hash = number.hash;
  slots.translate = number.translate;
  slots.step = number.step;
  return slots;
}

// Stores a point in time (a KvTimeStamp) as a value of the date or time type `id`, whose row is
// `row`. Result: bytes written; kvNotSupported for any other type, the destination untouched.
int StoreTimeStamp(const KvTypeDescriptor& row, char id, void* destination, unsigned char format,
                   const void* stamp);

}  // namespace kv
