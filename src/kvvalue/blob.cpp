// KvBlob: every edit builds a new data record of exactly the length needed, fills it, and only then
// frees the old one, so a source that lies in the blob itself is read before it goes away.
#include "kvblob.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

#include "kvbase/lifetime.h"

namespace {

enum class Fill : bool { kNone, kZero };

void FreeRecord(KvBlobData* record) {
  if (record == nullptr) return;
  std::free(record->buffer);
  *record = {};
  std::free(record);
}

// A record of `length` bytes, its buffer in place unless the length is 0. Null when memory is short
// or the length is beyond what a record can say; the low-memory handler has been told then.
KvBlobData* MakeRecord(o_8b length, Fill fill = Fill::kNone) {
  auto* record =
      length <= INT_MAX ? static_cast<KvBlobData*>(std::malloc(sizeof(KvBlobData))) : nullptr;
  if (record == nullptr) {
    kv::ReportLowMemory(length <= INT_MAX ? sizeof(KvBlobData) : static_cast<o_u8b>(length));
    return nullptr;
  }
  const auto bytes = static_cast<std::size_t>(length);
  *record = {nullptr, static_cast<int>(length)};
  if (bytes == 0) return record;
  void* buffer = fill == Fill::kZero ? std::calloc(bytes, 1) : std::malloc(bytes);
  if (buffer == nullptr) {
    kv::ReportLowMemory(bytes);
    FreeRecord(record);
    return nullptr;
  }
  record->buffer = static_cast<unsigned char*>(buffer);
  return record;
}

void CopyBytes(KvBlobData* record, int at, const void* source, int count) {
  if (count > 0) std::memcpy(record->buffer + at, source, static_cast<std::size_t>(count));
}

KvBlobData* CopyOf(const void* data, int length) {
  const int bytes = data != nullptr && length > 0 ? length : 0;
  KvBlobData* record = MakeRecord(bytes);
  if (record != nullptr) CopyBytes(record, 0, data, bytes);
  return record;
}

KvBlobData* CopyOf(const KvBlobData* source) {
  return source != nullptr ? CopyOf(source->buffer, source->length) : nullptr;
}

// Puts `replacement` in the place of a record; null makes the blob null.
void Replace(KvBlobData*& record, KvBlobData* replacement) {
  FreeRecord(std::exchange(record, replacement));
}

// `record` cut off or grown with zeros to `length` bytes.
KvBlobData* Resized(const KvBlobData* record, o_8b length) {
  KvBlobData* resized = MakeRecord(length, Fill::kZero);
  if (resized != nullptr && record != nullptr) {
    CopyBytes(resized, 0, record->buffer, std::min(record->length, resized->length));
  }
  return resized;
}

struct Range {
  int from;
  int count;
};

// The part of a range that lies within [0, length).
Range Clamp(int from, int count, int length) {
  const int start = std::clamp(from, 0, length);
  return {start, std::clamp(count, 0, length - start)};
}

std::string_view BytesOf(const KvBlobData* record) {
  return {reinterpret_cast<const char*>(record->buffer), static_cast<std::size_t>(record->length)};
}

}  // namespace

KvBlob::KvBlob() : data_(MakeRecord(0)) {}

KvBlob::KvBlob(const void* data, int length) : data_(CopyOf(data, length)) {}

KvBlob::KvBlob(int length) : data_(MakeRecord(std::max(length, 0), Fill::kZero)) {}

KvBlob::KvBlob(const KvBlob& source) : data_(CopyOf(source.data_)) {}

KvBlob::KvBlob(KvBlob&& source) noexcept : data_(std::exchange(source.data_, nullptr)) {}

KvBlob::~KvBlob() {
  FreeRecord(data_);
}

KvBlob& KvBlob::operator=(const KvBlob& source) {
  if (this != &source) Replace(data_, CopyOf(source.data_));
  return *this;
}

KvBlob& KvBlob::operator=(KvBlob&& source) noexcept {
  if (this != &source) Replace(data_, std::exchange(source.data_, nullptr));
  return *this;
}

int KvBlob::SetNullValue() {
  Replace(data_, nullptr);
  return 0;
}

int KvBlob::operator!=(const KvBlob& other) const {
  if (data_ == nullptr || other.data_ == nullptr) {
    return (data_ != nullptr ? 2 : 0) - (other.data_ != nullptr ? 2 : 0);
  }
  const int order = BytesOf(data_).compare(BytesOf(other.data_));
  return (order > 0) - (order < 0);
}

void KvBlob::SetTo(const void* data, int length) {
  Replace(data_, CopyOf(data, length));
}

void KvBlob::Append(const void* data, int length) {
  if (data == nullptr || length < 1) return;
  const int kept = Length();
  KvBlobData* grown = MakeRecord(o_8b{kept} + length);
  if (grown != nullptr) {
    if (kept > 0) CopyBytes(grown, 0, data_->buffer, kept);
    CopyBytes(grown, kept, data, length);
  }
  Replace(data_, grown);
}

KvBlob& KvBlob::operator+=(const KvBlob& other) {
  if (other.data_ != nullptr) Append(other.data_->buffer, other.data_->length);
  return *this;
}

void KvBlob::Cut(int from, int length) {
  const Range cut = Clamp(from, length, Length());
  if (cut.count == 0) return;
  const int behind = cut.from + cut.count;
  KvBlobData* shorter = MakeRecord(data_->length - cut.count);
  if (shorter != nullptr) {
    CopyBytes(shorter, 0, data_->buffer, cut.from);
    CopyBytes(shorter, cut.from, data_->buffer + behind, data_->length - behind);
  }
  Replace(data_, shorter);
}

void KvBlob::Expand(int length) {
  if (length > Length()) Replace(data_, Resized(data_, length));
}

void KvBlob::Resize(unsigned length) {
  if (data_ == nullptr || length != static_cast<unsigned>(data_->length)) {
    Replace(data_, Resized(data_, o_8b{length}));
  }
}

KvBlob KvBlob::CopyFrom(int from, int length) const {
  KvBlob copy;
  CopyTo(copy, from, length);
  return copy;
}

int KvBlob::CopyTo(KvBlob& target, int from, int length) const {
  if (data_ == nullptr) {
    target.SetNullValue();
    return 0;
  }
  const Range range = Clamp(from, length, data_->length);
  target.SetTo(range.count > 0 ? data_->buffer + range.from : nullptr, range.count);
  return target.Length();
}

int KvBlob::Search(const KvBlob& pattern) const {
  if (data_ == nullptr || pattern.data_ == nullptr) return -1;
  const std::size_t position = BytesOf(data_).find(BytesOf(pattern.data_));
  return position != std::string_view::npos ? static_cast<int>(position) : -1;
}

const unsigned char* KvBlob::Seek(int position, int length) const {
  const bool inside =
      position >= 0 && length >= 0 && position <= Length() && length <= Length() - position;
  return inside && Length() > 0 ? data_->buffer + position : nullptr;
}

unsigned char* KvBlob::Seek(int position, int length) {
  return const_cast<unsigned char*>(std::as_const(*this).Seek(position, length));
}

void KvBlob::AllocData(int length) {
  Replace(data_, MakeRecord(o_8b{std::max(length, 0)} + 1, Fill::kZero));
}
