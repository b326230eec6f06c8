#include "families.h"

#include <deque>
#include <string_view>
#include <utility>

#include "catalogue.h"
#include "failure.h"

namespace {

using enum TextKind;

constexpr const char* kDateTimeText = "%Y-%m-%dT%H:%M:%S";
constexpr const char* kNoNull = "";
constexpr const char* kIndicator = "indicator 1, then the value that was there";

// clang-format off
constexpr TypeFacts kFacts[] = {
    {"o_char",   kCharacter, "value:i1", "a character, or a signed 8-bit number", "-128 to 127", kNoNull, "A"},
    {"o_u1b",    kCharacter, "value:u1", "a byte",                      "0 to 255", kNoNull, "A"},
    {"o_2b",     kInteger,   "value:i2", "signed 16-bit number",        "-32768 to 32767", kNoNull, "-2"},
    {"o_u2b",    kInteger,   "value:u2", "unsigned 16-bit number",      "0 to 65535", kNoNull, "258"},
    {"o_4b",     kInteger,   "value:i4", "signed 32-bit number",        "-2147483648 to 2147483647", kNoNull, "-2"},
    {"o_u4b",    kInteger,   "value:u4", "unsigned 32-bit number",      "0 to 4294967295", kNoNull, "258"},
    {"o_8b",     kInteger,   "value:i8", "signed 64-bit number",        "-2^63 to 2^63 - 1", kNoNull, "-2"},
    {"o_u8b",    kInteger,   "value:u8", "unsigned 64-bit number",      "0 to 2^64 - 1", kNoNull, "258"},
    {"int",      kInteger,   "value:i4", "a C int",                     "-2147483648 to 2147483647", kNoNull, "-2"},
    {"unsigned", kInteger,   "value:u4", "a C unsigned int",            "0 to 4294967295", kNoNull, "258"},
    {"enum",     kInteger,   "value:i4", "an enumerator's number",      "-2147483648 to 2147483647", kNoNull, "3"},
    {"o_float",  kFloat,     "value:f4", "IEEE 754, 32 bits",           "7 digits, up to 3.4e38", kNoNull, "1.5"},
    {"o_double", kDouble,    "value:f8", "IEEE 754, 64 bits",           "15 digits, up to 1.8e308", kNoNull, "1.5"},
    {"KvInt64",  kInteger,   "low:u4 high:i4", "signed 64-bit number, low word first", "-2^63 to 2^63 - 1", kNoNull, "258"},
    {"KvBoolean", kBoolean,  "value:u1", "truth value",                 "FALSE, TRUE", "255", "TRUE"},
    {"KvSeal",   kInteger,   "high:u2! middle:u2! low:u2!", "a 48-bit stamp", "0 to 2^48 - 1", kNoNull, "258"},
    {"KvString", kString,    "", "text with code set and language",     "65,531 bytes", "empty, code set 0, language 254", "Süd"},
    {"KvIString", kPlainString, "", "8-bit text; its order ignores accents", "65,531 bytes", kNoNull, "Süd"},
    {"KvCaseIString", kPlainString, "", "8-bit text; its order ignores accents and case", "65,531 bytes", kNoNull, "Süd"},
    {"KvBlob",   kBlob,      "", "bytes without a meaning",             "2,147,483,647 bytes", "length 0xFFFFFFFF", "616263"},
    {"KvDate",   kPattern,   "year:i2 month:i1 day:i1", "a day of the Gregorian calendar", "years -32767 to 32767, * for a wildcard", "year -32768, month and day -128", "2024-02-29", "%Y-%m-%d"},
    {"KvTime",   kPattern,   "hour:i1 minute:i1 second:i1", "time of day", "00:00:00 to 23:59:59", "-128 in each field", "13:05:09", "%H:%M:%S"},
    {"KvDateTime", kPattern, "year:i2 month:i1 day:i1 hour:i1 minute:i1 second:i1", "date and time", "as KvDate and KvTime", "as KvDate and KvTime", "2024-02-29T13:05:09", "%Y-%m-%dT%H:%M:%S|%Y-%m-%d %H:%M:%S"},
    {"KvDateTimeN", kPattern, "year:i2 month:i1 day:i1 hour:i1 minute:i1 second:i1 nanosecond:i4", "date and time with nanoseconds", "as KvDateTime", "as KvDateTime, nanosecond 0", "2024-02-29T13:05:09.500", "%Y-%m-%dT%H:%M:%f|%Y-%m-%d %H:%M:%f|%Y-%m-%dT%H:%M:%S %N", kDateTimeText},
    {"KvTimeSpan", kPattern, "years:i2 months:i1 days:i1 hours:i1 minutes:i1 seconds:i1 nanoseconds:i4", "a length of time, months of 30 days", "32767 years", "as KvDateTime, nanoseconds 0", "2.03:00:00", "%J.%H:%M:%f|%J.%H:%M:%S %N", "%J.%H:%M:%S"},
    {"d_Date",   kPattern,   "year:i2 month:u1 day:u1", "a day, of the ODMG standard", "as KvDate", kNoNull, "2024-02-29", "%Y-%m-%d"},
    // Read with %f, a "*" for the seconds stands for their fraction too.
    {"d_Time",   kPattern,   "zoneHours:u1 zoneMinutes:u1 hour:u1 minute:u1 second:u1 hundredth:u1", "time of day with a zone", "00:00:00 to 23:59:59.99", kNoNull, "13:05:09+02:00", "%H:%M:%f|%H:%M:%S %N", "%H:%M:%S"},
    {"d_Timestamp", kPattern, "year:i2 month:u1 day:u1 zoneHours:u1 zoneMinutes:u1 hour:u1 minute:u1 second:u1 hundredth:u1", "date and time with a zone", "as d_Date and d_Time", kNoNull, "2024-02-29T13:05:09", "%Y-%m-%dT%H:%M:%f|%Y-%m-%d %H:%M:%f|%Y-%m-%dT%H:%M:%S %N", kDateTimeText},
    {"d_Interval", kFloat,   "seconds:f4", "seconds, as a float",        "7 digits", kNoNull, "5400"},
    {"BlockId",  kInteger,   "value:u4", "number of a storage block",    "0 to 4294967295", kNoNull, "#7"},
    {"KvObjId",  kPattern,   "block:u4 low:u4 high:u2", "identity of an object", "48-bit object number, 32-bit block", "0 in each field", "(1-5#7)"},
    {"KvClassId", kPattern,  "class:u2 version:u2", "class and version", "0 to 65535 each", "class and version 65535", "(3v1)"},
    {"KvRef",    kPattern,   "block:u4 low:u4 high:u2 database:u2 class:u2", "reference to an object", "as KvObjId, database and class to 65535", "0 in each field", "(9:1-5#7, 4)"},
    {"KvNull_char",     kCharacter, "value:i1", "o_char or null",  "as o_char", kIndicator, "A"},
    {"KvNull_uchar",    kCharacter, "value:u1", "o_u1b or null",   "as o_u1b", kIndicator, "A"},
    {"KvNull_short",    kInteger,   "value:i2", "o_2b or null",    "as o_2b", kIndicator, "-2"},
    {"KvNull_ushort",   kInteger,   "value:u2", "o_u2b or null",   "as o_u2b", kIndicator, "258"},
    {"KvNull_int",      kInteger,   "value:i4", "int or null",     "as int", kIndicator, "-2"},
    {"KvNull_unsigned", kInteger,   "value:u4", "unsigned or null", "as unsigned", kIndicator, "258"},
    {"KvNull_long",     kInteger,   "value:i4", "o_4b or null",    "as o_4b", kIndicator, "-2"},
    {"KvNull_ulong",    kInteger,   "value:u4", "o_u4b or null",   "as o_u4b", kIndicator, "258"},
    {"KvNull_8b",       kInteger,   "value:i8", "o_8b or null",    "as o_8b", kIndicator, "-2"},
    {"KvNull_u8b",      kInteger,   "value:u8", "o_u8b or null",   "as o_u8b", kIndicator, "258"},
    {"KvNull_KvInt64",  kInteger,   "low:u4 high:i4", "KvInt64 or null", "as KvInt64", kIndicator, "258"},
    {"KvNull_float",    kFloat,     "value:f4", "o_float or null", "as o_float", kIndicator, "1.5"},
    {"KvNull_double",   kDouble,    "value:f8", "o_double or null", "as o_double", kIndicator, "1.5"},
};
// clang-format on

// "year:i2" or "high:u2!".
StoredField ReadField(std::string_view word) {
  const std::size_t colon = word.find(':');
  StoredField field{};
  field.name = word.substr(0, colon);
  field.kind = word[colon + 1];
  field.width = static_cast<unsigned>(word[colon + 2] - '0');
  field.turns = !word.ends_with('!');
  return field;
}

unsigned RoundedUp(unsigned offset, unsigned width) {
  return (offset + width - 1) / width * width;
}

}  // namespace

bool TypeFacts::IsNullableScalar() const {
  return null == kIndicator;
}

std::vector<StoredField> TypeFacts::StoredFields() const {
  std::vector<StoredField> all;
  unsigned offset = 0;
  unsigned memoryOffset = 0;
  if (IsNullableScalar()) {
    all.push_back({"indicator", 'u', 1, 0, 0, true});
    offset = 1;
  }
  const std::string_view list = fields;
  for (std::size_t at = 0; at < list.size();) {
    const std::size_t end = std::min(list.find(' ', at), list.size());
    StoredField field = ReadField(list.substr(at, end - at));
    // Members lie in memory as the compiler puts them: each at a multiple of its width.
    memoryOffset = RoundedUp(memoryOffset, field.width);
    field.offset = offset;
    field.memoryOffset = memoryOffset;
    offset += field.width;
    memoryOffset += field.width;
    all.push_back(std::move(field));
    at = end + 1;
  }
  if (IsNullableScalar()) all[0].memoryOffset = memoryOffset;
  return all;
}

unsigned TypeFacts::Width() const {
  unsigned width = 0;
  for (const StoredField& field : StoredFields()) width += field.width;
  return width - (IsNullableScalar() ? 1 : 0);
}

long long TypeFacts::Least() const {
  return StoredFields().back().kind == 'i' ? -1LL << (8 * Width() - 1) : 0;
}

unsigned long long TypeFacts::Greatest() const {
  const unsigned bits = 8 * Width() - (StoredFields().back().kind == 'i' ? 1 : 0);
  return bits == 64 ? ~0ULL : (1ULL << bits) - 1;
}

namespace {

// A text that lives as long as the program.
const char* Kept(std::string text) {
  static std::deque<std::string> texts;
  return texts.emplace_back(std::move(text)).c_str();
}

TypeFacts FactsByLibrary(char id) {
  const std::string name = TypeName(id);
  if (Types().IsFixed(id) == 0) {
    FailValue("the tools know nothing of type " + name + ": it needs a row in families.cpp");
  }
  KvString example;
  void* value = Types().DefaultValue(id, 1, 0);
  Types().PrintToKvString(id, example, value, nullptr, 1);
  Types().Delete(id, value, 1);
  const std::string bytes = std::to_string(Types().DiskLenGet(id, nullptr, 0, 1, 0)) + " bytes";
  return {.name = Kept(name),
          .kind = kPattern,
          .fields = "",
          .meaning = Kept("a value of " + bytes),
          .range = "as its print format reads",
          .null = Types().SupportsNullValue(id) != 0 ? "a value of its own" : kNoNull,
          .example = Kept(example.StrGet())};
}

TypeFacts FindFacts(char id) {
  for (const TypeFacts& row : kFacts) {
    if (TypeName(id) == row.name) return row;
  }
  return HasValues(id) ? FactsByLibrary(id) : TypeFacts{};
}

}  // namespace

const TypeFacts& FactsOf(char id) {
  static const std::vector<TypeFacts> byId = [] {
    std::vector<TypeFacts> rows;
    for (char each = 0; each < TypeCount(); ++each) rows.push_back(FindFacts(each));
    return rows;
  }();
  return byId[static_cast<std::size_t>(id)];
}
