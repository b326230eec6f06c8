// The small things that the commands share.
#include "commands.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

#include "failure.h"
#include "input.h"
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
  style.number = arguments.Has("number");
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

std::string Hex32(unsigned number) {
  char text[sizeof "0x12345678"];
  std::snprintf(text, sizeof text, "0x%08x", number);
  return text;
}

Bytes BytesOfOperand(const std::string& operand) {
  Bytes bytes;
  AppendHexDump(operand == "-" ? ReadWhole("-") : operand, bytes);
  return bytes;
}

bool AreStored(const Arguments& arguments) {
  if (arguments.Has("order") && !arguments.Has("stored")) {
    FailUsage("--order is of stored operands, which --stored says they are");
  }
  return arguments.Has("stored");
}

std::unique_ptr<ValueRun> ValuesOf(const Arguments& arguments, char id, std::size_t first) {
  const std::vector<std::string> operands = arguments.From(first);
  if (!AreStored(arguments)) return ReadValues(id, operands, StyleOf(arguments));
  const unsigned char order = OrderOf(arguments);
  auto run = std::make_unique<ValueRun>(id, static_cast<unsigned>(operands.size()));
  for (unsigned i = 0; i < run->Count(); ++i) {
    try {
      LoadValue(id, run->At(i), BytesOfOperand(operands[i]), order);
    } catch (const Failure& failure) {
      throw Failure{failure.exitStatus, Quoted(operands[i]) + ": " + failure.what};
    }
  }
  return run;
}
