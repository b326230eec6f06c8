#include "arguments.h"

#include "catalogue.h"
#include "failure.h"
#include "names.h"

namespace kvsqlite {

Type ReadType(std::string_view text) {
  const std::size_t slash = text.find('/');
  Type type{FindValueType(std::string(text.substr(0, slash))), -1};
  if (slash == std::string_view::npos) return type;
  if (type.id != KvSTRING_T) FailUsage("only a KvString has a language");
  type.language = FindLanguage(std::string(text.substr(slash + 1)));
  return type;
}

std::uint32_t ReadForm(sqlite3_value* value) {
  const std::string_view text = ReadText(value, "ORDER");
  if (text == "0" || text == "1" || text == "memory" || text == "little") return KVC_STORED;
  if (text == "2" || text == "reversed" || text == "big") return KVC_REVERSED;
  FailUsage("ORDER is 'memory' (0) or 'reversed' (2), not " + Quoted(text));
}

Bytes ReadBlob(sqlite3_value* value, const char* what) {
  if (sqlite3_value_type(value) != SQLITE_BLOB) FailUsage(std::string(what) + " is not a blob");
  const auto* data = static_cast<const unsigned char*>(sqlite3_value_blob(value));
  // SQLite has no address for the empty blob.
  static const unsigned char nothing = 0;
  return {data == nullptr ? &nothing : data, static_cast<std::size_t>(sqlite3_value_bytes(value))};
}

std::string_view ReadText(sqlite3_value* value, const char* what) {
  const int kind = sqlite3_value_type(value);
  if (kind == SQLITE_BLOB || kind == SQLITE_NULL) FailUsage(std::string(what) + " is not a text");
  const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
  if (text == nullptr) throw std::bad_alloc();
  return {text, static_cast<std::size_t>(sqlite3_value_bytes(value))};
}

void FailStatus(std::int32_t status) {
  FailValue(std::string(kvc_status_name(status)) + ": " + kvc_status_text(status));
}

void FailStatus(std::int32_t status, const kvc_measure& measure) {
  if (measure.reason == nullptr || *measure.reason == '\0') FailStatus(status);
  FailValue(std::string(kvc_status_name(status)) + ": " + measure.reason + " at byte " +
            std::to_string(measure.offset));
}

std::uint32_t CountOf(std::int32_t type, std::uint32_t form, Bytes stored) {
  kvc_measure measure{};
  measure.size = sizeof measure;
  const std::int32_t status = kvc_check(type, form, stored.data, stored.size, 0, &measure);
  if (status != KVC_OK) FailStatus(status, measure);
  return measure.count;
}

std::optional<std::string> TextOf(std::int32_t type, std::uint32_t form, Bytes stored) {
  const std::uint32_t count = CountOf(type, form, stored);
  std::int32_t isNull = 0;
  if (count == 1) kvc_is_null(type, form, stored.data, stored.size, &isNull);
  if (isNull != 0) return std::nullopt;
  const Result text([&](void* buffer, std::size_t capacity, std::size_t* needed) {
    return kvc_print(type, nullptr, form, stored.data, stored.size, count,
                     static_cast<char*>(buffer), capacity, needed);
  });
  if (text.Status() != KVC_OK) FailStatus(text.Status());
  return std::string(text.Data(), text.Size());
}

}  // namespace kvsqlite
