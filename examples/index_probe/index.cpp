#include "index.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "failure.h"

namespace {

const Row* orderedRow = nullptr;

int CompareKeys(const MDB_val* a, const MDB_val* b) {
  return orderedRow->Compare(a->mv_data, static_cast<unsigned>(a->mv_size), b->mv_data,
                             static_cast<unsigned>(b->mv_size));
}

void Require(int status, const char* doing) {
  if (status != MDB_SUCCESS) {
    throw Failure(std::string("the index could not be ") + doing + ": " + mdb_strerror(status));
  }
}

Stored Copy(const MDB_val& value) {
  const auto* at = static_cast<const unsigned char*>(value.mv_data);
  return {at, at + value.mv_size};
}

std::string MakeFolder() {
  std::string path = (std::filesystem::temp_directory_path() / "index_probe.XXXXXX").string();
  if (mkdtemp(path.data()) == nullptr) {
    throw Failure("no folder for the index could be made: " + path);
  }
  return path;
}

}  // namespace

OrderedIndex::OrderedIndex(const Row& row) : row_(row), folder_(MakeFolder()) {
  orderedRow = &row;
  Require(mdb_env_create(&environment_), "made");
  Require(mdb_env_open(environment_, folder_.c_str(), MDB_NOSYNC | MDB_NOLOCK, 0600), "opened");
}

OrderedIndex::~OrderedIndex() {
  mdb_env_close(environment_);
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

void OrderedIndex::Fill(const std::vector<Stored>& column, const std::string& columnName) {
  // The most that the file may grow to: pages half full, and some room for each key's node.
  std::size_t size = std::size_t{1} << 20;
  for (const Stored& value : column) size += 4 * (value.size() + 64);
  Require(mdb_env_set_mapsize(environment_, size), "sized");
  MDB_txn* transaction = nullptr;
  Require(mdb_txn_begin(environment_, nullptr, 0, &transaction), "filled");
  Require(
      mdb_dbi_open(transaction, nullptr, MDB_DUPSORT | MDB_DUPFIXED | MDB_INTEGERDUP, &database_),
      "opened");
  Require(mdb_set_compare(transaction, database_, CompareKeys), "ordered");
  const auto longest = static_cast<std::size_t>(mdb_env_get_maxkeysize(environment_));
  for (LineNumber line = 0; line < column.size(); ++line) {
    Stored value = column[line];
    if (value.size() > longest) {
      mdb_txn_abort(transaction);
      throw Failure(columnName + ", line " + std::to_string(line + 1) + ": the value takes " +
                    std::to_string(value.size()) + " stored bytes, an index key has at most " +
                    std::to_string(longest));
    }
    MDB_val key{value.size(), value.data()};
    MDB_val data{sizeof line, &line};
    Require(mdb_put(transaction, database_, &key, &data, 0), "filled");
  }
  Require(mdb_txn_commit(transaction), "filled");
}

Stored OrderedIndex::First() const {
  Cursor cursor(*this);
  MDB_val key;
  MDB_val data;
  Require(cursor.Get(key, data, MDB_FIRST), "read");
  const Stored first = Copy(key);
  // All nulls are one key.
  if (!row_.IsNull(first) || cursor.Get(key, data, MDB_NEXT_NODUP) != MDB_SUCCESS) return first;
  return Copy(key);
}

Stored OrderedIndex::Last() const {
  Cursor cursor(*this);
  MDB_val key;
  MDB_val data;
  Require(cursor.Get(key, data, MDB_LAST), "read");
  return Copy(key);
}

OrderedIndex::LineNumber OrderedIndex::LineOf(const MDB_val& data) {
  LineNumber line;
  std::memcpy(&line, data.mv_data, sizeof line);
  return line;
}

OrderedIndex::Cursor::Cursor(const OrderedIndex& index) {
  Require(mdb_txn_begin(index.environment_, nullptr, MDB_RDONLY, &transaction_), "read");
  Require(mdb_cursor_open(transaction_, index.database_, &cursor_), "read");
}

OrderedIndex::Cursor::~Cursor() {
  mdb_cursor_close(cursor_);
  mdb_txn_abort(transaction_);
}
