// KvString and stored strings, beside the standard library's strings and plain loops.

#include <algorithm>
#include <cstring>
#include <memory>

#include "kv.h"
#include "pair.h"

namespace {

constexpr unsigned kLength = 10000;

// Words and blanks, with one "Z" at the end to be found.
std::string Words() {
  std::string text;
  for (unsigned i = 0; text.size() < kLength - 1; ++i) {
    text.push_back(i * 2654435761u % 7 == 0 ? ' ' : static_cast<char>('a' + i * 40503u % 24));
  }
  text.push_back('Z');
  return text;
}

// The same text as a KvString and as what the standard library offers, in one width.
template <class Unit>
struct Texts {
  explicit Texts(unsigned char codeSet) : ours(codeSet, 1) {
    const std::string words = Words();
    ours << words.c_str();
    theirs.assign(words.begin(), words.end());
  }
  KvString ours;
  std::basic_string<Unit> theirs;
};

template <class Unit>
void RegisterWidth(const char* width, unsigned char codeSet) {
  const auto texts = std::make_shared<Texts<Unit>>(codeSet);
  const auto label = [width](const char* operation) {
    return std::string(operation) + ", 10000 " + width + " characters";
  };
  bench::Pair(
      label("Len"), "a loop unit by unit", 2, [=] { benchmark::DoNotOptimize(texts->ours.Len()); },
      [=] {
        const Unit* at = texts->theirs.c_str();
        while (*at != 0) ++at;
        benchmark::DoNotOptimize(at);
      });
  bench::Pair(
      label("Find, first character rare"), "collating at every position", 4,
      [=] { benchmark::DoNotOptimize(texts->ours.Find("Z")); },
      // Skipping blanks rules out looking for the first character; there are few here.
      [=] { benchmark::DoNotOptimize(texts->ours.Find("Z", 0, kvCompareSkipSpaces)); });
  bench::Pair(
      label("Find, first character rare"), "std::basic_string::find", 0,
      [=] { benchmark::DoNotOptimize(texts->ours.Find("Z")); },
      [=] { benchmark::DoNotOptimize(texts->theirs.find(static_cast<Unit>('Z'))); });
  bench::Pair(
      label("ToUpper of ASCII"), "a loop unit by unit", 1,
      [=] {
        texts->ours.ToUpper();
        benchmark::ClobberMemory();
      },
      [=] {
        for (Unit& unit : texts->theirs) {
          if (unit >= 'a' && unit <= 'z') unit = static_cast<Unit>(unit - 32);
        }
        benchmark::ClobberMemory();
      });
  bench::Pair(
      label("copy"), "copy of std::basic_string", 0,
      [=] { benchmark::DoNotOptimize(KvString(texts->ours)); },
      [=] { benchmark::DoNotOptimize(std::basic_string<Unit>(texts->theirs)); });
}

// Neighbouring keys of an index: pairs that share a beginning.
struct Keys {
  static constexpr unsigned kCount = 32768;
  struct Place {
    unsigned offset;
    unsigned length;
  };

  Keys(unsigned char codeSet, unsigned char format) : order(format) {
    for (unsigned i = 0; i < kCount + 1; ++i) {
      KvString key("customer-");
      key << (i * 2654435761u) % 1000000u << "-name";
      key.MapToCodeSet(codeSet);
      loaded.push_back(key);
      const auto offset = static_cast<unsigned>(stored.size());
      stored.resize(offset + key.GetBufferSize() + 8u);
      const unsigned length = StringStore(stored.data() + offset, &key, format, 1);
      stored.resize(offset + length);
      places.push_back({offset, length});
    }
  }
  unsigned char order;
  std::vector<KvString> loaded;
  std::vector<unsigned char> stored;
  std::vector<Place> places;
};

void RegisterKeys(const char* kind, unsigned char codeSet, unsigned char format) {
  const auto keys = std::make_shared<Keys>(codeSet, format);
  const std::string label = std::string(kind) + " strings";
  const auto inPlace = [=] {
    int sum = 0;
    int status = 0;
    for (unsigned i = 0; i < Keys::kCount; ++i) {
      const auto& a = keys->places[i];
      const auto& b = keys->places[i + 1];
      sum += StringCompare(keys->order, a.length, keys->stored.data() + a.offset, b.length,
                           keys->stored.data() + b.offset, 0, 1, status);
    }
    benchmark::DoNotOptimize(sum);
  };
  const auto inMemory = [=] {
    int sum = 0;
    int status = 0;
    for (unsigned i = 0; i < Keys::kCount; ++i) {
      sum += StringCompare(8, 0, &keys->loaded[i], 0, &keys->loaded[i + 1], 0, 1, status);
    }
    benchmark::DoNotOptimize(sum);
  };
  const auto loading = [=] {
    int sum = 0;
    int status = 0;
    KvString a, b;
    for (unsigned i = 0; i < Keys::kCount; ++i) {
      StringLoad(&a, keys->stored.data() + keys->places[i].offset, keys->order, 1);
      StringLoad(&b, keys->stored.data() + keys->places[i + 1].offset, keys->order, 1);
      sum += StringCompare(8, 0, &a, 0, &b, 0, 1, status);
    }
    benchmark::DoNotOptimize(sum);
  };
  bench::Pair("compare stored " + label, "comparing loaded ones", 1, inPlace, inMemory,
              Keys::kCount);
  const auto same = std::make_shared<Keys>(*keys);
  constexpr unsigned kRun = 16;
  const auto runsInPlace = [=] {
    int sum = 0;
    int status = 0;
    for (unsigned i = 0; i < Keys::kCount; i += kRun) {
      const unsigned begin = keys->places[i].offset;
      const unsigned length = keys->places[i + kRun].offset - begin;
      sum += StringCompare(keys->order, length, keys->stored.data() + begin, length,
                           same->stored.data() + begin, 0, kRun, status);
    }
    benchmark::DoNotOptimize(sum);
  };
  const auto runsInMemory = [=] {
    int sum = 0;
    int status = 0;
    for (unsigned i = 0; i < Keys::kCount; i += kRun) {
      sum += StringCompare(8, 0, &keys->loaded[i], 0, &same->loaded[i], 0, kRun, status);
    }
    benchmark::DoNotOptimize(sum);
  };
  bench::Pair("compare equal runs of 16 stored " + label, "comparing loaded ones", 1, runsInPlace,
              runsInMemory, Keys::kCount);
  bench::Pair("compare stored " + label, "loading, then comparing", 0, inPlace, loading,
              Keys::kCount);
}

const bool registered = [] {
  RegisterWidth<char>("8-bit", kvCodeSetLatin1);
  RegisterWidth<char16_t>("16-bit", kvCodeSetUnicode);
  RegisterKeys("8-bit", kvCodeSetLatin1, 1);
  RegisterKeys("16-bit", kvCodeSetUnicode, 1);
  RegisterKeys("reversed 16-bit", kvCodeSetUnicode, 2);
  return true;
}();

}  // namespace
