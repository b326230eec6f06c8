// Text of KvInt64 and KvBoolean: the print and scan functions of their rows (slots 22 and 23),
// which the rows built on KvInt64 use too.
#pragma once

#include "kvint64.h"
#include "kvtext/scan_trace.h"

class KvString;

namespace kv {

// The directives are listed in kvint64.h. A null format is "%S".
KvString& PrintInt64(KvString& out, void* values, const char* format, unsigned count);
// Reads what fits the format; a value too large for 64 bits is the nearest end. A text that does
// not match leaves the value as it is. Text behind what the format asks for is ignored.
void* ScanInt64(void* values, KvString& text, const char* format, unsigned count);
bool ScanInt64Text(KvInt64& value, const char* text, const char* format,
                   ScanTrace* trace = nullptr);

// "TRUE" for the byte 1, the null print string for null, "FALSE" for every other byte: the text
// tells what a boolean was made as, not whether it counts as true. The format is not used.
KvString& PrintBoolean(KvString& out, void* values, const char* format, unsigned count);
// Null when the text begins with the null print string; true for the whole words T, t, TRUE, true
// and 1; false for everything else.
void* ScanBoolean(void* values, KvString& text, const char* format, unsigned count);

}  // namespace kv
