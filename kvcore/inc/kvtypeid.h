// kvtypeid.h - the type ids: a signed 8-bit number for each of the 47 value types.
//
// These numbers are stored in schemas and never change. An id below 47 is its own catalogue row;
// ids 100 to 127 are accepted and all mean the "illegal" row; 47 to 99 name nothing.
#pragma once

#include "kvbase.h"

inline constexpr char Kv1B_T = 0;
inline constexpr char Kv2B_T = 1;
inline constexpr char Kv4B_T = 2;
inline constexpr char KvDOUBLE_T = 3;
inline constexpr char KvFLOAT_T = 4;
inline constexpr char KvU2B_T = 5;
inline constexpr char KvU4B_T = 6;
inline constexpr char KvINT_T = 7;
inline constexpr char KvUNSIGNED_T = 8;
inline constexpr char KvENUM_T = 9;
inline constexpr char KvU1B_T = 10;
inline constexpr char KvSTRING_T = 11;
inline constexpr char KvDATE_T = 12;
inline constexpr char KvTIME_T = 13;
inline constexpr char KvBLOCKID_T = 14;
inline constexpr char KvOBJID_T = 15;
inline constexpr char KvCLID_T = 16;
inline constexpr char KvREF_T = 17;
inline constexpr char KvBLOB_T = 18;
inline constexpr char KvDATIME_T = 19;
inline constexpr char KvISTRING_T = 20;
inline constexpr char KvCASEISTRING_T = 21;
inline constexpr char D_DATE_T = 22;
inline constexpr char D_TIME_T = 23;
inline constexpr char D_TIMESTAMP_T = 24;
inline constexpr char D_INTERVAL_T = 25;
inline constexpr char KvINT64_T = 26;
inline constexpr char KvBOOLEAN_T = 27;
inline constexpr char KvNULL_1B_T = 28;
inline constexpr char KvNULL_U1B_T = 29;
inline constexpr char KvNULL_2B_T = 30;
inline constexpr char KvNULL_U2B_T = 31;
inline constexpr char KvNULL_INT_T = 32;
inline constexpr char KvNULL_UNSIGNED_T = 33;
inline constexpr char KvNULL_4B_T = 34;
inline constexpr char KvNULL_U4B_T = 35;
inline constexpr char KvNULL_FLOAT_T = 36;
inline constexpr char KvNULL_DOUBLE_T = 37;
inline constexpr char KvNULL_KVINT64_T = 38;
inline constexpr char KvSEAL_T = 39;
inline constexpr char KvDATIME_N_T = 40;
inline constexpr char KvTIMESPAN_T = 41;
inline constexpr char Kv8B_T = 42;
inline constexpr char KvU8B_T = 43;
inline constexpr char KvNULL_8B_T = 44;
inline constexpr char KvNULL_U8B_T = 45;
inline constexpr char KvRES_T = 46;
