// kvdate.h - KvDate, a calendar date, and KvTime, a time of day; catalogue rows KvDATE_T and
// KvTIME_T. Also the one format language that all date and time classes print and scan with.
//
//   KvDate day(2000, 2, 28);
//   day += 2;                                  // 2000-03-01
//   int(day) - int(KvDate(2000, 1, 1));        // 60; day - KvDate(2000, 1, 1) is the same
//   KvString text;
//   day.PrintToKvString(text, "%d.%m.%Y");     // "01.03.2000"
//   day.ScanFromKvString(text, "%d.%m.%Y");    // and back, result 0
//
// Memory form and stored form of a KvDate (4 bytes; the year's two bytes are reversed under
// byte-order code 2) and of a KvTime (3 bytes, the same in any order):
//
//   offset 0   year    16 bits, signed     offset 0   hour    8 bits, signed
//          2   month    8 bits, signed            1   minute
//          3   day                                2   second
//
// Years are astronomical (0 is the year before 1) and the calendar is the Gregorian one for all
// time. Arithmetic never fails and never validates: 31 April is counted as the day after 30 April.
// IsDate and IsTime are the only checks.
//
// Wildcards. A component of -1 matches anything when values are compared and prints as "*". It
// comes from scanning a "*". Compare option 0x10 makes it an ordinary number. When the type manager
// compares stored values only the wildcards of the second one count: the first is an index's key.
//
// Distinguished values. Each class has a null value, which orders before all others and prints as
// the type manager's null print string, a zero value and a default value:
//
//             KvDate                              KvTime
//   null      year -32768, month and day -128     all -128
//   zero      0000-01-01                          00:00:00
//   default   -4713-11-24, whose day number is 0  00:00:00
//
// ---------------------------------------------------------------------------------------------
// Formats. Everything is copied but the directives:
//
//   %d %e %m %H %M %S   day, day, month, hour, minute, second: two digits at least
//   %Y  %y              the year in four digits at least; its last two
//   %I                  the hour of a 12-hour clock. 0 is 12 where the format has a %p or %P
//                       anywhere (%%p does not count), else 0
//   %p  %P              am pm, AM PM
//   %a  %A              name of the weekday, cut to three letters; whole
//   %b  %B              name of the month, cut to three letters; whole. The first two are "Januar"
//                       and "Februar". A month that there is not prints as three digits
//   %N                  nanoseconds
//   %f                  seconds with 3, 6 or 9 digits of fraction, as many as the nanoseconds need;
//                       "00" when both are 0. Two digits stand before the point; without
//                       nanoseconds there is no point but a width of 3: "006"
//   %J                  days + 30 * (months + 12 * years)
//   %D %T               %Y-%m-%d, %H:%M:%S
//   %O %X               %Y-%m-%dT%H:%M:%S, %Y-%m-%dT%H:%M:%f
//   %V                  %J.%H:%M:%f
//   %?( ... )           an optional group: in it a directive whose components are all 0 prints
//                       nothing, and a group in which no directive printed is dropped whole
//   %%, %) and others   the character itself; a "%" that ends the format is a "%"
//
// A directive one of whose components is -1 prints "*" (%J: only when all three are). Groups may be
// nested, and the end of the format closes them. Components that a class does not have are 0.
//
// Scanning walks format and text together and skips blanks in both before each element.
//
//   - A character of the format must stand in the text too. A mismatch ends the scan.
//   - A number has a sign or none, then as many digits as there are; but when another number
//     follows without anything between (%Y%m%d), only as many as it is printed with. What does not
//     fit the component becomes the nearest number that does. %f takes all digits, points and signs
//     in a row and reads the number that they begin with.
//   - "*" makes the directive's components -1.
//   - Names need their first three letters, case matters; more are taken as far as they go. The
//     weekday is read and dropped. %y up to 30 is of this century (2000), else of the last one.
//   - %p takes two characters, the first an a or p in either case, and turns 1 to 11 pm into 13 to
//     23 and 12 am into 0.
//   - A mismatch in an optional group puts the text back to where the group began, and the scan
//     goes on behind the group. A directive in it that does not match is taken as not printed.
//
// Result of a scan: 0 when the format was walked to its end (text may be left over), kvNotSupported
// when a mismatch ended it. Components read until then are kept; those that the text did not give
// are those of the zero value. A scan that read nothing leaves the value as it was. A text that
// begins with the null print string makes the value null.
#pragma once

#include <array>
#include <cstdint>

#include "kvbase.h"
#include "kvstring.h"
#include "zbshost.h"

namespace kv {

// Year, month and day in the widths in which dates keep them.
struct CalendarDate {
  short year;
  char month;
  char day;
};

// Hour, minute and second likewise.
struct ClockTime {
  char hour;
  char minute;
  char second;
};

// The compare option that makes -1 an ordinary number.
inline constexpr unsigned short kStrictCompare = 0x10;

// The arithmetic of the members below, at the end of this header.
constexpr int CompareComponents(int a1, int a2, int a3, int b1, int b2, int b3,
                                unsigned short flags);
constexpr int DayNumber(int year, int month, int day);
constexpr CalendarDate DateOfDayNumber(int number);
constexpr int WeekdayByFormula(int year, int month, int day);
constexpr ClockTime AddToClock(ClockTime time, int seconds);
constexpr int WrappingAdd(int a, int b);
constexpr int WrappingNegate(int a);

}  // namespace kv

enum KvDaysOfTheWeek {
  kvMonday,
  kvTuesday,
  kvWednesday,
  kvThursday,
  kvFriday,
  kvSaturday,
  kvSunday
};

// The distinguished values of a class, told above. They count as equal only to themselves: -1 is an
// ordinary component here.
template <class Value>
class KV_EXPORT KvDistinguishedValues {
 public:
  static const Value& NullValue();
  static const Value& ZeroValue();
  static const Value& DefaultValue();
  static const Value& ClearValue() { return ZeroValue(); }

  bool IsNullValue() const { return Is(NullValue()); }
  bool IsZeroValue() const { return Is(ZeroValue()); }
  bool IsDefaultValue() const { return Is(DefaultValue()); }

  // Copy the constant in. Result: 0. On the constants themselves, which cannot be written, they do
  // nothing.
  int SetNullValue() { return Become(NullValue()); }
  int SetZeroValue() { return Become(ZeroValue()); }
  int SetDefaultValue() { return Become(DefaultValue()); }

 private:
  bool Is(const Value& value) const {
    return static_cast<const Value*>(this)->Compare(value, kv::kStrictCompare) == 0;
  }
  int Become(const Value& value);
};

class KV_EXPORT KvDate : public KvDistinguishedValues<KvDate> {
 public:
  // Today, local date.
  KvDate();
  // As given; nothing is checked.
  constexpr KvDate(short yearNumber, char monthNumber, char dayNumber)
      : year(yearNumber), month(monthNumber), day(dayNumber) {}
  // The date of a day number, as dateabs.
  constexpr explicit KvDate(int dayNumber) : KvDate(kv::DateOfDayNumber(dayNumber)) {}

  // The day number, as dayabs.
  constexpr operator int() const { return dayabs(); }

  // Days from -4713-11-24, which is day 0; 2000-01-01 is day 2451545. A month of 13 is the January
  // of the next year. Inverse of dateabs for the dates of the years -4799 to 32767; further back
  // the divisions truncate toward zero and dates no longer map one to one.
  constexpr int dayabs() const { return kv::DayNumber(year, month, day); }
  // Makes this the date of a day number; true dates from -68569 (-4900-03-01) on. The year is kept
  // modulo 65536. Result: this date.
  constexpr KvDate& dateabs(int dayNumber) { return *this = KvDate(dayNumber); }

  // Move by days through the day number, which wraps at 32 bits.
  constexpr KvDate operator+(int days) const { return KvDate(kv::WrappingAdd(dayabs(), days)); }
  constexpr KvDate operator-(int days) const { return *this + kv::WrappingNegate(days); }
  constexpr KvDate& operator+=(int days) { return *this = *this + days; }
  constexpr KvDate& operator-=(int days) { return *this = *this - days; }
  constexpr KvDate& operator++() { return *this += 1; }
  constexpr KvDate& operator--() { return *this -= 1; }
  // Days from `other` to this date.
  constexpr int operator-(const KvDate& other) const { return dayabs() - other.dayabs(); }

  // By year, month, day as plain numbers; wildcards mean nothing here.
  constexpr bool operator==(const KvDate& other) const { return Compare(other, kStrict) == 0; }
  constexpr bool operator!=(const KvDate& other) const { return Compare(other, kStrict) != 0; }
  constexpr bool operator<(const KvDate& other) const { return Compare(other, kStrict) < 0; }
  constexpr bool operator<=(const KvDate& other) const { return Compare(other, kStrict) <= 0; }
  constexpr bool operator>(const KvDate& other) const { return Compare(other, kStrict) > 0; }
  constexpr bool operator>=(const KvDate& other) const { return Compare(other, kStrict) >= 0; }

  // The difference of the first components that differ: negative, 0 or positive. A component that
  // is -1 on either side matches anything unless `flags` has bit 0x10.
  //   KvDate(2000, -1, 5).Compare(KvDate(2000, 7, 5), 0)      // 0
  //   KvDate(2000, -1, 5).Compare(KvDate(2000, 7, 5), 0x10)   // -8
  constexpr int Compare(const KvDate& other, unsigned short flags) const {
    return kv::CompareComponents(year, month, day, other.year, other.month, other.day, flags);
  }

  // Whether the calendar has this date.
  constexpr bool IsDate() const {
    return day >= 1 && static_cast<unsigned char>(month) - 1u < 12 && daynxtmonth() > 0;
  }
  constexpr bool IsLastDayOfTheMonth() const { return daynxtmonth() == 1; }
  // Days from this date to the first of the next month.
  constexpr int daynxtmonth() const { return kv::DayNumber(year, month + 1, 1) - dayabs(); }

  // Makes this today's local date. Result: this date.
  KvDate& Today();

  // The weekday, right from 0000-03-01 to 4600-02-28; after that the days early in a century come
  // out as Sundays, as the texts in the field have them. Both names are the same.
  constexpr KvDaysOfTheWeek GetDayOfTheDate() const {
    return static_cast<KvDaysOfTheWeek>(kv::WeekdayByFormula(year, month, day));
  }
  constexpr KvDaysOfTheWeek DayOfTheDate() const { return GetDayOfTheDate(); }
  // The English name: "Monday".
  KvString PrintDayOfTheDate() const;

  // Text, as told above. A null format is "%a %e.%b %Y". Printing replaces what `out` holds.
  KvString& PrintToKvString(KvString& out, const char* format = nullptr) const;
  int ScanFromKvString(const KvString& in, const char* format = nullptr);

  // The year that matches anything in the second operand of a comparison of stored dates. It is
  // 65534 until the first such comparison and 65535, which is how -1 reads, ever after.
  static unsigned short AnyYear();

  short year;
  char month;
  char day;

 protected:
  // Quotient and remainder of the magnitudes, negated when the signs of `a` and `b` differ; so
  // modulo(7, -3) is -1. By 0: 0.
  static int divide(int a, int b);
  static int modulo(int a, int b);

 private:
  constexpr explicit KvDate(kv::CalendarDate date) : KvDate(date.year, date.month, date.day) {}

  static constexpr unsigned short kStrict = kv::kStrictCompare;
};

class KV_EXPORT KvTime : public KvDistinguishedValues<KvTime> {
 public:
  // Now, local time of day.
  KvTime();
  // As given; nothing is checked.
  constexpr KvTime(char hourNumber, char minuteNumber, char secondNumber)
      : hour(hourNumber), minute(minuteNumber), second(secondNumber) {}
  // As SetSecondsAbs.
  constexpr explicit KvTime(int seconds)
      : hour(static_cast<char>(seconds / 3600)),
        minute(static_cast<char>(seconds % 3600 / 60)),
        second(static_cast<char>(seconds % 60)) {}

  // Seconds since midnight.
  constexpr operator int() const { return (hour * 60 + minute) * 60 + second; }
  // Splits seconds into hours, minutes and seconds. Nothing is reduced to a day: 90000 is hour 25,
  // and hours are kept modulo 256. Result: this time.
  constexpr KvTime& SetSecondsAbs(int seconds) { return *this = KvTime(seconds); }

  // Move around the clock. Components are 8-bit numbers on the way: spans of more
  // than 127 hours wrap, and an hour of exactly -24 becomes 24 (00:00:00 less a day is 24:00:00).
  constexpr KvTime operator+(int seconds) const {
    return FromParts(kv::AddToClock({hour, minute, second}, seconds));
  }
  constexpr KvTime operator-(int seconds) const { return *this + kv::WrappingNegate(seconds); }
  constexpr KvTime operator-(const KvTime& other) const { return *this - int{other}; }
  constexpr KvTime& operator+=(int seconds) { return *this = *this + seconds; }
  constexpr KvTime& operator-=(int seconds) { return *this = *this - seconds; }
  constexpr KvTime& operator++() { return *this += 1; }
  constexpr KvTime& operator--() { return *this -= 1; }

  // By hour, minute, second as plain numbers; wildcards mean nothing here.
  constexpr bool operator==(const KvTime& other) const { return Compare(other, kStrict) == 0; }
  constexpr bool operator!=(const KvTime& other) const { return Compare(other, kStrict) != 0; }
  constexpr bool operator<(const KvTime& other) const { return Compare(other, kStrict) < 0; }
  constexpr bool operator<=(const KvTime& other) const { return Compare(other, kStrict) <= 0; }
  constexpr bool operator>(const KvTime& other) const { return Compare(other, kStrict) > 0; }
  constexpr bool operator>=(const KvTime& other) const { return Compare(other, kStrict) >= 0; }

  // As KvDate::Compare.
  constexpr int Compare(const KvTime& other, unsigned short flags) const {
    return kv::CompareComponents(hour, minute, second, other.hour, other.minute, other.second,
                                 flags);
  }

  // 00:00:00 to 23:59:59.
  constexpr bool IsTime() const {
    return static_cast<unsigned char>(hour) < 24 && static_cast<unsigned char>(minute) < 60 &&
           static_cast<unsigned char>(second) < 60;
  }

  KvTime& Now();     // the local time of day
  KvTime& NowUTC();  // that of Greenwich
  // Shift by the present offset of local time, around the clock. Result: 0, or kvNoTimeZone, the
  // value unchanged, when the zone is not known.
  int ToLocalTime();
  int ToUTCTime();

  // Text, as told above. A null format is "%I:%M:%S %p". Printing replaces what `out` holds.
  KvString& PrintToKvString(KvString& out, const char* format = nullptr) const;
  int ScanFromKvString(const KvString& in, const char* format = nullptr);

  char hour;
  char minute;
  char second;

 private:
  static constexpr unsigned short kStrict = kv::kStrictCompare;
  static constexpr KvTime FromParts(kv::ClockTime time) {
    return {time.hour, time.minute, time.second};
  }
};

extern template class KvDistinguishedValues<KvDate>;
extern template class KvDistinguishedValues<KvTime>;

static_assert(sizeof(KvDate) == 4 && sizeof(KvTime) == 3);

// ---------------------------------------------------------------------------------------------
// The arithmetic of the members above, on plain numbers. Years are astronomical: 0 is the year
// before 1. Nothing fails or validates: any components and any number give a defined result, and
// stored data depends on which. That is why a month of 13 is the January of the next year. It is
// also why the formulas truncate toward zero where a calendar would round down: in years before
// -4799, and for numbers below -68569.

namespace kv {

// Compares three components from the highest down; a component that is -1 on either side matches
// anything unless `flags` holds kStrictCompare. Result: the first difference, as a number.
constexpr int CompareComponents(int a1, int a2, int a3, int b1, int b2, int b3,
                                unsigned short flags) {
  const bool strict = (flags & kStrictCompare) != 0;
  const auto matches = [strict](int a, int b) {
    return a == b || (!strict && (a == -1 || b == -1));
  };
  if (!matches(a1, b1)) return a1 - b1;
  if (!matches(a2, b2)) return a2 - b2;
  return matches(a3, b3) ? 0 : a3 - b3;
}

// The day number for any components. `a` is -1 for January and February: the year is counted from
// March, so that the leap day is its last.
constexpr int DayNumberByFormula(int year, int month, int day) {
  const int a = (month - 14) / 12;
  return (1461 * (year + 4800 + a)) / 4 + (367 * (month - 2 - 12 * a)) / 12 -
         (3 * ((year + 4900 + a) / 100)) / 4 + day - 32075;
}

// What a month adds to the year, which is counted from March of -4800 on, and to the day: the days
// before it in such a year, and the distance of the two day counts. From 1 to 13; 0 is not used.
struct MonthStart {
  int years;
  int days;
};
inline constexpr auto kMonthStarts = [] {
  std::array<MonthStart, 14> starts{};
  for (int month = 1; month <= 13; ++month) {
    const int early = month < 3 ? 1 : 0;
    starts[static_cast<unsigned>(month)] = {4800 - early,
                                            367 * (month - 2 + 12 * early) / 12 - 32075};
  }
  return starts;
}();

// The same, quick where the formula truncates nothing negative.
constexpr int DayNumber(int year, int month, int day) {
  if (__builtin_expect(year <= -4800 || static_cast<unsigned>(month - 1) > 12, 0)) {
    return DayNumberByFormula(year, month, day);
  }
  const MonthStart& start = kMonthStarts[static_cast<unsigned>(month)];
  const auto years = static_cast<unsigned>(year + start.years);
  return static_cast<int>(1461 * years / 4 - years / 100 + years / 400) + start.days + day;
}

// The date of any day number. The year keeps its low 16 bits.
constexpr CalendarDate DateOfDayNumberByFormula(std::int64_t number) {
  std::int64_t l = number + 68569;
  const std::int64_t k = (4 * l) / 146097;
  l -= (146097 * k + 3) / 4;
  const std::int64_t i = (4000 * (l + 1)) / 1461001;
  l = l - (1461 * i) / 4 + 31;
  std::int64_t j = (80 * l) / 2447;
  const std::int64_t day = l - (2447 * j) / 80;
  l = j / 11;
  j = j + 2 - 12 * l;
  return {static_cast<short>(100 * (k - 49) + i + l), static_cast<char>(j), static_cast<char>(day)};
}

// Month and day, in the bytes of a CalendarDate, of each day of a year that begins in March.
inline constexpr auto kMarchYear = [] {
  std::array<std::uint16_t, 366> days{};
  for (unsigned i = 0; i < days.size(); ++i) {
    // 5/153 of a day and a quotient of 2141/2^16: months of 31 and 30 days in turn.
    const unsigned months = 2141 * i + 197913;
    const unsigned month = months >> 16;
    const unsigned day = (months & 0xFFFF) / 2141 + 1;
    days[i] = static_cast<std::uint16_t>((month > 12 ? month - 12 : month) | day << 8);
  }
  return days;
}();
inline constexpr unsigned kFirstOfJanuary = 306;  // in such a year

// The same, quick for the numbers from -68569 (-4900-03-01) on whose quadruple fits 32 bits.
//
// A day is split into century, year of the century and day of the year. The years take one
// multiplication: 2939745/2^32 is 4/1461 closely enough for a century, so that the high part is the
// year and the low part the scaled day.
constexpr CalendarDate DateOfDayNumber(int number) {
  constexpr unsigned kMost = 0x3FF00000;
  if (__builtin_expect(static_cast<unsigned>(number) + 68569u > kMost, 0)) {
    return DateOfDayNumberByFormula(number);
  }
  // Days since -5200-03-01, where a cycle of four centuries begins.
  const unsigned quarters = 4 * (static_cast<unsigned>(number) + 178141) + 3;
  const unsigned century = quarters / 146097;
  const unsigned centuryQuarters = quarters % 146097 | 3;
  const std::uint64_t years = std::uint64_t{2939745} * centuryQuarters;
  const unsigned dayOfYear = static_cast<unsigned>(years) / 2939745 / 4;
  const unsigned year = 100 * century + static_cast<unsigned>(years >> 32) +
                        (dayOfYear >= kFirstOfJanuary ? 1 : 0) - 5200;
  const unsigned monthAndDay = kMarchYear[dayOfYear];
  if (kHostIsBig) {
    return {static_cast<std::int16_t>(year), static_cast<signed char>(monthAndDay & 0xFF),
            static_cast<signed char>(monthAndDay >> 8)};
  }
  // Put together in a register and stored in one piece.
  return BitCast<CalendarDate>((year & 0xFFFF) | std::uint32_t{monthAndDay} << 16);
}

// Day of the week, 0 Monday to 6 Sunday; right from 0000-03-01 to 4600-02-28. The remainder keeps
// the sign of its dividend, and a negative one counts as Sunday. So after that the days early in
// each century come out as Sundays, more of them as the years go by. It stays so because texts in
// the field and applications agree with it.
constexpr int WeekdayByFormula(int year, int month, int day) {
  const int y = year + (month - 14) / 12;
  const int m = month + 10 - 12 * ((month + 10) / 13);
  const int k = y / 100;
  const int r = (day + 77 + (5 * (y - 100 * k)) / 4 + (13 * m - 1) / 5 + y / 400 - 2 * k) % 7;
  return r > 0 ? r - 1 : 6;
}

// Moves a time by seconds, each component an 8-bit number that wraps. The hours that are added
// count modulo 256, so spans of more than 127 hours go astray. An hour of exactly -24 becomes 24.
// Results of a day and less are right but for that.
constexpr ClockTime AddToClock(ClockTime time, int seconds) {
  const auto byte = [](int number) { return static_cast<char>(number); };  // modulo 256
  char second = byte(time.second + seconds % 60);
  char minute = byte(time.minute + seconds / 60 - 60 * (seconds / 3600));
  char hour = byte(time.hour + seconds / 3600);
  if (second >= 60) {
    second = byte(second - 60);
    minute = byte(minute + 1);
  } else if (second < 0) {
    second = byte(second + 60);
    minute = byte(minute - 1);
  }
  if (minute >= 60) {
    minute = byte(minute - 60);
    hour = byte(hour + 1);
  } else if (minute < 0) {
    minute = byte(minute + 60);
    hour = byte(hour - 1);
  }
  if (hour >= 24) {
    hour = byte(hour % 24);
  } else if (hour < 0) {
    hour = byte(hour + 24 * (1 - hour / 24));
  }
  return {hour, minute, second};
}

// Sums that pass the end of their type wrap modulo its range.
constexpr int WrappingAdd(int a, int b) {
  return static_cast<int>(static_cast<unsigned>(a) + static_cast<unsigned>(b));
}
constexpr int WrappingNegate(int a) {
  return static_cast<int>(0u - static_cast<unsigned>(a));
}

}  // namespace kv
