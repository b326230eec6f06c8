// A command-line program as tables: its options, its commands and the sections of its manual. The
// help on the terminal, the man page and the completions of bash and zsh are made from them, so
// they cannot tell different things.
//
//     kvtm help [COMMAND]             the manual, or the help of a command
//     kvtm help --man                 the manual as a man page
//     kvtm help --completion SHELL    for bash or zsh to source
#pragma once

#include <string>
#include <vector>

#include "arguments.h"

struct Command {
  const char* name;
  const char* operands;  // as the synopsis shows them, "TYPE VALUE... [FILE]"
  const char* summary;   // one line
  // What the help says below the synopsis, examples included. Paragraphs end with an empty line;
  // indented lines are shown as they are.
  const char* help;
  // Names of the options it takes, separated by blanks. With "lines" among them the command can be
  // run once for each line of a file.
  const char* options;
  std::size_t leastOperands;
  std::size_t mostOperands;
  int (*run)(const Arguments& arguments);  // the exit status; fails by throwing a Failure
};

// A section of the manual, in the manner of Command::help. "COMMANDS" and "OPTIONS" are made from
// the tables and have no text here.
struct ManualSection {
  const char* heading;
  const char* text;
};

struct Program {
  const char* name;
  const char* summary;  // one line, for the man page's index
  const char* date;     // of the last change to the manual, 2026-11-21
  std::vector<ManualSection> manual;
  std::vector<Option> options;
  std::vector<Command> commands;
  std::string (*version)();
  // What completions offer for an operand or an option's value of that name ("TYPE"), separated by
  // blanks. Empty for none; files for FILE. May be null.
  std::string (*wordsFor)(const std::string& placeholder);
  // What `help WORD` shows for a word that is no command; false when it knows none. May be null.
  bool (*helpOnWord)(const std::string& word);

  const Command* Find(const std::string& commandName) const;  // null when there is none
};

// The program's main: runs the command that the words name. A Failure becomes one line on stderr,
// "NAME: COMMAND: what, where", and its exit status.
int RunProgram(const Program& program, int argc, char** argv);

// --- What the above is made of ---

std::string ManualText(const Program& program);
std::string HelpText(const Program& program, const Command& command);
std::string ManPage(const Program& program);
// `shell` is bash or zsh; anything else fails (usage).
std::string Completion(const Program& program, const std::string& shell);

// A line on stderr about what went well but is worth knowing: "NAME: COMMAND: line N: text".
void Note(const std::string& text);

// To stdout; fails when it cannot be written.
void Print(const std::string& text);
