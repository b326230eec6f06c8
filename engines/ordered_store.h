// ordered_store.h - what typed records need of an engine: bytes under ordered byte keys.
//
// An OrderedStore maps keys to values. Both are bytes; keys are ordered as memcmp orders them, a
// key before every longer one that begins with it. A key has at least one byte, a value may be
// empty. Four engines stand behind it (see docs/engines.md):
//
//   lmdb:PATH               a folder of this machine, read through memory maps; the default
//   rocksdb:PATH            a folder of this machine, made for many writes
//   etcd:HOST:PORT,...      members that hold every byte each: no write is lost with one of them
//   postgresql:CONNINFO     a table, or range partitions of it on many servers: capacity
//
//   auto store = engines::OpenStore("lmdb:/var/lib/app/records", {.create = true});
//   store->Apply({{.key = "a", .value = "1", .when = engines::When::kAbsent}, {.key = "b"}});
//   store->TakeSnapshot()->Scan({.from = "a"}, [](auto key, auto value) { return true; });
//
// What goes wrong is a StoreError. Several threads may use a store at once; a snapshot belongs to
// one thread, and to the store that it came from, which must outlive it.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace engines {

// What an acknowledged write survives. A store that is damaged by the failure of a machine is no
// choice: with either, what is found afterwards is whole batches.
enum class Durability {
  kProcess,  // the end of this process, however it ends; not yet that of the machine
  kMachine,  // the failure of the machine: the engine has forced it to the disk
};

enum class Fault {
  kBadUrl,          // no such engine, not built here, or no such place
  kTooLarge,        // a key, a value or a batch that the engine does not take
  kBadBatch,        // an empty key, or the same key twice in a batch
  kUnavailable,     // the engine did not answer in time; nothing was written
  kOutcomeUnknown,  // it did not answer in time, and whether it wrote cannot be told any more
  kFull,            // no room on the disk, or a quota is used up; nothing was written
  kDamaged,         // what is stored is not what the engine wrote
  kOther,
};

class StoreError : public std::runtime_error {
 public:
  StoreError(Fault fault, const std::string& what) : std::runtime_error(what), fault_(fault) {}
  Fault Why() const { return fault_; }

 private:
  Fault fault_;
};

// The condition of a write: what its key must hold when the batch is applied.
enum class When {
  kAlways,
  kAbsent,  // nothing
  kEqual,   // the value `expected`
};

struct Write {
  std::string key = {};
  std::optional<std::string> value = {};  // none: the key is erased, if it is there
  When when = When::kAlways;
  std::string expected = {};
};

// All entries with from <= key < end.
struct Range {
  std::string from = {};
  std::string end = {};  // empty: no end
  bool descending = false;
  std::size_t limit = std::numeric_limits<std::size_t>::max();
};

// The range of all keys that begin with `prefix`.
Range WithPrefix(std::string prefix);

inline constexpr std::size_t kUnlimited = std::numeric_limits<std::size_t>::max();

struct Limits {
  std::size_t keyBytes;
  std::size_t valueBytes;
  std::size_t batchWrites;  // in one Apply
  std::size_t batchBytes;   // of keys, values and expected values in one Apply
  // False where the store is spread over servers without a common commit: a crash may then leave a
  // part of a batch. Whoever keeps more than one key in step orders its batches accordingly.
  bool atomicBatches;
};

// Takes an entry of a scan; false ends the scan. The bytes live until it returns.
using Visit = std::function<bool(std::string_view key, std::string_view value)>;

// Takes what stands under one of many keys: the key's place among them, and its value, null for
// none. False ends it. The bytes live until it returns.
using VisitFound = std::function<bool(std::size_t place, const std::string_view* value)>;

// The store at one moment. Holds resources of the engine (old pages, a transaction): not to be kept
// longer than needed.
class Snapshot {
 public:
  virtual ~Snapshot() = default;
  virtual std::optional<std::string> Get(std::string_view key) = 0;
  // A value for each key, in the order of the keys. One trip to the engine where it is far.
  virtual std::vector<std::optional<std::string>> GetMany(const std::vector<std::string>& keys);
  // The same without copies where the engine has the values at hand. `visit` may do what it may in
  // a scan.
  virtual void GetEach(const std::vector<std::string>& keys, const VisitFound& visit);
  // Calls `visit` for the entries of the range in order, in memory of a fixed size. `visit` may
  // read from this snapshot and write to the store.
  virtual void Scan(const Range& range, const Visit& visit) = 0;
};

class OrderedStore {
 public:
  OrderedStore() = default;
  virtual ~OrderedStore() = default;
  OrderedStore(const OrderedStore&) = delete;
  OrderedStore& operator=(const OrderedStore&) = delete;

  virtual Limits GetLimits() const = 0;

  virtual std::unique_ptr<Snapshot> TakeSnapshot() = 0;
  virtual std::optional<std::string> Get(std::string_view key) { return TakeSnapshot()->Get(key); }

  // Writes all of the batch or nothing (see Limits::atomicBatches). Nothing is written when the
  // condition of a write does not hold: the result is then the index of one such write. The keys of
  // a batch differ from each other. When it returns, the batch is as durable as the store was
  // opened for, and every later snapshot sees it.
  std::optional<std::size_t> Apply(const std::vector<Write>& batch);

  void Put(std::string key, std::string value);
  void Erase(std::string key);
  // `expected` none: the key must be absent; `desired` none: it is erased. True when it was done.
  // Of several that expect the same value exactly one succeeds.
  bool CompareAndSet(std::string key, std::optional<std::string> expected,
                     std::optional<std::string> desired);

 protected:
  // `batch` is within the limits, in ascending order of its keys, which differ. The result is a
  // position in it.
  virtual std::optional<std::size_t> ApplySorted(std::span<const Write* const> batch) = 0;

 private:
  void CheckSizes(const std::vector<Write>& batch) const;
};

struct OpenOptions {
  bool create = false;  // makes the store where there is none; else that is a fault
  Durability durability = Durability::kMachine;
  // How long an engine on other machines may keep silent, or be without a leader, before that is a
  // fault. An embedded engine answers at once.
  std::chrono::milliseconds patience{10000};
};

// Opens the store that a URL names.
std::unique_ptr<OrderedStore> OpenStore(const std::string& url, const OpenOptions& options);

// The longest key that the engine of a URL takes, known without opening a store. Faults as
// OpenStore.
std::size_t LongestKey(const std::string& url);

// The engines that this program was built with, by the beginning of their URLs ("lmdb").
std::vector<std::string> BuiltEngines();

}  // namespace engines
