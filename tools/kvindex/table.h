// What a store holds: records of one schema, found by a key and by further indexes.
//
// Keys of the store, by their first byte:
//
//   00 "table"              the table's definition, as JSON
//   00 "load" IDENTITY      how far the load of a file has come
//   01 KEY                  a record: the sort keys of the key fields; its value is the fields in
//                           stored form (memory order), one behind the other
//   02+i ENTRY KEY          an entry of index i: the sort keys of its fields, then the record's
//                           key; its value is empty
//
// These layouts are in stores and never change.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ordered_store.h"
#include "schema.h"

inline constexpr char kRecordTag = '\x01';
inline constexpr char kFirstIndexTag = '\x02';
inline constexpr std::size_t kMostIndexes = 64;

// Positions of fields in the schema.
using Fields = std::vector<std::size_t>;

struct Table {
  Schema schema;
  Fields key;
  std::vector<Fields> indexes;

  std::size_t Position(std::string_view name) const;  // fails (usage) when there is none
  std::string Names(const Fields& fields) const;      // "name,day"
};

// The table that the command line describes: a schema, the key's fields and those of each index,
// with commas between them. Fails (Failure, usage).
Table MakeTable(const std::string& schema, const std::string& key,
                const std::vector<std::string>& indexes);

// Fails (usage) where a key of fixed size is longer than the engine takes.
void RequireRoom(const Table& table, std::size_t longestKey);

// Fails where there is a table already.
void SaveTable(engines::OrderedStore& store, const Table& table);
// Fails where there is none, and where it was made by a later version.
Table LoadTable(engines::OrderedStore& store);

std::string LoadMarkKey(const std::string& identity);

inline char IndexTag(std::size_t index) {
  return static_cast<char>(kFirstIndexTag + static_cast<char>(index));
}
