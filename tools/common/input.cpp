#include "input.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "failure.h"

namespace {

constexpr int kWidestBar = 40;
constexpr int kNarrowestBar = 6;
constexpr int kUsualColumns = 80;
constexpr unsigned kStepsDrawn = 200;

[[noreturn]] void FailFile(const std::string& name, const char* doing) {
  FailValue(std::string("cannot ") + doing + " " +
            (name == "-" ? "the standard input" : Printable(name)) + ": " + std::strerror(errno));
}

}  // namespace

int TerminalColumns(int descriptor) {
  struct winsize size {};
  if (ioctl(descriptor, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return kUsualColumns;
  return size.ws_col;
}

InputFile::InputFile(const std::string& name)
    : name_(name), descriptor_(name == "-" ? STDIN_FILENO : open(name.c_str(), O_RDONLY)) {
  if (descriptor_ < 0) FailFile(name_, "open");
  struct stat status {};
  if (fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode)) {
    size_ = static_cast<unsigned long long>(status.st_size);
  }
}

InputFile::~InputFile() {
  if (descriptor_ > STDIN_FILENO) close(descriptor_);
}

std::size_t InputFile::Read(char* buffer, std::size_t size) {
  for (;;) {
    const ssize_t count = read(descriptor_, buffer, size);
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno != EINTR) FailFile(name_, "read");
  }
}

std::string ReadWhole(const std::string& name) {
  InputFile file(name);
  std::string text;
  text.reserve(static_cast<std::size_t>(file.Size()) + 1);
  std::string piece(1 << 18, '\0');
  while (const std::size_t count = file.Read(piece.data(), piece.size())) {
    text.append(piece, 0, count);
  }
  return text;
}

std::string ReadText(const std::string& name) {
  std::string text = ReadWhole(name);
  if (text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);
  return text;
}

Progress::Progress(const char* command)
    : command_(command), onTerminal_(isatty(STDERR_FILENO) != 0) {}

Progress::~Progress() {
  Clear();
}

void Progress::Clear() {
  if (drawn_) std::fputs("\r\x1b[K", stderr);
  drawn_ = false;
}

void Progress::Begin(const char* what, unsigned long long total, unsigned long long leastShown) {
  what_ = what;
  total_ = total;
  done_ = 0;
  next_ = onTerminal_ && total >= leastShown ? 1 : ~0ULL;
}

void Progress::Draw() {
  next_ = done_ + total_ / kStepsDrawn + 1;
  const unsigned long long share = total_ == 0 || done_ > total_ ? 100 : 100 * done_ / total_;
  // The line's other parts, and a column that is left free: a full line would wrap.
  const auto others = static_cast<int>(std::strlen(command_)) + 24;
  const int columns = TerminalColumns(STDERR_FILENO);
  const int width = std::min(kWidestBar, columns - others);
  if (width < kNarrowestBar) {
    std::fprintf(stderr, "\r%.*s %3llu%%", std::max(columns - 6, 0), what_, share);
  } else {
    const int filled = static_cast<int>(share) * width / 100;
    std::fprintf(stderr, "\rkvtm: %s: %-8s [%s%*s] %3llu%%", command_, what_,
                 std::string(static_cast<std::size_t>(filled), '#').c_str(), width - filled, "",
                 share);
  }
  std::fflush(stderr);
  drawn_ = true;
}
