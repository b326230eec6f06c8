// kvdatime.h - KvDateTime (to the second), KvDateTimeN (to the nanosecond) and KvTimeSpan (a signed
// duration); catalogue rows KvDATIME_T, KvDATIME_N_T and KvTIMESPAN_T. Formats, scanning, wildcards
// and the calendar are those of kvdate.h.
//
//   KvDateTimeN start(KvDate(1999, 12, 31), KvTime(23, 30, 0));
//   KvDateTimeN end = start;
//   end.AddHours(1);                                         // 2000-01-01 00:30:00
//   KvTimeSpan passed = KvTimeSpan::Difference(start, end);  // one hour, whichever comes first
//   KvString text;
//   end.PrintToKvString(text, "%O");                         // "2000-01-01T00:30:00"
//
// Memory form; stored, the fields follow each other without padding (7 and 11 bytes), the bytes of
// year and nanosecond reversed under byte-order code 2:
//
//   offset 0  date.year   2 date.month   3 date.day   4 time.hour   5 time.minute   6 time.second
//   offset 8  nanosecond, 32 bits, signed (KvDateTimeN and KvTimeSpan only)
//
// Distinguished values (null, zero, default) join those of KvDate and KvTime, with 0 nanoseconds.
// The zero KvTimeSpan has all components 0; its null and its default have the very bytes of those
// of KvDateTimeN.
#pragma once

#include "kvbase.h"
#include "kvdate.h"
#include "kvint64.h"

// ---------------------------------------------------------------------------------------------

class KV_EXPORT KvDateTime : public KvDistinguishedValues<KvDateTime> {
 public:
  // Now, local date and time.
  KvDateTime();
  constexpr KvDateTime(const KvDate& newDate) : date(newDate), time(0, 0, 0) {}
  // On the zero date, 0000-01-01.
  constexpr KvDateTime(const KvTime& newTime) : date(0, 1, 1), time(newTime) {}
  constexpr KvDateTime(const KvDate& newDate, const KvTime& newTime)
      : date(newDate), time(newTime) {}

  // Replaces only the time.
  constexpr KvDateTime& operator=(const KvTime& newTime) {
    time = newTime;
    return *this;
  }

  constexpr bool operator==(const KvDateTime& other) const {
    return Compare(other, kv::kStrictCompare) == 0;
  }
  constexpr bool operator!=(const KvDateTime& other) const {
    return Compare(other, kv::kStrictCompare) != 0;
  }
  // The KvDate comparison and, when that finds them equal, the KvTime comparison.
  constexpr int Compare(const KvDateTime& other, unsigned short flags = 0) const {
    const int order = date.Compare(other.date, flags);
    return order != 0 ? order : time.Compare(other.time, flags);
  }

  // Moves by seconds, through whole days and KvTime arithmetic. What KvTime does with an hour of
  // exactly -24 it does here too: 00:00:00 less 86399 seconds is 24:00:01 of the day before.
  void AddSeconds(int seconds);

  bool IsDateTime() const { return date.IsDate() && time.IsTime(); }

  KvDateTime& Now();     // local date and time
  KvDateTime& NowUTC();  // those of Greenwich
  // Shift by the present offset of local time; the date moves by one day at most. Result: 0, or
  // kvNoTimeZone, the value unchanged, when the zone is not known.
  int ToLocalTime();
  int ToUTCTime();

  static const KvDateTime& Null() { return NullValue(); }

  // A null format is "%a %e.%b %Y %I:%M:%S %p".
  KvString& PrintToKvString(KvString& out, const char* format = nullptr) const;
  int ScanFromKvString(const KvString& in, const char* format = nullptr);

  KvDate date;
  KvTime time;
};

// ---------------------------------------------------------------------------------------------
// What KvDateTimeN and KvTimeSpan do alike: additions, and totals of all components.
//
// Additions carry up: nanoseconds into seconds, and so on into days, whatever is added: adding
// nothing brings components that are out of range into it. What days do is told with the classes.
// Real numbers of seconds are cut off behind the nanoseconds; NaN counts as 0, and what is beyond
// 64 bits of nanoseconds (292 years) as the nearest that fits.

template <class Value>
class KV_EXPORT KvNanosecondValue : public KvDistinguishedValues<Value> {
 public:
  void AddDays(int days);
  void AddHours(int hours);
  void AddMinutes(int minutes);
  void AddSeconds(int seconds);
  void AddSeconds(o_8b seconds);
  // long: the 64-bit type of some hosts, which would fit none of the others exactly.
  void AddSeconds(long seconds) { AddSeconds(static_cast<o_8b>(seconds)); }
  void AddSeconds(double seconds);
  void AddNanoSeconds(int nanoseconds);
  void AddNanoSeconds(o_8b nanoseconds);
  void AddNanoSeconds(long nanoseconds) { AddNanoSeconds(static_cast<o_8b>(nanoseconds)); }

  // Totals of 64 bits wrap beyond them: nanoseconds do some 292 years from zero.
  o_8b GetTotalSeconds() const;
  o_8b GetTotalNanoSeconds() const;
  double GetTotalSeconds_f() const;

  // Make this the zero value plus a total, which may be negative: what the total of the same name
  // then gives back.
  void SetTotalDays(int days);
  void SetTotalSeconds(int seconds) { SetTotalSeconds(static_cast<o_8b>(seconds)); }
  void SetTotalSeconds(o_8b seconds);
  void SetTotalSeconds(long seconds) { SetTotalSeconds(static_cast<o_8b>(seconds)); }
  void SetTotalSeconds(double seconds);
  void SetTotalNanoSeconds(o_8b nanoseconds);
  void SetZero();

 private:
  Value& Self() { return static_cast<Value&>(*this); }
  const Value& Self() const { return static_cast<const Value&>(*this); }
};

// ---------------------------------------------------------------------------------------------
// To the nanosecond. Totals count from 0000-01-01 00:00:00, the zero value: SetTotalSeconds(-1) is
// 23:59:59 of -0001-12-31.
//
// Days that are added move the date through its day number. A date that the calendar does not have
// counts them in months of 30 days and years of 12 months, as a KvTimeSpan does. Its year stops at
// -32768 and 32767.

class KV_EXPORT KvDateTimeN : public KvNanosecondValue<KvDateTimeN> {
 public:
  // Now, local date and time.
  KvDateTimeN();
  constexpr KvDateTimeN(const KvDate& newDate) : KvDateTimeN(newDate, KvTime(0, 0, 0)) {}
  constexpr KvDateTimeN(const KvDate& newDate, const KvTime& newTime)
      : date(newDate), time(newTime), nanosecond(0) {}
  constexpr KvDateTimeN(const KvDateTime& other) : KvDateTimeN(other.date, other.time) {}
  // Year, month and day are all 0: a time without a date, which the zero date is not.
  constexpr KvDateTimeN(const KvTime& newTime) : KvDateTimeN(KvDate(0, 0, 0), newTime) {}
  // As given; nothing is checked.
  constexpr KvDateTimeN(short year, char month, char day, char hour, char minute, char second,
                        int nanoseconds)
      : date(year, month, day), time(hour, minute, second), nanosecond(nanoseconds) {}
  // Seconds from the zero value, as AddSeconds has them.
  explicit KvDateTimeN(double seconds);

  // Nanoseconds become 0.
  constexpr KvDateTimeN& operator=(const KvDateTime& other) { return *this = KvDateTimeN(other); }

  int GetTotalDays() const;

  // The KvDateTime comparison; when that is 0, -1, 0 or 1 by the nanoseconds, which match anything
  // where one is -1 and `flags` lacks bit 0x10.
  int Compare(const KvDateTimeN& other, unsigned short flags) const;

  bool IsValidDateTime() const { return date.IsDate() && time.IsTime(); }

  KvDateTimeN& Now();     // local date and time
  KvDateTimeN& NowUTC();  // those of Greenwich
  // Shift by the present offset of local time. Result: 0, or kvNoTimeZone, the value unchanged.
  int ToLocalTime();
  int ToUTCTime();

  // A null format is "%X".
  KvString& PrintToKvString(KvString& out, const char* format = nullptr) const;
  int ScanFromKvString(const KvString& in, const char* format = nullptr);

  KvDate date;
  KvTime time;
  int nanosecond;
};

// ---------------------------------------------------------------------------------------------
// A duration: date.year, date.month and date.day are numbers of years, months and days, time and
// nanosecond go with them. A month is 30 days and a year 12 months, so 360 days.
//
// Only the highest components of a negative span are negative. So -5 days are (0, 0, -5), but -35
// days are -2 months and 25 days. A second less than nothing is -1 day and 23:59:59. Years stop at
// -32768 and 32767.

class KV_EXPORT KvTimeSpan : public KvNanosecondValue<KvTimeSpan> {
 public:
  constexpr KvTimeSpan() : date(0, 0, 0), time(0, 0, 0), nanosecond(0) {}  // zero
  // Days are split into years, months and days; the others are kept as given, modulo 256; the
  // nanoseconds are kept whole.
  KvTimeSpan(int days, int hours, int minutes, int seconds, int nanoseconds);
  // As AddSeconds has them.
  explicit KvTimeSpan(double seconds);

  int GetTotalDays() const;

  // Store one component as given, modulo its width.
  void SetYears(int years) { date.year = static_cast<short>(years); }
  void SetMonths(int months) { date.month = static_cast<char>(months); }
  void SetDays(int days) { date.day = static_cast<char>(days); }
  void SetHours(int hours) { time.hour = static_cast<char>(hours); }
  void SetMinutes(int minutes) { time.minute = static_cast<char>(minutes); }
  void SetSeconds(int seconds) { time.second = static_cast<char>(seconds); }
  void SetNanoSeconds(int nanoseconds) { nanosecond = nanoseconds; }

  // As KvDateTimeN::Compare. A component of -1 matches anything here too, unless `flags` has bit
  // 0x10: use it for spans that may be negative.
  int Compare(const KvTimeSpan& other, unsigned short flags) const;

  // What lies between two points in time, never negative, whichever is the later. A null one counts
  // as the zero value.
  static KvTimeSpan Difference(const KvDateTimeN& a, const KvDateTimeN& b);

  // A null format is "%V": the total days in front of the time, "-35.12:00:00.500". What is read is
  // put into the form told above: "-35" gives -2 months and 25 days.
  KvString& PrintToKvString(KvString& out, const char* format = nullptr) const;
  int ScanFromKvString(const KvString& in, const char* format = nullptr);

  KvDate date;
  KvTime time;
  int nanosecond;
};

extern template class KvDistinguishedValues<KvDateTime>;
extern template class KvDistinguishedValues<KvDateTimeN>;
extern template class KvDistinguishedValues<KvTimeSpan>;
extern template class KvNanosecondValue<KvDateTimeN>;
extern template class KvNanosecondValue<KvTimeSpan>;

static_assert(sizeof(KvDateTime) == 8 && sizeof(KvDateTimeN) == 12 && sizeof(KvTimeSpan) == 12);

// Milliseconds since 1970-01-01 00:00:00 UTC. Result: 0.
KV_EXPORT int GetSystemTimeInMSSinceTheEpoch(KvInt64& out);
