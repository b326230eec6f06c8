// KvDateTime, KvDateTimeN and KvTimeSpan. The additions of the two classes with nanoseconds are one
// carry chain: nanoseconds, seconds, minutes, hours, days.
#include "kvdatime.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <climits>

#include "kvdate/calendar.h"
#include "kvdate/distinguished.h"
#include "kvdate/parts.h"
#include "zbs.h"

template <>
constinit const kv::Distinguished<KvDateTime> kv::kDistinguished<KvDateTime>{
    .null = {KvDate(-32768, -128, -128), KvTime(-128, -128, -128)},
    .zero = {KvDate(0, 1, 1), KvTime(0, 0, 0)},
    .initial = {KvDate(-4713, 11, 24), KvTime(0, 0, 0)}};

template <>
constinit const kv::Distinguished<KvDateTimeN> kv::kDistinguished<KvDateTimeN>{
    .null = {-32768, -128, -128, -128, -128, -128, 0},
    .zero = {0, 1, 1, 0, 0, 0, 0},
    .initial = {-4713, 11, 24, 0, 0, 0, 0}};

namespace {

constexpr KvTimeSpan SpanWithBytesOf(const KvDateTimeN& dateTime) {
  KvTimeSpan span;
  span.date = dateTime.date;
  span.time = dateTime.time;
  span.nanosecond = dateTime.nanosecond;
  return span;
}

}  // namespace

// Null and default have the bytes of a KvDateTimeN's.
template <>
constinit const kv::Distinguished<KvTimeSpan> kv::kDistinguished<KvTimeSpan>{
    .null = SpanWithBytesOf({-32768, -128, -128, -128, -128, -128, 0}),
    .zero = {},
    .initial = SpanWithBytesOf({-4713, 11, 24, 0, 0, 0, 0})};

template class KvDistinguishedValues<KvDateTime>;
template class KvDistinguishedValues<KvDateTimeN>;
template class KvDistinguishedValues<KvTimeSpan>;

namespace {

constexpr int kNanoseconds = 1000000000;
constexpr int kSecondsOfDay = 86400;
constexpr int kMinutesOfDay = 1440;
constexpr int kDayNumberOfZero = kv::DayNumber(0, 1, 1);

// ---------------------------------------------------------------------------------------------
// The carry chain. A carry of 0 is added too: what is out of range in a higher component is brought
// into it whatever is added.

constexpr short ClampYear(std::int64_t year) {
  return static_cast<short>(std::clamp<std::int64_t>(year, SHRT_MIN, SHRT_MAX));
}

// Splits `number` into multiples of `base` and a rest. A negative rest is borrowed from the
// multiples unless everything above is 0: only then may a lower component be negative.
struct Borrowed {
  std::int64_t carry;
  char rest;
};
Borrowed SplitBorrowing(std::int64_t number, int base, bool higherAreZero) {
  std::int64_t carry = number / base;
  auto rest = static_cast<char>(number % base);
  if (rest < 0 && !(carry == 0 && higherAreZero)) {
    rest = static_cast<char>(rest + base);
    --carry;
  }
  return {carry, rest};
}

void AddDaysOf30(KvDate& date, std::int64_t days) {
  const Borrowed day = SplitBorrowing(date.day + days, 30, date.month == 0 && date.year == 0);
  const Borrowed month = SplitBorrowing(date.month + day.carry, 12, date.year == 0);
  date = KvDate(ClampYear(date.year + month.carry), month.rest, day.rest);
}

void AddDaysTo(KvTimeSpan& span, std::int64_t days) {
  AddDaysOf30(span.date, days);
}

void AddDaysTo(KvDateTimeN& dateTime, std::int64_t days) {
  KvDate& date = dateTime.date;
  if (!date.IsDate()) return AddDaysOf30(date, days);
  const std::int64_t number = date.dayabs() + days;
  date = static_cast<int>(number) == number
             ? KvDate(static_cast<int>(number))
             : std::bit_cast<KvDate>(kv::DateOfDayNumberByFormula(number));
}

// Adds to one component and brings it into 0 to base - 1. Result: what goes to the next one.
template <class Component>
std::int64_t CarryOut(Component& component, std::int64_t amount, int base) {
  const kv::FloorSplit split = kv::SplitFloor(amount, base);
  const kv::FloorSplit sum = kv::SplitFloor(std::int64_t{component} + split.remainder, base);
  component = static_cast<Component>(sum.remainder);
  return split.quotient + sum.quotient;
}

template <class T>
void AddHoursTo(T& value, std::int64_t hours) {
  AddDaysTo(value, CarryOut(value.time.hour, hours, 24));
}

template <class T>
void AddMinutesTo(T& value, std::int64_t minutes) {
  AddHoursTo(value, CarryOut(value.time.minute, minutes, 60));
}

template <class T>
void AddSecondsTo(T& value, std::int64_t seconds) {
  AddMinutesTo(value, CarryOut(value.time.second, seconds, 60));
}

template <class T>
void AddNanosecondsTo(T& value, std::int64_t nanoseconds) {
  AddSecondsTo(value, CarryOut(value.nanosecond, nanoseconds, kNanoseconds));
}

std::int64_t NanosecondsOf(double seconds) {
  return kv::TruncateSaturating(seconds * 1e9);
}

// ---------------------------------------------------------------------------------------------

template <class T>
KvDateTime ToTheSecond(const T& value) {
  return KvDateTime(value.date, value.time);
}

template <class T>
int CompareWithNanoseconds(const T& a, const T& b, unsigned short flags) {
  const int order = ToTheSecond(a).Compare(ToTheSecond(b), flags);
  if (order != 0) return order;
  const bool strict = (flags & kv::kStrictCompare) != 0;
  if (!strict && (a.nanosecond == -1 || b.nanosecond == -1)) return 0;
  return (a.nanosecond > b.nanosecond) - (a.nanosecond < b.nanosecond);
}

bhirestime ReadClock(void (*source)(bhirestime&)) {
  bhirestime now;
  source(now);
  return now;
}

KvDateTimeN FromClock(const bhirestime& now) {
  return {now.date.year,   now.date.month,  now.date.day,  now.time.hour,
          now.time.minute, now.time.second, now.nanosecond};
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// KvNanosecondValue

template <class Value>
void KvNanosecondValue<Value>::AddDays(int days) {
  AddDaysTo(Self(), days);
}
template <class Value>
void KvNanosecondValue<Value>::AddHours(int hours) {
  AddHoursTo(Self(), hours);
}
template <class Value>
void KvNanosecondValue<Value>::AddMinutes(int minutes) {
  AddMinutesTo(Self(), minutes);
}
template <class Value>
void KvNanosecondValue<Value>::AddSeconds(int seconds) {
  AddSecondsTo(Self(), seconds);
}
template <class Value>
void KvNanosecondValue<Value>::AddSeconds(o_8b seconds) {
  AddSecondsTo(Self(), seconds);
}
template <class Value>
void KvNanosecondValue<Value>::AddSeconds(double seconds) {
  AddNanosecondsTo(Self(), NanosecondsOf(seconds));
}
template <class Value>
void KvNanosecondValue<Value>::AddNanoSeconds(int nanoseconds) {
  AddNanosecondsTo(Self(), nanoseconds);
}
template <class Value>
void KvNanosecondValue<Value>::AddNanoSeconds(o_8b nanoseconds) {
  AddNanosecondsTo(Self(), nanoseconds);
}

template <class Value>
o_8b KvNanosecondValue<Value>::GetTotalSeconds() const {
  return std::int64_t{Self().GetTotalDays()} * kSecondsOfDay + int{Self().time};
}
template <class Value>
o_8b KvNanosecondValue<Value>::GetTotalNanoSeconds() const {
  return kv::WrappingMultiplyAdd(GetTotalSeconds(), kNanoseconds, Self().nanosecond);
}
template <class Value>
double KvNanosecondValue<Value>::GetTotalSeconds_f() const {
  return static_cast<double>(GetTotalSeconds()) + Self().nanosecond / 1e9;
}

template <class Value>
void KvNanosecondValue<Value>::SetTotalDays(int days) {
  SetZero();
  AddDays(days);
}
template <class Value>
void KvNanosecondValue<Value>::SetTotalSeconds(o_8b seconds) {
  SetZero();
  AddSeconds(seconds);
}
template <class Value>
void KvNanosecondValue<Value>::SetTotalSeconds(double seconds) {
  SetZero();
  AddSeconds(seconds);
}
template <class Value>
void KvNanosecondValue<Value>::SetTotalNanoSeconds(o_8b nanoseconds) {
  SetZero();
  AddNanoSeconds(nanoseconds);
}
template <class Value>
void KvNanosecondValue<Value>::SetZero() {
  this->SetZeroValue();
}

template class KvNanosecondValue<KvDateTimeN>;
template class KvNanosecondValue<KvTimeSpan>;

// ---------------------------------------------------------------------------------------------
// KvDateTime

KvDateTime::KvDateTime() : KvDateTime(ZeroValue()) {
  Now();
}

KvDateTime& KvDateTime::Now() {
  const KvDateTimeN now = FromClock(ReadClock(bksGetHiresTime));  // date and time of one instant
  date = now.date;
  time = now.time;
  return *this;
}

KvDateTime& KvDateTime::NowUTC() {
  btime now;
  bdate today;
  bksgetsystemtime(now, today);
  date = KvDate(today.year, today.month, today.day);
  time = KvTime(now.hour, now.minute, now.second);
  return *this;
}

void KvDateTime::AddSeconds(int seconds) {
  int days = seconds / kSecondsOfDay;
  const int rest = seconds % kSecondsOfDay;
  const KvTime before = time;
  time += rest;
  if (rest < 0 && time > before) --days;
  if (rest >= 0 && time < before) ++days;
  date += days;
}

namespace {

// Shifts by minutes and carries one day at most: a zone is some hours. A host may give any number;
// hours keep their low 8 bits.
void ShiftByMinutes(KvDateTime& dateTime, std::int64_t zone) {
  const std::int64_t minutes = dateTime.time.hour * 60 + dateTime.time.minute + zone;
  std::int64_t hour = minutes / 60;
  std::int64_t minute = minutes % 60;
  if (minutes < 0) {
    --dateTime.date;
    hour += minute != 0 ? 23 : 24;
    minute += minute != 0 ? 60 : 0;
  } else if (minutes >= kMinutesOfDay) {
    ++dateTime.date;
    hour -= 24;
  }
  dateTime.time.hour = static_cast<char>(hour);
  dateTime.time.minute = static_cast<char>(minute);
}

}  // namespace

int KvDateTime::ToLocalTime() {
  const int zone = bksgettimezone();
  if (zone == kvNoTimeZone) return kvNoTimeZone;
  ShiftByMinutes(*this, zone);
  return kvOk;
}

int KvDateTime::ToUTCTime() {
  const int zone = bksgettimezone();
  if (zone == kvNoTimeZone) return kvNoTimeZone;
  ShiftByMinutes(*this, -std::int64_t{zone});
  return kvOk;
}

KvString& KvDateTime::PrintToKvString(KvString& out, const char* format) const {
  return kv::PrintDateTime(out, *this, format);
}

int KvDateTime::ScanFromKvString(const KvString& in, const char* format) {
  return kv::ScanDateTimeText(*this, in, format);
}

// ---------------------------------------------------------------------------------------------
// KvDateTimeN

KvDateTimeN::KvDateTimeN() : KvDateTimeN(FromClock(ReadClock(bksGetHiresTime))) {}

KvDateTimeN::KvDateTimeN(double seconds) : KvDateTimeN(ZeroValue()) {
  AddSeconds(seconds);
}

int KvDateTimeN::GetTotalDays() const {
  return date.dayabs() - kDayNumberOfZero;
}

int KvDateTimeN::Compare(const KvDateTimeN& other, unsigned short flags) const {
  return CompareWithNanoseconds(*this, other, flags);
}

KvDateTimeN& KvDateTimeN::Now() {
  return *this = FromClock(ReadClock(bksGetHiresTime));
}
KvDateTimeN& KvDateTimeN::NowUTC() {
  return *this = FromClock(ReadClock(bksGetHiresTimeUTC));
}

int KvDateTimeN::ToLocalTime() {
  const int zone = bksgettimezone();
  if (zone == kvNoTimeZone) return kvNoTimeZone;
  AddMinutesTo(*this, zone);
  return kvOk;
}

int KvDateTimeN::ToUTCTime() {
  const int zone = bksgettimezone();
  if (zone == kvNoTimeZone) return kvNoTimeZone;
  AddMinutesTo(*this, -std::int64_t{zone});
  return kvOk;
}

KvString& KvDateTimeN::PrintToKvString(KvString& out, const char* format) const {
  return kv::PrintDateTime(out, *this, format);
}

int KvDateTimeN::ScanFromKvString(const KvString& in, const char* format) {
  return kv::ScanDateTimeText(*this, in, format);
}

// ---------------------------------------------------------------------------------------------
// KvTimeSpan

KvTimeSpan::KvTimeSpan(int days, int hours, int minutes, int seconds, int nanoseconds)
    : KvTimeSpan() {
  AddDays(days);
  SetHours(hours);
  SetMinutes(minutes);
  SetSeconds(seconds);
  SetNanoSeconds(nanoseconds);
}

KvTimeSpan::KvTimeSpan(double seconds) : KvTimeSpan() {
  AddSeconds(seconds);
}

int KvTimeSpan::GetTotalDays() const {
  return date.day + (date.month + 12 * date.year) * 30;
}

int KvTimeSpan::Compare(const KvTimeSpan& other, unsigned short flags) const {
  return CompareWithNanoseconds(*this, other, flags);
}

namespace {

// One second on, where the day may end as 24:00:00: the day it stands in stays the same.
KvTime NextSecond(KvTime time) {
  return time == KvTime(23, 59, 59) ? KvTime(24, 0, 0) : time + 1;
}

}  // namespace

KvTimeSpan KvTimeSpan::Difference(const KvDateTimeN& a, const KvDateTimeN& b) {
  KvDateTimeN later = a.IsNullValue() ? KvDateTimeN::ClearValue() : a;
  KvDateTimeN earlier = b.IsNullValue() ? KvDateTimeN::ClearValue() : b;
  if (later.Compare(earlier, kv::kStrictCompare) < 0) std::swap(later, earlier);

  int days = later.date - earlier.date;
  std::int64_t nanoseconds = std::int64_t{later.nanosecond} - earlier.nanosecond;
  if (nanoseconds < 0) {
    nanoseconds += kNanoseconds;
    earlier.time = NextSecond(earlier.time);
  }
  if (later.time < earlier.time && days >= 1) {
    --days;
    later.time.hour = static_cast<char>(later.time.hour + 24);
  }
  // Dates that the calendar does not have may order one way and count the other.
  days = std::max(days, 0);
  KvTimeSpan span;
  span.date = KvDate(ClampYear(days / 360), static_cast<char>(days % 360 / 30),
                     static_cast<char>(days % 30));
  span.time = later.time - earlier.time;
  span.nanosecond = static_cast<int>(nanoseconds);
  return span;
}

KvString& KvTimeSpan::PrintToKvString(KvString& out, const char* format) const {
  return kv::PrintDateTime(out, *this, format);
}

int KvTimeSpan::ScanFromKvString(const KvString& in, const char* format) {
  return kv::ScanDateTimeText(*this, in, format);
}

// ---------------------------------------------------------------------------------------------

int GetSystemTimeInMSSinceTheEpoch(KvInt64& out) {
  using namespace std::chrono;
  out = KvInt64(o_8b{duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count()});
  return kvOk;
}
