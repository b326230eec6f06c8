#include "verify.h"

#include <algorithm>

#include "catalogue.h"
#include "failure.h"
#include "hex.h"
#include "record.h"

namespace {

using engines::Snapshot;
using engines::When;
using engines::Write;

constexpr std::size_t kReported = 20;
constexpr std::size_t kChecked = 256;

std::string Hex(std::string_view bytes) {
  constexpr std::size_t kShown = 32;
  const std::string_view shown = bytes.substr(0, kShown);
  return ToHex(reinterpret_cast<const unsigned char*>(shown.data()), shown.size()) +
         (shown.size() < bytes.size() ? "..." : "");
}

class Verifier {
 public:
  Verifier(engines::OrderedStore& store, const Table& table, bool repair)
      : store_(store), table_(table), repair_(repair), snapshot_(store.TakeSnapshot()) {}

  Verified Run() {
    snapshot_->Scan(engines::WithPrefix(std::string(1, kRecordTag)),
                    [&](std::string_view key, std::string_view value) {
                      CheckRecord(std::string(key), std::string(value));
                      return true;
                    });
    CheckEntriesOfRecords();
    for (std::size_t index = 0; index < table_.indexes.size(); ++index) CheckIndex(index);
    return std::move(result_);
  }

 private:
  struct Expected {
    std::string entry;
    std::string recordKey;
    std::string record;
  };

  void Report(const std::string& what) {
    ++result_.faults;
    if (result_.reports.size() < kReported) result_.reports.push_back(what);
  }

  void CheckRecord(const std::string& key, const std::string& bytes) {
    ++result_.records;
    try {
      const StoredRecord record(table_, bytes);
      if (RecordKey(table_, record) != key) {
        Report("record " + Hex(key) + ": its key is not that of its fields");
        return;
      }
      CheckOrder(key, bytes, record);
      for (std::size_t i = 0; i < table_.indexes.size(); ++i) {
        expected_.push_back({EntryKey(table_, i, record, key), key, bytes});
      }
    } catch (const Failure& failure) {
      Report("record " + Hex(key) + ": " + failure.what);
    }
    if (expected_.size() >= kChecked) CheckEntriesOfRecords();
  }

  // By the comparers of the types, which know nothing of sort keys.
  void CheckOrder(const std::string& key, const std::string& bytes, const StoredRecord& record) {
    if (!previous_.empty()) {
      const StoredRecord before(table_, previous_);
      int order = 0;
      for (const std::size_t position : table_.key) {
        if (order == 0) order = Compare(position, before.Field(position), record.Field(position));
      }
      if (order >= 0) Report("record " + Hex(key) + ": does not come after the one before it");
    }
    previous_ = bytes;
  }

  int Compare(std::size_t position, std::string_view a, std::string_view b) const {
    const SchemaField& field = table_.schema.fields[position];
    int status = kvOk;
    return Types().Cmp(field.type, static_cast<unsigned>(a.size()), const_cast<char*>(a.data()),
                       static_cast<unsigned>(b.size()), const_cast<char*>(b.data()), kvCompareExact,
                       field.count, kStoredFormat, status);
  }

  void CheckEntriesOfRecords() {
    std::vector<std::string> keys;
    keys.reserve(expected_.size());
    for (const Expected& expected : expected_) keys.push_back(expected.entry);
    const auto found = snapshot_->GetMany(keys);
    for (std::size_t i = 0; i < found.size(); ++i) {
      if (found[i]) continue;
      const Expected& missing = expected_[i];
      Report("record " + Hex(missing.recordKey) + ": entry " + Hex(missing.entry) + " is missing");
      // Only as long as the record is the one that was seen.
      Repair({{.key = missing.entry, .value = ""},
              {.key = missing.recordKey,
               .value = missing.record,
               .when = When::kEqual,
               .expected = missing.record}});
    }
    expected_.clear();
  }

  void CheckIndex(std::size_t index) {
    std::vector<std::string> entries;
    const auto check = [&] {
      CheckEntries(index, entries);
      entries.clear();
    };
    snapshot_->Scan(engines::WithPrefix(std::string(1, IndexTag(index))),
                    [&](std::string_view key, std::string_view) {
                      ++result_.entries;
                      entries.emplace_back(key);
                      if (entries.size() == kChecked) check();
                      return true;
                    });
    check();
  }

  void CheckEntries(std::size_t index, const std::vector<std::string>& entries) {
    std::vector<std::string> keys;
    keys.reserve(entries.size());
    for (const std::string& entry : entries) keys.push_back(KeyOf(index, entry));
    const auto records = snapshot_->GetMany(keys);
    const std::string name = "index " + table_.Names(table_.indexes[index]) + ": entry ";
    for (std::size_t i = 0; i < entries.size(); ++i) {
      if (!records[i]) {
        Report(name + Hex(entries[i]) + " has no record");
        Repair({{.key = entries[i]}, {.key = keys[i], .when = When::kAbsent}});
      } else if (!Belongs(index, entries[i], keys[i], *records[i])) {
        Report(name + Hex(entries[i]) + " is not that of its record");
        Repair(
            {{.key = entries[i]},
             {.key = keys[i], .value = records[i], .when = When::kEqual, .expected = *records[i]}});
      }
    }
  }

  // A key that no record has for what is no entry.
  std::string KeyOf(std::size_t index, const std::string& entry) const {
    try {
      return RecordKeyOfEntry(table_, index, entry);
    } catch (const Failure&) {
      return std::string(1, kRecordTag);
    }
  }

  bool Belongs(std::size_t index, const std::string& entry, const std::string& key,
               const std::string& bytes) const {
    try {
      return EntryKey(table_, index, StoredRecord(table_, bytes), key) == entry;
    } catch (const Failure&) {
      return true;  // the record is at fault, and was reported
    }
  }

  void Repair(const std::vector<Write>& writes) {
    if (repair_ && !store_.Apply(writes)) ++result_.repaired;
  }

  engines::OrderedStore& store_;
  const Table& table_;
  bool repair_;
  std::unique_ptr<Snapshot> snapshot_;
  Verified result_;
  std::string previous_;
  std::vector<Expected> expected_;
};

}  // namespace

Verified Verify(engines::OrderedStore& store, const Table& table, bool repair) {
  return Verifier(store, table, repair).Run();
}
