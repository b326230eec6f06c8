// CompareRun: the one walk behind every comparer. A row policy gives the order of two elements;
// the walk finds the first pair that is not equal and minds the buffer ends.
//
// Equal bytes are equal values in every row's order (NaN equals NaN, a wildcard matches itself), so
// equal stretches are skipped without being read as values. The reverse does not hold (-0.0 and
// +0.0, padding, wildcards): an element whose bytes differ is ordered, and when it turns out equal
// the walk goes on behind it.
#pragma once

#include "kvbase.h"
#include "kvbase/codec.h"
#include "kvbase/run.h"

namespace kv {

// Two values in memory form: by the row's own order, or by the one that follows from its codec.
template <class Row>
inline int OrderValues(const typename Row::Codec::Value& a, const typename Row::Codec::Value& b,
                       unsigned short cmpOp) {
  if constexpr (requires { Row::Order(a, b, cmpOp); }) {
    return Row::Order(a, b, cmpOp);
  } else {
    return Row::Codec::Order(a, b);
  }
}

// The difference of the first bytes that differ.
template <unsigned width>
inline int OrderBytes(const unsigned char* a, const unsigned char* b) {
  for (unsigned i = 0; i < width; ++i) {
    if (a[i] != b[i]) return a[i] - b[i];
  }
  return 0;
}

// Orders the elements at `a` and `b`, both in `format`. A row whose stored form orders by a rule of
// its own says so with OrderStored, one that orders by its stored bytes with kStoredBytesOrder.
template <class Row>
inline int OrderElements(const unsigned char* a, const unsigned char* b, Format format,
                         unsigned short cmpOp) {
  using Codec = typename Row::Codec;
  if constexpr (requires { Row::kStoredBytesOrder; }) {
    static_assert(Codec::OrdersAsBytes(false) && Codec::OrdersAsBytes(true));
    if (!format.IsMemory()) return OrderBytes<Codec::kStoredWidth>(a, b);
  }
  const typename Codec::Value left = Codec::Read(a, format);
  const typename Codec::Value right = Codec::Read(b, format);
  if constexpr (requires { Row::OrderStored(left, right, cmpOp); }) {
    if (!format.IsMemory()) return Row::OrderStored(left, right, cmpOp);
  }
  return OrderValues<Row>(left, right, cmpOp);
}

// A run of two elements and more. Kept out of line, so that the single element does not pay for it.
template <class Row>
[[gnu::noinline]] int CompareElements(Format format, unsigned length1, const unsigned char* a,
                                      unsigned length2, const unsigned char* b,
                                      unsigned short cmpOp, unsigned count, int& status) {
  const unsigned stride = Row::Codec::Stride(format);
  const unsigned visible =
      std::min(VisibleElements(length1, stride, count), VisibleElements(length2, stride, count));
  // The last visible element may end outside its buffer, so it is not part of the byte scan.
  unsigned left = visible - 1;
  const auto pass = [&](unsigned elements) {
    a += std::size_t{elements} * stride;
    b += std::size_t{elements} * stride;
    left -= elements;
  };
  while (left != 0) {
    const std::size_t different = FirstDifference(a, b, std::size_t{left} * stride);
    pass(static_cast<unsigned>(different / stride));
    if (left == 0) break;
    const int order = OrderElements<Row>(a, b, format, cmpOp);
    if (order != 0) return order;
    pass(1);
  }
  const int order = OrderElements<Row>(a, b, format, cmpOp);
  if (order == 0 && visible < count) status = kvBufferShort;
  return order;
}

template <class Row>
inline int CompareRun(unsigned char formatByte, unsigned length1, const void* value1,
                      unsigned length2, const void* value2, unsigned short cmpOp, unsigned count,
                      int& status) {
  const Format format{static_cast<unsigned char>(formatByte & 0x0F)};
  const auto* a = static_cast<const unsigned char*>(value1);
  const auto* b = static_cast<const unsigned char*>(value2);
  status = kvOk;
  // A single element, the index probe, is never tested against the buffer ends. Nor is it jumped
  // to: a taken branch cost it a seventh of its time.
  if (count == 1) [[likely]]
    return OrderElements<Row>(a, b, format, cmpOp);
  if (count == 0) return 0;
  return CompareElements<Row>(format, length1, a, length2, b, cmpOp, count, status);
}

}  // namespace kv
