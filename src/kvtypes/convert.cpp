// Conversion records: a run of values on its way to or from text.

#include <new>

#include "kvstring.h"
#include "kvtypemgr.h"

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

KvTypeConvertData::~KvTypeConvertData() {
  if (manager != nullptr && values != nullptr) {
    manager->Delete(type, values, count);
    values = nullptr;
  }
  count = 0;
  type = kDestroyedRecord;
}

KvString* KvTypeConvertData::GetString(int index) const {
  // A signed comparison: negative indexes pass it, as callers have always relied on.
  if (index >= static_cast<int>(count) || type != KvSTRING_T || values == nullptr) return nullptr;
  return static_cast<KvString*>(values) + index;
}
