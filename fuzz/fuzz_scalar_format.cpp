// Arbitrary formats, texts and values through the print and scan functions of the scalar rows: no
// format may reach the C library unchecked, no text may pass its buffer, and what a default format
// prints must read back.
//
// Input: a byte that chooses the row, eight bytes of value, a format and a text, each ended by a
// zero byte or the end.
#include <algorithm>
#include <cstring>
#include <string>

#include "kvstring.h"
#include "kvtypemgr.h"
#include "require.h"

namespace {

constexpr char kRows[] = {Kv1B_T,  Kv2B_T,   Kv4B_T,  KvDOUBLE_T,   KvFLOAT_T,   KvU2B_T, KvU4B_T,
                          KvINT_T, KvENUM_T, KvU1B_T, KvUNSIGNED_T, KvBLOCKID_T, Kv8B_T,  KvU8B_T};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  if (size < 9) return 0;
  KvTypeMgr* types = DefaultTypeMgr(nullptr);
  const char row = kRows[data[0] % sizeof kRows];
  unsigned char value[8];
  std::memcpy(value, data + 1, 8);
  const std::string rest(reinterpret_cast<const char*>(data + 9), size - 9);
  const std::string format = rest.c_str();
  KvString text(rest.c_str() + std::min(format.size() + 1, rest.size()));

  KvString printed;
  types->PrintToKvString(row, printed, value, format.c_str(), 1);
  Require(printed.Len() < 1040);

  unsigned char scanned[8 + 8];
  std::memset(scanned, 0xA5, sizeof scanned);
  Require(types->ScanFromKvString(row, scanned, text, format.c_str(), 1) == scanned);
  for (unsigned i = types->MemLenGet(row, 1); i < sizeof scanned; ++i) Require(scanned[i] == 0xA5);

  if (row == Kv1B_T || row == KvU1B_T) return 0;
  types->PrintToKvString(row, printed, value, nullptr, 1);
  unsigned char again[8];
  types->ScanFromKvString(row, again, printed, nullptr, 1);
  KvString printedAgain;
  types->PrintToKvString(row, printedAgain, again, nullptr, 1);
  Require(std::strcmp(printed.StrGet(), printedAgain.StrGet()) == 0);
  return 0;
}
