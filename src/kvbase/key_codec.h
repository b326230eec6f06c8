// Numbers as key bytes: most significant byte first, and the sign bit turned where there is one, so
// that memcmp orders them as numbers. A key codec writes and reads the key of one value of a fixed
// row; docs/sort-keys.md draws what they write. Keys live in indexes for good: nothing here
// changes.
//
//   MemberKey<Codec<KvDate, At<&KvDate::year>, At<&KvDate::month>, At<&KvDate::day>>>
//   2024-02-29  ->  87E8 82 9D
//
// A key codec has
//   Value               the type in memory form
//   Members             its members in the order of the key, as a codec's list (kvbase/key_run.h)
//   kWidth              bytes of a key
//   Write(key, value)   Read(key) -> value
// and, when the row has a null,
//   kNullWidth          so many leading bytes tell a null
//   kNullPlace          the number that they then are, with the most significant byte first
#pragma once

#include <bit>
#include <concepts>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>

#include "kvbase.h"
#include "kvbase/codec.h"
#include "kvbase/unit.h"
#include "zbshost.h"

namespace kv {

// Most significant byte first, whatever the host's order is.
template <std::unsigned_integral Word>
inline void PutWord(unsigned char* key, Word word) {
  if constexpr (!kHostIsBig) word = Reversed(word);
  std::memcpy(key, &word, sizeof word);
}

template <std::unsigned_integral Word>
inline Word GetWord(const unsigned char* key) {
  return ReadUnit<Word>(key, !kHostIsBig);
}

// A whole number.
template <std::integral T>
struct NumberKey {
  using Value = T;
  using Members = ScalarCodec<T>;
  using Word = typename UnsignedOf<sizeof(T)>::Type;
  static constexpr unsigned kWidth = sizeof(T);
  static constexpr Word kTurned =
      std::is_signed_v<T> ? static_cast<Word>(Word{1} << (8 * sizeof(T) - 1)) : Word{0};

  static void Write(unsigned char* key, T value) {
    PutWord(key, static_cast<Word>(static_cast<Word>(value) ^ kTurned));
  }
  static T Read(const unsigned char* key) {
    return static_cast<T>(static_cast<Word>(GetWord<Word>(key) ^ kTurned));
  }
};

// A floating-point number: negative ones complemented, the sign bit set on the others. All NaNs are
// zeros, which no number is: that of -infinity is 007FFFFF. Both zeros are +0.
template <std::floating_point T>
struct FloatingKey {
  using Value = T;
  using Members = ScalarCodec<T>;
  using Word = typename UnsignedOf<sizeof(T)>::Type;
  static constexpr unsigned kWidth = sizeof(T);
  static constexpr Word kSign = Word{1} << (8 * sizeof(T) - 1);

  static void Write(unsigned char* key, T value) {
    const Word bits = std::bit_cast<Word>(value);
    const bool isNan = (bits & ~kSign) > std::bit_cast<Word>(std::numeric_limits<T>::infinity());
    const Word word = bits > kSign ? ~bits : bits | kSign;
    PutWord(key, isNan ? Word{0} : word);
  }
  static T Read(const unsigned char* key) {
    const Word word = GetWord<Word>(key);
    // What the text NaN reads as.
    if (word == 0) return std::bit_cast<T>(~Word{0} << (std::numeric_limits<T>::digits - 2));
    return std::bit_cast<T>((word & kSign) != 0 ? word & ~kSign : ~word);
  }
};

// Bytes that order as they are.
template <class T>
struct BytesKey {
  using Value = T;
  static constexpr unsigned kWidth = sizeof(T);

  static void Write(unsigned char* key, const T& bytes) { std::memcpy(key, &bytes, kWidth); }
  static void Read(T& bytes, const unsigned char* key) { std::memcpy(&bytes, key, kWidth); }
};

template <class T>
struct KeyOfMember : BytesKey<T> {};
template <std::integral T>
struct KeyOfMember<T> : NumberKey<T> {};
template <std::floating_point T>
struct KeyOfMember<T> : FloatingKey<T> {};

// The members of a codec's list one after the other, each by its own width and kind.
template <class List>
struct MemberKey;

template <class T, class... Entries>
struct MemberKey<Codec<T, Entries...>> {
  using Value = T;
  using Members = Codec<T, Entries...>;
  template <class Entry>
  using KeyOf = KeyOfMember<std::remove_cvref_t<decltype(Entry::In(std::declval<T&>()))>>;
  static constexpr unsigned kWidth = (KeyOf<Entries>::kWidth + ... + 0u);

  static void Write(unsigned char* key, const T& value) {
    ((KeyOf<Entries>::Write(key, Entries::In(value)), key += KeyOf<Entries>::kWidth), ...);
  }
  // Members that the key leaves out are zero.
  static T Read(const unsigned char* key) {
    T value = Codec<T, Entries...>::Blank();
    ((ReadMember<KeyOf<Entries>>(Entries::In(value), key), key += KeyOf<Entries>::kWidth), ...);
    return value;
  }

 private:
  template <class Key, class Held>
  static void ReadMember(Held& member, const unsigned char* key) {
    if constexpr (std::is_arithmetic_v<Held>) {
      member = Key::Read(key);
    } else {
      Key::Read(member, key);
    }
  }
};

}  // namespace kv
