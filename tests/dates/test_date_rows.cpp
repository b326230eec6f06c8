// The rows of the date and time types: stored bytes, orders with markers, hashes, steps, bounds,
// defaults and time stamps. What holds for every row alike is tested with the other rows.
#include <doctest/doctest.h>

#include <cstring>
#include <initializer_list>

#include "kvcompare.h"
#include "kvodmg.h"
#include "support/texts.h"

namespace {

using Bytes = std::vector<unsigned char>;

template <class T>
Bytes Stored(char id, T value, unsigned char format) {
  Bytes bytes(32, 0xEE);
  bytes.resize(Types().Store(id, bytes.data(), &value, format, 1));
  return bytes;
}

int Order(KvCompareFunc compare, unsigned char format, Bytes a, Bytes b, unsigned short cmpOp) {
  int status = 7;
  const int order = compare(format, 0, a.data(), 0, b.data(), cmpOp, 1, status);
  CHECK(status == kvOk);
  return order;
}

template <class T>
int OrderInMemory(char id, T a, T b, unsigned short cmpOp = 0) {
  return Types().Cmp(id, &a, &b, cmpOp, 1, 8);
}

// Steps `value` and prints it; a status other than 0 in its place.
template <class T>
std::string Stepped(char id, T value, unsigned char op = 'M') {
  const int status = Types().GetValue(id, &value, sizeof value, 8, op);
  return status == kvOk ? Print(id, value, "%X") : std::to_string(status);
}

template <class T>
float Fraction(char id, T constant, T lower, T upper, unsigned short predicate) {
  KvIdxBounds bounds{reinterpret_cast<unsigned char*>(&lower),
                     reinterpret_cast<unsigned char*>(&upper), sizeof(T), sizeof(T)};
  return Types().EvalAndBound(id, &bounds, predicate, &constant, 8, 1, nullptr, nullptr);
}

}  // namespace

TEST_CASE("stored dates: markers of the second operand match, those of the first do not") {
  const auto check = [](char id, const Bytes& value) {
    CAPTURE(int{id});
    const KvCompareFunc compare = Types().CmpFuncPtrGet(id);
    const std::size_t zone = id == D_TIMESTAMP_T ? 4 : 0;
    for (std::size_t i = id == KvTIME_T ? 0 : 2; i < value.size() && i < 7 + zone; ++i) {
      if (zone != 0 && (i == zone || i == zone + 1)) continue;  // zones match none
      CAPTURE(i);
      Bytes any = value;
      any[i] = 0xFF;
      const int asNumber = Order(compare, 0, any, value, 0x10);
      CHECK(asNumber != 0);
      CHECK(Order(compare, 0, value, any, 0) == 0);
      CHECK(Order(compare, 0, any, value, 0) == asNumber);
      CHECK(Order(compare, 0, value, any, 0x10) == -asNumber);
    }
  };
  check(KvDATE_T, {0xD0, 7, 3, 5});
  check(KvTIME_T, {1, 2, 3});
  check(KvDATIME_T, {0xD0, 7, 3, 5, 1, 2, 3});
  check(KvDATIME_N_T, {0xD0, 7, 3, 5, 1, 2, 3, 9, 0, 0, 0});
  check(D_DATE_T, {0xD0, 7, 3, 5});
  check(D_TIME_T, {2, 0, 12, 5, 1, 2});
  check(D_TIMESTAMP_T, {0xD0, 7, 3, 5, 2, 0, 12, 5, 1, 2});
  const Bytes sixNanoseconds = Stored(KvDATIME_N_T, KvDateTimeN(2000, 1, 1, 0, 0, 0, 6), 2);
  const Bytes anyNanosecond = Stored(KvDATIME_N_T, KvDateTimeN(2000, 1, 1, 0, 0, 0, -1), 2);
  const KvCompareFunc compare = Types().CmpFuncPtrGet(KvDATIME_N_T);
  CHECK(Order(compare, 2, sixNanoseconds, anyNanosecond, 0) == 0);
  CHECK(Order(compare, 2, anyNanosecond, sixNanoseconds, 0) == -1);

  const Bytes march = {0xD0, 7, 3, 5}, anyYear = {0xFF, 0xFF, 3, 5};
  CHECK(Order(KvDateCompare, 0, march, anyYear, 0) == 0);
  CHECK(Order(KvDateCompare, 0, march, anyYear, 0x10) == 1);
  CHECK(Order(KvDateCompare, 0, anyYear, march, 0) == -1);
  CHECK(Order(KvDateCompare, 2, {7, 0xD0, 3, 5}, {0xFF, 0xFF, 3, 6}, 0) == -1);
  // The year that matches has become 65535 with the first comparison.
  CHECK(Order(KvDateCompare, 0, march, {0xFE, 0xFF, 3, 5}, 0) == 1);
  CHECK(KvDate::AnyYear() == 65535);
  CHECK(Order(KvDateCompare, 10, {0xD0, 7, 0xFF, 5}, march, 0) == -1);
  CHECK(Order(KvTimeCompare, 2, {0x80, 2, 3}, {1, 2, 3}, 0) == -1);
  // In memory either side counts.
  CHECK(OrderInMemory(KvDATE_T, KvDate(2000, -1, 5), KvDate(2000, 3, 5)) == 0);
  CHECK(OrderInMemory(KvDATE_T, KvDate(2000, -1, 5), KvDate(2000, 3, 5), 0x10) == -1);
  CHECK(OrderInMemory(KvTIME_T, KvTime(1, -1, 3), KvTime(1, 2, 3)) == 0);
}

TEST_CASE("orders of the longer rows: the first field that differs, nanoseconds last") {
  const KvDateTimeN value(2000, 1, 1, 0, 0, 0, 5), later(2000, 1, 1, 0, 0, 0, 2000000000);
  CHECK(OrderInMemory(KvDATIME_N_T, value, later) == -1);
  CHECK(OrderInMemory(KvDATIME_N_T, later, KvDateTimeN(2000, 1, 1, 0, 0, 1, 0)) == -1);
  CHECK(OrderInMemory(KvDATIME_N_T, value, KvDateTimeN(2000, 1, 1, 0, 0, 0, -1)) == 0);
  CHECK(OrderInMemory(KvDATIME_N_T, value, KvDateTimeN(2000, 1, 1, 0, 0, 0, -1), 0x10) == 1);
  CHECK(OrderInMemory(KvDATIME_N_T, KvDateTimeN::NullValue(), value) == -1);
  CHECK(OrderInMemory(KvTIMESPAN_T, KvTimeSpan(-1.0), KvTimeSpan(1.0), 0x10) == -1);
  const Bytes early = {1, 2, 3, 4, 5, 6, 7}, late = {0, 3, 3, 4, 5, 6, 7};
  CHECK(Order(Types().CmpFuncPtrGet(KvDATIME_T), 0, early, late, 0) == -1);
  CHECK(Order(Types().CmpFuncPtrGet(KvDATIME_T), 2, early, late, 0) == 1);
  CHECK(Order(d_TimeCompare, 0, {2, 0, 1, 0, 0, 0}, {2, 0, 5, 0, 0, 0}, 0) == -1);
  CHECK(Order(d_TimeCompare, 2, {251, 0, 253, 0, 0, 0}, {251, 0, 5, 0, 0, 0}, 0) == 1);
  CHECK(Order(d_TimestampCompare, 2, {7, 208, 1, 1, 0, 0, 1, 1, 1, 9},
              {7, 208, 1, 1, 0, 0, 1, 1, 1, 10}, 0) == -1);
  KvDate run[3] = {KvDate(1), KvDate(2), KvDate(3)};
  int status;
  CHECK(KvDateCompare(8, 8, run, 0, run, 0, 3, status) == 0);
  CHECK(status == kvBufferShort);
}

TEST_CASE("steps: a day, a second, a nanosecond; what has no successor says so") {
  CHECK(Stepped(KvDATE_T, KvDate(1999, 12, 31)) == "2000-01-01T00:00:00");
  CHECK(Stepped(KvDATE_T, KvDate(2000, 1, 1)) == "2000-01-02T00:00:00");
  CHECK(Stepped(D_DATE_T, d_Date(2000, 1, 1)) == "2000-01-02T00:00:00");
  CHECK(Stepped(KvDATE_T, KvDate(2000, 2, 28), 'N') == "2000-02-29T00:00:00");
  CHECK(Stepped(KvDATE_T, KvDate(-30000, 2, 28)) == "-30000-02-29T00:00:00");
  CHECK(Stepped(KvDATE_T, KvDate(2000, 2, 28), 'O') == "2000-02-28T00:00:00");
  CHECK(Stepped(KvDATE_T, KvDate(2000, 2, 28), 'P') == "-2999");
  CHECK(Stepped(KvDATE_T, KvDate(32767, 12, 31)) == "2091");
  for (const KvDate& date : {KvDate::NullValue(), KvDate(2001, 2, 29), KvDate(2000, -1, 1),
                             KvDate(2000, 0, 1), KvDate(2000, 13, 1), KvDate(2000, 1, 0)}) {
    CHECK(Stepped(KvDATE_T, date) == "-2999");
  }
  CHECK(Stepped(KvTIME_T, KvTime(1, 59, 59)) == "0000-00-00T02:00:00");
  CHECK(Stepped(KvTIME_T, KvTime(23, 59, 59)) == "2091");
  CHECK(Stepped(KvTIME_T, KvTime(24, 0, 0)) == "-2999");
  const KvTime last(23, 59, 59);
  CHECK(Stepped(KvDATIME_T, KvDateTime(KvDate(1999, 12, 31), last)) == "2000-01-01T00:00:00");
  CHECK(Stepped(KvDATIME_T, KvDateTime(KvDate(32767, 12, 31), KvTime(0))) ==
        "32767-12-31T00:00:001");
  CHECK(Stepped(KvDATIME_T, KvDateTime(KvDate(32767, 12, 31), last)) == "2091");
  CHECK(Stepped(KvDATIME_N_T, KvDateTimeN(1999, 12, 31, 23, 59, 59, 999999999)) ==
        "2000-01-01T00:00:00");
  CHECK(Stepped(KvDATIME_N_T, KvDateTimeN(32767, 12, 31, 23, 59, 59, 999999999)) == "2091");
  CHECK(Stepped(D_DATE_T, d_Date(1582, 10, 4)) == "1582-10-15T00:00:00");
  CHECK(Stepped(D_DATE_T, d_Date(1500, 2, 28)) == "1500-02-29T00:00:00");
  CHECK(Stepped(D_DATE_T, d_Date(1999, 12, 31)) == "2000-01-01T00:00:00");
  CHECK(Stepped(D_DATE_T, d_Date(32767, 12, 31)) == "2091");
  CHECK(Stepped(D_DATE_T, d_Date(2000, 0, 1)) == "-2999");
  for (const unsigned short day : {std::uint16_t{0}, std::uint16_t{32}}) {
    CHECK(Stepped(D_DATE_T, d_Date(2000, 1, day)) == "-2999");
  }
  d_Time noTime(0, 0, 0.0f, 0, 0);
  noTime.second = 60;
  CHECK(Stepped(D_TIME_T, noTime) == "-2999");
  CHECK(Stepped(KvDATIME_T, KvDateTime(KvDate(2001, 2, 29), KvTime(1))) == "-2999");
  KvDateTimeN moment(2000, 1, 1, 0, 0, 0, 5);
  CHECK(Types().GetValue(KvDATIME_N_T, &moment, 0, 8, 'M') == kvOk);
  CHECK(moment.nanosecond == 6);
  for (const int nanosecond : {0, 5, 999999998}) {
    KvTimeSpan wild(0, 0, 0, 0, nanosecond);  // a nanosecond more, whatever the hour
    wild.time.hour = 99;
    CHECK(Types().GetValue(KvTIMESPAN_T, &wild, 0, 8, 'M') == kvOk);
    CHECK((wild.nanosecond == nanosecond + 1 && wild.time.hour == 99));
  }
  CHECK(Stepped(KvTIMESPAN_T, KvTimeSpan::NullValue()) == "-2999");
  for (const int nanosecond : {-2, -1, 1000000000}) {
    CHECK(Stepped(KvDATIME_N_T, KvDateTimeN(2000, 1, 1, 0, 0, 0, nanosecond)) == "-2999");
  }
  CHECK(Stepped(D_TIME_T, d_Time(3, 59, 59.0f, -5, 0)) == "0000-00-00T04:00:00");
  // West of Greenwich the first hours of the day are the last bytes.
  CHECK(Stepped(D_TIME_T, d_Time(23, 59, 59.0f, -5, 0)) == "0000-00-00T00:00:00");
  CHECK(Stepped(D_TIME_T, d_Time(4, 59, 59.0f, -5, 0)) == "2091");
  CHECK(Stepped(D_TIME_T, d_Time(23, 59, 59.0f, 5, 0)) == "2091");
  CHECK(Stepped(D_TIME_T, d_Time(5, 29, 59.0f, -5, -30)) == "0000-00-00T06:30:00");
  for (const short zone : std::initializer_list<short>{0, 5, -5, -11, -23, 14}) {
    for (const short minutes : std::initializer_list<short>{0, 30, -30, -59}) {
      CAPTURE(zone);
      CAPTURE(minutes);
      // From the first byte on every minute of the day comes once, each behind the one before.
      d_Timestamp at(2000, 2, 29, 0, 0, 59.0f);
      at.time = d_Time(0, 0, 59.0f, zone, minutes);
      at.time.hour = static_cast<unsigned char>(std::max<short>(zone, 0));
      at.time.minute = static_cast<unsigned char>(std::max<short>(minutes, 0));
      int steps = 0;
      for (d_Timestamp before = at; at.date == d_Date(2000, 2, 29) && steps < 2000; ++steps) {
        REQUIRE(Types().GetValue(D_TIMESTAMP_T, &at, 0, 8, 'M') == kvOk);
        CHECK(OrderInMemory(D_TIMESTAMP_T, before, at) == -1);
        CHECK(at.time.second == 0);
        before = at;
        at.time.second = 59;
      }
      CHECK(steps == 1440);
    }
  }
  CHECK(Stepped(D_TIMESTAMP_T, d_Timestamp(2000, 2, 29, 23, 59, 59.5f)) ==
        "2000-03-01T00:00:00.500");
  KvTimeSpan span(-0.000000001), longest;
  CHECK(Types().GetValue(KvTIMESPAN_T, &span, 0, 8, 'M') == kvOk);
  CHECK(span.IsZeroValue());
  longest.AddDays(2147483647);
  longest.date = KvDate(32767, 11, 29);
  longest.AddNanoSeconds(86400LL * 1000000000 - 1);
  CHECK(Types().GetValue(KvTIMESPAN_T, &longest, 0, 8, 'M') == kvOverflow);
  d_Interval interval(1);
  CHECK(Types().GetValue(D_INTERVAL_T, &interval, 0, 8, 'M') == kvOk);
  CHECK(interval.seconds > 86400);
  // A stored value is stepped in place.
  Bytes stored = Stored(KvDATE_T, KvDate(1999, 12, 31), 0);
  CHECK(Types().GetValue(KvDATE_T, stored.data(), 4, 0, 'M') == kvOk);
  CHECK(stored == Bytes{0xD0, 7, 1, 1});
}

TEST_CASE("bounds measure spans, zones and intervals by their seconds") {
  constexpr unsigned short kEqual = 1, kLess = 2;
  CHECK(Fraction(KvTIMESPAN_T, KvTimeSpan(0.0), KvTimeSpan(-50.0), KvTimeSpan(49.0), kLess) ==
        0.5f);
  // In the order of the bytes a day west of Greenwich begins where its zone does.
  const auto inNewYork = [](unsigned short hour) { return d_Time(hour, 0, 0.0f, -5, 0); };
  CHECK(Fraction(D_TIME_T, inNewYork(11), inNewYork(5), inNewYork(4), kLess) ==
        doctest::Approx(6 / 23.0).epsilon(0.001));
  CHECK(Fraction(D_DATE_T, d_Date(1582, 10, 15), d_Date(1582, 10, 1), d_Date(1582, 10, 18),
                 kEqual) == 0.125f);
  CHECK(Fraction(D_INTERVAL_T, d_Interval(), d_Interval::FromSeconds(-1.0f), d_Interval(), kLess) ==
        0.5f);
}

TEST_CASE("nulls, defaults and conversions of the rows") {
  const auto defaultText = [](char id) {
    void* value = Types().DefaultValue(id, 2, 0);
    KvString out;
    const std::string text = Types().PrintToKvString(id, out, value, "%X", 1).StrGet();
    Types().Delete(id, value, 2);
    return text;
  };
  CHECK(defaultText(KvDATE_T) == "-4713-11-24T00:00:00");
  CHECK(defaultText(KvDATIME_N_T) == "-4713-11-24T00:00:00");
  CHECK(defaultText(D_TIMESTAMP_T) == "0000-01-01T00:00:00");
  CHECK(defaultText(D_INTERVAL_T) == "0000-00-00T00:00:00");
  KvDateTime value;
  CHECK(Types().SetNullValue(KvDATIME_T, &value) == 0);
  CHECK(Types().IsNullValue(KvDATIME_T, &value) != 0);
  CHECK(value.IsNullValue());
  d_Date date;
  CHECK(Types().SetNullValue(D_DATE_T, &date) == 0);  // no null: what an empty text converts to
  CHECK(date == d_Date(0, 1, 1));

  KvDate run[2] = {KvDate(2000, 1, 1), KvDate::NullValue()};
  KvTypeConvertData* texts = Types().ConvertTo(KvDATE_T, run, 2);
  CHECK(std::string(texts->GetString(0)->StrGet()) == "Sat 01.Jan 2000");
  CHECK(std::string(texts->GetString(1)->StrGet()) == "{NULL}");
  auto* back = static_cast<KvDate*>(Types().ConvertFrom(KvDATE_T, texts, 2));
  CHECK((back[0] == run[0] && back[1] == run[1]));
  Types().Delete(KvDATE_T, back, 2);
  delete texts;
  KvString out;
  CHECK(std::string(Types().PrintToKvString(KvDATE_T, out, run, "%D", 2).StrGet()) ==
        "2000-01-01,{NULL}");
  CHECK(Types().ScanFromKvString(KvDATE_T, nullptr, out, nullptr, 1) == nullptr);
}

TEST_CASE("time stamps are stored as any of seven types") {
  const KvTimeStamp stamp{2000, 2, 29, 13, 14, 15, 2};
  const auto stored = [&](char id, unsigned char format) {
    Bytes bytes(32, 0xEE);
    const int size = Types().StoreTimeStamp(id, bytes.data(), format, &stamp);
    bytes.resize(size < 0 ? 0 : static_cast<unsigned>(size));
    return bytes;
  };
  CHECK(stored(KvDATE_T, 2) == Bytes{7, 0xD0, 2, 29});
  CHECK(stored(KvTIME_T, 0) == Bytes{13, 14, 15});
  CHECK(stored(KvDATIME_T, 0) == Bytes{0xD0, 7, 2, 29, 13, 14, 15});
  CHECK(stored(KvDATIME_N_T, 2) == Bytes{7, 0xD0, 2, 29, 13, 14, 15, 0, 0, 0, 2});
  CHECK(stored(D_DATE_T, 0) == Bytes{0xD0, 7, 2, 29});
  CHECK(stored(D_TIME_T, 0) == Bytes{0, 0, 13, 14, 17, 0});
  CHECK(stored(D_TIMESTAMP_T, 2) == Bytes{7, 0xD0, 2, 29, 0, 0, 13, 14, 17, 0});
  unsigned char untouched[16] = {1, 2, 3};
  for (const char id : {KvTIMESPAN_T, D_INTERVAL_T, Kv4B_T, static_cast<char>(100)}) {
    CHECK(Types().StoreTimeStamp(id, untouched, 0, &stamp) == kvNotSupported);
  }
  CHECK(Types().StoreTimeStamp(KvDATE_T, untouched, 0, nullptr) == kvNotSupported);
  CHECK(untouched[0] == 1);
}
