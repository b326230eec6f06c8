// A run of strings as texts, in memory or stored: MemoryStringRun and StoredStringRun walk alike,
// so that comparer, hash and evaluator are written once. Nothing is copied and nothing allocated.
// kvcore/inc/kvstorage.h draws the stored layouts.
#pragma once

#include <algorithm>

#include "kvbase/codec.h"
#include "kvbase/format.h"
#include "kvbase/run.h"
#include "kvstring.h"
#include "kvstring/collate_quick.h"
#include "kvstring/string_edit.h"

namespace kv {

class MemoryStringRun {
 public:
  // `length` is in bytes, 0 for "exactly `count` strings"; `count` is at least 1.
  MemoryStringRun(const void* strings, unsigned length, Format /*format*/, unsigned count)
      : at_(static_cast<const KvString*>(strings)),
        left_(VisibleElements(length, sizeof(KvString), count)) {}

  // Takes the next string: 0, or kvBufferShort when the buffer ends before it.
  int Next(Text& text) {
    if (left_ == 0) return kvBufferShort;
    --left_;
    text = TextOf(*at_++);
    return kvOk;
  }

  static constexpr short CutLength() { return -1; }

 private:
  const KvString* at_;
  unsigned left_;
};

// The parts of a block.
struct StringBlock {
  static constexpr unsigned kLengthField = 2;
  static constexpr unsigned kHeader = 4;  // length, code set, language
  // 00 FF, the terminator and the marker, as a unit of memory order.
  static constexpr unsigned short kMarker = kHostIsBig ? 0x00FF : 0xFF00;
  // A cut block with this much of its body left is not an index key but a damaged length.
  static constexpr unsigned kLongestKeyBody = 253;

  static unsigned ReadLength(const unsigned char* stored, bool reversed) {
    return ReadUnit<unsigned short>(stored, reversed);
  }

  // Texts of collation orders carry a flag in the language's top bit.
  static constexpr unsigned char LanguageOf(unsigned char codeSet, unsigned char stored) {
    return codeSet == kvCodeSetOrders && stored >= 128 ? stored & 0x7F : stored;
  }

  // Units of text in a whole block of length `body`: without header, terminator and marker.
  static constexpr unsigned TextUnits(unsigned body, bool wide) {
    if (body < kHeader) return 0;
    return wide ? (body - kHeader) / 2 : body - kHeader;
  }

  static unsigned Units(const unsigned char* block, bool wide, bool reversed) {
    return TextUnits(ReadLength(block, reversed), wide);
  }
};

// Whether two blocks have their headers, lie in their buffers and end as the new form does, with a
// zero byte and the marker; 8-bit texts in them need no length. A buffer length of 0 means that the
// block is whole, and wraps around to the largest number.
[[gnu::always_inline]] inline bool AreWhole(const unsigned char* block1, unsigned length1,
                                            const unsigned char* block2, unsigned length2,
                                            Format format) {
  if (length1 == 1 || length2 == 1) return false;
  const bool reversed = format.IsReversed();
  const unsigned body1 = StringBlock::ReadLength(block1, reversed);
  const unsigned body2 = StringBlock::ReadLength(block2, reversed);
  const auto ends = [](const unsigned char* block, unsigned body) {
    return ReadUnit<unsigned short>(block + body) == StringBlock::kMarker;
  };
  return body1 >= StringBlock::kHeader && body2 >= StringBlock::kHeader && body1 < length1 - 1 &&
         body2 < length2 - 1 && ends(block1, body1) && ends(block2, body2);
}

// Walks the strings of a stored run in either form, as texts that lie where they are stored. No
// byte outside the buffer is read, whatever the stored lengths say. Index keys are cut at a fixed
// size, so a last block that the buffer cuts short is a text of what is there; from 256 bytes on it
// cannot be a key, and is an error.
class StoredStringRun {
 public:
  // `length` is in bytes; 0 means that the run is whole and trusted. Nothing is read for a run of
  // none or a null pointer; such a run must not be walked.
  StoredStringRun(const void* stored, unsigned length, Format format, unsigned count);

  // Takes the next string: 0, kvBufferShort when it starts at or beyond the end of the buffer or
  // its header does, kvNotSupported when its length cannot be right.
  int Next(Text& text);

  // Passes the leading strings, at most `count`, whose blocks are whole and the same in both runs,
  // byte by byte: they compare equal unless a wildcard stands for something else than itself.
  // Result: their number.
  unsigned PassEqual(StoredStringRun& other, unsigned count);

  // Whether the buffer ends before the last string does.
  bool IsCut() const { return cutLength_ >= 0; }

  // Of the last string taken, where the buffer ends before it does, the units that are there, its
  // terminator included when it is; else -1.
  short CutLength() const { return cutLength_; }

  // Whether the run is in the old form, whose texts have no code set and language of their own.
  bool IsOld() const { return old_; }

 private:
  using Block = StringBlock;
  static constexpr unsigned kTrusted = 0xFFFFFFFF;  // a buffer that nothing is known about

  bool IsOldForm() const;
  int NextOld(Text& text);
  void Advance(unsigned bytes) {
    at_ += bytes;
    left_ -= bytes;
  }

  const unsigned char* at_;
  unsigned left_;  // bytes from at_ to the end of the buffer
  bool reversed_;
  bool old_;
  short cutLength_ = -1;
};

inline StoredStringRun::StoredStringRun(const void* stored, unsigned length, Format format,
                                        unsigned count)
    : at_(static_cast<const unsigned char*>(stored)),
      left_(length != 0 ? length : kTrusted),
      reversed_(format.IsReversed()),
      old_(stored != nullptr && count != 0 && IsOldForm()) {
  if (!old_) return;
  // The texts of an old block end with it, whatever follows.
  left_ = Block::ReadLength(at_, reversed_);
  at_ += Block::kLengthField;
}

inline bool StoredStringRun::IsOldForm() const {
  if (left_ < Block::kLengthField) return false;
  const unsigned body = Block::ReadLength(at_, reversed_);
  return body != 0 && left_ >= body + Block::kLengthField && at_[body + 1] == 0;
}

inline unsigned StoredStringRun::PassEqual(StoredStringRun& other, unsigned count) {
  if (old_ || other.old_ || wildcardsInUse) return 0;
  unsigned passed = 0;
  while (passed < count && std::min(left_, other.left_) >= Block::kLengthField) {
    const unsigned body = Block::ReadLength(at_, reversed_);
    const unsigned size = Block::kLengthField + body;
    if (body != Block::ReadLength(other.at_, reversed_) || std::min(left_, other.left_) < size ||
        std::memcmp(at_, other.at_, size) != 0) {
      break;
    }
    Advance(size);
    other.Advance(size);
    ++passed;
  }
  return passed;
}

inline int StoredStringRun::Next(Text& text) {
  if (old_) return NextOld(text);
  if (left_ < Block::kLengthField) return kvBufferShort;
  const unsigned body = Block::ReadLength(at_, reversed_);
  const bool isCut = left_ < Block::kLengthField + body;
  if (body < 2) {
    // No code set and no language: nothing writes this, and it reads as an empty text.
    if (isCut) return kvBufferShort;
    text = {kvCodeSetBytes, 0, at_, 0};
    Advance(Block::kLengthField + body);
    return kvOk;
  }
  if (left_ < Block::kHeader) return kvBufferShort;
  if (isCut && left_ - Block::kLengthField > Block::kLongestKeyBody) return kvNotSupported;

  const unsigned char codeSet = at_[2];
  unsigned length = Block::TextUnits(body, KvIsWideCodeSet(codeSet));
  if (isCut) {
    const unsigned present = (left_ - Block::kHeader) / UnitWidth(codeSet);
    cutLength_ = static_cast<short>(present);  // of a short key
    length = std::min(length, present);
  }
  text = {codeSet, Block::LanguageOf(codeSet, at_[3]), at_ + Block::kHeader, length,
          static_cast<unsigned char>(reversed_ ? 2 : 1)};
  Advance(isCut ? left_ : Block::kLengthField + body);
  return kvOk;
}

}  // namespace kv
