// The Kv date and time classes: arithmetic, carries, totals, differences, clocks and zones.
#include <doctest/doctest.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "kvdate/real.h"
#include "support/random.h"
#include "zbs.h"

namespace {

namespace chrono = std::chrono;
constexpr long long kBillion = 1000000000;

// A number of nanoseconds that 64 bits need not hold.
struct Amount {
  Amount(long long wholeSeconds, long long moreNanoseconds)
      : seconds(wholeSeconds + moreNanoseconds / kBillion),
        nanoseconds(moreNanoseconds % kBillion) {
    if (nanoseconds < 0) {
      nanoseconds += kBillion;
      --seconds;
    }
  }
  Amount operator+(const Amount& other) const {
    return {seconds + other.seconds, nanoseconds + other.nanoseconds};
  }
  Amount operator-(const Amount& other) const {
    return {seconds - other.seconds, nanoseconds - other.nanoseconds};
  }
  auto operator<=>(const Amount&) const = default;
  long long Wrapped() const {  // modulo 2^64
    return static_cast<long long>(static_cast<unsigned long long>(seconds) * kBillion +
                                  static_cast<unsigned long long>(nanoseconds));
  }
  long long seconds;
  long long nanoseconds;
};

// Since 0000-01-01, by another calendar.
Amount Exact(const KvDateTimeN& value) {
  const auto day = chrono::year(value.date.year) / int{value.date.month} / int{value.date.day};
  const auto since = chrono::sys_days(day) - chrono::sys_days(chrono::year(0) / 1 / 1);
  return {since.count() * 86400LL + int{value.time}, value.nanosecond};
}

Amount Exact(const KvTimeSpan& span) {
  const long long days = span.date.day + 30 * (span.date.month + 12LL * span.date.year);
  return {days * 86400 + int{span.time}, span.nanosecond};
}

// What a span may look like: negative components only with nothing above them.
bool IsProper(const KvTimeSpan& span) {
  const auto [year, month, day] = span.date;
  const bool dayOk = day >= 0 ? day < 30 : day > -30 && month == 0 && year == 0;
  const bool monthOk = month >= 0 ? month < 12 : month > -12 && year == 0;
  return dayOk && monthOk && span.time.IsTime() && span.nanosecond >= 0 &&
         span.nanosecond < kBillion;
}

KvDateTimeN RandomInstant(Random& random) {
  KvDateTimeN value(KvDate(static_cast<int>(random.Between(1500000, 6000000))),
                    KvTime(static_cast<int>(random.Between(0, 86399))));
  value.nanosecond = static_cast<int>(random.Between(0, kBillion - 1));
  return value;
}

// Adds n of each unit to `value` and hands the exact nanoseconds that were added to `check`.
template <class T, class Check>
void AddEach(Random& random, const T& value, Check check) {
  const auto add = [&](auto adder, long long n, long long seconds) {
    T moved = value;
    adder(moved, n);
    check(moved, seconds == 0 ? Amount(0, n) : Amount(n * seconds, 0));
  };
  const auto narrow = [](long long n) { return static_cast<int>(n); };
  const long long any = random.Between(-2000000000, 2000000000);
  const long long huge = random.Between(-4000000000000000000, 4000000000000000000);
  add([&](T& v, long long n) { v.AddDays(narrow(n)); }, any / 2000, 86400);
  add([&](T& v, long long n) { v.AddHours(narrow(n)); }, any / 100, 3600);
  add([&](T& v, long long n) { v.AddMinutes(narrow(n)); }, any / 2, 60);
  add([&](T& v, long long n) { v.AddSeconds(narrow(n)); }, any, 1);
  add([&](T& v, long long n) { v.AddSeconds(n); }, huge / 100000000, 1);
  add([&](T& v, std::int64_t n) { v.AddSeconds(n); }, huge / 100000000, 1);
  add([&](T& v, long long n) { v.AddNanoSeconds(narrow(n)); }, any, 0);
  add([&](T& v, long long n) { v.AddNanoSeconds(n); }, huge, 0);
  add([&](T& v, std::int64_t n) { v.AddNanoSeconds(n); }, huge, 0);
  add([&](T& v, long long n) { v.AddSeconds(static_cast<double>(n)); }, any, 1);
}

// A zone for one test: what bksgettimezone answers.
int zoneMinutes = 0;
struct ZoneSource {
  explicit ZoneSource(int minutes) {
    zoneMinutes = minutes;
    KvSetTimeZoneSource([] { return zoneMinutes; });
  }
  ~ZoneSource() { KvSetTimeZoneSource(nullptr); }
};

struct Dividing : KvDate {
  using KvDate::divide;
  using KvDate::modulo;
};

}  // namespace

TEST_CASE("KvDate: operators go through the day number, order by fields, wildcards by Compare") {
  KvDate date(1999, 12, 31);
  CHECK(date + 1 == KvDate(2000, 1, 1));
  CHECK(++date == KvDate(2000, 1, 1));
  CHECK((date -= 366) == KvDate(1998, 12, 31));
  CHECK(--date - KvDate(1998, 12, 1) == 29);
  CHECK(KvDate(2001, 4, 31) + 0 == KvDate(2001, 5, 1));
  CHECK(int{KvDate(2000, 1, 1)} == 2451545);
  CHECK(date.dateabs(0) == KvDate::DefaultValue());
  CHECK((KvDate(2000, 1, -1) < KvDate(2000, 1, 5)));
  CHECK((KvDate(-5, 1, 1) <= KvDate(-4, 1, 1)));

  CHECK(KvDate(2000, -1, 5).Compare(KvDate(2000, 7, -1), 0) == 0);
  CHECK(KvDate(2000, 3, 5).Compare(KvDate(2000, -1, 7), 0) == -2);
  CHECK(KvDate(-1, 3, 5).Compare(KvDate(2000, 4, 5), 0) == -1);
  CHECK(KvDate(2000, -1, 5).Compare(KvDate(2000, 7, 5), 0x10) == -8);
  CHECK(KvDate(2002, -1, 1).Compare(KvDate(2000, 7, 5), 0xFFEF) == 2);
  CHECK(KvDate(2000, -1, 5).Compare(KvDate(2000, 7, 5), 0xFFEF) == 0);

  CHECK(Dividing::modulo(7, -3) == -1);
  CHECK(Dividing::divide(-7, 3) == -2);
  CHECK(Dividing::modulo(-7, -3) == 1);
  CHECK(Dividing::divide(std::numeric_limits<int>::min(), -1) == std::numeric_limits<int>::min());
  CHECK((Dividing::divide(5, 0) == 0 && Dividing::modulo(5, 0) == 0));
}

TEST_CASE("KvTime: seconds around the clock, with its 8-bit hours and its hour 24") {
  for (int start = 0; start < 86400; start += 1799) {
    CHECK((KvTime(start).IsTime() && int{KvTime(start)} == start));
    for (int n = -86399; n < 86400; n += 977) {
      const int expected = ((start + n) % 86400 + 86400) % 86400;
      const KvTime moved = KvTime(start) + n;
      // An hour that comes to exactly -24 becomes 24.
      const bool hour24 = moved.hour == 24;
      CHECK((hour24 ? moved - KvTime(24, 0, 0) : moved) == KvTime(expected));
      CHECK((!hour24 || start + n < -82800));
    }
  }
  CHECK(KvTime(23, 59, 59) + 1 == KvTime(0, 0, 0));
  CHECK(KvTime(0, 0, 0) - 1 == KvTime(23, 59, 59));
  CHECK(KvTime(0, 0, 0) + -86400 == KvTime(24, 0, 0));
  // 150 hours are -106 in 8 bits.
  CHECK(KvTime(0, 0, 0) + 150 * 3600 == KvTime(14, 0, 0));
  CHECK(KvTime(1, 2, 3).SetSecondsAbs(90000) == KvTime(25, 0, 0));
  CHECK(KvTime(10, 0, 0) - KvTime(9, 30, 15) == KvTime(0, 29, 45));
  CHECK(int{KvTime(1, 2, 3)} == 3723);
  CHECK_FALSE(KvTime(24, 0, 0).IsTime());
  CHECK_FALSE(KvTime(0, -1, 0).IsTime());
}

TEST_CASE("dates and times are real by each of their fields, and times move by seconds") {
  for (int n = -128; n <= 127; ++n) {
    const auto c = static_cast<char>(n);
    const bool hour = n >= 0 && n < 24, minute = n >= 0 && n < 60, any = n == -1;
    CHECK(KvTime(c, 0, 0).IsTime() == hour);
    CHECK(KvTime(0, c, 0).IsTime() == minute);
    CHECK(KvTime(0, 0, c).IsTime() == minute);
    // What is real may have wildcards in it, and the clock of a d_Time is shifted.
    CHECK(kv::IsReal(KvTime(c, -1, 0)) == (hour || any));
    CHECK(kv::IsReal(KvDateTime(KvTime(-1, c, 0))) == (minute || any));
    CHECK(kv::IsReal(KvDateTimeN(1, 1, 1, 0, -1, c, -1)) == (minute || any));
    CHECK(kv::IsReal(KvDate(-1, c, 5)) == ((n >= 1 && n <= 12) || any));
    CHECK(kv::IsReal(KvDateTime(KvDate(2000, c, -1))) == ((n >= 1 && n <= 12) || any));
    CHECK(kv::IsReal(KvDateTimeN(KvDate(2000, -1, c))) == ((n >= 1 && n <= 31) || any));
    CHECK(kv::IsReal(KvDate(2001, 2, c)) == ((n >= 1 && n <= 28) || any));
    CHECK(kv::IsReal(d_Date(1500, 2, static_cast<unsigned char>(c))) ==
          ((n >= 1 && n <= 29) || any));
    const auto isReal = [c](unsigned char d_Time::*field) {
      d_Time time(3, 15, 0.0f, 2, 30);
      time.*field = static_cast<unsigned char>(c);
      return kv::IsReal(d_Timestamp(d_Date(1500, 2, 29), time));
    };
    CHECK(isReal(&d_Time::hour) == (any || (n >= 2 && n < 26)));
    CHECK(isReal(&d_Time::minute) == (any || (n >= 30 && n < 90)));
    CHECK(isReal(&d_Time::second) == (minute || any));
    CHECK(isReal(&d_Time::hundredth) == (any || (n >= 0 && n < 100)));
  }
  for (const int n : {-2, 0, 999999999, 1000000000}) {
    CHECK(kv::IsReal(KvDateTimeN(1, 1, 1, 0, 0, 0, n)) == (n >= 0 && n < 1000000000));
  }
  CHECK_FALSE((kv::IsReal(KvDate(-2, 2, 30)) || kv::IsReal(d_Date(1500, 2, 30))));
  CHECK(kv::IsReal(KvDate(-1, 2, 30)));
  KvTime time(10, 0, 0);
  CHECK(--time == KvTime(9, 59, 59));
  CHECK(++time == KvTime(10, 0, 0));
  CHECK((time -= 3661) == KvTime(8, 58, 59));
}

TEST_CASE("KvDateTime::AddSeconds agrees with exact arithmetic, but for hour 24") {
  Random random(20000101);
  for (int i = 0; i < 20000; ++i) {
    const KvDateTimeN start = RandomInstant(random);
    KvDateTime moved(start.date, start.time);
    int n = static_cast<int>(random.Between(-2147483648LL, 2147483647));
    if (i % 9 == 0) n -= n % 86400;
    moved.AddSeconds(n);
    KvDateTimeN exact(start.date, start.time);
    exact.AddSeconds(n);
    if (moved.time.hour == 24) moved.time.hour = 0;  // of the same day
    CHECK(moved.time == exact.time);
    CHECK(moved.date == exact.date);
  }
  KvDateTime value(KvDate(2000, 1, 1), KvTime(0, 0, 0));
  value.AddSeconds(-86399);
  CHECK(value == KvDateTime(KvDate(1999, 12, 31), KvTime(24, 0, 1)));
  // An hour that is none becomes one, of the next day if it was 24.
  value = KvDateTime(KvDate(2000, 1, 1), KvTime(24, 0, 0));
  value.AddSeconds(0);
  CHECK(value == KvDateTime(KvDate(2000, 1, 2), KvTime(0)));
  value.time.hour = -1;
  value.AddSeconds(0);
  CHECK(value == KvDateTime(KvDate(2000, 1, 2), KvTime(23, 0, 0)));
}

TEST_CASE("a KvDateTime is one when its date and its time are") {
  CHECK(KvDateTime(KvDate(2000, 2, 29), KvTime(23, 59, 59)).IsDateTime());
  CHECK_FALSE(KvDateTime(KvDate(1999, 2, 29), KvTime(0)).IsDateTime());
  CHECK_FALSE(KvDateTime(KvDate(1999, 2, 28), KvTime(24, 0, 0)).IsDateTime());
}

TEST_CASE("KvDateTimeN: every adder is exact, totals are right and have inverses") {
  Random random(20000101);
  int wrong = 0;
  for (int i = 0; i < 5000; ++i) {
    const KvDateTimeN start = RandomInstant(random);
    AddEach(random, start, [&](const KvDateTimeN& moved, const Amount& added) {
      if (Exact(moved) != Exact(start) + added || !moved.IsValidDateTime()) ++wrong;
    });
    const Amount total = Exact(start);
    if (start.GetTotalSeconds() != total.seconds) ++wrong;
    if (start.GetTotalNanoSeconds() != total.Wrapped()) ++wrong;
    const double real = static_cast<double>(total.seconds) + start.nanosecond / 1e9;
    if (std::fabs(start.GetTotalSeconds_f() - real) > 1e-3) ++wrong;

    const long long n = random.Between(-9000000000000000000, 9000000000000000000);
    KvDateTimeN set;
    set.SetTotalNanoSeconds(n);
    if (set.GetTotalNanoSeconds() != n) ++wrong;
    set.SetTotalSeconds(n / 80000000);
    if (set.GetTotalSeconds() != n / 80000000 || set.nanosecond != 0) ++wrong;
    set.SetTotalDays(static_cast<int>(n % 1700000));
    if (set.GetTotalDays() != static_cast<int>(n % 1700000) || set.time != KvTime(0)) ++wrong;
  }
  CHECK(wrong == 0);
  KvDateTimeN value(KvDate(1999, 12, 31), KvTime(23, 30, 0));
  value.AddHours(1);
  CHECK(value.date == KvDate(2000, 1, 1));
  CHECK(value.time == KvTime(0, 30, 0));
  value.SetTotalSeconds(-0.25);
  CHECK(value.GetTotalNanoSeconds() == -250000000);
  CHECK(KvDateTimeN(0.5).Compare(KvDateTimeN(0, 1, 1, 0, 0, 0, 500000000), 0x10) == 0);
  CHECK(KvDateTimeN(std::nan("")).IsZeroValue());
  CHECK(KvDateTimeN(1e300).GetTotalNanoSeconds() == std::numeric_limits<long long>::max());
  CHECK(KvDateTimeN(KvDate(0, 1, 2)).GetTotalDays() == 1);
  CHECK(KvDateTimeN(KvTime(1, 2, 3)).date == KvDate(0, 0, 0));
  value.SetTotalSeconds(-1);
  CHECK(value.GetTotalNanoSeconds() == -kBillion);
  value.SetTotalSeconds(-2L);
  CHECK(value.GetTotalNanoSeconds() == -2 * kBillion);
  // Whatever is added, components out of range are brought into it.
  KvDateTimeN late(2000, 12, 31, 23, 59, 60, 0);
  late.AddHours(0);
  CHECK(late.time == KvTime(23, 59, 60));
  late.AddNanoSeconds(0);
  CHECK(late.date == KvDate(2001, 1, 1));
  CHECK(late.time == KvTime(0));
  // A date that the calendar does not have counts in months of 30 days and stops at the last year.
  KvDateTimeN invalid(32767, 0, 29, 0, 0, 0, 0);
  invalid.AddDays(1000);
  CHECK(invalid.date == KvDate(32767, 10, 9));
  // Day numbers of more than 32 bits go on by the calendar, and the year keeps its low 16 bits.
  constexpr int kFar = std::numeric_limits<int>::max(), kCycle = 146097;
  KvDateTimeN far(KvDate(2000, 1, 1));
  far.AddDays(kFar);
  const KvDate inCycle = KvDate(2000, 1, 1) + kFar % kCycle;
  CHECK(far.date ==
        KvDate(static_cast<short>(inCycle.year + kFar / kCycle * 400), inCycle.month, inCycle.day));
}

TEST_CASE("KvTimeSpan: adders keep the total and the form, totals have inverses") {
  Random random(20000101);
  int wrong = 0;
  for (int i = 0; i < 5000; ++i) {
    KvTimeSpan start(static_cast<int>(random.Between(-5000000, 5000000)), 0, 0, 0, 0);
    if (i % 2 == 0) start.SetTotalNanoSeconds(random.Between(-40, 40) * 86400 * kBillion / 7);
    AddEach(random, start, [&](const KvTimeSpan& moved, const Amount& added) {
      if (Exact(moved) != Exact(start) + added || !IsProper(moved)) ++wrong;
    });
    if (start.GetTotalNanoSeconds() != Exact(start).Wrapped()) ++wrong;
    const long long n = random.Between(-9000000000000000000, 9000000000000000000);
    KvTimeSpan set(1.5);
    set.SetTotalNanoSeconds(n);
    if (set.GetTotalNanoSeconds() != n || !IsProper(set)) ++wrong;
    set.SetTotalSeconds(n / 20000000);
    if (set.GetTotalSeconds() != n / 20000000) ++wrong;
    set.SetTotalDays(static_cast<int>(n % 10000000));
    if (set.GetTotalDays() != static_cast<int>(n % 10000000)) ++wrong;
  }
  CHECK(wrong == 0);
  CHECK(KvTimeSpan(-5, 0, 0, 0, 0).date == KvDate(0, 0, -5));
  CHECK(KvTimeSpan(-35, 0, 0, 0, 0).date == KvDate(0, -2, 25));
  KvTimeSpan span(0, 70, -1, 300, 5);
  CHECK(span.time == KvTime(70, -1, 44));  // as given, in 8 bits
  span.AddDays(std::numeric_limits<int>::max());
  CHECK(span.date.year == 32767);
  span.SetTotalSeconds(-0.25);
  CHECK(span.GetTotalSeconds_f() == -0.25);
  span.SetYears(-2);
  span.SetMonths(13);
  span.SetDays(-3);
  CHECK(span.date == KvDate(-2, 13, -3));
  span.AddSeconds(0.0);
  CHECK(span.date == KvDate(-1, 0, 27));
}

TEST_CASE("Difference is exact, whichever comes first") {
  Random random(20000101);
  int wrong = 0;
  for (int i = 0; i < 20000; ++i) {
    const KvDateTimeN a = RandomInstant(random);
    KvDateTimeN b = i % 2 == 0 ? RandomInstant(random) : a;
    if (i % 2 != 0) b.AddNanoSeconds(random.Between(-200000 * kBillion, 200000 * kBillion));
    if (i % 4 == 1) b.time = KvTime(23, 59, 59);
    if (i % 8 == 2) b.time = a.time;
    const KvTimeSpan span = KvTimeSpan::Difference(a, b);
    const Amount exact = Exact(a) > Exact(b) ? Exact(a) - Exact(b) : Exact(b) - Exact(a);
    if (Exact(span) != exact || !IsProper(span)) ++wrong;
    if (KvTimeSpan::Difference(b, a).Compare(span, 0x10) != 0) ++wrong;
  }
  CHECK(wrong == 0);
  const KvDateTimeN eve(2000, 12, 31, 23, 59, 59, 600000000);
  const KvTimeSpan overMidnight =
      KvTimeSpan::Difference(eve, KvDateTimeN(2001, 1, 2, 0, 0, 0, 100000000));
  CHECK(overMidnight.Compare(KvTimeSpan(1, 0, 0, 0, 500000000), 0x10) == 0);
  CHECK(KvTimeSpan::Difference(KvDateTimeN::NullValue(), KvDateTimeN(0.5)).nanosecond == 500000000);
  // The later one by its fields is the earlier one by its day number.
  CHECK(KvTimeSpan::Difference(KvDate(2001, 2, 31), KvDate(2001, 3, 1)).IsZeroValue());
  const KvDateTimeN sameDay(2001, 2, 29, 23, 59, 59, 600000000);  // that of March
  CHECK(KvTimeSpan::Difference(sameDay, KvDateTimeN(2001, 3, 1, 0, 0, 0, 100000000)).time ==
        KvTime(24, 0, 0));
}

TEST_CASE("zones: local time and UTC, and a zone that is not known") {
  for (const int zone : {60, -60, 330, -570, 840, -720, 0}) {
    const ZoneSource source(zone);
    for (int minute = 0; minute < 1440; ++minute) {
      const KvDateTime start(KvDate(2000, 3, 1), KvTime(minute * 60 + 7));
      KvDateTime local = start;
      KvDateTimeN localN(start), expected(start);
      KvTime clock = start.time;
      expected.AddMinutes(zone);
      CHECK((local.ToLocalTime() == 0 && localN.ToLocalTime() == 0 && clock.ToLocalTime() == 0));
      CHECK(local == KvDateTime(expected.date, expected.time));
      CHECK(localN.Compare(expected, 0x10) == 0);
      CHECK(clock == expected.time);
      CHECK((local.ToUTCTime() == 0 && localN.ToUTCTime() == 0 && clock.ToUTCTime() == 0));
      CHECK((local == start && localN.Compare(start, 0x10) == 0 && clock == start.time));
    }
  }
  const ZoneSource source(kvNoTimeZone);
  KvDateTime value(KvDate(2000, 3, 1));
  KvDateTimeN valueN(value);
  KvTime time(1, 2, 3);
  CHECK((value.ToLocalTime() == kvNoTimeZone && value.ToUTCTime() == kvNoTimeZone));
  CHECK((valueN.ToLocalTime() == kvNoTimeZone && valueN.ToUTCTime() == kvNoTimeZone));
  CHECK((time.ToLocalTime() == kvNoTimeZone && time.ToUTCTime() == kvNoTimeZone));
  CHECK((value == KvDateTime(KvDate(2000, 3, 1)) && time == KvTime(1, 2, 3)));
  CHECK(valueN.Compare(KvDateTimeN(value), 0x10) == 0);
}

TEST_CASE("clocks agree with the C++ library's") {
  const auto nowMilliseconds = [] {
    const auto now = chrono::system_clock::now().time_since_epoch();
    return static_cast<long long>(chrono::duration_cast<chrono::milliseconds>(now).count());
  };
  const long long before = nowMilliseconds();
  KvInt64 milliseconds;
  CHECK(GetSystemTimeInMSSinceTheEpoch(milliseconds) == 0);
  KvDateTimeN now(0.0);
  now.NowUTC();
  KvDateTime whole;
  whole.NowUTC();
  KvTime time(0, 0, 0);
  time.NowUTC();
  const long long after = nowMilliseconds();
  const auto sinceEpoch = [](const KvDateTimeN& value) {
    return (value.GetTotalSeconds() - KvDateTimeN(KvDate(1970, 1, 1)).GetTotalSeconds()) * 1000 +
           value.nanosecond / 1000000;
  };
  CHECK((before <= milliseconds.Get8b() && milliseconds.Get8b() <= after));
  CHECK((before <= sinceEpoch(now) && sinceEpoch(now) <= after));
  CHECK((before - 1000 < sinceEpoch(whole) && sinceEpoch(whole) <= after));
  CHECK(int{time - whole.time} <= 1);
  // Local clocks: what UTC is when shifted, as the zone stands.
  KvDateTimeN local, shifted(now);
  CHECK(shifted.ToLocalTime() == 0);
  CHECK(KvTimeSpan::Difference(local, shifted).GetTotalSeconds() <= 1);
  CHECK(KvTimeSpan::Difference(now.Now(), local).GetTotalSeconds() <= 1);
  CHECK(KvTimeSpan::Difference(KvDateTime(), shifted).GetTotalSeconds() <= 1);
  CHECK(KvTimeSpan::Difference(KvDateTime(KvDate(), KvTime()), shifted).GetTotalSeconds() <= 1);
}

TEST_CASE("distinguished values") {
  const auto bytesEqual = [](const KvTimeSpan& span, const KvDateTimeN& value) {
    return span.date == value.date && span.time == value.time &&
           span.nanosecond == value.nanosecond;
  };
  CHECK(bytesEqual(KvTimeSpan::NullValue(), KvDateTimeN::NullValue()));
  CHECK(bytesEqual(KvTimeSpan::DefaultValue(), KvDateTimeN::DefaultValue()));
  CHECK(KvTimeSpan::ZeroValue().GetTotalNanoSeconds() == 0);
  CHECK(KvDateTime::ClearValue() == KvDateTime(KvDate(0, 1, 1)));
  CHECK(KvDateTime::Null() == KvDateTime(KvDate(-32768, -128, -128), KvTime(-128, -128, -128)));
  const auto setAndAsk = [](auto value) {
    CHECK((value.SetNullValue() == 0 && value.IsNullValue() && !value.IsZeroValue()));
    CHECK((value.SetDefaultValue() == 0 && value.IsDefaultValue() && !value.IsNullValue()));
    CHECK((value.SetZeroValue() == 0 && value.IsZeroValue() && !value.IsNullValue()));
    // The constants cannot be written: they stay what they are.
    using Value = decltype(value);
    for (const Value* constant :
         {&Value::NullValue(), &Value::ZeroValue(), &Value::DefaultValue()}) {
      const Value before = *constant;
      auto& same = const_cast<Value&>(*constant);
      CHECK(same.SetNullValue() + same.SetZeroValue() + same.SetDefaultValue() == 0);
      CHECK(constant->Compare(before, 0x10) == 0);
    }
  };
  setAndAsk(KvDate(1));
  setAndAsk(KvTime(1));
  setAndAsk(KvDateTime(KvTime(1)));
  setAndAsk(KvDateTimeN(1.0));
  setAndAsk(KvTimeSpan(1.0));
  CHECK_FALSE(KvDate(0, 1, 1).IsDefaultValue());
  CHECK(
      (KvDate::ZeroValue() == KvDate(0, 1, 1) && KvDate::DefaultValue() == KvDate(-4713, 11, 24)));
  CHECK((KvTime::ZeroValue() == KvTime(0) && KvTime::DefaultValue() == KvTime(0)));
  CHECK((KvDate::NullValue() == KvDateTime::Null().date &&
         KvTime::NullValue() == KvDateTime::Null().time));
  CHECK(KvDateTime::DefaultValue() == KvDateTime(KvDate(-4713, 11, 24)));
  CHECK(KvDateTimeN::ZeroValue().Compare(KvDateTimeN(KvDateTime::ZeroValue()), 0x10) == 0);
  CHECK(KvDateTimeN::DefaultValue().Compare(KvDateTimeN(KvDateTime::DefaultValue()), 0x10) == 0);
  CHECK(KvDateTimeN::NullValue().Compare(KvDateTimeN(KvDateTime::Null()), 0x10) == 0);
}

TEST_CASE("today and now are what the constructors take from the clock") {
  KvDate day(1, 1, 1);
  KvTime time(1, 1, 1);
  KvDate today;
  KvTime now;
  do {  // again when the second goes by meanwhile
    today = KvDate();
    now = KvTime();
    day.Today();
    time.Now();
  } while (now != KvTime());
  CHECK(day == today);
  CHECK(time == now);
}
