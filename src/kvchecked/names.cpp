// What statuses and types are called.

#include "kvchecked.h"
#include "kvtypes/catalogue.h"

namespace {

struct Status {
  int number;
  const char* name;
  const char* text;
};

constexpr Status kStatuses[] = {
    {kvOk, "kvOk", "success"},
    {kvNotSupported, "kvNotSupported", "not supported, or failed"},
    {kvOverflow, "kvOverflow", "there is no next value"},
    {kvBufferShort, "kvBufferShort", "the buffer ends too soon"},
    {kvBadArgument, "kvBadArgument", "an argument that has no meaning"},
    {kvListEnd, "kvListEnd", "the list holds no further item"},
    {kvNoTimeZone, "kvNoTimeZone", "the time zone is not known"},
    {kvNoSuchType, "kvNoSuchType", "there is no such type"},
    {kvDamaged, "kvDamaged", "the stored bytes are damaged"},
    {kvMismatch, "kvMismatch", "the text is not of the format"},
    {kvTextLeft, "kvTextLeft", "the text goes on behind the value"},
    {kvOutOfRange, "kvOutOfRange", "out of the range of the type"},
    {kvNothingRead, "kvNothingRead", "there is no value in the text"},
    {kvNoMemory, "kvNoMemory", "memory is short"},
};

constexpr Status kUnknown{0, "unknown status", "unknown status"};

const Status& StatusOf(int number) {
  for (const Status& status : kStatuses) {
    if (status.number == number) return status;
  }
  return kUnknown;
}

int RowCount(const KvTypeMgr& types) {
  return types.FormatVersion() < 4 ? kv::kOldRowCount : kv::kRowCount;
}

}  // namespace

const char* KvStatusName(int status) {
  return StatusOf(status).name;
}

const char* KvStatusText(int status) {
  return StatusOf(status).text;
}

int KvCheckType(const KvTypeMgr& types, char id) {
  const int row = kv::RowOf(id);
  if (row < 0 || row >= RowCount(types)) return kvNoSuchType;
  return row == kv::kIllegalRow ? kvNotSupported : kvOk;
}

int KvFindType(const KvTypeMgr& types, std::string_view name, char& id) {
  for (int row = 0; row < RowCount(types); ++row) {
    const auto candidate = static_cast<char>(row);
    if (name == types.NameGet(candidate, nullptr) ||
        name == types.TypeIdNameGet(candidate, nullptr)) {
      id = candidate;
      return kvOk;
    }
  }
  return kvNoSuchType;
}
