// A catalogue row from a policy. The policy is a struct that says what is particular to one type;
// RowHandlers turns it into the functions of the row's slots over the generic handlers.
//
// This header only declares them, so the catalogue names a row without compiling its family: the
// family's .cpp file includes row_handlers.h, which defines them, and instantiates its rows:
//
//   struct DateRow { using Codec = ...; static int Order(...); ... };
//   template struct RowHandlers<DateRow>;
//
// A policy has
//   Codec                        the list of the type's members (codec.h)
//   Key(value)                   32-bit hash key; kKeyIsLinear (true) when it is linear over XOR
//   Position(value)              place on the number line as a double
//   Print                        slot function (22)
//   Trace(value, text, format, trace)   reads one value and notes how that went (scan_trace.h)
// and may have
//   Scan                         slot function (23), where it reads otherwise than Trace does
//   ScanChecked                  a checked scan of its own (scan.h), in place of Trace
//   SortKey                      key codec (key_codec.h), where a value's sort key is not that of
//                                its members; or SortKeys, whole functions of its own (sort_key.h)
//   Store, Load, NullSize, Size, MemFileSize, Compare, Hash, Step, and Evaluate (EvalAndBound)
//                                slot functions of its own, in place of the generic ones
//   Order(a, b, cmpOp)           -1, 0, +1 of two values in memory form, where it is not the order
//                                of their members as the codec has it
//   OrderStored(a, b, cmpOp)     where stored values order by a rule of their own
//   kStoredBytesOrder            (true) where they order by their bytes
//   Successor(value), Smallest() value step; without them stepping is not supported
//   IsNull(value), SetNull(value), SetNull returning a status
//   Default()                    default value; without it what an empty text converts to
//   ToText(text, value), FromText(value, text)   conversion; without them through Print and Scan
//                                with the row's default format, kFormat
#pragma once

#include "kvtypemgr.h"

struct KvScanned;

namespace kv {

struct SortKeyHandlers;

// A function behind KvScanChecked, which has seen to the pointers.
using CheckedScanFunc = KvScanned (*)(void* value, const KvString& text, const char* format);

// The functions of a row as a line of the catalogue brings them: those of the slots, and those that
// exported functions reach without one. Null where a row has no values.
struct RowSlots : KvTypeDescriptor {
  const SortKeyHandlers* sortKeys = nullptr;
  CheckedScanFunc checkedScan = nullptr;
};

enum class Nulls : bool { kNo, kYes };

// The only list of the slots: the row of these handlers without its names, format and size, which
// the catalogue table adds.
template <class Handlers>
constexpr KvTypeDescriptor SlotsOf() {
  return {
      .typeName = nullptr,
      .typeIdName = nullptr,
      .create = Handlers::Create,
      .destroy = Handlers::Delete,
      .store = Handlers::Store,
      .load = Handlers::Load,
      .nullSize = Handlers::NullSize,
      .size = Handlers::Size,
      .memFileSize = Handlers::MemFileSize,
      .compare = Handlers::Compare,
      .evalAndBound = Handlers::EvalAndBound,
      .hash = Handlers::Hash,
      .convertTo = Handlers::ConvertTo,
      .convertFrom = Handlers::ConvertFrom,
      .construct = Handlers::Construct,
      .destruct = Handlers::Destruct,
      .assign = Handlers::Assign,
      .copy = Handlers::Copy,
      .translate = Handlers::Translate,
      .isNull = Handlers::IsNull,
      .setNull = Handlers::SetNull,
      .format = nullptr,
      .print = Handlers::Print,
      .scan = Handlers::Scan,
      .sizeWord = 0,
      .defaultValue = Handlers::DefaultValue,
      .step = Handlers::Step,
      .reserved = nullptr,
  };
}

template <class Row>
struct RowHandlers {
  static void* Create(unsigned count);
  static void* Delete(void* values, unsigned count);
  static unsigned Store(void* destination, const void* source, unsigned char format,
                        unsigned count);
  static unsigned Load(void* destination, const void* source, unsigned char format, unsigned count);
  static unsigned NullSize(unsigned count);
  static unsigned Size(const void* stored, unsigned char extra, unsigned char format,
                       unsigned count);
  static unsigned MemFileSize(MemFile* file, unsigned char format, unsigned count);
  static int Compare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                     void* value2, unsigned short cmpOp, unsigned count, int& status);
  static float EvalAndBound(KvIdxBounds* bounds, unsigned short& predicate, void* value,
                            unsigned char format, unsigned count, KvIdxBounds* newBounds);
  static unsigned Hash(unsigned char format, unsigned length, void* value, unsigned count,
                       int& status);
  static KvTypeConvertData* ConvertTo(void* values, unsigned count);
  static void* ConvertFrom(KvTypeConvertData* record, unsigned count);
  static void Construct(void* values, unsigned count, unsigned unused);
  static void Destruct(void* values, unsigned count, unsigned unused);
  static void Assign(void* destination, void* source, unsigned count, int unused);
  static void Copy(void* destination, void* source, unsigned count, int unused);
  static unsigned Translate(void* destination, unsigned char destinationFormat,
                            unsigned destinationLength, const void* source,
                            unsigned char sourceFormat, unsigned sourceLength, unsigned count);
  static int IsNull(void* value);
  static int SetNull(void* value);
  static KvString& Print(KvString& out, void* values, const char* format, unsigned count);
  static void* Scan(void* values, KvString& text, const char* format, unsigned count);
  static void* DefaultValue(unsigned count, int unused);
  static int Step(void* value, unsigned length, unsigned char format, unsigned char stepOp);

  static const SortKeyHandlers kSortKeys;
  static KvScanned ScanChecked(void* value, const KvString& text, const char* format);

  // A comparer that is exported under a name of its own stands in the slot itself.
  static constexpr RowSlots Slots(Nulls nulls, KvCompareFunc compare = Compare) {
    RowSlots slots{SlotsOf<RowHandlers>(), &kSortKeys, ScanChecked};
    slots.compare = compare;
    if (nulls == Nulls::kNo) slots.setNull = nullptr;
    return slots;
  }
};

}  // namespace kv
