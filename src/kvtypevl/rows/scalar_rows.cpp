// The plain scalars' slots and exported comparers.

#include "kvtypevl/rows/scalar_rows.h"

#include "kvtypevl/operations/row_handlers.h"

namespace kv {

template struct RowHandlers<CharRow>;
template struct RowHandlers<ByteRow>;
template struct RowHandlers<ShortRow>;
template struct RowHandlers<WordRow>;
template struct RowHandlers<LongRow>;
template struct RowHandlers<DwordRow>;
template struct RowHandlers<BlockIdRow>;
template struct RowHandlers<IntRow>;
template struct RowHandlers<UnsignedIntRow>;
template struct RowHandlers<EightByteRow>;
template struct RowHandlers<UnsignedEightByteRow>;
template struct RowHandlers<FloatRow>;
template struct RowHandlers<DoubleRow>;

unsigned TranslateEnum(void* destination, unsigned char destinationFormat,
                       unsigned destinationLength, const void* source, unsigned char sourceFormat,
                       unsigned sourceLength, unsigned count) {
  return RowHandlers<IntRow>::Translate(destination, destinationFormat, destinationLength, source,
                                        sourceFormat, sourceLength, count);
}

}  // namespace kv

int ByteCompare(unsigned char op, unsigned length1, void* value1, unsigned length2, void* value2,
                unsigned short cmpOp, unsigned count, int& result) {
  return kv::CompareRun<kv::ByteRow>(op, length1, value1, length2, value2, cmpOp, count, result);
}

int CharCompare(unsigned char op, unsigned length1, void* value1, unsigned length2, void* value2,
                unsigned short cmpOp, unsigned count, int& result) {
  return kv::CompareRun<kv::CharRow>(op, length1, value1, length2, value2, cmpOp, count, result);
}

int ShortCompare(unsigned char op, unsigned length1, void* value1, unsigned length2, void* value2,
                 unsigned short cmpOp, unsigned count, int& result) {
  return kv::CompareRun<kv::ShortRow>(op, length1, value1, length2, value2, cmpOp, count, result);
}

int WordCompare(unsigned char op, unsigned length1, void* value1, unsigned length2, void* value2,
                unsigned short cmpOp, unsigned count, int& result) {
  return kv::CompareRun<kv::WordRow>(op, length1, value1, length2, value2, cmpOp, count, result);
}

int LongCompare(unsigned char op, unsigned length1, void* value1, unsigned length2, void* value2,
                unsigned short cmpOp, unsigned count, int& result) {
  return kv::CompareRun<kv::LongRow>(op, length1, value1, length2, value2, cmpOp, count, result);
}

int DwordCompare(unsigned char op, unsigned length1, void* value1, unsigned length2, void* value2,
                 unsigned short cmpOp, unsigned count, int& result) {
  return kv::CompareRun<kv::DwordRow>(op, length1, value1, length2, value2, cmpOp, count, result);
}

int IntCompare(unsigned char op, unsigned length1, void* value1, unsigned length2, void* value2,
               unsigned short cmpOp, unsigned count, int& result) {
  return kv::CompareRun<kv::IntRow>(op, length1, value1, length2, value2, cmpOp, count, result);
}

int UnsignedCompare(unsigned char op, unsigned length1, void* value1, unsigned length2,
                    void* value2, unsigned short cmpOp, unsigned count, int& result) {
  return kv::CompareRun<kv::UnsignedIntRow>(op, length1, value1, length2, value2, cmpOp, count,
                                            result);
}

int O_8BCompare(unsigned char op, unsigned length1, void* value1, unsigned length2, void* value2,
                unsigned short cmpOp, unsigned count, int& result) {
  return kv::CompareRun<kv::EightByteRow>(op, length1, value1, length2, value2, cmpOp, count,
                                          result);
}

int O_U8BCompare(unsigned char op, unsigned length1, void* value1, unsigned length2, void* value2,
                 unsigned short cmpOp, unsigned count, int& result) {
  return kv::CompareRun<kv::UnsignedEightByteRow>(op, length1, value1, length2, value2, cmpOp,
                                                  count, result);
}

int FloatCompare(unsigned char op, unsigned length1, void* value1, unsigned length2, void* value2,
                 unsigned short cmpOp, unsigned count, int& result) {
  return kv::CompareRun<kv::FloatRow>(op, length1, value1, length2, value2, cmpOp, count, result);
}

int DoubleCompare(unsigned char op, unsigned length1, void* value1, unsigned length2, void* value2,
                  unsigned short cmpOp, unsigned count, int& result) {
  return kv::CompareRun<kv::DoubleRow>(op, length1, value1, length2, value2, cmpOp, count, result);
}
