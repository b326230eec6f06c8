// kvbase.h - what every header of the type manager builds on: the export mark, the scalar types
// under their catalogue names, and the status codes.
//
// The scalar names are "o_" and a width: o_2b is two bytes, signed; o_u4b four bytes, unsigned.
// Their widths never depend on the host: o_4b is 32 bits and o_8b 64 bits everywhere, whatever the
// compiler makes of `long`.
#pragma once

#include <climits>

// Marks what a shared library shows to its users. Everything else stays hidden.
#define KV_EXPORT __attribute__((visibility("default")))

// A plain `char` is a signed 8-bit number throughout: type ids, months, wildcard components (-1).
// Compile with -fsigned-char where the host disagrees.
static_assert(CHAR_MIN < 0, "compile with -fsigned-char");

using o_char = char;
using o_u1b = unsigned char;
using o_2b = short;
using o_u2b = unsigned short;
using o_4b = int;
using o_u4b = unsigned int;
using o_8b = long long;
using o_u8b = unsigned long long;
using o_float = float;
using o_double = double;

static_assert(sizeof(o_2b) == 2 && sizeof(o_4b) == 4 && sizeof(o_8b) == 8);
static_assert(sizeof(o_float) == 4 && sizeof(o_double) == 8);

namespace kv {

// What later standards of the language have of their own: programs in C++17 read these headers too.
template <class To, class From>
constexpr To BitCast(const From& from) {
  return __builtin_bit_cast(To, from);
}

}  // namespace kv

// Status codes. Operations return them as plain int and never throw.
inline constexpr int kvOk = 0;                // success
inline constexpr int kvNotSupported = -2999;  // not supported, or failed
inline constexpr int kvOverflow = 2091;       // stepping a value would pass its end
inline constexpr int kvBufferShort = 2101;    // an operand buffer ended before its run did
inline constexpr int kvBadArgument = -2002;   // no such code set or collation order
inline constexpr int kvListEnd = -2005;       // a list holds no further item
inline constexpr int kvNoTimeZone = -2171;    // the time zone is not known
