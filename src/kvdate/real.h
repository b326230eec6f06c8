// Whether a calendar and a clock have what a date or time says. The values themselves hold any
// numbers: stored bytes and texts from strangers may name a month 13.
#pragma once

#include "kvdate/odmg.h"
#include "kvdatime.h"

namespace kv {

constexpr bool IsComponent(int component, int least, int most) {
  return component == -1 || (component >= least && component <= most);
}

// A day of the calendar, or one that could be: with a wildcard in it.
inline bool IsReal(const KvDate& date) {
  if (date.IsDate()) return true;
  const bool hasWildcard = date.year == -1 || date.month == -1 || date.day == -1;
  return hasWildcard && IsComponent(date.month, 1, 12) && IsComponent(date.day, 1, 31);
}

inline bool IsReal(const KvTime& time) {
  return IsComponent(time.hour, 0, 23) && IsComponent(time.minute, 0, 59) &&
         IsComponent(time.second, 0, 59);
}

inline bool IsReal(const KvDateTime& moment) {
  return IsReal(moment.date) && IsReal(moment.time);
}

inline bool IsReal(const KvDateTimeN& moment) {
  return IsReal(moment.date) && IsReal(moment.time) && IsComponent(moment.nanosecond, 0, 999999999);
}

// Its calendar has leap days that that of KvDate lacks.
inline bool IsReal(const d_Date& date) {
  return IsReal(KvDate(date.year, static_cast<char>(date.month), static_cast<char>(date.day))) ||
         (date.day >= 1 && date.day <= date.days_in_month());
}

// Hour and minute are shifted by the zone, and a clock is what is left when that is taken off. The
// shift stays within the signed byte that the sum is kept in.
inline bool IsReal(const d_Time& time) {
  const auto onClock = [](unsigned char component, unsigned char zone, int most) {
    const int shown = SignedByte(component) - SignedByte(zone);
    return component == ShiftedWildcard(zone) || (shown >= 0 && shown <= most);
  };
  return onClock(time.hour, time.tzHour, 23) && onClock(time.minute, time.tzMinute, 59) &&
         IsComponent(SignedByte(time.second), 0, 59) &&
         IsComponent(SignedByte(time.hundredth), 0, 99);
}

inline bool IsReal(const d_Timestamp& moment) {
  return IsReal(moment.date) && IsReal(moment.time);
}

}  // namespace kv
