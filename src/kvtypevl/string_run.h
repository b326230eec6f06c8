// string_run.h - a run of strings as texts, whichever form it is in: one way to walk for the
// comparer, the hash and the evaluator. Nothing is copied and nothing allocated.
#pragma once

#include "kvstring.h"
#include "kvstring/collate.h"
#include "kvstring/string_edit.h"
#include "kvtypevl/run.h"
#include "kvtypevl/string_storage.h"

namespace kv {

inline Text TextOf(const KvString& string) {
  return {string.GetCodeSet(), string.GetLanguage(), string.StrGet()};
}

class StringRun {
 public:
  // `length` is in bytes, 0 for "exactly `count` strings".
  StringRun(const void* values, unsigned length, Format format, unsigned count)
      : isMemory_(format.IsMemory()),
        strings_(isMemory_ ? static_cast<const KvString*>(values) : nullptr),
        visible_(count == 0 ? 0 : VisibleElements(length, sizeof(KvString), count)),
        stored_(StoredWalk(values, length, format, count)) {}

  // Takes the next string: 0, kvBufferShort when the buffer ends before it, or kvNotSupported when
  // its stored length cannot be right.
  int Next(Text& text) {
    isCut_ = false;
    if (!isMemory_) return NextStored(text);
    if (visible_ == 0) return kvBufferShort;
    --visible_;
    text = TextOf(*strings_++);
    return kvOk;
  }

  // Whether the last string is the beginning of one that the buffer cuts short.
  bool IsCut() const { return isCut_; }

 private:
  // Strings in memory and runs of none leave the walk unused, over a text that is always there.
  static StoredStringRun StoredWalk(const void* values, unsigned length, Format format,
                                    unsigned count) {
    if (format.IsMemory() || count == 0) return StoredStringRun(kEmptyText, 0, format);
    return StoredStringRun(values, length, format);
  }

  int NextStored(Text& text) {
    StoredString string;
    const int status = stored_.Next(string);
    if (status != kvOk) return status;
    text = {string.codeSet, string.language, string.text, string.length, string.byteOrder};
    isCut_ = string.isCut;
    return kvOk;
  }

  bool isMemory_;
  const KvString* strings_;
  unsigned visible_;
  StoredStringRun stored_;
  bool isCut_ = false;
};

}  // namespace kv
