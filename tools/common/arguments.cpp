#include "arguments.h"

#include <algorithm>
#include <charconv>

#include "failure.h"
#include "nearest.h"
#include "numbers.h"
#include "program.h"

namespace {

// A "-" before a digit begins a negative number, and -Infinity is one too.
bool LooksLikeOption(const std::string& word) {
  if (word.size() < 2 || word[0] != '-') return false;
  return (word[1] < '0' || word[1] > '9') && word[1] != '.' &&
         !EqualsIgnoringCase(word, "-Infinity");
}

// "TYPE VALUE... [FILE]": the name of the operand at `index`, without dots and brackets.
std::string OperandName(const Command& command, std::size_t index) {
  const std::vector<std::string> names = SplitWords(command.operands);
  if (names.empty()) return "an operand";
  std::string name = names[std::min(index, names.size() - 1)];
  std::erase_if(name, [](char c) { return c == '.' || c == '[' || c == ']'; });
  return name;
}

}  // namespace

bool IsListed(std::string_view list, std::string_view name) {
  for (const std::string& each : SplitWords(list)) {
    if (each == name) return true;
  }
  return false;
}

std::vector<std::string> SplitWords(std::string_view list) {
  std::vector<std::string> words;
  while (!list.empty()) {
    const std::size_t blank = std::min(list.find(' '), list.size());
    words.emplace_back(list.substr(0, blank));
    list.remove_prefix(std::min(blank + 1, list.size()));
  }
  return words;
}

Arguments::Arguments(const std::vector<std::string>& words, const Command& command,
                     const std::vector<Option>& all)
    : command_(command), all_(all) {
  bool optionsEnded = false;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (!optionsEnded && words[i] == "--") {
      optionsEnded = true;
    } else if (!optionsEnded && LooksLikeOption(words[i])) {
      TakeOption(words, i);
    } else {
      operands_.push_back(words[i]);
    }
  }
  RequireCount();
}

void Arguments::RequireCount() const {
  if (operands_.size() < command_.leastOperands && !Has("lines")) {
    FailUsage(OperandName(command_, operands_.size()) + " is missing; it takes " +
              command_.operands);
  }
  if (operands_.size() > command_.mostOperands) {
    FailUsage("one operand too many, " + Quoted(operands_[command_.mostOperands]));
  }
}

Arguments Arguments::With(const std::vector<std::string>& operands) const {
  Arguments all = *this;
  all.operands_.insert(all.operands_.end(), operands.begin(), operands.end());
  all.options_.erase("lines");
  all.RequireCount();
  return all;
}

// The option that a word names, null when the command has none of that name.
const Option* Arguments::Find(const std::string& word) const {
  const bool isLong = word.starts_with("--");
  const std::string name = isLong ? word.substr(2, word.find('=') - 2) : word.substr(1);
  for (const Option& option : all_) {
    if (!IsListed(command_.options, option.name)) continue;
    if (isLong ? name == option.name : name.size() == 1 && name[0] == option.letter) {
      return &option;
    }
  }
  return nullptr;
}

void Arguments::TakeOption(const std::vector<std::string>& words, std::size_t& index) {
  const std::string& word = words[index];
  const Option* option = Find(word);
  if (option == nullptr) {
    const std::size_t name = std::min(word.find_first_not_of('-'), word.size());
    const std::string nearest =
        NearestOf(word.substr(name), SplitWords(std::string(command_.options) + " help"));
    FailUsage("unknown option " + Quoted(word) +
              (nearest.empty() ? "" : ", did you mean --" + nearest + "?") +
              "; put -- before values that begin with -");
  }
  const std::size_t equals = word.starts_with("--") ? word.find('=') : std::string::npos;
  std::vector<std::string>& values = options_[option->name];
  if (option->valueName == nullptr) {
    if (equals != std::string::npos)
      FailUsage(std::string("--") + option->name + " takes no value");
  } else if (equals != std::string::npos) {
    values.push_back(word.substr(equals + 1));
  } else if (index + 1 < words.size()) {
    values.push_back(words[++index]);
  } else {
    FailUsage(std::string("--") + option->name + " takes a value");
  }
}

std::vector<std::string> Arguments::From(std::size_t first) const {
  std::vector<std::string> rest;
  for (std::size_t i = first; i < operands_.size(); ++i) rest.push_back(operands_[i]);
  return rest;
}

std::string Arguments::Value(const std::string& option) const {
  const std::vector<std::string> values = Values(option);
  return values.empty() ? std::string() : values.back();
}

std::vector<std::string> Arguments::Values(const std::string& option) const {
  const auto found = options_.find(option);
  return found == options_.end() ? std::vector<std::string>() : found->second;
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
