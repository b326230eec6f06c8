#include "run.h"

namespace kvc {

namespace {

// Alignments that the C++ objects have; a type without an entry has none (strings and blobs).
std::uint32_t AlignmentOf(char id) {
  switch (id) {
    case KvSTRING_T:
    case KvISTRING_T:
    case KvCASEISTRING_T:
    case KvBLOB_T:
    case KvRES_T:
      return 0;
    case Kv1B_T:
    case KvU1B_T:
    case KvTIME_T:
    case D_TIME_T:
    case KvBOOLEAN_T:
    case KvNULL_1B_T:
    case KvNULL_U1B_T:
      return 1;
    case Kv2B_T:
    case KvU2B_T:
    case KvDATE_T:
    case D_DATE_T:
    case D_TIMESTAMP_T:
    case KvNULL_2B_T:
    case KvNULL_U2B_T:
    case KvSEAL_T:
      return 2;
    case KvDOUBLE_T:
    case KvNULL_DOUBLE_T:
      return alignof(double);
    case Kv8B_T:
    case KvU8B_T:
    case KvNULL_8B_T:
    case KvNULL_U8B_T:
      return alignof(long long);
    default:
      return 4;
  }
}

void MakeFacts() {
  for (char id = 0; id < kTypeCount; ++id) {
    TypeFacts& facts = kFacts[static_cast<std::size_t>(id)];
    facts.hasValues = KvCheckType(kTypes, id) == kvOk;
    if (!facts.hasValues) continue;
    if (kTypes.IsFixed(id)) facts.storedWidth = kTypes.DiskLenGet(id, nullptr, 0, 1, 0);
    facts.memoryAlignment = AlignmentOf(id);
    if (facts.memoryAlignment != 0) facts.memoryWidth = kTypes.MemLenGet(id, 1);
    for (std::uint32_t form = 0; form <= KVC_MEMORY; ++form) {
      if (!IsForm(form)) continue;
      const bool inMemory = form == KVC_MEMORY;
      facts.widths[form] =
          static_cast<std::uint8_t>(inMemory ? facts.memoryWidth : facts.storedWidth);
      if (inMemory && facts.memoryAlignment != 0) {
        facts.unaligned[form] = static_cast<std::uint8_t>(facts.memoryAlignment - 1);
      }
    }
  }
}

}  // namespace

const KvTypeMgr kTypes;
TypeFacts kFacts[kTypeCount];
// Before the first call, as the library is loaded.
[[maybe_unused]] static const bool factsAreThere = (MakeFacts(), true);

int Run::CheckVarying(std::size_t& bytes) const {
  bytes = 0;
  if (count == 0) return kvOk;
  if (values == nullptr) return length == 0 ? kvBufferShort : kvBadArgument;
  const KvMeasured run = KvMeasureStored(kTypes, Id(), values, length, Format(), count);
  bytes = run.bytes;
  return run.status;
}

Values::Values(char id, unsigned count) : id_(id), count_(count), data_(here_) {
  const std::size_t width = kFacts[static_cast<int>(id)].memoryWidth;
  // A type manager's new date is today, which takes thousands of times as long as to read one.
  if (width != 0 && width * count <= sizeof here_) {
    std::memset(here_, 0, sizeof here_);
    return;
  }
  data_ = kTypes.Create(id, count);
  if (data_ == nullptr) throw std::bad_alloc();
}

int Values::Load(const Run& run) const {
  if (run.count == 0) return kvOk;
  if (run.form == KVC_MEMORY) {
    std::memcpy(data_, run.values, std::size_t{run.Facts().memoryWidth} * run.count);
    return kvOk;
  }
  if (run.Facts().memoryWidth != 0) {
    kTypes.Load(id_, data_, run.values, run.Format(), run.count);
    return kvOk;
  }
  return KvLoadChecked(kTypes, id_, data_, run.values, run.length, run.Format(), run.count).status;
}

int Values::Write(std::uint32_t form, const Output& out) const {
  if (!IsForm(form)) return kvBadArgument;
  if (form != KVC_MEMORY) {
    const KvStored stored = KvStoreChecked(kTypes, id_, out.buffer, out.capacity, data_,
                                           static_cast<unsigned char>(form), count_);
    if (out.needed != nullptr) {
      *out.needed = stored.status == kvOk || stored.status == kvBufferShort ? stored.bytes : 0;
    }
    return stored.status;
  }
  const TypeFacts& facts = kFacts[static_cast<int>(id_)];
  if (facts.memoryWidth == 0) return kvNotSupported;
  if (!IsAligned(out.buffer, facts.memoryAlignment)) return kvBadArgument;
  return out.Write(data_, std::size_t{facts.memoryWidth} * count_);
}

namespace {

int LoadInto(const Run& run, const Output& out) {
  const TypeFacts& facts = run.Facts();
  if (facts.memoryWidth == 0) return kvNotSupported;
  if (!IsAligned(out.buffer, facts.memoryAlignment)) return kvBadArgument;
  const std::size_t size = std::size_t{facts.memoryWidth} * run.count;
  if (const int status = out.Take(size); status != kvOk || size == 0) return status;
  // Bytes between the members would be what the buffer held before.
  if (facts.memoryWidth != facts.storedWidth) std::memset(out.buffer, 0, size);
  kTypes.Load(run.Id(), out.buffer, run.values, run.Format(), run.count);
  return kvOk;
}

int StoreFrom(const Run& run, std::uint32_t to, const Output& out) {
  const std::size_t size = std::size_t{run.Facts().storedWidth} * run.count;
  if (const int status = out.Take(size); status != kvOk || size == 0) return status;
  kTypes.Store(run.Id(), out.buffer, run.values, static_cast<unsigned char>(to), run.count);
  return kvOk;
}

}  // namespace

int Translate(const Run& run, std::size_t bytes, std::uint32_t to, const Output& out) {
  const bool fromMemory = run.form == KVC_MEMORY;
  const bool toMemory = to == KVC_MEMORY;
  if (fromMemory && !toMemory) return StoreFrom(run, to, out);
  if (toMemory && !fromMemory) return LoadInto(run, out);
  const bool turns = (run.form == KVC_REVERSED) != (to == KVC_REVERSED);
  if (!turns || run.count == 0) return out.Write(run.values, bytes);
  return Guarded([&] {
    const Values values(run.Id(), run.count);
    const int status = values.Load(run);
    return status != kvOk ? status : values.Write(to, out);
  });
}

}  // namespace kvc
