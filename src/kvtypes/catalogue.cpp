// The catalogue: one line a type. Reads top to bottom; docs/adding.md tells what a new type is
// beside its line. Names, sizes and formats (default_formats.h) are part of stored schemas and
// never change.

#include "kvtypes/catalogue.h"

#include <array>
#include <type_traits>
#include <utility>

#include "kv.h"
#include "kvtext/default_formats.h"
#include "kvtypevl/rows/dates.h"
#include "kvtypevl/rows/identities.h"
#include "kvtypevl/rows/nullables.h"
#include "kvtypevl/rows/scalars.h"
#include "kvtypevl/rows/strings.h"
#include "kvtypevl/rows/trivial.h"
#include "kvtypevl/rows/values.h"

namespace kv {

// Policies that only their families' sources know.
struct BlobRow;
struct DateRow;
struct DateTimeNRow;
struct DateTimeRow;
struct OdmgDateRow;
struct OdmgTimeRow;
struct OdmgTimestampRow;
struct TimeRow;
struct TimeSpanRow;
template <class Weights>
struct WeightedStringRow;

namespace {

enum class Width : bool { kVariable, kFixed };
using enum Width;
using namespace default_format;

struct Entry {
  int id;
  const char* typeName;
  const char* typeIdName;
  std::size_t memoryWidth;
  unsigned homeWidth;  // the same where pointers have four bytes
  Width width;
  const char* format;
  RowSlots slots;
};

// clang-format off
constexpr Entry kEntries[] = {
    // Plain scalars
    { 0, "o_char",          "Kv1B_T",            sizeof(o_char),           1, kFixed,    kCharacter,          ScalarSlots<CharRow>(CharCompare)},
    { 1, "o_2b",            "Kv2B_T",            sizeof(o_2b),             2, kFixed,    kShort,              ScalarSlots<ShortRow>(ShortCompare)},
    { 2, "o_4b",            "Kv4B_T",            sizeof(o_4b),             4, kFixed,    kLong,               ScalarSlots<LongRow>(LongCompare)},
    { 3, "o_double",        "KvDOUBLE_T",        sizeof(o_double),         8, kFixed,    kFloating,           ScalarSlots<DoubleRow>(DoubleCompare)},
    { 4, "o_float",         "KvFLOAT_T",         sizeof(o_float),          4, kFixed,    kFloating,           ScalarSlots<FloatRow>(FloatCompare)},
    { 5, "o_u2b",           "KvU2B_T",           sizeof(o_u2b),            2, kFixed,    kWord,               ScalarSlots<WordRow>(WordCompare)},
    { 6, "o_u4b",           "KvU4B_T",           sizeof(o_u4b),            4, kFixed,    kDword,              ScalarSlots<DwordRow>(DwordCompare)},
    { 7, "int",             "KvINT_T",           sizeof(int),              4, kFixed,    kInt,                ScalarSlots<IntRow>(IntCompare)},
    { 8, "unsigned",        "KvUNSIGNED_T",      sizeof(unsigned),         4, kFixed,    kUnsigned,           ScalarSlots<UnsignedIntRow>(UnsignedCompare)},
    { 9, "enum",            "KvENUM_T",          sizeof(int),              4, kFixed,    kInt,                EnumSlots()},
    {10, "o_u1b",           "KvU1B_T",           sizeof(o_u1b),            1, kFixed,    kCharacter,          ScalarSlots<ByteRow>(ByteCompare)},
    // Text, dates, identities, blobs
    {11, "KvString",        "KvSTRING_T",        sizeof(KvString),         8, kVariable, kString,             StringSlots()},
    {12, "KvDate",          "KvDATE_T",          sizeof(KvDate),           4, kFixed,    kDate,               RowHandlers<DateRow>::Slots(Nulls::kYes, KvDateCompare)},
    {13, "KvTime",          "KvTIME_T",          sizeof(KvTime),           3, kFixed,    kTime,               RowHandlers<TimeRow>::Slots(Nulls::kYes, KvTimeCompare)},
    {14, "BlockId",         "KvBLOCKID_T",       sizeof(o_u4b),            4, kFixed,    kBlockId,            ScalarSlots<BlockIdRow>(DwordCompare)},
    {15, "KvObjId",         "KvOBJID_T",         sizeof(KvObjId),         12, kFixed,    kObjId,              ObjIdSlots()},
    {16, "KvClassId",       "KvCLID_T",          sizeof(KvClassId),        4, kFixed,    kClassId,            ClassIdSlots()},
    {17, "KvRef",           "KvREF_T",           sizeof(KvRef),           16, kFixed,    kRef,                RefSlots()},
    {18, "KvBlob",          "KvBLOB_T",          sizeof(KvBlob),           4, kVariable, kBlob,               RowHandlers<BlobRow>::Slots(Nulls::kYes, BlobCompare)},
    {19, "KvDateTime",      "KvDATIME_T",        sizeof(KvDateTime),       8, kFixed,    kDateTime,           RowHandlers<DateTimeRow>::Slots(Nulls::kYes)},
    {20, "KvIString",       "KvISTRING_T",       sizeof(KvIString),        8, kVariable, kString,             RowHandlers<WeightedStringRow<KvIStringWeights>>::Slots(Nulls::kNo, KvIStringCompare)},
    {21, "KvCaseIString",   "KvCASEISTRING_T",   sizeof(KvCaseIString),    8, kVariable, kString,             RowHandlers<WeightedStringRow<KvCaseIStringWeights>>::Slots(Nulls::kNo, KvCaseIStringCompare)},
    {22, "d_Date",          "D_DATE_T",          sizeof(d_Date),           4, kFixed,    kOdmgDate,           RowHandlers<OdmgDateRow>::Slots(Nulls::kNo, d_DateCompare)},
    {23, "d_Time",          "D_TIME_T",          sizeof(d_Time),           6, kFixed,    kTime,               RowHandlers<OdmgTimeRow>::Slots(Nulls::kNo, d_TimeCompare)},
    {24, "d_Timestamp",     "D_TIMESTAMP_T",     sizeof(d_Timestamp),     10, kFixed,    kOdmgTimestamp,      RowHandlers<OdmgTimestampRow>::Slots(Nulls::kNo, d_TimestampCompare)},
    {25, "d_Interval",      "D_INTERVAL_T",      sizeof(d_Interval),       4, kFixed,    kInterval,           IntervalSlots()},
    {26, "KvInt64",         "KvINT64_T",         sizeof(KvInt64),          8, kFixed,    kInt64,              RowHandlers<Int64Row>::Slots(Nulls::kNo, Int64Compare)},
    {27, "KvBoolean",       "KvBOOLEAN_T",       sizeof(KvBoolean),        1, kFixed,    kNone,               RowHandlers<BooleanRow>::Slots(Nulls::kYes, BooleanCompare)},
    // Nullable scalars
    {28, "KvNull_char",     "KvNULL_1B_T",       sizeof(KvNull_char),      2, kFixed,    kCharacter,          RowHandlers<NullableRow<CharRow>>::Slots(Nulls::kYes)},
    {29, "KvNull_uchar",    "KvNULL_U1B_T",      sizeof(KvNull_uchar),     2, kFixed,    kCharacter,          RowHandlers<NullableRow<ByteRow>>::Slots(Nulls::kYes)},
    {30, "KvNull_short",    "KvNULL_2B_T",       sizeof(KvNull_short),     4, kFixed,    kShort,              RowHandlers<NullableRow<ShortRow>>::Slots(Nulls::kYes)},
    {31, "KvNull_ushort",   "KvNULL_U2B_T",      sizeof(KvNull_ushort),    4, kFixed,    kWord,               RowHandlers<NullableRow<WordRow>>::Slots(Nulls::kYes)},
    {32, "KvNull_int",      "KvNULL_INT_T",      sizeof(KvNull_int),       8, kFixed,    kInt,                RowHandlers<NullableRow<IntRow>>::Slots(Nulls::kYes)},
    {33, "KvNull_unsigned", "KvNULL_UNSIGNED_T", sizeof(KvNull_unsigned),  8, kFixed,    kUnsigned,           RowHandlers<NullableRow<UnsignedIntRow>>::Slots(Nulls::kYes)},
    {34, "KvNull_long",     "KvNULL_4B_T",       sizeof(KvNull_long),      8, kFixed,    kLong,               RowHandlers<NullableRow<LongRow>>::Slots(Nulls::kYes)},
    {35, "KvNull_ulong",    "KvNULL_U4B_T",      sizeof(KvNull_ulong),     8, kFixed,    kDword,              RowHandlers<NullableRow<DwordRow>>::Slots(Nulls::kYes)},
    {36, "KvNull_float",    "KvNULL_FLOAT_T",    sizeof(KvNull_float),     8, kFixed,    kFloating,           RowHandlers<NullableRow<FloatRow>>::Slots(Nulls::kYes)},
    {37, "KvNull_double",   "KvNULL_DOUBLE_T",   sizeof(KvNull_double),   16, kFixed,    kFloating,           RowHandlers<NullableRow<DoubleRow>>::Slots(Nulls::kYes)},
    {38, "KvNull_KvInt64",  "KvNULL_KVINT64_T",  sizeof(KvNull_KvInt64),  12, kFixed,    kInt64,              RowHandlers<NullableRow<Int64Row>>::Slots(Nulls::kYes)},
    // Later additions
    {39, "KvSeal",          "KvSEAL_T",          sizeof(KvSeal),           6, kFixed,    kNone,               RowHandlers<SealRow>::Slots(Nulls::kNo)},
    {40, "KvDateTimeN",     "KvDATIME_N_T",      sizeof(KvDateTimeN),     12, kFixed,    kDateTimeN,          RowHandlers<DateTimeNRow>::Slots(Nulls::kYes)},
    {41, "KvTimeSpan",      "KvTIMESPAN_T",      sizeof(KvTimeSpan),      12, kFixed,    kTimeSpan,           RowHandlers<TimeSpanRow>::Slots(Nulls::kYes)},
    {42, "o_8b",            "Kv8B_T",            sizeof(o_8b),             8, kFixed,    kEightByte,          ScalarSlots<EightByteRow>(O_8BCompare)},
    {43, "o_u8b",           "KvU8B_T",           sizeof(o_u8b),            8, kFixed,    kUnsignedEightByte,  ScalarSlots<UnsignedEightByteRow>(O_U8BCompare)},
    {44, "KvNull_8b",       "KvNULL_8B_T",       sizeof(KvNull_8b),       16, kFixed,    kEightByte,          RowHandlers<NullableRow<EightByteRow>>::Slots(Nulls::kYes)},
    {45, "KvNull_u8b",      "KvNULL_U8B_T",      sizeof(KvNull_u8b),      16, kFixed,    kUnsignedEightByte,  RowHandlers<NullableRow<UnsignedEightByteRow>>::Slots(Nulls::kYes)},
    // Ids 100 to 127
    {46, "illegal",         "KvRES_T",           0,                        0, kFixed,    "illegal",           TrivialSlots()},
};
// clang-format on

// The old string row: the same texts and lifetime, the old stored form, no null, no stepping.
constexpr Entry kOldStringEntry{11, "KvString", "KvSTRING_T", sizeof(KvString),
                                8,  kVariable,  kString,      OldStringSlots()};

static_assert(std::size(kEntries) == kRowCount);
static_assert(
    [] {
      for (int row = 0; row < kRowCount; ++row) {
        if (kEntries[row].id != row) return false;
      }
      return true;
    }(),
    "an entry's place is its id");

static_assert(
    [] {
      for (const Entry& entry : kEntries) {
        // A value that holds a pointer, which has four bytes there, grows with it.
        const bool holdsPointer = entry.width == kVariable;
        const std::size_t times = holdsPointer ? sizeof(void*) / 4 : 1;
        if (entry.memoryWidth != times * entry.homeWidth) return false;
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

// One function of the first rows, or of all. The table itself is not in the library.
template <std::size_t count, class Slot>
constexpr auto Column(Slot slot) {
  std::array<std::remove_cvref_t<decltype(kEntries[0].slots.*slot)>, count> column{};
  for (std::size_t row = 0; row < count; ++row) column[row] = kEntries[row].slots.*slot;
  return column;
}

}  // namespace

constinit const std::array<KvCompareFunc, kRowCount> ownCompare =
    Column<kRowCount>(&RowSlots::compare);
constinit const std::array<KvScanFunc, kRowCount> ownScan = Column<kRowCount>(&RowSlots::scan);
constinit const std::array<CheckedScanFunc, kIllegalRow> checkedScans =
    Column<kIllegalRow>(&RowSlots::checkedScan);
constinit const std::array<const SortKeyHandlers*, kIllegalRow> sortKeyRows =
    Column<kIllegalRow>(&RowSlots::sortKeys);

constinit const std::array<KvTypeDescriptor*, kRowCount> currentCatalogue =
    PointAt(std::make_index_sequence<kRowCount>());

constinit const std::array<KvTypeDescriptor*, kOldRowCount> oldCatalogue = PointAtOldRows();

}  // namespace kv
