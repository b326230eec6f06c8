// The small things that the commands share.
#include "commands.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

#include "failure.h"
#include "names.h"
#include "numbers.h"

namespace {

struct NamedOrder {
  const char* name;
  unsigned char format;
};

constexpr NamedOrder kOrders[] = {{"0", 0},      {"1", 1}, {"memory", 0},   {"stored", 0},
                                  {"little", 0}, {"2", 2}, {"reversed", 2}, {"big", 2}};

struct NamedOperation {
  const char* name;
  unsigned bit;
};

constexpr NamedOperation kOperations[] = {
    {"exact", 0x10},       {"ignore-case", 0x20}, {"ignore-accents", 0x40},
    {"skip-spaces", 0x80}, {"key-order", 0x100},  {"ignore-extension", 0x200},
};
constexpr unsigned kAllOperations = 0x3F0;

// Bits in decimal or, after 0x, in hex.
bool ReadBits(std::string_view text, unsigned& bits) {
  const bool hex = text.starts_with("0x") || text.starts_with("0X");
  if (hex) text.remove_prefix(2);
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, bits, hex ? 16 : 10);
  return !text.empty() && stop == end && error == std::errc();
}

// One or more operations with "," or "+" between them, each by name or as bits.
unsigned OperationIn(std::string_view text) {
  unsigned operation = 0;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find_first_of(",+"), text.size());
    const std::string_view part = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    const auto* named = std::find_if(std::begin(kOperations), std::end(kOperations),
                                     [&](const auto& each) { return part == each.name; });
    unsigned bits = named != std::end(kOperations) ? named->bit : 0;
    if (named == std::end(kOperations) && (!ReadBits(part, bits) || (bits & ~kAllOperations))) {
      FailUsage("--op " + Quoted(part) +
                " is no compare operation: exact, ignore-case, ignore-accents, skip-spaces, "
                "key-order, ignore-extension, or their bits 0x10 to 0x200");
    }
    operation |= bits;
  }
  return operation;
}

}  // namespace

ValueStyle StyleOf(const Arguments& arguments) {
  ValueStyle style;
  style.format = arguments.Value("format");
  if (arguments.Has("codeset")) style.strings.codeSet = FindCodeSet(arguments.Value("codeset"));
  if (arguments.Has("language")) style.strings.language = FindLanguage(arguments.Value("language"));
  return style;
}

unsigned char OrderOf(const Arguments& arguments) {
  if (!arguments.Has("order")) return 0;
  const std::string text = arguments.Value("order");
  for (const NamedOrder& named : kOrders) {
    if (EqualsIgnoringCase(text, named.name)) return named.format;
  }
  FailUsage("--order " + Quoted(text) +
            " is none of 0, 1, memory, little (least significant byte first), 2, reversed, big");
}

unsigned short CompareOperationOf(const Arguments& arguments) {
  unsigned operation = 0;
  for (const std::string& text : arguments.Values("op")) operation |= OperationIn(text);
  return static_cast<unsigned short>(operation);
}

namespace {

// Characters of a UTF-8 text, which take one column each.
std::size_t ColumnsOf(std::string_view utf8) {
  return static_cast<std::size_t>(std::count_if(utf8.begin(), utf8.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

}  // namespace

void PrintTable(const std::vector<std::vector<std::string>>& rows) {
  std::vector<std::size_t> widths;
  for (const std::vector<std::string>& row : rows) {
    widths.resize(std::max(widths.size(), row.size()));
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], ColumnsOf(row[i]));
  }
  std::string table;
  for (const std::vector<std::string>& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      table += row[i];
      if (i + 1 < row.size()) table.append(widths[i] - ColumnsOf(row[i]) + 2, ' ');
    }
    table += '\n';
  }
  Print(table);
}

std::string JsonText(std::string_view utf8) {
  std::string json = "\"";
  const auto escape = [&](unsigned unit) {
    char text[8];
    std::snprintf(text, sizeof text, "\\u%04x", unit);
    json += text;
  };
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const char c = utf8[i];
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(utf8[at]); };
    if (byte(i) == 0xED && i + 2 < utf8.size() && byte(i + 1) >= 0xA0) {
      // A surrogate is a character like any other to a string, but no valid UTF-8.
      escape(0xD000u | (byte(i + 1) & 0x3Fu) << 6 | (byte(i + 2) & 0x3Fu));
      i += 2;
    } else if (byte(i) < 0x20) {
      escape(byte(i));
    } else {
      if (c == '"' || c == '\\') json += '\\';
      json += c;
    }
  }
  return json + "\"";
}

std::string Hex32(unsigned number) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%08x", number);
  return text;
}
