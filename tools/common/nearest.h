// What a mistyped name most likely meant.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// The names of `names` that are fewest edits away from `text`, whatever the letter case: "a, b or
// c". Empty when none is near enough to be a misspelling.
std::string NearestOf(std::string_view text, const std::vector<std::string>& names);
