// A RocksDB database whose keys are stored dates, in the order of dates: a comparator over what is
// stored, for data that cannot be written anew under sort keys.
#include <rocksdb/comparator.h>
#include <rocksdb/db.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include "kv.h"
#include "kvstd.h"

namespace {

constexpr unsigned char kMostSignificantFirst = 2;

KvTypeMgr& Types() {
  return *DefaultTypeMgr(nullptr);
}

// The name is kept in the database, which opens under no other. It says type, byte order and
// version.
class DateOrder : public rocksdb::Comparator {
 public:
  const char* Name() const override { return "kv.KvDate.reversed.v1"; }
  int Compare(const rocksdb::Slice& a, const rocksdb::Slice& b) const override {
    return KvOrderStored(Types(), KvDATE_T, a.data(), a.size(), b.data(), b.size(),
                         kMostSignificantFirst);
  }
  void FindShortestSeparator(std::string*, const rocksdb::Slice&) const override {}
  void FindShortSuccessor(std::string*) const override {}
};

std::string KeyOf(const KvDate& date) {
  std::string key(KvStoredSize(Types(), KvDATE_T, &date, 1).bytes, '\0');
  KvStoreChecked(Types(), KvDATE_T, key.data(), key.size(), &date, kMostSignificantFirst, 1);
  return key;
}

bool Require(const rocksdb::Status& status) {
  if (!status.ok()) std::fprintf(stderr, "rocksdb_order: %s\n", status.ToString().c_str());
  return status.ok();
}

bool Fill(rocksdb::DB& days) {
  struct Day {
    const char* date;
    const char* event;
  };
  constexpr Day kDays[] = {{"2024-02-29", "leap day"},
                           {"-0044-03-15", "ides of March"},
                           {"1969-07-20", "landing"},
                           {"2023-02-29", "never"},
                           {"1582-10-15", "reform"}};
  for (const Day& day : kDays) {
    KvDate date(0);
    if (KvScanChecked(Types(), KvDATE_T, &date, day.date, "%Y-%m-%d").status != kvOk) {
      std::printf("%s is no date\n", day.date);
    } else if (!Require(days.Put(rocksdb::WriteOptions(), KeyOf(date), day.event))) {
      return false;
    }
  }
  // A key that somebody damaged: it stands behind all dates, and nobody loses any.
  return Require(days.Put(rocksdb::WriteOptions(), "???", "damaged"));
}

void Show(rocksdb::DB& days) {
  const std::unique_ptr<rocksdb::Iterator> each(days.NewIterator(rocksdb::ReadOptions()));
  for (each->Seek(KeyOf(KvDate(1000, 1, 1))); each->Valid(); each->Next()) {
    KvDate date(0);
    const KvMeasured key = KvLoadChecked(Types(), KvDATE_T, &date, each->key().data(),
                                         each->key().size(), kMostSignificantFirst, 1);
    const std::string shown = key.status == kvOk ? KvToText(date) : KvStatusName(key.status);
    std::printf("%s %s\n", shown.c_str(), each->value().ToString().c_str());
  }
}

bool Run(const std::filesystem::path& folder) {
  const DateOrder order;
  rocksdb::Options options;
  options.create_if_missing = true;
  options.comparator = &order;
  rocksdb::DB* opened = nullptr;
  if (!Require(rocksdb::DB::Open(options, folder.string(), &opened))) return false;
  const std::unique_ptr<rocksdb::DB> days(opened);
  if (!Fill(*days)) return false;
  Show(*days);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: rocksdb_order FOLDER\n");
    return 2;
  }
  return Run(argv[1]) ? 0 : 1;
}
