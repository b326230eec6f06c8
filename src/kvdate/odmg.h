// What the ODMG classes and their rows share: the clock behind a time that is shifted by its zone,
// and the orders.
#pragma once

#include "kvdate/calendar.h"
#include "kvodmg.h"

namespace kv {

// Hour and minute as a clock shows them; -1 is a wildcard.
struct Clock {
  int hour;
  int minute;
};

// The zone bytes and what is shifted by them are signed numbers in unsigned bytes.
constexpr int SignedByte(unsigned char byte) {
  return static_cast<signed char>(byte);
}

// The wildcard of a component that is shifted by `zone`. A clock's value shifted by a zone east of
// Greenwich is never -1, and one shifted by a negative zone never below the zone.
constexpr unsigned char ShiftedWildcard(unsigned char zone) {
  const int shift = SignedByte(zone);
  return static_cast<unsigned char>(shift < 0 ? shift - 1 : -1);
}

constexpr int Modulo(int number, int base) {
  return SplitFloor(number, base).remainder;
}

inline Clock ClockOf(const d_Time& time) {
  const bool anyHour = time.hour == ShiftedWildcard(time.tzHour);
  const bool anyMinute = time.minute == ShiftedWildcard(time.tzMinute);
  const int hour = SignedByte(time.hour) - SignedByte(time.tzHour);
  const int minute = SignedByte(time.minute) - SignedByte(time.tzMinute);
  if (anyHour || anyMinute) {
    return {anyHour ? -1 : Modulo(hour, 24), anyMinute ? -1 : Modulo(minute, 60)};
  }
  const int minutes = Modulo(hour * 60 + minute, 1440);
  return {minutes / 60, minutes % 60};
}

// Sets hour and minute from a clock, shifted by the zone that `time` has.
inline void SetClock(d_Time& time, Clock clock) {
  const auto shift = [](int component, unsigned char zone) {
    return component == -1 ? ShiftedWildcard(zone)
                           : static_cast<unsigned char>(component + SignedByte(zone));
  };
  time.hour = shift(clock.hour, time.tzHour);
  time.minute = shift(clock.minute, time.tzMinute);
}

// Orders two components: -1, 0 or 1. The wildcard of an operand whose wildcards count matches
// anything.
struct ComponentOrder {
  bool firstMatches;
  bool secondMatches;

  constexpr int operator()(int a, int b, int wildcard) const {
    if (a == b || (firstMatches && a == wildcard) || (secondMatches && b == wildcard)) return 0;
    return a < b ? -1 : 1;
  }
};

// Without wildcards; with those of either operand, in memory; with those of the second one, stored.
inline constexpr ComponentOrder kStrictOrder{false, false};
constexpr ComponentOrder OrderInMemory(unsigned short flags) {
  const bool matches = (flags & kStrictCompare) == 0;
  return {matches, matches};
}
constexpr ComponentOrder OrderStored(unsigned short flags) {
  return {false, (flags & kStrictCompare) == 0};
}

// By year, month, day; 255 (for the year -1) is the wildcard.
inline int OrderOdmg(const d_Date& a, const d_Date& b, ComponentOrder order) {
  int result = order(a.year, b.year, -1);
  if (result == 0) result = order(a.month, b.month, 255);
  return result != 0 ? result : order(a.day, b.day, 255);
}

// The order of the rows: field by field as unsigned numbers, the zone first, so that values order
// as their stored bytes do.
inline int OrderOdmg(const d_Time& a, const d_Time& b, ComponentOrder order) {
  if (a.tzHour != b.tzHour) return a.tzHour < b.tzHour ? -1 : 1;
  if (a.tzMinute != b.tzMinute) return a.tzMinute < b.tzMinute ? -1 : 1;
  int result = order(a.hour, b.hour, ShiftedWildcard(a.tzHour));
  if (result == 0) result = order(a.minute, b.minute, ShiftedWildcard(a.tzMinute));
  if (result == 0) result = order(a.second, b.second, 255);
  return result != 0 ? result : order(a.hundredth, b.hundredth, 255);
}

inline int OrderOdmg(const d_Timestamp& a, const d_Timestamp& b, ComponentOrder order) {
  const int result = OrderOdmg(a.date, b.date, order);
  return result != 0 ? result : OrderOdmg(a.time, b.time, order);
}

// The order of the class, where earlier is less: the zone first, then hour and minute as the clock
// has them. Stored, the hours that a zone west of Greenwich makes negative come behind all others.
inline int OrderByClock(const d_Time& a, const d_Time& b) {
  const auto unshifted = [](d_Time time) {
    time.hour = static_cast<unsigned char>(time.hour - time.tzHour);
    time.minute = static_cast<unsigned char>(time.minute - time.tzMinute);
    return time;
  };
  return OrderOdmg(unshifted(a), unshifted(b), kStrictOrder);
}

}  // namespace kv
