// Sort keys: runs of fixed rows beside memcpy of as many bytes, words beside ICU's sort keys
// (ucol_getSortKey, tertiary, German), sorting words by keys beside sorting them by comparing, and
// lookups in LMDB beside lookups of bytes that are there already.
// Without the word list (Debian's wngerman) words are made up.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "key_order.h"
#include "kv.h"
#include "pair.h"
#ifdef KV_BENCH_ICU
#include <unicode/ucol.h>
#endif
#ifdef KV_BENCH_LMDB
#include <lmdb.h>
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

[[maybe_unused]] auto KeysOfWords(std::shared_ptr<std::vector<KvString>> words) {
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

// As kvtm sort does it, but that one thread makes all keys.
auto SortByKeys(std::shared_ptr<std::vector<KvString>> words) {
  return [words] {
    std::vector<KeyList> keys(1);
    for (std::size_t i = 0; i < words->size(); ++i) {
      keys[0].Add({.type = KvSTRING_T}, &(*words)[i], i);
    }
    const std::vector<std::size_t> order = OrderOfKeys(keys);
    benchmark::DoNotOptimize(order.data());
  };
}

auto SortByComparing(std::shared_ptr<std::vector<KvString>> words) {
  return [words] {
    std::vector<unsigned> indexes(words->size());
    std::iota(indexes.begin(), indexes.end(), 0U);
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

#ifdef KV_BENCH_LMDB

// Moments under their sort keys, which are bytes like any others to LMDB.
class KeyedIndex {
 public:
  static constexpr unsigned kKeys = 200000;
  static constexpr unsigned kLookups = 1024;
  static constexpr unsigned kWidth = 11;

  KeyedIndex() : keys_(kKeys * kWidth) {
    std::string folder = (std::filesystem::temp_directory_path() / "bench_key.XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) std::abort();
    std::minstd_rand random(1);
    for (unsigned i = 0; i < kKeys; ++i) {
      const unsigned second = static_cast<unsigned>(random());
      moments_.push_back(KvDateTimeN(static_cast<short>(1900 + second % 200),
                                     static_cast<char>(second / 200 % 12 + 1),
                                     static_cast<char>(second / 2400 % 28 + 1), 12, 30, 15,
                                     static_cast<int>(random() % 1000000000)));
      Write(i, &keys_[i * kWidth]);
    }
    mdb_env_create(&environment_);
    mdb_env_set_mapsize(environment_, std::size_t{1} << 28);
    mdb_env_open(environment_, folder.c_str(), MDB_NOSYNC | MDB_NOLOCK, 0600);
    mdb_txn_begin(environment_, nullptr, 0, &transaction_);
    mdb_dbi_open(transaction_, nullptr, 0, &database_);
    for (unsigned i = 0; i < kKeys; ++i) {
      MDB_val key{kWidth, &keys_[i * kWidth]};
      MDB_val data{sizeof i, &i};
      mdb_put(transaction_, database_, &key, &data, 0);
    }
    mdb_txn_commit(transaction_);
    mdb_txn_begin(environment_, nullptr, MDB_RDONLY, &transaction_);
    // The file stays mapped without its name.
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
  }
  ~KeyedIndex() {
    mdb_txn_abort(transaction_);
    mdb_env_close(environment_);
  }
  KeyedIndex(const KeyedIndex&) = delete;
  KeyedIndex& operator=(const KeyedIndex&) = delete;

  void LookUpMoments() {
    unsigned char key[kWidth];
    for (unsigned i = 0; i < kLookups; ++i, next_ = (next_ + 7919) % kKeys) {
      Write(next_, key);
      LookUp(key);
    }
  }
  void LookUpBytes() {
    for (unsigned i = 0; i < kLookups; ++i, next_ = (next_ + 7919) % kKeys) {
      LookUp(&keys_[next_ * kWidth]);
    }
  }

 private:
  void Write(unsigned moment, unsigned char* key) const {
    std::size_t size;
    KvSortKey({.type = KvDATIME_N_T}, &moments_[moment], 0, 8, key, kWidth, size);
  }
  void LookUp(unsigned char* bytes) {
    MDB_val key{kWidth, bytes};
    MDB_val data;
    if (mdb_get(transaction_, database_, &key, &data) != MDB_SUCCESS) std::abort();
    benchmark::DoNotOptimize(data.mv_data);
  }

  std::vector<KvDateTimeN> moments_;
  std::vector<unsigned char> keys_;
  unsigned next_ = 0;
  MDB_env* environment_ = nullptr;
  MDB_txn* transaction_ = nullptr;
  MDB_dbi database_ = 0;
};

void RegisterLookups() {
  const auto made = std::make_shared<std::unique_ptr<KeyedIndex>>();
  // Filled when first looked at, so that a filtered run does not wait for it.
  const auto index = [made]() -> KeyedIndex& {
    if (*made == nullptr) *made = std::make_unique<KeyedIndex>();
    return **made;
  };
  bench::Pair(
      "LMDB lookup of a KvDateTimeN, its key made", "by the bytes of the key", 0.95,
      [=] { index().LookUpMoments(); }, [=] { index().LookUpBytes(); }, KeyedIndex::kLookups);
}

#endif

void RegisterFixed(char id, const char* name) {
  const std::size_t width = KvSortKeyBound({.type = id}, 0, 1);
  const auto count = static_cast<unsigned>(kBeyondCaches / width / 4);
  const std::size_t bytes = count * width;
  const std::size_t memory = std::size_t{DefaultTypeMgr(nullptr)->MemLenGet(id, 1)} * count;
  const auto values = std::make_shared<std::vector<unsigned char>>(memory);
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
#ifdef KV_BENCH_LMDB
  RegisterLookups();
#endif
  // Nullables have values here and no nulls: a flag of zero.
  const KvTypeMgr& types = *DefaultTypeMgr(nullptr);
  for (char id = 0; id < KvRES_T; ++id) {
    if (types.IsFixed(id)) RegisterFixed(id, types.NameGet(id, nullptr));
  }
  return true;
}();

}  // namespace
