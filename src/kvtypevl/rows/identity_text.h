// Text of the identities: one walker over formats for KvObjId, KvClassId, KvRef and KvLocalRef,
// which all print and scan as the fields of a KvRef. The directives are listed in kvobjid.h.
#pragma once

#include "kvref.h"
#include "kvtext/scan_trace.h"

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

}  // namespace kv
