// kvc: stored bytes, order, hash, null, steps and bounds.
#include <climits>

#include "run.h"

using namespace kvc;

namespace {

constexpr std::uint32_t kCompareBits = KVC_EXACT | KVC_IGNORE_CASE | KVC_IGNORE_ACCENTS |
                                       KVC_SKIP_SPACES | KVC_KEY_ORDER | KVC_IGNORE_VARIANTS;
constexpr std::uint32_t kPredicateBits = KVC_EQUAL | KVC_LESS | KVC_GREATER;
constexpr unsigned char kStepForward = 'M';

int Sign(int order) {
  return (order > 0) - (order < 0);
}

// The ends of an index range are changeable to the type manager, which only reads them here.
void* Changeable(const void* values) {
  return const_cast<void*>(values);
}

// The length that a comparer is told; 0 lets it take as many bytes as the values have.
unsigned Told(std::size_t bytes) {
  return bytes > UINT_MAX ? 0 : static_cast<unsigned>(bytes);
}

// A default or null value, which `set` makes of a new one.
template <typename Set>
std::int32_t WriteMade(std::int32_t type, std::uint32_t form, const Output& out, Set set) {
  out.Clear();
  if (const int status = CheckType(type); status != kvOk) return status;
  return Guarded([&]() -> int {
    const char id = static_cast<char>(type);
    const Values value(id, 1);
    const int status = set(id, value);
    return status != kvOk ? status : value.Write(form, out);
  });
}

// What is not sound at a glance. Apart, so that the usual call saves no registers for it.
[[gnu::noinline]] int CompareAny(std::int32_t type, std::uint32_t compare, std::uint32_t form,
                                 const void* values1, std::size_t length1, const void* values2,
                                 std::size_t length2, std::uint32_t count, std::int32_t* order) {
  if (order == nullptr || (compare & ~kCompareBits) != 0) return kvBadArgument;
  const Run run1{type, form, values1, length1, count};
  const Run run2{type, form, values2, length2, count};
  std::size_t bytes1 = 0;
  std::size_t bytes2 = 0;
  int status = run1.Check(bytes1);
  if (status == kvOk) status = run2.Check(bytes2);
  if (status != kvOk) return status;
  const int found =
      count == 0 ? 0
                 : kTypes.Cmp(run1.Id(), Told(bytes1), values1, Told(bytes2), values2,
                              static_cast<unsigned short>(compare), count, run1.Format(), status);
  if (status == kvOk) *order = Sign(found);
  return status;
}

[[gnu::noinline]] int HashAny(std::int32_t type, std::uint32_t form, const void* values,
                              std::size_t length, std::uint32_t count, std::uint32_t* hash) {
  if (hash == nullptr) return kvBadArgument;
  const Run run{type, form, values, length, count};
  std::size_t bytes = 0;
  int status = run.Check(bytes);
  if (status != kvOk) return status;
  const unsigned found = kTypes.Hash(run.Id(), Told(bytes), values, count, run.Format(), status);
  if (status == kvOk) *hash = found;
  return status;
}

int CheckBound(const Run& bound) {
  if (bound.values == nullptr && bound.length == 0) return kvOk;
  if (bound.length > UCHAR_MAX) return kvOutOfRange;
  return bound.Check();
}

}  // namespace

int32_t kvc_check(int32_t type, uint32_t form, const void* stored, size_t length, uint32_t count,
                  kvc_measure* result) {
  if (result != nullptr && !IsStructure(result)) return kvBadArgument;
  KvMeasured run;
  run.status = CheckType(type);
  if (run.status == kvOk && (!IsForm(form) || form == KVC_MEMORY)) run.status = kvBadArgument;
  if (run.status == kvOk && stored == nullptr && length != 0) run.status = kvBadArgument;
  if (run.status == kvOk) {
    run = KvMeasureStored(kTypes, static_cast<char>(type), stored, length,
                          static_cast<unsigned char>(form), count);
  }
  if (result == nullptr) return run.status;
  result->count = run.count;
  result->bytes = run.bytes;
  result->offset = run.offset;
  result->wanted = run.needed;
  result->reason = run.reason;
  result->strange = run.strange;
  result->first_strange = run.firstStrange;
  return run.status;
}

int32_t kvc_stored_size(int32_t type, uint32_t form, const void* values, size_t length,
                        uint32_t count, size_t* needed) {
  const Run run{type, form, values, length, count};
  if (needed == nullptr) return kvBadArgument;
  *needed = 0;
  std::size_t bytes = 0;
  const int status = run.Check(bytes);
  if (status != kvOk) return status;
  *needed = form == KVC_MEMORY ? std::size_t{run.Facts().storedWidth} * count : bytes;
  return kvOk;
}

int32_t kvc_store(int32_t type, uint32_t form, const void* values, size_t length, uint32_t count,
                  void* stored, size_t capacity, size_t* needed) {
  if (form == KVC_MEMORY) return kvBadArgument;
  return kvc_translate(type, KVC_MEMORY, values, length, count, form, stored, capacity, needed);
}

int32_t kvc_load(int32_t type, uint32_t form, const void* stored, size_t length, uint32_t count,
                 void* values, size_t capacity, size_t* needed) {
  if (form == KVC_MEMORY) return kvBadArgument;
  return kvc_translate(type, form, stored, length, count, KVC_MEMORY, values, capacity, needed);
}

int32_t kvc_translate(int32_t type, uint32_t from, const void* source, size_t length,
                      uint32_t count, uint32_t to, void* destination, size_t capacity,
                      size_t* needed) {
  const Run run{type, from, source, length, count};
  const Output out{destination, capacity, needed};
  out.Clear();
  if (!IsForm(to)) return kvBadArgument;
  std::size_t bytes = 0;
  const int status = run.Check(bytes);
  return status != kvOk ? status : Translate(run, bytes, to, out);
}

int32_t kvc_compare(int32_t type, uint32_t compare, uint32_t form, const void* values1,
                    size_t length1, const void* values2, size_t length2, uint32_t count,
                    int32_t* order) {
  const Run run1{type, form, values1, length1, count};
  const Run run2{type, form, values2, length2, count};
  const bool isKnown = order != nullptr && (compare & ~kCompareBits) == 0;
  if (!isKnown || !ArePlain(run1, run2)) {
    return CompareAny(type, compare, form, values1, length1, values2, length2, count, order);
  }
  *order = Sign(kTypes.Cmp(run1.Id(), values1, values2, static_cast<unsigned short>(compare), count,
                           run1.Format()));
  return kvOk;
}

int32_t kvc_hash(int32_t type, uint32_t form, const void* values, size_t length, uint32_t count,
                 uint32_t* hash) {
  const Run run{type, form, values, length, count};
  if (hash == nullptr || !run.IsPlain()) return HashAny(type, form, values, length, count, hash);
  int status = kvOk;
  *hash = kTypes.Hash(run.Id(), 0, values, count, run.Format(), status);
  return status;
}

int32_t kvc_is_null(int32_t type, uint32_t form, const void* value, size_t length,
                    int32_t* is_null) {
  const Run run{type, form, value, length, 1};
  if (is_null == nullptr) return kvBadArgument;
  if (const int status = run.Check(); status != kvOk) return status;
  return Guarded([&] {
    const Values loaded(run.Id(), 1);
    const int status = loaded.Load(run);
    if (status == kvOk) *is_null = kTypes.IsNullValue(run.Id(), loaded.Data()) != 0;
    return status;
  });
}

int32_t kvc_null(int32_t type, uint32_t form, void* value, size_t capacity, size_t* needed) {
  return WriteMade(type, form, {value, capacity, needed}, [](char id, const Values& made) {
    if (!kTypes.SupportsNullValue(id)) return kvNotSupported;
    KvTypeMgr(kTypes).SetNullValue(id, made.Data());
    return kvOk;
  });
}

int32_t kvc_default(int32_t type, uint32_t form, void* value, size_t capacity, size_t* needed) {
  return WriteMade(type, form, {value, capacity, needed}, [](char id, const Values& made) {
    void* const original = kTypes.DefaultValue(id, 1, 0);
    if (original == nullptr) return kvNoMemory;
    kTypes.AssignmentPtrGet(id)(made.Data(), original, 1, 0);
    kTypes.Delete(id, original, 1);
    return kvOk;
  });
}

int32_t kvc_step(int32_t type, uint32_t form, void* value, size_t length) {
  const Run run{type, form, value, length, 1};
  std::size_t bytes = 0;
  if (const int status = run.Check(bytes); status != kvOk) return status;
  if (run.Facts().memoryWidth == 0) return kvNotSupported;
  return Guarded([&] {
    const Values stepped(run.Id(), 1);
    int status = stepped.Load(run);
    if (status != kvOk) return status;
    status = kTypes.GetValue(run.Id(), stepped.Data(), run.Facts().memoryWidth, KVC_MEMORY,
                             kStepForward);
    return status != kvOk ? status : stepped.Write(form, {value, bytes, nullptr});
  });
}

int32_t kvc_bounds(int32_t type, uint32_t form, uint32_t predicate, const void* constant,
                   size_t constant_length, const void* lower, size_t lower_length,
                   const void* upper, size_t upper_length, float* fraction) {
  const Run value{type, form, constant, constant_length, 1};
  const Run low{type, form, lower, lower_length, 1};
  const Run high{type, form, upper, upper_length, 1};
  if (fraction == nullptr || (predicate & ~kPredicateBits) != 0) return kvBadArgument;
  if (constant_length > UCHAR_MAX) return kvOutOfRange;
  if (const int status = value.Check(); status != kvOk) return status;
  if (const int status = CheckBound(low); status != kvOk) return status;
  if (const int status = CheckBound(high); status != kvOk) return status;
  const auto bytes = [](const void* end) { return static_cast<unsigned char*>(Changeable(end)); };
  KvIdxBounds range{bytes(lower), bytes(upper), static_cast<unsigned char>(lower_length),
                    static_cast<unsigned char>(upper_length)};
  auto op = static_cast<unsigned short>(predicate);
  *fraction =
      kTypes.EvalAndBound(value.Id(), &range, op, constant, value.Format(), 1, nullptr, nullptr);
  return kvOk;
}
