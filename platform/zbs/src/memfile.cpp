// The read-only cursor over bytes.

#include <algorithm>
#include <cstring>

#include "zbs.h"

MemFile::MemFile(const void* data, unsigned size)
    : data_(static_cast<const unsigned char*>(data)),
      size_(data == nullptr ? 0 : size),
      position_(0) {}

unsigned MemFile::Read(void* destination, unsigned count) {
  const unsigned readable = std::min(count, size_ - position_);
  if (readable != 0) std::memcpy(destination, data_ + position_, readable);
  position_ += readable;
  return readable;
}

int MemFile::Seek(unsigned position) {
  if (position > size_) return kvBadArgument;
  position_ = position;
  return kvOk;
}

unsigned MemFile::Tell() const {
  return position_;
}

unsigned MemFile::Size() const {
  return size_;
}
