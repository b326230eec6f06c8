// The text of a KvString as bytes, for whatever parses text.
#pragma once

#include <algorithm>

#include "kvstring.h"
#include "kvstring/string_edit.h"

namespace kv {

// Refers to an 8-bit text as it is; a 16-bit one is converted to the default code set (to the
// default 8-bit one where that is a 16-bit code set too). Must not outlive the string. The longest
// 16-bit text fits in here, so that scanning never runs short of memory. What is read is
// terminated: a text whose terminator was written over is copied up to the end of its block, as
// Len() has it.
class NarrowText {
 public:
  explicit NarrowText(const KvString& text)
      : bytes_(BytesOf(text)), end_(bytes_ + text.GetBufferSize()) {
    if (KvIsWideCodeSet(text.GetCodeSet())) {
      Convert(text, TargetCodeSet());
    } else if (end_ != bytes_ && end_[-1] != 0) {
      Convert(text, text.GetCodeSet());
    }
  }
  NarrowText(const NarrowText&) = delete;
  NarrowText& operator=(const NarrowText&) = delete;

  const char* Get() const { return bytes_; }
  // Bytes may be read up to here, whether they belong to the text or not.
  const char* End() const { return end_; }

  // The buffer of an 8-bit text as it is.
  static const char* BytesOf(const KvString& text) {
    const unsigned char* buffer = StringAccess::Buffer(text);
    return reinterpret_cast<const char*>(buffer != nullptr ? buffer : kEmptyText);
  }

 private:
  [[gnu::noinline]] void Convert(const KvString& text, unsigned char codeSet) {
    const unsigned length = ConvertUnits(converted_, codeSet, BytesOf(text), text.GetCodeSet(),
                                         std::min(TextOf(text).length, kLongest));
    converted_[length] = 0;
    bytes_ = converted_;
    end_ = bytes_ + length + 1;
  }

  static constexpr unsigned kLongest = MaximumLength(kvCodeSetUnicode);

  static unsigned char TargetCodeSet() {
    const unsigned char codeSet = KvLanguageContext::GetDefaultCodeSet();
    return KvIsWideCodeSet(codeSet) ? KvLanguageContext::GetDefault8CodeSet() : codeSet;
  }

  const char* bytes_;
  const char* end_;
  char converted_[kLongest + 1];
};

}  // namespace kv
