// The commands of kvtm. Each is a row of one table (commands.cpp): what it takes, what it does, and
// what its help says.
#pragma once

#include <string>
#include <vector>

#include "arguments.h"
#include "values.h"

struct Command {
  const char* name;
  const char* operands;  // as the synopsis shows them
  const char* summary;   // one line
  const char* help;      // what `kvtm help NAME` says below the synopsis, examples included
  const char* options;   // names of the options it takes
  std::size_t leastOperands;
  std::size_t mostOperands;
  int (*run)(const Arguments& arguments);  // the exit status; fails by throwing a Failure
};

const std::vector<Command>& AllCommands();

// Null when there is no such command.
const Command* FindCommand(const std::string& name);

// commands_catalogue.cpp
int RunTypes(const Arguments& arguments);
int RunDescribe(const Arguments& arguments);
std::string ModuleVersion();
// commands_stored.cpp
int RunStore(const Arguments& arguments);
int RunLoad(const Arguments& arguments);
int RunTranslate(const Arguments& arguments);
// commands_values.cpp
int RunCompare(const Arguments& arguments);
int RunHash(const Arguments& arguments);
int RunBounds(const Arguments& arguments);
int RunStep(const Arguments& arguments);
int RunOrder(const Arguments& arguments);
// commands_sort.cpp, commands_convert.cpp
int RunSort(const Arguments& arguments);
int RunConvert(const Arguments& arguments);

// --- What several commands share ---

// --format, --codeset, --language.
ValueStyle StyleOf(const Arguments& arguments);
// --order: the byte order of stored bytes, a format byte without the memory bit.
unsigned char OrderOf(const Arguments& arguments);
// --op
unsigned short CompareOperationOf(const Arguments& arguments);

void Print(const std::string& text);
// Aligns the columns of a table, two blanks apart.
void PrintTable(const std::vector<std::vector<std::string>>& rows);
std::string JsonText(std::string_view utf8);
std::string Hex32(unsigned number);
