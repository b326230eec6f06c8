// The shared trivial functions: what the illegal row answers to every operation, harmlessly.
#pragma once

#include "kvtypevl/operations/row.h"

namespace kv {

struct TrivialRow {
  static void* Create(unsigned) { return nullptr; }
  static void* Delete(void*, unsigned) { return nullptr; }
  static unsigned Store(void*, const void*, unsigned char, unsigned) { return 0; }
  static constexpr KvLoadFunc Load = Store;
  static unsigned NullSize(unsigned) { return 0; }
  static unsigned Size(const void*, unsigned char, unsigned char, unsigned) { return 0; }
  static unsigned MemFileSize(MemFile*, unsigned char, unsigned) { return 0; }
  static int Compare(unsigned char, unsigned, void*, unsigned, void*, unsigned short, unsigned,
                     int& status) {
    status = kvOk;
    return 0;
  }
  static float EvalAndBound(KvIdxBounds*, unsigned short&, void*, unsigned char, unsigned,
                            KvIdxBounds*) {
    return 0;
  }
  static unsigned Hash(unsigned char, unsigned, void*, unsigned, int& status) {
    status = kvOk;
    return 0;
  }
  static KvTypeConvertData* ConvertTo(void*, unsigned) { return nullptr; }
  static void* ConvertFrom(KvTypeConvertData*, unsigned) { return nullptr; }
  static void Construct(void*, unsigned, unsigned) {}
  static constexpr KvLifetimeFunc Destruct = Construct;
  static void Copy(void*, void*, unsigned, int) {}
  static constexpr KvCopyFunc Assign = Copy;
  static unsigned Translate(void*, unsigned char, unsigned, const void*, unsigned char, unsigned,
                            unsigned) {
    return 0;
  }
  static int IsNull(void*) { return 0; }
  static constexpr KvSetNullFunc SetNull = nullptr;
  static KvString& Print(KvString& out, void*, const char*, unsigned) { return out; }
  static void* Scan(void*, KvString&, const char*, unsigned) { return nullptr; }
  static void* DefaultValue(unsigned, int) { return nullptr; }
  static int Step(void*, unsigned, unsigned char, unsigned char) { return kvNotSupported; }
};

constexpr RowSlots TrivialSlots() {
  return {SlotsOf<TrivialRow>()};
}

}  // namespace kv
