// The plain scalars: text, handlers and exported comparers.
//
// A print or scan function takes its value to and from the arguments of a format (scalar_format.h)
// and knows its row's default format, which stands in for formats that do not parse. Characters and
// floating numbers add rules of their own.
#include "kvtypevl/rows/scalars.h"
#include "kvbase/run.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string_view>
#include <type_traits>

#include "kvstring.h"
#include "kvstring/narrow_text.h"
#include "kvstring/string_edit.h"
#include "kvtext/default_formats.h"
#include "kvtext/digits.h"
#include "kvtext/float_text.h"
#include "kvtext/number_text.h"
#include "kvtext/scalar_format.h"
#include "kvtypevl/operations/row_handlers.h"

namespace kv {
namespace {

// What `out = text` does, for a text whose length is known: printing is mostly this.
KvString& SetText(KvString& out, const char* text, unsigned length) {
  AssignDefault8(out, text, length);
  return out;
}

KvString& SetText(KvString& out, const char* text) {
  return SetText(out, text, static_cast<unsigned>(std::strlen(text)));
}

// --- Whole numbers ---

template <class Integer>
ScalarArguments ArgumentsOf(Integer value) {
  ScalarArguments arguments;
  // Sign-extended to 32 bits as C promotes a short, whichever row it is: unsigned rows narrow it
  // back by the h in their formats.
  arguments.integer = static_cast<unsigned long long>(static_cast<long long>(value));
  arguments.integerBits = sizeof(Integer) == 8 ? 64 : 32;
  arguments.valueBits = 8 * sizeof(Integer);
  return arguments;
}

// By any format, apart from the plain digits: a frame as large as a text is for those who need it.
template <class Integer>
[[gnu::noinline]] KvString& PrintFormatted(KvString& out, Integer value, const char* format,
                                           const char* rowFormat) {
  const ScalarArguments arguments = ArgumentsOf(value);
  ScalarBuffer text;
  if (format == nullptr) format = rowFormat;
  const unsigned length = PrintPlainInteger(text, format, arguments);
  if (length != 0) return SetText(out, text, length);
  if (!PrintWithFormat(text, format, ConversionList::kInteger, arguments)) {
    PrintWithFormat(text, rowFormat, ConversionList::kInteger, arguments);
  }
  return SetText(out, text);
}

// With its row's own format an integer is nothing but its digits, of the type `Printed`.
template <class Integer, class Printed = Integer>
KvString& PrintInteger(KvString& out, const void* values, const char* format,
                       const char* rowFormat) {
  if (values == nullptr) return out = "";
  Integer value;
  std::memcpy(&value, values, sizeof value);
  if constexpr (!std::is_void_v<Printed>) {
    if (format == rowFormat) {
      const DecimalInteger digits(static_cast<Printed>(value));
      if (char* text = StringAccess::Prepare8(out, digits.Length())) digits.WriteTo(text);
      return out;
    }
  }
  return PrintFormatted(out, value, format, rowFormat);
}

// Four to eight bytes of a block that has so many at `at`, as a word whose lowest byte is the
// first.
inline std::uint64_t LoadUpToEight(const unsigned char* at, std::size_t count) {
  if (count >= 8) return LoadWord(at);
  const std::uint64_t last = ReadUnit<std::uint32_t>(at + count - 4, kHostIsBig);
  return ReadUnit<std::uint32_t>(at, kHostIsBig) | last << 8 * (count - 4);
}

// The number whose digits, 0 to 9, a word's bytes are, the first one lowest.
constexpr unsigned NumberOfDigits(std::uint64_t digits) {
  digits = (digits * (10 * 0x100 + 1) >> 8) & 0x00FF00FF00FF00FF;
  digits = (digits * (100 * 0x10000 + 1) >> 16) & 0x0000FFFF0000FFFF;
  return static_cast<unsigned>(digits * (10000 * 0x100000000 + 1) >> 32);
}

// Reads the digits at `at` in a block that ends at `end`, up to eight. Result: how many there are.
inline unsigned ReadEightDigits(const char* at, const char* end, unsigned& magnitude) {
  const auto room = static_cast<std::size_t>(end - at);
  if (sizeof(void*) < 8 || room < 4) return 0;
  constexpr std::uint64_t kEachByte = 0x0101010101010101;
  const auto* bytes = reinterpret_cast<const unsigned char*>(at);
  const std::uint64_t digits = LoadUpToEight(bytes, room) ^ '0' * kEachByte;
  // The first byte of 10 or more gets its top bit set; what it carries changes the later ones
  // alone.
  const std::uint64_t others = ((digits + 0x76 * kEachByte) | digits) & 0x80 * kEachByte;
  const auto bits = static_cast<unsigned>(std::countr_zero(others)) / 8 * 8;
  const unsigned half = 32 - bits / 2;  // a word cannot be shifted by 64 at once
  magnitude = NumberOfDigits(digits << half << half);
  return bits / 8;
}

// Reads what nearly all texts are: blanks, a sign, and not so many digits that they could overflow,
// in a block that ends at `end`. False, and nothing read, for any other text.
template <class Integer>
[[gnu::always_inline]] inline bool ReadShortInteger(const char* text, const char* end,
                                                    Integer& value) {
  constexpr unsigned kDigits = sizeof(Integer) == 8 ? 18 : 9;
  text = SkipBlanks(text);
  const bool negative = *text == '-';
  if (negative || *text == '+') ++text;
  unsigned first = 0;
  unsigned read = ReadEightDigits(text, end, first);
  std::conditional_t<sizeof(Integer) == 8, unsigned long long, unsigned> magnitude = first;
  for (; IsDigit(text[read]); ++read) {
    if (read == kDigits) return false;
    magnitude = magnitude * 10 + static_cast<unsigned>(text[read] - '0');
  }
  value = static_cast<Integer>(negative ? 0 - magnitude : magnitude);
  return read != 0;
}

// Apart, so that a plain number does not pay for what it needs.
template <class Integer>
[[gnu::noinline]] void* ScanIntegerByFormat(void* value, const KvString& text, const char* format,
                                            ScanTrace* trace) {
  ScalarArguments arguments = ArgumentsOf(Integer{});
  if (ScanWithFormat(NarrowText(text).Get(), format, ConversionList::kInteger, arguments, trace) ==
      1) {
    const auto scanned = static_cast<Integer>(arguments.integer);
    std::memcpy(value, &scanned, sizeof scanned);
  }
  return value;
}

// `plain` and `plainUnsigned` are formats of rows that show nothing but the digits.
template <class Integer>
void* ScanInteger(void* values, const KvString& text, const char* format, const char* plain,
                  const char* plainUnsigned) {
  if (values == nullptr || format == nullptr) return values;
  Integer value;
  const auto* units = reinterpret_cast<const char*>(StringAccess::Buffer(text));
  if ((format == plain || format == plainUnsigned) && !KvIsWideCodeSet(text.GetCodeSet()) &&
      units != nullptr && ReadShortInteger(units, units + text.GetBufferSize(), value)) {
    std::memcpy(values, &value, sizeof value);
    return values;
  }
  return ScanIntegerByFormat<Integer>(values, text, format, nullptr);
}

// --- Characters ---

constexpr bool IsPrintable(char c) {
  return c >= 0x20 && c <= 0x7E;
}

void PrintCharacter(ScalarBuffer& text, char c, const char* format) {
  if (!IsPrintable(c)) {
    const auto byte = static_cast<unsigned char>(c);
    const char hex[] = {'0', 'x', HexDigit(byte >> 4u), HexDigit(byte & 15u), 0};
    std::memcpy(text, hex, sizeof hex);
    return;
  }
  const ScalarArguments arguments = ArgumentsOf(c);
  if (!PrintWithFormat(text, format, ConversionList::kInteger, arguments)) {
    text[0] = c;
    text[1] = 0;
  }
}

// --- Floating numbers ---

// Every number printed or scanned begins with this; rows bring the default format itself.
constexpr bool IsFloatFormat(const char* format) {
  if (format == default_format::kFloating) return true;
  for (unsigned i = 0; i < sizeof default_format::kFloating; ++i) {
    if (format[i] != default_format::kFloating[i]) return false;
  }
  return true;
}

bool IsMantissaFormat(const char* format) {
  return std::string_view(format).starts_with("ldex");
}

KvString& PrintDefault(KvString& out, double value) {
  char text[kFloatTextSize];
  const unsigned length = PrintDefaultFloat(text, value);
  if (char* room = StringAccess::Prepare8(out, length)) std::memcpy(room, text, length);
  return out;
}

KvString& PrintFloating(KvString& out, double value, const char* format) {
  if (format == nullptr || IsFloatFormat(format)) return PrintDefault(out, value);
  ScalarBuffer text;
  ScalarArguments arguments;
  arguments.floating = value;
  ConversionList list = ConversionList::kFloating;
  if (IsMantissaFormat(format)) {
    int exponent = 0;  // stays 0 for infinities and NaN
    arguments.floating = std::frexp(value, &exponent);
    arguments.integer = static_cast<unsigned long long>(static_cast<long long>(exponent));
    list = ConversionList::kMantissaAndExponent;
  }
  return PrintWithFormat(text, format, list, arguments) ? SetText(out, text)
                                                        : PrintDefault(out, value);
}

// The default format, traced: a number, or one of the words, which ends at a blank or with the
// text.
ScanTrace TraceDefault(const char* text, double& value) {
  ScanTrace trace;
  if (const char* end = ReadFloatText(text, text, value)) {
    trace.position = static_cast<unsigned>(end - text);
    trace.outOfRange = std::isinf(value);
    trace.complete = trace.any = true;
    return trace;
  }
  const char* begin = SkipBlanks(text);
  const char* end = begin;
  while (*end != 0 && !IsBlank(*end)) ++end;
  const double number = NumberOfWord({begin, end});
  trace.position = static_cast<unsigned>(begin - text);
  if (number == 0) return trace;
  value = number;
  trace.position = static_cast<unsigned>(end - text);
  trace.complete = trace.any = true;
  return trace;
}

// False when the format did not match: the destination then stays as it is.
bool ScanFloating(const char* text, const char* format, double& value, ScanTrace* trace = nullptr) {
  if (IsFloatFormat(format)) {
    if (trace != nullptr) {
      *trace = TraceDefault(text, value);
      return trace->complete;
    }
    value = ScanDefaultFloat(text, text);
    return true;
  }
  ScalarArguments arguments;
  if (!IsMantissaFormat(format)) {
    const unsigned matched =
        ScanWithFormat(text, format, ConversionList::kFloating, arguments, trace);
    value = arguments.floating;
    return matched == 1;
  }
  if (ScanWithFormat(text, format, ConversionList::kMantissaAndExponent, arguments, trace) != 2) {
    return false;
  }
  value = std::ldexp(arguments.floating, static_cast<int>(arguments.integer));
  if (trace != nullptr && std::isinf(value) && !std::isinf(arguments.floating)) {
    trace->outOfRange = true;
  }
  return true;
}

template <class Floating>
KvString& PrintFloatingRow(KvString& out, const void* values, const char* format) {
  if (values == nullptr) return out = "";
  Floating value;
  std::memcpy(&value, values, sizeof value);
  return PrintFloating(out, value, format);
}

template <class Floating>
void* ScanFloatingRow(void* values, const KvString& text, const char* format,
                      ScanTrace* trace = nullptr) {
  if (values == nullptr || format == nullptr) return values;
  if (format == default_format::kFloating && trace == nullptr &&
      !KvIsWideCodeSet(text.GetCodeSet())) {
    const char* bytes = NarrowText::BytesOf(text);
    const auto value = static_cast<Floating>(ScanDefaultFloat(bytes, bytes + text.GetBufferSize()));
    std::memcpy(values, &value, sizeof value);
    return values;
  }
  double scanned;
  if (ScanFloating(NarrowText(text).Get(), format, scanned, trace)) {
    const auto value = static_cast<Floating>(scanned);
    std::memcpy(values, &value, sizeof value);
    if (trace != nullptr && std::isinf(value) && !std::isinf(scanned)) trace->outOfRange = true;
  }
  return values;
}

}  // namespace

KvString& PrintCharacters(KvString& out, void* values, const char* format, unsigned count) {
  if (values == nullptr) return out = "";
  LongestText storage;
  TextSink text(storage);
  if (format == nullptr) format = default_format::kCharacter;
  const char* bytes = static_cast<const char*>(values);
  // Every byte prints at least one character, so what lies beyond cannot show.
  const unsigned shown = std::min(count, KvString::kMaximumBytes);
  const bool plain = std::strcmp(format, default_format::kCharacter) == 0;
  ScalarBuffer piece;
  for (unsigned i = 0; i < shown; ++i) {
    if (plain && IsPrintable(bytes[i])) {
      text.Put(bytes[i]);
    } else {
      PrintCharacter(piece, bytes[i], format);
      text.Put(piece);
    }
  }
  return AssignPrinted(out, text);
}

void* ScanCharacters(void* values, KvString& text, const char* format, unsigned count) {
  if (values == nullptr || format == nullptr) return values;
  const NarrowText narrow(text);
  char* bytes = static_cast<char*>(values);
  const char* input = narrow.Get();
  if (std::strcmp(format, default_format::kCharacter) == 0) {
    std::memcpy(bytes, input, std::min<std::size_t>(std::strlen(input), count));
    return values;
  }
  for (; count != 0 && *input != 0; --count, ++input, ++bytes) {
    ScalarArguments arguments;
    if (ScanWithFormat(input, format, ConversionList::kInteger, arguments) == 1) {
      *bytes = static_cast<char>(arguments.integer);
    }
  }
  return values;
}

KvString& PrintShort(KvString& out, void* values, const char* format, unsigned /*count*/) {
  return PrintInteger<o_2b>(out, values, format, default_format::kShort);
}
KvString& PrintWord(KvString& out, void* values, const char* format, unsigned /*count*/) {
  return PrintInteger<o_2b, o_u2b>(out, values, format, default_format::kWord);
}
KvString& PrintLong(KvString& out, void* values, const char* format, unsigned /*count*/) {
  return PrintInteger<o_4b>(out, values, format, default_format::kLong);
}
KvString& PrintDword(KvString& out, void* values, const char* format, unsigned /*count*/) {
  return PrintInteger<o_4b, o_u4b>(out, values, format, default_format::kDword);
}
KvString& PrintBlockId(KvString& out, void* values, const char* format, unsigned /*count*/) {
  return PrintInteger<o_4b, void>(out, values, format, default_format::kBlockId);
}
KvString& PrintInt(KvString& out, void* values, const char* format, unsigned /*count*/) {
  return PrintInteger<int>(out, values, format, default_format::kInt);
}
KvString& PrintUnsigned(KvString& out, void* values, const char* format, unsigned /*count*/) {
  return PrintInteger<int, unsigned>(out, values, format, default_format::kUnsigned);
}
KvString& Print8b(KvString& out, void* values, const char* format, unsigned /*count*/) {
  return PrintInteger<o_8b>(out, values, format, default_format::kEightByte);
}
KvString& PrintU8b(KvString& out, void* values, const char* format, unsigned /*count*/) {
  return PrintInteger<o_8b, o_u8b>(out, values, format, default_format::kUnsignedEightByte);
}

void* ScanShort(void* values, KvString& text, const char* format, unsigned /*count*/) {
  return ScanInteger<o_2b>(values, text, format, default_format::kShort, default_format::kWord);
}
void* ScanLong(void* values, KvString& text, const char* format, unsigned /*count*/) {
  return ScanInteger<o_4b>(values, text, format, default_format::kLong, default_format::kDword);
}
void* ScanInt(void* values, KvString& text, const char* format, unsigned /*count*/) {
  return ScanInteger<int>(values, text, format, default_format::kInt, default_format::kUnsigned);
}
void* Scan8b(void* values, KvString& text, const char* format, unsigned /*count*/) {
  return ScanInteger<o_8b>(values, text, format, default_format::kEightByte,
                           default_format::kUnsignedEightByte);
}

KvString& PrintDouble(KvString& out, void* values, const char* format, unsigned /*count*/) {
  return PrintFloatingRow<double>(out, values, format);
}
void* ScanDouble(void* values, KvString& text, const char* format, unsigned /*count*/) {
  return ScanFloatingRow<double>(values, text, format);
}
KvString& PrintFloat(KvString& out, void* values, const char* format, unsigned /*count*/) {
  return PrintFloatingRow<float>(out, values, format);
}
void* ScanFloat(void* values, KvString& text, const char* format, unsigned /*count*/) {
  return ScanFloatingRow<float>(values, text, format);
}

template <class Integer>
void TraceInteger(void* value, const KvString& text, const char* format, ScanTrace& trace) {
  if (value != nullptr && format != nullptr) {
    ScanIntegerByFormat<Integer>(value, text, format, &trace);
  }
}

void TraceCharacter(void* value, const KvString& text, const char* /*format*/, ScanTrace& trace) {
  const NarrowText narrow(text);
  const char* at = narrow.Get();
  if (*at == 0) return;
  char byte = *at;
  trace = {.position = 1, .complete = true, .any = true};
  if (at[0] == '0' && at[1] == 'x' && IsHexDigit(at[2]) && IsHexDigit(at[3])) {
    byte = static_cast<char>(HexValue(at[2]) << 4 | HexValue(at[3]));
    trace.position = 4;
  }
  *static_cast<char*>(value) = byte;
}
void TraceShort(void* value, const KvString& text, const char* format, ScanTrace& trace) {
  TraceInteger<o_2b>(value, text, format, trace);
}
void TraceLong(void* value, const KvString& text, const char* format, ScanTrace& trace) {
  TraceInteger<o_4b>(value, text, format, trace);
}
void Trace8b(void* value, const KvString& text, const char* format, ScanTrace& trace) {
  TraceInteger<o_8b>(value, text, format, trace);
}
void TraceFloat(void* value, const KvString& text, const char* format, ScanTrace& trace) {
  ScanFloatingRow<float>(value, text, format, &trace);
}
void TraceDouble(void* value, const KvString& text, const char* format, ScanTrace& trace) {
  ScanFloatingRow<double>(value, text, format, &trace);
}

template struct RowHandlers<CharRow>;
template struct RowHandlers<ByteRow>;
template struct RowHandlers<ShortRow>;
template struct RowHandlers<WordRow>;
template struct RowHandlers<LongRow>;
template struct RowHandlers<DwordRow>;
template struct RowHandlers<BlockIdRow>;
template struct RowHandlers<IntRow>;
template struct RowHandlers<UnsignedIntRow>;
template struct RowHandlers<EightByteRow>;
template struct RowHandlers<UnsignedEightByteRow>;
template struct RowHandlers<FloatRow>;
template struct RowHandlers<DoubleRow>;

unsigned TranslateEnum(void* destination, unsigned char destinationFormat,
                       unsigned destinationLength, const void* source, unsigned char sourceFormat,
                       unsigned sourceLength, unsigned count) {
  return RowHandlers<IntRow>::Translate(destination, destinationFormat, destinationLength, source,
                                        sourceFormat, sourceLength, count);
}

}  // namespace kv

int ByteCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                void* value2, unsigned short cmpOp, unsigned count, int& status) {
  return kv::CompareRun<kv::ByteRow>(format, length1, value1, length2, value2, cmpOp, count,
                                     status);
}

int CharCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                void* value2, unsigned short cmpOp, unsigned count, int& status) {
  return kv::CompareRun<kv::CharRow>(format, length1, value1, length2, value2, cmpOp, count,
                                     status);
}

int ShortCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                 void* value2, unsigned short cmpOp, unsigned count, int& status) {
  return kv::CompareRun<kv::ShortRow>(format, length1, value1, length2, value2, cmpOp, count,
                                      status);
}

int WordCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                void* value2, unsigned short cmpOp, unsigned count, int& status) {
  return kv::CompareRun<kv::WordRow>(format, length1, value1, length2, value2, cmpOp, count,
                                     status);
}

int LongCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                void* value2, unsigned short cmpOp, unsigned count, int& status) {
  return kv::CompareRun<kv::LongRow>(format, length1, value1, length2, value2, cmpOp, count,
                                     status);
}

int DwordCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                 void* value2, unsigned short cmpOp, unsigned count, int& status) {
  return kv::CompareRun<kv::DwordRow>(format, length1, value1, length2, value2, cmpOp, count,
                                      status);
}

int IntCompare(unsigned char format, unsigned length1, void* value1, unsigned length2, void* value2,
               unsigned short cmpOp, unsigned count, int& status) {
  return kv::CompareRun<kv::IntRow>(format, length1, value1, length2, value2, cmpOp, count, status);
}

int UnsignedCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                    void* value2, unsigned short cmpOp, unsigned count, int& status) {
  return kv::CompareRun<kv::UnsignedIntRow>(format, length1, value1, length2, value2, cmpOp, count,
                                            status);
}

int O_8BCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                void* value2, unsigned short cmpOp, unsigned count, int& status) {
  return kv::CompareRun<kv::EightByteRow>(format, length1, value1, length2, value2, cmpOp, count,
                                          status);
}

int O_U8BCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                 void* value2, unsigned short cmpOp, unsigned count, int& status) {
  return kv::CompareRun<kv::UnsignedEightByteRow>(format, length1, value1, length2, value2, cmpOp,
                                                  count, status);
}

int FloatCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                 void* value2, unsigned short cmpOp, unsigned count, int& status) {
  return kv::CompareRun<kv::FloatRow>(format, length1, value1, length2, value2, cmpOp, count,
                                      status);
}

int DoubleCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                  void* value2, unsigned short cmpOp, unsigned count, int& status) {
  return kv::CompareRun<kv::DoubleRow>(format, length1, value1, length2, value2, cmpOp, count,
                                       status);
}
