// kvtypemgr.h - the type manager: every operation on every value type, by type id.
//
// A value type is a catalogue row (KvTypeDescriptor), and a row is plain functions that work on a
// *run*: `count` values back to back. KvTypeMgr finds the row of a type id and calls the function
// in the slot of the operation.
//
//   KvTypeMgr* types = DefaultTypeMgr(nullptr);
//   o_4b run[3] = {1, 2, 3};
//   KvString text;
//   types->PrintToKvString(Kv4B_T, text, run, nullptr, 3);      // "1,2,3"
//   unsigned char stored[12];
//   types->Store(Kv4B_T, stored, run, 2, 3);                    // 12, most significant byte first
//   int status;
//   types->Cmp(Kv4B_T, 12, stored, 12, stored, kvCompareExact, 3, 2, status);  // 0, status 0
//
// A value has two forms. The *memory form* is the C++ object. The *stored form* is the bytes in a
// persistent record; it never depends on the ABI, the compiler or the host. The *format byte* that
// travels with a buffer says which form it holds:
//
//   low 4 bits    8: memory form.
//                 2: stored form, the bytes of each multi-byte field reversed (most significant
//                 first). Any other code: stored form in memory order (least significant first).
//
// So 8 names the memory form, 0 or 1 the stored form in memory order, 2 the reversed one. The
// plain scalars, KvInt64 and KvBoolean look the same in memory and stored in memory order, and
// read format 1 in place. Comparers, hashes and bounds read the byte so; store and load know which
// side is stored and take the byte order from it. Three things differ: Translate takes any format
// with bit 0x08, and 9 to 15 among them, for memory; that bit puts the indicator of a stored
// nullable scalar behind it; GetValue takes only the whole byte 8 for memory.
//
// Threads: the catalogue is read without locks. The exchange operations, SetFactory,
// DefaultTypeMgr and SetNullPrintString are plain writes for set-up time.
#pragma once

#include "kvbase.h"
#include "kvtypeid.h"
#include "zbs.h"

class KvString;
class KvTypeMgr;
class KvTypeConvertData;

// ---------------------------------------------------------------------------------------------
// Index bounds: the range of an index, as values in the representation of the constant they are
// compared with. A null pointer is an unknown bound.
//
// Lengths are in bytes. Buffers that an evaluator records come from malloc; the caller frees them.

struct KvIdxBounds {
  unsigned char* lower = nullptr;
  unsigned char* upper = nullptr;
  unsigned char lowerLength = 0;
  unsigned char upperLength = 0;
};

// Predicate bits of an index bound evaluation; they may be combined.
inline constexpr unsigned short kvPredicateEqual = 0x0001;
inline constexpr unsigned short kvPredicateLess = 0x0002;
inline constexpr unsigned short kvPredicateGreater = 0x0004;

// Accepted by KvTypeMgr::EvalAndBound for the planner's own use; no row reads it.
struct KvEvalData;

// ---------------------------------------------------------------------------------------------
// The slots of a catalogue row. Each works on a run of `count` values; a count of 0 does nothing.

// A new run of `count` default-constructed values, null when memory is short (the low-memory
// handler has been called then). Freed by the row's delete function.
using KvCreateFunc = void* (*)(unsigned count);
// Destroys and frees a run that the row's create function made. Always returns null.
using KvDeleteFunc = void* (*)(void* values, unsigned count);
// Memory form to stored form: bytes written, 0 on failure.
using KvStoreFunc = unsigned (*)(void* destination, const void* source, unsigned char format,
                                 unsigned count);
// Stored form to memory form, over constructed values: bytes read, 0 on failure.
using KvLoadFunc = unsigned (*)(void* destination, const void* source, unsigned char format,
                                unsigned count);
// Stored bytes of `count` null values; of a type without null, of what an empty text converts to.
using KvNullSizeFunc = unsigned (*)(unsigned count);
// Stored bytes of the run that begins at `stored`, which is trusted. `extra` is not used.
using KvSizeFunc = unsigned (*)(const void* stored, unsigned char extra, unsigned char format,
                                unsigned count);
// Stored bytes of the run that begins at the file's cursor, which stays where it is. 0 when the
// file ends inside a length field.
using KvMemFileSizeFunc = unsigned (*)(MemFile* file, unsigned char format, unsigned count);
// Orders two runs, see KvTypeMgr::Cmp. The return value is the order, `result` the status.
using KvCompareFunc = int (*)(unsigned char format, unsigned length1, void* value1,
                              unsigned length2, void* value2, unsigned short cmpOp, unsigned count,
                              int& status);
// Selected fraction of an index range, see KvTypeMgr::EvalAndBound.
using KvEvalFunc = float (*)(KvIdxBounds* bounds, unsigned short& predicate, void* value,
                             unsigned char format, unsigned count, KvIdxBounds* newBounds);
// Hash of a run, see KvTypeMgr::Hash.
using KvHashFunc = unsigned (*)(unsigned char format, unsigned length, void* value, unsigned count,
                                int& status);
using KvConvertToFunc = KvTypeConvertData* (*)(void* values, unsigned count);
using KvConvertFromFunc = void* (*)(KvTypeConvertData* record, unsigned count);
// Constructs `count` values over raw memory, or destroys them in place. `unused` is passed through
// by callers and not read.
using KvLifetimeFunc = void (*)(void* values, unsigned count, unsigned unused);
// Assigns to constructed values, or copy-constructs over raw memory. `unused` is not read.
using KvCopyFunc = void (*)(void* destination, void* source, unsigned count, int unused);
// Moves a run between forms, see KvTypeMgr::Translate.
using KvTranslateFunc = unsigned (*)(void* destination, unsigned char destinationFormat,
                                     unsigned destinationLength, const void* source,
                                     unsigned char sourceFormat, unsigned sourceLength,
                                     unsigned count);
using KvIsNullFunc = int (*)(void* value);
using KvSetNullFunc = int (*)(void* value);
// Prints one value into `out`, replacing what it holds (a run of characters prints as one text).
using KvPrintFunc = KvString& (*)(KvString& out, void* values, const char* format, unsigned count);
// Reads one value from `text`; returns `values`, or null when `values` is null.
using KvScanFunc = void* (*)(void* values, KvString& text, const char* format, unsigned count);
// A new run of `count` default values. `unused` is passed through and not read.
using KvDefaultFunc = void* (*)(unsigned count, int unused);
// Steps one value in memory form (`format` with bit 0x08) in place. `stepOp` 'M' and 'N': its
// successor, 'O': as it is, kvSmallestValue: the smallest value of the type. Result: 0; kvOverflow
// with the value unchanged past the end; kvNotSupported for another `stepOp`, a stored form, or a
// type that has no such value. `length` is read for a stored KvString only. See
// KvTypeMgr::GetValue.
using KvStepFunc = int (*)(void* value, unsigned length, unsigned char format,
                           unsigned char stepOp);

// The step of a KvStepFunc that makes the smallest value of its type.
inline constexpr unsigned char kvSmallestValue = 2;

// One catalogue row: 28 machine words. Slots 9, 21, 22 and 23 may be replaced at set-up time
// through the exchange operations; the rest never changes.
struct KvTypeDescriptor {
  const char* typeName;           //  0  "o_4b"
  const char* typeIdName;         //  1  "Kv4B_T"
  KvCreateFunc create;            //  2
  KvDeleteFunc destroy;           //  3
  KvStoreFunc store;              //  4
  KvLoadFunc load;                //  5
  KvNullSizeFunc nullSize;        //  6
  KvSizeFunc size;                //  7
  KvMemFileSizeFunc memFileSize;  //  8
  KvCompareFunc compare;          //  9
  KvEvalFunc evalAndBound;        // 10
  KvHashFunc hash;                // 11
  KvConvertToFunc convertTo;      // 12
  KvConvertFromFunc convertFrom;  // 13
  KvLifetimeFunc construct;       // 14
  KvLifetimeFunc destruct;        // 15
  KvCopyFunc assign;              // 16
  KvCopyFunc copy;                // 17
  KvTranslateFunc translate;      // 18
  KvIsNullFunc isNull;            // 19
  KvSetNullFunc setNull;          // 20  null where the type has no null value
  const char* format;             // 21  default print format
  KvPrintFunc print;              // 22
  KvScanFunc scan;                // 23
  unsigned long sizeWord;         // 24  low 16 bits: bytes in memory; next 16: 1 when fixed
  KvDefaultFunc defaultValue;     // 25
  KvStepFunc step;                // 26
  void* reserved;                 // 27  always null
};

static_assert(sizeof(KvTypeDescriptor) == 28 * sizeof(void*), "a row is 28 machine words");

// ---------------------------------------------------------------------------------------------

class KV_EXPORT KvTypeMgr {
 public:
  // The format version chooses the catalogue: 4 and above the current one (47 rows), below 4 the
  // old one (rows 0 to 27, whose string row writes the old stored form). Numbers of 12 and more
  // become 4; 11, a pre-release of the old format, becomes 3; any other is kept.
  explicit KvTypeMgr(unsigned factory = 5);
  void SetFactory(unsigned factory);
  unsigned short FormatVersion() const { return formatVersion_; }

  // --- What a type is. Only IsValidType checks an id; the others trust it. ---

  // 1 for ids 0 to 46, 100 to 127 (the illegal row) and, as a plain signed comparison has it, for
  // every negative id; 0 for 47 to 99. Negative ids must not be given to anything else.
  int IsValidType(char id) const;

  // Finds a type name ("o_4b", case matters) in the current catalogue's row order, which a manager
  // on the old catalogue answers by, too. Result: 0 with `id` set; 1 with `id` 47 when no row has
  // that name.
  int Name2KvTypeId(const char* name, char& id) const;

  // The type name or type id name. With a null buffer the row's own text, not to be changed; else
  // it is copied with its terminator into `buffer`, which must have room, and `buffer` returned.
  char* NameGet(char id, char* buffer) const;
  char* TypeIdNameGet(char id, char* buffer) const;

  // 1 when every value takes the same number of stored bytes, 0 for strings and blobs.
  unsigned short IsFixed(char id) const;

  // Bytes of `count` values in memory, modulo 65536: callers keep the result in 16-bit fields.
  unsigned short MemLenGet(char id, unsigned count) const;

  // 1 when the type has a null value.
  unsigned short SupportsNullValue(char id) const;

  // Capability 1: has a null value. 2: a whole number that can be stepped (not BlockId, which
  // is a name, nor the nullable scalars). 3: can be made from a time stamp. Any other: 0.
  unsigned short SupportsCapability(char id, unsigned short capability) const;

  // --- The functions of a row, unchanged; null where the type lacks one. ---

  KvLifetimeFunc ConstructorPtrGet(char id) const;
  KvLifetimeFunc DestructorPtrGet(char id) const;
  KvCopyFunc AssignmentPtrGet(char id) const;
  KvCopyFunc CopyPtrGet(char id) const;
  KvCompareFunc CmpFuncPtrGet(char id) const;
  KvIsNullFunc IsNullPtrGet(char id) const;
  KvSetNullFunc SetNullPtrGet(char id) const;
  KvStoreFunc StorePtrGet(char id) const;
  KvLoadFunc LoadPtrGet(char id) const;
  // What nulls take, before there are any: types->NullSizePtrGet(KvBLOB_T)(3) is 16.
  KvNullSizeFunc NullSizePtrGet(char id) const;
  // The only way to the smallest value of a type, where an index scan without a lower bound begins;
  // GetValue refuses that step:
  //   o_2b first;
  //   types->StepPtrGet(Kv2B_T)(&first, 0, 8, kvSmallestValue);  // -32768
  // Infinities, NaN and nulls stand apart; of a KvTimeSpan it is the first year and nothing else.
  KvStepFunc StepPtrGet(char id) const;
  // Always null: the two-argument compare is gone, and callers that still ask are told so.
  void* ComparePtrGet(char id) const;

  // --- Replacing a row's functions, for every manager of the process. Null only reads. Each
  //     returns what the slot held before. The old catalogue's string row is a row of its own. ---

  const char* ExchangeFormat(char id, const char* format);
  KvCompareFunc ExchangeKvTypeCmpFunc(char id, KvCompareFunc compare);
  KvPrintFunc ExchangePrintToKvStringFunc(char id, KvPrintFunc print);
  KvScanFunc ExchangeScanFromKvStringFunc(char id, KvScanFunc scan);

  // --- Lifetime ---

  void* Create(char id, unsigned count) const;
  void* Delete(char id, void* values, unsigned count) const;
  // A new run of the type's default (for scalars what an empty text converts to). Free with Delete.
  void* DefaultValue(char id, unsigned count, int unused) const;

  // --- Stored form ---

  unsigned Store(char id, void* destination, const void* source, unsigned char format,
                 unsigned count) const;
  unsigned Load(char id, void* destination, const void* source, unsigned char format,
                unsigned count) const;
  unsigned DiskLenGet(char id, const void* stored, unsigned char format, unsigned count,
                      unsigned char extra) const;
  unsigned DiskLenGetFromMemFile(char id, MemFile* file, unsigned char format,
                                 unsigned count) const;

  // Moves a run between forms. Memory to stored and back convert in the byte order of the stored
  // side. Memory to memory and stored to stored copy; stored to stored does not reorder bytes,
  // since records are moved so: it copies the smaller length, after clearing a longer destination.
  // Lengths are in bytes and matter for stored to stored only. Result: bytes written.
  unsigned Translate(char id, void* destination, unsigned char destinationFormat,
                     unsigned destinationLength, const void* source, unsigned char sourceFormat,
                     unsigned sourceLength, unsigned count) const;

  // --- Order and hash ---

  // Orders two runs of `count` values, both in `format`: -1, 0 or +1 (KvBlob: -2 or +2 when one
  // side is null). Lengths are the buffers' bytes, 0 for "exactly count elements". `status` is the
  // status, not the order: 0, or kvBufferShort when the next element would start at or beyond a
  // buffer's end (the order is then 0: all before were equal). An element that starts inside its
  // buffer is read whole. `cmpOp` holds collation options (kvcollate.h). Give kvCompareExact
  // wherever an order is meant: without it the wildcards of dates and texts match anything
  // (kvcompare.h).
  int Cmp(char id, unsigned length1, const void* value1, unsigned length2, const void* value2,
          unsigned short cmpOp, unsigned count, unsigned char format, int& status) const;
  int Cmp(char id, const void* value1, const void* value2, unsigned short cmpOp, unsigned count,
          unsigned char format) const;

  // XOR of the elements' keys, then the row's multiplier; the same for a run in any form.
  unsigned Hash(char id, unsigned length, const void* value, unsigned count, unsigned char format,
                int& status) const;

  // The fraction of the index range `bounds` that a predicate on the constant `value` selects.
  // Where the constant narrows the range and no bound is there yet, it is recorded in `newBounds`
  // (a KvIdxBounds, or null). `predicate` holds its bits. `bounds` or a side of it null: no range
  // is known, 0. `data` is accepted and not used. A wildcard component of a date or time counts as
  // the number -1: scan for such a constant, what it matches need not lie side by side.
  float EvalAndBound(char id, KvIdxBounds* bounds, unsigned short& predicate, const void* value,
                     unsigned char format, unsigned count, void* newBounds, KvEvalData* data) const;

  // --- Null ---

  int IsNullValue(char id, const void* value) const;
  // Always kvNotSupported: whether stored bytes hold a null is told by loading them.
  int DiskIsNullValue(char id, const void* stored) const;
  // Makes a value null; a type without null becomes what an empty text converts to (0 for
  // numbers). Result: the row's own, else 0.
  int SetNullValue(char id, void* value);

  // --- Text ---

  // One value replaces what `out` holds. A run of two and more is appended to it, element by
  // element with "," between; a run of characters prints as one text. Null format: the row's own.
  // When memory is short for a run, `out` stays as it was.
  KvString& PrintToKvString(char id, KvString& out, const void* values, const char* format,
                            unsigned count) const;
  // Returns `values`, or null when it is null.
  void* ScanFromKvString(char id, void* values, const KvString& text, const char* format,
                         unsigned count) const;
  // Texts of a run, and a run from texts; null when the row has no conversion or memory is short.
  // The record frees its texts when it is deleted.
  KvTypeConvertData* ConvertTo(char id, const void* values, unsigned count);
  void* ConvertFrom(char id, KvTypeConvertData* record, unsigned count);

  // --- Stepping, for index bounds ---

  // `stepOp` 'M' and 'N' replace the value by its successor, 'O' leaves it; any other gives
  // kvNotSupported. Past the end: kvOverflow, the value unchanged. `length` is the buffer's bytes.
  // Format 8 is memory, every other byte (0x88, too) is stored form.
  // A stored value is loaded, stepped and stored back with its format reduced to 0x80 and 0x01,
  // so a *reversed* value is stepped as if it were in memory order: translate it first. A stored
  // text grows by its successor: kvOverflow where `length` has no room for that, as a length of 0
  // has not. Blobs have no successor, and a KvIString, KvCaseIString or KvBlob that does not lie
  // within `length` gives kvNotSupported.
  int GetValue(char id, void* value, unsigned length, unsigned char format,
               unsigned char stepOp) const;

  // Stores a point in time (a KvTimeStamp) as KvDate, KvTime, KvDateTime, KvDateTimeN, d_Date,
  // d_Time or d_Timestamp. Result: bytes written; kvNotSupported for a null stamp or another type,
  // the destination untouched.
  int StoreTimeStamp(char id, void* destination, unsigned char format, const void* stamp) const;

  // The address of element `index`, null when `count` is not 0 and `index` not below it.
  void* GetArrayElement(char id, void* base, unsigned index, unsigned count) const;
  const void* GetArrayElement(char id, const void* base, unsigned index, unsigned count) const;

  // --- Process-wide ---

  // The text printed for a null value, at first "{NULL}". One string for the whole life of the
  // process: a reference to it shows each text that is set. When memory is short for another text,
  // it stays as it was.
  static const KvString& GetNullPrintString();
  static void SetNullPrintString(const KvString& text);

 private:
  KvTypeDescriptor& Row(char id) const;

  KvTypeDescriptor* const* catalogue_;
  unsigned short formatVersion_;
};

// The process's type manager, made with format version 5 when the library is loaded. Installs
// `replacement` unless it is null. Result: the previous one. Whoever replaces the module's own
// frees it; one that a caller installs (the module's own put back, too) stays the caller's, and
// may be a static object: unloading and leaving the process free what the module made and nobody
// has replaced, and nothing else.
KV_EXPORT KvTypeMgr* DefaultTypeMgr(KvTypeMgr* replacement);

// A point in time as StoreTimeStamp takes it: the memory form of a KvDateTimeN up to the last
// field, which is added to the seconds wherever seconds are built.
struct KvTimeStamp {
  o_2b year;
  char month;
  char day;
  char hour;
  char minute;
  char second;
  o_4b extraSeconds;
};

// ---------------------------------------------------------------------------------------------
// A run of values on its way to or from text.
//
// The record owns its values while it has a type manager: its destructor then frees them through
// that manager. ConvertTo returns records that own their texts; a record without a manager leaves
// its values to the caller. A destroyed record reads as the illegal type (100).
//
//   KvTypeConvertData* texts = types->ConvertTo(Kv4B_T, run, 3);
//   texts->GetString(0)->StrGet();   // "1"
//   delete texts;

class KV_EXPORT KvTypeConvertData {
 public:
  // Null when memory is short.
  static KvTypeConvertData* Make(char type, unsigned count, void* values, KvTypeMgr* manager);
  ~KvTypeConvertData();
  KvTypeConvertData(const KvTypeConvertData&) = delete;
  KvTypeConvertData& operator=(const KvTypeConvertData&) = delete;

  // The text at `index`: null at and past the end, when the record holds no texts, and when it
  // holds no values. Negative indexes are not refused: callers never pass one.
  KvString* GetString(int index) const;

  KvTypeMgr* manager;
  void* values;
  unsigned count;
  char type;

 private:
  KvTypeConvertData(char typeId, unsigned valueCount, void* valueRun, KvTypeMgr* typeManager);
};

// The conversions of the character and 16-bit rows, by name (slots 12 and 13 of their rows).
KV_EXPORT KvTypeConvertData* CharConvertToKvString(void* values, unsigned count);
KV_EXPORT void* CharConvertFromKvString(KvTypeConvertData* record, unsigned count);
KV_EXPORT KvTypeConvertData* O_U1BConvertToKvString(void* values, unsigned count);
KV_EXPORT void* O_U1BConvertFromKvString(KvTypeConvertData* record, unsigned count);
KV_EXPORT KvTypeConvertData* ShortConvertToKvString(void* values, unsigned count);
KV_EXPORT void* ShortConvertFromKvString(KvTypeConvertData* record, unsigned count);
KV_EXPORT KvTypeConvertData* WordConvertToKvString(void* values, unsigned count);
KV_EXPORT void* WordConvertFromKvString(KvTypeConvertData* record, unsigned count);
