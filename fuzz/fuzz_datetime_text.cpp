// Formats and texts from strangers through the formatter and the scanner of every date and time
// class. The input is the value's bytes, the format and the text, the last two divided by a zero
// byte. What is looked for: reads past a text, undefined arithmetic, and a format whose print does
// not read back to something that prints the same.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "kvodmg.h"
#include "kvtypemgr.h"

namespace {

constexpr char kIds[] = {KvDATE_T, KvTIME_T, KvDATIME_T,    KvDATIME_N_T, KvTIMESPAN_T,
                         D_DATE_T, D_TIME_T, D_TIMESTAMP_T, D_INTERVAL_T};
constexpr std::size_t kValueBytes = 12;

// Formats that give every component of a KvDateTimeN back.
void CheckReadsBack(const unsigned char* bytes) {
  KvDateTimeN value(0.0), read(0.0);
  std::memcpy(static_cast<void*>(&value), bytes, sizeof value);
  const char* const format = "%Y/%m/%d %H/%M/%S %N";
  KvString text;
  value.PrintToKvString(text, format);
  if (read.ScanFromKvString(text, format) != 0) std::abort();
  if (read.Compare(value, 0x10) != 0) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < kValueBytes + 1) return 0;
  const char id = kIds[data[0] % sizeof kIds];
  const unsigned char* bytes = data + 1;
  CheckReadsBack(bytes);

  const std::string rest(reinterpret_cast<const char*>(bytes + kValueBytes),
                         size - kValueBytes - 1);
  const std::size_t cut = rest.find('\0');
  const std::string format = rest.substr(0, cut);
  KvString text(cut == std::string::npos ? "" : rest.c_str() + cut + 1);

  KvTypeMgr& types = *DefaultTypeMgr(nullptr);
  void* value = types.Create(id, 1);
  types.Load(id, value, bytes, 0, 1);
  KvString printed;
  types.PrintToKvString(id, printed, value, format.c_str(), 1);
  types.ScanFromKvString(id, value, text, format.c_str(), 1);
  types.ScanFromKvString(id, value, printed, format.c_str(), 1);
  types.PrintToKvString(id, printed, value, nullptr, 1);
  types.GetValue(id, value, 0, 8, 'M');
  types.Delete(id, value, 1);
  return 0;
}
