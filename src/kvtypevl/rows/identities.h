// The rows of KvObjId, KvClassId and KvRef, as the catalogue takes them. Their slots are the static
// members of the classes.
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
constexpr RowSlots IdentitySlots() {
  RowSlots slots = RowHandlers<Row>::Slots(Nulls::kYes);
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

constexpr RowSlots ObjIdSlots() {
  return IdentitySlots<KvObjId, ObjIdRow>();
}
constexpr RowSlots ClassIdSlots() {
  return IdentitySlots<KvClassId, ClassIdRow>();
}
constexpr RowSlots RefSlots() {
  return IdentitySlots<KvRef, RefRow>();
}

}  // namespace kv
