// The catalogue: one line a type. Reads top to bottom; a new type is a new line, its policy and,
// where its family is new, a codec. Names, sizes and formats are part of stored schemas and never
// change.

#include "kvtypes/catalogue.h"

#include <array>
#include <utility>

#include "kvtypevl/blob_row.h"
#include "kvtypevl/date_rows.h"
#include "kvtypevl/identity_rows.h"
#include "kvtypevl/nullable_rows.h"
#include "kvtypevl/scalar_rows.h"
#include "kvtypevl/string_row.h"
#include "kvtypevl/trivial.h"
#include "kvtypevl/value_rows.h"

namespace kv {
namespace {

enum class Width : bool { kVariable, kFixed };
using enum Width;

struct Entry {
  int id;
  const char* typeName;
  const char* typeIdName;
  unsigned memoryWidth;
  Width width;
  const char* format;
  KvTypeDescriptor slots;
};

// Rows that hold a pointer grow with the ABI; every other memory size is the same in both.
constexpr unsigned kStringWidth = sizeof(void*) == 4 ? 8 : 16;
constexpr unsigned kBlobWidth = sizeof(void*);

// clang-format off
constexpr Entry kEntries[] = {
    // Plain scalars
    { 0, "o_char",           "Kv1B_T",             1, kFixed,    "%c",                        ScalarSlots<CharRow>(CharCompare)},
    { 1, "o_2b",             "Kv2B_T",             2, kFixed,    "%hd",                       ScalarSlots<ShortRow>(ShortCompare)},
    { 2, "o_4b",             "Kv4B_T",             4, kFixed,    "%ld",                       ScalarSlots<LongRow>(LongCompare)},
    { 3, "o_double",         "KvDOUBLE_T",         8, kFixed,    "%.17g",                     ScalarSlots<DoubleRow>(DoubleCompare)},
    { 4, "o_float",          "KvFLOAT_T",          4, kFixed,    "%.17g",                     ScalarSlots<FloatRow>(FloatCompare)},
    { 5, "o_u2b",            "KvU2B_T",            2, kFixed,    "%hu",                       ScalarSlots<WordRow>(WordCompare)},
    { 6, "o_u4b",            "KvU4B_T",            4, kFixed,    "%lu",                       ScalarSlots<DwordRow>(DwordCompare)},
    { 7, "int",              "KvINT_T",            4, kFixed,    "%d",                        ScalarSlots<IntRow>(IntCompare)},
    { 8, "unsigned",         "KvUNSIGNED_T",       4, kFixed,    "%u",                        ScalarSlots<UnsignedIntRow>(UnsignedCompare)},
    { 9, "enum",             "KvENUM_T",           4, kFixed,    "%d",                        ScalarSlots<IntRow>(IntCompare)},
    {10, "o_u1b",            "KvU1B_T",            1, kFixed,    "%c",                        ScalarSlots<ByteRow>(ByteCompare)},
    // Text, dates, identities, blobs
    {11, "KvString",         "KvSTRING_T", kStringWidth, kVariable, "%s",                     StringSlots()},
    {12, "KvDate",           "KvDATE_T",           4, kFixed,    "%a %e.%b %Y",               KvDateSlots()},
    {13, "KvTime",           "KvTIME_T",           3, kFixed,    "%I:%M:%S %p",               KvTimeSlots()},
    {14, "BlockId",          "KvBLOCKID_T",        4, kFixed,    "#%lu",                      ScalarSlots<BlockIdRow>(DwordCompare)},
    {15, "KvObjId",          "KvOBJID_T",         12, kFixed,    "(%H-%L#%B)",                ObjIdSlots()},
    {16, "KvClassId",        "KvCLID_T",           4, kFixed,    "(%Cv%V)",                   ClassIdSlots()},
    {17, "KvRef",            "KvREF_T",           16, kFixed,    "(%D:%H-%L#%B, %C)",         RefSlots()},
    {18, "KvBlob",           "KvBLOB_T",  kBlobWidth, kVariable, "[BLOB,len=%L]",             BlobSlots()},
    {19, "KvDateTime",       "KvDATIME_T",         8, kFixed,    "%a %e.%b %Y %I:%M:%S %p",   KvDateTimeSlots()},
    {20, "KvIString",        "KvISTRING_T", kStringWidth, kVariable, "%s",                    TrivialRow::Slots()},
    {21, "KvCaseIString",    "KvCASEISTRING_T", kStringWidth, kVariable, "%s",                TrivialRow::Slots()},
    {22, "d_Date",           "D_DATE_T",           4, kFixed,    "%a %b %e",                  OdmgDateSlots()},
    {23, "d_Time",           "D_TIME_T",           6, kFixed,    "%I:%M:%S %p",               OdmgTimeSlots()},
    {24, "d_Timestamp",      "D_TIMESTAMP_T",     10, kFixed,    "%a %b %e %I:%M:%S %p",      OdmgTimestampSlots()},
    {25, "d_Interval",       "D_INTERVAL_T",       4, kFixed,    "%e days, %I hours, %M minutes, %S seconds", IntervalSlots()},
    {26, "KvInt64",          "KvINT64_T",          8, kFixed,    "%S",                        Int64Slots()},
    {27, "KvBoolean",        "KvBOOLEAN_T",        1, kFixed,    "noop",                      BooleanSlots()},
    // Nullable scalars
    {28, "KvNull_char",      "KvNULL_1B_T",        2, kFixed,    "%c",                        NullableSlots<CharRow>()},
    {29, "KvNull_uchar",     "KvNULL_U1B_T",       2, kFixed,    "%c",                        NullableSlots<ByteRow>()},
    {30, "KvNull_short",     "KvNULL_2B_T",        4, kFixed,    "%hd",                       NullableSlots<ShortRow>()},
    {31, "KvNull_ushort",    "KvNULL_U2B_T",       4, kFixed,    "%hu",                       NullableSlots<WordRow>()},
    {32, "KvNull_int",       "KvNULL_INT_T",       8, kFixed,    "%d",                        NullableSlots<IntRow>()},
    {33, "KvNull_unsigned",  "KvNULL_UNSIGNED_T",  8, kFixed,    "%u",                        NullableSlots<UnsignedIntRow>()},
    {34, "KvNull_long",      "KvNULL_4B_T",        8, kFixed,    "%ld",                       NullableSlots<LongRow>()},
    {35, "KvNull_ulong",     "KvNULL_U4B_T",       8, kFixed,    "%lu",                       NullableSlots<DwordRow>()},
    {36, "KvNull_float",     "KvNULL_FLOAT_T",     8, kFixed,    "%.17g",                     NullableSlots<FloatRow>()},
    {37, "KvNull_double",    "KvNULL_DOUBLE_T",   16, kFixed,    "%.17g",                     NullableSlots<DoubleRow>()},
    {38, "KvNull_KvInt64",   "KvNULL_KVINT64_T",  12, kFixed,    "%S",                        NullableSlots<Int64Row>()},
    // Later additions
    {39, "KvSeal",           "KvSEAL_T",           6, kFixed,    "noop",                      SealSlots()},
    {40, "KvDateTimeN",      "KvDATIME_N_T",      12, kFixed,    "%X",                        KvDateTimeNSlots()},
    {41, "KvTimeSpan",       "KvTIMESPAN_T",      12, kFixed,    "%V",                        KvTimeSpanSlots()},
    {42, "o_8b",             "Kv8B_T",             8, kFixed,    "%I64d",                     ScalarSlots<EightByteRow>(O_8BCompare)},
    {43, "o_u8b",            "KvU8B_T",            8, kFixed,    "%I64u",                     ScalarSlots<UnsignedEightByteRow>(O_U8BCompare)},
    {44, "KvNull_8b",        "KvNULL_8B_T",       16, kFixed,    "%I64d",                     NullableSlots<EightByteRow>()},
    {45, "KvNull_u8b",       "KvNULL_U8B_T",      16, kFixed,    "%I64u",                     NullableSlots<UnsignedEightByteRow>()},
    // Ids 100 to 127
    {46, "illegal",          "KvRES_T",            0, kFixed,    "illegal",                   TrivialRow::Slots()},
};
// clang-format on

// The old string row: the same texts and lifetime, the old stored form, no null, no stepping.
constexpr Entry kOldStringEntry{11,        "KvString", "KvSTRING_T",    kStringWidth,
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

constexpr KvTypeDescriptor Describe(const Entry& entry) {
  KvTypeDescriptor row = entry.slots;
  row.typeName = entry.typeName;
  row.typeIdName = entry.typeIdName;
  row.format = entry.format;
  row.sizeWord = entry.memoryWidth | (entry.width == kFixed ? 0x10000u : 0u);
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

constinit const std::array<KvTypeDescriptor*, kRowCount> currentCatalogue =
    PointAt(std::make_index_sequence<kRowCount>());

constinit const std::array<KvTypeDescriptor*, kOldRowCount> oldCatalogue = PointAtOldRows();

}  // namespace kv
