// One catalogue row as the probe needs it: its values as text, in stored form, and their order. All
// of it goes through the type manager by type id, so that it serves every row alike.
#pragma once

#include <string>
#include <vector>

#include "kv.h"

// A value in stored form.
using Stored = std::vector<unsigned char>;

// Keys are kept in memory order; 2 would keep them reversed, and nothing else here would change.
inline constexpr unsigned char kKeyFormat = 0;

// The order of an index: wildcards that a date or a text may hold are values like any other.
inline constexpr unsigned short kKeyOrder = kvCompareExact;

class Row {
 public:
  // `name` is a type name, a type id name or a type id. An empty `format` is one that suits the row
  // (dates and times as ISO 8601 has them).
  Row(const std::string& name, const std::string& format);

  char Id() const { return id_; }
  std::string Name() const { return types_.NameGet(id_, nullptr); }

  // The value that `text` (UTF-8) stands for. Fails when it is no value of the row.
  Stored Read(const std::string& text) const;
  std::string Print(const Stored& value) const;
  bool IsNull(const Stored& value) const;

  // The sort key of a stored value. Fails for a value that has none. A length of 0 means "one
  // value".
  Stored KeyOf(const void* value, unsigned length) const;

  // -1, 0 or 1. A length of 0 means "one value".
  int Compare(const void* a, unsigned lengthOfA, const void* b, unsigned lengthOfB) const {
    int status = kvOk;
    return types_.Cmp(id_, lengthOfA, const_cast<void*>(a), lengthOfB, const_cast<void*>(b),
                      kKeyOrder, 1, kKeyFormat, status);
  }

 private:
  const char* Format() const { return format_.empty() ? nullptr : format_.c_str(); }

  KvTypeMgr& types_;
  char id_;
  std::string format_;
};
