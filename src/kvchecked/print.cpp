// Values as texts in a caller's buffer. Plain numbers go there straight from their digits; whatever
// else a row prints is printed into a string first, for only then is its length known.
#include <array>
#include <cstring>
#include <utility>

#include "kvchecked.h"
#include "kvmbs.h"
#include "kvtext/default_formats.h"
#include "kvtext/digits.h"
#include "kvtext/float_text.h"
#include "kvtypes/catalogue.h"
#include "kvtypevl/rows/scalars.h"
#include "zbs.h"

namespace {

using PrintNumber = KvPrinted (*)(char* text, std::size_t room, const void* value);

KvPrinted Outcome(std::size_t length, std::size_t room) {
  return {length > room ? kvBufferShort : kvOk, length};
}

template <class Integer>
KvPrinted PrintDigits(char* text, std::size_t room, const void* value) {
  Integer number;
  std::memcpy(&number, value, sizeof number);
  const kv::DecimalInteger<Integer> digits(number);
  const KvPrinted outcome = Outcome(digits.Length(), room);
  if (outcome.status == kvOk) digits.WriteTo(text);
  return outcome;
}

template <class Floating>
KvPrinted PrintFloating(char* text, std::size_t room, const void* value) {
  Floating number;
  std::memcpy(&number, value, sizeof number);
  char printed[kv::kFloatTextSize];
  const unsigned length = kv::PrintDefaultFloat(printed, number);
  const KvPrinted outcome = Outcome(length, room);
  if (outcome.status == kvOk) std::memcpy(text, printed, length);
  return outcome;
}

// A row whose text is the number and nothing else, as long as it has the functions and the format
// that it was made with.
struct NumberRow {
  KvPrintFunc rowPrint = nullptr;
  const char* format = nullptr;
  PrintNumber print = nullptr;
};

namespace format = kv::default_format;

constexpr std::pair<char, NumberRow> kNumbers[] = {
    {Kv2B_T, {kv::PrintShort, format::kShort, PrintDigits<o_2b>}},
    {KvU2B_T, {kv::PrintWord, format::kWord, PrintDigits<o_u2b>}},
    {Kv4B_T, {kv::PrintLong, format::kLong, PrintDigits<o_4b>}},
    {KvU4B_T, {kv::PrintDword, format::kDword, PrintDigits<o_u4b>}},
    {KvINT_T, {kv::PrintInt, format::kInt, PrintDigits<int>}},
    {KvUNSIGNED_T, {kv::PrintUnsigned, format::kUnsigned, PrintDigits<unsigned>}},
    {Kv8B_T, {kv::Print8b, format::kEightByte, PrintDigits<o_8b>}},
    {KvU8B_T, {kv::PrintU8b, format::kUnsignedEightByte, PrintDigits<o_u8b>}},
    {KvFLOAT_T, {kv::PrintFloat, format::kFloating, PrintFloating<float>}},
    {KvDOUBLE_T, {kv::PrintDouble, format::kFloating, PrintFloating<double>}},
};

constexpr std::array<NumberRow, kv::kRowCount> kNumberRows = [] {
  std::array<NumberRow, kv::kRowCount> rows{};
  for (const auto& [id, row] : kNumbers) rows[static_cast<std::size_t>(id)] = row;
  return rows;
}();

// The way to print a number there and then; null when the type is none, or not printed so.
PrintNumber NumberPrintOf(const KvTypeMgr& types, char id, const char* format) {
  const auto index = static_cast<unsigned char>(id);
  if (index >= kNumberRows.size()) return nullptr;
  if (index >= kv::kOldRowCount && types.FormatVersion() < 4) return nullptr;
  const KvTypeDescriptor& row = *kv::currentCatalogue[index];
  const NumberRow& number = kNumberRows[index];
  const bool isOwn =
      row.print == number.rowPrint && (format != nullptr ? format : row.format) == number.format;
  return isOwn ? number.print : nullptr;
}

// Apart, so that a number does not pay for the string.
[[gnu::noinline]] KvPrinted PrintByString(const KvTypeMgr& types, char id, char* text,
                                          std::size_t room, const void* value, const char* format) {
  if (const int status = KvCheckType(types, id); status != kvOk) return {status, 0};
  if (value == nullptr || (text == nullptr && room != 0)) return {kvBadArgument, 0};
  const unsigned shortages = KvLowMemoryCount();
  KvString printed;
  types.PrintToKvString(id, printed, value, format, 1);
  const auto length = static_cast<std::size_t>(KvMBSLength(printed, printed.Len()));
  if (KvLowMemoryCount() != shortages) return {kvNoMemory, 0};
  const KvPrinted outcome = Outcome(length, room);
  if (outcome.status != kvOk || length == 0) return outcome;
  KvString2KvMBS(printed, text, static_cast<int>(length));
  return KvLowMemoryCount() == shortages ? outcome : KvPrinted{kvNoMemory, 0};
}

}  // namespace

KvPrinted KvPrintChecked(const KvTypeMgr& types, char id, char* text, std::size_t room,
                         const void* value, const char* format) {
  const PrintNumber print = NumberPrintOf(types, id, format);
  if (print != nullptr && value != nullptr && (text != nullptr || room == 0)) {
    return print(text, room, value);
  }
  return PrintByString(types, id, text, room, value, format);
}
