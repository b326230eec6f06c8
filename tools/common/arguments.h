// A command line after the command's name: operands and options in any order. "--" ends the
// options. Negative numbers are operands.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

struct Option {
  const char* name;
  const char* valueName;  // null for an option without a value
  const char* help;
  char letter = 0;  // "-r" beside "--reverse"; 0: none
};

struct Command;

class Arguments {
 public:
  // Reads `words` as the operands and options that the command takes; `all` are the program's
  // options. Fails (Failure, usage) on any other option, on a missing value and on a number of
  // operands that the command does not take; with --lines there may be fewer.
  Arguments(const std::vector<std::string>& words, const Command& command,
            const std::vector<Option>& all);

  // The same with further operands behind its own, as a line of --lines has them.
  Arguments With(const std::vector<std::string>& operands) const;

  std::size_t Count() const { return operands_.size(); }
  const std::string& operator[](std::size_t index) const { return operands_[index]; }
  // The operands from `first` on.
  std::vector<std::string> From(std::size_t first) const;

  bool Has(const std::string& option) const { return options_.contains(option); }
  // The option's value, empty when it was not given.
  std::string Value(const std::string& option) const;
  // The option's value as a whole number (decimal, or hex after 0x); fails outside [least, most].
  unsigned Number(const std::string& option, unsigned least, unsigned most,
                  unsigned fallback) const;
  // All values of an option that was given more than once, in their order.
  std::vector<std::string> Values(const std::string& option) const;

 private:
  void RequireCount() const;
  void TakeOption(const std::vector<std::string>& words, std::size_t& index);
  const Option* Find(const std::string& word) const;

  const Command& command_;
  const std::vector<Option>& all_;
  std::vector<std::string> operands_;
  std::map<std::string, std::vector<std::string>> options_;
};

// Whether a list of names separated by blanks holds `name`.
bool IsListed(std::string_view list, std::string_view name);
std::vector<std::string> SplitWords(std::string_view list);

inline constexpr std::size_t kAnyNumber = static_cast<std::size_t>(-1);
