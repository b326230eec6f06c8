#include "report.h"

#include <algorithm>
#include <cstdio>

#include "failure.h"
#include "program.h"

namespace {

// Characters of a UTF-8 text, which take one column each.
std::size_t ColumnsOf(std::string_view utf8) {
  return static_cast<std::size_t>(std::count_if(utf8.begin(), utf8.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

std::string CsvField(const std::string& text) {
  return text.find_first_of(",\"\r\n") == std::string::npos ? text : CsvText(text);
}

std::string CsvLine(const std::vector<std::string>& fields) {
  std::string line;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (i > 0) line += ',';
    line += CsvField(fields[i]);
  }
  return line + "\r\n";
}

std::vector<std::string> TextsOf(const std::vector<Cell>& row) {
  std::vector<std::string> texts;
  texts.reserve(row.size());
  for (const Cell& cell : row) texts.push_back(cell.text);
  return texts;
}

void PrintCsv(const TextTable& table) {
  static bool headed = false;  // a batch of lines has one header
  std::string csv = headed ? "" : CsvLine(table.columns);
  headed = true;
  for (const std::vector<Cell>& row : table.rows) csv += CsvLine(TextsOf(row));
  Print(csv);
}

std::string JsonObject(const TextTable& table, const std::vector<Cell>& row) {
  std::string json = "{";
  for (std::size_t i = 0; i < row.size(); ++i) {
    json += (i == 0 ? "" : ", ") + JsonText(table.columns[i]) + ": " + row[i].json;
  }
  return json + "}";
}

}  // namespace

Output OutputOf(const Arguments& arguments) {
  if (arguments.Has("json") && arguments.Has("csv")) FailUsage("either --json or --csv");
  if (arguments.Has("json")) return Output::kJson;
  return arguments.Has("csv") ? Output::kCsv : Output::kText;
}

std::string JsonText(std::string_view utf8) {
  std::string json = "\"";
  const auto escape = [&](unsigned unit) {
    char text[sizeof "\\u1234"];
    std::snprintf(text, sizeof text, "\\u%04x", unit);
    json += text;
  };
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const char c = utf8[i];
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(utf8[at]); };
    if (byte(i) == 0xED && i + 2 < utf8.size() && byte(i + 1) >= 0xA0) {
      // A surrogate is a character like any other to a string, but no valid UTF-8.
      escape(0xD000u | (byte(i + 1) & 0x3Fu) << 6 | (byte(i + 2) & 0x3Fu));
      i += 2;
    } else if (byte(i) < 0x20) {
      escape(byte(i));
    } else {
      if (c == '"' || c == '\\') json += '\\';
      json += c;
    }
  }
  return json + "\"";
}

std::string CsvText(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"') quoted += '"';
    quoted += c;
  }
  return quoted + "\"";
}

Cell TextCell(const std::string& text) {
  return {text, JsonText(text)};
}

Cell NumberCell(const std::string& number) {
  return {number, number};
}

Cell NullCell() {
  return {"", "null"};
}

std::string Aligned(const std::vector<std::vector<std::string>>& rows) {
  std::vector<std::size_t> widths;
  for (const std::vector<std::string>& row : rows) {
    widths.resize(std::max(widths.size(), row.size()));
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], ColumnsOf(row[i]));
  }
  std::string table;
  for (const std::vector<std::string>& row : rows) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
      line += row[i];
      line.append(widths[i] - ColumnsOf(row[i]) + 2, ' ');
    }
    table += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
  }
  return table;
}

std::size_t WidthOf(std::string_view text) {
  std::size_t widest = 0;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    widest = std::max(widest, ColumnsOf(text.substr(begin, end - begin)));
    begin = end + 1;
  }
  return widest;
}

std::string Folded(std::string_view line, std::size_t columns, std::string first,
                   std::size_t rest) {
  std::string folded = std::move(first);
  std::size_t width = ColumnsOf(folded);
  bool begins = true;
  while (!line.empty()) {
    const std::string_view word = line.substr(0, line.find(' '));
    line.remove_prefix(std::min(word.size() + 1, line.size()));
    if (!begins && width + 1 + ColumnsOf(word) > columns) {
      folded += "\n" + std::string(rest, ' ');
      width = rest;
      begins = true;
    }
    folded += (begins ? "" : " ") + std::string(word);
    width += (begins ? 0 : 1) + ColumnsOf(word);
    begins = false;
  }
  return folded;
}

void PrintJsonOrCsv(const TextTable& table, Output output) {
  if (output == Output::kCsv) return PrintCsv(table);
  std::string json = "[";
  for (const std::vector<Cell>& row : table.rows) {
    json += (json.size() > 1 ? ",\n " : "") + JsonObject(table, row);
  }
  Print(json + "]\n");
}

void PrintTable(const TextTable& table, Output output) {
  if (output != Output::kText) return PrintJsonOrCsv(table, output);
  std::vector<std::vector<std::string>> rows = {table.columns};
  for (const std::vector<Cell>& row : table.rows) rows.push_back(TextsOf(row));
  Print(Aligned(rows));
}

void PrintCard(const TextTable& table, Output output) {
  const std::vector<Cell>& only = table.rows.front();
  if (output == Output::kJson) return Print(JsonObject(table, only) + "\n");
  if (output == Output::kCsv) return PrintCsv(table);
  std::vector<std::vector<std::string>> rows;
  for (std::size_t i = 0; i < only.size(); ++i) rows.push_back({table.columns[i], only[i].text});
  Print(Aligned(rows));
}
