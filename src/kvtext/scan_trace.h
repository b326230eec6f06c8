// How a scan went, for callers that ask: the scan functions of the rows say nothing of it.
#pragma once

namespace kv {

struct ScanTrace {
  // In characters of the text: behind what was read, or at what does not match.
  unsigned position = 0;
  bool complete = false;    // the text has all that the format asks for
  bool any = false;         // something was read
  bool outOfRange = false;  // what was read is not what the value holds
  bool badFormat = false;   // the format does not parse
};

}  // namespace kv
