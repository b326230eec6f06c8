#include "kvtypevl/operations/scan.h"

#include "kvstring/narrow_text.h"
#include "kvstring/null_text.h"
#include "kvtext/number_text.h"

namespace kv {

KvScanned Outcome(const ScanTrace& trace, const KvString& text) {
  if (trace.badFormat) return {kvBadArgument, 0};
  if (trace.outOfRange) return {kvOutOfRange, trace.position};
  const NarrowText narrow(text);
  const auto isBlankFrom = [](const char* at) { return *SkipBlanks(at) == 0; };
  if (!trace.any && isBlankFrom(narrow.Get())) return {kvNothingRead, 0};
  if (!trace.complete || !trace.any) return {kvMismatch, trace.position};
  if (!isBlankFrom(narrow.Get() + trace.position)) return {kvTextLeft, trace.position};
  return {kvOk, text.Len()};
}

ScanTrace TraceOfNull(const KvString& text) {
  const bool isEmpty = *NarrowText(text).Get() == 0;
  return {.position = isEmpty ? 0u : KvTypeMgr::GetNullPrintString().Len(),
          .complete = true,
          .any = true};
}

bool TraceNull(const KvString& text, ScanTrace& trace) {
  if (!IsNullText(NarrowText(text).Get())) return false;
  trace = TraceOfNull(text);
  return true;
}

}  // namespace kv
