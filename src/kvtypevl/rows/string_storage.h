// string_storage.h - the storage slots of both string rows beyond the exported ones.
// kvcore/inc/kvstorage.h draws the layouts, string_runs.h reads them in place.
#pragma once

#include "kvbase/format.h"
#include "kvstring.h"
#include "zbs.h"

namespace kv {

// Writes one block for a plain text, with the default 8-bit code set and the default language; cut
// where a string would be. Result: the bytes written.
unsigned StoreByteText(unsigned char* stored, const char* text, Format format);

// What that takes.
unsigned StoredByteTextSize(const char* text);

// Bytes that StringStore writes for one string.
unsigned StoredStringSize(const KvString& string);

unsigned StringNullSize(unsigned count);
unsigned StringMemFileSize(MemFile* file, unsigned char format, unsigned count);

// The old catalogue's: one block for the whole run. A total length beyond 16 bits is kept modulo
// 65,536, as it always was; such a run cannot be loaded again.
unsigned OldStringStore(void* destination, const void* source, unsigned char format,
                        unsigned count);
unsigned OldStringSize(const void* stored, unsigned char extra, unsigned char format,
                       unsigned count);
unsigned OldStringMemFileSize(MemFile* file, unsigned char format, unsigned count);

// Stored bytes of a trusted run in either form.
unsigned StoredRunSize(const void* stored, Format format, unsigned count);

}  // namespace kv
