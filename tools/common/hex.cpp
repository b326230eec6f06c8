#include "hex.h"

#include <algorithm>

#include "failure.h"

namespace {

constexpr int kNone = -1;

int DigitOf(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return kNone;
}

bool IsBetweenBytes(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == ':' || c == ',';
}

// 0x, with digits behind it.
bool IsPrefix(std::string_view text) {
  return (text.starts_with("0x") || text.starts_with("0X")) && text.size() > 2 &&
         DigitOf(text[2]) != kNone;
}

constexpr std::size_t kDumpOffsetDigits = 8;  // of xxd and hexdump, at least

// The length of a dump line's offset with what ends it, 0 when the line is no such one.
std::size_t DumpOffset(std::string_view line) {
  std::size_t digits = 0;
  while (digits < line.size() && DigitOf(line[digits]) != kNone) ++digits;
  if (digits < kDumpOffsetDigits) return 0;
  const std::string_view rest = line.substr(digits);
  if (rest.starts_with(": ")) return digits + 2;                          // xxd
  return rest.starts_with("  ") && line.ends_with('|') ? digits + 2 : 0;  // hexdump -C
}

// Takes the first line off a text, without its end.
std::string_view TakeLine(std::string_view& text) {
  std::string_view line = text.substr(0, text.find('\n'));
  text.remove_prefix(std::min(line.size() + 1, text.size()));
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

// The bytes of a dump line lie between its offset and two blanks (xxd) or "  |" (hexdump).
std::string_view DumpBytes(std::string_view line, std::size_t offset) {
  line.remove_prefix(offset);
  const bool byHexdump = line.ends_with('|');
  return line.substr(0, line.find(byHexdump ? "  |" : "  "));
}

}  // namespace

std::string ToHex(const unsigned char* bytes, std::size_t count) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(2 * count);
  for (std::size_t i = 0; i < count; ++i) {
    text += kDigits[bytes[i] >> 4];
    text += kDigits[bytes[i] & 15];
  }
  return text;
}

void AppendHex(std::string_view text, Bytes& bytes) {
  int high = kNone;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (high == kNone && IsBetweenBytes(text[i])) continue;
    if (high == kNone && IsPrefix(text.substr(i))) {
      ++i;
      continue;
    }
    const int digit = DigitOf(text[i]);
    if (digit == kNone) {
      FailValue(Quoted(text.substr(i, 1)) + " is no hex digit, at offset " + std::to_string(i) +
                " of " + Quoted(text));
    }
    if (high == kNone) {
      high = digit;
    } else {
      bytes.push_back(static_cast<unsigned char>(high << 4 | digit));
      high = kNone;
    }
  }
  if (high != kNone)
    FailValue("a byte takes two hex digits, the last one of " + Quoted(text) + " has one");
}

void AppendHexDump(std::string_view text, Bytes& bytes) {
  std::string_view rest = text;
  if (DumpOffset(TakeLine(rest)) == 0) return AppendHex(text, bytes);
  while (!text.empty()) {
    const std::string_view line = TakeLine(text);
    // The last line of hexdump is the size alone.
    if (const std::size_t start = DumpOffset(line); start != 0) {
      AppendHex(DumpBytes(line, start), bytes);
    } else if (line.find_first_not_of("0123456789abcdefABCDEF") != std::string_view::npos) {
      FailValue("not a line of a dump: " + Quoted(line));
    }
  }
}
