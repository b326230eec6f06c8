// string_edit.h - the one way a KvString changes: the edit primitive, and the kernels below it
// that know how wide a unit is. Everything else in this folder is written in terms of these.
//
// A text is a run of units, bytes or 16-bit, that ends at a zero unit. Positions and counts are in
// units; a conversion between code sets maps one unit to one unit, so they survive it.
#pragma once

#include <cstdlib>
#include <cstring>
#include <memory>

#include "kvbase/unit.h"
#include "kvstring.h"
#include "kvstring/collate.h"
#include "kvtext/text_sink.h"
#include "zindefaults.h"

namespace kv {

inline constexpr unsigned kMaximumBytes = KvString::kMaximumBytes;

constexpr unsigned UnitWidth(unsigned char codeSet) {
  return KvIsWideCodeSet(codeSet) ? 2 : 1;
}

// The whole units in a block of so many bytes. A shift, as dividing by a width that is only known
// at run time takes as long as a short comparison.
constexpr unsigned UnitsIn(unsigned bytes, unsigned char codeSet) {
  return bytes >> (KvIsWideCodeSet(codeSet) ? 1 : 0);
}

// Most characters a string of `codeSet` can hold: 65,531 or 32,765.
constexpr unsigned MaximumLength(unsigned char codeSet) {
  return UnitsIn(kMaximumBytes, codeSet) - 1;
}

// What stands for the text of a string without a buffer. Never written to.
alignas(8) inline constexpr unsigned char kEmptyText[8] = {};

// One unit of a text of either width, which need not be aligned.
inline unsigned short UnitAt(const void* text, bool wide, unsigned index = 0) {
  const auto* bytes = static_cast<const unsigned char*>(text);
  return wide ? ReadUnit<unsigned short>(bytes + 2 * index) : bytes[index];
}

inline void WriteUnit(void* text, bool wide, unsigned index, unsigned short unit) {
  if (wide) {
    std::memcpy(static_cast<unsigned char*>(text) + 2 * index, &unit, 2);
  } else {
    static_cast<unsigned char*>(text)[index] = static_cast<unsigned char>(unit);
  }
}

// A text of one unit, with its terminator. A 16-bit variable is no text of an 8-bit unit: where the
// most significant byte comes first, that byte is its zero.
struct UnitText {
  UnitText() = default;
  UnitText(unsigned short unit, unsigned char codeSet) {
    WriteUnit(bytes, KvIsWideCodeSet(codeSet), 0, unit);
  }
  unsigned char bytes[4] = {};
};

// Units before the first zero one among `limit`, which must all be there: they are looked at many
// at a time, those behind a zero one too. Nothing past them is read. Null is empty.
unsigned TextLength(const void* text, bool wide, unsigned limit);
// The same without a limit, for texts that only their terminator ends.
unsigned TextLength(const void* text, bool wide);

// Maps up to `count` units of `source` to code set `targetCodeSet`, ending early at a zero unit.
// Code set 0 is the native one on either side. Returns the units mapped.
unsigned ConvertUnits(void* target, unsigned char targetCodeSet, const void* source,
                      unsigned char sourceCodeSet, unsigned count);

// A buffer size in bytes, cut to the string limit. A cut is reported as an overflow when the
// configuration asks for it.
unsigned LimitBufferSize(unsigned size);

// Bytes from malloc, zeroed or as they come; null after KvCallMemoryHandler when there are none.
unsigned char* AllocateText(unsigned size);
unsigned char* AllocateBlock(unsigned size);

// Owns such a block until it is released into a string.
struct FreeBlock {
  void operator()(void* block) const { std::free(block); }
};
template <class Unit>
using OwnedBlock = std::unique_ptr<Unit, FreeBlock>;

enum class EditMode {
  kOverwrite = 1,  // `count` units at `position` are replaced by as many of the source
  kInsert = 2,     // the source goes before `position`
  kPut = 3,        // what precedes `position` is kept, the source follows, the rest is dropped
};

// One edit. `count` units of `text` from `start` on, or `repeat` copies of its first unit when
// `repeat` is not 1 (`count` is then 1). `text` may lie in the target's own buffer.
struct StringEdit {
  EditMode mode = EditMode::kPut;
  unsigned position = 0;
  const void* text = nullptr;
  unsigned char codeSet = 0;
  unsigned start = 0;
  unsigned count = 0;
  unsigned repeat = 1;
  unsigned char byteOrder = kMemoryOrder;  // of the source's 16-bit units
};

// What the parts of the library that build strings may touch.
class StringAccess {
 public:
  static unsigned char* Buffer(const KvString& string) { return string.buffer_; }
  static void SetCodeSet(KvString& string, unsigned char codeSet) { string.codeSet_ = codeSet; }

  // Makes raw memory a string like `source` whose text is copied to `text`, not to the heap. It
  // must not be changed or destroyed.
  static void CopyTo(void* raw, unsigned char* text, const KvString& source);

  // Makes `size` bytes that are not from malloc the text of an empty string, which then must not be
  // changed or destroyed.
  static constexpr void Borrow(KvString& string, unsigned char* text, unsigned short size) {
    string.buffer_ = text;
    string.bufferSize_ = size;
  }

  // Gives the string a block from malloc in place of its own, which is freed.
  static void Replace(KvString& string, unsigned char* buffer, unsigned size);

  // The same with a block of `size` bytes that the first `length` units of the text are in: it is
  // terminated behind them, and what there is beyond is given back.
  static void ReplaceExactly(KvString& string, unsigned char* block, unsigned size,
                             unsigned length);

  // False when memory was short; the string is then unchanged.
  static bool Edit(KvString& target, const StringEdit& edit);

  // The string becomes `count` units of `text`, cut at the limit without a report.
  static bool Assign(KvString& target, unsigned char codeSet, unsigned char language,
                     const void* text, unsigned char textCodeSet, unsigned count,
                     unsigned char byteOrder = kMemoryOrder);

  // Makes the string one of `count` bytes in the default 8-bit code set and the default language,
  // terminated, for a text that is not in its buffer. Result: where the bytes are to be written;
  // null, and nothing done, when memory is short.
  static char* Prepare8(KvString& target, unsigned count) {
    // A string without a buffer has the size 0, which no text has.
    if (target.bufferSize_ != count + 1 && !PutBlock(target, count + 1)) return nullptr;
    target.codeSet_ = languageDefaults.byteCodeSet;
    target.language_ = languageDefaults.language;
    target.buffer_[count] = 0;
    return reinterpret_cast<char*>(target.buffer_);
  }

 private:
  // A new block in place of the string's own. False, and nothing done, when memory is short.
  static bool PutBlock(KvString& target, unsigned size);

  // The string becomes `bytes` bytes of units in its own code set, which may lie in its own buffer.
  // A buffer that has just the size is used again. False when memory was short.
  static bool PutUnits(KvString& target, const void* units, unsigned bytes);
};

// A whole number as KvString's own conversions read it (radix by prefix, 16-bit text and option bit
// 0 decimal), but over the unsigned range of `bits` bits; a minus sign wraps.
unsigned long long ReadUnsigned(const KvString& text, unsigned bits);

// A string as comparing and hashing take it, bounded by its buffer: reading in blocks is safe.
inline Text TextOf(const KvString& string) {
  const unsigned units = UnitsIn(string.GetBufferSize(), string.GetCodeSet());
  return {string.GetCodeSet(), string.GetLanguage(), StringAccess::Buffer(string),
          units == 0 ? 0 : units - 1};
}

// Assigns `count` bytes in the default 8-bit code set and the default language, as all texts are
// that come from outside or are printed. False, and nothing done, when memory is short.
inline bool AssignDefault8(KvString& target, const void* text, unsigned count) {
  const unsigned char codeSet = languageDefaults.byteCodeSet;
  return StringAccess::Assign(target, codeSet, languageDefaults.language, text, codeSet, count);
}

// Storage for a text as long as a string can be, to print into. It is not cleared, so a short text
// costs what its own bytes cost.
using LongestText = char[kMaximumBytes];

// Assigns a text that was printed. What was cut off is an overflow, as wherever a text would grow
// beyond a string.
inline KvString& AssignPrinted(KvString& target, const TextSink& text) {
  if (text.IsCut()) LimitBufferSize(kMaximumBytes + 1);
  AssignDefault8(target, text.Text(), text.Length());
  return target;
}

}  // namespace kv
