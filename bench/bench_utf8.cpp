// UTF-8 to 16-bit units and back, into arrays and strings, beside iconv and ICU. Texts of 30 KB, a
// script each: what one byte, two and three bytes a character cost.

#include <iconv.h>

#include <memory>
#include <string>
#include <vector>

#include "kv.h"
#include "pair.h"

#ifdef KV_BENCH_ICU
#include <unicode/ustring.h>
#endif

namespace {

constexpr std::size_t kTextBytes = 30000;

struct Sample {
  const char* name;
  const char* sentences;
  double ofIcu;  // the speed asked for
  double ofIconv;
};

constexpr Sample kSamples[] = {
    {"ASCII", "The quick brown fox jumps over the lazy dog, again and again. ", 6.5, 5},
    {"German",
     "Zwölf Boxkämpfer jagen Viktor quer über den großen Sylter Deich. Am nächsten Morgen lag "
     "dichter Nebel auf dem Fluss, und die Fähre kam erst gegen Mittag wieder. Wer hier wohnt, "
     "kennt den Weg zum Bahnhof, die Bäckerei an der Ecke und den alten Mann mit dem Hund. ",
     5, 1.5},
    {"Greek",
     "Ξεσκεπάζω την ψυχοφθόρα βδελυγμία. Το πλοίο έφυγε νωρίς το πρωί από το λιμάνι και φτάνει "
     "το βράδυ στο νησί. Η θάλασσα ήταν ήρεμη, ο ουρανός καθαρός και τα παιδιά έπαιζαν. ",
     4, 1.5},
    {"Chinese",
     "今天早上我们坐火车去北京看朋友，天气很好，路上的人也不多。他住在城里的一条老街上，"
     "家里有一只猫和许多书。晚上大家一起吃饭、喝茶，说起从前的事情。",
     3, 1.5},
};

// Whole sentences, so that no character is cut.
std::string TextOf(const Sample& sample) {
  std::string text;
  while (text.size() < kTextBytes) text += sample.sentences;
  return text;
}

void RunIconv(iconv_t converter, const void* from, std::size_t fromSize, void* to,
              std::size_t toSize) {
  char* in = static_cast<char*>(const_cast<void*>(from));
  char* out = static_cast<char*>(to);
  benchmark::DoNotOptimize(iconv(converter, &in, &fromSize, &out, &toSize));
  benchmark::ClobberMemory();
}

void RegisterDecoding(const Sample& sample) {
  const auto bytes = std::make_shared<std::string>(TextOf(sample));
  const auto units = std::make_shared<std::vector<unsigned short>>(bytes->size());
  const int size = static_cast<int>(bytes->size());
  const auto toString = [=] {
    KvString out;
    benchmark::DoNotOptimize(KvMBS2KvString(bytes->data(), out, size));
  };
  const auto toArray = [=] {
    benchmark::DoNotOptimize(KvMultiByteStr2WCharStr(units->data(), size, bytes->data(), size));
    benchmark::ClobberMemory();
  };
  const std::string name = std::string(", ") + sample.name;
  const iconv_t converter = iconv_open("UTF-16LE", "UTF-8");
  bench::Pair("UTF-8 to KvString" + name, "iconv to UTF-16", sample.ofIconv, toString, [=] {
    RunIconv(converter, bytes->data(), bytes->size(), units->data(), 2 * units->size());
  });
  bench::Pair("UTF-8 to KvString" + name, "the same into an array", 0.8, toString, toArray);
#ifdef KV_BENCH_ICU
  bench::Pair("UTF-8 to an array" + name, "u_strFromUTF8", sample.ofIcu, toArray, [=] {
    UErrorCode status = U_ZERO_ERROR;
    int32_t length;
    u_strFromUTF8(reinterpret_cast<UChar*>(units->data()), size, &length, bytes->data(), size,
                  &status);
    benchmark::ClobberMemory();
  });
#endif
}

void RegisterEncoding(const Sample& sample) {
  const std::string text = TextOf(sample);
  const auto string = std::make_shared<KvString>();
  KvMBS2KvString(text.data(), *string, static_cast<int>(text.size()));
  const auto encoded = std::make_shared<std::vector<char>>(2 * text.size());
  const int room = static_cast<int>(encoded->size());
  const auto encode = [=] {
    benchmark::DoNotOptimize(KvString2KvMBS(*string, encoded->data(), room));
    benchmark::ClobberMemory();
  };
  const std::string name = std::string("KvString to UTF-8, ") + sample.name;
  const iconv_t converter = iconv_open("UTF-8", "UTF-16LE");
  bench::Pair(name, "iconv from UTF-16", sample.ofIconv, encode, [=] {
    RunIconv(converter, string->StrGet(), 2u * string->Len(), encoded->data(), encoded->size());
  });
#ifdef KV_BENCH_ICU
  bench::Pair(name, "u_strToUTF8", sample.ofIcu, encode, [=] {
    UErrorCode status = U_ZERO_ERROR;
    int32_t length;
    u_strToUTF8(encoded->data(), room, &length, reinterpret_cast<const UChar*>(string->StrGet()),
                string->Len(), &status);
    benchmark::ClobberMemory();
  });
#endif
}

const bool registered = [] {
  for (const Sample& sample : kSamples) RegisterDecoding(sample);
  for (const Sample& sample : kSamples) RegisterEncoding(sample);
  return true;
}();

}  // namespace
