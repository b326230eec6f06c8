// Files that are read, and the line that tells how far long work is.
#include <doctest/doctest.h>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "input.h"
#include "said.h"

namespace {

// What `work` writes to a terminal of so many columns.
template <class Work>
std::string OnTerminal(unsigned columns, Work work) {
  const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
  REQUIRE((grantpt(terminal) == 0 && unlockpt(terminal) == 0));
  const int shown = open(ptsname(terminal), O_RDWR | O_NOCTTY);
  const winsize size{24, static_cast<unsigned short>(columns), 0, 0};
  REQUIRE(ioctl(shown, TIOCSWINSZ, &size) == 0);
  const int before = dup(STDERR_FILENO);
  dup2(shown, STDERR_FILENO);
  work();
  dup2(before, STDERR_FILENO);
  CHECK(TerminalColumns(shown) == static_cast<int>(columns == 0 ? 80 : columns));
  CHECK(write(shown, ".", 1) == 1);
  std::string text;
  for (char c = 0; read(terminal, &c, 1) == 1 && c != '.';) text += c;
  for (const int each : {terminal, shown, before}) close(each);
  return text;
}

// The line at one of ten, and at more than all.
std::string Drawn(unsigned columns) {
  return OnTerminal(columns, [] {
    Progress progress("sort");
    progress.Begin("reading", 10, 10);
    progress.Advance(1);
    progress.Advance(10);
  });
}

}  // namespace

TEST_CASE("progress fits the terminal, ends at 100 % and goes away") {
  const std::string gone = "\r\x1b[K";
  for (const unsigned columns : {34U, 60U, 68U, 69U, 200U}) {
    const unsigned width = std::min(columns - 28, 40U), filled = width / 10;
    CHECK(Drawn(columns) ==
          "\rkvtm: sort: reading  [" + std::string(filled, '#') + std::string(width - filled, ' ') +
              "]  10%\rkvtm: sort: reading  [" + std::string(width, '#') + "] 100%" + gone);
  }
  CHECK(Drawn(33) == "\rreading  10%\rreading 100%" + gone);
  CHECK(Drawn(12) == "\rreadin  10%\rreadin 100%" + gone);
  CHECK(Drawn(0) == Drawn(80));
  CHECK(Drawn(5) == "\r  10%\r 100%" + gone);
  const std::pair<unsigned, unsigned> cases[] = {{0, 1},     {1, 1},     {199, 199},
                                                 {200, 100}, {399, 200}, {400, 134}};
  for (const auto& [total, lines] : cases) {
    const std::string text = OnTerminal(12, [total = total] {
      Progress progress("sort");
      progress.Begin("hidden", 9, 10);
      progress.Advance(9);
      progress.Begin("", total, 0);
      for (unsigned i = 0; i < std::max(total, 1U); ++i) progress.Advance(1);
      progress.Clear();
    });
    CHECK(std::count(text.begin(), text.end(), '%') == lines);
    CHECK(text.ends_with(gone));
    CHECK(text.find("hidden") == std::string::npos);
  }
}

TEST_CASE("a file is read whole, with or without its mark, and is closed") {
  const std::string name =
      std::filesystem::temp_directory_path() / ("kv_test_input" + std::to_string(getpid()));
  std::string content = "\xEF\xBB\xBF";
  for (int i = 0; i < 100000; ++i) content += std::to_string(i);
  std::ofstream(name, std::ios::binary) << content;
  const int next = dup(0);
  close(next);
  CHECK(ReadWhole(name) == content);
  CHECK(ReadText(name) == content.substr(3));
  CHECK(InputFile(name).Size() == content.size());
  CHECK(InputFile("/dev/null").Size() == 0);
  { const InputFile standard("-"); }
  CHECK(dup(0) == next);
  close(next);
  std::filesystem::remove(name);
  CHECK(Said([&] { return ReadWhole(name); }) ==
        "1: cannot open " + name + ": No such file or directory");
  CHECK(Said([&] { return ReadWhole("/"); }) == "1: cannot read /: Is a directory");
}
