// The commands of kvtm. Each is a row of one table (manual.cpp): what it takes, what it does, and
// what its help says.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "hex.h"
#include "program.h"
#include "report.h"
#include "values.h"

// manual.cpp
const Program& Kvtm();

// commands_catalogue.cpp
int RunTypes(const Arguments& arguments);
int RunDescribe(const Arguments& arguments);
std::string ModuleVersion();
void PrintTypeCard(char id, Output output);
// commands_stored.cpp
int RunStore(const Arguments& arguments);
int RunLoad(const Arguments& arguments);
int RunTranslate(const Arguments& arguments);
// commands_values.cpp
int RunCompare(const Arguments& arguments);
int RunHash(const Arguments& arguments);
int RunBounds(const Arguments& arguments);
int RunStep(const Arguments& arguments);
// commands_diff.cpp, commands_record.cpp
int RunDiff(const Arguments& arguments);
int RunRecord(const Arguments& arguments);
int RunOrder(const Arguments& arguments);
// commands_keys.cpp
int RunKey(const Arguments& arguments);
int RunUnkey(const Arguments& arguments);
// commands_sort.cpp, commands_convert.cpp
int RunSort(const Arguments& arguments);
int RunConvert(const Arguments& arguments);

// --- What several commands share ---

// --format, --codeset, --language, --number.
ValueStyle StyleOf(const Arguments& arguments);
// --order: the byte order of stored bytes, a format byte without the memory bit.
unsigned char OrderOf(const Arguments& arguments);
// --op
unsigned short CompareOperationOf(const Arguments& arguments);

// The bytes of an operand; "-" reads them from the standard input.
Bytes BytesOfOperand(const std::string& operand);

// --stored: operands are stored bytes in the order of --order, not texts.
bool AreStored(const Arguments& arguments);

// The values that the operands from `first` on name, as texts or, with --stored, as bytes of one
// value each.
std::unique_ptr<ValueRun> ValuesOf(const Arguments& arguments, char id, std::size_t first);

std::string Hex32(unsigned number);
