// Strict reading of numbers: the whole text (blanks around it aside) is one decimal number within
// the range, or it is an error. The scan handlers of the library saturate instead and stop at the
// first character they do not know, which is right for stored formats and wrong for a user's input.
#pragma once

#include <string>
#include <string_view>

enum class NumberFault { kNone, kNotANumber, kOutOfRange };

// A whole number in [least, greatest], as its 64-bit pattern.
NumberFault ReadInteger(std::string_view text, long long least, unsigned long long greatest,
                        unsigned long long& bits);

// A decimal number or, in any letter case, Infinity, -Infinity or NaN. A number beyond the range of
// doubles is out of range; one too small for it is the nearest double.
NumberFault ReadDouble(std::string_view text, double& value);

// The same for floats, which are read as doubles and then narrowed, as the library does.
NumberFault ReadFloat(std::string_view text, float& value);

// The shortest text that reads back to the number, Infinity and NaN included.
std::string ShortestText(float number);

std::string_view TrimBlanks(std::string_view text);

// Equal apart from the case of ASCII letters.
bool EqualsIgnoringCase(std::string_view a, std::string_view b);
