// What goes wrong, as one line for the user. The status is the program's exit status.
#pragma once

#include <stdexcept>
#include <string>

class Failure : public std::runtime_error {
 public:
  static constexpr int kBadInput = 1;  // a value or a file could not be used
  static constexpr int kBadUsage = 2;  // the command line was wrong

  explicit Failure(const std::string& what, int status = kBadInput)
      : std::runtime_error(what), status_(status) {}
  int Status() const { return status_; }

 private:
  int status_;
};
