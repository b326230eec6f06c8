// kvblob.h - KvBlob: a byte string of any length up to 2^31 - 1, catalogue row KvBLOB_T.
//
// Memory form: one pointer to a data record of the blob's own, or null for the null blob. Blobs
// never share a record, and a record's buffer is always exactly as long as its content.
//
//   KvBlob --> KvBlobData { buffer, length }      length 0 goes without a buffer
//
// Stored form of a run of blobs, every number 4 bytes in the byte order of the format:
//
//   total                  bytes that follow this field
//   length, bytes          once for each blob; a null blob is the length 0xFFFFFFFF and no bytes
//
// Positions and lengths given from outside are made to fit: a negative one counts as 0, one that
// is too large ends at the blob's end. Nothing outside the blob is read.
//
// When memory is short, or a length would pass 2^31 - 1, KvCallMemoryHandler is called with the
// size wanted. The blob is null afterwards: a failed edit never passes for content.
//
//   KvBlob blob("ab", 2);
//   blob.Append("cd", 2);
//   blob.Cut(1, 2);                 // "ad"
//   blob != KvBlob("ae", 2);        // -1: != is a three-way comparison
#pragma once

#include "kvbase.h"

struct KvBlobData {
  unsigned char* buffer;
  int length;
};

class KV_EXPORT KvBlob {
 public:
  KvBlob();  // empty, not null
  // A copy of `length` bytes; none for a length below 1.
  KvBlob(const void* data, int length);
  // `length` zero bytes.
  explicit KvBlob(int length);
  KvBlob(const KvBlob& source);
  KvBlob(KvBlob&& source) noexcept;  // `source` is null afterwards
  ~KvBlob();
  KvBlob& operator=(const KvBlob& source);
  KvBlob& operator=(KvBlob&& source) noexcept;

  // Bytes held, 0 for the null blob.
  int Length() const { return data_ != nullptr ? data_->length : 0; }
  int IsNullValue() const { return data_ == nullptr; }
  // Releases the record. Result: 0.
  int SetNullValue();
  static void Destroy(KvBlob& blob) { blob.SetNullValue(); }

  bool operator==(const KvBlob& other) const { return (*this != other) == 0; }
  // A three-way comparison, as sorting callers use it. Unsigned bytes decide, then the lengths: -1,
  // 0 or 1. -2 when only this blob is null, 2 when only the other one is.
  int operator!=(const KvBlob& other) const;

  // Replaces the content by a copy of `length` bytes, which may lie in this blob.
  void SetTo(const void* data, int length);
  // Appends a copy of `length` bytes, which may lie in this blob; nothing for a length below 1. A
  // null blob becomes a blob of exactly those bytes.
  void Append(const void* data, int length);
  KvBlob& operator+=(const KvBlob& other);
  // Removes `length` bytes at `from`.
  void Cut(int from, int length);
  // Grows to `length` bytes, the new ones zero; a blob that is that long already stays.
  void Expand(int length);
  // Cuts off or grows with zeros to exactly `length` bytes.
  void Resize(unsigned length);

  // The range as a blob of its own; of the null blob, the null blob.
  KvBlob CopyFrom(int from, int length) const;
  // The same into `target`, which may be this blob. Result: bytes copied.
  int CopyTo(KvBlob& target, int from, int length) const;

  // Where `pattern` first stands in this blob; -1 when it does not or either is null. An empty
  // pattern stands at 0.
  int Search(const KvBlob& pattern) const;
  // The address of `length` bytes at `position`; null unless they lie wholly inside. It lives until
  // the next change.
  unsigned char* Seek(int position, int length);
  const unsigned char* Seek(int position, int length) const;

  // A new record of `length` + 1 zero bytes, one more than asked for: callers put a
  // text of `length` characters and its terminator into it.
  void AllocData(int length);

 private:
  // A text is too easily taken for a run of bytes, and a number for a length. So a blob is not made
  // from a text alone, and it is not read as a number.
  KvBlob(const char* text) = delete;
  KvBlob& operator=(const char* text) = delete;
  operator short() const = delete;
  operator int() const = delete;
  operator double() const = delete;

  KvBlobData* data_;
};

static_assert(sizeof(KvBlob) == sizeof(void*));
