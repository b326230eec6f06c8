// KvBoolean and KvSeal, the text of KvInt64, and the three rows through the type manager.
#include <doctest/doctest.h>

#include <cstring>
#include <string>

#include "kvboolean.h"
#include "kvcompare.h"
#include "kvint64.h"
#include "kvobjid.h"
#include "kvseal.h"
#include "kvstring.h"
#include "kvtypemgr.h"
#include "support/types.h"

namespace {

using support::Types;

std::string Printed(const KvInt64& value, const char* format) {
  KvString text("rest");
  return value.PrintToKvString(text, format).StrGet();
}

}  // namespace

TEST_CASE("KvInt64 prints by its directives and copies everything else") {
  CHECK(Printed(-42, nullptr) == "-42");
  CHECK(Printed(LLONG_MIN, "<%S|%x|%o>") ==
        "<-9223372036854775808|-8000000000000000|-01000000000000000000000>");
  CHECK(Printed(0xBEEF, "%d%i %x %X 0%o") == "4887948879 beef BEEF 00137357");
  CHECK(Printed(0, "%o") == "0");
  CHECK(Printed(7, "%%S%q %") == "%%S%q %");
  CHECK(Printed(7, "").empty());
  CHECK(Printed(7, (std::string(600, '.') + "%S").c_str()) == std::string(600, '.') + "7");
}

TEST_CASE("KvInt64 scans what it prints and refuses what does not match") {
  for (const char* format : {"%S", "%x", "%X", "%o", "a %d b", "%S%%"}) {
    for (const o_8b number : {0ll, 9ll, -10ll, 0x1234567890ll, LLONG_MAX, LLONG_MIN}) {
      KvString text;
      KvInt64(number).PrintToKvString(text, format);
      KvInt64 back(1);
      CAPTURE(text.StrGet());
      CHECK(back.ScanFromKvString(text, format) == 0);
      CHECK(back.Get8b() == number);
    }
  }
  struct {
    const char* text;
    const char* format;
    o_8b value;  // 77 where nothing is scanned
  } const cases[] = {{" +5 apples", "%S", 5},
                     {"0x1F", "%S", 31},
                     {"-0x1f", "%x", -31},
                     {"017", "%d", 17},
                     {"99999999999999999999", "%S", LLONG_MAX},
                     {"-99999999999999999999", "%S", LLONG_MIN},
                     {"", "%S", 77},
                     {"-", "%S", 77},
                     {"five", "%S", 77},
                     {"5", "x%S", 77},
                     {"5", "%S%", 77},
                     {"8", "%o", 77}};
  for (const auto& one : cases) {
    CAPTURE(one.text);
    KvInt64 value(77);
    KvString text(one.text);
    CHECK(Types().ScanFromKvString(KvINT64_T, &value, text, one.format, 1) == &value);
    CHECK(value.Get8b() == one.value);
  }
  const unsigned short wide[] = {'4', '2', 0};
  KvInt64 value;
  CHECK(value.ScanFromKvString(KvString(wide)) == 0);
  CHECK(value == 42);
}

TEST_CASE("a boolean is null, false or true, and orders by its byte") {
  KvBoolean odd;
  CHECK(odd.value == 0);
  odd.value = 5;
  KvBoolean null;
  null.SetNullValue();
  CHECK(KvBoolean(-3).value == 1);
  CHECK(odd == KvBoolean(1));
  CHECK(odd == 1);
  CHECK(!(odd == null));
  CHECK(null == null);
  CHECK(null < KvBoolean(0));
  CHECK(!(KvBoolean(0) < null));
  CHECK(!(null < null));
  CHECK(KvBoolean(1) > 0);
  CHECK(KvBoolean(1) < odd);
  KvBoolean negative;
  negative.value = 0x80;
  CHECK(negative < KvBoolean(0));

  KvBoolean run[] = {null, negative, 0, 1};
  int status;
  CHECK(Types().Hash(KvBOOLEAN_T, 0, &run[1], 1, 8, status) == 0xFFFFFF80u * 1103515245u);
  CHECK(Types().IsNullValue(KvBOOLEAN_T, run) != 0);
  int words = 0;  // half of them true
  for (const char* word : {"T", "t", "TRUE", "true", "1", "", "True", "TRUEST", "0", "yes"}) {
    const int expected = words++ < 5 ? 1 : 0;
    KvString input(word);
    KvBoolean truth(1 - expected);
    Types().ScanFromKvString(KvBOOLEAN_T, &truth, input, nullptr, 1);
    CHECK(truth.value == expected);
  }
  KvString input("{NULL} or so");
  Types().ScanFromKvString(KvBOOLEAN_T, run + 3, input, nullptr, 1);
  CHECK(run[3].IsNullValue());

  unsigned char low = 0, high = 1;
  KvIdxBounds range{&low, &high, 1, 1}, recorded;
  unsigned short predicate = kvPredicateLess;
  CHECK(Types().EvalAndBound(KvBOOLEAN_T, &range, predicate, run, 8, 0, &recorded, nullptr) ==
        1.0f / 3);
  CHECK((recorded.lower == nullptr && recorded.upper == nullptr));
  void* untyped = &recorded;
  CHECK(Types().EvalAndBound(KvBOOLEAN_T, &range, predicate, run, 8, 1, untyped, nullptr) ==
        1.0f / 3.0f);
  CHECK(recorded.lower == nullptr);
  CHECK(recorded.upperLength == 1);
  std::free(recorded.upper);
  CHECK(Types().EvalAndBound(KvBOOLEAN_T, nullptr, predicate, run, 8, 1, nullptr, nullptr) == 0);
}

TEST_CASE("a seal is 48 bits") {
  KvSeal seal;
  o_8b number = -1;
  KvInt64 wide;
  seal.ConvertFrom(0x123456789ABCll);
  CHECK(seal.high == 0x1234);
  CHECK(seal.low == 0x9ABC);
  seal.ConvertTo(number);
  CHECK(number == 0x123456789ABC);
  seal.ConvertFrom(KvInt64(0x1000000000000));
  CHECK(seal == KvSeal());
  seal.ConvertFrom(-1ll);
  seal.ConvertTo(wide);
  CHECK(wide == 0xFFFFFFFFFFFF);
  seal.ConvertFrom(KvObjId{9, 0x56789ABC, 0x1234});

  KvString text;
  CHECK(std::string(seal.PrintToKvString(text).StrGet()) == "20015998343868");
  KvSeal back;
  CHECK(back.ScanFromKvString(text) == 0);
  CHECK(back == seal);
  CHECK(back.ScanFromKvString(KvString("seal")) == kvNotSupported);
  CHECK(back == seal);
  CHECK(back.ScanFromKvString(KvString()) == 0);
  CHECK(back == KvSeal());

  // In memory a word's order is the difference.
  KvSeal run[3];
  const o_8b numbers[] = {0xFF, 0x100, 0xFFFF00000000};
  for (int i = 0; i < 3; ++i) run[i].ConvertFrom(numbers[i]);
  CHECK(Types().Cmp(KvSEAL_T, run + 2, run + 1, 0, 1, 8) == 0xFFFF);
  CHECK(Types().GetValue(KvSEAL_T, run, 6, 8, 'M') == 0);
  CHECK(run[0] == run[1]);
  seal.ConvertFrom(-1ll);
  CHECK(Types().GetValue(KvSEAL_T, &seal, 6, 8, 'M') == kvOverflow);
}
