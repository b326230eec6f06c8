// The checked parser of scalar formats, and printing and scanning by it.
//
// A format is walked piece by piece. Before any piece is used the whole format is walked once to
// see that its conversions are those that were asked for. The C library then gets a conversion that
// was written here, from parsed fields, never the caller's own characters.
#include "kvtext/scalar_format.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "kvtext/format_pieces.h"
#include "kvtext/number_text.h"
#include "kvtext/text_sink.h"

namespace kv {
namespace {

// Widths and precisions count up to this: enough to fill any text, too little to be a burden.
constexpr int kLargestWidth = 4096;

// Where a width or a precision could stand, and none does.
constexpr int kNone = -1;

enum class Kind : unsigned char { kSigned, kUnsigned, kCharacter, kFloating, kUnknown };

struct Conversion {
  char flags[6] = "";  // each at most once
  int width = kNone;
  int precision = kNone;
  unsigned narrow = 0;  // bits left by h or hh, 0 for the row's own width
  char letter = 0;
  Kind kind = Kind::kUnknown;
};

constexpr Kind KindOf(char letter) {
  switch (letter) {
    case 'd':
    case 'i':
      return Kind::kSigned;
    case 'u':
    case 'x':
    case 'X':
    case 'o':
      return Kind::kUnsigned;
    case 'c':
      return Kind::kCharacter;
    case 'a':
    case 'A':
    case 'e':
    case 'E':
    case 'f':
    case 'F':
    case 'g':
    case 'G':
      return Kind::kFloating;
    default:
      return Kind::kUnknown;
  }
}

enum class Piece : unsigned char { kEnd, kLiteral, kPercent, kConversion, kRefused };

// Takes a modifier, if one stands there. Result: the bits that it leaves, 0 for the row's own
// width.
unsigned ReadModifier(const char*& at) {
  const char first = *at;
  if (first == 'h') {
    const bool twice = at[1] == 'h';
    at += twice ? 2 : 1;
    return twice ? 8 : 16;
  }
  if (first == 'l') {
    at += at[1] == 'l' ? 2 : 1;
  } else if (first == 'L') {
    ++at;
  } else if (first == 'I' && at[1] == '6' && at[2] == '4') {
    at += 3;
  }
  return 0;
}

// Walks a format; after Next() the piece is in `literal` or `conversion`.
class FormatReader {
 public:
  explicit FormatReader(const char* format) : pieces_(format) {}

  Piece Next() {
    if (!pieces_.Next()) return Piece::kEnd;
    literal = pieces_.Character();
    if (pieces_.IsDirective('%')) return Piece::kPercent;
    // A "%" that ends a format begins a conversion without a letter.
    if (pieces_.IsLiteral('%')) return Piece::kRefused;
    if (!pieces_.IsDirective()) return Piece::kLiteral;
    return ReadConversion(pieces_.Rest()) ? Piece::kConversion : Piece::kRefused;
  }

  char literal = 0;
  Conversion conversion;

 private:
  // Of a directive whose letter stands before `at`. Moves `at` behind the conversion.
  bool ReadConversion(const char*& at) {
    --at;
    // Made in place: one that is copied here waits for its own fields to be written.
    std::construct_at(&conversion);
    ReadFlags(at);
    conversion.width = ReadCount(at);
    if (*at == '.') conversion.precision = std::max(ReadCount(++at), 0);
    conversion.narrow = ReadModifier(at);
    conversion.letter = *at;
    conversion.kind = KindOf(conversion.letter);
    if (conversion.kind == Kind::kUnknown) return false;
    ++at;
    return true;
  }

  static constexpr bool IsFlag(char c) {
    return c == '-' || c == '+' || c == ' ' || c == '#' || c == '0';
  }

  void ReadFlags(const char*& at) {
    unsigned count = 0;
    for (; IsFlag(*at); ++at) {
      if (std::strchr(conversion.flags, *at) == nullptr) conversion.flags[count++] = *at;
    }
  }

  static int ReadCount(const char*& at) {
    if (!IsDigit(*at)) return kNone;
    int count = 0;
    for (; IsDigit(*at); ++at) count = std::min(count * 10 + (*at - '0'), kLargestWidth);
    return count;
  }

  FormatPieces pieces_;
};

// The formats that integers nearly always have: "%d" or "%u" alone, with or without a modifier.
bool ReadPlainInteger(const char* format, Conversion& conversion) {
  if (format[0] != '%') return false;
  const char* at = format + 1;
  conversion.narrow = ReadModifier(at);
  if ((*at != 'd' && *at != 'u') || at[1] != 0) return false;
  conversion.letter = *at;
  conversion.kind = KindOf(*at);
  return true;
}

// Whether the format parses and takes no more than the conversions of the list, in their order.
bool Takes(const char* format, ConversionList list) {
  const unsigned allowed = list == ConversionList::kMantissaAndExponent ? 2 : 1;
  FormatReader reader(format);
  unsigned taken = 0;
  for (Piece piece = reader.Next(); piece != Piece::kEnd; piece = reader.Next()) {
    if (piece == Piece::kRefused) return false;
    if (piece != Piece::kConversion) continue;
    const bool floatingDue = list != ConversionList::kInteger && taken == 0;
    const bool floating = reader.conversion.kind == Kind::kFloating;
    if (taken++ == allowed || floating != floatingDue) return false;
  }
  return true;
}

// The conversion as the C library is given it: only what has a meaning for its kind.
class CheckedConversion {
 public:
  explicit CheckedConversion(const Conversion& conversion) {
    const bool integer = conversion.kind != Kind::kFloating;
    const bool character = conversion.kind == Kind::kCharacter;
    Put('%');
    for (const char* flag = conversion.flags; *flag != 0; ++flag) {
      if (std::strchr(UsefulFlags(conversion), *flag) != nullptr) Put(*flag);
    }
    if (conversion.width != kNone) Put(conversion.width);
    if (conversion.precision != kNone && !character) {
      Put('.');
      Put(conversion.precision);
    }
    if (integer && !character) {
      Put('l');
      Put('l');
    }
    Put(conversion.letter);
  }

  const char* Text() const { return text_; }

 private:
  static const char* UsefulFlags(const Conversion& conversion) {
    switch (conversion.kind) {
      case Kind::kCharacter:
        return "-";
      case Kind::kSigned:
        return "-+ 0";
      case Kind::kUnsigned:
        return conversion.letter == 'u' ? "-0" : "-#0";
      default:
        return "-+ #0";
    }
  }

  void Put(char c) { text_[length_++] = c; }
  void Put(int count) {
    length_ = static_cast<unsigned>(
        std::to_chars(text_ + length_, text_ + sizeof text_, count).ptr - text_);
  }

  char text_[24] = {};  // '%', 5 flags, 4 digits, '.', 4 digits, "ll", letter, terminator
  unsigned length_ = 0;
};

// Cuts an integer to what the conversion names: the row's bits, or fewer under h and hh.
unsigned long long CutToBits(unsigned long long value, unsigned bits) {
  return bits == 64 ? value : value & ((1ULL << bits) - 1);
}

long long CutToSignedBits(unsigned long long value, unsigned bits) {
  const unsigned shift = 64 - bits;
  return static_cast<long long>(value << shift) >> shift;
}

unsigned BitsOf(const Conversion& conversion, unsigned rowBits) {
  return conversion.narrow != 0 ? conversion.narrow : rowBits;
}

void PrintConversion(TextSink& text, const Conversion& conversion, const ScalarArguments& values) {
  const unsigned bits = BitsOf(conversion, values.integerBits);
  if (conversion.flags[0] == 0 && conversion.width == kNone && conversion.precision == kNone) {
    if (conversion.kind == Kind::kSigned) {
      return text.PutNumber(CutToSignedBits(values.integer, bits));
    }
    if (conversion.letter == 'u') return text.PutNumber(CutToBits(values.integer, bits));
  }
  const CheckedConversion checked(conversion);
  switch (conversion.kind) {
    case Kind::kFloating:
      return text.PutFormatted(checked.Text(), values.floating);
    case Kind::kCharacter:
      return text.PutFormatted(checked.Text(),
                               static_cast<int>(static_cast<unsigned char>(values.integer)));
    case Kind::kSigned:
      return text.PutFormatted(checked.Text(), CutToSignedBits(values.integer, bits));
    default:
      return text.PutFormatted(checked.Text(), CutToBits(values.integer, bits));
  }
}

// The part of a text that a conversion may use up.
struct Input {
  const char* at;
  const char* last;
  bool outOfRange = false;  // a number was read that is not in the text

  const char* EndOfField(const Conversion& conversion) const {
    if (conversion.width == kNone || conversion.width >= last - at) return last;
    return at + conversion.width;
  }
};

bool ScanFloating(Input& input, const Conversion& conversion, double& value) {
  input.at = SkipBlanks(input.at);
  char field[2 * kLargestWidth];
  const char* text = input.at;
  const auto length = static_cast<unsigned>(input.EndOfField(conversion) - input.at);
  if (input.EndOfField(conversion) != input.last) {
    std::memcpy(field, text, length);
    field[length] = 0;
    text = field;
  }
  char* end;
  errno = 0;
  const double scanned = std::strtod(text, &end);
  if (end == text) return false;
  value = scanned;
  input.outOfRange = input.outOfRange || (errno == ERANGE && std::isinf(scanned));
  input.at += end - text;
  return true;
}

constexpr int RadixOf(char letter) {
  switch (letter) {
    case 'i':
      return 0;
    case 'o':
      return 8;
    case 'x':
    case 'X':
      return 16;
    default:
      return 10;
  }
}

// Whether a number in a text is one of `bits` bits. -0 is one without a sign too.
bool FitsBits(const IntegerText& number, bool isSigned, unsigned bits) {
  if (number.overflow) return false;
  const unsigned long long most = ~0ULL >> (64 - bits);
  if (!isSigned) return number.magnitude <= (number.negative ? 0 : most);
  return number.magnitude <= most / 2 + (number.negative ? 1 : 0);
}

bool ScanInteger(Input& input, const Conversion& conversion, ScalarArguments& values) {
  input.at = SkipBlanks(input.at);
  const IntegerText number =
      ReadInteger(input.at, input.EndOfField(conversion), RadixOf(conversion.letter));
  if (number.end == nullptr) return false;
  input.at = number.end;
  const bool isSigned = conversion.kind == Kind::kSigned;
  const unsigned long long value =
      isSigned ? static_cast<unsigned long long>(SaturateSigned(number, values.integerBits))
               : SaturateUnsigned(number, values.integerBits);
  const unsigned bits = BitsOf(conversion, values.integerBits);
  input.outOfRange =
      input.outOfRange || !FitsBits(number, isSigned, std::min(bits, values.valueBits));
  values.integer = isSigned ? static_cast<unsigned long long>(CutToSignedBits(value, bits))
                            : CutToBits(value, bits);
  return true;
}

bool ScanConversion(Input& input, const Conversion& conversion, ScalarArguments& values) {
  if (conversion.kind == Kind::kFloating) return ScanFloating(input, conversion, values.floating);
  if (conversion.kind != Kind::kCharacter) return ScanInteger(input, conversion, values);
  if (input.at == input.last) return false;
  values.integer = static_cast<unsigned char>(*input.at++);
  return true;
}

bool ScanLiteral(Input& input, char literal) {
  if (IsBlank(literal)) {
    input.at = SkipBlanks(input.at);
    return true;
  }
  return *input.at == literal && ++input.at;
}

}  // namespace

unsigned PrintPlainInteger(ScalarBuffer& text, const char* format, const ScalarArguments& values) {
  Conversion conversion;
  if (!ReadPlainInteger(format, conversion)) return 0;
  const unsigned bits = BitsOf(conversion, values.integerBits);
  char* const last = text + kScalarBufferSize;
  const char* const end = conversion.kind == Kind::kSigned
                              ? std::to_chars(text, last, CutToSignedBits(values.integer, bits)).ptr
                              : std::to_chars(text, last, CutToBits(values.integer, bits)).ptr;
  return static_cast<unsigned>(end - text);
}

bool PrintWithFormat(ScalarBuffer& text, const char* format, ConversionList list,
                     const ScalarArguments& values) {
  if (!Takes(format, list)) return false;
  TextSink out(text);
  FormatReader reader(format);
  for (Piece piece = reader.Next(); piece != Piece::kEnd; piece = reader.Next()) {
    if (piece == Piece::kConversion) {
      PrintConversion(out, reader.conversion, values);
    } else {
      out.Put(reader.literal);
    }
  }
  out.Terminate();
  return true;
}

unsigned ScanWithFormat(const char* text, const char* format, ConversionList list,
                        ScalarArguments& values, ScanTrace* trace) {
  Input input{text, text + std::strlen(text)};
  const auto tell = [&](unsigned matched, bool complete, bool badFormat = false) {
    if (trace == nullptr) return matched;
    *trace = {static_cast<unsigned>(input.at - text), complete, matched != 0, input.outOfRange,
              badFormat};
    return matched;
  };
  Conversion plain;
  if (list == ConversionList::kInteger && ReadPlainInteger(format, plain)) {
    const bool matches = ScanInteger(input, plain, values);
    return tell(matches ? 1 : 0, matches);
  }
  if (!Takes(format, list)) return tell(0, false, true);
  FormatReader reader(format);
  unsigned matched = 0;
  for (Piece piece = reader.Next(); piece != Piece::kEnd; piece = reader.Next()) {
    if (piece == Piece::kPercent) input.at = SkipBlanks(input.at);
    const bool matches = piece == Piece::kConversion
                             ? ScanConversion(input, reader.conversion, values)
                             : ScanLiteral(input, reader.literal);
    if (!matches) return tell(matched, false);
    if (piece == Piece::kConversion) ++matched;
  }
  return tell(matched, true);
}

}  // namespace kv
