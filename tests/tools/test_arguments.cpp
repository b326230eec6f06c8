// The words of a command line: operands, options, and what is wrong, in one line.
#include <doctest/doctest.h>

#include <string>
#include <vector>

#include "nearest.h"
#include "program.h"
#include "said.h"

namespace {

const std::vector<Option> kOptions = {{"json", nullptr, ""},
                                      {"order", "ORDER", "", 'o'},
                                      {"lines", "FILE", ""},
                                      {"reverse", nullptr, "", 'r'},
                                      {"other", nullptr, ""}};
const Command kCommand{"run", "TYPE [VALUE...]", "", "", "json order lines reverse", 2, 8, nullptr};

std::string TextOf(const Arguments& arguments) {
  std::string text;
  for (const std::string& operand : arguments.From(0)) text += operand + "|";
  for (const Option& option : kOptions) {
    if (arguments.Has(option.name)) text += std::string("--") + option.name;
    for (const std::string& value : arguments.Values(option.name)) text += "=" + value;
  }
  return text;
}

}  // namespace

TEST_CASE("words are operands and options, or the line tells which is wrong") {
  const std::string hint = "; put -- before values that begin with -";
  const std::pair<const char*, std::string> cases[] = {
      {"a -0 -9.5 -.5 -infinity - --json b", "a|-0|-9.5|-.5|-infinity|-|b|--json"},
      {" -o 1 --order=2  a --order 3=4 -r b ", "a|b|--order=1=2=3=4--reverse"},
      {"--order= a --json -- -r -- --json", "a|-r|--|--json|--json--order="},
      {"--lines f", "--lines=f"},
      {"-r", "2: TYPE is missing; it takes TYPE [VALUE...]"},
      {"a", "2: VALUE is missing; it takes TYPE [VALUE...]"},
      {"a b c d e f g h", "a|b|c|d|e|f|g|h|"},
      {"a b c d e f g h i", "2: one operand too many, 'i'"},
      {"a --other", "2: unknown option '--other', did you mean --order?" + hint},
      {"a ---hlp", "2: unknown option '---hlp', did you mean --help?" + hint},
      {"a -j", "2: unknown option '-j'" + hint},
      {"a -or", "2: unknown option '-or'" + hint},
      {"a --", "2: VALUE is missing; it takes TYPE [VALUE...]"},
      {"a --order", "2: --order takes a value"},
      {"a --json=", "2: --json takes no value"},
  };
  for (const auto& each : cases) {
    CHECK(Said([&] {
            return TextOf({SplitWords(each.first), kCommand, kOptions});
          }) == each.second);
  }
  const Arguments lines(SplitWords("--lines f -r a"), kCommand, kOptions);
  CHECK(TextOf(lines.With({"b", "c"})) == "a|b|c|--reverse");
  CHECK(Said([&] { return TextOf(lines.With({})); }).starts_with("2: VALUE is missing"));
  const Command nameless{"run", "", "", "", "", 3, 3, nullptr};
  CHECK(Said([&] {
          return TextOf({{}, nameless, kOptions});
        }) == "2: an operand is missing; it takes ");
  const Command longer{"run", "A B...", "", "", "", 4, 4, nullptr};
  CHECK(Said([&] { return TextOf({{"a", "b", "c"}, longer, kOptions}); }).starts_with("2: B is m"));
}

TEST_CASE("numbers of options end where they are told to") {
  for (const auto& [text, expected] :
       std::vector<std::pair<std::string, unsigned>>{{"3", 3},
                                                     {"0x10", 16},
                                                     {"0X0c", 12},
                                                     {"16", 16},
                                                     {"2", 0},
                                                     {"17", 0},
                                                     {"0x11", 0},
                                                     {"0x", 0},
                                                     {"", 0},
                                                     {"5x", 0},
                                                     {"x5", 0},
                                                     {"4294967299", 0}}) {
    const Arguments given({"a", "b", "--order=1", "--order=" + text}, kCommand, kOptions);
    CHECK(Said([&] { return std::to_string(given.Number("order", 3, 16, 9)); }) ==
          (expected != 0 ? std::to_string(expected)
                         : "2: --order '" + text + "' is no number from 3 to 16"));
    CHECK(given.Number("lines", 3, 16, 99) == 99);
  }
}

TEST_CASE("the nearest names are those of the fewest edits") {
  const std::string a39(39, 'a');
  for (const auto& [text, names, nearest] :
       std::vector<std::tuple<std::string, std::vector<std::string>, std::string>>{
           {"abcdef", {"abcxyz", "abwxyzf", "wxydef"}, "abcxyz or wxydef"},
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
