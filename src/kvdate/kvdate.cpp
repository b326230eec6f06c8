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

KvDate DateNow() {
  bdate today;
  bksgetdate(today);
  return {today.year, today.month, today.day};
}

KvTime TimeNow() {
  btime now;
  bksgettime(now);
  return {now.hour, now.minute, now.second};
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

KvDate::KvDate() : KvDate(DateNow()) {}

KvDate& KvDate::Today() {
  return *this = DateNow();
}

KvString KvDate::PrintDayOfTheDate() const {
  return KvString(kv::WeekdayName(GetDayOfTheDate()));
}

// In 64 bits, which the one quotient that 32 cannot hold does not leave; it wraps as it is cast.
int KvDate::divide(int a, int b) {
  return b == 0 ? 0 : static_cast<int>(std::int64_t{a} / b);
}

// The rest has the sign that the quotient has.
int KvDate::modulo(int a, int b) {
  if (b == 0) return 0;
  const auto rest = static_cast<int>(std::int64_t{a} % b);
  return b < 0 ? -rest : rest;
}

KvString& KvDate::PrintToKvString(KvString& out, const char* format) const {
  return kv::PrintDateTime(out, *this, format);
}

int KvDate::ScanFromKvString(const KvString& in, const char* format) {
  return kv::ScanDateTimeText(*this, in, format);
}

KvTime::KvTime() : KvTime(TimeNow()) {}

KvTime& KvTime::Now() {
  return *this = TimeNow();
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
