// kvtm compare, hash, bounds, step and order: what the type manager says about values.
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "catalogue.h"
#include "commands.h"
#include "failure.h"
#include "numbers.h"
#include "stored.h"

namespace {

constexpr unsigned char kMemoryForm = 8;
constexpr std::size_t kLongestBound = 255;  // a bound's length field has 8 bits

unsigned short PredicateOf(const std::string& text) {
  if (text == "<") return kvPredicateLess;
  if (text == "<=") return kvPredicateLess | kvPredicateEqual;
  if (text == "=" || text == "==") return kvPredicateEqual;
  if (text == ">=") return kvPredicateGreater | kvPredicateEqual;
  if (text == ">") return kvPredicateGreater;
  FailUsage("unknown predicate " + Quoted(text) + "; it is one of < <= = >= >");
}

// A bound in the order that the constant is in; the fields of KvIdxBounds only borrow it.
Bytes BoundOf(const ValueRun& values, unsigned index, unsigned char order,
              const std::string& text) {
  Bytes stored = StoredForm(values, index, order);
  if (stored.size() > kLongestBound) {
    FailValue(Quoted(text) + " takes " + std::to_string(stored.size()) +
              " stored bytes, a bound has 255 at most");
  }
  return stored;
}

// A bound as text, as JSON, and in stored form where the operands were.
Cell BoundCell(char id, const Bytes& stored, const Arguments& arguments) {
  const ValueStyle style = StyleOf(arguments);
  ValueRun run(id, 1);
  LoadValue(id, run.Data(), stored, OrderOf(arguments));
  if (arguments.Has("stored")) return TextCell(ToHex(stored));
  return {TextOf(id, run.Data(), style), JsonOf(id, run.Data(), style)};
}

std::string Hex16(unsigned short number) {
  return "0x" + Hex32(number).substr(6);
}

// Letters that the order alone does not show are named by the language.
std::string OrderInWords(unsigned short order, unsigned char language) {
  if (const char* name = KvLanguageContext::QueryLanguage(language)->LetterName(order)) {
    const unsigned letterCase = order >> 12 & 3;
    return (letterCase == 0   ? "upper"
            : letterCase == 2 ? "title"
                              : "lower") +
           std::string(" letter ") + name;
  }
  KvString words;
  KvConvertOrderToString(order, language, words);
  return std::string(TrimBlanks(Utf8FromString(words)));
}

// How many letters the next orders stand for: two for the Czech ch.
unsigned short LettersOfNext(const KvStringIterator& begin) {
  KvStringIterator end(begin);
  while (end == begin) end.GetNextOrder(0);
  unsigned short letters = 0;
  for (KvStringIterator at(begin); !(at == end); ++at) ++letters;
  return letters;
}

}  // namespace

int RunCompare(const Arguments& arguments) {
  const char id = FindValueType(arguments[0]);
  const unsigned short operation = CompareOperationOf(arguments);
  const auto pair = ValuesOf(arguments, id, 1);
  int order = 0;
  if (AreStored(arguments)) {
    // As an index does it, on the bytes themselves.
    Bytes a = BytesOfOperand(arguments[1]);
    Bytes b = BytesOfOperand(arguments[2]);
    int status = 0;
    order =
        Types().Cmp(id, static_cast<unsigned>(a.size()), a.data(), static_cast<unsigned>(b.size()),
                    b.data(), operation, 1, OrderOf(arguments), status);
    if (status != kvOk) FailValue("comparing ended with status " + std::to_string(status));
  } else {
    order = Types().Cmp(id, pair->At(0), pair->At(1), operation, 1, kMemoryForm);
  }
  const std::string text = std::to_string((order > 0) - (order < 0));
  const Output output = OutputOf(arguments);
  if (output == Output::kText) {
    Print(text + "\n");
  } else {
    PrintCard({{"order"}, {{NumberCell(text)}}}, output);
  }
  return kExitGood;
}

int RunHash(const Arguments& arguments) {
  const char id = FindValueType(arguments[0]);
  const auto run = ValuesOf(arguments, id, 1);
  int status = 0;
  const unsigned hash = Types().Hash(id, 0, run->Data(), run->Count(), kMemoryForm, status);
  if (status != kvOk) FailValue("hashing ended with status " + std::to_string(status));
  const Output output = OutputOf(arguments);
  if (output == Output::kText) {
    Print(Hex32(hash) + "\n");
  } else {
    PrintCard({{"hash"}, {{NumberCell(std::to_string(hash))}}}, output);
  }
  return kExitGood;
}

int RunBounds(const Arguments& arguments) {
  const char id = FindValueType(arguments[0]);
  const unsigned char order = OrderOf(arguments);
  unsigned short predicate = PredicateOf(arguments[1]);
  const auto values = ValuesOf(arguments, id, 2);
  Bytes constant = BoundOf(*values, 0, order, arguments[2]);
  Bytes low = BoundOf(*values, 1, order, arguments[3]);
  Bytes high = BoundOf(*values, 2, order, arguments[4]);
  KvIdxBounds range{low.data(), high.data(), static_cast<unsigned char>(low.size()),
                    static_cast<unsigned char>(high.size())};
  KvIdxBounds narrowed;
  const float fraction =
      Types().EvalAndBound(id, &range, predicate, constant.data(), order, 1, &narrowed, nullptr);
  const auto side = [&](unsigned char* bound, std::size_t length, const Bytes& given) {
    const std::unique_ptr<unsigned char, void (*)(void*)> owned(bound, std::free);
    return BoundCell(id, bound != nullptr ? Bytes(bound, bound + length) : given, arguments);
  };
  const bool newLower = narrowed.lower != nullptr;
  const bool newUpper = narrowed.upper != nullptr;
  Cell lower = side(narrowed.lower, narrowed.lowerLength, low);
  Cell upper = side(narrowed.upper, narrowed.upperLength, high);
  const Output output = OutputOf(arguments);
  if (output == Output::kText) {
    lower.text += newLower ? "  (new)" : "";
    upper.text += newUpper ? "  (new)" : "";
    Print(Aligned(
        {{"fraction", ShortestText(fraction)}, {"lower", lower.text}, {"upper", upper.text}}));
    return kExitGood;
  }
  const auto truth = [](bool holds) {
    return Cell{holds ? "yes" : "no", holds ? "true" : "false"};
  };
  PrintCard(
      {{"fraction", "lower", "lowerIsNew", "upper", "upperIsNew"},
       {{NumberCell(ShortestText(fraction)), lower, truth(newLower), upper, truth(newUpper)}}},
      output);
  return kExitGood;
}

int RunStep(const Arguments& arguments) {
  const char id = FindValueType(arguments[0]);
  const ValueStyle style = StyleOf(arguments);
  const auto run = ValuesOf(arguments, id, 1);
  const Output output = OutputOf(arguments);
  for (unsigned i = 0; i < run->Count(); ++i) {
    const std::string& given = arguments[i + 1];
    const int status = Types().GetValue(id, run->At(i), Types().MemLenGet(id, 1), kMemoryForm, 'M');
    if (status == kvOverflow) {
      FailValue(Quoted(given) + " is the last " + TypeName(id) + " value");
    }
    if (status != kvOk) FailValue(Quoted(given) + " has no successor as " + TypeName(id));
    Cell next{TextOf(id, run->At(i), style), JsonOf(id, run->At(i), style)};
    if (arguments.Has("stored")) next = TextCell(ToHex(StoredForm(*run, i, OrderOf(arguments))));
    if (output == Output::kText) {
      Print(next.text + "\n");
    } else {
      PrintCard({{"next"}, {{next}}}, output);
    }
  }
  return kExitGood;
}

int RunOrder(const Arguments& arguments) {
  const KvString text = StringFromUtf8(arguments[0], StyleOf(arguments).strings);
  TextTable table{{"character", "order", "meaning"}, {}};
  KvString walked(text);
  KvStringIterator at(walked);
  for (unsigned short position = 0; !at.IsEOS();) {
    std::string character = Utf8FromString(text.Copy(position, LettersOfNext(at)));
    position = static_cast<unsigned short>(position + LettersOfNext(at));
    const KvStringIterator begin(at);
    while (at == begin && !at.IsEOS()) {
      const unsigned short order = at.GetNextOrder(0);
      table.rows.push_back({{Printable(character), JsonText(character)},
                            {Hex16(order), std::to_string(order)},
                            TextCell(OrderInWords(order, text.GetLanguage()))});
      character.clear();
    }
  }
  const Output output = OutputOf(arguments);
  if (output != Output::kText) {
    PrintJsonOrCsv(table, output);
    return kExitGood;
  }
  std::vector<std::vector<std::string>> rows;
  for (const std::vector<Cell>& row : table.rows) {
    rows.push_back({row[0].text, row[1].text, row[2].text});
  }
  Print(Aligned(rows));
  return kExitGood;
}
