// Whole numbers on a command line and in schemas, read strictly: the whole text, blanks around it
// aside, is one decimal number within the range. Numbers that are values are read by their rows
// (values.h).
#pragma once

#include <string>
#include <string_view>

enum class NumberFault { kNone, kNotANumber, kOutOfRange };

// A whole number in [least, greatest], `least` being no more than 0, as its 64-bit pattern.
NumberFault ReadInteger(std::string_view text, long long least, unsigned long long greatest,
                        unsigned long long& bits);

// The shortest text that reads back to the number, Infinity and NaN included.
std::string ShortestText(float number);

std::string_view TrimBlanks(std::string_view text);

char LowerAscii(char c);

// Equal apart from the case of ASCII letters.
bool EqualsIgnoringCase(std::string_view a, std::string_view b);
