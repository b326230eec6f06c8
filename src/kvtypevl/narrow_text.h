// The text of a KvString as bytes, for whatever parses text.
#pragma once

#include <optional>

#include "kvstring.h"

namespace kv {

// Refers to an 8-bit text as it is; a 16-bit one is converted to the default code set (to the
// default 8-bit one where that is a 16-bit code set too). Must not outlive the string.
class NarrowText {
 public:
  explicit NarrowText(const KvString& text)
      : bytes_(text.StrGet()), end_(bytes_ + text.GetBufferSize()) {
    if (!KvIsWideCodeSet(text.GetCodeSet())) return;
    converted_.emplace(TargetCodeSet(), KvLanguageContext::GetDefaultLanguage());
    *converted_ << text;
    bytes_ = converted_->StrGet();
    end_ = bytes_ + converted_->GetBufferSize();
  }
  NarrowText(const NarrowText&) = delete;
  NarrowText& operator=(const NarrowText&) = delete;

  const char* Get() const { return bytes_; }
  // Bytes may be read up to here, whether they belong to the text or not.
  const char* End() const { return end_; }

 private:
  static unsigned char TargetCodeSet() {
    const unsigned char codeSet = KvLanguageContext::GetDefaultCodeSet();
    return KvIsWideCodeSet(codeSet) ? KvLanguageContext::GetDefault8CodeSet() : codeSet;
  }

  std::optional<KvString> converted_;
  const char* bytes_;
  const char* end_;
};

}  // namespace kv
