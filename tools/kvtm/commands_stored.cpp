// kvtm store, load and translate: values and their stored bytes.
#include <string>

#include "catalogue.h"
#include "commands.h"
#include "failure.h"
#include "families.h"
#include "stored.h"

namespace {

constexpr unsigned char kMemoryForm = 8;

// The bytes of the operands from `first` on.
Bytes BytesOf(const Arguments& arguments, std::size_t first) {
  Bytes bytes;
  for (const std::string& operand : arguments.From(first)) {
    const Bytes more = BytesOfOperand(operand);
    bytes.insert(bytes.end(), more.begin(), more.end());
  }
  if (bytes.empty()) FailValue("there are no bytes in " + Quoted(arguments[first]));
  return bytes;
}

// --count, 0 when it was not given.
unsigned CountOf(const Arguments& arguments) {
  return arguments.Number("count", 1, 0xFFFFFFFFU, 0);
}

void NoteRest(std::size_t given, std::size_t used, unsigned count) {
  if (given <= used) return;
  Note(Counted(given - used, "more byte follows", "more bytes follow") + " the " +
       Counted(count, "value", "values") + " asked for, from offset " + std::to_string(used));
}

// A format byte: a number, or "memory", "stored", "reversed".
unsigned char FormOf(const Arguments& arguments, const std::string& option) {
  if (!arguments.Has(option)) FailUsage("--" + option + " is missing");
  const std::string text = arguments.Value(option);
  if (text == "memory") return kMemoryForm;
  if (text == "stored") return 0;
  if (text == "reversed") return 2;
  if (text == "little") return 0;
  if (text == "big") return 2;
  const unsigned form = arguments.Number(option, 0, kMemoryForm, 0);
  if (form > 2 && form != kMemoryForm) {
    FailUsage("--" + option + " " + Quoted(text) +
              " is none of memory (8), stored (0), reversed (2)");
  }
  return static_cast<unsigned char>(form);
}

// How many values of a fixed row `bytes` hold in form `form`.
unsigned MeasureForm(char id, const Bytes& bytes, unsigned char form, unsigned count) {
  if (form != kMemoryForm) return MeasureStored(id, bytes, form, count).count;
  const std::size_t width = Types().MemLenGet(id, 1);
  if (bytes.size() % width != 0 || (count != 0 && bytes.size() != count * width)) {
    FailValue(std::to_string(bytes.size()) + " bytes in memory form, where a " + TypeName(id) +
              " value takes " + std::to_string(width));
  }
  return static_cast<unsigned>(bytes.size() / width);
}

std::size_t SizeInForm(char id, unsigned char form, unsigned count) {
  return std::size_t{count} * (form == kMemoryForm ? Types().MemLenGet(id, 1)
                                                   : Types().DiskLenGet(id, nullptr, form, 1, 0));
}

// A digit is a character like any other, which is seldom what was meant.
void NoteDigit(const ValueRun& run, const Arguments& arguments, const ValueStyle& style) {
  static bool noted = false;
  if (noted || FactsOf(run.Id()).kind != TextKind::kCharacter || style.number) return;
  for (const std::string& text : arguments.From(1)) {
    if (text.size() != 1 || text[0] < '0' || text[0] > '9') continue;
    Note(Quoted(text) + " is taken as a character; --number takes numbers");
    noted = true;
    return;
  }
}

// What a reader of the values alone would not see.
void NoteOddities(char id, const Bytes& bytes, const StoredRun& run) {
  if (run.oldForm) Note("these strings are in the old form");
  if (run.strange > 0) {
    Note(std::to_string(run.strange) +
         " of the values no calendar or clock has, the first at offset " +
         std::to_string(run.firstStrange));
  }
  if (id != KvBOOLEAN_T) return;
  for (std::size_t i = 0; i < run.bytes; ++i) {
    if (bytes[i] <= 1 || bytes[i] == 0xFF) continue;
    Note("byte 0x" + ToHex(&bytes[i], 1) + " at offset " + std::to_string(i) +
         " counts as true and prints as FALSE: only 1 prints as TRUE");
    return;
  }
}

void PrintBytes(const Bytes& bytes, Output output) {
  if (output == Output::kText) return Print(ToHex(bytes) + "\n");
  PrintCard(
      {{"bytes", "count"}, {{TextCell(ToHex(bytes)), NumberCell(std::to_string(bytes.size()))}}},
      output);
}

}  // namespace

int RunStore(const Arguments& arguments) {
  const char id = FindValueType(arguments[0]);
  const unsigned char order = OrderOf(arguments);
  const ValueStyle style = StyleOf(arguments);
  const auto run = ReadValues(id, arguments.From(1), style);
  PrintBytes(StoredForm(*run, order), OutputOf(arguments));
  NoteDigit(*run, arguments, style);
  return kExitGood;
}

int RunLoad(const Arguments& arguments) {
  const char id = FindValueType(arguments[0]);
  const unsigned char order = OrderOf(arguments);
  const ValueStyle style = StyleOf(arguments);
  const Output output = OutputOf(arguments);
  const Bytes bytes = BytesOf(arguments, 1);
  const StoredRun measured = MeasureStored(id, bytes, order, CountOf(arguments));
  ValueRun run(id, measured.count);
  LoadRun(run, bytes.data(), order);
  std::string json;
  TextTable table{{"value"}, {}};
  for (unsigned i = 0; i < run.Count(); ++i) {
    if (output == Output::kText) {
      Print(TextOf(id, run.At(i), style) + "\n");
    } else if (output == Output::kJson) {
      json += (json.empty() ? "" : ", ") + JsonOf(id, run.At(i), style);
    } else {
      table.rows.push_back({TextCell(TextOf(id, run.At(i), style))});
    }
  }
  if (output == Output::kJson) Print("[" + json + "]\n");
  if (output == Output::kCsv) PrintTable(table, output);
  NoteOddities(id, bytes, measured);
  NoteRest(bytes.size(), measured.bytes, measured.count);
  return kExitGood;
}

int RunTranslate(const Arguments& arguments) {
  const char id = FindValueType(arguments[0]);
  const unsigned char from = FormOf(arguments, "from");
  const unsigned char to = FormOf(arguments, "to");
  const Bytes bytes = BytesOf(arguments, 1);
  const bool anyMemory = from == kMemoryForm || to == kMemoryForm;
  if (!Types().IsFixed(id) && anyMemory) {
    FailUsage("the memory form of " + TypeName(id) + " holds a pointer and has no hex");
  }
  const Output output = OutputOf(arguments);
  const unsigned count = MeasureForm(id, bytes, from, CountOf(arguments));
  if (!anyMemory && arguments.Has("reorder")) {
    ValueRun run(id, count);
    LoadRun(run, bytes.data(), from);
    PrintBytes(StoredForm(run, to), output);
    return kExitGood;
  }
  Bytes translated(Types().IsFixed(id) ? SizeInForm(id, to, count) : bytes.size());
  const unsigned written =
      Types().Translate(id, translated.data(), to, static_cast<unsigned>(translated.size()),
                        bytes.data(), from, static_cast<unsigned>(bytes.size()), count);
  if (written == 0) FailValue("these bytes do not translate as " + TypeName(id));
  // Into memory form the operation counts the stored bytes that it read.
  if (to != kMemoryForm) translated.resize(written);
  PrintBytes(translated, output);
  if (!anyMemory && from != to) {
    Note("from stored to stored the bytes are copied; --reorder turns them");
  }
  return kExitGood;
}
