// How a null looks as text, for every type that has one.
#pragma once

#include <cstring>

#include "kvstring.h"
#include "kvtypemgr.h"
#include "kvtypevl/narrow_text.h"

namespace kv {

inline KvString& PrintNull(KvString& out) {
  return out = KvTypeMgr::GetNullPrintString();
}

// True when a text begins with the null print string; what follows it is ignored. An empty null
// print string is the beginning of no text.
inline bool BeginsWithNull(const char* text) {
  const KvString& print = KvTypeMgr::GetNullPrintString();
  // Most texts are told by their first character.
  if (!KvIsWideCodeSet(print.GetCodeSet()) && *print.StrGet() != *text) return false;
  const NarrowText null(print);
  if (*null.Get() == 0) return false;
  return std::strncmp(text, null.Get(), std::strlen(null.Get())) == 0;
}

// The texts that scan as null: nothing at all, and the null print string.
inline bool IsNullText(const char* text) {
  return *text == 0 || BeginsWithNull(text);
}

}  // namespace kv
