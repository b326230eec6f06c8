// Arbitrary text as the hex that kvtm load takes, for every row: what passes its checks must load
// without reading outside the bytes, print, and store and load again as the same value.
#include <string_view>

#include "catalogue.h"
#include "failure.h"
#include "kv.h"
#include "require.h"
#include "stored.h"
#include "values.h"

namespace {

constexpr unsigned short kStrict = 0x10;

void LoadAndShow(char id, const Bytes& bytes, unsigned char order) {
  const StoredRun measured = MeasureStored(id, bytes, order, 0);
  // kvtm's own memory limit is the machine's; a small input cannot ask for much.
  const ValueRun run(id, measured.count);
  Require(Types().Load(id, run.Data(), bytes.data(), order, measured.count) != 0);
  for (unsigned i = 0; i < run.Count(); ++i) TextOf(id, run.At(i), {});

  const Bytes again = StoredForm(run, order);
  const ValueRun reloaded(id, run.Count());
  Require(Types().Load(id, reloaded.Data(), again.data(), order, run.Count()) == again.size());
  Require(Types().Cmp(id, run.Data(), reloaded.Data(), kStrict, run.Count(), 8) == 0);
  Require(StoredForm(reloaded, order) == again);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  if (size < 2 || data[0] >= TypeCount() - 1) return 0;
  try {
    Bytes bytes;
    AppendHex({reinterpret_cast<const char*>(data + 2), size - 2}, bytes);
    if (!bytes.empty()) {
      LoadAndShow(static_cast<char>(data[0]), bytes, data[1] % 2 == 0 ? 0 : 2);
    }
  } catch (const Failure&) {
  }
  return 0;
}
