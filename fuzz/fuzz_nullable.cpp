// Arbitrary bytes as two stored runs of every nullable row: they load from exactly their buffers,
// and order and hash as the loaded values do.
#include <cstring>
#include <memory>

#include "kv.h"
#include "require.h"

namespace {

void TryRow(char row, const unsigned char* data, std::size_t size, unsigned char format) {
  const KvTypeMgr& types = *DefaultTypeMgr(nullptr);
  const unsigned width = types.DiskLenGet(row, nullptr, format, 1, 0);
  const auto count = static_cast<unsigned>(size / (2 * width));
  if (count == 0) return;
  std::unique_ptr<unsigned char[]> stored[2];
  void* values[2];
  for (unsigned side = 0; side < 2; ++side) {
    stored[side] = std::make_unique<unsigned char[]>(count * width);
    std::memcpy(stored[side].get(), data + side * count * width, count * width);
    values[side] = types.Create(row, count);
    Require(types.Load(row, values[side], stored[side].get(), format, count) == count * width);
  }
  int status, memoryStatus;
  Require(types.Cmp(row, count * width, stored[0].get(), 0, stored[1].get(), 0, count, format,
                    status) == types.Cmp(row, values[0], values[1], 0, count, 8));
  Require(status == kvOk);
  Require(types.Hash(row, count * width, stored[0].get(), count, format, status) ==
          types.Hash(row, 0, values[0], count, 8, memoryStatus));
  // What is stored again loads as the same values; nulls come back with a scalar of zero.
  Require(types.Store(row, stored[1].get(), values[0], format, count) == count * width);
  Require(types.Cmp(row, stored[0].get(), stored[1].get(), 0, count, format) == 0);
  for (void* run : values) types.Delete(row, run, count);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  if (size == 0) return 0;
  const unsigned char format = data[0] & 1 ? 2 : 0;
  for (char row = KvNULL_1B_T; row <= KvNULL_KVINT64_T; ++row)
    TryRow(row, data + 1, size - 1, format);
  TryRow(KvNULL_8B_T, data + 1, size - 1, format);
  TryRow(KvNULL_U8B_T, data + 1, size - 1, format);
  return 0;
}
