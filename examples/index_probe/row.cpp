#include "row.h"

#include <cstring>
#include <memory>

#include "failure.h"
#include "kvchecked.h"

namespace {

// Memory of one value, made and freed by its row.
class Value {
 public:
  Value(KvTypeMgr& types, char id) : types_(types), id_(id), at_(types.Create(id, 1)) {
    if (at_ == nullptr) throw std::bad_alloc();
  }
  ~Value() { types_.Delete(id_, at_, 1); }
  Value(const Value&) = delete;
  Value& operator=(const Value&) = delete;
  void* At() const { return at_; }

 private:
  KvTypeMgr& types_;
  char id_;
  void* at_;
};

char FindType(const KvTypeMgr& types, const std::string& name) {
  char id = 0;
  if (KvFindType(types, name, id) == kvOk && KvCheckType(types, id) == kvOk) return id;
  for (id = 0; id < KvRES_T; ++id) {
    if (name == std::to_string(id)) return id;
  }
  throw Failure("there is no type '" + name + "'; try KvString, o_4b, o_double or KvDate",
                Failure::kBadUsage);
}

const char* UsualFormat(char id) {
  switch (id) {
    case KvDATE_T:
    case D_DATE_T:
      return "%Y-%m-%d";
    case KvTIME_T:
    case D_TIME_T:
      return "%H:%M:%S";
    case KvDATIME_T:
    case KvDATIME_N_T:
    case D_TIMESTAMP_T:
      return "%Y-%m-%dT%H:%M:%S";
    default:
      return "";
  }
}

// Text in the narrowest code set that holds it: ISO 8859-1, else 16-bit Unicode. What is not UTF-8
// is taken as ISO 8859-1, as older word lists are.
KvString FromUtf8(const std::string& text) {
  KvString wide(kvCodeSetUnicode, KvString::GetDefaultLanguage());
  if (KvMBS2KvString(text.c_str(), wide, static_cast<int>(text.size())) < 0) return text.c_str();
  const unsigned short length = wide.Len();
  for (unsigned short i = 0; i < length; ++i) {
    unsigned short unit;
    std::memcpy(&unit, wide.StrGet() + 2 * i, sizeof unit);
    if (unit > 0xFF) return wide;
  }
  wide.MapToCodeSet(KvString::GetDefault8CodeSet());
  return wide;
}

std::string ToUtf8(const KvString& text) {
  char* bytes = nullptr;
  int size = 0;
  const int length = KvString2MultiByteString(text, bytes, size);
  const std::unique_ptr<char[]> owner(bytes);
  return length > 0 ? std::string(bytes, static_cast<std::size_t>(length)) : std::string();
}

}  // namespace

Row::Row(const std::string& name, const std::string& format)
    : types_(*DefaultTypeMgr(nullptr)),
      id_(FindType(types_, name)),
      format_(format.empty() ? UsualFormat(id_) : format) {}

Stored Row::Read(const std::string& text) const {
  const Value value(types_, id_);
  const KvScanned read = KvScanChecked(types_, id_, value.At(), FromUtf8(text), Format());
  if (read.status != kvOk) {
    const std::string wanted = format_.empty() ? "" : " of the format " + format_;
    throw Failure("'" + text + "' is no " + Name() + " value" + wanted + ": " +
                  KvStatusText(read.status) + ", at character " + std::to_string(read.position));
  }
  Stored stored(KvStoredSize(types_, id_, value.At(), 1).bytes);
  if (KvStoreChecked(types_, id_, stored.data(), stored.size(), value.At(), kKeyFormat, 1).status !=
      kvOk) {
    throw Failure("'" + text + "' cannot be stored");
  }
  return stored;
}

Stored Row::KeyOf(const void* value, unsigned length) const {
  const KvSortKeyKind kind{.type = id_, .cmpOp = kKeyOrder};
  Stored key(KvSortKeyBound(kind, length));
  std::size_t size = 0;
  int status = KvSortKey(kind, value, length, kKeyFormat, key.data(), key.size(), size);
  key.resize(size);
  if (status == kvBufferShort) {
    status = KvSortKey(kind, value, length, kKeyFormat, key.data(), key.size(), size);
  }
  if (status != kvOk) throw Failure("a value of " + Name() + " has no sort key");
  return key;
}

std::string Row::Print(const Stored& stored) const {
  const Value value(types_, id_);
  types_.Load(id_, value.At(), stored.data(), kKeyFormat, 1);
  KvString text;
  return ToUtf8(types_.PrintToKvString(id_, text, value.At(), Format(), 1));
}

bool Row::IsNull(const Stored& stored) const {
  const Value value(types_, id_);
  types_.Load(id_, value.At(), stored.data(), kKeyFormat, 1);
  return types_.IsNullValue(id_, value.At()) != 0;
}
