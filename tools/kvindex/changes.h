// Changes of records together with their index entries.
//
// Where the engine has atomic batches, a record and its entries change together or not at all.
// Where it has not (a table spread over servers), they change in an order that no query sees
// through: entries come before their record and go after it. What a crash leaves is then an entry
// without its record, which a query passes over and `verify --repair` sweeps.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ordered_store.h"
#include "record.h"

class Changes {
 public:
  Changes(engines::OrderedStore& store, const Table& table);

  // Each fails (Failure) when a key is too long for the engine; nothing is changed then.
  void Insert(const std::string& stored);
  void Replace(const std::string& oldStored, const std::string& stored);
  void Remove(const std::string& stored);
  // A write that belongs to the batch, such as how far a load has come.
  void Mark(std::string key, std::optional<std::string> value);

  // Whether another record would still go into this batch, with room for a mark.
  bool HasRoom() const;
  bool IsEmpty() const { return records_.empty() && marks_.empty(); }
  std::size_t Count() const { return records_.size(); }

  // Applies all, once. False when a record was not as expected: it is there though it was to be
  // inserted, or is another one than was to be replaced or removed. Nothing is visible then.
  bool Apply();

 private:
  using Writes = std::vector<engines::Write>;
  std::string CheckedKey(const StoredRecord& record) const;
  std::vector<std::string> CheckedEntries(const StoredRecord& record, const std::string& key) const;
  void Add(Writes& to, engines::Write write);

  engines::OrderedStore& store_;
  const Table& table_;
  engines::Limits limits_;
  Writes entriesIn_;
  Writes records_;
  Writes entriesOut_;
  Writes marks_;
  std::size_t writes_ = 0;
  std::size_t bytes_ = 0;
};
