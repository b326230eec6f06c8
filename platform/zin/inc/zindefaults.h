// zindefaults.h - the process-wide defaults where they stand, for the library's own parts. Whoever
// makes a text asks for two of them, and a number is printed in the time of two calls. Programs
// read and set them by KvLanguageContext (zin.h).
#pragma once

#include "kvbase.h"

namespace kv {

struct LanguageDefaults {
  unsigned char nativeCodeSet;
  unsigned char codeSet;
  unsigned char byteCodeSet;  // KvLanguageContext::GetDefault8CodeSet()
  unsigned char wideCodeSet;  // KvLanguageContext::GetDefault16CodeSet()
  unsigned char language;
  unsigned short cmpOp;
};

// Only KvLanguageContext writes them.
extern KV_EXPORT LanguageDefaults languageDefaults;

}  // namespace kv
