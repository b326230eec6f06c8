// TextSink: the text of a print function on its way into its KvString. A KvString allocates on
// every change, so pieces gather in a block and reach it together.
#pragma once

#include <charconv>
#include <cstring>
#include <utility>

#include "kvstring.h"
#include "kvstring/string_edit.h"

namespace kv {

// Replaces what `out` holds by the text put into the sink, with Finish. When memory is short `out`
// stays as it is.
class TextSink {
 public:
  explicit TextSink(KvString& out)
      : out_(out),
        text_(KvLanguageContext::GetDefault8CodeSet(), KvLanguageContext::GetDefaultLanguage()) {}
  TextSink(const TextSink&) = delete;
  TextSink& operator=(const TextSink&) = delete;

  // A zero character would end the text and is left out.
  void Put(char character) {
    if (character == 0) return;
    if (used_ == sizeof block_) Flush();
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
    Flush();
    if (failed_) return out_;
    return text_.IsEmpty() ? out_ = "" : out_ = std::move(text_);
  }

 private:
  void Flush() {
    if (used_ != 0 && !failed_) {
      failed_ = !StringAccess::Edit(
          text_,
          {.position = text_.Len(), .text = block_, .codeSet = text_.GetCodeSet(), .count = used_});
    }
    used_ = 0;
  }

  KvString& out_;
  KvString text_;
  bool failed_ = false;
  unsigned used_ = 0;
  char block_[512];
};

}  // namespace kv
