// kvtm: the workbench of whoever debugs a database page or an index. It shows stored bytes as hex
// and values as text, through the public interface of the type manager alone. This file finds the
// command, shows help, and turns a Failure into a line on stderr and an exit status.
#include <cstdio>
#include <new>
#include <string>
#include <vector>

#include "commands.h"
#include "failure.h"

namespace {

constexpr const char* kManual = R"(NAME
  kvtm - values, stored bytes and orders of the type manager

SYNOPSIS
  kvtm COMMAND [OPTION...] [OPERAND...]
  kvtm help COMMAND

DESCRIPTION
  kvtm is the workbench of whoever debugs a database page or an index: it reads and writes
  stored bytes as hex and values as text, and asks the type manager how values compare,
  hash, sort and step.

COMMANDS
%COMMANDS%
OPERANDS
  TYPE    a type name (o_4b), a type id name (Kv4B_T) or a type id (2); kvtm types lists them
  VALUE   a value as text, in UTF-8:
            numbers         decimal; floating rows take Infinity, -Infinity and NaN too
            characters      one character, or a byte as 0x41
            booleans        TRUE or FALSE
            dates, times    2024-02-29, 13:05:00, 2024-02-29T13:05:00; * for any component;
                            behind a d_Time its zone, 13:05:00+05:30
            time spans      days.hours:minutes:seconds, 2.03:00:00
            intervals       seconds, 5400 or 0.5
            identities      as they print, (1-5#7)
            blobs           hex
            null            {NULL}, where the type has a null value
          With --format a value is read and shown in that print format of the type.
  HEX     bytes as hex digits, blanks between bytes allowed; - reads the standard input

OPTIONS
%OPTIONS%  Options may stand before and after operands. -- ends them; put it before a value that
  begins with - and is no number.

EXIT STATUS
  0  all went well
  1  a value, bytes or a file could not be used
  2  the command line was wrong
  Errors are one line on stderr: kvtm: COMMAND: what, where.

EXAMPLES
  $ kvtm store KvDATE_T --order 2 2024-02-29
  07e8021d
  $ kvtm load KvDATE_T --order 2 07e8021d
  2024-02-29
  $ kvtm compare Kv4B_T 10 9
  1
)";

std::string Indented(const std::string& text, std::size_t blanks) {
  std::string indented;
  for (const char c : text) {
    indented += c;
    if (c == '\n') indented.append(blanks, ' ');
  }
  return indented;
}

// "  NAME        text", further lines of the text below its beginning.
std::string Entry(std::string name, const std::string& text, std::size_t width) {
  name.resize(std::max(name.size(), width), ' ');
  return "  " + name + Indented(text, width + 2) + "\n";
}

std::string OptionName(const Option& option) {
  return std::string("--") + option.name +
         (option.valueName != nullptr ? std::string(" ") + option.valueName : std::string());
}

void Replace(std::string& text, const std::string& mark, const std::string& by) {
  const std::size_t at = text.find(mark);
  text.replace(at, mark.size(), by);
}

void ShowManual() {
  std::string commands;
  for (const Command& command : AllCommands()) {
    commands += Entry(command.name, command.summary, 12);
  }
  std::string options;
  for (const Option& option : AllOptions()) options += Entry(OptionName(option), option.help, 14);
  std::string manual = kManual;
  Replace(manual, "%COMMANDS%", commands);
  Replace(manual, "%OPTIONS%", options);
  Print(manual);
}

void ShowHelp(const Command& command) {
  const std::string listed = std::string(" ") + command.options + " ";
  std::string synopsis = std::string("usage: kvtm ") + command.name;
  std::string options;
  for (const Option& option : AllOptions()) {
    if (listed.find(std::string(" ") + option.name + " ") == std::string::npos) continue;
    synopsis += " [" + OptionName(option) + "]";
    options += Entry(OptionName(option), option.help, 14);
  }
  const std::string operands = command.operands;
  Print(synopsis + (operands.empty() ? "" : " " + operands) + "\n\n" + command.help);
  if (!options.empty()) Print("\nOptions:\n" + options);
}

bool IsHelp(const std::string& word) {
  return word == "--help" || word == "-h";
}

// `--help` among the words of a command, before a "--" that ends the options.
bool AsksForHelp(const std::vector<std::string>& words) {
  for (const std::string& word : words) {
    if (word == "--") return false;
    if (IsHelp(word)) return true;
  }
  return false;
}

const Command& CommandNamed(const std::string& name) {
  const Command* const command = FindCommand(name);
  if (command == nullptr) FailUsage("there is no command " + Quoted(name) + "; see kvtm --help");
  return *command;
}

int Run(const std::vector<std::string>& words) {
  if (words.empty()) FailUsage("no command given; see kvtm --help");
  if (words[0] == "--version") {
    Print("kvtm, " + ModuleVersion() + "\n");
    return kExitGood;
  }
  if (IsHelp(words[0]) || words[0] == "help") {
    if (words.size() < 2) {
      ShowManual();
    } else {
      ShowHelp(CommandNamed(words[1]));
    }
    return kExitGood;
  }
  const Command& command = CommandNamed(words[0]);
  const std::vector<std::string> rest(words.begin() + 1, words.end());
  if (AsksForHelp(rest)) {
    ShowHelp(command);
    return kExitGood;
  }
  return command.run(Arguments(rest, command.options, command.leastOperands, command.mostOperands));
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> words(argv + 1, argv + argc);
  const bool named = !words.empty() && FindCommand(words[0]) != nullptr;
  const std::string where = named ? "kvtm: " + words[0] + ": " : "kvtm: ";
  int exitStatus = kExitGood;
  std::string error;
  try {
    exitStatus = Run(words);
  } catch (const Failure& failure) {
    exitStatus = failure.exitStatus;
    error = failure.what;
  } catch (const std::bad_alloc&) {
    exitStatus = kExitBadValue;
    error = "not enough memory";
  }
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    exitStatus = kExitBadValue;
    if (error.empty()) error = "the output could not be written";
  }
  if (!error.empty()) std::fprintf(stderr, "%s%s\n", where.c_str(), error.c_str());
  return exitStatus;
}
