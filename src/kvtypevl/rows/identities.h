// The rows of KvObjId, KvClassId and KvRef. Their slots are the static members of the classes.
//
// They order and hash by value and the same in every form. The stored bytes in memory order would
// not do for that: they begin with the least significant byte.
//
// Text: one walker over formats for KvObjId, KvClassId, KvRef and KvLocalRef, which all print and
// scan as the fields of a KvRef. The directives are listed in kvobjid.h.
#pragma once

#include "kvbase/codec.h"
#include "kvobjid.h"
#include "kvref.h"
#include "kvtext/scan_trace.h"
#include "kvtypevl/operations/row.h"

class KvString;

namespace kv {

// Replaces what `out` holds. Whether a value is null is the caller's to tell.
KvString& PrintIdentity(KvString& out, const KvRef& fields, const char* format);

enum class ScanOutcome { kNull, kPresent, kMismatch };

// Reads the fields that the format names into `fields`, which keeps the others. An empty text, and
// one that begins with the null print string, is null; `fields` is then left alone, as it is on a
// mismatch. Text behind what the format asks for is ignored.
ScanOutcome ScanIdentity(KvRef& fields, const KvString& text, const char* format, ScanTrace& trace);

// What ScanFromKvString of the identity does, with a trace. Null formats are the row's.
int TraceIdentity(KvObjId& id, const KvString& text, const char* format, ScanTrace& trace);
int TraceIdentity(KvClassId& id, const KvString& text, const char* format, ScanTrace& trace);
int TraceIdentity(KvRef& reference, const KvString& text, const char* format, ScanTrace& trace);

// The members in stored order; kvcore/inc draws them.
using ObjIdCodec = Codec<KvObjId, At<&KvObjId::block>, At<&KvObjId::low>, At<&KvObjId::high>>;
using ClassIdCodec = Codec<KvClassId, At<&KvClassId::classNo>, At<&KvClassId::version>>;
// The stored form leaves the version out.
using RefCodec = Codec<KvRef, At<&KvRef::block>, At<&KvRef::low>, At<&KvRef::high>,
                       At<&KvRef::database>, At<&KvRef::classNo>>;

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
