// Reading files, "-" or nothing meaning the standard input, and progress on the terminal.
#pragma once

#include <string>
#include <string_view>

// A file read in pieces. Fails (Failure) when it cannot be opened or read.
class InputFile {
 public:
  explicit InputFile(const std::string& name);
  ~InputFile();
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  // Reads up to `size` bytes; 0 at the end.
  std::size_t Read(char* buffer, std::size_t size);
  // The file's size, 0 when it is not known (a pipe).
  unsigned long long Size() const { return size_; }

 private:
  std::string name_;
  int descriptor_;
  unsigned long long size_ = 0;
};

std::string ReadWhole(const std::string& name);
// The same without the byte order mark that a UTF-8 file may begin with.
std::string ReadText(const std::string& name);

// How wide the terminal at this descriptor is; 80 where it does not say.
int TerminalColumns(int descriptor);

// A line on stderr that says how far long work is, drawn only when stderr is a terminal and the
// work is long enough to wait for. It fits the terminal, whatever its width.
class Progress {
 public:
  explicit Progress(const char* command);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // `total` units of work, named `what`, begin. Under `leastShown` units nothing is drawn.
  void Begin(const char* what, unsigned long long total, unsigned long long leastShown);
  // Takes the line off the terminal, for other output.
  void Clear();
  void Advance(unsigned long long units) {
    done_ += units;
    if (done_ >= next_) Draw();
  }

 private:
  void Draw();

  const char* command_;
  const char* what_ = "";
  bool onTerminal_;
  bool drawn_ = false;
  unsigned long long total_ = 0;
  unsigned long long done_ = 0;
  unsigned long long next_ = ~0ULL;  // when to draw again
};
