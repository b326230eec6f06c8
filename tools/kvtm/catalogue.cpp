#include "catalogue.h"

#include <algorithm>
#include <vector>

#include "failure.h"
#include "numbers.h"

KvTypeMgr& Types() {
  return *DefaultTypeMgr(nullptr);
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

// The name that a mistyped one most likely meant, empty when none is near.
std::string NearestName(std::string_view text) {
  const std::string wanted = Lowered(text.substr(0, 40));
  std::string nearest;
  std::size_t nearestDistance = 4;
  for (char id = 0; id < kTypeCount; ++id) {
    for (const std::string& name : {TypeIdName(id), TypeName(id)}) {
      const std::size_t distance = EditDistance(wanted, Lowered(name));
      if (distance >= nearestDistance || distance >= wanted.size()) continue;
      nearestDistance = distance;
      nearest = name;
    }
  }
  return nearest;
}

}  // namespace

char FindType(std::string_view text) {
  for (char id = 0; id < kTypeCount; ++id) {
    if (text == TypeName(id) || text == TypeIdName(id)) return id;
  }
  unsigned long long number = 0;
  const NumberFault fault = ReadInteger(text, 0, 127, number);
  if (fault == NumberFault::kNone && Types().IsValidType(static_cast<char>(number))) {
    return static_cast<char>(number);
  }
  if (fault != NumberFault::kNotANumber) {
    FailUsage("there is no type id " + Quoted(text) + "; type ids are 0 to 46");
  }
  const std::string nearest = NearestName(text);
  FailUsage("unknown type " + Quoted(text) +
            (nearest.empty() ? "; kvtm types lists them" : "; did you mean " + nearest + "?"));
}

char FindValueType(std::string_view text) {
  const char id = FindType(text);
  if (id >= KvRES_T)
    FailUsage("the type " + Quoted(text) + " is the illegal one and has no values");
  return id;
}
