// TextSink: the text of a print function on its way into its KvString. A KvString allocates on
// every change, so pieces gather in a block and reach it together.
#pragma once

#include <charconv>
#include <cstring>

#include "kvstring.h"

namespace kv {

// Replaces what `out` holds by the text put into the sink. The text is complete after Finish.
class TextSink {
 public:
  explicit TextSink(KvString& out) : out_(out) { out_ = ""; }
  TextSink(const TextSink&) = delete;
  TextSink& operator=(const TextSink&) = delete;

  // A zero character would end the text and is left out.
  void Put(char character) {
    if (character == 0) return;
    if (used_ + 1 == sizeof block_) Finish();
    block_[used_++] = character;
  }
  void Put(const char* text) {
    while (*text != 0) Put(*text++);
  }
  void PutNumber(o_u8b number, int radix = 10) {
    char digits[65] = {};
    std::to_chars(digits, digits + sizeof digits - 1, number, radix);
    Put(digits);
  }

  KvString& Finish() {
    block_[used_] = 0;
    if (used_ != 0) out_ << static_cast<const char*>(block_);
    used_ = 0;
    return out_;
  }

 private:
  KvString& out_;
  unsigned used_ = 0;
  char block_[512];
};

}  // namespace kv
