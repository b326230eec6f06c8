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
};

// Every option there is; a command names those it takes.
const std::vector<Option>& AllOptions();

class Arguments {
 public:
  // `options` are the names that the command takes, separated by blanks. Fails (Failure, usage) on
  // any other option, on a missing value and on a number of operands outside [least, most].
  Arguments(const std::vector<std::string>& words, std::string_view options, std::size_t least,
            std::size_t most);

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

 private:
  void TakeOption(const std::vector<std::string>& words, std::size_t& index,
                  std::string_view options);

  std::vector<std::string> operands_;
  std::map<std::string, std::string> options_;
};

inline constexpr std::size_t kAnyNumber = static_cast<std::size_t>(-1);
