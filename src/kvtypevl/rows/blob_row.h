// The row of KvBlob: its slots as the catalogue takes them, and a reader of its stored form, which
// trusts no length in it.
#pragma once

#include "kvbase/lifetime.h"
#include "kvblob.h"
#include "kvcompare.h"
#include "kvtypemgr.h"
#include "kvtypevl/rows/blob_text.h"

namespace kv {

// One blob as it lies in memory or in a stored run.
struct BlobView {
  bool null = true;
  o_u4b length = 0;     // as the blob states it
  o_u4b available = 0;  // of it, what lies within the buffer
  const unsigned char* bytes = nullptr;

  bool IsCut() const { return available < length; }
};

// Walks a stored run, blob by blob:
//
//   total (4)   bytes that follow          length (4), bytes     for each blob; -1 is null
//
// Reads neither past the total nor past the buffer, whose length 0 means "as long as the total".
class StoredBlobs {
 public:
  StoredBlobs(const void* stored, unsigned bufferLength, bool reversed);

  // 0 with the next blob in `blob`; kvBufferShort when the run ends before a blob's length field
  // does; kvNotSupported for a length that no blob has.
  int Next(BlobView& blob);

 private:
  o_u4b ReadLength(const unsigned char* at) const;

  const unsigned char* at_;
  o_u4b remaining_ = 0;
  bool reversed_;
};

// Bytes that storing a run of blobs in memory takes.
o_u8b StoredBlobsSize(const KvBlob* blobs, unsigned count);

struct BlobRow {
  struct Codec {
    using Value = KvBlob;
  };

  // Bytes written; 0 when the run is too long for its 4-byte total.
  static unsigned Store(void* destination, const void* source, unsigned char format,
                        unsigned count);
  // Bytes read; 0 when the run's lengths contradict each other, nothing loaded, or when memory is
  // short.
  static unsigned Load(void* destination, const void* source, unsigned char format, unsigned count);
  static unsigned NullSize(unsigned count);
  // Of blobs in memory form, what storing them takes.
  static unsigned Size(const void* stored, unsigned char extra, unsigned char format,
                       unsigned count);
  static unsigned MemFileSize(MemFile* file, unsigned char format, unsigned count);
  static float EvalAndBound(KvIdxBounds* bounds, unsigned short& op, void* value,
                            unsigned char format, unsigned count, KvIdxBounds* newBounds);
  static unsigned Hash(unsigned char format, unsigned length, void* value, unsigned count,
                       int& result);
  static KvTypeConvertData* ConvertTo(void* values, unsigned count);
  static void* ConvertFrom(KvTypeConvertData* record, unsigned count);
  static unsigned Translate(void* destination, unsigned char destinationFormat,
                            unsigned destinationLength, const void* source,
                            unsigned char sourceFormat, unsigned sourceLength, unsigned count);
  static int IsNull(void* value);
  static int SetNull(void* value);
  static void* DefaultValue(unsigned count, int unused);
  // A blob's successor is one byte longer, for which a stored blob has no room: only 'O' and the
  // smallest value, the empty blob, are supported.
  static int Step(void* value, unsigned length, unsigned char format, unsigned char op);

  // The text of one value, for conversion: its bytes in hex.
  static void ToText(KvString& text, const KvBlob& blob);
  static void FromText(KvBlob& blob, KvString& text);
};

constexpr KvTypeDescriptor BlobSlots() {
  return {
      .typeName = nullptr,
      .typeIdName = nullptr,
      .create = CreateRun<KvBlob>,
      .destroy = DeleteRun<KvBlob>,
      .store = BlobRow::Store,
      .load = BlobRow::Load,
      .nullSize = BlobRow::NullSize,
      .size = BlobRow::Size,
      .memFileSize = BlobRow::MemFileSize,
      .compare = BlobCompare,
      .evalAndBound = BlobRow::EvalAndBound,
      .hash = BlobRow::Hash,
      .convertTo = BlobRow::ConvertTo,
      .convertFrom = BlobRow::ConvertFrom,
      .construct = ConstructRun<KvBlob>,
      .destruct = DestructRun<KvBlob>,
      .assign = AssignRun<KvBlob>,
      .copy = CopyRun<KvBlob>,
      .translate = BlobRow::Translate,
      .isNull = BlobRow::IsNull,
      .setNull = BlobRow::SetNull,
      .format = nullptr,
      .print = PrintBlob,
      .scan = ScanBlob,
      .sizeWord = 0,
      .defaultValue = BlobRow::DefaultValue,
      .step = BlobRow::Step,
      .reserved = nullptr,
  };
}

}  // namespace kv
