#include "catalogue.h"

#include <vector>

#include "failure.h"
#include "nearest.h"
#include "numbers.h"

KvTypeMgr& Types() {
  return *DefaultTypeMgr(nullptr);
}

char TypeCount() {
  static const char count = [] {
    char next = 0;
    while (Types().IsValidType(next)) ++next;
    return next;
  }();
  return count;
}

bool HasValues(char id) {
  return Types().MemLenGet(id, 1) != 0;
}

std::string TypeName(char id) {
  return Types().NameGet(id, nullptr);
}
std::string TypeIdName(char id) {
  return Types().TypeIdNameGet(id, nullptr);
}

namespace {

// What users of other systems call a type.
struct OtherName {
  const char* name;
  const char* types;
};

constexpr OtherName kOtherNames[] = {
    {"int8", "o_char"},
    {"uint8", "o_u1b"},
    {"byte", "o_u1b"},
    {"int16", "o_2b"},
    {"short", "o_2b"},
    {"smallint", "o_2b"},
    {"uint16", "o_u2b"},
    {"int32", "o_4b or int"},
    {"integer", "o_4b or int"},
    {"long", "o_4b or o_8b"},
    {"uint32", "o_u4b"},
    {"int64", "o_8b or KvInt64"},
    {"bigint", "o_8b"},
    {"uint64", "o_u8b"},
    {"float", "o_float or o_double"},
    {"float32", "o_float"},
    {"float64", "o_double"},
    {"double", "o_double"},
    {"real", "o_float"},
    {"bool", "KvBoolean"},
    {"boolean", "KvBoolean"},
    {"char", "o_char"},
    {"string", "KvString"},
    {"text", "KvString"},
    {"varchar", "KvString"},
    {"date", "KvDate"},
    {"time", "KvTime"},
    {"datetime", "KvDateTime"},
    {"timestamp", "KvDateTimeN or d_Timestamp"},
    {"interval", "KvTimeSpan or d_Interval"},
    {"blob", "KvBlob"},
    {"bytes", "KvBlob"},
    {"bytea", "KvBlob"},
    {"binary", "KvBlob"},
};

// The names that a mistyped one most likely meant, empty when none is near.
std::string Suggestion(std::string_view text) {
  for (const OtherName& other : kOtherNames) {
    if (EqualsIgnoringCase(text, other.name)) return other.types;
  }
  std::vector<std::string> names;
  for (char id = 0; id < TypeCount(); ++id) {
    names.push_back(TypeName(id));
    names.push_back(TypeIdName(id));
  }
  return NearestOf(text, names);
}

}  // namespace

char FindType(std::string_view text) {
  for (char id = 0; id < TypeCount(); ++id) {
    if (text == TypeName(id) || text == TypeIdName(id)) return id;
  }
  unsigned long long number = 0;
  const NumberFault fault = ReadInteger(text, 0, 127, number);
  if (fault == NumberFault::kNone && Types().IsValidType(static_cast<char>(number))) {
    return static_cast<char>(number);
  }
  if (fault != NumberFault::kNotANumber) {
    FailUsage("there is no type id " + Quoted(text) + "; type ids are 0 to " +
              std::to_string(TypeCount() - 1));
  }
  const std::string suggestion = Suggestion(text);
  FailUsage(
      "unknown type " + Quoted(text) +
      (suggestion.empty() ? "; kvtm types lists them" : "; did you mean " + suggestion + "?"));
}

char FindValueType(std::string_view text) {
  const char id = FindType(text);
  if (!HasValues(id)) {
    FailUsage("the type " + Quoted(text) + " is the illegal one and has no values");
  }
  return id;
}
