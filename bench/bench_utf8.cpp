// UTF-8 to 16-bit units and back, into arrays and strings, beside iconv and ICU. Texts of 30 KB, a
// script each: what one byte, two and three bytes a character cost. With the widest vectors of the
// processor, then with narrower ones, as other processors have them.

#include <iconv.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "kv.h"
#include "pair.h"
#include "zbsvectors.h"

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

// `operation` with vectors up to a set.
template <class Operation>
auto Limited(kv::VectorSet set, Operation operation) {
  return [=] {
    kv::LimitVectors(set);
    operation();
    kv::LimitVectors(kv::VectorSet::kWidest);
  };
}

// What is decoded, and where to.
struct Decoding {
  explicit Decoding(const Sample& sample)
      : bytes(TextOf(sample)), units(bytes.size()), size(static_cast<int>(bytes.size())) {}

  void ToString() const {
    KvString out;
    benchmark::DoNotOptimize(KvMBS2KvString(bytes.data(), out, size));
  }
  void ToArray() {
    benchmark::DoNotOptimize(KvMultiByteStr2WCharStr(units.data(), size, bytes.data(), size));
    benchmark::ClobberMemory();
  }

  const std::string bytes;
  std::vector<unsigned short> units;
  const int size;
};

void RegisterDecoding(const Sample& sample) {
  const auto text = std::make_shared<Decoding>(sample);
  const std::string name = std::string("UTF-8 to KvString, ") + sample.name;
  const iconv_t converter = iconv_open("UTF-16LE", "UTF-8");
  bench::Pair(
      name, "iconv to UTF-16", sample.ofIconv, [=] { text->ToString(); },
      [=] {
        RunIconv(converter, text->bytes.data(), text->bytes.size(), text->units.data(),
                 2 * text->units.size());
      });
}

void RegisterDecoding(const Sample& sample, kv::VectorSet set, const std::string& suffix) {
  const auto text = std::make_shared<Decoding>(sample);
  const auto toString = Limited(set, [=] { text->ToString(); });
  const auto toArray = Limited(set, [=] { text->ToArray(); });
  const std::string name = std::string(", ") + sample.name + suffix;
  bench::Pair("UTF-8 to KvString" + name, "the same into an array", 0.8, toString, toArray);
#ifdef KV_BENCH_ICU
  bench::Pair("UTF-8 to an array" + name, "u_strFromUTF8", sample.ofIcu, toArray, [=] {
    UErrorCode status = U_ZERO_ERROR;
    int32_t length;
    u_strFromUTF8(reinterpret_cast<UChar*>(text->units.data()), text->size, &length,
                  text->bytes.data(), text->size, &status);
    benchmark::ClobberMemory();
  });
#endif
}

// What is encoded, and where to.
struct Encoding {
  explicit Encoding(const Sample& sample) {
    const std::string text = TextOf(sample);
    KvMBS2KvString(text.data(), string, static_cast<int>(text.size()));
    encoded.resize(2 * text.size());
  }

  void Run() {
    benchmark::DoNotOptimize(
        KvString2KvMBS(string, encoded.data(), static_cast<int>(encoded.size())));
    benchmark::ClobberMemory();
  }

  KvString string;
  std::vector<char> encoded;
};

void RegisterEncoding(const Sample& sample) {
  const auto text = std::make_shared<Encoding>(sample);
  const iconv_t converter = iconv_open("UTF-8", "UTF-16LE");
  bench::Pair(
      std::string("KvString to UTF-8, ") + sample.name, "iconv from UTF-16", sample.ofIconv,
      [=] { text->Run(); },
      [=] {
        RunIconv(converter, text->string.StrGet(), 2u * text->string.Len(), text->encoded.data(),
                 text->encoded.size());
      });
}

void RegisterEncoding([[maybe_unused]] const Sample& sample, [[maybe_unused]] kv::VectorSet set,
                      [[maybe_unused]] const std::string& suffix) {
#ifdef KV_BENCH_ICU
  const auto text = std::make_shared<Encoding>(sample);
  bench::Pair("KvString to UTF-8, " + (sample.name + suffix), "u_strToUTF8", sample.ofIcu,
              Limited(set, [=] { text->Run(); }), [=] {
                UErrorCode status = U_ZERO_ERROR;
                int32_t length;
                u_strToUTF8(text->encoded.data(), static_cast<int>(text->encoded.size()), &length,
                            reinterpret_cast<const UChar*>(text->string.StrGet()),
                            text->string.Len(), &status);
                benchmark::ClobberMemory();
              });
#endif
}

const bool registered = [] {
  for (const Sample& sample : kSamples) RegisterDecoding(sample);
  for (const Sample& sample : kSamples) RegisterEncoding(sample);
  // The widest set stands without its name, as in every other line.
  const kv::VectorSet widest = kv::Vectors();
  for (const auto& [set, suffix] :
       {std::pair(widest, ""), std::pair(kv::VectorSet::kAvx2, ", AVX2"),
        std::pair(kv::VectorSet::kSsse3, ", SSSE3")}) {
    if (set > widest || (set == widest && *suffix != 0)) continue;
    for (const Sample& sample : kSamples) RegisterDecoding(sample, set, suffix);
    for (const Sample& sample : kSamples) RegisterEncoding(sample, set, suffix);
  }
  return true;
}();

}  // namespace
