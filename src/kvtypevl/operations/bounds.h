// How much of an index range a predicate selects, and the constant as a new bound.
//
// The measure counts the units of the range [lo, hi] that lie above, below or at a constant
// interval [a, b]; the fraction sets it against the whole range. Estimates only: a planner compares
// them, so a result beyond the range of a float is infinite rather than an error.
#pragma once

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <type_traits>

#include "kvbase/codec.h"
#include "kvnull.h"
#include "kvtypemgr.h"

namespace kv {

// A difference that is no number counts as the largest one.
inline double FiniteOrLargest(double difference) {
  return std::isfinite(difference) ? difference : DBL_MAX;
}

// The smaller and the larger of two numbers; NaN when one of them is.
inline double Smaller(double a, double b) {
  return a < b || std::isnan(a) ? a : b;
}
inline double Larger(double a, double b) {
  return a > b || std::isnan(a) ? a : b;
}

struct ConstantInterval {
  double first;
  double last;
};

struct IndexRange {
  double lower;
  double upper;
};

inline double RangeMeasure(unsigned short predicate, ConstantInterval constant, IndexRange range,
                           double unit) {
  double measure = 0;
  if ((predicate & kvPredicateGreater) != 0) {
    const double from = range.lower > constant.last ? range.lower - unit : constant.last;
    const double above = FiniteOrLargest(range.upper - from);
    measure += std::max(above, 0.0);
  }
  if ((predicate & kvPredicateLess) != 0) {
    const double to = constant.first > range.upper ? range.upper + unit : constant.first;
    const double below = FiniteOrLargest(to - range.lower);
    measure += std::max(below, 0.0);
  }
  if ((predicate & kvPredicateEqual) != 0) {
    const double last = Smaller(range.upper, constant.last);
    const double first = Larger(range.lower, constant.first);
    const double shared = FiniteOrLargest(last - first) + unit;
    measure += std::max(shared, 0.0);
  }
  return measure;
}

inline float RoundToFloat(double value) {
  if (value > FLT_MAX) return std::numeric_limits<float>::infinity();
  return static_cast<float>(value);
}

inline float IntegerFraction(double measure, IndexRange range) {
  // An inverted range selects nothing, also where its width comes out as 0.
  if (measure == 0) return 0;
  return RoundToFloat(measure / (range.upper - range.lower + 1.0));
}

// A predicate that selects anything selects at least 2^-23 of the range. A constant less than a
// unit outside the range counts as partly in it, which must not make more of the range than there
// is; only a difference that is no number may (see FiniteOrLargest).
inline float FloatingFraction(double measure, IndexRange range) {
  if (measure == 0) return 0;
  const double width = FiniteOrLargest(range.upper - range.lower) + 1.0;
  double fraction = FiniteOrLargest(measure) / width;
  if (measure < DBL_MAX && fraction > 1) fraction = 1;
  return RoundToFloat(fraction > FLT_EPSILON ? fraction : FLT_EPSILON);
}

// Records a copy of the constant (`size` bytes) as the bounds that the predicate narrows: the lower
// one unless values below are wanted, the upper one unless values above are. A bound already there
// stays. Lengths are one byte wide, so a longer constant records nothing.
inline void RecordBound(unsigned char*& bound, unsigned char& length, const void* value,
                        unsigned size) {
  if (bound != nullptr || size == 0 || size > 255) return;
  bound = static_cast<unsigned char*>(std::malloc(size));
  if (bound == nullptr) {
    KvCallMemoryHandler(size);
    return;
  }
  std::memcpy(bound, value, size);
  length = static_cast<unsigned char>(size);
}

inline void RecordBounds(KvIdxBounds* newBounds, unsigned short predicate, const void* value,
                         unsigned size) {
  if (newBounds == nullptr) return;
  if ((predicate & kvPredicateLess) == 0) {
    RecordBound(newBounds->lower, newBounds->lowerLength, value, size);
  }
  if ((predicate & kvPredicateGreater) == 0) {
    RecordBound(newBounds->upper, newBounds->upperLength, value, size);
  }
}

// True when a bound is there and long enough for one element. A length of 0 means "one element", as
// it does for the comparers.
inline bool HasBound(const unsigned char* bound, unsigned char length, unsigned stride) {
  return bound != nullptr && (length == 0 || length >= stride);
}

inline bool HasRange(const KvIdxBounds* bounds, unsigned stride) {
  return bounds != nullptr && HasBound(bounds->lower, bounds->lowerLength, stride) &&
         HasBound(bounds->upper, bounds->upperLength, stride);
}

// Whether values stand closer to each other than a unit.
template <class Value>
inline constexpr bool kHasFractions = std::is_floating_point_v<Value>;
template <class Scalar>
inline constexpr bool kHasFractions<KvNullable<Scalar>> = std::is_floating_point_v<Scalar>;

// The fraction that a predicate on `constant` selects of the range between two values of the row.
// A null orders below every value: "less" and "equal" select nothing, "greater" the whole range;
// a null bound counts as a missing one.
template <class Row>
float FractionOf(unsigned short predicate, const typename Row::Codec::Value& constant,
                 const typename Row::Codec::Value& lower, const typename Row::Codec::Value& upper) {
  if constexpr (requires { Row::IsNull(constant); }) {
    if (Row::IsNull(lower) || Row::IsNull(upper)) return 0;
    if (Row::IsNull(constant)) return (predicate & kvPredicateGreater) != 0 ? 1.0f : 0.0f;
  }
  const double position = Row::Position(constant);
  const IndexRange range{Row::Position(lower), Row::Position(upper)};
  const double measure = RangeMeasure(predicate, {position, position}, range, 1.0);
  if constexpr (kHasFractions<typename Row::Codec::Value>) {
    return FloatingFraction(measure, range);
  } else {
    return IntegerFraction(measure, range);
  }
}

// The evaluator of every fixed-width row. Only the first element of constant and bounds is
// measured; the bound records the whole constant.
template <class Row>
float EvalAndBoundRun(const KvIdxBounds* bounds, unsigned short predicate, const void* value,
                      unsigned char formatByte, unsigned count, KvIdxBounds* newBounds) {
  using Codec = typename Row::Codec;
  if (count == 0 || value == nullptr) return 0;
  const Format format{static_cast<unsigned char>(formatByte & 0x0F)};
  const unsigned stride = Codec::Stride(format);
  float fraction = 0;
  if (HasRange(bounds, stride)) {
    fraction =
        FractionOf<Row>(predicate, Codec::Read(static_cast<const unsigned char*>(value), format),
                        Codec::Read(bounds->lower, format), Codec::Read(bounds->upper, format));
  }
  const o_u8b size = o_u8b{count} * stride;
  RecordBounds(newBounds, predicate, value, size > 255 ? 256u : static_cast<unsigned>(size));
  return fraction;
}

}  // namespace kv
