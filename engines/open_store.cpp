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
    {"lmdb", "liblmdb-dev", "PATH", kOpenLmdb},
    {"rocksdb", "librocksdb-dev", "PATH", kOpenRocksDb},
    {"etcd", "libcurl4-openssl-dev and nlohmann-json3-dev", "HOST:PORT,...", kOpenEtcd},
    {"postgresql", "libpq-dev", "CONNINFO", kOpenPostgreSql},
}};

}  // namespace

std::unique_ptr<OrderedStore> OpenStore(const std::string& url, const OpenOptions& options) {
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
    return engine.open(url.substr(colon + 1), options);
  }
  throw StoreError(Fault::kBadUrl, "'" + url + "' names no engine; a store is one of " + known);
}

std::vector<std::string> BuiltEngines() {
  std::vector<std::string> names;
  for (const Engine& engine : kEngines) {
    if (engine.open != nullptr) names.emplace_back(engine.name);
  }
  return names;
}

}  // namespace engines
