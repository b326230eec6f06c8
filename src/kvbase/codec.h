// How one element is read from and written to each form. A codec lists the members of a type in
// stored order; the stored form is these members packed, and everything about it follows from the
// list and the members' own types: places, widths, signs, the order of two values.
//
//   struct KvObjId { o_u4b block; o_u4b low; o_u2b high; };          memory: 4 4 2 and 2 of padding
//   Codec<KvObjId, At<&KvObjId::block>, At<&KvObjId::low>, At<&KvObjId::high>>      stored: 4 4 2
//
// At<> is the value itself, At<&KvDateTime::date, &KvDate::year> a member of a member. Member order
// never depends on the byte order; only the bytes within a member do.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#include "kvbase/format.h"
#include "kvbase/three_way.h"
#include "kvbase/unit.h"

namespace kv {

enum class ByteOrder : unsigned char {
  kOfFormat,      // least significant byte first, or reversed under byte-order code 2
  kHighestFirst,  // most significant byte first whatever the format says
  kAsItIs         // bytes that are never turned, any number of them
};

enum class MemberKind : unsigned char { kUnsigned, kSigned, kFloating, kBytes };

// A member as Codec::ForEachMember gives it.
struct Member {
  unsigned offset;  // in the memory form
  unsigned width;   // in both forms
  MemberKind kind;
  ByteOrder order;

  // Whether the stored bytes run the other way round than in memory. `reversed` says so of those
  // that go by the format (Format::IsReversed).
  constexpr bool IsTurned(bool reversed) const {
    return order == ByteOrder::kHighestFirst ? !kHostIsBig
                                             : order == ByteOrder::kOfFormat && reversed;
  }
  constexpr bool IsHighestFirst(bool reversed) const { return IsTurned(reversed) != kHostIsBig; }
};

template <class T>
constexpr T& Follow(T& value) {
  return value;
}
template <class T, class Pointer, class... Rest>
constexpr auto& Follow(T& value, Pointer pointer, Rest... rest) {
  return Follow(value.*pointer, rest...);
}

// The entries of a codec's list: pointers to members, from the value inwards.
template <ByteOrder byteOrder, auto... path>
struct MemberAt {
  static constexpr ByteOrder kByteOrder = byteOrder;

  template <class T>
  static constexpr auto& In(T& value) {
    return Follow(value, path...);
  }
};
template <auto... path>
using At = MemberAt<ByteOrder::kOfFormat, path...>;
template <auto... path>
using HighestFirst = MemberAt<ByteOrder::kHighestFirst, path...>;
template <auto... path>
using AsItIs = MemberAt<ByteOrder::kAsItIs, path...>;

template <class T>
constexpr MemberKind KindOf() {
  if constexpr (std::is_enum_v<T>) return KindOf<std::underlying_type_t<T>>();
  if (std::is_floating_point_v<T>) return MemberKind::kFloating;
  if (!std::is_integral_v<T>) return MemberKind::kBytes;
  return std::is_signed_v<T> ? MemberKind::kSigned : MemberKind::kUnsigned;
}

// The member in the memory form of T: in a value whose bytes are 0, 1, 2 and so on its first byte
// is its offset. That needs a T that constant expressions can hold; a member that is all of its
// type needs no looking for.
template <class T, class Entry>
constexpr Member DescribeMember() {
  using Held = std::remove_cvref_t<decltype(Entry::In(std::declval<T&>()))>;
  Member member{0, sizeof(Held), KindOf<Held>(), Entry::kByteOrder};
  if constexpr (sizeof(Held) != sizeof(T)) {
    static_assert(sizeof(T) <= 256);
    std::array<unsigned char, sizeof(T)> ramp{};
    for (unsigned i = 0; i < sizeof(T); ++i) ramp[i] = static_cast<unsigned char>(i);
    const T value = std::bit_cast<T>(ramp);
    member.offset =
        std::bit_cast<std::array<unsigned char, sizeof(Held)>>(Entry::In(value)).front();
  }
  return member;
}

constexpr bool CanBeStored(Member member) {
  if (member.order == ByteOrder::kAsItIs) return true;
  return member.kind != MemberKind::kBytes && std::has_single_bit(member.width) &&
         member.width <= 8;
}

// One number from form to form.
template <unsigned width>
inline void CopyNumber(unsigned char* destination, const unsigned char* source, bool turned) {
  if (turned) {
    const auto word = ReadUnit<typename UnsignedOf<width>::Type>(source, true);
    std::memcpy(destination, &word, width);
  } else {
    std::memcpy(destination, source, width);
  }
}

template <Member member>
inline void CopyMember(unsigned char* destination, const unsigned char* source, bool reversed) {
  if constexpr (member.order == ByteOrder::kAsItIs) {
    std::memcpy(destination, source, member.width);
  } else {
    CopyNumber<member.width>(destination, source, member.IsTurned(reversed));
  }
}

// Each moves the stored place on.
template <Member member>
inline void LoadMember(unsigned char* value, const unsigned char*& stored, bool reversed) {
  CopyMember<member>(value + member.offset, stored, reversed);
  stored += member.width;
}
template <Member member>
inline void StoreMember(unsigned char*& stored, const unsigned char* value, bool reversed) {
  CopyMember<member>(stored, value + member.offset, reversed);
  stored += member.width;
}

template <class T, class... Members>
struct Codec {
  static_assert(std::is_trivially_copyable_v<T>);
  static_assert((CanBeStored(DescribeMember<T, Members>()) && ...),
                "a member is a number of 1, 2, 4 or 8 bytes, or bytes that are never turned");
  using Value = T;

  static constexpr unsigned kMemoryWidth = sizeof(T);
  static constexpr unsigned kStoredWidth = (DescribeMember<T, Members>().width + ... + 0u);

  // Calls `visit` with each member in stored order, as a constant: what it is given has a static
  // `value` of type Member.
  template <class Visit>
  static constexpr void ForEachMember(Visit visit) {
    (visit(std::integral_constant<Member, DescribeMember<T, Members>()>{}), ...);
  }

  // The stored form in that byte order is the memory form, byte for byte.
  static constexpr bool HasSameLayout(bool reversed) {
    unsigned packed = 0;
    bool same = true;
    ForEachMember([&](auto constant) {
      constexpr Member member = decltype(constant)::value;
      const bool isTurned = member.width != 1 && member.IsTurned(reversed);
      same = same && member.offset == packed && !isTurned;
      packed += member.width;
    });
    return same && packed == sizeof(T);
  }

  // Whether stored values order as their bytes do, compared as memcmp does: no signs, and the most
  // significant byte of each number first.
  static constexpr bool OrdersAsBytes(bool reversed) {
    bool asBytes = true;
    ForEachMember([&](auto constant) {
      constexpr Member member = decltype(constant)::value;
      const bool unsignedBytes = member.kind == MemberKind::kUnsigned &&
                                 (member.width == 1 || member.IsHighestFirst(reversed));
      asBytes = asBytes && (member.kind == MemberKind::kBytes || unsignedBytes);
    });
    return asBytes;
  }

  // The order that follows from the list: member by member, each as the number that it is.
  static int Order(const T& a, const T& b) {
    int order = 0;
    (void)(... || ((order = OrderMembers(Members::In(a), Members::In(b))) != 0));
    return order;
  }

  // Bytes from one element to the next.
  static constexpr unsigned Stride(Format format) {
    return format.IsMemory() ? kMemoryWidth : kStoredWidth;
  }

  // A value of all-zero bytes to read into. Not T(): the default constructors of the date types
  // read the clock.
  static constexpr T Blank() { return std::bit_cast<T>(std::array<unsigned char, sizeof(T)>{}); }

  // Members that the list leaves out keep what `value` held.
  static void Load(T& value, const unsigned char* stored, bool reversed) {
    auto* memory = reinterpret_cast<unsigned char*>(&value);
    (LoadMember<DescribeMember<T, Members>()>(memory, stored, reversed), ...);
  }

  static void Store(unsigned char* stored, const T& value, bool reversed) {
    auto* memory = reinterpret_cast<const unsigned char*>(&value);
    (StoreMember<DescribeMember<T, Members>()>(stored, memory, reversed), ...);
  }

  // The element at `at`, which holds either form and need not be aligned. Members that the stored
  // form leaves out are zero.
  static T Read(const unsigned char* at, Format format) {
    T value = Blank();
    if (format.IsMemory()) {
      std::memcpy(static_cast<void*>(&value), at, sizeof(T));
    } else {
      Load(value, at, format.IsReversed());
    }
    return value;
  }

  // Load, and what is between the members becomes zero. The stored bytes are all read before
  // anything is written, which may be in their place, and written member by member: a wide read of
  // what narrow writes just made would wait for them.
  static void LoadWhole(T& destination, const unsigned char* stored, bool reversed) {
    T value = Blank();
    Load(value, stored, reversed);
    auto* to = reinterpret_cast<unsigned char*>(&destination);
    const auto* from = reinterpret_cast<const unsigned char*>(&value);
    if constexpr (kStoredWidth != kMemoryWidth) std::memset(to, 0, sizeof(T));
    ForEachMember([&](auto constant) {
      constexpr Member member = decltype(constant)::value;
      std::memcpy(to + member.offset, from + member.offset, member.width);
    });
  }

 private:
  template <class Held>
  static int OrderMembers(const Held& a, const Held& b) {
    if constexpr (KindOf<Held>() == MemberKind::kBytes) {
      return ThreeWay(std::memcmp(&a, &b, sizeof(Held)), 0);
    } else if constexpr (KindOf<Held>() == MemberKind::kFloating) {
      return FloatingOrder(a, b);
    } else {
      return ThreeWay(a, b);
    }
  }
};

// A plain scalar: the same in memory and stored in memory order.
template <class T>
using ScalarCodec = Codec<T, At<>>;

}  // namespace kv
