// Conversion records: a run of values on its way to or from text; and the conversions that are
// exported by name, which are those of their rows.

#include "kvtypevl/operations/convert.h"

#include <new>

#include "kvtypevl/rows/scalars.h"

namespace {

constexpr char kDestroyedRecord = 100;  // reads as the illegal type

}  // namespace

KvTypeConvertData::KvTypeConvertData(char typeId, unsigned valueCount, void* valueRun,
                                     KvTypeMgr* typeManager)
    : manager(typeManager), values(valueRun), count(valueCount), type(typeId) {}

KvTypeConvertData* KvTypeConvertData::Make(char type, unsigned count, void* values,
                                           KvTypeMgr* manager) {
  auto* record = new (std::nothrow) KvTypeConvertData(type, count, values, manager);
  if (record == nullptr) KvCallMemoryHandler(sizeof(KvTypeConvertData));
  return record;
}

// What is left behind is for whoever holds on to the record by mistake. The stores are volatile: to
// the compiler nobody may look at a destroyed object, and it leaves plain ones out.
KvTypeConvertData::~KvTypeConvertData() {
  if (manager != nullptr && values != nullptr) {
    manager->Delete(type, values, count);
    *const_cast<void* volatile*>(&values) = nullptr;
  }
  *const_cast<volatile unsigned*>(&count) = 0;
  *const_cast<volatile char*>(&type) = kDestroyedRecord;
}

KvString* KvTypeConvertData::GetString(int index) const {
  // A signed comparison: negative indexes pass it, as callers have always relied on.
  if (index >= static_cast<int>(count) || type != KvSTRING_T || values == nullptr) return nullptr;
  return static_cast<KvString*>(values) + index;
}

KvTypeConvertData* CharConvertToKvString(void* values, unsigned count) {
  return kv::RowHandlers<kv::CharRow>::ConvertTo(values, count);
}

void* CharConvertFromKvString(KvTypeConvertData* record, unsigned count) {
  return kv::RowHandlers<kv::CharRow>::ConvertFrom(record, count);
}

KvTypeConvertData* O_U1BConvertToKvString(void* values, unsigned count) {
  return kv::RowHandlers<kv::ByteRow>::ConvertTo(values, count);
}

void* O_U1BConvertFromKvString(KvTypeConvertData* record, unsigned count) {
  return kv::RowHandlers<kv::ByteRow>::ConvertFrom(record, count);
}

KvTypeConvertData* ShortConvertToKvString(void* values, unsigned count) {
  return kv::RowHandlers<kv::ShortRow>::ConvertTo(values, count);
}

void* ShortConvertFromKvString(KvTypeConvertData* record, unsigned count) {
  return kv::RowHandlers<kv::ShortRow>::ConvertFrom(record, count);
}

KvTypeConvertData* WordConvertToKvString(void* values, unsigned count) {
  return kv::RowHandlers<kv::WordRow>::ConvertTo(values, count);
}

void* WordConvertFromKvString(KvTypeConvertData* record, unsigned count) {
  return kv::RowHandlers<kv::WordRow>::ConvertFrom(record, count);
}
