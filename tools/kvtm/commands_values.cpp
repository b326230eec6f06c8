// kvtm compare, hash, bounds, step and order: what the type manager says about values.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "catalogue.h"
#include "commands.h"
#include "failure.h"
#include "numbers.h"
#include "stored.h"

namespace {

constexpr unsigned char kMemoryForm = 8;
constexpr unsigned char kStoredForm = 0;
constexpr std::size_t kLongestBound = 255;  // a bound's length field has 8 bits

unsigned short PredicateOf(const std::string& text) {
  if (text == "<") return kvPredicateLess;
  if (text == "<=") return kvPredicateLess | kvPredicateEqual;
  if (text == "=" || text == "==") return kvPredicateEqual;
  if (text == ">=") return kvPredicateGreater | kvPredicateEqual;
  if (text == ">") return kvPredicateGreater;
  FailUsage("unknown predicate " + Quoted(text) + "; it is one of < <= = >= >");
}

// A bound in stored form; the fields of KvIdxBounds only borrow it.
Bytes BoundOf(char id, const std::string& text, const ValueStyle& style) {
  Bytes stored = StoredForm(*ReadValues(id, {text}, style), kStoredForm);
  if (stored.size() > kLongestBound) {
    FailValue(Quoted(text) + " takes " + std::to_string(stored.size()) +
              " stored bytes, a bound has 255 at most");
  }
  return stored;
}

std::string StoredText(char id, const unsigned char* stored, std::size_t length,
                       const ValueStyle& style) {
  const Bytes bytes(stored, stored + length);
  MeasureStored(id, bytes, kStoredForm, 1);
  ValueRun run(id, 1);
  Types().Load(id, run.Data(), bytes.data(), kStoredForm, 1);
  return Printable(TextOf(id, run.Data(), style));
}

// The one unit of a one-character text.
unsigned short UnitOf(const KvString& one) {
  const char* const bytes = one.StrGet();
  if (!KvIsWideCodeSet(one.GetCodeSet())) return static_cast<unsigned char>(*bytes);
  unsigned short unit = 0;
  std::memcpy(&unit, bytes, sizeof unit);
  return unit;
}

std::string Hex16(unsigned short number) {
  return "0x" + Hex32(number).substr(6);
}

std::string OrderInWords(unsigned short order, unsigned char language) {
  KvString words;
  KvConvertOrderToString(order, language, words);
  return std::string(TrimBlanks(Utf8FromString(words)));
}

}  // namespace

int RunCompare(const Arguments& arguments) {
  const char id = FindValueType(arguments[0]);
  const auto pair = ReadValues(id, arguments.From(1), StyleOf(arguments));
  const int order =
      Types().Cmp(id, pair->At(0), pair->At(1), CompareOperationOf(arguments), 1, kMemoryForm);
  Print(order < 0 ? "-1\n" : order > 0 ? "1\n" : "0\n");
  return kExitGood;
}

int RunHash(const Arguments& arguments) {
  const char id = FindValueType(arguments[0]);
  const auto run = ReadValues(id, arguments.From(1), StyleOf(arguments));
  int status = 0;
  const unsigned hash = Types().Hash(id, 0, run->Data(), run->Count(), kMemoryForm, status);
  if (status != kvOk) FailValue("hashing ended with status " + std::to_string(status));
  Print(Hex32(hash) + "\n");
  return kExitGood;
}

int RunBounds(const Arguments& arguments) {
  const char id = FindValueType(arguments[0]);
  const ValueStyle style = StyleOf(arguments);
  unsigned short predicate = PredicateOf(arguments[1]);
  Bytes constant = BoundOf(id, arguments[2], style);
  Bytes low = BoundOf(id, arguments[3], style);
  Bytes high = BoundOf(id, arguments[4], style);
  KvIdxBounds range{low.data(), high.data(), static_cast<unsigned char>(low.size()),
                    static_cast<unsigned char>(high.size())};
  KvIdxBounds narrowed;
  const float fraction = Types().EvalAndBound(id, &range, predicate, constant.data(), kStoredForm,
                                              1, &narrowed, nullptr);
  const auto side = [&](const unsigned char* bound, std::size_t length, const std::string& given) {
    return bound != nullptr ? StoredText(id, bound, length, style) + "  (new)" : Printable(given);
  };
  PrintTable({{"fraction", ShortestText(fraction)},
              {"lower", side(narrowed.lower, narrowed.lowerLength, arguments[3])},
              {"upper", side(narrowed.upper, narrowed.upperLength, arguments[4])}});
  std::free(narrowed.lower);
  std::free(narrowed.upper);
  return kExitGood;
}

int RunStep(const Arguments& arguments) {
  const char id = FindValueType(arguments[0]);
  const ValueStyle style = StyleOf(arguments);
  const auto run = ReadValues(id, arguments.From(1), style);
  const int status = Types().GetValue(id, run->Data(), Types().MemLenGet(id, 1), kMemoryForm, 'M');
  if (status == kvOverflow) {
    FailValue(Quoted(arguments[1]) + " is the last " + TypeName(id) + " value");
  }
  if (status != kvOk) FailValue(Quoted(arguments[1]) + " has no successor as " + TypeName(id));
  Print(Printable(TextOf(id, run->Data(), style)) + "\n");
  return kExitGood;
}

int RunOrder(const Arguments& arguments) {
  const KvString text = StringFromUtf8(arguments[0], StyleOf(arguments).strings);
  const KvCodeSet& codeSet = *KvLanguageContext::QueryCodeSet(text.GetCodeSet());
  std::vector<std::vector<std::string>> rows;
  for (unsigned short i = 0; i < text.Len(); ++i) {
    const KvString one = text.Copy(i, 1);
    std::string character = Printable(Utf8FromString(one));
    const KvCollationOrders orders = codeSet.Orders(UnitOf(one), text.GetLanguage());
    for (const unsigned short order : {orders.first, orders.second}) {
      if (order == 0) continue;
      rows.push_back({character, Hex16(order), OrderInWords(order, text.GetLanguage())});
      character.clear();
    }
  }
  if (!arguments.Has("json")) {
    PrintTable(rows);
    return kExitGood;
  }
  std::string json;
  for (const std::vector<std::string>& row : rows) {
    json += (json.empty() ? "" : ", ") + std::string("{\"character\": ") + JsonText(row[0]) +
            ", \"order\": " + JsonText(row[1]) + ", \"meaning\": " + JsonText(row[2]) + "}";
  }
  Print("[" + json + "]\n");
  return kExitGood;
}
