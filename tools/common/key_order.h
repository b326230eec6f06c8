// The order of many sort keys at once. Comparing two keys reads them where they lie, which is a
// cache miss each; here eight bytes of every key are held beside its place and sorted as words,
// and the keys are read again only where those agree.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "kvsortkey.h"

// Sort keys, each with the number of its value.
class KeyList {
 public:
  // Adds the key of a value in memory form. False when it has none.
  bool Add(const KvSortKeyKind& kind, const void* value, std::size_t number);
  // Adds a key that is made already.
  void Add(std::span<const unsigned char> key, std::size_t number);

 private:
  friend class KeyTable;

  // What is in front of each key. Keys lie behind each other, at any address.
  struct Head {
    std::size_t number;
    std::size_t size;
  };

  struct Block {
    std::unique_ptr<unsigned char[]> bytes;
    std::size_t size;
    std::size_t used;
  };

  // Bytes behind a key that may be read.
  static constexpr std::size_t kSpare = 8;

  std::span<unsigned char> Room() const;
  void MakeRoom(std::size_t size);
  void Keep(std::size_t number, std::size_t size);

  std::vector<Block> blocks_;
  std::size_t count_ = 0;
  // Of all keys the first eight bytes, as far as they agree: what each has, and what any has.
  std::uint64_t all_ = ~std::uint64_t{0};
  std::uint64_t any_ = 0;
};

struct KeyOrder {
  bool reverse = false;
  bool unique = false;  // of equal keys the one with the lowest number alone
};

// The numbers of the keys of one kind in the order of their keys, or the other way round, those of
// equal keys in their own order. No key may be the beginning of another one, which sort keys never
// are. `report(keys)` tells how many more are in order.
std::vector<std::size_t> OrderOfKeys(
    std::span<const KeyList> lists, KeyOrder how = {},
    const std::function<void(std::size_t)>& report = [](std::size_t) {});
