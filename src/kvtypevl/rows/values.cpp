// KvInt64, KvBoolean and KvSeal: their text, what their policies do beyond a line, their slots and
// the exported comparers.
#include "kvtypevl/rows/values.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "kvboolean.h"
#include "kvseal.h"
#include "kvstring/null_text.h"
#include "kvtext/default_formats.h"
#include "kvtext/format_pieces.h"
#include "kvtext/number_text.h"
#include "kvtypevl/operations/row_handlers.h"

namespace kv {
namespace {

enum class Letters { kLower, kUpper };

struct Conversion {
  int radix;  // 0: no conversion, the "%" is ordinary text
  Letters letters = Letters::kLower;
};

// What a character behind "%" asks for.
constexpr Conversion ConversionOf(char letter) {
  switch (letter) {
    case 'S':
    case 'd':
    case 'i':
      return {10};
    case 'x':
      return {16};
    case 'X':
      return {16, Letters::kUpper};
    case 'o':
      return {8};
    default:
      return {0};
  }
}

// Walks a format: `convert` takes each conversion, `literal` each other character, and a false of
// either ends the walk. A "%" that begins no conversion is ordinary text, and so is the character
// behind it, whatever it is.
template <class Convert, class Literal>
bool WalkInt64Format(const char* format, Convert convert, Literal literal) {
  for (FormatPieces pieces(format != nullptr ? format : default_format::kInt64); pieces.Next();) {
    const char character = pieces.Character();
    const Conversion conversion = pieces.IsDirective() ? ConversionOf(character) : Conversion{0};
    if (conversion.radix != 0) {
      if (!convert(conversion)) return false;
    } else if ((pieces.IsDirective() && !literal('%')) || !literal(character)) {
      return false;
    }
  }
  return true;
}

void PutInt64(TextSink& sink, const KvInt64& value, Conversion conversion) {
  if (value < 0) sink.Put('-');
  // The magnitude of the most negative value is right as an unsigned number.
  const auto magnitude = static_cast<o_u8b>(value.Abs().Get8b());
  if (conversion.radix == 8 && magnitude != 0) sink.Put('0');
  char digits[65];
  char* end = std::to_chars(digits, digits + sizeof digits, magnitude, conversion.radix).ptr;
  if (conversion.letters == Letters::kUpper) {
    std::transform(digits, end, digits,
                   [](char c) { return c >= 'a' ? static_cast<char>(c - 'a' + 'A') : c; });
  }
  sink.Put(digits, static_cast<std::size_t>(end - digits));
}

// Hexadecimal behind 0x, also where the conversion is decimal; a 0 alone never makes a decimal
// number octal, so padded numbers read as they look.
bool ReadInt64(KvInt64& value, const char*& text, const char* end, int radix, ScanTrace& trace) {
  text = SkipBlanks(text);
  const char* digits = text < end && (*text == '-' || *text == '+') ? text + 1 : text;
  const bool hexadecimal = end - digits >= 2 && digits[0] == '0' && (digits[1] | 0x20) == 'x';
  const IntegerText number = ReadInteger(text, end, radix == 10 && hexadecimal ? 16 : radix);
  if (number.end == nullptr) return false;
  const long long read = SaturateSigned(number, 64);
  // Saturation is what makes the magnitude of the number another one.
  const auto magnitude = static_cast<unsigned long long>(read);
  const bool same = number.magnitude == (number.negative ? 0 - magnitude : magnitude);
  trace.outOfRange = trace.outOfRange || number.overflow || !same;
  trace.any = true;
  value = read;
  text = number.end;
  return true;
}

}  // namespace

KvString& PrintInt64(KvString& out, void* values, const char* format, unsigned /*count*/) {
  const KvInt64 value = *static_cast<const KvInt64*>(values);
  LongestText text;
  TextSink sink(text);
  WalkInt64Format(
      format,
      [&](Conversion conversion) {
        PutInt64(sink, value, conversion);
        return true;
      },
      [&](char character) {
        sink.Put(character);
        return true;
      });
  return AssignPrinted(out, sink);
}

bool ScanInt64Text(KvInt64& value, const char* text, const char* format, ScanTrace* trace) {
  const char* const begin = text;
  const char* end = text + std::strlen(text);
  ScanTrace seen;
  KvInt64 scanned = value;
  const bool matches = WalkInt64Format(
      format,
      [&](Conversion conversion) { return ReadInt64(scanned, text, end, conversion.radix, seen); },
      [&](char character) {
        if (IsBlank(character)) {
          text = SkipBlanks(text);
          return true;
        }
        if (*text != character) return false;
        ++text;
        return true;
      });
  if (matches) value = scanned;
  seen.complete = matches;
  seen.position = static_cast<unsigned>(text - begin);
  if (trace != nullptr) *trace = seen;
  return matches;
}

void* ScanInt64(void* values, KvString& text, const char* format, unsigned /*count*/) {
  if (values == nullptr) return nullptr;
  const NarrowText narrow(text);
  ScanInt64Text(*static_cast<KvInt64*>(values), narrow.Get(), format);
  return values;
}

KvString& PrintBoolean(KvString& out, void* values, const char* /*format*/, unsigned /*count*/) {
  const KvBoolean truth = *static_cast<const KvBoolean*>(values);
  if (truth.IsNullValue()) return PrintNull(out);
  return out = truth.value == 1 ? "TRUE" : "FALSE";
}

void* ScanBoolean(void* values, KvString& text, const char* /*format*/, unsigned /*count*/) {
  if (values == nullptr) return nullptr;
  auto& truth = *static_cast<KvBoolean*>(values);
  const NarrowText narrow(text);
  if (BeginsWithNull(narrow.Get())) {
    truth.SetNullValue();
    return values;
  }
  constexpr const char* kTrue[] = {"T", "t", "TRUE", "true", "1"};
  truth = std::any_of(std::begin(kTrue), std::end(kTrue),
                      [&](const char* word) { return std::strcmp(narrow.Get(), word) == 0; });
  return values;
}

float BooleanRow::Evaluate(const KvIdxBounds* bounds, unsigned short predicate, const void* value,
                           unsigned char /*format*/, unsigned count, KvIdxBounds* newBounds) {
  if (value != nullptr) RecordBounds(newBounds, predicate, value, count);
  return bounds != nullptr ? 1.0f / 3.0f : 0.0f;
}

int SealRow::Order(const KvSeal& a, const KvSeal& b, unsigned short) {
  if (a.high != b.high) return a.high - b.high;
  if (a.middle != b.middle) return a.middle - b.middle;
  return a.low - b.low;
}

int SealRow::Successor(KvSeal& seal) {
  const o_8b number = Number(seal);
  if (number == kLargest) return kvOverflow;
  seal.ConvertFrom(number + 1);
  return kvOk;
}

KvString& SealRow::Print(KvString& out, void* values, const char* /*format*/, unsigned /*count*/) {
  return static_cast<const KvSeal*>(values)->PrintToKvString(out);
}

void* SealRow::Scan(void* values, KvString& text, const char* /*format*/, unsigned /*count*/) {
  if (values != nullptr) static_cast<KvSeal*>(values)->ScanFromKvString(text);
  return values;
}

void Int64Row::Trace(KvInt64& value, const KvString& text, const char* format, ScanTrace& trace) {
  ScanInt64Text(value, NarrowText(text).Get(), format, &trace);
}

void BooleanRow::Trace(KvBoolean& truth, const KvString& text, const char* /*format*/,
                       ScanTrace& trace) {
  const NarrowText narrow(text);
  if (BeginsWithNull(narrow.Get())) {
    truth.SetNullValue();
    trace = TraceOfNull(text);
    return;
  }
  const char* begin = SkipBlanks(narrow.Get());
  std::size_t length = 0;
  while (begin[length] != 0 && !IsBlank(begin[length])) ++length;
  const std::string_view word(begin, length);
  trace.position = static_cast<unsigned>(begin - narrow.Get());
  // The first half of the words is true.
  constexpr std::string_view kWords[] = {"TRUE",  "true",  "T", "t", "1",
                                         "FALSE", "false", "F", "f", "0"};
  for (std::size_t i = 0; i < std::size(kWords); ++i) {
    if (word != kWords[i]) continue;
    truth = i < std::size(kWords) / 2;
    trace.position += static_cast<unsigned>(length);
    trace.complete = trace.any = true;
    return;
  }
}

void SealRow::Trace(KvSeal& seal, const KvString& text, const char* /*format*/, ScanTrace& trace) {
  KvInt64 read;
  ScanInt64Text(read, NarrowText(text).Get(), nullptr, &trace);
  trace.outOfRange = trace.outOfRange || read < 0 || read.Get8b() > kLargest;
  if (!trace.outOfRange) seal.ConvertFrom(read);
}

template struct RowHandlers<Int64Row>;
template struct RowHandlers<BooleanRow>;
template struct RowHandlers<SealRow>;

}  // namespace kv

KvString& KvInt64::PrintToKvString(KvString& text, const char* format) const {
  KvInt64 value = *this;
  return kv::PrintInt64(text, &value, format, 1);
}

int KvInt64::ScanFromKvString(const KvString& text, const char* format) {
  const kv::NarrowText narrow(text);
  return kv::ScanInt64Text(*this, narrow.Get(), format) ? kvOk : kvNotSupported;
}

KvString& KvSeal::PrintToKvString(KvString& text) const {
  KvInt64 value;
  ConvertTo(value);
  return value.PrintToKvString(text);
}

int KvSeal::ScanFromKvString(const KvString& text) {
  KvInt64 value;
  const int status = text.IsEmpty() ? kvOk : value.ScanFromKvString(text);
  if (status == kvOk) ConvertFrom(value);
  return status;
}

int Int64Compare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                 void* value2, unsigned short cmpOp, unsigned count, int& status) {
  return kv::CompareRun<kv::Int64Row>(format, length1, value1, length2, value2, cmpOp, count,
                                      status);
}

int BooleanCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                   void* value2, unsigned short cmpOp, unsigned count, int& status) {
  return kv::CompareRun<kv::BooleanRow>(format, length1, value1, length2, value2, cmpOp, count,
                                        status);
}
