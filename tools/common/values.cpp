#include "values.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "catalogue.h"
#include "failure.h"
#include "numbers.h"

namespace {

constexpr unsigned char kMemoryForm = 8;
// For dates: a component of -1 is an ordinary number here, not a wildcard.
constexpr unsigned short kExactCompare = 0x10;

// How values of a row are written as text.
enum class TextKind {
  kCharacter,  // one printable character, or 0xNN
  kInteger,    // a whole number within a range
  kFloat,
  kDouble,
  kBoolean,      // TRUE or FALSE
  kString,       // the text itself
  kPlainString,  // the text itself, in the default 8-bit code set
  kBlob,         // hex
  kPattern,      // a print format of the row
};

struct TextRule {
  TextKind kind = TextKind::kPattern;
  unsigned char width = 0;  // of the number; in a nullable row the null flag follows it
  bool nullable = false;
  long long least = 0;
  unsigned long long greatest = 0;
  // Formats that are tried in turn; the row's own comes after them.
  std::vector<const char*> formats = {};
  // What a value is shown in where that says all of it; else in the first of those that does.
  const char* shown = nullptr;
};

template <typename Number>
TextRule Whole(bool nullable = false) {
  return {.kind = TextKind::kInteger,
          .width = sizeof(Number),
          .nullable = nullable,
          .least = static_cast<long long>(std::numeric_limits<Number>::min()),
          .greatest = static_cast<unsigned long long>(std::numeric_limits<Number>::max())};
}

constexpr const char* kDateTimeText = "%Y-%m-%dT%H:%M:%S";

TextRule MakeRule(char id) {
  switch (id) {
    case Kv1B_T:
    case KvU1B_T:
      return {.kind = TextKind::kCharacter, .width = 1};
    case KvNULL_1B_T:
    case KvNULL_U1B_T:
      return {.kind = TextKind::kCharacter, .width = 1, .nullable = true};
    case Kv2B_T:
      return Whole<o_2b>();
    case KvU2B_T:
      return Whole<o_u2b>();
    case Kv4B_T:
    case KvINT_T:
    case KvENUM_T:
      return Whole<o_4b>();
    case KvU4B_T:
    case KvUNSIGNED_T:
    case KvBLOCKID_T:
      return Whole<o_u4b>();
    case Kv8B_T:
    case KvINT64_T:
      return Whole<o_8b>();
    case KvU8B_T:
      return Whole<o_u8b>();
    case KvNULL_2B_T:
      return Whole<o_2b>(true);
    case KvNULL_U2B_T:
      return Whole<o_u2b>(true);
    case KvNULL_INT_T:
    case KvNULL_4B_T:
      return Whole<o_4b>(true);
    case KvNULL_UNSIGNED_T:
    case KvNULL_U4B_T:
      return Whole<o_u4b>(true);
    case KvNULL_KVINT64_T:
    case KvNULL_8B_T:
      return Whole<o_8b>(true);
    case KvNULL_U8B_T:
      return Whole<o_u8b>(true);
    case KvSEAL_T:
      return {.kind = TextKind::kInteger, .greatest = 0xFFFFFFFFFFFF};
    case KvFLOAT_T:
    case D_INTERVAL_T:
      return {.kind = TextKind::kFloat, .width = 4};
    case KvDOUBLE_T:
      return {.kind = TextKind::kDouble, .width = 8};
    case KvNULL_FLOAT_T:
      return {.kind = TextKind::kFloat, .width = 4, .nullable = true};
    case KvNULL_DOUBLE_T:
      return {.kind = TextKind::kDouble, .width = 8, .nullable = true};
    case KvBOOLEAN_T:
      return {.kind = TextKind::kBoolean};
    case KvSTRING_T:
      return {.kind = TextKind::kString};
    case KvISTRING_T:
    case KvCASEISTRING_T:
      return {.kind = TextKind::kPlainString};
    case KvBLOB_T:
      return {.kind = TextKind::kBlob};
    case KvDATE_T:
    case D_DATE_T:
      return {.formats = {"%Y-%m-%d"}};
    case KvTIME_T:
      return {.formats = {"%H:%M:%S"}};
    case KvDATIME_T:
      return {.formats = {kDateTimeText, "%Y-%m-%d %H:%M:%S"}};
    // Read with %f, a "*" for the seconds stands for their fraction too.
    case D_TIME_T:
      return {.formats = {"%H:%M:%f", "%H:%M:%S %N"}, .shown = "%H:%M:%S"};
    case KvDATIME_N_T:
    case D_TIMESTAMP_T:
      return {.formats = {"%Y-%m-%dT%H:%M:%f", "%Y-%m-%d %H:%M:%f", "%Y-%m-%dT%H:%M:%S %N"},
              .shown = kDateTimeText};
    case KvTIMESPAN_T:
      return {.formats = {"%J.%H:%M:%f", "%J.%H:%M:%S %N"}, .shown = "%J.%H:%M:%S"};
    default:
      return {};
  }
}

const TextRule& RuleOf(char id) {
  static const std::vector<TextRule> rules = [] {
    std::vector<TextRule> all;
    for (char each = 0; each < TypeCount(); ++each) all.push_back(MakeRule(each));
    return all;
  }();
  return rules[static_cast<std::size_t>(id)];
}

const std::string& NullText() {
  static const std::string text = Utf8FromString(KvTypeMgr::GetNullPrintString());
  return text;
}

[[noreturn]] void FailReading(char id, std::string_view text, const std::string& reason) {
  FailValue(Quoted(text) + " is no " + TypeName(id) + " value" + reason);
}

void WriteNumber(const TextRule& rule, void* value, const void* number) {
  std::memcpy(value, number, rule.width);
  if (rule.nullable) static_cast<unsigned char*>(value)[rule.width] = 0;
}

void RequireNumber(NumberFault fault, char id, std::string_view text, const TextRule& rule) {
  if (fault == NumberFault::kNotANumber) FailReading(id, text, ": not a number");
  if (fault == NumberFault::kNone) return;
  if (rule.kind != TextKind::kInteger) FailReading(id, text, ": out of range");
  FailReading(
      id, text,
      ": out of range, " + std::to_string(rule.least) + " to " + std::to_string(rule.greatest));
}

void ReadWhole(char id, void* value, std::string_view text, const TextRule& rule) {
  std::string_view digits = text;
  if (id == KvBLOCKID_T && digits.starts_with('#')) digits.remove_prefix(1);
  unsigned long long bits = 0;
  RequireNumber(ReadInteger(digits, rule.least, rule.greatest, bits), id, text, rule);
  if (id == KvSEAL_T) return static_cast<KvSeal*>(value)->ConvertFrom(static_cast<o_8b>(bits));
  WriteNumber(rule, value, &bits);  // the low bytes of the pattern come first in memory
}

void ReadCharacter(char id, void* value, std::string_view text, const TextRule& rule) {
  unsigned char byte = 0;
  if (text.size() == 1 && text[0] >= 0x20 && text[0] <= 0x7E) {
    byte = static_cast<unsigned char>(text[0]);
  } else {
    Bytes bytes;
    if (text.size() == 4 && text.starts_with("0x")) AppendHex(text.substr(2), bytes);
    if (bytes.size() != 1) FailReading(id, text, ": neither one character nor a byte as 0xNN");
    byte = bytes[0];
  }
  WriteNumber(rule, value, &byte);
}

void ReadBoolean(char id, void* value, std::string_view text) {
  for (const char* word : {"TRUE", "true", "T", "t", "1", "FALSE", "false", "F", "f", "0"}) {
    if (text != word) continue;
    KvString scanned(std::string(text).c_str());
    Types().ScanFromKvString(id, value, scanned, nullptr, 1);
    return;
  }
  FailReading(id, text, ": neither TRUE nor FALSE");
}

std::string Printed(char id, void* value, const char* format) {
  KvString text;
  return Utf8FromString(Types().PrintToKvString(id, text, value, format, 1));
}

// A text without what may differ between an input and what its value prints as: blanks, and zeros
// before a number or after a fraction ("6.5" and "06.500"). What stands between a "." and a ":" is
// a number, the hours of a time span.
std::string Normalized(std::string_view text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size();) {
    if (text[i] == ' ' || text[i] == '\t') {
      ++i;
      continue;
    }
    std::size_t end = i;
    while (end < text.size() && text[end] >= '0' && text[end] <= '9') ++end;
    if (end == i) {
      plain += text[i++];
      continue;
    }
    std::string digits(text.substr(i, end - i));
    if (!plain.empty() && plain.back() == '.' && !text.substr(end).starts_with(':')) {
      digits.erase(digits.find_last_not_of('0') + 1);
      if (digits.empty()) plain.pop_back();
    } else {
      digits.erase(0, digits.find_first_not_of('0'));
      if (digits.empty()) digits = "0";
    }
    plain += digits;
    i = end;
  }
  return plain;
}

constexpr int kWildcard = -1;

bool IsWithin(int component, int least, int most) {
  return component == kWildcard || (component >= least && component <= most);
}

// A real date, or one that could be: with a wildcard in it.
bool IsSensible(const KvDate& date) {
  if (date.IsDate()) return true;
  return (date.year == kWildcard || date.month == kWildcard || date.day == kWildcard) &&
         IsWithin(date.month, 1, 12) && IsWithin(date.day, 1, 31);
}

bool IsSensible(const KvTime& time) {
  return IsWithin(time.hour, 0, 23) && IsWithin(time.minute, 0, 59) && IsWithin(time.second, 0, 59);
}

// Its calendar has leap years that that of KvDate lacks.
bool IsSensible(const d_Date& date) {
  return IsSensible(
             KvDate(date.year, static_cast<char>(date.month), static_cast<char>(date.day))) ||
         (date.day >= 1 && date.day <= date.days_in_month());
}

bool IsSensible(const d_Time& time) {
  return IsSensible(KvTime(static_cast<char>(time.hour), static_cast<char>(time.minute),
                           static_cast<char>(time.second)));
}

// The scanners take any number for a day or an hour; a user who writes 2023-02-29 mistyped.
bool IsSensible(char id, const void* value) {
  switch (id) {
    case KvDATE_T:
      return IsSensible(*static_cast<const KvDate*>(value));
    case KvTIME_T:
      return IsSensible(*static_cast<const KvTime*>(value));
    case KvDATIME_T: {
      const auto& both = *static_cast<const KvDateTime*>(value);
      return IsSensible(both.date) && IsSensible(both.time);
    }
    case KvDATIME_N_T: {
      const auto& both = *static_cast<const KvDateTimeN*>(value);
      return IsSensible(both.date) && IsSensible(both.time);
    }
    case D_DATE_T:
      return IsSensible(*static_cast<const d_Date*>(value));
    case D_TIME_T:
      return IsSensible(*static_cast<const d_Time*>(value));
    case D_TIMESTAMP_T: {
      const auto& both = *static_cast<const d_Timestamp*>(value);
      return IsSensible(both.date) && IsSensible(both.time);
    }
    default:
      return true;
  }
}

// Reads by the row's scan handler. That reports nothing, so the value is printed again: what does
// not come back the same was not read whole, or not in range.
bool ScansWhole(char id, void* value, std::string_view text, const char* format) {
  KvString input = StringFromUtf8(text, {});
  Types().ScanFromKvString(id, value, input, format, 1);
  return !Types().IsNullValue(id, value) &&
         Normalized(Printed(id, value, format)) == Normalized(text);
}

// The formats to try for a value, the row's own (null) last.
std::vector<const char*> FormatsOf(char id, const ValueStyle& style) {
  if (!style.format.empty()) return {style.format.c_str()};
  std::vector<const char*> formats = RuleOf(id).formats;
  formats.push_back(nullptr);
  return formats;
}

// ---------------------------------------------------------------------------------------------
// The zone of a d_Time, which no directive shows, stands behind its text: "+05:30". Hours and
// minutes are signed numbers of their own; minutes of the other sign carry it, "+02:-15".

d_Time* ZonedTimeOf(char id, void* value) {
  if (id == D_TIME_T) return static_cast<d_Time*>(value);
  return id == D_TIMESTAMP_T ? &static_cast<d_Timestamp*>(value)->time : nullptr;
}

std::string ZoneText(char id, void* value) {
  const d_Time* time = ZonedTimeOf(id, value);
  if (time == nullptr || (time->tzHour == 0 && time->tzMinute == 0)) return {};
  const int hour = static_cast<signed char>(time->tzHour);
  const int minute = static_cast<signed char>(time->tzMinute);
  const bool west = hour < 0 || (hour == 0 && minute < 0);
  const char* const minuteSign = minute == 0 || (minute < 0) == west ? "" : west ? "+" : "-";
  char text[16];
  std::snprintf(text, sizeof text, "%c%02d:%s%02d", west ? '-' : '+', std::abs(hour), minuteSign,
                std::abs(minute));
  return text;
}

// Takes a zone off the end of a text. False when there is none.
bool TakeZone(std::string_view& text, int& hour, int& minute) {
  const std::size_t colon = text.rfind(':');
  if (colon == std::string_view::npos) return false;
  const std::size_t sign = text.substr(0, colon).find_last_of("+-");
  if (sign == std::string_view::npos) return false;
  unsigned long long hourBits = 0;
  unsigned long long minuteBits = 0;
  const std::string_view minutes = text.substr(colon + 1);
  if (ReadInteger(text.substr(sign, colon - sign), -128, 127, hourBits) != NumberFault::kNone ||
      ReadInteger(minutes, -128, 127, minuteBits) != NumberFault::kNone) {
    return false;
  }
  hour = static_cast<int>(hourBits);
  minute = static_cast<int>(minuteBits);
  if (text[sign] == '-' && minutes.find_first_of("+-") == std::string_view::npos) minute = -minute;
  text = text.substr(0, sign);
  return true;
}

// Moves a time that was read in zone 0 to a zone, its clock kept. Where a zone is negative its
// wildcard is one less than it.
void SetZone(d_Time& time, int hour, int minute) {
  const auto shift = [](unsigned char& component, int zone) {
    const int shifted = component == 255 ? std::min(zone, 0) - 1 : component + zone;
    component = static_cast<unsigned char>(shifted);
  };
  shift(time.hour, hour);
  shift(time.minute, minute);
  time.tzHour = static_cast<unsigned char>(hour);
  time.tzMinute = static_cast<unsigned char>(minute);
}

// ---------------------------------------------------------------------------------------------

enum class PatternFault { kNone, kNoMatch, kNoSuchTime };

PatternFault ScanPattern(char id, void* value, std::string_view text, const ValueStyle& style) {
  int zoneHour = 0;
  int zoneMinute = 0;
  if (ZonedTimeOf(id, value) != nullptr && style.format.empty()) {
    TakeZone(text, zoneHour, zoneMinute);
  }
  for (const char* format : FormatsOf(id, style)) {
    if (!ScansWhole(id, value, text, format)) continue;
    const bool sensible = IsSensible(id, value);
    if (d_Time* time = ZonedTimeOf(id, value)) SetZone(*time, zoneHour, zoneMinute);
    return sensible ? PatternFault::kNone : PatternFault::kNoSuchTime;
  }
  return PatternFault::kNoMatch;
}

void ReadPattern(char id, void* value, std::string_view text, const ValueStyle& style) {
  const PatternFault fault = ScanPattern(id, value, text, style);
  if (fault == PatternFault::kNone) return;
  if (fault == PatternFault::kNoSuchTime) {
    FailReading(id, text, ": there is no such date or time");
  }
  const char* format = FormatsOf(id, style)[0];
  if (format == nullptr) format = Types().ExchangeFormat(id, nullptr);
  FailReading(id, text, std::string(": expected ") + format);
}

KvString StringOf(std::string_view text, const ValueStyle& style, const StringTraits& traits) {
  return style.stringsAreBytes ? StringFromBytes(text, style.strings)
                               : StringFromUtf8(text, traits);
}

void ReadString(char id, void* value, std::string_view text, const ValueStyle& style) {
  if (id == KvSTRING_T) {
    *static_cast<KvString*>(value) = StringOf(text, style, style.strings);
    return;
  }
  KvString plain =
      StringOf(text, style, {.codeSet = KvString::GetDefault8CodeSet(), .language = {}});
  Types().ScanFromKvString(id, value, plain, nullptr, 1);
}

void ReadBlob(void* value, std::string_view text) {
  Bytes bytes;
  AppendHex(text, bytes);
  if (bytes.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
    FailValue("a blob of more than 2147483647 bytes");
  }
  static_cast<KvBlob*>(value)->SetTo(bytes.data(), static_cast<int>(bytes.size()));
}

// A pattern's text that reads back to the value. The last format shows the most, whether it does
// or not.
std::string PatternText(char id, void* value, const ValueStyle& style) {
  std::vector<const char*> formats = FormatsOf(id, style);
  if (RuleOf(id).shown != nullptr) formats.insert(formats.begin(), RuleOf(id).shown);
  const std::string zone = ZoneText(id, value);
  ValueRun readBack(id, 1);
  std::string text;
  for (const char* format : formats) {
    text = Printed(id, value, format) + zone;
    if (ScanPattern(id, readBack.Data(), text, style) != PatternFault::kNoMatch &&
        Types().Cmp(id, readBack.Data(), value, kExactCompare, 1, kMemoryForm) == 0) {
      break;
    }
  }
  return text;
}

}  // namespace

ValueRun::ValueRun(char id, unsigned count)
    : id_(id), count_(count), width_(Types().MemLenGet(id, 1)), values_(Types().Create(id, count)) {
  if (values_ == nullptr) FailValue("no memory for " + std::to_string(count) + " values");
}

ValueRun::~ValueRun() {
  Types().Delete(id_, values_, count_);
}

void ReadValue(char id, void* value, std::string_view text, const ValueStyle& style) {
  const TextRule& rule = RuleOf(id);
  if (text == NullText() && Types().SupportsNullValue(id)) {
    Types().SetNullValue(id, value);
    return;
  }
  if (!style.format.empty()) return ReadPattern(id, value, text, style);
  switch (rule.kind) {
    case TextKind::kCharacter:
      return ReadCharacter(id, value, text, rule);
    case TextKind::kInteger:
      return ReadWhole(id, value, text, rule);
    case TextKind::kFloat: {
      float number = 0;
      RequireNumber(ReadFloat(text, number), id, text, rule);
      return WriteNumber(rule, value, &number);
    }
    case TextKind::kDouble: {
      double number = 0;
      RequireNumber(ReadDouble(text, number), id, text, rule);
      return WriteNumber(rule, value, &number);
    }
    case TextKind::kBoolean:
      return ReadBoolean(id, value, text);
    case TextKind::kString:
    case TextKind::kPlainString:
      return ReadString(id, value, text, style);
    case TextKind::kBlob:
      return ReadBlob(value, text);
    case TextKind::kPattern:
      return ReadPattern(id, value, text, style);
  }
}

std::unique_ptr<ValueRun> ReadValues(char id, const std::vector<std::string>& texts,
                                     const ValueStyle& style) {
  auto run = std::make_unique<ValueRun>(id, static_cast<unsigned>(texts.size()));
  for (unsigned i = 0; i < run->Count(); ++i) ReadValue(id, run->At(i), texts[i], style);
  return run;
}

std::string TextOf(char id, void* value, const ValueStyle& style) {
  if (Types().IsNullValue(id, value)) return NullText();
  if (!style.format.empty()) return Printed(id, value, style.format.c_str());
  switch (RuleOf(id).kind) {
    case TextKind::kBlob: {
      KvBlob& blob = *static_cast<KvBlob*>(value);
      return ToHex(blob.Seek(0, blob.Length()), static_cast<std::size_t>(blob.Length()));
    }
    case TextKind::kFloat:
      // An interval prints as days, hours, minutes and seconds, without fractions.
      if (id == D_INTERVAL_T) return ShortestText(*static_cast<float*>(value));
      return Printed(id, value, nullptr);
    case TextKind::kPattern:
      return PatternText(id, value, style);
    default:
      return Printed(id, value, nullptr);
  }
}

Bytes StoredForm(const ValueRun& run, unsigned char order) {
  // A bound on what the store function writes, which has no way to be asked.
  std::size_t bound = 4;
  for (unsigned i = 0; i < run.Count(); ++i) {
    switch (RuleOf(run.Id()).kind) {
      case TextKind::kString:
      case TextKind::kPlainString:
        bound += KvString::kMaximumBytes + 8;
        break;
      case TextKind::kBlob:
        bound += 4 + static_cast<std::size_t>(static_cast<KvBlob*>(run.At(i))->Length());
        break;
      default:
        bound += Types().DiskLenGet(run.Id(), nullptr, order, 1, 0);
    }
  }
  Bytes bytes(bound);
  const unsigned written = Types().Store(run.Id(), bytes.data(), run.Data(), order, run.Count());
  if (written == 0 || written > bound) FailValue(TypeName(run.Id()) + " values cannot be stored");
  bytes.resize(written);
  return bytes;
}
