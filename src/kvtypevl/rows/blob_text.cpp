// Blobs as text: their length, and their bytes in hex.
#include "kvtypevl/rows/blob_text.h"

#include <algorithm>
#include <utility>

#include "kvblob.h"
#include "kvstring/null_text.h"
#include "kvstring/text_sink.h"
#include "kvtext/default_formats.h"
#include "kvtext/number_text.h"

namespace kv {
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
    if (used < static_cast<int>(sizeof block)) continue;
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
  TextSink sink(out);
  for (const char* at = format != nullptr ? format : default_format::kBlob; *at != 0; ++at) {
    if (*at == '%' && at[1] != 0) {
      PutDirective(sink, blob, *++at);
    } else {
      sink.Put(*at);
    }
  }
  return sink.Finish();
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
