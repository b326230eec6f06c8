// string_row.h - the catalogue rows of KvString: the current one, and the old catalogue's, which
// differs in its stored form and has neither a null nor a successor.
#pragma once

#include "kvbase/lifetime.h"
#include "kvcompare.h"
#include "kvstorage.h"
#include "kvstring.h"
#include "kvtypemgr.h"
#include "kvtypevl/rows/string_storage.h"

namespace kv {

// The row that asks. A text has its length where it is stored, also one without room for a
// terminator, so that the answers are the same.
enum class StringRowFlag : unsigned short { kCurrent = 0, kOld = 1 };

unsigned HashStrings(unsigned char format, unsigned length, void* values, unsigned count,
                     int& result);
unsigned HashOldStrings(unsigned char format, unsigned length, void* values, unsigned count,
                        int& result);
int CompareOldStrings(unsigned char format, unsigned length1, void* value1, unsigned length2,
                      void* value2, unsigned short cmpOp, unsigned count, int& result);
// string_bounds.cpp
float EvalAndBoundStrings(KvIdxBounds* bounds, unsigned short& op, void* value,
                          unsigned char format, unsigned count, KvIdxBounds* newBounds);
float EvalAndBoundOldStrings(KvIdxBounds* bounds, unsigned short& op, void* value,
                             unsigned char format, unsigned count, KvIdxBounds* newBounds);
// string_text.cpp
KvString& PrintString(KvString& out, void* values, const char* format, unsigned count);
void* ScanString(void* values, KvString& text, const char* format, unsigned count);

KvTypeConvertData* ConvertStringsTo(void* values, unsigned count);
void* ConvertStringsFrom(KvTypeConvertData* record, unsigned count);
int IsNullString(void* value);
int SetNullString(void* value);
void* DefaultStrings(unsigned count, int unused);
int StepString(void* value, unsigned length, unsigned char format, unsigned char op);
int NeverNullString(void* value);
int CannotStepString(void* value, unsigned length, unsigned char format, unsigned char op);

// The rows without their names, format and size, which the catalogue table adds.
constexpr KvTypeDescriptor StringSlots() {
  return {
      .typeName = nullptr,
      .typeIdName = nullptr,
      .create = CreateRun<KvString>,
      .destroy = DeleteRun<KvString>,
      .store = StringStore,
      .load = StringLoad,
      .nullSize = StringNullSize,
      .size = StringSizeGet,
      .memFileSize = StringMemFileSize,
      .compare = StringCompare,
      .evalAndBound = EvalAndBoundStrings,
      .hash = HashStrings,
      .convertTo = ConvertStringsTo,
      .convertFrom = ConvertStringsFrom,
      .construct = ConstructRun<KvString>,
      .destruct = DestructRun<KvString>,
      .assign = AssignRun<KvString>,
      .copy = CopyRun<KvString>,
      .translate = StringTranslate,
      .isNull = IsNullString,
      .setNull = SetNullString,
      .format = nullptr,
      .print = PrintString,
      .scan = ScanString,
      .sizeWord = 0,
      .defaultValue = DefaultStrings,
      .step = StepString,
      .reserved = nullptr,
  };
}

// Comparing, hashing and evaluating have an entry for each row: a host tells the rows by them, and
// may exchange the comparer of one. Behind the entries stands the same core, which takes the row as
// a trailing flag and reads both stored forms for either.
constexpr KvTypeDescriptor OldStringSlots() {
  KvTypeDescriptor slots = StringSlots();
  slots.store = OldStringStore;
  slots.size = OldStringSize;
  slots.memFileSize = OldStringMemFileSize;
  slots.compare = CompareOldStrings;
  slots.evalAndBound = EvalAndBoundOldStrings;
  slots.hash = HashOldStrings;
  slots.translate = OldStringTranslate;
  slots.isNull = NeverNullString;
  slots.setNull = nullptr;
  slots.step = CannotStepString;
  return slots;
}

}  // namespace kv
