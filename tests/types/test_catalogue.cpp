// The catalogue as callers see it, through KvTypeMgr: an independent copy of the table, and the
// odd corners of the id mapping.

#include <doctest/doctest.h>

#include <cstdint>
#include <cstring>
#include <iterator>
#include <string>

#include "kv.h"
#include "kvchecked.h"
#include "support/values_of.h"

namespace {

// The rows as the first release had them. One that came later, in front of the illegal row, is held
// to what every row must be, and to its golden file.
//
// First values are the lowest ones, with the floating numbers the lowest finite one. Object number
// 0 is the null, so that 1 is the first; halves of KvInt64 lie the low one first; a nullable is
// there; strings and blobs are empty.
struct Expected {
  const char* name;
  const char* idName;
  unsigned memory;  // bytes where pointers have four
  bool fixed;
  bool null;
  const char* format;
  const char* first;  // the first value as it is stored most significant byte first, if it has one
};

const Expected kTable[] = {
    {"o_char", "Kv1B_T", 1, true, false, "%c", "80"},
    {"o_2b", "Kv2B_T", 2, true, false, "%hd", "8000"},
    {"o_4b", "Kv4B_T", 4, true, false, "%ld", "80000000"},
    {"o_double", "KvDOUBLE_T", 8, true, false, "%.17g", "FFEFFFFFFFFFFFFF"},
    {"o_float", "KvFLOAT_T", 4, true, false, "%.17g", "FF7FFFFF"},
    {"o_u2b", "KvU2B_T", 2, true, false, "%hu", "0000"},
    {"o_u4b", "KvU4B_T", 4, true, false, "%lu", "00000000"},
    {"int", "KvINT_T", 4, true, false, "%d", "80000000"},
    {"unsigned", "KvUNSIGNED_T", 4, true, false, "%u", "00000000"},
    {"enum", "KvENUM_T", 4, true, false, "%d", "80000000"},
    {"o_u1b", "KvU1B_T", 1, true, false, "%c", "00"},
    {"KvString", "KvSTRING_T", 8, false, true, "%s", "0004010100FF"},
    {"KvDate", "KvDATE_T", 4, true, true, "%a %e.%b %Y", "80000101"},
    {"KvTime", "KvTIME_T", 3, true, true, "%I:%M:%S %p", "000000"},
    {"BlockId", "KvBLOCKID_T", 4, true, false, "#%lu", "00000000"},
    {"KvObjId", "KvOBJID_T", 12, true, true, "(%H-%L#%B)", "00000000000000010000"},
    {"KvClassId", "KvCLID_T", 4, true, true, "(%Cv%V)", "00000000"},
    {"KvRef", "KvREF_T", 16, true, true, "(%D:%H-%L#%B, %C)", "0000000000000001000000000000"},
    {"KvBlob", "KvBLOB_T", 4, false, true, "[BLOB,len=%L]", "0000000400000000"},
    {"KvDateTime", "KvDATIME_T", 8, true, true, "%a %e.%b %Y %I:%M:%S %p", "80000101000000"},
    {"KvIString", "KvISTRING_T", 8, false, false, "%s", "0004010100FF"},
    {"KvCaseIString", "KvCASEISTRING_T", 8, false, false, "%s", "0004010100FF"},
    {"d_Date", "D_DATE_T", 4, true, false, "%a %b %e", "80000101"},
    {"d_Time", "D_TIME_T", 6, true, false, "%I:%M:%S %p", "000000000000"},
    {"d_Timestamp", "D_TIMESTAMP_T", 10, true, false, "%a %b %e %I:%M:%S %p",
     "80000101000000000000"},
    {"d_Interval", "D_INTERVAL_T", 4, true, false, "%e days, %I hours, %M minutes, %S seconds",
     "FF7FFFFF"},
    {"KvInt64", "KvINT64_T", 8, true, false, "%S", "0000000080000000"},
    {"KvBoolean", "KvBOOLEAN_T", 1, true, true, "noop", ""},
    {"KvNull_char", "KvNULL_1B_T", 2, true, true, "%c", "0080"},
    {"KvNull_uchar", "KvNULL_U1B_T", 2, true, true, "%c", "0000"},
    {"KvNull_short", "KvNULL_2B_T", 4, true, true, "%hd", "008000"},
    {"KvNull_ushort", "KvNULL_U2B_T", 4, true, true, "%hu", "000000"},
    {"KvNull_int", "KvNULL_INT_T", 8, true, true, "%d", "0080000000"},
    {"KvNull_unsigned", "KvNULL_UNSIGNED_T", 8, true, true, "%u", "0000000000"},
    {"KvNull_long", "KvNULL_4B_T", 8, true, true, "%ld", "0080000000"},
    {"KvNull_ulong", "KvNULL_U4B_T", 8, true, true, "%lu", "0000000000"},
    {"KvNull_float", "KvNULL_FLOAT_T", 8, true, true, "%.17g", "00FF7FFFFF"},
    {"KvNull_double", "KvNULL_DOUBLE_T", 16, true, true, "%.17g", "00FFEFFFFFFFFFFFFF"},
    {"KvNull_KvInt64", "KvNULL_KVINT64_T", 12, true, true, "%S", "000000000080000000"},
    {"KvSeal", "KvSEAL_T", 6, true, false, "noop", "000000000000"},
    {"KvDateTimeN", "KvDATIME_N_T", 12, true, true, "%X", "8000010100000000000000"},
    {"KvTimeSpan", "KvTIMESPAN_T", 12, true, true, "%V", "8000000000000000000000"},
    {"o_8b", "Kv8B_T", 8, true, false, "%I64d", "8000000000000000"},
    {"o_u8b", "KvU8B_T", 8, true, false, "%I64u", "0000000000000000"},
    {"KvNull_8b", "KvNULL_8B_T", 16, true, true, "%I64d", "008000000000000000"},
    {"KvNull_u8b", "KvNULL_U8B_T", 16, true, true, "%I64u", "000000000000000000"},
    {"illegal", "KvRES_T", 0, true, false, "illegal", ""},
};

constexpr char kKnownRows = static_cast<char>(std::size(kTable) - 1);
constexpr char kIllegal = KvRES_T;
constexpr char kRows = kIllegal + 1;

// Null for a row that came later.
const Expected* ExpectedOf(char id) {
  if (id == kIllegal) return &kTable[std::size(kTable) - 1];
  return id < kKnownRows ? &kTable[static_cast<int>(id)] : nullptr;
}

unsigned MemoryHere(char id, const Expected& row) {
  if (sizeof(void*) == 4) return row.memory;
  if (id == KvSTRING_T || id == KvISTRING_T || id == KvCASEISTRING_T) return 16;
  return id == KvBLOB_T ? 8 : row.memory;
}

}  // namespace

TEST_CASE("every row has its name, size, format, null and the slots that callers use untested") {
  CHECK(support::kRowCount == kIllegal);
  CHECK(kKnownRows <= kIllegal);  // no row is lost, and the illegal one is the last
  KvTypeMgr types;
  for (char id = 0; id < kRows; ++id) {
    CAPTURE(std::string(types.NameGet(id, nullptr)));
    char found = -1;
    CHECK(types.Name2KvTypeId(types.NameGet(id, nullptr), found) == 0);
    CHECK(found == id);
    CHECK(KvFindType(types, types.TypeIdNameGet(id, nullptr), found) == kvOk);
    CHECK(found == id);
    CHECK((types.CmpFuncPtrGet(id) != nullptr));
    CHECK((types.StorePtrGet(id) != nullptr));
    CHECK((types.LoadPtrGet(id) != nullptr));
    CHECK((types.ConstructorPtrGet(id) != nullptr));
    CHECK((types.DestructorPtrGet(id) != nullptr));
    CHECK((types.AssignmentPtrGet(id) != nullptr));
    CHECK((types.CopyPtrGet(id) != nullptr));
    CHECK((types.IsNullPtrGet(id) != nullptr));
    CHECK((types.SetNullPtrGet(id) != nullptr) == (types.SupportsNullValue(id) != 0));
    CHECK(types.ComparePtrGet(id) == nullptr);
    const Expected* row = ExpectedOf(id);
    if (row == nullptr) continue;
    char buffer[32];
    CHECK(types.NameGet(id, nullptr) == std::string(row->name));
    CHECK(types.TypeIdNameGet(id, buffer) == std::string(row->idName));
    CHECK(types.MemLenGet(id, 1) == MemoryHere(id, *row));
    CHECK(types.IsFixed(id) == (row->fixed ? 1 : 0));
    CHECK(types.SupportsNullValue(id) == (row->null ? 1 : 0));
    CHECK(types.ExchangeFormat(id, nullptr) == std::string(row->format));
  }
}

TEST_CASE("ids beyond the rows") {
  KvTypeMgr types;
  for (int id = -128; id < 128; ++id) {
    CAPTURE(id);
    const bool valid = id < kRows || id >= 100;
    CHECK(types.IsValidType(static_cast<char>(id)) == (valid ? 1 : 0));
  }
  // The row behind the last one that there is would be 100, 101 and so on, too.
  for (int id = 54 + kIllegal; id < 128; ++id) {
    CHECK(types.NameGet(static_cast<char>(id), nullptr) == std::string("illegal"));
    CHECK(types.SupportsCapability(static_cast<char>(id), 2) == 0);
  }
  char id = 7;
  CHECK(types.Name2KvTypeId("O_4B", id) == 1);
  CHECK(id == kRows);
  CHECK(types.MemLenGet(KvREF_T, 5000) == 14464);  // 80,000 modulo 65,536
}

TEST_CASE("capabilities") {
  KvTypeMgr types;
  std::string integral;
  std::string stamped;
  for (char id = 0; id < kRows; ++id) {
    if (types.SupportsCapability(id, 2)) integral += std::to_string(id) + " ";
    if (types.SupportsCapability(id, 3)) stamped += std::to_string(id) + " ";
    CHECK(types.SupportsCapability(id, 4) == 0);
    CHECK(types.SupportsCapability(id, 0) == 0);
  }
  CHECK(integral == "0 1 2 5 6 7 8 9 10 15 26 42 43 ");
  CHECK(stamped == "12 13 19 22 23 24 40 ");
}

TEST_CASE("the first value of each type is a step away, and in memory only") {
  KvTypeMgr types;
  const auto stored = [&](char id, void* value) {
    unsigned char bytes[32];
    return support::Hex({bytes, bytes + types.Store(id, bytes, value, 2, 1)});
  };
  for (char id = 0; id < kKnownRows; ++id) {
    CAPTURE(std::string(types.NameGet(id, nullptr)));
    const KvStepFunc step = types.StepPtrGet(id);
    void* value = types.DefaultValue(id, 1, 0);
    types.GetValue(id, value, 0, 8, 'M');
    const std::string before = stored(id, value);
    CHECK(types.GetValue(id, value, 0, 8, kvSmallestValue) == kvNotSupported);
    CHECK(step(value, 0, 8, kvSmallestValue + 1) == kvNotSupported);
    if (id != KvSTRING_T) CHECK(step(value, 0, 0, kvSmallestValue) == kvNotSupported);
    CHECK(stored(id, value) == before);
    const std::string first = ExpectedOf(id)->first;
    CHECK(step(value, 0, 8, 2) == (first.empty() ? kvNotSupported : kvOk));
    CHECK(stored(id, value) == (first.empty() ? before : first));
    types.Delete(id, value, 1);
  }
}

TEST_CASE("the illegal row answers every operation harmlessly") {
  KvTypeMgr types;
  const char id = 127;
  char value = 5;
  int status = 9;
  KvString text("left alone");
  unsigned short predicate = 1;
  CHECK(types.Create(id, 3) == nullptr);
  CHECK(types.Delete(id, nullptr, 3) == nullptr);
  CHECK(types.Store(id, &value, &value, 8, 1) == 0);
  CHECK(types.DiskLenGet(id, &value, 0, 1, 0) == 0);
  CHECK(types.Cmp(id, 0, &value, 0, &value, 0, 1, 8, status) == 0);
  CHECK(status == 0);
  CHECK(types.Hash(id, 0, &value, 1, 8, status) == 0);
  CHECK(types.EvalAndBound(id, nullptr, predicate, &value, 8, 1, nullptr, nullptr) == 0.0f);
  CHECK(types.IsNullValue(id, &value) == 0);
  CHECK(types.ConvertTo(id, &value, 1) == nullptr);
  CHECK(types.ConvertFrom(id, nullptr, 1) == nullptr);
  CHECK(types.DefaultValue(id, 1, 0) == nullptr);
  CHECK(types.GetValue(id, &value, 0, 8, 'M') == kvNotSupported);
  CHECK(types.SetNullValue(id, &value) == 0);
  MemFile file("abcd", 4);
  char other = 6;
  CHECK(types.Load(id, &value, &other, 8, 1) == 0);
  CHECK(types.Translate(id, &value, 0, 1, &other, 0, 1, 1) == 0);
  CHECK(types.DiskLenGetFromMemFile(id, &file, 0, 1) == 0);
  CHECK(types.NullSizePtrGet(id)(3) == 0);
  types.ConstructorPtrGet(id)(&value, 1, 0);
  types.DestructorPtrGet(id)(&value, 1, 0);
  types.AssignmentPtrGet(id)(&value, &other, 1, 0);
  types.CopyPtrGet(id)(&value, &other, 1, 0);
  CHECK(&types.PrintToKvString(id, text, &value, nullptr, 1) == &text);
  CHECK(std::strcmp(text.StrGet(), "left alone") == 0);
  CHECK(types.ScanFromKvString(id, &value, text, nullptr, 1) == nullptr);
  CHECK(value == 5);
}

TEST_CASE("nulls take what they are said to") {
  KvTypeMgr types;
  for (char id = 0; id < support::kRowCount; ++id) {
    CAPTURE(std::string(types.NameGet(id, nullptr)));
    unsigned char stored[64];
    auto* const values = static_cast<unsigned char*>(types.Create(id, 3));
    for (unsigned i = 0; i < 3; ++i) {
      const int status = types.SetNullValue(id, values + i * types.MemLenGet(id, 1));
      CHECK((status == kvOk || types.SupportsNullValue(id) == 0));
    }
    for (unsigned count = 0; count <= 3; ++count) {
      CHECK(types.NullSizePtrGet(id)(count) == types.Store(id, stored, values, 0, count));
    }
    types.Delete(id, values, 3);
  }
}

TEST_CASE("a run of no values takes, holds and orders nothing") {
  KvTypeMgr& types = support::Types();
  const void* const nowhere =
      reinterpret_cast<void*>(std::uintptr_t{64});  // who reads there is stopped
  for (char id = 0; id < support::kRowCount; ++id) {
    CAPTURE(std::string(types.NameGet(id, nullptr)));
    const support::Values values(id, support::OrdinaryValues(id, 3));
    const support::Values loaded(id, support::OrdinaryValues(id, 3));
    for (const unsigned char format : std::initializer_list<unsigned char>{0, 2, 8}) {
      CAPTURE(int{format});
      unsigned char stored[2][512] = {};
      const void* run[2] = {values[1], values[2]};
      if (format != 8) {
        CHECK(types.Store(id, stored[0], values[1], format, 0) == 0);
        CHECK(std::count(stored[0], stored[0] + 512, 0) == 512);
        for (int i = 0; i < 2; ++i) types.Store(id, stored[i], run[i], format, 1);
        CHECK(types.Load(id, loaded[0], stored[0], format, 0) == 0);
        CHECK(types.Cmp(id, loaded[0], values[0], kvCompareExact, 1, 8) == 0);
        CHECK(types.DiskLenGet(id, stored[0], format, 0, 0) == 0);
        for (int i = 0; i < 2; ++i) run[i] = stored[i];
      }
      for (const void* const unread : {run[0], static_cast<const void*>(nullptr), nowhere}) {
        int status = -1;
        CHECK(types.Cmp(id, 0, unread, 0, run[1], kvCompareExact, 0, format, status) == 0);
        CHECK(status == kvOk);
        CHECK(types.Hash(id, 0, unread, 0, format, status) == 0);
        CHECK(status == kvOk);
      }
      if (id == KvBOOLEAN_T) continue;  // its share of an index is always the same
      unsigned short equal = kvPredicateEqual;
      KvIdxBounds bounds{stored[0], stored[1], 0, 0};
      CHECK(types.EvalAndBound(id, &bounds, equal, run[0], format, 0, nullptr, nullptr) == 0);
      CHECK(types.EvalAndBound(id, &bounds, equal, nullptr, format, 1, nullptr, nullptr) == 0);
    }
  }
}

TEST_CASE("format versions choose the catalogue") {
  struct {
    unsigned factory;
    bool old;
    int version;
  } const cases[] = {{0, true, 0},      {3, true, 3},        {4, false, 4},  {5, false, 5},
                     {10, false, 10},   {11, true, 3},       {12, false, 4}, {4000, false, 4},
                     {65539, false, 4}, {UINT_MAX, false, 4}};
  for (const auto& each : cases) {
    CAPTURE(each.factory);
    KvTypeMgr types(each.factory);
    CHECK(types.FormatVersion() == each.version);
    // Only the current string row has a null.
    CHECK(types.SupportsNullValue(KvSTRING_T) == (each.old ? 0 : 1));
    // Both share all other rows: a function exchanged through one shows in the other.
    CHECK((types.StorePtrGet(Kv2B_T) == KvTypeMgr(5).StorePtrGet(Kv2B_T)));
    // The string rows order alike by functions of their own, and names are the current catalogue's.
    CHECK(((types.CmpFuncPtrGet(KvSTRING_T) == &StringCompare) == !each.old));
    char id = 0;
    CHECK(types.Name2KvTypeId("KvTimeSpan", id) == 0);
    CHECK(id == KvTIMESPAN_T);
    CHECK(types.Name2KvTypeId("o_4B", id) == 1);
    CHECK(id == kRows);
    types.SetFactory(5);
    CHECK(types.SupportsNullValue(KvSTRING_T) == 1);
  }
  CHECK(KvTypeMgr().FormatVersion() == 5);
}

TEST_CASE("exchange operations replace for every manager and read with null") {
  KvTypeMgr types;
  KvTypeMgr other(3);
  CHECK(types.ExchangeFormat(Kv4B_T, "<%ld>") == std::string("%ld"));
  o_4b value = 7;
  KvString text;
  other.PrintToKvString(Kv4B_T, text, &value, nullptr, 1);
  CHECK(std::strcmp(text.StrGet(), "<7>") == 0);
  CHECK(types.ExchangeFormat(Kv4B_T, "%ld") == std::string("<%ld>"));
  CHECK(types.ExchangeFormat(Kv4B_T, nullptr) == std::string("%ld"));

  const KvCompareFunc original = types.ExchangeKvTypeCmpFunc(Kv4B_T, DwordCompare);
  CHECK((original == &LongCompare));
  o_4b minus = -1;
  o_4b one = 1;
  CHECK(other.Cmp(Kv4B_T, &minus, &one, 0, 1, 8) == 1);
  CHECK((types.ExchangeKvTypeCmpFunc(Kv4B_T, original) == &DwordCompare));
  CHECK(other.Cmp(Kv4B_T, &minus, &one, 0, 1, 8) == -1);

  const KvPrintFunc print = types.ExchangePrintToKvStringFunc(
      Kv4B_T, [](KvString& out, void*, const char*, unsigned) -> KvString& { return out = "n"; });
  o_4b run[3] = {};
  text = "";
  other.PrintToKvString(Kv4B_T, text, run, nullptr, 3);
  CHECK(std::strcmp(text.StrGet(), "n,n,n") == 0);
  // An element may print nothing at all; the string that it is given is empty and not null.
  types.ExchangePrintToKvStringFunc(
      Kv4B_T, [](KvString& out, void* values, const char*, unsigned count) -> KvString& {
        CHECK((out.IsEmpty() && !out.IsNullValue() && count == 1));
        const o_4b number = *static_cast<const o_4b*>(values);
        return number != 2 ? out << number : out;
      });
  o_4b counted[3] = {1, 2, 3};
  text = "";
  CHECK(std::strcmp(other.PrintToKvString(Kv4B_T, text, counted, nullptr, 3).StrGet(), "1,,3") ==
        0);
  types.ExchangePrintToKvStringFunc(Kv4B_T, print);
  const KvScanFunc scan = types.ExchangeScanFromKvStringFunc(Kv4B_T, nullptr);
  CHECK((types.ExchangeScanFromKvStringFunc(Kv4B_T, scan) == scan));
}
