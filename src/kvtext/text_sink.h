// TextSink: a text under construction, in storage that the caller gives.
#pragma once

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdio>
#include <cstring>

namespace kv {

// Text that does not fit is cut at the end of the storage, whose last byte is kept for a
// terminator.
class TextSink {
 public:
  template <std::size_t size>
  explicit TextSink(char (&storage)[size])
      : begin_(storage), at_(storage), end_(storage + size - 1) {}

  // A zero character would end the text and is left out.
  void Put(char character) {
    if (character == 0) return;
    if (at_ == end_) {
      isCut_ = true;
    } else {
      *at_++ = character;
    }
  }
  void Put(const char* text, std::size_t length) {
    const std::size_t kept = std::min(length, Room());
    std::memcpy(at_, text, kept);
    at_ += kept;
    isCut_ = isCut_ || kept < length;
  }
  void Put(const char* text) { Put(text, std::strlen(text)); }

  template <class Number>
  void PutNumber(Number number) {
    char digits[20];  // as many as 64 bits take, a sign among them
    const char* end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    Put(digits, static_cast<std::size_t>(end - digits));
  }

  // By a format of the C library that was checked or written here.
  template <class Value>
  void PutFormatted(const char* checkedFormat, Value value) {
    const int wanted = std::snprintf(at_, Room() + 1, checkedFormat, value);
    if (wanted <= 0) return;
    const auto length = static_cast<std::size_t>(wanted);
    isCut_ = isCut_ || length > Room();
    at_ += std::min(length, Room());
  }

  const char* Text() const { return begin_; }
  unsigned Length() const { return static_cast<unsigned>(at_ - begin_); }
  bool IsCut() const { return isCut_; }
  // Puts the terminator behind what is there.
  void Terminate() { *at_ = 0; }

 private:
  std::size_t Room() const { return static_cast<std::size_t>(end_ - at_); }

  char* begin_;
  char* at_;
  char* end_;
  bool isCut_ = false;
};

}  // namespace kv
