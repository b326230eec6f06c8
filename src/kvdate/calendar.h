// calendar.h - the calendar and clock arithmetic that the date and time sources need beside what
// kvdate.h computes inline: pure functions on plain numbers, usable at compile time.
//
// Two calendars are in use. The Kv classes count days in the proleptic Gregorian calendar (the
// Gregorian rule for all time); d_Date counts them in the Julian calendar before October 1582.
//
//   day number of a KvDate   0 on -4713-11-24, 2451545 on 2000-01-01; the Julian day number
//   count of a d_Date        one less: 2451544 on 2000-01-01
//
// Nothing here fails or validates: any components and any number give a defined result, and stored
// data depends on which.
#pragma once

#include <cstdint>

#include "kvdate.h"

namespace kv {

constexpr bool IsLeapYear(int year) {
  return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

// Days of a month from 1 to 12.
constexpr int DaysInMonth(int year, int month) {
  if (month == 2) return IsLeapYear(year) ? 29 : 28;
  return 30 + ((month ^ month >> 3) & 1);
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

// ---------------------------------------------------------------------------------------------
// Counts of d_Date.

// 365.25 times a year number and 30.6001 times a month number, truncated, without leaving the
// integers. Of so small a number as a month's 30.6 times is as much.
constexpr int JulianYearDays(int year) {
  return 1461 * year / 4;
}
constexpr int MonthDays(int month) {
  return 153 * month / 5;
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
  const std::int64_t elapsed = SplitFloor(306001 * e, 10000).quotient;
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

// Sums and products wrap modulo the range of their type.
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
