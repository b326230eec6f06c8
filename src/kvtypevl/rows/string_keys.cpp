#include "kvtypevl/rows/string_keys.h"

#include "kvstring/text_key.h"
#include "kvtypevl/rows/string_runs.h"

namespace kv {
namespace {

// What an old block says nothing about, and what stands for a default, the process decides.
[[gnu::always_inline]] inline int CheckText(const Text& text, bool plainBytes) {
  if (text.IsNull()) return kvOk;
  const bool isSettled = text.codeSet != 255 && text.language != 255;
  return isSettled && (text.codeSet == kvCodeSetBytes) == plainBytes ? kvOk : kvNotSupported;
}

// The texts of a run, one after the other. Next: kvOk; kvNotSupported for a text that has no key,
// kvBadArgument for one that is not whole.
class StringsInMemory {
 public:
  explicit StringsInMemory(const KeyedRun& run) : at_(static_cast<const KvString*>(run.values)) {}
  int Next(Text& text) {
    text = TextOf(*at_++);
    return kvOk;
  }

 private:
  const KvString* at_;
};

class StringsInStore {
 public:
  explicit StringsInStore(const KeyedRun& run)
      : run_(run.values, run.length, run.format, run.count) {}
  int Next(Text& text) {
    if (run_.Next(text) != kvOk || run_.IsCut()) return kvBadArgument;
    return run_.IsOld() ? kvNotSupported : kvOk;
  }

 private:
  StoredStringRun run_;
};

// Calls `take` with every text of a run, until it answers a failure.
template <class Strings, class Take>
[[gnu::always_inline]] inline int ForEachOf(const KeyedRun& run, Take take) {
  Strings strings(run);
  for (unsigned i = 0; i < run.count; ++i) {
    Text text;
    int status = strings.Next(text);
    if (status == kvOk) status = take(text);
    if (status != kvOk) return status;
  }
  return kvOk;
}

template <class Take>
[[gnu::always_inline]] inline int ForEachText(const KeyedRun& run, Take take) {
  return run.IsMemory() ? ForEachOf<StringsInMemory>(run, take)
                        : ForEachOf<StringsInStore>(run, take);
}

std::size_t BytesIn(const Text& text) {
  return std::size_t{text.length} * UnitWidth(text.codeSet);
}

unsigned char* WriteBytes(const Text& text, unsigned char* key) {
  const unsigned length = TextLength(text.units, false, text.length);
  *key++ = 0x01;
  if (length != 0) std::memcpy(key, text.units, length);
  return key + length;
}

unsigned char* WriteKey(const KeyedRun& run, const Text& text, unsigned char* key,
                        const unsigned char* room) {
  if (text.IsNull()) return *key = run.NullByte(), key + 1;
  if (!run.plainBytes) return WriteTextKey(text, run.cmpOp, key, room);
  key = WriteBytes(text, key);
  *key = 0x00;
  return key + 1;
}

int ReadBytes(KeySource& source, KvString* value) {
  KeySource content = source;
  unsigned length = 0;
  unsigned char byte;
  for (;; ++length) {
    if (!source.Take(byte)) return kvBadArgument;
    if (byte == 0x00) break;
  }
  if (value == nullptr) return kvOk;
  if (length > MaximumLength(kvCodeSetBytes)) return kvOverflow;
  const unsigned size = length != 0 ? length + 1 : 0;
  unsigned char* const text = size != 0 ? AllocateText(size) : nullptr;
  if (size != 0 && text == nullptr) return kvNotSupported;
  content.Take(text, length);
  *value = KvString(kvCodeSetBytes, kvLanguageEnglish);
  StringAccess::Replace(*value, text, size);
  return kvOk;
}

}  // namespace

o_u8b StringKeys::Bound(o_u8b bytes, unsigned count) {
  return TextKeyBound(bytes) + (o_u8b{count} - 1) * TextKeyBound(0);
}

int StringKeys::Check(const KeyedRun& run, o_u8b& bytes) {
  const int extent = run.IsMemory() ? CheckExtent(run, sizeof(KvString), 0) : kvOk;
  if (extent != kvOk) return extent;
  return ForEachText(run, [&](const Text& text) {
    bytes += BytesIn(text);
    return CheckText(text, run.plainBytes);
  });
}

o_u8b StringKeys::Measure(const KeyedRun& run) {
  o_u8b size = 0;
  ForEachText(run, [&](const Text& text) {
    if (text.IsNull()) {
      size += 1;
    } else if (run.plainBytes) {
      size += TextLength(text.units, false, text.length) + 2u;
    } else {
      size += TextKeySize(text, run.cmpOp);
    }
    return kvOk;
  });
  return size;
}

std::size_t StringKeys::Write(const KeyedRun& run, unsigned char* keys, std::size_t* offsets) {
  OffsetList begins(keys, offsets);
  unsigned char* key = keys;
  ForEachText(run, [&](const Text& text) {
    begins.Add(key);
    key = WriteKey(run, text, key, keys + run.capacity);
    return kvOk;
  });
  begins.Add(key);
  return static_cast<std::size_t>(key - keys);
}

std::size_t StringKeys::WriteBeginning(const KeyedRun& run, unsigned char* key) {
  unsigned char* end = key;
  ForEachText(run, [&](const Text& text) {
    if (text.IsNull()) {
      *end++ = run.NullByte();
    } else {
      end = run.plainBytes ? WriteBytes(text, key) : WriteTextKeyBeginning(text, run.cmpOp, key);
    }
    return kvOk;
  });
  return static_cast<std::size_t>(end - key);
}

std::size_t StringKeys::WriteSameBase(const KeyedRun& run, unsigned char* key) {
  if (run.plainBytes) return Write(run, key, nullptr);
  unsigned char* end = key;
  ForEachText(run, [&](const Text& text) {
    if (text.IsNull()) {
      *end++ = run.NullByte();
    } else {
      end = WriteTextKeyBase(text, run.cmpOp, key);
    }
    return kvOk;
  });
  return static_cast<std::size_t>(end - key);
}

int StringKeys::Read(KeySource& source, const KvSortKeyKind& kind, bool nullsHigh, void* value) {
  auto* const string = static_cast<KvString*>(value);
  unsigned char byte = 0;
  if (!source.Take(byte)) return kvBadArgument;
  if (byte == 0x01) {
    const bool plainBytes = (kind.options & kvSortKeyPlainBytes) != 0;
    return plainBytes ? ReadBytes(source, string) : ReadTextKey(source, kind.cmpOp, string);
  }
  if (byte != (nullsHigh ? 0xFF : 0x00)) return kvBadArgument;
  if (string != nullptr) string->SetNullValue();
  return kvOk;
}

}  // namespace kv
