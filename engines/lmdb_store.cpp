// The embedded default: one file that is mapped into memory, read without a copy and without a
// lock, written by one transaction at a time.
//
// Two traps of the engine. A process may open a file once only, because closing one of two would
// drop the locks of both. And the map has a size that cannot grow while somebody reads, so it is
// made as large as the address space allows at once; the file itself stays as large as its pages.
#include <lmdb.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>

#include "built_engines.h"

namespace engines {
namespace {

constexpr std::size_t kLargestMap = std::size_t{1} << 40;
constexpr std::size_t kLeastSpace = 1 << 16;
constexpr std::size_t kSmallestMap = std::size_t{1} << 30;

MDB_val AsValue(std::string_view bytes) {
  return {bytes.size(), const_cast<char*>(bytes.data())};
}

std::string_view AsView(const MDB_val& value) {
  return {static_cast<const char*>(value.mv_data), value.mv_size};
}

Fault FaultOf(int status) {
  switch (status) {
    case ENOSPC:
    case EFBIG:
    case EDQUOT:
    case MDB_MAP_FULL:
      return Fault::kFull;
    case MDB_CORRUPTED:
    case MDB_PAGE_NOTFOUND:
    case MDB_INVALID:
    case MDB_VERSION_MISMATCH:
      return Fault::kDamaged;
    case MDB_BAD_VALSIZE:
    case MDB_TXN_FULL:
      return Fault::kTooLarge;
    default:
      return Fault::kOther;
  }
}

bool IsFull(const std::string& place) {
  std::error_code error;
  const auto space = std::filesystem::space(place, error);
  return !error && space.available < kLeastSpace;
}

// A transaction that is gone with the object unless it was committed.
class Transaction {
 public:
  Transaction(MDB_env* environment, unsigned flags, const std::string& place) : place_(place) {
    Require(mdb_txn_begin(environment, nullptr, flags, &handle_));
  }
  ~Transaction() {
    if (handle_ != nullptr) mdb_txn_abort(handle_);
  }
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  MDB_txn* Handle() const { return handle_; }
  void Require(int status) const {
    if (status == MDB_SUCCESS) return;
    // A page of which the disk took only a part is an input/output error to the engine.
    if (status == EIO && IsFull(place_)) status = ENOSPC;
    throw StoreError(FaultOf(status), "lmdb:" + place_ + ": " + mdb_strerror(status));
  }
  void Commit() { Require(mdb_txn_commit(std::exchange(handle_, nullptr))); }

 private:
  const std::string& place_;
  MDB_txn* handle_ = nullptr;
};

class Cursor {
 public:
  Cursor(const Transaction& transaction, MDB_dbi database) {
    transaction.Require(mdb_cursor_open(transaction.Handle(), database, &handle_));
  }
  ~Cursor() { mdb_cursor_close(handle_); }
  Cursor(const Cursor&) = delete;
  Cursor& operator=(const Cursor&) = delete;
  MDB_cursor* Handle() const { return handle_; }

 private:
  MDB_cursor* handle_ = nullptr;
};

class LmdbSnapshot : public Snapshot {
 public:
  LmdbSnapshot(MDB_env* environment, MDB_dbi database, const std::string& place)
      : database_(database), transaction_(environment, MDB_RDONLY, place) {}

  std::optional<std::string> Get(std::string_view key) override {
    std::string_view value;
    return Find(key, value) ? std::optional<std::string>(value) : std::nullopt;
  }

  void GetEach(const std::vector<std::string>& keys, const VisitFound& visit) override {
    std::string_view value;
    for (std::size_t i = 0; i < keys.size(); ++i) {
      if (!visit(i, Find(keys[i], value) ? &value : nullptr)) return;
    }
  }

  void Scan(const Range& range, const Visit& visit) override {
    const Cursor cursor(transaction_, database_);
    MDB_val key;
    MDB_val value;
    int status =
        range.descending ? Last(cursor, range, key, value) : First(cursor, range, key, value);
    const MDB_cursor_op next = range.descending ? MDB_PREV : MDB_NEXT;
    for (std::size_t count = 0; count < range.limit && status == MDB_SUCCESS; ++count) {
      const std::string_view at = AsView(key);
      if (range.descending ? at < range.from : !range.end.empty() && at >= range.end) return;
      if (!visit(at, AsView(value))) return;
      status = mdb_cursor_get(cursor.Handle(), &key, &value, next);
    }
    if (status != MDB_NOTFOUND) transaction_.Require(status);
  }

 private:
  bool Find(std::string_view key, std::string_view& value) const {
    MDB_val wanted = AsValue(key);
    MDB_val found;
    const int status = mdb_get(transaction_.Handle(), database_, &wanted, &found);
    // A key that is too long for the engine is in no store.
    if (status == MDB_NOTFOUND || status == MDB_BAD_VALSIZE) return false;
    transaction_.Require(status);
    value = AsView(found);
    return true;
  }

  static int First(const Cursor& cursor, const Range& range, MDB_val& key, MDB_val& value) {
    key = AsValue(range.from);
    return mdb_cursor_get(cursor.Handle(), &key, &value,
                          range.from.empty() ? MDB_FIRST : MDB_SET_RANGE);
  }

  // The last key before the end of the range: the one before the first that is not in it.
  static int Last(const Cursor& cursor, const Range& range, MDB_val& key, MDB_val& value) {
    if (!range.end.empty()) {
      key = AsValue(range.end);
      const int status = mdb_cursor_get(cursor.Handle(), &key, &value, MDB_SET_RANGE);
      if (status == MDB_SUCCESS) return mdb_cursor_get(cursor.Handle(), &key, &value, MDB_PREV);
      if (status != MDB_NOTFOUND) return status;
    }
    return mdb_cursor_get(cursor.Handle(), &key, &value, MDB_LAST);
  }

  MDB_dbi database_;
  Transaction transaction_;
};

class LmdbStore : public OrderedStore {
 public:
  LmdbStore(const std::string& place, const OpenOptions& options) : place_(place) {
    PrepareFolder(options.create);
    // Snapshots are not bound to threads. Where the machine may take the last writes with it the
    // data is still forced before the page that points to it, so that what is found is whole.
    unsigned flags = MDB_NOTLS;
    if (options.durability == Durability::kProcess) flags |= MDB_NOMETASYNC;
    OpenEnvironment(flags);
    mdb_reader_check(environment_, nullptr);
    Transaction transaction(environment_, 0, place_);
    transaction.Require(mdb_dbi_open(transaction.Handle(), nullptr, 0, &database_));
    transaction.Commit();
  }

  ~LmdbStore() override { mdb_env_close(environment_); }

  Limits GetLimits() const override {
    return {.keyBytes = static_cast<std::size_t>(mdb_env_get_maxkeysize(environment_)),
            .valueBytes = 0xFFFFFFFF,
            .batchWrites = kUnlimited,
            .batchBytes = kUnlimited,
            .atomicBatches = true};
  }

  std::unique_ptr<Snapshot> TakeSnapshot() override {
    return std::make_unique<LmdbSnapshot>(environment_, database_, place_);
  }

 protected:
  std::optional<std::size_t> ApplySorted(std::span<const Write* const> batch) override {
    Transaction transaction(environment_, 0, place_);
    {
      // One cursor for all: from key to key it seldom leaves its page.
      const Cursor cursor(transaction, database_);
      for (std::size_t i = 0; i < batch.size(); ++i) {
        if (!WriteOne(transaction, cursor, *batch[i])) return i;
      }
    }
    transaction.Commit();
    return std::nullopt;
  }

 private:
  void PrepareFolder(bool create) {
    namespace fs = std::filesystem;
    const bool isThere = fs::exists(fs::path(place_) / "data.mdb");
    if (!isThere && !create) {
      throw StoreError(Fault::kBadUrl, "lmdb:" + place_ + ": there is no store");
    }
    std::error_code error;
    fs::create_directories(place_, error);
    if (error) throw StoreError(Fault::kBadUrl, "lmdb:" + place_ + ": " + error.message());
  }

  void OpenEnvironment(unsigned flags) {
    int status = MDB_SUCCESS;
    for (std::size_t size = kLargestMap; size >= kSmallestMap; size /= 4) {
      status = mdb_env_create(&environment_);
      if (status == MDB_SUCCESS) status = mdb_env_set_mapsize(environment_, size);
      if (status == MDB_SUCCESS) status = mdb_env_open(environment_, place_.c_str(), flags, 0640);
      if (status == MDB_SUCCESS) return;
      mdb_env_close(std::exchange(environment_, nullptr));
      if (status != ENOMEM) break;  // no other failure is about the size of the map
    }
    throw StoreError(FaultOf(status), "lmdb:" + place_ + ": " + mdb_strerror(status));
  }

  // False when the condition of the write does not hold.
  bool WriteOne(const Transaction& transaction, const Cursor& cursor, const Write& write) {
    MDB_val key = AsValue(write.key);
    MDB_val found;
    if (write.value && write.when != When::kEqual) {
      MDB_val value = AsValue(*write.value);
      const unsigned flags = write.when == When::kAbsent ? MDB_NOOVERWRITE : 0;
      const int status = mdb_cursor_put(cursor.Handle(), &key, &value, flags);
      if (status == MDB_KEYEXIST) return false;
      transaction.Require(status);
      return true;
    }
    const int status = mdb_cursor_get(cursor.Handle(), &key, &found, MDB_SET);
    if (status != MDB_NOTFOUND) transaction.Require(status);
    const bool isThere = status == MDB_SUCCESS;
    if (write.when == When::kAbsent) return !isThere;  // erasing what must not be there
    if (write.when == When::kEqual && (!isThere || AsView(found) != write.expected)) return false;
    if (write.value) {
      MDB_val value = AsValue(*write.value);
      transaction.Require(mdb_cursor_put(cursor.Handle(), &key, &value, 0));
    } else if (isThere) {
      transaction.Require(mdb_cursor_del(cursor.Handle(), 0));
    }
    return true;
  }

  std::string place_;
  MDB_env* environment_ = nullptr;
  MDB_dbi database_ = 0;
};

}  // namespace

std::unique_ptr<OrderedStore> OpenLmdb(const std::string& place, const OpenOptions& options) {
  return std::make_unique<LmdbStore>(place, options);
}

}  // namespace engines
