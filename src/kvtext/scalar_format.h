// Formats of scalar values: a checked subset of the C library's.
//
//   format      = { literal | "%%" | conversion }
//   conversion  = "%" [ flags ] [ width ] [ "." precision ] [ modifier ] kind
//   flags       = any of "-+ #0"          modifier = h hh l ll L I64
//   kind        = d i u x X o c           an integer conversion
//               | a A e E f F g G         a floating conversion
//
// Formats can come from strangers, so none reaches the C library as it is. A format is used only
// when its conversions are those that the row passes values for, at most and in that order; any
// other ("%s", "%n", "%*d", one conversion too many) is refused as a whole.
//
// Values are passed at the row's own width whatever the modifier says: l, ll, L, I64 and none all
// mean the same, only h and hh narrow. Texts are cut at the end of the buffer, field widths and
// precisions included.
#pragma once

#include "kvtext/scan_trace.h"

namespace kv {

// What the text of one value is built in, terminator included.
inline constexpr unsigned kScalarBufferSize = 1040;
using ScalarBuffer = char[kScalarBufferSize];

// The conversions that a row passes values for.
enum class ConversionList : unsigned char {
  kInteger,             // one whole number
  kFloating,            // one floating number
  kMantissaAndExponent  // a floating number, then a whole one
};

// The values on their way to or from a text. Rows of 1, 2 and 4 bytes pass 32 bits, sign-extended
// as C's promotion does; the 8-byte rows 64.
struct ScalarArguments {
  double floating = 0;
  unsigned long long integer = 0;
  unsigned integerBits = 32;
  unsigned valueBits = 32;  // what the row keeps of an integer
};

// Prints into `text`, terminator included. Result: false, with nothing written, when the format
// does not parse.
bool PrintWithFormat(ScalarBuffer& text, const char* format, ConversionList list,
                     const ScalarArguments& values);

// The same for the formats that integers nearly always have, a lone "%d" or "%u" with or without a
// modifier, and without the terminator. Result: the length, 0 when the format is another.
unsigned PrintPlainInteger(ScalarBuffer& text, const char* format, const ScalarArguments& values);

// Reads `text` by the format. Literals must match, a blank in the format takes any number of
// blanks (none included), numbers skip leading blanks; a precision and flags say nothing here. On
// a conversion that matches its member of `values` is set: an integer sign-extended from the width
// of the conversion, so that it can be cut to any row's width. Result: the number of conversions
// that matched; 0 when the format does not parse. A trace that is given takes how it went.
unsigned ScanWithFormat(const char* text, const char* format, ConversionList list,
                        ScalarArguments& values, ScanTrace* trace = nullptr);

}  // namespace kv
