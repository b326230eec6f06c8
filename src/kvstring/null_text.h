// How a null looks as text, for every type that has one.
#pragma once

#include <cstring>
#include <utility>

#include "kvstring.h"
#include "kvstring/narrow_text.h"
#include "kvtypemgr.h"

namespace kv {

// As every printed text, in the default 8-bit code set and the default language.
inline KvString& PrintNull(KvString& out) {
  const KvString& null = KvTypeMgr::GetNullPrintString();
  KvString text(KvLanguageContext::GetDefault8CodeSet(), KvLanguageContext::GetDefaultLanguage());
  text << null;
  if (text.Len() == null.Len()) out = std::move(text);
  return out;
}

[[gnu::noinline]] inline bool BeginsWith(const char* text, const KvString& beginning) {
  const NarrowText narrow(beginning);
  return *narrow.Get() != 0 && std::strncmp(text, narrow.Get(), std::strlen(narrow.Get())) == 0;
}

// True when a text begins with the null print string; what follows it is ignored. An empty null
// print string is the beginning of no text.
inline bool BeginsWithNull(const char* text) {
  const KvString& print = KvTypeMgr::GetNullPrintString();
  // Most texts are told by their first character.
  if (!KvIsWideCodeSet(print.GetCodeSet()) && *NarrowText::BytesOf(print) != *text) return false;
  return BeginsWith(text, print);
}

// The texts that scan as null: nothing at all, and the null print string.
inline bool IsNullText(const char* text) {
  return *text == 0 || BeginsWithNull(text);
}

}  // namespace kv
