// What a command found out, for people, for programs (JSON) or for tables (CSV).
//
// --json writes one value a run, on a line of its own; --csv a header, once, and a line a row. In
// both, what a person sees as columns keeps its names.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "arguments.h"

enum class Output { kText, kJson, kCsv };

// --json and --csv; fails (usage) for both at once.
Output OutputOf(const Arguments& arguments);

// A text in quotes, escaped as JSON has it.
std::string JsonText(std::string_view utf8);

// A text in quotes, as CSV has it.
std::string CsvText(std::string_view text);

// A field of a row: how it reads, and its JSON.
struct Cell {
  std::string text;
  std::string json;
};
Cell TextCell(const std::string& text);
Cell NumberCell(const std::string& number);
Cell NullCell();  // nothing, null

struct TextTable {
  std::vector<std::string> columns;
  std::vector<std::vector<Cell>> rows;
};

// A table as --json (an array of objects), --csv, or aligned columns under their names.
void PrintTable(const TextTable& table, Output output);
// A table's only row: --json an object, --csv; as text one line a column, "name  value".
void PrintCard(const TextTable& table, Output output);
void PrintJsonOrCsv(const TextTable& table, Output output);

// Aligned columns, two blanks apart.
std::string Aligned(const std::vector<std::vector<std::string>>& rows);

// How wide the widest line of a text is.
std::size_t WidthOf(std::string_view text);
// A line broken between words into lines of at most `columns` without an end of line at the end.
// The first begins with `first`, the others with as many blanks as `rest`. A longer word stays
// whole.
std::string Folded(std::string_view line, std::size_t columns, std::string first, std::size_t rest);
