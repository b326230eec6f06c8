// How a command gives up: by throwing a Failure, which main turns into one line on stderr,
// "kvtm: COMMAND: what, where", and the exit status.
#pragma once

#include <string>
#include <string_view>
#include <utility>

inline constexpr int kExitGood = 0;
inline constexpr int kExitBadValue = 1;  // a value, bytes or a file that cannot be used
inline constexpr int kExitBadUsage = 2;  // the command line itself is wrong

struct Failure {
  int exitStatus;
  std::string what;
};

[[noreturn]] inline void FailValue(std::string what) {
  throw Failure{kExitBadValue, std::move(what)};
}

[[noreturn]] inline void FailUsage(std::string what) {
  throw Failure{kExitBadUsage, std::move(what)};
}

// "1 byte follows", "2 bytes follow": how many of what.
std::string Counted(unsigned long long count, const char* one, const char* many);

// A user's text as it may stand in a message: in quotes, cut to a line's worth, control characters
// as \xNN.
std::string Quoted(std::string_view text);

// Control characters and invalid bytes as \xNN, all else as it is: what comes out of a stranger's
// bytes must not reach the terminal as commands to it.
std::string Printable(std::string_view utf8);
