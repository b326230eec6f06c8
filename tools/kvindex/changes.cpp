#include "changes.h"

#include <algorithm>
#include <iterator>

#include "failure.h"

namespace {

using engines::When;
using engines::Write;

// Large enough that a commit costs little per record, small enough to be held in memory twice.
constexpr std::size_t kWrites = 32768;
constexpr std::size_t kBytes = std::size_t{8} << 20;

}  // namespace

Changes::Changes(engines::OrderedStore& store, const Table& table)
    : store_(store), table_(table), limits_(store.GetLimits()) {}

std::string Changes::CheckedKey(const StoredRecord& record) const {
  std::string key = RecordKey(table_, record);
  if (key.size() > limits_.keyBytes) {
    FailValue("the key takes " + std::to_string(key.size()) + " bytes, the engine takes " +
              std::to_string(limits_.keyBytes));
  }
  return key;
}

std::vector<std::string> Changes::CheckedEntries(const StoredRecord& record,
                                                 const std::string& key) const {
  std::vector<std::string> entries;
  for (std::size_t i = 0; i < table_.indexes.size(); ++i) {
    entries.push_back(EntryKey(table_, i, record, key));
    if (entries.back().size() <= limits_.keyBytes) continue;
    FailValue("the entry in index " + table_.Names(table_.indexes[i]) + " takes " +
              std::to_string(entries.back().size()) + " bytes, the engine takes " +
              std::to_string(limits_.keyBytes));
  }
  return entries;
}

void Changes::Add(Writes& to, Write write) {
  ++writes_;
  bytes_ += write.key.size() + (write.value ? write.value->size() : 0) + write.expected.size();
  to.push_back(std::move(write));
}

void Changes::Insert(const std::string& stored) {
  const StoredRecord record(table_, stored);
  const std::string key = CheckedKey(record);
  if (stored.size() > limits_.valueBytes) {
    FailValue("the record takes " + std::to_string(stored.size()) + " bytes, the engine takes " +
              std::to_string(limits_.valueBytes));
  }
  for (std::string& entry : CheckedEntries(record, key)) {
    Add(entriesIn_, {.key = std::move(entry), .value = ""});
  }
  Add(records_, {.key = key, .value = stored, .when = When::kAbsent});
}

void Changes::Replace(const std::string& oldStored, const std::string& stored) {
  const StoredRecord before(table_, oldStored);
  const StoredRecord record(table_, stored);
  const std::string key = CheckedKey(record);
  const std::vector<std::string> entries = CheckedEntries(record, key);
  for (std::string& entry : CheckedEntries(before, key)) {
    if (std::find(entries.begin(), entries.end(), entry) != entries.end()) continue;
    Add(entriesOut_, {.key = std::move(entry)});
  }
  for (const std::string& entry : entries) Add(entriesIn_, {.key = entry, .value = ""});
  Add(records_, {.key = key, .value = stored, .when = When::kEqual, .expected = oldStored});
}

void Changes::Remove(const std::string& stored) {
  const StoredRecord record(table_, stored);
  const std::string key = RecordKey(table_, record);
  for (std::size_t i = 0; i < table_.indexes.size(); ++i) {
    Add(entriesOut_, {.key = EntryKey(table_, i, record, key)});
  }
  Add(records_, {.key = key, .when = When::kEqual, .expected = stored});
}

void Changes::Mark(std::string key, std::optional<std::string> value) {
  Add(marks_, {.key = std::move(key), .value = std::move(value)});
}

bool Changes::HasRoom() const {
  // A record that is replaced may take two entries an index, and twice its size.
  const std::size_t next = 2 * table_.indexes.size() + 2;
  const std::size_t largest =
      records_.empty() ? 0 : 2 * records_.back().value.value_or("").size() + 64;
  return writes_ + next <= std::min(kWrites, limits_.batchWrites) &&
         bytes_ + largest * (table_.indexes.size() + 1) <= std::min(kBytes, limits_.batchBytes / 2);
}

bool Changes::Apply() {
  std::vector<Writes> batches;
  for (Writes* part : {&entriesIn_, &records_, &entriesOut_, &marks_}) {
    if (batches.empty() || !limits_.atomicBatches) batches.emplace_back();
    std::move(part->begin(), part->end(), std::back_inserter(batches.back()));
  }
  return std::none_of(batches.begin(), batches.end(),
                      [&](const Writes& batch) { return store_.Apply(batch).has_value(); });
}
