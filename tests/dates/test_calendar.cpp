// The calendars under the date classes, against std::chrono and against rules written from scratch.
#include <doctest/doctest.h>

#include <chrono>
#include <cmath>
#include <cstdlib>

#include "kvdate.h"
#include "kvdate/calendar.h"
#include "kvodmg.h"

namespace {

namespace chrono = std::chrono;

constexpr int kDayNumberOfEpoch = 2440588;  // 1970-01-01

// No factor of the 146,097 days of four centuries: each of them is met, in one of the centuries.
constexpr int kStride = 29;

KvDate Civil(int dayNumber) {
  const chrono::year_month_day date = chrono::sys_days(chrono::days(dayNumber - kDayNumberOfEpoch));
  return {static_cast<short>(int{date.year()}), static_cast<char>(unsigned{date.month()}),
          static_cast<char>(unsigned{date.day()})};
}

int DayNumberOf(int year, unsigned month, unsigned day) {
  const auto date = chrono::year(year) / static_cast<int>(month) / static_cast<int>(day);
  return static_cast<int>(chrono::sys_days(date).time_since_epoch().count()) + kDayNumberOfEpoch;
}

// The Julian calendar by counting: what date follows, and nothing else.
struct JulianDate {
  int year, month, day;

  void Next() {
    static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const int days = month == 2 && year % 4 == 0 ? 29 : kDays[month - 1];
    if (++day <= days) return;
    day = 1;
    if (++month <= 12) return;
    month = 1;
    ++year;
  }
};

}  // namespace

TEST_CASE("day numbers and dates agree with std::chrono from year -4799 to 32767, both ways") {
  const int last = DayNumberOf(32767, 12, 31);
  int wrong = 0;
  for (int number = DayNumberOf(-4799, 1, 1); number <= last; number += kStride) {
    const KvDate date = Civil(number);
    if (date.dayabs() != number || KvDate(number) != date) ++wrong;
  }
  CHECK(wrong == 0);
}

TEST_CASE("dates of day numbers are true from -68569 on, day numbers of dates from -4799 on") {
  CHECK(KvDate(-68569) == KvDate(-4900, 3, 1));
  CHECK(KvDate(-68569) == Civil(-68569));
  // Further back the divisions truncate toward zero instead of rounding down.
  CHECK(KvDate(-4800, 2, 29).dayabs() == DayNumberOf(-4800, 2, 29) + 1);
  CHECK(KvDate(-68570) != KvDate(-4900, 2, 28));
}

TEST_CASE("the quick conversions are those of the formulas for any components") {
  const auto same = [](kv::CalendarDate a, kv::CalendarDate b) {
    return a.year == b.year && a.month == b.month && a.day == b.day;
  };
  int wrong = 0;
  for (int year = -32768; year <= 32767;
       year += std::abs(year + 4800) < 9 || year > 32750 ? 1 : 97) {
    for (int month = -128; month <= 128; ++month) {
      if (kv::DayNumber(year, month, -7) != kv::DayNumberByFormula(year, month, -7)) ++wrong;
    }
  }
  for (std::int64_t number = INT32_MIN; number <= INT32_MAX; number += 99991) {
    if (!same(kv::DateOfDayNumber(static_cast<int>(number)), kv::DateOfDayNumberByFormula(number)))
      ++wrong;
  }
  for (const std::int64_t edge : {-68569LL, 0x3FF00000LL, 0LL}) {
    for (std::int64_t number = edge - 400; number < edge + 400; ++number) {
      if (!same(kv::DateOfDayNumber(static_cast<int>(number)),
                kv::DateOfDayNumberByFormula(number)))
        ++wrong;
    }
  }
  CHECK(wrong == 0);
}

TEST_CASE("weekdays agree with std::chrono from 0000-03-01 to 4600-02-28") {
  int wrong = 0;
  for (int number = DayNumberOf(0, 3, 1); number <= DayNumberOf(4600, 2, 28); number += kStride) {
    const chrono::weekday weekday{chrono::sys_days(chrono::days(number - kDayNumberOfEpoch))};
    if (KvDate(number).GetDayOfTheDate() != static_cast<int>(weekday.iso_encoding()) - 1) ++wrong;
  }
  CHECK(wrong == 0);
  CHECK(KvDate(1970, 1, 1).GetDayOfTheDate() == kvThursday);
  CHECK(KvDate(1970, 1, 1).DayOfTheDate() == 3);
  const char* const names[] = {"Monday", "Tuesday",  "Wednesday", "Thursday",
                               "Friday", "Saturday", "Sunday"};
  for (int n = 0; n < 7; ++n) CHECK(KvString(names[n]) == KvDate(2450000 + n).PrintDayOfTheDate());
  // Later the remainder turns negative, and negative means Sunday.
  CHECK(KvDate(4600, 3, 1).GetDayOfTheDate() == kvSunday);  // a Saturday
  CHECK(KvDate(0, 2, 29).GetDayOfTheDate() != kvTuesday);
}

TEST_CASE("IsDate, the last of a month and the days to the next agree with std::chrono") {
  int wrong = 0;
  for (const int year : {-4799, -4, 0, 1, 1600, 1900, 2000, 2023, 2024, 2100, 32767}) {
    for (int month = -128; month <= 127; ++month) {
      for (int day = -128; day <= 127; ++day) {
        const KvDate date{static_cast<short>(year), static_cast<char>(month),
                          static_cast<char>(day)};
        const bool exists = month >= 1 && day >= 1 && (chrono::year(year) / month / day).ok();
        if (date.IsDate() != exists) ++wrong;
        if (!exists) continue;
        const unsigned last{(chrono::year(year) / month / chrono::last).day()};
        if (date.IsLastDayOfTheMonth() != (unsigned(day) == last)) ++wrong;
        if (date.daynxtmonth() != int(last) - day + 1) ++wrong;
        if (kv::DaysInMonth(year, month) != int(last)) ++wrong;
      }
    }
  }
  CHECK(wrong == 0);
}

TEST_CASE("d_Date counts by the Julian calendar until 1582-10-04 and by the Gregorian one after") {
  int count = kv::CountOfDate(1, 3, 1);
  int wrong = 0;
  const auto check = [&](int year, int month, int day) {
    const kv::CalendarDate date = kv::DateOfCount(count);
    if (kv::CountOfDate(year, month, day) != count) ++wrong;
    if (date.year != year || date.month != month || date.day != day) ++wrong;
    if (kv::WeekdayOfCount(count) != (count % 7 + 9) % 7) ++wrong;
  };
  for (JulianDate julian{1, 3, 1}; julian.year < 1582 || julian.month < 10 || julian.day < 5;
       julian.Next(), ++count) {
    check(julian.year, julian.month, julian.day);
  }
  CHECK(count == 2299160);
  CHECK(count + 1 == DayNumberOf(1582, 10, 15));
  for (; count < DayNumberOf(32767, 12, 31); count += kStride) {
    const KvDate civil = Civil(count + 1);
    check(civil.year, civil.month, civil.day);
  }
  CHECK(wrong == 0);
  CHECK(kv::CountOfDate(2000, 1, 1) == 2451544);
  CHECK(kv::CountOfDate(1582, 10, 14) == 2299169);  // of the days left out the Julian count goes on
  for (int n = -20; n < 20; ++n) CHECK(kv::WeekdayOfCount(n) == (n + 700 + 2) % 7);
}

TEST_CASE("a real number is cut toward zero and ends at the ends of 64 bits") {
  CHECK(kv::TruncateSaturating(-2.9) == -2);
  CHECK(kv::TruncateSaturating(9223372036854774784.0) == 9223372036854774784);
  CHECK(kv::TruncateSaturating(9223372036854775808.0) == INT64_MAX);
  CHECK(kv::TruncateSaturating(-1e300) == INT64_MIN);
  CHECK(kv::TruncateSaturating(NAN) == 0);
}

TEST_CASE("the integers of the d_Date count are the real formulas, truncated") {
  int wrong = 0;
  for (int y = -33000; y <= 33000; ++y) {
    if (kv::JulianYearDays(y) != static_cast<int>(365.25 * y)) ++wrong;
  }
  for (int m = 0; m <= 300; ++m) {
    if (kv::MonthDays(m) != static_cast<int>(30.6001 * m)) ++wrong;
  }
  for (int n = -3000000; n < 20000000; n += kStride) {
    int j = n + 1;
    if (j > 2299160) {
      const int alpha = static_cast<int>((j - 1867216.25) / 36524.25);
      j = n + 2 + alpha - alpha / 4;
    }
    const int b = j + 1524;
    const int c = static_cast<int>((b - 122.1) / 365.25);
    const int d = static_cast<int>(365.25 * c);
    const int e = static_cast<int>((b - d) / 30.6001);
    const int day = b - static_cast<int>(std::floor(30.6001 * e)) - d;
    const int month = e < 14 ? e - 1 : e - 13;
    const int year = month >= 3 ? c - 4716 : c - 4715;
    const kv::CalendarDate date = kv::DateOfCount(n);
    if (date.day != static_cast<char>(day) || date.month != static_cast<char>(month)) ++wrong;
    if (date.year != static_cast<short>(year)) ++wrong;
  }
  CHECK(wrong == 0);
}

TEST_CASE("days in a month of d_Date: the Julian leap rule before 1600") {
  for (int year = -100; year < 3000; ++year) {
    const bool leap = year < 1600 ? year % 4 == 0 : chrono::year(year).is_leap();
    for (unsigned short month = 1; month <= 12; ++month) {
      const unsigned days{(chrono::year(2001) / month / chrono::last).day()};
      CHECK(d_Date::days_in_month(static_cast<short>(year), month) ==
            static_cast<int>(days) + (leap && month == 2));
    }
  }
  CHECK(d_Date::days_in_month(2000, 0) == 0);
  CHECK(d_Date::days_in_month(2000, 13) == 0);
  CHECK(d_Date(2001, 4, 9).days_in_month() == 30);
  CHECK(d_Date(2001, 12, 9).days_in_month() == 31);
}
