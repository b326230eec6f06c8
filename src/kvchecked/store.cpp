// Values into a buffer of a given size: what they take is known before a byte is written.
#include <climits>
#include <cstdint>

#include "kvbase/format.h"
#include "kvblob.h"
#include "kvchecked.h"
#include "kvistring.h"
#include "kvtypevl/rows/blobs.h"
#include "kvtypevl/rows/string_runs.h"
#include "kvtypevl/rows/string_storage.h"

namespace {

using kv::Format;

template <class Value, class Size>
std::uint64_t Sum(const void* values, unsigned count, Size size) {
  const auto* each = static_cast<const Value*>(values);
  std::uint64_t total = 0;
  for (unsigned i = 0; i < count; ++i) total += size(each[i]);
  return total;
}

template <class Value>
std::uint64_t SumOfPlain(const void* values, unsigned count) {
  return Sum<Value>(values, count,
                    [](const Value& value) { return kv::StoredByteTextSize(value.StrGet()); });
}

// What a run takes and may take.
struct Extent {
  std::uint64_t bytes;
  std::uint64_t most = UINT_MAX;
};

Extent ExtentOf(const KvTypeMgr& types, char id, const void* values, unsigned count) {
  switch (id) {
    case KvSTRING_T:
      if (types.FormatVersion() < 4) {
        // The length of the block is kept modulo 65536: what is longer could not be loaded again.
        const auto text = [](const KvString& string) { return string.Len() + 1u; };
        return {kv::StringBlock::kLengthField + Sum<KvString>(values, count, text),
                kv::StringBlock::kLengthField + std::uint64_t{0xFFFF}};
      }
      return {Sum<KvString>(values, count, kv::StoredStringSize)};
    case KvISTRING_T:
      return {SumOfPlain<KvIString>(values, count)};
    case KvCASEISTRING_T:
      return {SumOfPlain<KvCaseIString>(values, count)};
    case KvBLOB_T:
      return {kv::StoredBlobsSize(static_cast<const KvBlob*>(values), count)};
    default:
      return {std::uint64_t{types.DiskLenGet(id, nullptr, 0, 1, 0)} * count};
  }
}

}  // namespace

KvStored KvStoredSize(const KvTypeMgr& types, char id, const void* values, unsigned count) {
  const int status = KvCheckType(types, id);
  if (status != kvOk || count == 0) return {status, 0};
  if (values == nullptr) return {kvBadArgument, 0};
  const Extent extent = ExtentOf(types, id, values, count);
  if (extent.bytes > extent.most) return {kvOutOfRange, 0};
  return {kvOk, static_cast<std::size_t>(extent.bytes)};
}

KvStored KvStoreChecked(const KvTypeMgr& types, char id, void* destination, std::size_t room,
                        const void* values, unsigned char format, unsigned count) {
  KvStored run = KvStoredSize(types, id, values, count);
  if (run.status != kvOk || run.bytes == 0) return run;
  if (Format{format}.HasMemoryBit()) return {kvBadArgument, 0};
  if (run.bytes > room) {
    run.status = kvBufferShort;
  } else if (destination == nullptr) {
    run.status = kvBadArgument;
  } else {
    types.Store(id, destination, values, format, count);
  }
  return run;
}
