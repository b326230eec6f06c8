// Arbitrary bytes as two stored blob runs: comparing and hashing read nothing outside the buffers,
// compare is antisymmetric, and a run that loads orders and hashes as its blobs in memory do.
#include <algorithm>
#include <vector>

#include "kv.h"
#include "require.h"
#include "twins.h"

namespace {

struct Stored {
  std::vector<unsigned char> bytes;
  unsigned Length() const { return static_cast<unsigned>(bytes.size()); }
  unsigned char* Data() const { return const_cast<unsigned char*>(bytes.data()); }
};

// Loads a run whose total is exactly the buffer's; loading itself takes the total for granted.
bool Load(const Stored& stored, unsigned char format, std::vector<KvBlob>& blobs) {
  const KvTypeMgr& types = *DefaultTypeMgr(nullptr);
  const auto count = static_cast<unsigned>(blobs.size());
  if (stored.Length() < 4) return false;
  if (types.DiskLenGet(KvBLOB_T, stored.Data(), format, count, 0) != stored.Length()) return false;
  return types.Load(KvBLOB_T, blobs.data(), stored.Data(), format, count) == stored.Length();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  if (size < 2) return 0;
  const unsigned count = 1 + data[0] % 4;
  const unsigned char format = data[0] & 0x10 ? 2 : 0;
  const std::size_t split = std::min<std::size_t>(data[1], size - 2);
  const Twins runs(data + 2, size - 2, split, (data[0] & 0x80) != 0);
  const Stored a{runs.first};
  const Stored b{runs.second};
  if (a.bytes.empty() || b.bytes.empty()) return 0;

  const KvTypeMgr& types = *DefaultTypeMgr(nullptr);
  int status, reverseStatus, statusA, statusB;
  const int order =
      BlobCompare(format, a.Length(), a.Data(), b.Length(), b.Data(), 0, count, status);
  const int reverse =
      BlobCompare(format, b.Length(), b.Data(), a.Length(), a.Data(), 0, count, reverseStatus);
  Require(order == -reverse);
  Require(order == 0 || (status == kvOk && reverseStatus == kvOk));
  const unsigned hashA = types.Hash(KvBLOB_T, a.Length(), a.Data(), count, format, statusA);
  const unsigned hashB = types.Hash(KvBLOB_T, b.Length(), b.Data(), count, format, statusB);

  std::vector<KvBlob> left(count), right(count);
  const bool loadedA = Load(a, format, left), loadedB = Load(b, format, right);
  if (loadedA) Require(statusA == kvOk);
  if (!loadedA || !loadedB) return 0;
  Require(types.Cmp(KvBLOB_T, left.data(), right.data(), 0, count, 8) == order);
  Require(types.Hash(KvBLOB_T, 0, left.data(), count, 8, status) == hashA);
  Require(types.Hash(KvBLOB_T, 0, right.data(), count, 8, status) == hashB);
  if (order == 0) Require(hashA == hashB);
  return 0;
}
