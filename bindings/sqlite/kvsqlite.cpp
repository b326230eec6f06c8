// kvsqlite: stored values in SQL. TYPE is a type's name, STORED its stored bytes as a blob, ORDER
// their byte order, memory order where it is left out. Every function is deterministic, so that an
// index may be made over it, and innocuous, so that views and triggers may use it.
//
//   kv_text(TYPE, STORED[, ORDER])       the value, or a run with commas, as text; null as NULL
//   kv_blob(TYPE, TEXT[, ORDER])         the stored bytes of a value; TYPE may be KvString/LANGUAGE
//   kv_key(TYPE, STORED[, ORDER])        the sort key: a blob that orders as the values do
//   kv_unkey(TYPE, KEY[, ORDER])         the stored bytes of a sort key's value
//   kv_cmp(TYPE, STORED, STORED[, ORDER])  -1, 0 or 1
//   kv_hash(TYPE, STORED[, ORDER])       the hash, of a value or a run
//   kv_is_null(TYPE, STORED[, ORDER])    1 or 0
//   kv_check(TYPE, STORED[, ORDER])      'ok', or what is wrong with the bytes and where
//   kv_each(SCHEMA, RECORD[, ORDER])     the fields of a record as rows (each.cpp)
//
// A STORED, TEXT or KEY of NULL gives NULL, but for kv_blob, which stores the null of types that
// have one.
#include "arguments.h"
#include "failure.h"

SQLITE_EXTENSION_INIT1

using namespace kvsqlite;

namespace {

constexpr int kFlags = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS;

void DeleteType(void* type) {
  delete static_cast<Type*>(type);
}

// One call of a function: its arguments read, its failures told to SQLite.
struct Call {
  sqlite3_context* context;
  sqlite3_value** arguments;
  Type type;
  std::uint32_t form = KVC_STORED;

  sqlite3_value* operator[](int index) const { return arguments[index]; }

  // TYPE is the same text in every row as a rule: SQLite keeps what it was read as.
  void ReadTypeOnce() {
    if (const void* kept = sqlite3_get_auxdata(context, 0)) {
      type = *static_cast<const Type*>(kept);
      return;
    }
    type = ReadType(ReadText(arguments[0], "TYPE"));
    sqlite3_set_auxdata(context, 0, new Type(type), DeleteType);
  }

  // The stored bytes of one value.
  Bytes ReadValue(int index, const char* what) const {
    const Bytes stored = ReadBlob(arguments[index], what);
    // One sound value is told at a glance; what is wrong with others takes a walk.
    std::size_t size = 0;
    if (kvc_stored_size(type.id, form, stored.data, stored.size, 1, &size) == KVC_OK &&
        size == stored.size) {
      return stored;
    }
    const std::uint32_t count = CountOf(type.id, form, stored);
    if (count != 1) FailValue(std::string(what) + " is a run, not one value");
    return stored;
  }

  void Answer(const Result& result) const {
    if (result.Status() != KVC_OK) FailStatus(result.Status());
    sqlite3_result_blob64(context, result.Data(), result.Size(), SQLITE_TRANSIENT);
  }
};

// The function of SQL around a function of ours. The last of `most` arguments is ORDER.
template <void (*kFunction)(const Call&), int kMost>
void Entry(sqlite3_context* context, int count, sqlite3_value** arguments) {
  try {
    Call call{context, arguments, {}};
    call.ReadTypeOnce();
    if (count == kMost) call.form = ReadForm(arguments[kMost - 1]);
    kFunction(call);
  } catch (const Failure& failure) {
    sqlite3_result_error(context, failure.what.c_str(), -1);
  } catch (...) {
    sqlite3_result_error_nomem(context);
  }
}

// For functions of NULL, which is NULL.
template <void (*kFunction)(const Call&)>
void Strict(const Call& call) {
  if (sqlite3_value_type(call[1]) != SQLITE_NULL) kFunction(call);
}

void Text(const Call& call) {
  const auto text = TextOf(call.type.id, call.form, ReadBlob(call[1], "STORED"));
  if (!text) return;
  sqlite3_result_text64(call.context, text->data(), text->size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

void Blob(const Call& call) {
  const Type type = call.type;
  if (sqlite3_value_type(call[1]) == SQLITE_NULL) {
    return call.Answer(Result([&](void* buffer, std::size_t capacity, std::size_t* needed) {
      return kvc_null(type.id, call.form, buffer, capacity, needed);
    }));
  }
  const std::string_view text = ReadText(call[1], "TEXT");
  const kvc_text_options options{sizeof options, KVC_TEXT_LITERAL, -1, type.language, nullptr};
  std::size_t position = 0;
  const Result stored([&](void* buffer, std::size_t capacity, std::size_t* needed) {
    return kvc_scan(type.id, &options, text.data(), text.size(), call.form, buffer, capacity,
                    needed, &position);
  });
  if (stored.Status() != KVC_OK) {
    FailValue(std::string(kvc_status_name(stored.Status())) + ": " + Quoted(text) + " at byte " +
              std::to_string(position));
  }
  call.Answer(stored);
}

kvc_key_kind KindOf(const Call& call) {
  return {sizeof(kvc_key_kind), call.type.id, 0, KVC_EXACT, KVC_KEY_VERSION};
}

void Key(const Call& call) {
  const Bytes stored = call.ReadValue(1, "STORED");
  const kvc_key_kind kind = KindOf(call);
  call.Answer(Result([&](void* buffer, std::size_t capacity, std::size_t* needed) {
    return kvc_key(&kind, call.form, stored.data, stored.size, buffer, capacity, needed);
  }));
}

void Unkey(const Call& call) {
  const Bytes key = ReadBlob(call[1], "KEY");
  const kvc_key_kind kind = KindOf(call);
  std::size_t used = 0;
  const Result stored([&](void* buffer, std::size_t capacity, std::size_t* needed) {
    return kvc_unkey(&kind, key.data, key.size, call.form, buffer, capacity, needed, &used);
  });
  if (stored.Status() == KVC_OK && used != key.size) FailValue("bytes behind the key");
  call.Answer(stored);
}

void Compare(const Call& call) {
  if (sqlite3_value_type(call[2]) == SQLITE_NULL) return;
  const Bytes a = call.ReadValue(1, "STORED");
  const Bytes b = call.ReadValue(2, "STORED");
  std::int32_t order = 0;
  const std::int32_t status =
      kvc_compare(call.type.id, KVC_EXACT, call.form, a.data, a.size, b.data, b.size, 1, &order);
  if (status != KVC_OK) FailStatus(status);
  sqlite3_result_int(call.context, order);
}

void Hash(const Call& call) {
  const Bytes stored = ReadBlob(call[1], "STORED");
  const std::uint32_t count = CountOf(call.type.id, call.form, stored);
  std::uint32_t hash = 0;
  const std::int32_t status =
      kvc_hash(call.type.id, call.form, stored.data, stored.size, count, &hash);
  if (status != KVC_OK) FailStatus(status);
  sqlite3_result_int64(call.context, hash);
}

void IsNull(const Call& call) {
  const Bytes stored = call.ReadValue(1, "STORED");
  std::int32_t isNull = 0;
  const std::int32_t status =
      kvc_is_null(call.type.id, call.form, stored.data, stored.size, &isNull);
  if (status != KVC_OK) FailStatus(status);
  sqlite3_result_int(call.context, isNull);
}

void Check(const Call& call) {
  const Bytes stored = ReadBlob(call[1], "STORED");
  std::string answer = "ok";
  try {
    CountOf(call.type.id, call.form, stored);
  } catch (const Failure& failure) {
    answer = failure.what;
  }
  sqlite3_result_text(call.context, answer.c_str(), -1, SQLITE_TRANSIENT);
}

using Function = void (*)(sqlite3_context*, int, sqlite3_value**);

struct Entries {
  const char* name;
  int arguments;  // without ORDER
  Function function;
};

constexpr Entries kFunctions[] = {
    {"kv_text", 2, Entry<Strict<Text>, 3>},      {"kv_blob", 2, Entry<Blob, 3>},
    {"kv_key", 2, Entry<Strict<Key>, 3>},        {"kv_unkey", 2, Entry<Strict<Unkey>, 3>},
    {"kv_cmp", 3, Entry<Strict<Compare>, 4>},    {"kv_hash", 2, Entry<Strict<Hash>, 3>},
    {"kv_is_null", 2, Entry<Strict<IsNull>, 3>}, {"kv_check", 2, Entry<Strict<Check>, 3>},
};

int RegisterFunctions(sqlite3* database) {
  for (const Entries& entry : kFunctions) {
    for (const int count : {entry.arguments, entry.arguments + 1}) {
      const int status = sqlite3_create_function_v2(database, entry.name, count, kFlags, nullptr,
                                                    entry.function, nullptr, nullptr, nullptr);
      if (status != SQLITE_OK) return status;
    }
  }
  return SQLITE_OK;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int sqlite3_kvsqlite_init(
    sqlite3* database, char** message, const sqlite3_api_routines* routines) {
  (void)message;
  SQLITE_EXTENSION_INIT2(routines)
  const int status = RegisterFunctions(database);
  return status != SQLITE_OK ? status : RegisterEach(database);
}
