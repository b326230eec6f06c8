// contraction.cpp - runs of letters that a language sorts as one.
#include <algorithm>
#include <iterator>

#include "zinorder.h"

namespace kv {

namespace {

constexpr unsigned kLetterBits = 0xFFFFu & ~kCaseBits;

struct Entries {
  const zin::Contraction* first;
  const zin::Contraction* last;
  const zin::Contraction* begin() const { return first; }
  const zin::Contraction* end() const { return last; }
};

// The contractions of a language from one letter code up to another.
Entries EntriesOf(unsigned char language, unsigned firstCode, unsigned lastCode) {
  const unsigned char* starts =
      zin::kContractionStarts[zin::kContractionSets[zin::kTailorings[language]]];
  return {zin::kContractions + starts[firstCode], zin::kContractions + starts[lastCode]};
}

// How many of `orders` a contraction takes; 0 when they do not begin with it.
unsigned UnitsOf(const zin::Contraction& entry, const unsigned short* orders, unsigned count) {
  unsigned units = 0;
  for (; units < std::size(entry.letters) && entry.letters[units] != 0; ++units) {
    if (units == count || (orders[units] & kLetterBits) != entry.letters[units]) return 0;
  }
  return units;
}

// The case of a contraction as its order has it: bit 12 for a first small letter, bit 13 for a last
// one. kNoCase when the letters are in cases that do not make the contraction.
constexpr unsigned kNoCase = 1;

unsigned CaseOf(const zin::Contraction& entry, const unsigned short* orders, unsigned units) {
  const auto isSmall = [=](unsigned index) { return (orders[index] & kCaseBits) != 0; };
  const unsigned letterCase = (isSmall(0) ? 0x1000u : 0u) | (isSmall(units - 1) ? 0x2000u : 0u);
  for (unsigned index = 1; index + 1 < units; ++index) {
    if (isSmall(index) != isSmall(units - 1)) return kNoCase;
  }
  return letterCase == 0x1000 && !entry.mixedCase ? kNoCase : letterCase;
}

}  // namespace

Contracted Contract(unsigned char language, const unsigned short* orders, unsigned count) {
  const unsigned code = orders[0] >> 2 & 31;
  for (const zin::Contraction& entry : EntriesOf(language, code, code + 1)) {
    const unsigned units = UnitsOf(entry, orders, count);
    if (units == 0) continue;
    const unsigned letterCase = CaseOf(entry, orders, units);
    if (letterCase == kNoCase) continue;
    Contracted result{units, {static_cast<unsigned short>(entry.orders[0] | letterCase)}};
    // The second letter of a doubled form is a capital only when all are.
    if (entry.orders[1] != 0) {
      const unsigned second = letterCase == 0 ? 0 : kCaseBits;
      result.orders[1] = static_cast<unsigned short>(entry.orders[1] | second);
    }
    return result;
  }
  return {};
}

bool HasContractionOf(unsigned char language, unsigned weight, unsigned mask) {
  const Entries entries = EntriesOf(language, 0, 32);
  return std::any_of(entries.begin(), entries.end(), [=](const zin::Contraction& entry) {
    // The case is not the entry's, so it does not count.
    return ((OrderWeight(entry.orders[0]) ^ weight) & mask & ~kCaseBits) == 0;
  });
}

}  // namespace kv
