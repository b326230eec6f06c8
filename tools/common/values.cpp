#include "values.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "catalogue.h"
#include "escape.h"
#include "failure.h"
#include "families.h"
#include "numbers.h"
#include "report.h"
#include "stored.h"

namespace {

constexpr unsigned char kMemoryForm = 8;
// For dates: a component of -1 is an ordinary number here, not a wildcard.
constexpr unsigned short kExactCompare = 0x10;
// KvIString and KvCaseIString are laid out as Windows-1252, whatever their stored blocks say.
constexpr unsigned char kPlainCodeSet = 2;

const std::string& NullText() {
  static const std::string text = Utf8FromString(KvTypeMgr::GetNullPrintString());
  return text;
}

[[noreturn]] void FailReading(char id, std::string_view text, const std::string& reason) {
  FailValue(Quoted(text) + " is no " + TypeName(id) + " value" + reason);
}

// The bits of a number, and that it is present where the type can be null.
void WriteNumber(char id, void* value, const void* number) {
  const TypeFacts& facts = FactsOf(id);
  std::memcpy(value, number, facts.Width());
  if (facts.IsNullableScalar()) static_cast<unsigned char*>(value)[facts.Width()] = 0;
}

constexpr std::string_view kNaNBits = "NaN(0x";

// "NaN(0x7ff8000000000001)": a NaN by its bits. False when `text` is none such.
bool ReadNaN(char id, void* value, std::string_view text) {
  if (!text.starts_with(kNaNBits) || !text.ends_with(')')) return false;
  const std::string_view digits = text.substr(kNaNBits.size(), text.size() - kNaNBits.size() - 1);
  const unsigned width = FactsOf(id).Width();
  unsigned long long bits = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), bits, 16);
  const bool isNaN = width == 4 ? std::isnan(std::bit_cast<float>(static_cast<unsigned>(bits)))
                                : std::isnan(std::bit_cast<double>(bits));
  if (digits.size() != 2 * width || end != text.data() + text.size() - 1 || error != std::errc() ||
      !isNaN) {
    FailReading(id, text, ": these are not the bits of a NaN");
  }
  const auto narrow = static_cast<unsigned>(bits);
  WriteNumber(id, value, width == 4 ? static_cast<const void*>(&narrow) : &bits);
  return true;
}

// A NaN that is not the one that "NaN" reads as; empty for any other number.
std::string NaNText(char id, const void* value) {
  constexpr unsigned kPlainFloat = 0xFFC00000;
  constexpr unsigned long long kPlainDouble = 0xFFF8000000000000;
  char text[sizeof "NaN(0x0123456789abcdef)"] = "";
  if (FactsOf(id).Width() == 4) {
    unsigned bits = 0;
    std::memcpy(&bits, value, sizeof bits);
    if (std::isnan(std::bit_cast<float>(bits)) && bits != kPlainFloat) {
      std::snprintf(text, sizeof text, "NaN(0x%08x)", bits);
    }
  } else {
    unsigned long long bits = 0;
    std::memcpy(&bits, value, sizeof bits);
    if (std::isnan(std::bit_cast<double>(bits)) && bits != kPlainDouble) {
      std::snprintf(text, sizeof text, "NaN(0x%016llx)", bits);
    }
  }
  return text;
}

// A character as a number. A print format does not do it: unprintable ones have their own text.
std::string ByteText(char id, const void* value) {
  const auto byte = *static_cast<const unsigned char*>(value);
  const bool isSigned = FactsOf(id).Least() < 0;
  return std::to_string(isSigned ? static_cast<signed char>(byte) : byte);
}

// Reads by the row. A null has its own text, which has been told already.
int Scan(char id, void* value, std::string_view text, const char* format) {
  const int status = KvScanChecked(Types(), id, value, StringFromUtf8(text, {}), format).status;
  return status == kvOk && Types().IsNullValue(id, value) ? kvNothingRead : status;
}

void RequireNumber(int status, char id, std::string_view text) {
  if (status == kvOk) return;
  if (status != kvOutOfRange) FailReading(id, text, ": not a number");
  const TypeFacts& facts = FactsOf(id);
  if (facts.kind == TextKind::kFloat || facts.kind == TextKind::kDouble) {
    FailReading(id, text, ": out of range");
  }
  FailReading(id, text,
              ": out of range, " + std::to_string(facts.Least()) + " to " +
                  std::to_string(facts.Greatest()));
}

void ReadNumber(char id, void* value, std::string_view text) {
  // An interval is its seconds here, a float, and not the days and hours of its row's format.
  int status = Scan(id == D_INTERVAL_T ? KvFLOAT_T : id, value, text, nullptr);
  // A name of a block is a number as well.
  if (status == kvMismatch && id == KvBLOCKID_T) status = Scan(id, value, text, "%u");
  RequireNumber(status, id, text);
}

// A character by its number, which no format of its row reads.
void ReadCode(char id, void* value, std::string_view text) {
  const TypeFacts& facts = FactsOf(id);
  o_2b code = 0;
  int status = Scan(Kv2B_T, &code, text, nullptr);
  if (status == kvOk && (code < facts.Least() || code > static_cast<int>(facts.Greatest()))) {
    status = kvOutOfRange;
  }
  RequireNumber(status, id, text);
  const auto byte = static_cast<unsigned char>(code);
  WriteNumber(id, value, &byte);
}

void ReadCharacter(char id, void* value, std::string_view text, const ValueStyle& style) {
  if (style.number) return ReadCode(id, value, text);
  // Other characters than these have no byte of their own in every code set.
  const bool isPlain = text.size() == 1 && text[0] >= 0x20 && text[0] <= 0x7E;
  if ((isPlain || text.starts_with("0x")) && Scan(id, value, text, nullptr) == kvOk) return;
  FailReading(id, text,
              ": neither one character nor a byte as 0xNN; --number takes it as a number");
}

void LoadMeasured(char id, void* values, const unsigned char* stored, unsigned char order,
                  unsigned count) {
  if (Types().Load(id, values, stored, order, count) != 0) return;
  FailValue("these bytes do not load as " + TypeName(id));
}

std::string Printed(char id, void* value, const char* format) {
  KvString text;
  return Utf8FromString(Types().PrintToKvString(id, text, value, format, 1));
}

}  // namespace

// The scanners take any number for a day or an hour; a user who writes 2023-02-29 mistyped.
bool IsSensible(char id, const void* value) {
  const unsigned char order = 0;
  unsigned char stored[32];
  const KvStored size = KvStoreChecked(Types(), id, stored, sizeof stored, value, order, 1);
  return size.status != kvOk ||
         KvMeasureStored(Types(), id, stored, size.bytes, order, 1).strange == 0;
}

namespace {

const std::vector<std::string>& OwnFormats(char id) {
  static const std::vector<std::vector<std::string>> byId = [] {
    std::vector<std::vector<std::string>> all;
    for (char each = 0; each < TypeCount(); ++each) {
      all.emplace_back();
      std::string_view list = HasValues(each) ? FactsOf(each).formats : "";
      while (!list.empty()) {
        const std::size_t end = std::min(list.find('|'), list.size());
        all.back().emplace_back(list.substr(0, end));
        list.remove_prefix(std::min(end + 1, list.size()));
      }
    }
    return all;
  }();
  return byId[static_cast<std::size_t>(id)];
}

// The formats to try for a value, the row's own (null) last.
std::vector<const char*> FormatsOf(char id, const ValueStyle& style) {
  if (!style.format.empty()) return {style.format.c_str()};
  std::vector<const char*> formats;
  for (const std::string& format : OwnFormats(id)) formats.push_back(format.c_str());
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
  char text[sizeof "-128:+128"];
  std::snprintf(text, sizeof text, "%c%02d:%s%02d", west ? '-' : '+', std::abs(hour), minuteSign,
                std::abs(minute));
  return text;
}

// Takes a zone off the end of a text, where there is one.
void TakeZone(std::string_view& text, int& hour, int& minute) {
  const std::size_t colon = text.rfind(':');
  if (colon == std::string_view::npos) return;
  const std::size_t sign = text.substr(0, colon).find_last_of("+-");
  if (sign == std::string_view::npos) return;
  unsigned long long hourBits = 0;
  unsigned long long minuteBits = 0;
  const std::string_view minutes = text.substr(colon + 1);
  if (ReadInteger(text.substr(sign, colon - sign), -128, 127, hourBits) != NumberFault::kNone ||
      ReadInteger(minutes, -128, 127, minuteBits) != NumberFault::kNone) {
    return;
  }
  hour = static_cast<int>(hourBits);
  minute = static_cast<int>(minuteBits);
  if (text[sign] == '-' && minutes.find_first_of("+-") == std::string_view::npos) minute = -minute;
  text = text.substr(0, sign);
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

int ScanPattern(char id, void* value, std::string_view text, const ValueStyle& style) {
  int zoneHour = 0;
  int zoneMinute = 0;
  if (ZonedTimeOf(id, value) != nullptr && style.format.empty()) {
    TakeZone(text, zoneHour, zoneMinute);
  }
  int status = kvMismatch;
  for (const char* format : FormatsOf(id, style)) {
    const int next = Scan(id, value, text, format);
    if (next == kvOk) {
      if (d_Time* time = ZonedTimeOf(id, value)) SetZone(*time, zoneHour, zoneMinute);
      return kvOk;
    }
    if (next == kvOutOfRange) status = next;
  }
  return status;
}

void ReadPattern(char id, void* value, std::string_view text, const ValueStyle& style) {
  const int status = ScanPattern(id, value, text, style);
  if (status == kvOk) return;
  const bool isIdentity = id == KvOBJID_T || id == KvCLID_T || id == KvREF_T;
  if (status == kvOutOfRange && !isIdentity) {
    FailReading(id, text, ": there is no such date or time");
  }
  const char* format = FormatsOf(id, style)[0];
  if (format == nullptr) format = Types().ExchangeFormat(id, nullptr);
  // The format of rows that print without one.
  const bool isUnused = std::string_view(format) == "noop";
  FailReading(id, text,
              isUnused ? std::string(": expected a text such as ") + FactsOf(id).example
                       : std::string(": expected ") + format);
}

void ReadString(char id, void* value, std::string_view given, const ValueStyle& style) {
  const std::string unescaped = style.escapes ? Unescaped(given) : std::string();
  const std::string_view text = style.escapes ? unescaped : given;
  StringTraits traits = style.strings;
  if (id != KvSTRING_T) traits = {.codeSet = kPlainCodeSet, .language = {}};
  KvString string =
      style.stringsAreBytes ? StringFromBytes(text, style.strings) : StringFromUtf8(text, traits);
  if (id == KvSTRING_T) {
    *static_cast<KvString*>(value) = std::move(string);
    return;
  }
  // The class keeps the bytes and no code set.
  Types().ScanFromKvString(id, value, string, nullptr, 1);
}

// A text as the command line has it: what would read back as something else is escaped.
std::string StringText(char id, void* value, const ValueStyle& style) {
  KvString text;
  Types().PrintToKvString(id, text, value, nullptr, 1);
  if (id != KvSTRING_T) text.SetCodeSetCode(kPlainCodeSet);
  std::string utf8 = Utf8FromString(text);
  if (!style.escapes) return utf8;
  if (utf8 == NullText() && Types().SupportsNullValue(id)) return "\\x7b" + utf8.substr(1);
  return Escaped(utf8, true);
}

void ReadBlob(void* value, std::string_view text) {
  Bytes bytes;
  AppendHex(text, bytes);
  if (!std::in_range<int>(bytes.size())) FailValue("a blob of more than 2147483647 bytes");
  static_cast<KvBlob*>(value)->SetTo(bytes.data(), static_cast<int>(bytes.size()));
}

// A pattern's text that reads back to the value. The last format shows the most, whether it does
// or not.
std::string PatternText(char id, void* value, const ValueStyle& style) {
  std::vector<const char*> formats = FormatsOf(id, style);
  if (!IsSensible(id, value)) return Printed(id, value, formats[0]) + ZoneText(id, value);
  if (*FactsOf(id).shown != '\0' && style.format.empty()) {
    formats.insert(formats.begin(), FactsOf(id).shown);
  }
  const std::string zone = ZoneText(id, value);
  ValueRun readBack(id, 1);
  std::string text;
  for (const char* format : formats) {
    text = Printed(id, value, format) + zone;
    if (ScanPattern(id, readBack.Data(), text, style) == kvOk &&
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
  if (text == NullText() && Types().SupportsNullValue(id)) {
    Types().SetNullValue(id, value);
    return;
  }
  if (!style.format.empty()) return ReadPattern(id, value, text, style);
  switch (FactsOf(id).kind) {
    case TextKind::kCharacter:
      return ReadCharacter(id, value, text, style);
    case TextKind::kInteger:
      return ReadNumber(id, value, text);
    case TextKind::kFloat:
    case TextKind::kDouble:
      return ReadNaN(id, value, text) ? void() : ReadNumber(id, value, text);
    case TextKind::kBoolean:
      if (Scan(id, value, text, nullptr) == kvOk) return;
      FailReading(id, text, ": neither TRUE nor FALSE");
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
  if (!style.format.empty()) return Printable(Printed(id, value, style.format.c_str()));
  switch (FactsOf(id).kind) {
    case TextKind::kCharacter:
      return style.number ? ByteText(id, value) : Printed(id, value, nullptr);
    case TextKind::kString:
    case TextKind::kPlainString:
      return StringText(id, value, style);
    case TextKind::kBlob: {
      KvBlob& blob = *static_cast<KvBlob*>(value);
      return ToHex(blob.Seek(0, blob.Length()), static_cast<std::size_t>(blob.Length()));
    }
    case TextKind::kFloat:
    case TextKind::kDouble:
      if (std::string nan = NaNText(id, value); !nan.empty()) return nan;
      // An interval prints as days, hours, minutes and seconds, without fractions.
      if (id == D_INTERVAL_T) return ShortestText(*static_cast<float*>(value));
      return Printed(id, value, nullptr);
    case TextKind::kPattern:
      return Printable(PatternText(id, value, style));
    default:
      return Printed(id, value, nullptr);
  }
}

namespace {

Bytes StoredRange(const ValueRun& run, unsigned first, unsigned count, unsigned char order) {
  Bytes bytes(KvStoredSize(Types(), run.Id(), run.At(first), count).bytes);
  const KvStored stored =
      KvStoreChecked(Types(), run.Id(), bytes.data(), bytes.size(), run.At(first), order, count);
  if (stored.status != kvOk || bytes.empty()) {
    FailValue(TypeName(run.Id()) + " values cannot be stored");
  }
  return bytes;
}

}  // namespace

Bytes StoredForm(const ValueRun& run, unsigned char order) {
  return StoredRange(run, 0, run.Count(), order);
}

Bytes StoredForm(const ValueRun& run, unsigned index, unsigned char order) {
  return StoredRange(run, index, 1, order);
}

std::string JsonOf(char id, void* value, const ValueStyle& style) {
  if (Types().IsNullValue(id, value)) return "null";
  if (!style.format.empty()) return JsonText(TextOf(id, value, style));
  ValueStyle plain = style;
  plain.escapes = false;
  const std::string text = TextOf(id, value, plain);
  switch (FactsOf(id).kind) {
    case TextKind::kInteger:
      return text.starts_with('#') ? text.substr(1) : text;
    case TextKind::kFloat:
    case TextKind::kDouble:
      return text.find_first_of("Nn") == std::string::npos ? text : JsonText(text);
    case TextKind::kCharacter:
      return style.number ? text : JsonText(text);
    case TextKind::kBoolean:
      return text == "TRUE" ? "true" : "false";
    case TextKind::kString: {
      const KvString& string = *static_cast<const KvString*>(value);
      return "{\"text\": " + JsonText(text) +
             ", \"codeSet\": " + std::to_string(string.GetCodeSet()) +
             ", \"language\": " + std::to_string(string.GetLanguage()) + "}";
    }
    default:
      return JsonText(text);
  }
}

void LoadRun(const ValueRun& run, const unsigned char* stored, unsigned char order) {
  LoadMeasured(run.Id(), run.Data(), stored, order, run.Count());
}

void LoadValue(char id, void* value, const Bytes& stored, unsigned char order) {
  const StoredRun measured = MeasureStored(id, stored, order, 1);
  if (measured.bytes < stored.size()) {
    FailValue(std::to_string(stored.size() - measured.bytes) +
              " bytes after the value, at offset " + std::to_string(measured.bytes));
  }
  LoadMeasured(id, value, stored.data(), order, 1);
}
