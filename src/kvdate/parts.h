// The texts of the values of all date and time classes.
#pragma once

#include "kvdate.h"
#include "kvdate/datetime_text.h"
#include "kvdatime.h"
#include "kvodmg.h"
#include "kvtext/default_formats.h"
#include "kvtext/scan_trace.h"

namespace kv {

// The default print formats of the rows.
template <class T>
inline constexpr const char* kDateTimeFormat = nullptr;
template <>
inline constexpr const char* kDateTimeFormat<KvDate> = default_format::kDate;
template <>
inline constexpr const char* kDateTimeFormat<KvTime> = default_format::kTime;
template <>
inline constexpr const char* kDateTimeFormat<KvDateTime> = default_format::kDateTime;
template <>
inline constexpr const char* kDateTimeFormat<KvDateTimeN> = default_format::kDateTimeN;
template <>
inline constexpr const char* kDateTimeFormat<KvTimeSpan> = default_format::kTimeSpan;
template <>
inline constexpr const char* kDateTimeFormat<d_Date> = default_format::kOdmgDate;
template <>
inline constexpr const char* kDateTimeFormat<d_Time> = default_format::kTime;
template <>
inline constexpr const char* kDateTimeFormat<d_Timestamp> = default_format::kOdmgTimestamp;
template <>
inline constexpr const char* kDateTimeFormat<d_Interval> = default_format::kInterval;

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

// The text of a value of any of the classes; null formats stand for the row's own.
template <class T>
KvString& PrintDateTime(KvString& out, const T& value, const char* format);
KvString& PrintDateTime(KvString& out, const d_Interval& interval, const char* format);

// A value from a text. Result: 0, or kvNotSupported when text and format do not match. A trace that
// is given takes how it went; what the value does not hold as it was read is out of range.
template <class T>
int ScanDateTimeText(T& value, const KvString& in, const char* format, ScanTrace* trace = nullptr);
int ScanDateTimeText(d_Interval& interval, const KvString& in, const char* format,
                     ScanTrace* trace = nullptr);

}  // namespace kv
