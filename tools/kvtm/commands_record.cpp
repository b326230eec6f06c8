// kvtm record: stored records field by field, with what is odd about each.
//
// A record is read from the front. Each field is measured by its type's own rules before it is
// read; the first that fits none ends the work, with its name and place.
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "catalogue.h"
#include "commands.h"
#include "failure.h"
#include "families.h"
#include "input.h"
#include "names.h"
#include "remarks.h"
#include "schema.h"
#include "stored.h"

namespace {

constexpr std::size_t kShortestBlock = 6;  // of a string: length, code set, language, 00, mark
constexpr unsigned char kMark = 0xFF;
constexpr std::size_t kBytesShown = 16;  // of a field, for people
constexpr std::size_t kIndent = 2;       // of what goes on below its row, on a narrow terminal
constexpr const char* kColours[] = {"\x1b[36m", "\x1b[33m", "\x1b[35m", "\x1b[32m"};
constexpr const char* kRemarkColour = "\x1b[1;31m";
constexpr const char* kNoColour = "\x1b[0m";

// Operands are hex where all of them could be, else the only one names a file.
bool IsHexOperand(const std::string& operand) {
  return operand != "-" &&
         operand.find_first_not_of("0123456789abcdefABCDEFxX:, \t\n") == std::string::npos;
}

Bytes RecordBytes(const Arguments& arguments) {
  const std::vector<std::string> operands = arguments.From(1);
  Bytes bytes;
  if (!arguments.Has("raw") && !operands.empty() &&
      std::all_of(operands.begin(), operands.end(), IsHexOperand)) {
    for (const std::string& operand : operands) AppendHexDump(operand, bytes);
    return bytes;
  }
  if (operands.size() > 1) FailUsage("one file at a time, not also " + Quoted(operands[1]));
  const std::string file = operands.empty() ? "-" : operands[0];
  if (!arguments.Has("raw")) {
    AppendHexDump(ReadText(file), bytes);
    return bytes;
  }
  const std::string raw = ReadWhole(file);
  bytes.assign(raw.begin(), raw.end());
  return bytes;
}

// On a terminal, and NO_COLOR is not set (to anything).
bool WantsColour() {
  const char* const refused = std::getenv("NO_COLOR");
  return isatty(STDOUT_FILENO) != 0 && (refused == nullptr || *refused == '\0');
}

struct Row {
  std::size_t record;
  std::size_t offset;
  Bytes bytes;
  std::string field;
  std::string type;
  std::string value;
  std::string json;
  std::vector<std::string> remarks;
};

// The length that a block begins with; all there is where that breaks off.
std::size_t LengthField(const unsigned char* at, std::size_t size, unsigned char order) {
  const bool isBig = order == 2;
  return size < sizeof(o_u2b) ? size : std::size_t{at[!isBig]} << 8 | at[isBig];
}

// Whether all that is wrong with the string block at the front is its mark, the last byte, whose
// place its length tells.
bool LacksMark(char id, const unsigned char* bytes, std::size_t size, unsigned char order) {
  const TextKind kind = FactsOf(id).kind;
  if (kind != TextKind::kString && kind != TextKind::kPlainString) return false;
  const std::size_t length = LengthField(bytes, size, order) + sizeof(o_u2b);
  return length >= kShortestBlock && length <= size && bytes[length - 1] != kMark;
}

class RecordReader {
 public:
  RecordReader(const Arguments& arguments, const Schema& schema, Bytes bytes)
      : schema_(schema), bytes_(std::move(bytes)), order_(OrderOf(arguments)) {
    style_ = StyleOf(arguments);
    at_ = arguments.Number("at", 0, 0xFFFFFFFFU, 0);
    if (at_ > bytes_.size()) {
      FailValue("--at " + std::to_string(at_) + " is behind the end, there are " +
                std::to_string(bytes_.size()) + " bytes");
    }
  }

  bool AtEnd() const { return at_ >= bytes_.size(); }
  std::size_t Place() const { return at_; }
  std::size_t Left() const { return bytes_.size() - at_; }

  // The rows of the next record, appended to `rows`, those before a fault too.
  void ReadRecord(std::size_t number, std::vector<Row>& rows) {
    for (const SchemaField& field : schema_.fields) {
      try {
        ReadField(number, field, rows);
      } catch (const Failure& failure) {
        throw Failure{kExitBadValue, "field " + field.name + " (" + TypeName(field.type) +
                                         ") at offset " + std::to_string(at_) + ": " +
                                         failure.what};
      }
    }
  }

 private:
  // A run of blobs, and one of strings in the old form, have one length for all their values.
  void ReadField(std::size_t number, const SchemaField& field, std::vector<Row>& rows) {
    const bool oneLength = FactsOf(field.type).kind == TextKind::kBlob || IsOldForm(field);
    if (field.count > 1 && oneLength) return ReadRun(number, field, rows);
    for (unsigned i = 0; i < field.count; ++i) {
      const Bytes stored = TakeValue(field.type);
      Row row = NewRow(number, field, i, stored.size());
      ValueRun value(field.type, 1);
      LoadValue(field.type, value.Data(), stored, order_);
      Show(row, field, value, 0);
      row.remarks = RemarksOn(field.type, value.Data(), row.bytes, order_, field.language, at_);
      rows.push_back(std::move(row));
      at_ += stored.size();
    }
  }

  const unsigned char* Here() const { return bytes_.data() + at_; }

  // The bytes of the value here. A string block that only its mark is wrong of gets it back, so
  // that it can be read; that it was wrong is a remark.
  Bytes TakeValue(char id) const {
    try {
      return {Here(), Here() + MeasureStored(id, Here(), Left(), order_, 1, at_).bytes};
    } catch (const Failure&) {
      if (!LacksMark(id, Here(), Left(), order_)) throw;
      Bytes block(Here(), Here() + LengthField(Here(), Left(), order_) + sizeof(o_u2b));
      block.back() = kMark;
      MeasureStored(id, block.data(), block.size(), order_, 1, at_);
      return block;
    }
  }

  bool IsOldForm(const SchemaField& field) const {
    if (FactsOf(field.type).kind != TextKind::kString) return false;
    const std::size_t length = LengthField(Here(), Left(), order_);
    return length + sizeof(o_u2b) <= Left() && Here()[length + 1] == 0;
  }

  void ReadRun(std::size_t number, const SchemaField& field, std::vector<Row>& rows) {
    const std::size_t taken =
        MeasureStored(field.type, Here(), Left(), order_, field.count, at_).bytes;
    ValueRun run(field.type, field.count);
    LoadRun(run, Here(), order_);
    for (unsigned i = 0; i < field.count; ++i) {
      Row row = NewRow(number, field, i, i == 0 ? taken : 0);
      Show(row, field, run, i);
      if (IsOldForm(field)) row.remarks.push_back("old form");
      rows.push_back(std::move(row));
    }
    at_ += taken;
  }

  Row NewRow(std::size_t number, const SchemaField& field, unsigned index,
             std::size_t length) const {
    const auto from = bytes_.begin() + static_cast<std::ptrdiff_t>(at_);
    return {number,
            at_,
            Bytes(from, from + static_cast<std::ptrdiff_t>(length)),
            field.name + (field.isRun ? "[" + std::to_string(index) + "]" : ""),
            TypeName(field.type),
            "",
            "",
            {}};
  }

  void Show(Row& row, const SchemaField& field, const ValueRun& values, unsigned index) const {
    row.value = TextOf(field.type, values.At(index), style_);
    row.json = JsonOf(field.type, values.At(index), style_);
  }

  const Schema& schema_;
  Bytes bytes_;
  unsigned char order_;
  ValueStyle style_;
  std::size_t at_;
};

std::string Joined(const std::vector<std::string>& texts, const char* separator) {
  std::string joined;
  for (const std::string& text : texts) joined += (joined.empty() ? "" : separator) + text;
  return joined;
}

TextTable AsTable(const std::vector<Row>& rows) {
  TextTable table{{"record", "offset", "bytes", "field", "type", "value", "remarks"}, {}};
  for (const Row& row : rows) {
    std::string remarks;
    for (const std::string& remark : row.remarks) {
      remarks += (remarks.empty() ? "" : ", ") + JsonText(remark);
    }
    table.rows.push_back({NumberCell(std::to_string(row.record)),
                          NumberCell(std::to_string(row.offset)),
                          TextCell(ToHex(row.bytes)),
                          TextCell(row.field),
                          TextCell(row.type),
                          {row.value, row.json},
                          {Joined(row.remarks, "; "), "[" + remarks + "]"}});
  }
  return table;
}

std::string ShownBytes(const Bytes& bytes) {
  const std::size_t shown = std::min(bytes.size(), kBytesShown);
  return ToHex(bytes.data(), shown) + (shown < bytes.size() ? "..." : "");
}

using Texts = std::vector<std::vector<std::string>>;

Texts TextsOf(const std::vector<Row>& rows, bool manyRecords) {
  Texts texts = {{"offset", "bytes", "field", "type", "value"}};
  for (const Row& row : rows) {
    texts.push_back(
        {std::to_string(row.offset), ShownBytes(row.bytes), row.field, row.type, row.value});
  }
  if (manyRecords) {
    for (std::size_t i = 0; i < texts.size(); ++i) {
      texts[i].insert(texts[i].begin(), i == 0 ? "record" : std::to_string(rows[i - 1].record));
    }
  }
  return texts;
}

std::vector<std::string> SplitLines(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = text.find('\n', begin);
    lines.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return lines;
}

// A text of one or more lines for the head and each row: a table with the remarks as its last
// column; where a terminal is too narrow for that, with the remarks under their row; and where it
// is too narrow for the table, the row's parts one behind the other.
std::vector<std::string> LinesOf(const std::vector<Row>& rows, bool manyRecords) {
  const Texts texts = TextsOf(rows, manyRecords);
  const std::string table = Aligned(texts);
  const auto columns = static_cast<std::size_t>(TerminalColumns(STDOUT_FILENO));
  Texts remarked = texts;
  remarked[0].push_back("remarks");
  for (std::size_t i = 0; i < rows.size(); ++i) {
    remarked[i + 1].push_back(Joined(rows[i].remarks, "; "));
  }
  const std::string whole = Aligned(remarked);
  if (isatty(STDOUT_FILENO) == 0 || WidthOf(whole) <= columns) return SplitLines(whole);
  std::vector<std::string> lines = SplitLines(table);
  const bool fits = WidthOf(table) <= columns;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (!fits) lines[i] = Folded(Joined(texts[i], " "), columns, "", kIndent);
    if (i == 0 || rows[i - 1].remarks.empty()) continue;
    const std::string indent(kIndent, ' ');
    lines[i] += "\n" + Folded(Joined(rows[i - 1].remarks, "; "), columns, indent, kIndent);
  }
  return lines;
}

// For people: on a terminal the rows have a colour a field.
void PrintRows(const std::vector<Row>& rows, bool manyRecords) {
  const std::vector<std::string> lines = LinesOf(rows, manyRecords);
  const bool coloured = WantsColour();
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (!coloured || i == 0) {
      Print(lines[i] + "\n");
      continue;
    }
    const bool remarked = !rows[i - 1].remarks.empty();
    const char* const colour = remarked ? kRemarkColour : kColours[(i - 1) % std::size(kColours)];
    Print(colour + lines[i] + kNoColour + "\n");
  }
}

void Show(const Arguments& arguments, std::vector<Row> rows, bool manyRecords) {
  if (arguments.Has("remarked")) {
    std::erase_if(rows, [](const Row& row) { return row.remarks.empty(); });
  }
  const Output output = OutputOf(arguments);
  if (output == Output::kText) {
    PrintRows(rows, manyRecords);
  } else {
    PrintJsonOrCsv(AsTable(rows), output);
  }
}

}  // namespace

int RunRecord(const Arguments& arguments) {
  const Schema schema = ParseSchema(arguments[0]);
  const bool repeat = arguments.Has("repeat");
  if (repeat && arguments.Has("count")) FailUsage("either --repeat or --count");
  const std::size_t wanted = arguments.Number("count", 1, 0xFFFFFFFFU, 1);
  RecordReader reader(arguments, schema, RecordBytes(arguments));
  if (reader.AtEnd()) FailValue("there are no bytes");
  std::vector<Row> rows;
  const bool many = repeat || wanted > 1;
  try {
    for (std::size_t number = 0; repeat ? !reader.AtEnd() : number < wanted; ++number) {
      reader.ReadRecord(number, rows);
    }
  } catch (const Failure&) {
    Show(arguments, rows, many);
    throw;
  }
  Show(arguments, rows, many);
  if (!reader.AtEnd()) {
    Note(Counted(reader.Left(), "more byte follows", "more bytes follow") + ", from offset " +
         std::to_string(reader.Place()));
  }
  return kExitGood;
}
