// A program's manual as a man page, in the requests of man(7).
//
// The help texts are plain: paragraphs, and lines that are shown as they are because they are
// indented or have columns. The first become filled text, the others examples.
#include <algorithm>
#include <cctype>
#include <cstdio>

#include "kv.h"
#include "numbers.h"
#include "program.h"

namespace {

unsigned short TakeCharacter(std::string_view& utf8) {
  unsigned short character = 0;
  const int length = KvMultiByte2WChar(&character, utf8.data(), static_cast<unsigned>(utf8.size()));
  utf8.remove_prefix(length > 0 ? static_cast<std::size_t>(length) : 1);
  return character;
}

// One line of running text: what roff would take for a request or an escape is hidden from it.
std::string Escaped(std::string_view line) {
  std::string escaped;
  if (line.starts_with('.') || line.starts_with('\'')) escaped = "\\&";
  while (!line.empty()) {
    const char c = line.front();
    if (static_cast<unsigned char>(c) >= 0x80) {
      char name[sizeof "\\[u1234]"];
      std::snprintf(name, sizeof name, "\\[u%04X]", TakeCharacter(line));
      escaped += name;
      continue;
    }
    if (c == '\\') {
      escaped += "\\e";
    } else if (c == '-') {
      escaped += "\\-";
    } else {
      escaped += c;
    }
    line.remove_prefix(1);
  }
  return escaped;
}

std::vector<std::string_view> Lines(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    lines.push_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return lines;
}

bool IsVerbatim(std::string_view line) {
  return line.starts_with(' ') || line.find("   ") != std::string_view::npos;
}

std::string Body(std::string_view text) {
  std::string body;
  bool verbatim = false;
  bool paragraphEnds = false;
  for (const std::string_view line : Lines(text)) {
    if (line.empty()) {
      paragraphEnds = true;
      continue;
    }
    // A verbatim stretch goes on over empty lines.
    if (IsVerbatim(line) != verbatim) {
      if (verbatim) body += ".EE\n";
      if (!body.empty()) body += ".PP\n";
      if (!verbatim) body += ".EX\n";
      verbatim = !verbatim;
    } else if (paragraphEnds) {
      body += verbatim ? "\\&\n" : ".PP\n";
    }
    paragraphEnds = false;
    body += Escaped(line) + "\n";
  }
  return verbatim ? body + ".EE\n" : body;
}

std::string Bold(const std::string& text) {
  return "\\fB" + text + "\\fR";
}

std::string OptionTag(const Option& option) {
  std::string tag;
  if (option.letter != 0) tag = Bold(std::string("\\-") + option.letter) + ", ";
  tag += Bold("\\-\\-" + Escaped(option.name));
  if (option.valueName != nullptr) tag += " \\fI" + std::string(option.valueName) + "\\fR";
  return tag;
}

std::string Item(const std::string& tag, std::string_view text) {
  std::string item = ".TP\n" + tag + "\n";
  for (const std::string_view line : Lines(text)) {
    item += Escaped(TrimBlanks(line)) + "\n";
  }
  return item;
}

std::string CommandPart(const Program& program, const Command& command) {
  std::string synopsis = Bold(std::string(program.name) + " " + command.name);
  for (const Option& option : program.options) {
    if (IsListed(command.options, option.name)) synopsis += " [" + OptionTag(option) + "]";
  }
  if (*command.operands != '\0') synopsis += " " + Escaped(command.operands);
  return ".SS " + std::string(command.name) + "\n" + synopsis + "\n.PP\n" + Body(command.help);
}

}  // namespace

std::string ManPage(const Program& program) {
  const std::string name = program.name;
  std::string upper = name;
  for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  std::string page = ".TH " + upper + " 1 " + program.date + " \"" + program.version() +
                     "\"\n.SH NAME\n" + name + " \\- " + Escaped(program.summary) +
                     "\n.SH SYNOPSIS\n" + Bold(name) +
                     " \\fICOMMAND\\fR [\\fIOPTION\\fR...] [\\fIOPERAND\\fR...]\n.br\n" +
                     Bold(name + " help") + " [\\fICOMMAND\\fR]\n";
  for (const ManualSection& section : program.manual) {
    const std::string heading = section.heading;
    page += ".SH " + heading + "\n";
    if (section.text != nullptr) page += Body(section.text);
    if (heading == "COMMANDS") {
      for (const Command& command : program.commands) page += CommandPart(program, command);
    } else if (heading == "OPTIONS") {
      for (const Option& option : program.options) page += Item(OptionTag(option), option.help);
    }
  }
  return page;
}
