// kvcompare.h - the exported comparers, one for each way of ordering a catalogue row.
//
// All follow one contract, that of the compare slot (KvCompareFunc in kvtypemgr.h):
//
//   format     format of both runs; only the low four bits count. 8 is the memory form, and the
//              plain scalars read 1 in place as well; 2 is reversed; any other code is memory order
//   length1/2  bytes of the two buffers; 0 means exactly `count` elements
//   cmpOp      compare options: dates honour kvCompareExact (0x10, no wildcards), strings all
//              collation options of kvcollate.h; numbers ignore it
//   count      elements to compare; 0 gives order 0 and touches nothing
//   status     receives 0, or kvBufferShort when a buffer ends before the run does; never the order
//
// The return value is the order: -1, 0 or +1 (KvBlob: -2 or +2 when one side is null; KvSeal: the
// first difference; only its sign is to be relied upon). A run compares as its first
// unequal element does.
//
//   o_2b a[3] = {1, 2, 3}, b[3] = {1, 2, 4};
//   int status;
//   ShortCompare(8, 0, a, 0, b, kvCompareExact, 3, status);   // -1, status 0
//   ShortCompare(8, 4, a, 0, b, kvCompareExact, 3, status);   // 0, status 2101: two elements in a
//
// Sorting, maps and indexes need kvCompareExact. Under operation 0 a component of -1 matches any
// other, so that a date without a day is equal to two dates that are not equal to each other: no
// order. A std::map by such a comparison holds some keys twice and does not find others: of 39
// dates it found 31 (docs/using.md has the program). Operation 0 is for asking whether a value
// matches a pattern.
//
// Floating-point order: NaN, -infinity, every finite value, +infinity; NaNs are equal to each
// other and -0.0 equals +0.0.
#pragma once

#include "kvbase.h"

KV_EXPORT int BooleanCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                             void* value2, unsigned short cmpOp, unsigned count, int& status);
KV_EXPORT int ByteCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                          void* value2, unsigned short cmpOp, unsigned count, int& status);
KV_EXPORT int CharCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                          void* value2, unsigned short cmpOp, unsigned count, int& status);
KV_EXPORT int ShortCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                           void* value2, unsigned short cmpOp, unsigned count, int& status);
KV_EXPORT int WordCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                          void* value2, unsigned short cmpOp, unsigned count, int& status);
KV_EXPORT int LongCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                          void* value2, unsigned short cmpOp, unsigned count, int& status);
KV_EXPORT int DwordCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                           void* value2, unsigned short cmpOp, unsigned count, int& status);
KV_EXPORT int IntCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                         void* value2, unsigned short cmpOp, unsigned count, int& status);
KV_EXPORT int UnsignedCompare(unsigned char format, unsigned length1, void* value1,
                              unsigned length2, void* value2, unsigned short cmpOp, unsigned count,
                              int& status);
KV_EXPORT int O_8BCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                          void* value2, unsigned short cmpOp, unsigned count, int& status);
KV_EXPORT int O_U8BCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                           void* value2, unsigned short cmpOp, unsigned count, int& status);
KV_EXPORT int Int64Compare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                           void* value2, unsigned short cmpOp, unsigned count, int& status);
KV_EXPORT int FloatCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                           void* value2, unsigned short cmpOp, unsigned count, int& status);
KV_EXPORT int DoubleCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                            void* value2, unsigned short cmpOp, unsigned count, int& status);
KV_EXPORT int KvDateCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                            void* value2, unsigned short cmpOp, unsigned count, int& status);
KV_EXPORT int KvTimeCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                            void* value2, unsigned short cmpOp, unsigned count, int& status);
KV_EXPORT int d_DateCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                            void* value2, unsigned short cmpOp, unsigned count, int& status);
KV_EXPORT int d_TimeCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                            void* value2, unsigned short cmpOp, unsigned count, int& status);
KV_EXPORT int d_TimestampCompare(unsigned char format, unsigned length1, void* value1,
                                 unsigned length2, void* value2, unsigned short cmpOp,
                                 unsigned count, int& status);
KV_EXPORT int StringCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                            void* value2, unsigned short cmpOp, unsigned count, int& status);
KV_EXPORT int KvIStringCompare(unsigned char format, unsigned length1, void* value1,
                               unsigned length2, void* value2, unsigned short cmpOp, unsigned count,
                               int& status);
KV_EXPORT int KvCaseIStringCompare(unsigned char format, unsigned length1, void* value1,
                                   unsigned length2, void* value2, unsigned short cmpOp,
                                   unsigned count, int& status);
KV_EXPORT int BlobCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                          void* value2, unsigned short cmpOp, unsigned count, int& status);
