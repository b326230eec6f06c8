// The one formatter and scanner of the family: directives against snprintf and strftime, and what
// is printed read back.
#include <doctest/doctest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "kvchecked.h"
#include "kvdatime.h"
#include "kvodmg.h"
#include "kvtypemgr.h"
#include "support/random.h"

namespace {

template <class T>
std::string Print(const T& value, const char* format) {
  KvString out("replaced");
  value.PrintToKvString(out, format);
  return out.StrGet();
}

template <class T>
T Scanned(const char* text, const char* format, int status = kvOk) {
  T value = T::DefaultValue();
  CHECK(value.ScanFromKvString(KvString(text), format) == status);
  return value;
}

KvDateTimeN At(int year, int month, int day, int hour, int minute, int second, int nanosecond) {
  return {short(year), char(month), char(day), char(hour), char(minute), char(second), nanosecond};
}

KvDateTimeN RandomInstant(Random& random) {
  const int year =
      random.Between(0, 9) == 0 ? random.Between(-32767, 32767) : random.Between(1900, 2100);
  const int fractions[] = {0, 500000000, 1000 * random.Between(1, 999999),
                           random.Between(1, 999999999)};
  return At(year, random.Between(1, 12), random.Between(1, 28), random.Between(0, 23),
            random.Between(0, 59), random.Between(0, 59), fractions[random.Between(0, 3)]);
}

bool Same(const KvDateTimeN& a, const KvDateTimeN& b) {
  return a.Compare(b, 0x10) == 0;
}

// A format that holds every component once, in any order, as any of its directives.
std::string RandomFormat(Random& random) {
  std::vector<std::vector<std::string>> components = {
      {"%Y"}, {"%m", "%b", "%B"}, {"%d", "%e", "%a %d"}, {"%H", "%I %p", "%P %I"}, {"%M"}};
  if (random.Between(0, 1) == 0) {
    components.push_back({"%f"});
  } else {
    components.push_back({"%S"});
    components.push_back({"%N"});
  }
  std::shuffle(components.begin(), components.end(), random.engine);
  const std::string separators[] = {" ", "/", ", ", "; and ", "%%", "_"};
  std::string format;
  for (const auto& names : components) {
    const int last = static_cast<int>(names.size()) - 1;
    format += names[static_cast<std::size_t>(random.Between(0, last))];
    format += separators[random.Between(0, 5)];
  }
  return format;
}

void CheckReadsBack(const KvDateTimeN& value, const char* format) {
  KvString text;
  KvDateTimeN read = KvDateTimeN::DefaultValue();
  CHECK(read.ScanFromKvString(value.PrintToKvString(text, format), format) == kvOk);
  INFO((std::string(format) + ": " + text.StrGet()));
  CHECK(Same(read, value));
}

}  // namespace

TEST_CASE("numbers print as the C library prints them, negative ones and all") {
  for (int n = -128; n <= 127; ++n) {
    if (n == -1) continue;
    const KvDateTimeN value = At(n * 256, n, n, n, n, n, n * 7000001);
    char expected[120];
    std::snprintf(expected, sizeof expected, "%.2d %.2d %.2d %.2d %.2d %.2d %.4d %.2d %d %d", n, n,
                  n, n, n, n, n * 256, n * 256 % 100, n * 7000001, n + (n + 12 * (n * 256)) * 30);
    CHECK(Print(value, "%d %e %m %H %M %S %Y %y %N %J") == expected);
    std::snprintf(expected, sizeof expected, "%.3d%.3d", n, n);
    if (n < 1 || n > 12) CHECK(Print(value, "%b%B") == expected);
  }
}

TEST_CASE("%f prints as the C library prints the real number") {
  Random random(20240229);
  const int scales[] = {1, 1000, 1000000};
  for (int i = 0; i < 3000; ++i) {
    const int scale = scales[i % 3];
    const int second = random.Between(0, 120);
    const int nanosecond = scale * random.Between(0, 999999999 / scale);
    const int sign = random.Between(0, 1) ? 1 : -1;
    const int precision = nanosecond == 0             ? 0
                          : nanosecond % 1000000 == 0 ? 3
                          : nanosecond % 1000 == 0    ? 6
                                                      : 9;
    char expected[64];
    std::snprintf(expected, sizeof expected, "%0*.*lf", precision + 3, precision,
                  sign * (second + nanosecond / 1e9));
    if (sign * second == -1 || sign * nanosecond == -1) continue;
    if (second == 0 && nanosecond == 0) std::snprintf(expected, sizeof expected, "00");
    CHECK(Print(At(1, 1, 1, 0, 0, sign * second, sign * nanosecond), "%f") == expected);
  }
  CHECK(Print(At(1, 1, 1, 0, 0, 6, 0), "%f") == "006");
  CHECK(Print(At(1, 1, 1, 0, 0, 1, -1000000000), "%f") == "00.000");
}

TEST_CASE("dates and times print as strftime prints them") {
  Random random(20240229);
  for (int i = 0; i < 2000; ++i) {
    const KvDate date(random.Between(int{KvDate(1600, 1, 1)}, int{KvDate(4000, 1, 1)}));
    const KvTime time(random.Between(0, 86399));
    std::tm fields{};
    fields.tm_year = date.year - 1900;
    fields.tm_mon = date.month - 1;
    fields.tm_mday = date.day;
    fields.tm_hour = time.hour;
    fields.tm_min = time.minute;
    fields.tm_sec = time.second;
    fields.tm_wday = (date.GetDayOfTheDate() + 1) % 7;
    for (const char* format : {"%Y-%m-%dT%H:%M:%S", "%a %d.%b %Y", "%A%%%y", "%H-%M", "%d%m%Y"}) {
      char expected[80];
      std::strftime(expected, sizeof expected, format, &fields);
      CHECK(Print(KvDateTime(date, time), format) == expected);
    }
    char expected[80];
    std::strftime(expected, sizeof expected, "%I:%M:%S %p", &fields);
    for (char* c = expected; *c != 0; ++c) *c = static_cast<char>(*c | 0x20);  // AM to am
    CHECK(Print(time, nullptr) == expected);
  }
}

TEST_CASE("month names, the 12-hour clock, expansions and characters that are no directives") {
  CHECK(Print(KvDate(2000, 1, 2), "%b %B") == "Jan Januar");
  CHECK(Print(KvDate(2000, 2, 2), "%b %B") == "Feb Februar");
  CHECK(Print(KvDate(2000, 3, 2), nullptr) == "Thu 02.Mar 2000");
  CHECK(Print(KvDate(4600, 3, 1), "%a") == "Sun");  // a Saturday, but GetDayOfTheDate says so, too
  CHECK(Print(KvTime(13, 5, 0), "%I:%M:%S %p") == "01:05:00 pm");
  CHECK(Print(KvTime(0, 5, 0), "%I %I %P") == "12 12 AM");
  CHECK(Print(KvTime(0, 5, 0), "%I %%p") == "00 %p");
  CHECK(Print(KvTime(12, 5, 0), "%I%p") == "12pm");
  CHECK(Print(KvTime(15, 5, 0), "%I") == "03");
  const KvDateTimeN value = At(2000, 3, 4, 5, 6, 7, 8000000);
  CHECK(Print(value, nullptr) == "2000-03-04T05:06:07.008");
  CHECK(Print(value, "<%D|%T|%O|%V>") ==
        "<2000-03-04|05:06:07|2000-03-04T05:06:07|720094.05:06:07.008>");
  CHECK(Print(value, "%q%)%? 100%") == "q)? 100%");
  CHECK(Print(value, ")%H)%?(%M))") == ")05)06)");
  CHECK(Scanned<KvTime>(")7) 8)x", ")%H)%?(%M))%S", kvNotSupported) == KvTime(7, 8, 0));
}

TEST_CASE("wildcards print as stars and are read back") {
  const KvDateTimeN any = At(-1, -1, -1, -1, -1, -1, -1);
  CHECK(Print(any, "%a %b %d %m %Y %y %H %I %M %S %N %f %J %p") == "* * * * * * * * * * * * * *");
  CHECK(Print(KvDate(2000, -1, 5), "%a %J") == "* 719975");  // %J needs all three
  CHECK(Print(KvDateTime(KvDate(2000, 1, 2), KvTime(-1, 5, 6)), "%Y-%m-%dT%H:%M:%S") ==
        "2000-01-02T*:05:06");
  CHECK(Same(Scanned<KvDateTimeN>("*-*-*T*:*:*", "%X"), any));
  CHECK(Scanned<KvDate>("Mon 05.* 2000", nullptr) == KvDate(2000, -1, 5));
  CHECK(Scanned<KvTime>("*:05:06 *", nullptr) == KvTime(-1, 5, 6));
  const KvTimeSpan span = Scanned<KvTimeSpan>("*.00:00:00", nullptr);
  CHECK(span.date == KvDate(-1, -1, -1));
}

TEST_CASE("optional groups drop what is zero, and come back") {
  const char* const format = "%?(%J days )%?(%H h)%?(%?( and %M min)%?(, %f s))";
  struct {
    KvTimeSpan span;
    const char* text;
  } const cases[] = {
      {KvTimeSpan(0, 0, 0, 0, 0), ""},
      {KvTimeSpan(3, 4, 0, 0, 0), "3 days 04 h"},
      {KvTimeSpan(0, 0, 5, 6, 500000000), " and 05 min, 06.500 s"},
      {KvTimeSpan(0, 1, 0, 7, 0), "01 h, 007 s"},
  };
  for (const auto& [span, text] : cases) {
    CHECK(Print(span, format) == text);
    KvTimeSpan read;
    CHECK(read.ScanFromKvString(KvString(text), format) == kvOk);
    CHECK(read.Compare(span, 0x10) == 0);
  }
  // Literals alone never print, a directive that prints saves the whole group.
  CHECK(Print(KvTime(0, 5, 0), "a%?(b)c%?(%H:%M)") == "ac:05");
  CHECK(Scanned<KvTime>(":05", "%?(%H:%M)") == KvTime(0, 5, 0));
  CHECK(Scanned<KvDate>("20001231", "%?(%Y)%?(%m)%d") == KvDate(2000, 12, 31));
  // A mismatch in a group takes back what the group read.
  CHECK(Scanned<KvTime>("12:30", "%?(%S.%S.)%H:%M") == KvTime(12, 30, 0));
  CHECK(Scanned<KvDateTime>("12:30", "%?(%D )%H:%M") == KvDateTime(KvTime(12, 30, 0)));
}

TEST_CASE("what is printed reads back, for formats that hold all components") {
  Random random(20240229);
  const char* const formats[] = {"%X", "%O %N", "%?(%D)%?(T%T)%?( and %N)"};
  for (int i = 0; i < 3000; ++i) {
    const KvDateTimeN value = RandomInstant(random);
    for (const char* format : formats) CheckReadsBack(value, format);
    CheckReadsBack(value, RandomFormat(random).c_str());
    // Numbers side by side take as many digits as they print, so the year must print as four.
    if (value.date.year < 1000 || value.date.year > 9999 || value.nanosecond == 0) continue;
    for (const char* format : {"%Y%m%dT%H%M%S %N", "%Y%m%d%H%M%f", "%H%M%S%d%m%Y.%N", "%D%T %N"}) {
      CheckReadsBack(value, format);
    }
  }
}

TEST_CASE("spans read back by their total, negative ones into their borrowed form") {
  Random random(20240229);
  for (int i = 0; i < 4000; ++i) {
    KvTimeSpan span;
    span.SetTotalNanoSeconds(1000LL * 1000000000 * random.Between(-2000000, 2000000) +
                             random.Between(0, 999999999));
    const KvTimeSpan read = Scanned<KvTimeSpan>(Print(span, "%V").c_str(), "%V");
    CHECK(read.Compare(span, 0x10) == 0);
  }
  const KvTimeSpan span = Scanned<KvTimeSpan>("-35.00:00:00", "%V");
  CHECK(span.date == KvDate(0, -2, 25));
  KvTimeSpan longer;
  CHECK(KvScanChecked(*DefaultTypeMgr(nullptr), KvTIMESPAN_T, &longer, KvString("-400.00:00:00"),
                      nullptr)
            .status == kvOk);
  // Apart they stay as they are.
  CHECK(Scanned<KvTimeSpan>("0001-13-45", "%Y-%m-%d").date == KvDate(1, 13, 45));
}

TEST_CASE("scanning: names, two-digit years, halves of the day, blanks") {
  CHECK(Scanned<KvDate>("Jan 1 31", "%b %d %y") == KvDate(1931, 1, 1));
  CHECK(Scanned<KvDate>("Januar 1 30", "%B %d %y") == KvDate(2030, 1, 1));
  CHECK(Scanned<KvDate>("  Monday   7 .\tMay 2001 ", "%a%e.%b%Y") == KvDate(2001, 5, 7));
  CHECK(Scanned<KvDate>("-4713-11-24", "%D") == KvDate::DefaultValue());
  CHECK(Scanned<KvDate>("800", "%J") == KvDate(2, 2, 20));
  CHECK(Scanned<KvTime>("12:00:00 am", nullptr) == KvTime(0, 0, 0));
  CHECK(Scanned<KvTime>("12:00:00 PM", nullptr) == KvTime(12, 0, 0));
  CHECK(Scanned<KvTime>("pm 1:2:3", "%p %T") == KvTime(13, 2, 3));
  KvDate march(0, 1, 1);
  CHECK(KvScanChecked(*DefaultTypeMgr(nullptr), KvDATE_T, &march, "March", "%B").position == 5);
  for (const char* text : {"1p", "1pm", "1pmx"}) {  // one letter or two
    KvTime time(0, 0, 0);
    CHECK(
        KvScanChecked(*DefaultTypeMgr(nullptr), KvTIME_T, &time, KvString(text), "%I%p").position ==
        std::min<std::size_t>(std::strlen(text), 3));
  }
  CHECK(Scanned<KvTime>("13:00:00 pm", nullptr) == KvTime(13, 0, 0));
  const KvDateTimeN value = Scanned<KvDateTimeN>("5.1234567899", "%f");
  CHECK(value.time.second == 5);
  CHECK(value.nanosecond == 123456789);
  CHECK(Scanned<KvDateTimeN>("-0.5", "%f").nanosecond == -500000000);
  CHECK(Same(Scanned<KvDateTimeN>(".5", "%f"), At(0, 1, 1, 0, 0, 0, 500000000)));
  CHECK(Scanned<KvDate>("2000", "%?(x%m()%Y") == KvDate(2000, 1, 1));
  // What parts two numbers lets the first have any digits.
  CHECK(Scanned<KvTime>("007)8", "%H)%M") == KvTime(7, 8, 0));
  CHECK(Scanned<KvTime>("007T8", "%HT%M") == KvTime(7, 8, 0));
  CHECK(Scanned<KvTime>("007:8", "%?(%H:%M)") == KvTime(7, 8, 0));
  CHECK(Scanned<KvDateTimeN>("2000000000", "%N").nanosecond == 2000000000);
  // %f takes all digits, points and signs in a row.
  CHECK(Scanned<KvDateTimeN>("05.5+02:00", "%f:%M").time == KvTime(0, 0, 5));
  CHECK(Scanned<KvDateTimeN>("1.25.9-3+ 7", "%f%H").time == KvTime(7, 0, 1));
  CHECK(Scanned<KvDateTimeN>("1.25-3", "%f-%H", kvNotSupported).nanosecond == 250000000);
  CHECK(Scanned<KvDateTimeN>("+-1", "%f", kvNotSupported).IsDefaultValue());
}

TEST_CASE("scanning: what does not match, what is missing, what is too large") {
  // What was read until the mismatch is kept; the rest is the zero value's.
  CHECK(Scanned<KvDate>("2001-7x", "%Y-%m-%d", kvNotSupported) == KvDate(2001, 7, 1));
  CHECK(Scanned<KvDate>("2001", "%Y") == KvDate(2001, 1, 1));
  CHECK(Scanned<KvTime>("7", "%H:%M", kvNotSupported) == KvTime(7, 0, 0));
  // A text that gives nothing changes nothing.
  for (const char* text : {"", "x", "-", "Mon", "20"}) {
    CHECK(Scanned<KvDate>(text, "%a %e", kvNotSupported) == KvDate::DefaultValue());
  }
  CHECK(Scanned<KvDate>("x", "%J", kvNotSupported) == KvDate::DefaultValue());
  CHECK(Scanned<KvDate>("x", "x") == KvDate::DefaultValue());
  CHECK(Scanned<KvTimeSpan>("3.x", "%V", kvNotSupported).GetTotalDays() == 3);
  CHECK(Scanned<KvDate>("99999999999x", "%Y %m", kvNotSupported) == KvDate(32767, 1, 1));
  CHECK(Scanned<KvDate>("99999999999 300 -300", "%Y %m %d") == KvDate(32767, 127, -128));
  CHECK(Scanned<KvDate>("Sepia 4", "%b %d", kvNotSupported) == KvDate(0, 9, 1));
  CHECK(Scanned<KvDate>("2001 Foo 4", "%Y %B %d", kvNotSupported) == KvDate(2001, 1, 1));
  CHECK(Scanned<KvTime>("7 xm 5", "%I %p %M", kvNotSupported) == KvTime(7, 0, 0));
  CHECK(Scanned<KvTime>("pm", "%p%H", kvNotSupported) == KvTime(0, 0, 0));
}

TEST_CASE("a date and a clock in one go print and read as piece by piece") {
  const char* const formats[] = {"%Y-%m-%d",         "%H:%M:%S",       "%Y-%m-%dT%H:%M:%S",
                                 "%Y-%m-%dT%H:%M",   "%Y-%m-%dT%M:%S", "%Y-%m-%dX%H:%M:%S",
                                 "%d%Y-%m-%dT%H:%M", "%Y-%m-%d%%T%H",  "%H:%M:%SH:%M:%S%Y-%m-%m"};
  int wrong = 0;
  for (const std::string format : formats) {
    for (unsigned i = 0; i < 7; ++i) {
      for (const int number : {-128, -2, -1, 0, 9, 10, 99, 100, 127, 999, 9999, 10000}) {
        if (number > 127 && i != 0) continue;
        int n[] = {2000, 12, 31, 23, 59, 58, 0};
        n[i] = number;
        const KvDateTimeN value = At(n[0], n[1], n[2], n[3], n[4], n[5], n[6]);
        std::string expected;
        for (std::size_t at = 0; at < format.size(); ++at) {
          const bool isDirective = format[at] == '%';
          expected +=
              isDirective ? Print(value, format.substr(at++, 2).c_str()) : format.substr(at, 1);
        }
        if (Print(value, format.c_str()) != expected) ++wrong;
      }
    }
    // A blank in the format stands for none, too, and what it parts is read one by one.
    std::string parted;
    for (const char c : format)
      parted += std::string(c == '-' || c == ':' || c == 'T' ? 1 : 0, ' ') + c;
    std::vector<std::string> texts = {"2000-02-28T23:59:58", "23:59:58", "23:59:58H:59:58",
                                      "12000-02-28T23:59", "0000-00-00T00:00:00",
                                      // of bits that eight digits at once must not pass
                                      "2000-02-289T23", "AAAA@AA@12", "AA@AA@AA", "IIIIRIIR12",
                                      "IIEIIEII", "::::,::,12", "::;::;::"};
    for (std::size_t i = 0; i < 5; ++i) {
      for (std::size_t at = 0; at <= texts[i].size(); ++at) {
        for (const char c : std::string(" 0:9/-T%*+.;a\x7f\x80\xff\0", 17)) {
          texts.push_back(texts[i].substr(0, at) + c +
                          texts[i].substr(std::min(at + 1, texts[i].size())));
        }
      }
    }
    for (const std::string& text : texts) {
      KvDateTimeN a = KvDateTimeN::DefaultValue(), b = a;
      const KvScanned plain = KvScanChecked(*DefaultTypeMgr(nullptr), KvDATIME_N_T, &a,
                                            KvString(text.c_str()), format.c_str());
      const KvScanned slow = KvScanChecked(*DefaultTypeMgr(nullptr), KvDATIME_N_T, &b,
                                           KvString(text.c_str()), parted.c_str());
      if (plain.status != slow.status || plain.position != slow.position || !Same(a, b)) ++wrong;
      a.ScanFromKvString(KvString(text.c_str()), format.c_str());
      b.ScanFromKvString(KvString(text.c_str()), parted.c_str());
      if (!Same(a, b)) ++wrong;
    }
  }
  CHECK(wrong == 0);
}

TEST_CASE("what a field does not hold is the nearest that it does, and told") {
  const auto text = [](int a, int b) { return std::to_string(a) + " " + std::to_string(b); };
  const auto held = [](int number) { return static_cast<char>(std::clamp(number, -128, 127)); };
  for (const int a : {-129, -128, -1, 0, 1, 127, 128, 255, 256, 99999}) {
    for (const int b : {-129, -128, -1, 0, 1, 127, 128, 255, 256}) {
      CHECK(Scanned<KvDate>(text(a, b).c_str(), "%m %d") == KvDate(0, held(a), held(b)));
      CHECK(Scanned<KvTime>(text(a, b).c_str(), "%H %M") == KvTime(held(a), held(b), 0));
      CHECK(Scanned<KvTime>(text(a, b).c_str(), "%S %M") == KvTime(0, held(b), held(a)));
    }
    const int year = a * 257;
    CHECK(Scanned<KvDate>(text(year, 3).c_str(), "%Y %m").year == std::clamp(year, -32768, 32767));
  }
  // What one field lacks another one has too much; what a second number says is not what the first.
  for (const auto& [given, format] :
       {std::pair{"128 -158", "%m %d"}, {"9999999999 123456789", "%N %N"}}) {
    KvTimeSpan span;
    CHECK(KvScanChecked(*DefaultTypeMgr(nullptr), KvTIMESPAN_T, &span, given, format).status ==
          kvOutOfRange);
  }
  const std::pair<char, std::string> rows[] = {
      {KvDATE_T, "Ymd"},         {KvTIME_T, "HMS"},         {KvDATIME_T, "YmdHMS"},
      {KvDATIME_N_T, "YmdHMSN"}, {KvTIMESPAN_T, "YmdHMSN"}, {D_DATE_T, "Ymd"},
      {D_TIME_T, "HMSN"},        {D_TIMESTAMP_T, "YmdHMSN"}};
  for (const auto& [id, has] : rows) {
    for (const char directive : std::string("YmdHMSN")) {
      d_Timestamp room;  // of any of them
      KvDateTimeN more;
      void* const value =
          id == KvDATIME_N_T || id == KvTIMESPAN_T ? static_cast<void*>(&more) : &room;
      const std::string format = {'%', directive};
      const auto status = [&, id = id](const char* given) {
        return KvScanChecked(*DefaultTypeMgr(nullptr), id, value, KvString(given), format.c_str())
            .status;
      };
      const bool holds = has.find(directive) != std::string::npos;
      CHECK(status(directive == 'N' ? "20000000" : "11") == (holds ? kvOk : kvOutOfRange));
      CHECK(status("2147483648") == kvOutOfRange);
    }
  }
}

TEST_CASE("nulls print and read as the null print string") {
  KvDateTimeN value = KvDateTimeN::NullValue();
  CHECK(Print(value, "%Y") == "{NULL}");
  value.SetZero();
  CHECK(value.ScanFromKvString(KvString("{NULL}"), "%Y") == kvOk);
  CHECK(value.IsNullValue());
  const KvString before = KvTypeMgr::GetNullPrintString();
  const unsigned short wide[] = {'n', 'o', 'n', 'e', 0};
  KvTypeMgr::SetNullPrintString(KvString(wide));
  CHECK(Scanned<KvDate>("none", nullptr).IsNullValue());
  KvTypeMgr::SetNullPrintString(before);
}

TEST_CASE("formats from strangers: long ones are cut at what a string holds, deep groups work") {
  std::string format, expected;
  for (int i = 0; i < 20000; ++i) format += "%X";
  CHECK(Print(At(2000, 1, 1, 0, 0, 0, 1), format.c_str()).size() == KvString::kMaximumBytes - 1);
  for (int i = 0; i < 3000; ++i) expected += "Januar";
  format.clear();
  for (int i = 0; i < 3000; ++i) format += "%B";
  CHECK(Print(KvDate(2000, 1, 1), format.c_str()) == expected);

  format.clear();
  for (int depth = 0; depth < 100; ++depth) format += "%?(<";
  const std::string open = format + "%H";  // never closed
  for (int depth = 0; depth < 100; ++depth) format += depth == 50 ? "%H>)" : ">)";
  CHECK(Print(KvTime(0, 1, 1), format.c_str()) == "");
  CHECK(Print(KvTime(0, 1, 1), open.c_str()) == "");
  const std::string text = Print(KvTime(9, 1, 1), format.c_str());
  CHECK(text == std::string(100, '<') + std::string(50, '>') + "09" + std::string(50, '>'));
  CHECK(Scanned<KvTime>(text.c_str(), format.c_str()) == KvTime(9, 0, 0));
  // Nothing is read behind a format (fence.cpp).
  for (const std::string end : {"%", "%Y-%m-%dT"}) {
    const auto exact = std::make_unique<char[]>(end.size() + 1);
    std::copy(end.begin(), end.end(), exact.get());
    Scanned<KvDate>("2000-01-02T", exact.get(), end.size() == 1 ? kvNotSupported : kvOk);
  }
  // The ninth group is part of the one around it.
  for (const int depth : {7, 8}) {
    const auto around = [depth](const std::string& inner) {
      std::string whole = inner + std::string(static_cast<unsigned>(depth), ')');
      for (int i = 0; i < depth; ++i) whole.insert(0, "%?(");
      return whole;
    };
    CHECK(Print(KvTime(9, 0, 0), around("%H%?(x)").c_str()) == (depth < 8 ? "09" : "09x"));
    CHECK(Scanned<KvTime>("09", around("%H%?(x%M)").c_str()) == KvTime(depth < 8 ? 9 : 0, 0, 0));
  }
  // The innermost groups do not match: the whole is taken back, and what follows is read.
  CHECK(Scanned<KvTime>("<<<5", (format + "<<<%M").c_str()) == KvTime(0, 5, 0));
}
