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

std::string MakeFolder() {
  std::string path = (std::filesystem::temp_directory_path() / "index_probe.XXXXXX").string();
  if (mkdtemp(path.data()) == nullptr) {
    throw Failure("no folder for the index could be made: " + path);
  }
  return path;
}

}  // namespace

OrderedIndex::OrderedIndex(const Row& row, const std::vector<Stored>& column, Ordering ordering)
    : row_(row), column_(column), ordering_(ordering), folder_(MakeFolder()) {
  orderedRow = &row;
  Require(mdb_env_create(&environment_), "made");
  Require(mdb_env_open(environment_, folder_.c_str(), MDB_NOSYNC | MDB_NOLOCK, 0600), "opened");
}

OrderedIndex::~OrderedIndex() {
  mdb_env_close(environment_);
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

Stored OrderedIndex::KeyOf(const unsigned char* value, unsigned length) const {
  if (ordering_ == Ordering::kByKeys) return row_.KeyOf(value, length);
  return {value, value + length};
}

void OrderedIndex::Fill(const std::string& columnName) {
  // The most that the file may grow to: pages half full, and some room for each key's node.
  std::size_t size = std::size_t{1} << 20;
  for (const Stored& value : column_) size += 4 * (2 * value.size() + 64);
  Require(mdb_env_set_mapsize(environment_, size), "sized");
  MDB_txn* transaction = nullptr;
  Require(mdb_txn_begin(environment_, nullptr, 0, &transaction), "filled");
  Require(
      mdb_dbi_open(transaction, nullptr, MDB_DUPSORT | MDB_DUPFIXED | MDB_INTEGERDUP, &database_),
      "opened");
  if (ordering_ == Ordering::kByComparator) {
    Require(mdb_set_compare(transaction, database_, CompareKeys), "ordered");
  }
  const auto longest = static_cast<std::size_t>(mdb_env_get_maxkeysize(environment_));
  for (LineNumber line = 0; line < column_.size(); ++line) {
    Stored bytes = KeyOf(column_[line].data(), static_cast<unsigned>(column_[line].size()));
    if (bytes.size() > longest) {
      mdb_txn_abort(transaction);
      throw Failure(columnName + ", line " + std::to_string(line + 1) + ": the key takes " +
                    std::to_string(bytes.size()) + " bytes, an index key has at most " +
                    std::to_string(longest));
    }
    MDB_val key{bytes.size(), bytes.data()};
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
  const Stored first = column_[LineOf(data)];
  // All nulls are one key.
  if (!row_.IsNull(first) || cursor.Get(key, data, MDB_NEXT_NODUP) != MDB_SUCCESS) return first;
  return column_[LineOf(data)];
}

Stored OrderedIndex::Last() const {
  Cursor cursor(*this);
  MDB_val key;
  MDB_val data;
  Require(cursor.Get(key, data, MDB_LAST), "read");
  return column_[LineOf(data)];
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
