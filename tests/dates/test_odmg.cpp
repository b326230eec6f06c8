// The ODMG classes: calendar, zones, intervals, overlaps.
#include <doctest/doctest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <initializer_list>

#include "kvcompare.h"
#include "kvodmg.h"
#include "support/random.h"
#include "support/texts.h"

namespace {

// Sets the default zone for one test.
struct DefaultZone {
  explicit DefaultZone(int zone) { d_Time::set_default_Time_Zone(zone); }
  ~DefaultZone() { d_Time::set_default_Time_Zone(0); }
};

d_Interval Seconds(float seconds) {
  return d_Interval::FromSeconds(seconds);
}

bool SameBytes(const d_Time& time, int tzHour, int tzMinute, int hour, int minute, int second,
               int hundredth) {
  const auto byte = [](int number) { return static_cast<unsigned char>(number); };
  return time.tzHour == byte(tzHour) && time.tzMinute == byte(tzMinute) &&
         time.hour == byte(hour) && time.minute == byte(minute) && time.second == byte(second) &&
         time.hundredth == byte(hundredth);
}

}  // namespace

TEST_CASE("d_Date: days, weeks and years across the change of calendar") {
  d_Date date(1582, 10, 4);
  CHECK(date++ == d_Date(1582, 10, 4));
  CHECK(date == d_Date(1582, 10, 15));
  date--;
  CHECK(date == d_Date(1582, 10, 4));
  CHECK(date.day_of_week() == d_Date::Thursday);
  CHECK(d_Date(1582, 12, 31).day_of_year() == 355);
  CHECK(d_Date(1582, 355) == d_Date(1582, 12, 31));
  CHECK(d_Date(1500, 60) == d_Date(1500, 2, 29));
  CHECK(d_Date(2000, 1, 1).day_of_week() == d_Date::Saturday);
  CHECK(d_Date(2000, 1, 1).day_of_year() == 1);
  CHECK(d_Date(KvDate(1999, 12, 31)).day_of_year() == 365);

  d_Date saturday(2000, 1, 1);
  CHECK(saturday.next(d_Date::Saturday) == d_Date(2000, 1, 8));
  CHECK(saturday.next(d_Date::Sunday) == d_Date(2000, 1, 9));
  CHECK(saturday.previous(d_Date::Sunday) == d_Date(2000, 1, 2));
  CHECK(saturday.previous(d_Date::Monday) == d_Date(1999, 12, 27));
  Random random(15821015);
  for (int i = 0; i < 500; ++i) {
    const d_Date start(KvDate(random.Between(2000000, 3000000)));
    const auto weekday = static_cast<d_Date::Weekday>(random.Between(0, 6));
    d_Date later = start, earlier = start;
    later.next(weekday);
    earlier.previous(weekday);
    CHECK((later.day_of_week() == weekday && earlier.day_of_week() == weekday));
    CHECK((later > start && later <= start + d_Interval(7)));
    CHECK((earlier < start && earlier >= start - d_Interval(7)));
  }
}

TEST_CASE("d_Date and intervals: whole days, order of operands, extremes") {
  d_Date date(2000, 2, 28);
  CHECK(date + d_Interval(1, 23) == d_Date(2000, 2, 29));
  CHECK(d_Interval(2) + date == d_Date(2000, 3, 1));
  CHECK(date - d_Interval(0, 23) == date);
  CHECK((date += d_Interval(366)) == d_Date(2001, 2, 28));
  CHECK((date -= d_Interval(366)) == d_Date(2000, 2, 28));
  // Beyond 194 days a float has no room for every second: the days that were meant count.
  const d_Date start(1950, 1, 1);
  for (int days = 1; days < 60000; days += 7) {
    CHECK(start + d_Interval(days) == d_Date(KvDate(1950, 1, 1) + days));
    CHECK(start - d_Interval(days) == d_Date(KvDate(1950, 1, 1) - days));
  }
  CHECK(start + d_Interval(24859) == d_Date(KvDate(1950, 1, 1) + 24859));
  CHECK(start + Seconds(std::nextafter(d_Interval(24859).seconds, 0.0f)) ==
        d_Date(KvDate(1950, 1, 1) + 24858));
  CHECK(start + Seconds(86399.99f) == start);
  date += Seconds(3e38f);  // anything defined
  date -= Seconds(0.0f) / 0;
  CHECK((d_Date(2000, 1, 200) > d_Date(2000, 1, 100)));  // bytes are unsigned
  CHECK((d_Date(-1, 12, 31) < d_Date(0, 1, 1)));
}

TEST_CASE("d_Interval adds up magnitudes and takes one sign") {
  CHECK(d_Interval(0, -1, 30, 0).seconds == -5400);
  CHECK(d_Interval(0, 0, 1, -1.5f).seconds == -61.5f);
  CHECK(d_Interval(1, 2, 3, 4.5f).seconds == 93784.5f);
  CHECK((d_Interval(1) + d_Interval(0, 1) - Seconds(1)).seconds == 89999);
  CHECK((-(2 * Seconds(1.5f)) * 3 / 2).seconds == -4.5f);
  CHECK((+d_Interval(0, 0, 1)).seconds == 60);
}

TEST_CASE("d_Time: zones shift hour and minute, whatever their sign") {
  CHECK(SameBytes(d_Time(10, 0, 0.0f), 0, 0, 10, 0, 0, 0));
  CHECK(SameBytes(d_Time(10, 20, 30.25f, 5, 30), 5, 30, 15, 50, 30, 25));
  CHECK(SameBytes(d_Time(3, 20, 1.5f, -5, -30), -5, -30, -2, -10, 1, 50));
  CHECK(SameBytes(d_Time(-1), 0, 0, 23, 59, 59, 0));
  CHECK(SameBytes(d_Time(-2147483647 - 1), 0, 0, 20, 45, 52, 0));
  for (int n = 0; n < 90001; n += 47) {
    CHECK(SameBytes(d_Time(n), 0, 0, n / 3600, n / 60 % 60, n % 60, 0));
    const std::string clock = Print(KvTIME_T, KvTime(n), "%T");
    if (n < 86400)
      CHECK(Print(D_INTERVAL_T, -Seconds(static_cast<float>(n + 86400)), "%d %T") ==
            "-01 " + clock);
  }
  {
    const DefaultZone zone(2);
    CHECK(SameBytes(d_Time(10, 0, 0.0f), 2, 0, 12, 0, 0, 0));
    CHECK(SameBytes(d_Time(KvTime(23, 1, 2)), 2, 0, 25, 1, 2, 0));
    CHECK(SameBytes(d_Time(KvDateTime(KvTime(4, 5, 6))), 2, 0, 6, 5, 6, 0));
    CHECK(SameBytes(d_Time(3600), 2, 0, 3, 0, 0, 0));
  }
  // Earlier is less in any zone, and every time prints as its clock had it.
  for (const short zone : std::initializer_list<short>{-12, -5, -1, 0, 1, 14}) {
    for (int hour = 0; hour < 24; ++hour) {
      for (const int minute : {0, 29, 30, 59}) {
        const auto zoneMinute = static_cast<short>(zone < 0 ? -30 : 30);
        const auto at = [&](int shownHour) {
          return d_Time(static_cast<unsigned short>(shownHour), static_cast<unsigned short>(minute),
                        7.5f, zone, zoneMinute);
        };
        char clock[32];
        std::snprintf(clock, sizeof clock, "%02d:%02d:07.500", hour, minute);
        CHECK(Print(D_TIME_T, at(hour), "%H:%M:%f") == clock);
        CHECK(Print(D_TIME_T, at(hour) + d_Interval(1), "%H:%M:%f") == clock);
        if (hour < 23) CHECK((at(hour) < at(hour + 1)));
      }
    }
  }
}

TEST_CASE("d_Time and intervals: around the clock, between times") {
  Random random(15821015);
  for (int i = 0; i < 5000; ++i) {
    const int start = random.Between(0, 86399);
    const int move = random.Between(-1000000, 1000000);
    const int end = ((start + move) % 86400 + 86400) % 86400;
    const short zone = static_cast<short>(random.Between(-12, 14));
    const d_Time time(static_cast<unsigned short>(start / 3600),
                      static_cast<unsigned short>(start % 3600 / 60),
                      static_cast<float>(start % 60), zone, 0);
    d_Time moved = time + Seconds(static_cast<float>(move));
    CHECK(Print(D_TIME_T, moved, "%T") == Print(KvTIME_T, KvTime(end), "%T"));
    moved -= Seconds(static_cast<float>(move));
    CHECK(Print(D_TIME_T, moved, "%T") == Print(KvTIME_T, KvTime(start), "%T"));
  }
  for (int n = 0; n < 100; ++n) {
    const float seconds = static_cast<float>(n) / 100;
    CHECK(d_Time(0) + Seconds(seconds) == d_Time(0, 0, seconds));
  }
  CHECK((d_Time(10, 0, 0.0f) - d_Time(8, 30, 0.0f)).seconds == 5400);
  CHECK((d_Time(1, 0, 0.0f, -5, 0) - d_Time(8, 0, 0.0f, -5, 0)).seconds == -25200);
  d_Time time(23, 59, 59.5f);
  CHECK(SameBytes(time += Seconds(0.75f), 0, 0, 0, 0, 0, 25));
  CHECK(SameBytes(d_Time(0) - Seconds(1e-9f), 0, 0, 0, 0, 0, 0));  // rounded up to midnight
  CHECK(SameBytes(d_Time(86398) + Seconds(1), 0, 0, 23, 59, 59, 0));
  CHECK(SameBytes(time += Seconds(1.0f) / 0, 0, 0, 0, 0, 0, 25));
}

TEST_CASE("d_Timestamp moves exactly, days and zone kept") {
  Random random(15821015);
  for (int i = 0; i < 5000; ++i) {
    const KvDateTimeN start(KvDate(random.Between(2400000, 2600000)),
                            KvTime(random.Between(0, 86399)));
    const short zone = static_cast<short>(random.Between(-12, 14));
    const int move = random.Between(-16000000, 16000000);
    d_Timestamp moved(start.date, d_Time(static_cast<unsigned char>(start.time.hour),
                                         static_cast<unsigned char>(start.time.minute),
                                         static_cast<float>(start.time.second), zone, 0));
    moved.time.hundredth = 99;
    const d_Timestamp before = moved;
    moved += Seconds(static_cast<float>(move));
    KvDateTimeN expected = start;
    expected.AddSeconds(move);
    CHECK(Print(D_TIMESTAMP_T, moved, "%O") == Print(KvDATIME_N_T, expected, "%O"));
    CHECK((moved.time.hundredth == 99 && moved.time.tzHour == before.time.tzHour));
    CHECK((moved -= Seconds(static_cast<float>(move))) == before);
  }
  for (int hundredths = 1; hundredths < 100; ++hundredths) {
    const d_Timestamp moved =
        d_Timestamp(2000, 1, 1) + Seconds(static_cast<float>(hundredths) / 100);
    CHECK(moved.time.hundredth == hundredths);
    CHECK(moved - Seconds(static_cast<float>(hundredths) / 100) == d_Timestamp(2000, 1, 1));
  }
  d_Timestamp stamp(2000, 1, 1, 0, 0, 0.0f);
  for (const float endless : {INFINITY, -INFINITY, NAN}) {
    CHECK(stamp + Seconds(endless) == stamp);
    CHECK(stamp - Seconds(endless) == stamp);
  }
  CHECK(Print(D_TIMESTAMP_T, stamp - Seconds(0.29f), "%X") == "1999-12-31T23:59:59.710");
  CHECK(stamp + Seconds(0.29f) > stamp);
  stamp = d_Date(1999, 1, 1);
  CHECK(stamp == d_Timestamp(d_Date(1999, 1, 1)));
  CHECK((d_Timestamp(KvDateTime(KvDate(1999, 1, 1), KvTime(0, 0, 1))) > stamp));
  CHECK(d_Time(stamp) == d_Time(0));
}

TEST_CASE("overlaps in all its forms") {
  Random random(15821015);
  const auto date = [](int day) { return d_Date(2000, 1, static_cast<unsigned short>(day)); };
  const auto time = [](int hour) { return d_Time(static_cast<unsigned short>(hour), 0, 0.0f); };
  for (int i = 0; i < 500; ++i) {
    const int a1 = random.Between(1, 20), a2 = random.Between(1, 20);
    const int b1 = random.Between(1, 20), b2 = random.Between(1, 20);
    int expected = 0;  // day by day
    for (int day = 1; day <= 20; ++day) {
      const bool inA = (a1 <= day && day <= a2) || (a2 <= day && day <= a1);
      const bool inB = (b1 <= day && day <= b2) || (b2 <= day && day <= b1);
      if (inA && inB) expected = 1;
    }
    const d_Timestamp t1(date(b1), time(3)), t2(date(b2), time(4));
    const d_Timestamp u1(date(3), time(b1)), u2(date(4), time(b2));
    CHECK(overlaps(date(a1), date(a2), date(b1), date(b2)) == expected);
    CHECK(overlaps(time(a1), time(a2), time(b1), time(b2)) == expected);
    CHECK(overlaps(date(a1), date(a2), t1, t2) == expected);
    CHECK(overlaps(t1, t2, date(a1), date(a2)) == expected);
    CHECK(overlaps(time(a1), time(a2), u1, u2) == expected);
    CHECK(overlaps(u1, u2, time(a1), time(a2)) == expected);
    CHECK(overlaps(d_Timestamp(date(a1)), d_Timestamp(date(a2)), d_Timestamp(date(b1)),
                   d_Timestamp(date(b2))) == expected);
  }
}

TEST_CASE("the current date, time and timestamp are those of the Kv classes") {
  const d_Timestamp before = d_Timestamp::current();
  const KvDateTime now;
  const d_Timestamp after(d_Date::current(), d_Time::current());
  CHECK((d_Timestamp(now) - Seconds(9) <= before && before <= d_Timestamp(now) + Seconds(1)));
  CHECK(d_Timestamp(now) <= after);
  const DefaultZone zone(3);
  CHECK(d_Time::current().tzHour == 3);
  d_Time::set_default_Time_Zone_to_local();
  btime local;
  bksgettime(local);
  CHECK(d_Time(0).tzHour ==
        static_cast<unsigned char>(local.zoneOffset != 0 ? local.zoneOffset / 3600 : 3));
  const char* const given = std::getenv("TZ");
  const std::string kept = given == nullptr ? "" : given;
  // Greenwich is no zone to set: what was set before stays.
  for (const auto& [place, hours] : {std::pair{"AAA-5:59:59", 5}, {"BBB+3", -3}, {"CCC0", -3}}) {
    setenv("TZ", place, 1);
    tzset();
    d_Time::set_default_Time_Zone_to_local();
    CHECK(d_Time(0).tzHour == static_cast<unsigned char>(hours));
  }
  given == nullptr ? unsetenv("TZ") : setenv("TZ", kept.c_str(), 1);
  tzset();
}

TEST_CASE("texts of the ODMG rows") {
  CHECK(Print(D_DATE_T, d_Date(2000, 1, 1)) == "Sat Jan 01");
  CHECK(Print(D_DATE_T, d_Date(1582, 10, 4), "%A") == "Thursday");  // the Julian calendar's
  CHECK(Print(D_TIME_T, d_Time(13, 5, 0.0f, -5, 0)) == "01:05:00 pm");
  CHECK(Print(D_TIMESTAMP_T, d_Timestamp(2000, 1, 1, 0, 5, 9.25f)) == "Sat Jan 01 12:05:09 am");
  CHECK(Print(D_INTERVAL_T, d_Interval(1, 13, 3, 4)) ==
        "01 days, 13 hours, 03 minutes, 04 seconds");
  CHECK(Print(D_INTERVAL_T, -Seconds(1.5f), "%T %f") == "-00:00:01 01.500");
  CHECK(Print(D_INTERVAL_T, Seconds(-1.0f) / 0, "%d %T") == "-2147483647 00:00:00");
  CHECK(Print(D_INTERVAL_T, Seconds(0.0f) / 0, "%d %f") == "00 00");
  CHECK(Scan(D_INTERVAL_T, "-01 days, 13 hours, 03 minutes, 04 seconds", d_Interval(), nullptr)
            .seconds == -133384);
  CHECK(Scan(D_INTERVAL_T, "90.25", d_Interval(), "%f").seconds == 90.25f);
  CHECK(Scan(D_INTERVAL_T, "0 1 2 3 4 5.5", d_Interval(), "%Y %m %d %H %M %f").seconds ==
        32 * 86400 + 3 * 3600 + 4 * 60 + 5.5f);
  CHECK(Scan(D_INTERVAL_T, "1", d_Interval(), "%Y").seconds == 360 * 86400);

  d_Time anyHundredth(10, 0, 0.0f);
  anyHundredth.hundredth = 255;
  CHECK(Print(D_TIME_T, anyHundredth, "%T %N %f") == "10:00:00 * *");
  anyHundredth.hundredth = 254;  // no hundredth, but a number
  CHECK(Print(D_TIME_T, anyHundredth, "%N") == "990000000");
  CHECK(Scan(D_TIMESTAMP_T, "12:34", d_Timestamp(2000, 5, 6), "%H:%M") ==
        d_Timestamp(0, 1, 1, 12, 34, 0.0f));
  CHECK(Scan(D_DATE_T, "1999", d_Date(2000, 5, 6), "%Y") == d_Date(1999, 1, 1));

  const DefaultZone zone(-5);
  Random random(15821015);
  for (int i = 0; i < 2000; ++i) {
    d_Timestamp value(d_Date(static_cast<short>(random.Between(-4000, 4000)), 1, 1),
                      d_Time(random.Between(0, 86399)));
    value += d_Interval(random.Between(0, 180));
    value.time.hundredth = static_cast<unsigned char>(random.Between(0, 98));
    const std::string text = Print(D_TIMESTAMP_T, value, "%X");
    CHECK(Scan(D_TIMESTAMP_T, text.c_str(), d_Timestamp::current(), "%X") == value);
  }
  // 04:00 five hours west is stored as hour 255 and is no wildcard; a wildcard is one.
  CHECK(Print(D_TIME_T, d_Time(4, 0, 0.0f)) == "04:00:00 am");
  const d_Time any = Scan(D_TIME_T, "*:07:08", d_Time(0), "%T");
  CHECK(Print(D_TIME_T, any, "%T") == "*:07:08");
  CHECK(Print(D_TIME_T, Scan(D_TIME_T, "7:*:*", d_Time(0), "%T"), "%T") == "07:*:*");
  // What is left of a clock beside a wildcard is that of a day and an hour, too.
  d_Time part(0, 0, 0.0f, -5, -30);
  part.hour = 23;
  part.minute = static_cast<unsigned char>(-31);
  CHECK(Print(D_TIME_T, part, "%H:%M") == "04:*");
  part.hour = static_cast<unsigned char>(-6);
  part.minute = 45;
  CHECK(Print(D_TIME_T, part, "%H:%M") == "*:15");
  int status;
  d_Time four(4, 7, 8.0f), five(5, 7, 8.0f), wild = any;
  CHECK(d_TimeCompare(8, 0, &four, 0, &wild, 0, 1, status) == 0);
  CHECK(d_TimeCompare(8, 0, &four, 0, &wild, 0x10, 1, status) != 0);
  // The rows order by bytes: 255 comes behind the 0 of five o'clock, though four is the earlier.
  CHECK(d_TimeCompare(8, 0, &four, 0, &five, 0, 1, status) == 1);
  d_Timestamp atFour(d_Date(2000, 1, 1), four), atFive(d_Date(2000, 1, 1), five);
  CHECK(d_TimestampCompare(8, 0, &atFour, 0, &atFive, 0, 1, status) == 1);
  CHECK((four < five && atFour < atFive));
  for (unsigned char d_Time::*field : {&d_Time::tzHour, &d_Time::tzMinute, &d_Time::hour,
                                       &d_Time::minute, &d_Time::second, &d_Time::hundredth}) {
    d_Time low(4, 7, 8.5f, 2, 30), high = low;
    ++(high.*field);
    CHECK(d_TimeCompare(8, 0, &low, 0, &high, 0x10, 1, status) == -1);
    CHECK(d_TimeCompare(8, 0, &high, 0, &low, 0x10, 1, status) == 1);
  }
  d_Date anyMonth(2000, 255, 3), march(2000, 3, 3), anyYear(-1, 3, 3), yearMinus2(-2, 3, 3);
  CHECK(d_DateCompare(8, 0, &anyYear, 0, &march, 0, 1, status) == 0);
  CHECK(d_DateCompare(8, 0, &yearMinus2, 0, &march, 0, 1, status) == -1);
  CHECK(d_DateCompare(8, 0, &anyMonth, 0, &march, 0, 1, status) == 0);
  CHECK(d_DateCompare(8, 0, &anyMonth, 0, &march, 0x10, 1, status) == 1);
  CHECK((anyMonth != march && march != anyMonth && wild != four && four != wild));
}
