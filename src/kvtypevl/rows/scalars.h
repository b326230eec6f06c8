// The rows of the plain scalars: their text, their policies, and their slots as the catalogue takes
// them. Their storage functions are the base library's, their comparers the exported ones.
//
// Text goes for every row that is built on a scalar too. A print function replaces what `out` holds
// and returns it; a scan function returns `values`, or null when that is null. Formats are data
// from strangers and are checked (scalar_format.h): one that does not parse prints the value with
// the row's default format and scans nothing. That is why signed and unsigned rows, which otherwise
// print alike, have print functions of their own; scanning goes by the format's conversion alone,
// so they share it.
#pragma once

#include "kvbase.h"
#include "kvbase/key_codec.h"
#include "kvcompare.h"
#include "kvstring.h"
#include "kvstring/narrow_text.h"
#include "kvstring/string_edit.h"
#include "kvtext/default_formats.h"
#include "kvtext/scan_trace.h"
#include "kvtypevl/operations/bounds.h"
#include "kvtypevl/operations/compare.h"
#include "kvtypevl/operations/hash.h"
#include "kvtypevl/operations/row.h"
#include "kvtypevl/operations/step.h"
#include "zbs.h"

namespace kv {

// o_char, o_u1b: `count` bytes as one text. A byte from 0x20 to 0x7E goes through the format,
// any other prints as 0x and two hex digits.
KvString& PrintCharacters(KvString& out, void* values, const char* format, unsigned count);
// Reads up to `count` bytes, byte i with the format from position i of the text.
void* ScanCharacters(void* values, KvString& text, const char* format, unsigned count);

// The integer rows print and scan one value, whatever `count` says.
KvString& PrintShort(KvString& out, void* values, const char* format, unsigned count);    // o_2b
KvString& PrintWord(KvString& out, void* values, const char* format, unsigned count);     // o_u2b
KvString& PrintLong(KvString& out, void* values, const char* format, unsigned count);     // o_4b
KvString& PrintDword(KvString& out, void* values, const char* format, unsigned count);    // o_u4b
KvString& PrintBlockId(KvString& out, void* values, const char* format, unsigned count);  // BlockId
KvString& PrintInt(KvString& out, void* values, const char* format, unsigned count);  // int, enum
KvString& PrintUnsigned(KvString& out, void* values, const char* format, unsigned count);
KvString& Print8b(KvString& out, void* values, const char* format, unsigned count);   // o_8b
KvString& PrintU8b(KvString& out, void* values, const char* format, unsigned count);  // o_u8b

void* ScanShort(void* values, KvString& text, const char* format, unsigned count);  // o_2b, o_u2b
void* ScanLong(void* values, KvString& text, const char* format, unsigned count);   // 4-byte rows
void* ScanInt(void* values, KvString& text, const char* format, unsigned count);    // 4-byte rows
void* Scan8b(void* values, KvString& text, const char* format, unsigned count);     // o_8b, o_u8b

// The default format "%.17g" prints NaN, Infinity and -Infinity as words and reads them back in
// any letter case. A format that begins with "ldex" prints and reads mantissa and exponent.
KvString& PrintDouble(KvString& out, void* values, const char* format, unsigned count);
void* ScanDouble(void* values, KvString& text, const char* format, unsigned count);
KvString& PrintFloat(KvString& out, void* values, const char* format, unsigned count);
void* ScanFloat(void* values, KvString& text, const char* format, unsigned count);

// The scans of one character, of integers of 2, 4 and 8 bytes and of floating numbers, with a trace
// of how they went. Words of the default format may have blanks around them. A character may be
// written as it prints, 0x and two digits; formats have nothing to say to one.
void TraceCharacter(void* value, const KvString& text, const char* format, ScanTrace& trace);
void TraceShort(void* value, const KvString& text, const char* format, ScanTrace& trace);
void TraceLong(void* value, const KvString& text, const char* format, ScanTrace& trace);
void Trace8b(void* value, const KvString& text, const char* format, ScanTrace& trace);
void TraceFloat(void* value, const KvString& text, const char* format, ScanTrace& trace);
void TraceDouble(void* value, const KvString& text, const char* format, ScanTrace& trace);

// The storage functions of one scalar family in the base library.
struct ScalarStorage {
  KvStoreFunc store;
  KvLoadFunc load;
  KvNullSizeFunc nullSize;
  KvSizeFunc size;
};

inline constexpr ScalarStorage kCharStorage{CharStore, CharStore, CharNullSizeGet, CharSizeGet};
inline constexpr ScalarStorage kShortStorage{ShortStore, ShortStore, ShortNullSizeGet,
                                             ShortSizeGet};
inline constexpr ScalarStorage kLongStorage{LongStore, LongStore, LongNullSizeGet, LongSizeGet};
inline constexpr ScalarStorage kIntStorage{IntStore, IntLoad, IntNullSizeGet, IntSizeGet};
inline constexpr ScalarStorage kUnsignedStorage{UnsignedStore, UnsignedLoad, IntNullSizeGet,
                                                IntSizeGet};
inline constexpr ScalarStorage kFloatStorage{FloatStore, FloatStore, FloatNullSizeGet,
                                             FloatSizeGet};
inline constexpr ScalarStorage kDoubleStorage{DoubleStore, DoubleStore, DoubleNullSizeGet,
                                              DoubleSizeGet};
inline constexpr ScalarStorage kEightByteStorage{O_8BStore, O_8BStore, O_8BNullSizeGet,
                                                 O_8BSizeGet};

// Print and scan functions of one scalar family, and the scan with a trace.
struct ScalarText {
  KvPrintFunc print;
  KvScanFunc scan;
  void (*trace)(void* value, const KvString& text, const char* format, ScanTrace& trace);
};

inline constexpr ScalarText kCharacterText{PrintCharacters, ScanCharacters, TraceCharacter};
inline constexpr ScalarText kShortText{PrintShort, ScanShort, TraceShort};
inline constexpr ScalarText kWordText{PrintWord, ScanShort, TraceShort};
inline constexpr ScalarText kLongText{PrintLong, ScanLong, TraceLong};
inline constexpr ScalarText kDwordText{PrintDword, ScanLong, TraceLong};
inline constexpr ScalarText kBlockIdText{PrintBlockId, ScanLong, TraceLong};
inline constexpr ScalarText kIntText{PrintInt, ScanInt, TraceLong};
inline constexpr ScalarText kUnsignedText{PrintUnsigned, ScanInt, TraceLong};
inline constexpr ScalarText kEightByteText{Print8b, Scan8b, Trace8b};
inline constexpr ScalarText kUnsignedEightByteText{PrintU8b, Scan8b, Trace8b};
inline constexpr ScalarText kFloatText{PrintFloat, ScanFloat, TraceFloat};
inline constexpr ScalarText kDoubleText{PrintDouble, ScanDouble, TraceDouble};

// What all scalar policies share. `storage` and `text` are the family's functions.
template <class T, const ScalarStorage& storage, const ScalarText& text>
struct ScalarRow {
  using Codec = ScalarCodec<T>;
  using SortKey = KeyOfMember<T>;
  static constexpr KvStoreFunc Store = storage.store;
  static constexpr KvLoadFunc Load = storage.load;
  static constexpr KvNullSizeFunc NullSize = storage.nullSize;
  static constexpr KvSizeFunc Size = storage.size;
  static constexpr ScalarText kText = text;

  static constexpr bool kKeyIsLinear = true;
  static double Position(T value) { return static_cast<double>(value); }

  static KvString& Print(KvString& out, void* values, const char* format, unsigned count) {
    return text.print(out, values, format, count);
  }
  static void* Scan(void* values, KvString& input, const char* format, unsigned count) {
    return text.scan(values, input, format, count);
  }
  static void Trace(T& value, const KvString& input, const char* format, ScanTrace& trace) {
    text.trace(&value, input, format, trace);
  }
};

template <class T, const ScalarStorage& storage, const ScalarText& text>
struct IntegerRow : ScalarRow<T, storage, text> {
  static unsigned Key(T value) { return IntegerKey(value); }
  static int Successor(T& value) { return IntegerSuccessor(value); }
  static T Smallest() { return std::numeric_limits<T>::min(); }
  static void ToText(KvString& out, T value) { out << value; }
};

// A whole number whose text is read by KvString's own conversions: decimal, 0x and 0 prefixes.
template <class T, const ScalarStorage& storage, const ScalarText& text>
struct SignedRow : IntegerRow<T, storage, text> {
  static void FromText(T& value, const KvString& input) { value = static_cast<T>(input); }
};

// The same over the unsigned range, which is beyond those conversions.
template <class T, const ScalarStorage& storage, const ScalarText& text>
struct UnsignedRow : IntegerRow<T, storage, text> {
  static void ToText(KvString& out, T value) { out = KvString(static_cast<o_u8b>(value)); }
  static void FromText(T& value, const KvString& input) {
    value = static_cast<T>(ReadUnsigned(input, sizeof(T) == 8 ? 64 : 32));
  }
};

// A one-byte row is a character to its readers: its text is that character.
template <class T, const ScalarStorage& storage, const ScalarText& text>
struct CharacterRow : IntegerRow<T, storage, text> {
  static void ToText(KvString& out, T value) { out = KvString(static_cast<char>(value)); }
  static void FromText(T& value, const KvString& input) {
    value = static_cast<T>(*NarrowText(input).Get());
  }
};

template <class T, const ScalarStorage& storage, const ScalarText& text>
struct FloatingRow : ScalarRow<T, storage, text> {
  // The bit pattern; a double folds its halves. So -0.0 and +0.0, though equal, hash apart: stored
  // hash indexes depend on it.
  static unsigned Key(T value) {
    return IntegerKey(std::bit_cast<std::conditional_t<sizeof(T) == 4, o_u4b, o_u8b>>(value));
  }
  static int Successor(T& value) { return FloatingSuccessor(value); }
  static T Smallest() { return std::numeric_limits<T>::lowest(); }
  static void ToText(KvString& out, T value) { out << value; }
  static void FromText(T& value, KvString& input) {
    value = 0;
    text.scan(&value, input, default_format::kFloating, 1);
  }
};

using CharRow = CharacterRow<o_char, kCharStorage, kCharacterText>;
using ByteRow = CharacterRow<o_u1b, kCharStorage, kCharacterText>;
using ShortRow = SignedRow<o_2b, kShortStorage, kShortText>;
using WordRow = UnsignedRow<o_u2b, kShortStorage, kWordText>;
using LongRow = SignedRow<o_4b, kLongStorage, kLongText>;
using DwordRow = UnsignedRow<o_u4b, kLongStorage, kDwordText>;
using BlockIdRow = UnsignedRow<o_u4b, kLongStorage, kBlockIdText>;
using IntRow = SignedRow<int, kIntStorage, kIntText>;  // int and enum
using UnsignedIntRow = UnsignedRow<unsigned, kUnsignedStorage, kUnsignedText>;
using EightByteRow = SignedRow<o_8b, kEightByteStorage, kEightByteText>;
using UnsignedEightByteRow = UnsignedRow<o_u8b, kEightByteStorage, kUnsignedEightByteText>;
using FloatRow = FloatingRow<o_float, kFloatStorage, kFloatText>;
using DoubleRow = FloatingRow<o_double, kDoubleStorage, kDoubleText>;

// A scalar row as the catalogue takes it.
template <class Row>
constexpr RowSlots ScalarSlots(KvCompareFunc compare) {
  RowSlots slots = RowHandlers<Row>::Slots(Nulls::kNo, compare);
  slots.store = Row::Store;
  slots.load = Row::Load;
  slots.nullSize = Row::NullSize;
  slots.size = Row::Size;
  slots.print = Row::kText.print;
  slots.scan = Row::kText.scan;
  return slots;
}

// enum has a function of its own to move its values, and int's for everything else.
unsigned TranslateEnum(void* destination, unsigned char destinationFormat,
                       unsigned destinationLength, const void* source, unsigned char sourceFormat,
                       unsigned sourceLength, unsigned count);

constexpr RowSlots EnumSlots() {
  RowSlots slots = ScalarSlots<IntRow>(IntCompare);
  slots.translate = TranslateEnum;
  return slots;
}

}  // namespace kv
