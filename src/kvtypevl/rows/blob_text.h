// Text of blobs: the print and scan functions of their row.
#pragma once

#include "kvtext/scan_trace.h"

class KvBlob;
class KvString;

namespace kv {

// Directives: %L the length, %X the bytes as pairs of hex digits. "%" and any other character
// print that character, a "%" that ends the format itself. A null blob prints the null print
// string.
KvString& PrintBlob(KvString& out, void* values, const char* format, unsigned count);

// Reads what "%X" prints, whatever the format, which by default shows no content: pairs of hex
// digits, blanks between them allowed. A text that begins with the null print string is null, an
// empty one an empty blob. Any other text leaves the blob as it is.
void* ScanBlob(void* values, KvString& text, const char* format, unsigned count);
// The same, with a trace. False when memory was short.
bool TraceBlob(KvBlob& blob, const KvString& text, ScanTrace& trace);

}  // namespace kv
