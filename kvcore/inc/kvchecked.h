// kvchecked.h - the doors for what strangers wrote: stored bytes, texts, type ids and names.
//
// KvTypeMgr trusts its arguments: it follows every length field of stored bytes, indexes its
// catalogue with any id, and a scan says nothing of what it could not read. The functions here take
// arguments that nobody has checked. They read and write nothing outside the buffers that they are
// given, and answer with a status, and where it helps with the place of the fault.
//
//   KvTypeMgr& types = *DefaultTypeMgr(nullptr);
//   char id;
//   if (KvFindType(types, "KvString", id) != kvOk) ...
//
//   // Bytes from a file: how many values are there, and are they sound?
//   KvMeasured run = KvMeasureStored(types, id, bytes, size, 0, 0);
//   if (run.status != kvOk) printf("%s at byte %zu", run.reason, run.offset);
//   KvString text;
//   KvLoadChecked(types, id, &text, bytes, size, 0, 1);
//
//   // A text from a form: is it a date, the whole of it, and one that there is?
//   KvDate date;
//   KvScanned read = KvScanChecked(types, KvDATE_T, &date, "2023-02-29", "%Y-%m-%d");
//   // read.status is kvOutOfRange, and date is what it was
//
// Two formats have a meaning here: 2 in the low four bits for stored bytes that are reversed, any
// other for memory order. A format with bit 0x08, which names the memory form, is kvBadArgument:
// C++ objects cannot be checked.
//
// A type id that the manager's catalogue does not have (47 to 99, negative ones, and beyond 27 in
// the old catalogue) is kvNoSuchType. The illegal type (46, 100 to 127) has no values:
// kvNotSupported.
//
// Threads: everything is read only, and safe to call side by side on values of one's own.
#pragma once

#include <cstddef>
#include <string_view>

#include "kvstring.h"
#include "kvtypemgr.h"

// Statuses besides those of kvbase.h.
inline constexpr int kvNoSuchType = -3001;   // the catalogue has no type of that id or name
inline constexpr int kvDamaged = -3002;      // stored bytes break a rule of their layout
inline constexpr int kvMismatch = -3003;     // a text does not go on as its format asks
inline constexpr int kvTextLeft = -3004;     // a text goes on behind the value that was read
inline constexpr int kvOutOfRange = -3005;   // more than the type holds, or no such day or hour
inline constexpr int kvNothingRead = -3006;  // there is no value in a text
inline constexpr int kvNoMemory = -3007;     // memory was short

// The name of a status, "kvBufferShort", and a few words on it, "the buffer ends too soon", both
// static texts. A number that is no status: "unknown status".
KV_EXPORT const char* KvStatusName(int status);
KV_EXPORT const char* KvStatusText(int status);

// ---------------------------------------------------------------------------------------------
// Types

// kvOk for a type that has values, kvNotSupported for the illegal one, else kvNoSuchType.
KV_EXPORT int KvCheckType(const KvTypeMgr& types, char id);

// Finds a type by either of its names, "o_4b" or "Kv4B_T"; case matters. kvOk with `id` set, or
// kvNoSuchType with `id` unchanged. The illegal type is found by its names too.
KV_EXPORT int KvFindType(const KvTypeMgr& types, std::string_view name, char& id);

// ---------------------------------------------------------------------------------------------
// Stored bytes in

// What a measuring came to.
struct KvMeasured {
  // kvOk        the bytes are a sound run of `count` values, which Load and Cmp may be given
  // kvBufferShort  they end before the run does: the field at `offset` takes `needed` bytes
  // kvDamaged   a field at `offset` breaks a rule of the layout, which `reason` names
  // kvNoSuchType, kvNotSupported, kvBadArgument  the question was wrong
  // kvNoMemory  from KvLoadChecked only
  int status = kvOk;
  unsigned count = 0;       // sound values from the front on
  std::size_t bytes = 0;    // what those take: where the next run begins, when status is kvOk
  std::size_t offset = 0;   // of the fault
  std::size_t needed = 0;   // by the field that the bytes end in
  const char* reason = "";  // "a block that does not end in its mark"; never null
  bool oldForm = false;     // a block of strings as the old catalogue writes them (kvstorage.h)
  // Values of date and time types that no calendar or clock has, as a month 13: they are told, not
  // refused, for Load and Cmp take them. Wildcards and nulls are not among them.
  unsigned strange = 0;
  std::size_t firstStrange = 0;  // offset of the first
};

// Measures the run of `count` values at the front of the `length` bytes at `stored`; bytes behind
// it do not matter. `count` 0 takes as many as there are, at least one, and then bytes behind the
// last are kvDamaged.
//
//   const unsigned char day[] = {0xE8, 0x07, 13, 29};
//   KvMeasureStored(types, KvDATE_T, day, 4, 0, 1);   // status kvOk, strange 1
//   KvMeasureStored(types, KvDATE_T, day, 3, 0, 1);   // kvBufferShort, offset 0, needed 4
//
// A block of strings in the old form ends in a zero byte, where one in the present form has the
// mark FF. A present one whose mark became zero is known by the number of its texts when `count` is
// given: an old block holds just as many as its run has values. So give the count where it is
// known.
KV_EXPORT KvMeasured KvMeasureStored(const KvTypeMgr& types, char id, const void* stored,
                                     std::size_t length, unsigned char format, unsigned count);

// Measures, and loads what is sound over the `count` constructed values at `values`; otherwise they
// stay as they are, except when memory is short for all of them. Strange values are loaded and not
// counted. `count` 0 loads nothing.
KV_EXPORT KvMeasured KvLoadChecked(const KvTypeMgr& types, char id, void* values,
                                   const void* stored, std::size_t length, unsigned char format,
                                   unsigned count);

// A total order of stored values, for the comparator of an index whose keys may be damaged: -1, 0
// or 1. Each side is one value, exactly `length` bytes. Sound values come first, in the order of
// Cmp with kvCompareExact, and values that are equal there by their bytes, so that only equal bytes
// are equal. What is not sound comes after, by its bytes. A type without values orders all by
// bytes.
KV_EXPORT int KvOrderStored(const KvTypeMgr& types, char id, const void* stored1,
                            std::size_t length1, const void* stored2, std::size_t length2,
                            unsigned char format);

// ---------------------------------------------------------------------------------------------
// Stored bytes out

struct KvStored {
  int status = kvOk;
  std::size_t bytes = 0;  // written, or what the run takes when it was not written
};

// The stored bytes of `count` values in memory form, which is asked for nowhere else. A run that
// its stored form cannot hold is kvOutOfRange: 4 GiB and more, or 64 KiB in the old form of
// strings.
KV_EXPORT KvStored KvStoredSize(const KvTypeMgr& types, char id, const void* values,
                                unsigned count);

// Stores `count` values into a buffer of `room` bytes. kvBufferShort when they take more: nothing
// is written, and `bytes` says how many they take.
KV_EXPORT KvStored KvStoreChecked(const KvTypeMgr& types, char id, void* destination,
                                  std::size_t room, const void* values, unsigned char format,
                                  unsigned count);

// ---------------------------------------------------------------------------------------------
// Text out

// What a print came to.
struct KvPrinted {
  // kvOk            the text is in the buffer
  // kvBufferShort   the text takes `length` bytes, and there is not so much room: nothing is
  // written kvNoSuchType, kvNotSupported, kvBadArgument, kvNoMemory: nothing is written
  int status = kvOk;
  std::size_t length = 0;  // of the text in bytes
};

// Prints one value into a buffer of `room` bytes, in UTF-8 and without a terminator: what
// PrintToKvString prints by `format`, null for the row's own. Nothing is written but the text, and
// that only when it fits as a whole. With `room` 0 `text` may be null, to ask for the length. A
// null `value`, or a null `text` that has room, is kvBadArgument; a format that does not parse
// prints by the row's own, as there.
//
// The numbers of two bytes and more go there straight from their digits with the row's own format,
// no memory being asked for; whatever else a row prints is printed into a string first. 24 bytes
// hold any number in its row's own format.
//
//   char text[24];
//   const KvPrinted done = KvPrintChecked(types, KvDOUBLE_T, text, sizeof text, &value, nullptr);
//   if (done.status == kvOk) out.write(text, done.length);                   // 1234.5
//   KvPrintChecked(types, KvDATE_T, text, 9, &date, "%Y-%m-%d");              // kvBufferShort, 10
KV_EXPORT KvPrinted KvPrintChecked(const KvTypeMgr& types, char id, char* text, std::size_t room,
                                   const void* value, const char* format);

// ---------------------------------------------------------------------------------------------
// Text in

// What a scan came to.
struct KvScanned {
  // kvOk           the value was read, and only blanks stand behind it
  // kvTextLeft     the value was read; the text goes on at `position`
  // kvNothingRead  the text is empty or blank, and the type has no value that prints so
  // kvMismatch     at `position` stands what the format does not ask for
  // kvOutOfRange   the number before `position` does not fit the type, or the text names a day or
  //                an hour that there is not; for 8-bit strings, the character at `position` has
  //                no place in their code set
  // kvNotSupported the type has no values, or its scan function was exchanged for one that says
  //                nothing of what it reads
  // kvNoSuchType, kvBadArgument, kvNoMemory
  int status = kvOk;
  unsigned position = 0;  // in characters of the text; its length where all was read

  bool IsValue() const { return status == kvOk || status == kvTextLeft; }
};

// Reads one value from `text` by `format`, null for the row's own. The value is set for kvOk and
// kvTextLeft and stays as it was otherwise. It reads what ScanFromKvString reads, and refuses what
// that takes silently: numbers that saturate or wrap, words that are none, rests of a text.
// The null print string is the null value of a type that has one. A character row reads one
// character, or a byte as 0x and two hex digits, as it prints it.
//
//   KvScanChecked(types, KvDATE_T, &date, "garbage", "%Y-%m-%d");            // kvMismatch at 0
//   KvScanChecked(types, KvDATE_T, &date, "2024-02-29 garbage", "%Y-%m-%d"); // kvTextLeft at 10
//   KvScanChecked(types, Kv4B_T, &number, "99999999999", nullptr);           // kvOutOfRange at 11
KV_EXPORT KvScanned KvScanChecked(const KvTypeMgr& types, char id, void* value,
                                  const KvString& text, const char* format);
