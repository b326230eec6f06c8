// kvtm key and unkey: the sort keys of values and tuples, and what their bytes are.
#include <cstring>
#include <sstream>

#include "catalogue.h"
#include "commands.h"
#include "failure.h"
#include "input.h"
#include "report.h"
#include "schema.h"

namespace {

// One part of a tuple.
struct Part {
  std::string name;  // empty for the part of a plain TYPE
  KvSortKeyKind kind;
  ValueStyle style;
};

unsigned char OptionOf(std::string_view word) {
  if (word == "desc" || word == "descending") return kvSortKeyDescending;
  if (word == "nulls-last") return kvSortKeyNullsLast;
  if (word == "nulls-first") return kvSortKeyNullsFirst;
  if (word == "plain-bytes") return kvSortKeyPlainBytes;
  return word == "asc" || word == "ascending" ? 0 : 0xFF;
}

unsigned char OptionsOf(const Arguments& arguments) {
  unsigned options = 0;
  for (const char* name : {"descending", "nulls-last", "nulls-first", "plain-bytes"}) {
    if (arguments.Has(name)) options |= OptionOf(name);
  }
  return static_cast<unsigned char>(options);
}

// Takes the words behind the type of each field ("day:KvDate desc nulls-last") off a schema's text.
std::string WithoutOptions(std::string_view schema, std::vector<unsigned char>& options) {
  std::string fields;
  std::istringstream list{std::string(schema)};
  for (std::string field; std::getline(list, field, ',');) {
    std::istringstream words(field);
    std::string word;
    unsigned found = 0;
    fields += fields.empty() ? "" : ",";
    for (bool isFirst = true; words >> word; isFirst = false) {
      const unsigned char option = isFirst ? 0xFF : OptionOf(word);
      if (option == 0xFF) {
        fields += " " + word;
      } else {
        found |= option;
      }
    }
    options.push_back(static_cast<unsigned char>(found));
  }
  return fields;
}

// The parts that the first operand names: a TYPE, or a schema, which has a ":".
std::vector<Part> PartsOf(const Arguments& arguments) {
  const ValueStyle style = StyleOf(arguments);
  const auto operation =
      static_cast<unsigned short>(CompareOperationOf(arguments) | kvCompareExact);
  const unsigned char shared = OptionsOf(arguments);
  std::vector<Part> parts;
  if (arguments[0].find(':') == std::string::npos) {
    parts.push_back({"", {FindValueType(arguments[0]), shared, operation}, style});
  } else {
    std::vector<unsigned char> options;
    const Schema schema = ParseSchema(WithoutOptions(arguments[0], options));
    for (std::size_t i = 0; i < schema.fields.size(); ++i) {
      const SchemaField& field = schema.fields[i];
      if (field.isRun) FailUsage("a key has one value of " + Quoted(field.name) + ", not a run");
      const auto own = static_cast<unsigned char>(shared | options[i]);
      Part part{field.name, {field.type, own, operation}, style};
      if (field.language) part.style.strings.language = field.language;
      parts.push_back(part);
    }
  }
  for (const Part& part : parts) {
    if (KvSortKeyCheck(part.kind) != kvOk) {
      FailUsage("there are no keys of " + TypeName(part.kind.type) + " with these options");
    }
  }
  return parts;
}

Bytes KeyOf(const Part& part, const std::string& text) {
  ValueStyle style = part.style;
  const bool plainBytes = (part.kind.options & kvSortKeyPlainBytes) != 0;
  if (plainBytes) style.strings.codeSet = kvCodeSetBytes;
  const auto run = ReadValues(part.kind.type, {text}, style);
  std::size_t size = 0;
  const int status = KvSortKey(part.kind, run->Data(), 0, 8, nullptr, 0, size);
  if (status != kvBufferShort && status != kvOk) FailValue(Quoted(text) + " has no key");
  Bytes key(size);
  KvSortKey(part.kind, run->Data(), 0, 8, key.data(), key.size(), size);
  return key;
}

// ---------------------------------------------------------------------------------------------
// What the bytes of a key are, in words.

std::string WordsFor(unsigned order) {
  KvString words;
  KvConvertOrderToString(static_cast<unsigned short>(order), kvLanguageEnglish, words);
  const std::string text = Utf8FromString(words);
  return text.substr(0, text.find('\n'));
}

// "diaeresis" for accent code 6.
std::string AccentName(unsigned accent) {
  const std::string words = WordsFor(0x500C | accent << 7);
  const std::size_t at = words.find(" with ");
  const std::string name = at == std::string::npos ? "" : words.substr(at + 6);
  return name.empty() || name == " " ? "accent " + std::to_string(accent) : name;
}

// The character that an order stands for, as well as one tells.
std::string LevelOneText(unsigned order, unsigned following) {
  if (order >= 0x8000) {
    std::string text;
    const unsigned unit = 2 * (order - 0x8000) + (following >> 1 & 1);
    AppendUtf8(text, static_cast<unsigned short>(unit));
    return Printable(text);
  }
  unsigned char character = 0;
  KvConvertOrderToChar(static_cast<unsigned short>(order), kvLanguageEnglish, character, 0,
                       nullptr);
  const bool isLetter = order >= 0x4000;
  if (isLetter && (character < 'a' || character > 'z')) return WordsFor(order);
  std::string text(1, static_cast<char>(character));
  if (isLetter && (order & 3) != 0) text += "+" + std::to_string(order & 3);
  const bool isTold = isLetter || (order & 0xFFFE) % 10 == 8 || character != '.';
  return isTold && character > ' ' && character < 0x7F ? text : WordsFor(order);
}

const char* CaseName(unsigned found) {
  static constexpr const char* kNames[] = {"capital", "small", "capital and small", "small"};
  return kNames[found & 3];
}

class Explanation {
 public:
  void Add(const Part& part, const Bytes& key, std::size_t begin) {
    std::size_t count = 0;
    const unsigned char* const bytes = key.data() + begin;
    if (KvSortKeyPieces(part.kind, bytes, key.size() - begin, nullptr, 0, count) != kvOk) return;
    std::vector<KvSortKeyPiece> pieces(count);
    KvSortKeyPieces(part.kind, bytes, key.size() - begin, pieces.data(), count, count);
    name_ = part.name.empty() ? "" : part.name + ": ";
    for (std::size_t i = 0; i < pieces.size();) {
      const std::size_t next = EndOfLine(pieces, i);
      const KvSortKeyPiece& last = pieces[next - 1];
      const std::size_t from = pieces[i].offset;
      const std::size_t size = last.offset + last.size - from;
      rows_.push_back({NumberCell(std::to_string(begin + from)),
                       TextCell(ToHex(bytes + from, size)),
                       TextCell(name_ + Words(part, bytes, pieces, i, next))});
      i = next;
    }
  }

  // For programs each row has the key that it is about.
  void Print(const Bytes& key, Output output) const {
    TextTable table{{"offset", "bytes", "what"}, rows_};
    if (output != Output::kText) {
      table.columns.insert(table.columns.begin(), "key");
      for (auto& row : table.rows) row.insert(row.begin(), TextCell(ToHex(key)));
    }
    PrintTable(table, output);
  }

 private:
  // Level 1 is one line.
  static std::size_t EndOfLine(const std::vector<KvSortKeyPiece>& pieces, std::size_t at) {
    std::size_t next = at + 1;
    if (pieces[at].part != kvKeyOrder) return next;
    while (next < pieces.size() && pieces[next].part == kvKeyOrder) ++next;
    return next;
  }

  static std::string Words(const Part& part, const unsigned char* bytes,
                           const std::vector<KvSortKeyPiece>& pieces, std::size_t at,
                           std::size_t next) {
    const KvSortKeyPiece& piece = pieces[at];
    const std::string place = " at " + std::to_string(piece.position + 1);
    switch (piece.part) {
      case kvKeyNull:
        return part.kind.type == KvISTRING_T || part.kind.type == KvCASEISTRING_T ? "empty"
                                                                                  : "null";
      case kvKeyPresent:
        return "present";
      case kvKeyOrder:
        return LevelOne(pieces, at, next);
      case kvKeyBase:
        return "end of level 1";
      case kvKeyAccent:
        return "accent: " + AccentName(piece.value) + place;
      case kvKeyCase:
        return std::string("case: ") + CaseName(piece.value) + place;
      case kvKeyVariant:
        return "variant" + place;
      case kvKeyEnd:
        return "end";
      case kvKeyValue:
        break;
    }
    return ValueWords(part, bytes);
  }

  static std::string LevelOne(const std::vector<KvSortKeyPiece>& pieces, std::size_t at,
                              std::size_t next) {
    std::string text = "level 1:";
    for (; at < next; ++at) {
      const bool isPair = at + 1 < next && pieces[at + 1].size == 0;
      text += " " + LevelOneText(pieces[at].value, isPair ? pieces[at + 1].value : 0);
      if (isPair) ++at;
    }
    return text;
  }

  static std::string ValueWords(const Part& part, const unsigned char* bytes) {
    const char id = part.kind.type;
    if (id == KvSTRING_T) return "bytes";
    if (id == KvISTRING_T || id == KvCASEISTRING_T) return "weights";
    ValueRun value(id, 1);
    std::size_t size = 0;
    // Long enough for every fixed key; a blob has its end further on.
    if (id == KvBLOB_T || KvSortKeyValue(part.kind, bytes, 32, value.Data(), size) != kvOk) {
      return "content";
    }
    return Printable(TextOf(id, value.Data(), part.style));
  }

  std::vector<std::vector<Cell>> rows_;
  std::string name_;
};

// ---------------------------------------------------------------------------------------------

// With room behind it, for a value that is read without its length.
Bytes Padded(Bytes key) {
  key.resize(key.size() + 32);
  return key;
}

void PrintKey(const std::vector<Part>& parts, const std::vector<std::string>& texts, bool explain,
              Output output) {
  Bytes key;
  std::vector<std::size_t> begins;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    begins.push_back(key.size());
    const Bytes part = KeyOf(parts[i], texts[i]);
    key.insert(key.end(), part.begin(), part.end());
  }
  if (output == Output::kText) {
    Print(ToHex(key) + "\n");
  } else if (!explain) {
    PrintCard({{"key"}, {{TextCell(ToHex(key))}}}, output);
  }
  if (!explain) return;
  const Bytes padded = Padded(key);
  Explanation explanation;
  for (std::size_t i = 0; i < parts.size(); ++i) explanation.Add(parts[i], padded, begins[i]);
  explanation.Print(key, output);
}

// A text of collation orders with the characters that they are of.
std::string TextOfOrders(const KvString& orders) {
  std::string text;
  const auto* units = reinterpret_cast<const unsigned char*>(orders.StrGet());
  const unsigned length = orders.Len();
  const auto orderAt = [units](unsigned index) {
    unsigned short order;
    std::memcpy(&order, units + 2 * index, 2);
    return order;
  };
  for (unsigned i = 0; i < length; ++i) {
    const unsigned order = orderAt(i);
    unsigned character = '?';
    if (order >= 0x8000) {
      // The first of two; a key that has it alone is refused.
      character = 2 * (order - 0x8000) + (orderAt(++i) >> 1 & 1);
    } else {
      unsigned char byte = 0;
      KvConvertOrderToChar(static_cast<unsigned short>(order), kvLanguageEnglish, byte, 1, nullptr);
      character = byte == 7 ? '?' : byte;
    }
    AppendUtf8(text, static_cast<unsigned short>(character));
  }
  return text;
}

Cell PartCell(const Part& part, void* value) {
  if (part.kind.type == KvSTRING_T && Types().IsNullValue(KvSTRING_T, value) == 0) {
    const auto& string = *static_cast<const KvString*>(value);
    if (string.GetCodeSet() == kvCodeSetOrders) return TextCell(TextOfOrders(string));
  }
  return {TextOf(part.kind.type, value, part.style), JsonOf(part.kind.type, value, part.style)};
}

// The values of a key, and its explanation.
TextTable ValuesOfKey(const std::vector<Part>& parts, const Bytes& key, Explanation& explanation) {
  TextTable table{{}, {{}}};
  const Bytes padded = Padded(key);
  KvSortKeyReader reader(key.data(), key.size());
  for (const Part& part : parts) {
    const void* begin = nullptr;
    KvSortKeyReader passing = reader;
    ValueRun value(part.kind.type, 1);
    const int status = reader.Next(part.kind, value.Data());
    if (status == kvOverflow) FailValue("the text is longer than a string holds");
    if (status != kvOk || passing.Skip(part.kind, &begin) != kvOk) {
      FailValue("the bytes are no key of " + TypeName(part.kind.type));
    }
    const auto offset =
        static_cast<std::size_t>(static_cast<const unsigned char*>(begin) - key.data());
    explanation.Add(part, padded, offset);
    table.columns.push_back(part.name.empty() ? "value" : part.name);
    table.rows[0].push_back(PartCell(part, value.Data()));
  }
  if (!reader.AtEnd()) FailValue("bytes follow the key");
  return table;
}

void PrintValues(const std::vector<Part>& parts, const Bytes& key, bool explain, Output output) {
  Explanation explanation;
  const TextTable values = ValuesOfKey(parts, key, explanation);
  if (output == Output::kText) {
    std::string line;
    for (std::size_t i = 0; i < values.columns.size(); ++i) {
      line += (i == 0 ? "" : "\t") + Printable(values.rows[0][i].text);
    }
    Print(line + "\n");
  } else if (!explain) {
    PrintCard(values, output);
  }
  if (explain) explanation.Print(key, output);
}

}  // namespace

int RunKey(const Arguments& arguments) {
  const std::vector<Part> parts = PartsOf(arguments);
  const std::vector<std::string> texts = arguments.From(1);
  if (texts.size() % parts.size() != 0) {
    FailUsage(std::to_string(texts.size()) + " values do not make tuples of " +
              std::to_string(parts.size()));
  }
  for (auto at = texts.begin(); at != texts.end();) {
    const auto end = at + static_cast<std::ptrdiff_t>(parts.size());
    PrintKey(parts, {at, end}, arguments.Has("explain"), OutputOf(arguments));
    at = end;
  }
  return kExitGood;
}

int RunUnkey(const Arguments& arguments) {
  const std::vector<Part> parts = PartsOf(arguments);
  for (const std::string& hex : arguments.From(1)) {
    Bytes key;
    AppendHex(hex == "-" ? ReadWhole("-") : hex, key);
    PrintValues(parts, key, arguments.Has("explain"), OutputOf(arguments));
  }
  return kExitGood;
}
