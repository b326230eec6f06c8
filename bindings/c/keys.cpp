// kvc: sort keys.
#include <algorithm>
#include <climits>
#include <limits>
#include <vector>

#include "run.h"
#include "text_values.h"

using namespace kvc;

namespace {

constexpr std::uint32_t kOptionBits =
    KVC_KEY_DESCENDING | KVC_KEY_NULLS_LAST | KVC_KEY_NULLS_FIRST | KVC_KEY_PLAIN_BYTES;

// The kind in the library's own words; kvOk when its numbers mean something.
int KindOf(const kvc_key_kind* given, KvSortKeyKind& kind) {
  if (!IsStructure(given)) return kvBadArgument;
  if (const int status = CheckType(given->type); status != kvOk) return status;
  if ((given->options & ~kOptionBits) != 0 || given->compare > USHRT_MAX ||
      given->version > UCHAR_MAX) {
    return kvBadArgument;
  }
  kind = {static_cast<char>(given->type), static_cast<unsigned char>(given->options),
          static_cast<unsigned short>(given->compare), static_cast<unsigned char>(given->version)};
  return kvOk;
}

// Key functions take lengths of 32 bits; a single value never takes more.
unsigned Length(std::size_t length) {
  return static_cast<unsigned>(std::min<std::size_t>(length, UINT_MAX));
}

// Whether the kind is one in whose numbers nothing has to be looked up; its type is the run's.
bool IsPlainKind(const kvc_key_kind* given) {
  if (!IsStructure(given)) return false;
  return ((given->options & ~kOptionBits) | given->compare >> 16 | given->version >> 8) == 0;
}

int Told(int status, std::size_t size, const Output& out) {
  if (out.needed != nullptr && (status == kvOk || status == kvBufferShort)) *out.needed = size;
  return status;
}

// Apart, so that the usual call saves no registers for it.
[[gnu::noinline]] int KeyOf(const kvc_key_kind* given, std::uint32_t form, const void* value,
                            std::size_t length, const Output& out) {
  KvSortKeyKind kind;
  if (const int status = KindOf(given, kind); status != kvOk) return status;
  const Run run{given->type, form, value, length, 1};
  if (const int status = run.Check(); status != kvOk) return status;
  if (out.buffer == nullptr && out.capacity != 0) return kvBadArgument;
  std::size_t size = 0;
  const int status =
      KvSortKey(kind, value, Length(length), run.Format(), out.buffer, out.capacity, size);
  return Told(status, size, out);
}

}  // namespace

int32_t kvc_key_check(const kvc_key_kind* kind) {
  KvSortKeyKind own;
  const int status = KindOf(kind, own);
  return status != kvOk ? status : KvSortKeyCheck(own);
}

size_t kvc_key_bound(const kvc_key_kind* kind, size_t bytes, uint32_t count) {
  KvSortKeyKind own;
  return KindOf(kind, own) == kvOk ? KvSortKeyBound(own, bytes, count) : 0;
}

int32_t kvc_key(const kvc_key_kind* kind, uint32_t form, const void* value, size_t length,
                void* key, size_t capacity, size_t* needed) {
  const bool isPlain = IsPlainKind(kind) && key != nullptr && needed != nullptr;
  if (!isPlain || !Run{kind->type, form, value, length, 1}.IsPlain()) {
    const Output out{key, capacity, needed};
    out.Clear();
    return KeyOf(kind, form, value, length, out);
  }
  const KvSortKeyKind own{static_cast<char>(kind->type), static_cast<unsigned char>(kind->options),
                          static_cast<unsigned short>(kind->compare),
                          static_cast<unsigned char>(kind->version)};
  return KvSortKey(own, value, Length(length), static_cast<unsigned char>(form), key, capacity,
                   *needed);
}

int32_t kvc_key_run(const kvc_key_kind* kind, uint32_t form, const void* values, size_t length,
                    uint32_t count, void* keys, size_t capacity, size_t* offsets, size_t* needed) {
  const Output out{keys, capacity, needed};
  out.Clear();
  KvSortKeyKind own;
  if (const int status = KindOf(kind, own); status != kvOk) return status;
  const Run run{kind->type, form, values, length, count};
  std::size_t bytes = 0;
  if (const int status = run.Check(bytes); status != kvOk) return status;
  if (keys == nullptr && capacity != 0) return kvBadArgument;
  if (bytes > UINT_MAX) return kvOutOfRange;
  if (count == 0) {
    if (offsets != nullptr) *offsets = 0;
    return kvOk;
  }
  std::size_t size = 0;
  const int status = KvSortKeyRun(own, values, static_cast<unsigned>(bytes), run.Format(), count,
                                  keys, capacity, offsets, size);
  return Told(status, size, out);
}

int32_t kvc_text_key(const kvc_key_kind* kind, const kvc_text_options* options, const char* text,
                     size_t length, void* key, size_t capacity, size_t* needed) {
  const Output out{key, capacity, needed};
  out.Clear();
  KvSortKeyKind own;
  if (const int status = KindOf(kind, own); status != kvOk) return status;
  if (key == nullptr && capacity != 0) return kvBadArgument;
  return Guarded([&] {
    const Values value(own.type, 1);
    std::size_t position = 0;
    int status = ReadText(own.type, options, text, length, value.Data(), position);
    if (status != kvOk) return status;
    std::size_t size = 0;
    status = KvSortKey(own, value.Data(), 0, KVC_MEMORY, key, capacity, size);
    return Told(status, size, out);
  });
}

int32_t kvc_key_length(const kvc_key_kind* kind, const void* key, size_t length, size_t* size) {
  KvSortKeyKind own;
  if (size == nullptr || key == nullptr) return kvBadArgument;
  *size = 0;
  const int status = KindOf(kind, own);
  return status != kvOk ? status : KvSortKeyLength(own, key, length, *size);
}

int32_t kvc_unkey(const kvc_key_kind* kind, const void* key, size_t length, uint32_t form,
                  void* value, size_t capacity, size_t* needed, size_t* used) {
  const Output out{value, capacity, needed};
  out.Clear();
  if (used != nullptr) *used = 0;
  KvSortKeyKind own;
  if (const int status = KindOf(kind, own); status != kvOk) return status;
  if (key == nullptr) return kvBadArgument;
  return Guarded([&] {
    const Values made(own.type, 1);
    std::size_t size = 0;
    int status = KvSortKeyValue(own, key, length, made.Data(), size);
    if (status != kvOk) return status;
    status = made.Write(form, out);
    if (used != nullptr && status == kvOk) *used = size;
    return status;
  });
}

int32_t kvc_key_tuple(const kvc_part* parts, uint32_t count, void* key, size_t capacity,
                      size_t* needed) {
  const Output out{key, capacity, needed};
  out.Clear();
  if ((parts == nullptr && count != 0) || (key == nullptr && capacity != 0)) return kvBadArgument;
  return Guarded([&] {
    // Parts are made apart from the caller's buffer, which stays as it was when a later one fails.
    std::vector<unsigned char> tuple;
    for (std::uint32_t i = 0; i < count; ++i) {
      if (parts[i].size != sizeof(kvc_part)) return kvBadArgument;
      std::size_t size = 0;
      const kvc_part& part = parts[i];
      int status = KeyOf(part.kind, part.form, part.value, part.length, {nullptr, 0, &size});
      if (status != kvBufferShort || size == 0) return status == kvOk ? kvBadArgument : status;
      const std::size_t start = tuple.size();
      tuple.resize(start + size);
      status = KeyOf(part.kind, part.form, part.value, part.length,
                     {tuple.data() + start, size, nullptr});
      if (status != kvOk) return status;
    }
    return out.Write(tuple.data(), tuple.size());
  });
}

int32_t kvc_key_range(const kvc_key_kind* kind, uint32_t range, uint32_t form, const void* value,
                      size_t length, size_t capacity, void* lower, size_t* lower_size, void* upper,
                      size_t* upper_size) {
  if (lower_size == nullptr || upper_size == nullptr || range > KVC_RANGE_SAME_BASE) {
    return kvBadArgument;
  }
  *lower_size = *upper_size = 0;
  if ((lower == nullptr || upper == nullptr) && capacity != 0) return kvBadArgument;
  KvSortKeyKind own;
  if (const int status = KindOf(kind, own); status != kvOk) return status;
  const Run run{kind->type, form, value, length, 1};
  if (const int status = run.Check(); status != kvOk) return status;
  return KvSortKeyRange(own, static_cast<unsigned char>(range), value, Length(length), run.Format(),
                        capacity, lower, *lower_size, upper, *upper_size);
}

int32_t kvc_key_prefix_end(const void* prefix, size_t length, void* end, size_t* size) {
  if (size == nullptr || ((prefix == nullptr || end == nullptr) && length != 0)) {
    return kvBadArgument;
  }
  *size = 0;
  if (length != 0) KvSortKeyPrefixEnd(prefix, length, end, *size);
  return kvOk;
}
