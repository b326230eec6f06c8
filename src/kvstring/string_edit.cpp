// The edit primitive of KvString and the unit kernels. An edit computes the exact size of the new
// text, builds it in a fresh block and frees the old one last, so that a string may be edited with
// its own text as the source.

#include "kvstring/string_edit.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <new>

#include "kvbase/run.h"
#include "kvstring/unit_scan.h"
#include "zbs.h"
#include "zbshost.h"

namespace kv {
namespace {

unsigned ShortWideLength(const unsigned char* text, unsigned limit) {
  constexpr unsigned kUnitsAWord = 4;
  unsigned index = 0;
  while (index + kUnitsAWord <= limit && !HasZeroUnit<unsigned short>(LoadWord(text + 2 * index))) {
    index += kUnitsAWord;
  }
  while (index < limit && UnitAt(text, true, index) != 0) ++index;
  return index;
}

// Fills a block of whole units from front to back. The last unit is not for it: it stays the zero
// that terminates the text, however much is put in.
class BlockWriter {
 public:
  BlockWriter(unsigned char* block, unsigned bytes, unsigned char codeSet)
      : at_(block), room_(UnitsIn(bytes, codeSet) - 1), codeSet_(codeSet) {}

  void Copy(const void* text, unsigned count) {
    count = std::min(count, room_);
    if (count != 0) std::memcpy(at_, text, count * UnitWidth(codeSet_));
    Advance(count);
  }

  void CopyReversed(const void* text, unsigned count) {
    count = std::min(count, room_);
    ShortStore(at_, text, kSwapped, count);
    Advance(count);
  }

  // Always advances by what was asked for: units past the end of the source are zero.
  void Convert(const void* text, unsigned char textCodeSet, unsigned count) {
    count = std::min(count, room_);
    const unsigned converted = ConvertUnits(at_, codeSet_, text, textCodeSet, count);
    Advance(converted);
    Fill(0, count - converted);
  }

  void Fill(unsigned short unit, unsigned count) {
    count = std::min(count, room_);
    if (UnitWidth(codeSet_) == 1) {
      if (count != 0) std::memset(at_, unit, count);
    } else {
      for (unsigned index = 0; index < count; ++index) WriteUnit(at_, true, index, unit);
    }
    Advance(count);
  }

  // What is left of the block, the terminator at least, becomes zero.
  void Finish() { std::memset(at_, 0, (room_ + 1) * UnitWidth(codeSet_)); }

 private:
  void Advance(unsigned count) {
    at_ += count * UnitWidth(codeSet_);
    room_ -= count;
  }

  unsigned char* at_;
  unsigned room_;
  unsigned char codeSet_;
};

void PlaceSource(BlockWriter& writer, const StringEdit& edit, unsigned char targetCodeSet) {
  if (edit.text == nullptr) return;
  const bool wide = KvIsWideCodeSet(edit.codeSet);
  const unsigned char* source =
      static_cast<const unsigned char*>(edit.text) + edit.start * UnitWidth(edit.codeSet);
  const bool asItIs = wide == KvIsWideCodeSet(targetCodeSet) &&
                      (edit.codeSet == targetCodeSet || edit.codeSet == 0);
  if (edit.repeat != 1) {
    unsigned short unit = UnitAt(source, wide);
    if (!asItIs) {
      unsigned short mapped = 0;
      ConvertUnits(&mapped, targetCodeSet, source, edit.codeSet, 1);
      unit = UnitAt(&mapped, KvIsWideCodeSet(targetCodeSet));
    }
    writer.Fill(unit, edit.repeat);
  } else if (!asItIs) {
    writer.Convert(source, edit.codeSet, edit.count);
  } else if (wide && IsReversed(edit.byteOrder)) {
    writer.CopyReversed(source, edit.count);
  } else {
    writer.Copy(source, edit.count);
  }
}

// Bytes of the text after an edit, terminator included, before the limit.
unsigned SizeAfter(const StringEdit& edit, unsigned oldSize, unsigned width) {
  // Any count past the limit is as good as another, and this one cannot overflow below.
  const unsigned placed = std::min(edit.count * edit.repeat, 0x10000u) * width;
  switch (edit.mode) {
    case EditMode::kOverwrite: {
      const unsigned removed = std::min(edit.count * width, oldSize);
      return oldSize + placed - removed;
    }
    case EditMode::kInsert:
      return placed + (oldSize == 0 ? width : oldSize);
    case EditMode::kPut:
      break;
  }
  return placed + edit.position * width + width;
}

}  // namespace

unsigned TextLength(const void* text, bool wide, unsigned limit) {
  if (text == nullptr || limit == 0) return 0;
  const auto* units = static_cast<const unsigned char*>(text);
  constexpr unsigned kLong = 128;  // shorter texts are not worth the question for vectors
  if (limit >= kLong) return PassToZero(units, wide, limit);
  if (wide) return ShortWideLength(units, limit);
  const void* end = std::memchr(text, 0, limit);
  if (end == nullptr) return limit;
  return static_cast<unsigned>(static_cast<const unsigned char*>(end) - units);
}

unsigned TextLength(const void* text, bool wide) {
  if (text == nullptr) return 0;
  if (!wide) return static_cast<unsigned>(std::strlen(static_cast<const char*>(text)));
  unsigned length = 0;
  while (UnitAt(text, true, length) != 0) ++length;
  return length;
}

unsigned ConvertUnits(void* target, unsigned char targetCodeSet, const void* source,
                      unsigned char sourceCodeSet, unsigned count) {
  const bool wideSource = KvIsWideCodeSet(sourceCodeSet);
  const bool wideTarget = KvIsWideCodeSet(targetCodeSet);
  const KvCodeSet* codeSet = KvLanguageContext::QueryCodeSet(targetCodeSet);
  for (unsigned index = 0; index < count; ++index) {
    unsigned short unit = UnitAt(source, wideSource, index);
    if (unit == 0) return index;
    // Every code set begins with ASCII.
    if (unit >= 0x80) unit = codeSet->MapFrom(unit, sourceCodeSet);
    WriteUnit(target, wideTarget, index, unit);
  }
  return count;
}

unsigned LimitBufferSize(unsigned size) {
  if (size <= kMaximumBytes) return size;
  if (DefaultConfig().GetValue("debug", "stringOverflow", 0) != 0) {
    // Hosts tell this assertion by its source and line, which therefore stay as they are.
    KIVO_assert("String overflow", "src/kvstring", 1113);
  }
  return kMaximumBytes;
}

unsigned char* AllocateText(unsigned size) {
  auto* block = static_cast<unsigned char*>(std::calloc(1, size));
  if (block == nullptr) KvCallMemoryHandler(size);
  return block;
}

unsigned char* AllocateBlock(unsigned size) {
  auto* block = static_cast<unsigned char*>(std::malloc(size));
  if (block == nullptr) KvCallMemoryHandler(size);
  return block;
}

void StringAccess::CopyTo(void* raw, unsigned char* text, const KvString& source) {
  auto* copy = new (raw) KvString(source.codeSet_, source.language_);
  if (source.buffer_ == nullptr) return;
  std::memcpy(text, source.buffer_, source.bufferSize_);
  copy->buffer_ = text;
  copy->bufferSize_ = source.bufferSize_;
}

void StringAccess::Replace(KvString& string, unsigned char* buffer, unsigned size) {
  std::free(string.buffer_);
  string.buffer_ = buffer;
  string.bufferSize_ = static_cast<unsigned short>(size);
}

void StringAccess::ReplaceExactly(KvString& string, unsigned char* block, unsigned size,
                                  unsigned length) {
  const unsigned width = UnitWidth(string.codeSet_);
  WriteUnit(block, width == 2, length, 0);
  const unsigned exact = (length + 1) * width;
  void* shrunk = exact == size ? block : std::realloc(block, exact);
  Replace(string, shrunk != nullptr ? static_cast<unsigned char*>(shrunk) : block, exact);
}

bool StringAccess::Edit(KvString& target, const StringEdit& edit) {
  // A put of no units may point at the end of a buffer: nothing is read from it.
  if (edit.mode != EditMode::kPut &&
      (edit.text == nullptr || UnitAt(edit.text, KvIsWideCodeSet(edit.codeSet)) == 0)) {
    return true;
  }

  const unsigned width = UnitWidth(target.codeSet_);
  const unsigned oldUnits = UnitsIn(target.bufferSize_, target.codeSet_);
  const unsigned size = LimitBufferSize(SizeAfter(edit, oldUnits * width, width));
  unsigned char* block = AllocateBlock(size);
  if (block == nullptr) return false;

  BlockWriter writer(block, size, target.codeSet_);
  const unsigned oldLength = target.Len();
  const unsigned kept = std::min(edit.position, oldLength);
  writer.Copy(target.buffer_, kept);
  PlaceSource(writer, edit, target.codeSet_);
  if (edit.mode != EditMode::kPut) {
    const unsigned removed = edit.mode == EditMode::kOverwrite ? edit.count : 0;
    const unsigned tail = std::min(kept + removed, oldLength);
    writer.Copy(target.buffer_ + tail * width, oldLength - tail);
  }
  writer.Finish();
  Replace(target, block, size);
  return true;
}

bool StringAccess::PutUnits(KvString& target, const void* units, unsigned bytes) {
  const unsigned width = UnitWidth(target.codeSet_);
  unsigned char* block = target.buffer_;
  if (block != nullptr && target.bufferSize_ == bytes + width) {
    std::memmove(block, units, bytes);
  } else {
    block = AllocateBlock(bytes + width);
    if (block == nullptr) return false;
    std::memcpy(block, units, bytes);
    Replace(target, block, bytes + width);
  }
  WriteUnit(block + bytes, width == 2, 0, 0);
  return true;
}

bool StringAccess::PutBlock(KvString& target, unsigned size) {
  auto* block = static_cast<unsigned char*>(std::malloc(size));
  if (block == nullptr) {
    KvCallMemoryHandler(size);
    return false;
  }
  Replace(target, block, size);
  return true;
}

bool StringAccess::Assign(KvString& target, unsigned char codeSet, unsigned char language,
                          const void* text, unsigned char textCodeSet, unsigned count,
                          unsigned char byteOrder) {
  const unsigned char oldCodeSet = target.codeSet_;
  target.codeSet_ = codeSet;
  if (text != nullptr && codeSet == textCodeSet && !IsReversed(byteOrder)) {
    if (!PutUnits(target, text, std::min(count, MaximumLength(codeSet)) * UnitWidth(codeSet))) {
      target.codeSet_ = oldCodeSet;
      return false;
    }
  } else if (text == nullptr) {
    Replace(target, nullptr, 0);
  } else if (!Edit(target, {.text = text,
                            .codeSet = textCodeSet,
                            .count = std::min(count, MaximumLength(codeSet)),
                            .byteOrder = byteOrder})) {
    target.codeSet_ = oldCodeSet;
    return false;
  }
  target.language_ = language;
  return true;
}

}  // namespace kv
