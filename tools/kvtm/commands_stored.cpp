// kvtm store, load and translate: values and their stored bytes.
#include <cstdio>
#include <sstream>
#include <string>

#include "catalogue.h"
#include "commands.h"
#include "failure.h"
#include "input.h"
#include "stored.h"

namespace {

constexpr unsigned char kMemoryForm = 8;

// The bytes of the operands from `first` on; "-" reads them from the standard input.
Bytes BytesOf(const Arguments& arguments, std::size_t first) {
  Bytes bytes;
  for (const std::string& operand : arguments.From(first)) {
    AppendHex(operand == "-" ? ReadWhole("-") : operand, bytes);
  }
  if (bytes.empty()) FailValue("there are no bytes in " + Quoted(arguments[first]));
  return bytes;
}

// --count, 0 when it was not given.
unsigned CountOf(const Arguments& arguments) {
  return arguments.Number("count", 1, 0xFFFFFFFFU, 0);
}

void NoteRest(const char* command, std::size_t given, std::size_t used, unsigned count) {
  if (given <= used) return;
  std::fprintf(stderr, "kvtm: %s: %zu more bytes follow the %u values asked for\n", command,
               given - used, count);
}

// A format byte: a number, or "memory", "stored", "reversed".
unsigned char FormOf(const Arguments& arguments, const std::string& option) {
  if (!arguments.Has(option)) FailUsage("--" + option + " is missing");
  const std::string text = arguments.Value(option);
  if (text == "memory") return kMemoryForm;
  if (text == "stored") return 0;
  if (text == "reversed") return 2;
  return static_cast<unsigned char>(arguments.Number(option, 0, kMemoryForm, 0));
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
  const unsigned char anything[32] = {};
  return std::size_t{count} * (form == kMemoryForm ? Types().MemLenGet(id, 1)
                                                   : Types().DiskLenGet(id, anything, form, 1, 0));
}

// Reads one run and writes its values.
void LoadRun(const Arguments& arguments, const Bytes& bytes) {
  const char id = FindValueType(arguments[0]);
  const unsigned char order = OrderOf(arguments);
  const ValueStyle style = StyleOf(arguments);
  const StoredRun measured = MeasureStored(id, bytes, order, CountOf(arguments));
  ValueRun run(id, measured.count);
  if (Types().Load(id, run.Data(), bytes.data(), order, measured.count) == 0) {
    FailValue("these bytes do not load as " + TypeName(id));
  }
  std::string json;
  for (unsigned i = 0; i < run.Count(); ++i) {
    const std::string text = TextOf(id, run.At(i), style);
    if (!arguments.Has("json")) {
      Print(Printable(text) + "\n");
    } else {
      const bool isNull = Types().IsNullValue(id, run.At(i)) != 0;
      json += (json.empty() ? "" : ", ") + (isNull ? "null" : JsonText(text));
    }
  }
  if (arguments.Has("json")) Print("[" + json + "]\n");
  NoteRest("load", bytes.size(), measured.bytes, measured.count);
}

}  // namespace

int RunStore(const Arguments& arguments) {
  const char id = FindValueType(arguments[0]);
  const unsigned char order = OrderOf(arguments);
  const auto run = ReadValues(id, arguments.From(1), StyleOf(arguments));
  Print(ToHex(StoredForm(*run, order)) + "\n");
  return kExitGood;
}

int RunLoad(const Arguments& arguments) {
  if (!arguments.Has("lines")) {
    if (arguments.Count() < 2) FailUsage("an operand is missing");
    LoadRun(arguments, BytesOf(arguments, 1));
    return kExitGood;
  }
  if (arguments.Count() != 1) FailUsage("--lines takes the place of HEX");
  std::istringstream lines(ReadWhole(arguments.Value("lines")));
  int exitStatus = kExitGood;
  unsigned number = 0;
  for (std::string line; std::getline(lines, line);) {
    ++number;
    try {
      Bytes bytes;
      AppendHex(line, bytes);
      if (bytes.empty()) FailValue("there are no bytes");
      LoadRun(arguments, bytes);
    } catch (const Failure& failure) {
      if (failure.exitStatus != kExitBadValue) throw;
      std::fprintf(stderr, "kvtm: load: line %u: %s\n", number, failure.what.c_str());
      exitStatus = kExitBadValue;
    }
  }
  return exitStatus;
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
  const unsigned count = MeasureForm(id, bytes, from, CountOf(arguments));
  Bytes translated(Types().IsFixed(id) ? SizeInForm(id, to, count) : bytes.size());
  // From stored to stored the library copies and never reorders; what a user wants reordered goes
  // through the memory form.
  const unsigned written =
      Types().Translate(id, translated.data(), to, static_cast<unsigned>(translated.size()),
                        bytes.data(), from, static_cast<unsigned>(bytes.size()), count);
  if (written == 0) FailValue("these bytes do not translate as " + TypeName(id));
  // Into memory form the operation counts the stored bytes that it read.
  if (to != kMemoryForm) translated.resize(written);
  Print(ToHex(translated) + "\n");
  return kExitGood;
}
