// KvString's rows: order, hash, text, null and step. Storage is in string_storage.cpp, bounds in
// string_bounds.cpp.
//
// A format is literal text, "%%" and at most one "%s", with "-", width and precision in characters.
// The default, "%s", prints the string itself: its text, code set and language. Any other format
// gives a text in the string's code set; one that does not parse prints as the default.
//
// A string of code set 254 holds collation orders instead of characters. Its formats may have any
// number of these directives, and print it as %2M when they have none:
//
//   %1M  a character for each order, without accents
//   %2M  the same with accents where ISO 8859-1 has the character
//   %3M  each order in words, with ", " between
//   %4M  each order as four hex digits, with " " between
//
// What mixes orders of the Latin tables with others is marked with "[MIX]" in front.
#include "kvtypevl/rows/strings.h"

#include <algorithm>

#include "kvhash.h"
#include "kvorder.h"
#include "kvstorage.h"
#include "kvstring/collate_quick.h"
#include "kvstring/null_text.h"
#include "kvstring/string_edit.h"
#include "kvtext/format_pieces.h"
#include "kvtypemgr.h"
#include "kvtypevl/operations/row_handlers.h"
#include "kvtypevl/rows/string_keys.h"
#include "kvtypevl/rows/string_runs.h"
#include "kvtypevl/rows/string_storage.h"

namespace kv {
namespace {

template <class Run>
unsigned HashRunOf(const void* values, unsigned length, Format format, unsigned count,
                   int& status) {
  Run run(values, length, format, count);
  unsigned combined = 0;
  for (unsigned index = 0; index < count; ++index) {
    Text text;
    status = run.Next(text);
    if (status == kvNotSupported) return 0;
    if (status != kvOk) break;
    // A string that its buffer cuts short hashes as many orders as it has units.
    combined ^= HashText(text, run.CutLength());
  }
  return combined * kHashMultiplier;
}

template <class Run>
int CompareRunsOf(const void* values1, unsigned length1, const void* values2, unsigned length2,
                  Format format, unsigned short cmpOp, unsigned count, int& status) {
  Run run1(values1, length1, format, count);
  Run run2(values2, length2, format, count);
  unsigned index = 0;
  if constexpr (requires { run1.PassEqual(run2, count); }) index = run1.PassEqual(run2, count);
  for (; index < count; ++index) {
    Text text1;
    Text text2;
    status = run1.Next(text1);
    if (status == kvOk) status = run2.Next(text2);
    if (status != kvOk) return 0;
    const int order = CompareTexts(text1, text2, cmpOp);
    if (order != 0) return ThreeWay(order, 0);
  }
  return 0;
}

// Any two runs; what is not ordinary among single strings too.
[[gnu::noinline]] int CompareRunsInGeneral(unsigned char formatByte, unsigned length1,
                                           const void* value1, unsigned length2, const void* value2,
                                           unsigned short cmpOp, unsigned count, int& status) {
  const Format format{formatByte};
  return format.IsMemory() ? CompareRunsOf<MemoryStringRun>(value1, length1, value2, length2,
                                                            format, cmpOp, count, status)
                           : CompareRunsOf<StoredStringRun>(value1, length1, value2, length2,
                                                            format, cmpOp, count, status);
}

// What the first difference, behind `passed` units, leaves undecided between two whole blocks.
[[gnu::noinline]] int CompareBlockWords(const unsigned char* block1, const unsigned char* block2,
                                        unsigned char format, unsigned short cmpOp,
                                        unsigned passed) {
  const bool reversed = Format{format}.IsReversed();
  const bool wide = KvIsWideCodeSet(block1[2]);
  const auto textOf = [=](const unsigned char* block) -> Text {
    return {block[2], block[3], block + StringBlock::kHeader,
            StringBlock::Units(block, wide, reversed),
            static_cast<unsigned char>(reversed ? 2 : 1)};
  };
  return CompareWordsFrom(textOf(block1), textOf(block2), passed, cmpOp);
}

// Of the units of any code set this one orders lowest, in every language: a text followed by it is
// the shortest one that begins with the text and orders after it.
constexpr unsigned short kLowestUnit = 1;

int Successor(KvString& string) {
  if (string.IsNullValue()) {
    string = KvString();
    return kvOk;
  }
  const unsigned short length = string.Len();
  if (length >= MaximumLength(string.GetCodeSet())) return kvOverflow;
  const unsigned char codeSet = string.GetCodeSet();
  const UnitText unit(kLowestUnit, codeSet);
  const bool done = StringAccess::Edit(
      string, {.position = length, .text = unit.bytes, .codeSet = codeSet, .count = 1});
  return done ? kvOk : kvNotSupported;
}

int StepInMemory(KvString& string, unsigned char stepOp) {
  switch (static_cast<StepOp>(stepOp)) {
    case StepOp::kSuccessor:
    case StepOp::kSuccessorToo:
      return Successor(string);
    case StepOp::kKeep:
      return kvOk;
    case StepOp::kSmallest:
      string.d_deactivate();
      return kvOk;
  }
  return kvNotSupported;
}

unsigned HashAnyStrings(unsigned char format, unsigned length, const void* values, unsigned count,
                        int& status, StringRowFlag /*row*/) {
  status = kvOk;
  const Format form{format};
  return form.IsMemory() ? HashRunOf<MemoryStringRun>(values, length, form, count, status)
                         : HashRunOf<StoredStringRun>(values, length, form, count, status);
}

// An index probe compares single strings; those take no detour through a run. Everything out of the
// ordinary is called at the end and only there, with what was given, so that it costs them nothing.
[[gnu::always_inline]] inline int CompareAnyStrings(unsigned char formatByte, unsigned length1,
                                                    const void* value1, unsigned length2,
                                                    const void* value2, unsigned short cmpOp,
                                                    unsigned count, int& status,
                                                    StringRowFlag /*row*/) {
  status = kvOk;
  const Format format{formatByte};
  if (count != 1) [[unlikely]] {
    return CompareRunsInGeneral(formatByte, length1, value1, length2, value2, cmpOp, count, status);
  }
  if (format.IsMemory()) {
    return CompareStrings(*static_cast<const KvString*>(value1),
                          *static_cast<const KvString*>(value2), cmpOp);
  }
  const auto* block1 = static_cast<const unsigned char*>(value1);
  const auto* block2 = static_cast<const unsigned char*>(value2);
  if (!AreWhole(block1, length1, block2, length2, format) ||
      !ComparesByUnits(block1[2], block1[3], block2[2], block2[3], cmpOp)) [[unlikely]] {
    return CompareRunsInGeneral(formatByte, length1, value1, length2, value2, cmpOp, count, status);
  }
  const unsigned char codeSet = block1[2];
  const unsigned char language = block1[3];
  const auto rest = [=](unsigned passed) {
    return CompareBlockWords(block1, block2, formatByte, cmpOp, passed);
  };
  const unsigned char* text1 = block1 + StringBlock::kHeader;
  const unsigned char* text2 = block2 + StringBlock::kHeader;
  if (!KvIsWideCodeSet(codeSet)) {
    // With their terminators.
    const unsigned units1 = StringBlock::Units(block1, false, format.IsReversed()) + 1;
    const unsigned units2 = StringBlock::Units(block2, false, format.IsReversed()) + 1;
    return DecideWithin<unsigned char>(text1, text2, std::min(units1, units2),
                                       ByteOrderTable(codeSet, language), rest);
  }
  const bool reversed = format.IsReversed();
  return DecideCounted<unsigned short>(text1, StringBlock::Units(block1, true, reversed), text2,
                                       StringBlock::Units(block2, true, reversed), reversed,
                                       WideOrderTable(language), rest);
}

}  // namespace

// What both rows have.
struct StringTexts {
  using SortKeys = StringKeys;
  struct Codec {
    using Value = KvString;
  };
  static constexpr KvLoadFunc Load = StringLoad;
  static constexpr KvNullSizeFunc NullSize = StringNullSize;
  static KvString Default() { return {}; }
  static constexpr KvPrintFunc Print = PrintString;
  static constexpr KvScanFunc Scan = ScanString;
  static KvScanned ScanChecked(void* value, const KvString& text, const char* format);
  static void ToText(KvString& text, const KvString& value) { text = value; }
  static void FromText(KvString& value, const KvString& text) { value = text; }
};

// Every text is one.
KvScanned StringTexts::ScanChecked(void* value, const KvString& text, const char* /*format*/) {
  auto& string = *static_cast<KvString*>(value);
  const KvString& null = KvTypeMgr::GetNullPrintString();
  const unsigned short length = null.Len();
  if (length != 0 && text.Compare(null, static_cast<short>(length)) == 0) {
    string.SetNullValue();
    return Outcome(TraceOfNull(text), text);
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

struct StringRow : StringTexts {
  static constexpr KvStoreFunc Store = StringStore;
  static constexpr KvSizeFunc Size = StringSizeGet;
  static constexpr KvMemFileSizeFunc MemFileSize = StringMemFileSize;
  static constexpr KvCompareFunc Compare = StringCompare;
  static constexpr KvEvalFunc Evaluate = EvalAndBoundStrings;
  static unsigned Hash(unsigned char format, unsigned length, void* values, unsigned count,
                       int& status) {
    return HashAnyStrings(format, length, values, count, status, StringRowFlag::kCurrent);
  }
  static bool IsNull(const KvString& string) { return string.IsNullValue() != 0; }
  static int SetNull(KvString& string) { return string.SetNullValue(); }
  static int Step(void* value, unsigned length, unsigned char format, unsigned char stepOp);
};

struct OldStringRow : StringTexts {
  static constexpr KvStoreFunc Store = OldStringStore;
  static constexpr KvSizeFunc Size = OldStringSize;
  static constexpr KvMemFileSizeFunc MemFileSize = OldStringMemFileSize;
  static int Compare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                     void* value2, unsigned short cmpOp, unsigned count, int& status) {
    return CompareAnyStrings(format, length1, value1, length2, value2, cmpOp, count, status,
                             StringRowFlag::kOld);
  }
  static constexpr KvEvalFunc Evaluate = EvalAndBoundOldStrings;
  static unsigned Hash(unsigned char format, unsigned length, void* values, unsigned count,
                       int& status) {
    return HashAnyStrings(format, length, values, count, status, StringRowFlag::kOld);
  }
};

// A stored string is stepped in its own byte order and stored back where it fits.
int StringRow::Step(void* value, unsigned length, unsigned char format, unsigned char stepOp) {
  // By the whole byte, as KvTypeMgr::GetValue tells the forms of every other row.
  if (format == kMemory.byte) return StepInMemory(*static_cast<KvString*>(value), stepOp);
  if (static_cast<StepOp>(stepOp) == StepOp::kKeep) return kvOk;
  KvString string;
  if (StringLoad(&string, value, format, 1) == 0) return kvNotSupported;
  const int status = StepInMemory(string, stepOp);
  if (status != kvOk) return status;
  // Without a buffer length the present block is all the room there is.
  const unsigned room = length != 0 ? length : StringSizeGet(value, 0, format, 1);
  if (StoredStringSize(string) > room) return kvOverflow;
  StringStore(value, &string, format, 1);
  return kvOk;
}

template struct RowHandlers<StringRow>;
template struct RowHandlers<OldStringRow>;

namespace {

constexpr unsigned kNoPrecision = 0xFFFF;
// Widths come from formats, and formats may come from strangers.
constexpr unsigned kWidestField = 1040;

bool IsDefaultFormat(const char* format) {
  return format == nullptr || std::strcmp(format, "%s") == 0;
}

void AppendLiteral(KvString& out, const char* begin, const char* end) {
  constexpr std::ptrdiff_t kLongestPiece = 65534;
  while (begin != end) {
    const auto count = static_cast<unsigned short>(std::min(end - begin, kLongestPiece));
    out << KvString(begin, count);
    begin += count;
  }
}

void AppendBlanks(KvString& out, unsigned count) {
  out.Expand(static_cast<unsigned short>(std::min(out.Len() + count, 65535u)), ' ');
}

unsigned ReadNumber(const char*& at) {
  unsigned number = 0;
  for (; *at >= '0' && *at <= '9'; ++at) {
    number = std::min(number * 10 + static_cast<unsigned>(*at - '0'), kWidestField);
  }
  return number;
}

// Prints `value` by what follows a "%" and moves behind it. False when that is no "s" conversion.
bool AppendField(KvString& out, const KvString& value, const char*& at) {
  const bool leftAligned = *at == '-';
  if (leftAligned) ++at;
  const unsigned width = ReadNumber(at);
  unsigned precision = kNoPrecision;
  if (*at == '.') precision = ReadNumber(++at);
  if (*at != 's') return false;
  ++at;
  const KvString text = value.Left(static_cast<unsigned short>(precision));
  const unsigned length = text.Len();
  const unsigned blanks = width > length ? width - length : 0;
  if (!leftAligned) AppendBlanks(out, blanks);
  out << text;
  if (leftAligned) AppendBlanks(out, blanks);
  return true;
}

// False when the format does not parse.
bool AppendByFormat(KvString& out, const KvString& value, const char* format) {
  bool printed = false;
  const char* literal = format;
  FormatPieces pieces(format);
  while (pieces.Next()) {
    if (!pieces.IsDirective()) continue;
    const char* letter = pieces.Rest() - 1;
    AppendLiteral(out, literal, letter - 1);
    literal = letter;
    if (pieces.IsDirective('%')) continue;  // the second one is literal
    if (printed || !AppendField(out, value, letter)) return false;
    printed = true;
    literal = pieces.Rest() = letter;
  }
  AppendLiteral(out, literal, pieces.Rest());
  return true;
}

// ---------------------------------------------------------------------------------------------

void AppendOrder(TextSink& out, unsigned short order, unsigned char language, char directive) {
  if (directive == '3') {
    KvString words;
    KvConvertOrderToString(order, language, words);
    out.Put(words.StrGet());
  } else if (directive == '4') {
    out.PutFormatted("%04x", static_cast<unsigned>(order));
  } else {
    unsigned char character[2] = {};
    KvConvertOrderToChar(order, language, character[0], directive == '2', nullptr);
    out.Put(reinterpret_cast<const char*>(character));
  }
}

void AppendOrders(TextSink& out, const KvString& value, char directive) {
  const unsigned length = value.Len();
  bool decoded = false;
  bool other = false;
  for (unsigned index = 0; index < length; ++index) {
    const unsigned short order = UnitAt(value.StrGet(), true, index);
    if (order >= kFirstOtherOrder) other = true;
    if (order >= kFirstSymbolOrder && order < kFirstOtherOrder) decoded = true;
  }
  if (decoded && other) out.Put("[MIX]");
  const char* separator = directive == '3' ? ", " : directive == '4' ? " " : "";
  for (unsigned index = 0; index < length; ++index) {
    if (index != 0) out.Put(separator);
    AppendOrder(out, UnitAt(value.StrGet(), true, index), value.GetLanguage(), directive);
  }
}

bool IsOrderDirective(FormatPieces& pieces) {
  return pieces.IsDirective() && pieces.Character() >= '1' && pieces.Character() <= '4' &&
         *pieces.Rest() == 'M';
}

void PrintOrders(KvString& out, const KvString& value, const char* format) {
  LongestText storage;
  TextSink text(storage);
  bool printed = false;
  for (FormatPieces pieces(IsDefaultFormat(format) ? "" : format); pieces.Next();) {
    if (IsOrderDirective(pieces)) {
      AppendOrders(text, value, pieces.Character());
      printed = true;
      ++pieces.Rest();
    } else {
      if (pieces.IsDirective() && !pieces.IsDirective('%')) text.Put('%');
      text.Put(pieces.Character());
    }
  }
  if (!printed) {
    text = TextSink(storage);
    AppendOrders(text, value, '2');
  }
  AssignDefault8(out, text.Text(), text.Length());
  // The characters of orders are those of ISO 8859-1.
  out.SetCodeSetCode(kvCodeSetLatin1);
}

}  // namespace

KvString& PrintString(KvString& out, void* values, const char* format, unsigned /*count*/) {
  const auto& value = *static_cast<const KvString*>(values);
  if (value.IsNullValue()) {
    PrintNull(out);
  } else if (value.GetCodeSet() == kvCodeSetOrders && !value.IsEmpty()) {
    PrintOrders(out, KvString(value), format);
  } else if (IsDefaultFormat(format)) {
    out = value;
  } else {
    KvString text(value.GetCodeSet(), value.GetLanguage());
    if (AppendByFormat(text, value, format)) {
      out.Destruct(text);
    } else {
      out = value;
    }
  }
  return out;
}

void* ScanString(void* values, KvString& text, const char* /*format*/, unsigned /*count*/) {
  if (values == nullptr) return nullptr;
  auto& value = *static_cast<KvString*>(values);
  const KvString& null = KvTypeMgr::GetNullPrintString();
  const unsigned short length = null.Len();
  // An empty null print string is read back from an empty text only.
  const bool isNull =
      length != 0 ? text.Compare(null, static_cast<short>(length)) == 0 : text.IsEmpty();
  if (isNull) {
    value.SetNullValue();
  } else {
    value = text;
  }
  return values;
}

}  // namespace kv

int StringCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                  void* value2, unsigned short cmpOp, unsigned count, int& status) {
  return kv::CompareAnyStrings(format, length1, value1, length2, value2, cmpOp, count, status,
                               kv::StringRowFlag::kCurrent);
}
