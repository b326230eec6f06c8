// The row of KvBlob: its slots as the catalogue takes them, its text, and a reader of its stored
// form, which trusts no length in it.
#pragma once

#include "kvblob.h"
#include "kvcompare.h"
#include "kvtext/scan_trace.h"
#include "kvtypemgr.h"
#include "kvtypevl/operations/row.h"

class KvBlob;
class KvString;

namespace kv {

// Directives: %L the length, %X the bytes as pairs of hex digits. "%" and any other character
// print that character, a "%" that ends the format itself. A null blob prints the null print
// string.
KvString& PrintBlob(KvString& out, void* values, const char* format, unsigned count);

// Reads what "%X" prints, whatever the format, which by default shows no content: pairs of hex
// digits, blanks between them allowed. A text that begins with the null print string is null, an
// empty one an empty blob. Any other text leaves the blob as it is.
void* ScanBlob(void* values, KvString& text, const char* format, unsigned count);
// The same, with a trace. False when memory was short.
bool TraceBlob(KvBlob& blob, const KvString& text, ScanTrace& trace);

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

}  // namespace kv
