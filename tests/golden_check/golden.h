// Golden files: one text file a row, with values and what the library makes of them. A line is
//
//   = 2024 2 29 | E807021D | 07E8021D | 5A1B0C3D
//
// its relation to the line before ("<" after it, "=" equal, "." the first), the value's fields, its
// stored bytes in memory order and reversed, and its hash. Stored bytes and hashes never depend on
// the ABI, so one file serves both. tests/golden/README.md is the page for people.
#pragma once

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "golden_check/value_text.h"
#include "kv.h"
#include "support/run.h"
#include "support/types.h"

namespace golden {

inline constexpr unsigned char kMemoryOrder = 0;
inline constexpr unsigned char kReversed = 2;
using support::kMemory;

struct Line {
  std::string relation;  // ".", "<", "=", or "+" for a value that is new
  std::string value;     // its fields
  std::string stored;    // hex, memory order
  std::string reversed;
  std::string hash;
};

struct File {
  std::string path;
  std::vector<std::string> comments;
  int typeId = -1;
  bool oldCatalogue = false;
  unsigned short operation = 0;  // compare operation that the lines are ordered by
  std::vector<Field> fields;
  std::string fieldsText;
  std::vector<Line> lines;
  Line run;  // of the first `run.value` values

  unsigned RunCount() const { return std::min(3U, static_cast<unsigned>(lines.size())); }
  unsigned Factory() const { return oldCatalogue ? 3 : 5; }
};

inline std::string Trimmed(const std::string& text) {
  const auto first = text.find_first_not_of(' ');
  return first == std::string::npos ? ""
                                    : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// The columns of a line, which no value's text divides: it has \x7C for a "|".
inline std::vector<std::string> Columns(const std::string& line) {
  std::vector<std::string> columns;
  std::istringstream in(line);
  for (std::string column; std::getline(in, column, '|');) columns.push_back(Trimmed(column));
  return columns;
}

inline Line ParseLine(const std::string& relation, const std::string& rest) {
  std::vector<std::string> columns = Columns(rest);
  columns.resize(4);
  return {relation, columns[0], columns[1], columns[2], columns[3]};
}

inline File Parse(const std::string& path) {
  File file;
  file.path = path;
  std::ifstream in(path);
  for (std::string text; std::getline(in, text);) {
    const auto blank = std::min(text.find(' '), text.size());
    const std::string word = text.substr(0, blank);
    const std::string rest = Trimmed(text.substr(blank));
    if (word.starts_with('#')) {
      file.comments.push_back(text);
    } else if (word == "type") {
      file.typeId = std::stoi(rest);
    } else if (word == "catalogue") {
      file.oldCatalogue = rest == "old";
    } else if (word == "operation") {
      file.operation = static_cast<unsigned short>(std::stoi(rest, nullptr, 0));
    } else if (word == "fields") {
      file.fieldsText = rest;
      file.fields = ParseFields(rest);
    } else if (word == "run") {
      file.run = ParseLine("run", rest);
    } else if (word == "." || word == "<" || word == "=" || word == "+") {
      file.lines.push_back(ParseLine(word, rest));
    } else if (!word.empty()) {
      throw std::runtime_error(path + ": what is \"" + word + "\"?");
    }
  }
  if (file.typeId < 0 || file.fields.empty() || file.lines.empty()) {
    throw std::runtime_error(path + ": no golden file");
  }
  return file;
}

inline std::string Padded(std::string text, std::size_t width) {
  text.resize(std::max(text.size(), width), ' ');
  return text;
}

inline void Write(const File& file) {
  // Columns line up as far as the line stays readable.
  constexpr std::size_t kWidest = 44;
  std::size_t valueWidth = 0;
  std::size_t storedWidth = 0;
  for (const Line& line : file.lines) {
    if (line.value.size() <= kWidest) valueWidth = std::max(valueWidth, line.value.size());
    if (line.stored.size() <= kWidest) storedWidth = std::max(storedWidth, line.stored.size());
  }
  std::ofstream out(file.path);
  for (const std::string& comment : file.comments) out << comment << "\n";
  out << "type " << file.typeId << "\n";
  if (file.oldCatalogue) out << "catalogue old\n";
  out << "fields " << file.fieldsText << "\n";
  if (file.operation != 0) out << "operation 0x" << std::hex << file.operation << std::dec << "\n";
  out << "\n";
  for (const Line& line : file.lines) {
    out << line.relation << " " << Padded(line.value, valueWidth) << " | "
        << Padded(line.stored, storedWidth) << " | " << Padded(line.reversed, storedWidth) << " | "
        << line.hash << "\n";
  }
  out << "\nrun " << file.run.value << " | " << file.run.stored << " | " << file.run.reversed
      << " | " << file.run.hash << "\n";
}

// ---------------------------------------------------------------------------------------------

// The values of a file in memory form.
class Values : public support::Run {
 public:
  Values(const KvTypeMgr& types, const File& file)
      : Values(types, file, static_cast<unsigned>(file.lines.size())) {
    for (unsigned i = 0; i < Count(); ++i) {
      FillValue(file.fields, file.lines[i].value, At(i), width_);
    }
  }
  // So many values of the file's type, as the type manager makes them.
  Values(const KvTypeMgr& types, const File& file, unsigned count)
      : Run(types, static_cast<char>(file.typeId), count),
        width_(types.MemLenGet(static_cast<char>(file.typeId), 1)) {}

  unsigned char* At(unsigned index) const {
    return static_cast<unsigned char*>(Run::Values()) + index * width_;
  }

 private:
  unsigned width_;
};

inline std::vector<unsigned char> Stored(const KvTypeMgr& types, const File& file,
                                         const unsigned char* values, unsigned char format,
                                         unsigned count) {
  // Memory that nobody has written: valgrind sees a byte that was left out.
  const std::unique_ptr<unsigned char[]> bytes(new unsigned char[count * 70000 + 16]);
  return {bytes.get(), bytes.get() + types.Store(static_cast<char>(file.typeId), bytes.get(),
                                                 values, format, count)};
}

inline std::string HashText(const KvTypeMgr& types, const File& file, unsigned length,
                            const unsigned char* values, unsigned count, unsigned char format) {
  int status = 0;
  const unsigned hash = types.Hash(static_cast<char>(file.typeId), length,
                                   const_cast<unsigned char*>(values), count, format, status);
  char text[32];
  std::snprintf(text, sizeof text, status == 0 ? "%08X" : "%08X status %d", hash, status);
  return text;
}

}  // namespace golden
