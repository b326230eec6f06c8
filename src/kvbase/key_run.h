// Keys of a run of a fixed row, a vector of values at a time. A key of most rows is the bytes of
// its value in another order with some bits turned, so that one shuffle makes the keys of as many
// values as 16 bytes hold; floating numbers and the few rows whose null moves their numbers take a
// step between two shuffles. The plain twin is Write of the row's key codec (key_codec.h).
#pragma once

#include <array>
#include <type_traits>

#include "kvbase/codec.h"
#include "kvbase/format.h"

namespace kv {

// What becomes of the bytes of a key besides their order.
enum class KeyStep : unsigned char {
  kTurn,     // some bits are turned
  kFloat,    // FloatingKey of four bytes
  kDouble,   // FloatingKey of eight
  kPlusOne,  // a number of four bytes, and one more
  kBoolean   // a signed byte, its -1 before all others
};

struct KeyMap {
  static constexpr unsigned kVector = 16;
  static constexpr unsigned char kNowhere = 0x80;

  unsigned valueWidth = 0;
  unsigned keyWidth = 0;
  unsigned valuesAVector = 0;  // none of a row that is wider than a vector
  KeyStep step = KeyStep::kTurn;
  // For each byte of the keys of a vector, the place in the vector of values that it comes from.
  // For the other steps each key is a number of the host, which is turned around behind them.
  std::array<unsigned char, kVector> from{};
  std::array<unsigned char, kVector> turned{};
};

// Writes the keys of values at the front of a run and returns how many those are: all that whole
// vectors hold, or none where the processor lacks what it takes. Nothing is read or written outside
// the run and its keys.
unsigned WriteLeadingKeys(unsigned char* keys, const unsigned char* values, unsigned count,
                          const KeyMap& map);

// ---------------------------------------------------------------------------------------------

// Where the member that begins at `offset` in memory is in the stored form.
template <class Codec>
constexpr unsigned StoredPlace(unsigned offset) {
  unsigned place = 0;
  unsigned packed = 0;
  Codec::ForEachMember([&](auto constant) {
    constexpr Member member = decltype(constant)::value;
    if (member.offset == offset) place = packed;
    packed += member.width;
  });
  return place;
}

template <class Codec>
constexpr Member MemberAtOffset(unsigned offset) {
  Member found{};
  Codec::ForEachMember([&](auto constant) {
    constexpr Member member = decltype(constant)::value;
    if (member.offset == offset) found = member;
  });
  return found;
}

template <class Key>
constexpr KeyStep StepOf() {
  if constexpr (requires { Key::kStep; }) {
    return Key::kStep;
  } else {
    KeyStep step = KeyStep::kTurn;
    Key::Members::ForEachMember([&](auto constant) {
      constexpr Member member = decltype(constant)::value;
      if (member.kind != MemberKind::kFloating) return;
      step = member.width == 4 ? KeyStep::kFloat : KeyStep::kDouble;
    });
    return step;
  }
}

// The map of one key of `Key`, whose members are a list of their own (Key::Members), from a value
// of `Codec` in the given form.
template <class Key, class Codec>
constexpr KeyMap MapOfOne(Format form) {
  KeyMap map{.valueWidth = Codec::Stride(form), .keyWidth = Key::kWidth, .step = StepOf<Key>()};
  unsigned to = 0;
  Key::Members::ForEachMember([&](auto constant) {
    constexpr Member member = decltype(constant)::value;
    const bool isMemory = form.IsMemory();
    const unsigned place = isMemory ? member.offset : StoredPlace<Codec>(member.offset);
    const bool highestFirst =
        member.kind == MemberKind::kBytes ||
        (isMemory ? kHostIsBig
                  : MemberAtOffset<Codec>(member.offset).IsHighestFirst(form.IsReversed()));
    if (member.kind == MemberKind::kSigned && to < KeyMap::kVector) map.turned[to] = 0x80;
    for (unsigned i = 0; i < member.width; ++i) {
      const unsigned byte = highestFirst ? i : member.width - 1 - i;
      if (to < KeyMap::kVector) map.from[to] = static_cast<unsigned char>(place + byte);
      ++to;
    }
  });
  return map;
}

template <class Key, class Codec>
constexpr KeyMap MapOf(Format form) {
  const KeyMap one = MapOfOne<Key, Codec>(form);
  KeyMap map = one;
  const unsigned widest = one.valueWidth > one.keyWidth ? one.valueWidth : one.keyWidth;
  map.valuesAVector = KeyMap::kVector / widest;
  map.from.fill(KeyMap::kNowhere);
  for (unsigned value = 0; value < map.valuesAVector; ++value) {
    for (unsigned i = 0; i < one.keyWidth; ++i) {
      const unsigned place = value * one.keyWidth + i;
      const unsigned byte = one.step == KeyStep::kTurn ? i : one.keyWidth - 1 - i;
      map.from[place] = static_cast<unsigned char>(value * one.valueWidth + one.from[byte]);
      map.turned[place] = one.turned[i];
    }
  }
  return map;
}

}  // namespace kv
