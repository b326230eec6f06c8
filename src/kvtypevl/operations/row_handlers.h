// The definitions behind row.h: every slot of a row over its policy and the generic handlers, or
// the policy's own function where it brings one. Included by the files that instantiate rows and by
// nobody else.
#pragma once

#include "kvbase/lifetime.h"
#include "kvtypevl/operations/bounds.h"
#include "kvtypevl/operations/compare.h"
#include "kvtypevl/operations/convert.h"
#include "kvtypevl/operations/hash.h"
#include "kvtypevl/operations/row.h"
#include "kvtypevl/operations/scan.h"
#include "kvtypevl/operations/sort_key.h"
#include "kvtypevl/operations/step.h"
#include "kvtypevl/operations/storage.h"

namespace kv {

template <class Row>
void* RowHandlers<Row>::Create(unsigned count) {
  return CreateRun<typename Row::Codec::Value>(count);
}

template <class Row>
void* RowHandlers<Row>::Delete(void* values, unsigned count) {
  return DeleteRun<typename Row::Codec::Value>(values, count);
}

template <class Row>
unsigned RowHandlers<Row>::Store(void* destination, const void* source, unsigned char format,
                                 unsigned count) {
  if constexpr (requires { Row::Store(destination, source, format, count); }) {
    return Row::Store(destination, source, format, count);
  } else {
    return StoreRun<typename Row::Codec>(destination, source, format, count);
  }
}

template <class Row>
unsigned RowHandlers<Row>::Load(void* destination, const void* source, unsigned char format,
                                unsigned count) {
  if constexpr (requires { Row::Load(destination, source, format, count); }) {
    return Row::Load(destination, source, format, count);
  } else {
    return LoadRun<typename Row::Codec>(destination, source, format, count);
  }
}

template <class Row>
unsigned RowHandlers<Row>::NullSize(unsigned count) {
  if constexpr (requires { Row::NullSize(count); }) {
    return Row::NullSize(count);
  } else {
    return NullSizeOf<Row::Codec::kStoredWidth>(count);
  }
}

template <class Row>
unsigned RowHandlers<Row>::Size(const void* stored, unsigned char extra, unsigned char format,
                                unsigned count) {
  if constexpr (requires { Row::Size(stored, extra, format, count); }) {
    return Row::Size(stored, extra, format, count);
  } else {
    return SizeOf<Row::Codec::kStoredWidth>(stored, extra, format, count);
  }
}

template <class Row>
unsigned RowHandlers<Row>::MemFileSize(MemFile* file, unsigned char format, unsigned count) {
  if constexpr (requires { Row::MemFileSize(file, format, count); }) {
    return Row::MemFileSize(file, format, count);
  } else {
    return MemFileSizeOf<Row::Codec::kStoredWidth>(file, format, count);
  }
}

template <class Row>
int RowHandlers<Row>::Compare(unsigned char format, unsigned length1, void* value1,
                              unsigned length2, void* value2, unsigned short cmpOp, unsigned count,
                              int& status) {
  if constexpr (requires {
                  Row::Compare(format, length1, value1, length2, value2, cmpOp, count, status);
                }) {
    return Row::Compare(format, length1, value1, length2, value2, cmpOp, count, status);
  } else {
    return CompareRun<Row>(format, length1, value1, length2, value2, cmpOp, count, status);
  }
}

template <class Row>
float RowHandlers<Row>::EvalAndBound(KvIdxBounds* bounds, unsigned short& predicate, void* value,
                                     unsigned char format, unsigned count, KvIdxBounds* newBounds) {
  if constexpr (requires { Row::Evaluate(bounds, predicate, value, format, count, newBounds); }) {
    return Row::Evaluate(bounds, predicate, value, format, count, newBounds);
  } else {
    return EvalAndBoundRun<Row>(bounds, predicate, value, format, count, newBounds);
  }
}

template <class Row>
unsigned RowHandlers<Row>::Hash(unsigned char format, unsigned length, void* value, unsigned count,
                                int& status) {
  if constexpr (requires { Row::Hash(format, length, value, count, status); }) {
    return Row::Hash(format, length, value, count, status);
  } else {
    return HashRun<Row>(format, length, value, count, status);
  }
}

template <class Row>
KvTypeConvertData* RowHandlers<Row>::ConvertTo(void* values, unsigned count) {
  return ConvertRunToText<Row>(values, count);
}

template <class Row>
void* RowHandlers<Row>::ConvertFrom(KvTypeConvertData* record, unsigned count) {
  return ConvertRunFromText<Row>(record, count);
}

template <class Row>
void RowHandlers<Row>::Construct(void* values, unsigned count, unsigned unused) {
  ConstructRun<typename Row::Codec::Value>(values, count, unused);
}

template <class Row>
void RowHandlers<Row>::Destruct(void* values, unsigned count, unsigned unused) {
  DestructRun<typename Row::Codec::Value>(values, count, unused);
}

template <class Row>
void RowHandlers<Row>::Assign(void* destination, void* source, unsigned count, int unused) {
  AssignRun<typename Row::Codec::Value>(destination, source, count, unused);
}

template <class Row>
void RowHandlers<Row>::Copy(void* destination, void* source, unsigned count, int unused) {
  CopyRun<typename Row::Codec::Value>(destination, source, count, unused);
}

template <class Row>
unsigned RowHandlers<Row>::Translate(void* destination, unsigned char destinationFormat,
                                     unsigned destinationLength, const void* source,
                                     unsigned char sourceFormat, unsigned sourceLength,
                                     unsigned count) {
  return TranslateRun<Store, Load, typename Row::Codec::Value>(
      destination, destinationFormat, destinationLength, source, sourceFormat, sourceLength, count);
}

template <class Row>
int RowHandlers<Row>::IsNull([[maybe_unused]] void* value) {
  using Value = typename Row::Codec::Value;
  if constexpr (requires(const Value& v) { Row::IsNull(v); }) {
    return Row::IsNull(*static_cast<const Value*>(value)) ? 1 : 0;
  } else {
    return 0;
  }
}

template <class Row>
int RowHandlers<Row>::SetNull([[maybe_unused]] void* value) {
  using Value = typename Row::Codec::Value;
  int status = kvNotSupported;
  if constexpr (requires(Value & v) { Row::SetNull(v); }) {
    status = Row::SetNull(*static_cast<Value*>(value));
  }
  return status;
}

template <class Row>
KvString& RowHandlers<Row>::Print(KvString& out, void* values, const char* format, unsigned count) {
  return Row::Print(out, values, format, count);
}

template <class Row>
void* RowHandlers<Row>::Scan(void* values, KvString& text, const char* format, unsigned count) {
  return ScanValue<Row>(values, text, format, count);
}

template <class Row>
void* RowHandlers<Row>::DefaultValue(unsigned count, int /*unused*/) {
  using Value = typename Row::Codec::Value;
  if constexpr (requires { Row::Default(); }) {
    auto* values = static_cast<Value*>(CreateRun<Value>(count));
    if (values != nullptr) std::fill_n(values, count, Value(Row::Default()));
    return values;
  } else {
    return ConvertRunFromText<Row>(nullptr, count);
  }
}

template <class Row>
int RowHandlers<Row>::Step([[maybe_unused]] void* value, [[maybe_unused]] unsigned length,
                           [[maybe_unused]] unsigned char format,
                           [[maybe_unused]] unsigned char stepOp) {
  using Value = typename Row::Codec::Value;
  if constexpr (requires { Row::Step(value, length, format, stepOp); }) {
    return Row::Step(value, length, format, stepOp);
  } else if constexpr (requires(Value & v) { Row::Successor(v); }) {
    return StepValue<Row>(value, length, format, stepOp);
  } else {
    return kvNotSupported;
  }
}

template <class Row>
constexpr SortKeyHandlers SortKeysOfPolicy() {
  if constexpr (requires { typename Row::SortKeys; }) {
    return Row::SortKeys::kHandlers;
  } else if constexpr (requires { typename Row::SortKey; }) {
    return FixedKeys<typename Row::SortKey, typename Row::Codec>::kHandlers;
  } else {
    return FixedKeys<MemberKey<typename Row::Codec>, typename Row::Codec>::kHandlers;
  }
}

template <class Row>
constinit const SortKeyHandlers RowHandlers<Row>::kSortKeys = SortKeysOfPolicy<Row>();

template <class Row>
KvScanned RowHandlers<Row>::ScanChecked(void* value, const KvString& text, const char* format) {
  if constexpr (requires { Row::ScanChecked(value, text, format); }) {
    return Row::ScanChecked(value, text, format);
  } else {
    return kv::ScanChecked<Row>(value, text, format);
  }
}

}  // namespace kv
