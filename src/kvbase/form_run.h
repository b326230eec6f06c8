// Runs of a fixed row from one form to the other, a vector of values at a time. Storing and loading
// put the bytes of a value in another order, as making its sort key does, and go by the same maps
// (key_run.h): what is called a value there is what is read here, and a key what is written. The
// plain twins are Store and Load of the row's codec.
#pragma once

#include <functional>

#include "kvbase/codec.h"
#include "kvbase/key_run.h"

namespace kv {

enum class Direction : unsigned char { kStore, kLoad };

template <class Codec>
constexpr KeyMap FormMapOfOne(Direction direction, bool reversed) {
  const bool isStore = direction == Direction::kStore;
  KeyMap map{.valueWidth = isStore ? Codec::kMemoryWidth : Codec::kStoredWidth,
             .keyWidth = isStore ? Codec::kStoredWidth : Codec::kMemoryWidth,
             .step = KeyStep::kKeep};
  unsigned stored = 0;
  Codec::ForEachMember([&](auto constant) {
    constexpr Member member = decltype(constant)::value;
    for (unsigned i = 0; i < member.width; ++i) {
      const unsigned inMemory =
          member.offset + (member.IsTurned(reversed) ? member.width - 1 - i : i);
      const unsigned to = isStore ? stored + i : inMemory;
      map.from[to] = static_cast<unsigned char>(isStore ? inMemory : stored + i);
      map.turned[to] = 0xFF;
    }
    stored += member.width;
  });
  return map;
}

// What the stored form leaves out is zero in memory.
template <class Codec>
constexpr KeyMap FormMap(Direction direction, bool reversed) {
  return Repeated(FormMapOfOne<Codec>(direction, reversed));
}

// Moves values at the front of a run and returns how many those are, as WriteLeadingKeys does. None
// where the two buffers overlap: vectors are written whole, over what would be read next.
template <class Codec, Direction direction>
unsigned MoveLeadingValues(unsigned char* destination, const unsigned char* source, bool reversed,
                           unsigned count) {
  static constexpr KeyMap kAsItIs = FormMap<Codec>(direction, false);
  static constexpr KeyMap kTurned = FormMap<Codec>(direction, true);
  constexpr unsigned kFew = 8;
  if (count < kFew) return 0;
  const std::less_equal<const unsigned char*> isBefore;
  if (!isBefore(source + std::size_t{count} * kAsItIs.valueWidth, destination) &&
      !isBefore(destination + std::size_t{count} * kAsItIs.keyWidth, source)) {
    return 0;
  }
  return WriteLeadingKeys(destination, source, count, reversed ? kTurned : kAsItIs);
}

}  // namespace kv
