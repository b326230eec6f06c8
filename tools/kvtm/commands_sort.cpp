// kvtm sort: lines in the order of a type.
//
// The input is read whole. Pieces of it are read line by line at once, each by a thread of its own:
// a line's value lives until its sort key is made, and the keys, which compare as bytes, are kept
// with the place of their lines. They are sorted, and the lines go out as they came in. Values and
// operations that have no keys are sorted with the row's compare function, by one thread.
#include <algorithm>
#include <atomic>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <optional>
#include <utility>

#include "catalogue.h"
#include "commands.h"
#include "failure.h"
#include "input.h"
#include "key_order.h"
#include "parallel.h"

namespace {

constexpr unsigned char kMemoryForm = 8;
constexpr std::size_t kPiece = std::size_t{1} << 16;
constexpr unsigned long long kBytesWorthProgress = 1 << 17;
constexpr unsigned long long kLinesWorthProgress = 200000;
constexpr unsigned kProgressEvery = 4096;
// Lines in order lie anywhere; those so many places ahead are fetched meanwhile.
constexpr std::size_t kAhead = 16;
constexpr std::size_t kOutput = std::size_t{1} << 18;

// Takes the line at the front off a text.
std::string_view TakeLine(std::string_view& text) {
  const std::size_t end = std::min(text.find('\n'), text.size());
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return line;
}

// Parts of a text, of whole lines each.
std::vector<std::string_view> PiecesOf(std::string_view text) {
  std::vector<std::string_view> pieces;
  while (!text.empty()) {
    std::string_view rest = text.substr(std::min(kPiece, text.size()));
    TakeLine(rest);
    pieces.push_back(text.substr(0, text.size() - rest.size()));
    text = rest;
  }
  return pieces;
}

std::size_t CountLines(std::string_view text) {
  const auto ends = std::count(text.begin(), text.end(), '\n');
  return static_cast<std::size_t>(ends) + (text.empty() || text.back() == '\n' ? 0 : 1);
}

// ---------------------------------------------------------------------------------------------
// -k: which part of a line is its value

class Column {
 public:
  // The whole line.
  Column() = default;
  Column(char separator, std::size_t index) : separator_(separator), index_(index) {}

  bool IsWholeLine() const { return separator_ == '\0'; }

  // Of a line of fields. Fails (Failure) when it has too few.
  std::string Of(std::string_view line) const {
    if (line.ends_with('\r')) line.remove_suffix(1);
    std::size_t fields = 0;
    for (;; ++fields) {
      std::string field = TakeField(line);
      if (fields == index_) return field;
      if (line.empty()) break;
      line.remove_prefix(1);
    }
    FailValue("there is no column " + std::to_string(index_ + 1) + " among " +
              std::to_string(fields + 1));
  }

  // All fields of a line.
  static std::vector<std::string> All(std::string_view line, char separator) {
    if (line.ends_with('\r')) line.remove_suffix(1);
    std::vector<std::string> fields;
    const Column reader(separator, 0);
    for (;;) {
      fields.push_back(reader.TakeField(line));
      if (line.empty()) return fields;
      line.remove_prefix(1);
    }
  }

 private:
  // The field at the front; what is left begins with the separator, or is nothing.
  std::string TakeField(std::string_view& line) const {
    std::string field;
    if (separator_ == ',' && line.starts_with('"')) {
      line.remove_prefix(1);
      for (;;) {
        const std::size_t quote = line.find('"');
        if (quote == std::string_view::npos) FailValue("a quoted field without its end");
        field += line.substr(0, quote);
        line.remove_prefix(quote + 1);
        if (!line.starts_with('"')) break;
        field += '"';
        line.remove_prefix(1);
      }
      if (!line.empty() && line.front() != separator_) {
        FailValue("a quoted field goes on behind its quote");
      }
      return field;
    }
    const std::size_t end = std::min(line.find(separator_), line.size());
    field = line.substr(0, end);
    line.remove_prefix(end);
    return field;
  }

  char separator_ = '\0';
  std::size_t index_ = 0;
};

struct Input {
  std::string_view lines;
  std::string_view header;  // stays in front; null data when there is none
  Column column;
};

bool IsCsv(const Arguments& arguments) {
  return arguments.Has("csv") || (arguments.Count() > 1 && arguments[1].ends_with(".csv"));
}

Input InputOf(const Arguments& arguments, std::string_view text) {
  Input input{text, {}, {}};
  if (!arguments.Has("key")) return input;
  const char separator = IsCsv(arguments) ? ',' : '\t';
  const std::string key = arguments.Value("key");
  std::size_t number = 0;
  const auto [end, error] = std::from_chars(key.data(), key.data() + key.size(), number);
  if (error == std::errc() && end == key.data() + key.size()) {
    if (number == 0) FailUsage("--key '0': the first column is 1");
    input.column = Column(separator, number - 1);
    return input;
  }
  if (input.lines.empty()) return input;
  const std::string_view header = TakeLine(input.lines);
  const std::vector<std::string> names = Column::All(header, separator);
  const auto found = std::find(names.begin(), names.end(), key);
  if (found == names.end()) {
    FailValue("the first line names no column " + Quoted(key));
  }
  input.column = Column(separator, static_cast<std::size_t>(found - names.begin()));
  input.header = header;
  return input;
}

// ---------------------------------------------------------------------------------------------

// Reads one line's value, as text or as stored bytes.
class LineReader {
 public:
  LineReader(const Arguments& arguments, char id)
      : id_(id),
        style_(StyleOf(arguments)),
        stored_(AreStored(arguments)),
        order_(OrderOf(arguments)) {
    style_.escapes = false;
    style_.stringsAreBytes = style_.strings.codeSet.has_value();
    if (style_.stringsAreBytes && KvIsWideCodeSet(*style_.strings.codeSet)) {
      FailUsage("lines of 16-bit characters cannot be read; kvtm convert makes them UTF-8");
    }
  }

  // Of each line this column, instead of the whole line.
  void Select(const Column& column) { column_ = column; }

  char Id() const { return id_; }
  const ValueStyle& Style() const { return style_; }

  void Read(void* value, std::string_view line) const {
    return column_.IsWholeLine() ? ReadText(value, line) : ReadText(value, column_.Of(line));
  }

 private:
  void ReadText(void* value, std::string_view text) const {
    if (!stored_) return ReadValue(id_, value, text, style_);
    Bytes bytes;
    AppendHex(text, bytes);
    LoadValue(id_, value, bytes, order_);
  }

  char id_;
  Column column_;
  ValueStyle style_;
  bool stored_;
  unsigned char order_;
};

// What is wrong with a line, which is counted from 0 in its piece.
struct Fault {
  std::size_t line;
  std::string what;
};

// The lines of a piece that are read.
struct PieceRead {
  std::size_t lines = 0;
  std::vector<Fault> faults;
};

// Reads the lines of a piece into the values of a run from `index` on, and takes the good ones:
// take(index, line).
template <class Take>
PieceRead ReadPiece(std::string_view piece, const LineReader& reader, const ValueRun& run,
                    unsigned index, Take take) {
  PieceRead read;
  for (; !piece.empty(); ++read.lines, ++index) {
    const std::string_view line = TakeLine(piece);
    try {
      reader.Read(run.At(index), line);
    } catch (const Failure& failure) {
      read.faults.push_back({read.lines, failure.what});
      continue;
    }
    take(index, line);
  }
  return read;
}

// Names the bad lines. Whether there are none.
bool Report(const std::vector<PieceRead>& pieces, std::size_t line) {
  bool isGood = true;
  for (const PieceRead& piece : pieces) {
    for (const Fault& fault : piece.faults) {
      std::fprintf(stderr, "kvtm: sort: line %zu: %s\n", line + fault.line, fault.what.c_str());
      isGood = false;
    }
    line += piece.lines;
  }
  return isGood;
}

std::size_t PlaceOf(const Input& input, std::string_view line) {
  return static_cast<std::size_t>(line.data() - input.lines.data());
}

// What was read: where the good lines begin in the input, in their order, and the faults.
struct Sorted {
  std::vector<std::size_t> places;
  std::vector<PieceRead> read;
};

// None when the type, the operation or one of the values has no keys.
std::optional<Sorted> SortByKeys(const Input& input, const LineReader& reader,
                                 unsigned short operation, KeyOrder how, Progress& progress) {
  const KvSortKeyKind kind{.type = reader.Id(), .cmpOp = operation};
  if (KvSortKeyCheck(kind) != kvOk) return std::nullopt;
  const std::vector<std::string_view> pieces = PiecesOf(input.lines);
  Sorted sorted;
  sorted.read.resize(pieces.size());
  std::vector<KeyList> keys(Workers());
  std::atomic<bool> haveKeys = true;
  const auto read = [&](std::size_t piece, unsigned worker) {
    const std::string_view text = pieces[piece];
    const ValueRun run(reader.Id(), static_cast<unsigned>(CountLines(text)));
    sorted.read[piece] =
        ReadPiece(text, reader, run, 0, [&](unsigned index, std::string_view line) {
          if (!keys[worker].Add(kind, run.At(index), PlaceOf(input, line))) haveKeys = false;
        });
  };
  progress.Begin("reading", pieces.size(), kBytesWorthProgress / kPiece);
  ForEachItem(pieces.size(), read, [&](std::size_t done) { progress.Advance(done); });
  if (!haveKeys) return std::nullopt;
  progress.Begin("sorting", CountLines(input.lines), kLinesWorthProgress);
  sorted.places = OrderOfKeys(keys, how, [&](std::size_t done) { progress.Advance(done); });
  return sorted;
}

class ValueOrder {
 public:
  ValueOrder(const ValueRun& run, unsigned short operation)
      : run_(run), operation_(operation), compare_(Types().CmpFuncPtrGet(run.Id())) {}

  int operator()(unsigned left, unsigned right) const {
    int status = 0;
    return compare_(kMemoryForm, 0, run_.At(left), 0, run_.At(right), operation_, 1, status);
  }

 private:
  const ValueRun& run_;
  unsigned short operation_;
  KvCompareFunc compare_;
};

void SortIndexes(std::vector<unsigned>& indexes, const ValueOrder& order, KeyOrder how,
                 Progress& progress) {
  const double count = static_cast<double>(indexes.size());
  const double comparisons = count < 2 ? 0 : count * std::log2(count);
  progress.Begin("sorting", static_cast<unsigned long long>(comparisons), kLinesWorthProgress);
  unsigned calls = 0;
  std::stable_sort(indexes.begin(), indexes.end(), [&](unsigned left, unsigned right) {
    if (++calls % kProgressEvery == 0) progress.Advance(kProgressEvery);
    return how.reverse ? order(right, left) < 0 : order(left, right) < 0;
  });
  if (!how.unique) return;
  const auto same = [&](unsigned left, unsigned right) { return order(left, right) == 0; };
  indexes.erase(std::unique(indexes.begin(), indexes.end(), same), indexes.end());
}

Sorted SortByComparing(const Input& input, const LineReader& reader, unsigned short operation,
                       KeyOrder how, Progress& progress) {
  const std::size_t count = CountLines(input.lines);
  if (!std::in_range<unsigned>(count)) FailValue("more than 4294967295 lines");
  const ValueRun run(reader.Id(), static_cast<unsigned>(count));
  Sorted sorted;
  std::vector<std::size_t> placeOf(count);
  std::vector<unsigned> indexes;
  progress.Begin("reading", input.lines.size(), kBytesWorthProgress);
  unsigned first = 0;
  for (const std::string_view piece : PiecesOf(input.lines)) {
    const auto take = [&](unsigned index, std::string_view line) {
      placeOf[index] = PlaceOf(input, line);
      indexes.push_back(index);
    };
    sorted.read.push_back(ReadPiece(piece, reader, run, first, take));
    first += static_cast<unsigned>(sorted.read.back().lines);
    progress.Advance(piece.size());
  }
  SortIndexes(indexes, ValueOrder(run, operation), how, progress);
  for (const unsigned index : indexes) sorted.places.push_back(placeOf[index]);
  return sorted;
}

std::string_view LineAt(const Input& input, std::size_t place) {
  std::string_view rest = input.lines.substr(place);
  return TakeLine(rest);
}

void PrintLines(const Input& input, const std::vector<std::size_t>& places) {
  std::string out;
  out.reserve(kOutput);
  if (input.header.data() != nullptr) out += std::string(input.header) + "\n";
  for (std::size_t i = 0; i < places.size(); ++i) {
    if (i + kAhead < places.size()) __builtin_prefetch(&input.lines[places[i + kAhead]]);
    out += LineAt(input, places[i]);
    out += '\n';
    if (out.size() < kOutput) continue;
    Print(out);
    out.clear();
  }
  Print(out);
}

void PrintJson(const Input& input, const std::vector<std::size_t>& places,
               const LineReader& reader) {
  std::string json;
  for (const std::size_t place : places) {
    const ValueRun value(reader.Id(), 1);
    reader.Read(value.Data(), LineAt(input, place));
    json += (json.empty() ? "" : ", ") + JsonOf(reader.Id(), value.Data(), reader.Style());
  }
  Print("[" + json + "]\n");
}

Sorted Sort(const Input& input, const LineReader& reader, unsigned short operation, KeyOrder how) {
  Progress progress("sort");
  auto sorted = SortByKeys(input, reader, operation, how, progress);
  return sorted ? *std::move(sorted) : SortByComparing(input, reader, operation, how, progress);
}

}  // namespace

int RunSort(const Arguments& arguments) {
  LineReader reader(arguments, FindValueType(arguments[0]));
  // Values with wildcards have an order only as values, and only exact comparing has keys.
  const auto operation =
      static_cast<unsigned short>(CompareOperationOf(arguments) | kvCompareExact);
  const std::string text = ReadText(arguments.Count() > 1 ? arguments[1] : "-");
  const Input input = InputOf(arguments, text);
  reader.Select(input.column);
  const KeyOrder how{.reverse = arguments.Has("reverse"), .unique = arguments.Has("unique")};
  const Sorted sorted = Sort(input, reader, operation, how);
  const bool allRead = Report(sorted.read, input.header.data() != nullptr ? 2 : 1);
  if (arguments.Has("json")) {
    PrintJson(input, sorted.places, reader);
  } else {
    PrintLines(input, sorted.places);
  }
  return allRead ? kExitGood : kExitBadValue;
}
