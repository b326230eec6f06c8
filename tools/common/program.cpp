#include "program.h"

#include <algorithm>
#include <cstdio>
#include <new>
#include <sstream>

#include "failure.h"
#include "input.h"
#include "nearest.h"

namespace {

constexpr std::size_t kNameColumn = 12;
constexpr std::size_t kOptionColumn = 14;
constexpr std::size_t kColumns = 96;

std::string Indented(const std::string& text, std::size_t blanks) {
  std::string indented;
  char before = ' ';
  for (const char c : text) {
    if (before == '\n' && c != '\n') indented.append(blanks, ' ');
    indented += c;
    before = c;
  }
  return indented;
}

// "  NAME        text", further lines of the text below its beginning.
std::string Entry(std::string name, const std::string& text, std::size_t width) {
  name.resize(std::max(name.size() + 1, width), ' ');
  return "  " + name + Indented(text, width + 2) + "\n";
}

std::string OptionName(const Option& option) {
  std::string name;
  if (option.letter != 0) name = std::string("-") + option.letter + ", ";
  name += std::string("--") + option.name;
  if (option.valueName != nullptr) name += std::string(" ") + option.valueName;
  return name;
}

std::vector<const Option*> OptionsOf(const Program& program, const Command& command) {
  std::vector<const Option*> options;
  for (const Option& option : program.options) {
    if (IsListed(command.options, option.name)) options.push_back(&option);
  }
  return options;
}

// The synopsis, in lines that fit a terminal; further ones stand below the first option.
std::string Synopsis(const Program& program, const Command& command) {
  std::vector<std::string> parts;
  for (const Option* option : OptionsOf(program, command)) {
    parts.push_back(" [" + OptionName(*option) + "]");
  }
  if (*command.operands != '\0') parts.push_back(std::string(" ") + command.operands);
  std::string synopsis = std::string("usage: ") + program.name + " " + command.name;
  const std::size_t indentation = synopsis.size();
  std::size_t width = indentation;
  for (const std::string& part : parts) {
    if (width + part.size() > kColumns) {
      synopsis += "\n" + std::string(indentation, ' ');
      width = indentation;
    }
    synopsis += part;
    width += part.size();
  }
  return synopsis;
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

const Command& CommandNamed(const Program& program, const std::string& name) {
  if (const Command* const command = program.Find(name)) return *command;
  std::vector<std::string> names;
  for (const Command& command : program.commands) names.emplace_back(command.name);
  const std::string nearest = NearestOf(name, names);
  FailUsage("there is no command " + Quoted(name) +
            (nearest.empty() ? "" : ", did you mean " + nearest + "?") + "; see " + program.name +
            " --help");
}

void Help(const Program& program, const std::vector<std::string>& words) {
  if (words.empty()) {
    Print(ManualText(program));
  } else if (words[0] == "--man") {
    Print(ManPage(program));
  } else if (words[0] == "--completion") {
    Print(Completion(program, words.size() > 1 ? words[1] : ""));
  } else if (program.Find(words[0]) != nullptr || program.helpOnWord == nullptr ||
             !program.helpOnWord(words[0])) {
    Print(HelpText(program, CommandNamed(program, words[0])));
  }
}

// Where messages say they come from: the program and the command, and the line under --lines.
std::string origin;
unsigned lineNumber = 0;

std::string Where() {
  return lineNumber == 0 ? origin : origin + "line " + std::to_string(lineNumber) + ": ";
}

std::vector<std::string> SplitAtTabs(const std::string& line) {
  std::vector<std::string> operands;
  std::size_t start = 0;
  for (std::size_t tab; (tab = line.find('\t', start)) != std::string::npos; start = tab + 1) {
    operands.push_back(line.substr(start, tab - start));
  }
  operands.push_back(line.substr(start));
  return operands;
}

// Runs the command once for each line of a file, whose tabs part operands. What cannot be used is
// reported with its number, and the rest goes on.
int RunLines(const Command& command, const Arguments& arguments) {
  std::istringstream lines(ReadText(arguments.Value("lines")));
  int exitStatus = kExitGood;
  for (std::string line; std::getline(lines, line);) {
    ++lineNumber;
    if (line.ends_with('\r')) line.pop_back();
    try {
      exitStatus = std::max(exitStatus, command.run(arguments.With(SplitAtTabs(line))));
    } catch (const Failure& failure) {
      if (failure.exitStatus != kExitBadValue) throw;
      Note(failure.what);
      exitStatus = kExitBadValue;
    }
  }
  lineNumber = 0;
  return exitStatus;
}

int Run(const Program& program, const std::vector<std::string>& words) {
  if (words.empty()) {
    FailUsage(std::string("no command given; see ") + program.name + " --help");
  }
  const std::vector<std::string> rest(words.begin() + 1, words.end());
  if (words[0] == "--version") {
    Print(program.version() + "\n");
  } else if (IsHelp(words[0]) || words[0] == "help") {
    Help(program, rest);
  } else {
    const Command& command = CommandNamed(program, words[0]);
    if (!AsksForHelp(rest)) {
      const Arguments arguments(rest, command, program.options);
      return arguments.Has("lines") ? RunLines(command, arguments) : command.run(arguments);
    }
    Print(HelpText(program, command));
  }
  return kExitGood;
}

}  // namespace

const Command* Program::Find(const std::string& commandName) const {
  for (const Command& command : commands) {
    if (commandName == command.name) return &command;
  }
  return nullptr;
}

std::string ManualText(const Program& program) {
  std::string text =
      "NAME\n  " + std::string(program.name) + " - " + program.summary + "\n\nSYNOPSIS\n";
  for (const char* form : {" COMMAND [OPTION...] [OPERAND...]\n", " help COMMAND\n"}) {
    text += std::string("  ") + program.name + form;
  }
  for (const ManualSection& section : program.manual) {
    const std::string heading = section.heading;
    text += "\n" + heading + "\n";
    if (section.text != nullptr) text += "  " + Indented(section.text, 2);
    if (heading == "COMMANDS") {
      for (const Command& each : program.commands) {
        text += Entry(each.name, each.summary, kNameColumn);
      }
    } else if (heading == "OPTIONS") {
      for (const Option& each : program.options) {
        text += Entry(OptionName(each), each.help, kOptionColumn);
      }
      text +=
          "  Options may stand before and after operands. -- ends them; put it before a value "
          "that\n"
          "  begins with - and is no number.\n";
    }
  }
  return text;
}

std::string HelpText(const Program& program, const Command& command) {
  std::string text = Synopsis(program, command) + "\n\n" + command.help;
  const std::vector<const Option*> options = OptionsOf(program, command);
  if (!options.empty()) text += "\nOptions:\n";
  for (const Option* option : options) {
    text += Entry(OptionName(*option), option->help, kOptionColumn);
  }
  return text;
}

int RunProgram(const Program& program, int argc, char** argv) {
  const std::vector<std::string> words(argv + 1, argv + argc);
  origin = std::string(program.name) + ": ";
  if (!words.empty() && program.Find(words[0]) != nullptr) origin += words[0] + ": ";
  int exitStatus = kExitGood;
  std::string error;
  try {
    exitStatus = Run(program, words);
  } catch (const Failure& failure) {
    exitStatus = failure.exitStatus;
    error = failure.what;
  } catch (const std::bad_alloc&) {
    exitStatus = kExitBadValue;
    error = "not enough memory";
  }
  std::fflush(stdout);
  if (std::ferror(stdout) != 0) {
    exitStatus = kExitBadValue;
    if (error.empty()) error = "the output could not be written";
  }
  if (!error.empty()) Note(error);
  return exitStatus;
}

void Note(const std::string& text) {
  std::fprintf(stderr, "%s%s\n", Where().c_str(), text.c_str());
}

void Print(const std::string& text) {
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size()) {
    FailValue("the output could not be written");
  }
}
