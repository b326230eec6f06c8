// kvorder.h - collation orders in words: what the 16-bit numbers that texts sort and hash by mean.
//
//   0 to 79          space; 13 is the undefined ordering indicator, 0 the end of a text
//   80 to 16127      symbol: number = order - 80
//   16128 to 16383   digit = ((order & 0xFFFE) - 16128) / 10; bit 0: expand (a superscript)
//   16384 to 32767   letter:
//
//        15 14 13 12 11          7 6           2 1  0
//       +-----+-----+-------------+-------------+----+
//       | 0 1 | case|    accent   |    letter   | ext|
//       +-----+-----+-------------+-------------+----+
//         case       0 capital, else small
//         accent     0 none, 1 cedilla, 2 acute, 3 grave, 4 circumflex, 5 tilde, 6 diaeresis,
//                    7 ring, 8 stroke, 9 caron, 10 macron, 11 breve, 12 dot above, 13 ogonek,
//                    14 double acute, 15 and above others
//         letter     character - 62, so 3 is A; 29 to 31 are letters that a language has after Z
//         ext        1, 2: another letter behind the plain one (Spanish n with tilde); 3: part of a
//                    combined character (ligatures, sharp s). Orders of several letters that sort
//                    as one have the case of the first letter in bit 12, of the last in bit 13
//
//   32768 and above  everything else, and every order of a language of 20 and above: not decoded
//
// A language argument counts with its low seven bits.
//
//   KvString words;
//   KvConvertOrderToString(0x511C, 1, words);      // "lower letter e with accent acute"
#pragma once

#include "kvbase.h"

class KvString;

// A character that stands for the order, in `ch`:
//   space 0x20; symbol itself, or "." where the name says more than a character can (the backslash
//   too), 7 where there is none; digit "0" to "9" and on; letter in its case; not decoded 127.
//
// With `findAccented` non-zero and an accent in the order, `ch` becomes the first character from
// 128 to 255 of ISO 8859-1 that has this order in English. `name`, when not null, receives its
// escape name, such as \'e for 233. When there is no such character, `ch` stays the plain letter
// and `name` receives the empty text. In all other cases `name` is left alone.
//
// Result: always 0.
KV_EXPORT int KvConvertOrderToChar(unsigned short order, unsigned char language, unsigned char& ch,
                                   int findAccented, const char** name);

// An English description of the order replaces `text`: "space", "symbol solidus", "digit 7 with
// expand", "upper letter A with ring above", "HAN character 0x8000\n" (with the line feed). A
// symbol without a name is "symbol ", an accent without one " with ". Result: always 0.
KV_EXPORT int KvConvertOrderToString(unsigned short order, unsigned char language, KvString& text);

// Digit and expand flag (0 or 1) of a digit order. Result: 0, or kvBadArgument with both untouched
// when the order is no digit.
KV_EXPORT int KvExtractDigitFromOrder(unsigned short order, unsigned short& digit,
                                      unsigned short& expand);

// Number of a symbol order. Result: 0, or kvBadArgument with `symbol` untouched when the order is
// no symbol.
KV_EXPORT int KvExtractSymbolFromOrder(unsigned short order, unsigned short& symbol);
