// From a URL to an engine.
#include <array>

#include "built_engines.h"

namespace engines {
namespace {

using Open = std::unique_ptr<OrderedStore> (*)(const std::string&, const OpenOptions&);

struct Engine {
  const char* name;
  const char* package;  // what its library is called where it is missing
  const char* place;    // what stands behind the colon
  Open open;            // null: not built here
  std::size_t longestKey;
};

#ifdef KV_HAVE_LMDB
constexpr Open kOpenLmdb = OpenLmdb;
#else
constexpr Open kOpenLmdb = nullptr;
#endif
#ifdef KV_HAVE_ROCKSDB
constexpr Open kOpenRocksDb = OpenRocksDb;
#else
constexpr Open kOpenRocksDb = nullptr;
#endif
#ifdef KV_HAVE_ETCD
constexpr Open kOpenEtcd = OpenEtcd;
#else
constexpr Open kOpenEtcd = nullptr;
#endif
#ifdef KV_HAVE_POSTGRESQL
constexpr Open kOpenPostgreSql = OpenPostgreSql;
#else
constexpr Open kOpenPostgreSql = nullptr;
#endif

constexpr std::array<Engine, 4> kEngines{{
    {"lmdb", "liblmdb-dev", "PATH", kOpenLmdb, kLmdbKeyBytes},
    {"rocksdb", "librocksdb-dev", "PATH", kOpenRocksDb, kRocksDbKeyBytes},
    {"etcd", "libcurl4-openssl-dev and nlohmann-json3-dev", "HOST:PORT,...", kOpenEtcd,
     kEtcdKeyBytes},
    {"postgresql", "libpq-dev", "CONNINFO", kOpenPostgreSql, kPostgreSqlKeyBytes},
}};

// The engine that a URL names. Fails when it is not built here or the URL does not say where.
const Engine& EngineOf(const std::string& url) {
  const std::size_t colon = url.find(':');
  const std::string name = url.substr(0, colon);
  std::string known;
  for (const Engine& engine : kEngines) {
    known += (known.empty() ? "" : ", ") + std::string(engine.name) + ":" + engine.place;
    if (name != engine.name) continue;
    if (engine.open == nullptr) {
      throw StoreError(Fault::kBadUrl, "'" + url + "': the engine " + name +
                                           " is not built into this program; it needs " +
                                           engine.package);
    }
    if (colon == std::string::npos || colon + 1 == url.size()) {
      throw StoreError(Fault::kBadUrl,
                       "'" + url + "' does not say where; it is " + name + ":" + engine.place);
    }
    return engine;
  }
  throw StoreError(Fault::kBadUrl, "'" + url + "' names no engine; a store is one of " + known);
}

}  // namespace

std::unique_ptr<OrderedStore> OpenStore(const std::string& url, const OpenOptions& options) {
  return EngineOf(url).open(url.substr(url.find(':') + 1), options);
}

std::size_t LongestKey(const std::string& url) {
  return EngineOf(url).longestKey;
}

std::vector<std::string> BuiltEngines() {
  std::vector<std::string> names;
  for (const Engine& engine : kEngines) {
    if (engine.open != nullptr) names.emplace_back(engine.name);
  }
  return names;
}

}  // namespace engines
