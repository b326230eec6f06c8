// text_key.h - the sort key of a text under collation, level after level. docs/sort-keys.md draws
// it; keys live in indexes for good, so nothing here changes.
//
//   01   level 1   00   marks   end
//
// Level 1 is what the characters are: a code for each order's primary half, one byte for the
// letters, digits, spaces and symbols that texts are made of, two or three for others. No code is
// the beginning of another one and none begins with 00, so a text that ends first comes first.
//
// Marks are what is not plain about single orders: accents, then case, then variants. Texts that
// are the same at level 1 have the same number of orders, so a mark says how many plain orders it
// stands behind, and small letters without accents, the plain ones, take nothing. What a mark is
// about is told by its first byte, whose ranges are in such an order that no level needs an end of
// its own:
//
//   00 to 2F   case before the plain one: the sooner, the smaller
//   30, 31     end of the key; 31 in languages of sort class 20
//   32 to 3F   variant: the sooner, the larger
//   40 to 42   case behind the plain one: the sooner, the larger
//   43 to FF   accent: the sooner, the larger
//
// A text without marks has its end where another one has a mark, and orders before accents, behind
// capitals and before variants.
#pragma once

#include <cstddef>

#include "kvsortkey.h"
#include "kvstring/collate.h"

class KvString;

namespace kv {

class KeySource;

// What shows a key takes its pieces one after the other.
using TakePiece = void (*)(void* taker, const KvSortKeyPiece& piece);

// Bytes that the key of a text of so many bytes does not exceed.
constexpr unsigned long long TextKeyBound(unsigned long long bytes) {
  return 6 * bytes + 3;
}

// The key into `key`. The caller knows that there is room for it, by TextKeyBound or TextKeySize;
// `room` is the end of the buffer, whose bytes behind the key may be used too. `cmpOp` holds
// kvCompareExact and options that leave out levels or spaces. The text is not null; its code set
// and language are numbers that stand for no default. Result: the end of the key.
unsigned char* WriteTextKey(const Text& text, unsigned short cmpOp, unsigned char* key,
                            const unsigned char* room);
// The exact size of that key.
std::size_t TextKeySize(const Text& text, unsigned short cmpOp);

// What all keys of texts that begin with this one have in common: the leading byte and level 1
// without its end. Under the last character of a broken text of orders others may fall too.
unsigned char* WriteTextKeyBeginning(const Text& text, unsigned short cmpOp, unsigned char* key);
// The same with the end of level 1: what all texts that differ in accents, case and variants have.
unsigned char* WriteTextKeyBase(const Text& text, unsigned short cmpOp, unsigned char* key);

// Takes the rest of a key whose leading byte, 01, is passed. `value`, unless null, becomes a text
// of collation orders that has this key under `cmpOp`. kvOk; kvBadArgument for bytes that are no
// key (when `value` is null only its end is looked for); kvOverflow for more orders than a string
// holds; kvNotSupported when memory is short. `value` changes only with kvOk.
int ReadTextKey(KeySource& source, unsigned short cmpOp, KvString* value);
// The same walk over a key that is known to be one, for its pieces.
void ReadTextKeyPieces(KeySource& source, unsigned short cmpOp, void* taker, TakePiece take);

}  // namespace kv
