// The evaluator of KvString's rows (slot 10): how much of an index range a predicate on a string
// selects, and the string as a new bound.
//
// A text's place in a range is worked out digit by digit, as that of a number: each collation order
// is a digit, and the base at a position is as large as the classes of characters that constant and
// bounds have there (10 for digits, the letters of the alphabet, ...). What both bounds begin with
// is left out first. Estimates only; the order itself is the comparer's business.

#include <algorithm>

#include "kvcollate.h"
#include "kvstorage.h"
#include "kvtypevl/operations/bounds.h"
#include "kvtypevl/rows/string_runs.h"
#include "kvtypevl/rows/string_storage.h"
#include "kvtypevl/rows/strings.h"

#include "kvstring/string_edit.h"

namespace kv {
namespace {

// Orders looked at: what both bounds share, and the digits behind it.
constexpr unsigned kDepth = 64;
constexpr double kFinest = 1e15;  // bases multiply up to here

// What a text is made of, at the level where characters differ by what they are. 0 is its end.
struct Weights {
  unsigned weight[kDepth] = {};
  unsigned count = 0;

  explicit Weights(const Text& text) {
    for (OrderCursor cursor(text); count < kDepth;) {
      const unsigned short order = cursor.Next();
      if (order == 0) break;
      weight[count++] = OrderWeight(order) >> 16;
    }
  }
  unsigned At(unsigned index) const { return index < kDepth ? weight[index] : 0; }
};

// The digits that weights of one class stand for lie side by side, classes in their order.
struct DigitRange {
  unsigned first;
  unsigned last;
};

constexpr unsigned kFirstSymbolDigit = 1;
constexpr unsigned kFirstNumberDigit = 160;
constexpr unsigned kFirstLetterDigit = 170;
constexpr unsigned kFirstOtherDigit = 234;

// The digits of a language: spaces 0, symbols 1 to 159, numbers, its letters, everything else.
class Digits {
 public:
  explicit Digits(unsigned char language) : alphabet_(language) {}

  unsigned Of(unsigned weight) const {
    if (weight < kFirstSymbolOrder) return 0;
    if (weight < kFirstDigitOrder)
      return std::min(kFirstSymbolDigit + weight - kFirstSymbolOrder, kFirstNumberDigit - 1);
    if (weight < kFirstLetterOrder)
      return kFirstNumberDigit + std::min((weight - kFirstDigitOrder) / 10, 9u);
    if (weight < kFirstOtherOrder) return kFirstLetterDigit + alphabet_.PlaceOf(weight);
    return kFirstOtherDigit + weight - kFirstOtherOrder;
  }

  // The digits that may stand where this weight does.
  DigitRange ClassOf(unsigned weight) const {
    const unsigned digit = Of(weight);
    if (weight < kFirstSymbolOrder) return {0, 0};
    if (weight < kFirstDigitOrder) return {kFirstSymbolDigit, kFirstNumberDigit - 1};
    if (weight < kFirstLetterOrder) return {kFirstNumberDigit, kFirstLetterDigit - 1};
    if (weight < kFirstOtherOrder)
      return {kFirstLetterDigit, kFirstLetterDigit + alphabet_.Count() - 1};
    // Scripts come in stretches; 32 orders are 64 characters.
    return {digit & ~31u, digit | 31u};
  }

 private:
  Alphabet alphabet_;
};

// Places of several texts on one line from 0 to 1. A text that does not begin as the bounds do
// lies before or behind them all.
class Scale {
 public:
  Scale(const Digits& digits, const Weights& lower, const Weights& upper, const Weights& constant)
      : digits_(digits), shared_(0) {
    while (shared_ < lower.count && shared_ < upper.count &&
           lower.At(shared_) == upper.At(shared_)) {
      ++shared_;
    }
    double steps = 1;
    for (unsigned index = shared_; index < kDepth && steps < kFinest; ++index) {
      DigitRange range{~0u, 0};
      for (const Weights* text : {&lower, &upper, &constant}) Widen(range, text->At(index));
      if (range.first > range.last) break;
      first_[depth_] = range.first;
      base_[depth_] = range.last - range.first + 1;
      steps *= base_[depth_++];
    }
    begin_ = &lower;
  }

  // `weights` up to `count`; the rest of the text does not matter.
  double Place(const Weights& weights, unsigned count) const {
    for (unsigned index = 0; index < std::min(shared_, count); ++index) {
      if (weights.At(index) != begin_->At(index)) {
        return weights.At(index) < begin_->At(index) ? -1 : 2;
      }
    }
    double place = 0;
    double unit = 1;
    for (unsigned index = 0; index < depth_ && shared_ + index < count; ++index) {
      const unsigned weight = weights.At(shared_ + index);
      if (weight == 0) break;
      unit /= base_[index];
      place += unit * (digits_.Of(weight) - first_[index]);
    }
    return place;
  }

  // How much of the line the texts take that begin with `count` orders.
  double Extent(unsigned count) const {
    double unit = 1;
    for (unsigned index = 0; index < depth_ && shared_ + index < count; ++index) {
      unit /= base_[index];
    }
    return unit;
  }

 private:
  void Widen(DigitRange& range, unsigned weight) const {
    if (weight == 0) return;
    const DigitRange own = digits_.ClassOf(weight);
    range.first = std::min(range.first, own.first);
    range.last = std::max(range.last, own.last);
  }

  Digits digits_;
  const Weights* begin_;
  unsigned shared_;
  unsigned depth_ = 0;
  unsigned first_[kDepth];
  unsigned base_[kDepth];
};

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

float SelectedFraction(unsigned short predicate, const Constant& constant, const Text& lower,
                       const Text& upper) {
  if (lower.IsNull() || upper.IsNull()) return 0;
  if (constant.text.IsNull()) return (predicate & kvPredicateGreater) != 0 ? 1.0f : 0.0f;
  const Weights lowerWeights(lower);
  const Weights upperWeights(upper);
  const Weights weights(constant.text);
  const unsigned char language =
      lower.language == 255 ? KvLanguageContext::GetDefaultLanguage() : lower.language;
  const Scale scale(Digits(language), lowerWeights, upperWeights, weights);

  const IndexRange range{scale.Place(lowerWeights, kDepth), scale.Place(upperWeights, kDepth)};
  ConstantInterval interval{scale.Place(weights, weights.count), 0};
  interval.last = interval.first;
  if (constant.isPrefix && interval.first >= 0 && interval.first <= 1) {
    interval.last += scale.Extent(weights.count);
  }
  const double width = range.upper - range.lower;
  if (width < 0) return 0;
  // One value is as small a part as the floating rows take it to be, or all of a range of one.
  const double unit = width > 0 ? width * FLT_EPSILON : 1;
  const double measure = RangeMeasure(predicate, interval, range, unit);
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
  if (size > kLongestBound) return;
  unsigned char image[kLongestBound] = {};
  RecordBound(bound, length, image, size);
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
