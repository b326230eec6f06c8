// kvcollate.h - the comparison of two texts under collation: KvStrCmp and its options.
//
// Every character has one or two *collation orders*, 16-bit numbers that the language of the text
// decides (kvorder.h puts them in words). An order says what the character is (letter a, digit 7,
// semicolon) and, for letters, its accent, its case and whether it is part of a ligature or another
// variant. Texts compare by levels, each over the whole texts, and the first level with a
// difference decides:
//
//   1. what the characters are       "Zebra" after "abc"
//   2. accents                       "Bar" before "Bär"
//   3. case, capitals first          "Arm" before "arm"
//   4. ligatures and variants        "Masse" before "Maße"
//
// A text that ends first comes first. Two texts of different languages compare by the orders that
// each has in its own language; when all are equal, the sort classes of the languages decide.
//
//   KvStrCmp(1, 2, "B\xE4r", 1, 2, "Bar", 0, -1, 1, nullptr);               // 1
//   KvStrCmp(1, 2, "B\xE4r", 1, 2, "Bar", kvCompareIgnoreAccents, -1, 1, nullptr);   // 0
#pragma once

#include "kvbase.h"

// Bits of a compare operation; they may be combined. Others mean nothing. Where the header of a
// function says so, 65535 stands for the process's default operation (initially 0).
inline constexpr unsigned short kvCompareExact = 0x10;       // no wildcards; plain bytes by value
inline constexpr unsigned short kvCompareIgnoreCase = 0x20;  // level 3 does not count
inline constexpr unsigned short kvCompareIgnoreAccents = 0x40;  // level 2 does not count
inline constexpr unsigned short kvCompareSkipSpaces = 0x80;     // spaces and controls do not count
inline constexpr unsigned short kvCompareKeyOrder = 0x100;      // order by order, as HashString
inline constexpr unsigned short kvCompareIgnoreVariants = 0x200;  // level 4 does not count

// Orders two zero-terminated texts: negative, zero or positive as `text1` comes before, equals or
// comes after `text2`. A null pointer is an empty text.
//
//   code sets    as in zin.h: above 224 the text is 16-bit units, which need not be aligned. 0 is
//                plain bytes, taken in the native code set. 254 with a language that is not null:
//                the units are collation orders themselves.
//   languages    255 is the default language
//   cmpOp        the bits above; 65535 is not replaced here
//   maxLength    at most so many characters of each text count, each with all its orders; 65535
//                (-1) is the whole text, 0 gives 0
//   byteOrder    of the 16-bit units of both texts: 2 is reversed, anything else the memory's own
//   status       receives 0 when not null
//
// Null texts (language 254, or code set 254 with language 0): two are equal, a present text is
// after a null one. A null `text1` before a present one gives -1 when `cmpOp` has kvCompareExact or
// kvCompareKeyOrder; without either its characters are compared, so that an empty one equals an
// empty present text: the order of stored indexes depends on it.
//
// Two texts of code set 0 compare byte by byte, unsigned, under kvCompareExact or
// kvCompareKeyOrder. The result is then the difference of the first differing bytes; under
// kvCompareKeyOrder otherwise the difference of the first differing hash keys; at all other times
// -1, 0 or 1.
//
// Wildcards: KvString::SetAsterisk, SetQuestion and SetEscape name characters. In `text2` such a
// character stands for any run of characters, for any one character, or takes the meaning from the
// wildcard after it. With kvCompareExact or kvCompareKeyOrder there are no wildcards. A `text2`
// with a wildcard that matches the whole of `text1` compares equal; otherwise the two compare as
// if it had none (and before it when even then equal).
KV_EXPORT int KvStrCmp(unsigned char codeSet1, unsigned char language1, const char* text1,
                       unsigned char codeSet2, unsigned char language2, const char* text2,
                       unsigned short cmpOp, short maxLength, unsigned char byteOrder, int* status);
