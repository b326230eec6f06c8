// The thirteen nullable rows: one policy over the row of the scalar.
#pragma once

#include "kvnull.h"
#include "kvstring/null_text.h"
#include "kvtypevl/operations/sort_key.h"
#include "kvtypevl/rows/scalars.h"
#include "kvtypevl/rows/values.h"

namespace kv {

enum class Indicator { kBefore, kBehind };

// An indicator byte, 1 for null, before or behind the scalar's stored form.
template <class ScalarCodecType, Indicator place = Indicator::kBefore>
struct NullableCodec {
  using Scalar = typename ScalarCodecType::Value;
  using Value = KvNullable<Scalar>;

  static constexpr unsigned kMemoryWidth = sizeof(Value);
  static constexpr unsigned kStoredWidth = ScalarCodecType::kStoredWidth + 1;
  static constexpr bool HasSameLayout(bool /*reversed*/) { return false; }

  static constexpr unsigned Stride(Format format) {
    return format.IsMemory() ? kMemoryWidth : kStoredWidth;
  }

  // Without a branch, and what is not wanted is read too: nulls come in no order.
  static void Load(Value& value, const unsigned char* stored, bool reversed) {
    const bool isNull = stored[kIndicatorAt] == 1;
    LoadScalar(value.value, stored + kScalarAt, reversed, isNull);
    value.null = isNull ? 1 : 0;
    value.padding = {};
  }
  static void LoadWhole(Value& value, const unsigned char* stored, bool reversed) {
    Load(value, stored, reversed);
  }

  // A null stores a zero scalar, whatever it holds: equal values have equal stored bytes.
  static void Store(unsigned char* stored, const Value& value, bool reversed) {
    const Value written = value.IsNullValue() ? Value() : value;
    stored[kIndicatorAt] = written.null;
    ScalarCodecType::Store(stored + kScalarAt, written.value, reversed);
  }

  static Value Read(const unsigned char* at, Format format) {
    Value value;
    if (format.IsMemory()) {
      std::memcpy(static_cast<void*>(&value), at, sizeof value);
    } else if (format.HasMemoryBit()) {
      NullableCodec<ScalarCodecType, Indicator::kBehind>::Load(value, at, format.IsReversed());
    } else {
      Load(value, at, format.IsReversed());
    }
    return value;
  }

 private:
  // Floating numbers go as their bits: in 32 bits the compiler puts a double together in memory,
  // and a read of the whole waits until both halves are written.
  static void LoadScalar(Scalar& destination, const unsigned char* stored, bool reversed,
                         bool isNull) {
    if constexpr (std::is_floating_point_v<Scalar>) {
      using Bits = typename UnsignedOf<sizeof(Scalar)>::Type;
      Bits bits;
      ScalarCodec<Bits>::Load(bits, stored, reversed);
      bits = isNull ? 0 : bits;
      std::memcpy(&destination, &bits, sizeof bits);
    } else {
      Scalar scalar = ScalarCodecType::Blank();
      ScalarCodecType::Load(scalar, stored, reversed);
      destination = isNull ? Scalar{} : scalar;
    }
  }

  static constexpr unsigned kIndicatorAt =
      place == Indicator::kBefore ? 0 : ScalarCodecType::kStoredWidth;
  static constexpr unsigned kScalarAt = place == Indicator::kBefore ? 1 : 0;
};

template <class ScalarRowType>
struct NullableRow {
  using ScalarCodecType = typename ScalarRowType::Codec;
  using Codec = NullableCodec<ScalarCodecType>;
  using Value = typename Codec::Value;
  using Scalar = typename Codec::Scalar;
  using SortKeys = NullableKeys<typename ScalarRowType::SortKey, Codec>;
  static constexpr const char* kFormat = nullptr;

  // The format bit 0x08 puts the indicator behind the scalar, in every stored form.
  static unsigned Store(void* destination, const void* source, unsigned char format,
                        unsigned count);
  static unsigned Load(void* destination, const void* source, unsigned char format, unsigned count);

  static int Order(const Value& a, const Value& b, unsigned short cmpOp) {
    if (a.IsNullValue() || b.IsNullValue()) {
      return (b.IsNullValue() ? 1 : 0) - (a.IsNullValue() ? 1 : 0);
    }
    return OrderValues<ScalarRowType>(a.value, b.value, cmpOp);
  }

  // XOR of the elements' own hashes: a present one hashes as its scalar alone does, multiplier and
  // all, and the total is not multiplied again.
  static unsigned Hash(unsigned char format, unsigned length, const void* value, unsigned count,
                       int& status);

  static double Position(const Value& value) { return ScalarRowType::Position(value.value); }

  static int Successor(Value& value) {
    if (!value.IsNullValue()) return ScalarRowType::Successor(value.value);
    value = Smallest();
    return kvOk;
  }
  static Value Smallest() { return ScalarRowType::Smallest(); }

  static bool IsNull(const Value& value) { return value.IsNullValue() != 0; }
  static int SetNull(Value& value) { return value.SetNullValue(); }
  static Value Default() { return {}; }

  static KvString& Print(KvString& out, void* values, const char* format, unsigned /*count*/) {
    auto& value = *static_cast<Value*>(values);
    if (value.IsNullValue()) return PrintNull(out);
    return ScalarRowType::Print(out, &value.value, format, 1);
  }
  // A text that the scalar's scan function does not take leaves the scalar as it is, present.
  static void* Scan(void* values, KvString& text, const char* format, unsigned /*count*/);
  static void Trace(Value& value, const KvString& text, const char* format, ScanTrace& trace);

  static void ToText(KvString& text, const Value& value);
  static void FromText(Value& value, KvString& text);
};

}  // namespace kv
