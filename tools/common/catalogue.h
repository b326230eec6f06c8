// TYPE on the command line: a type name, a type id name or a number, found in the catalogue of
// the type manager that the process uses.
#pragma once

#include <string>
#include <string_view>

#include "kv.h"

// The process's type manager.
KvTypeMgr& Types();

// Ids 0 to TypeCount() - 1 are the rows of the catalogue.
char TypeCount();
// False for the illegal row, which has no values.
bool HasValues(char id);

std::string TypeName(char id);    // "o_4b"
std::string TypeIdName(char id);  // "Kv4B_T"

// The type that `text` names. Fails (Failure, usage) for an unknown one, with the names it
// may have meant.
char FindType(std::string_view text);

// The same, for commands that handle values: the illegal row is refused, as it has none.
char FindValueType(std::string_view text);
