// An ordered index over stored keys in LMDB, with KvTypeMgr::Cmp as its comparator. It lives in a
// file of its own that goes away with the object.
//
// Keys are values in stored form, data are the numbers of the lines that hold them. Values that
// compare equal are one key (the bytes of the first), whatever their bytes.
#pragma once

#include <lmdb.h>

#include <string>
#include <vector>

#include "row.h"

class OrderedIndex {
 public:
  using LineNumber = unsigned;

  // LMDB gives its comparators no context, so there can be one index at a time.
  explicit OrderedIndex(const Row& row);
  ~OrderedIndex();
  OrderedIndex(const OrderedIndex&) = delete;
  OrderedIndex& operator=(const OrderedIndex&) = delete;

  // Fails when a value's stored form is longer than a key may be, with its line.
  void Fill(const std::vector<Stored>& column, const std::string& columnName);

  // The first key and the last. Nulls order before every value and bound nothing, so the first key
  // that is none is taken where there is one.
  Stored First() const;
  Stored Last() const;

  // Calls take(key, line) in order from the first key that is not below `lower` on, until take
  // answers false. A null `lower` is the beginning.
  template <class Take>
  void WalkFrom(const unsigned char* lower, unsigned length, Take take) const {
    Cursor cursor(*this);
    MDB_val key{length, const_cast<unsigned char*>(lower)};
    MDB_val data;
    int status = cursor.Get(key, data, lower != nullptr ? MDB_SET_RANGE : MDB_FIRST);
    for (; status == MDB_SUCCESS; status = cursor.Get(key, data, MDB_NEXT)) {
      if (!take(key, LineOf(data))) return;
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

  const Row& row_;
  std::string folder_;
  MDB_env* environment_ = nullptr;
  MDB_dbi database_ = 0;
};
