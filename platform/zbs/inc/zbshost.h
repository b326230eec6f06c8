// zbshost.h - the byte order of the host, known here and nowhere else. Installed because values of
// two words (kvint64.h) are read in one piece; of no use to applications.
//
// Stored bytes do not depend on the host: under byte-order code 2 a stored field is most
// significant byte first, under every other code least significant byte first. The memory form is
// the host's own, so the host decides which of the two is the other way round than memory:
//
//   o_4b 0x01020304             code 2        every other code
//   stored                      01 02 03 04   04 03 02 01
//   little-endian host          swapped       as in memory
//   big-endian host             as in memory  swapped
#pragma once

namespace kv {

#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
inline constexpr bool kHostIsBig = true;
#elif defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
inline constexpr bool kHostIsBig = false;
#else
#error "The byte order of this host is not known: neither little- nor big-endian."
#endif

// Byte-order codes: the one that puts the most significant byte first, and one of the others.
inline constexpr unsigned char kMostSignificantFirst = 2;
inline constexpr unsigned char kLeastSignificantFirst = 0;

// The code of stored bytes that lie as in memory, and of those that lie the other way round.
inline constexpr unsigned char kAsInMemory =
    kHostIsBig ? kMostSignificantFirst : kLeastSignificantFirst;
inline constexpr unsigned char kSwapped =
    kHostIsBig ? kLeastSignificantFirst : kMostSignificantFirst;

// Whether the fields of a stored form lie the other way round than in memory. The code is the low
// four bits of a format byte.
constexpr bool IsSwapped(unsigned char format) {
  return ((format & 0x0F) == kMostSignificantFirst) != kHostIsBig;
}

}  // namespace kv
