// Object ids, class ids and references: arithmetic, order and validity. Their text is in
// kvtypevl/rows/identities.cpp, with their rows.
#include "kvbase/three_way.h"
#include "kvobjid.h"
#include "kvref.h"

namespace {

using kv::ThreeWay;

// A class id as a number in the order of class ids: the null one, highest by its fields, is first.
constexpr o_u4b ClassRank(const KvClassId& id) {
  return (o_u4b{id.classNo} << 16 | id.version) + 1;
}

}  // namespace

KvObjId& KvObjId::operator+=(short count) {
  const o_u8b number = ObjectNumber() + static_cast<o_u8b>(count);
  low = static_cast<o_u4b>(number);
  high = static_cast<o_u2b>(number >> 32);
  return *this;
}

int KvObjId::operator!=(const KvObjId& other) const {
  const int order = ThreeWay(ObjectNumber(), other.ObjectNumber());
  return order != 0 ? order : ThreeWay(block, other.block);
}

void KvObjId::SetHighestValue() {
  *this = KvObjId{0, 0xFFFFFFFFu, 0xFFFF};
}

int KvObjId::SetNullValue() {
  *this = KvObjId();
  return 0;
}

int KvClassId::operator!=(const KvClassId& other) const {
  return ThreeWay(ClassRank(*this), ClassRank(other));
}

int KvClassId::SetNullValue() {
  *this = KvClassId();
  return 0;
}

KvRef& KvRef::operator=(const KvLocalRef& local) {
  return *this = static_cast<KvRef>(local);
}

KvRef& KvRef::operator=(unsigned short databaseNo) {
  database = databaseNo;
  return *this;
}

bool KvRef::operator==(const KvRef& other) const {
  return low == other.low && high == other.high && block == other.block &&
         database == other.database && classNo == other.classNo;
}

unsigned short KvRef::IsValid() const {
  return !IsNullValue() && classNo != 0 && database < 65535;
}

unsigned short KvRef::IsInvalid() const {
  return !IsValid();
}

unsigned short KvRef::IsValidOriginId() const {
  return !IsNullValue() && (database == 65535 || classNo != 0);
}

unsigned short KvRef::IsInvalidOriginId() const {
  return !IsValidOriginId();
}

int KvRef::SetNullValue() {
  *this = KvRef();
  return 0;
}

KvLocalRef& KvLocalRef::operator=(const KvClassId& classId) {
  classNo = classId.classNo;
  version = classId.version;
  return *this;
}

KvLocalRef& KvLocalRef::operator=(const KvObjId& object) {
  block = object.block;
  low = object.low;
  high = object.high;
  return *this;
}
