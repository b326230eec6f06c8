#include "arguments.h"

#include <charconv>

#include "failure.h"
#include "numbers.h"

const std::vector<Option>& AllOptions() {
  static const std::vector<Option> options = {
      {"order", "N",
       "byte order of the stored bytes: 2 reversed (most significant byte\n"
       "first), 0 or 1 memory order (the default)"},
      {"from", "F", "the form that is given"},
      {"to", "F", "the form that is wanted"},
      {"count", "N", "how many values the bytes hold (default: as many as there are)"},
      {"op", "N",
       "compare operation, bits added up: 0x10 no wildcards, 0x20 ignore\n"
       "case, 0x40 ignore accents, 0x80 skip spaces, 0x100 key order,\n"
       "0x200 ignore the extension level"},
      {"lines", "FILE", "read each line of FILE as a run of its own; - is the standard input"},
      {"format", "F", "print and read values in this format of the type, not in kvtm's"},
      {"codeset", "CS",
       "code set of string values, by number or name (default: 1, ISO 8859-1,\n"
       "where it holds the text, else 253, 16-bit Unicode)"},
      {"language", "L", "language of string values, by number or English name (default: 1)"},
      {"json", nullptr, "write JSON, for programs to read"},
      {"help", nullptr, "show the help of the command"},
  };
  return options;
}

namespace {

bool IsListed(std::string_view list, std::string_view name) {
  while (!list.empty()) {
    const std::size_t blank = list.find(' ');
    if (list.substr(0, blank) == name) return true;
    list.remove_prefix(blank == std::string_view::npos ? list.size() : blank + 1);
  }
  return false;
}

const Option* FindOption(std::string_view name, std::string_view listed) {
  if (!IsListed(listed, name)) return nullptr;
  for (const Option& option : AllOptions()) {
    if (name == option.name) return &option;
  }
  return nullptr;
}

// A "-" before a digit begins a negative number, and -Infinity is one too.
bool LooksLikeOption(const std::string& word) {
  if (word.size() < 2 || word[0] != '-') return false;
  return (word[1] < '0' || word[1] > '9') && word[1] != '.' &&
         !EqualsIgnoringCase(word, "-Infinity");
}

}  // namespace

Arguments::Arguments(const std::vector<std::string>& words, std::string_view options,
                     std::size_t least, std::size_t most) {
  bool optionsEnded = false;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (!optionsEnded && words[i] == "--") {
      optionsEnded = true;
    } else if (!optionsEnded && LooksLikeOption(words[i])) {
      TakeOption(words, i, options);
    } else {
      operands_.push_back(words[i]);
    }
  }
  if (operands_.size() < least) FailUsage("an operand is missing");
  if (operands_.size() > most) FailUsage("one operand too many, " + Quoted(operands_[most]));
}

void Arguments::TakeOption(const std::vector<std::string>& words, std::size_t& index,
                           std::string_view options) {
  const std::string& word = words[index];
  const std::size_t equals = word.find('=');
  const std::string name = word.starts_with("--") ? word.substr(2, equals - 2) : std::string();
  const Option* option = FindOption(name, options);
  if (option == nullptr) {
    FailUsage("unknown option " + Quoted(word) + "; put -- before values that begin with -");
  }
  if (option->valueName == nullptr) {
    if (equals != std::string::npos) FailUsage("--" + name + " takes no value");
    options_[name] = "";
  } else if (equals != std::string::npos) {
    options_[name] = word.substr(equals + 1);
  } else if (index + 1 < words.size()) {
    options_[name] = words[++index];
  } else {
    FailUsage("--" + name + " takes a value");
  }
}

std::vector<std::string> Arguments::From(std::size_t first) const {
  std::vector<std::string> rest;
  for (std::size_t i = first; i < operands_.size(); ++i) rest.push_back(operands_[i]);
  return rest;
}

std::string Arguments::Value(const std::string& option) const {
  const auto found = options_.find(option);
  return found == options_.end() ? std::string() : found->second;
}

unsigned Arguments::Number(const std::string& option, unsigned least, unsigned most,
                           unsigned fallback) const {
  if (!Has(option)) return fallback;
  const std::string text = Value(option);
  const bool hex = text.starts_with("0x") || text.starts_with("0X");
  const char* const begin = text.data() + (hex ? 2 : 0);
  const char* const end = text.data() + text.size();
  unsigned number = 0;
  const auto [stop, error] = std::from_chars(begin, end, number, hex ? 16 : 10);
  if (stop != end || error != std::errc() || number < least || number > most) {
    FailUsage("--" + option + " " + Quoted(text) + " is no number from " + std::to_string(least) +
              " to " + std::to_string(most));
  }
  return number;
}
