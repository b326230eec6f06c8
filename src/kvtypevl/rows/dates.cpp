// The rows of the date and time types: orders, hash keys, positions, steps, and their text.
//
// Stored layouts; nothing stands between the fields, and only year and nanosecond mind the byte
// order:
//
//   KvDate        year 2   month 1   day 1
//   KvTime        hour 1   minute 1   second 1
//   KvDateTime    KvDate, KvTime                      7 bytes, 8 in memory
//   KvDateTimeN   KvDate, KvTime, nanosecond 4       11 bytes, 12 in memory; KvTimeSpan too
//   d_Date        year 2   month 1   day 1
//   d_Time        tzHour, tzMinute, hour, minute, second, hundredth   1 each
//   d_Timestamp   d_Date, d_Time
//   d_Interval    seconds 4
//
// Hash indexes hold the keys: they never change.
#include "kvtypevl/rows/dates.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstring>

#include "kvdate/odmg.h"
#include "kvdate/parts.h"
#include "kvdate/real.h"
#include "kvtypevl/operations/row_handlers.h"

namespace kv {
namespace {

// The year that matches anything in the second of two stored dates. The first stored comparison of
// the process turns it from 65534 into 65535 for good, which is how a stored -1 reads; so stored
// comparisons never see the earlier number. Other code may look at it, so it is kept.
std::atomic<unsigned short> anyYear{65534};

unsigned short AnyStoredYear() {
  if (anyYear.load(std::memory_order_relaxed) == 65534) {
    anyYear.store(65535, std::memory_order_relaxed);
  }
  return anyYear.load(std::memory_order_relaxed);
}

// Stored components order as numbers; what is -1 in the second operand matches anything. In memory
// a wildcard on either side does.
int OrderStoredDates(const KvDate& a, const KvDate& b, unsigned short cmpOp) {
  const unsigned short any = AnyStoredYear();
  const bool strict = (cmpOp & kStrictCompare) != 0;
  if (a.year != b.year && (strict || static_cast<unsigned short>(b.year) != any)) {
    return ThreeWay(a.year, b.year);
  }
  const ComponentOrder order = OrderStored(cmpOp);
  const int result = order(a.month, b.month, -1);
  return result != 0 ? result : order(a.day, b.day, -1);
}

int OrderStoredTimes(const KvTime& a, const KvTime& b, unsigned short cmpOp) {
  const ComponentOrder order = OrderStored(cmpOp);
  int result = order(a.hour, b.hour, -1);
  if (result == 0) result = order(a.minute, b.minute, -1);
  return result != 0 ? result : order(a.second, b.second, -1);
}

// Of any two values with a date and a time.
template <class T>
int OrderStoredDateTimes(const T& a, const T& b, unsigned short cmpOp) {
  const int result = OrderStoredDates(a.date, b.date, cmpOp);
  return result != 0 ? result : OrderStoredTimes(a.time, b.time, cmpOp);
}

constexpr double kSecondsOfDay = 86400;

template <class T>
bool IsRealOrNull(const T& value) {
  if constexpr (requires { value.IsNullValue(); }) {
    if (value.IsNullValue()) return true;
  }
  if constexpr (requires { IsReal(value); }) return IsReal(value);
  return true;
}

// Text and conversions of a row, all of them through the class's own.
template <class T>
struct DateTimeTextRow {
  static constexpr const char* kFormat = kDateTimeFormat<T>;

  static KvString& Print(KvString& out, void* values, const char* format, unsigned) {
    return PrintDateTime(out, *static_cast<const T*>(values), format);
  }
  static void* Scan(void* values, KvString& text, const char* format, unsigned) {
    if (values != nullptr) ScanDateTimeText(*static_cast<T*>(values), text, format);
    return values;
  }
  // What a calendar or a clock does not have is read, and told.
  static void Trace(T& value, const KvString& text, const char* format, ScanTrace& trace) {
    ScanDateTimeText(value, text, format, &trace);
    if (trace.complete && !IsRealOrNull(value)) trace.outOfRange = true;
  }
  // A text from which nothing can be read is the zero value.
  static void FromText(T& value, const KvString& text) {
    value = ZeroOf<T>();
    ScanDateTimeText(value, text, kFormat);
  }
};

template <class T>
struct KvDateTimeTextRow : DateTimeTextRow<T> {
  static bool IsNull(const T& value) { return value.IsNullValue(); }
  static int SetNull(T& value) { return value.SetNullValue(); }
  static T Default() { return T::DefaultValue(); }
};

// ---------------------------------------------------------------------------------------------
// Hash keys: components as digits of base 256, several numbers mixed by a prime.

constexpr unsigned kMix = 16777619;

constexpr unsigned Digits(int high, int middle, int low) {
  return (static_cast<unsigned>(high) * 256 + static_cast<unsigned>(middle)) * 256 +
         static_cast<unsigned>(low);
}
unsigned KeyOf(const KvDate& date) {
  return Digits(date.year, date.month, date.day);
}
unsigned KeyOf(const KvTime& time) {
  return Digits(time.hour, time.minute, time.second);
}
unsigned KeyOf(const d_Date& date) {
  return Digits(date.year, date.month, date.day);
}
unsigned KeyOf(const d_Time& time) {
  return Digits(0, time.tzHour, time.tzMinute) * kMix +
         Digits(time.hour, time.minute, time.second) * 256 + time.hundredth;
}

// ---------------------------------------------------------------------------------------------
// Steps. Values that the calendar or the clock does not have, nulls and wildcards among them, have
// no successor.

// The day after, field by field: day numbers are not one to one in the earliest years.
int StepDay(KvDate& date) {
  if (date.month < 1 || date.month > 12 || date.day < 1) return kvNotSupported;
  const int last = DaysInMonth(date.year, date.month);
  if (date.day > last) return kvNotSupported;
  if (date.day < last) return ++date.day, kvOk;
  if (date.month < 12) return date = KvDate(date.year, ++date.month, 1), kvOk;
  if (date.year == 32767) return kvOverflow;
  return date = KvDate(++date.year, 1, 1), kvOk;
}

int StepDay(d_Date& date) {
  if (date.day < 1 || date.day > date.days_in_month()) return kvNotSupported;
  // The calendar went on with the 15th.
  if (date == d_Date(1582, 10, 4)) date.day = 14;
  if (date.day < date.days_in_month()) return ++date.day, kvOk;
  if (date.month < 12) return date = d_Date(date.year, ++date.month, 1), kvOk;
  if (date.year == 32767) return kvOverflow;
  return date = d_Date(++date.year, 1, 1), kvOk;
}

int StepSecond(KvTime& time) {
  if (!time.IsTime()) return kvNotSupported;
  if (time == KvTime(23, 59, 59)) return kvOverflow;
  ++time;
  return kvOk;
}

int StepSecond(d_Time& time) {
  const Clock clock = ClockOf(time);
  if (clock.hour < 0 || clock.minute < 0 || time.second > 59) return kvNotSupported;
  if (time.second < 59) return ++time.second, kvOk;
  // The clock goes in the order of its bytes: a zone west of Greenwich makes the first hours of the
  // day negative, which as bytes come last.
  const auto first = [](unsigned char zone, int base) {
    return Modulo(std::max(-SignedByte(zone), 0), base);
  };
  const int firstHour = first(time.tzHour, 24);
  const int firstMinute = first(time.tzMinute, 60);
  Clock next{clock.hour, (clock.minute + 1) % 60};
  if (next.minute == firstMinute) next.hour = (next.hour + 1) % 24;
  if (next.minute == firstMinute && next.hour == firstHour) return kvOverflow;
  d_Time later = time;
  SetClock(later, next);
  later.second = 0;
  // Hours that no clock has may stand anywhere.
  if (OrderOdmg(later, time, kStrictOrder) <= 0) return kvNotSupported;
  time = later;
  return kvOk;
}

// The next second of a date and a time: behind the last of a day comes the first of the next.
template <class Date, class Time>
int StepSecond(Date& date, Time& time, const Time& firstOfDay) {
  Date sameDay = date;
  const int dayStatus = StepDay(sameDay);
  if (dayStatus == kvNotSupported) return kvNotSupported;
  const int status = StepSecond(time);
  if (status != kvOverflow) return status;
  if (dayStatus != kvOk) return dayStatus;
  date = sameDay;
  time = firstOfDay;
  return kvOk;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Rows.

// The members in stored order
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

struct DateRow : KvDateTimeTextRow<KvDate> {
  using Codec = DateCodec;
  using SortKey = NullInside<MemberKey<Codec>>;
  static int Order(const KvDate& a, const KvDate& b, unsigned short cmpOp) {
    return ThreeWay(a.Compare(b, cmpOp), 0);
  }
  static int OrderStored(const KvDate& a, const KvDate& b, unsigned short cmpOp) {
    return OrderStoredDates(a, b, cmpOp);
  }
  static unsigned Key(const KvDate& date) { return KeyOf(date); }
  static double Position(const KvDate& date) { return date.dayabs(); }
  static int Successor(KvDate& date) { return StepDay(date); }
  static KvDate Smallest() { return {-32768, 1, 1}; }
};

struct TimeRow : KvDateTimeTextRow<KvTime> {
  using Codec = TimeCodec;
  using SortKey = NullInside<MemberKey<Codec>>;
  static int Order(const KvTime& a, const KvTime& b, unsigned short cmpOp) {
    return ThreeWay(a.Compare(b, cmpOp), 0);
  }
  static int OrderStored(const KvTime& a, const KvTime& b, unsigned short cmpOp) {
    return OrderStoredTimes(a, b, cmpOp);
  }
  static unsigned Key(const KvTime& time) { return KeyOf(time); }
  static double Position(const KvTime& time) { return int{time}; }
  static int Successor(KvTime& time) { return StepSecond(time); }
  static KvTime Smallest() { return {0, 0, 0}; }
};

struct DateTimeRow : KvDateTimeTextRow<KvDateTime> {
  using Codec = DateTimeCodec;
  using SortKey = NullInside<MemberKey<Codec>>;
  static int Order(const KvDateTime& a, const KvDateTime& b, unsigned short cmpOp) {
    return ThreeWay(a.Compare(b, cmpOp), 0);
  }
  static int OrderStored(const KvDateTime& a, const KvDateTime& b, unsigned short cmpOp) {
    return OrderStoredDateTimes(a, b, cmpOp);
  }
  static unsigned Key(const KvDateTime& value) {
    return KeyOf(value.date) * kMix + KeyOf(value.time);
  }
  static double Position(const KvDateTime& value) {
    return value.date.dayabs() * kSecondsOfDay + int{value.time};
  }
  static int Successor(KvDateTime& value) {
    return StepSecond(value.date, value.time, KvTime(0, 0, 0));
  }
  static KvDateTime Smallest() { return KvDateTime(DateRow::Smallest(), TimeRow::Smallest()); }
};

// KvDateTimeN and KvTimeSpan look alike.
template <class T>
struct NanosecondRow : KvDateTimeTextRow<T> {
  using Codec = NanosecondCodec<T>;
  // Their null has nanoseconds of 0, and those of a neighbour may be negative.
  using SortKey = NullInside<MemberKey<Codec>, 0x80000000>;
  static int Order(const T& a, const T& b, unsigned short cmpOp) {
    return ThreeWay(a.Compare(b, cmpOp), 0);
  }
  static int OrderStored(const T& a, const T& b, unsigned short cmpOp) {
    const int result = OrderStoredDateTimes(a, b, cmpOp);
    return result != 0 ? result : kv::OrderStored(cmpOp)(a.nanosecond, b.nanosecond, -1);
  }
  static unsigned Key(const T& value) {
    return (KeyOf(value.date) * kMix + KeyOf(value.time)) * kMix +
           static_cast<unsigned>(value.nanosecond);
  }
  static double Position(const T& value) { return static_cast<double>(value.GetTotalSeconds()); }
};

struct DateTimeNRow : NanosecondRow<KvDateTimeN> {
  static int Successor(KvDateTimeN& value) {
    if (!value.IsValidDateTime() || value.nanosecond < 0 || value.nanosecond > 999999999) {
      return kvNotSupported;
    }
    if (value.nanosecond < 999999999) return ++value.nanosecond, kvOk;
    const int status = StepSecond(value.date, value.time, KvTime(0, 0, 0));
    if (status == kvOk) value.nanosecond = 0;
    return status;
  }
  static KvDateTimeN Smallest() { return KvDateTimeN(DateTimeRow::Smallest()); }
};

struct TimeSpanRow : NanosecondRow<KvTimeSpan> {
  // The years of a span stop at their end: what does not come out one nanosecond longer is there.
  // An addition brings components into their range, and what was out of it may then order before.
  static int Successor(KvTimeSpan& span) {
    if (span.IsNullValue()) return kvNotSupported;
    if (span.nanosecond >= 0 && span.nanosecond < 999999999) return ++span.nanosecond, kvOk;
    KvTimeSpan longer = span;
    longer.AddNanoSeconds(1);
    const o_8b expected = WrappingMultiplyAdd(span.GetTotalNanoSeconds(), 1, 1);
    if (longer.GetTotalNanoSeconds() != expected) return kvOverflow;
    if (longer.Compare(span, kStrictCompare) <= 0) return kvNotSupported;
    span = longer;
    return kvOk;
  }
  static KvTimeSpan Smallest() {
    KvTimeSpan span;
    span.SetYears(-32768);
    return span;
  }
};

struct OdmgDateRow : DateTimeTextRow<d_Date> {
  using Codec = OdmgDateCodec;
  static int Order(const d_Date& a, const d_Date& b, unsigned short cmpOp) {
    return OrderOdmg(a, b, OrderInMemory(cmpOp));
  }
  static int OrderStored(const d_Date& a, const d_Date& b, unsigned short cmpOp) {
    return OrderOdmg(a, b, kv::OrderStored(cmpOp));
  }
  static unsigned Key(const d_Date& date) { return KeyOf(date); }
  static double Position(const d_Date& date) {
    return CountOfDate(date.year, date.month, date.day);
  }
  static int Successor(d_Date& date) { return StepDay(date); }
  static d_Date Smallest() { return d_Date(-32768, 1, 1); }
};

struct OdmgTimeRow : DateTimeTextRow<d_Time> {
  using Codec = OdmgTimeCodec;
  static int Order(const d_Time& a, const d_Time& b, unsigned short cmpOp) {
    return OrderOdmg(a, b, OrderInMemory(cmpOp));
  }
  static int OrderStored(const d_Time& a, const d_Time& b, unsigned short cmpOp) {
    return OrderOdmg(a, b, kv::OrderStored(cmpOp));
  }
  static unsigned Key(const d_Time& time) { return KeyOf(time); }
  // Where a shifted component stands in the order of its bytes, 0 for the first of a day or an
  // hour. Those that a zone west of Greenwich makes negative come last.
  static int Place(unsigned char component, unsigned char zone, int base) {
    const int shifted = SignedByte(component);
    return shifted < 0 ? shifted + base : shifted - std::max(SignedByte(zone), 0);
  }
  static double Seconds(const d_Time& time) {
    return (Place(time.hour, time.tzHour, 24) * 60 + Place(time.minute, time.tzMinute, 60)) * 60 +
           time.second;
  }
  // Times order by their zone first: each zone is a day of its own.
  static double Position(const d_Time& time) {
    return (time.tzHour * 256 + time.tzMinute) * kSecondsOfDay + Seconds(time);
  }
  static int Successor(d_Time& time) { return StepSecond(time); }
  static d_Time Smallest() { return d_Time(0, 0, 0.0f, 0, 0); }
};

struct OdmgTimestampRow : DateTimeTextRow<d_Timestamp> {
  using Codec = OdmgTimestampCodec;
  static int Order(const d_Timestamp& a, const d_Timestamp& b, unsigned short cmpOp) {
    return OrderOdmg(a, b, OrderInMemory(cmpOp));
  }
  static int OrderStored(const d_Timestamp& a, const d_Timestamp& b, unsigned short cmpOp) {
    return OrderOdmg(a, b, kv::OrderStored(cmpOp));
  }
  static unsigned Key(const d_Timestamp& value) {
    return KeyOf(value.date) * kMix + KeyOf(value.time);
  }
  static double Position(const d_Timestamp& value) {
    return OdmgDateRow::Position(value.date) * kSecondsOfDay + OdmgTimeRow::Seconds(value.time);
  }
  static int Successor(d_Timestamp& value) {
    d_Time first = value.time;
    first.hour = static_cast<unsigned char>(std::max(SignedByte(first.tzHour), 0));
    first.minute = static_cast<unsigned char>(std::max(SignedByte(first.tzMinute), 0));
    first.second = 0;
    return StepSecond(value.date, value.time, first);
  }
  static d_Timestamp Smallest() {
    return d_Timestamp(OdmgDateRow::Smallest(), OdmgTimeRow::Smallest());
  }
};

struct IntervalRow : DateTimeTextRow<d_Interval> {
  using Codec = IntervalCodec;
  static constexpr KvHashFunc Hash = RowHandlers<FloatRow>::Hash;
  static constexpr KvEvalFunc Evaluate = RowHandlers<FloatRow>::EvalAndBound;
};

template struct RowHandlers<DateRow>;
template struct RowHandlers<TimeRow>;
template struct RowHandlers<DateTimeRow>;
template struct RowHandlers<DateTimeNRow>;
template struct RowHandlers<TimeSpanRow>;
template struct RowHandlers<OdmgDateRow>;
template struct RowHandlers<OdmgTimeRow>;
template struct RowHandlers<OdmgTimestampRow>;
template struct RowHandlers<IntervalRow>;

// ---------------------------------------------------------------------------------------------

namespace {

// A value whose memory form is the stamp's, from one of its fields on.
template <class T>
int StorePartOfStamp(const KvTypeDescriptor& row, void* destination, unsigned char format,
                     const unsigned char* from) {
  T value = T::ZeroValue();
  std::memcpy(static_cast<void*>(&value), from, sizeof value);
  return static_cast<int>(row.store(destination, &value, format, 1));
}

template <class T>
int StoreValue(const KvTypeDescriptor& row, void* destination, unsigned char format,
               const T& value) {
  return static_cast<int>(row.store(destination, &value, format, 1));
}

}  // namespace

int StoreTimeStamp(const KvTypeDescriptor& row, char id, void* destination, unsigned char format,
                   const void* stamp) {
  static_assert(offsetof(KvTimeStamp, hour) == 4 && offsetof(KvTimeStamp, extraSeconds) == 8);
  const auto* bytes = static_cast<const unsigned char*>(stamp);
  KvTimeStamp point;
  std::memcpy(&point, bytes, sizeof point);
  const d_Date date(point.year, static_cast<unsigned char>(point.month),
                    static_cast<unsigned char>(point.day));
  const float seconds = static_cast<float>(point.second) + static_cast<float>(point.extraSeconds);
  const d_Time time(static_cast<unsigned char>(point.hour),
                    static_cast<unsigned char>(point.minute), seconds);
  switch (id) {
    case KvDATE_T:
      return StorePartOfStamp<KvDate>(row, destination, format, bytes);
    case KvTIME_T:
      return StorePartOfStamp<KvTime>(row, destination, format,
                                      bytes + offsetof(KvTimeStamp, hour));
    case KvDATIME_T:
      return StorePartOfStamp<KvDateTime>(row, destination, format, bytes);
    case KvDATIME_N_T:
      return StorePartOfStamp<KvDateTimeN>(row, destination, format, bytes);
    case D_DATE_T:
      return StoreValue(row, destination, format, date);
    case D_TIME_T:
      return StoreValue(row, destination, format, time);
    case D_TIMESTAMP_T:
      return StoreValue(row, destination, format, d_Timestamp(date, time));
    default:
      return kvNotSupported;
  }
}

}  // namespace kv

// ---------------------------------------------------------------------------------------------

unsigned short KvDate::AnyYear() {
  return kv::anyYear.load(std::memory_order_relaxed);
}

int KvDateCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                  void* value2, unsigned short cmpOp, unsigned count, int& status) {
  return kv::CompareRun<kv::DateRow>(format, length1, value1, length2, value2, cmpOp, count,
                                     status);
}

int KvTimeCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                  void* value2, unsigned short cmpOp, unsigned count, int& status) {
  return kv::CompareRun<kv::TimeRow>(format, length1, value1, length2, value2, cmpOp, count,
                                     status);
}

int d_DateCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                  void* value2, unsigned short cmpOp, unsigned count, int& status) {
  return kv::CompareRun<kv::OdmgDateRow>(format, length1, value1, length2, value2, cmpOp, count,
                                         status);
}

int d_TimeCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                  void* value2, unsigned short cmpOp, unsigned count, int& status) {
  return kv::CompareRun<kv::OdmgTimeRow>(format, length1, value1, length2, value2, cmpOp, count,
                                         status);
}

int d_TimestampCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                       void* value2, unsigned short cmpOp, unsigned count, int& status) {
  return kv::CompareRun<kv::OdmgTimestampRow>(format, length1, value1, length2, value2, cmpOp,
                                              count, status);
}
