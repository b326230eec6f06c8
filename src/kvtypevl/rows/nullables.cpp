// The handlers of the nullable rows, instantiated for the thirteen scalars.
#include "kvtypevl/rows/nullables.h"

#include "kvtypevl/operations/row_handlers.h"
#include "kvtypevl/rows/nullable_hash.h"

namespace kv {

template <class ScalarRowType>
unsigned NullableRow<ScalarRowType>::Store(void* destination, const void* source,
                                           unsigned char format, unsigned count) {
  using Behind = NullableCodec<ScalarCodecType, Indicator::kBehind>;
  return Format{format}.HasMemoryBit() ? StoreRun<Behind>(destination, source, format, count)
                                       : StoreRun<Codec>(destination, source, format, count);
}

template <class ScalarRowType>
unsigned NullableRow<ScalarRowType>::Load(void* destination, const void* source,
                                          unsigned char format, unsigned count) {
  using Behind = NullableCodec<ScalarCodecType, Indicator::kBehind>;
  return Format{format}.HasMemoryBit() ? LoadRun<Behind>(destination, source, format, count)
                                       : LoadRun<Codec>(destination, source, format, count);
}

template <class ScalarRowType>
unsigned NullableRow<ScalarRowType>::Hash(unsigned char formatByte, unsigned length,
                                          const void* value, unsigned count, int& status) {
  const Format format{static_cast<unsigned char>(formatByte & 0x0F)};
  const auto* at = static_cast<const unsigned char*>(value);
  status = kvOk;
  const unsigned stride = Codec::Stride(format);
  const unsigned visible = VisibleElements(length, stride, count);
  if (visible < count) status = kvBufferShort;
  NullableHash hash;
  Scalar scalar = ScalarCodecType::Blank();
  if (format.IsMemory()) {
    unsigned done = 0;
    const auto addUpTo = [&](unsigned end) {
      for (; done < end; ++done, at += stride) {
        std::memcpy(static_cast<void*>(&scalar), at, sizeof scalar);
        hash.Add(at[sizeof scalar] != 0, ScalarRowType::Key(scalar));
      }
    };
    addUpTo(NullablesBeforeLine<Scalar>(at, visible));
    const unsigned byLanes = AddLeadingNullables<Scalar>(hash, at, visible - done);
    done += byLanes;
    at += std::size_t{byLanes} * stride;
    addUpTo(visible);
  } else {
    for (unsigned i = 0; i < visible; ++i, at += stride) {
      const Value element = Codec::Read(at, format);
      hash.Add(element.IsNullValue(), ScalarRowType::Key(element.value));
    }
  }
  return hash.Result();
}

template <class ScalarRowType>
void* NullableRow<ScalarRowType>::Scan(void* values, KvString& text, const char* format,
                                       unsigned /*count*/) {
  if (values == nullptr) return nullptr;
  auto& value = *static_cast<Value*>(values);
  if (IsNullText(NarrowText(text).Get())) {
    value.SetNullValue();
  } else {
    ScalarRowType::Scan(&value.value, text, format, 1);
    value.null = 0;
  }
  return values;
}

template <class ScalarRowType>
void NullableRow<ScalarRowType>::Trace(Value& value, const KvString& text, const char* format,
                                       ScanTrace& trace) {
  if (TraceNull(text, trace)) {
    value.SetNullValue();
  } else {
    ScalarRowType::Trace(value.value, text, format, trace);
    value.null = 0;
  }
}

template <class ScalarRowType>
void NullableRow<ScalarRowType>::ToText(KvString& text, const Value& value) {
  if (value.IsNullValue()) {
    PrintNull(text);
  } else {
    ValueToText<ScalarRowType>(text, value.value);
  }
}

template <class ScalarRowType>
void NullableRow<ScalarRowType>::FromText(Value& value, KvString& text) {
  value.SetNullValue();
  if (IsNullText(NarrowText(text).Get())) return;
  TextToValue<ScalarRowType>(value.value, text);
  value.null = 0;
}

template struct RowHandlers<NullableRow<CharRow>>;
template struct RowHandlers<NullableRow<ByteRow>>;
template struct RowHandlers<NullableRow<ShortRow>>;
template struct RowHandlers<NullableRow<WordRow>>;
template struct RowHandlers<NullableRow<IntRow>>;
template struct RowHandlers<NullableRow<UnsignedIntRow>>;
template struct RowHandlers<NullableRow<LongRow>>;
template struct RowHandlers<NullableRow<DwordRow>>;
template struct RowHandlers<NullableRow<FloatRow>>;
template struct RowHandlers<NullableRow<DoubleRow>>;
template struct RowHandlers<NullableRow<Int64Row>>;
template struct RowHandlers<NullableRow<EightByteRow>>;
template struct RowHandlers<NullableRow<UnsignedEightByteRow>>;

}  // namespace kv
