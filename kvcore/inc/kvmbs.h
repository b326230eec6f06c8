// kvmbs.h - UTF-8 (the "multibyte" form) to and from 16-bit characters and KvString.
//
// Sequences have one to six bytes, as the first definition of UTF-8 had it:
//
//   bytes  lead                  characters encoded
//   1      0xxxxxxx                      0 to       7F
//   2      110xxxxx                     80 to      7FF
//   3      1110xxxx                    800 to     FFFF
//   4      11110xxx                  10000 to   1FFFFF
//   5      111110xx                 200000 to  3FFFFFF
//   6      1111110x                4000000 to 7FFFFFFF      every further byte: 10xxxxxx
//
// Longer encodings than needed, stray and missing continuation bytes are invalid. Surrogates are
// characters like any other. Characters here are 16 bits wide, so four bytes and more are read and
// keep their low 16 bits without an error; they are never written.
//
//   KvString text;
//   KvMBS2KvString("caf\xC3\xA9", text, 5);          // 5; four characters, code set 253
//   char bytes[8];
//   KvString2KvMBS(text, bytes, sizeof bytes);       // 5, with a terminating zero
//
// Nothing here reads past the given byte counts or writes past the given sizes. Null pointers count
// as empty input and as a buffer of size 0.
#pragma once

#include "kvbase.h"

class KvString;

// Decodes one character from at most `n` bytes. Result: the bytes used; 0 when `in` is null; -1
// when `n` is 0 or the bytes are invalid, `out` being untouched.
KV_EXPORT int KvMultiByte2WChar(unsigned short* out, const char* in, unsigned int n);

// Encodes the low 16 bits of `c`. Result: the bytes written, 1 to 3, without a terminator; 0 when
// `out` is null.
KV_EXPORT int KvWChar2MultiByte(char* out, wchar_t c);

// Decodes `inBytes` bytes, zero bytes included. Characters beyond `outCount` are decoded and
// counted but not stored; units of `out` behind the last one stored keep what they hold. Result:
// the number of characters; -1 for invalid bytes, the characters before them having been stored.
KV_EXPORT int KvMultiByteStr2WCharStr(unsigned short* out, int outCount, const char* in,
                                      int inBytes);

// Decodes into a string of code set 253; the language of `out` stays (so a null string stays null).
// Decoding ends at a character that is zero in its 16 bits, which is not counted. Result: the bytes
// consumed; -1 for invalid bytes; -2 once 32,768 bytes have been consumed. Whatever was decoded
// before is in `out`, which holds 32,765 characters and is cut there as every string is. So 32,766
// and 32,767 bytes of ASCII are a success with the last characters cut. When memory is short `out`
// is left empty and the result is -1.
KV_EXPORT int KvMBS2KvString(const char* in, KvString& out, int inBytes);
KV_EXPORT int KvMultiByteString2KvString(const char* in, KvString& out, int inBytes);
// Decodes the bytes of an 8-bit string, which may be `out` itself.
KV_EXPORT int KvMultiByteString2KvString(const KvString& in, KvString& out);

// Bytes that the first `n` characters take in UTF-8. For a text of ASCII in a code set below 6 the
// result is the length of the whole text whatever `n` is (0 for `n` 0).
KV_EXPORT int KvMBSLength(const KvString& s, unsigned short n);

// Encodes into `size` bytes at `buf`. Result: the bytes written, a terminator not counted; it is
// written where there is room, and a text of ASCII in a code set below 27 fills the whole rest with
// zeros. Never splits a character.
//
// When the buffer is too small the result is negative, but only for ASCII in a code set below 27
// is it the negated length needed. Otherwise it is the negated number of bytes written so far,
// which is 0 when not one character fits. KvMBSLength tells the length beforehand and safely.
//
// Strings of other code sets are taken through code set 253, which cuts 8-bit texts at 32,765
// characters.
KV_EXPORT int KvString2KvMBS(const KvString& s, char* buf, int size);

// Encodes into `buf` when its `size` bytes suffice. Otherwise, and when `buf` is null, `buf`
// becomes a new buffer with room for a terminator, `size` its size, and the caller frees it with
// delete[]; the caller's earlier buffer is left alone. Result: the bytes written; -1 when memory is
// short, nothing having changed.
KV_EXPORT int KvString2MultiByteString(const KvString& s, char*& buf, int& size);
