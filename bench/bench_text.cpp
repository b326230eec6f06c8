// Text beside the C library: UTF-8 against iconv, numbers against printf and strtod, the 8-bit
// strings against strcasecmp in a Latin-1 locale.

#include <iconv.h>
#include <locale.h>
#include <strings.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>

#include "kv.h"
#include "pair.h"

namespace {

// --- UTF-8 ---

constexpr std::size_t kTextBytes = 24000;

std::string AsciiText() {
  const std::string sentence = "The quick brown fox jumps over the lazy dog, again and again. ";
  std::string text;
  while (text.size() < kTextBytes) text += sentence;
  return text;
}

// German, French, Polish and Greek by turns: a tenth to a half of the characters are no ASCII.
std::string EuropeanText() {
  const std::string sentences =
      "Zw\xC3\xB6lf Boxk\xC3\xA4mpfer jagen Viktor quer \xC3\xBC"
      "ber den gro\xC3\x9F"
      "en Sylter Deich. "
      "Voix ambigu\xC3\xAB d'un c\xC5\x93ur qui au z\xC3\xA9phyr pr\xC3\xA9"
      "f\xC3\xA8re les jattes de kiwis. "
      "Za\xC5\xBC\xC3\xB3\xC5\x82\xC4\x87 g\xC4\x99\xC5\x9Bl\xC4\x85 ja\xC5\xBA\xC5\x84. "
      "\xCE\x9E\xCE\xB5\xCF\x83\xCE\xBA\xCE\xB5\xCF\x80\xCE\xAC\xCE\xB6\xCF\x89 "
      "\xCF\x84\xCE\xB7\xCE\xBD. ";
  std::string text;
  while (text.size() < kTextBytes) text += sentences;
  return text;
}

void RegisterUtf8(const std::string& name, const std::string& text, double goal) {
  const auto bytes = std::make_shared<std::string>(text);
  const auto units = std::make_shared<std::vector<unsigned short>>(text.size());
  const auto encoded = std::make_shared<std::vector<char>>(2 * text.size());
  const iconv_t decoder = iconv_open("UTF-16LE", "UTF-8");
  const iconv_t encoder = iconv_open("UTF-8", "UTF-16LE");
  const auto run = [](iconv_t converter, const void* from, std::size_t fromSize, void* to,
                      std::size_t toSize) {
    char* in = static_cast<char*>(const_cast<void*>(from));
    char* out = static_cast<char*>(to);
    benchmark::DoNotOptimize(iconv(converter, &in, &fromSize, &out, &toSize));
    benchmark::ClobberMemory();
  };
  bench::Pair(
      "UTF-8 to KvString, " + name, "iconv to UTF-16", goal,
      [=] {
        KvString out;
        benchmark::DoNotOptimize(
            KvMBS2KvString(bytes->data(), out, static_cast<int>(bytes->size())));
      },
      [=] { run(decoder, bytes->data(), bytes->size(), units->data(), 2 * units->size()); });
  const auto string = std::make_shared<KvString>();
  KvMBS2KvString(bytes->data(), *string, static_cast<int>(bytes->size()));
  bench::Pair(
      "KvString to UTF-8, " + name, "iconv from UTF-16", goal,
      [=] {
        benchmark::DoNotOptimize(
            KvString2KvMBS(*string, encoded->data(), static_cast<int>(encoded->size())));
        benchmark::ClobberMemory();
      },
      [=] { run(encoder, string->StrGet(), 2 * string->Len(), encoded->data(), encoded->size()); });
}

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
  KvTypeMgr* types = DefaultTypeMgr(nullptr);
  bench::Pair(
      "print o_double, default format", "snprintf \"%.17g\"", 3,
      [=] {
        KvString out;
        for (double& number : *numbers) {
          benchmark::DoNotOptimize(&types->PrintToKvString(KvDOUBLE_T, out, &number, nullptr, 1));
        }
      },
      [=] {
        char text[64];
        for (const double number : *numbers) {
          benchmark::DoNotOptimize(std::snprintf(text, sizeof text, "%.17g", number));
        }
      },
      kNumbers);
  bench::Pair(
      "scan o_double, default format", "strtod", 2,
      [=] {
        double number = 0;
        for (KvString& text : *texts) {
          types->ScanFromKvString(KvDOUBLE_T, &number, text, nullptr, 1);
          benchmark::DoNotOptimize(number);
        }
      },
      [=] {
        for (const KvString& text : *texts) {
          benchmark::DoNotOptimize(std::strtod(text.StrGet(), nullptr));
        }
      },
      kNumbers);
  bench::Pair(
      "print o_4b, default format", "snprintf \"%d\"", 0,
      [=] {
        KvString out;
        for (o_4b i = 0; i < static_cast<o_4b>(kNumbers); ++i) {
          o_4b value = i * 7919;
          benchmark::DoNotOptimize(&types->PrintToKvString(Kv4B_T, out, &value, nullptr, 1));
        }
      },
      [=] {
        char text[64];
        for (int i = 0; i < static_cast<int>(kNumbers); ++i) {
          benchmark::DoNotOptimize(std::snprintf(text, sizeof text, "%d", i * 7919));
        }
      },
      kNumbers);
}

// --- The 8-bit strings ---

void RegisterCompare(const std::string& name, const std::string& a, const std::string& b,
                     double goal) {
  // The peer folds by the locale's table where there is a Latin-1 locale; without one it knows
  // ASCII alone, does less and in vectors, and nothing is asked for. To make one:
  //   localedef -i de_DE -f ISO-8859-1 FOLDER/de_DE.ISO-8859-1, then LOCPATH=FOLDER kv_bench
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
  RegisterUtf8("ASCII", AsciiText(), 5);
  RegisterUtf8("European", EuropeanText(), 1.5);
  RegisterNumbers();
  const std::string prefix = "donaudampfschifffahrtselektrizit\xE4tenhauptbetriebswerkbau";
  RegisterCompare("59 bytes alike", prefix + "unterbeamter", prefix + "oberbeamter", 3);
  RegisterCompare("28 bytes alike", prefix.substr(0, 28) + "x", prefix.substr(0, 28) + "a", 3);
  RegisterCompare("case differs throughout", "DONAUDAMPFSCHIFFFAHRTSKAPITAENE",
                  "donaudampfschifffahrtskapitaens", 0);
  RegisterCompare("first byte differs", "alpha", "beta", 0);
  return true;
}();

}  // namespace
