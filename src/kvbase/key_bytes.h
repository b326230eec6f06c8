// Where keys are written or measured, and where they are read.
#pragma once

#include <cstddef>
#include <cstring>

namespace kv {

// Writes without a check: whoever has one knows that there is room.
class KeySink {
 public:
  explicit KeySink(unsigned char* keys) : at_(keys) {}
  void Put(unsigned char byte) { *at_++ = byte; }
  void Put(const unsigned char* bytes, std::size_t size) {
    if (size != 0) std::memcpy(at_, bytes, size);
    at_ += size;
  }
  unsigned char* At() const { return at_; }
  void MoveTo(unsigned char* at) { at_ = at; }

 private:
  unsigned char* at_;
};

class KeyMeasure {
 public:
  void Put(unsigned char) { ++size_; }
  void Put(const unsigned char*, std::size_t size) { size_ += size; }
  unsigned long long Size() const { return size_; }

 private:
  unsigned long long size_ = 0;
};

// Bytes that begin with a key. Copying it marks a place to come back to.
class KeySource {
 public:
  KeySource(const unsigned char* key, std::size_t length, bool isComplemented)
      : begin_(key), at_(key), end_(key + length), turned_(isComplemented ? 0xFF : 0x00) {}

  // False at the end.
  bool Take(unsigned char& byte) {
    if (at_ == end_) return false;
    byte = static_cast<unsigned char>(*at_++ ^ turned_);
    return true;
  }
  bool Take(unsigned char* bytes, std::size_t size) {
    if (static_cast<std::size_t>(end_ - at_) < size) return false;
    for (std::size_t i = 0; i < size; ++i) Take(bytes[i]);
    return true;
  }
  std::size_t Taken() const { return static_cast<std::size_t>(at_ - begin_); }

 private:
  const unsigned char* begin_;
  const unsigned char* at_;
  const unsigned char* end_;
  unsigned char turned_;
};

}  // namespace kv
