// Conversion records: runs of values to texts and back, who owns what, and the conversions that are
// exported by name. The leak sanitizer checks the ownership.
#include <doctest/doctest.h>

#include <cstring>
#include <memory>

#include "kv.h"
#include "kvistring.h"
#include "support/random.h"
#include "support/texts.h"

namespace {

// Texts of a run, joined by "|".
template <class Value>
std::string Texts(char type, std::vector<Value> values) {
  const auto count = static_cast<unsigned>(values.size());
  const std::unique_ptr<KvTypeConvertData> record(Types().ConvertTo(type, values.data(), count));
  REQUIRE(record != nullptr);
  CHECK(record->manager == &Types());
  CHECK(record->type == KvSTRING_T);
  CHECK(record->count == count);
  std::string joined;
  for (unsigned i = 0; i < count; ++i) {
    joined += std::string(i == 0 ? "" : "|") + record->GetString(static_cast<int>(i))->StrGet();
  }
  return joined;
}

template <char type, class Value>
struct Row {};

// The values that texts convert to.
template <class Value>
std::vector<Value> Values(char type, std::vector<KvString> texts, unsigned count) {
  const std::unique_ptr<KvTypeConvertData> record(KvTypeConvertData::Make(
      KvSTRING_T, static_cast<unsigned>(texts.size()), texts.data(), nullptr));
  auto* values = static_cast<Value*>(Types().ConvertFrom(type, record.get(), count));
  REQUIRE(values != nullptr);
  std::vector<Value> result(values, values + count);
  Types().Delete(type, values, count);
  record->manager = nullptr;  // ConvertFrom has set it; the texts are not the record's to free
  return result;
}

}  // namespace

TEST_CASE("every whole number comes back from its own text") {
  Random random(1);
  const auto check = [&]<char type, class Value>(Row<type, Value>) {
    std::vector<Value> values = {0, 1, std::numeric_limits<Value>::min(),
                                 std::numeric_limits<Value>::max()};
    for (int i = 0; i < 200; ++i) {
      values.push_back(static_cast<Value>(random.Wide() >> random() % 64));
    }
    const auto count = static_cast<unsigned>(values.size());
    const std::unique_ptr<KvTypeConvertData> record(Types().ConvertTo(type, values.data(), count));
    void* back = Types().ConvertFrom(type, record.get(), count);
    CHECK(std::memcmp(back, values.data(), count * sizeof(Value)) == 0);
    Types().Delete(type, back, count);
  };
  const auto checkAll = [&](auto... rows) { (check(rows), ...); };
  checkAll(Row<Kv1B_T, o_char>(), Row<KvU1B_T, o_u1b>(), Row<Kv2B_T, o_2b>(), Row<KvU2B_T, o_u2b>(),
           Row<Kv4B_T, o_4b>(), Row<KvU4B_T, o_u4b>(), Row<KvINT_T, int>(), Row<KvENUM_T, int>(),
           Row<KvUNSIGNED_T, unsigned>(), Row<KvBLOCKID_T, o_u4b>(), Row<Kv8B_T, o_8b>(),
           Row<KvU8B_T, o_u8b>());
}

TEST_CASE("the texts themselves") {
  CHECK(Texts<o_char>(Kv1B_T, {'A', 0, static_cast<char>(0xE9)}) == "A||\xE9");
  CHECK(Texts<o_u1b>(KvU1B_T, {65}) == "A");
  CHECK(Texts<o_2b>(Kv2B_T, {-1, 32767}) == "-1|32767");
  CHECK(Texts<o_u2b>(KvU2B_T, {65535, 65}) == "65535|65");
  CHECK(Texts<o_u4b>(KvBLOCKID_T, {4294967295u}) == "4294967295");
  CHECK(Texts<double>(KvDOUBLE_T, {0.1, -1e300}) == "0.10000000000000001|-1.0000000000000001e+300");
  CHECK(Texts<float>(KvFLOAT_T, {0.1f}) == "0.10000000149011612");
  CHECK(Texts<KvIString>(KvISTRING_T, {KvIString("a"), KvIString()}) == "a|");
  CHECK(Texts<KvDate>(KvDATE_T, {KvDate(short{2024}, char{2}, char{29})}).size() > 8);
}

TEST_CASE("texts are in the default code set, and come back from it") {
  KvLanguageContext::SetDefaultCodeSet(kvCodeSetUnicode);
  for (char id = 0; id < KvRES_T; ++id) {
    CAPTURE(int{id});
    void* values = Types().DefaultValue(id, 1, 0);
    const std::unique_ptr<KvTypeConvertData> record(Types().ConvertTo(id, values, 1));
    CHECK(record->GetString(0)->GetCodeSet() == kvCodeSetUnicode);
    Types().Delete(id, values, 1);
  }
  const o_u2b word = 65;
  const std::unique_ptr<KvTypeConvertData> record(
      Types().ConvertTo(KvU2B_T, const_cast<o_u2b*>(&word), 1));
  CHECK(record->GetString(0)->Len() == 2);
  void* back = Types().ConvertFrom(KvU2B_T, record.get(), 1);
  CHECK(*static_cast<o_u2b*>(back) == 65);
  Types().Delete(KvU2B_T, back, 1);
  KvLanguageContext::SetDefaultCodeSet(kvCodeSetLatin1);
}

TEST_CASE("reading back: prefixes, rubbish, missing and null texts") {
  KvString null;
  null.SetNullValue();
  CHECK((Values<o_4b>(Kv4B_T, {"0x1F", "017", "x", " +5", null}, 6) ==
         std::vector<o_4b>{31, 15, 0, 5, 0, 0}));
  // Unsigned rows read as their signed kin do; 16-bit text and the option are decimal.
  const unsigned short wideHex[] = {'0', 'x', '1', 'F', 0}, wideOctal[] = {'0', '1', '7', 0};
  const auto reads = [&]<class Value>(char type, Value) {
    CAPTURE(int{type});
    const std::vector<KvString> texts = {"0x1F", "017", " +5", "-1", "x", wideHex, wideOctal};
    CHECK((Values<Value>(type, texts, 7) ==
           std::vector<Value>{31, 15, 5, static_cast<Value>(-1), 0, 0, 17}));
    ___KvTypeMgrOptions() = 1;
    CHECK((Values<Value>(type, texts, 3) == std::vector<Value>{0, 17, 5}));
    ___KvTypeMgrOptions() = 0;
  };
  reads(KvU2B_T, o_u2b{});
  reads(KvU4B_T, o_u4b{});
  reads(KvUNSIGNED_T, 0u);
  reads(KvBLOCKID_T, o_u4b{});
  reads(KvU8B_T, o_u8b{});
  reads(Kv2B_T, o_2b{});
  CHECK(Values<KvNull_ulong>(KvNULL_U4B_T, {"0x1F"}, 1)[0].value == 31);
  CHECK(Values<o_u4b>(KvU4B_T, {"4294967296"}, 1)[0] == 0xFFFFFFFF);
  CHECK((Values<o_u8b>(KvU8B_T, {"18446744073709551615", "-1", ""}, 4) ==
         std::vector<o_u8b>{~0ULL, ~0ULL, 0, 0}));
  CHECK((Values<o_char>(Kv1B_T, {"hello", null}, 3) == std::vector<o_char>{'h', 0, 0}));
  CHECK((Values<double>(KvDOUBLE_T, {"2.5x", "Infinity", ""}, 3)[0] == 2.5));
  const unsigned short wide[] = {'4', '2', 0};
  CHECK(Values<o_u2b>(KvU2B_T, {KvString(wide)}, 1)[0] == 42);
  CHECK(Values<KvIString>(KvISTRING_T, {KvString(wide)}, 1)[0] == KvIString("42"));
  void* none = Types().ConvertFrom(Kv4B_T, nullptr, 2);
  CHECK(static_cast<o_4b*>(none)[1] == 0);
  Types().Delete(Kv4B_T, none, 2);
}

TEST_CASE("a record gives the texts that it holds and frees what it owns") {
  o_4b values[2] = {1, 2};
  KvTypeConvertData* record = Types().ConvertTo(Kv4B_T, values, 2);
  CHECK(std::string(record->GetString(1)->StrGet()) == "2");
  CHECK(record->GetString(2) == nullptr);
  record->type = Kv4B_T;
  CHECK(record->GetString(0) == nullptr);
  record->type = KvSTRING_T;
  delete record;

  KvString* own = new KvString[1]{KvString("mine")};
  record = KvTypeConvertData::Make(KvSTRING_T, 1, own, nullptr);
  delete record;  // without a type manager the texts stay
  CHECK(std::string(own[0].StrGet()) == "mine");
  delete[] own;
  record = KvTypeConvertData::Make(KvSTRING_T, 1, nullptr, &Types());
  CHECK(record->GetString(0) == nullptr);
  delete record;

  // A destroyed record reads as one of nothing.
  record = Types().ConvertTo(Kv4B_T, values, 2);
  record->~KvTypeConvertData();
  KvTypeConvertData* volatile destroyed = record;
  CHECK(destroyed->count == 0);
  CHECK(destroyed->type == 100);
  CHECK(destroyed->values == nullptr);
  ::operator delete(record);
}

TEST_CASE("conversions by name are those of their rows") {
  const auto check = [](auto value, const char* expected, auto toText, auto fromText) {
    KvTypeConvertData* record = toText(&value, 1);
    CHECK(record->manager == nullptr);  // the caller's to set
    CHECK(std::string(record->GetString(0)->StrGet()) == expected);
    auto* back = static_cast<decltype(value)*>(fromText(record, 1));
    CHECK(*back == value);
    delete[] back;
    record->manager = &Types();
    delete record;
  };
  check(o_char{'x'}, "x", CharConvertToKvString, CharConvertFromKvString);
  check(o_u1b{0xE9}, "\xE9", O_U1BConvertToKvString, O_U1BConvertFromKvString);
  check(o_2b{-1}, "-1", ShortConvertToKvString, ShortConvertFromKvString);
  check(o_u2b{65535}, "65535", WordConvertToKvString, WordConvertFromKvString);
}

TEST_CASE("a row's default is what an empty text converts to, and what null is without a null") {
  auto* numbers = static_cast<double*>(Types().DefaultValue(KvDOUBLE_T, 3, 0));
  CHECK(numbers[2] == 0.0);
  Types().Delete(KvDOUBLE_T, numbers, 3);
  auto* texts = static_cast<KvCaseIString*>(Types().DefaultValue(KvCASEISTRING_T, 2, 0));
  CHECK(texts[1].IsEmpty());
  Types().Delete(KvCASEISTRING_T, texts, 2);
  o_u8b value = 5;
  CHECK(Types().SetNullValue(KvU8B_T, &value) == 0);
  CHECK(value == 0);
  KvIString string("x");
  Types().SetNullValue(KvISTRING_T, &string);
  CHECK(string.IsEmpty());
}
