#include "remarks.h"

#include <algorithm>

#include "catalogue.h"
#include "families.h"
#include "names.h"
#include "values.h"

namespace {

constexpr unsigned char kReversed = 2;
constexpr unsigned char kMark = 0xFF;
constexpr unsigned char kDefaultLanguage = kvLanguageEnglish;

std::string HexByte(unsigned char byte) {
  return "0x" + ToHex(&byte, 1);
}

void OnBlock(const KvString& text, const Bytes& stored, std::optional<unsigned char> language,
             std::size_t place, std::vector<std::string>& remarks) {
  const unsigned char last = stored.back();
  // An old block of one text has one zero, its end; a present one whose mark is zero has another.
  if (last == 0 && std::count(stored.begin() + 2, stored.end(), 0) == 1) {
    remarks.push_back("old form");
    return;
  }
  if (last != kMark) {
    remarks.push_back("damaged mark " + HexByte(last) + " at offset " +
                      std::to_string(place + stored.size() - 1) + ", 0xff belongs there");
  }
  const unsigned char ought = language.value_or(kDefaultLanguage);
  if (!text.IsNullValue() &&
      (text.GetCodeSet() != kvCodeSetLatin1 || text.GetLanguage() != ought)) {
    remarks.push_back("code set " + std::to_string(text.GetCodeSet()) + ", language " +
                      std::to_string(text.GetLanguage()));
  }
}

void OnDate(char id, void* value, const Bytes& stored, unsigned char order,
            std::vector<std::string>& remarks) {
  if (IsSensible(id, value) || Types().IsNullValue(id, value)) return;
  remarks.push_back("no such date or time");
  ValueRun other(id, 1);
  LoadValue(id, other.Data(), stored, order == kReversed ? 0 : kReversed);
  if (IsSensible(id, other.Data())) {
    remarks.push_back("would be " + TextOf(id, other.Data(), {}) + " in the other byte order");
  }
}

void OnIndicator(const Bytes& stored, std::vector<std::string>& remarks) {
  if (stored[0] > 1) {
    remarks.push_back("null indicator " + HexByte(stored[0]) + " counts as present");
  }
  const bool isNull = stored[0] == 1;
  for (std::size_t i = 1; isNull && i < stored.size(); ++i) {
    if (stored[i] == 0) continue;
    remarks.push_back("bytes behind a null");
    return;
  }
}

}  // namespace

std::vector<std::string> RemarksOn(char id, void* value, const Bytes& stored, unsigned char order,
                                   std::optional<unsigned char> language, std::size_t place) {
  std::vector<std::string> remarks;
  if (stored.empty()) return remarks;
  const TypeFacts& facts = FactsOf(id);
  if (facts.kind == TextKind::kString) {
    OnBlock(*static_cast<KvString*>(value), stored, language, place, remarks);
  } else if (facts.kind == TextKind::kPlainString) {
    OnBlock(KvString(), stored, kDefaultLanguage, place, remarks);
  } else if (facts.kind == TextKind::kBoolean) {
    if (stored[0] > 1 && stored[0] != 0xFF) {
      remarks.push_back("byte " + HexByte(stored[0]) + " counts as true and prints as FALSE");
    }
  } else if (facts.kind == TextKind::kPattern) {
    OnDate(id, value, stored, order, remarks);
  }
  if (facts.IsNullableScalar()) OnIndicator(stored, remarks);
  return remarks;
}
