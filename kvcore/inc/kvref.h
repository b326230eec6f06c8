// kvref.h - KvRef, a reference to an object with its database and class (catalogue row KvREF_T),
// and KvLocalRef, the same within one database (no row of its own).
//
//   KvRef       memory form, 16 bytes    0 block (4)   4 low (4)   8 high (2)
//                                       10 database (2)   12 classNo (2)   14 version (2)
//               stored form, 14 bytes    block, low, high, database, classNo
//
// The version is not stored and takes no part in equality, order or hash, so that a reference that
// was stored and loaded again equals itself. Loading sets it to 0.
//
//   KvRef reference{7, 5, 1, 2, 40, 1};
//   reference.IsValid();              // 1
//   reference.PrintToKvString(text);  // "(2:1-5#7,40v1)"
//
// Print directives are those of kvobjid.h.
#pragma once

#include "kvbase.h"
#include "kvobjid.h"

class KvLocalRef;

class KV_EXPORT KvRef : public KvIdentityRow<KvRef> {
 public:
  constexpr KvRef() = default;  // null
  constexpr KvRef(o_u4b blockNumber, o_u4b lowNumber, o_u2b highNumber, o_u2b databaseNo,
                  o_u2b classNumber, o_u2b versionNumber)
      : block(blockNumber),
        low(lowNumber),
        high(highNumber),
        database(databaseNo),
        classNo(classNumber),
        version(versionNumber) {}

  o_u4b block = 0;
  o_u4b low = 0;  // object number = high * 2^32 + low; 0 is the null reference
  o_u2b high = 0;
  o_u2b database = 0;
  o_u2b classNo = 0;
  o_u2b version = 0;

  // Database 0.
  KvRef& operator=(const KvLocalRef& local);
  // Sets only the database.
  KvRef& operator=(unsigned short databaseNo);

  bool operator==(const KvRef& other) const;
  bool operator!=(const KvRef& other) const { return !(*this == other); }

  constexpr o_u8b ObjectNumber() const { return o_u8b{high} << 32 | low; }

  // An object number other than 0, a class other than 0 and a database below 65535.
  unsigned short IsValid() const;
  unsigned short IsInvalid() const;
  // An object number other than 0, and a class other than 0 or the database 65535.
  unsigned short IsValidOriginId() const;
  unsigned short IsInvalidOriginId() const;
  int IsNullValue() const { return low == 0 && high == 0; }
  int SetNullValue();  // 0

  // As KvObjId's. A null format is "(%D:%H-%L#%B,%Cv%V)"; the row's is "(%D:%H-%L#%B, %C)".
  KvString& PrintToKvString(KvString& text, const char* format = nullptr) const;
  int ScanFromKvString(const KvString& text, const char* format = nullptr);
};

extern template class KvIdentityRow<KvRef>;
static_assert(sizeof(KvRef) == 16);

class KV_EXPORT KvLocalRef {
 public:
  o_u4b block = 0;
  o_u4b low = 0;
  o_u2b high = 0;
  o_u2b classNo = 0;
  o_u2b version = 0;

  // Class and version only; block and object number only.
  KvLocalRef& operator=(const KvClassId& classId);
  KvLocalRef& operator=(const KvObjId& object);

  // As a KvRef of database 0, also against a KvRef.
  operator KvRef() const { return {block, low, high, 0, classNo, version}; }
  bool operator==(const KvLocalRef& other) const { return KvRef(*this) == KvRef(other); }
  bool operator!=(const KvLocalRef& other) const { return !(*this == other); }
  bool operator==(const KvRef& other) const { return KvRef(*this) == other; }
  bool operator!=(const KvRef& other) const { return !(*this == other); }

  // As a KvRef of database 0. A null format is "(%H-%L#%B,%C)". Scanning drops a database.
  KvString& PrintToKvString(KvString& text, const char* format = nullptr) const;
  int ScanFromKvString(const KvString& text, const char* format = nullptr);
};
