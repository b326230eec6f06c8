// kvsortkey.h - sort keys: the order of every row as plain bytes.
//
// Stored bytes do not order as their values do (-1 is stored as FFFFFFFF). A sort key does: memcmp
// of two keys has the sign of KvTypeMgr::Cmp of the values. So engines that order bytes and take no
// comparator hold indexes on any row. docs/sort-keys.md draws every key byte by byte.
//
//   KvDate day(2024, 2, 29);
//   unsigned char key[16];
//   std::size_t size;
//   KvSortKey({.type = KvDATE_T}, &day, 0, 8, key, sizeof key, size);   // kvOk, 87E8829D
//
// What holds for any two values of a row and one kind:
//
//   - memcmp of the keys, over the shorter length, has the sign of Cmp under the kind's compare
//     operation; values that compare equal have equal keys.
//   - No key is the beginning of another one. So keys are written one behind the other to make a
//     tuple, and a part of a tuple is turned around (descending) by itself.
//   - Keys are the same on every host and in every release: an index is never rewritten because the
//     library was replaced.
//
// A key does not say what it is a key of. The *kind* does: type, options, compare operation and
// version. It belongs beside the index (its metadata), one kind for all its keys; keys of different
// kinds must not meet in one index.
//
// Wildcards are ordinary values in a key: a date with month -1 is a date of its own, before
// January.
//
// Threads: everything here reads constant tables and what it is given.
#pragma once

#include <cstddef>

#include "kvbase.h"
#include "kvcollate.h"

// The layout that docs/sort-keys.md draws. A later layout gets another number and this one stays.
inline constexpr unsigned char kvSortKeyVersion = 1;

// Options of a kind; they may be combined, but the two places of null not with each other.
//
// kvSortKeyDescending   every byte of the key is complemented, so that larger values come first.
// kvSortKeyNullsLast    null comes behind every value, kvSortKeyNullsFirst before every value, in
//                       the order that the keys have, ascending or descending. Without either null
//                       is the smallest value: first ascending, last descending. Rows that have no
//                       null (KvTypeMgr::SupportsNullValue) take both and do not change.
// kvSortKeyPlainBytes   every KvString of the index has code set 0 or is null, and they order by
//                       their bytes. Without it a string of code set 0 has no key: it compares by
//                       bytes with its like and by collation with all others, and one key cannot do
//                       both.
inline constexpr unsigned char kvSortKeyDescending = 0x01;
inline constexpr unsigned char kvSortKeyNullsLast = 0x02;
inline constexpr unsigned char kvSortKeyNullsFirst = 0x04;
inline constexpr unsigned char kvSortKeyPlainBytes = 0x08;

// What the keys of one index have in common.
//
// `cmpOp` is the compare operation whose order the keys have. Bit kvCompareExact must be set:
// wildcards match and do not order. For KvString the bits kvCompareIgnoreCase,
// kvCompareIgnoreAccents, kvCompareIgnoreVariants and kvCompareSkipSpaces make kinds of their own.
// kvCompareKeyOrder and undefined bits are refused. Other rows ignore the bits, as their comparers
// do.
struct KvSortKeyKind {
  char type = 0;  // a type id of kvtypeid.h
  unsigned char options = 0;
  unsigned short cmpOp = kvCompareExact;
  unsigned char version = kvSortKeyVersion;
};

// ---------------------------------------------------------------------------------------------
// Statuses of the functions below:
//
//   kvOk
//   kvBufferShort    the buffer for the key is too small; `size` is what it takes, nothing written
//   kvNotSupported   the kind or the value has no key, nothing written: kvCompareKeyOrder, a
//                    comparer that was exchanged (KvTypeMgr::ExchangeKvTypeCmpFunc: the order is
//                    then the program's own), a KvString with code set 0 (but see
//                    kvSortKeyPlainBytes) or 255 or with language 255 (they depend on the process's
//                    defaults), an 8-bit string with any flag set or stored as 16-bit units.
//                    Also when memory is short.
//   kvBadArgument    no such type id, version, option or compare bit; stored values that break off
//                    or contradict themselves; bytes that are no key of this kind. Nothing written.
//   kvOverflow       KvSortKeyValue: the text of the key is longer than a KvString holds
//
// Values are given as KvTypeMgr::Cmp takes them: `format` 8 is the memory form, 2 the stored form
// with reversed byte order, any other the stored form in memory order; `length` is the buffer's
// size in bytes, 0 for "exactly as many values as there are", which is then trusted. With a length
// every value must lie inside it whole, else kvBadArgument: a value that was cut has no key.
//
// Keys and values must not overlap.

// Whether keys of this kind can be made.
KV_EXPORT int KvSortKeyCheck(const KvSortKeyKind& kind);

// A size that the keys of `count` values do not exceed, without looking at them. `bytes` is what
// they take stored (any form), or in memory what their texts or blobs hold, all together; rows of
// fixed size do not look at it. 0 for a kind that has no keys. Exact for the fixed rows but the
// nullable ones.
KV_EXPORT std::size_t KvSortKeyBound(const KvSortKeyKind& kind, std::size_t bytes,
                                     unsigned count = 1);

// The key of one value into `key`, a buffer of `capacity` bytes. `size` receives the size of the
// key: written with kvOk, wanted with kvBufferShort, else 0. With a capacity of 0 `key` may be
// null.
KV_EXPORT int KvSortKey(const KvSortKeyKind& kind, const void* value, unsigned length,
                        unsigned char format, void* key, std::size_t capacity, std::size_t& size);

// The keys of a run of `count` values, one behind the other. `offsets`, unless null, receives
// `count` + 1 numbers: where each key begins, and the end of the last. Fixed rows but the nullable
// ones have keys of one width and need none.
KV_EXPORT int KvSortKeyRun(const KvSortKeyKind& kind, const void* values, unsigned length,
                           unsigned char format, unsigned count, void* keys, std::size_t capacity,
                           std::size_t* offsets, std::size_t& size);

// The size of the key at the front of `length` bytes, which may go on with other keys. Looks for
// the end only: what KvSortKeyValue refuses behind a whole key may have a size.
KV_EXPORT int KvSortKeyLength(const KvSortKeyKind& kind, const void* key, std::size_t length,
                              std::size_t& size);

// The value of the key at the front of `length` bytes, assigned to `value`, a constructed value in
// memory form; `size` receives the size of the key. Its key is this key again. What it is:
//
//   fixed rows       the value, but -0 comes back as +0, a NaN as that of the text "NaN", a KvRef
//                    with version 0, and a null of a nullable row with scalar 0
//   KvBlob           the blob
//   8-bit strings    a text of equal weights, flags 0
//   KvString         a text of collation orders (code set 254) that compares equal under the kind's
//                    operation: its characters, language and code set are not in the key
//
// Bytes that no value has a key of, such as the date of a nullable row without its indicator, are
// kvBadArgument. For KvString a key is what these functions read: they do not tell whether some
// text in a real code set has it.
KV_EXPORT int KvSortKeyValue(const KvSortKeyKind& kind, const void* key, std::size_t length,
                             void* value, std::size_t& size);

// ---------------------------------------------------------------------------------------------
// What a key consists of, for programs that show keys.

enum KvSortKeyPart : unsigned char {
  kvKeyNull,     // the one byte of a null, or of an empty 8-bit string
  kvKeyPresent,  // 01, before a value that might have been null
  kvKeyValue,    // the bytes of a number, a blob, the weights of an 8-bit string
  kvKeyOrder,    // level 1 of a text: the code of one collation order
  kvKeyBase,     // 00, the end of level 1
  kvKeyAccent,   // a mark: the accent of a letter
  kvKeyCase,     // a mark: a case that is not the plain one
  kvKeyVariant,  // a mark: a part of a ligature, a superscript
  kvKeyEnd       // the end of a text, a blob or an 8-bit string
};

struct KvSortKeyPiece {
  KvSortKeyPart part;
  unsigned position;   // of a text's order, and of the order that a mark is on: from 0
  unsigned value;      // kvKeyOrder: the order, of a letter the small one without accent;
                       // kvKeyAccent: the accent code; kvKeyCase: the case, 0 to 3
  std::size_t offset;  // of its bytes in the key
  std::size_t size;    // 0 for the second order of a character, which the code before tells
};

// The pieces of the key at the front of `length` bytes into `pieces`, as many as `capacity`;
// `count` receives how many there are. Statuses as KvSortKeyLength.
KV_EXPORT int KvSortKeyPieces(const KvSortKeyKind& kind, const void* key, std::size_t length,
                              KvSortKeyPiece* pieces, std::size_t capacity, std::size_t& count);

// ---------------------------------------------------------------------------------------------
// Ranges. An index scan goes from `lower` (included) to `upper` (excluded).

// The end of the range of all keys that begin with `length` bytes: the shortest bytes behind all of
// them, into `end`, which has room for `length` bytes and may be `prefix` itself. `size` receives
// their number: 0 when there is no end, because the prefix is empty or nothing but FF.
//
//   01 6D FF  ->  01 6E
KV_EXPORT void KvSortKeyPrefixEnd(const void* prefix, std::size_t length, void* end,
                                  std::size_t& size);

// kvSortKeyBeginning   all texts that begin with the given one. Accents, case and variants of the
//                      given text do not count: "mu" finds "Müller", and "mü" does too.
// kvSortKeySameBase    all texts that equal it when accents, case and variants do not count:
// "masse"
//                      finds "Masse" and "Maße".
//
// Hits need a recheck where accents or case matter.
inline constexpr unsigned char kvSortKeyBeginning = 0;
inline constexpr unsigned char kvSortKeySameBase = 1;

// The range of keys that one of the two above stands for, of KvString, the 8-bit strings and
// KvBlob (for which both count bytes and weights as they are); other rows are kvNotSupported. Both
// buffers have room for `capacity` bytes; KvSortKeyBound is enough. A null value has the range of
// null alone.
KV_EXPORT int KvSortKeyRange(const KvSortKeyKind& kind, unsigned char range, const void* value,
                             unsigned length, unsigned char format, std::size_t capacity,
                             void* lower, std::size_t& lowerSize, void* upper,
                             std::size_t& upperSize);

// ---------------------------------------------------------------------------------------------
// Tuples: the keys of the parts one behind the other, each by its own kind. The first part that
// differs decides.
//
//   KvSortKeyWriter tuple(buffer, sizeof buffer);
//   tuple.Add({.type = KvSTRING_T}, &name);
//   tuple.Add({.type = KvDATE_T, .options = kvSortKeyDescending}, &day);
//   if (tuple.Status() == kvOk) Put(buffer, tuple.Size());
//
//   KvSortKeyReader reader(buffer, size);
//   reader.Skip({.type = KvSTRING_T});
//   reader.Next({.type = KvDATE_T, .options = kvSortKeyDescending}, &day);

class KV_EXPORT KvSortKeyWriter {
 public:
  KvSortKeyWriter(void* buffer, std::size_t capacity)
      : buffer_(static_cast<unsigned char*>(buffer)), capacity_(capacity) {}

  // Appends the key of a value. Result: as KvSortKey, and kept by Status(). After kvBufferShort
  // further parts are measured, so that Size() is what the whole tuple takes; after any other
  // failure nothing more is added.
  int Add(const KvSortKeyKind& kind, const void* value, unsigned length = 0,
          unsigned char format = 8);
  // Appends bytes as they are, such as parts that are keys already.
  int AddBytes(const void* bytes, std::size_t length);

  // The first failure, kvOk when there was none.
  int Status() const { return status_; }
  // Bytes of the tuple so far, those that did not fit included.
  std::size_t Size() const { return size_; }
  // Begins again, with the first `size` bytes of what was written.
  void Reset(std::size_t size = 0);

 private:
  unsigned char* buffer_;
  std::size_t capacity_;
  std::size_t size_ = 0;
  int status_ = kvOk;
};

class KV_EXPORT KvSortKeyReader {
 public:
  KvSortKeyReader(const void* tuple, std::size_t length)
      : at_(static_cast<const unsigned char*>(tuple)), left_(length) {}

  // The value of the next part, as KvSortKeyValue. The reader goes on behind it; after a failure it
  // stays where it is.
  int Next(const KvSortKeyKind& kind, void* value);
  // Passes the next part, which is then in `part` and `length` where they are not null.
  int Skip(const KvSortKeyKind& kind, const void** part = nullptr, std::size_t* length = nullptr);

  bool AtEnd() const { return left_ == 0; }

 private:
  const unsigned char* at_;
  std::size_t left_;
};
