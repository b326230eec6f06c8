// The value step of a row (slot 26): a value in memory form becomes its successor or the smallest
// value of its type.
#pragma once

#include <cmath>
#include <limits>

#include "kvbase.h"
#include "kvbase/format.h"
#include "kvtypemgr.h"

namespace kv {

enum class StepOp : unsigned char {
  kSmallest = kvSmallestValue,
  kSuccessor = 'M',
  kSuccessorToo = 'N',
  kKeep = 'O',
};

// A row policy supplies Successor(value), a status that leaves the value unchanged unless 0, and
// Smallest().
template <class Row>
int StepValue(void* value, unsigned /*length*/, unsigned char format, unsigned char stepOp) {
  auto& current = *static_cast<typename Row::Codec::Value*>(value);
  if (!Format{format}.IsMemory()) return kvNotSupported;
  switch (static_cast<StepOp>(stepOp)) {
    case StepOp::kSuccessor:
    case StepOp::kSuccessorToo:
      return Row::Successor(current);
    case StepOp::kKeep:
      return kvOk;
    case StepOp::kSmallest:
      current = Row::Smallest();
      return kvOk;
  }
  return kvNotSupported;
}

template <class T>
int IntegerSuccessor(T& value) {
  if (value == std::numeric_limits<T>::max()) return kvOverflow;
  ++value;
  return kvOk;
}

// The next representable value; the zeros count as one.
template <class T>
int FloatingSuccessor(T& value) {
  if (!std::isfinite(value)) return kvNotSupported;
  if (value == std::numeric_limits<T>::max()) return kvOverflow;
  value = std::nextafter(value, std::numeric_limits<T>::infinity());
  return kvOk;
}

}  // namespace kv
