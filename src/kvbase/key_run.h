// Keys of a run of a fixed row, a vector of values at a time. A key of most rows is the bytes of
// its value in another order with some bits turned, so that one shuffle makes the keys of as many
// values as 16 bytes hold; floating numbers and the few rows whose null moves their numbers take a
// step between two shuffles. The plain twin is Write of the row's key codec (key_codec.h).
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
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
  kBoolean,  // a signed byte, its -1 before all others
  kKeep      // some bits are kept and the others zero: values on their way from form to form
};

struct KeyMap {
  static constexpr unsigned kVector = 64;  // the widest there are

  unsigned valueWidth = 0;
  unsigned keyWidth = 0;
  KeyStep step = KeyStep::kTurn;
  // For each byte of the keys of a vector, the place in the vector of values that it comes from.
  // For the other steps each key is a number of the host, which is turned around behind them.
  std::array<unsigned char, kVector> from{};
  std::array<unsigned char, kVector> turned{};

  // So many values, and their keys, lie in `vector` bytes; none of a row that is wider.
  constexpr unsigned ValuesIn(unsigned vector) const {
    return vector / std::max(valueWidth, keyWidth);
  }
};

// The same for nullables in memory form: the key of a value is 01 and the scalar's key, that of a
// null one byte. Steps are taken before the bytes are moved: the scalars lie at multiples of their
// widths there, and not in the keys.
struct NullableKeyMap {
  KeyMap keys;
  std::array<unsigned char, KeyMap::kVector> flagOf{};  // for each byte of the keys
  std::array<unsigned char, KeyMap::kVector> isFlag{};  // FF at the flags of the values
  unsigned long long leading = 0;                       // the bytes that keys begin with
  unsigned long long held = 0;                          // all bytes of keys
};

// Writes the keys of values at the front of a run and returns how many those are: all that whole
// vectors hold, or none where the processor lacks what it takes. Nothing is read or written outside
// the run and its keys.
unsigned WriteLeadingKeys(unsigned char* keys, const unsigned char* values, unsigned count,
                          const KeyMap& map);

// The same of nullables, into `room` bytes, which may all be written over. Moves `keys` to where
// the next key goes.
unsigned WriteLeadingKeys(unsigned char*& keys, std::size_t room, const unsigned char* values,
                          unsigned count, const NullableKeyMap& map, unsigned char nullByte);

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

// The map of as many values as the widest vector holds, from that of one.
constexpr KeyMap Repeated(const KeyMap& one) {
  const bool isInOrder = one.step == KeyStep::kTurn || one.step == KeyStep::kKeep;
  KeyMap map = one;
  for (unsigned value = 0; value < one.ValuesIn(KeyMap::kVector); ++value) {
    for (unsigned i = 0; i < one.keyWidth; ++i) {
      const unsigned place = value * one.keyWidth + i;
      const unsigned byte = isInOrder ? i : one.keyWidth - 1 - i;
      map.from[place] = static_cast<unsigned char>(value * one.valueWidth + one.from[byte]);
      map.turned[place] = one.turned[i];
    }
  }
  return map;
}

template <class Key, class Codec>
constexpr KeyMap MapOf(Format form) {
  return Repeated(MapOfOne<Key, Codec>(form));
}

// Of nullables of `valueWidth` bytes, whose flag is behind the scalar.
template <class Key>
constexpr NullableKeyMap MapOfNullable(unsigned valueWidth) {
  const KeyMap scalar = MapOfOne<Key, typename Key::Members>(kMemory);
  NullableKeyMap map;
  map.keys.valueWidth = valueWidth;
  map.keys.keyWidth = scalar.keyWidth + 1;
  map.keys.step = scalar.step;
  for (unsigned value = 0; value < map.keys.ValuesIn(KeyMap::kVector); ++value) {
    const unsigned at = value * valueWidth;
    const unsigned flag = at + static_cast<unsigned>(sizeof(typename Key::Value));
    const unsigned key = value * map.keys.keyWidth;
    map.isFlag[flag] = 0xFF;
    map.leading |= 1ULL << key;
    map.keys.turned[key] = 1;  // of a byte that is zero
    for (unsigned i = 0; i <= scalar.keyWidth; ++i) {
      map.flagOf[key + i] = static_cast<unsigned char>(flag);
      map.held |= 1ULL << (key + i);
      if (i == 0) continue;
      map.keys.from[key + i] = static_cast<unsigned char>(at + scalar.from[i - 1]);
      map.keys.turned[key + i] = scalar.turned[i - 1];
    }
  }
  return map;
}

}  // namespace kv
