// The commands of kvtm. Each is a row of one table (manual.cpp): what it takes, what it does, and
// what its help says.
#pragma once

#include <string>
#include <vector>

#include "program.h"
#include "values.h"

// manual.cpp
const Program& Kvtm();

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

// Aligns the columns of a table, two blanks apart.
void PrintTable(const std::vector<std::vector<std::string>>& rows);
std::string JsonText(std::string_view utf8);
std::string Hex32(unsigned number);
