// Arbitrary bytes as stored strings. Comparing and hashing take them as they are, with the length
// of the buffer. Loading trusts its input, so a run is loaded only when it measures as lying wholly
// inside; what was loaded must then store, compare and hash as the stored run does.
#include <cstring>
#include <vector>

#include "kvcompare.h"
#include "kvstorage.h"
#include "kvstring.h"
#include "kvtypemgr.h"
#include "require.h"
#include "twins.h"

namespace {

// A copy that ends where the allocation does.
struct Exact {
  explicit Exact(const std::vector<unsigned char>& text) : bytes(text.begin(), text.end()) {}
  std::vector<unsigned char> bytes;
  unsigned Length() const { return static_cast<unsigned>(bytes.size()); }
};

void CheckLoaded(Exact& stored, unsigned size, unsigned char format) {
  KvTypeMgr* types = DefaultTypeMgr(nullptr);
  KvString loaded;
  const unsigned read = StringLoad(&loaded, stored.bytes.data(), format, 1);
  if (read == 0) return;
  Require(read == size);
  std::vector<unsigned char> again(loaded.GetBufferSize() + 8u);
  again.resize(StringStore(again.data(), &loaded, format, 1));
  int status = -1;
  // 0x10: bytes of plain texts, orders of all others, and no wildcards.
  Require(StringCompare(format, size, stored.bytes.data(), 0, again.data(), 0x10, 1, status) == 0);
  Require(status == 0);
  const unsigned hash = types->Hash(KvSTRING_T, 0, &loaded, 1, 8, status);
  Require(types->Hash(KvSTRING_T, size, stored.bytes.data(), 1, format, status) == hash ||
          loaded.GetCodeSet() == 254);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  if (size < 4) return 0;
  const auto format = static_cast<unsigned char>(data[0] % 3);
  const unsigned count = 1 + data[1] % 4;
  const auto operation = static_cast<unsigned short>(data[2] << 4);
  const std::size_t half = 3 + data[0] % (size - 2);
  const Twins runs(data + 3, size - 3, half - 3, (data[1] & 0x80) != 0);
  Exact left(runs.first);
  Exact right(runs.second);
  KvTypeMgr* types = DefaultTypeMgr(nullptr);
  int status = 0;
  if (left.Length() != 0 && right.Length() != 0) {
    const int order = StringCompare(format, left.Length(), left.bytes.data(), right.Length(),
                                    right.bytes.data(), operation, count, status);
    Require(order >= -1 && order <= 1);
    Require(status == 0 || (order == 0 && (status == kvBufferShort || status == kvNotSupported)));
  }
  for (Exact* stored : {&left, &right}) {
    if (stored->Length() == 0) continue;
    types->Hash(KvSTRING_T, stored->Length(), stored->bytes.data(), count, format, status);
    MemFile file(stored->bytes.data(), stored->Length());
    const unsigned measured = types->DiskLenGetFromMemFile(KvSTRING_T, &file, format, 1);
    if (measured >= 4 && measured <= stored->Length()) CheckLoaded(*stored, measured, format);
  }
  return 0;
}
