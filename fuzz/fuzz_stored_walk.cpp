// Arbitrary bytes as stored runs of the rows of variable length. With a buffer's length, comparing
// and hashing must read nothing outside it (each buffer is a heap block of exactly its size, so the
// address sanitizer sees a byte too far). A run that measures right against its buffer must load,
// and then order, hash and measure in memory as it does stored.
#include <algorithm>
#include <memory>

#include "kv.h"
#include "require.h"
#include "support/run.h"
#include "twins.h"

namespace {

constexpr unsigned char kMemory = 8;
constexpr unsigned short kStrict = 0x10;  // null and present texts order the same in both ways

struct Row {
  char id;
  unsigned factory;
};
constexpr Row kRows[] = {
    {KvSTRING_T, 5}, {KvSTRING_T, 3}, {KvBLOB_T, 5}, {KvISTRING_T, 5}, {KvCASEISTRING_T, 5}};

struct StoredRun {
  std::unique_ptr<unsigned char[]> bytes;
  unsigned size;
  KvMeasured measured;  // of no values when the bytes are no run
};

StoredRun MakeRun(const Row& row, const Twins::Bytes& bytes, unsigned char format) {
  const std::size_t size = bytes.size();
  StoredRun run{std::make_unique<unsigned char[]>(size), static_cast<unsigned>(size), {}};
  std::copy_n(bytes.data(), size, run.bytes.get());
  const KvTypeMgr types(row.factory);
  run.measured = KvMeasureStored(types, row.id, run.bytes.get(), size, format, 0);
  if (run.measured.status != kvOk) run.measured = {};
  return run;
}

struct Loaded : support::Run {
  Loaded(const KvTypeMgr& types, char id, const StoredRun& run, unsigned char format)
      : support::Run(types, id, run.measured.count) {
    Require(types.Load(id, Values(), run.bytes.get(), format, Count()) == run.measured.bytes);
  }
};

// Texts of collation orders (code set 254) have a flag in the top bit of their stored language.
// Comparing and hashing stored texts take it off; loading keeps it.
bool HoldOrders(char id, const Loaded& run) {
  if (id != KvSTRING_T) return false;
  const auto* strings = static_cast<const KvString*>(run.Values());
  return std::any_of(strings, strings + run.Count(),
                     [](const KvString& string) { return string.GetCodeSet() == 254; });
}

void CheckWalk(const KvTypeMgr& types, char id, const StoredRun& a, const StoredRun& b,
               unsigned char format, unsigned short operation, unsigned count) {
  int status = 0;
  int back = 0;
  const int order =
      types.Cmp(id, a.size, a.bytes.get(), b.size, b.bytes.get(), operation, count, format, status);
  const int reverse = types.Cmp(id, b.size, b.bytes.get(), a.size, a.bytes.get(),
                                operation | kStrict, count, format, back);
  if (operation == kStrict && status == 0 && back == 0)
    Require(support::Sign(order) == -support::Sign(reverse));
  types.Hash(id, a.size, a.bytes.get(), count, format, status);
  MemFile page(a.bytes.get(), a.size);
  types.DiskLenGetFromMemFile(id, &page, format, count);
  Require(page.Tell() == 0);
}

void CheckLoaded(const KvTypeMgr& types, char id, const StoredRun& a, const StoredRun& b,
                 unsigned char format) {
  const unsigned count = std::min(a.measured.count, b.measured.count);
  const Loaded left(types, id, a, format);
  const Loaded right(types, id, b, format);
  if (!HoldOrders(id, left) && !HoldOrders(id, right)) {
    int status = 0;
    const int stored =
        types.Cmp(id, a.size, a.bytes.get(), b.size, b.bytes.get(), kStrict, count, format, status);
    Require(status == kvOk);
    const int order = types.Cmp(id, left.Values(), right.Values(), kStrict, count, kMemory);
    Require(support::Sign(stored) == support::Sign(order));
    const unsigned hash = types.Hash(id, a.size, a.bytes.get(), left.Count(), format, status);
    Require(hash == types.Hash(id, 0, left.Values(), left.Count(), kMemory, status));
  }
  // Either catalogue measures what it writes: in the old form, which ends in a zero byte, one block
  // for the run, else one a string.
  Require(types.FormatVersion() < 4 || a.bytes[a.measured.bytes - 1] == 0 ||
          types.DiskLenGet(id, a.bytes.get(), format, a.measured.count, 0) == a.measured.bytes);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  if (size < 4) return 0;
  const Row& row = kRows[data[0] % std::size(kRows)];
  const unsigned char format = data[1] % 2 == 0 ? 0 : 2;
  const unsigned count = data[1] / 2 % 4 + 1;
  const auto operation = static_cast<unsigned short>(data[2] * 8);
  const KvTypeMgr types(row.factory);
  const std::size_t first = std::min<std::size_t>(data[3], size - 4);
  const Twins runs(data + 4, size - 4, first, (data[1] & 8) != 0);
  const StoredRun a = MakeRun(row, runs.first, format);
  const StoredRun b = MakeRun(row, runs.second, format);
  if (a.size != 0 && b.size != 0) CheckWalk(types, row.id, a, b, format, operation, count);
  if (a.measured.count != 0 && b.measured.count != 0) CheckLoaded(types, row.id, a, b, format);
  return 0;
}
