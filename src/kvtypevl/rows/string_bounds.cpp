// The evaluator of KvString's rows (slot 10): how much of an index range a predicate on a string
// selects, and the string as a new bound.
//
// How far up in a range a text lies is told by string_places.h. Estimates only; the order itself is
// the comparer's business.

#include <algorithm>

#include "kvstorage.h"
#include "kvtypevl/operations/bounds.h"
#include "kvtypevl/rows/string_places.h"
#include "kvtypevl/rows/string_runs.h"
#include "kvtypevl/rows/string_storage.h"
#include "kvtypevl/rows/strings.h"

#include "kvstring/string_edit.h"

namespace kv {
namespace {

// ---------------------------------------------------------------------------------------------

unsigned short UnitOf(const Text& text, unsigned index) {
  const bool wide = KvIsWideCodeSet(text.codeSet);
  const unsigned short unit = UnitAt(text.units, wide, index);
  return wide && IsReversed(text) ? Reversed(unit) : unit;
}

bool IsWildcard(unsigned short order) {
  constexpr Wildcard kAll[] = {Wildcard::kAsterisk, Wildcard::kQuestion, Wildcard::kEscape};
  return order != 0 && std::any_of(std::begin(kAll), std::end(kAll), [order](Wildcard wildcard) {
           return GetWildcardOrder(wildcard) == order;
         });
}

// The constant of a predicate: a text, or what all matches of a pattern begin with.
struct Constant {
  Text text;
  bool isPrefix = false;

  explicit Constant(const Text& whole) : text(whole) {
    for (unsigned index = 0; index < text.length; ++index) {
      const unsigned short unit = UnitOf(text, index);
      if (unit == 0) return;
      const UnitText own(unit, text.codeSet);
      if (!IsWildcard(OrderCursor({text.codeSet, text.language, own.bytes, 1}).Next())) continue;
      text.length = index;
      isPrefix = true;
      return;
    }
  }
};

struct Places {
  IndexRange range;
  ConstantInterval constant;
};

template <class Scale>
Places PlacesOn(const Scale& scale, const TextWeights& lower, const TextWeights& upper,
                const TextWeights& constant, bool isPrefix) {
  const double first = scale.Place(constant);
  return {{scale.Place(lower), scale.Place(upper)},
          {first, isPrefix ? scale.PlaceBehind(constant) : first}};
}

float SelectedFraction(unsigned short predicate, const Constant& constant, const Text& lower,
                       const Text& upper) {
  if (lower.IsNull() || upper.IsNull()) return 0;
  if (constant.text.IsNull()) return (predicate & kvPredicateGreater) != 0 ? 1.0f : 0.0f;
  const TextWeights from(lower);
  const TextWeights to(upper);
  const TextWeights weights(constant.text);
  const unsigned char language =
      lower.language == 255 ? KvLanguageContext::GetDefaultLanguage() : lower.language;
  const WordPlaces words(language);
  const Places places =
      words.AreBetween(from, to)
          ? PlacesOn(words, from, to, weights, constant.isPrefix)
          : PlacesOn(EvenPlaces(language, from, to, weights), from, to, weights, constant.isPrefix);

  const double width = places.range.upper - places.range.lower;
  if (width < 0) return 0;
  // One value is as small a part as the floating rows take it to be, or all of a range of one.
  const double unit = width > 0 ? width * FLT_EPSILON : 1;
  const double measure = RangeMeasure(predicate, places.constant, places.range, unit);
  return static_cast<float>(std::clamp(measure / (width > 0 ? width : 1), 0.0, 1.0));
}

// The first string of a run.
bool ReadFirst(const void* values, unsigned length, Format format, Text& text) {
  if (format.IsMemory()) return MemoryStringRun(values, length, format, 1).Next(text) == kvOk;
  return StoredStringRun(values, length, format, 1).Next(text) == kvOk;
}

bool ReadBound(const unsigned char* bound, unsigned char length, Format format, Text& text) {
  const unsigned least = format.IsMemory() ? sizeof(KvString) : 4;
  return HasBound(bound, length, least) && ReadFirst(bound, length, format, text);
}

// ---------------------------------------------------------------------------------------------
// A bound in memory form is one block that free() takes as a whole: the strings and behind them
// their texts, which they point to. It is only ever read.

constexpr unsigned kLongestBound = 255;

unsigned TextRoom(const KvString& string) {
  return (string.GetBufferSize() + 1u) & ~1u;
}

void RecordInMemory(unsigned char*& bound, unsigned char& length, const KvString* strings,
                    unsigned count) {
  if (bound != nullptr || count > kLongestBound / sizeof(KvString)) return;
  unsigned size = count * static_cast<unsigned>(sizeof(KvString));
  for (unsigned index = 0; index < count; ++index) size += TextRoom(strings[index]);
  unsigned char image[kLongestBound] = {};
  RecordBound(bound, length, image, size);  // nothing, if that is more
  if (bound == nullptr) return;

  unsigned char* text = bound + count * sizeof(KvString);
  for (unsigned index = 0; index < count; ++index) {
    StringAccess::CopyTo(bound + index * sizeof(KvString), text, strings[index]);
    text += TextRoom(strings[index]);
  }
}

void RecordStored(unsigned char*& bound, unsigned char& length, const void* stored, Format format,
                  unsigned count) {
  // Stops before the sum could overflow; a run that long records nothing anyway.
  unsigned size = 0;
  for (unsigned done = 0; done < count && size <= kLongestBound; ++done) {
    size = StoredRunSize(stored, format, done + 1);
  }
  RecordBound(bound, length, stored, size);
}

void RecordConstant(unsigned char*& bound, unsigned char& length, const void* value, Format format,
                    unsigned count) {
  if (format.IsMemory()) {
    RecordInMemory(bound, length, static_cast<const KvString*>(value), count);
  } else {
    RecordStored(bound, length, value, format, count);
  }
}

// What all matches of a pattern begin with, as a bound in the constant's form.
void RecordPrefix(unsigned char*& bound, unsigned char& length, const Text& prefix, Format format) {
  if (prefix.length == 0) return;
  KvString string;
  StringAccess::Assign(string, prefix.codeSet, prefix.language, prefix.units, prefix.codeSet,
                       prefix.length, prefix.byteOrder);
  if (format.IsMemory()) {
    RecordInMemory(bound, length, &string, 1);
    return;
  }
  unsigned char stored[kLongestBound];
  if (StoredStringSize(string) > kLongestBound) return;
  StringStore(stored, &string, format.byte, 1);
  RecordStored(bound, length, stored, format, 1);
}

float EvalAndBoundAnyStrings(const KvIdxBounds* bounds, unsigned short predicate, const void* value,
                             unsigned char format, unsigned count, KvIdxBounds* newBounds,
                             StringRowFlag /*row*/) {
  if (count == 0 || value == nullptr) return 0;
  const Format form{format};
  Text first;
  if (!ReadFirst(value, 0, form, first)) return 0;
  const Constant constant(first);

  float fraction = 0;
  Text lower;
  Text upper;
  if (bounds != nullptr && ReadBound(bounds->lower, bounds->lowerLength, form, lower) &&
      ReadBound(bounds->upper, bounds->upperLength, form, upper)) {
    fraction = SelectedFraction(predicate, constant, lower, upper);
  }
  if (newBounds == nullptr) return fraction;
  const bool narrowsLower = (predicate & kvPredicateLess) == 0;
  const bool narrowsUpper = (predicate & kvPredicateGreater) == 0;
  if (constant.isPrefix) {
    // Matches of a pattern have no greatest one that could be written down.
    if (narrowsLower) RecordPrefix(newBounds->lower, newBounds->lowerLength, constant.text, form);
    return fraction;
  }
  if (narrowsLower) RecordConstant(newBounds->lower, newBounds->lowerLength, value, form, count);
  if (narrowsUpper) RecordConstant(newBounds->upper, newBounds->upperLength, value, form, count);
  return fraction;
}

}  // namespace

float EvalAndBoundStrings(KvIdxBounds* bounds, unsigned short& predicate, void* value,
                          unsigned char format, unsigned count, KvIdxBounds* newBounds) {
  return EvalAndBoundAnyStrings(bounds, predicate, value, format, count, newBounds,
                                StringRowFlag::kCurrent);
}

float EvalAndBoundOldStrings(KvIdxBounds* bounds, unsigned short& predicate, void* value,
                             unsigned char format, unsigned count, KvIdxBounds* newBounds) {
  return EvalAndBoundAnyStrings(bounds, predicate, value, format, count, newBounds,
                                StringRowFlag::kOld);
}

}  // namespace kv
