// The engines' own doors, each defined where its library was found (KV_HAVE_...). `place` is what
// stands behind the colon of a URL.
#pragma once

#include <memory>
#include <string>

#include "ordered_store.h"

namespace engines {

std::unique_ptr<OrderedStore> OpenLmdb(const std::string& place, const OpenOptions& options);
std::unique_ptr<OrderedStore> OpenRocksDb(const std::string& place, const OpenOptions& options);
std::unique_ptr<OrderedStore> OpenEtcd(const std::string& place, const OpenOptions& options);
std::unique_ptr<OrderedStore> OpenPostgreSql(const std::string& place, const OpenOptions& options);

// The longest keys.
inline constexpr std::size_t kLmdbKeyBytes = 511;  // as the library is built
inline constexpr std::size_t kRocksDbKeyBytes =
    65536;  // longer ones work, in every file's index too
inline constexpr std::size_t kEtcdKeyBytes = 2048;
// An index row takes at most 2,704 bytes; 8 are its header and 4 the length of the key.
inline constexpr std::size_t kPostgreSqlKeyBytes = 2692;

}  // namespace engines
