// Scans: that of the slot, which says nothing of how it went, and the checked one (kvchecked.h). A
// policy's Trace reads into a copy of the value and notes what the slot has no way to tell; here
// that becomes a status, and the value is taken only when all of it is in the text.
#pragma once

#include <cstring>

#include "kvchecked.h"
#include "kvtext/scan_trace.h"

namespace kv {

// What a scan came to that went so.
KvScanned Outcome(const ScanTrace& trace, const KvString& text);

// How it goes where the null print string, or an empty text, is the value.
ScanTrace TraceOfNull(const KvString& text);
// The same for a row where any such text is null; false for another text.
bool TraceNull(const KvString& text, ScanTrace& trace);

template <class Row>
void* ScanValue(void* values, KvString& text, const char* format, [[maybe_unused]] unsigned count) {
  if constexpr (requires { Row::Scan(values, text, format, count); }) {
    return Row::Scan(values, text, format, count);
  } else {
    ScanTrace trace;
    if (values != nullptr) {
      Row::Trace(*static_cast<typename Row::Codec::Value*>(values), text, format, trace);
    }
    return values;
  }
}

template <class Row>
KvScanned ScanChecked(void* value, const KvString& text, const char* format) {
  typename Row::Codec::Value read;
  std::memcpy(static_cast<void*>(&read), value, sizeof read);
  ScanTrace trace;
  Row::Trace(read, text, format, trace);
  const KvScanned outcome = Outcome(trace, text);
  if (outcome.IsValue()) std::memcpy(value, static_cast<const void*>(&read), sizeof read);
  return outcome;
}

}  // namespace kv
