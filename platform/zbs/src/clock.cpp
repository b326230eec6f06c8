// The system clock and the local time zone, both from the C library, so TZ governs local time.

#include <ctime>

#include "zbs.h"

namespace {

int (*timeZoneSource)() = nullptr;

struct Instant {
  std::tm fields;
  o_4b nanosecond;
  bool known;  // the C library could break the time down
};

Instant ReadClock(bool local) {
  std::timespec now{};
  std::timespec_get(&now, TIME_UTC);
  Instant instant{};
  instant.nanosecond = static_cast<o_4b>(now.tv_nsec);
  if (local) {
    tzset();  // localtime_r need not look at TZ by itself
    instant.known = localtime_r(&now.tv_sec, &instant.fields) != nullptr;
  } else {
    instant.known = gmtime_r(&now.tv_sec, &instant.fields) != nullptr;
  }
  return instant;
}

bdate DateOf(const Instant& instant) {
  return {static_cast<o_2b>(instant.fields.tm_year + 1900),
          static_cast<char>(instant.fields.tm_mon + 1), static_cast<char>(instant.fields.tm_mday)};
}

btime TimeOf(const Instant& instant) {
  const int second = instant.fields.tm_sec > 59 ? 59 : instant.fields.tm_sec;
  return {static_cast<char>(instant.fields.tm_hour), static_cast<char>(instant.fields.tm_min),
          static_cast<char>(second), static_cast<char>(instant.nanosecond / 10000000),
          static_cast<o_4b>(instant.fields.tm_gmtoff)};
}

void ReadHires(bhirestime& now, bool local) {
  const Instant instant = ReadClock(local);
  now = {DateOf(instant), TimeOf(instant), instant.nanosecond};
}

}  // namespace

void bksgetdate(bdate& date) {
  date = DateOf(ReadClock(true));
}

void bksgettime(btime& time) {
  time = TimeOf(ReadClock(true));
}

void bksgetsystemtime(btime& time, bdate& date) {
  const Instant instant = ReadClock(false);
  time = TimeOf(instant);
  date = DateOf(instant);
}

void bksGetHiresTime(bhirestime& now) {
  ReadHires(now, true);
}

void bksGetHiresTimeUTC(bhirestime& now) {
  ReadHires(now, false);
}

int bksgettimezone() {
  if (timeZoneSource != nullptr) return timeZoneSource();
  const Instant instant = ReadClock(true);
  return instant.known ? static_cast<int>(instant.fields.tm_gmtoff / 60) : kvNoTimeZone;
}

int (*KvSetTimeZoneSource(int (*source)()))() {
  int (*previous)() = timeZoneSource;
  timeZoneSource = source;
  return previous;
}
