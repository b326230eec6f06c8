// kvstd.h - the values with the manners of the standard library (C++20; not part of kv.h).
//
//   #include <kv.h>
//   #include <kvstd.h>
//
//   std::map<KvDateTimeN, KvBlob> log;                      // <, <=> and ==
//   std::unordered_set<KvString> names;                     // std::hash
//   std::set<KvString, KvStrongLess> exact;                 // no wildcards, no options
//   std::cout << KvDate(2024, 2, 29) << '\n';               // 2024-02-29
//   std::optional<KvString> name = KvFromUtf8("Łódź");
//   std::string text = KvToUtf8(*name);
//   auto day = KvToChrono(KvDate(2024, 2, 29));             // std::optional<std::chrono::sys_days>
//   KvTimeSpan worked = end - begin;                        // negative when `end` is the earlier
//   for (const KvChar& letter : *name) ...
//
// Order. `<=>` is there where `==` is: it is strong where equal means the same in every member,
// weak where it does not (KvRef, whose version does not count), partial for nullable floats, where
// NaN is unordered. Wildcards are values: -1 is before 0. KvString and the 8-bit strings keep their
// own operators, and KvBoolean its own, whose < tells more apart than its == does. KvStrongLess
// orders any class by the value and then by what it is made of: two values are equivalent only when
// they are stored alike.
//
// Hash. std::hash agrees with == for every class. KvString's == goes by the process's compare
// options (KvString::SetDefaultCmpOp): where those ignore anything, all hashes are alike, and where
// wildcards are in use == is no equality to hash by.
//
// What would compile into nonsense through the numbers that dates and times convert to does not,
// once this header is included. That is a date compared with a time, a sum of two dates, a product
// of a date.
#pragma once

#include <chrono>
#include <compare>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <functional>
#include <limits>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <type_traits>

#include "kv.h"

// ---------------------------------------------------------------------------------------------
// The type id of a class, kvTypeIdOf<KvDate> == KvDATE_T; KvRES_T for what is no value class.

template <class T>
inline constexpr char kvTypeIdOf = KvRES_T;
// clang-format off
template <> inline constexpr char kvTypeIdOf<KvString> = KvSTRING_T;
template <> inline constexpr char kvTypeIdOf<KvIString> = KvISTRING_T;
template <> inline constexpr char kvTypeIdOf<KvCaseIString> = KvCASEISTRING_T;
template <> inline constexpr char kvTypeIdOf<KvDate> = KvDATE_T;
template <> inline constexpr char kvTypeIdOf<KvTime> = KvTIME_T;
template <> inline constexpr char kvTypeIdOf<KvDateTime> = KvDATIME_T;
template <> inline constexpr char kvTypeIdOf<KvDateTimeN> = KvDATIME_N_T;
template <> inline constexpr char kvTypeIdOf<KvTimeSpan> = KvTIMESPAN_T;
template <> inline constexpr char kvTypeIdOf<d_Date> = D_DATE_T;
template <> inline constexpr char kvTypeIdOf<d_Time> = D_TIME_T;
template <> inline constexpr char kvTypeIdOf<d_Timestamp> = D_TIMESTAMP_T;
template <> inline constexpr char kvTypeIdOf<d_Interval> = D_INTERVAL_T;
template <> inline constexpr char kvTypeIdOf<KvInt64> = KvINT64_T;
template <> inline constexpr char kvTypeIdOf<KvBoolean> = KvBOOLEAN_T;
template <> inline constexpr char kvTypeIdOf<KvSeal> = KvSEAL_T;
template <> inline constexpr char kvTypeIdOf<KvBlob> = KvBLOB_T;
template <> inline constexpr char kvTypeIdOf<KvObjId> = KvOBJID_T;
template <> inline constexpr char kvTypeIdOf<KvClassId> = KvCLID_T;
template <> inline constexpr char kvTypeIdOf<KvRef> = KvREF_T;
template <> inline constexpr char kvTypeIdOf<KvNull_char> = KvNULL_1B_T;
template <> inline constexpr char kvTypeIdOf<KvNull_uchar> = KvNULL_U1B_T;
template <> inline constexpr char kvTypeIdOf<KvNull_short> = KvNULL_2B_T;
template <> inline constexpr char kvTypeIdOf<KvNull_ushort> = KvNULL_U2B_T;
template <> inline constexpr char kvTypeIdOf<KvNull_int> = KvNULL_INT_T;
template <> inline constexpr char kvTypeIdOf<KvNull_unsigned> = KvNULL_UNSIGNED_T;
template <> inline constexpr char kvTypeIdOf<KvNull_float> = KvNULL_FLOAT_T;
template <> inline constexpr char kvTypeIdOf<KvNull_double> = KvNULL_DOUBLE_T;
template <> inline constexpr char kvTypeIdOf<KvNull_KvInt64> = KvNULL_KVINT64_T;
template <> inline constexpr char kvTypeIdOf<KvNull_8b> = KvNULL_8B_T;
template <> inline constexpr char kvTypeIdOf<KvNull_u8b> = KvNULL_U8B_T;
// clang-format on

// A class of the catalogue.
template <class T>
concept KvValueClass = kvTypeIdOf<T>
!= KvRES_T;

namespace kv {

// The order of the row, as the sign of a number.
template <KvValueClass T>
int RowOrder(const T& a, const T& b) {
  return DefaultTypeMgr(nullptr)->Cmp(kvTypeIdOf<T>, &a, &b, kvCompareExact, 1, 8);
}

template <class T>
inline constexpr bool isMoment =
    std::same_as<T, KvDateTime> || std::same_as<T, KvDateTimeN> || std::same_as<T, KvTimeSpan>;

// Classes whose == is identity and that lack <=>.
template <class T>
concept StronglyOrdered = isMoment<T> || std::same_as<T, KvDate> || std::same_as<T, KvTime> ||
    std::same_as<T, d_Date> || std::same_as<T, d_Time> || std::same_as<T, d_Timestamp> ||
    std::same_as<T, KvInt64> || std::same_as<T, KvSeal> || std::same_as<T, KvBlob> ||
    std::same_as<T, KvObjId> || std::same_as<T, KvClassId>;

// Classes whose != is a three-way comparison.
template <class T>
inline constexpr bool isThreeWay =
    std::same_as<T, KvBlob> || std::same_as<T, KvObjId> || std::same_as<T, KvClassId>;

// Negative, 0 or positive, as the class itself orders, else as its row does.
template <StronglyOrdered T>
int ClassOrder(const T& a, const T& b) {
  if constexpr (requires { a.Compare(b, kStrictCompare); }) {
    return a.Compare(b, kStrictCompare);
  } else if constexpr (isThreeWay<T>) {
    return a != b;
  } else if constexpr (std::same_as<T, KvSeal>) {
    return RowOrder(a, b);
  } else {
    return a < b ? -1 : b < a ? 1 : 0;
  }
}

}  // namespace kv

// ---------------------------------------------------------------------------------------------
// Order

template <kv::StronglyOrdered T>
requires(!std::same_as<T, KvDate> && !std::same_as<T, KvTime>) std::strong_ordering operator<=>(
    const T& a, const T& b) {
  return kv::ClassOrder(a, b) <=> 0;
}
constexpr std::strong_ordering operator<=>(const KvDate& a, const KvDate& b) {
  return a.Compare(b, kv::kStrictCompare) <=> 0;
}
constexpr std::strong_ordering operator<=>(const KvTime& a, const KvTime& b) {
  return a.Compare(b, kv::kStrictCompare) <=> 0;
}

inline bool operator==(const KvDateTimeN& a, const KvDateTimeN& b) {
  return a.Compare(b, kv::kStrictCompare) == 0;
}
inline bool operator==(const KvTimeSpan& a, const KvTimeSpan& b) {
  return a.Compare(b, kv::kStrictCompare) == 0;
}

// The version does not count, as it does not for ==.
inline std::weak_ordering operator<=>(const KvRef& a, const KvRef& b) {
  return kv::RowOrder(a, b) <=> 0;
}
inline std::weak_ordering operator<=>(const KvLocalRef& a, const KvLocalRef& b) {
  return KvRef(a) <=> KvRef(b);
}

// As the row has it: NaN before all, and all of one kind; -0 is 0.
inline bool operator==(const d_Interval& a, const d_Interval& b) {
  return kv::RowOrder(a, b) == 0;
}
inline std::weak_ordering operator<=>(const d_Interval& a, const d_Interval& b) {
  return kv::RowOrder(a, b) <=> 0;
}

// Null before every value.
template <class Scalar>
constexpr auto operator<=>(const KvNullable<Scalar>& a, const KvNullable<Scalar>& b)
    -> decltype(a.value <=> b.value) {
  if (a.IsNullValue() || b.IsNullValue()) return b.IsNullValue() <=> a.IsNullValue();
  return a.value <=> b.value;
}

// A total order of any class, for containers that must not depend on the process's options: the
// row's, and among what that takes for equal the stored bytes.
template <KvValueClass T>
std::strong_ordering KvStrongOrder(const T& a, const T& b) {
  const KvTypeMgr& types = *DefaultTypeMgr(nullptr);
  constexpr unsigned kUsual = 256;
  const auto stored = [&types](const T& value, unsigned char* room, std::string& more) {
    const KvStored done = KvStoreChecked(types, kvTypeIdOf<T>, room, kUsual, &value, 0, 1);
    if (done.status != kvBufferShort) {
      return std::string_view(reinterpret_cast<const char*>(room), done.bytes);
    }
    more.resize(done.bytes);
    KvStoreChecked(types, kvTypeIdOf<T>, more.data(), more.size(), &value, 0, 1);
    return std::string_view(more);
  };
  unsigned char room1[kUsual];
  unsigned char room2[kUsual];
  std::string more1;
  std::string more2;
  const std::string_view bytes1 = stored(a, room1, more1);
  const std::string_view bytes2 = stored(b, room2, more2);
  return KvOrderStored(types, kvTypeIdOf<T>, bytes1.data(), bytes1.size(), bytes2.data(),
                       bytes2.size(), 0) <=> 0;
}

struct KvStrongLess {
  template <KvValueClass T>
  bool operator()(const T& a, const T& b) const {
    return KvStrongOrder(a, b) < 0;
  }
};

// ---------------------------------------------------------------------------------------------
// Nonsense

namespace kv {

template <class T>
concept DateOrTime = std::same_as<T, KvDate> || std::same_as<T, KvTime>;

// A date and a time, in either order, or a time of day and a point in time.
template <class A, class B>
concept Unlike = (DateOrTime<A> && DateOrTime<B> && !std::same_as<A, B>) ||
                 (std::same_as<A, KvTime> && (isMoment<B> || std::same_as<B, d_Date>)) ||
                 (std::same_as<B, KvTime> && (isMoment<A> || std::same_as<A, d_Date>));

template <class T>
concept DateOrNumber = DateOrTime<T> || std::is_arithmetic_v<T>;

}  // namespace kv

// clang-format off
template <class A, class B> requires kv::Unlike<A, B> bool operator==(const A&, const B&) = delete;
template <class A, class B> requires kv::Unlike<A, B> bool operator!=(const A&, const B&) = delete;
template <class A, class B> requires kv::Unlike<A, B> bool operator<(const A&, const B&) = delete;
template <class A, class B> requires kv::Unlike<A, B> bool operator<=(const A&, const B&) = delete;
template <class A, class B> requires kv::Unlike<A, B> bool operator>(const A&, const B&) = delete;
template <class A, class B> requires kv::Unlike<A, B> bool operator>=(const A&, const B&) = delete;
template <class A, class B> requires kv::Unlike<A, B> void operator<=>(const A&, const B&) = delete;
template <class A, class B> requires kv::Unlike<A, B> void operator+(const A&, const B&) = delete;
template <class A, class B> requires kv::Unlike<A, B> void operator-(const A&, const B&) = delete;
void operator+(const KvDate&, const KvDate&) = delete;
template <class A, class B>
  requires(kv::DateOrTime<A> && kv::DateOrNumber<B>) || (kv::DateOrNumber<A> && kv::DateOrTime<B>)
void operator*(const A&, const B&) = delete;
template <class A, class B>
  requires(kv::DateOrTime<A> && kv::DateOrNumber<B>) || (kv::DateOrNumber<A> && kv::DateOrTime<B>)
void operator/(const A&, const B&) = delete;
template <class A, class B>
  requires(kv::DateOrTime<A> && kv::DateOrNumber<B>) || (kv::DateOrNumber<A> && kv::DateOrTime<B>)
void operator%(const A&, const B&) = delete;
// clang-format on

// ---------------------------------------------------------------------------------------------
// Text in UTF-8. Characters are those of 16-bit Unicode: what lies beyond has no place in a
// KvString.

// A text of UTF-8 as a string with the default language, in the default 8-bit code set when all of
// it is ASCII and else in 16-bit Unicode. No value when it is not UTF-8, has a character of more
// than 16 bits or a zero byte, or is longer than a KvString can be.
inline std::optional<KvString> KvFromUtf8(std::string_view text) {
  bool isAscii = true;
  for (const char c : text) {
    if (c == 0 || static_cast<unsigned char>(c) >= 0xF0) return std::nullopt;
    isAscii = isAscii && c > 0;
  }
  if (text.empty()) return KvString("");
  if (isAscii) {
    if (text.size() >= KvString::kMaximumBytes) return std::nullopt;
    return KvString(text.data(), static_cast<unsigned short>(text.size()));
  }
  constexpr std::size_t kMostBytes = 32765;  // what is decoded in one go, and no more than fits
  KvString string(kvCodeSetUnicode, KvString::GetDefaultLanguage());
  while (!text.empty()) {
    std::size_t piece = text.size() < kMostBytes ? text.size() : kMostBytes;
    while (piece < text.size() && piece != 0 && (text[piece] & 0xC0) == 0x80) --piece;
    if (piece == 0) return std::nullopt;  // no character goes on for so long
    KvString part(kvCodeSetUnicode, KvString::GetDefaultLanguage());
    const int used = KvMBS2KvString(text.data(), part, static_cast<int>(piece));
    if (used < 0 || static_cast<std::size_t>(used) != piece) return std::nullopt;
    if (string.Len() + part.Len() > KvString::kMaximumBytes / 2 - 1) return std::nullopt;
    string << part;
    text.remove_prefix(piece);
  }
  return string;
}

// The text in UTF-8; empty for the null string.
inline std::string KvToUtf8(const KvString& string) {
  std::string text(3 * std::size_t{string.Len()}, '\0');
  const int length = KvString2KvMBS(string, text.data(), static_cast<int>(text.size()));
  text.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
  return text;
}

// The bytes of an 8-bit text, or those of the units of a 16-bit one, as they are. They live until
// the string changes.
inline std::string_view KvBytesOf(const KvString& string) {
  const std::size_t width = KvIsWideCodeSet(string.GetCodeSet()) ? 2 : 1;
  return {string.StrGet(), width * string.Len()};
}
inline std::string_view KvBytesOf(const KvIString& string) {
  return {string.StrGet(), string.Len()};
}
inline std::string_view KvBytesOf(const KvCaseIString& string) {
  return {string.StrGet(), string.Len()};
}

namespace kv {

// How a value is shown: in full, and so that a scan with the same format reads it back.
template <class T>
inline constexpr const char* shownAs = nullptr;
template <>
inline constexpr const char* shownAs<KvDate> = "%Y-%m-%d";
template <>
inline constexpr const char* shownAs<d_Date> = "%Y-%m-%d";
template <>
inline constexpr const char* shownAs<KvTime> = "%H:%M:%S";
template <>
inline constexpr const char* shownAs<d_Time> = "%H:%M:%f";
template <>
inline constexpr const char* shownAs<KvDateTime> = "%Y-%m-%dT%H:%M:%S";
template <>
inline constexpr const char* shownAs<KvDateTimeN> = "%Y-%m-%dT%H:%M:%f";
template <>
inline constexpr const char* shownAs<d_Timestamp> = "%Y-%m-%dT%H:%M:%f";
template <>
inline constexpr const char* shownAs<KvBlob> = "%X";

}  // namespace kv

// A value as text in UTF-8: dates and times as 2024-02-29T13:05:00, blobs as hex, all others as
// their rows print them, a null as the null print string.
template <KvValueClass T>
std::string KvToText(const T& value) {
  KvString text;
  return KvToUtf8(
      DefaultTypeMgr(nullptr)->PrintToKvString(kvTypeIdOf<T>, text, &value, kv::shownAs<T>, 1));
}

template <KvValueClass T>
std::ostream& operator<<(std::ostream& out, const T& value) {
  return out << KvToText(value);
}
inline std::ostream& operator<<(std::ostream& out, const KvLocalRef& value) {
  return out << KvRef(value);
}
// To a stream of other characters a date would go as its day number.
template <class Character, class T>
requires(KvValueClass<T> && !std::same_as<Character, char>) void operator<<(
    std::basic_ostream<Character>& out, const T& value) = delete;

// ---------------------------------------------------------------------------------------------
// Characters: for (const KvChar& letter : string). The string must not change meanwhile.

class KvCharacterIterator {
 public:
  using value_type = KvChar;
  using difference_type = std::ptrdiff_t;

  KvCharacterIterator() = default;
  KvCharacterIterator(const KvString& string, unsigned index)
      : text_(string.StrGet()),
        codeSet_(string.GetCodeSet()),
        language_(string.GetLanguage()),
        index_(index) {}

  KvChar operator*() const {
    unsigned short unit = 0;
    if (KvIsWideCodeSet(codeSet_)) {
      std::memcpy(&unit, text_ + 2 * std::size_t{index_}, sizeof unit);
    } else {
      unit = static_cast<unsigned char>(text_[index_]);
    }
    return KvChar(unit, codeSet_, language_);
  }
  KvCharacterIterator& operator++() {
    ++index_;
    return *this;
  }
  KvCharacterIterator operator++(int) {
    const KvCharacterIterator before = *this;
    ++index_;
    return before;
  }
  friend bool operator==(const KvCharacterIterator& a, const KvCharacterIterator& b) {
    return a.index_ == b.index_;
  }

 private:
  const char* text_ = nullptr;
  unsigned char codeSet_ = 0;
  unsigned char language_ = 0;
  unsigned index_ = 0;
};

inline KvCharacterIterator begin(const KvString& string) {
  return {string, 0};
}
inline KvCharacterIterator end(const KvString& string) {
  return {string, string.Len()};
}

// ---------------------------------------------------------------------------------------------
// std::chrono. Dates and times of the values know no zone; what the clock of the caller means, UTC
// or local, is the caller's to know. No value where the other side has none: nulls, wildcards
// (the year -1 is one), 30 February, hour 25, years beyond -32767 to 32767, nanoseconds outside
// 1677 to 2262.

inline std::optional<std::chrono::year_month_day> KvToYearMonthDay(const KvDate& date) {
  if (date.month < 1 || date.day < 1) return std::nullopt;
  const auto day = std::chrono::year(date.year) / static_cast<unsigned char>(date.month) /
                   static_cast<unsigned char>(date.day);
  // -1 is the wildcard, though the calendar has that year.
  if (date.year == -1 || !day.ok()) return std::nullopt;
  return day;
}

inline std::optional<std::chrono::sys_days> KvToChrono(const KvDate& date) {
  const auto day = KvToYearMonthDay(date);
  if (!day) return std::nullopt;
  return std::chrono::sys_days(*day);
}

// Since midnight.
inline std::optional<std::chrono::seconds> KvToChrono(const KvTime& time) {
  if (!time.IsTime()) return std::nullopt;
  return std::chrono::hours(time.hour) + std::chrono::minutes(time.minute) +
         std::chrono::seconds(time.second);
}

inline std::optional<std::chrono::sys_seconds> KvToChrono(const KvDateTime& moment) {
  const auto day = KvToChrono(moment.date);
  const auto time = KvToChrono(moment.time);
  if (!day || !time) return std::nullopt;
  return *day + *time;
}

namespace kv {

// Days, seconds of the day and nanoseconds as one count of nanoseconds, where 64 bits hold it.
inline std::optional<std::chrono::nanoseconds> Nanoseconds(std::chrono::seconds seconds,
                                                           int nanosecond) {
  constexpr auto kMost = std::chrono::floor<std::chrono::seconds>(std::chrono::nanoseconds::max());
  if (seconds >= kMost || seconds <= -kMost) return std::nullopt;
  return seconds + std::chrono::nanoseconds(nanosecond);
}

constexpr bool IsNanosecond(int count) {
  return count >= 0 && count < 1000000000;
}

}  // namespace kv

inline std::optional<std::chrono::sys_time<std::chrono::nanoseconds>> KvToChrono(
    const KvDateTimeN& moment) {
  const auto seconds = KvToChrono(KvDateTime(moment.date, moment.time));
  if (!seconds || !kv::IsNanosecond(moment.nanosecond)) return std::nullopt;
  const auto count = kv::Nanoseconds(seconds->time_since_epoch(), moment.nanosecond);
  if (!count) return std::nullopt;
  return std::chrono::sys_time<std::chrono::nanoseconds>(*count);
}

// A month of a span is 30 days and a year 360.
inline std::optional<std::chrono::nanoseconds> KvToChrono(const KvTimeSpan& span) {
  if (span.IsNullValue()) return std::nullopt;
  return kv::Nanoseconds(std::chrono::seconds(span.GetTotalSeconds()), span.nanosecond);
}

inline std::chrono::duration<float> KvToChrono(const d_Interval& interval) {
  return std::chrono::duration<float>(interval.seconds);
}

// And back.

inline std::optional<KvDate> KvFromChrono(const std::chrono::year_month_day& day) {
  if (!day.ok() || day.year() == std::chrono::year(-1)) return std::nullopt;
  return KvDate(static_cast<short>(static_cast<int>(day.year())),
                static_cast<char>(static_cast<unsigned>(day.month())),
                static_cast<char>(static_cast<unsigned>(day.day())));
}

inline std::optional<KvDate> KvFromChrono(std::chrono::sys_days day) {
  using std::chrono::sys_days;
  using std::chrono::year;
  // A year_month_day of a later day wraps around its 16 bits.
  if (day < sys_days(year::min() / 1 / 1) || day > sys_days(year::max() / 12 / 31)) {
    return std::nullopt;
  }
  return KvFromChrono(std::chrono::year_month_day(day));
}

// Since midnight: less than a day.
inline std::optional<KvTime> KvTimeFromChrono(std::chrono::seconds time) {
  if (time < std::chrono::seconds(0) || time >= std::chrono::days(1)) return std::nullopt;
  return KvTime(static_cast<int>(time.count()));
}

inline std::optional<KvDateTime> KvFromChrono(std::chrono::sys_seconds moment) {
  const auto day = std::chrono::floor<std::chrono::days>(moment);
  const auto date = KvFromChrono(day);
  if (!date) return std::nullopt;
  return KvDateTime(*date, *KvTimeFromChrono(moment - day));
}

inline std::optional<KvDateTimeN> KvFromChrono(
    std::chrono::sys_time<std::chrono::nanoseconds> moment) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(moment);
  const auto whole = KvFromChrono(seconds);
  if (!whole) return std::nullopt;
  KvDateTimeN value(*whole);
  value.nanosecond = static_cast<int>((moment - seconds).count());
  return value;
}

inline KvTimeSpan KvFromChrono(std::chrono::nanoseconds span) {
  KvTimeSpan value;
  value.SetTotalNanoSeconds(o_8b{span.count()});
  return value;
}

inline d_Interval KvFromChrono(std::chrono::duration<float> span) {
  return d_Interval::FromSeconds(span.count());
}

// ---------------------------------------------------------------------------------------------
// Differences of points in time. b + (a - b) == a for any two that the calendar and the clock have,
// as long as the span between them fits its years of 360 days: some 32,000 years.

inline KvTimeSpan operator-(const KvDateTimeN& a, const KvDateTimeN& b) {
  constexpr o_8b kSecond = 1000000000;
  constexpr o_8b kDay = 86400 * kSecond;
  const auto ofDay = [](const KvDateTimeN& moment) {
    return int{moment.time} * kSecond + moment.nanosecond;
  };
  o_8b rest = ofDay(a) - ofDay(b);
  int days = a.date - b.date;
  // Only days are negative in a span: less than nothing is a day less and the time until then.
  if (rest < 0) {
    rest += kDay;
    --days;
  }
  KvTimeSpan span;
  span.SetTotalDays(days);
  span.time = KvTime(static_cast<int>(rest / kSecond));
  span.nanosecond = static_cast<int>(rest % kSecond);
  return span;
}

inline KvDateTimeN operator+(KvDateTimeN moment, const KvTimeSpan& span) {
  moment.AddDays(span.GetTotalDays());
  moment.AddSeconds(int{span.time});
  moment.AddNanoSeconds(span.nanosecond);
  return moment;
}
inline KvDateTimeN operator+(const KvTimeSpan& span, const KvDateTimeN& moment) {
  return moment + span;
}
inline KvDateTimeN operator-(KvDateTimeN moment, const KvTimeSpan& span) {
  moment.AddNanoSeconds(-span.nanosecond);
  moment.AddSeconds(-int{span.time});
  moment.AddDays(-span.GetTotalDays());
  return moment;
}

// ---------------------------------------------------------------------------------------------
// std::optional

template <class Scalar>
constexpr std::optional<Scalar> KvToOptional(const KvNullable<Scalar>& value) {
  if (value.IsNullValue()) return std::nullopt;
  return value.value;
}

template <class Scalar>
constexpr KvNullable<Scalar> KvFromOptional(const std::optional<Scalar>& value) {
  return value ? KvNullable<Scalar>(*value) : KvNullable<Scalar>();
}

// ---------------------------------------------------------------------------------------------
// std::hash

namespace kv {

template <KvValueClass T>
std::size_t RowHash(const T& value) {
  int status = kvOk;
  return DefaultTypeMgr(nullptr)->Hash(kvTypeIdOf<T>, 0, &value, 1, 8, status);
}

// Numbers that are equal are made one: zeros of either sign, and NaN.
template <class Number>
constexpr Number Alike(Number number) {
  if constexpr (std::is_floating_point_v<Number>) {
    if (number == 0) return 0;
    if (number != number) return std::numeric_limits<Number>::quiet_NaN();
  }
  return number;
}

inline std::size_t HashOf(const KvString& string) {
  // An option that makes texts equal which differ would need a hash of its own.
  if ((KvString::GetDefaultCmpOp() & ~kvCompareExact) != 0) return 0;
  // The null string is equal to an empty one on its right.
  if (string.IsNullValue()) return 0;
  if (string.GetCodeSet() != kvCodeSetBytes) return RowHash(string);
  // Plain bytes are equal to letters of the default 8-bit code set.
  KvString letters(string);
  letters.SetCodeSetCode(KvString::GetDefault8CodeSet());
  return RowHash(letters);
}
inline std::size_t HashOf(const KvIString& string) {
  return string.Hash();
}
inline std::size_t HashOf(const KvCaseIString& string) {
  return string.Hash();
}
inline std::size_t HashOf(const KvBoolean& truth) {
  return truth.IsNullValue() ? KvBoolean::kNull : truth.value != 0 ? 1 : 0;
}
inline std::size_t HashOf(const d_Interval& interval) {
  return RowHash(d_Interval::FromSeconds(Alike(interval.seconds)));
}
template <class Scalar>
std::size_t HashOf(const KvNullable<Scalar>& value) {
  return value.IsNullValue() ? kvNullHash : RowHash(KvNullable<Scalar>(Alike(value.value)));
}
template <KvValueClass T>
std::size_t HashOf(const T& value) {
  return RowHash(value);
}

}  // namespace kv

template <KvValueClass T>
struct std::hash<T> {
  std::size_t operator()(const T& value) const { return kv::HashOf(value); }
};
template <>
struct std::hash<KvLocalRef> {
  std::size_t operator()(const KvLocalRef& value) const { return kv::HashOf(KvRef(value)); }
};
