// KvString and stored strings, beside the standard library's strings and plain loops.

#include <algorithm>
#include <cstring>
#include <memory>

#include "kv.h"
#include "pair.h"

#ifdef KV_BENCH_ICU
#include <unicode/ustring.h>
#endif

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

#ifdef KV_BENCH_ICU
// What ICU offers for a text in its own units.
struct IcuCase {
  std::u16string from;
  mutable std::u16string to;
  void Upper() const {
    UErrorCode status = U_ZERO_ERROR;
    benchmark::DoNotOptimize(u_strToUpper(to.data(), static_cast<int32_t>(to.size()), from.data(),
                                          static_cast<int32_t>(from.size()), "de", &status));
    benchmark::ClobberMemory();
  }
};
#endif

// Upper case in place, of a text that is in it after the first call: the work is the same.
template <class Unit>
void RegisterCase(const char* width, unsigned char codeSet) {
  constexpr const char16_t* kLatin =
      u"Zw\u00F6lf Boxk\u00E4mpfer jagen Viktor quer \u00FCber den Sylter Deich, \u00E0 la "
      u"carte, d\u00E9j\u00E0 vu und \u00C5ngstr\u00F6m. ";
  for (const bool isAscii : {true, false}) {
    std::u16string units;
    if (isAscii) {
      for (const char unit : Words()) units.push_back(static_cast<unsigned char>(unit));
    }
    while (units.size() < kLength) units += kLatin;
    units.resize(kLength);
    const auto ours = std::make_shared<KvString>(kvCodeSetUnicode, 1);
    *ours << reinterpret_cast<const unsigned short*>(units.c_str());
    ours->MapToCodeSet(codeSet);
    const std::string label =
        std::string(isAscii ? "ToUpper of ASCII" : "ToUpper of Latin letters") + ", 10000 " +
        width + " characters";
    const auto upper = [=] {
      ours->ToUpper();
      benchmark::ClobberMemory();
    };
    if (isAscii) {
      const auto theirs = std::make_shared<std::basic_string<Unit>>(units.begin(), units.end());
      bench::Pair(label, "a loop unit by unit", sizeof(Unit) == 1 ? 1 : 4, upper, [=] {
        for (Unit& unit : *theirs) {
          if (unit >= 'a' && unit <= 'z') unit = static_cast<Unit>(unit - 32);
        }
        benchmark::ClobberMemory();
      });
    }
#ifdef KV_BENCH_ICU
    const auto icu = std::make_shared<IcuCase>(IcuCase{units, std::u16string(kLength, u' ')});
    bench::Pair(label, "u_strToUpper, 16-bit", 3, upper, [=] { icu->Upper(); });
#endif
  }
}

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
      label("Find, first character rare"), "std::basic_string::find", sizeof(Unit) == 1 ? 1 : 4,
      [=] { benchmark::DoNotOptimize(texts->ours.Find('Z')); },
      [=] { benchmark::DoNotOptimize(texts->theirs.find(static_cast<Unit>('Z'))); });
  RegisterCase<Unit>(width, codeSet);
  bench::Pair(
      label("copy"), "copy of std::basic_string", 0.9,
      [=] { benchmark::DoNotOptimize(KvString(texts->ours)); },
      [=] { benchmark::DoNotOptimize(std::basic_string<Unit>(texts->theirs)); });
}

// What is handed to a comparison; in memory no length is given. Both sides are found through such a
// list, so that only the comparison differs.
struct Operand {
  void* value;
  unsigned length;
};
using Operands = std::vector<Operand>;

// Neighbouring keys of an index share a beginning.
struct Keys {
  static constexpr unsigned kCount = 32768;
  static constexpr unsigned kRun = 16;

  Keys(unsigned char codeSet, unsigned char format) : order(format) {
    std::vector<unsigned> offsets;
    for (unsigned i = 0; i < kCount; ++i) {
      KvString key("customer-");
      key << (i * 2654435761u) % 1000000u << "-name";
      key.MapToCodeSet(codeSet);
      loaded.push_back(key);
      offsets.push_back(static_cast<unsigned>(stored.size()));
      stored.resize(stored.size() + key.GetBufferSize() + 8u);
      stored.resize(offsets.back() + StringStore(stored.data() + offsets.back(), &key, format, 1));
    }
    offsets.push_back(static_cast<unsigned>(stored.size()));
    for (unsigned i = 0; i < kCount; ++i) {
      inMemory.push_back({&loaded[i], 0});
      inPlace.push_back({stored.data() + offsets[i], offsets[i + 1] - offsets[i]});
      if (i % kRun != 0) continue;
      runsInMemory.push_back(inMemory.back());
      runsInPlace.push_back({inPlace.back().value, offsets[i + kRun] - offsets[i]});
    }
  }
  Keys(const Keys&) = delete;
  Keys& operator=(const Keys&) = delete;

  unsigned char order;
  std::vector<KvString> loaded;
  std::vector<unsigned char> stored;
  Operands inMemory, inPlace, runsInMemory, runsInPlace;
};

int CompareAll(const Operand* left, const Operand* right, std::size_t pairs, unsigned char format,
               unsigned count) {
  int sum = 0;
  int status = 0;
  for (std::size_t i = 0; i < pairs; ++i) {
    sum += StringCompare(format, left[i].length, left[i].value, right[i].length, right[i].value, 0,
                         count, status);
  }
  return sum;
}

void RegisterKeys(const char* kind, unsigned char codeSet, unsigned char format) {
  const auto keys = std::make_shared<Keys>(codeSet, format);
  const auto same = std::make_shared<Keys>(codeSet, format);
  const std::string label = std::string(kind) + " strings";
  const auto neighbours = [=](Operands Keys::*list, unsigned char order) {
    return [=] {
      const Operands& operands = (*keys).*list;
      benchmark::DoNotOptimize(
          CompareAll(&operands[0], &operands[1], operands.size() - 1, order, 1));
    };
  };
  const auto runs = [=](Operands Keys::*list, unsigned char order) {
    return [=] {
      const Operands& operands = (*keys).*list;
      benchmark::DoNotOptimize(
          CompareAll(&operands[0], &((*same).*list)[0], operands.size(), order, Keys::kRun));
    };
  };
  const auto loading = [=] {
    int sum = 0;
    int status = 0;
    KvString a, b;
    for (unsigned i = 0; i + 1 < Keys::kCount; ++i) {
      StringLoad(&a, keys->inPlace[i].value, format, 1);
      StringLoad(&b, keys->inPlace[i + 1].value, format, 1);
      sum += StringCompare(8, 0, &a, 0, &b, 0, 1, status);
    }
    benchmark::DoNotOptimize(sum);
  };
  const auto inPlace = neighbours(&Keys::inPlace, format);
  bench::Pair("compare stored " + label, "comparing loaded ones", 1, inPlace,
              neighbours(&Keys::inMemory, 8), Keys::kCount);
  bench::Pair("compare stored " + label, "loading, then comparing", 0, inPlace, loading,
              Keys::kCount);
  bench::Pair("equal runs of 16 stored " + label, "the same, loaded", 1,
              runs(&Keys::runsInPlace, format), runs(&Keys::runsInMemory, 8), Keys::kCount);
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
