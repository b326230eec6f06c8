// Golden keys: beside each golden file one in the folder keys, with a line for each of its values,
//
//   2024 2 29 | 87E8829D | 87E8829C
//
// the value, its sort key, and its key with null last. keys/orders.txt has texts of collation
// orders in hex and their keys. Lines stand in the order of the golden file.
#pragma once

#include "golden_check/golden.h"
#include "kvsortkey.h"

namespace golden {

inline std::string KeysPath(const std::string& path) {
  const std::size_t name = path.rfind('/') + 1;
  return path.substr(0, name) + "keys/" + path.substr(name);
}

// "-" when there is none.
inline std::string KeyHex(const KvSortKeyKind& kind, const void* value) {
  std::vector<unsigned char> key(400000);
  std::size_t size = 0;
  if (KvSortKey(kind, value, 0, 8, key.data(), key.size(), size) != kvOk) return "-";
  key.resize(size);
  return Hex(key);
}

inline std::vector<std::string> KeyLines(const File& file) {
  const KvTypeMgr types(file.Factory());
  const Values values(types, file);
  const bool plainBytes = file.path.find("_bytes") != std::string::npos;
  KvSortKeyKind kind{.type = static_cast<char>(file.typeId)};
  if (plainBytes) kind.options = kvSortKeyPlainBytes;
  KvSortKeyKind nullsLast = kind;
  nullsLast.options |= kvSortKeyNullsLast;
  std::vector<std::string> lines;
  for (unsigned i = 0; i < values.Count(); ++i) {
    lines.push_back(file.lines[i].value + " | " + KeyHex(kind, values.At(i)) + " | " +
                    KeyHex(nullsLast, values.At(i)));
  }
  return lines;
}

inline std::string OrdersLine(const std::string& orders) {
  std::istringstream in(orders);
  std::vector<unsigned char> stored = {0, 0, 254, 1};
  for (std::string order; in >> order;) {
    const unsigned number = static_cast<unsigned>(std::stoul(order, nullptr, 16));
    stored.push_back(static_cast<unsigned char>(number));
    stored.push_back(static_cast<unsigned char>(number >> 8));
  }
  stored.insert(stored.end(), {0, 0xFF});
  stored[0] = static_cast<unsigned char>(stored.size() - 2);
  stored[1] = static_cast<unsigned char>((stored.size() - 2) >> 8);
  KvString text;
  DefaultTypeMgr(nullptr)->Load(KvSTRING_T, &text, stored.data(), 0, 1);
  return orders + " | " + KeyHex({.type = KvSTRING_T}, &text);
}

inline std::vector<std::string> ReadLines(const std::string& path) {
  std::ifstream in(path);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) {
    if (!line.empty() && line[0] != '#') lines.push_back(line);
  }
  return lines;
}

// The lines of keys/orders.txt as they ought to be.
inline std::vector<std::string> OrdersLines(const std::string& path) {
  std::vector<std::string> lines;
  for (const std::string& line : ReadLines(path)) lines.push_back(OrdersLine(Columns(line)[0]));
  return lines;
}

}  // namespace golden
