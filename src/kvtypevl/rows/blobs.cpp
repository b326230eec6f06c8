// The blob row: stored form, order, hash and bounds, over views of blobs in either form; as text a
// blob's length, and its bytes in hex.
#include "kvtypevl/rows/blobs.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <utility>

#include "kvbase/fold.h"
#include "kvblob.h"
#include "kvstring/null_text.h"
#include "kvtext/default_formats.h"
#include "kvtext/format_pieces.h"
#include "kvtext/number_text.h"
#include "kvtypevl/operations/row_handlers.h"
#include "kvtypevl/rows/blob_keys.h"

namespace kv {
namespace {

constexpr unsigned kLengthWidth = 4;
constexpr o_u4b kNullLength = 0xFFFFFFFF;

BlobView ViewOf(const KvBlob& blob) {
  if (blob.IsNullValue()) return {};
  const auto length = static_cast<o_u4b>(blob.Length());
  return {false, length, length, blob.Seek(0, blob.Length())};
}

void WriteLength(unsigned char*& at, o_u4b length, bool reversed) {
  CopyNumber<kLengthWidth>(at, reinterpret_cast<const unsigned char*>(&length), reversed);
  at += kLengthWidth;
}

// Blobs in memory or in a stored run, one after the other.
class BlobRun {
 public:
  BlobRun(unsigned char format, unsigned length, const void* values, unsigned count)
      : isMemory_(Format{format}.IsMemory()),
        stored_(isMemory_ || count == 0 ? nullptr : values, length, Format{format}.IsReversed()),
        at_(static_cast<const KvBlob*>(values)),
        left_(isMemory_ ? VisibleElements(length, sizeof(KvBlob), count) : 0) {}

  // A status as StoredBlobs::Next gives it.
  int Next(BlobView& blob) {
    if (!isMemory_) return stored_.Next(blob);
    if (left_ == 0) return kvBufferShort;
    --left_;
    blob = ViewOf(*at_++);
    return kvOk;
  }

 private:
  bool isMemory_;
  StoredBlobs stored_;
  const KvBlob* at_;
  unsigned left_;
};

// Null first (2, to be told from ordinary order); then by bytes, then by length.
int OrderBlobs(const BlobView& a, const BlobView& b) {
  if (a.null || b.null) return (b.null ? 2 : 0) - (a.null ? 2 : 0);
  const o_u4b common = std::min(a.available, b.available);
  const int order = common != 0 ? std::memcmp(a.bytes, b.bytes, common) : 0;
  return order != 0 ? ThreeWay(order, 0) : ThreeWay(a.length, b.length);
}

unsigned HashBytes(const unsigned char* bytes, o_u4b length) {
  return FoldUnits<unsigned char>(bytes, length, [](unsigned byte) { return byte; });
}

constexpr unsigned ReportedSize(o_u8b size) {
  return size <= UINT_MAX ? static_cast<unsigned>(size) : 0;
}

// What a stored run takes, by its total.
unsigned StoredTotal(const void* stored, bool reversed) {
  o_u4b total;
  CopyNumber<kLengthWidth>(reinterpret_cast<unsigned char*>(&total),
                           static_cast<const unsigned char*>(stored), reversed);
  return ReportedSize(o_u8b{total} + kLengthWidth);
}

// Estimates go by the first six bytes, as a number.
struct BlobPrefix {
  struct Codec {
    using Value = BlobView;
  };
  static bool IsNull(const BlobView& blob) { return blob.null; }
  static double Position(const BlobView& blob) {
    double position = 0;
    for (unsigned i = 0; i < 6; ++i) {
      position = position * 256 + (i < blob.available ? blob.bytes[i] : 0);
    }
    return position;
  }
};

// The first blob of a bound; null when there is none.
BlobView BoundOf(const unsigned char* bound, unsigned char length, unsigned char format) {
  const unsigned least = Format{format}.IsMemory() ? sizeof(KvBlob) : kLengthWidth;
  BlobView blob;
  const bool read =
      HasBound(bound, length, least) && BlobRun(format, length, bound, 1).Next(blob) == kvOk;
  return read ? blob : BlobView{};
}

}  // namespace

o_u8b StoredBlobsSize(const KvBlob* blobs, unsigned count) {
  o_u8b size = kLengthWidth;
  for (unsigned i = 0; i < count; ++i) {
    size += kLengthWidth + static_cast<o_u8b>(blobs[i].Length());
  }
  return size;
}

StoredBlobs::StoredBlobs(const void* stored, unsigned bufferLength, bool reversed)
    : at_(static_cast<const unsigned char*>(stored)), reversed_(reversed) {
  if (stored == nullptr || (bufferLength != 0 && bufferLength < kLengthWidth)) return;
  const o_u4b total = ReadLength(at_);
  at_ += kLengthWidth;
  remaining_ = bufferLength == 0 ? total : std::min(total, bufferLength - kLengthWidth);
}

o_u4b StoredBlobs::ReadLength(const unsigned char* at) const {
  o_u4b length;
  CopyNumber<kLengthWidth>(reinterpret_cast<unsigned char*>(&length), at, reversed_);
  return length;
}

int StoredBlobs::Next(BlobView& blob) {
  if (remaining_ < kLengthWidth) return kvBufferShort;
  const o_u4b length = ReadLength(at_);
  if (length > INT_MAX && length != kNullLength) return kvNotSupported;
  at_ += kLengthWidth;
  remaining_ -= kLengthWidth;
  blob = {};
  if (length == kNullLength) return kvOk;
  blob = {false, length, std::min(length, remaining_), at_};
  at_ += blob.available;
  remaining_ -= blob.available;
  return kvOk;
}

// Blobs order by their bytes, hash by them, and have no place in a stored run where a longer one
// would fit.
struct BlobRow {
  struct Codec {
    using Value = KvBlob;
  };
  using SortKeys = BlobKeys;

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
  static constexpr KvCompareFunc Compare = BlobCompare;
  static float Evaluate(KvIdxBounds* bounds, unsigned short& predicate, void* value,
                        unsigned char format, unsigned count, KvIdxBounds* newBounds);
  static unsigned Hash(unsigned char format, unsigned length, void* value, unsigned count,
                       int& status);
  // A blob's successor is one byte longer, for which a stored blob has no room: only 'O' and the
  // smallest value, the empty blob, are supported.
  static int Step(void* value, unsigned length, unsigned char format, unsigned char stepOp);

  static bool IsNull(const KvBlob& blob) { return blob.IsNullValue() != 0; }
  static int SetNull(KvBlob& blob) { return blob.SetNullValue(); }
  static KvBlob Default() { return {}; }

  static constexpr KvPrintFunc Print = PrintBlob;
  static constexpr KvScanFunc Scan = ScanBlob;
  static KvScanned ScanChecked(void* value, const KvString& text, const char* format);
  // For conversion: the bytes in hex.
  static void ToText(KvString& text, const KvBlob& blob) {
    PrintBlob(text, const_cast<KvBlob*>(&blob), "%X", 1);
  }
  static void FromText(KvBlob& blob, KvString& text) { ScanBlob(&blob, text, nullptr, 1); }
};

unsigned BlobRow::Store(void* destination, const void* source, unsigned char format,
                        unsigned count) {
  if (count == 0) return 0;
  const auto* blobs = static_cast<const KvBlob*>(source);
  const bool reversed = Format{format}.IsReversed();
  const o_u8b size = StoredBlobsSize(blobs, count);
  if (size > UINT_MAX) return 0;
  auto* at = static_cast<unsigned char*>(destination);
  WriteLength(at, static_cast<o_u4b>(size - kLengthWidth), reversed);
  for (unsigned i = 0; i < count; ++i) {
    const BlobView blob = ViewOf(blobs[i]);
    WriteLength(at, blob.null ? kNullLength : blob.length, reversed);
    if (blob.length != 0) std::memcpy(at, blob.bytes, blob.length);
    at += blob.length;
  }
  return static_cast<unsigned>(size);
}

unsigned BlobRow::Load(void* destination, const void* source, unsigned char format,
                       unsigned count) {
  if (count == 0) return 0;
  const bool reversed = Format{format}.IsReversed();
  BlobView blob;
  StoredBlobs check(source, 0, reversed);
  for (unsigned i = 0; i < count; ++i) {
    if (check.Next(blob) != kvOk || blob.IsCut()) return 0;
  }
  auto* blobs = static_cast<KvBlob*>(destination);
  StoredBlobs run(source, 0, reversed);
  for (unsigned i = 0; i < count; ++i) {
    run.Next(blob);
    if (blob.null) {
      blobs[i].SetNullValue();
    } else {
      blobs[i].SetTo(blob.bytes, static_cast<int>(blob.length));
      if (blobs[i].IsNullValue()) return 0;
    }
  }
  return StoredTotal(source, reversed);
}

unsigned BlobRow::NullSize(unsigned count) {
  return count != 0 ? kLengthWidth + kLengthWidth * count : 0;
}

unsigned BlobRow::Size(const void* stored, unsigned char /*extra*/, unsigned char format,
                       unsigned count) {
  if (count == 0 || stored == nullptr) return 0;
  if (!Format{format}.IsMemory()) return StoredTotal(stored, Format{format}.IsReversed());
  return ReportedSize(StoredBlobsSize(static_cast<const KvBlob*>(stored), count));
}

unsigned BlobRow::MemFileSize(MemFile* file, unsigned char format, unsigned count) {
  if (count == 0) return 0;
  const unsigned start = file->Tell();
  unsigned char total[kLengthWidth];
  const bool read = file->Read(total, kLengthWidth) == kLengthWidth;
  file->Seek(start);
  return read ? StoredTotal(total, Format{format}.IsReversed()) : 0;
}

float BlobRow::Evaluate(KvIdxBounds* bounds, unsigned short& predicate, void* value,
                        unsigned char format, unsigned count, KvIdxBounds* newBounds) {
  if (count == 0 || value == nullptr) return 0;
  const auto form = static_cast<unsigned char>(format & 0x0F);
  float fraction = 0;
  BlobView constant;
  if (bounds != nullptr && BlobRun(form, 0, value, 1).Next(constant) == kvOk) {
    const BlobView lower = BoundOf(bounds->lower, bounds->lowerLength, form);
    const BlobView upper = BoundOf(bounds->upper, bounds->upperLength, form);
    fraction = std::min(FractionOf<BlobPrefix>(predicate, constant, lower, upper), 1.0f);
  }
  // The memory form of a bound is the handle alone: it is good for as long as the constant lives.
  const o_u8b size =
      Format{form}.IsMemory() ? o_u8b{count} * sizeof(KvBlob) : Size(value, 0, form, count);
  RecordBounds(newBounds, predicate, value, static_cast<unsigned>(std::min<o_u8b>(size, UINT_MAX)));
  return fraction;
}

unsigned BlobRow::Hash(unsigned char format, unsigned length, void* value, unsigned count,
                       int& status) {
  status = kvOk;
  unsigned combined = 0;
  BlobRun run(format, length, value, count);
  BlobView blob;
  for (unsigned i = 0; i < count; ++i) {
    status = run.Next(blob);
    if (status != kvOk) break;
    combined ^= blob.null ? kNullHash : HashBytes(blob.bytes, blob.available);
    if (blob.IsCut()) {
      status = kvBufferShort;
      break;
    }
  }
  return combined * kHashMultiplier;
}

int BlobRow::Step(void* value, unsigned /*length*/, unsigned char format, unsigned char stepOp) {
  if (!Format{format}.IsMemory()) return kvNotSupported;
  if (stepOp == static_cast<unsigned char>(StepOp::kKeep)) return kvOk;
  if (stepOp != static_cast<unsigned char>(StepOp::kSmallest)) return kvNotSupported;
  static_cast<KvBlob*>(value)->SetTo(nullptr, 0);
  return kvOk;
}

KvScanned BlobRow::ScanChecked(void* value, const KvString& text, const char* /*format*/) {
  ScanTrace trace;
  if (!TraceBlob(*static_cast<KvBlob*>(value), text, trace)) return {kvNoMemory, 0};
  return Outcome(trace, text);
}

template struct RowHandlers<BlobRow>;

namespace {

void PutHex(TextSink& sink, const KvBlob& blob) {
  const unsigned char* bytes = blob.Seek(0, blob.Length());
  // A KvString holds no more than this; the rest would be produced only to be cut off.
  const int shown = std::min(blob.Length(), static_cast<int>(KvString::kMaximumBytes / 2));
  for (int i = 0; i < shown; ++i) {
    sink.Put(HexDigit(bytes[i] >> 4u));
    sink.Put(HexDigit(bytes[i] & 15u));
  }
}

void PutDirective(TextSink& sink, const KvBlob& blob, char letter) {
  if (letter == 'L') {
    sink.PutNumber(static_cast<unsigned>(blob.Length()));
  } else if (letter == 'X') {
    PutHex(sink, blob);
  } else {
    sink.Put(letter);
  }
}

// `blob`, empty at first, takes the bytes of `text`, up to what is not hex or where memory is
// short: then the blob is null. Result: the end of what was read.
const char* ReadHex(KvBlob& blob, const char* text) {
  unsigned char block[256];
  int used = 0;
  text = SkipBlanks(text);
  for (; IsHexDigit(text[0]) && IsHexDigit(text[1]); text = SkipBlanks(text + 2)) {
    block[used++] = static_cast<unsigned char>(HexValue(text[0]) << 4 | HexValue(text[1]));
    if (used != static_cast<int>(sizeof block)) continue;
    blob.Append(block, std::exchange(used, 0));
    if (blob.IsNullValue()) return text;
  }
  blob.Append(block, used);
  return text;
}

}  // namespace

KvString& PrintBlob(KvString& out, void* values, const char* format, unsigned /*count*/) {
  const KvBlob& blob = *static_cast<const KvBlob*>(values);
  if (blob.IsNullValue()) return PrintNull(out);
  LongestText text;
  TextSink sink(text);
  for (FormatPieces pieces(format != nullptr ? format : default_format::kBlob); pieces.Next();) {
    if (pieces.IsDirective()) {
      PutDirective(sink, blob, pieces.Character());
    } else {
      sink.Put(pieces.Character());
    }
  }
  return AssignPrinted(out, sink);
}

bool TraceBlob(KvBlob& blob, const KvString& text, ScanTrace& trace) {
  const NarrowText narrow(text);
  trace = {};
  if (BeginsWithNull(narrow.Get())) {
    trace = {.position = KvTypeMgr::GetNullPrintString().Len(), .complete = true, .any = true};
    blob.SetNullValue();
    return true;
  }
  KvBlob scanned;
  const char* end = ReadHex(scanned, narrow.Get());
  if (scanned.IsNullValue()) return false;
  trace.position = static_cast<unsigned>(end - narrow.Get());
  trace.complete = *end == 0;
  trace.any = true;
  if (trace.complete) blob = std::move(scanned);
  return true;
}

void* ScanBlob(void* values, KvString& text, const char* /*format*/, unsigned /*count*/) {
  ScanTrace trace;
  if (values != nullptr) TraceBlob(*static_cast<KvBlob*>(values), text, trace);
  return values;
}

}  // namespace kv

int BlobCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                void* value2, unsigned short /*cmpOp*/, unsigned count, int& status) {
  status = kvOk;
  kv::BlobRun left(format, length1, value1, count);
  kv::BlobRun right(format, length2, value2, count);
  kv::BlobView a;
  kv::BlobView b;
  for (unsigned i = 0; i < count && status == kvOk; ++i) {
    status = left.Next(a);
    if (status == kvOk) status = right.Next(b);
    if (status != kvOk) break;
    const int order = kv::OrderBlobs(a, b);
    if (order != 0) return order;
    // Equal as far as they go, but one of them ends before its length does.
    if (a.IsCut() || b.IsCut()) status = kvBufferShort;
  }
  return 0;
}
