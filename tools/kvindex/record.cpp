#include "record.h"

#include <algorithm>
#include <cstring>
#include <nlohmann/json.hpp>

#include "catalogue.h"
#include "failure.h"
#include "kvchecked.h"
#include "kvsortkey.h"
#include "stored.h"

namespace {

std::size_t MeasureField(const SchemaField& field, std::string_view bytes) {
  if (Types().IsFixed(field.type)) {
    const std::size_t size =
        Types().DiskLenGet(field.type, bytes.data(), kStoredFormat, field.count, 0);
    if (size > bytes.size()) FailValue("the record ends in field " + Quoted(field.name));
    return size;
  }
  const auto* const begin = reinterpret_cast<const unsigned char*>(bytes.data());
  return MeasureStored(field.type, begin, bytes.size(), kStoredFormat, field.count, 0).bytes;
}

KvSortKeyKind KindOf(const SchemaField& field) {
  return {.type = field.type};
}

[[noreturn]] void FailKey(const SchemaField& field, int status) {
  FailValue("field " + Quoted(field.name) + " has no sort key (status " + std::to_string(status) +
            ")");
}

void AppendFieldKey(std::string& key, const SchemaField& field, std::string_view stored) {
  const std::size_t bound = KvSortKeyBound(KindOf(field), stored.size(), field.count);
  const std::size_t before = key.size();
  key.resize(before + bound);
  std::size_t size = 0;
  const int status =
      KvSortKeyRun(KindOf(field), stored.data(), static_cast<unsigned>(stored.size()),
                   kStoredFormat, field.count, key.data() + before, bound, nullptr, size);
  if (status != kvOk) FailKey(field, status);
  key.resize(before + size);
}

// ASCII that is not in braces as a null is: what needs neither decoding nor the choice of a code
// set, which is most of what is loaded.
bool IsPlain(std::string_view text) {
  return !text.starts_with('{') && text.size() < KvString::kMaximumBytes &&
         std::all_of(text.begin(), text.end(), [](char c) { return c > 0; });
}

}  // namespace

void StoredRecord::Read(std::string_view bytes) {
  fields_.clear();
  fields_.reserve(table_.schema.fields.size());
  for (const SchemaField& field : table_.schema.fields) {
    const std::size_t size = MeasureField(field, bytes);
    fields_.push_back(bytes.substr(0, size));
    bytes.remove_prefix(size);
  }
  if (!bytes.empty()) FailValue(std::to_string(bytes.size()) + " bytes behind the last field");
}

void AppendKeys(std::string& key, const Table& table, const Fields& fields,
                const StoredRecord& record) {
  for (const std::size_t position : fields) {
    AppendFieldKey(key, table.schema.fields[position], record.Field(position));
  }
}

std::string RecordKey(const Table& table, const StoredRecord& record) {
  std::string key(1, kRecordTag);
  AppendKeys(key, table, table.key, record);
  return key;
}

std::string EntryKey(const Table& table, std::size_t index, const StoredRecord& record,
                     std::string_view recordKey) {
  std::string key(1, IndexTag(index));
  AppendKeys(key, table, table.indexes[index], record);
  return key.append(recordKey.substr(1));
}

std::string RecordKeyOfEntry(const Table& table, std::size_t index, std::string_view entry) {
  KvSortKeyReader reader(entry.data() + 1, entry.size() - 1);
  const void* part = nullptr;
  std::size_t length = 0;
  for (const std::size_t position : table.indexes[index]) {
    const SchemaField& field = table.schema.fields[position];
    for (unsigned i = 0; i < field.count; ++i) {
      if (reader.Skip(KindOf(field), &part, &length) != kvOk) FailValue("an entry breaks off");
      part = static_cast<const char*>(part) + length;
    }
  }
  const std::size_t used = static_cast<std::size_t>(static_cast<const char*>(part) - entry.data());
  return std::string(1, kRecordTag).append(entry.substr(used));
}

std::string FieldKey(const SchemaField& field, std::string_view stored) {
  std::string key;
  AppendFieldKey(key, field, stored);
  return key;
}

FieldValue::FieldValue(const SchemaField& field)
    : field_(field), run_(std::make_unique<ValueRun>(field.type, field.count)) {
  style_.strings.language = field.language;
  // A cell of a file is what it is; a backslash in it stands for itself.
  style_.escapes = false;
}

void FieldValue::Read(std::string_view text) {
  if (field_.type == KvSTRING_T && !field_.isRun && IsPlain(text)) {
    *static_cast<KvString*>(run_->Data()) =
        StringFromBytes(text, {.codeSet = kvCodeSetLatin1, .language = style_.strings.language});
    return;
  }
  if (!field_.isRun) return ReadValue(field_.type, run_->Data(), text, style_);
  const auto values = nlohmann::json::parse(text, nullptr, false);
  if (!values.is_array() || values.size() != field_.count) {
    FailValue(Quoted(text) + " is no JSON array of " + std::to_string(field_.count) + " values");
  }
  for (unsigned i = 0; i < field_.count; ++i) {
    const std::string each =
        values[i].is_string() ? values[i].get<std::string>() : values[i].dump();
    ReadValue(field_.type, run_->At(i), each, style_);
  }
}

void FieldValue::Load(std::string_view stored) {
  Types().Load(field_.type, run_->Data(), stored.data(), kStoredFormat, field_.count);
}

void FieldValue::SetNull() {
  Types().SetNullValue(field_.type, run_->Data());
}

std::string FieldValue::Text() {
  if (!field_.isRun) return TextOf(field_.type, run_->Data(), style_);
  nlohmann::json values = nlohmann::json::array();
  for (unsigned i = 0; i < field_.count; ++i) {
    values.push_back(TextOf(field_.type, run_->At(i), style_));
  }
  return values.dump();
}

void FieldValue::AppendStored(std::string& bytes) const {
  const std::size_t before = bytes.size();
  bytes.resize(before + KvStoredSize(Types(), field_.type, run_->Data(), field_.count).bytes);
  const KvStored stored =
      KvStoreChecked(Types(), field_.type, bytes.data() + before, bytes.size() - before,
                     run_->Data(), kStoredFormat, field_.count);
  if (stored.status != kvOk) FailValue(TypeName(field_.type) + " values cannot be stored");
}

RecordValues::RecordValues(const Table& table) {
  fields_.reserve(table.schema.fields.size());
  for (const SchemaField& field : table.schema.fields) fields_.emplace_back(field);
}

void RecordValues::Load(const StoredRecord& record) {
  for (std::size_t i = 0; i < fields_.size(); ++i) fields_[i].Load(record.Field(i));
}

std::string RecordValues::Stored() const {
  std::string bytes;
  for (const FieldValue& field : fields_) field.AppendStored(bytes);
  return bytes;
}
