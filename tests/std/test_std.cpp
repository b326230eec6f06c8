// The values among the standard library's own: containers, streams, clocks and what must not
// compile.
#include <doctest/doctest.h>

#include <algorithm>
#include <concepts>
#include <functional>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <tuple>
#include <unordered_map>
#include <vector>

#include "kvstd.h"
#include "support/values_of.h"

namespace {

using support::Types;
using support::Values;

template <class T>
std::vector<T> ValuesOf(unsigned count = 60) {
  const Values values(kvTypeIdOf<T>, support::OrdinaryValues(kvTypeIdOf<T>, count));
  std::vector<T> all;
  for (unsigned i = 0; i < values.Count(); ++i) all.push_back(*static_cast<const T*>(values[i]));
  // Values that are equal though they are not the same: bytes of booleans, zeros, NaN, versions.
  if constexpr (std::same_as<T, KvBoolean>) {
    for (const char* byte : {"\x01", "\x02", "\xC8"}) std::memcpy(&all.emplace_back(), byte, 1);
  } else if constexpr (std::same_as<T, KvNull_double>) {
    for (double number : {0.0, -0.0}) all.push_back(number);
  } else if constexpr (std::same_as<T, d_Interval>) {
    for (float number : {0.0f, -0.0f, std::numeric_limits<float>::quiet_NaN()}) {
      all.push_back(d_Interval::FromSeconds(number));
      all.push_back(d_Interval::FromSeconds(-number));
    }
  } else if constexpr (std::same_as<T, KvRef>) {
    all.push_back(KvRef(1, 2, 3, 4, 5, 6));
    all.push_back(KvRef(1, 2, 3, 4, 5, 7));
  }
  return all;
}

using support::Sign;

template <class Test>
void ForEachClass(Test test) {
  const auto each = [&]<class... T>(std::tuple<T...>*) { (test.template operator()<T>(), ...); };
  each(static_cast<
       std::tuple<KvString, KvIString, KvCaseIString, KvDate, KvTime, KvDateTime, KvDateTimeN,
                  KvTimeSpan, d_Date, d_Time, d_Timestamp, d_Interval, KvInt64, KvBoolean, KvSeal,
                  KvBlob, KvObjId, KvClassId, KvRef, KvNull_char, KvNull_ushort, KvNull_int,
                  KvNull_float, KvNull_double, KvNull_KvInt64, KvNull_u8b>*>(nullptr));
}

template <class A, class B>
concept Equatable = std::invocable<std::equal_to<>, A, B>;
template <class A, class B>
concept Ordered = std::invocable<std::less<>, A, B>;
template <class A, class B>
concept Addable = std::invocable<std::plus<>, A, B>;
template <class A, class B>
concept Subtractable = std::invocable<std::minus<>, A, B>;
template <class A, class B>
concept Multipliable = std::invocable<std::multiplies<>, A, B>;
template <class Stream, class T>
concept Streamable = requires(Stream& stream, T value) {
  stream << value;
};

// Nonsense.
static_assert(!Equatable<KvDate, KvTime> && !Equatable<KvTime, KvDate>);
static_assert(!Ordered<KvDate, KvTime> && !Ordered<KvTime, KvDate>);
static_assert(!Equatable<KvDateTime, KvTime> && !Equatable<KvTime, KvDateTimeN>);
static_assert(!Addable<KvDate, KvDate> && !Addable<KvDate, KvTime> && !Addable<KvTime, KvDate>);
static_assert(!Subtractable<KvDate, KvTime> && !Subtractable<KvTime, KvDate>);
static_assert(!Multipliable<KvDate, int> && !Multipliable<int, KvTime>);
static_assert(!Streamable<std::wostream, KvDate>);
// Sense that stays.
static_assert(Addable<KvDate, int> && Subtractable<KvDate, KvDate> && Subtractable<KvTime, KvTime>);
static_assert(Equatable<KvDate, KvDate> && Ordered<KvTime, KvTime> &&
              Streamable<std::ostream, int>);
static_assert(Addable<KvDateTimeN, KvTimeSpan> && !Addable<KvDateTimeN, KvDateTimeN>);
static_assert(std::same_as<decltype(KvDate(0) <=> KvDate(1)), std::strong_ordering>);
static_assert(std::same_as<decltype(KvRef() <=> KvRef()), std::weak_ordering>);
static_assert(std::same_as<decltype(KvNull_double() <=> KvNull_double()), std::partial_ordering>);
static_assert(!std::three_way_comparable<KvString> && !std::three_way_comparable<KvBoolean>);

}  // namespace

TEST_CASE("every class is a key of both sorts of containers, and of KvStrongLess") {
  ForEachClass([]<class T>() {
    CAPTURE(std::string(Types().NameGet(kvTypeIdOf<T>, nullptr)));
    const std::vector<T> values = ValuesOf<T>();
    std::map<T, int> ordered;
    std::unordered_map<T, int> hashed;
    std::set<T, KvStrongLess> strong;
    for (const T& value : values) {
      ++ordered[value];
      ++hashed[value];
      strong.insert(value);
    }
    for (const T& value : values) {
      CHECK(ordered.count(value) == 1);
      CHECK(hashed.count(value) == 1);
      CHECK(strong.count(value) == 1);
      for (const T& other : values) {
        const bool same = value == other;
        if (same) CHECK(std::hash<T>()(value) == std::hash<T>()(other));
        CHECK((KvStrongOrder(value, other) == 0) <= same);
        CHECK(Sign(KvStrongOrder(value, other)) == -Sign(KvStrongOrder(other, value)));
        if constexpr (requires { value <=> other; }) {
          CHECK(((value <=> other) == 0) == same);
          CHECK(Sign(value <=> other) == -Sign(other <=> value));
          CHECK((value < other) == ((value <=> other) < 0));
        }
      }
    }
    // As many keys as there are values that differ.
    std::size_t distinct = 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
      distinct += std::none_of(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(i),
                               [&](const T& before) { return before == values[i]; });
    }
    // The null string is equal to an empty one on its right, and not the other way around.
    if constexpr (!std::same_as<T, KvString>) CHECK(hashed.size() == distinct);
  });
}

TEST_CASE("wildcards are values to a map, which finds what it was given") {
  std::map<KvDate, int> days;
  std::vector<KvDate> keys;
  for (char month = -1; month < 3; ++month) {
    for (char day = -1; day < 12; ++day) keys.push_back(KvDate(2024, month, day));
  }
  for (const KvDate& key : keys) ++days[key];
  CHECK(days.size() == keys.size());
  for (const KvDate& key : keys) CHECK(days.count(key) == 1);
}

TEST_CASE("texts that are equal in different code sets hash alike, and plain bytes with them") {
  KvString letters("abc");
  KvString wide(letters);
  wide.MapToCodeSet(kvCodeSetUnicode);
  KvString bytes(letters);
  bytes.SetCodeSetCode(kvCodeSetBytes);
  const std::hash<KvString> hash;
  CHECK(letters == wide);
  CHECK(hash(letters) == hash(wide));
  CHECK(letters == bytes);
  CHECK(hash(letters) == hash(bytes));
  CHECK(hash(letters) != hash(KvString("abd")));
  CHECK(std::hash<KvCaseIString>()("strasse") == std::hash<KvCaseIString>()("STRASSE"));
  CHECK(std::hash<KvIString>()("strasse") != std::hash<KvIString>()("strassf"));
  KvString::SetDefaultCmpOp(kvCompareIgnoreCase);
  CHECK(letters == KvString("ABC"));
  CHECK(hash(letters) == hash(KvString("ABC")));
  KvString::SetDefaultCmpOp(0);
}

TEST_CASE("values stream as text that is read back") {
  std::ostringstream out;
  out << KvDate(2024, 2, 29) << ' ' << KvTime(13, 5, 0) << ' '
      << KvDateTime(KvDate(2024, 2, 29), KvTime(13, 5, 0)) << ' '
      << KvDateTimeN(2024, 2, 29, 13, 5, 0, 500000000) << ' ' << KvDate(2024, -1, 1) << ' '
      << KvDate::NullValue() << ' ' << KvInt64(-5) << ' ' << KvBoolean(1) << ' '
      << KvBlob("\x0A\xFF", 2) << ' ' << KvObjId(3, 2, 1) << ' ' << KvNull_int() << ' '
      << KvNull_int(7) << ' ' << *KvFromUtf8("Łódź");
  CHECK(out.str() ==
        "2024-02-29 13:05:00 2024-02-29T13:05:00 2024-02-29T13:05:00.500 2024-*-01 {NULL} -5 TRUE "
        "0aff (1-2#3) {NULL} 7 Łódź");
}

TEST_CASE("UTF-8 goes in and out, and what has no place does not") {
  for (const char* text : {"", "abc", "öl", "Łódź", "日本", "a\xC2\xA0z"}) {
    const auto string = KvFromUtf8(text);
    REQUIRE(string.has_value());
    CHECK(KvToUtf8(*string) == text);
  }
  CHECK(KvFromUtf8("öl")->Len() == 2);
  CHECK(KvFromUtf8("abc\x01")->GetCodeSet() == KvString::GetDefault8CodeSet());
  for (const std::string_view text :
       {std::string_view("\xFF"), std::string_view("a\xC3"), std::string_view("\xF0\x9F\x98\x80"),
        std::string_view("a\0b", 3), std::string_view("\xC0\x80")}) {
    CHECK_FALSE(KvFromUtf8(text).has_value());
  }
  CHECK_FALSE(KvFromUtf8(std::string(40000, '\x80')).has_value());
  // The longest of each width, and one more.
  CHECK(KvFromUtf8(std::string(65531, 'x'))->Len() == 65531);
  CHECK_FALSE(KvFromUtf8(std::string(65532, 'x')).has_value());
  std::string wide;
  for (int i = 0; i < 32765; ++i) wide += "Ł";
  CHECK(KvToUtf8(*KvFromUtf8(wide)) == wide);
  CHECK_FALSE(KvFromUtf8(wide + "ł").has_value());
  CHECK(KvBytesOf(KvString("abc")) == "abc");
}

TEST_CASE("characters are walked in either width") {
  const auto units = [](const KvString& walked) {
    std::vector<unsigned> found;
    for (const KvChar& letter : walked) found.push_back(letter.Value());
    return found;
  };
  const KvString text = *KvFromUtf8("aŁ日");
  CHECK(units(text) == std::vector<unsigned>{'a', 0x141, 0x65E5});
  CHECK(KvBytesOf(text).size() == 6);
  CHECK(units(KvString("a\xE9")) == std::vector<unsigned>{'a', 0xE9});
  CHECK(begin(KvString("")) == end(KvString("")));
  KvCharacterIterator at = begin(text);
  CHECK((*at++).Value() == 'a');
  CHECK((*at).Value() == 0x141);
}

TEST_CASE("dates and clocks agree with chrono both ways, and tell what does not fit") {
  using namespace std::chrono;
  std::mt19937 random(3);
  for (int round = 0; round < 5000; ++round) {
    const sys_days day{days{static_cast<int>(random() % 20000000) - 10000000}};
    if (year_month_day(day).year() == year(-1)) continue;
    const KvDate date = *KvFromChrono(day);
    CHECK(KvToChrono(date) == day);
    CHECK(KvToYearMonthDay(date) == year_month_day(day));
    const sys_seconds second{seconds{static_cast<int>(random())}};
    CHECK(*KvToChrono(*KvFromChrono(second)) == second);
    const sys_time<nanoseconds> instant{nanoseconds{static_cast<o_8b>(random() << 20)}};
    CHECK(*KvToChrono(*KvFromChrono(instant)) == instant);
    const nanoseconds span{static_cast<o_8b>(o_u8b{random()} << 32 | random())};
    CHECK(*KvToChrono(KvFromChrono(span)) == span);
  }
  CHECK(*KvToYearMonthDay(KvDate(2024, 2, 29)) == 2024y / February / 29);
  CHECK(*KvFromChrono(1969y / December / 31) == KvDate(1969, 12, 31));
  CHECK(KvFromChrono(sys_seconds{-1s})->time == KvTime(23, 59, 59));
  CHECK_FALSE(KvFromChrono(2023y / February / 29).has_value());
  CHECK_FALSE(KvFromChrono(year(-1) / January / 1).has_value());
  CHECK(KvFromChrono(sys_days(year::max() / 12 / 31)).has_value());
  for (const int later : {1, 24000000}) {
    CHECK_FALSE(KvFromChrono(sys_days(year::max() / 12 / 31) + days(later)).has_value());
  }
  CHECK_FALSE(KvToChrono(KvDate(2024, -1, 1)).has_value());
  CHECK_FALSE(KvToChrono(KvDate::NullValue()).has_value());
  CHECK_FALSE(KvToChrono(KvTime(24, 0, 0)).has_value());
  CHECK_FALSE(KvTimeFromChrono(24h).has_value());
  CHECK(KvTimeFromChrono(86399s) == KvTime(23, 59, 59));
  CHECK(KvTimeFromChrono(0s) == KvTime(0, 0, 0));
  CHECK_FALSE(KvTimeFromChrono(-1s).has_value());
  CHECK(KvFromChrono(sys_days(year::min() / 1 / 1)).has_value());
  CHECK_FALSE(KvFromChrono(sys_days(year::min() / 1 / 1) - days(1)).has_value());
  CHECK_FALSE(KvToChrono(KvTimeSpan::NullValue()).has_value());
  CHECK(KvToChrono(KvDateTimeN(2000, 1, 1, 0, 0, 0, 999999999)).has_value());
  CHECK_FALSE(KvToChrono(KvDateTimeN(2000, 1, 1, 0, 0, 0, 1000000000)).has_value());
  for (const o_8b sign : {1, -1}) {  // 64 bits hold the one and not a second more
    CHECK(KvToChrono(KvFromChrono(nanoseconds(sign * 9223372035000000000))).has_value());
    CHECK_FALSE(KvToChrono(KvFromChrono(nanoseconds(sign * 9223372036000000000))).has_value());
  }
  CHECK(KvToChrono(KvFromChrono(duration<float>(1.5f))).count() == 1.5f);
  CHECK_FALSE(KvToChrono(KvDateTimeN(2300, 1, 1, 0, 0, 0, 0)).has_value());
  CHECK_FALSE(KvToChrono(KvDateTimeN(2000, 1, 1, 0, 0, 0, -1)).has_value());
  CHECK(KvToChrono(d_Interval(0, 1)) == hours(1));
}

TEST_CASE("the difference of two points in time leads from one to the other") {
  std::mt19937 random(4);
  const auto moment = [&random] {
    KvDateTimeN value(KvDate(1, 1, 1), KvTime(static_cast<int>(random() % 86400)));
    value.date += static_cast<int>(random() % 3000000);
    value.nanosecond = static_cast<int>(random() % 3) * 499999999;
    return value;
  };
  for (int round = 0; round < 5000; ++round) {
    const KvDateTimeN a = moment();
    const KvDateTimeN b = round % 7 == 0 ? a : moment();
    const KvTimeSpan span = a - b;
    CHECK(b + span == a);
    CHECK(a - span == b);
    CHECK((span.GetTotalDays() < 0) == (a < b));
    CHECK((span == KvTimeSpan()) == (a == b));
  }
  CHECK((KvDateTimeN(KvDate(2024, 1, 1)) - KvDateTimeN(KvDate(2024, 1, 2))).GetTotalDays() == -1);
}

TEST_CASE("nullables are optionals") {
  CHECK_FALSE(KvToOptional(KvNull_int()).has_value());
  CHECK(KvToOptional(KvNull_int(0)) == 0);
  CHECK(KvFromOptional(std::optional<double>()) == KvNull_double());
  CHECK(KvFromOptional(std::optional<double>(2.5)).value == 2.5);
}

TEST_CASE("the strong order of values that no room was made for beforehand") {
  const std::string longest(300, 'x');
  const KvString texts[] = {"", "a", (longest + "a").c_str(), (longest + "b").c_str()};
  for (int n = 0; n < 16; ++n) {
    CHECK(Sign(KvStrongOrder(texts[n / 4], texts[n % 4])) == Sign(n / 4 - n % 4));
  }
}
