// kvtm diff: the first place in which two values differ. For values of fields that is a field, for
// texts a level of collation and a character, for blobs a byte.
#include <algorithm>

#include "catalogue.h"
#include "commands.h"
#include "failure.h"
#include "families.h"

namespace {

constexpr unsigned char kMemoryForm = 8;

struct Difference {
  std::string where;              // empty: none
  std::size_t offset = kNowhere;  // in the stored bytes
  Cell a = TextCell("");
  Cell b = TextCell("");
  static constexpr std::size_t kNowhere = static_cast<std::size_t>(-1);
};

std::size_t FirstDifference(const Bytes& a, const Bytes& b) {
  const auto [left, right] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
  return left == a.end() && right == b.end() ? Difference::kNowhere
                                             : static_cast<std::size_t>(left - a.begin());
}

// An integer field, from its stored bytes.
std::string FieldText(const StoredField& field, const Bytes& stored, unsigned char order) {
  unsigned long long bits = 0;
  const bool littleEnd = field.turns && order != 2;
  for (unsigned i = 0; i < field.width; ++i) {
    const unsigned at = field.offset + (littleEnd ? field.width - 1 - i : i);
    bits = bits << 8 | stored[at];
  }
  if (field.kind != 'i') return std::to_string(bits);
  const unsigned unused = 64 - 8 * field.width;
  return std::to_string(static_cast<long long>(bits << unused) >> unused);
}

Difference InFields(char id, const ValueRun& pair, const Bytes& a, const Bytes& b,
                    unsigned char order) {
  for (const StoredField& field : FactsOf(id).StoredFields()) {
    const auto at = static_cast<std::ptrdiff_t>(field.offset);
    const auto end = at + static_cast<std::ptrdiff_t>(field.width);
    if (std::equal(a.begin() + at, a.begin() + end, b.begin() + at)) continue;
    const auto cell = [&](const Bytes& bytes, unsigned index) -> Cell {
      if (field.kind != 'f') return NumberCell(FieldText(field, bytes, order));
      // A float is all that its value has, but for the mark of a null, which leaves its bytes.
      if (Types().IsNullValue(id, pair.At(index)) != 0) {
        return TextCell("0x" + ToHex(bytes.data() + field.offset, field.width));
      }
      return {TextOf(id, pair.At(index), {}), JsonOf(id, pair.At(index), {})};
    };
    return {field.name, field.offset, cell(a, 0), cell(b, 1)};
  }
  return {};
}

struct Level {
  const char* name;
  unsigned short operation;  // the levels up to this one count
};

constexpr Level kLevels[] = {
    {"level 1 (letters)",
     kvCompareExact | kvCompareIgnoreAccents | kvCompareIgnoreCase | kvCompareIgnoreVariants},
    {"level 2 (accents)", kvCompareExact | kvCompareIgnoreCase | kvCompareIgnoreVariants},
    {"level 3 (case)", kvCompareExact | kvCompareIgnoreVariants},
    {"level 4 (variants)", kvCompareExact},
};

bool Differ(KvString a, KvString b, unsigned short operation) {
  return Types().Cmp(KvSTRING_T, &a, &b, operation, 1, kMemoryForm) != 0;
}

// The first level at which two texts differ, and the first character that makes them differ there:
// the shortest beginnings that do.
Difference InLevels(const KvString& a, const KvString& b) {
  for (const Level& level : kLevels) {
    if (!Differ(a, b, level.operation)) continue;
    const unsigned longest = std::max(a.Len(), b.Len());
    unsigned short units = 1;
    while (units < longest && !Differ(a.Copy(0, units), b.Copy(0, units), level.operation)) ++units;
    const auto at = static_cast<unsigned short>(units - 1);
    const auto character = [&](const KvString& text) {
      return TextCell(at < text.Len() ? Printable(Utf8FromString(text.Copy(at, 1))) : "the end");
    };
    return {std::string(level.name) + ", character " + std::to_string(units), Difference::kNowhere,
            character(a), character(b)};
  }
  return {};
}

// Of the 8-bit strings: the first character without which they would be equal.
Difference InCharacters(char id, const ValueRun& pair) {
  const std::string a = TextOf(id, pair.At(0), {});
  const std::string b = TextOf(id, pair.At(1), {});
  if (Types().Cmp(id, pair.At(0), pair.At(1), kvCompareExact, 1, kMemoryForm) == 0) return {};
  const auto [left, right] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
  const auto at = static_cast<std::size_t>(left - a.begin());
  return {"text, byte " + std::to_string(at + 1), Difference::kNowhere, TextCell(a.substr(at)),
          TextCell(b.substr(at))};
}

Difference InBytes(const Bytes& a, const Bytes& b) {
  const std::size_t at = FirstDifference(a, b);
  if (at == Difference::kNowhere) return {};
  const auto byte = [&](const Bytes& bytes) {
    return TextCell(at < bytes.size() ? "0x" + ToHex(&bytes[at], 1) : "the end");
  };
  return {"stored byte", at, byte(a), byte(b)};
}

Difference Find(char id, const ValueRun& pair, const Bytes& a, const Bytes& b,
                unsigned char order) {
  const bool aIsNull = Types().IsNullValue(id, pair.At(0)) != 0;
  const bool bIsNull = Types().IsNullValue(id, pair.At(1)) != 0;
  if (aIsNull != bIsNull) {
    return {"null", Difference::kNowhere, TextCell(aIsNull ? "null" : "a value"),
            TextCell(bIsNull ? "null" : "a value")};
  }
  Difference found;
  switch (FactsOf(id).kind) {
    case TextKind::kString:
      found = InLevels(*static_cast<KvString*>(pair.At(0)), *static_cast<KvString*>(pair.At(1)));
      break;
    case TextKind::kPlainString:
      found = InCharacters(id, pair);
      break;
    default:  // a blob has no fields
      found = InFields(id, pair, a, b, order);
  }
  return found.where.empty() ? InBytes(a, b) : found;
}

}  // namespace

int RunDiff(const Arguments& arguments) {
  const char id = FindValueType(arguments[0]);
  const unsigned char order = OrderOf(arguments);
  const bool stored = AreStored(arguments);
  const auto pair = ValuesOf(arguments, id, 1);
  const Bytes a = stored ? BytesOfOperand(arguments[1]) : StoredForm(*pair, 0, order);
  const Bytes b = stored ? BytesOfOperand(arguments[2]) : StoredForm(*pair, 1, order);
  const Difference found = Find(id, *pair, a, b, order);
  const int compared = Types().Cmp(id, pair->At(0), pair->At(1), kvCompareExact, 1, kMemoryForm);
  const std::string sign = std::to_string((compared > 0) - (compared < 0));
  const Output output = OutputOf(arguments);
  if (found.where.empty() && output == Output::kText) {
    Print("no difference\n");
    return kExitGood;
  }
  const bool placed = found.offset != Difference::kNowhere;
  PrintCard({{"differ at", "offset", "A", "B", "order"},
             {{found.where.empty() ? NullCell() : TextCell(found.where),
               placed ? NumberCell(std::to_string(found.offset)) : NullCell(), found.a, found.b,
               NumberCell(sign)}}},
            output);
  return kExitGood;
}
