// Sort keys of the fixed rows, over a key codec (kvbase/key_codec.h), and what every family of rows
// offers to the exported functions of kvsortkey.h.
//
// Everything here writes and reads ascending keys: the exported functions complement what is
// written, and a KeySource gives what it reads the right way round.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "kvbase/codec.h"
#include "kvbase/key_bytes.h"
#include "kvbase/key_codec.h"
#include "kvbase/key_run.h"
#include "kvsortkey.h"
#include "kvtypemgr.h"

namespace kv {

// The values that keys are wanted of.
struct KeyedRun {
  const void* values;
  unsigned length;  // bytes, 0: trusted
  Format format;
  unsigned count;
  unsigned short cmpOp;
  bool plainBytes;
  bool nullsHigh;            // null behind every value of an ascending key
  KvLoadFunc load;           // the row's own
  std::size_t capacity = 0;  // of the buffer for the keys

  bool IsMemory() const { return format.IsMemory(); }
  // What is left of the run behind `skipped` values, which take `bytes`.
  KeyedRun Behind(std::size_t bytes, unsigned skipped) const {
    KeyedRun rest = *this;
    rest.values = static_cast<const unsigned char*>(values) + bytes;
    rest.count -= skipped;
    return rest;
  }
  unsigned char NullByte() const { return nullsHigh ? 0xFF : 0x00; }
};

// How wide the values of a fixed row are, and where one key is made without looking at a run.
struct OneKey {
  unsigned memoryWidth = 0;
  unsigned storedWidth = 0;
  unsigned largest = 0;  // key
  // Writes the key of one value into room for the largest. Null for rows of varying width. Result:
  // the size of the key.
  std::size_t (*write)(const unsigned char* value, Format form, bool nullsHigh,
                       unsigned char* key) = nullptr;

  // Whether the value lies in its buffer and the room is enough for any key. `length` 0: trusted.
  bool Takes(unsigned length, Format form, std::size_t room) const {
    const unsigned width = form.IsMemory() ? memoryWidth : storedWidth;
    return write != nullptr && room >= largest && (length == 0 || length >= width);
  }
};

// What one row does.
struct SortKeyHandlers {
  unsigned width;  // of every key, 0 when they differ
  // What the keys of `count` values that take `bytes` do not exceed.
  o_u8b (*bound)(o_u8b bytes, unsigned count);
  // Whether every value of the run has a key; kvOk, kvNotSupported or kvBadArgument. `bytes` is
  // what their texts or blobs take.
  int (*check)(const KeyedRun& run, o_u8b& bytes);
  // The size of the keys of a run that was checked.
  o_u8b (*measure)(const KeyedRun& run);
  // Writes them, and where each begins into `offsets` unless that is null. Result: as measured.
  std::size_t (*write)(const KeyedRun& run, unsigned char* keys, std::size_t* offsets);
  // Takes one key; its value into `value` unless that is null. kvOk, kvBadArgument, kvOverflow.
  int (*read)(KeySource& source, const KvSortKeyKind& kind, bool nullsHigh, void* value);
  // Of the rows that have ranges of texts: what the keys of all texts that begin with the one value
  // of a run have in common, and what the keys of all that have its base do. Null for other rows.
  std::size_t (*writeBeginning)(const KeyedRun& run, unsigned char* key) = nullptr;
  std::size_t (*writeSameBase)(const KeyedRun& run, unsigned char* key) = nullptr;
  OneKey one = {};
};

// Where the keys of a run begin, for a caller who asked.
class OffsetList {
 public:
  OffsetList(const unsigned char* keys, std::size_t* offsets) : keys_(keys), next_(offsets) {}
  void Add(const unsigned char* key) {
    if (next_ != nullptr) *next_++ = static_cast<std::size_t>(key - keys_);
  }

 private:
  const unsigned char* keys_;
  std::size_t* next_;
};

// ---------------------------------------------------------------------------------------------
// A null that is a value like others moves: the number of the leading bytes becomes the largest
// one, and the numbers behind it move up to close the gap.

// The leading bytes of a null that is where its number places it.
template <class Key>
void PutNull(unsigned char* key) {
  o_u8b place = Key::kNullPlace;
  for (unsigned i = Key::kNullWidth; i-- != 0; place >>= 8) {
    key[i] = static_cast<unsigned char>(place);
  }
}

// -1, 0 or 1 as the leading bytes stand to the null's place.
template <class Key>
int OrderToNull(const unsigned char* key) {
  unsigned char null[Key::kNullWidth];
  PutNull<Key>(null);
  const int order = std::memcmp(key, null, Key::kNullWidth);
  return (order > 0) - (order < 0);
}

template <unsigned width>
void AddToLeading(unsigned char* key, unsigned char addend) {
  unsigned carry = 0;
  for (unsigned i = width; i-- != 0;) {
    const unsigned sum = key[i] + addend + carry;
    key[i] = static_cast<unsigned char>(sum);
    carry = sum >> 8;
    if (addend == 1) addend = 0;
  }
}

template <class Key>
void MoveNullHigh(unsigned char* key) {
  const int order = OrderToNull<Key>(key);
  if (order == 0) std::memset(key, 0xFF, Key::kNullWidth);
  if (order > 0) AddToLeading<Key::kNullWidth>(key, 0xFF);  // less one
}

template <class Key>
void MoveNullBack(unsigned char* key) {
  const unsigned char* const end = key + Key::kNullWidth;
  if (std::all_of(static_cast<const unsigned char*>(key), end,
                  [](unsigned char byte) { return byte == 0xFF; })) {
    PutNull<Key>(key);
  } else if (OrderToNull<Key>(key) >= 0) {
    AddToLeading<Key::kNullWidth>(key, 1);
  }
}

template <class Key>
concept HasNull = requires {
  Key::kNullWidth;
};

// The key of a value whose null is the one with `place` in its first `width` bytes.
template <class Key, o_u8b place = 0, unsigned width = Key::kWidth>
struct NullInside : Key {
  static constexpr unsigned kNullWidth = width;
  static constexpr o_u8b kNullPlace = place;
};

// ---------------------------------------------------------------------------------------------

// Calls `walk(values, count)` with the run in memory form, block by block where it is stored.
template <class Value, class Walk>
void InMemoryBlocks(const KeyedRun& run, unsigned storedWidth, Walk walk) {
  if (run.IsMemory()) {
    walk(static_cast<const unsigned char*>(run.values), run.count);
    return;
  }
  constexpr unsigned kBytes = 4096;
  constexpr unsigned kBlock = kBytes / sizeof(Value);
  alignas(Value) unsigned char block[kBytes];
  const unsigned char byteOrder = run.format.IsReversed() ? kSwapped : kAsInMemory;
  const auto* stored = static_cast<const unsigned char*>(run.values);
  for (unsigned done = 0; done < run.count;) {
    const unsigned count = std::min(kBlock, run.count - done);
    run.load(block, stored + std::size_t{done} * storedWidth, byteOrder, count);
    walk(static_cast<const unsigned char*>(block), count);
    done += count;
  }
}

template <class Value>
Value ValueAt(const unsigned char* values, unsigned index) {
  std::array<unsigned char, sizeof(Value)> bytes;
  std::memcpy(bytes.data(), values + std::size_t{index} * sizeof(Value), sizeof(Value));
  return std::bit_cast<Value>(bytes);
}

// Whether a run of values of given widths lies inside its buffer.
inline int CheckExtent(const KeyedRun& run, unsigned memoryWidth, unsigned storedWidth) {
  const o_u8b width = run.IsMemory() ? memoryWidth : storedWidth;
  return run.length == 0 || width * run.count <= run.length ? kvOk : kvBadArgument;
}

// A fixed row whose keys have one width, over the codec of its stored form.
template <class Key, class Codec>
struct FixedKeys {
  using Value = typename Key::Value;

  static o_u8b Bound(o_u8b, unsigned count) { return o_u8b{count} * Key::kWidth; }
  static int Check(const KeyedRun& run, o_u8b&) {
    return CheckExtent(run, sizeof(Value), Codec::kStoredWidth);
  }
  static o_u8b Measure(const KeyedRun& run) { return Bound(0, run.count); }

  static std::size_t Write(const KeyedRun& run, unsigned char* keys, std::size_t* offsets) {
    const auto* const values = static_cast<const unsigned char*>(run.values);
    const unsigned leading =
        run.count > 1 ? WriteLeadingKeys(keys, values, run.count, Map(run)) : 0;
    unsigned char* key = keys + std::size_t{leading} * Key::kWidth;
    InMemoryBlocks<Value>(
        run.Behind(leading * std::size_t{Codec::Stride(run.format)}, leading), Codec::kStoredWidth,
        [&](const unsigned char* block, unsigned count) { key = WriteBlock(key, block, count); });
    if constexpr (HasNull<Key>) {
      if (run.nullsHigh) {
        for (unsigned char* at = keys; at != key; at += Key::kWidth) MoveNullHigh<Key>(at);
      }
    }
    for (std::size_t i = 0; offsets != nullptr && i <= run.count; ++i) offsets[i] = i * Key::kWidth;
    return static_cast<std::size_t>(key - keys);
  }

  static const KeyMap& Map(const KeyedRun& run) {
    static constexpr KeyMap kFromMemory = MapOf<Key, Codec>(kMemory);
    static constexpr KeyMap kFromStored = MapOf<Key, Codec>({kAsInMemory});
    static constexpr KeyMap kFromSwapped = MapOf<Key, Codec>({kSwapped});
    if (run.IsMemory()) return kFromMemory;
    return run.format.IsReversed() ? kFromSwapped : kFromStored;
  }

  // The places are values of their own here: behind a reference every byte written could be one of
  // theirs, and they would be read again for each key.
  static unsigned char* WriteBlock(unsigned char* key, const unsigned char* values,
                                   unsigned count) {
    for (; count != 0; --count, values += sizeof(Value), key += Key::kWidth) {
      Key::Write(key, ValueAt<Value>(values, 0));
    }
    return key;
  }

  static std::size_t WriteOne(const unsigned char* value, Format form,
                              [[maybe_unused]] bool nullsHigh, unsigned char* key) {
    Key::Write(key, Codec::Read(value, form));
    if constexpr (HasNull<Key>) {
      if (nullsHigh) MoveNullHigh<Key>(key);
    }
    return Key::kWidth;
  }

  // A key that the value read from it does not have is none: floating-point rows leave out what
  // would be other NaNs and the negative zero.
  static int Read(KeySource& source, const KvSortKeyKind&, [[maybe_unused]] bool nullsHigh,
                  void* value) {
    unsigned char key[Key::kWidth] = {};
    if (!source.Take(key, Key::kWidth)) return kvBadArgument;
    if constexpr (HasNull<Key>) {
      if (nullsHigh) MoveNullBack<Key>(key);
    }
    const Value read = Key::Read(key);
    unsigned char again[Key::kWidth];
    Key::Write(again, read);
    if (std::memcmp(key, again, Key::kWidth) != 0) return kvBadArgument;
    if (value != nullptr) std::memcpy(value, static_cast<const void*>(&read), sizeof read);
    return kvOk;
  }

  static constexpr SortKeyHandlers kHandlers{
      .width = Key::kWidth,
      .bound = Bound,
      .check = Check,
      .measure = Measure,
      .write = Write,
      .read = Read,
      .one = {sizeof(Value), Codec::kStoredWidth, Key::kWidth, WriteOne}};
};

// A nullable row: an indicator, 00 (or FF) for null, 01 before the scalar's key.
template <class Key, class Codec>
struct NullableKeys {
  using Nullable = typename Codec::Value;
  static constexpr unsigned kStoredWidth = Codec::kStoredWidth;
  static constexpr NullableKeyMap kMap = MapOfNullable<Key>(sizeof(Nullable));

  static o_u8b Bound(o_u8b, unsigned count) { return o_u8b{count} * (Key::kWidth + 1); }
  static int Check(const KeyedRun& run, o_u8b&) {
    return CheckExtent(run, sizeof(Nullable), kStoredWidth);
  }

  static o_u8b Measure(const KeyedRun& run) {
    o_u8b size = run.count;
    InMemoryBlocks<Nullable>(run, kStoredWidth, [&](const unsigned char* values, unsigned count) {
      for (unsigned i = 0; i < count; ++i) {
        if (!ValueAt<Nullable>(values, i).IsNullValue()) size += Key::kWidth;
      }
    });
    return size;
  }

  static std::size_t Write(const KeyedRun& run, unsigned char* keys, std::size_t* offsets) {
    unsigned char* key = keys;
    OffsetList begins(keys, offsets);
    InMemoryBlocks<Nullable>(run, kStoredWidth, [&](const unsigned char* values, unsigned count) {
      unsigned leading = 0;
      if (offsets == nullptr) {
        const std::size_t room = run.capacity - static_cast<std::size_t>(key - keys);
        leading = WriteLeadingKeys(key, room, values, count, kMap, run.NullByte());
      }
      key = WriteBlock(key, values + std::size_t{leading} * sizeof(Nullable), count - leading,
                       run.NullByte(), begins);
    });
    begins.Add(key);
    return static_cast<std::size_t>(key - keys);
  }

  static unsigned char* WriteBlock(unsigned char* key, const unsigned char* values, unsigned count,
                                   unsigned char nullByte, OffsetList& begins) {
    for (unsigned i = 0; i < count; ++i) {
      begins.Add(key);
      key = WriteKey(key, ValueAt<Nullable>(values, i), nullByte);
    }
    return key;
  }

  static unsigned char* WriteKey(unsigned char* key, const Nullable& value,
                                 unsigned char nullByte) {
    *key++ = value.IsNullValue() ? nullByte : 1;
    if (value.IsNullValue()) return key;
    Key::Write(key, value.value);
    return key + Key::kWidth;
  }

  // Formats 9 to 15 are stored forms in memory order here, not those with the indicator behind.
  static std::size_t WriteOne(const unsigned char* value, Format form, bool nullsHigh,
                              unsigned char* key) {
    const Format stored{form.IsReversed() ? kSwapped : kAsInMemory};
    const Nullable read = Codec::Read(value, form.IsMemory() ? kMemory : stored);
    return static_cast<std::size_t>(WriteKey(key, read, nullsHigh ? 0xFF : 0x00) - key);
  }

  static int Read(KeySource& source, const KvSortKeyKind& kind, bool nullsHigh, void* value) {
    unsigned char indicator;
    const bool isThere = source.Take(indicator);
    Nullable read;
    if (isThere && indicator == 1) {
      typename Key::Value scalar;
      const int status = FixedKeys<Key, typename Key::Members>::Read(source, kind, false, &scalar);
      if (status != kvOk) return status;
      read = scalar;
    } else if (!isThere || indicator != (nullsHigh ? 0xFF : 0x00)) {
      return kvBadArgument;
    }
    if (value != nullptr) std::memcpy(value, static_cast<const void*>(&read), sizeof read);
    return kvOk;
  }

  static constexpr SortKeyHandlers kHandlers{
      .width = 0,
      .bound = Bound,
      .check = Check,
      .measure = Measure,
      .write = Write,
      .read = Read,
      .one = {sizeof(Nullable), kStoredWidth, Key::kWidth + 1, WriteOne}};
};

}  // namespace kv
