// The walk over a format, twice: once to print it and once to read it back.
#include "kvdate/datetime_text.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "kvtypevl/number_text.h"
#include "zbs.h"

namespace kv {
namespace {

struct Name {
  const char* text;
  unsigned length;
};

constexpr unsigned kShortName = 3;

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

// Groups may be nested without end; those beyond this depth count as part of the group around them.
constexpr unsigned kGroupDepth = 8;

// ---------------------------------------------------------------------------------------------
// Printing.

// Text under construction. It moves to the heap when it outgrows its own bytes, and stops at what
// a KvString holds at most.
class TextBuffer {
 public:
  TextBuffer() = default;
  TextBuffer(const TextBuffer&) = delete;
  TextBuffer& operator=(const TextBuffer&) = delete;
  ~TextBuffer() {
    if (begin_ != own_) std::free(begin_);
  }

  // Makes room for `count` more bytes, at most kMostRoom. False when there is none to be had: the
  // text is full then, or memory is short.
  bool Room(unsigned count) { return static_cast<unsigned>(limit_ - cursor_) >= count || Grow(); }
  void Put(char c) {
    if (Room(1)) *cursor_++ = c;
  }
  void Append(const char* text, unsigned length) {
    if (!Room(length)) return;
    std::memcpy(cursor_, text, length);
    cursor_ += length;
  }

  // `value` in at least `digits` digits, behind a "-" when it is negative.
  void PutNumber(std::int64_t value, unsigned digits) {
    if (!Room(kMostRoom)) return;
    if (value >= 0 && value < 100 && digits == 2) {
      *cursor_++ = static_cast<char>('0' + value / 10);
      *cursor_++ = static_cast<char>('0' + value % 10);
      return;
    }
    if (value < 0) *cursor_++ = '-';
    PutDigits(value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value),
              digits);
  }

  unsigned Size() const { return static_cast<unsigned>(cursor_ - begin_); }
  void CutTo(unsigned size) { cursor_ = begin_ + size; }
  bool Failed() const { return failed_; }
  // The text with a terminator.
  const char* Finish() {
    *cursor_ = '\0';
    return begin_;
  }

 private:
  static constexpr unsigned kMostRoom = 24;  // a sign and 20 digits fit
  static constexpr unsigned kFullSize = KvString::kMaximumBytes + kMostRoom;

  void PutDigits(std::uint64_t value, unsigned digits) {
    char reversed[20];
    unsigned count = 0;
    for (; value != 0 || count < digits; value /= 10) {
      reversed[count++] = static_cast<char>('0' + value % 10);
    }
    while (count != 0) *cursor_++ = reversed[--count];
  }

  bool Grow() {
    const unsigned size = Size();
    if (failed_ || size >= KvString::kMaximumBytes) return false;
    const unsigned wanted = 2 * (size + kMostRoom);
    const unsigned capacity = wanted < kFullSize ? wanted : kFullSize;
    auto* bytes = static_cast<char*>(std::realloc(begin_ == own_ ? nullptr : begin_, capacity + 1));
    if (bytes == nullptr) {
      failed_ = true;
      KvCallMemoryHandler(capacity + 1);
      return false;
    }
    if (begin_ == own_) std::memcpy(bytes, own_, size);
    begin_ = bytes;
    cursor_ = bytes + size;
    limit_ = bytes + capacity;
    return true;
  }

  char own_[512];
  char* begin_ = own_;
  char* cursor_ = own_;
  char* limit_ = own_ + sizeof own_ - 1;  // one byte is kept for the terminator
  bool failed_ = false;
};

class Formatter {
 public:
  Formatter(TextBuffer& out, const DateTimeParts& parts, const char* format)
      : out_(out), parts_(parts), format_(format) {}

  void Run() {
    Walk(format_);
    while (depth_ > 0) CloseGroup();
  }

 private:
  // A group that is open: where its text began, and whether a directive printed in it.
  struct Group {
    unsigned start;
    bool printed;
  };

  void Walk(const char* format) {
    while (const char c = *format++) {
      if (c == ')' && depth_ > 0) {
        CloseGroup();
      } else if (c != '%' || *format == '\0') {
        out_.Put(c);
      } else if (format[0] == '?' && format[1] == '(') {
        OpenGroup();
        format += 2;
      } else {
        Directive(*format++);
      }
    }
  }

  void OpenGroup() {
    if (depth_ < kGroupDepth) groups_[depth_] = {out_.Size(), false};
    ++depth_;
  }

  // A group in which something printed counts as something printed for the group around it.
  void CloseGroup() {
    if (--depth_ >= kGroupDepth) return;
    const Group& group = groups_[depth_];
    if (!group.printed) {
      out_.CutTo(group.start);
    } else if (depth_ > 0) {
      groups_[depth_ - 1].printed = true;
    }
  }

  void Directive(char directive) {
    switch (directive) {
      case 'd':
      case 'e':
        return Number(parts_.day, 2);
      case 'm':
        return Number(parts_.month, 2);
      case 'Y':
        return Number(parts_.year, 4);
      case 'y':
        return Value({parts_.year}, [&] { out_.PutNumber(parts_.year % 100, 2); });
      case 'H':
        return Number(parts_.hour, 2);
      case 'I':
        return Value({parts_.hour}, [&] { out_.PutNumber(ShownHour(), 2); });
      case 'M':
        return Number(parts_.minute, 2);
      case 'S':
        return Number(parts_.second, 2);
      case 'N':
        return Number(parts_.nanosecond, 1);
      case 'f':
        return Value({parts_.second, parts_.nanosecond}, [&] { Seconds(); });
      case 'J':
        return TotalDays();
      case 'p':
        return Value({parts_.hour}, [&] { out_.Append(parts_.hour >= 12 ? "pm" : "am", 2); });
      case 'P':
        return Value({parts_.hour}, [&] { out_.Append(parts_.hour >= 12 ? "PM" : "AM", 2); });
      case 'a':
        return Weekday(kShortName);
      case 'A':
        return Weekday(~0u);
      case 'b':
        return Month(kShortName);
      case 'B':
        return Month(~0u);
      default:
        if (const char* expansion = ExpansionOf(directive)) return Walk(expansion);
        out_.Put(directive);
    }
  }

  // Prints a directive made of `components`: "*" when one of them is a wildcard, and nothing in a
  // group when all are 0.
  template <unsigned count, class Print>
  void Value(const int (&components)[count], Print print) {
    bool zero = true;
    for (const int component : components) {
      if (component == kAny) return PrintAny();
      zero = zero && component == 0;
    }
    if (MayPrint(zero)) print();
  }

  void Number(int component, unsigned digits) {
    Value({component}, [&] { out_.PutNumber(component, digits); });
  }

  void PrintAny() {
    if (MayPrint(false)) out_.Put('*');
  }

  bool MayPrint(bool zero) {
    if (depth_ == 0) return true;
    if (zero) return false;
    groups_[(depth_ < kGroupDepth ? depth_ : kGroupDepth) - 1].printed = true;
    return true;
  }

  void TotalDays() {
    const DateTimeParts& p = parts_;
    if (p.year == kAny && p.month == kAny && p.day == kAny) return PrintAny();
    const std::int64_t total = p.day + 30 * (p.month + std::int64_t{12} * p.year);
    if (MayPrint(total == 0)) out_.PutNumber(total, 1);
  }

  void Weekday(unsigned most) {
    // A duration, which has no weekday, may have more days than any date.
    const int year = YearField(parts_.year);
    const int month = ByteField(parts_.month);
    const int day = ByteField(parts_.day);
    Value({year, month, day}, [=, this] {
      if (parts_.weekdayRule == WeekdayRule::kGregorian) {
        return PutName(kDayNames[WeekdayByFormula(year, month, day)], most);
      }
      PutName(kDayNames[(WeekdayOfCount(CountOfDate(year, month, day)) + 6) % 7], most);
    });
  }

  void Month(unsigned most) {
    const int month = parts_.month;
    Value({month}, [&] {
      if (month < 1 || month > 12) return out_.PutNumber(month, 3);
      PutName(kMonthNames[month - 1], most);
    });
  }

  void PutName(const Name& name, unsigned most) {
    out_.Append(name.text, name.length < most ? name.length : most);
  }

  // As "%0*.*lf" prints second + nanosecond / 1e9, but in whole nanoseconds: exact.
  void Seconds() {
    const int fraction = parts_.nanosecond;
    const std::int64_t total = std::int64_t{parts_.second} * kNanoseconds + fraction;
    if (parts_.second == 0 && fraction == 0) return out_.Append("00", 2);
    const std::int64_t magnitude = total < 0 ? -total : total;
    const bool negative = total < 0;
    if (negative) out_.Put('-');
    // The width of precision + 3 leaves two places before the point, or three without one; a sign
    // takes one of them.
    const unsigned places = negative ? 1 : 2;
    if (fraction == 0) return out_.PutNumber(magnitude / kNanoseconds, places + 1);
    out_.PutNumber(magnitude / kNanoseconds, places);
    out_.Put('.');
    const std::int64_t rest = magnitude % kNanoseconds;
    if (fraction % 1000000 == 0) return out_.PutNumber(rest / 1000000, 3);
    if (fraction % 1000 == 0) return out_.PutNumber(rest / 1000, 6);
    out_.PutNumber(rest, 9);
  }

  int ShownHour() const {
    const int hour = parts_.hour;
    if (parts_.plainHour) return hour;
    if (hour == 0 && NamesHalfOfDay()) return 12;
    return hour > 12 ? hour - 12 : hour;
  }

  // Whether %p or %P stands anywhere in the format.
  bool NamesHalfOfDay() const {
    for (const char* at = format_; *at != '\0'; ++at) {
      if (*at != '%') continue;
      if (*++at == 'p' || *at == 'P') return true;
      if (*at == '\0') return false;
    }
    return false;
  }

  TextBuffer& out_;
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

class Scanner {
 public:
  Scanner(const DateTimeParts& parts, const char* text)
      : text_(text), end_(text + std::strlen(text)) {
    state_.parts = parts;
  }

  DateTimeScan Run(const char* format) {
    const bool complete = Walk(format, "");
    ApplyHalfOfDay();
    return {complete, state_.any, state_.totalDays};
  }
  const DateTimeParts& Parts() const { return state_.parts; }

 private:
  enum class Half : unsigned char { kUnknown, kMorning, kAfternoon };

  // What a mismatch in a group undoes.
  struct State {
    DateTimeParts parts;
    bool any = false;
    bool totalDays = false;
    bool hourRead = false;
    Half half = Half::kUnknown;
  };
  struct Group {
    const char* text;
    State state;
  };

  // Walks `format`; `after` is what the format goes on with behind an expansion. False at the
  // mismatch that ends the scan.
  bool Walk(const char* format, const char* after) {
    for (;;) {
      format = SkipBlanks(format);
      SkipTextBlanks();
      const char c = *format;
      if (c == '\0') return true;
      ++format;
      bool matches = true;
      if (c == ')' && depth_ > 0) {
        --depth_;
      } else if (c != '%' || *format == '\0') {
        matches = Literal(c);
      } else if (format[0] == '?' && format[1] == '(') {
        OpenGroup();
        format += 2;
      } else {
        const char directive = *format++;
        matches = Directive(directive, format, after);
      }
      if (matches) continue;
      if (!LeaveGroup(format)) return false;
    }
  }

  void SkipTextBlanks() { text_ = SkipBlanks(text_); }

  bool Literal(char c) {
    if (*text_ != c) return false;
    ++text_;
    return true;
  }

  void OpenGroup() {
    if (depth_ < kGroupDepth) groups_[depth_] = {text_, state_};
    ++depth_;
  }

  // After a mismatch: puts text and components back to where the group began and the format behind
  // its end. False when there is no group, or the mismatch stands in an expansion, whose caller
  // then leaves the group.
  bool LeaveGroup(const char*& format) {
    if (depth_ == 0 || expanding_) return false;
    const unsigned deeper = depth_ > kGroupDepth ? depth_ - kGroupDepth : 0;
    depth_ -= deeper + 1;
    text_ = groups_[depth_].text;
    state_ = groups_[depth_].state;
    format = EndOfGroups(format, deeper + 1);
    return true;
  }

  // Behind the ")" that closes the last of `open` groups, or the end of the format.
  static const char* EndOfGroups(const char* format, unsigned open) {
    for (; *format != '\0' && open > 0; ++format) {
      if (*format == ')') {
        --open;
      } else if (*format == '%' && format[1] != '\0') {
        ++format;
        if (*format == '?' && format[1] == '(') {
          ++format;
          ++open;
        }
      }
    }
    return format;
  }

  bool Directive(char directive, const char* format, const char* after) {
    if (const char* expansion = ExpansionOf(directive)) return Expand(expansion, format);
    bool matches;
    switch (directive) {
      case 'a':
      case 'A': {
        matches = *text_ == '*' ? Literal('*') : ReadName(kDayNames, 7) >= 0;
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
    for (;;) {
      if (*format == '\0' && *after != '\0') {
        format = after;
        after = "";
      } else if (format[0] == '%' && format[1] == '?' && format[2] == '(') {
        format += 3;
      } else if (*format == ')' && depth_ > 0) {
        ++format;
      } else {
        return format[0] == '%' && IsNumeric(format[1]);
      }
    }
  }

  int& ComponentOf(char directive) {
    switch (directive) {
      case 'd':
      case 'e':
        return state_.parts.day;
      case 'm':
        return state_.parts.month;
      case 'H':
      case 'I':
        state_.hourRead = true;
        return state_.parts.hour;
      case 'M':
        return state_.parts.minute;
      case 'S':
        return state_.parts.second;
      case 'N':
        return state_.parts.nanosecond;
      default:
        return state_.parts.year;
    }
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
    state_.any = true;
    return true;
  }

  // Takes the "*" of a directive whose components have been set.
  bool Any() {
    ++text_;
    state_.any = true;
    return true;
  }

  static constexpr unsigned kAllDigits = ~0u;

  bool ReadNumber(int& number, unsigned digits) {
    const char* last = end_;
    const unsigned sign = *text_ == '-' || *text_ == '+' ? 1 : 0;
    const auto left = static_cast<std::size_t>(end_ - text_);
    if (digits != kAllDigits && left > digits + sign) last = text_ + digits + sign;
    const IntegerText read = ReadInteger(text_, last, 10);
    if (read.end == nullptr) return false;
    number = static_cast<int>(SaturateSigned(read, 32));
    text_ = read.end;
    return true;
  }

  bool ReadTotalDays() {
    DateTimeParts& parts = state_.parts;
    if (*text_ == '*') {
      parts.year = parts.month = parts.day = kAny;
      return Any();
    }
    int total;
    if (!ReadNumber(total, kAllDigits)) return false;
    parts.year = total / 360;
    parts.month = total % 360 / 30;
    parts.day = total % 30;
    state_.any = state_.totalDays = true;
    return true;
  }

  // Seconds and, behind a point, a fraction of which nine digits count.
  bool ReadSeconds() {
    DateTimeParts& parts = state_.parts;
    if (*text_ == '*') {
      parts.second = parts.nanosecond = kAny;
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
    parts.second = whole;
    parts.nanosecond = negative ? -fraction : fraction;
    state_.any = true;
    return true;
  }

  bool ReadMonth() {
    if (*text_ == '*') {
      state_.parts.month = kAny;
      return Any();
    }
    const int position = ReadName(kMonthNames, 12);
    if (position < 0) return false;
    state_.parts.month = position + 1;
    state_.any = true;
    return true;
  }

  // The position of the name whose first three letters stand in the text; what matches of its other
  // letters is taken too. -1 when there is none.
  int ReadName(const Name* names, int count) {
    if (end_ - text_ < static_cast<int>(kShortName)) return -1;
    for (int i = 0; i < count; ++i) {
      if (std::memcmp(text_, names[i].text, kShortName) != 0) continue;
      unsigned taken = kShortName;
      while (taken < names[i].length && text_[taken] == names[i].text[taken]) ++taken;
      text_ += taken;
      return i;
    }
    return -1;
  }

  bool ReadHalfOfDay() {
    const char c = *text_;
    if (c == '*') {
      state_.parts.hour = kAny;
      return Any();
    }
    const bool afternoon = c == 'p' || c == 'P';
    if (!afternoon && c != 'a' && c != 'A') return false;
    state_.half = afternoon ? Half::kAfternoon : Half::kMorning;
    text_ += end_ - text_ > 1 ? 2 : 1;
    return true;
  }

  void ApplyHalfOfDay() {
    int& hour = state_.parts.hour;
    if (!state_.hourRead) return;
    if (state_.half == Half::kAfternoon && hour >= 1 && hour <= 11) hour += 12;
    if (state_.half == Half::kMorning && hour == 12) hour = 0;
  }

  const char* text_;
  const char* end_;
  State state_;
  Group groups_[kGroupDepth];
  unsigned depth_ = 0;
  bool expanding_ = false;
};

}  // namespace

KvString& FormatDateTime(KvString& out, const DateTimeParts& parts, const char* format, char sign) {
  TextBuffer text;
  if (sign != 0) text.Put(sign);
  Formatter(text, parts, format).Run();
  if (!text.Failed()) out = text.Finish();
  return out;
}

DateTimeScan ScanDateTime(DateTimeParts& parts, const char* text, const char* format) {
  Scanner scanner(parts, text);
  const DateTimeScan scan = scanner.Run(format);
  parts = scanner.Parts();
  return scan;
}

const char* WeekdayName(int weekday) {
  return weekday >= 0 && weekday < 7 ? kDayNames[weekday].text : "no day";
}

}  // namespace kv
