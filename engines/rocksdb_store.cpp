// A log and sorted files: an embedded engine that is made for many writes. One process has the
// folder to itself, so conditions are checked under a lock of this process.
#include <rocksdb/cache.h>
#include <rocksdb/db.h>
#include <rocksdb/env.h>
#include <rocksdb/filter_policy.h>
#include <rocksdb/table.h>
#include <rocksdb/write_batch.h>

#include <cstdarg>
#include <filesystem>
#include <mutex>

#include "built_engines.h"

namespace engines {
namespace {

rocksdb::Slice AsSlice(std::string_view bytes) {
  return {bytes.data(), bytes.size()};
}

std::string_view AsView(const rocksdb::Slice& slice) {
  return {slice.data(), slice.size()};
}

void Require(const rocksdb::Status& status, const std::string& place) {
  if (status.ok()) return;
  const std::string what = status.ToString();
  // A file-size limit comes as a plain input/output error with the system's words.
  const bool full = status.IsNoSpace() || what.find("File too large") != std::string::npos;
  const Fault fault = full ? Fault::kFull : status.IsCorruption() ? Fault::kDamaged : Fault::kOther;
  throw StoreError(fault, "rocksdb:" + place + ": " + what);
}

class RocksDbSnapshot : public Snapshot {
 public:
  RocksDbSnapshot(rocksdb::DB& database, const std::string& place)
      : database_(database), place_(place) {
    options_.snapshot = database_.GetSnapshot();
  }
  ~RocksDbSnapshot() override { database_.ReleaseSnapshot(options_.snapshot); }

  std::optional<std::string> Get(std::string_view key) override {
    std::string value;
    const rocksdb::Status status = database_.Get(options_, AsSlice(key), &value);
    if (status.IsNotFound()) return std::nullopt;
    Require(status, place_);
    return value;
  }

  std::vector<std::optional<std::string>> GetMany(const std::vector<std::string>& keys) override {
    const std::vector<rocksdb::Slice> slices(keys.begin(), keys.end());
    std::vector<rocksdb::PinnableSlice> found(keys.size());
    std::vector<rocksdb::Status> statuses(keys.size());
    database_.MultiGet(options_, database_.DefaultColumnFamily(), keys.size(), slices.data(),
                       found.data(), statuses.data());
    std::vector<std::optional<std::string>> values(keys.size());
    for (std::size_t i = 0; i < keys.size(); ++i) {
      if (statuses[i].IsNotFound()) continue;
      Require(statuses[i], place_);
      values[i] = found[i].ToString();
    }
    return values;
  }

  void Scan(const Range& range, const Visit& visit) override {
    rocksdb::ReadOptions options = options_;
    const rocksdb::Slice from = AsSlice(range.from);
    const rocksdb::Slice end = AsSlice(range.end);
    options.iterate_lower_bound = &from;
    if (!range.end.empty()) options.iterate_upper_bound = &end;
    const std::unique_ptr<rocksdb::Iterator> at(database_.NewIterator(options));
    // The bounds are part of the iterator: its last entry is the last one of the range.
    range.descending ? at->SeekToLast() : at->SeekToFirst();
    for (std::size_t count = 0; count < range.limit && at->Valid(); ++count) {
      if (!visit(AsView(at->key()), AsView(at->value()))) return;
      range.descending ? at->Prev() : at->Next();
    }
    Require(at->status(), place_);
  }

 private:
  rocksdb::DB& database_;
  const std::string& place_;
  rocksdb::ReadOptions options_;
};

// The engine's own log says nothing that a status does not, and a library built with assertions
// stops the process when a line of it meets a full disk a second time.
class NoLog : public rocksdb::Logger {
 public:
  void Logv(const char*, va_list) override {}
  using rocksdb::Logger::Logv;
};

rocksdb::Options EngineOptions(const OpenOptions& wanted) {
  rocksdb::Options options;
  options.create_if_missing = wanted.create;
  options.IncreaseParallelism(2);
  // Most conditions are "nothing there yet": the filters answer those without a search.
  options.memtable_whole_key_filtering = true;
  options.memtable_prefix_bloom_size_ratio = 0.1;
  rocksdb::BlockBasedTableOptions table;
  table.filter_policy.reset(rocksdb::NewBloomFilterPolicy(10));
  // Filters and indexes go into it too: memory does not grow with the store.
  table.block_cache = rocksdb::NewLRUCache(std::size_t{64} << 20);
  table.cache_index_and_filter_blocks = true;
  options.table_factory.reset(rocksdb::NewBlockBasedTableFactory(table));
  options.info_log = std::make_shared<NoLog>();
  return options;
}

class RocksDbStore : public OrderedStore {
 public:
  RocksDbStore(const std::string& place, const OpenOptions& options) : place_(place) {
    namespace fs = std::filesystem;
    if (!options.create && !fs::exists(fs::path(place) / "CURRENT")) {
      throw StoreError(Fault::kBadUrl, "rocksdb:" + place + ": there is no store");
    }
    std::error_code error;
    fs::create_directories(place, error);
    if (error) throw StoreError(Fault::kBadUrl, "rocksdb:" + place + ": " + error.message());
    rocksdb::DB* opened = nullptr;
    Require(rocksdb::DB::Open(EngineOptions(options), place, &opened), place_);
    database_.reset(opened);
    write_.sync = options.durability == Durability::kMachine;
  }

  Limits GetLimits() const override {
    return {.keyBytes = kRocksDbKeyBytes,
            .valueBytes = 0xFFFFFFFF,
            .batchWrites = kUnlimited,
            // Larger ones are refused by the engine, whose lengths have 32 bits.
            .batchBytes = std::size_t{1} << 30,
            .atomicBatches = true};
  }

  std::unique_ptr<Snapshot> TakeSnapshot() override {
    return std::make_unique<RocksDbSnapshot>(*database_, place_);
  }

 protected:
  std::optional<std::size_t> ApplySorted(std::span<const Write* const> batch) override {
    // Writers without a condition take the lock too: between a check and its write nobody writes.
    const std::lock_guard lock(writing_);
    if (const auto failed = FirstFailed(batch)) return failed;
    rocksdb::WriteBatch writes;
    for (const Write* write : batch) {
      if (write->value) {
        Require(writes.Put(write->key, *write->value), place_);
      } else {
        Require(writes.Delete(write->key), place_);
      }
    }
    Require(database_->Write(write_, &writes), place_);
    return std::nullopt;
  }

 private:
  std::optional<std::size_t> FirstFailed(std::span<const Write* const> batch) {
    std::vector<std::size_t> conditional;
    std::vector<rocksdb::Slice> keys;
    for (std::size_t i = 0; i < batch.size(); ++i) {
      if (batch[i]->when == When::kAlways) continue;
      conditional.push_back(i);
      keys.emplace_back(batch[i]->key);
    }
    std::vector<rocksdb::PinnableSlice> found(keys.size());
    std::vector<rocksdb::Status> statuses(keys.size());
    database_->MultiGet({}, database_->DefaultColumnFamily(), keys.size(), keys.data(),
                        found.data(), statuses.data(), true);
    for (std::size_t i = 0; i < keys.size(); ++i) {
      if (!statuses[i].IsNotFound()) Require(statuses[i], place_);
      const Write& write = *batch[conditional[i]];
      const bool holds = write.when == When::kAbsent
                             ? statuses[i].IsNotFound()
                             : statuses[i].ok() && AsView(found[i]) == write.expected;
      if (!holds) return conditional[i];
    }
    return std::nullopt;
  }

  std::string place_;
  std::mutex writing_;
  rocksdb::WriteOptions write_;
  std::unique_ptr<rocksdb::DB> database_;
};

}  // namespace

std::unique_ptr<OrderedStore> OpenRocksDb(const std::string& place, const OpenOptions& options) {
  return std::make_unique<RocksDbStore>(place, options);
}

}  // namespace engines
