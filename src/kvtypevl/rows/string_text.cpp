// Printing and scanning of KvString values (slots 22 and 23).
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

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "kvorder.h"
#include "kvstring/null_text.h"
#include "kvstring/string_edit.h"
#include "kvtypemgr.h"
#include "kvtypevl/rows/string_text.h"

namespace kv {
namespace {

constexpr unsigned char kOrderCodeSet = 254;
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
  for (const char* at = format; *at != 0;) {
    const char* literal = at;
    while (*at != 0 && *at != '%') ++at;
    AppendLiteral(out, literal, at);
    if (*at == 0) break;
    ++at;
    // A "%" at the very end prints itself, as does "%%".
    if (*at == '%' || *at == 0) {
      out << '%';
      if (*at != 0) ++at;
    } else {
      if (printed || !AppendField(out, value, at)) return false;
      printed = true;
    }
  }
  return true;
}

// ---------------------------------------------------------------------------------------------

// A text that grows up to the string limit and no further.
class LimitedText {
 public:
  LimitedText() : text_(reinterpret_cast<char*>(AllocateText(kMaximumBytes))) {}
  ~LimitedText() { std::free(text_); }
  LimitedText(const LimitedText&) = delete;
  LimitedText& operator=(const LimitedText&) = delete;

  void Append(const char* text) {
    if (text_ == nullptr) return;
    for (; *text != 0 && length_ + 1 < kMaximumBytes; ++text) text_[length_++] = *text;
  }
  // Null when memory was short.
  const char* Text() const { return text_; }

 private:
  char* text_;
  unsigned length_ = 0;
};

void AppendOrder(LimitedText& out, unsigned short order, unsigned char language, char directive) {
  if (directive == '3') {
    KvString words;
    KvConvertOrderToString(order, language, words);
    out.Append(words.StrGet());
  } else if (directive == '4') {
    char digits[8];
    std::snprintf(digits, sizeof digits, "%04x", static_cast<unsigned>(order));
    out.Append(digits);
  } else {
    unsigned char character[2] = {};
    KvConvertOrderToChar(order, language, character[0], directive == '2', nullptr);
    out.Append(reinterpret_cast<const char*>(character));
  }
}

void AppendOrders(LimitedText& out, const KvString& value, char directive) {
  const unsigned length = value.Len();
  bool decoded = false;
  bool other = false;
  for (unsigned index = 0; index < length; ++index) {
    const unsigned short order = ReadUnit(value.StrGet(), true, index);
    if (order >= 0x8000) other = true;
    if (order >= 80 && order < 0x8000) decoded = true;
  }
  if (decoded && other) out.Append("[MIX]");
  const char* separator = directive == '3' ? ", " : directive == '4' ? " " : "";
  for (unsigned index = 0; index < length; ++index) {
    if (index != 0) out.Append(separator);
    AppendOrder(out, ReadUnit(value.StrGet(), true, index), value.GetLanguage(), directive);
  }
}

bool IsOrderDirective(const char* at) {
  return at[0] == '%' && at[1] >= '1' && at[1] <= '4' && at[2] == 'M';
}

void PrintOrders(KvString& out, const KvString& value, const char* format) {
  LimitedText text;
  bool printed = false;
  for (const char* at = IsDefaultFormat(format) ? "" : format; *at != 0;) {
    if (IsOrderDirective(at)) {
      AppendOrders(text, value, at[1]);
      printed = true;
      at += 3;
    } else {
      const char literal[2] = {*at, 0};
      text.Append(literal);
      at += at[0] == '%' && at[1] == '%' ? 2 : 1;
    }
  }
  LimitedText plain;
  if (!printed) AppendOrders(plain, value, '2');
  out = printed ? text.Text() : plain.Text();
  // The characters of orders are those of ISO 8859-1.
  out.SetCodeSetCode(kvCodeSetLatin1);
}

}  // namespace

KvString& PrintString(KvString& out, void* values, const char* format, unsigned /*count*/) {
  const auto& value = *static_cast<const KvString*>(values);
  if (value.IsNullValue()) {
    PrintNull(out);
  } else if (value.GetCodeSet() == kOrderCodeSet && !value.IsEmpty()) {
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
