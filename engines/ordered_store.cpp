#include "ordered_store.h"

#include <algorithm>

namespace engines {

Range WithPrefix(std::string prefix) {
  std::string end = prefix;
  while (!end.empty() && end.back() == '\xFF') end.pop_back();
  if (!end.empty()) end.back() = static_cast<char>(static_cast<unsigned char>(end.back()) + 1);
  return {.from = std::move(prefix), .end = std::move(end)};
}

std::vector<std::optional<std::string>> Snapshot::GetMany(const std::vector<std::string>& keys) {
  std::vector<std::optional<std::string>> values;
  values.reserve(keys.size());
  for (const std::string& key : keys) values.push_back(Get(key));
  return values;
}

void Snapshot::GetEach(const std::vector<std::string>& keys, const VisitFound& visit) {
  const auto values = GetMany(keys);
  for (std::size_t i = 0; i < values.size(); ++i) {
    const std::string_view value = values[i] ? std::string_view(*values[i]) : std::string_view();
    if (!visit(i, values[i] ? &value : nullptr)) return;
  }
}

void OrderedStore::CheckSizes(const std::vector<Write>& batch) const {
  const Limits limits = GetLimits();
  const auto tooLarge = [](const char* what, std::size_t is, std::size_t most) {
    throw StoreError(Fault::kTooLarge, std::string(what) + std::to_string(is) +
                                           ", the engine takes " + std::to_string(most));
  };
  if (batch.size() > limits.batchWrites) {
    tooLarge("writes in a batch: ", batch.size(), limits.batchWrites);
  }
  std::size_t bytes = 0;
  for (const Write& write : batch) {
    if (write.key.empty()) throw StoreError(Fault::kBadBatch, "a key without a byte");
    if (write.key.size() > limits.keyBytes) {
      tooLarge("bytes in a key: ", write.key.size(), limits.keyBytes);
    }
    const std::size_t size = write.value ? write.value->size() : 0;
    if (size > limits.valueBytes) tooLarge("bytes in a value: ", size, limits.valueBytes);
    bytes += write.key.size() + size + write.expected.size();
  }
  if (bytes > limits.batchBytes) tooLarge("bytes in a batch: ", bytes, limits.batchBytes);
}

std::optional<std::size_t> OrderedStore::Apply(const std::vector<Write>& batch) {
  if (batch.empty()) return std::nullopt;
  CheckSizes(batch);
  // In the order of their keys neighbours lie on the same pages, which trees thank.
  std::vector<const Write*> sorted;
  sorted.reserve(batch.size());
  for (const Write& write : batch) sorted.push_back(&write);
  std::sort(sorted.begin(), sorted.end(),
            [](const Write* a, const Write* b) { return a->key < b->key; });
  const auto sameKey = [](const Write* a, const Write* b) { return a->key == b->key; };
  if (std::adjacent_find(sorted.begin(), sorted.end(), sameKey) != sorted.end()) {
    throw StoreError(Fault::kBadBatch, "a batch writes the same key twice");
  }
  const std::optional<std::size_t> failed = ApplySorted(sorted);
  if (!failed) return std::nullopt;
  return static_cast<std::size_t>(sorted[*failed] - batch.data());
}

void OrderedStore::Put(std::string key, std::string value) {
  Apply({{.key = std::move(key), .value = std::move(value)}});
}

void OrderedStore::Erase(std::string key) {
  Apply({{.key = std::move(key)}});
}

bool OrderedStore::CompareAndSet(std::string key, std::optional<std::string> expected,
                                 std::optional<std::string> desired) {
  Write write{.key = std::move(key), .value = std::move(desired)};
  write.when = expected ? When::kEqual : When::kAbsent;
  if (expected) write.expected = std::move(*expected);
  return !Apply({std::move(write)});
}

}  // namespace engines
