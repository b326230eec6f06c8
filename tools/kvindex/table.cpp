#include "table.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "catalogue.h"
#include "failure.h"
#include "kvsortkey.h"
#include "numbers.h"

namespace {

using Json = nlohmann::json;

constexpr int kTableVersion = 1;

std::string TableKey() {
  return std::string(1, '\0') + "table";
}

Fields ReadFields(const Table& table, std::string_view names, const char* what) {
  Fields fields;
  while (!names.empty()) {
    const std::size_t comma = std::min(names.find(','), names.size());
    const std::size_t position = table.Position(TrimBlanks(names.substr(0, comma)));
    if (std::find(fields.begin(), fields.end(), position) != fields.end()) {
      FailUsage(std::string(what) + " names " + Quoted(table.schema.fields[position].name) +
                " twice");
    }
    fields.push_back(position);
    names.remove_prefix(std::min(comma + 1, names.size()));
  }
  if (fields.empty()) FailUsage(std::string(what) + " names no field");
  return fields;
}

void RequireSortKeys(const Table& table, const Fields& fields) {
  for (const std::size_t position : fields) {
    const SchemaField& field = table.schema.fields[position];
    if (KvSortKeyCheck({.type = field.type}) != kvOk) {
      FailUsage("field " + Quoted(field.name) + ": " + TypeName(field.type) +
                " has no sort keys, so it can be in no index");
    }
  }
}

// What the keys of these fields take; 0 when that depends on the values.
std::size_t FixedKeyBytes(const Table& table, const Fields& fields) {
  std::size_t bytes = 0;
  for (const std::size_t position : fields) {
    const SchemaField& field = table.schema.fields[position];
    if (!Types().IsFixed(field.type)) return 0;
    bytes += KvSortKeyBound({.type = field.type}, 0, field.count);
  }
  return bytes;
}

void RequireRoom(const Table& table, const Fields& fields, std::size_t limit) {
  const std::size_t bytes = FixedKeyBytes(table, fields);
  if (bytes + 1 <= limit) return;
  FailUsage("a key of " + table.Names(fields) + " takes up to " + std::to_string(bytes + 1) +
            " bytes, the engine takes " + std::to_string(limit));
}

}  // namespace

std::size_t Table::Position(std::string_view name) const {
  for (std::size_t i = 0; i < schema.fields.size(); ++i) {
    if (schema.fields[i].name == name) return i;
  }
  std::string names;
  for (const SchemaField& field : schema.fields) names += (names.empty() ? "" : ", ") + field.name;
  FailUsage("there is no field " + Quoted(name) + "; there are " + names);
}

std::string Table::Names(const Fields& fields) const {
  std::string names;
  for (const std::size_t position : fields) {
    names += (names.empty() ? "" : ",") + schema.fields[position].name;
  }
  return names;
}

Table MakeTable(const std::string& schema, const std::string& key,
                const std::vector<std::string>& indexes) {
  Table table{.schema = ParseSchema(schema), .key = {}, .indexes = {}};
  table.key = ReadFields(table, key, "the key");
  RequireSortKeys(table, table.key);
  if (indexes.size() > kMostIndexes) {
    FailUsage("a table has at most " + std::to_string(kMostIndexes) + " indexes");
  }
  for (const std::string& names : indexes) {
    const Fields fields = ReadFields(table, names, "an index");
    RequireSortKeys(table, fields);
    if (std::find(table.indexes.begin(), table.indexes.end(), fields) != table.indexes.end()) {
      FailUsage("a second index of " + table.Names(fields));
    }
    table.indexes.push_back(fields);
  }
  return table;
}

void RequireRoom(const Table& table, std::size_t longestKey) {
  RequireRoom(table, table.key, longestKey);
  for (Fields fields : table.indexes) {
    fields.insert(fields.end(), table.key.begin(), table.key.end());
    RequireRoom(table, fields, longestKey);
  }
}

void SaveTable(engines::OrderedStore& store, const Table& table) {
  Json indexes = Json::array();
  for (const Fields& fields : table.indexes) indexes.push_back(table.Names(fields));
  const Json saved{{"version", kTableVersion},
                   {"sortKeys", kvSortKeyVersion},
                   {"schema", SchemaText(table.schema)},
                   {"key", table.Names(table.key)},
                   {"indexes", indexes}};
  if (!store.CompareAndSet(TableKey(), std::nullopt, saved.dump())) {
    FailValue("the store holds a table already");
  }
}

Table LoadTable(engines::OrderedStore& store) {
  const auto saved = store.Get(TableKey());
  if (!saved) FailValue("the store holds no table; kvindex create makes one");
  const Json json = Json::parse(*saved, nullptr, false);
  const bool sound = json.is_object() && json.value("version", Json()).is_number_integer() &&
                     json.value("sortKeys", Json()).is_number_integer() &&
                     json.value("schema", Json()).is_string() &&
                     json.value("key", Json()).is_string() &&
                     json.value("indexes", Json()).is_array() &&
                     std::all_of(json["indexes"].begin(), json["indexes"].end(),
                                 [](const Json& each) { return each.is_string(); });
  if (!sound) FailValue("the definition of the store's table is damaged");
  if (json["version"] != kTableVersion || json["sortKeys"] != kvSortKeyVersion) {
    FailValue("the store's table was made by another version of kvindex");
  }
  return MakeTable(json["schema"], json["key"], json["indexes"]);
}

std::string LoadMarkKey(const std::string& identity) {
  return std::string(1, '\0') + "load" + identity;
}
