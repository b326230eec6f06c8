// The rows of KvObjId, KvClassId and KvRef. Their slots are the static members of the classes.
//
// They order and hash by value and the same in every form. The stored bytes in memory order would
// not do for that: they begin with the least significant byte.
#pragma once

#include "kvobjid.h"
#include "kvref.h"
#include "kvtypevl/operations/row.h"

namespace kv {

struct ObjIdRow;
struct ClassIdRow;
struct RefRow;

// The functions that the classes show come from the classes, so that a row and the class agree.
template <class Identity, class Row>
constexpr KvTypeDescriptor IdentitySlots() {
  KvTypeDescriptor slots = RowHandlers<Row>::Slots(Nulls::kYes);
  slots.create = Identity::Create;
  slots.destroy = Identity::Delete;
  slots.store = Identity::Store;
  slots.load = Identity::Load;
  slots.nullSize = Identity::NullSizeGet;
  slots.size = Identity::SizeGet;
  slots.memFileSize = Identity::SizeGetFromMemFile;
  slots.compare = Identity::Compare;
  slots.evalAndBound = Identity::EvalAndBound;
  slots.hash = Identity::Hash;
  slots.translate = Identity::Translate;
  slots.print = Identity::PrintToString;
  slots.scan = Identity::ScanFromString;
  return slots;
}

constexpr KvTypeDescriptor ObjIdSlots() {
  return IdentitySlots<KvObjId, ObjIdRow>();
}
constexpr KvTypeDescriptor ClassIdSlots() {
  return IdentitySlots<KvClassId, ClassIdRow>();
}
constexpr KvTypeDescriptor RefSlots() {
  return IdentitySlots<KvRef, RefRow>();
}

}  // namespace kv
