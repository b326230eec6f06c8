// Dates: day numbers beside std::chrono's, texts beside strftime and strptime.

#include <chrono>
#include <ctime>
#include <vector>

#include "kv.h"
#include "pair.h"

namespace {

namespace chrono = std::chrono;

constexpr unsigned kCount = 1024;
constexpr int kEpoch = 2440588;  // day number of 1970-01-01
constexpr const char* kIso = "%Y-%m-%dT%H:%M:%S";

// The same instants for both sides: any day from 1600 to 2400, any second of it.
struct Instants {
  Instants() {
    unsigned seed = 12345;
    for (unsigned i = 0; i < kCount; ++i) {
      seed = seed * 1664525 + 1013904223;
      const int number = 2305448 + static_cast<int>(seed >> 8) % 292194;
      const KvTime time(static_cast<int>(seed >> 4) % 86400);
      numbers.push_back(number);
      days.push_back(chrono::sys_days(chrono::days(number - kEpoch)));
      civil.push_back(days.back());
      values.push_back(KvDateTime(KvDate(number), time));
      std::tm fields{};
      fields.tm_year = values.back().date.year - 1900;
      fields.tm_mon = values.back().date.month - 1;
      fields.tm_mday = values.back().date.day;
      fields.tm_hour = time.hour;
      fields.tm_min = time.minute;
      fields.tm_sec = time.second;
      tms.push_back(fields);
      texts.emplace_back();
      values.back().PrintToKvString(texts.back(), kIso);
    }
  }

  std::vector<int> numbers;
  std::vector<chrono::sys_days> days;
  std::vector<chrono::year_month_day> civil;
  std::vector<KvDateTime> values;
  std::vector<std::tm> tms;
  std::vector<KvString> texts;
};

const Instants& All() {
  static const Instants instants;
  return instants;
}

const bench::Pair dayNumber(
    "day number of a KvDate", "std::chrono::sys_days(ymd)", 1,
    [] {
      for (const KvDateTime& value : All().values) benchmark::DoNotOptimize(int{value.date});
    },
    [] {
      for (const auto& date : All().civil) benchmark::DoNotOptimize(chrono::sys_days(date));
    },
    kCount);

const bench::Pair dateOfNumber(
    "KvDate of a day number", "std::chrono::year_month_day(days)", 1,
    [] {
      for (const int number : All().numbers) {
        KvDate date(number);
        benchmark::DoNotOptimize(date);
      }
    },
    [] {
      for (const auto& day : All().days) {
        chrono::year_month_day date(day);
        benchmark::DoNotOptimize(date);
      }
    },
    kCount);

const bench::Pair printing(
    "KvDateTime::PrintToKvString, ISO format", "strftime", 3,
    [] {
      KvString out;
      for (const KvDateTime& value : All().values) {
        value.PrintToKvString(out, kIso);
        benchmark::DoNotOptimize(out.StrGet());
      }
    },
    [] {
      char out[64];
      for (const std::tm& fields : All().tms) {
        benchmark::DoNotOptimize(std::strftime(out, sizeof out, kIso, &fields));
        benchmark::ClobberMemory();
      }
    },
    kCount);

void ScanAll() {
  KvDateTime value(KvDate(0));
  for (const KvString& text : All().texts) {
    value.ScanFromKvString(text, kIso);
    benchmark::DoNotOptimize(value);
  }
}

const bench::Pair scanning(
    "KvDateTime::ScanFromKvString, ISO format", "strptime", 4, ScanAll,
    [] {
      std::tm fields{};
      for (const KvString& text : All().texts) {
        benchmark::DoNotOptimize(strptime(text.StrGet(), kIso, &fields));
        benchmark::ClobberMemory();
      }
    },
    kCount);

// What one would write for texts of just this form: digits where they are to stand, and separators.
bool ReadIso(const char* text, std::tm& fields) {
  constexpr const char* kForm = "0000-00-00T00:00:00";
  for (unsigned i = 0; kForm[i] != 0; ++i) {
    const bool fits = kForm[i] == '0' ? text[i] >= '0' && text[i] <= '9' : text[i] == kForm[i];
    if (!fits) return false;
  }
  const auto pair = [text](unsigned at) { return (text[at] - '0') * 10 + (text[at + 1] - '0'); };
  fields.tm_year = pair(0) * 100 + pair(2) - 1900;
  fields.tm_mon = pair(5) - 1;
  fields.tm_mday = pair(8);
  fields.tm_hour = pair(11);
  fields.tm_min = pair(14);
  fields.tm_sec = pair(17);
  return true;
}

const bench::Pair scanningByHand(
    "KvDateTime::ScanFromKvString, ISO format", "a parser of that form, by hand", 0.7, ScanAll,
    [] {
      std::tm fields{};
      for (const KvString& text : All().texts) {
        benchmark::DoNotOptimize(ReadIso(text.StrGet(), fields));
        benchmark::DoNotOptimize(fields);
      }
    },
    kCount);

}  // namespace
