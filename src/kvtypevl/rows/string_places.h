// Where a text stands between two others, as a number: what estimates of index bounds go by. Words
// stand where a language has them (WordPlaces), all other texts evenly (EvenPlaces). Both look at
// the level where characters differ by what they are, and give places from 0 to 1.
#pragma once

#include <algorithm>
#include <iterator>
#include <limits>

#include "kvstring/collate.h"

namespace kv {

// Orders looked at: what both bounds share, and the digits behind it.
inline constexpr unsigned kDepth = 64;
inline constexpr double kFinest = 1e15;  // bases multiply up to here

inline constexpr unsigned kLetterZ = 0x4070;

// What a text begins with, at the level where characters differ by what they are. 0 is its end.
struct TextWeights {
  unsigned weight[kDepth] = {};
  unsigned count = 0;

  explicit TextWeights(const Text& text) {
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
  unsigned behind;
};

inline constexpr unsigned kFirstSymbolDigit = 1;
inline constexpr unsigned kFirstNumberDigit = 160;
inline constexpr unsigned kFirstLetterDigit = 170;
inline constexpr unsigned kFirstOtherDigit = 234;

// The digits of a language: spaces 0, symbols 1 to 159, numbers, its letters, everything else.
class Digits {
 public:
  explicit Digits(unsigned char language) : alphabet_(language) {}

  unsigned Of(unsigned weight) const {
    if (weight < kFirstSymbolOrder) return 0;
    if (weight < kFirstDigitOrder)
      return std::min(kFirstSymbolDigit + weight - kFirstSymbolOrder, kFirstNumberDigit - 1);
    // A text of orders may hold numbers that no character has: they go with the last one.
    if (weight < kFirstLetterOrder)
      return kFirstNumberDigit + std::min((weight - kFirstDigitOrder) / 10, 9u);
    if (weight < kFirstOtherOrder) return kFirstLetterDigit + alphabet_.PlaceOf(weight);
    return kFirstOtherDigit + weight - kFirstOtherOrder;
  }

  // The digits that may stand where this weight does.
  DigitRange ClassOf(unsigned weight) const {
    if (weight < kFirstSymbolOrder) return {0, kFirstSymbolDigit};
    if (weight < kFirstDigitOrder) return {kFirstSymbolDigit, kFirstNumberDigit};
    if (weight < kFirstLetterOrder) return {kFirstNumberDigit, kFirstLetterDigit};
    if (weight < kFirstOtherOrder)
      return {kFirstLetterDigit, kFirstLetterDigit + alphabet_.Count()};
    // Scripts come in stretches; 32 orders are 64 characters.
    constexpr unsigned kStretch = 32;
    const unsigned first = Of(weight) / kStretch * kStretch;
    return {first, first + kStretch};
  }

 private:
  Alphabet alphabet_;
};

// Places of texts that are spread evenly: a text is a number whose digits are its weights, and the
// base at a position is as large as the classes of characters that constant and bounds have there
// (10 for digits, the letters of the alphabet, ...). What both bounds begin with is left out; a
// text that does not begin so lies before or behind them all.
class EvenPlaces {
 public:
  EvenPlaces(unsigned char language, const TextWeights& lower, const TextWeights& upper,
             const TextWeights& constant)
      : digits_(language), begin_(lower) {
    while (shared_ < lower.count && shared_ < upper.count &&
           lower.At(shared_) == upper.At(shared_)) {
      ++shared_;
    }
    double steps = 1;
    for (unsigned index = shared_; index < kDepth && steps < kFinest; ++index) {
      DigitRange range{std::numeric_limits<unsigned>::max(), 0};
      for (const TextWeights* text : {&lower, &upper, &constant}) Widen(range, text->At(index));
      if (range.behind == 0) break;
      first_[depth_] = range.first;
      base_[depth_] = range.behind - range.first;
      steps *= base_[depth_++];
    }
  }

  double Place(const TextWeights& text) const {
    for (unsigned index = 0; index < std::min(shared_, text.count); ++index) {
      if (text.At(index) != begin_.At(index)) return text.At(index) < begin_.At(index) ? -1 : 2;
    }
    double place = 0;
    double unit = 1;
    for (unsigned index = 0; index < depth_ && shared_ + index < text.count; ++index) {
      unit /= base_[index];
      place += unit * (digits_.Of(text.At(shared_ + index)) - first_[index]);
    }
    return place;
  }

  // Behind all texts that begin with this one.
  double PlaceBehind(const TextWeights& text) const {
    const double place = Place(text);
    if (place < 0 || place > 1) return place;
    double unit = 1;
    for (unsigned index = 0; index < depth_ && shared_ + index < text.count; ++index) {
      unit /= base_[index];
    }
    return place + unit;
  }

 private:
  void Widen(DigitRange& range, unsigned weight) const {
    if (weight == 0) return;
    const DigitRange own = digits_.ClassOf(weight);
    range.first = std::min(range.first, own.first);
    range.behind = std::max(range.behind, own.behind);
  }

  Digits digits_;
  const TextWeights& begin_;
  unsigned shared_ = 0;
  unsigned depth_ = 0;
  unsigned first_[kDepth];
  unsigned base_[kDepth];
};

// Places of words among all words of a language, by its marks. A mark is a number, and a text is
// one too: its first letters are the digits, 1 for the first letter of the alphabet and 0 for what
// is no letter, in a base that is one more than the letters are. Between two marks numbers count
// evenly.
class WordPlaces {
 public:
  explicit WordPlaces(unsigned char language)
      : alphabet_(language),
        base_(alphabet_.Count() + 1),
        knowsLanguage_(language < std::size(zin::kWordMarks)),
        marks_(zin::kWordMarks[knowsLanguage_ ? language : 0]) {
    for (unsigned digit = 0; digit < zin::kWordMarkLetters; ++digit) end_ *= base_;
  }

  // Whether these are the ends of a column of words. "aaaa" and "zzzz" or "a" and "m" are not, nor
  // are texts of which the lower begins with a digit, nor such with hardly a mark between them.
  bool AreBetween(const TextWeights& lower, const TextWeights& upper) const {
    const unsigned first = lower.At(0);
    if (!knowsLanguage_ || (first >= kFirstDigitOrder && first < kFirstLetterOrder)) return false;
    return !AreCorners(lower, upper) && Place(upper) - Place(lower) > 2.0 / kStretches;
  }

  double Place(const TextWeights& text) const { return PlaceOf(NumberOf(text)); }

  // Behind all texts that begin with this one.
  double PlaceBehind(const TextWeights& text) const {
    double unit = end_;
    for (unsigned index = 0; index < text.count; ++index) unit /= base_;
    return PlaceOf(std::min(NumberOf(text) + unit, end_));
  }

 private:
  static constexpr unsigned kStretches = zin::kWordMarkCount + 1;
  static constexpr unsigned kDigits = 2 * zin::kWordMarkLetters;

  // Random letters reach into the corners of the alphabet, where no words are: a doubled a is the
  // beginning of Finnish ones, but with a doubled z at the end it is not.
  bool AreCorners(const TextWeights& lower, const TextWeights& upper) const {
    const auto isDoubled = [](const TextWeights& text) {
      return text.count == 1 || text.At(0) == text.At(1);
    };
    const unsigned last = upper.At(0);
    const bool isLast = last == kLetterZ || DigitBefore(last) == base_ - 1;
    return (lower.count == 1 && upper.count == 1) ||
           (isLast && isDoubled(lower) && isDoubled(upper));
  }

  // What is no letter of the alphabet comes before or behind all that goes on with one, and what
  // follows it does not count.
  double NumberOf(const TextWeights& text) const {
    double number = 0;
    double unit = end_;
    for (unsigned index = 0; index < std::min(kDigits, text.count); ++index) {
      const unsigned weight = text.At(index);
      if (weight < kFirstLetterOrder) break;
      unit /= base_;
      const bool isLetter = weight < kFirstOtherOrder && alphabet_.Has(weight);
      if (!isLetter) return number + unit * (DigitBefore(weight) + 1);
      number += unit * DigitBefore(weight);
    }
    return number;
  }

  unsigned DigitBefore(unsigned weight) const {
    return weight < kFirstOtherOrder ? alphabet_.PlaceOf(weight) + 1 : base_ - 1;
  }

  double PlaceOf(double number) const {
    const unsigned* mark = std::upper_bound(marks_, marks_ + zin::kWordMarkCount, number);
    // Words begin with the first letter, if not before.
    const double from = mark == marks_ ? end_ / base_ : mark[-1];
    const double to = mark == marks_ + zin::kWordMarkCount ? end_ : *mark;
    const double part = std::max(number - from, 0.0) / (to - from);
    return (static_cast<double>(mark - marks_) + part) / kStretches;
  }

  Alphabet alphabet_;
  unsigned base_;
  double end_ = 1;
  bool knowsLanguage_;
  const unsigned* marks_;
};

}  // namespace kv
