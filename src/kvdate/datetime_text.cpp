// The walk over a format, twice: once to print it and once to read it back.
#include "kvdate/datetime_text.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <memory>
#include <utility>

#include "kvbase/run.h"
#include "kvdate/calendar.h"
#include "kvstring/string_edit.h"
#include "kvtext/format_pieces.h"
#include "kvtext/number_text.h"

namespace kv {
namespace {

struct Name {
  const char* text;
  unsigned length;
};

constexpr unsigned kShortName = 3;
constexpr unsigned kWholeName = std::numeric_limits<unsigned>::max();

// The order is that of KvDaysOfTheWeek.
constexpr Name kDayNames[7] = {{"Monday", 6}, {"Tuesday", 7},  {"Wednesday", 9}, {"Thursday", 8},
                               {"Friday", 6}, {"Saturday", 8}, {"Sunday", 6}};

// "Januar" and "Februar" are meant: texts in the field are written and read so.
constexpr Name kMonthNames[12] = {{"Januar", 6},  {"Februar", 7},  {"March", 5},
                                  {"April", 5},   {"May", 3},      {"June", 4},
                                  {"July", 4},    {"August", 6},   {"September", 9},
                                  {"October", 7}, {"November", 8}, {"December", 8}};

constexpr int kAny = -1;
constexpr int kNanoseconds = 1000000000;

// What a directive stands for as a format of its own; null for all others.
constexpr const char* ExpansionOf(char directive) {
  switch (directive) {
    case 'D':
      return "%Y-%m-%d";
    case 'T':
      return "%H:%M:%S";
    case 'O':
      return "%Y-%m-%dT%H:%M:%S";
    case 'X':
      return "%Y-%m-%dT%H:%M:%f";
    case 'V':
      return "%J.%H:%M:%f";
    default:
      return nullptr;
  }
}

// The usual ways to write a date and a clock are printed and read in one go.
constexpr char kPlainDate[] = "Y-%m-%d";  // behind a "%"
constexpr char kPlainClock[] = "H:%M:%S";
constexpr unsigned kPlainLength = 8;  // of both, with the "%"
constexpr char kThenPlainClock[] = "T%H:%M:%S";

// Whether a text begins with `start`; nothing behind the first difference is read.
template <std::size_t size>
constexpr bool Begins(const char* text, const char (&start)[size]) {
  return [&]<std::size_t... i>(std::index_sequence<i...>) {
    return ((text[i] == start[i]) && ...);
  }
  (std::make_index_sequence<size - 1>());
}

// Groups may be nested without end; those beyond this depth count as part of the group around them.
constexpr unsigned kGroupDepth = 8;

// Takes the "(" that makes a directive "%?" the beginning of a group.
inline bool BeginsGroup(FormatPieces& pieces) {
  if (!pieces.IsDirective('?') || *pieces.Rest() != '(') return false;
  ++pieces.Rest();
  return true;
}

// ---------------------------------------------------------------------------------------------
// Printing.

// What one element of a format takes at most: a number of 64 bits, a name, seconds with fraction, a
// plain date and clock.
constexpr unsigned kElement = 24;

// A text of any length that a string may have, and the element that reaches beyond.
using DateTimeText = char[kMaximumBytes + kElement];

constexpr auto kDigitPairs = [] {
  std::array<char, 200> pairs{};
  for (unsigned i = 0; i < 100; ++i) {
    pairs[2 * i] = static_cast<char>('0' + i / 10);
    pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
  }
  return pairs;
}();

// `number` is below 100.
char* PutPair(char* at, unsigned number) {
  std::memcpy(at, kDigitPairs.data() + 2 * number, 2);
  return at + 2;
}

// `value` in at least `digits` digits, behind a "-" when it is negative.
char* PutAnyNumber(char* at, std::int64_t value, unsigned digits) {
  if (value < 0) *at++ = '-';
  auto rest = value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
  char reversed[20];
  unsigned count = 0;
  for (; rest != 0 || count < digits; rest /= 10) {
    reversed[count++] = static_cast<char>('0' + rest % 10);
  }
  while (count != 0) *at++ = reversed[--count];
  return at;
}

// The same, quick for two and for four digits.
inline char* PutNumber(char* at, int value, unsigned digits) {
  const auto number = static_cast<unsigned>(value);
  if (digits == 2 && number < 100) return PutPair(at, number);
  if (digits == 4 && number < 10000) return PutPair(PutPair(at, number / 100), number % 100);
  return PutAnyNumber(at, value, digits);
}

// Walks a format and writes. Every function takes the end of the text and returns the new one: the
// compiler keeps it in a register, which it could not do with a member beside stores of char.
class Formatter {
 public:
  Formatter(DateTimeText& text, const DateTimeParts& parts, const char* format)
      : text_(text), parts_(parts), format_(format) {}

  // Result: the end of the text.
  char* Run(char* at) {
    at = Walk(format_, at);
    while (depth_ > 0) at = CloseGroup(at);
    return at;
  }

 private:
  // A group that is open: where its text began, and whether a directive printed in it.
  struct Group {
    std::ptrdiff_t start;
    bool printed;
  };

  // Stops where the text is full.
  char* Walk(const char* format, char* at) {
    const char* const last = text_ + kMaximumBytes;
    for (FormatPieces pieces(format); at <= last && pieces.Next();) {
      if (!pieces.IsDirective()) {
        if (pieces.Character() == ')' && depth_ > 0) {
          at = CloseGroup(at);
        } else {
          *at++ = pieces.Character();
        }
      } else if (BeginsGroup(pieces)) {
        OpenGroup(at);
      } else {
        const char* letter = pieces.Rest() - 1;
        char* const behind = PutPlain(at, letter);
        if (behind == at) {
          at = Directive(pieces.Character(), at);
        } else {
          at = behind;
          pieces.Rest() = letter;
        }
      }
    }
    return at;
  }

  void OpenGroup(char* at) {
    if (depth_ < kGroupDepth) groups_[depth_] = {at - text_, false};
    ++depth_;
  }

  // A group in which something printed counts as something printed for the group around it.
  char* CloseGroup(char* at) {
    if (--depth_ >= kGroupDepth) return at;
    const Group& group = groups_[depth_];
    if (!group.printed) return text_ + group.start;
    if (depth_ > 0) groups_[depth_ - 1].printed = true;
    return at;
  }

  char* Directive(char directive, char* at) {
    switch (directive) {
      case 'd':
      case 'e':
        return Number(at, parts_.day, 2);
      case 'm':
        return Number(at, parts_.month, 2);
      case 'Y':
        return Number(at, parts_.year, 4);
      case 'H':
        return Number(at, parts_.hour, 2);
      case 'M':
        return Number(at, parts_.minute, 2);
      case 'S':
        return Number(at, parts_.second, 2);
      case 'N':
        return Number(at, parts_.nanosecond, 1);
      case 'y':
        return Value(at, {parts_.year}, [&] { return PutNumber(at, parts_.year % 100, 2); });
      case 'I':
        return Value(at, {parts_.hour}, [&] { return PutNumber(at, ShownHour(), 2); });
      case 'f':
        return Value(at, {parts_.second, parts_.nanosecond}, [&] { return Seconds(at); });
      case 'J':
        return TotalDays(at);
      case 'p':
        return HalfOfDay(at, "am", "pm");
      case 'P':
        return HalfOfDay(at, "AM", "PM");
      case 'a':
        return Weekday(at, kShortName);
      case 'A':
        return Weekday(at, kWholeName);
      case 'b':
        return Month(at, kShortName);
      case 'B':
        return Month(at, kWholeName);
      default:
        if (const char* expansion = ExpansionOf(directive)) return Walk(expansion, at);
        *at = directive;
        return at + 1;
    }
  }

  // Prints a plain date, a plain clock, or both with a "T" between, as far as the format behind a
  // "%" asks for them and their components have four and two digits. Result: the end of the text;
  // `format` is moved behind what was printed.
  char* PutPlain(char* at, const char*& format) const {
    if (depth_ != 0) return at;
    if (Begins(format, kPlainDate)) {
      char* const behind = PutPlainDate(at);
      if (behind == at) return at;
      at = behind;
      format += kPlainLength - 1;
      if (!Begins(format, kThenPlainClock)) return at;
      *at = 'T';
      char* const clock = PutPlainClock(at + 1);
      if (clock == at + 1) return at;
      format += sizeof kThenPlainClock - 1;
      return clock;
    }
    if (Begins(format, kPlainClock)) {
      char* const behind = PutPlainClock(at);
      if (behind != at) format += kPlainLength - 1;
      return behind;
    }
    return at;
  }

  // Nothing is printed when a component has more digits or is none. Components are read before
  // anything is written: stores of char make the compiler read again.
  char* PutPlainDate(char* at) const {
    const auto year = static_cast<unsigned>(parts_.year);
    const auto month = static_cast<unsigned>(parts_.month);
    const auto day = static_cast<unsigned>(parts_.day);
    if (year >= 10000 || month >= 100 || day >= 100) return at;
    PutPair(at, year / 100);
    PutPair(at + 2, year % 100);
    at[4] = '-';
    PutPair(at + 5, month);
    at[7] = '-';
    return PutPair(at + 8, day);
  }
  char* PutPlainClock(char* at) const {
    const auto hour = static_cast<unsigned>(parts_.hour);
    const auto minute = static_cast<unsigned>(parts_.minute);
    const auto second = static_cast<unsigned>(parts_.second);
    if (hour >= 100 || minute >= 100 || second >= 100) return at;
    PutPair(at, hour);
    at[2] = ':';
    PutPair(at + 3, minute);
    at[5] = ':';
    return PutPair(at + 6, second);
  }

  // Prints a directive made of `components`: "*" when one of them is a wildcard, and nothing in a
  // group when all are 0.
  template <unsigned count, class Print>
  char* Value(char* at, const int (&components)[count], Print print) {
    bool zero = true;
    for (const int component : components) {
      if (component == kAny) return PrintAny(at);
      zero = zero && component == 0;
    }
    return MayPrint(zero) ? print() : at;
  }

  char* Number(char* at, int component, unsigned digits) {
    return Value(at, {component}, [=] { return PutNumber(at, component, digits); });
  }

  char* PrintAny(char* at) {
    MayPrint(false);
    *at = '*';
    return at + 1;
  }

  bool MayPrint(bool zero) {
    if (depth_ == 0) return true;
    if (zero) return false;
    groups_[std::min(depth_, kGroupDepth) - 1].printed = true;
    return true;
  }

  char* TotalDays(char* at) {
    const DateTimeParts& p = parts_;
    if (p.year == kAny && p.month == kAny && p.day == kAny) return PrintAny(at);
    const std::int64_t total = p.day + 30 * (p.month + std::int64_t{12} * p.year);
    return MayPrint(total == 0) ? PutAnyNumber(at, total, 1) : at;
  }

  char* HalfOfDay(char* at, const char* morning, const char* afternoon) {
    return Value(at, {parts_.hour}, [&] {
      std::memcpy(at, parts_.hour >= 12 ? afternoon : morning, 2);
      return at + 2;
    });
  }

  char* Weekday(char* at, unsigned most) {
    // A duration, which has no weekday, may have more days than any date.
    const int year = YearField(parts_.year);
    const int month = ByteField(parts_.month);
    const int day = ByteField(parts_.day);
    return Value(at, {year, month, day}, [=, this] {
      if (parts_.weekdayRule == WeekdayRule::kGregorian) {
        return PutName(at, kDayNames[WeekdayByFormula(year, month, day)], most);
      }
      const int sinceSunday = WeekdayOfCount(CountOfDate(year, month, day));
      return PutName(at, kDayNames[(sinceSunday + 6) % 7], most);
    });
  }

  char* Month(char* at, unsigned most) {
    const int month = parts_.month;
    return Value(at, {month}, [=] {
      if (month < 1 || month > 12) return PutNumber(at, month, 3);
      return PutName(at, kMonthNames[month - 1], most);
    });
  }

  static char* PutName(char* at, const Name& name, unsigned most) {
    const unsigned length = std::min(name.length, most);
    std::memcpy(at, name.text, length);
    return at + length;
  }

  // As "%0*.*lf" prints second + nanosecond / 1e9, but in whole nanoseconds: exact.
  char* Seconds(char* at) const {
    const int fraction = parts_.nanosecond;
    const std::int64_t total = std::int64_t{parts_.second} * kNanoseconds + fraction;
    if (parts_.second == 0 && fraction == 0) return PutPair(at, 0);
    const std::int64_t magnitude = total < 0 ? -total : total;
    const bool negative = total < 0;
    if (negative) *at++ = '-';
    // The width of precision + 3 leaves two places before the point, or three without one; a sign
    // takes one of them.
    const unsigned places = negative ? 1 : 2;
    if (fraction == 0) return PutAnyNumber(at, magnitude / kNanoseconds, places + 1);
    at = PutAnyNumber(at, magnitude / kNanoseconds, places);
    *at++ = '.';
    const std::int64_t rest = magnitude % kNanoseconds;
    if (fraction % 1000000 == 0) return PutAnyNumber(at, rest / 1000000, 3);
    if (fraction % 1000 == 0) return PutAnyNumber(at, rest / 1000, 6);
    return PutAnyNumber(at, rest, 9);
  }

  int ShownHour() const {
    const int hour = parts_.hour;
    if (parts_.plainHour) return hour;
    if (hour == 0 && NamesHalfOfDay()) return 12;
    return hour > 12 ? hour - 12 : hour;
  }

  // Whether %p or %P stands anywhere in the format.
  bool NamesHalfOfDay() const {
    for (FormatPieces pieces(format_); pieces.Next();) {
      if (pieces.IsDirective('p') || pieces.IsDirective('P')) return true;
    }
    return false;
  }

  char* text_;
  const DateTimeParts& parts_;
  const char* format_;
  Group groups_[kGroupDepth];
  unsigned depth_ = 0;
};

// ---------------------------------------------------------------------------------------------
// Scanning.

// Whether a directive begins with digits, itself or what it expands to.
constexpr bool IsNumeric(char directive) {
  constexpr const char* kNumeric = "deYymHIMSNfJDTOXV";
  for (const char* at = kNumeric; *at != '\0'; ++at) {
    if (*at == directive) return true;
  }
  return false;
}

// Eight characters at once, the first in the lowest byte. A shape has '0' where a digit is to stand
// and itself where a separator is.
constexpr std::uint64_t ShapeOf(const char (&text)[9]) {
  std::uint64_t shape = 0;
  for (unsigned i = 0; i < 8; ++i) {
    shape |= std::uint64_t{static_cast<unsigned char>(text[i])} << 8 * i;
  }
  return shape;
}
constexpr std::uint64_t kDateShape = ShapeOf("0000-00-");
constexpr std::uint64_t kClockShape = ShapeOf("00:00:00");
constexpr std::uint64_t kNoPairs = ~std::uint64_t{0};

// Ten times each digit plus the character behind it, byte by byte; kNoPairs when the text does not
// have the shape. With the shape taken off a digit is 0 to 9 and a separator 0: what is more
// reaches the top bit of its byte when 118 or 127 is added.
inline std::uint64_t DigitPairs(const char* text, std::uint64_t shape) {
  constexpr std::uint64_t kOnes = 0x0101010101010101;
  const std::uint64_t isDigit = shape ^ (kOnes * '0');  // 0 in the bytes of digits
  const std::uint64_t separators = ((isDigit + kOnes * 0x7F) >> 7) & kOnes;
  const std::uint64_t margins = kOnes * 118 + separators * 9;
  const std::uint64_t digits = LoadWord(reinterpret_cast<const unsigned char*>(text)) ^ shape;
  if ((((digits + margins) | digits) & (kOnes << 7)) != 0) return kNoPairs;
  return digits * 10 + (digits >> 8);
}

inline int PairAt(std::uint64_t pairs, unsigned position) {
  return static_cast<int>(pairs >> 8 * position & 0xFF);
}

class Scanner {
 public:
  Scanner(DateTimeParts& parts, const char* text, const char* end)
      : text_(text), end_(end), parts_(parts) {}

  DateTimeScan Run(const char* format) {
    if (*format == '%') format = ReadPlain(format);
    if (*format == '\0') return {text_, true, seen_.any, seen_.totalDays};
    const bool complete = Walk(format, "");
    ApplyHalfOfDay();
    return {text_, complete, seen_.any, seen_.totalDays, seen_.saturated};
  }

 private:
  enum class Half : unsigned char { kUnknown, kMorning, kAfternoon };

  // What has been read so far.
  struct Seen {
    bool any = false;
    bool totalDays = false;
    bool saturated = false;
    Half half = Half::kUnknown;
  };
  // What a mismatch in a group undoes.
  struct Group {
    const char* text;
    DateTimeParts parts;
    Seen seen;
  };

  // Walks `format`; `after` is what the format goes on with behind an expansion. False at the
  // mismatch that ends the scan.
  bool Walk(const char* format, const char* after) {
    FormatPieces pieces(format);
    for (;;) {
      pieces.Rest() = SkipBlanks(pieces.Rest());
      SkipTextBlanks();
      if (!pieces.Next()) return true;
      bool matches = true;
      if (!pieces.IsDirective()) {
        if (pieces.Character() == ')' && depth_ > 0) {
          --depth_;
        } else {
          matches = Literal(pieces.Character());
        }
      } else if (BeginsGroup(pieces)) {
        OpenGroup();
      } else {
        const char* const directive = pieces.Rest() - 2;
        const char* const behind = ReadPlain(directive);
        if (behind == directive) {
          matches = Directive(pieces.Character(), pieces.Rest(), after);
        } else {
          pieces.Rest() = behind;
        }
      }
      if (!matches && !LeaveGroup(pieces.Rest())) return false;
    }
  }

  // Blanks are few: one comparison tells most characters from them.
  static const char* SkipBlanks(const char* text) {
    while (static_cast<unsigned char>(*text) <= ' ' && IsBlank(*text)) ++text;
    return text;
  }
  void SkipTextBlanks() { text_ = SkipBlanks(text_); }

  bool Literal(char c) {
    if (*text_ != c) return false;
    ++text_;
    return true;
  }

  void OpenGroup() {
    if (depth_ < kGroupDepth) std::construct_at(&groups_[depth_], Group{text_, parts_, seen_});
    ++depth_;
  }

  // After a mismatch: puts text and components back to where the group began and the format behind
  // its end. False when there is no group, or the mismatch stands in an expansion, whose caller
  // then leaves the group.
  bool LeaveGroup(const char*& format) {
    if (depth_ == 0 || expanding_) return false;
    const unsigned deeper = depth_ - std::min(depth_, kGroupDepth);
    depth_ -= deeper + 1;
    text_ = groups_[depth_].text;
    parts_ = groups_[depth_].parts;
    seen_ = groups_[depth_].seen;
    format = EndOfGroups(format, deeper + 1);
    return true;
  }

  // Behind the ")" that closes the last of `open` groups, or the end of the format.
  static const char* EndOfGroups(const char* format, unsigned open) {
    FormatPieces pieces(format);
    while (open > 0 && pieces.Next()) {
      if (pieces.IsLiteral(')')) --open;
      if (BeginsGroup(pieces)) ++open;
    }
    return pieces.Rest();
  }

  bool Directive(char directive, const char* format, const char* after) {
    if (const char* expansion = ExpansionOf(directive)) return Expand(expansion, format);
    bool matches;
    switch (directive) {
      case 'a':
      case 'A': {
        matches = *text_ == '*' ? Literal('*') : ReadName(kDayNames, std::size(kDayNames)) != 0;
        break;
      }
      case 'b':
      case 'B':
        matches = ReadMonth();
        break;
      case 'p':
      case 'P':
        matches = ReadHalfOfDay();
        break;
      case 'f':
        matches = ReadSeconds();
        break;
      case 'J':
        matches = ReadTotalDays();
        break;
      default:
        if (!IsNumeric(directive)) return Literal(directive);
        matches = ReadComponent(directive, FollowsNumber(format, after));
    }
    // In a group the directive may have printed nothing.
    return matches || depth_ > 0;
  }

  bool Expand(const char* expansion, const char* after) {
    expanding_ = true;
    const bool matches = Walk(expansion, after);
    expanding_ = false;
    return matches;
  }

  // Whether a number follows in the format without anything that would separate it.
  bool FollowsNumber(const char* format, const char* after) const {
    for (const char* part : {format, after}) {
      for (FormatPieces pieces(part); pieces.Next();) {
        if (BeginsGroup(pieces) || (pieces.IsLiteral(')') && depth_ > 0)) continue;
        return pieces.IsDirective() && IsNumeric(pieces.Character());
      }
    }
    return false;
  }

  int& ComponentOf(char directive) {
    switch (directive) {
      case 'd':
      case 'e':
        return parts_.day;
      case 'm':
        return parts_.month;
      case 'H':
      case 'I':
        return parts_.hour;
      case 'M':
        return parts_.minute;
      case 'S':
        return parts_.second;
      case 'N':
        return parts_.nanosecond;
      default:
        return parts_.year;
    }
  }

  // Reads a plain date, a plain clock, or both with a "T" between, as far as the format that
  // begins at a "%" asks for them and the text has them. Result: the format behind what was read.
  [[gnu::always_inline]] const char* ReadPlain(const char* format) {
    if (Begins(format + 1, kPlainDate) && ReadPlainDate()) {
      format += kPlainLength;
      if (format[0] != 'T' || format[1] != '%' || *text_ != 'T') return format;
      ++format;
      ++text_;
    }
    if (Begins(format + 1, kPlainClock) && ReadPlainClock()) {
      format += kPlainLength;
    }
    return format;
  }

  // 2000-02-29 and 23:59:59 with just these digits. Nothing is read when the text is otherwise, or
  // too near the end of its buffer to be looked at eight bytes at a time.
  bool ReadPlainDate() {
    if (end_ - text_ < 11) return false;
    const std::uint64_t pairs = DigitPairs(text_, kDateShape);
    if (pairs == kNoPairs || !IsDigit(text_[8]) || !IsDigit(text_[9]) || IsDigit(text_[10])) {
      return false;
    }
    parts_.year = 100 * PairAt(pairs, 0) + PairAt(pairs, 2);
    parts_.month = PairAt(pairs, 5);
    parts_.day = 10 * (text_[8] - '0') + (text_[9] - '0');
    text_ += 10;
    seen_.any = true;
    return true;
  }
  bool ReadPlainClock() {
    if (end_ - text_ < 9) return false;
    const std::uint64_t pairs = DigitPairs(text_, kClockShape);
    if (pairs == kNoPairs || IsDigit(text_[8])) return false;
    parts_.hour = PairAt(pairs, 0);
    parts_.minute = PairAt(pairs, 3);
    parts_.second = PairAt(pairs, 6);
    text_ += 8;
    seen_.any = true;
    return true;
  }

  // A plain number; when another follows, only the digits that it is printed with.
  bool ReadComponent(char directive, bool limited) {
    if (*text_ == '*') {
      ComponentOf(directive) = kAny;
      return Any();
    }
    const unsigned digits = !limited || directive == 'N' ? kAllDigits : directive == 'Y' ? 4 : 2;
    int number;
    if (!ReadNumber(number, digits)) return false;
    if (directive == 'y') number = WrappingAdd(number, number > 30 ? 1900 : 2000);
    ComponentOf(directive) = number;
    seen_.any = true;
    return true;
  }

  // Takes the "*" of a directive whose components have been set.
  bool Any() {
    ++text_;
    seen_.any = true;
    return true;
  }

  static constexpr unsigned kAllDigits = std::numeric_limits<unsigned>::max();

  // Few digits are read on the spot; more, which may saturate, as all numbers are.
  bool ReadNumber(int& number, unsigned digits) {
    constexpr unsigned kQuickDigits = 9;
    const char* at = text_;
    const bool negative = *at == '-';
    if (negative || *at == '+') ++at;
    const unsigned most = std::min(digits, kQuickDigits);
    int value = 0;
    unsigned count = 0;
    for (; count < most && IsDigit(at[count]); ++count) value = 10 * value + (at[count] - '0');
    if (count == 0) return false;
    if (count == kQuickDigits && digits == kAllDigits) return ReadLongNumber(number);
    number = negative ? -value : value;
    text_ = at + count;
    return true;
  }

  bool ReadLongNumber(int& number) {
    const IntegerText read = ReadInteger(text_, text_ + std::strlen(text_), 10);
    number = static_cast<int>(SaturateSigned(read, 32));
    // A saturated number is not as large as what was read.
    const unsigned magnitude =
        number < 0 ? 0 - static_cast<unsigned>(number) : static_cast<unsigned>(number);
    seen_.saturated = seen_.saturated || read.overflow || read.magnitude != magnitude;
    text_ = read.end;
    return true;
  }

  bool ReadTotalDays() {
    if (*text_ == '*') {
      parts_.year = parts_.month = parts_.day = kAny;
      return Any();
    }
    int total;
    if (!ReadNumber(total, kAllDigits)) return false;
    parts_.year = total / 360;
    parts_.month = total % 360 / 30;
    parts_.day = total % 30;
    seen_.any = seen_.totalDays = true;
    return true;
  }

  // Seconds and, behind a point, a fraction whose first nine digits count. More digits, points and
  // signs that follow are taken with them and say nothing.
  bool ReadSeconds() {
    if (*text_ == '*') {
      parts_.second = parts_.nanosecond = kAny;
      return Any();
    }
    const bool negative = *text_ == '-';
    const char* point = text_ + (negative || *text_ == '+' ? 1 : 0);
    int whole = 0;
    const bool hasWhole = IsDigit(*point);
    if (!hasWhole && !(*point == '.' && IsDigit(point[1]))) return false;
    if (hasWhole) {
      ReadNumber(whole, kAllDigits);
    } else {
      text_ = point;
    }
    int fraction = 0;
    if (*text_ == '.') {
      ++text_;
      for (int scale = kNanoseconds / 10; IsDigit(*text_); scale /= 10) {
        fraction += (*text_++ - '0') * scale;
      }
    }
    while (IsDigit(*text_) || *text_ == '.' || *text_ == '-' || *text_ == '+') ++text_;
    parts_.second = whole;
    parts_.nanosecond = negative ? -fraction : fraction;
    seen_.any = true;
    return true;
  }

  bool ReadMonth() {
    if (*text_ == '*') {
      parts_.month = kAny;
      return Any();
    }
    const int month = ReadName(kMonthNames, std::size(kMonthNames));
    if (month == 0) return false;
    parts_.month = month;
    seen_.any = true;
    return true;
  }

  // The number, from 1 on, of the name whose first three letters stand in the text; what matches of
  // its other letters is taken too. 0 when there is none.
  int ReadName(const Name* names, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      if (std::strncmp(text_, names[i].text, kShortName) != 0) continue;
      unsigned taken = kShortName;
      while (taken < names[i].length && text_[taken] == names[i].text[taken]) ++taken;
      text_ += taken;
      return static_cast<int>(i + 1);
    }
    return 0;
  }

  bool ReadHalfOfDay() {
    const char c = *text_;
    if (c == '*') {
      parts_.hour = kAny;
      return Any();
    }
    const bool afternoon = c == 'p' || c == 'P';
    if (!afternoon && c != 'a' && c != 'A') return false;
    seen_.half = afternoon ? Half::kAfternoon : Half::kMorning;
    text_ += text_[1] != '\0' ? 2 : 1;
    return true;
  }

  // An hour that was not read is 0 and stays so.
  void ApplyHalfOfDay() {
    int& hour = parts_.hour;
    if (seen_.half == Half::kAfternoon && hour >= 1 && hour <= 11) hour += 12;
    if (seen_.half == Half::kMorning && hour == 12) hour = 0;
  }

  const char* text_;
  const char* end_;
  DateTimeParts& parts_;
  Seen seen_;
  union {  // made as groups are opened: most formats have none
    Group groups_[kGroupDepth];
  };
  unsigned depth_ = 0;
  bool expanding_ = false;
};

}  // namespace

KvString& FormatDateTime(KvString& out, const DateTimeParts& parts, const char* format, char sign) {
  DateTimeText text;
  char* at = text;
  if (sign != 0) *at++ = sign;
  at = Formatter(text, parts, format).Run(at);
  AssignDefault8(out, text, static_cast<unsigned>(at - text));
  return out;
}

DateTimeScan ScanDateTime(DateTimeParts& parts, const char* text, const char* end,
                          const char* format) {
  return Scanner(parts, text, end).Run(format);
}

const char* WeekdayName(int weekday) {
  return weekday >= 0 && weekday < 7 ? kDayNames[weekday].text : "no day";
}

}  // namespace kv
