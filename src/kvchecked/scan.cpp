// Scans that say how they went. The functions that read are those of the rows, which note in a
// trace what their slots have no way to tell; here a trace becomes a status, and a value is taken
// only when all of it is in the text.
#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "kv.h"
#include "kvchecked.h"
#include "kvchecked/calendar.h"
#include "kvdate/parts.h"
#include "kvstring/null_text.h"
#include "kvstring/string_edit.h"
#include "kvtext/number_text.h"
#include "kvtypes/catalogue.h"
#include "kvtypevl/rows/blobs.h"
#include "kvtypevl/rows/identities.h"
#include "kvtypevl/rows/scalars.h"
#include "kvtypevl/rows/values.h"

namespace {

using kv::NarrowText;
using kv::ScanTrace;

// Reads one value of a type; `value` is set for the statuses that are a value.
using CheckedScan = KvScanned (*)(void* value, const KvString& text, const char* format);

bool IsBlankFrom(const char* text) {
  return *kv::SkipBlanks(text) == 0;
}

KvScanned Outcome(const ScanTrace& trace, const KvString& text) {
  if (trace.badFormat) return {kvBadArgument, 0};
  if (trace.outOfRange) return {kvOutOfRange, trace.position};
  const NarrowText narrow(text);
  const char* rest = narrow.Get() + trace.position;
  if (!trace.any && IsBlankFrom(narrow.Get())) return {kvNothingRead, 0};
  if (!trace.complete || !trace.any) return {kvMismatch, trace.position};
  if (!IsBlankFrom(rest)) return {kvTextLeft, trace.position};
  return {kvOk, text.Len()};
}

// What the null print string takes of a text.
KvScanned NullRead(const KvString& text) {
  const unsigned length =
      NarrowText(text).Get()[0] == 0 ? 0 : KvTypeMgr::GetNullPrintString().Len();
  return Outcome({.position = length, .complete = true, .any = true}, text);
}

// --- Scalars ---

template <class T, void (*trace)(void*, const KvString&, const char*, ScanTrace&)>
KvScanned Number(void* value, const KvString& text, const char* format) {
  T read{};
  ScanTrace seen;
  trace(&read, text, format, seen);
  const KvScanned outcome = Outcome(seen, text);
  if (outcome.IsValue()) std::memcpy(value, &read, sizeof read);
  return outcome;
}

constexpr CheckedScan kShort = Number<o_2b, kv::TraceShort>;
constexpr CheckedScan kLong = Number<o_4b, kv::TraceLong>;
constexpr CheckedScan kEightBytes = Number<o_8b, kv::Trace8b>;
constexpr CheckedScan kFloat = Number<float, kv::TraceFloat>;
constexpr CheckedScan kDouble = Number<double, kv::TraceDouble>;

// A character, or a byte as 0x and two digits, which is how the row prints what is not printable.
// Formats have nothing to say to one character.
KvScanned Character(void* value, const KvString& text, const char* /*format*/) {
  const NarrowText narrow(text);
  const char* at = narrow.Get();
  if (*at == 0) return {kvNothingRead, 0};
  char byte = *at;
  unsigned taken = 1;
  if (at[0] == '0' && at[1] == 'x' && kv::IsHexDigit(at[2]) && kv::IsHexDigit(at[3])) {
    const char* digits = at + 2;
    byte = static_cast<char>(kv::ReadInteger(digits, digits + 2, 16).magnitude);
    taken = 4;
  }
  std::memcpy(value, &byte, 1);
  return Outcome({.position = taken, .complete = true, .any = true}, text);
}

KvScanned Int64(void* value, const KvString& text, const char* format) {
  KvInt64 read;
  ScanTrace trace;
  kv::ScanInt64Text(read, NarrowText(text).Get(), format, &trace);
  const KvScanned outcome = Outcome(trace, text);
  if (outcome.IsValue()) *static_cast<KvInt64*>(value) = read;
  return outcome;
}

KvScanned Seal(void* value, const KvString& text, const char* /*format*/) {
  constexpr o_8b kMost = 0xFFFFFFFFFFFF;
  KvInt64 read;
  ScanTrace trace;
  kv::ScanInt64Text(read, NarrowText(text).Get(), nullptr, &trace);
  trace.outOfRange = trace.outOfRange || read < 0 || read.Get8b() > kMost;
  const KvScanned outcome = Outcome(trace, text);
  if (outcome.IsValue()) static_cast<KvSeal*>(value)->ConvertFrom(read);
  return outcome;
}

KvScanned Boolean(void* value, const KvString& text, const char* /*format*/) {
  auto& truth = *static_cast<KvBoolean*>(value);
  const NarrowText narrow(text);
  if (kv::BeginsWithNull(narrow.Get())) {
    truth.SetNullValue();
    return NullRead(text);
  }
  const char* begin = kv::SkipBlanks(narrow.Get());
  std::size_t length = 0;
  while (begin[length] != 0 && !kv::IsBlank(begin[length])) ++length;
  const std::string_view word(begin, length);
  ScanTrace trace{.position = static_cast<unsigned>(begin - narrow.Get())};
  // The first half of the words is true.
  constexpr std::string_view kWords[] = {"TRUE",  "true",  "T", "t", "1",
                                         "FALSE", "false", "F", "f", "0"};
  for (std::size_t i = 0; i < std::size(kWords); ++i) {
    if (word != kWords[i]) continue;
    truth = i < std::size(kWords) / 2;
    trace.position += static_cast<unsigned>(length);
    trace.complete = trace.any = true;
  }
  return Outcome(trace, text);
}

// A nullable scalar: empty and the null print string are null.
template <class Nullable, CheckedScan scalar>
KvScanned OrNull(void* value, const KvString& text, const char* format) {
  auto& nullable = *static_cast<Nullable*>(value);
  if (kv::IsNullText(NarrowText(text).Get())) {
    nullable.SetNullValue();
    return NullRead(text);
  }
  const KvScanned outcome = scalar(&nullable.value, text, format);
  if (outcome.IsValue()) nullable.null = 0;
  return outcome;
}

// --- Dates and times ---

template <class T>
bool IsRealOrNull(const T& value) {
  if constexpr (requires { value.IsNullValue(); }) {
    if (value.IsNullValue()) return true;
  }
  if constexpr (requires { kv::IsReal(value); }) return kv::IsReal(value);
  return true;
}

template <class T>
KvScanned Moment(void* value, const KvString& text, const char* format) {
  T read = *static_cast<const T*>(value);
  ScanTrace trace;
  kv::ScanDateTimeText(read, text, format, &trace);
  if (trace.complete && !IsRealOrNull(read)) trace.outOfRange = true;
  const KvScanned outcome = Outcome(trace, text);
  if (outcome.IsValue()) *static_cast<T*>(value) = read;
  return outcome;
}

// --- Identities, blobs ---

template <class T>
KvScanned Identity(void* value, const KvString& text, const char* format) {
  T read = *static_cast<const T*>(value);
  ScanTrace trace;
  kv::TraceIdentity(read, text, format, trace);
  const KvScanned outcome = Outcome(trace, text);
  if (outcome.IsValue()) *static_cast<T*>(value) = read;
  return outcome;
}

KvScanned Blob(void* value, const KvString& text, const char* /*format*/) {
  ScanTrace trace;
  if (!kv::TraceBlob(*static_cast<KvBlob*>(value), text, trace)) return {kvNoMemory, 0};
  return Outcome(trace, text);
}

// --- Strings: every text is one ---

KvScanned String(void* value, const KvString& text, const char* /*format*/) {
  auto& string = *static_cast<KvString*>(value);
  const KvString& null = KvTypeMgr::GetNullPrintString();
  const unsigned short length = null.Len();
  if (length != 0 && text.Compare(null, static_cast<short>(length)) == 0) {
    string.SetNullValue();
    return NullRead(text);
  }
  if (length == 0 && text.IsEmpty()) {
    string.SetNullValue();
    return {kvOk, 0};
  }
  KvString copy(text);
  if (copy.Len() != text.Len()) return {kvNoMemory, 0};
  string.Destruct(copy);
  return {kvOk, text.Len()};
}

// The first character of a 16-bit text that the default 8-bit code set does not have; the length of
// the text when there is none.
unsigned FirstWithoutPlace(const KvString& text) {
  const unsigned length = text.Len();
  if (!KvIsWideCodeSet(text.GetCodeSet())) return length;
  const unsigned char plain = KvString::GetDefault8CodeSet();
  for (unsigned i = 0; i < length; ++i) {
    const unsigned short unit = kv::UnitAt(text.StrGet(), true, i);
    unsigned char byte[2] = {};
    unsigned short back[2] = {};
    kv::ConvertUnits(byte, plain, &unit, text.GetCodeSet(), 1);
    kv::ConvertUnits(back, text.GetCodeSet(), byte, plain, 1);
    if (back[0] != unit) return i;
  }
  return length;
}

template <class T>
KvScanned PlainString(void* value, const KvString& text, const char* /*format*/) {
  const unsigned length = text.Len();
  if (const unsigned place = FirstWithoutPlace(text); place < length) return {kvOutOfRange, place};
  const T read(NarrowText(text).Get());
  if (std::strlen(read.StrGet()) != length) return {kvNoMemory, 0};
  *static_cast<T*>(value) = read;
  return {kvOk, length};
}

// --- All of them ---

// By row. What is set is noted beside the functions: under a sanitizer the compiler does not take
// the address of a function for a constant that is not null.
struct ScanTable {
  std::array<CheckedScan, kv::kRowCount> scans{};
  std::array<bool, kv::kRowCount> isSet{};
};

constexpr ScanTable kScans = [] {
  ScanTable table;
  const auto set = [&](char id, CheckedScan scan) {
    table.scans[static_cast<std::size_t>(id)] = scan;
    table.isSet[static_cast<std::size_t>(id)] = true;
  };
  for (const char id : {Kv1B_T, KvU1B_T}) set(id, Character);
  for (const char id : {Kv2B_T, KvU2B_T}) set(id, kShort);
  for (const char id : {Kv4B_T, KvU4B_T, KvINT_T, KvUNSIGNED_T, KvENUM_T, KvBLOCKID_T}) {
    set(id, kLong);
  }
  for (const char id : {Kv8B_T, KvU8B_T}) set(id, kEightBytes);
  set(KvFLOAT_T, kFloat);
  set(KvDOUBLE_T, kDouble);
  set(KvINT64_T, Int64);
  set(KvBOOLEAN_T, Boolean);
  set(KvSEAL_T, Seal);
  set(KvNULL_1B_T, OrNull<KvNull_char, Character>);
  set(KvNULL_U1B_T, OrNull<KvNull_uchar, Character>);
  set(KvNULL_2B_T, OrNull<KvNull_short, kShort>);
  set(KvNULL_U2B_T, OrNull<KvNull_ushort, kShort>);
  set(KvNULL_INT_T, OrNull<KvNull_int, kLong>);
  set(KvNULL_UNSIGNED_T, OrNull<KvNull_unsigned, kLong>);
  set(KvNULL_4B_T, OrNull<KvNull_long, kLong>);
  set(KvNULL_U4B_T, OrNull<KvNull_ulong, kLong>);
  set(KvNULL_FLOAT_T, OrNull<KvNull_float, kFloat>);
  set(KvNULL_DOUBLE_T, OrNull<KvNull_double, kDouble>);
  set(KvNULL_KVINT64_T, OrNull<KvNull_KvInt64, Int64>);
  set(KvNULL_8B_T, OrNull<KvNull_8b, kEightBytes>);
  set(KvNULL_U8B_T, OrNull<KvNull_u8b, kEightBytes>);
  set(KvSTRING_T, String);
  set(KvISTRING_T, PlainString<KvIString>);
  set(KvCASEISTRING_T, PlainString<KvCaseIString>);
  set(KvBLOB_T, Blob);
  set(KvDATE_T, Moment<KvDate>);
  set(KvTIME_T, Moment<KvTime>);
  set(KvDATIME_T, Moment<KvDateTime>);
  set(KvDATIME_N_T, Moment<KvDateTimeN>);
  set(KvTIMESPAN_T, Moment<KvTimeSpan>);
  set(D_DATE_T, Moment<d_Date>);
  set(D_TIME_T, Moment<d_Time>);
  set(D_TIMESTAMP_T, Moment<d_Timestamp>);
  set(D_INTERVAL_T, Moment<d_Interval>);
  set(KvOBJID_T, Identity<KvObjId>);
  set(KvCLID_T, Identity<KvClassId>);
  set(KvREF_T, Identity<KvRef>);
  return table;
}();

static_assert(std::count(kScans.isSet.begin(), kScans.isSet.end(), true) == kv::kIllegalRow,
              "every type can be scanned");

}  // namespace

KvScanned KvScanChecked(const KvTypeMgr& types, char id, void* value, const KvString& text,
                        const char* format) {
  if (const int status = KvCheckType(types, id); status != kvOk) return {status, 0};
  if (value == nullptr) return {kvBadArgument, 0};
  const auto index = static_cast<std::size_t>(kv::RowOf(id));
  const KvTypeDescriptor& row = *kv::currentCatalogue[index];
  if (row.scan != kv::OwnScan(kv::RowOf(id))) return {kvNotSupported, 0};
  return kScans.scans[index](value, text, format != nullptr ? format : row.format);
}
