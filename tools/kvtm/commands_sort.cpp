// kvtm sort: lines in the order of a type.
//
// The input is read whole and every line parsed once into one run of values; then an index of the
// good lines is sorted by the values' sort keys, which compare as bytes, and the lines go out as
// they came in. Values and operations that have no keys are sorted with the row's compare function.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "catalogue.h"
#include "commands.h"
#include "failure.h"
#include "input.h"
#include "key_order.h"

namespace {

constexpr unsigned char kMemoryForm = 8;
constexpr unsigned long long kLinesWorthProgress = 20000;
constexpr unsigned kProgressEvery = 4096;

std::vector<std::string_view> SplitLines(std::string_view text) {
  std::vector<std::string_view> lines;
  lines.reserve(static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1);
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    lines.push_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return lines;
}

// ---------------------------------------------------------------------------------------------
// -k: which part of a line is its value

class Column {
 public:
  // The whole line.
  Column() = default;
  Column(char separator, std::size_t index) : separator_(separator), index_(index) {}

  // Of a line of fields. Fails (Failure) when it has too few.
  std::string Of(std::string_view line) const {
    if (separator_ == '\0') return std::string(line);
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
  std::vector<std::string_view> lines;
  std::string_view header;  // stays in front; null data when there is none
  Column column;
};

bool IsCsv(const Arguments& arguments) {
  return arguments.Has("csv") || (arguments.Count() > 1 && arguments[1].ends_with(".csv"));
}

Input InputOf(const Arguments& arguments, std::string_view text) {
  Input input{SplitLines(text), {}, {}};
  if (input.lines.size() > 0xFFFFFFFFU) FailValue("more than 4294967295 lines");
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
  const std::vector<std::string> names = Column::All(input.lines[0], separator);
  const auto found = std::find(names.begin(), names.end(), key);
  if (found == names.end()) {
    FailValue("the first line names no column " + Quoted(key));
  }
  input.column = Column(separator, static_cast<std::size_t>(found - names.begin()));
  input.header = input.lines[0];
  input.lines.erase(input.lines.begin());
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

  const ValueStyle& Style() const { return style_; }

  void Read(void* value, const std::string& text) const {
    if (!stored_) return ReadValue(id_, value, text, style_);
    Bytes bytes;
    AppendHex(text, bytes);
    LoadValue(id_, value, bytes, order_);
  }

 private:
  char id_;
  ValueStyle style_;
  bool stored_;
  unsigned char order_;
};

// Parses every line; returns the indexes of the good ones and reports the others.
std::vector<unsigned> ParseLines(const Input& input, const ValueRun& run, const LineReader& reader,
                                 Progress& progress) {
  std::vector<unsigned> good;
  good.reserve(input.lines.size());
  progress.Begin("reading", input.lines.size(), kLinesWorthProgress);
  const unsigned firstLine = input.header.data() != nullptr ? 2 : 1;
  for (unsigned i = 0; i < input.lines.size(); ++i) {
    try {
      reader.Read(run.At(i), input.column.Of(input.lines[i]));
      good.push_back(i);
    } catch (const Failure& failure) {
      progress.Clear();
      std::fprintf(stderr, "kvtm: sort: line %u: %s\n", i + firstLine, failure.what.c_str());
    }
    if (i % kProgressEvery == 0) progress.Advance(kProgressEvery);
  }
  return good;
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

// The sort keys of values, one behind the other.
class KeyList {
 public:
  // False when the value has no key.
  bool Add(const KvSortKeyKind& kind, const void* value) {
    const std::size_t begin = offsets_.back();
    for (std::size_t room = 64;; room *= 2) {
      if (keys_.size() < begin + room) keys_.resize(2 * begin + room);
      std::size_t size = 0;
      const int status =
          KvSortKey(kind, value, 0, kMemoryForm, &keys_[begin], keys_.size() - begin, size);
      if (status == kvOk) {
        offsets_.push_back(begin + size);
        return true;
      }
      if (status != kvBufferShort) return false;
      room = std::max(room, size);
    }
  }

  std::vector<unsigned> Order(bool reverse) const {
    return OrderOfKeys(keys_.data(), offsets_, reverse);
  }

 private:
  std::vector<unsigned char> keys_;
  std::vector<std::size_t> offsets_{0};
};

// Sorts the indexes of values by their sort keys. False when the type, the operation or one of the
// values has none; the indexes are then as they were.
bool SortByKeys(std::vector<unsigned>& indexes, const ValueRun& run, unsigned short operation,
                bool reverse, Progress& progress) {
  const KvSortKeyKind kind{.type = run.Id(), .cmpOp = operation};
  if (KvSortKeyCheck(kind) != kvOk) return false;
  progress.Begin("sorting", indexes.size(), kLinesWorthProgress * 10);
  KeyList keys;
  for (std::size_t i = 0; i < indexes.size(); ++i) {
    if (!keys.Add(kind, run.At(indexes[i]))) return false;
    if (i % kProgressEvery == 0) progress.Advance(kProgressEvery);
  }
  std::vector<unsigned> sorted = keys.Order(reverse);
  for (unsigned& place : sorted) place = indexes[place];
  indexes = std::move(sorted);
  return true;
}

void SortByComparing(std::vector<unsigned>& indexes, const ValueOrder& order, bool reverse,
                     Progress& progress) {
  const double count = static_cast<double>(indexes.size());
  const double comparisons = count < 2 ? 0 : count * std::log2(count);
  progress.Begin("sorting", static_cast<unsigned long long>(comparisons), kLinesWorthProgress * 10);
  unsigned calls = 0;
  std::stable_sort(indexes.begin(), indexes.end(), [&](unsigned left, unsigned right) {
    if (++calls % kProgressEvery == 0) progress.Advance(kProgressEvery);
    return reverse ? order(right, left) < 0 : order(left, right) < 0;
  });
}

void PrintLines(const Input& input, const std::vector<unsigned>& indexes) {
  std::string out;
  if (input.header.data() != nullptr) out += std::string(input.header) + "\n";
  for (const unsigned index : indexes) {
    out += input.lines[index];
    out += '\n';
  }
  Print(out);
}

void PrintJson(const ValueRun& run, const std::vector<unsigned>& indexes, const ValueStyle& style) {
  std::string json;
  for (const unsigned index : indexes) {
    json += (json.empty() ? "" : ", ") + JsonOf(run.Id(), run.At(index), style);
  }
  Print("[" + json + "]\n");
}

}  // namespace

int RunSort(const Arguments& arguments) {
  const char id = FindValueType(arguments[0]);
  const LineReader reader(arguments, id);
  // Values with wildcards have an order only as values.
  const auto operation =
      static_cast<unsigned short>(CompareOperationOf(arguments) | kvCompareExact);
  const std::string text = ReadText(arguments.Count() > 1 ? arguments[1] : "-");
  const Input input = InputOf(arguments, text);
  const ValueRun run(id, static_cast<unsigned>(std::max<std::size_t>(input.lines.size(), 1)));
  const ValueOrder order(run, operation);
  std::vector<unsigned> good;
  {
    Progress progress("sort");
    good = ParseLines(input, run, reader, progress);
    const bool reverse = arguments.Has("reverse");
    // Keys are exact; without 0x10 a comparison may differ in what a null equals.
    if (!SortByKeys(good, run, operation | kvCompareExact, reverse, progress)) {
      SortByComparing(good, order, reverse, progress);
    }
  }
  const bool allRead = good.size() == input.lines.size();
  if (arguments.Has("unique")) {
    const auto same = [&](unsigned left, unsigned right) { return order(left, right) == 0; };
    good.erase(std::unique(good.begin(), good.end(), same), good.end());
  }
  if (arguments.Has("json")) {
    PrintJson(run, good, reader.Style());
  } else {
    PrintLines(input, good);
  }
  return allRead ? kExitGood : kExitBadValue;
}
