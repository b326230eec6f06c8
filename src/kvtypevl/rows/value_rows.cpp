// KvInt64, KvBoolean and KvSeal: what their policies do beyond a line, their slots and the exported
// comparers.
#include "kvtypevl/rows/value_rows.h"

#include "kvtypevl/operations/row_handlers.h"

namespace kv {

float BooleanRow::Evaluate(const KvIdxBounds* bounds, unsigned short predicate, const void* value,
                           unsigned char /*format*/, unsigned count, KvIdxBounds* newBounds) {
  if (value != nullptr) RecordBounds(newBounds, predicate, value, count);
  return bounds != nullptr ? 1.0f / 3.0f : 0.0f;
}

int SealRow::Order(const KvSeal& a, const KvSeal& b, unsigned short) {
  if (a.high != b.high) return a.high - b.high;
  if (a.middle != b.middle) return a.middle - b.middle;
  return a.low - b.low;
}

int SealRow::Successor(KvSeal& seal) {
  constexpr o_8b kLargest = 0xFFFFFFFFFFFF;
  const o_8b number = Number(seal);
  if (number == kLargest) return kvOverflow;
  seal.ConvertFrom(number + 1);
  return kvOk;
}

KvString& SealRow::Print(KvString& out, void* values, const char* /*format*/, unsigned /*count*/) {
  return static_cast<const KvSeal*>(values)->PrintToKvString(out);
}

void* SealRow::Scan(void* values, KvString& text, const char* /*format*/, unsigned /*count*/) {
  if (values != nullptr) static_cast<KvSeal*>(values)->ScanFromKvString(text);
  return values;
}

template struct RowHandlers<Int64Row>;
template struct RowHandlers<BooleanRow>;
template struct RowHandlers<SealRow>;

}  // namespace kv

int Int64Compare(unsigned char op, unsigned length1, void* value1, unsigned length2, void* value2,
                 unsigned short cmpOp, unsigned count, int& result) {
  return kv::CompareRun<kv::Int64Row>(op, length1, value1, length2, value2, cmpOp, count, result);
}

int BooleanCompare(unsigned char op, unsigned length1, void* value1, unsigned length2, void* value2,
                   unsigned short cmpOp, unsigned count, int& result) {
  return kv::CompareRun<kv::BooleanRow>(op, length1, value1, length2, value2, cmpOp, count, result);
}
