// Sort keys: runs of fixed rows beside memcpy of as many bytes, words beside ICU's sort keys
// (ucol_getSortKey, tertiary, German), and sorting words by keys beside sorting them by comparing.
// Without the word list (Debian's wngerman) words are made up.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "kv.h"
#include "pair.h"
#ifdef KV_BENCH_ICU
#include <unicode/ucol.h>
#endif

namespace {

constexpr unsigned char kGerman = 2;
constexpr unsigned kWords = 1 << 12;
constexpr unsigned kSorted = 1 << 20;
constexpr std::size_t kBeyondCaches = std::size_t{1} << 27;

std::vector<std::u16string> LoadWords() {
  std::vector<std::u16string> words;
  std::ifstream file("/usr/share/dict/ngerman");
  for (std::string line; std::getline(file, line);) {
    std::u16string word;
    for (std::size_t i = 0; i < line.size(); ++i) {
      const auto lead = static_cast<unsigned char>(line[i]);
      word += lead < 0x80 ? static_cast<char16_t>(lead)
                          : static_cast<char16_t>((lead & 0x1F) << 6 | (line[++i] & 0x3F));
    }
    words.push_back(word);
  }
  std::minstd_rand random(1);
  while (words.size() < kWords) {
    std::u16string word;
    for (auto left = 3 + random() % 12; left > 0; --left) word += u"abcdeinrst"[random() % 10];
    words.push_back(word);
  }
  std::shuffle(words.begin(), words.end(), random);
  return words;
}

KvString StringOf(const std::u16string& word, unsigned char codeSet) {
  KvString string(reinterpret_cast<const unsigned short*>(word.c_str()));
  if (codeSet != kvCodeSetUnicode) string.MapToCodeSet(codeSet);
  string.SetLanguage(kGerman);
  return string;
}

auto KeysOfWords(std::shared_ptr<std::vector<KvString>> words) {
  std::size_t bytes = 0;
  for (const KvString& word : *words) bytes += word.GetBufferSize();
  const auto count = static_cast<unsigned>(words->size());
  const auto keys = std::make_shared<std::vector<unsigned char>>(
      KvSortKeyBound({.type = KvSTRING_T}, bytes, count));
  const auto offsets = std::make_shared<std::vector<std::size_t>>(count + 1);
  return [=] {
    std::size_t size;
    KvSortKeyRun({.type = KvSTRING_T}, words->data(), 0, 8, count, keys->data(), keys->size(),
                 offsets->data(), size);
    benchmark::DoNotOptimize(keys->data());
  };
}

#ifdef KV_BENCH_ICU
auto IcuKeys(std::shared_ptr<std::vector<std::u16string>> words) {
  UErrorCode status = U_ZERO_ERROR;
  UCollator* collator = ucol_open("de", &status);  // for the life of the program
  return [words, collator] {
    unsigned char key[1024];
    for (const std::u16string& word : *words) {
      ucol_getSortKey(collator, word.data(), static_cast<int>(word.size()), key, sizeof key);
      benchmark::DoNotOptimize(key);
    }
  };
}
#endif

// An index of words, as kvtm sort has one.
std::vector<unsigned> Indexes(std::size_t count) {
  std::vector<unsigned> indexes(count);
  std::iota(indexes.begin(), indexes.end(), 0U);
  return indexes;
}

auto SortByKeys(std::shared_ptr<std::vector<KvString>> words) {
  return [words] {
    const auto count = static_cast<unsigned>(words->size());
    std::size_t bytes = 0;
    for (const KvString& word : *words) bytes += word.GetBufferSize();
    std::vector<unsigned char> keys(KvSortKeyBound({.type = KvSTRING_T}, bytes, count));
    std::vector<std::size_t> offsets(count + 1);
    std::size_t size;
    KvSortKeyRun({.type = KvSTRING_T}, words->data(), 0, 8, count, keys.data(), keys.size(),
                 offsets.data(), size);
    std::vector<unsigned> indexes = Indexes(count);
    std::sort(indexes.begin(), indexes.end(), [&](unsigned a, unsigned b) {
      const std::size_t length = std::min(offsets[a + 1] - offsets[a], offsets[b + 1] - offsets[b]);
      return std::memcmp(&keys[offsets[a]], &keys[offsets[b]], length) < 0;
    });
    benchmark::DoNotOptimize(indexes.data());
  };
}

auto SortByComparing(std::shared_ptr<std::vector<KvString>> words) {
  return [words] {
    std::vector<unsigned> indexes = Indexes(words->size());
    const KvCompareFunc compare = DefaultTypeMgr(nullptr)->CmpFuncPtrGet(KvSTRING_T);
    std::sort(indexes.begin(), indexes.end(), [&](unsigned a, unsigned b) {
      int status;
      return compare(8, 0, &(*words)[a], 0, &(*words)[b], kvCompareExact, 1, status) < 0;
    });
    benchmark::DoNotOptimize(indexes.data());
  };
}

void RegisterTexts() {
  const auto words = std::make_shared<std::vector<std::u16string>>(LoadWords());
  const auto first =
      std::make_shared<std::vector<std::u16string>>(words->begin(), words->begin() + kWords);
#ifdef KV_BENCH_ICU
  for (const unsigned char codeSet : {kvCodeSetLatin1, kvCodeSetUnicode}) {
    auto strings = std::make_shared<std::vector<KvString>>();
    for (const std::u16string& word : *first) strings->push_back(StringOf(word, codeSet));
    const std::string name = "sort keys of words, code set " + std::to_string(codeSet);
    bench::Pair(name, "ucol_getSortKey", codeSet == kvCodeSetLatin1 ? 6 : 4, KeysOfWords(strings),
                IcuKeys(first), kWords);
  }
#endif
  auto many = std::make_shared<std::vector<KvString>>();
  for (unsigned i = 0; i < kSorted; ++i) {
    many->push_back(StringOf((*words)[i % words->size()], kvCodeSetLatin1));
  }
  bench::Pair("sort 2^20 words by their keys", "by comparing", 3, SortByKeys(many),
              SortByComparing(many));
}

void RegisterFixed(char id, const char* name) {
  const std::size_t width = KvSortKeyBound({.type = id}, 0, 1);
  const auto count = static_cast<unsigned>(kBeyondCaches / width / 4);
  const std::size_t bytes = count * width;
  const std::size_t memory = std::size_t{DefaultTypeMgr(nullptr)->MemLenGet(id, 1)} * count;
  auto values = std::make_shared<std::vector<unsigned char>>(memory, static_cast<unsigned char>(5));
  auto keys = std::make_shared<std::vector<unsigned char>>(bytes);
  const auto ours = [=] {
    std::size_t size;
    KvSortKeyRun({.type = id}, values->data(), 0, 8, count, keys->data(), bytes, nullptr, size);
    benchmark::DoNotOptimize(keys->data());
  };
  const auto theirs = [=] {
    std::memcpy(keys->data(), values->data(), bytes);
    benchmark::DoNotOptimize(keys->data());
  };
  bench::Pair(std::string("sort keys of a run of ") + name, "memcpy of the key bytes", 0.8, ours,
              theirs);
}

const bool registered = [] {
  RegisterTexts();
  RegisterFixed(Kv4B_T, "o_4b");
  RegisterFixed(Kv8B_T, "o_8b");
  RegisterFixed(KvDOUBLE_T, "o_double");
  RegisterFixed(KvDATE_T, "KvDate");
  return true;
}();

}  // namespace
