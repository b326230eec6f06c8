#include "row.h"

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "failure.h"

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
  for (char id = 0; id < KvRES_T; ++id) {
    if (name == types.NameGet(id, nullptr) || name == types.TypeIdNameGet(id, nullptr) ||
        name == std::to_string(id)) {
      return id;
    }
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

bool IsNumber(const std::string& text, double& number) {
  char* end = nullptr;
  number = std::strtod(text.c_str(), &end);
  return end != text.c_str() && *end == '\0';
}

// A scan stops where the number ends and saturates where the type does. What it read must be what
// was written, up to the precision of a float.
bool IsWhatWasRead(const std::string& text, const std::string& read) {
  double was;
  double is;
  if (!IsNumber(read, is)) return true;
  if (!IsNumber(text, was)) return false;
  return was == is || (std::isnan(was) && std::isnan(is)) ||
         std::fabs(was - is) <= 1e-6 * std::fabs(was);
}

// A text in lower case without blanks and zeros: a date is also read where it lacks the zeros that
// it is shown with.
std::string Essence(const std::string& text) {
  std::string essence;
  for (const char c : text) {
    if (c != ' ' && c != '0') essence += static_cast<char>(std::tolower(c));
  }
  return essence;
}

}  // namespace

Row::Row(const std::string& name, const std::string& format)
    : types_(*DefaultTypeMgr(nullptr)),
      id_(FindType(types_, name)),
      format_(format.empty() ? UsualFormat(id_) : format) {}

Stored Row::Read(const std::string& text) const {
  const Value value(types_, id_);
  KvString input = FromUtf8(text);
  const unsigned width = types_.MemLenGet(id_, 1);
  const bool isFixed = types_.IsFixed(id_) != 0;
  if (isFixed) std::memset(value.At(), 0x11, width);
  types_.ScanFromKvString(id_, value.At(), input, Format(), 1);

  // Two bytes a character, the terminator, and whatever header the row puts before them.
  Stored stored(2 * text.size() + 64);
  stored.resize(types_.Store(id_, stored.data(), value.At(), kKeyFormat, 1));
  bool isRead = !stored.empty();
  if (isFixed) {
    // A scan that reads nothing leaves what was there before.
    const Value other(types_, id_);
    std::memset(other.At(), 0x22, width);
    types_.ScanFromKvString(id_, other.At(), input, Format(), 1);
    Stored again(stored.size());
    types_.Store(id_, again.data(), other.At(), kKeyFormat, 1);
    isRead = isRead && again == stored && IsWhatWasRead(text, Print(stored));
  }
  if (!isRead) throw Failure("'" + text + "' is no " + Name() + " value");
  // A scan ends where the text no longer matches, and keeps what it has.
  if (*UsualFormat(id_) != '\0' && Essence(Print(stored)) != Essence(text)) {
    throw Failure("'" + text + "' is no " + Name() + " value of the format " + format_);
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
