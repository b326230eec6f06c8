// The stores that the conformance suite runs over: a folder of its own for each embedded engine,
// and the servers that tools/cluster.py started, by their URLs in KV_ETCD_URL and
// KV_POSTGRESQL_URL.
#pragma once

#include <doctest/doctest.h>

#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "ordered_store.h"

namespace test {

using engines::OrderedStore;

class Folder {
 public:
  Folder() {
    std::string path = (std::filesystem::temp_directory_path() / "engines.XXXXXX").string();
    REQUIRE(mkdtemp(path.data()) != nullptr);
    path_ = path;
  }
  ~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  std::string operator/(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

inline std::vector<engines::Write> EraseAll(OrderedStore& store, std::size_t most) {
  std::vector<engines::Write> erasing;
  store.TakeSnapshot()->Scan({.limit = most}, [&](std::string_view key, std::string_view) {
    erasing.push_back({.key = std::string(key)});
    return true;
  });
  return erasing;
}

inline void Empty(OrderedStore& store) {
  const std::size_t most = std::min<std::size_t>(store.GetLimits().batchWrites, 1000);
  for (auto batch = EraseAll(store, most); !batch.empty(); batch = EraseAll(store, most)) {
    store.Apply(batch);
  }
}

// The URLs of all engines of this build; servers that were not started are named on stderr, once.
inline std::vector<std::string> Urls(const Folder& folder) {
  static const std::vector<std::pair<const char*, const char*>> servers{
      {"etcd", "KV_ETCD_URL"},
      {"postgresql", "KV_POSTGRESQL_URL"},
      {"postgresql", "KV_POSTGRESQL_ONE_URL"}};
  static std::set<std::string> named;
  std::vector<std::string> urls;
  for (const std::string& engine : engines::BuiltEngines()) {
    if (engine == "lmdb" || engine == "rocksdb") urls.push_back(engine + ":" + (folder / engine));
    for (const auto& [name, variable] : servers) {
      if (engine != name) continue;
      const char* url = std::getenv(variable);
      if (url != nullptr) urls.emplace_back(url);
      if (url == nullptr && named.insert(variable).second) {
        MESSAGE("NOT TESTED: ", engine, ", no server of it was started (", variable, ")");
      }
    }
  }
  return urls;
}

// Runs `body` over an empty store of each engine.
template <class Body>
void OverAllStores(const Body& body) {
  const Folder folder;
  for (const std::string& url : Urls(folder)) {
    CAPTURE(url);
    const auto store =
        engines::OpenStore(url, {.create = true, .durability = engines::Durability::kProcess});
    Empty(*store);
    body(*store, url);
  }
}

}  // namespace test
