// Arbitrary bytes as a file of records: byte 0 says commas (even) or tabs, the rest is the file.
// What the reader takes are parts of the file in order; cells written again are read as the same
// cells; and a reader that begins behind a record finds what the first one found there.
#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "csv_reader.h"
#include "failure.h"
#include "require.h"

namespace {

// A file without a place on the disk.
class MemoryFile {
 public:
  explicit MemoryFile(std::string_view bytes) : descriptor_(memfd_create("csv", 0)) {
    Require(descriptor_ >= 0);
    Require(write(descriptor_, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()));
  }
  ~MemoryFile() { close(descriptor_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  std::string Name() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

 private:
  int descriptor_;
};

std::vector<CsvLine> ReadAll(const std::string& file, char delimiter, unsigned long long offset = 0,
                             unsigned long long line = 1) {
  CsvReader reader(file, delimiter, offset, line);
  std::vector<CsvLine> lines;
  CsvLine next;
  while (reader.Next(next)) lines.push_back(next);
  return lines;
}

void RequirePartsInOrder(const std::vector<CsvLine>& lines, std::string_view bytes) {
  unsigned long long end = 0;
  unsigned long long number = 0;
  for (const CsvLine& line : lines) {
    Require(line.end <= bytes.size() && line.end >= end + line.raw.size());
    // The first line may begin with a byte order mark, which belongs to no cell.
    Require(bytes.substr(line.end - line.raw.size(), line.raw.size()) == line.raw);
    Require(line.line > number);
    Require(line.cells.empty() == !line.fault.empty());
    end = line.end;
    number = line.line;
  }
}

void RequireSameAgain(const std::vector<CsvLine>& lines) {
  for (const CsvLine& line : lines) {
    if (!line.fault.empty()) continue;
    std::string text;
    for (const std::string& cell : line.cells) text += (text.empty() ? "" : ",") + CsvCell(cell);
    const MemoryFile file(text + "\n");
    const std::vector<CsvLine> again = ReadAll(file.Name(), ',', 0, 2);
    Require(again.size() == 1 && again[0].fault.empty() && again[0].cells == line.cells);
  }
}

void RequireSameBehind(const std::vector<CsvLine>& lines, std::size_t after,
                       const std::string& file, char delimiter) {
  const unsigned long long next = after + 1 < lines.size() ? lines[after + 1].line : 0;
  const std::vector<CsvLine> rest = ReadAll(file, delimiter, lines[after].end, next);
  Require(rest.size() == lines.size() - after - 1);
  for (std::size_t i = 0; i < rest.size(); ++i) {
    const CsvLine& expected = lines[after + 1 + i];
    Require(rest[i].cells == expected.cells && rest[i].fault == expected.fault);
    Require(rest[i].raw == expected.raw && rest[i].end == expected.end);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  if (size == 0) return 0;
  const char delimiter = data[0] % 2 == 0 ? ',' : '\t';
  const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  const MemoryFile file(bytes);
  const std::vector<CsvLine> lines = ReadAll(file.Name(), delimiter);
  RequirePartsInOrder(lines, bytes);
  RequireSameAgain(lines);
  if (!lines.empty()) RequireSameBehind(lines, lines.size() / 2, file.Name(), delimiter);
  return 0;
}
