// kv_each(SCHEMA, RECORD[, ORDER]): a stored record as rows, one for each field of its schema.
//
//   SELECT name, text FROM kv_each('id:o_u4b, day:KvDate, marks:o_2b[2]', record);
//
// Columns: name, type, count (values in the field), place (its first byte), text (NULL for null)
// and stored. Bytes that the schema leaves over are an error, as damaged ones are.
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "arguments.h"
#include "catalogue.h"
#include "failure.h"
#include "schema.h"

namespace kvsqlite {

namespace {

enum Column { kName, kType, kCount, kPlace, kText, kStored, kSchema, kRecord, kOrder };

constexpr char kDeclaration[] =
    "CREATE TABLE kv_each(name TEXT, type TEXT, count INTEGER, place INTEGER, text TEXT,"
    " stored BLOB, schema HIDDEN, record HIDDEN, byte_order HIDDEN)";

struct Field {
  std::string name;
  std::string type;
  std::uint32_t count;
  std::size_t place;
  std::optional<std::string> text;
  std::string stored;
};

struct Table : sqlite3_vtab {};

struct Cursor : sqlite3_vtab_cursor {
  std::vector<Field> fields;
  std::size_t at = 0;
};

Cursor& Of(sqlite3_vtab_cursor* cursor) {
  return *static_cast<Cursor*>(cursor);
}

Field ReadField(const SchemaField& wanted, std::uint32_t form, Bytes record, std::size_t place) {
  const Bytes rest{record.data + place, record.size - place};
  kvc_measure measure{};
  measure.size = sizeof measure;
  const std::int32_t status =
      kvc_check(wanted.type, form, rest.data, rest.size, wanted.count, &measure);
  if (status != KVC_OK) {
    FailValue("field " + Quoted(wanted.name) + ": " + kvc_status_name(status) + ": " +
              measure.reason + " at byte " + std::to_string(place + measure.offset));
  }
  const Bytes stored{rest.data, measure.bytes};
  return {wanted.name,
          TypeName(wanted.type),
          wanted.count,
          place,
          kvsqlite::TextOf(wanted.type, form, stored),
          std::string(reinterpret_cast<const char*>(stored.data), stored.size)};
}

std::vector<Field> ReadFields(const Schema& schema, std::uint32_t form, Bytes record) {
  std::vector<Field> fields;
  std::size_t place = 0;
  for (const SchemaField& wanted : schema.fields) {
    fields.push_back(ReadField(wanted, form, record, place));
    place += fields.back().stored.size();
  }
  if (place != record.size) {
    FailValue("the record goes on behind its last field, at byte " + std::to_string(place));
  }
  return fields;
}

int Connect(sqlite3* database, void*, int, const char* const*, sqlite3_vtab** table, char**) {
  const int status = sqlite3_declare_vtab(database, kDeclaration);
  if (status != SQLITE_OK) return status;
  sqlite3_vtab_config(database, SQLITE_VTAB_INNOCUOUS);
  *table = new (std::nothrow) Table{};
  return *table == nullptr ? SQLITE_NOMEM : SQLITE_OK;
}

int Disconnect(sqlite3_vtab* table) {
  delete static_cast<Table*>(table);
  return SQLITE_OK;
}

// The arguments are equalities on the hidden columns. They come to Filter in the order of the
// columns, and the plan's number has a bit for each that is there.
int BestIndex(sqlite3_vtab*, sqlite3_index_info* info) {
  int places[3] = {-1, -1, -1};
  for (int i = 0; i < info->nConstraint; ++i) {
    const auto& constraint = info->aConstraint[i];
    if (constraint.iColumn < kSchema || constraint.op != SQLITE_INDEX_CONSTRAINT_EQ) continue;
    // The argument depends on a table that comes later in the join.
    if (!constraint.usable) return SQLITE_CONSTRAINT;
    places[constraint.iColumn - kSchema] = i;
  }
  int count = 0;
  for (int argument = 0; argument < 3; ++argument) {
    if (places[argument] < 0) continue;
    info->aConstraintUsage[places[argument]].argvIndex = ++count;
    info->aConstraintUsage[places[argument]].omit = 1;
    info->idxNum |= 1 << argument;
  }
  info->estimatedCost = 10;
  info->estimatedRows = 10;
  return SQLITE_OK;
}

int Open(sqlite3_vtab*, sqlite3_vtab_cursor** cursor) {
  *cursor = new (std::nothrow) Cursor{};
  return *cursor == nullptr ? SQLITE_NOMEM : SQLITE_OK;
}

int Close(sqlite3_vtab_cursor* cursor) {
  delete static_cast<Cursor*>(cursor);
  return SQLITE_OK;
}

int FailFilter(sqlite3_vtab_cursor* cursor, const char* what) {
  sqlite3_free(cursor->pVtab->zErrMsg);
  cursor->pVtab->zErrMsg = sqlite3_mprintf("kv_each: %s", what);
  return SQLITE_ERROR;
}

int Filter(sqlite3_vtab_cursor* cursor, int plan, const char*, int, sqlite3_value** arguments) {
  Cursor& rows = Of(cursor);
  rows.fields.clear();
  rows.at = 0;
  if ((plan & 3) != 3) return FailFilter(cursor, "SCHEMA and RECORD are needed");
  try {
    if (sqlite3_value_type(arguments[1]) == SQLITE_NULL) return SQLITE_OK;
    const Schema schema = ParseSchema(ReadText(arguments[0], "SCHEMA"));
    const std::uint32_t form = (plan & 4) != 0 ? ReadForm(arguments[2]) : std::uint32_t{KVC_STORED};
    rows.fields = ReadFields(schema, form, ReadBlob(arguments[1], "RECORD"));
    return SQLITE_OK;
  } catch (const Failure& failure) {
    return FailFilter(cursor, failure.what.c_str());
  } catch (...) {
    return SQLITE_NOMEM;
  }
}

int Next(sqlite3_vtab_cursor* cursor) {
  ++Of(cursor).at;
  return SQLITE_OK;
}

int IsAtEnd(sqlite3_vtab_cursor* cursor) {
  return Of(cursor).at >= Of(cursor).fields.size();
}

void AnswerText(sqlite3_context* context, const std::string& text) {
  sqlite3_result_text64(context, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

int Answer(sqlite3_vtab_cursor* cursor, sqlite3_context* context, int column) {
  const Field& field = Of(cursor).fields[Of(cursor).at];
  switch (column) {
    case kName:
      AnswerText(context, field.name);
      break;
    case kType:
      AnswerText(context, field.type);
      break;
    case kCount:
      sqlite3_result_int64(context, field.count);
      break;
    case kPlace:
      sqlite3_result_int64(context, static_cast<sqlite3_int64>(field.place));
      break;
    case kText:
      if (field.text) AnswerText(context, *field.text);
      break;
    case kStored:
      sqlite3_result_blob64(context, field.stored.data(), field.stored.size(), SQLITE_TRANSIENT);
      break;
    default:
      break;
  }
  return SQLITE_OK;
}

int RowNumber(sqlite3_vtab_cursor* cursor, sqlite3_int64* number) {
  *number = static_cast<sqlite3_int64>(Of(cursor).at) + 1;
  return SQLITE_OK;
}

// Without a create function the table is there by its name alone.
sqlite3_module MakeModule() {
  sqlite3_module module{};
  module.xConnect = Connect;
  module.xBestIndex = BestIndex;
  module.xDisconnect = Disconnect;
  module.xOpen = Open;
  module.xClose = Close;
  module.xFilter = Filter;
  module.xNext = Next;
  module.xEof = IsAtEnd;
  module.xColumn = Answer;
  module.xRowid = RowNumber;
  return module;
}

}  // namespace

int RegisterEach(sqlite3* database) {
  static const sqlite3_module module = MakeModule();
  return sqlite3_create_module_v2(database, "kv_each", &module, nullptr, nullptr);
}

}  // namespace kvsqlite
