// The door to the checked scans of the rows.
#include "kvchecked.h"
#include "kvtypes/catalogue.h"

KvScanned KvScanChecked(const KvTypeMgr& types, char id, void* value, const KvString& text,
                        const char* format) {
  if (const int status = KvCheckType(types, id); status != kvOk) return {status, 0};
  if (value == nullptr) return {kvBadArgument, 0};
  const auto row = static_cast<std::size_t>(kv::RowOf(id));
  const KvTypeDescriptor& slots = *kv::currentCatalogue[row];
  if (slots.scan != kv::ownScan[row]) return {kvNotSupported, 0};
  return kv::checkedScans[row](value, text, format != nullptr ? format : slots.format);
}
