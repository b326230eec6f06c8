// kvstorage.h - the stored form of KvString (slots 4, 5 and 7 of its row).
//
// A run of strings is stored as that many blocks, back to back:
//
//   offset  bytes  content
//   0       2      B, the bytes that follow this field; least significant byte first, or most
//                  significant first when the low four bits of the format byte are 2
//   2       1      code set
//   3       1      language
//   4       B-2    text with its terminator, then the marker
//
// An 8-bit text is its bytes, its terminating zero and the marker FF. A 16-bit text (code set above
// 224) is its units, in the byte order of the length field, with 00 FF in place of the terminator.
// An empty string, null or not, is 00 FF. So "abc" in code set 1 and language 1 is
//
//   07 00  01 01  61 62 63 00 FF            in memory order
//   00 07  01 01  61 62 63 00 FF            reversed
//
// and in code set 253
//
//   0A 00  FD 01  61 00 62 00 63 00 00 FF
//
// The last byte of a block is never zero: that is how it is told from the *old form*, which the old
// catalogue writes and every catalogue reads. There a whole run is one block, without code sets and
// languages:
//
//   offset  bytes  content
//   0       2      T, the bytes that follow
//   2       T      each string's 8-bit text with its terminating zero
//
// These layouts are in databases and never change.
//
//   KvString name("abc");
//   unsigned char stored[16];
//   StringStore(stored, &name, 2, 1);           // 9
//   KvString loaded;
//   StringLoad(&loaded, stored, 2, 1);          // 9, loaded is "abc"
#pragma once

#include "kvbase.h"

// Writes `count` strings (`source` points to KvString) to `destination`, which must have room: up
// to 65,537 bytes a string. Result: the bytes written, 0 for a count of 0.
KV_EXPORT unsigned StringStore(void* destination, const void* source, unsigned char format,
                               unsigned count);

// Loads `count` strings over constructed ones (`destination` points to KvString). Texts in the old
// form get the default 8-bit code set and the default language; strings that an old block does not
// hold become empty. Stored bytes are trusted. Result: the bytes read; 0 when the first length is 0
// or memory was short.
KV_EXPORT unsigned StringLoad(void* destination, const void* stored, unsigned char format,
                              unsigned count);

// Stored bytes of the `count` blocks at `stored`, which is trusted, by their length fields. `extra`
// is not used.
KV_EXPORT unsigned StringSizeGet(const void* stored, unsigned char extra, unsigned char format,
                                 unsigned count);
