// Text of the scalar rows: the print and scan functions of slots 22 and 23, for KvString and for
// every row that is built on a scalar.
//
// A print function replaces what `out` holds and returns it; a scan function returns `values`, or
// null when that is null. Formats are data from strangers and are checked (scalar_format.h): one
// that does not parse prints the value with the row's default format and scans nothing. That is
// why signed and unsigned rows, which otherwise print alike, have print functions of their own;
// scanning goes by the format's conversion alone, so they share it.
#pragma once

#include "kvbase.h"
#include "kvtext/scan_trace.h"

class KvString;

namespace kv {

// o_char, o_u1b: `count` bytes as one text. A byte from 0x20 to 0x7E goes through the format,
// any other prints as 0x and two hex digits.
KvString& PrintCharacters(KvString& out, void* values, const char* format, unsigned count);
// Reads up to `count` bytes, byte i with the format from position i of the text.
void* ScanCharacters(void* values, KvString& text, const char* format, unsigned count);

// The integer rows print and scan one value, whatever `count` says.
KvString& PrintShort(KvString& out, void* values, const char* format, unsigned count);    // o_2b
KvString& PrintWord(KvString& out, void* values, const char* format, unsigned count);     // o_u2b
KvString& PrintLong(KvString& out, void* values, const char* format, unsigned count);     // o_4b
KvString& PrintDword(KvString& out, void* values, const char* format, unsigned count);    // o_u4b
KvString& PrintBlockId(KvString& out, void* values, const char* format, unsigned count);  // BlockId
KvString& PrintInt(KvString& out, void* values, const char* format, unsigned count);  // int, enum
KvString& PrintUnsigned(KvString& out, void* values, const char* format, unsigned count);
KvString& Print8b(KvString& out, void* values, const char* format, unsigned count);   // o_8b
KvString& PrintU8b(KvString& out, void* values, const char* format, unsigned count);  // o_u8b

void* ScanShort(void* values, KvString& text, const char* format, unsigned count);  // o_2b, o_u2b
void* ScanLong(void* values, KvString& text, const char* format, unsigned count);   // 4-byte rows
void* ScanInt(void* values, KvString& text, const char* format, unsigned count);    // 4-byte rows
void* Scan8b(void* values, KvString& text, const char* format, unsigned count);     // o_8b, o_u8b

// The default format "%.17g" prints NaN, Infinity and -Infinity as words and reads them back in
// any letter case. A format that begins with "ldex" prints and reads mantissa and exponent.
KvString& PrintDouble(KvString& out, void* values, const char* format, unsigned count);
void* ScanDouble(void* values, KvString& text, const char* format, unsigned count);
KvString& PrintFloat(KvString& out, void* values, const char* format, unsigned count);
void* ScanFloat(void* values, KvString& text, const char* format, unsigned count);

// The scans of integers of 2, 4 and 8 bytes and of floating numbers, with a trace of how they went.
// Words of the default format may have blanks around them.
void TraceShort(void* value, const KvString& text, const char* format, ScanTrace& trace);
void TraceLong(void* value, const KvString& text, const char* format, ScanTrace& trace);
void Trace8b(void* value, const KvString& text, const char* format, ScanTrace& trace);
void TraceFloat(void* value, const KvString& text, const char* format, ScanTrace& trace);
void TraceDouble(void* value, const KvString& text, const char* format, ScanTrace& trace);

}  // namespace kv
