#include "csv_reader.h"

#include <algorithm>
#include <cctype>
#include <new>

#include "failure.h"
#include "report.h"

namespace {

constexpr std::size_t kBuffer = std::size_t{1} << 18;
// A record that is longer has a quote too many.
constexpr std::size_t kLongestRecord = std::size_t{1} << 20;

bool IsEmpty(std::string_view line) {
  return line.find_first_not_of("\r\n") == std::string_view::npos;
}

}  // namespace

CsvReader::CsvReader(const std::string& file, char delimiter, unsigned long long offset,
                     unsigned long long line)
    : file_(file), delimiter_(delimiter), offset_(0), line_(line) {
  StartParser();
  std::string passed(kBuffer, '\0');
  const auto read = [&] {
    const auto left = std::min<unsigned long long>(offset - offset_, passed.size());
    return file_.Read(passed.data(), static_cast<std::size_t>(left));
  };
  while (const std::size_t count = read()) offset_ += count;
}

void CsvReader::StartParser() {
  if (csv_init(&parser_, CSV_STRICT | CSV_STRICT_FINI) != 0) throw std::bad_alloc();
  csv_set_delim(&parser_, static_cast<unsigned char>(delimiter_));
  // Blanks belong to their cell.
  csv_set_space_func(&parser_, [](unsigned char) { return 0; });
  // No text has a byte of zero.
  if (delimiter_ != ',') csv_set_quote(&parser_, 0);
}

CsvReader::~CsvReader() {
  csv_free(&parser_);
}

bool CsvReader::ReadLine(std::string& line) {
  line.clear();
  for (;;) {
    const std::size_t end = buffer_.find('\n', used_);
    if (end != std::string::npos) {
      line.append(buffer_, used_, end + 1 - used_);
      used_ = end + 1;
      return true;
    }
    line.append(buffer_, used_, std::string::npos);
    used_ = 0;
    buffer_.resize(kBuffer);
    buffer_.resize(file_.Read(buffer_.data(), kBuffer));
    if (buffer_.empty()) return !line.empty();
    // Without this a file of one endless line would have to fit into memory.
    if (line.size() > kLongestRecord) return true;
  }
}

bool CsvReader::TakeLine(std::string& line) {
  if (again_.empty()) return ReadLine(line);
  line = std::move(again_.front());
  again_.pop_front();
  return true;
}

void CsvReader::OnCell(void* data, std::size_t size, void* to) {
  const auto* bytes = static_cast<const char*>(data);
  static_cast<CsvReader*>(to)->cells_->emplace_back(bytes == nullptr ? "" : bytes, size);
}

void CsvReader::OnRow(int, void* to) {
  static_cast<CsvReader*>(to)->rowEnded_ = true;
}

bool CsvReader::Parse(std::string_view text) {
  return csv_parse(&parser_, text.data(), text.size(), OnCell, OnRow, this) == text.size();
}

bool CsvReader::Feed(std::string_view line, CsvLine& to) {
  cells_ = &to.cells;
  rowEnded_ = false;
  const std::string_view body = line.substr(0, line.find_last_not_of("\r\n") + 1);
  // The parser takes a carriage return alone as the end of a row, and begins another behind it.
  failed_ = !Parse(body) || rowEnded_;
  if (failed_) return true;
  failed_ = !Parse(line.substr(body.size()));
  if (!failed_ && !rowEnded_ && !line.ends_with('\n')) {  // the file ends without a line end
    failed_ = csv_fini(&parser_, OnCell, OnRow, this) != 0;
  }
  return failed_ || rowEnded_;
}

bool CsvReader::Next(CsvLine& line) {
  line = {};
  std::string text;
  do {
    if (!TakeLine(text)) return false;
    line.line = line_++;
    offset_ += text.size();
  } while (IsEmpty(text));
  if (line.line == 1 && text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);
  const std::string first = text;
  std::vector<std::string> further;
  std::size_t size = text.size();
  bool ended = size <= kLongestRecord && Feed(text, line);
  while (!ended && size <= kLongestRecord && TakeLine(text)) {
    further.push_back(text);
    size += text.size();
    ended = Feed(text, line);
  }
  line.raw = first;
  if (ended && !failed_) {
    for (const std::string& each : further) {
      line.raw += each;
      offset_ += each.size();
      ++line_;
    }
  } else {
    // A parser that met a fault keeps it.
    csv_free(&parser_);
    StartParser();
    line.cells.clear();
    line.fault = size > kLongestRecord  ? "a record of more than 1 MiB"
                 : failed_ && rowEnded_ ? "a carriage return within a line"
                                        : "wrong quoting";
    again_.insert(again_.begin(), further.begin(), further.end());
  }
  line.end = offset_;
  line.next = line_;
  return true;
}

std::string CsvCell(const std::string& text) {
  const bool plain = !text.empty() && text.find_first_of(",\"\r\n") == std::string::npos &&
                     std::isspace(static_cast<unsigned char>(text.front())) == 0 &&
                     std::isspace(static_cast<unsigned char>(text.back())) == 0;
  return plain ? text : CsvText(text);
}
