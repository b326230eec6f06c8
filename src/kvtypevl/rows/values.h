// The rows of KvInt64, KvBoolean and KvSeal: their text and their policies. The rows built on
// KvInt64 use its text too.
#pragma once

#include "kvbase/codec.h"
#include "kvbase/key_codec.h"
#include "kvbase/key_run.h"
#include "kvboolean.h"
#include "kvcompare.h"
#include "kvint64.h"
#include "kvseal.h"
#include "kvtext/default_formats.h"
#include "kvtext/scan_trace.h"
#include "kvtypevl/operations/bounds.h"
#include "kvtypevl/operations/compare.h"
#include "kvtypevl/operations/hash.h"
#include "kvtypevl/operations/row.h"
#include "kvtypevl/operations/step.h"

class KvString;

namespace kv {

// The directives are listed in kvint64.h. A null format is "%S".
KvString& PrintInt64(KvString& out, void* values, const char* format, unsigned count);
// Reads what fits the format; a value too large for 64 bits is the nearest end. A text that does
// not match leaves the value as it is. Text behind what the format asks for is ignored.
void* ScanInt64(void* values, KvString& text, const char* format, unsigned count);
bool ScanInt64Text(KvInt64& value, const char* text, const char* format,
                   ScanTrace* trace = nullptr);

// "TRUE" for the byte 1, the null print string for null, "FALSE" for every other byte: the text
// tells what a boolean was made as, not whether it counts as true. The format is not used.
KvString& PrintBoolean(KvString& out, void* values, const char* format, unsigned count);
// Null when the text begins with the null print string; true for the whole words T, t, TRUE, true
// and 1; false for everything else.
void* ScanBoolean(void* values, KvString& text, const char* format, unsigned count);

// The members in stored order; kvcore/inc draws them.

// Two words, each in the byte order of the format; the low one always comes first.
using Int64Codec = Codec<KvInt64, At<&KvInt64::low>, At<&KvInt64::high>>;
using BooleanCodec = Codec<KvBoolean, At<&KvBoolean::value>>;
// Most significant byte first in either byte order.
using SealCodec = Codec<KvSeal, HighestFirst<&KvSeal::high>, HighestFirst<&KvSeal::middle>,
                        HighestFirst<&KvSeal::low>>;

struct Int64Row {
  using Codec = Int64Codec;
  using SortKey = MemberKey<kv::Codec<KvInt64, At<&KvInt64::high>, At<&KvInt64::low>>>;
  static constexpr bool kKeyIsLinear = true;
  static constexpr const char* kFormat = default_format::kInt64;

  static int Order(const KvInt64& a, const KvInt64& b, unsigned short) {
    return ThreeWay(a.Get8b(), b.Get8b());
  }
  static unsigned Key(const KvInt64& value) { return IntegerKey(value.Get8b()); }
  static double Position(const KvInt64& value) { return static_cast<double>(value.Get8b()); }
  static int Successor(KvInt64& value) {
    o_8b number = value.Get8b();
    const int status = IntegerSuccessor(number);
    value = number;
    return status;
  }
  static KvInt64 Smallest() { return LLONG_MIN; }
  static constexpr KvPrintFunc Print = PrintInt64;
  static constexpr KvScanFunc Scan = ScanInt64;
  static void Trace(KvInt64& value, const KvString& text, const char* format, ScanTrace& trace);
};

// Signed bytes, but null (255, which is -1) before all; the numbers below it move up by one.
struct BooleanKey {
  using Value = KvBoolean;
  using Members = BooleanCodec;
  static constexpr KeyStep kStep = KeyStep::kBoolean;
  static constexpr unsigned kWidth = 1;
  static constexpr unsigned kNullWidth = kWidth;
  static constexpr o_u8b kNullPlace = 0;
  static void Write(unsigned char* key, Value truth) {
    const unsigned turned = truth.value ^ 0x80u;
    *key = truth.IsNullValue() ? 0 : static_cast<unsigned char>(turned + (turned < 0x80 ? 1 : 0));
  }
  static Value Read(const unsigned char* key) {
    Value truth;
    truth.value = *key == 0     ? KvBoolean::kNull
                  : *key < 0x80 ? static_cast<o_u1b>((*key - 1) ^ 0x80)
                                : static_cast<o_u1b>(*key ^ 0x80);
    return truth;
  }
};

struct BooleanRow {
  using Codec = BooleanCodec;
  using SortKey = BooleanKey;
  static constexpr bool kKeyIsLinear = true;
  static constexpr const char* kFormat = default_format::kNone;

  static int Order(const KvBoolean& a, const KvBoolean& b, unsigned short) {
    return (a > b) - (a < b);
  }
  static unsigned Key(const KvBoolean& truth) {
    return IntegerKey(static_cast<o_char>(truth.value));
  }
  // A boolean index has three places. Its share of a range is a constant, not a measure.
  static float Evaluate(const KvIdxBounds* bounds, unsigned short predicate, const void* value,
                        unsigned char format, unsigned count, KvIdxBounds* newBounds);
  static bool IsNull(const KvBoolean& truth) { return truth.IsNullValue() != 0; }
  static int SetNull(KvBoolean& truth) { return truth.SetNullValue(); }
  static KvBoolean Default() { return {}; }
  static constexpr KvPrintFunc Print = PrintBoolean;
  static constexpr KvScanFunc Scan = ScanBoolean;
  static void Trace(KvBoolean& truth, const KvString& text, const char* format, ScanTrace& trace);
};

struct SealRow {
  using Codec = SealCodec;
  static constexpr const char* kFormat = default_format::kNone;

  // Stored seals give the difference of the first bytes that differ, those in memory that of the
  // first words.
  static constexpr bool kStoredBytesOrder = true;
  static int Order(const KvSeal& a, const KvSeal& b, unsigned short);
  // The words as the stored form has them in two 4-byte places, the second half filled.
  static unsigned Key(const KvSeal& seal) {
    return (seal.high | static_cast<unsigned>(seal.middle) << 16) ^ seal.low;
  }
  static double Position(const KvSeal& seal) { return static_cast<double>(Number(seal)); }
  static int Successor(KvSeal& seal);
  static KvSeal Smallest() { return {}; }
  static KvString& Print(KvString& out, void* values, const char* format, unsigned count);
  static void* Scan(void* values, KvString& text, const char* format, unsigned count);
  static void Trace(KvSeal& seal, const KvString& text, const char* format, ScanTrace& trace);

 private:
  static constexpr o_8b kLargest = 0xFFFFFFFFFFFF;
  static o_8b Number(const KvSeal& seal) {
    o_8b number;
    seal.ConvertTo(number);
    return number;
  }
};

}  // namespace kv
