// The catalogue: one line a type. Reads top to bottom; a new type is a new line, its policy and,
// where its family is new, a codec. Names, sizes and formats are part of stored schemas and never
// change.

#include "kvtypes/catalogue.h"

#include <array>
#include <utility>

#include "kv.h"
#include "kvtypevl/rows/blob_row.h"
#include "kvtypevl/rows/date_rows.h"
#include "kvtypevl/rows/identity_rows.h"
#include "kvtypevl/rows/istring_rows.h"
#include "kvtypevl/rows/nullable_rows.h"
#include "kvtypevl/rows/scalar_rows.h"
#include "kvtypevl/rows/string_row.h"
#include "kvtypevl/rows/trivial.h"
#include "kvtypevl/rows/value_rows.h"

namespace kv {
namespace {

enum class Width : bool { kVariable, kFixed };
using enum Width;

struct Entry {
  int id;
  const char* typeName;
  const char* typeIdName;
  std::size_t memoryWidth;
  Width width;
  const char* format;
  KvTypeDescriptor slots;
};

// clang-format off
constexpr Entry kEntries[] = {
    // Plain scalars
    { 0, "o_char",         "Kv1B_T",             sizeof(o_char),          kFixed,    "%c",                       ScalarSlots<CharRow>(CharCompare)},
    { 1, "o_2b",           "Kv2B_T",             sizeof(o_2b),            kFixed,    "%hd",                      ScalarSlots<ShortRow>(ShortCompare)},
    { 2, "o_4b",           "Kv4B_T",             sizeof(o_4b),            kFixed,    "%ld",                      ScalarSlots<LongRow>(LongCompare)},
    { 3, "o_double",       "KvDOUBLE_T",         sizeof(o_double),        kFixed,    "%.17g",                    ScalarSlots<DoubleRow>(DoubleCompare)},
    { 4, "o_float",        "KvFLOAT_T",          sizeof(o_float),         kFixed,    "%.17g",                    ScalarSlots<FloatRow>(FloatCompare)},
    { 5, "o_u2b",          "KvU2B_T",            sizeof(o_u2b),           kFixed,    "%hu",                      ScalarSlots<WordRow>(WordCompare)},
    { 6, "o_u4b",          "KvU4B_T",            sizeof(o_u4b),           kFixed,    "%lu",                      ScalarSlots<DwordRow>(DwordCompare)},
    { 7, "int",            "KvINT_T",            sizeof(int),             kFixed,    "%d",                       ScalarSlots<IntRow>(IntCompare)},
    { 8, "unsigned",       "KvUNSIGNED_T",       sizeof(unsigned),        kFixed,    "%u",                       ScalarSlots<UnsignedIntRow>(UnsignedCompare)},
    { 9, "enum",           "KvENUM_T",           sizeof(int),             kFixed,    "%d",                       EnumSlots()},
    {10, "o_u1b",          "KvU1B_T",            sizeof(o_u1b),           kFixed,    "%c",                       ScalarSlots<ByteRow>(ByteCompare)},
    // Text, dates, identities, blobs
    {11, "KvString",       "KvSTRING_T",         sizeof(KvString),        kVariable, "%s",                       StringSlots()},
    {12, "KvDate",         "KvDATE_T",           sizeof(KvDate),          kFixed,    "%a %e.%b %Y",              KvDateSlots()},
    {13, "KvTime",         "KvTIME_T",           sizeof(KvTime),          kFixed,    "%I:%M:%S %p",              KvTimeSlots()},
    {14, "BlockId",        "KvBLOCKID_T",        sizeof(o_u4b),           kFixed,    "#%lu",                     ScalarSlots<BlockIdRow>(DwordCompare)},
    {15, "KvObjId",        "KvOBJID_T",          sizeof(KvObjId),         kFixed,    "(%H-%L#%B)",               ObjIdSlots()},
    {16, "KvClassId",      "KvCLID_T",           sizeof(KvClassId),       kFixed,    "(%Cv%V)",                  ClassIdSlots()},
    {17, "KvRef",          "KvREF_T",            sizeof(KvRef),           kFixed,    "(%D:%H-%L#%B, %C)",        RefSlots()},
    {18, "KvBlob",         "KvBLOB_T",           sizeof(KvBlob),          kVariable, "[BLOB,len=%L]",            BlobSlots()},
    {19, "KvDateTime",     "KvDATIME_T",         sizeof(KvDateTime),      kFixed,    "%a %e.%b %Y %I:%M:%S %p",  KvDateTimeSlots()},
    {20, "KvIString",      "KvISTRING_T",        sizeof(KvIString),       kVariable, "%s",                       WeightedStringSlots<KvIStringWeights>(KvIStringCompare)},
    {21, "KvCaseIString",  "KvCASEISTRING_T",    sizeof(KvCaseIString),   kVariable, "%s",                       WeightedStringSlots<KvCaseIStringWeights>(KvCaseIStringCompare)},
    {22, "d_Date",         "D_DATE_T",           sizeof(d_Date),          kFixed,    "%a %b %e",                 OdmgDateSlots()},
    {23, "d_Time",         "D_TIME_T",           sizeof(d_Time),          kFixed,    "%I:%M:%S %p",              OdmgTimeSlots()},
    {24, "d_Timestamp",    "D_TIMESTAMP_T",      sizeof(d_Timestamp),     kFixed,    "%a %b %e %I:%M:%S %p",     OdmgTimestampSlots()},
    {25, "d_Interval",     "D_INTERVAL_T",       sizeof(d_Interval),      kFixed,    "%e days, %I hours, %M minutes, %S seconds", IntervalSlots()},
    {26, "KvInt64",        "KvINT64_T",          sizeof(KvInt64),         kFixed,    "%S",                       Int64Slots()},
    {27, "KvBoolean",      "KvBOOLEAN_T",        sizeof(KvBoolean),       kFixed,    "noop",                     BooleanSlots()},
    // Nullable scalars
    {28, "KvNull_char",    "KvNULL_1B_T",        sizeof(KvNull_char),     kFixed,    "%c",                       NullableSlots<CharRow>()},
    {29, "KvNull_uchar",   "KvNULL_U1B_T",       sizeof(KvNull_uchar),    kFixed,    "%c",                       NullableSlots<ByteRow>()},
    {30, "KvNull_short",   "KvNULL_2B_T",        sizeof(KvNull_short),    kFixed,    "%hd",                      NullableSlots<ShortRow>()},
    {31, "KvNull_ushort",  "KvNULL_U2B_T",       sizeof(KvNull_ushort),   kFixed,    "%hu",                      NullableSlots<WordRow>()},
    {32, "KvNull_int",     "KvNULL_INT_T",       sizeof(KvNull_int),      kFixed,    "%d",                       NullableSlots<IntRow>()},
    {33, "KvNull_unsigned", "KvNULL_UNSIGNED_T",  sizeof(KvNull_unsigned), kFixed,    "%u",                       NullableSlots<UnsignedIntRow>()},
    {34, "KvNull_long",    "KvNULL_4B_T",        sizeof(KvNull_long),     kFixed,    "%ld",                      NullableSlots<LongRow>()},
    {35, "KvNull_ulong",   "KvNULL_U4B_T",       sizeof(KvNull_ulong),    kFixed,    "%lu",                      NullableSlots<DwordRow>()},
    {36, "KvNull_float",   "KvNULL_FLOAT_T",     sizeof(KvNull_float),    kFixed,    "%.17g",                    NullableSlots<FloatRow>()},
    {37, "KvNull_double",  "KvNULL_DOUBLE_T",    sizeof(KvNull_double),   kFixed,    "%.17g",                    NullableSlots<DoubleRow>()},
    {38, "KvNull_KvInt64", "KvNULL_KVINT64_T",   sizeof(KvNull_KvInt64),  kFixed,    "%S",                       NullableSlots<Int64Row>()},
    // Later additions
    {39, "KvSeal",         "KvSEAL_T",           sizeof(KvSeal),          kFixed,    "noop",                     SealSlots()},
    {40, "KvDateTimeN",    "KvDATIME_N_T",       sizeof(KvDateTimeN),     kFixed,    "%X",                       KvDateTimeNSlots()},
    {41, "KvTimeSpan",     "KvTIMESPAN_T",       sizeof(KvTimeSpan),      kFixed,    "%V",                       KvTimeSpanSlots()},
    {42, "o_8b",           "Kv8B_T",             sizeof(o_8b),            kFixed,    "%I64d",                    ScalarSlots<EightByteRow>(O_8BCompare)},
    {43, "o_u8b",          "KvU8B_T",            sizeof(o_u8b),           kFixed,    "%I64u",                    ScalarSlots<UnsignedEightByteRow>(O_U8BCompare)},
    {44, "KvNull_8b",      "KvNULL_8B_T",        sizeof(KvNull_8b),       kFixed,    "%I64d",                    NullableSlots<EightByteRow>()},
    {45, "KvNull_u8b",     "KvNULL_U8B_T",       sizeof(KvNull_u8b),      kFixed,    "%I64u",                    NullableSlots<UnsignedEightByteRow>()},
    // Ids 100 to 127
    {46, "illegal",        "KvRES_T",            0,                       kFixed,    "illegal",                  TrivialRow::Slots()},
};
// clang-format on

// The old string row: the same texts and lifetime, the old stored form, no null, no stepping.
constexpr Entry kOldStringEntry{11,        "KvString", "KvSTRING_T",    sizeof(KvString),
                                kVariable, "%s",       OldStringSlots()};

static_assert(std::size(kEntries) == kRowCount);
static_assert(
    [] {
      for (int row = 0; row < kRowCount; ++row) {
        if (kEntries[row].id != row) return false;
      }
      return true;
    }(),
    "an entry's place is its id");

// Bytes in memory where pointers have four: part of the interface between the database's layers.
// The rows that hold a pointer (strings and the blob) grow with it, and no other.
constexpr unsigned char kHomeWidths[kRowCount] = {
    1,  2, 4, 8, 4, 2, 4, 4, 4, 4, 1, 8, 4, 3,  4,  12, 4,  16, 4, 8, 8,  8,  4, 6,
    10, 4, 8, 1, 2, 2, 4, 4, 8, 8, 8, 8, 8, 16, 12, 6,  12, 12, 8, 8, 16, 16, 0};
static_assert(
    [] {
      for (const Entry& entry : kEntries) {
        const bool holdsPointer = entry.width == kVariable;
        const bool isHome = sizeof(void*) == 4 || !holdsPointer;
        if (isHome && entry.memoryWidth != kHomeWidths[entry.id]) return false;
      }
      return true;
    }(),
    "memory sizes are those of the home ABI");

constexpr KvTypeDescriptor Describe(const Entry& entry) {
  KvTypeDescriptor row = entry.slots;
  row.typeName = entry.typeName;
  row.typeIdName = entry.typeIdName;
  row.format = entry.format;
  row.sizeWord =
      static_cast<unsigned long>(entry.memoryWidth) | (entry.width == kFixed ? 0x10000u : 0u);
  return row;
}

constexpr std::array<KvTypeDescriptor, kRowCount> DescribeAll() {
  std::array<KvTypeDescriptor, kRowCount> rows{};
  for (std::size_t row = 0; row < rows.size(); ++row) rows[row] = Describe(kEntries[row]);
  return rows;
}

constinit std::array<KvTypeDescriptor, kRowCount> rows = DescribeAll();
constinit KvTypeDescriptor oldStringRow = Describe(kOldStringEntry);

template <std::size_t... row>
constexpr std::array<KvTypeDescriptor*, sizeof...(row)> PointAt(std::index_sequence<row...>) {
  return {&rows[row]...};
}

constexpr std::array<KvTypeDescriptor*, kOldRowCount> PointAtOldRows() {
  auto pointers = PointAt(std::make_index_sequence<kOldRowCount>());
  pointers[KvSTRING_T] = &oldStringRow;
  return pointers;
}

}  // namespace

KvCompareFunc OwnCompare(int row) {
  return kEntries[row].slots.compare;
}

KvScanFunc OwnScan(int row) {
  return kEntries[row].slots.scan;
}

constinit const std::array<KvTypeDescriptor*, kRowCount> currentCatalogue =
    PointAt(std::make_index_sequence<kRowCount>());

constinit const std::array<KvTypeDescriptor*, kOldRowCount> oldCatalogue = PointAtOldRows();

}  // namespace kv
