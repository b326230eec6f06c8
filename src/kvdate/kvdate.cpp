// KvDate and KvTime: what is not plain arithmetic.
#include "kvdate.h"

#include "kvdate/calendar.h"
#include "kvdate/distinguished.h"
#include "kvdate/parts.h"
#include "zbs.h"

template <>
constinit const kv::Distinguished<KvDate> kv::kDistinguished<KvDate>{
    .null = {-32768, -128, -128}, .zero = {0, 1, 1}, .initial = {-4713, 11, 24}};
static_assert(KvDate(0) == KvDate(-4713, 11, 24), "the default date is day number 0");

template <>
constinit const kv::Distinguished<KvTime> kv::kDistinguished<KvTime>{
    .null = {-128, -128, -128}, .zero = {0, 0, 0}, .initial = {0, 0, 0}};

template class KvDistinguishedValues<KvDate>;
template class KvDistinguishedValues<KvTime>;

namespace {

// |a|, also of the number that has no positive counterpart.
unsigned Magnitude(int a) {
  return a < 0 ? 0u - static_cast<unsigned>(a) : static_cast<unsigned>(a);
}

int Signed(unsigned magnitude, bool negative) {
  return static_cast<int>(negative ? 0u - magnitude : magnitude);
}

// Shifts a time by the zone, east (1) or west (-1).
int Shift(KvTime& time, int direction) {
  const int minutes = bksgettimezone();
  if (minutes == kvNoTimeZone) return kvNoTimeZone;
  // A zone is some hours; one that a host made up may be anything and wraps.
  time += static_cast<int>(kv::WrappingMultiplyAdd(minutes, 60 * direction, 0));
  return kvOk;
}

}  // namespace

KvDate::KvDate() : KvDate(0, 0, 0) {
  Today();
}

KvDate& KvDate::Today() {
  bdate today;
  bksgetdate(today);
  return *this = KvDate(today.year, today.month, today.day);
}

KvString KvDate::PrintDayOfTheDate() const {
  return KvString(kv::WeekdayName(GetDayOfTheDate()));
}

int KvDate::divide(int a, int b) {
  return b == 0 ? 0 : Signed(Magnitude(a) / Magnitude(b), (a < 0) != (b < 0));
}

int KvDate::modulo(int a, int b) {
  return b == 0 ? 0 : Signed(Magnitude(a) % Magnitude(b), (a < 0) != (b < 0));
}

KvString& KvDate::PrintToKvString(KvString& out, const char* format) const {
  return kv::PrintDateTime(out, *this, format);
}

int KvDate::ScanFromKvString(const KvString& in, const char* format) {
  return kv::ScanDateTimeText(*this, in, format);
}

KvTime::KvTime() : KvTime(0, 0, 0) {
  Now();
}

KvTime& KvTime::Now() {
  btime now;
  bksgettime(now);
  return *this = KvTime(now.hour, now.minute, now.second);
}

KvTime& KvTime::NowUTC() {
  btime now;
  bdate today;
  bksgetsystemtime(now, today);
  return *this = KvTime(now.hour, now.minute, now.second);
}

int KvTime::ToLocalTime() {
  return Shift(*this, 1);
}
int KvTime::ToUTCTime() {
  return Shift(*this, -1);
}

KvString& KvTime::PrintToKvString(KvString& out, const char* format) const {
  return kv::PrintDateTime(out, *this, format);
}

int KvTime::ScanFromKvString(const KvString& in, const char* format) {
  return kv::ScanDateTimeText(*this, in, format);
}
