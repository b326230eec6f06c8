// Texts from strangers: what is read, what is not, and where the text stops being a value.
#include <doctest/doctest.h>

#include <cstring>
#include <string>

#include "kvchecked.h"
#include "support/values_of.h"

namespace {

using support::Types;
using support::Values;

constexpr const char* kDate = "%Y-%m-%d";
constexpr const char* kClock = "%H:%M:%f";

// A format that shows all of a value; null where the row's own does.
const char* WholeFormat(char id) {
  switch (id) {
    case KvDATE_T:
    case D_DATE_T:
      return kDate;
    case KvTIME_T:
      return "%H:%M:%S";
    case D_TIME_T:
      return kClock;
    case KvDATIME_T:
      return "%Y-%m-%dT%H:%M:%S";
    case D_TIMESTAMP_T:
    case KvDATIME_N_T:
      return "%Y-%m-%dT%H:%M:%f";
    case KvBLOB_T:
      return "%X";
    default:
      return nullptr;
  }
}

// The print format of a span leaves months and days out as such, that of a class number its version
// and an interval its fraction; zones are in no text, and all bytes but three of a boolean are
// FALSE.
bool ReadsBack(char id) {
  return id != KvTIMESPAN_T && id != D_INTERVAL_T && id != D_TIME_T && id != D_TIMESTAMP_T &&
         id != KvREF_T && id != KvBOOLEAN_T;
}

}  // namespace

TEST_CASE("what a row prints is read back whole") {
  for (char id = 0; id < support::kRowCount; ++id) {
    if (!ReadsBack(id)) continue;
    CAPTURE(std::string(Types().NameGet(id, nullptr)));
    const Values values(id, support::OrdinaryValues(id, 60));
    const Values read(id, support::OrdinaryValues(id, 60, 7));
    for (unsigned i = 0; i < values.Count(); ++i) {
      KvString text;
      Types().PrintToKvString(id, text, values[i], WholeFormat(id), 1);
      CAPTURE(std::string(text.StrGet()));
      const KvScanned outcome = KvScanChecked(Types(), id, read[i], text, WholeFormat(id));
      // An infinity beyond words: denormal and largest numbers are among the values.
      REQUIRE(outcome.status == kvOk);
      CHECK(outcome.position == text.Len());
      // A null prints no other component, as the block of an object that there is not.
      if (Types().IsNullValue(id, values[i]) != 0) {
        CHECK(Types().IsNullValue(id, read[i]) != 0);
      } else {
        CHECK(Types().Cmp(id, read[i], values[i], 0x10, 1, 8) == 0);
      }
    }
  }
}

TEST_CASE("what is no value is told by its place, and leaves the value alone") {
  struct Case {
    char id;
    const char* text;
    const char* format;
    int status;
    unsigned position;
  };
  const Case cases[] = {
      {KvDATE_T, "garbage", kDate, kvMismatch, 0},
      {KvDATE_T, "2024-02-29 garbage", kDate, kvTextLeft, 10},
      {KvDATE_T, "2024-02-29  ", kDate, kvOk, 12},
      {KvDATE_T, "2024-02-x", kDate, kvMismatch, 8},
      {KvDATE_T, "2024-02", kDate, kvMismatch, 7},
      {KvDATE_T, "", kDate, kvNothingRead, 0},
      {KvDATE_T, "  ", kDate, kvNothingRead, 0},
      {KvDATE_T, "2023-02-29", kDate, kvOutOfRange, 10},
      {KvDATE_T, "2024-300-01", kDate, kvOutOfRange, 11},
      {KvDATE_T, "40000-01-01", kDate, kvOutOfRange, 11},
      {KvDATE_T, "2024-*-31", kDate, kvOk, 9},
      {KvDATE_T, "{NULL}", kDate, kvOk, 6},
      {KvDATE_T, "{NULL}, 3", kDate, kvTextLeft, 6},
      {KvDATE_T, "2024-02-29T10", "%Y-%m-%dT%H", kvOutOfRange, 13},  // a date holds no hour
      {KvTIME_T, "24:00:00", "%T", kvOutOfRange, 8},
      {D_DATE_T, "1500-02-29", kDate, kvOk, 10},
      {D_TIME_T, "12:00:00.129", kClock, kvOutOfRange, 12},  // hundredths
      {D_TIME_T, "12:00:00.120", kClock, kvOk, 12},
      {KvTIMESPAN_T, "-35.01:02:03.5", nullptr, kvOk, 14},
      {KvTIMESPAN_T, "0.200:00:00", nullptr, kvOutOfRange, 11},
      {KvTIMESPAN_T, "99999999999.0:0:0", nullptr, kvOutOfRange, 17},
      {D_INTERVAL_T, "-1 days, 2 hours, 3 minutes, 4 seconds", nullptr, kvOk, 38},
      {D_INTERVAL_T, "1 days", nullptr, kvMismatch, 6},
      {Kv4B_T, "99999999999", nullptr, kvOutOfRange, 11},
      {Kv4B_T, "2147483648", nullptr, kvOutOfRange, 10},
      {Kv4B_T, "-2147483648", nullptr, kvOk, 11},
      {Kv4B_T, "12,5", nullptr, kvTextLeft, 2},
      {Kv4B_T, "FFFFFFFF", "%x", kvOk, 8},
      {Kv4B_T, "5 apples", "%d apples", kvOk, 8},
      {Kv4B_T, "5 pears", "%d apples", kvMismatch, 2},
      {Kv4B_T, "5", "%s", kvBadArgument, 0},
      {KvU4B_T, "-1", nullptr, kvOutOfRange, 2},
      {KvU4B_T, "4294967295", nullptr, kvOk, 10},
      {Kv2B_T, "32768", "%d", kvOutOfRange, 5},
      {KvU2B_T, "65536", nullptr, kvOutOfRange, 5},
      {KvU8B_T, "18446744073709551616", nullptr, kvOutOfRange, 20},
      {KvINT64_T, "-9223372036854775809", nullptr, kvOutOfRange, 20},
      {KvINT64_T, "-9223372036854775808", nullptr, kvOk, 20},
      {KvINT64_T, "9223372036854775808 5", "%S %S", kvOutOfRange, 21},
      {KvINT64_T, "0x", nullptr, kvTextLeft, 1},
      {KvBLOCKID_T, "17", nullptr, kvMismatch, 0},
      {KvDOUBLE_T, "1e999", nullptr, kvOutOfRange, 5},
      {KvDOUBLE_T, "-infinity ", nullptr, kvOk, 10},
      {KvDOUBLE_T, "  infinite", nullptr, kvMismatch, 2},
      {KvDOUBLE_T, " NaN x", nullptr, kvTextLeft, 4},
      {KvDOUBLE_T, "ldexp(0.5,2000)", "ldexp(%g,%d)", kvOutOfRange, 15},
      {KvDOUBLE_T, "ldexp(inf,3)", "ldexp(%g,%d)", kvOk, 12},
      {KvDOUBLE_T, "1e999", "%lf", kvOutOfRange, 5},
      {KvDOUBLE_T, "1.5.2", nullptr, kvTextLeft, 3},
      {KvDOUBLE_T, "1e+", nullptr, kvTextLeft, 1},
      {KvFLOAT_T, "1e39", nullptr, kvOutOfRange, 4},
      {KvBOOLEAN_T, "yes", nullptr, kvMismatch, 0},
      {KvBOOLEAN_T, "TRUE ", nullptr, kvOk, 5},
      {KvBOOLEAN_T, "{NULL}", nullptr, kvOk, 6},
      {KvBOOLEAN_T, "  ", nullptr, kvNothingRead, 0},
      {KvSEAL_T, "281474976710655", nullptr, kvOk, 15},
      {KvSEAL_T, "281474976710656", nullptr, kvOutOfRange, 15},
      {KvSEAL_T, "-1", nullptr, kvOutOfRange, 2},
      {KvNULL_2B_T, "", nullptr, kvOk, 0},
      {KvNULL_2B_T, "40000", nullptr, kvOutOfRange, 5},
      {KvNULL_2B_T, "{NULL}", nullptr, kvOk, 6},
      {Kv1B_T, "ab", nullptr, kvTextLeft, 1},
      {Kv1B_T, "0x9F", nullptr, kvOk, 4},
      {Kv1B_T, "0", nullptr, kvOk, 1},
      {Kv1B_T, "0159", nullptr, kvTextLeft, 1},
      {Kv1B_T, "", nullptr, kvNothingRead, 0},
      {KvOBJID_T, "(1-2#", nullptr, kvMismatch, 5},
      {KvOBJID_T, "(70000-2#3)", nullptr, kvOutOfRange, 6},
      {KvOBJID_T, "(1-4294967296#7)", nullptr, kvOutOfRange, 13},
      {KvBLOB_T, "0a f", nullptr, kvMismatch, 3},
      {KvSTRING_T, "{NULL}!", nullptr, kvTextLeft, 6},
      {KvSTRING_T, "", nullptr, kvOk, 0},
  };
  for (const Case& each : cases) {
    CAPTURE(std::string(Types().NameGet(each.id, nullptr)));
    CAPTURE(each.text);
    const Values values(each.id, support::OrdinaryValues(each.id, 2));
    const support::Bytes before = values.Stored(0, 1);
    const KvScanned read = KvScanChecked(Types(), each.id, values[1], each.text, each.format);
    CHECK(std::string(KvStatusName(read.status)) == KvStatusName(each.status));
    CHECK(read.position == each.position);
    if (!read.IsValue()) CHECK(values.Stored(0, 1) == before);
  }
}

TEST_CASE("the words of a truth are ten, and what is read is what they say") {
  const std::string words = " TRUE true T t 1 FALSE false F f 0 ";
  unsigned read = 0;
  for (std::size_t begin = 1, end; (end = words.find(' ', begin)) != words.npos; begin = end + 1) {
    KvBoolean truth(read < 5 ? 0 : 1);
    const std::string word = words.substr(begin - 1, end - begin + 1);
    CHECK(KvScanChecked(Types(), KvBOOLEAN_T, &truth, word.c_str(), nullptr).status == kvOk);
    CHECK(truth.value == (read++ < 5 ? 1 : 0));
  }
  CHECK(read == 10);
}

TEST_CASE("a null pointer takes no value, and an empty text is the null when that prints empty") {
  const KvScanned nowhere = KvScanChecked(Types(), Kv4B_T, nullptr, "5", nullptr);
  CHECK((nowhere.status == kvBadArgument && nowhere.position == 0));
  KvString text("before");
  KvTypeMgr::SetNullPrintString(KvString(""));
  const int status = KvScanChecked(Types(), KvSTRING_T, &text, "", nullptr).status;
  KvTypeMgr::SetNullPrintString(KvString("{NULL}"));
  CHECK(status == kvOk);
  CHECK(text.IsNullValue());
  CHECK(KvScanChecked(Types(), KvSTRING_T, &text, "", nullptr).status == kvOk);
  CHECK_FALSE(text.IsNullValue());
}

TEST_CASE("a 16-bit text is read as its characters are, or refused by its first stranger") {
  KvString text(kvCodeSetUnicode, 1);
  text << "2024-02-29";
  KvDate day(0);
  CHECK(KvScanChecked(Types(), KvDATE_T, &day, text, kDate).status == kvOk);
  CHECK(day == KvDate(2024, 2, 29));
  KvString greek(kvCodeSetUnicode, 1);
  greek << "ab" << static_cast<unsigned short>(0x3B1) << 'c';
  KvIString plain("before");
  const KvScanned refused = KvScanChecked(Types(), KvISTRING_T, &plain, greek, nullptr);
  CHECK(refused.status == kvOutOfRange);
  CHECK(refused.position == 2);
  CHECK(KvScanChecked(Types(), KvISTRING_T, &plain, greek.Right(2), nullptr).status ==
        kvOutOfRange);
  CHECK(plain == KvIString("before"));
  double real = 9;
  CHECK((Types().ScanFromKvString(KvDOUBLE_T, &real, greek, nullptr, 1) == &real && real == 0));
  // A digit of another script is no digit.
  KvString digits(kvCodeSetUnicode, 1);
  digits << '1' << static_cast<unsigned short>(0x661);
  int number = 0;
  CHECK(KvScanChecked(Types(), KvINT_T, &number, digits, nullptr).status == kvTextLeft);
}

TEST_CASE("a scan function that was exchanged says nothing, and nothing is read") {
  const KvScanFunc before = Types().ExchangeScanFromKvStringFunc(
      KvINT_T, [](void* values, KvString&, const char*, unsigned) { return values; });
  int number = 3;
  const KvScanned refused = KvScanChecked(Types(), KvINT_T, &number, "4", nullptr);
  CHECK((refused.status == kvNotSupported && refused.position == 0));
  Types().ExchangeScanFromKvStringFunc(KvINT_T, before);
  CHECK(KvScanChecked(Types(), KvINT_T, &number, "4", nullptr).status == kvOk);
  CHECK(number == 4);
}
