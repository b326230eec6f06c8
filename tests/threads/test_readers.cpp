// Readers of all rows at once. The catalogue, the null print string and the defaults are set up
// before and only read here, so threads need no lock between them; the thread sanitizer's build of
// this program is what proves it.
#include <doctest/doctest.h>

#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

#include "support/values_of.h"

namespace {

using support::Bytes;
using support::Types;
using support::Values;

constexpr unsigned kRun = 12;
using support::kMemory;
constexpr unsigned kThreads = 4;

struct Row {
  explicit Row(char typeId)
      : id(typeId), values(typeId, support::OrdinaryValues(typeId, kRun)), stored(4096) {
    stored.resize(Types().Store(id, stored.data(), values[0], 0, kRun));
  }
  char id;
  Values values;
  Bytes stored;
};

// Everything that only reads, as one number. The shared run is read in memory and stored.
unsigned Digest(Row& row) {
  int status = 0;
  unsigned digest = Types().Hash(row.id, 0, row.values[0], kRun, kMemory, status);
  digest ^= Types().Hash(row.id, static_cast<unsigned>(row.stored.size()), row.stored.data(), kRun,
                         0, status);
  for (unsigned i = 0; i + 1 < kRun; ++i) {
    const int order = Types().Cmp(row.id, row.values[i], row.values[i + 1], 0, 1, kMemory);
    digest = 31 * digest + static_cast<unsigned>(order);
  }
  digest = 31 * digest + static_cast<unsigned>(
                             Types().Cmp(row.id, row.stored.data(), row.stored.data(), 0, kRun, 0));
  void* loaded = Types().Create(row.id, kRun);
  digest = 31 * digest + Types().Load(row.id, loaded, row.stored.data(), 0, kRun);
  KvString text;
  Types().PrintToKvString(row.id, text, loaded, nullptr, kRun);
  digest = 31 * digest + HashKvString(text);
  Types().Delete(row.id, loaded, kRun);
  return digest;
}

}  // namespace

TEST_CASE("threads read the values of all rows at once") {
  // New dates read the clock. The C library guards its own zone by a lock that the thread sanitizer
  // does not see; with a zone named it has nothing to change there.
  setenv("TZ", "UTC0", 1);
  std::vector<std::unique_ptr<Row>> rows;
  for (char id = 0; id < support::kRowCount; ++id) rows.push_back(std::make_unique<Row>(id));

  // The threads go first: whatever is set up on first use must not need a single thread for it.
  std::vector<std::vector<unsigned>> digests(kThreads);
  std::vector<std::thread> threads;
  for (std::vector<unsigned>& seen : digests) {
    threads.emplace_back([&rows, &seen] {
      for (unsigned round = 0; round < 20; ++round) {
        for (const std::unique_ptr<Row>& row : rows) seen.push_back(Digest(*row));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();

  for (const std::vector<unsigned>& seen : digests) {
    REQUIRE(seen.size() == 20 * rows.size());
    for (std::size_t i = 0; i < seen.size(); ++i) {
      CAPTURE(i % rows.size());
      CHECK(seen[i] == Digest(*rows[i % rows.size()]));
    }
  }
}
