// kvobjid.h - KvObjId, the identity of one object, and KvClassId, one class in one version:
// catalogue rows KvOBJID_T and KvCLID_T.
//
//   KvObjId    memory form, 12 bytes    0 block (4)   4 low (4)   8 high (2)   10 padding
//              stored form, 10 bytes    block, low, high
//   KvClassId  memory and stored form   0 classNo (2)   2 version (2)
//
// Each stored field is in the byte order of the format.
//
//   KvObjId object{7, 5, 1};       // block 7, low 5, high 1: object number 4294967301
//   ++object;                      // low 6
//   KvString text;
//   object.PrintToKvString(text);  // "(1-6#7)"
//
// Print directives of all identities, each printed in decimal:
//
//   %B block   %L low   %H high   %D database   %C class   %V version   %% a percent sign
//   %h and one more character: high the first time, else 0
//   %l and one more character: low as the second, block as the third of all %h and %l, else 0
//
// The last two serve printf formats such as "(%hu-%lu#%lu)". A field that the type does not have
// prints 0; "%" and any other character print that character, a "%" that ends the format itself.
// A null prints the null print string. Scanning walks the same format: a directive reads an
// unsigned number that fits its field, any other character must stand in the text (blanks before
// it are skipped).
#pragma once

#include "kvbase.h"
#include "kvtypemgr.h"

class KvString;

// The functions of an identity's catalogue row (KvTypeDescriptor says what each does) as static
// members of its class: KvObjId::Store(...).
template <class Identity>
class KV_EXPORT KvIdentityRow {
 public:
  static void* Create(unsigned count);
  static void* Delete(void* values, unsigned count);
  static unsigned Store(void* destination, const void* source, unsigned char format,
                        unsigned count);
  static unsigned Load(void* destination, const void* source, unsigned char format, unsigned count);
  static unsigned NullSizeGet(unsigned count);
  static unsigned SizeGet(const void* stored, unsigned char extra, unsigned char format,
                          unsigned count);
  static unsigned SizeGetFromMemFile(MemFile* file, unsigned char format, unsigned count);
  static int Compare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                     void* value2, unsigned short cmpOp, unsigned count, int& status);
  static float EvalAndBound(KvIdxBounds* bounds, unsigned short& predicate, void* value,
                            unsigned char format, unsigned count, KvIdxBounds* newBounds);
  static unsigned Hash(unsigned char format, unsigned length, void* value, unsigned count,
                       int& status);
  static unsigned Translate(void* destination, unsigned char destinationFormat,
                            unsigned destinationLength, const void* source,
                            unsigned char sourceFormat, unsigned sourceLength, unsigned count);
  static KvString& PrintToString(KvString& out, void* values, const char* format, unsigned count);
  static void* ScanFromString(void* values, KvString& text, const char* format, unsigned count);
};

class KV_EXPORT KvObjId : public KvIdentityRow<KvObjId> {
 public:
  constexpr KvObjId() = default;  // null
  constexpr KvObjId(o_u4b blockNumber, o_u4b lowNumber, o_u2b highNumber)
      : block(blockNumber), low(lowNumber), high(highNumber) {}

  o_u4b block = 0;  // the storage block that holds the object
  o_u4b low = 0;    // object number = high * 2^32 + low; 0 is the null object id
  o_u2b high = 0;

  // The object number's neighbours. Past either end the number wraps around its 48 bits.
  KvObjId& operator++() { return *this += 1; }
  KvObjId& operator--() { return *this += -1; }
  // Adds to the object number.
  KvObjId& operator+=(short count);

  bool operator==(const KvObjId& other) const { return (*this != other) == 0; }
  // A three-way comparison, as sorting callers use it: -1, 0 or 1 by object number, then block.
  int operator!=(const KvObjId& other) const;

  constexpr o_u8b ObjectNumber() const { return o_u8b{high} << 32 | low; }

  // The highest object number, block 0.
  void SetHighestValue();
  int IsNullValue() const { return low == 0 && high == 0; }
  int SetNullValue();  // 0

  // A null format is the row's, "(%H-%L#%B)". Result of printing: `text`; of scanning: 0, or
  // kvNotSupported when the text does not match, the value unchanged. An empty text and one that
  // begins with the null print string scan as null.
  KvString& PrintToKvString(KvString& text, const char* format = nullptr) const;
  int ScanFromKvString(const KvString& text, const char* format = nullptr);
};

extern template class KvIdentityRow<KvObjId>;
static_assert(sizeof(KvObjId) == 12);

class KV_EXPORT KvClassId : public KvIdentityRow<KvClassId> {
 public:
  constexpr KvClassId() = default;  // null
  constexpr KvClassId(o_u2b number, o_u2b versionNumber)
      : classNo(number), version(versionNumber) {}

  o_u2b classNo = 65535;  // both 65535: the highest class id, which is the null one
  o_u2b version = 65535;

  bool operator==(const KvClassId& other) const { return (*this != other) == 0; }
  // A three-way comparison, as sorting callers use it: -1, 0 or 1 by class, then version. The
  // highest class id orders before every other.
  int operator!=(const KvClassId& other) const;
  bool operator>(const KvClassId& other) const { return (*this != other) == 1; }

  int IsNullValue() const { return classNo == 65535 && version == 65535; }
  int SetNullValue();  // 0

  // As KvObjId's. A null format is the row's, "(%Cv%V)".
  KvString& PrintToKvString(KvString& text, const char* format = nullptr) const;
  int ScanFromKvString(const KvString& text, const char* format = nullptr);
};

extern template class KvIdentityRow<KvClassId>;
static_assert(sizeof(KvClassId) == 4);
