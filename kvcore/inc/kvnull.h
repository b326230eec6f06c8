// kvnull.h - the thirteen nullable scalars: a plain scalar together with a null flag.
//
//   KvNull_int answer;         // null
//   answer = 42;               // present
//   answer.value;              // 42; 0 while null
//   answer.SetNullValue();
//   answer < KvNull_int(-7);   // true: null orders before every value
//
// Each prints, scans, stores and compares as its scalar does, a null as the null print string. An
// empty text scans as null.
#pragma once

#include "_kvnulty.h"

using KvNull_char = KvNullable<o_char>;        // KvNULL_1B_T
using KvNull_uchar = KvNullable<o_u1b>;        // KvNULL_U1B_T
using KvNull_short = KvNullable<o_2b>;         // KvNULL_2B_T
using KvNull_ushort = KvNullable<o_u2b>;       // KvNULL_U2B_T
using KvNull_int = KvNullable<int>;            // KvNULL_INT_T
using KvNull_unsigned = KvNullable<unsigned>;  // KvNULL_UNSIGNED_T
using KvNull_long = KvNullable<o_4b>;          // KvNULL_4B_T; the same C++ type as KvNull_int
using KvNull_ulong = KvNullable<o_u4b>;        // KvNULL_U4B_T; the same C++ type as KvNull_unsigned
using KvNull_float = KvNullable<o_float>;      // KvNULL_FLOAT_T
using KvNull_double = KvNullable<o_double>;    // KvNULL_DOUBLE_T
using KvNull_KvInt64 = KvNullable<KvInt64>;    // KvNULL_KVINT64_T
using KvNull_8b = KvNullable<o_8b>;            // KvNULL_8B_T
using KvNull_u8b = KvNullable<o_u8b>;          // KvNULL_U8B_T

static_assert(sizeof(KvNull_char) == 2 && sizeof(KvNull_uchar) == 2);
static_assert(sizeof(KvNull_short) == 4 && sizeof(KvNull_ushort) == 4);
static_assert(sizeof(KvNull_int) == 8 && sizeof(KvNull_unsigned) == 8);
static_assert(sizeof(KvNull_long) == 8 && sizeof(KvNull_ulong) == 8);
static_assert(sizeof(KvNull_float) == 8 && sizeof(KvNull_double) == 16);
static_assert(sizeof(KvNull_KvInt64) == 12 && alignof(KvNull_KvInt64) == 4);
static_assert(sizeof(KvNull_8b) == 16 && sizeof(KvNull_u8b) == 16);
