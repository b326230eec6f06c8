// TYPE on the command line: a type name, a type id name or a number, found in the catalogue of
// the type manager that the process uses.
#pragma once

#include <string>
#include <string_view>

#include "kv.h"

inline constexpr int kTypeCount = 47;

// The process's type manager.
KvTypeMgr& Types();

std::string TypeName(char id);    // "o_4b"
std::string TypeIdName(char id);  // "Kv4B_T"

// The type that `text` names. Fails (Failure, usage) for an unknown one, with the nearest name.
char FindType(std::string_view text);

// The same, for commands that handle values: the illegal row is refused, as it has none.
char FindValueType(std::string_view text);
