// The codes and marks that text keys are made of, for their writer and their reader.
//
// Level-1 codes, by the primary half of an order's weight (zinorder.h). A code of two or three
// bytes counts from the first order that its leads are for.
//
//   01         1 to 8          2 bytes      controls; the one-byte ones between them are
//   02 03      9, 10           1            tab and line feed,
//   04         11 to 13        2
//   05         14              1            carriage return,
//   06         15 to 32        2
//   07         33              1            space,
//   08         34 to 66        2
//   09         67              1            no-break space
//   0A         68 to 111       2
//   0B to 59   112 to 190      1            the usual symbols
//   5A to 61   191 to 2238     2            other symbols
//   62         2239 to 16127   3
//   63 to 76   16128 to 16383  1 or 2       63 + 2d is digit d, the code behind it leads what is
//                                           between it and the next digit
//   77         4000 to 400B    2            no letters
//   78 to CE   400C to 407F    1            78 + 3 * letter (A is 0) + extension
//   CF to FC   8000 to 8B7F    2            other scripts, see below
//   FD FE      8B80 to FFFF    3
//
// Characters of other scripts have two orders, the second of them 8000 or 8002 at this level. The
// code of an order from 8000 on therefore tells what comes next in its last two bits:
//
//   0  less than 8000, or the end   1  8000   2  8002   3  more, with a code of its own
#pragma once

#include <array>
#include <cstddef>

#include "zinorder.h"

namespace kv {

struct LevelOneCode {
  unsigned char bytes[3];
  unsigned char size;
};

inline constexpr unsigned char kLevelOneEnd = 0x00;
inline constexpr unsigned kOrderOfA = 0x400C;
inline constexpr unsigned kFarScripts = 0x8B80;

// A lead with the number of a code behind it.
struct LevelOneLead {
  unsigned char lead;    // the first of the leads that follow each other
  unsigned char size;    // 2 or 3: bytes of the code
  unsigned short first;  // primary halves
  unsigned short last;
};

// Where the codes are that do not follow from a formula, by primary half.
inline constexpr LevelOneLead kLevelOneLeads[] = {
    {0x01, 2, 1, 8},        {0x04, 2, 11, 13},
    {0x06, 2, 15, 32},      {0x08, 2, 34, 66},
    {0x0A, 2, 68, 111},     {0x5A, 2, 191, 2238},
    {0x62, 3, 2239, 16127}, {0x77, 2, kFirstLetterOrder, 0x400B},
};
struct LevelOneByte {
  unsigned char byte;
  unsigned short first;
  unsigned short last;
};
inline constexpr LevelOneByte kLevelOneBytes[] = {
    {0x02, 9, 10}, {0x05, 14, 14}, {0x07, 33, 33}, {0x09, 67, 67}, {0x0B, 112, 190},
};
inline constexpr unsigned char kDigitByte = 0x63;
inline constexpr unsigned char kLetterByte = 0x78;
inline constexpr unsigned char kNearScriptByte = 0xCF;
inline constexpr unsigned char kFarScriptByte = 0xFD;

constexpr LevelOneCode CountedCode(unsigned lead, unsigned size, unsigned number) {
  const auto byte = [](unsigned value) { return static_cast<unsigned char>(value); };
  if (size == 2) return {{byte(lead + (number >> 8)), byte(number), 0}, 2};
  return {{byte(lead + (number >> 16)), byte(number >> 8), byte(number)}, 3};
}

constexpr LevelOneCode DigitCode(unsigned primary) {
  const unsigned number = primary - kFirstDigitOrder;
  const unsigned digit = number / 10 < 9 ? number / 10 : 9;
  const auto lead = static_cast<unsigned char>(kDigitByte + 2 * digit);
  if (number == 10 * digit) return {{lead, 0, 0}, 1};
  return CountedCode(lead + 1u, 2, (number - 10 * digit) / 2 - 1);
}

// The code of a primary half between 1 and 7FFF.
constexpr LevelOneCode CodeOf(unsigned primary) {
  if (primary >= kOrderOfA) {
    const unsigned letter = (primary - kOrderOfA) >> 2 & 0x1F;
    return {{static_cast<unsigned char>(kLetterByte + 3 * letter + (primary & 3)), 0, 0}, 1};
  }
  if (primary >= kFirstDigitOrder && primary < kFirstLetterOrder) return DigitCode(primary);
  for (const LevelOneByte& entry : kLevelOneBytes) {
    if (primary >= entry.first && primary <= entry.last) {
      return {{static_cast<unsigned char>(entry.byte + primary - entry.first), 0, 0}, 1};
    }
  }
  for (const LevelOneLead& entry : kLevelOneLeads) {
    if (primary >= entry.first && primary <= entry.last) {
      return CountedCode(entry.lead, entry.size, primary - entry.first);
    }
  }
  return {};
}

// What follows an order from 8000 on, as its code tells it.
enum class Following : unsigned char { kLess, kFirstHalf, kSecondHalf, kMore };

constexpr Following FollowingOf(unsigned primary) {
  if (primary < kFirstOtherOrder) return Following::kLess;
  if (primary == kFirstOtherOrder) return Following::kFirstHalf;
  return primary == kFirstOtherOrder + 2 ? Following::kSecondHalf : Following::kMore;
}

constexpr LevelOneCode ScriptCode(unsigned primary, Following following) {
  const auto next = static_cast<unsigned>(following);
  if (primary < kFarScripts) {
    return CountedCode(kNearScriptByte, 2, 4 * (primary - kFirstOtherOrder) + next);
  }
  return CountedCode(kFarScriptByte, 3, 4 * (primary - kFarScripts) + next);
}

// ---------------------------------------------------------------------------------------------
// Marks. The number of a mark combines how many orders it stands behind with its value. Numbers
// below `bytes` take one byte, further ones a lead and one, two or three bytes.

struct MarkCode {
  unsigned char begin;  // of the numbers of one byte, from which others count up or down
  unsigned bytes;
  bool isMirrored;  // the sooner, the larger: everything counts down
};

inline constexpr MarkCode kCaseBelow{0x00, 45, false};
inline constexpr MarkCode kVariant{0x3F, 11, true};
inline constexpr MarkCode kCaseAbove{0x42, 0, true};
inline constexpr MarkCode kAccent{0xFF, 186, true};
inline constexpr unsigned char kTextKeyEnd = 0x30;
inline constexpr unsigned char kTextKeyEndOfClass20 = 0x31;

template <class Sink>
void PutMark(Sink& sink, const MarkCode& code, unsigned number) {
  const auto lead = [&](unsigned step) {
    const unsigned byte = code.isMirrored ? code.begin - step : code.begin + step;
    sink.Put(static_cast<unsigned char>(byte));
  };
  if (number < code.bytes) return lead(number);
  number -= code.bytes;
  unsigned more = 1;
  for (unsigned reach = 256; more < 3 && number >= reach; reach <<= 8) {
    number -= reach;
    ++more;
  }
  lead(code.bytes + more - 1);
  for (unsigned i = more; i-- != 0;) {
    const unsigned byte = number >> 8 * i;
    sink.Put(static_cast<unsigned char>(code.isMirrored ? ~byte : byte));
  }
}

// ---------------------------------------------------------------------------------------------
// The fields of a weight below level 1, and which case is the plain one.

constexpr unsigned AccentOf(unsigned weight) {
  return (weight & kAccentBits) >> 7;
}
constexpr unsigned CaseOf(unsigned weight) {
  return (weight & kCaseBits) >> 12;
}
constexpr bool IsVariant(unsigned weight) {
  return (weight & kExtensionBits) != 0;
}
constexpr bool IsLetter(unsigned primary) {
  return primary >= kFirstLetterOrder && primary < kFirstOtherOrder;
}

// Scripts with capitals, by the first order of their characters; elsewhere what has no case is the
// rule. (Latin Extended-B, Greek to Armenian, Latin Extended Additional and Greek Extended.)
constexpr bool IsCasedScript(unsigned primary) {
  const unsigned character = 2 * (primary - kFirstOtherOrder);
  return (character >= 0x0180 && character < 0x0250) ||
         (character >= 0x0370 && character < 0x0590) || (character >= 0x1E00 && character < 0x2000);
}

// The case of a small letter. Orders with accent codes from 28 on are contractions as a rule, whose
// case has two bits. `before` is the primary half of the order before, 0 when there is none; a
// second half of a character is told by it.
constexpr unsigned PlainCase(unsigned weight, unsigned before) {
  const unsigned primary = weight >> 16;
  if (IsLetter(primary)) return AccentOf(weight) >= 28 ? 3 : 1;
  const bool isSecond = primary == kFirstOtherOrder || primary == kFirstOtherOrder + 2;
  return isSecond && before >= kFirstOtherOrder && IsCasedScript(before) ? 1 : 0;
}

}  // namespace kv
