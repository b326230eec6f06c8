// The policies of the identity rows and the static members of the classes over them.
#include "kvtypevl/rows/identity_rows.h"

#include "kvtypevl/operations/row_handlers.h"
#include "kvtypevl/rows/codecs.h"

namespace kv {

// What the three share: nulls and text are the value's own affair.
template <class Identity>
struct IdentityRow {
  static constexpr bool kPositionIsFloating = false;
  static constexpr const char* kFormat = nullptr;  // the class's own

  static bool IsNull(const Identity& id) { return id.IsNullValue() != 0; }
  static int SetNull(Identity& id) { return id.SetNullValue(); }
  static Identity Default() { return {}; }
  static KvString& Print(KvString& out, void* values, const char* format, unsigned /*count*/) {
    return static_cast<const Identity*>(values)->PrintToKvString(out, format);
  }
  static void* Scan(void* values, KvString& text, const char* format, unsigned /*count*/) {
    if (values != nullptr) static_cast<Identity*>(values)->ScanFromKvString(text, format);
    return values;
  }
};

// Object ids and references are placed and stepped by their object number.
template <class Identity>
struct NumberedRow : IdentityRow<Identity> {
  static constexpr o_u8b kLargestNumber = 0xFFFFFFFFFFFF;

  static double Position(const Identity& id) { return static_cast<double>(id.ObjectNumber()); }
  static int Successor(Identity& id) {
    if (id.ObjectNumber() == kLargestNumber) return kvOverflow;
    if (++id.low == 0) ++id.high;
    return kvOk;
  }
  // Number 0 is the null.
  static Identity Smallest() {
    Identity smallest;
    smallest.low = 1;
    return smallest;
  }
};

struct ObjIdRow : NumberedRow<KvObjId> {
  using Codec = ObjIdCodec;

  static int Order(const KvObjId& a, const KvObjId& b, unsigned short) { return a != b; }
  static unsigned Key(const KvObjId& id) { return id.block ^ id.low ^ id.high; }
};

struct RefRow : NumberedRow<KvRef> {
  using Codec = RefCodec;

  static int Order(const KvRef& a, const KvRef& b, unsigned short) {
    if (const int order = ThreeWay(a.ObjectNumber(), b.ObjectNumber())) return order;
    if (const int order = ThreeWay(a.block, b.block)) return order;
    if (const int order = ThreeWay(a.database, b.database)) return order;
    return ThreeWay(a.classNo, b.classNo);
  }
  // The stored form as 4-byte words in memory order, the last one half filled.
  static unsigned Key(const KvRef& reference) {
    return reference.block ^ reference.low ^
           (reference.high | static_cast<unsigned>(reference.database) << 16) ^ reference.classNo;
  }
};

struct ClassIdRow : IdentityRow<KvClassId> {
  static constexpr bool kKeyIsLinear = true;
  using Codec = ClassIdCodec;

  static int Order(const KvClassId& a, const KvClassId& b, unsigned short) { return a != b; }
  static unsigned Key(const KvClassId& id) { return Number(id); }
  static double Position(const KvClassId& id) {
    // Classes follow each other by their number, the versions of one lie between.
    return Number(KvClassId{id.version, id.classNo});
  }
  // The next version, then the next class. From the null to class 0, version 0; the last one before
  // the null's own fields has none.
  static int Successor(KvClassId& id) {
    KvClassId next{id.classNo, static_cast<o_u2b>(id.version + 1)};
    if (next.version == 0) ++next.classNo;
    if (next.IsNullValue()) return kvOverflow;
    id = next;
    return kvOk;
  }
  static KvClassId Smallest() { return {0, 0}; }

 private:
  static unsigned Number(const KvClassId& id) {
    return id.classNo | static_cast<unsigned>(id.version) << 16;
  }
};

// The row of an identity class.
template <class Identity>
struct IdentityRowOf;
template <>
struct IdentityRowOf<KvObjId> : RowHandlers<ObjIdRow> {};
template <>
struct IdentityRowOf<KvClassId> : RowHandlers<ClassIdRow> {};
template <>
struct IdentityRowOf<KvRef> : RowHandlers<RefRow> {};

template struct RowHandlers<ObjIdRow>;
template struct RowHandlers<ClassIdRow>;
template struct RowHandlers<RefRow>;

}  // namespace kv

template <class Identity>
void* KvIdentityRow<Identity>::Create(unsigned count) {
  return kv::IdentityRowOf<Identity>::Create(count);
}

template <class Identity>
void* KvIdentityRow<Identity>::Delete(void* values, unsigned count) {
  return kv::IdentityRowOf<Identity>::Delete(values, count);
}

template <class Identity>
unsigned KvIdentityRow<Identity>::Store(void* destination, const void* source, unsigned char format,
                                        unsigned count) {
  return kv::IdentityRowOf<Identity>::Store(destination, source, format, count);
}

template <class Identity>
unsigned KvIdentityRow<Identity>::Load(void* destination, const void* source, unsigned char format,
                                       unsigned count) {
  return kv::IdentityRowOf<Identity>::Load(destination, source, format, count);
}

template <class Identity>
unsigned KvIdentityRow<Identity>::NullSizeGet(unsigned count) {
  return kv::IdentityRowOf<Identity>::NullSize(count);
}

template <class Identity>
unsigned KvIdentityRow<Identity>::SizeGet(const void* stored, unsigned char extra,
                                          unsigned char format, unsigned count) {
  return kv::IdentityRowOf<Identity>::Size(stored, extra, format, count);
}

template <class Identity>
unsigned KvIdentityRow<Identity>::SizeGetFromMemFile(MemFile* file, unsigned char format,
                                                     unsigned count) {
  return kv::IdentityRowOf<Identity>::MemFileSize(file, format, count);
}

template <class Identity>
int KvIdentityRow<Identity>::Compare(unsigned char format, unsigned length1, void* value1,
                                     unsigned length2, void* value2, unsigned short cmpOp,
                                     unsigned count, int& result) {
  return kv::IdentityRowOf<Identity>::Compare(format, length1, value1, length2, value2, cmpOp,
                                              count, result);
}

template <class Identity>
float KvIdentityRow<Identity>::EvalAndBound(KvIdxBounds* bounds, unsigned short& op, void* value,
                                            unsigned char format, unsigned count,
                                            KvIdxBounds* newBounds) {
  return kv::IdentityRowOf<Identity>::EvalAndBound(bounds, op, value, format, count, newBounds);
}

template <class Identity>
unsigned KvIdentityRow<Identity>::Hash(unsigned char format, unsigned length, void* value,
                                       unsigned count, int& result) {
  return kv::IdentityRowOf<Identity>::Hash(format, length, value, count, result);
}

template <class Identity>
unsigned KvIdentityRow<Identity>::Translate(void* destination, unsigned char destinationFormat,
                                            unsigned destinationLength, const void* source,
                                            unsigned char sourceFormat, unsigned sourceLength,
                                            unsigned count) {
  return kv::IdentityRowOf<Identity>::Translate(destination, destinationFormat, destinationLength,
                                                source, sourceFormat, sourceLength, count);
}

template <class Identity>
KvString& KvIdentityRow<Identity>::PrintToString(KvString& out, void* values, const char* format,
                                                 unsigned count) {
  return kv::IdentityRowOf<Identity>::Print(out, values, format, count);
}

template <class Identity>
void* KvIdentityRow<Identity>::ScanFromString(void* values, KvString& text, const char* format,
                                              unsigned count) {
  return kv::IdentityRowOf<Identity>::Scan(values, text, format, count);
}

template class KvIdentityRow<KvObjId>;
template class KvIdentityRow<KvClassId>;
template class KvIdentityRow<KvRef>;
