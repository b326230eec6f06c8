// Between the values of the date and time classes and the record that is printed and scanned: one
// pair of functions a class, and over them the text of any class.
#pragma once

#include "kvdate.h"
#include "kvdate/datetime_text.h"
#include "kvdatime.h"
#include "kvodmg.h"
#include "kvtypevl/null_text.h"

namespace kv {

// The default print formats of the rows.
template <class T>
inline constexpr const char* kDateTimeFormat = nullptr;
template <>
inline constexpr const char* kDateTimeFormat<KvDate> = "%a %e.%b %Y";
template <>
inline constexpr const char* kDateTimeFormat<KvTime> = "%I:%M:%S %p";
template <>
inline constexpr const char* kDateTimeFormat<KvDateTime> = "%a %e.%b %Y %I:%M:%S %p";
template <>
inline constexpr const char* kDateTimeFormat<KvDateTimeN> = "%X";
template <>
inline constexpr const char* kDateTimeFormat<KvTimeSpan> = "%V";
template <>
inline constexpr const char* kDateTimeFormat<d_Date> = "%a %b %e";
template <>
inline constexpr const char* kDateTimeFormat<d_Time> = "%I:%M:%S %p";
template <>
inline constexpr const char* kDateTimeFormat<d_Timestamp> = "%a %b %e %I:%M:%S %p";
template <>
inline constexpr const char* kDateTimeFormat<d_Interval> =
    "%e days, %I hours, %M minutes, %S seconds";

// What a class has of the components.
DateTimeParts PartsOf(const KvDate& date);
DateTimeParts PartsOf(const KvTime& time);
DateTimeParts PartsOf(const KvDateTime& dateTime);
DateTimeParts PartsOf(const KvDateTimeN& dateTime);
DateTimeParts PartsOf(const KvTimeSpan& span);
DateTimeParts PartsOf(const d_Date& date);
DateTimeParts PartsOf(const d_Time& time);
DateTimeParts PartsOf(const d_Timestamp& timestamp);

// A value from scanned components.
void SetParts(KvDate& date, const DateTimeParts& parts, DateTimeScan scan);
void SetParts(KvTime& time, const DateTimeParts& parts, DateTimeScan scan);
void SetParts(KvDateTime& dateTime, const DateTimeParts& parts, DateTimeScan scan);
void SetParts(KvDateTimeN& dateTime, const DateTimeParts& parts, DateTimeScan scan);
void SetParts(KvTimeSpan& span, const DateTimeParts& parts, DateTimeScan scan);
void SetParts(d_Date& date, const DateTimeParts& parts, DateTimeScan scan);
void SetParts(d_Time& time, const DateTimeParts& parts, DateTimeScan scan);
void SetParts(d_Timestamp& timestamp, const DateTimeParts& parts, DateTimeScan scan);

// Classes whose components begin with a date of the calendar.
template <class T>
inline constexpr bool kHasDate = false;
template <>
inline constexpr bool kHasDate<KvDate> = true;
template <>
inline constexpr bool kHasDate<KvDateTime> = true;
template <>
inline constexpr bool kHasDate<KvDateTimeN> = true;
template <>
inline constexpr bool kHasDate<d_Date> = true;
template <>
inline constexpr bool kHasDate<d_Timestamp> = true;

// The zero value: what the components that a text does not give are taken from.
template <class T>
T ZeroOf() {
  return T::ZeroValue();
}
template <>
inline d_Date ZeroOf<d_Date>() {
  return d_Date(0, 1, 1);
}
template <>
inline d_Time ZeroOf<d_Time>() {
  return d_Time(0, 0, 0.0f);
}
template <>
inline d_Timestamp ZeroOf<d_Timestamp>() {
  return d_Timestamp(0, 1, 1);
}
template <>
inline d_Interval ZeroOf<d_Interval>() {
  return d_Interval();
}

template <class T>
KvString& PrintDateTime(KvString& out, const T& value, const char* format) {
  if constexpr (requires { value.IsNullValue(); }) {
    if (value.IsNullValue()) return PrintNull(out);
  }
  return FormatDateTime(out, PartsOf(value), format != nullptr ? format : kDateTimeFormat<T>);
}
KvString& PrintDateTime(KvString& out, const d_Interval& interval, const char* format);

// Result: 0, or kvNotSupported when text and format do not match.
template <class T>
int ScanDateTimeText(T& value, const KvString& in, const char* format) {
  const NarrowText text(in);
  if constexpr (requires { value.SetNullValue(); }) {
    if (BeginsWithNull(text.Get())) return value.SetNullValue();
  }
  DateTimeParts parts;
  if constexpr (kHasDate<T>) parts.month = parts.day = 1;
  const DateTimeScan scan =
      ScanDateTime(parts, text.Get(), text.End(), format != nullptr ? format : kDateTimeFormat<T>);
  if (scan.HasAny()) SetParts(value, parts, scan);
  return scan.IsComplete() ? kvOk : kvNotSupported;
}
int ScanDateTimeText(d_Interval& interval, const KvString& in, const char* format);

}  // namespace kv
