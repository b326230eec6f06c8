// A table of two columns of bytes, on one server or spread over many as range partitions:
//
//   kv_store (k bytea PRIMARY KEY, v bytea NOT NULL)
//
// Where the table is partitioned already, by `k`, that is taken as it is. A partition on another
// server (postgres_fdw) commits by itself, before or after the others: batches are then not atomic.
//
// New entries come in by COPY where the table is here and by rows in arrays where it is not; what
// that finds taken is done again by looking first. A commit whose answer is lost is asked after by
// the number of its transaction.
#include <libpq-fe.h>

#include <algorithm>
#include <initializer_list>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

#include "built_engines.h"

namespace engines {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr std::size_t kBatchBytes = std::size_t{256} << 20;  // a statement has at most 1 GB
constexpr std::size_t kValueBytes = std::size_t{128} << 20;

constexpr std::size_t kPageBytes = std::size_t{1} << 20;
constexpr std::size_t kFirstPage = 64;
constexpr std::size_t kLargestPage = 8192;

constexpr Oid kBytea = 17;
constexpr Oid kByteaArray = 1001;

constexpr const char* kUniqueViolation = "23505";
constexpr const char* kNoTable = "42P01";
constexpr const char* kSerializationFailure = "40001";
constexpr const char* kDeadlock = "40P01";

using Result = std::unique_ptr<PGresult, decltype(&PQclear)>;

// The failure of a statement, before it is known what that means for the store.
struct SqlError {
  std::string state;  // five characters; empty: the connection is gone
  std::string what;

  bool IsConnection() const { return state.empty() || state.starts_with("08") || state == "57P01"; }
  bool IsConflict() const { return state == kSerializationFailure || state == kDeadlock; }
};

std::string OneLine(std::string text) {
  while (!text.empty() && text.back() == '\n') text.pop_back();
  std::replace(text.begin(), text.end(), '\n', ' ');
  std::replace(text.begin(), text.end(), '\t', ' ');
  return text;
}

template <class Number>
void AppendBigEndian(std::string& bytes, Number number) {
  for (unsigned shift = 8 * sizeof(Number); shift > 0;) {
    shift -= 8;
    bytes += static_cast<char>(number >> shift & 0xFF);
  }
}

void AppendSized(std::string& bytes, std::string_view value) {
  AppendBigEndian(bytes, static_cast<unsigned>(value.size()));
  bytes += value;
}

// A bytea[] in binary form: dimensions, no nulls, element type, elements, first index; then each
// with its length.
template <class Items, class Take>
std::string ByteaArray(const Items& items, const Take& take) {
  std::string bytes;
  for (const unsigned number : {1U, 0U, kBytea, static_cast<unsigned>(std::size(items)), 1U}) {
    AppendBigEndian(bytes, number);
  }
  for (const auto& item : items) AppendSized(bytes, take(item));
  return bytes;
}

std::string_view Field(const PGresult* result, int row, int column) {
  return {PQgetvalue(result, row, column),
          static_cast<std::size_t>(PQgetlength(result, row, column))};
}

class Connection {
 public:
  Connection(const std::string& conninfo, milliseconds patience) {
    const std::string seconds = std::to_string(std::max<long long>(patience.count() / 1000, 2));
    const std::string silence = std::to_string(patience.count());
    const char* names[] = {"connect_timeout", "tcp_user_timeout", "client_encoding", "dbname",
                           nullptr};
    const char* values[] = {seconds.c_str(), silence.c_str(), "UTF8", conninfo.c_str(), nullptr};
    // What the conninfo says overrides what stands before it.
    handle_ = PQconnectdbParams(names, values, 1);
    if (PQstatus(handle_) != CONNECTION_OK) {
      SqlError error{"", OneLine(PQerrorMessage(handle_))};
      PQfinish(handle_);
      throw error;
    }
    PQsetNoticeProcessor(
        handle_, [](void*, const char*) {}, nullptr);
    try {
      Run("SET lock_timeout = " + silence);
    } catch (const SqlError&) {
      PQfinish(handle_);
      throw;
    }
  }
  ~Connection() { PQfinish(handle_); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  bool IsAlive() const { return PQstatus(handle_) == CONNECTION_OK; }
  bool IsIdle() const { return IsAlive() && PQtransactionStatus(handle_) == PQTRANS_IDLE; }

  Result Run(const std::string& statement) { return Checked(PQexec(handle_, statement.c_str())); }

  // A statement that is prepared when it is met first. Parameters and results are binary.
  Result Run(const std::string& statement, std::initializer_list<std::string_view> parameters,
             Oid type) {
    std::vector<Oid> types(parameters.size(), type);
    const auto count = static_cast<int>(parameters.size());
    const auto [at, isNew] =
        prepared_.try_emplace(statement, "s" + std::to_string(prepared_.size()));
    if (isNew) {
      try {
        Checked(PQprepare(handle_, at->second.c_str(), statement.c_str(), count, types.data()));
      } catch (const SqlError&) {
        prepared_.erase(at);
        throw;
      }
    }
    std::vector<const char*> values;
    std::vector<int> sizes;
    for (const std::string_view parameter : parameters) {
      values.push_back(parameter.data());
      sizes.push_back(static_cast<int>(parameter.size()));
    }
    const std::vector<int> binary(parameters.size(), 1);
    return Checked(PQexecPrepared(handle_, at->second.c_str(), count, values.data(), sizes.data(),
                                  binary.data(), 1));
  }

  // The same without preparing it: a DECLARE is met once.
  Result RunOnce(const std::string& statement, const std::vector<std::string_view>& parameters) {
    const std::vector<Oid> types(parameters.size(), kBytea);
    std::vector<const char*> values;
    std::vector<int> sizes;
    for (const std::string_view parameter : parameters) {
      // A null pointer would be a null value.
      values.push_back(parameter.data() == nullptr ? "" : parameter.data());
      sizes.push_back(static_cast<int>(parameter.size()));
    }
    const std::vector<int> binary(parameters.size(), 1);
    return Checked(PQexecParams(handle_, statement.c_str(), static_cast<int>(parameters.size()),
                                types.data(), values.data(), sizes.data(), binary.data(), 1));
  }

  void Copy(const std::string& statement, const std::string& bytes) {
    Checked(PQexec(handle_, statement.c_str()), PGRES_COPY_IN);
    const bool sent = PQputCopyData(handle_, bytes.data(), static_cast<int>(bytes.size())) == 1 &&
                      PQputCopyEnd(handle_, nullptr) == 1;
    Result result = sent ? Result(PQgetResult(handle_), PQclear) : Result(nullptr, PQclear);
    while (PGresult* more = PQgetResult(handle_)) PQclear(more);
    Checked(result.release());
  }

  void Rollback() noexcept { PQclear(PQexec(handle_, "ROLLBACK")); }

 private:
  Result Checked(PGresult* raw, ExecStatusType expected = PGRES_COMMAND_OK) {
    Result result(raw, PQclear);
    const ExecStatusType status = PQresultStatus(raw);
    if (status == expected || status == PGRES_TUPLES_OK) return result;
    if (raw == nullptr || !IsAlive()) throw SqlError{"", OneLine(PQerrorMessage(handle_))};
    const auto part = [&](int field) {
      const char* text = PQresultErrorField(raw, field);
      return std::string(text == nullptr ? "" : text);
    };
    SqlError error{part(PG_DIAG_SQLSTATE), part(PG_DIAG_MESSAGE_PRIMARY)};
    if (error.state.empty()) error.state = "XX000";
    // Which server of many could not be reached stands in the details.
    const std::string detail = part(PG_DIAG_MESSAGE_DETAIL);
    if (error.state.starts_with("08") && !detail.empty()) error.what += ": " + detail;
    error.what = OneLine(error.what);
    throw error;
  }

  PGconn* handle_ = nullptr;
  std::map<std::string, std::string> prepared_;
};

// Where the table is, and connections to it that wait for work.
class Server {
 public:
  Server(std::string conninfo, milliseconds patience)
      : conninfo_(std::move(conninfo)), patience_(patience) {
    char* wrong = nullptr;
    PQconninfoOption* options = PQconninfoParse(conninfo_.c_str(), &wrong);
    if (options == nullptr) {
      const std::string what = OneLine(wrong == nullptr ? "not understood" : wrong);
      PQfreemem(wrong);
      throw StoreError(Fault::kBadUrl, "postgresql: " + what);
    }
    place_ = "postgresql:";
    // Not the whole conninfo: it may hold a password.
    for (const PQconninfoOption* at = options; at->keyword != nullptr; ++at) {
      const std::string_view keyword = at->keyword;
      if (at->val == nullptr || (keyword != "host" && keyword != "port" && keyword != "dbname")) {
        continue;
      }
      place_ += (place_.ends_with(':') ? "" : " ") + std::string(keyword) + "=" + at->val;
    }
    PQconninfoFree(options);
  }

  milliseconds Patience() const { return patience_; }

  std::unique_ptr<Connection> Borrow() {
    {
      const std::lock_guard guard(lock_);
      while (!idle_.empty()) {
        std::unique_ptr<Connection> connection = std::move(idle_.back());
        idle_.pop_back();
        if (connection->IsIdle()) return connection;
      }
    }
    return std::make_unique<Connection>(conninfo_, patience_);
  }

  void Return(std::unique_ptr<Connection> connection) {
    if (connection == nullptr || !connection->IsIdle()) return;
    const std::lock_guard guard(lock_);
    idle_.push_back(std::move(connection));
  }

  [[noreturn]] void Fail(const SqlError& error, Fault otherwise = Fault::kOther) const {
    Fault fault = otherwise;
    if (error.IsConnection()) fault = Fault::kUnavailable;
    if (error.state == "53100" || error.state == "53200") fault = Fault::kFull;
    if (error.state == kNoTable) fault = Fault::kBadUrl;
    if (error.state == "54000") fault = Fault::kTooLarge;
    if (error.state == "XX001" || error.state == "XX002") fault = Fault::kDamaged;
    throw StoreError(fault, place_ + ": " + error.what);
  }

  // Calls `attempt` until it does not fail for a reason that passes: a lost connection, a conflict
  // with another writer. Patience ends it.
  template <class Attempt>
  auto Persist(const Attempt& attempt) const {
    const Clock::time_point end = Clock::now() + patience_;
    for (milliseconds pause{5};; pause = std::min(pause * 2, milliseconds{500})) {
      try {
        return attempt();
      } catch (const SqlError& error) {
        const bool passes =
            error.IsConnection() || error.IsConflict() || error.state == kUniqueViolation;
        if (!passes || Clock::now() + pause >= end) Fail(error);
      }
      std::this_thread::sleep_for(pause);
    }
  }

 private:
  std::string conninfo_;
  milliseconds patience_;
  std::string place_;
  std::mutex lock_;
  std::vector<std::unique_ptr<Connection>> idle_;
};

class PostgreSqlSnapshot : public Snapshot {
 public:
  explicit PostgreSqlSnapshot(Server& server) : server_(server) {
    // An idle connection may have died unnoticed; the next one is then new.
    server_.Persist([&] {
      connection_ = server_.Borrow();
      connection_->Run("BEGIN ISOLATION LEVEL REPEATABLE READ READ ONLY");
    });
  }
  ~PostgreSqlSnapshot() override {
    connection_->Rollback();
    server_.Return(std::move(connection_));
  }

  std::optional<std::string> Get(std::string_view key) override {
    return Guarded([&]() -> std::optional<std::string> {
      const Result found = connection_->Run("SELECT v FROM kv_store WHERE k = $1", {key}, kBytea);
      if (PQntuples(found.get()) == 0) return std::nullopt;
      return std::string(Field(found.get(), 0, 0));
    });
  }

  std::vector<std::optional<std::string>> GetMany(const std::vector<std::string>& keys) override {
    return Guarded([&] {
      const std::string array = ByteaArray(keys, [](const std::string& key) { return key; });
      const Result found =
          connection_->Run("SELECT k, v FROM kv_store WHERE k = ANY ($1)", {array}, kByteaArray);
      std::map<std::string_view, int> rows;
      for (int row = 0; row < PQntuples(found.get()); ++row) {
        rows.emplace(Field(found.get(), row, 0), row);
      }
      std::vector<std::optional<std::string>> values;
      for (const std::string& key : keys) {
        const auto at = rows.find(key);
        values.push_back(at == rows.end()
                             ? std::nullopt
                             : std::optional(std::string(Field(found.get(), at->second, 1))));
      }
      return values;
    });
  }

  void Scan(const Range& range, const Visit& visit) override {
    if (range.limit == 0) return;
    const std::string cursor = "c" + std::to_string(cursors_++);
    Guarded([&] { Declare(cursor, range); });
    for (std::size_t size = kFirstPage;;) {
      const Result page = Guarded(
          [&] { return connection_->Run("FETCH " + std::to_string(size) + " FROM " + cursor); });
      const int rows = PQntuples(page.get());
      std::size_t bytes = 0;
      for (int row = 0; row < rows; ++row) {
        const std::string_view key = Field(page.get(), row, 0);
        const std::string_view value = Field(page.get(), row, 1);
        bytes += key.size() + value.size();
        if (!visit(key, value)) return Close(cursor);
      }
      if (static_cast<std::size_t>(rows) < size) return Close(cursor);
      if (bytes > kPageBytes) size = std::max<std::size_t>(size / 4, 1);
      if (bytes < kPageBytes / 4) size = std::min(size * 4, kLargestPage);
    }
  }

 private:
  template <class Body>
  auto Guarded(const Body& body) -> decltype(body()) {
    try {
      return body();
    } catch (const SqlError& error) {
      server_.Fail(error);
    }
  }

  void Declare(const std::string& cursor, const Range& range) {
    std::string statement =
        "DECLARE " + cursor + " BINARY NO SCROLL CURSOR FOR SELECT k, v FROM kv_store";
    std::vector<std::string_view> parameters;
    if (!range.from.empty()) {
      parameters.emplace_back(range.from);
      statement += " WHERE k >= $1";
    }
    if (!range.end.empty()) {
      parameters.emplace_back(range.end);
      statement += (parameters.size() == 1 ? " WHERE" : " AND") + std::string(" k < $") +
                   std::to_string(parameters.size());
    }
    statement += range.descending ? " ORDER BY k DESC" : " ORDER BY k";
    if (range.limit < (std::size_t{1} << 62)) statement += " LIMIT " + std::to_string(range.limit);
    connection_->RunOnce(statement, parameters);
  }

  void Close(const std::string& cursor) {
    Guarded([&] { connection_->Run("CLOSE " + cursor); });
  }

  Server& server_;
  std::unique_ptr<Connection> connection_;
  unsigned cursors_ = 0;
};

using Batch = std::span<const Write* const>;

class PostgreSqlStore : public OrderedStore {
 public:
  PostgreSqlStore(const std::string& conninfo, const OpenOptions& options)
      : server_(conninfo, options.patience) {
    server_.Persist([&] {
      auto connection = server_.Borrow();
      if (options.create) {
        connection->Run(
            "CREATE TABLE IF NOT EXISTS kv_store (k bytea PRIMARY KEY, v bytea NOT NULL)");
      }
      const Result found = connection->Run(
          "SELECT EXISTS (SELECT FROM pg_inherits JOIN pg_class ON pg_class.oid = inhrelid"
          " WHERE inhparent = table_id AND relkind = 'f')"
          " FROM to_regclass('kv_store') AS table_id WHERE table_id IS NOT NULL");
      if (PQntuples(found.get()) == 0) {
        throw SqlError{kNoTable, "there is no table kv_store"};
      }
      isSpread_ = Field(found.get(), 0, 0) == "t";
      server_.Return(std::move(connection));
    });
    begin_ = options.durability == Durability::kMachine
                 ? "BEGIN; SELECT pg_current_xact_id()::text"
                 : "BEGIN; SET LOCAL synchronous_commit = off; SELECT pg_current_xact_id()::text";
  }

  Limits GetLimits() const override {
    return {.keyBytes = kPostgreSqlKeyBytes,
            .valueBytes = kValueBytes,
            .batchWrites = kUnlimited,
            .batchBytes = kBatchBytes,
            .atomicBatches = !isSpread_};
  }

  std::unique_ptr<Snapshot> TakeSnapshot() override {
    return std::make_unique<PostgreSqlSnapshot>(server_);
  }

 protected:
  std::optional<std::size_t> ApplySorted(Batch batch) override {
    const bool onlyNew = std::all_of(batch.begin(), batch.end(), [](const Write* write) {
      return write->value && write->when != When::kEqual;
    });
    // Over servers there is no statement that puts a row in another one's place.
    const bool overwrites = std::any_of(batch.begin(), batch.end(), MayOverwrite);
    bool hopeful = onlyNew && !(isSpread_ && overwrites);
    return server_.Persist([&] {
      auto connection = server_.Borrow();
      try {
        auto failed = Try(*connection, batch, std::exchange(hopeful, false));
        server_.Return(std::move(connection));
        return failed;
      } catch (const SqlError&) {
        connection->Rollback();
        server_.Return(std::move(connection));
        throw;
      }
    });
  }

 private:
  // A value that goes where there may be one, as the place of a load does with every batch. Without
  // a value there is nothing to change, so that such a key is mostly a new one.
  static bool MayOverwrite(const Write* write) {
    return write->when == When::kAlways && write->value && !write->value->empty();
  }

  // One transaction. A hopeful one takes the keys for new, but for those that it may overwrite, and
  // meets kUniqueViolation where they are not.
  std::optional<std::size_t> Try(Connection& connection, Batch batch, bool hopeful) {
    const Result begun = connection.Run(begin_);
    const std::string transaction(Field(begun.get(), 0, 0));
    if (!hopeful) {
      if (const auto failed = FailedCondition(connection, batch)) {
        connection.Rollback();
        return failed;
      }
      EraseAll(connection, batch);
    }
    InsertAll(connection, batch, hopeful);
    try {
      connection.Run("COMMIT");
    } catch (const SqlError& error) {
      if (!error.state.empty()) throw;
      if (!WasCommitted(transaction, error)) throw;
    }
    return std::nullopt;
  }

  // The connection went while the commit was under way.
  bool WasCommitted(const std::string& transaction, const SqlError& error) {
    if (isSpread_) server_.Fail({"40003", error.what}, Fault::kOutcomeUnknown);
    return server_.Persist([&] {
      auto connection = server_.Borrow();
      const Result found =
          connection->Run("SELECT pg_xact_status('" + transaction + "'::xid8)::text");
      const std::string status(Field(found.get(), 0, 0));
      server_.Return(std::move(connection));
      // Its old process has not noticed yet that nobody listens.
      if (status == "in progress") throw SqlError{kSerializationFailure, "a commit is under way"};
      return status == "committed";
    });
  }

  static std::optional<std::size_t> FailedCondition(Connection& connection, Batch batch) {
    std::vector<std::size_t> conditional;
    for (std::size_t i = 0; i < batch.size(); ++i) {
      if (batch[i]->when != When::kAlways) conditional.push_back(i);
    }
    if (conditional.empty()) return std::nullopt;
    const std::string keys = ByteaArray(
        conditional, [&](std::size_t at) -> const std::string& { return batch[at]->key; });
    const Result found = connection.Run("SELECT k, v FROM kv_store WHERE k = ANY ($1) FOR UPDATE",
                                        {keys}, kByteaArray);
    std::map<std::string_view, std::string_view> values;
    for (int row = 0; row < PQntuples(found.get()); ++row) {
      values.emplace(Field(found.get(), row, 0), Field(found.get(), row, 1));
    }
    for (const std::size_t at : conditional) {
      const Write& write = *batch[at];
      const auto value = values.find(write.key);
      const bool holds = write.when == When::kAbsent
                             ? value == values.end()
                             : value != values.end() && value->second == write.expected;
      if (!holds) return at;
    }
    return std::nullopt;
  }

  // What is written goes as well: a row put in its place is what an update would make of it.
  static void EraseAll(Connection& connection, Batch batch) {
    std::vector<const Write*> old;
    for (const Write* write : batch) {
      if (write->when != When::kAbsent) old.push_back(write);
    }
    if (old.empty()) return;
    const std::string keys =
        ByteaArray(old, [](const Write* write) -> const std::string& { return write->key; });
    connection.Run("DELETE FROM kv_store WHERE k = ANY ($1)", {keys}, kByteaArray);
  }

  void InsertAll(Connection& connection, Batch batch, bool hopeful) const {
    std::vector<const Write*> puts;
    std::vector<const Write*> replacing;
    for (const Write* write : batch) {
      if (!write->value) continue;
      (hopeful && MayOverwrite(write) ? replacing : puts).push_back(write);
    }
    InsertRows(connection, replacing, " ON CONFLICT (k) DO UPDATE SET v = excluded.v");
    if (!isSpread_ && puts.size() > 16) {
      connection.Copy("COPY kv_store FROM STDIN (FORMAT binary)", CopyBytes(puts));
      return;
    }
    InsertRows(connection, puts, "");
  }

  static void InsertRows(Connection& connection, const std::vector<const Write*>& puts,
                         const std::string& conflicts) {
    if (puts.empty()) return;
    const std::string keys =
        ByteaArray(puts, [](const Write* write) -> const std::string& { return write->key; });
    const std::string values =
        ByteaArray(puts, [](const Write* write) -> const std::string& { return *write->value; });
    connection.Run("INSERT INTO kv_store SELECT * FROM unnest($1, $2)" + conflicts, {keys, values},
                   kByteaArray);
  }

  static std::string CopyBytes(const std::vector<const Write*>& puts) {
    std::string bytes("PGCOPY\n\xFF\r\n\0", 11);
    AppendBigEndian(bytes, 0U);  // flags
    AppendBigEndian(bytes, 0U);  // no extension of the header
    for (const Write* write : puts) {
      AppendBigEndian(bytes, static_cast<unsigned short>(2));
      AppendSized(bytes, write->key);
      AppendSized(bytes, *write->value);
    }
    AppendBigEndian(bytes, static_cast<unsigned short>(0xFFFF));
    return bytes;
  }

  Server server_;
  bool isSpread_ = false;
  std::string begin_;
};

}  // namespace

std::unique_ptr<OrderedStore> OpenPostgreSql(const std::string& place, const OpenOptions& options) {
  return std::make_unique<PostgreSqlStore>(place, options);
}

}  // namespace engines
