// A record in its two forms: values in memory, from and to text, and the stored fields.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "table.h"
#include "values.h"

// The stored form of fields and constants: memory order.
inline constexpr unsigned char kStoredFormat = 0;

// Stored bytes, one span a field. Made from bytes that nobody vouches for.
class StoredRecord {
 public:
  explicit StoredRecord(const Table& table) : table_(table) {}
  StoredRecord(const Table& table, std::string_view bytes) : table_(table) { Read(bytes); }

  // Fails (Failure) when the bytes are not those of a record of this table.
  void Read(std::string_view bytes);

  std::string_view Field(std::size_t position) const { return fields_[position]; }

 private:
  const Table& table_;
  std::vector<std::string_view> fields_;
};

// Appends the sort keys of a record's fields. Fails when one has none.
void AppendKeys(std::string& key, const Table& table, const Fields& fields,
                const StoredRecord& record);

// The key of the record, and that of its entry in an index, as the store has them.
std::string RecordKey(const Table& table, const StoredRecord& record);
std::string EntryKey(const Table& table, std::size_t index, const StoredRecord& record,
                     std::string_view recordKey);
// The key of the record that an entry belongs to. Fails when the bytes are no entry.
std::string RecordKeyOfEntry(const Table& table, std::size_t index, std::string_view entry);

// The sort key of one field's stored value.
std::string FieldKey(const SchemaField& field, std::string_view stored);

// The values of one field in memory form. Its run is made once and used for record after record.
class FieldValue {
 public:
  explicit FieldValue(const SchemaField& field);

  // A run is a JSON array of texts or numbers. Fails unless the whole text is what the field holds.
  void Read(std::string_view text);
  void Load(std::string_view stored);
  void SetNull();
  std::string Text();
  void AppendStored(std::string& bytes) const;
  const SchemaField& Field() const { return field_; }

 private:
  const SchemaField& field_;
  ValueStyle style_;
  std::unique_ptr<ValueRun> run_;
};

// All fields of a record.
class RecordValues {
 public:
  explicit RecordValues(const Table& table);
  FieldValue& operator[](std::size_t position) { return fields_[position]; }
  std::size_t Count() const { return fields_.size(); }
  void Load(const StoredRecord& record);
  std::string Stored() const;

 private:
  std::vector<FieldValue> fields_;
};
