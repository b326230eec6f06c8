// Text of strings: the print and scan functions of both KvString rows. string_text.cpp tells the
// formats.
#pragma once

class KvString;

namespace kv {

KvString& PrintString(KvString& out, void* values, const char* format, unsigned count);
void* ScanString(void* values, KvString& text, const char* format, unsigned count);

}  // namespace kv
