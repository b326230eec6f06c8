#include "kvtypevl/rows/blob_keys.h"

#include "kvtypevl/rows/blobs.h"

namespace kv {
namespace {

// The blobs of a run, one after the other, whole or not at all.
class WholeBlobs {
 public:
  explicit WholeBlobs(const KeyedRun& run)
      : memory_(run.IsMemory() ? static_cast<const KvBlob*>(run.values) : nullptr),
        stored_(run.IsMemory() ? nullptr : run.values, run.length, run.format.IsReversed()) {}

  // kvOk or kvBadArgument.
  int Next(BlobView& blob) {
    if (memory_ == nullptr) {
      return stored_.Next(blob) == kvOk && !blob.IsCut() ? kvOk : kvBadArgument;
    }
    const KvBlob& value = *memory_++;
    blob = {};
    if (value.IsNullValue()) return kvOk;
    const auto length = static_cast<o_u4b>(value.Length());
    blob = {false, length, length, value.Seek(0, value.Length())};
    return kvOk;
  }

 private:
  const KvBlob* memory_;
  StoredBlobs stored_;
};

template <class Sink>
void PutContent(const BlobView& blob, Sink& sink) {
  const unsigned char* at = blob.bytes;
  const unsigned char* const end = at + blob.length;
  while (at != end) {
    const auto* zero =
        static_cast<const unsigned char*>(std::memchr(at, 0, static_cast<std::size_t>(end - at)));
    if (zero == nullptr) zero = end;
    sink.Put(at, static_cast<std::size_t>(zero - at));
    at = zero;
    for (; at != end && *at == 0; ++at) {
      sink.Put(0x00);
      sink.Put(0xFF);
    }
  }
}

template <class Sink>
void PutBlob(const BlobView& blob, unsigned char nullByte, Sink& sink) {
  sink.Put(blob.null ? nullByte : 0x01);
  if (blob.null) return;
  if (blob.length != 0) PutContent(blob, sink);
  sink.Put(0x00);
  sink.Put(0x00);
}

}  // namespace

o_u8b BlobKeys::Bound(o_u8b bytes, unsigned count) {
  return 2 * bytes + 3 * o_u8b{count};
}

int BlobKeys::Check(const KeyedRun& run, o_u8b& bytes) {
  const int extent = run.IsMemory() ? CheckExtent(run, sizeof(KvBlob), 0) : kvOk;
  if (extent != kvOk) return extent;
  WholeBlobs blobs(run);
  for (unsigned i = 0; i < run.count; ++i) {
    BlobView blob;
    const int status = blobs.Next(blob);
    if (status != kvOk) return status;
    bytes += blob.length;
  }
  return kvOk;
}

o_u8b BlobKeys::Measure(const KeyedRun& run) {
  WholeBlobs blobs(run);
  KeyMeasure measure;
  for (unsigned i = 0; i < run.count; ++i) {
    BlobView blob;
    blobs.Next(blob);
    PutBlob(blob, run.NullByte(), measure);
  }
  return measure.Size();
}

std::size_t BlobKeys::Write(const KeyedRun& run, unsigned char* keys, std::size_t* offsets) {
  WholeBlobs blobs(run);
  KeySink sink(keys);
  OffsetList begins(keys, offsets);
  for (unsigned i = 0; i < run.count; ++i) {
    begins.Add(sink.At());
    BlobView blob;
    blobs.Next(blob);
    PutBlob(blob, run.NullByte(), sink);
  }
  begins.Add(sink.At());
  return static_cast<std::size_t>(sink.At() - keys);
}

std::size_t BlobKeys::WriteBeginning(const KeyedRun& run, unsigned char* key) {
  BlobView blob;
  WholeBlobs(run).Next(blob);
  KeySink sink(key);
  sink.Put(blob.null ? run.NullByte() : 0x01);
  if (blob.length != 0) PutContent(blob, sink);
  return static_cast<std::size_t>(sink.At() - key);
}

int BlobKeys::Read(KeySource& source, const KvSortKeyKind&, bool nullsHigh, void* value) {
  auto* const blob = static_cast<KvBlob*>(value);
  unsigned char byte = 0;
  if (!source.Take(byte)) return kvBadArgument;
  if (byte != 0x01) {
    if (byte != (nullsHigh ? 0xFF : 0x00)) return kvBadArgument;
    if (blob != nullptr) blob->SetNullValue();
    return kvOk;
  }
  // Twice: the first walk finds the end and the length, so that nothing is changed by a bad key.
  KeySource content = source;
  o_u8b length = 0;
  for (;; ++length) {
    if (!source.Take(byte)) return kvBadArgument;
    if (byte != 0x00) continue;
    if (!source.Take(byte)) return kvBadArgument;
    if (byte == 0x00) break;
    if (byte != 0xFF) return kvBadArgument;
  }
  if (length > INT_MAX) return kvOverflow;
  if (blob == nullptr) return kvOk;
  KvBlob read(static_cast<int>(length));
  if (read.IsNullValue()) return kvNotSupported;  // memory was short
  unsigned char* to = read.Seek(0, static_cast<int>(length));
  for (o_u8b i = 0; i < length; ++i) {
    content.Take(to[i]);
    if (to[i] == 0x00) content.Take(byte);
  }
  *blob = std::move(read);
  return kvOk;
}

}  // namespace kv
