// zbs.h - base services: stored forms of the plain scalars, memory files, the clock, assertions,
// configuration, version compatibility and the low-memory handler. Library ZM140Zbs142.
//
// The handlers and the configuration are process-wide and meant to be set before threads start;
// nothing here locks.
#pragma once

#include "kvbase.h"

// ---------------------------------------------------------------------------------------------
// Scalar storage.
//
// Each function converts a run of `count` values between memory form and stored form. A stored
// scalar is its own bytes, in memory order or, when the low four bits of `format` are 2, each
// value's bytes reversed. Nothing else of `format` matters. The conversion is its own inverse, so
// one function serves both directions; `int` and `unsigned` have a load of their own.
// `destination` and `source` may be the same buffer but may not overlap otherwise.
//
// Result: the bytes converted, count x width. A count of 0 does nothing and returns 0.
//
//   o_4b values[2] = {1, 2};
//   unsigned char stored[8];
//   LongStore(stored, values, 2, 2);   // 00 00 00 01 00 00 00 02, returns 8

KV_EXPORT unsigned CharStore(void* destination, const void* source, unsigned char format,
                             unsigned count);
KV_EXPORT unsigned ShortStore(void* destination, const void* source, unsigned char format,
                              unsigned count);
KV_EXPORT unsigned LongStore(void* destination, const void* source, unsigned char format,
                             unsigned count);
KV_EXPORT unsigned IntStore(void* destination, const void* source, unsigned char format,
                            unsigned count);
KV_EXPORT unsigned UnsignedStore(void* destination, const void* source, unsigned char format,
                                 unsigned count);
KV_EXPORT unsigned FloatStore(void* destination, const void* source, unsigned char format,
                              unsigned count);
KV_EXPORT unsigned DoubleStore(void* destination, const void* source, unsigned char format,
                               unsigned count);
KV_EXPORT unsigned O_8BStore(void* destination, const void* source, unsigned char format,
                             unsigned count);
KV_EXPORT unsigned IntLoad(void* destination, const void* source, unsigned char format,
                           unsigned count);
KV_EXPORT unsigned UnsignedLoad(void* destination, const void* source, unsigned char format,
                                unsigned count);

// One value, without the set-up of a run. Result: its width.
KV_EXPORT unsigned ShortStoreOne(void* destination, const void* source, unsigned char format);
KV_EXPORT unsigned LongStoreOne(void* destination, const void* source, unsigned char format);
KV_EXPORT unsigned O_8BStoreOne(void* destination, const void* source, unsigned char format);

// Stored bytes of a run of values: count x width. `stored` is not read and may be null; `extra`
// and `format` do not matter.
KV_EXPORT unsigned CharSizeGet(const void* stored, unsigned char extra, unsigned char format,
                               unsigned count);
KV_EXPORT unsigned ShortSizeGet(const void* stored, unsigned char extra, unsigned char format,
                                unsigned count);
KV_EXPORT unsigned LongSizeGet(const void* stored, unsigned char extra, unsigned char format,
                               unsigned count);
KV_EXPORT unsigned IntSizeGet(const void* stored, unsigned char extra, unsigned char format,
                              unsigned count);
KV_EXPORT unsigned FloatSizeGet(const void* stored, unsigned char extra, unsigned char format,
                                unsigned count);
KV_EXPORT unsigned DoubleSizeGet(const void* stored, unsigned char extra, unsigned char format,
                                 unsigned count);
KV_EXPORT unsigned O_8BSizeGet(const void* stored, unsigned char extra, unsigned char format,
                               unsigned count);

// Stored bytes of a run of nulls. Plain scalars have no null, so a null takes what a value takes.
KV_EXPORT unsigned CharNullSizeGet(unsigned count);
KV_EXPORT unsigned ShortNullSizeGet(unsigned count);
KV_EXPORT unsigned LongNullSizeGet(unsigned count);
KV_EXPORT unsigned IntNullSizeGet(unsigned count);
KV_EXPORT unsigned FloatNullSizeGet(unsigned count);
KV_EXPORT unsigned DoubleNullSizeGet(unsigned count);
KV_EXPORT unsigned O_8BNullSizeGet(unsigned count);

// ---------------------------------------------------------------------------------------------
// MemFile: a read-only cursor over bytes that somebody else owns and keeps alive.
//
//   MemFile file(page, pageSize);
//   unsigned char header[2];
//   if (file.Read(header, 2) != 2) ...   // the page ends here

class KV_EXPORT MemFile {
 public:
  // `data` may be null when `size` is 0. The cursor starts at 0.
  MemFile(const void* data, unsigned size);

  // Copies up to `count` bytes from the cursor on and advances past them. Result: the bytes
  // copied, fewer than `count` only at the end of the file.
  unsigned Read(void* destination, unsigned count);

  // Puts the cursor at `position` bytes from the start. Result: 0, or kvBadArgument when the
  // position lies past the end, in which case the cursor stays.
  int Seek(unsigned position);

  unsigned Tell() const;
  unsigned Size() const;

 private:
  const unsigned char* data_;
  unsigned size_;
  unsigned position_;
};

// ---------------------------------------------------------------------------------------------
// Clock and time zone.

struct bdate {
  o_2b year;   // astronomical
  char month;  // 1 to 12
  char day;    // 1 to 31
};

struct btime {
  char hour;        // 0 to 23
  char minute;      // 0 to 59
  char second;      // 0 to 59; a leap second reads as 59
  char hundredth;   // 0 to 99
  o_4b zoneOffset;  // seconds east of Greenwich; 0 where the zone is not known
};

struct bhirestime {
  bdate date;
  btime time;
  o_4b nanosecond;  // 0 to 999999999
};

// Local date and local time of day.
KV_EXPORT void bksgetdate(bdate& date);
KV_EXPORT void bksgettime(btime& time);

// Date and time of day in UTC; zoneOffset is 0.
KV_EXPORT void bksgetsystemtime(btime& time, bdate& date);

// Local and UTC date, time of day and nanoseconds, read from the clock in one go.
KV_EXPORT void bksGetHiresTime(bhirestime& now);
KV_EXPORT void bksGetHiresTimeUTC(bhirestime& now);

// The present offset of local time in minutes, positive east of Greenwich, or kvNoTimeZone when
// it is not known. It comes from the C library, so the environment variable TZ governs it, unless
// the host has set a source of its own.
KV_EXPORT int bksgettimezone();

// Replaces where bksgettimezone (and so every conversion between local time and UTC) gets its
// answer. Null restores the C library. Result: the previous source, null for the C library.
KV_EXPORT int (*KvSetTimeZoneSource(int (*source)()))();

// ---------------------------------------------------------------------------------------------
// Assertions and low memory.

// Reports a failed internal check: its text, the source it stands in and a line number. Calls the
// handler and returns when the handler does; the caller goes on with a defined result.
KV_EXPORT void KIVO_assert(const char* text, const char* source, int line);

// Replaces the handler of KIVO_assert. Null restores the default, which writes one line to stderr
// and returns. Result: the previous handler, null for the default.
using KvAssertHandler = void (*)(const char* text, const char* source, int line);
KV_EXPORT KvAssertHandler KIVO_SetAssertHandler(KvAssertHandler handler);

// Called with the size asked for when an allocation has failed and before the caller gives up.
KV_EXPORT void KvCallMemoryHandler(unsigned size);

// How often this thread has called KvCallMemoryHandler, modulo 2^32. Two looks that differ tell
// that something between them ran short of memory, whatever came of it.
KV_EXPORT unsigned KvLowMemoryCount();

// Replaces what KvCallMemoryHandler calls. Null restores the default, which does nothing. Result:
// the previous handler, null for the default.
using KvMemoryHandler = void (*)(unsigned size);
KV_EXPORT KvMemoryHandler KvSetMemoryHandler(KvMemoryHandler handler);

// ---------------------------------------------------------------------------------------------
// Configuration: 16-bit values by section and name, case matters.
//
// The type manager reads one: "stringOverflow" of section "debug" (default 0). Non-zero makes a
// KvString edit that had to be cut at the string limit call KIVO_assert.

class KV_EXPORT KvConfig {
 public:
  // Result: 0, or kvNotSupported when the name does not fit (section and name together take at
  // most 62 characters) or the table is full (32 values).
  int SetValue(const char* section, const char* name, unsigned short value);

  unsigned short GetValue(const char* section, const char* name, unsigned short fallback) const;

 private:
  struct Entry {
    char key[64];
    unsigned short value;
  };
  static constexpr unsigned kCapacity = 32;
  Entry entries_[kCapacity] = {};
  unsigned count_ = 0;
};

KV_EXPORT KvConfig& DefaultConfig();

// ---------------------------------------------------------------------------------------------
// Version compatibility.

// Tells whether a module of the given version fits this release (14.0.1.57.0). Result: 0 when it
// does, kvNotSupported when it does not. `flags` says how strict to be: bit 0 asks for the same
// major and minor number, bit 1 for a release that is not newer than this library's, bit 2 for a
// build that is not newer. A different major number never fits.
KV_EXPORT int CheckKvVersionNumber(unsigned major, unsigned minor, unsigned release, unsigned build,
                                   unsigned patch, int flags);
