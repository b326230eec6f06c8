// The rows of the date and time types, as the catalogue takes them. Their policies are in
// dates.cpp; the behaviour of the values is in src/kvdate.
#pragma once

#include "kvbase/codec.h"
#include "kvcompare.h"
#include "kvdatime.h"
#include "kvodmg.h"
#include "kvtypevl/operations/row.h"
#include "kvtypevl/rows/scalars.h"

namespace kv {

// The members in stored order; kvcore/inc draws them.
using DateCodec = Codec<KvDate, At<&KvDate::year>, At<&KvDate::month>, At<&KvDate::day>>;
using TimeCodec = Codec<KvTime, At<&KvTime::hour>, At<&KvTime::minute>, At<&KvTime::second>>;

// The types that have a date and a time.
template <class T, class... More>
using DateAndTimeCodec =
    Codec<T, At<&T::date, &KvDate::year>, At<&T::date, &KvDate::month>, At<&T::date, &KvDate::day>,
          At<&T::time, &KvTime::hour>, At<&T::time, &KvTime::minute>, At<&T::time, &KvTime::second>,
          More...>;
using DateTimeCodec = DateAndTimeCodec<KvDateTime>;
template <class T>
using NanosecondCodec = DateAndTimeCodec<T, At<&T::nanosecond>>;

using OdmgDateCodec = Codec<d_Date, At<&d_Date::year>, At<&d_Date::month>, At<&d_Date::day>>;
using OdmgTimeCodec = Codec<d_Time, At<&d_Time::tzHour>, At<&d_Time::tzMinute>, At<&d_Time::hour>,
                            At<&d_Time::minute>, At<&d_Time::second>, At<&d_Time::hundredth>>;
using OdmgTimestampCodec =
    Codec<d_Timestamp, At<&d_Timestamp::date, &d_Date::year>,
          At<&d_Timestamp::date, &d_Date::month>, At<&d_Timestamp::date, &d_Date::day>,
          At<&d_Timestamp::time, &d_Time::tzHour>, At<&d_Timestamp::time, &d_Time::tzMinute>,
          At<&d_Timestamp::time, &d_Time::hour>, At<&d_Timestamp::time, &d_Time::minute>,
          At<&d_Timestamp::time, &d_Time::second>, At<&d_Timestamp::time, &d_Time::hundredth>>;
using IntervalCodec = Codec<d_Interval, At<&d_Interval::seconds>>;

struct DateRow;
struct TimeRow;
struct DateTimeRow;
struct DateTimeNRow;
struct TimeSpanRow;
struct OdmgDateRow;
struct OdmgTimeRow;
struct OdmgTimestampRow;
struct IntervalRow;

constexpr KvTypeDescriptor KvDateSlots() {
  return RowHandlers<DateRow>::Slots(Nulls::kYes, KvDateCompare);
}
constexpr KvTypeDescriptor KvTimeSlots() {
  return RowHandlers<TimeRow>::Slots(Nulls::kYes, KvTimeCompare);
}
constexpr KvTypeDescriptor KvDateTimeSlots() {
  return RowHandlers<DateTimeRow>::Slots(Nulls::kYes);
}
constexpr KvTypeDescriptor KvDateTimeNSlots() {
  return RowHandlers<DateTimeNRow>::Slots(Nulls::kYes);
}
constexpr KvTypeDescriptor KvTimeSpanSlots() {
  return RowHandlers<TimeSpanRow>::Slots(Nulls::kYes);
}
constexpr KvTypeDescriptor OdmgDateSlots() {
  return RowHandlers<OdmgDateRow>::Slots(Nulls::kNo, d_DateCompare);
}
constexpr KvTypeDescriptor OdmgTimeSlots() {
  return RowHandlers<OdmgTimeRow>::Slots(Nulls::kNo, d_TimeCompare);
}
constexpr KvTypeDescriptor OdmgTimestampSlots() {
  return RowHandlers<OdmgTimestampRow>::Slots(Nulls::kNo, d_TimestampCompare);
}

// d_Interval shares with o_float all but its lifetime, its storage and its text.
constexpr KvTypeDescriptor IntervalSlots() {
  constexpr KvTypeDescriptor number = ScalarSlots<FloatRow>(FloatCompare);
  KvTypeDescriptor slots = RowHandlers<IntervalRow>::Slots(Nulls::kNo);
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
