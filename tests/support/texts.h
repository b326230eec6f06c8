// Printing and scanning through the type manager.
#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "kvstring.h"
#include "kvtypemgr.h"
#include "support/types.h"

using support::Types;

// The parts of a list with a bar behind each.
inline std::vector<std::string> Parts(const char* list) {
  std::istringstream in(list);
  std::vector<std::string> parts;
  for (std::string part; std::getline(in, part, '|');) parts.push_back(part);
  return parts;
}

template <class Value>
std::string Print(char type, Value value, const char* format = nullptr) {
  KvString out("what was there");
  Types().PrintToKvString(type, out, &value, format, 1);
  return out.StrGet();
}

// The value that `text` leaves in a destination that held `before`.
template <class Value>
Value Scan(char type, const char* text, Value before, const char* format = nullptr) {
  KvString input(text);
  Value value = before;
  CHECK(Types().ScanFromKvString(type, &value, input, format, 1) == &value);
  return value;
}
