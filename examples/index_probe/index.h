// An ordered index in LMDB. It lives in a file of its own that goes away with the object.
//
// By default it holds sort keys (kvsortkey.h), which LMDB orders as it orders any bytes. With a
// comparator it holds values in stored form, for data that is there already and cannot be written
// anew, and KvTypeMgr::Cmp orders them: every program that opens such a file needs the comparator.
// Either way data are the numbers of the lines, and values that compare equal are one key.
#pragma once

#include <lmdb.h>

#include <string>
#include <vector>

#include "row.h"

enum class Ordering { kByKeys, kByComparator };

class OrderedIndex {
 public:
  using LineNumber = unsigned;

  // Of the values of a column, which must outlive the index. LMDB gives its comparators no context,
  // so there can be one index with a comparator at a time.
  OrderedIndex(const Row& row, const std::vector<Stored>& column, Ordering ordering);
  ~OrderedIndex();
  OrderedIndex(const OrderedIndex&) = delete;
  OrderedIndex& operator=(const OrderedIndex&) = delete;

  // Fails when a key is longer than LMDB takes one, with its line.
  void Fill(const std::string& columnName);

  // The first value and the last. Nulls order before every value and bound nothing, so the first
  // value that is none is taken where there is one.
  Stored First() const;
  Stored Last() const;

  // Calls take(line) in order from the first value that is not below `lower` on, a stored value of
  // `length` bytes, until take answers false. A null `lower` is the beginning.
  template <class Take>
  void WalkFrom(const unsigned char* lower, unsigned length, Take take) const {
    Cursor cursor(*this);
    Stored from;
    if (lower != nullptr) from = KeyOf(lower, length);
    MDB_val key{from.size(), from.data()};
    MDB_val data;
    int status = cursor.Get(key, data, lower != nullptr ? MDB_SET_RANGE : MDB_FIRST);
    for (; status == MDB_SUCCESS; status = cursor.Get(key, data, MDB_NEXT)) {
      if (!take(LineOf(data))) return;
    }
  }

 private:
  class Cursor {
   public:
    explicit Cursor(const OrderedIndex& index);
    ~Cursor();
    Cursor(const Cursor&) = delete;
    Cursor& operator=(const Cursor&) = delete;
    int Get(MDB_val& key, MDB_val& data, MDB_cursor_op op) {
      return mdb_cursor_get(cursor_, &key, &data, op);
    }

   private:
    MDB_txn* transaction_ = nullptr;
    MDB_cursor* cursor_ = nullptr;
  };

  static LineNumber LineOf(const MDB_val& data);
  // What the index keeps for a stored value; a length of 0 means "one value".
  Stored KeyOf(const unsigned char* value, unsigned length) const;

  const Row& row_;
  const std::vector<Stored>& column_;
  Ordering ordering_;
  std::string folder_;
  MDB_env* environment_ = nullptr;
  MDB_dbi database_ = 0;
};
