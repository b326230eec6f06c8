// The key codecs of the fixed rows, and the table of all rows' keys. docs/sort-keys.md draws them.
#include "kvtypevl/rows/sort_key_rows.h"

#include "kv.h"
#include "kvtypevl/rows/blob_keys.h"
#include "kvtypevl/rows/dates.h"
#include "kvtypevl/rows/identities.h"
#include "kvtypevl/rows/istring_keys.h"
#include "kvtypevl/rows/nullables.h"
#include "kvtypevl/rows/string_keys.h"
#include "kvtypevl/rows/values.h"

namespace kv {
namespace {

// ---------------------------------------------------------------------------------------------
// Dates and times. The smallest value of all is the null.

template <class Codec, o_u8b place = 0>
struct NullInside : Codec {
  static constexpr unsigned kNullWidth = Codec::kWidth;
  static constexpr o_u8b kNullPlace = place;
};

using DateKey = NullInside<MemberKey<DateCodec>>;
using TimeKey = NullInside<MemberKey<TimeCodec>>;
using DateTimeKey = NullInside<MemberKey<DateTimeCodec>>;
// Their null has nanoseconds of 0, and those of a neighbour may be negative.
template <class T>
using NanosecondKey = NullInside<MemberKey<NanosecondCodec<T>>, 0x80000000>;

// ---------------------------------------------------------------------------------------------
// Identities, the number before the block. Nulls are those of object number 0, whatever block they
// name.

struct ObjIdKey
    : MemberKey<Codec<KvObjId, At<&KvObjId::high>, At<&KvObjId::low>, At<&KvObjId::block>>> {
  static constexpr unsigned kNullWidth = 6;
  static constexpr o_u8b kNullPlace = 0;
};

struct RefKey : MemberKey<Codec<KvRef, At<&KvRef::high>, At<&KvRef::low>, At<&KvRef::block>,
                                At<&KvRef::database>, At<&KvRef::classNo>>> {
  static constexpr unsigned kNullWidth = 6;
  static constexpr o_u8b kNullPlace = 0;
};

// The null has the largest number of all and comes first, so the numbers are moved by one.
struct ClassIdKey {
  using Value = KvClassId;
  using Members = ClassIdCodec;
  static constexpr KeyStep kStep = KeyStep::kPlusOne;
  static constexpr unsigned kWidth = 4;
  static constexpr unsigned kNullWidth = 4;
  static constexpr o_u8b kNullPlace = 0;
  static void Write(unsigned char* key, const Value& id) {
    PutWord(key, (std::uint32_t{id.classNo} << 16 | id.version) + 1);
  }
  static Value Read(const unsigned char* key) {
    const std::uint32_t number = GetWord<std::uint32_t>(key) - 1;
    return {static_cast<o_u2b>(number >> 16), static_cast<o_u2b>(number)};
  }
};

// ---------------------------------------------------------------------------------------------
// Small values.

using Int64Key = MemberKey<Codec<KvInt64, At<&KvInt64::high>, At<&KvInt64::low>>>;

// Signed bytes, but null (255, which is -1) before all; the numbers below it move up by one.
struct BooleanKey {
  using Value = KvBoolean;
  using Members = BooleanCodec;
  static constexpr KeyStep kStep = KeyStep::kBoolean;
  static constexpr unsigned kWidth = 1;
  static constexpr unsigned kNullWidth = 1;
  static constexpr o_u8b kNullPlace = 0;
  static void Write(unsigned char* key, Value truth) {
    const unsigned turned = truth.value ^ 0x80u;
    *key = truth.IsNullValue() ? 0 : static_cast<unsigned char>(turned + (turned < 0x80 ? 1 : 0));
  }
  static Value Read(const unsigned char* key) {
    Value truth;
    truth.value = *key == 0     ? KvBoolean::kNull
                  : *key < 0x80 ? static_cast<o_u1b>((*key - 1) ^ 0x80)
                                : static_cast<o_u1b>(*key ^ 0x80);
    return truth;
  }
};

// ---------------------------------------------------------------------------------------------

// The codec of the row says where the members are in its stored form.
template <class Key, class Codec = typename Key::Members>
constexpr const SortKeyHandlers* kFixed = &FixedKeys<Key, Codec>::kHandlers;

template <class Key, class Codec = typename Key::Members>
constexpr const SortKeyHandlers* kNullable = &NullableKeys<Key, NullableCodec<Codec>>::kHandlers;

}  // namespace

// clang-format off
constexpr std::array<const SortKeyHandlers*, KvRES_T> sortKeyRows = {
    /*  0 o_char          */ kFixed<NumberKey<o_char>>,
    /*  1 o_2b            */ kFixed<NumberKey<o_2b>>,
    /*  2 o_4b            */ kFixed<NumberKey<o_4b>>,
    /*  3 o_double        */ kFixed<FloatingKey<o_double>>,
    /*  4 o_float         */ kFixed<FloatingKey<o_float>>,
    /*  5 o_u2b           */ kFixed<NumberKey<o_u2b>>,
    /*  6 o_u4b           */ kFixed<NumberKey<o_u4b>>,
    /*  7 int             */ kFixed<NumberKey<int>>,
    /*  8 unsigned        */ kFixed<NumberKey<unsigned>>,
    /*  9 enum            */ kFixed<NumberKey<int>>,
    /* 10 o_u1b           */ kFixed<NumberKey<o_u1b>>,
    /* 11 KvString        */ &StringKeys::kHandlers,
    /* 12 KvDate          */ kFixed<DateKey>,
    /* 13 KvTime          */ kFixed<TimeKey>,
    /* 14 BlockId         */ kFixed<NumberKey<o_u4b>>,
    /* 15 KvObjId         */ kFixed<ObjIdKey, ObjIdCodec>,
    /* 16 KvClassId       */ kFixed<ClassIdKey>,
    /* 17 KvRef           */ kFixed<RefKey, RefCodec>,
    /* 18 KvBlob          */ &BlobKeys::kHandlers,
    /* 19 KvDateTime      */ kFixed<DateTimeKey>,
    /* 20 KvIString       */ &WeightedKeys<KvIStringWeights>::kHandlers,
    /* 21 KvCaseIString   */ &WeightedKeys<KvCaseIStringWeights>::kHandlers,
    /* 22 d_Date          */ kFixed<MemberKey<OdmgDateCodec>>,
    /* 23 d_Time          */ kFixed<MemberKey<OdmgTimeCodec>>,
    /* 24 d_Timestamp     */ kFixed<MemberKey<OdmgTimestampCodec>>,
    /* 25 d_Interval      */ kFixed<MemberKey<IntervalCodec>>,
    /* 26 KvInt64         */ kFixed<Int64Key, Int64Codec>,
    /* 27 KvBoolean       */ kFixed<BooleanKey>,
    /* 28 KvNull_char     */ kNullable<NumberKey<o_char>>,
    /* 29 KvNull_uchar    */ kNullable<NumberKey<o_u1b>>,
    /* 30 KvNull_short    */ kNullable<NumberKey<o_2b>>,
    /* 31 KvNull_ushort   */ kNullable<NumberKey<o_u2b>>,
    /* 32 KvNull_int      */ kNullable<NumberKey<int>>,
    /* 33 KvNull_unsigned */ kNullable<NumberKey<unsigned>>,
    /* 34 KvNull_long     */ kNullable<NumberKey<o_4b>>,
    /* 35 KvNull_ulong    */ kNullable<NumberKey<o_u4b>>,
    /* 36 KvNull_float    */ kNullable<FloatingKey<o_float>>,
    /* 37 KvNull_double   */ kNullable<FloatingKey<o_double>>,
    /* 38 KvNull_KvInt64  */ kNullable<Int64Key, Int64Codec>,
    /* 39 KvSeal          */ kFixed<MemberKey<SealCodec>>,
    /* 40 KvDateTimeN     */ kFixed<NanosecondKey<KvDateTimeN>>,
    /* 41 KvTimeSpan      */ kFixed<NanosecondKey<KvTimeSpan>>,
    /* 42 o_8b            */ kFixed<NumberKey<o_8b>>,
    /* 43 o_u8b           */ kFixed<NumberKey<o_u8b>>,
    /* 44 KvNull_8b       */ kNullable<NumberKey<o_8b>>,
    /* 45 KvNull_u8b      */ kNullable<NumberKey<o_u8b>>,
};
// clang-format on
static_assert(sortKeyRows.back() != nullptr, "every type has a sort key");

}  // namespace kv
