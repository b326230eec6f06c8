// kvodmg.h - the date and time classes of the ODMG object model: d_Date, d_Time, d_Timestamp and
// d_Interval; catalogue rows D_DATE_T, D_TIME_T, D_TIMESTAMP_T and D_INTERVAL_T. Formats are those
// of kvdate.h. None of them has a null value.
//
//   d_Date day(2000, 1, 1);
//   day.next(d_Date::Monday);                       // 2000-01-03
//   d_Timestamp start(day, d_Time(22, 30, 0.0f));
//   start += d_Interval(0, 2);                      // 2000-01-04 00:30:00
//
// Memory form and stored form (the two bytes of a year, and the four of an interval, are reversed
// under byte-order code 2):
//
//   d_Date        0 year, 16 bits, signed   2 month, 8 bits, unsigned   3 day
//   d_Time        0 tzHour   1 tzMinute   2 hour   3 minute   4 second   5 hundredth; 8 bits each
//   d_Timestamp   0 date   4 time
//   d_Interval    0 seconds, IEEE single
//
// Calendar. Unlike KvDate, d_Date counts days by the Julian calendar up to 1582-10-04, which
// 1582-10-15 follows. Years are astronomical. Counts are true from 0000-03-01 on: they are cut
// toward zero, so that further back moving by days goes a day astray in years that are no leap
// years. Stored dates were counted so.
//
// Time zone. hour and minute hold the clock's values *shifted by the zone*: 10:00 in zone 2 is
// stored as hour 12. The zone bytes are signed numbers, and so are hour and minute, which a zone
// west of Greenwich may make negative (-2 is stored as 254). Printing takes the shift back.
//
// Wildcards. A component of -1 (255) matches anything when rows are compared and prints as "*". A
// shifted hour is -1 in its own right where the zone is negative: there the wildcard is one less
// than the zone. Minutes likewise.
#pragma once

#include "kvbase.h"
#include "kvdatime.h"

class d_Timestamp;

// ---------------------------------------------------------------------------------------------
// A signed number of seconds in single precision: exact to the second up to 194 days.
//
// Prints as the magnitude split into days, hours, minutes and seconds with a "-" in front when it
// is negative; %I is the hour itself. What does not fit prints as the largest number of days, NaN
// as 0.

class KV_EXPORT d_Interval {
 public:
  // The magnitudes are added up, and the sum negated when any argument is negative:
  // d_Interval(0, -1, 30) is -5400 seconds.
  explicit d_Interval(int days = 0, int hours = 0, int minutes = 0, float moreSeconds = 0);
  static d_Interval FromSeconds(float number) {
    d_Interval interval;
    interval.seconds = number;
    return interval;
  }

  friend d_Interval operator+(d_Interval a, d_Interval b) {
    return FromSeconds(a.seconds + b.seconds);
  }
  friend d_Interval operator-(d_Interval a, d_Interval b) {
    return FromSeconds(a.seconds - b.seconds);
  }
  d_Interval operator+() const { return *this; }
  d_Interval operator-() const { return FromSeconds(-seconds); }
  friend d_Interval operator*(d_Interval a, int factor) {
    return FromSeconds(a.seconds * static_cast<float>(factor));
  }
  friend d_Interval operator*(int factor, d_Interval a) { return a * factor; }
  // By 0: infinity, or NaN for no seconds.
  friend d_Interval operator/(d_Interval a, int divisor) {
    return FromSeconds(a.seconds / static_cast<float>(divisor));
  }

  float seconds;
};

// ---------------------------------------------------------------------------------------------

class KV_EXPORT d_Date {
 public:
  enum Weekday { Sunday, Monday, Tuesday, Wednesday, Thursday, Friday, Saturday };

  d_Date();  // today, local date
  d_Date(const KvDate& date)
      : year(date.year),
        month(static_cast<unsigned char>(date.month)),
        day(static_cast<unsigned char>(date.day)) {}
  // Day 1 is 1 January.
  d_Date(short yearNumber, unsigned short dayOfYear);
  // As given, modulo 256; nothing is checked.
  constexpr d_Date(short yearNumber, unsigned short monthNumber, unsigned short dayNumber)
      : year(yearNumber),
        month(static_cast<unsigned char>(monthNumber)),
        day(static_cast<unsigned char>(dayNumber)) {}

  static d_Date current() { return d_Date(); }

  // By year, month, day; wildcards mean nothing here.
  bool operator==(const d_Date& other) const { return Order(other) == 0; }
  bool operator!=(const d_Date& other) const { return Order(other) != 0; }
  bool operator<(const d_Date& other) const { return Order(other) < 0; }
  bool operator<=(const d_Date& other) const { return Order(other) <= 0; }
  bool operator>(const d_Date& other) const { return Order(other) > 0; }
  bool operator>=(const d_Date& other) const { return Order(other) >= 0; }

  d_Date operator++(int);  // one day on; result: the date before
  d_Date operator--(int);
  // By the whole days of the interval; what is left of it is dropped. An interval that is as near
  // to a whole number of days as its float can be (half a unit in the last place, the half
  // included) is that number. d_Interval(24859) has no float of its own.
  d_Date& operator+=(const d_Interval& interval);
  d_Date& operator-=(const d_Interval& interval) { return *this += -interval; }
  friend d_Date operator+(d_Date date, const d_Interval& interval) { return date += interval; }
  friend d_Date operator+(const d_Interval& interval, d_Date date) { return date += interval; }
  friend d_Date operator-(d_Date date, const d_Interval& interval) { return date -= interval; }

  Weekday day_of_week() const;
  int day_of_year() const;  // 1 on 1 January
  // 0 for a month that there is not. Every fourth year up to 1600 has a 29 February, the centuries
  // too.
  int days_in_month() const { return days_in_month(year, month); }
  static int days_in_month(short year, unsigned short month);

  // Move to the nearest such weekday after or before this day, a week away when it is one itself.
  // Result: this date.
  d_Date& next(Weekday weekday);
  d_Date& previous(Weekday weekday);

  short year;
  unsigned char month;
  unsigned char day;

 private:
  friend class d_Timestamp;
  int Order(const d_Date& other) const;
  int getAbsDate() const;      // the count: one less than the Julian day number
  void setAbsDate(int count);  // the inverse from 0000-03-01 on, but for October 1582's lost days
  d_Date& MoveBy(double days);
};

// ---------------------------------------------------------------------------------------------

class KV_EXPORT d_Time {
 public:
  using Time_Zone = int;  // whole hours east of Greenwich

  d_Time();  // now, local time of day, in the default zone
  // In the default zone, 0 hundredths.
  d_Time(const KvDateTime& dateTime) : d_Time(dateTime.time) {}
  d_Time(const KvTime& time);
  constexpr d_Time(const d_Timestamp& timestamp);
  // In the default zone. The fraction of `seconds` is cut to hundredths.
  d_Time(unsigned short hourNumber, unsigned short minuteNumber, float seconds);
  // In the given zone, which is added to hour and minute.
  d_Time(unsigned short hourNumber, unsigned short minuteNumber, float seconds, short zoneHour,
         short zoneMinute);
  // Seconds since midnight, in the default zone. Negative ones count back from the next midnight;
  // a day and more goes into the hour, modulo 256.
  explicit d_Time(int seconds);

  static d_Time current() { return d_Time(); }

  // The zone of every d_Time made without one; at first 0. Process-wide, for set-up time. Only its
  // low 8 bits reach a d_Time.
  static void set_default_Time_Zone(Time_Zone zone);
  // The whole hours of the local time's present offset. Where that is 0 or not known the default
  // stays.
  static void set_default_Time_Zone_to_local();

  // By the fields in their order, zone first; hours and minutes of one zone as the clock has them.
  // So equal times in different zones differ. Wildcards mean nothing here. The rows order by the
  // bytes as they are stored instead: in a zone west of Greenwich its first hours come last.
  bool operator==(const d_Time& other) const { return Order(other) == 0; }
  bool operator!=(const d_Time& other) const { return Order(other) != 0; }
  bool operator<(const d_Time& other) const { return Order(other) < 0; }
  bool operator<=(const d_Time& other) const { return Order(other) <= 0; }
  bool operator>(const d_Time& other) const { return Order(other) > 0; }
  bool operator>=(const d_Time& other) const { return Order(other) >= 0; }

  // Around the clock. Calculated in single precision: late in the day hundredths may be off by one.
  // The shifted hour is reduced to 0 to 23. An interval that is not finite changes nothing.
  d_Time& operator+=(const d_Interval& interval);
  d_Time& operator-=(const d_Interval& interval) { return *this += -interval; }
  friend d_Time operator+(d_Time time, const d_Interval& interval) { return time += interval; }
  friend d_Time operator+(const d_Interval& interval, d_Time time) { return time += interval; }
  friend d_Time operator-(d_Time time, const d_Interval& interval) { return time -= interval; }
  // Between the stored hours, minutes and seconds; zones and hundredths do not count.
  friend d_Interval operator-(const d_Time& a, const d_Time& b) {
    return d_Interval::FromSeconds(static_cast<float>(a.WholeSeconds() - b.WholeSeconds()));
  }

  unsigned char tzHour;
  unsigned char tzMinute;
  unsigned char hour;
  unsigned char minute;
  unsigned char second;
  unsigned char hundredth;

 private:
  int Order(const d_Time& other) const;
  int WholeSeconds() const;
};

// ---------------------------------------------------------------------------------------------

class KV_EXPORT d_Timestamp {
 public:
  d_Timestamp();  // now
  // From its parts, in the default zone.
  d_Timestamp(short year, unsigned short month, unsigned short day, unsigned short hour = 0,
              unsigned short minute = 0, float seconds = 0);
  d_Timestamp(const d_Date& newDate);  // at 00:00:00
  constexpr d_Timestamp(const d_Date& newDate, const d_Time& newTime)
      : date(newDate), time(newTime) {}
  d_Timestamp(const KvDateTime& dateTime) : date(dateTime.date), time(dateTime.time) {}

  static d_Timestamp current() { return d_Timestamp(); }

  // Replaces only the date.
  d_Timestamp& operator=(const d_Date& newDate) {
    date = newDate;
    return *this;
  }

  // By date, then by time.
  bool operator==(const d_Timestamp& other) const { return Order(other) == 0; }
  bool operator!=(const d_Timestamp& other) const { return Order(other) != 0; }
  bool operator<(const d_Timestamp& other) const { return Order(other) < 0; }
  bool operator<=(const d_Timestamp& other) const { return Order(other) <= 0; }
  bool operator>(const d_Timestamp& other) const { return Order(other) > 0; }
  bool operator>=(const d_Timestamp& other) const { return Order(other) >= 0; }

  // Exact to the hundredth; the zone stays. An interval that is not finite changes nothing.
  d_Timestamp& operator+=(const d_Interval& interval);
  d_Timestamp& operator-=(const d_Interval& interval) { return *this += -interval; }
  friend d_Timestamp operator+(d_Timestamp timestamp, const d_Interval& interval) {
    return timestamp += interval;
  }
  friend d_Timestamp operator+(const d_Interval& interval, d_Timestamp timestamp) {
    return timestamp += interval;
  }
  friend d_Timestamp operator-(d_Timestamp timestamp, const d_Interval& interval) {
    return timestamp -= interval;
  }

  d_Date date;
  d_Time time;

 private:
  int Order(const d_Timestamp& other) const;
};

constexpr d_Time::d_Time(const d_Timestamp& timestamp) : d_Time(timestamp.time) {}

static_assert(sizeof(d_Date) == 4 && sizeof(d_Time) == 6 && sizeof(d_Timestamp) == 10 &&
              sizeof(d_Interval) == 4);

// ---------------------------------------------------------------------------------------------
// Whether two ranges have a point in common: 1 or 0. Both ends belong to a range, and come in any
// order. The mixed forms compare a date with a timestamp's date and a time with a timestamp's time.

KV_EXPORT int overlaps(const d_Date& a1, const d_Date& a2, const d_Date& b1, const d_Date& b2);
KV_EXPORT int overlaps(const d_Time& a1, const d_Time& a2, const d_Time& b1, const d_Time& b2);
KV_EXPORT int overlaps(const d_Timestamp& a1, const d_Timestamp& a2, const d_Timestamp& b1,
                       const d_Timestamp& b2);
KV_EXPORT int overlaps(const d_Date& a1, const d_Date& a2, const d_Timestamp& b1,
                       const d_Timestamp& b2);
KV_EXPORT int overlaps(const d_Timestamp& a1, const d_Timestamp& a2, const d_Date& b1,
                       const d_Date& b2);
KV_EXPORT int overlaps(const d_Time& a1, const d_Time& a2, const d_Timestamp& b1,
                       const d_Timestamp& b2);
KV_EXPORT int overlaps(const d_Timestamp& a1, const d_Timestamp& a2, const d_Time& b1,
                       const d_Time& b2);
