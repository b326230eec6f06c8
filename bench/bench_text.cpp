// Text beside the C library and what one would use instead: numbers against printf, strtod and
// <charconv>, the 8-bit strings against strcasecmp in a Latin-1 locale.

#include <locale.h>
#include <strings.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>

#include "kv.h"
#include "pair.h"

namespace {

// --- Numbers ---

constexpr unsigned kNumbers = 256;

std::vector<double> SomeDoubles() {
  std::mt19937_64 random(1);
  std::vector<double> numbers;
  while (numbers.size() < kNumbers) {
    // Measurements, prices and plain noise.
    const auto whole = static_cast<double>(random() % 1000000);
    numbers.push_back(whole / 100);
    numbers.push_back(whole * 1.0e-9 / 3);
    numbers.push_back(static_cast<double>(random()) * 1e20 / 7);
  }
  numbers.resize(kNumbers);
  return numbers;
}

void RegisterNumbers() {
  const auto numbers = std::make_shared<std::vector<double>>(SomeDoubles());
  const auto texts = std::make_shared<std::vector<KvString>>();
  for (const double number : *numbers) texts->push_back(KvString(number));
  const auto integers = std::make_shared<std::vector<o_4b>>();
  const auto integerTexts = std::make_shared<std::vector<KvString>>();
  for (unsigned i = 0; i < kNumbers; ++i) {
    integers->push_back(static_cast<o_4b>(i * 7919));
    integerTexts->push_back(KvString(integers->back()));
  }

  // Every element in a call of its own.
  const auto print = [](char row, const auto& values) {
    return [=, types = DefaultTypeMgr(nullptr)] {
      KvString out;
      for (auto& value : *values) {
        benchmark::DoNotOptimize(&types->PrintToKvString(row, out, &value, nullptr, 1));
      }
    };
  };
  const auto printChecked = [](char row, const auto& values) {
    return [=, types = DefaultTypeMgr(nullptr)] {
      char text[64];
      for (const auto& value : *values) {
        benchmark::DoNotOptimize(
            KvPrintChecked(*types, row, text, sizeof text, &value, nullptr).length);
        benchmark::ClobberMemory();
      }
    };
  };
  const auto scan = [](char row, auto value, const auto& from) {
    return [=, types = DefaultTypeMgr(nullptr)]() mutable {
      for (KvString& text : *from) {
        types->ScanFromKvString(row, &value, text, nullptr, 1);
        benchmark::DoNotOptimize(value);
      }
    };
  };
  const auto printWith = [](const auto& values, auto put) {
    return [=] {
      char text[64];
      for (const auto value : *values) {
        benchmark::DoNotOptimize(put(text, value));
        benchmark::ClobberMemory();
      }
    };
  };
  const auto scanWith = [](const auto& from, auto read) {
    return [=] {
      for (const KvString& text : *from) {
        benchmark::DoNotOptimize(read(text.StrGet(), text.GetBufferSize()));
      }
    };
  };

  const auto toChars17 = [](char(&text)[64], double number) {
    return std::to_chars(text, text + sizeof text, number, std::chars_format::general, 17).ptr;
  };
  const auto toChars = [](char(&text)[64], o_4b number) {
    return std::to_chars(text, text + sizeof text, number).ptr;
  };

  const auto printDouble = print(KvDOUBLE_T, numbers);
  bench::Pair("print o_double, default format", "snprintf \"%.17g\"", 3, printDouble,
              printWith(numbers,
                        [](char(&text)[64], double number) {
                          return std::snprintf(text, sizeof text, "%.17g", number);
                        }),
              kNumbers);
  bench::Pair("print o_double, default format", "std::to_chars, 17 digits", 0.9, printDouble,
              printWith(numbers, toChars17), kNumbers);
  bench::Pair("KvPrintChecked of o_double", "std::to_chars, 17 digits", 0.9,
              printChecked(KvDOUBLE_T, numbers), printWith(numbers, toChars17), kNumbers);
  const auto scanDouble = scan(KvDOUBLE_T, 0.0, texts);
  bench::Pair(
      "scan o_double, default format", "strtod", 2, scanDouble,
      scanWith(texts, [](const char* text, unsigned) { return std::strtod(text, nullptr); }),
      kNumbers);
  bench::Pair("scan o_double, default format", "std::from_chars", 0.9, scanDouble,
              scanWith(texts,
                       [](const char* text, unsigned size) {
                         double number = 0;
                         std::from_chars(text, text + size, number);
                         return number;
                       }),
              kNumbers);
  const auto print4b = print(Kv4B_T, integers);
  bench::Pair("print o_4b, default format", "snprintf \"%d\"", 0, print4b,
              printWith(integers,
                        [](char(&text)[64], o_4b number) {
                          return std::snprintf(text, sizeof text, "%d", number);
                        }),
              kNumbers);
  bench::Pair("print o_4b, default format", "std::to_chars", 0.6, print4b,
              printWith(integers, toChars), kNumbers);
  bench::Pair("KvPrintChecked of o_4b", "std::to_chars", 0.9, printChecked(Kv4B_T, integers),
              printWith(integers, toChars), kNumbers);
  const auto scan4b = scan(Kv4B_T, o_4b{0}, integerTexts);
  bench::Pair("scan o_4b, default format", "strtol", 0, scan4b,
              scanWith(integerTexts,
                       [](const char* text, unsigned) { return std::strtol(text, nullptr, 10); }),
              kNumbers);
  bench::Pair("scan o_4b, default format", "std::from_chars", 0.7, scan4b,
              scanWith(integerTexts,
                       [](const char* text, unsigned size) {
                         o_4b number = 0;
                         std::from_chars(text, text + size, number);
                         return number;
                       }),
              kNumbers);
}

// --- The 8-bit strings ---

void RegisterCompare(const std::string& name, const std::string& a, const std::string& b,
                     double goal) {
  // The peer folds by the locale's table where there is a Latin-1 locale; without one it knows
  // ASCII alone, does less and in vectors, and nothing is asked for. ./dev bench makes one.
  locale_t locale = newlocale(LC_CTYPE_MASK, "de_DE.ISO-8859-1", nullptr);
  const bool latin1 = locale != nullptr;
  if (!latin1) locale = newlocale(LC_CTYPE_MASK, "C", nullptr);
  const auto left = std::make_shared<KvCaseIString>(a.c_str());
  const auto right = std::make_shared<KvCaseIString>(b.c_str());
  bench::Pair(
      "KvCaseIString compare, " + name, latin1 ? "strcasecmp_l Latin-1" : "strcasecmp_l C",
      latin1 ? goal : 0, [=] { benchmark::DoNotOptimize(left->Compare(*right)); },
      [=] { benchmark::DoNotOptimize(strcasecmp_l(left->StrGet(), right->StrGet(), locale)); });
}

const bool registered = [] {
  RegisterNumbers();
  const std::string prefix = "donaudampfschifffahrtselektrizit\xE4tenhauptbetriebswerkbau";
  RegisterCompare("59 bytes alike", prefix + "unterbeamter", prefix + "oberbeamter", 3);
  RegisterCompare("28 bytes alike", prefix.substr(0, 28) + "x", prefix.substr(0, 28) + "a", 3);
  RegisterCompare("case differs throughout", "DONAUDAMPFSCHIFFFAHRTSKAPITAENE",
                  "donaudampfschifffahrtskapitaens", 2);
  RegisterCompare("first byte differs", "alpha", "beta", 1);
  return true;
}();

}  // namespace
