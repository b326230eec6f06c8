// The words of a command line that is not as its synopsis, and names that were mistyped.
#include <doctest/doctest.h>

#include <string>
#include <vector>

#include "nearest.h"
#include "program.h"
#include "said.h"

TEST_CASE("an operand that is missing is named as the synopsis names it") {
  const std::vector<Option> options = {{"lines", "FILE", ""}};
  const auto missing = [&](const char* operands, const std::vector<std::string>& words) {
    const Command command{"run", operands, "", "", "lines", 3, 4, nullptr};
    return Said([&] { return Arguments(words, command, options)[2]; });
  };
  CHECK(missing("", {}) == "2: an operand is missing; it takes ");
  CHECK(missing("A [B...]", {"a", "b"}) == "2: B is missing; it takes A [B...]");
  CHECK(missing("A B|C D", {"a"}) == "2: B|C is missing; it takes A B|C D");
  CHECK(missing("A", {"a", "b", "c", "d"}) == "c");
  CHECK(missing("A", {"a", "b", "c", "d", "e"}) == "2: one operand too many, 'e'");
  const Command command{"run", "A", "", "", "lines", 3, 4, nullptr};
  const Arguments lines({"--lines", "f", "a"}, command, options);
  CHECK((lines.With({"b", "c"}).Has("lines") < lines.Has("lines")));
  CHECK(lines.With({"b", "c"}).From(1) == std::vector<std::string>{"b", "c"});
  CHECK(Said([&] { return lines.With({"b"})[0]; }) == "2: A is missing; it takes A");
}

TEST_CASE("the nearest names are those of the fewest edits") {
  const std::string a39(39, 'a');
  for (const auto& [text, names, nearest] :
       std::vector<std::tuple<std::string, std::vector<std::string>, std::string>>{
           {"abcdef", {"abcxyz", "abwxyzf", "wxydef"}, "abcxyz or wxydef"},
           {"ABYZ", {"abyz", "abyy"}, "abyz"},
           {"abcdef", {"uvwxef", "ABCDE", "abcdeg", "zzzzzz"}, "ABCDE or abcdeg"},
           {"ABCDEF",
            {"abcef", "bcdef", "xabcdef", "abcdefg", "acdef"},
            "abcef, bcdef, xabcdef or abcdefg"},
           {"ab", {"xb", "a", "ax"}, "xb, a or ax"},
           {"abc", {"axx"}, ""},
           {"a", {"b", "A"}, "A"},
           {"", {"b"}, ""},
           {a39 + "aaaaaa", {a39, a39 + "a", a39 + "aa"}, a39 + "a"},
       }) {
    CHECK(NearestOf(text, names) == nearest);
  }
}
