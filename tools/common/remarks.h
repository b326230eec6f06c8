// What is odd about a stored value that can be read all the same.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "hex.h"

// In words, nothing for an ordinary value. `value` is the value in memory form, `stored` the bytes
// it was read from, which began at offset `place` of the whole; `language` is what a KvString's
// ought to be, where a schema says so.
//
//   no such date or time; would be 2024-02-29 in the other byte order
//   code set 253, language 10
//   old form
//   damaged mark 0xfe at offset 12
std::vector<std::string> RemarksOn(char id, void* value, const Bytes& stored, unsigned char order,
                                   std::optional<unsigned char> language, std::size_t place);
