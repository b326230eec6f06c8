#include "catalogue.h"

#include <algorithm>
#include <vector>

#include "failure.h"
#include "numbers.h"

KvTypeMgr& Types() {
  return *DefaultTypeMgr(nullptr);
}

int TypeCount() {
  static const int count = [] {
    char next = 0;
    while (Types().IsValidType(next)) ++next;
    return int{next};
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

std::string Lowered(std::string_view text) {
  std::string lowered(text);
  for (char& c : lowered) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
  }
  return lowered;
}

// Edits (insert, remove, replace) that turn one text into the other.
std::size_t EditDistance(std::string_view from, std::string_view to) {
  std::vector<std::size_t> row(to.size() + 1);
  for (std::size_t j = 0; j <= to.size(); ++j) row[j] = j;
  for (std::size_t i = 0; i < from.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t j = 0; j < to.size(); ++j) {
      const std::size_t replaced = diagonal + (from[i] == to[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({row[j] + 1, row[j + 1] + 1, replaced});
    }
  }
  return row[to.size()];
}

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

constexpr std::size_t kFarthestName = 3;  // edits of a name that is still a misspelling
constexpr std::size_t kMostSuggestions = 4;

std::string Joined(const std::vector<std::string>& names) {
  std::string text;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (i > 0) text += i + 1 < names.size() ? ", " : " or ";
    text += names[i];
  }
  return text;
}

// The names that a mistyped one most likely meant, empty when none is near.
std::string Suggestion(std::string_view text) {
  const std::string wanted = Lowered(text.substr(0, 40));
  for (const OtherName& other : kOtherNames) {
    if (wanted == other.name) return other.types;
  }
  std::vector<std::string> nearest;
  std::size_t nearestDistance = kFarthestName + 1;
  for (char id = 0; id < TypeCount(); ++id) {
    for (const std::string& name : {TypeName(id), TypeIdName(id)}) {
      const std::size_t distance = EditDistance(wanted, Lowered(name));
      if (distance > nearestDistance || distance > kFarthestName || distance >= wanted.size()) {
        continue;
      }
      if (distance < nearestDistance) nearest.clear();
      nearestDistance = distance;
      if (nearest.size() < kMostSuggestions) nearest.push_back(name);
    }
  }
  return Joined(nearest);
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
