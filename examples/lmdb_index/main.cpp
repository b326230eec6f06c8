// An LMDB index of names in the order of their language, over the stored strings themselves.
#include <lmdb.h>

#include <cstdio>
#include <optional>
#include <string>

#include "kv.h"
#include "kvstd.h"

namespace {

constexpr unsigned char kInMemoryOrder = 0;

KvTypeMgr& Types() {
  return *DefaultTypeMgr(nullptr);
}

int CompareNames(const MDB_val* a, const MDB_val* b) {
  return KvOrderStored(Types(), KvSTRING_T, a->mv_data, a->mv_size, b->mv_data, b->mv_size,
                       kInMemoryOrder);
}

bool Require(int status, const char* doing) {
  if (status == MDB_SUCCESS) return true;
  std::fprintf(stderr, "lmdb_index: %s: %s\n", doing, mdb_strerror(status));
  return false;
}

// Opens, writes or reads within one transaction, which ends with this object.
class Transaction {
 public:
  Transaction(MDB_env* environment, unsigned flags) {
    Require(mdb_txn_begin(environment, nullptr, flags, &transaction_), "begin");
    Require(mdb_dbi_open(transaction_, nullptr, MDB_CREATE, &names_), "open");
    Require(mdb_set_compare(transaction_, names_, CompareNames), "order");
  }
  ~Transaction() {
    if (transaction_ != nullptr) mdb_txn_abort(transaction_);
  }
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  bool Put(const KvString& name, std::string value) {
    std::string key(KvStoredSize(Types(), KvSTRING_T, &name, 1).bytes, '\0');
    KvStoreChecked(Types(), KvSTRING_T, key.data(), key.size(), &name, kInMemoryOrder, 1);
    MDB_val keyBytes{key.size(), key.data()};
    MDB_val valueBytes{value.size(), value.data()};
    return Require(mdb_put(transaction_, names_, &keyBytes, &valueBytes, 0), "put");
  }

  void Show() {
    MDB_cursor* cursor = nullptr;
    if (!Require(mdb_cursor_open(transaction_, names_, &cursor), "read")) return;
    MDB_val key;
    MDB_val value;
    while (mdb_cursor_get(cursor, &key, &value, MDB_NEXT) == MDB_SUCCESS) {
      KvString name;
      const KvMeasured stored =
          KvLoadChecked(Types(), KvSTRING_T, &name, key.mv_data, key.mv_size, kInMemoryOrder, 1);
      std::printf("%s\n", stored.status == kvOk ? KvToUtf8(name).c_str() : stored.reason);
    }
    mdb_cursor_close(cursor);
  }

  bool Commit() {
    const int status = mdb_txn_commit(transaction_);
    transaction_ = nullptr;
    return Require(status, "commit");
  }

 private:
  MDB_txn* transaction_ = nullptr;
  MDB_dbi names_ = 0;
};

bool Run(MDB_env* environment, const char* folder) {
  if (!Require(mdb_env_open(environment, folder, 0, 0600), folder)) return false;
  Transaction filling(environment, 0);
  for (const char* text : {"Zoe", "\xC3\x84rger", "zoo", "Arzt",
                           "Stra\xC3\x9F"
                           "e",
                           "\xFF"}) {
    const std::optional<KvString> name = KvFromUtf8(text);
    if (!name) {
      std::printf("not UTF-8\n");
    } else if (!filling.Put(*name, "")) {
      return false;
    }
  }
  if (!filling.Commit()) return false;
  Transaction reading(environment, 0);
  reading.Show();
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: lmdb_index FOLDER\n");
    return 2;
  }
  MDB_env* environment = nullptr;
  if (!Require(mdb_env_create(&environment), "create")) return 1;
  const bool done = Run(environment, argv[1]);
  mdb_env_close(environment);
  return done ? 0 : 1;
}
