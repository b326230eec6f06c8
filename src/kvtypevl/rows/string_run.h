// string_run.h - a run of strings as texts: MemoryStringRun here and StoredStringRun in
// stored_string_run.h walk alike, so that comparer, hash and evaluator are written once. Nothing is
// copied and nothing allocated.
#pragma once

#include "kvbase/run.h"
#include "kvstring.h"
#include "kvstring/string_edit.h"
#include "kvtypevl/rows/stored_string_run.h"

namespace kv {

class MemoryStringRun {
 public:
  // `length` is in bytes, 0 for "exactly `count` strings"; `count` is at least 1.
  MemoryStringRun(const void* strings, unsigned length, Format /*format*/, unsigned count)
      : at_(static_cast<const KvString*>(strings)),
        left_(VisibleElements(length, sizeof(KvString), count)) {}

  // Takes the next string: 0, or kvBufferShort when the buffer ends before it.
  int Next(Text& text) {
    if (left_ == 0) return kvBufferShort;
    --left_;
    text = TextOf(*at_++);
    return kvOk;
  }

  static constexpr short CutLength() { return -1; }

 private:
  const KvString* at_;
  unsigned left_;
};

}  // namespace kv
