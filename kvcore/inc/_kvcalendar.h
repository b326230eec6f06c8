// _kvcalendar.h - the calendar and clock arithmetic under the date and time classes: pure functions
// on plain numbers, usable at compile time. Applications use kvdate.h, kvdatime.h and kvodmg.h.
//
// Two calendars live here. The Kv classes count days in the proleptic Gregorian calendar (the
// Gregorian rule for all time); d_Date counts them in the Julian calendar before October 1582.
//
//   day number of a KvDate   0 on -4713-11-24, 2451545 on 2000-01-01; the Julian day number
//   count of a d_Date        one less: 2451544 on 2000-01-01
//
// Years are astronomical: 0 is the year before 1. Nothing here fails or validates: any components
// and any number give a defined result, and stored data depends on which. That is why the formulas
// truncate toward zero also where a calendar would round down (years before -4799, numbers below
// -68569), and why a month of 13 is the January of the next year.
#pragma once

#include <cstdint>

namespace kv {

// Year, month and day in the widths in which dates keep them.
struct CalendarDate {
  short year;
  char month;
  char day;
};

// ---------------------------------------------------------------------------------------------
// Order with wildcards.

// The compare option that makes -1 an ordinary number.
inline constexpr unsigned short kStrictCompare = 0x10;

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

// ---------------------------------------------------------------------------------------------
// Gregorian day numbers.

// The day number for any components. `a` is -1 for January and February: the year is counted from
// March, so that the leap day is its last.
constexpr int DayNumberByFormula(int year, int month, int day) {
  const int a = (month - 14) / 12;
  return (1461 * (year + 4800 + a)) / 4 + (367 * (month - 2 - 12 * a)) / 12 -
         (3 * ((year + 4900 + a) / 100)) / 4 + day - 32075;
}

// The same, quick where the formula truncates nothing negative: there it is all unsigned shifts and
// multiplications.
constexpr int DayNumber(int year, int month, int day) {
  if (year <= -4800 || static_cast<unsigned>(month - 1) > 12) {
    return DayNumberByFormula(year, month, day);
  }
  const unsigned startsEarly = month < 3 ? 1 : 0;
  const unsigned marchYear = static_cast<unsigned>(year + 4800) - startsEarly;
  const unsigned marchMonth = static_cast<unsigned>(month - 2) + 12 * startsEarly;
  const unsigned century = marchYear / 100 + 1;
  return static_cast<int>(1461 * marchYear / 4 + 367 * marchMonth / 12 - 3 * century / 4) + day -
         32075;
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

// The same, quick for the numbers from -68569 (-4900-03-01) on whose quadruple fits 32 bits.
//
// A day is split into century, year of the century and day of the year, each by one multiplication:
// 2939745/2^32 is 4/1461 closely enough for a day of a century, and 2141/2^16 is 5/153 for a day
// of the year, the high part being the quotient and the low part the scaled remainder.
constexpr CalendarDate DateOfDayNumber(std::int64_t number) {
  if (number < -68569 || number >= 0x3FF00000) return DateOfDayNumberByFormula(number);
  // Days since -5200-03-01, where a cycle of four centuries begins.
  const unsigned quarters = 4 * static_cast<unsigned>(number + 178141) + 3;
  const unsigned century = quarters / 146097;
  const unsigned centuryQuarters = quarters % 146097 | 3;
  const std::uint64_t years = std::uint64_t{2939745} * centuryQuarters;
  const unsigned yearOfCentury = static_cast<unsigned>(years >> 32);
  const unsigned dayOfYear = static_cast<unsigned>(years) / 2939745 / 4;
  const unsigned months = 2141 * dayOfYear + 197913;
  const unsigned endsLate = dayOfYear >= 306 ? 1 : 0;  // January or February
  const unsigned year = 100 * century + yearOfCentury + endsLate;
  const unsigned month = (months >> 16) - 12 * endsLate;
  return {static_cast<short>(static_cast<int>(year) - 5200), static_cast<char>(month),
          static_cast<char>((months & 0xFFFF) / 2141 + 1)};
}

constexpr bool IsLeapYear(int year) {
  return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

// Days of a month from 1 to 12.
constexpr int DaysInMonth(int year, int month) {
  if (month == 2) return IsLeapYear(year) ? 29 : 28;
  return 30 + ((month + (month >> 3)) & 1);
}

// Day of the week, 0 Monday to 6 Sunday; right from 0000-03-01 to 4600-02-28. The remainder keeps
// the sign of its dividend and a negative one counts as Sunday, so that later the days early in
// each century come out as Sundays, more of them as the years go by. Deliberate: texts in the field
// and applications agree with it.
constexpr int WeekdayByFormula(int year, int month, int day) {
  const int y = year + (month - 14) / 12;
  const int m = month + 10 - 12 * ((month + 10) / 13);
  const int k = y / 100;
  const int r = (day + 77 + (5 * (y - 100 * k)) / 4 + (13 * m - 1) / 5 + y / 400 - 2 * k) % 7;
  return r > 0 ? r - 1 : 6;
}

// ---------------------------------------------------------------------------------------------
// Counts of d_Date.

// 365.25 times a year number and 30.6001 times a month number, truncated, without leaving the
// integers.
constexpr int JulianYearDays(int year) {
  return 1461 * year / 4;
}
constexpr int MonthDays(int month) {
  return 306001 * month / 10000;
}

// The first count that is taken to be Gregorian when a date is counted, and the Julian day number
// above which a count is read as Gregorian. They are not the same instant, and both stay: between
// them lie only the ten days that October 1582 skipped.
inline constexpr int kFirstGregorianCount = 2299170;
inline constexpr int kLastJulianDayNumber = 2299160;

constexpr int CountOfDate(int year, int month, int day) {
  const int y = month < 3 ? year - 1 : year;
  const int m = month < 3 ? month + 13 : month + 1;
  const int count = JulianYearDays(y) + MonthDays(m) + day + 1720994;
  if (count < kFirstGregorianCount) return count;
  const int a = y / 100;
  return count + 2 - a + a / 4;
}

// The date of any count; the year keeps its low 16 bits. The quotients are those of
// (j - 1867216.25) / 36524.25, (b - 122.1) / 365.25 and (b - d) / 30.6001, scaled to integers.
constexpr CalendarDate DateOfCount(std::int64_t count) {
  std::int64_t j = count + 1;
  if (j > kLastJulianDayNumber) {
    const std::int64_t alpha = (4 * j - 7468865) / 146097;
    j = count + 2 + alpha - alpha / 4;
  }
  const std::int64_t b = j + 1524;
  const std::int64_t c = (20 * b - 2442) / 7305;
  const std::int64_t d = 1461 * c / 4;
  const std::int64_t e = 10000 * (b - d) / 306001;
  const std::int64_t scaled = 306001 * e;
  const std::int64_t elapsed = scaled / 10000 - (scaled % 10000 < 0 ? 1 : 0);
  const std::int64_t month = e < 14 ? e - 1 : e - 13;
  return {static_cast<short>(month >= 3 ? c - 4716 : c - 4715), static_cast<char>(month),
          static_cast<char>(b - elapsed - d)};
}

// 0 Sunday to 6 Saturday; counts before the first Sunday fall into the same week.
constexpr int WeekdayOfCount(int count) {
  const int remainder = (count % 7 + 2) % 7;
  return remainder < 0 ? remainder + 7 : remainder;
}

// Days of a month as d_Date has them: every fourth year is a leap year before 1600, the centuries
// too. 0 for a month that there is not.
constexpr int DaysInJulianMonth(int year, int month) {
  if (month < 1 || month > 12) return 0;
  if (month != 2) return DaysInMonth(year, month);
  return year % 4 == 0 && (year < 1600 || IsLeapYear(year)) ? 29 : 28;
}

// ---------------------------------------------------------------------------------------------
// Time of day.

struct ClockTime {
  char hour;
  char minute;
  char second;
};

// Moves a time by seconds, each component an 8-bit number that wraps, deliberately: the hours that
// are added count modulo 256, so spans of more than 127 hours go astray, and an hour of exactly -24
// becomes 24. Results of a day and less are right but for that.
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

// A quotient rounded down, and what is left of the dividend, never negative.
struct FloorSplit {
  std::int64_t quotient;
  int remainder;
};

constexpr FloorSplit SplitFloor(std::int64_t dividend, int divisor) {
  std::int64_t quotient = dividend / divisor;
  int remainder = static_cast<int>(dividend % divisor);
  if (remainder < 0) {
    remainder += divisor;
    --quotient;
  }
  return {quotient, remainder};
}

// Sums and products that may pass the end of their type wrap modulo its range.
constexpr int WrappingAdd(int a, int b) {
  return static_cast<int>(static_cast<unsigned>(a) + static_cast<unsigned>(b));
}
constexpr int WrappingNegate(int a) {
  return static_cast<int>(0u - static_cast<unsigned>(a));
}
constexpr std::int64_t WrappingMultiplyAdd(std::int64_t a, std::int64_t b, std::int64_t c) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) * static_cast<std::uint64_t>(b) +
                                   static_cast<std::uint64_t>(c));
}

// A real number cut toward zero; beyond 64 bits the nearest that fits, NaN 0.
constexpr std::int64_t TruncateSaturating(double number) {
  if (number >= 9223372036854775808.0) return INT64_MAX;
  if (number <= -9223372036854775808.0) return INT64_MIN;
  return number == number ? static_cast<std::int64_t>(number) : 0;
}

}  // namespace kv
