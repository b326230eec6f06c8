// Hashes beside the plain loops that one would write, and the order of an LMDB index kept by the
// type manager beside LMDB's own.

#include <cstring>
#include <memory>
#include <string>

#include "kv.h"
#include "pair.h"

#ifdef KV_BENCH_LMDB
#include <lmdb.h>

#include <filesystem>
#include <random>
#endif

// The peers are compiled for speed whatever the build: their loops are to come out as vectors.
#if defined(__GNUC__) && !defined(__clang__)
#define BENCH_VECTORISED __attribute__((noinline, optimize("O3")))
#else
#define BENCH_VECTORISED __attribute__((noinline))
#endif

namespace {

KvTypeMgr& Types() {
  return *DefaultTypeMgr(nullptr);
}

// ---------------------------------------------------------------------------------------------
// Runs of numbers

template <class T>
BENCH_VECTORISED T XorAll(const T* values, unsigned count) {
  T all = 0;
  for (unsigned i = 0; i < count; ++i) all = static_cast<T>(all ^ values[i]);
  return all;
}

template <class T>
void RegisterRun(char id, unsigned count) {
  auto values = std::make_shared<std::vector<T>>(count);
  for (unsigned i = 0; i < count; ++i) (*values)[i] = static_cast<T>(i * 2654435761u);
  const auto hash = [=](unsigned char format) {
    return [=] {
      int status;
      benchmark::DoNotOptimize(Types().Hash(id, 0, values->data(), count, format, status));
    };
  };
  const auto loop = [=] { benchmark::DoNotOptimize(XorAll(values->data(), count)); };
  const std::string label =
      std::string("hash ") + Types().NameGet(id, nullptr) + " x " + std::to_string(count);
  bench::Pair(label, "plain XOR loop", 0.8, hash(8), loop);
  bench::Pair(label + " reversed", "plain XOR loop", 0.4, hash(2), loop);
}

// ---------------------------------------------------------------------------------------------
// Texts

template <class Unit>
BENCH_VECTORISED unsigned MultiplyAdd(const Unit* text, unsigned length) {
  unsigned hash = 0;
  for (unsigned i = 0; i < length; ++i) hash = hash * 9 + static_cast<unsigned>(text[i]);
  return hash;
}

void RegisterTexts() {
  constexpr unsigned short kLength = 30000;
  auto bytes = std::make_shared<KvString>(std::string(kLength, 'k').c_str());
  bench::Pair(
      "HashKvString of 30000 bytes", "plain multiply-add loop", 1,
      [=] { benchmark::DoNotOptimize(HashKvString(*bytes)); },
      [=] { benchmark::DoNotOptimize(MultiplyAdd(bytes->StrGet(), bytes->Len())); });
  auto wide = std::make_shared<KvString>(*bytes);
  wide->MapToCodeSet(kvCodeSetUnicode);
  bench::Pair(
      "HashKvString of 30000 16-bit characters", "plain multiply-add loop", 1,
      [=] { benchmark::DoNotOptimize(HashKvString(*wide)); },
      [=] {
        benchmark::DoNotOptimize(MultiplyAdd(
            static_cast<const unsigned short*>(static_cast<const void*>(wide->StrGet())), kLength));
      });
}

// ---------------------------------------------------------------------------------------------
// Lookups in an index

#ifdef KV_BENCH_LMDB

// The row's own function, got once: LMDB compares some twenty keys a lookup.
KvCompareFunc compareValues;

template <unsigned char format>
int CompareKeys(const MDB_val* a, const MDB_val* b) {
  int status;
  return compareValues(format, 0, a->mv_data, 0, b->mv_data, 0, 1, status);
}

// The same 4-byte keys in two databases, one ordered by us and one by LMDB itself.
class TwoIndexes {
 public:
  static constexpr unsigned kKeys = 200000;
  static constexpr unsigned kLookups = 1024;

  TwoIndexes(unsigned peerFlags, MDB_cmp_func* compare, bool reversed) {
    std::string folder = (std::filesystem::temp_directory_path() / "bench_hash.XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) return;
    std::mt19937 random(1);
    for (unsigned i = 0; i < kKeys; ++i) {
      const auto key = static_cast<unsigned>(random());
      keys_.push_back(reversed ? __builtin_bswap32(key) : key);
    }
    mdb_env_create(&environment_);
    mdb_env_set_mapsize(environment_, std::size_t{1} << 28);
    mdb_env_set_maxdbs(environment_, 2);
    mdb_env_open(environment_, folder.c_str(), MDB_NOSYNC | MDB_NOLOCK, 0600);
    mdb_txn_begin(environment_, nullptr, 0, &transaction_);
    mdb_dbi_open(transaction_, "peer", MDB_CREATE | peerFlags, &peer_);
    mdb_dbi_open(transaction_, "ours", MDB_CREATE, &ours_);
    mdb_set_compare(transaction_, ours_, compare);
    for (unsigned& each : keys_) {
      MDB_val key{sizeof each, &each};
      MDB_val data{sizeof each, &each};
      mdb_put(transaction_, peer_, &key, &data, 0);
      mdb_put(transaction_, ours_, &key, &data, 0);
    }
    mdb_txn_commit(transaction_);
    mdb_txn_begin(environment_, nullptr, MDB_RDONLY, &transaction_);
    // The file stays mapped without its name.
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
  }
  ~TwoIndexes() {
    mdb_txn_abort(transaction_);
    mdb_env_close(environment_);
  }
  TwoIndexes(const TwoIndexes&) = delete;
  TwoIndexes& operator=(const TwoIndexes&) = delete;

  void LookUpOurs() { LookUp(ours_); }
  void LookUpPeers() { LookUp(peer_); }

 private:
  void LookUp(MDB_dbi database) {
    for (unsigned i = 0; i < kLookups; ++i) {
      MDB_val key{sizeof keys_[0], &keys_[next_]};
      MDB_val data;
      if (mdb_get(transaction_, database, &key, &data) != MDB_SUCCESS) std::abort();
      benchmark::DoNotOptimize(data.mv_data);
      next_ = (next_ + 7919) % kKeys;
    }
  }

  std::vector<unsigned> keys_;
  unsigned next_ = 0;
  MDB_env* environment_ = nullptr;
  MDB_txn* transaction_ = nullptr;
  MDB_dbi peer_ = 0;
  MDB_dbi ours_ = 0;
};

void RegisterLookups(char id, const char* peer, unsigned peerFlags, MDB_cmp_func* compare,
                     bool reversed, double goal) {
  auto made = std::make_shared<std::unique_ptr<TwoIndexes>>();
  // Filled when first looked at, so that a filtered run does not wait for it.
  const auto indexes = [=]() -> TwoIndexes& {
    compareValues = Types().CmpFuncPtrGet(id);
    if (*made == nullptr) *made = std::make_unique<TwoIndexes>(peerFlags, compare, reversed);
    return **made;
  };
  bench::Pair(
      std::string("index lookup of ") + Types().NameGet(id, nullptr) +
          (reversed ? " reversed" : ""),
      peer, goal, [=] { indexes().LookUpOurs(); }, [=] { indexes().LookUpPeers(); },
      TwoIndexes::kLookups);
}

#endif

const bool registered = [] {
  constexpr unsigned kCount = 1048576;
  RegisterRun<unsigned>(Kv4B_T, kCount);
  RegisterRun<unsigned>(Kv4B_T, 1024);
  RegisterRun<unsigned short>(Kv2B_T, kCount);
  RegisterRun<unsigned char>(KvU1B_T, kCount);
  RegisterRun<o_u8b>(KvDOUBLE_T, kCount);
  RegisterTexts();
#ifdef KV_BENCH_LMDB
  RegisterLookups(KvU4B_T, "LMDB's integer keys", MDB_INTEGERKEY, CompareKeys<0>, false, 0.9);
  RegisterLookups(KvU4B_T, "LMDB's byte keys", 0, CompareKeys<2>, true, 1);
#endif
  return true;
}();

}  // namespace
