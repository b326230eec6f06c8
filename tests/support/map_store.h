// An ordered store in memory, within limits of a test's choice.
#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "ordered_store.h"

namespace support {

using Entries = std::map<std::string, std::string, std::less<>>;

class MapSnapshot : public engines::Snapshot {
 public:
  explicit MapSnapshot(const Entries& entries) : entries_(entries) {}

  std::optional<std::string> Get(std::string_view key) override {
    const auto found = entries_.find(key);
    return found == entries_.end() ? std::nullopt : std::optional(found->second);
  }
  void Scan(const engines::Range& range, const engines::Visit& visit) override {
    auto from = entries_.lower_bound(range.from);
    auto end = range.end.empty() ? entries_.end() : entries_.lower_bound(range.end);
    if (!range.end.empty() && range.end <= range.from) return;
    for (std::size_t left = range.limit; left > 0 && from != end; --left) {
      const auto& [key, value] = range.descending ? *--end : *from++;
      if (!visit(key, value)) return;
    }
  }

 private:
  const Entries entries_;
};

struct MapStore : engines::OrderedStore {
  engines::Limits GetLimits() const override { return limits; }
  std::unique_ptr<engines::Snapshot> TakeSnapshot() override {
    return std::make_unique<MapSnapshot>(entries);
  }

  engines::Limits limits{511, 100000, 100000, 1000000, true};
  Entries entries;
  unsigned left = ~0U;    // batches that are taken before one fails
  unsigned refusals = 0;  // batches that meet what somebody else has written

 protected:
  std::optional<std::size_t> ApplySorted(std::span<const engines::Write* const> batch) override {
    if (left-- == 0) throw engines::StoreError(engines::Fault::kFull, "full");
    if (refusals != 0) {
      --refusals;
      return 0;
    }
    for (std::size_t i = 0; i < batch.size(); ++i) {
      const auto found = entries.find(batch[i]->key);
      const bool isThere = found != entries.end();
      if (batch[i]->when == engines::When::kAbsent && isThere) return i;
      if (batch[i]->when != engines::When::kEqual) continue;
      if (!isThere || found->second != batch[i]->expected) return i;
    }
    for (const engines::Write* write : batch) {
      entries.erase(write->key);
      if (write->value) entries[write->key] = *write->value;
    }
    return std::nullopt;
  }
};

}  // namespace support
