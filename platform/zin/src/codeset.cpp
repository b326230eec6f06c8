// codeset.cpp - one code set: mapping to and from Unicode, case mapping, collation orders and
// character properties, all by table. Numbers are resolved here and nowhere else: 0 is the native
// code set, an unknown number ISO 8859-1 or 16-bit Unicode by its width.
#include <algorithm>

#include "tables.h"

namespace {

using namespace kv::zin;

constexpr unsigned short kSubstitute = 0x3F;

unsigned char Resolve(unsigned char codeSet) {
  return codeSet == kvCodeSetBytes ? KvLanguageContext::GetNativeCodeSet() : codeSet;
}

template <class Entry>
Entry Paged(const unsigned char (&index)[256], const Entry (*pages)[256], unsigned short unicode) {
  return pages[index[unicode >> 8]][unicode & 0xFF];
}

// The unit of a Unicode character in an 8-bit code set, 0 when it has none.
unsigned char ByteUnit(unsigned char codeSet, unsigned short unicode) {
  return Paged(kFromUnicodeIndex[kv::ByteCodeSetSlot(codeSet)], kFromUnicodePages, unicode);
}

// Case mapping in one direction.
struct CaseMap {
  const unsigned char (&index)[256];
  const unsigned short (*pages)[256];
  const Expansion* expansions;
  const Expansion* expansionsEnd;
  unsigned short CasePair::*from;
  unsigned short CasePair::*to;
};

// Maps `unicode` into `codeSet` and appends it to `mapped`. False when the code set lacks it.
bool Append(const KvCodeSet& codeSet, unsigned short unicode, unsigned short mapped[3],
            unsigned& count) {
  const unsigned short unit = codeSet.FromUnicode(unicode);
  if (unit == kSubstitute && unicode != kSubstitute) return false;
  mapped[count++] = unit;
  return true;
}

// The expansion of a character when it has one and the code set holds all of it, else 0.
unsigned MapExpansion(const KvCodeSet& codeSet, unsigned short unicode, const CaseMap& map,
                      unsigned short mapped[3]) {
  const Expansion* found = std::lower_bound(
      map.expansions, map.expansionsEnd, unicode,
      [](const Expansion& entry, unsigned short code) { return entry.code < code; });
  if (found == map.expansionsEnd || found->code != unicode) return 0;
  unsigned count = 0;
  for (unsigned short part : found->mapped) {
    if (part != 0 && !Append(codeSet, part, mapped, count)) return 0;
  }
  return count;
}

// The pairs of one language; most have none.
struct CasePairs {
  const CasePair* first;
  const CasePair* last;
  const CasePair* begin() const { return first; }
  const CasePair* end() const { return last; }
};

CasePairs CasePairsOf(unsigned char language) {
  if (language == 255) language = KvLanguageContext::GetDefaultLanguage();
  const auto isOther = [language](const CasePair& pair) { return pair.language != language; };
  const CasePair* last = kCasePairs + kCasePairCount;
  const CasePair* first = std::find_if_not(kCasePairs, last, isOther);
  return {first, std::find_if(first, last, isOther)};
}

bool Has(const KvCodeSet& codeSet, unsigned short unicode) {
  return codeSet.ToUnicode(codeSet.FromUnicode(unicode)) == unicode;
}

// What `unicode` becomes by the language's own pairs; 0 when it is in none of them.
unsigned short OwnCase(const KvCodeSet& codeSet, unsigned short unicode, unsigned char language,
                       unsigned short CasePair::*from, unsigned short CasePair::*to) {
  for (const CasePair& pair : CasePairsOf(language)) {
    if (pair.*from == unicode) return codeSet.HasCaseOf(language) ? pair.*to : 0;
  }
  return 0;
}

unsigned MapCase(const KvCodeSet& codeSet, unsigned short unit, const CaseMap& map,
                 unsigned char language, unsigned short mapped[3]) {
  const unsigned short unicode = codeSet.ToUnicode(unit);
  if (const unsigned short own = OwnCase(codeSet, unicode, language, map.from, map.to)) {
    mapped[0] = codeSet.FromUnicode(own);
    return 1;
  }
  if (unicode >= 0x80) {
    if (const unsigned count = MapExpansion(codeSet, unicode, map, mapped)) return count;
  }
  const unsigned short single = Paged(map.index, map.pages, unicode);
  unsigned count = 0;
  if (single == 0 || !Append(codeSet, single, mapped, count)) mapped[0] = unit;
  return 1;
}

}  // namespace

unsigned short KvCodeSet::ToUnicode(unsigned short unit) const {
  const unsigned char codeSet = Resolve(number_);
  if (KvIsWideCodeSet(codeSet)) return unit;
  return kToUnicode[kv::ByteCodeSetSlot(codeSet)][unit & 0xFF];
}

unsigned short KvCodeSet::FromUnicode(unsigned short unicode) const {
  const unsigned char codeSet = Resolve(number_);
  if (KvIsWideCodeSet(codeSet)) return unicode;
  const unsigned char unit = ByteUnit(codeSet, unicode);
  return unit == 0 && unicode != 0 ? kSubstitute : unit;
}

unsigned short KvCodeSet::MapFrom(unsigned short unit, unsigned char sourceCodeSet) const {
  const KvCodeSet source(Resolve(sourceCodeSet));
  const KvCodeSet target(Resolve(number_));
  if (!source.IsWide() && !target.IsWide() &&
      kv::ByteCodeSetSlot(source.number_) == kv::ByteCodeSetSlot(target.number_)) {
    return unit & 0xFF;
  }
  return target.FromUnicode(source.ToUnicode(unit));
}

unsigned char KvCodeSet::SortClass(unsigned char language) const {
  return language >= 20 ? 20 : 1;
}

const KvUnicodeProps* KvCodeSet::GetUnicodeProps() const {
  static constexpr KvUnicodeProps props;
  return &props;
}

const KvUnicodeRecord* KvUnicodeProps::Lookup(unsigned short unicode) const {
  const unsigned char number = Paged(kPropertyIndex, kPropertyPages, unicode);
  return number == 0 ? nullptr : &kPropertyRecords[number];
}

KvCollationOrders KvCodeSet::Orders(unsigned short unit, unsigned char language) const {
  const unsigned char codeSet = Resolve(number_);
  const unsigned word =
      KvIsWideCodeSet(codeSet)
          ? kv::WideOrderTable(language).Word(unit)
          : kv::ByteOrderTable(codeSet, language).Word(static_cast<unsigned char>(unit));
  return {kv::FirstOrder(word), kv::SecondOrder(word)};
}

bool KvCodeSet::HasCaseOf(unsigned char language) const {
  const CasePairs pairs = CasePairsOf(language);
  return pairs.first != pairs.last &&
         std::all_of(pairs.begin(), pairs.end(), [this](const CasePair& pair) {
           return Has(*this, pair.small) && Has(*this, pair.capital);
         });
}

unsigned KvCodeSet::ToLower(unsigned short unit, unsigned short mapped[3],
                            unsigned char language) const {
  return MapCase(*this, unit,
                 {kLowerIndex, kLowerPages, kLowerExpansions,
                  kLowerExpansions + kLowerExpansionCount, &CasePair::capital, &CasePair::small},
                 language, mapped);
}

unsigned KvCodeSet::ToUpper(unsigned short unit, unsigned short mapped[3],
                            unsigned char language) const {
  return MapCase(*this, unit,
                 {kUpperIndex, kUpperPages, kUpperExpansions,
                  kUpperExpansions + kUpperExpansionCount, &CasePair::small, &CasePair::capital},
                 language, mapped);
}
