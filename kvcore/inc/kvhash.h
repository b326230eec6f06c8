// kvhash.h - hashes of texts.
//
// HashString agrees with comparison. Two texts that compare equal under compare operation 0 have
// the same hash, whatever code sets they are in (plain bytes, code set 0, hash by their bytes).
// HashKvString and HashKvString7 are fast and know nothing of collation: same units, same hash.
//
// Hashes are kept in stored hash indexes, so none of this ever changes. All arithmetic is modulo
// 2^32, and each step is hash * 9 + unit.
#pragma once

#include "kvbase.h"

class KvString;

// The hash of every null.
inline constexpr unsigned kvNullHash = 0xFEFE7575;

// Hashes a text by its collation orders, a text of plain bytes (code set 0) by its bytes.
//
//   codeSet    255: the default 8-bit code set
//   language   255: the default language. 254, or 0 with code set 254, is null: kvNullHash
//   data       the text; 16-bit units need not be aligned. A null pointer is an empty text
//   length     -1: up to the terminator. Positive: exactly so many steps, an order each (a byte
//              each for plain bytes); past a terminator orders are 0. Anything else gives 0
//   option     byte order of 16-bit units: 2 is reversed, anything else (255 too) memory order
//
//   HashString(1, 1, "ab", -1, 1) == HashString(253, 1, wideAb, -1, 1)     // true
KV_EXPORT unsigned HashString(unsigned char codeSet, unsigned char language, const char* data,
                              short length, unsigned char option);

// Hashes the units up to the first zero one: 16-bit units for code set 253, bytes for every other.
// Bytes of 0x80 and above count as negative numbers. A string without storage gives 0.
//
//   HashKvString(KvString("ab"))     // 9 * 97 + 98 = 971
KV_EXPORT unsigned HashKvString(const KvString& text);

// As HashKvString with the low seven bits of each unit.
KV_EXPORT unsigned HashKvString7(const KvString& text);
