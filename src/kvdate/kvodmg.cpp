// d_Date, d_Time, d_Timestamp and d_Interval.
#include "kvodmg.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "kvdate/odmg.h"
#include "zbs.h"

namespace {

constexpr float kSecondsOfDay = 86400;

d_Time::Time_Zone defaultZone = 0;

void SetZone(d_Time& time, int zoneHour, int zoneMinute) {
  time.tzHour = static_cast<unsigned char>(zoneHour);
  time.tzMinute = static_cast<unsigned char>(zoneMinute);
}

// Whole seconds, and the fraction cut to hundredths; both modulo 256, NaN 0.
void SetSeconds(d_Time& time, float seconds) {
  const float whole = std::trunc(seconds);
  time.second = static_cast<unsigned char>(kv::TruncateSaturating(whole));
  time.hundredth = static_cast<unsigned char>(kv::TruncateSaturating((seconds - whole) * 100));
}

void SetFromClock(d_Time& time, int hour, int minute, int zoneHour, int zoneMinute) {
  SetZone(time, zoneHour, zoneMinute);
  // Not through SetClock: what is given here is a number, never a wildcard.
  time.hour = static_cast<unsigned char>(zoneHour + hour);
  time.minute = static_cast<unsigned char>(zoneMinute + minute);
}

void SetWhole(d_Time& time, int hour, int minute, int second) {
  SetFromClock(time, hour, minute, static_cast<signed char>(defaultZone), 0);
  time.second = static_cast<unsigned char>(second);
  time.hundredth = 0;
}

// The days of a number of seconds that a float may only be near: 24,859 days have no float of their
// own. A whole number of days that would have been rounded to this float is meant; else the rest of
// a day is dropped.
double DaysOf(float seconds) {
  const double days = double{seconds} / double{kSecondsOfDay};
  if (!std::isfinite(seconds)) return days;
  const float magnitude = std::fabs(seconds);
  const double unitInLastPlace =
      double{std::nextafter(magnitude, std::numeric_limits<float>::infinity())} - double{magnitude};
  const double nearest = std::round(days);
  const double distance = std::fabs(nearest * double{kSecondsOfDay} - double{seconds});
  return distance <= unitInLastPlace / 2 ? nearest : std::trunc(days);
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// d_Interval

d_Interval::d_Interval(int days, int hours, int minutes, float moreSeconds) {
  const bool negative = days < 0 || hours < 0 || minutes < 0 || moreSeconds < 0;
  const double magnitude = std::fabs(minutes * 60.0) + std::fabs(double{moreSeconds}) +
                           std::fabs(hours * 3600.0) + std::fabs(days * 86400.0);
  seconds = static_cast<float>(negative ? -magnitude : magnitude);
}

// ---------------------------------------------------------------------------------------------
// d_Date

d_Date::d_Date() : d_Date(KvDate()) {}

d_Date::d_Date(short yearNumber, unsigned short dayOfYear) : d_Date(yearNumber, 1, 1) {
  MoveBy(dayOfYear - 1);
}

int d_Date::Order(const d_Date& other) const {
  return kv::OrderOdmg(*this, other, kv::kStrictOrder);
}

int d_Date::getAbsDate() const {
  return kv::CountOfDate(year, month, day);
}

void d_Date::setAbsDate(int count) {
  const kv::CalendarDate date = kv::DateOfCount(count);
  *this = KvDate(date.year, date.month, date.day);
}

d_Date& d_Date::MoveBy(double days) {
  const std::int64_t whole =
      std::clamp<std::int64_t>(kv::TruncateSaturating(days), INT32_MIN, INT32_MAX);
  setAbsDate(kv::WrappingAdd(getAbsDate(), static_cast<int>(whole)));
  return *this;
}

d_Date d_Date::operator++(int) {
  const d_Date before = *this;
  MoveBy(1);
  return before;
}

d_Date d_Date::operator--(int) {
  const d_Date before = *this;
  MoveBy(-1);
  return before;
}

d_Date& d_Date::operator+=(const d_Interval& interval) {
  return MoveBy(DaysOf(interval.seconds));
}

d_Date::Weekday d_Date::day_of_week() const {
  return static_cast<Weekday>(kv::WeekdayOfCount(getAbsDate()));
}

int d_Date::day_of_year() const {
  return getAbsDate() - d_Date(year, 1, 1).getAbsDate() + 1;
}

int d_Date::days_in_month(short year, unsigned short month) {
  return kv::DaysInJulianMonth(year, month);
}

d_Date& d_Date::next(Weekday weekday) {
  const int days = weekday - day_of_week();
  return MoveBy(days < 1 ? days + 7 : days);
}

d_Date& d_Date::previous(Weekday weekday) {
  const int days = day_of_week() - weekday;
  return MoveBy(-(days < 1 ? days + 7 : days));
}

// ---------------------------------------------------------------------------------------------
// d_Time

d_Time::d_Time() {
  btime now;
  bksgettime(now);
  SetWhole(*this, now.hour, now.minute, now.second);
  hundredth = static_cast<unsigned char>(now.hundredth);
}

d_Time::d_Time(const KvTime& time) {
  SetWhole(*this, time.hour, time.minute, time.second);
}

d_Time::d_Time(unsigned short hourNumber, unsigned short minuteNumber, float seconds) {
  SetWhole(*this, hourNumber, minuteNumber, 0);
  SetSeconds(*this, seconds);
}

d_Time::d_Time(unsigned short hourNumber, unsigned short minuteNumber, float seconds,
               short zoneHour, short zoneMinute) {
  SetFromClock(*this, hourNumber, minuteNumber, zoneHour, zoneMinute);
  SetSeconds(*this, seconds);
}

d_Time::d_Time(int seconds) {
  const int n = seconds < 0 ? kv::SplitFloor(seconds, 86400).remainder : seconds;
  SetWhole(*this, n / 3600, n % 3600 / 60, n % 60);
}

void d_Time::set_default_Time_Zone(Time_Zone zone) {
  defaultZone = zone;
}

void d_Time::set_default_Time_Zone_to_local() {
  btime now;
  bksgettime(now);
  if (now.zoneOffset != 0) defaultZone = now.zoneOffset / 3600;
}

int d_Time::Order(const d_Time& other) const {
  return kv::OrderByClock(*this, other);
}

int d_Time::WholeSeconds() const {
  return (kv::SignedByte(hour) * 60 + kv::SignedByte(minute)) * 60 + second;
}

d_Time& d_Time::operator+=(const d_Interval& interval) {
  if (!std::isfinite(interval.seconds)) return *this;
  const float stored = static_cast<float>(WholeSeconds()) + static_cast<float>(hundredth) / 100;
  float inDay = std::fmod(stored + interval.seconds, kSecondsOfDay);
  if (inDay < 0) inDay += kSecondsOfDay;
  const float whole = std::trunc(inDay);
  // A sum just below midnight may have been rounded up to it.
  const int seconds = static_cast<int>(whole) % 86400;
  hour = static_cast<unsigned char>(seconds / 3600);
  minute = static_cast<unsigned char>(seconds % 3600 / 60);
  SetSeconds(*this, (inDay - whole) + static_cast<float>(seconds % 60));
  return *this;
}

// ---------------------------------------------------------------------------------------------
// d_Timestamp

namespace {

d_Timestamp TimestampNow() {
  bhirestime now;
  bksGetHiresTime(now);  // date and time of one instant
  d_Timestamp stamp(KvDateTime(KvDate(now.date.year, now.date.month, now.date.day),
                               KvTime(now.time.hour, now.time.minute, now.time.second)));
  stamp.time.hundredth = static_cast<unsigned char>(now.time.hundredth);
  return stamp;
}

}  // namespace

d_Timestamp::d_Timestamp() : d_Timestamp(TimestampNow()) {}

d_Timestamp::d_Timestamp(short year, unsigned short month, unsigned short day, unsigned short hour,
                         unsigned short minute, float seconds)
    : date(year, month, day), time(hour, minute, seconds) {}

d_Timestamp::d_Timestamp(const d_Date& newDate) : date(newDate), time(0, 0, 0.0f) {}

int d_Timestamp::Order(const d_Timestamp& other) const {
  const int order = date.Order(other.date);
  return order != 0 ? order : kv::OrderByClock(time, other.time);
}

// In hundredths of a second, so that none is lost whatever the size of the interval. The fraction
// of an interval in single precision may lie a hair below the hundredth that is meant.
d_Timestamp& d_Timestamp::operator+=(const d_Interval& interval) {
  if (!std::isfinite(interval.seconds)) return *this;
  constexpr double kHair = 0.001;
  constexpr double kHundredthsOfDay = 8640000;
  const double move = double{interval.seconds} * 100;
  const int hours = kv::SignedByte(time.hour) - kv::SignedByte(time.tzHour);
  const int minutes = kv::SignedByte(time.minute) - kv::SignedByte(time.tzMinute);
  const double total = ((hours * 60 + minutes) * 60 + time.second) * 100 + time.hundredth +
                       std::trunc(move + std::copysign(kHair, move));
  const double days = std::floor(total / kHundredthsOfDay);
  const int rest = static_cast<int>(total - days * kHundredthsOfDay);
  date.MoveBy(days);
  SetFromClock(time, rest / 360000, rest % 360000 / 6000, kv::SignedByte(time.tzHour),
               kv::SignedByte(time.tzMinute));
  time.second = static_cast<unsigned char>(rest % 6000 / 100);
  time.hundredth = static_cast<unsigned char>(rest % 100);
  return *this;
}

// ---------------------------------------------------------------------------------------------
// Overlaps

namespace {

// Two ranges have a point in common when neither ends before the other begins.
template <class T>
int RangesOverlap(const T& a1, const T& a2, const T& b1, const T& b2) {
  const auto [aLow, aHigh] = std::minmax(a1, a2);
  const auto [bLow, bHigh] = std::minmax(b1, b2);
  return aLow <= bHigh && bLow <= aHigh ? 1 : 0;
}

}  // namespace

int overlaps(const d_Date& a1, const d_Date& a2, const d_Date& b1, const d_Date& b2) {
  return RangesOverlap(a1, a2, b1, b2);
}

int overlaps(const d_Time& a1, const d_Time& a2, const d_Time& b1, const d_Time& b2) {
  return RangesOverlap(a1, a2, b1, b2);
}

int overlaps(const d_Timestamp& a1, const d_Timestamp& a2, const d_Timestamp& b1,
             const d_Timestamp& b2) {
  return RangesOverlap(a1, a2, b1, b2);
}

int overlaps(const d_Date& a1, const d_Date& a2, const d_Timestamp& b1, const d_Timestamp& b2) {
  return RangesOverlap(a1, a2, b1.date, b2.date);
}

int overlaps(const d_Timestamp& a1, const d_Timestamp& a2, const d_Date& b1, const d_Date& b2) {
  return RangesOverlap(a1.date, a2.date, b1, b2);
}

int overlaps(const d_Time& a1, const d_Time& a2, const d_Timestamp& b1, const d_Timestamp& b2) {
  return RangesOverlap(a1, a2, b1.time, b2.time);
}

int overlaps(const d_Timestamp& a1, const d_Timestamp& a2, const d_Time& b1, const d_Time& b2) {
  return RangesOverlap(a1.time, a2.time, b1, b2);
}
