// Records as lines of text: comma or tab separated. Commas go with quotes as RFC 4180 has them; a
// tab-separated cell has neither quotes nor escapes, so it can hold no tab and no line end.
#pragma once

#include <csv.h>

#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "input.h"

struct CsvLine {
  std::vector<std::string> cells;
  std::string fault;            // what is wrong with it; empty: nothing, and there are cells
  std::string raw;              // as it stands in the file, with its end
  unsigned long long line = 0;  // number of its first line, from 1
  unsigned long long next = 0;  // number of the line behind it
  unsigned long long end = 0;   // offset in the file behind it
};

class CsvReader {
 public:
  // Begins at an offset in the file, which is where line number `line` begins.
  CsvReader(const std::string& file, char delimiter, unsigned long long offset,
            unsigned long long line);
  ~CsvReader();
  CsvReader(const CsvReader&) = delete;
  CsvReader& operator=(const CsvReader&) = delete;

  // False at the end of the file. Empty lines are passed over. After a fault it goes on with the
  // next line, so that a quote that nobody closes costs one line.
  bool Next(CsvLine& line);

  unsigned long long FileSize() const { return file_.Size(); }

 private:
  bool TakeLine(std::string& line);
  bool ReadLine(std::string& line);
  bool Parse(std::string_view text);
  // Feeds a line; true when it ends a record or fails.
  bool Feed(std::string_view line, CsvLine& to);
  void StartParser();
  static void OnCell(void* data, std::size_t size, void* to);
  static void OnRow(int last, void* to);

  InputFile file_;
  char delimiter_;
  csv_parser parser_;
  std::vector<std::string>* cells_ = nullptr;
  bool rowEnded_ = false;
  bool failed_ = false;
  std::deque<std::string> again_;  // lines that a fault gave back
  std::string buffer_;
  std::size_t used_ = 0;
  unsigned long long offset_;
  unsigned long long line_;
};

// A cell as it must stand in a comma-separated line.
std::string CsvCell(const std::string& text);
