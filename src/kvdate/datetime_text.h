// The one formatter and the one scanner of all date and time classes. kvdate.h describes the
// formats. Formats and texts may come from strangers: any of them gives a defined result.
//
// Both work on DateTimeParts, the widest record of components. A class fills in what it has, leaves
// 0 where it has nothing, and takes back what fits its fields.
#pragma once

#include <algorithm>
#include <climits>

#include "kvstring.h"

namespace kv {

// Which calendar names the weekday.
enum class WeekdayRule : unsigned char { kGregorian, kByCount };

struct DateTimeParts {
  int year = 0;
  int month = 0;
  int day = 0;
  int hour = 0;
  int minute = 0;
  int second = 0;
  int nanosecond = 0;

  WeekdayRule weekdayRule = WeekdayRule::kGregorian;
  bool plainHour = false;  // %I is the hour itself: a duration knows no noon
};

// Prints the parts into `out`, which becomes an 8-bit text with the defaults. When memory is short
// `out` stays as it was. `sign` is put in front of all unless it is 0.
KvString& FormatDateTime(KvString& out, const DateTimeParts& parts, const char* format,
                         char sign = 0);

// What a scan came to. The flags are one word: bytes written apart and then returned together would
// have to wait for each other.
class DateTimeScan {
 public:
  constexpr DateTimeScan(const char* end, bool complete, bool any, bool totalDays,
                         bool saturated = false)
      : end_(end),
        flags_((complete ? 1u : 0u) | (any ? 2u : 0u) | (totalDays ? 4u : 0u) |
               (saturated ? 8u : 0u)) {}

  // Behind what was read, or at what does not match.
  constexpr const char* End() const { return end_; }

  // The format was walked to its end.
  constexpr bool IsComplete() const { return (flags_ & 1) != 0; }
  // At least one component was read.
  constexpr bool HasAny() const { return (flags_ & 2) != 0; }
  // Year, month and day were read as one number of days, by %J.
  constexpr bool HasTotalDays() const { return (flags_ & 4) != 0; }
  // A number in the text was larger than a component can be.
  constexpr bool IsSaturated() const { return (flags_ & 8) != 0; }

 private:
  const char* end_;
  unsigned flags_;
};

// Reads the components that `text` (a zero-terminated text) gives into `parts`; the others stay.
// Bytes up to `end`, which may lie behind the terminator, may be looked at; `text` will do.
DateTimeScan ScanDateTime(DateTimeParts& parts, const char* text, const char* end,
                          const char* format);

// The English weekday, 0 Monday to 6 Sunday; "no day" for any other number.
const char* WeekdayName(int weekday);

// A component as a field keeps it: the nearest number that the field holds.
constexpr char ByteField(int component) {
  return static_cast<char>(std::clamp<int>(component, SCHAR_MIN, SCHAR_MAX));
}
constexpr short YearField(int component) {
  return static_cast<short>(std::clamp<int>(component, SHRT_MIN, SHRT_MAX));
}

}  // namespace kv
