#include "output.h"

#include <nlohmann/json.hpp>

#include "catalogue.h"
#include "csv_reader.h"
#include "program.h"

namespace {

using Json = nlohmann::ordered_json;

// A number as a number where JSON has it, a null as null, everything else as text.
Json JsonValue(const SchemaField& field, const std::string& text) {
  static const std::string null = Utf8FromString(KvTypeMgr::GetNullPrintString());
  if (field.isRun) return Json::parse(text, nullptr, false);
  if (text == null && Types().SupportsNullValue(field.type) != 0) return nullptr;
  if (field.type == KvSTRING_T || field.type == KvISTRING_T || field.type == KvCASEISTRING_T ||
      field.type == KvBLOB_T) {
    return text;
  }
  const Json number = Json::parse(text, nullptr, false);
  return number.is_number() ? number : Json(text);
}

}  // namespace

RecordWriter::RecordWriter(const Table& table, bool json)
    : table_(table), json_(json), values_(table) {
  if (json_) return;
  std::string names;
  for (const SchemaField& field : table.schema.fields) {
    names += (names.empty() ? "" : ",") + CsvCell(field.name);
  }
  Print(names + "\n");
}

std::string RecordWriter::CsvLine() {
  std::string line;
  for (std::size_t i = 0; i < values_.Count(); ++i) {
    if (i > 0) line += ',';
    line += CsvCell(values_[i].Text());
  }
  return line + "\n";
}

std::string RecordWriter::JsonLine() {
  Json object = Json::object();
  for (std::size_t i = 0; i < values_.Count(); ++i) {
    const SchemaField& field = table_.schema.fields[i];
    object[field.name] = JsonValue(field, values_[i].Text());
  }
  return (began_ ? ",\n " : "[\n ") + object.dump(-1, ' ', false, Json::error_handler_t::replace);
}

void RecordWriter::Write(const StoredRecord& record) {
  values_.Load(record);
  Print(json_ ? JsonLine() : CsvLine());
  began_ = true;
}

void RecordWriter::End() {
  if (json_) Print(began_ ? "\n]\n" : "[]\n");
}
