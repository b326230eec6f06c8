// tables.h - the generated tables that only this library reads (platform/zin/data). Two-level:
// an index of 256 page numbers, then pages of 256 entries; page 0 is all zero.
#pragma once

#include "zin.h"
#include "zinorder.h"

namespace kv::zin {

// 8-bit code sets 1 to 12, by slot (ByteCodeSetSlot).
extern const unsigned short kToUnicode[kByteCodeSets][256];
extern const unsigned char kFromUnicodeIndex[kByteCodeSets][256];
extern const unsigned char kFromUnicodePages[][256];

// Languages in number order from 1 on.
extern const KvLanguage kLanguages[];
extern const unsigned kLanguageCount;

// Letters whose capital is another one in a language than in all others.
struct CasePair {
  unsigned char language;
  unsigned short small;
  unsigned short capital;
};
extern const CasePair kCasePairs[];
extern const unsigned kCasePairCount;

// The letters that the orders of a tailoring stand for, in UTF-8, sorted by order: those of
// tailoring t are from kLetterNameStarts[t] to [t + 1]. Number 0 has those of all languages.
struct LetterName {
  unsigned short order;
  char name[6];
};
extern const LetterName kLetterNames[];
extern const unsigned short kLetterNameStarts[];

// Record number by character; 0 is no record.
extern const KvUnicodeRecord kPropertyRecords[];
extern const unsigned char kPropertyIndex[256];
extern const unsigned char kPropertyPages[][256];

// A case mapping to more than one character; unused places are 0. Sorted by code.
struct Expansion {
  unsigned short code;
  unsigned short mapped[3];
};

// One-to-one case mappings; 0 is the character itself.
extern const unsigned char kLowerIndex[256];
extern const unsigned short kLowerPages[][256];
extern const Expansion kLowerExpansions[];
extern const unsigned kLowerExpansionCount;
extern const unsigned char kUpperIndex[256];
extern const unsigned short kUpperPages[][256];
extern const Expansion kUpperExpansions[];
extern const unsigned kUpperExpansionCount;

}  // namespace kv::zin
