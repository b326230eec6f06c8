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

}  // namespace engines
