// The catalogue rows of KvIString and KvCaseIString, from one template.
//
// They are stored in the new form of KvString (kvstorage.h) with the default 8-bit code set and the
// default language; flags are not stored. Both stored forms are read, whoever wrote them.
#pragma once

#include "kvbase/lifetime.h"
#include "kvistring.h"
#include "kvstorage.h"
#include "kvtypemgr.h"
#include "kvtypevl/rows/string_storage.h"

namespace kv {

template <class Weights>
struct WeightedStringRow {
  using Value = KvWeightedString<Weights>;

  static unsigned Store(void* destination, const void* source, unsigned char format,
                        unsigned count);
  static unsigned Load(void* destination, const void* source, unsigned char format, unsigned count);
  static int Compare(unsigned char format, unsigned length1, const void* value1, unsigned length2,
                     const void* value2, unsigned count, int& result);
  static float EvalAndBound(KvIdxBounds* bounds, unsigned short& op, void* value,
                            unsigned char format, unsigned count, KvIdxBounds* newBounds);
  static unsigned Hash(unsigned char format, unsigned length, void* value, unsigned count,
                       int& result);
  static KvTypeConvertData* ConvertTo(void* values, unsigned count);
  static void* ConvertFrom(KvTypeConvertData* record, unsigned count);
  static unsigned Translate(void* destination, unsigned char destinationFormat,
                            unsigned destinationLength, const void* source,
                            unsigned char sourceFormat, unsigned sourceLength, unsigned count);
  static int IsNull(void* value);
  static KvString& Print(KvString& out, void* values, const char* format, unsigned count);
  static void* Scan(void* values, KvString& text, const char* format, unsigned count);
  static void* DefaultValue(unsigned count, int unused);
  static int Step(void* value, unsigned length, unsigned char format, unsigned char op);

  // The row without its names, format and size, which the catalogue table adds.
  static constexpr KvTypeDescriptor Slots(KvCompareFunc compare) {
    return {
        .typeName = nullptr,
        .typeIdName = nullptr,
        .create = CreateRun<Value>,
        .destroy = DeleteRun<Value>,
        .store = Store,
        .load = Load,
        .nullSize = StringNullSize,
        .size = StringSizeGet,
        .memFileSize = StringMemFileSize,
        .compare = compare,
        .evalAndBound = EvalAndBound,
        .hash = Hash,
        .convertTo = ConvertTo,
        .convertFrom = ConvertFrom,
        .construct = ConstructRun<Value>,
        .destruct = DestructRun<Value>,
        .assign = AssignRun<Value>,
        .copy = CopyRun<Value>,
        .translate = Translate,
        .isNull = IsNull,
        .setNull = nullptr,
        .format = nullptr,
        .print = Print,
        .scan = Scan,
        .sizeWord = 0,
        .defaultValue = DefaultValue,
        .step = Step,
        .reserved = nullptr,
    };
  }
};

}  // namespace kv
