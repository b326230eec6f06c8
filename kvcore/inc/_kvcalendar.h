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

#include <array>
#include <bit>
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
  if (year <= -4800 || static_cast<unsigned>(month - 1) > 12) [[unlikely]] {
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
  static_assert(std::endian::native == std::endian::little);
  constexpr unsigned kMost = 0x3FF00000;
  if (static_cast<unsigned>(number) + 68569u > kMost) [[unlikely]] {
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
  return std::bit_cast<CalendarDate>((year & 0xFFFF) | std::uint32_t{kMarchYear[dayOfYear]} << 16);
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
