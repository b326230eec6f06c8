// Between the values of the date and time classes and the record that is printed and scanned: one
// pair of functions a class, and over them the text of any class.
#include "kvdate/parts.h"

#include <algorithm>
#include <cmath>

#include "kvdate/odmg.h"
#include "kvstring/null_text.h"
#include "kvtext/number_text.h"

namespace kv {
namespace {

void PutDate(DateTimeParts& parts, const KvDate& date) {
  parts.year = date.year;
  parts.month = date.month;
  parts.day = date.day;
}

void PutTime(DateTimeParts& parts, const KvTime& time) {
  parts.hour = time.hour;
  parts.minute = time.minute;
  parts.second = time.second;
}

// The bytes of the ODMG classes are unsigned numbers; 255 is the wildcard.
void PutDate(DateTimeParts& parts, const d_Date& date) {
  parts.year = date.year;
  parts.month = static_cast<char>(date.month);
  parts.day = static_cast<char>(date.day);
  parts.weekdayRule = WeekdayRule::kByCount;
}

constexpr int kNanosecondsOfHundredth = 10000000;

void PutTime(DateTimeParts& parts, const d_Time& time) {
  const Clock clock = ClockOf(time);
  parts.hour = clock.hour;
  parts.minute = clock.minute;
  parts.second = static_cast<char>(time.second);
  // Only 0 to 99 can be said in nanoseconds.
  parts.nanosecond =
      time.hundredth == 255 ? -1 : std::min<int>(time.hundredth, 99) * kNanosecondsOfHundredth;
}

// Nearly all components fit as they are, which one comparison tells of several.
constexpr bool FitBytes(int components) {
  return (components & ~127) == 0;
}

// Field by field: values made aside and copied would wait for their bytes to be written.
void TakeDate(KvDate& date, const DateTimeParts& parts) {
  const bool fit = FitBytes(parts.month | parts.day);
  date.year = YearField(parts.year);
  date.month = fit ? static_cast<char>(parts.month) : ByteField(parts.month);
  date.day = fit ? static_cast<char>(parts.day) : ByteField(parts.day);
}

void TakeTime(KvTime& time, const DateTimeParts& parts) {
  const bool fit = FitBytes(parts.hour | parts.minute | parts.second);
  time.hour = fit ? static_cast<char>(parts.hour) : ByteField(parts.hour);
  time.minute = fit ? static_cast<char>(parts.minute) : ByteField(parts.minute);
  time.second = fit ? static_cast<char>(parts.second) : ByteField(parts.second);
}

// What a class has of the components.

DateTimeParts PartsOf(const KvDate& date) {
  DateTimeParts parts;
  PutDate(parts, date);
  return parts;
}

DateTimeParts PartsOf(const KvTime& time) {
  DateTimeParts parts;
  PutTime(parts, time);
  return parts;
}

DateTimeParts PartsOf(const KvDateTime& dateTime) {
  DateTimeParts parts;
  PutDate(parts, dateTime.date);
  PutTime(parts, dateTime.time);
  return parts;
}

DateTimeParts PartsOf(const KvDateTimeN& dateTime) {
  DateTimeParts parts;
  PutDate(parts, dateTime.date);
  PutTime(parts, dateTime.time);
  parts.nanosecond = dateTime.nanosecond;
  return parts;
}

DateTimeParts PartsOf(const KvTimeSpan& span) {
  DateTimeParts parts;
  PutDate(parts, span.date);
  PutTime(parts, span.time);
  parts.nanosecond = span.nanosecond;
  return parts;
}

DateTimeParts PartsOf(const d_Date& date) {
  DateTimeParts parts;
  PutDate(parts, date);
  return parts;
}

DateTimeParts PartsOf(const d_Time& time) {
  DateTimeParts parts;
  PutTime(parts, time);
  return parts;
}

DateTimeParts PartsOf(const d_Timestamp& timestamp) {
  DateTimeParts parts;
  PutDate(parts, timestamp.date);
  PutTime(parts, timestamp.time);
  return parts;
}

// A value from scanned components.

void SetParts(KvDate& date, const DateTimeParts& parts, DateTimeScan) {
  TakeDate(date, parts);
}

void SetParts(KvTime& time, const DateTimeParts& parts, DateTimeScan) {
  TakeTime(time, parts);
}

void SetParts(KvDateTime& dateTime, const DateTimeParts& parts, DateTimeScan) {
  TakeDate(dateTime.date, parts);
  TakeTime(dateTime.time, parts);
}

void SetParts(KvDateTimeN& dateTime, const DateTimeParts& parts, DateTimeScan) {
  TakeDate(dateTime.date, parts);
  TakeTime(dateTime.time, parts);
  dateTime.nanosecond = parts.nanosecond;
}

void SetParts(KvTimeSpan& span, const DateTimeParts& parts, DateTimeScan scan) {
  TakeDate(span.date, parts);
  if (scan.HasTotalDays()) {
    // As a number of days it may need another form, and a text may name components besides.
    const std::int64_t days = parts.day + 30 * (parts.month + std::int64_t{12} * parts.year);
    span.SetTotalDays(static_cast<int>(std::clamp<std::int64_t>(days, INT32_MIN, INT32_MAX)));
  }
  TakeTime(span.time, parts);
  span.nanosecond = parts.nanosecond;
}

void SetParts(d_Date& date, const DateTimeParts& parts, DateTimeScan) {
  KvDate plain = KvDate::ZeroValue();
  TakeDate(plain, parts);
  date = d_Date(plain);
}

void SetParts(d_Time& time, const DateTimeParts& parts, DateTimeScan) {
  time = d_Time(0, 0, 0.0f);  // in the default zone
  SetClock(time, {ByteField(parts.hour), ByteField(parts.minute)});
  time.second = static_cast<unsigned char>(ByteField(parts.second));
  time.hundredth = static_cast<unsigned char>(
      parts.nanosecond == -1 ? -1 : ByteField(parts.nanosecond / kNanosecondsOfHundredth));
}

void SetParts(d_Timestamp& timestamp, const DateTimeParts& parts, DateTimeScan scan) {
  SetParts(timestamp.date, parts, scan);
  SetParts(timestamp.time, parts, scan);
}

// Whether a value that was made of components holds them all, and as they are.

template <class T>
bool Holds(const T& value, const DateTimeParts& parts, DateTimeScan) {
  const DateTimeParts held = PartsOf(value);
  return held.year == parts.year && held.month == parts.month && held.day == parts.day &&
         held.hour == parts.hour && held.minute == parts.minute && held.second == parts.second &&
         held.nanosecond == parts.nanosecond;
}

bool Holds(const KvTimeSpan& span, DateTimeParts parts, DateTimeScan scan) {
  const DateTimeParts held = PartsOf(span);
  const auto days = [](const DateTimeParts& each) {
    return each.day + 30 * (each.month + std::int64_t{12} * each.year);
  };
  if (scan.HasTotalDays() && days(held) == days(parts)) {
    parts.year = held.year;
    parts.month = held.month;
    parts.day = held.day;
  }
  return Holds<KvTimeSpan>(span, parts, scan);
}

ScanTrace TraceOf(DateTimeScan scan, const char* text) {
  // Blanks before the next element have been passed, also where there is none.
  const char* end = scan.End();
  while (scan.IsComplete() && end != text && IsBlank(end[-1])) --end;
  return {.position = static_cast<unsigned>(end - text),
          .complete = scan.IsComplete(),
          .any = scan.HasAny()};
}

ScanTrace NullTrace() {
  return {.position = KvTypeMgr::GetNullPrintString().Len(), .complete = true, .any = true};
}

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

}  // namespace

// Both are here, where each class's pair of functions above becomes part of them.
template <class T>
KvString& PrintDateTime(KvString& out, const T& value, const char* format) {
  if constexpr (requires { value.IsNullValue(); }) {
    if (value.IsNullValue()) return PrintNull(out);
  }
  return FormatDateTime(out, PartsOf(value), format != nullptr ? format : kDateTimeFormat<T>);
}

template <class T>
int ScanDateTimeText(T& value, const KvString& in, const char* format, ScanTrace* trace) {
  const NarrowText text(in);
  if constexpr (requires { value.SetNullValue(); }) {
    if (BeginsWithNull(text.Get())) {
      if (trace != nullptr) *trace = NullTrace();
      return value.SetNullValue();
    }
  }
  DateTimeParts parts;
  if constexpr (kHasDate<T>) parts.month = parts.day = 1;
  const DateTimeScan scan =
      ScanDateTime(parts, text.Get(), text.End(), format != nullptr ? format : kDateTimeFormat<T>);
  if (scan.HasAny()) SetParts(value, parts, scan);
  if (trace != nullptr) {
    *trace = TraceOf(scan, text.Get());
    trace->outOfRange = scan.HasAny() && (scan.IsSaturated() || !Holds(value, parts, scan));
  }
  return scan.IsComplete() ? kvOk : kvNotSupported;
}

template KvString& PrintDateTime(KvString&, const KvDate&, const char*);
template int ScanDateTimeText(KvDate&, const KvString&, const char*, ScanTrace*);
template KvString& PrintDateTime(KvString&, const KvTime&, const char*);
template int ScanDateTimeText(KvTime&, const KvString&, const char*, ScanTrace*);
template KvString& PrintDateTime(KvString&, const KvDateTime&, const char*);
template int ScanDateTimeText(KvDateTime&, const KvString&, const char*, ScanTrace*);
template KvString& PrintDateTime(KvString&, const KvDateTimeN&, const char*);
template int ScanDateTimeText(KvDateTimeN&, const KvString&, const char*, ScanTrace*);
template KvString& PrintDateTime(KvString&, const KvTimeSpan&, const char*);
template int ScanDateTimeText(KvTimeSpan&, const KvString&, const char*, ScanTrace*);
template KvString& PrintDateTime(KvString&, const d_Date&, const char*);
template int ScanDateTimeText(d_Date&, const KvString&, const char*, ScanTrace*);
template KvString& PrintDateTime(KvString&, const d_Time&, const char*);
template int ScanDateTimeText(d_Time&, const KvString&, const char*, ScanTrace*);
template KvString& PrintDateTime(KvString&, const d_Timestamp&, const char*);
template int ScanDateTimeText(d_Timestamp&, const KvString&, const char*, ScanTrace*);

// ---------------------------------------------------------------------------------------------
// d_Interval: a magnitude with a sign in front.

KvString& PrintDateTime(KvString& out, const d_Interval& interval, const char* format) {
  // The largest number of days, and no more, for what has more; NaN is 0.
  constexpr double kMost = 2147483647.0 * 86400;
  const double given = std::fabs(static_cast<double>(interval.seconds));
  const double magnitude = given < kMost ? given : given >= kMost ? kMost : 0;
  const std::int64_t whole = TruncateSaturating(magnitude);
  const int rest = static_cast<int>(whole % 86400);
  DateTimeParts parts;
  parts.day = static_cast<int>(whole / 86400);
  parts.hour = rest / 3600;
  parts.minute = rest % 3600 / 60;
  parts.second = rest % 60;
  parts.nanosecond =
      static_cast<int>(TruncateSaturating((magnitude - static_cast<double>(whole)) * 1e9));
  parts.plainHour = true;
  return FormatDateTime(out, parts, format != nullptr ? format : kDateTimeFormat<d_Interval>,
                        interval.seconds < 0 ? '-' : '\0');
}

int ScanDateTimeText(d_Interval& interval, const KvString& in, const char* format,
                     ScanTrace* trace) {
  const NarrowText narrow(in);
  const char* text = SkipBlanks(narrow.Get());
  const bool negative = *text == '-';
  if (negative) ++text;
  DateTimeParts parts;
  const DateTimeScan scan = ScanDateTime(parts, text, narrow.End(),
                                         format != nullptr ? format : kDateTimeFormat<d_Interval>);
  const double days = parts.day + 30.0 * (parts.month + 12.0 * parts.year);
  const double seconds = days * 86400 + parts.hour * 3600.0 + parts.minute * 60.0 + parts.second +
                         parts.nanosecond / 1e9;
  if (scan.HasAny()) interval.seconds = static_cast<float>(negative ? -seconds : seconds);
  if (trace != nullptr) {
    *trace = TraceOf(scan, narrow.Get());
    trace->outOfRange = scan.IsSaturated();
  }
  return scan.IsComplete() ? kvOk : kvNotSupported;
}

}  // namespace kv
