// kvmodule.h - the module ZM140Ztm142 describes itself and sets up its process-wide context.
//
// Loading the shared library attaches it and unloading detaches it; a host calls
// ___KvTypemgrContext only to rebuild the context.
#pragma once

#include "kvbase.h"

extern "C" {

// A reference is a pointer to every C caller, which is what clang warns of.
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wreturn-type-c-linkage"
#endif

// Fills each slot whose pointer is not null: the compiler's own identification, the build number
// (1927), "Zembla Typemanager 14.0.1.57.0 " (the trailing blank is part of it; the buffer belongs
// to the module and is rebuilt on every call), the build date and the internal name.
// Every slot is one machine word; the build number is stored as such a word.
KV_EXPORT void GetKvTypeMgrInfo(const char** compiler, unsigned long* buildNumber,
                                const char** description, const char** date,
                                const char** internalName);

// Fills all eleven outputs and returns "Zembla Typemanager". `reserved` receives the address of a
// block of 0xFF bytes kept for the loader.
KV_EXPORT const char* KvDescribeDll(unsigned& major, unsigned& minor, unsigned& release,
                                    unsigned& build, unsigned& patch, const char*& internalName,
                                    const char*& buildDateAndTime, const char*& furtherField,
                                    unsigned& buildNumber, const char*& compiler,
                                    const void*& reserved);

// Asks the base library whether this module's version fits it, with the two lowest bits of `flags`
// always set. Result: 0 when it does (see CheckKvVersionNumber).
KV_EXPORT int KvCheckDll(int flags);

// The module options. Bit 0 set: KvString reads numbers in decimal only, as atoi does, instead of
// telling the radix from a 0x or 0 in front. Initially 0.
KV_EXPORT int& ___KvTypeMgrOptions();

// Non-zero attaches: the internationalisation context, and a new manager of format version 5 as the
// default type manager (null when memory is short). The one before is freed if the module made it
// and nobody has replaced it since; one that a caller installed stays the caller's. 0 detaches:
// frees the default type manager, whoever installed it. Both put the defaults of KvLanguageContext
// back; the null print string stays.
KV_EXPORT void ___KvTypemgrContext(int attach);

#if defined(__clang__)
#pragma clang diagnostic pop
#endif

}  // extern "C"
