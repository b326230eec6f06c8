// KvTypeMgr: maps a type id to its row and calls the function in the slot. Each type's behaviour
// lives in its row; what is here is the mapping and the few frames around it (arrays in printing,
// setting null, stepping stored values).

#include "kvtypemgr.h"

#include <cstdlib>
#include <cstring>
#include <utility>

#include "kvbase/format.h"
#include "kvstring.h"
#include "kvstring/string_edit.h"
#include "kvtypes/catalogue.h"
#include "kvtypevl/rows/dates.h"
#include "kvtypevl/rows/scalars.h"

namespace {

constexpr unsigned short kNullCapability = 1;
constexpr unsigned short kIntegralCapability = 2;
constexpr unsigned short kTimeStampCapability = 3;

// Factory numbers beyond the known ones fall back to the last two catalogues. That 11 means 3, the
// old catalogue, has a reason: it was a pre-release number of the old format.
unsigned short ClampFactory(unsigned factory) {
  if (factory >= 12) return 4;
  if (factory == 11) return 3;
  return static_cast<unsigned short>(factory);
}

char* CopyName(const char* name, char* buffer) {
  if (buffer == nullptr) return const_cast<char*>(name);
  return std::strcpy(buffer, name);
}

template <class Slot>
Slot Exchange(Slot& slot, Slot replacement) {
  const Slot previous = slot;
  if (replacement != nullptr) slot = replacement;
  return previous;
}

// Slots were typed before const was: those that read take what the methods promise not to change.
void* ForSlot(const void* values) {
  return const_cast<void*>(values);
}

unsigned MemoryWidth(const KvTypeDescriptor& row) {
  return static_cast<unsigned>(row.sizeWord & 0xFFFF);
}

unsigned short IsFixedRow(const KvTypeDescriptor& row) {
  return static_cast<unsigned short>((row.sizeWord >> 16) & 0xFFFF);
}

// The null print string: one object from the first initialiser of the process to the very end. Its
// first text lies in static memory: it is there before every initialiser and needs no allocation,
// which could fail. Unloading puts it back, for those that print later still.
class NullPrintString {
 public:
  constexpr NullPrintString() : string_(kvCodeSetLatin1, kvLanguageEnglish) { UseBuiltIn(); }
  // Not the place to put anything back: compilers leave out what is written to a dying object.
  ~NullPrintString() {}
  NullPrintString(const NullPrintString&) = delete;
  NullPrintString& operator=(const NullPrintString&) = delete;

  const KvString& Get() const { return string_; }

  void Reset() {
    Release();
    UseBuiltIn();
  }

  // When memory is short for `text`, the present one stays.
  void Set(const KvString& text) {
    KvString copy(text);
    if (copy.Len() != text.Len()) return;
    Release();
    string_ = std::move(copy);
  }

 private:
  constexpr void UseBuiltIn() {
    kv::StringAccess::Borrow(string_, builtIn_, sizeof builtIn_);
    isBuiltIn_ = true;
  }
  void Release() {
    if (isBuiltIn_) kv::StringAccess::Borrow(string_, nullptr, 0);
    string_ = KvString(kvCodeSetLatin1, kvLanguageEnglish);
    isBuiltIn_ = false;
  }

  static inline unsigned char builtIn_[] = "{NULL}";
  union {
    KvString string_;  // never destroyed
  };
  bool isBuiltIn_ = true;
};
constinit NullPrintString nullPrintString;

[[gnu::destructor]] void ResetNullPrintString() {
  nullPrintString.Reset();
}

constexpr char kArraySeparator[] = ",";
constexpr char kZeroText[] = "0";

// Appends the values of a run with separators between. Apart, so that a single value, which nearly
// all are, pays nothing for the texts of a list.
[[gnu::noinline]] KvString& PrintList(const KvTypeDescriptor& row, KvString& out,
                                      const void* values, const char* format, unsigned count) {
  // A list that lacks an element reads like another list: when memory is short, `out` stays.
  const unsigned shortages = KvLowMemoryCount();
  KvString list(out);
  auto* element = static_cast<unsigned char*>(ForSlot(values));
  for (unsigned i = 0; i < count && KvLowMemoryCount() == shortages; ++i) {
    KvString text;
    row.print(text, element, format, 1);
    if (i != 0) list << kArraySeparator;
    list << text;
    element += MemoryWidth(row);
  }
  if (KvLowMemoryCount() == shortages) out = std::move(list);
  return out;
}

// Steps a stored value of a variable row, which must lie within `length` bytes (0: it is trusted
// and has no room). The value that comes out is at most so many bytes longer.
int StepVariable(const KvTypeDescriptor& row, void* value, unsigned length, unsigned char format,
                 unsigned char stepOp) {
  constexpr unsigned kWidestLengthField = 4;
  constexpr unsigned kLonger = 16;
  if (length != 0 && length < kWidestLengthField) return kvNotSupported;
  const unsigned size = row.size(value, 0, format, 1);
  if (length != 0 && size > length) return kvNotSupported;
  void* temporary = row.create(1);
  if (temporary == nullptr) return kvNotSupported;
  int status = kvNotSupported;
  if (row.load(temporary, value, format, 1) != 0)
    status = row.step(temporary, 0, kv::kMemory.byte, stepOp);
  if (status == kvOk && stepOp != 'O') {
    auto* stored = static_cast<unsigned char*>(std::malloc(std::size_t{size} + kLonger));
    if (stored == nullptr) KvCallMemoryHandler(size + kLonger);
    const unsigned written = stored == nullptr ? 0 : row.store(stored, temporary, format, 1);
    status = written == 0 ? kvNotSupported : written > length ? kvOverflow : kvOk;
    if (status == kvOk) std::memcpy(value, stored, written);
    std::free(stored);
  }
  row.destroy(temporary, 1);
  return status;
}

}  // namespace

// Inline, so that no operation makes a call of it.
inline KvTypeDescriptor& KvTypeMgr::Row(char id) const {
  return *catalogue_[kv::RowOf(id)];
}

KvTypeMgr::KvTypeMgr(unsigned factory) {
  SetFactory(factory);
}

void KvTypeMgr::SetFactory(unsigned factory) {
  formatVersion_ = ClampFactory(factory);
  catalogue_ = formatVersion_ >= 4 ? kv::currentCatalogue.data() : kv::oldCatalogue.data();
}

int KvTypeMgr::IsValidType(char id) const {
  return kv::RowOf(id) < kv::kRowCount ? 1 : 0;
}

int KvTypeMgr::Name2KvTypeId(const char* name, char& id) const {
  for (id = 0; kv::RowOf(id) < kv::kRowCount; ++id) {
    const auto row = static_cast<std::size_t>(kv::RowOf(id));
    if (std::strcmp(kv::currentCatalogue[row]->typeName, name) == 0) return 0;
  }
  return 1;
}

char* KvTypeMgr::NameGet(char id, char* buffer) const {
  return CopyName(Row(id).typeName, buffer);
}

char* KvTypeMgr::TypeIdNameGet(char id, char* buffer) const {
  return CopyName(Row(id).typeIdName, buffer);
}

unsigned short KvTypeMgr::IsFixed(char id) const {
  return IsFixedRow(Row(id));
}

unsigned short KvTypeMgr::MemLenGet(char id, unsigned count) const {
  // Kept to 16 bits: callers have the result in 16-bit fields.
  return static_cast<unsigned short>(MemoryWidth(Row(id)) * count);
}

unsigned short KvTypeMgr::SupportsNullValue(char id) const {
  return SupportsCapability(id, kNullCapability);
}

unsigned short KvTypeMgr::SupportsCapability(char id, unsigned short capability) const {
  switch (capability) {
    case kNullCapability:
      return Row(id).setNull != nullptr ? 1 : 0;
    case kIntegralCapability:
      // BlockId is a name and a nullable scalar may be no number: neither is stepped by callers.
      switch (id) {
        case Kv1B_T:
        case Kv2B_T:
        case Kv4B_T:
        case KvU2B_T:
        case KvU4B_T:
        case KvINT_T:
        case KvUNSIGNED_T:
        case KvENUM_T:
        case KvU1B_T:
        case KvOBJID_T:
        case KvINT64_T:
        case Kv8B_T:
        case KvU8B_T:
          return 1;
        default:
          return 0;
      }
    case kTimeStampCapability:
      switch (id) {
        case KvDATE_T:
        case KvTIME_T:
        case KvDATIME_T:
        case D_DATE_T:
        case D_TIME_T:
        case D_TIMESTAMP_T:
        case KvDATIME_N_T:
          return 1;
        default:
          return 0;
      }
    default:
      return 0;
  }
}

KvLifetimeFunc KvTypeMgr::ConstructorPtrGet(char id) const {
  return Row(id).construct;
}
KvLifetimeFunc KvTypeMgr::DestructorPtrGet(char id) const {
  return Row(id).destruct;
}
KvCopyFunc KvTypeMgr::AssignmentPtrGet(char id) const {
  return Row(id).assign;
}
KvCopyFunc KvTypeMgr::CopyPtrGet(char id) const {
  return Row(id).copy;
}
KvCompareFunc KvTypeMgr::CmpFuncPtrGet(char id) const {
  return Row(id).compare;
}
KvIsNullFunc KvTypeMgr::IsNullPtrGet(char id) const {
  return Row(id).isNull;
}
KvSetNullFunc KvTypeMgr::SetNullPtrGet(char id) const {
  return Row(id).setNull;
}
KvStoreFunc KvTypeMgr::StorePtrGet(char id) const {
  return Row(id).store;
}
KvLoadFunc KvTypeMgr::LoadPtrGet(char id) const {
  return Row(id).load;
}
KvNullSizeFunc KvTypeMgr::NullSizePtrGet(char id) const {
  return Row(id).nullSize;
}
KvStepFunc KvTypeMgr::StepPtrGet(char id) const {
  return Row(id).step;
}
void* KvTypeMgr::ComparePtrGet(char) const {
  return nullptr;
}

const char* KvTypeMgr::ExchangeFormat(char id, const char* format) {
  return Exchange(Row(id).format, format);
}

KvCompareFunc KvTypeMgr::ExchangeKvTypeCmpFunc(char id, KvCompareFunc compare) {
  return Exchange(Row(id).compare, compare);
}

KvPrintFunc KvTypeMgr::ExchangePrintToKvStringFunc(char id, KvPrintFunc print) {
  return Exchange(Row(id).print, print);
}

KvScanFunc KvTypeMgr::ExchangeScanFromKvStringFunc(char id, KvScanFunc scan) {
  return Exchange(Row(id).scan, scan);
}

void* KvTypeMgr::Create(char id, unsigned count) const {
  return Row(id).create(count);
}

void* KvTypeMgr::Delete(char id, void* values, unsigned count) const {
  return Row(id).destroy(values, count);
}

void* KvTypeMgr::DefaultValue(char id, unsigned count, int unused) const {
  return Row(id).defaultValue(count, unused);
}

unsigned KvTypeMgr::Store(char id, void* destination, const void* source, unsigned char format,
                          unsigned count) const {
  return Row(id).store(destination, source, format, count);
}

unsigned KvTypeMgr::Load(char id, void* destination, const void* source, unsigned char format,
                         unsigned count) const {
  return Row(id).load(destination, source, format, count);
}

unsigned KvTypeMgr::DiskLenGet(char id, const void* stored, unsigned char format, unsigned count,
                               unsigned char extra) const {
  return Row(id).size(stored, extra, format, count);
}

unsigned KvTypeMgr::DiskLenGetFromMemFile(char id, MemFile* file, unsigned char format,
                                          unsigned count) const {
  return Row(id).memFileSize(file, format, count);
}

unsigned KvTypeMgr::Translate(char id, void* destination, unsigned char destinationFormat,
                              unsigned destinationLength, const void* source,
                              unsigned char sourceFormat, unsigned sourceLength,
                              unsigned count) const {
  return Row(id).translate(destination, destinationFormat, destinationLength, source, sourceFormat,
                           sourceLength, count);
}

int KvTypeMgr::Cmp(char id, unsigned length1, const void* value1, unsigned length2,
                   const void* value2, unsigned short cmpOp, unsigned count, unsigned char format,
                   int& status) const {
  return Row(id).compare(format, length1, ForSlot(value1), length2, ForSlot(value2), cmpOp, count,
                         status);
}

int KvTypeMgr::Cmp(char id, const void* value1, const void* value2, unsigned short cmpOp,
                   unsigned count, unsigned char format) const {
  int status = kvOk;
  return Row(id).compare(format, 0, ForSlot(value1), 0, ForSlot(value2), cmpOp, count, status);
}

unsigned KvTypeMgr::Hash(char id, unsigned length, const void* value, unsigned count,
                         unsigned char format, int& status) const {
  return Row(id).hash(format, length, ForSlot(value), count, status);
}

float KvTypeMgr::EvalAndBound(char id, KvIdxBounds* bounds, unsigned short& predicate,
                              const void* value, unsigned char format, unsigned count,
                              void* newBounds, KvEvalData* /*data*/) const {
  return Row(id).evalAndBound(bounds, predicate, ForSlot(value), format, count,
                              static_cast<KvIdxBounds*>(newBounds));
}

int KvTypeMgr::IsNullValue(char id, const void* value) const {
  return Row(id).isNull(ForSlot(value));
}

int KvTypeMgr::DiskIsNullValue(char, const void*) const {
  return kvNotSupported;
}

int KvTypeMgr::SetNullValue(char id, void* value) {
  const KvTypeDescriptor& row = Row(id);
  if (row.setNull != nullptr) {
    const int status = row.setNull(value);
    if (status != kvNotSupported) return status;
  }
  // The null of a type without null is what an empty text converts to.
  const KvTypeDescriptor& stringRow = Row(KvSTRING_T);
  void* text = stringRow.create(1);
  if (text == nullptr) return kvNotSupported;
  void* converted = nullptr;
  if (KvTypeConvertData* record = KvTypeConvertData::Make(KvSTRING_T, 1, text, this)) {
    converted = row.convertFrom(record, 1);
    delete record;  // and with it the text
  } else {
    stringRow.destroy(text, 1);
  }
  if (converted != nullptr) {
    row.assign(value, converted, 1, 0);
    row.destroy(converted, 1);
    return kvOk;
  }
  KvString zero(kZeroText);
  row.scan(value, zero, row.format, 1);
  return kvOk;
}

KvString& KvTypeMgr::PrintToKvString(char id, KvString& out, const void* values, const char* format,
                                     unsigned count) const {
  const KvTypeDescriptor& row = Row(id);
  if (format == nullptr) format = row.format;
  // A run of characters prints as one text.
  if (count < 2 || row.print == kv::PrintCharacters) {
    return row.print(out, ForSlot(values), format, count);
  }
  return PrintList(row, out, values, format, count);
}

void* KvTypeMgr::ScanFromKvString(char id, void* values, const KvString& text, const char* format,
                                  unsigned count) const {
  const KvTypeDescriptor& row = Row(id);
  // Scan functions read their text, though their type does not say so.
  return row.scan(values, const_cast<KvString&>(text), format != nullptr ? format : row.format,
                  count);
}

KvTypeConvertData* KvTypeMgr::ConvertTo(char id, const void* values, unsigned count) {
  const KvConvertToFunc convert = Row(id).convertTo;
  KvTypeConvertData* record = convert == nullptr ? nullptr : convert(ForSlot(values), count);
  if (record != nullptr) record->manager = this;
  return record;
}

void* KvTypeMgr::ConvertFrom(char id, KvTypeConvertData* record, unsigned count) {
  if (record != nullptr) record->manager = this;
  const KvConvertFromFunc convert = Row(id).convertFrom;
  return convert == nullptr ? nullptr : convert(record, count);
}

int KvTypeMgr::GetValue(char id, void* value, unsigned length, unsigned char format,
                        unsigned char stepOp) const {
  if (stepOp != 'M' && stepOp != 'N' && stepOp != 'O') return kvNotSupported;
  const KvTypeDescriptor& row = Row(id);
  // The string row steps both forms itself.
  if (format == kv::kMemory.byte || id == KvSTRING_T)
    return row.step(value, length, format, stepOp);
  // Only these two bits survive, so the byte order is lost: a reversed value is stepped as if it
  // were not. Callers translate reversed values first.
  const auto reduced = static_cast<unsigned char>(format & 0x81);
  if (IsFixedRow(row) == 0) return StepVariable(row, value, length, reduced, stepOp);

  void* temporary = row.create(1);
  if (temporary == nullptr) return kvNotSupported;
  int status = kvNotSupported;
  if (row.load(temporary, value, reduced, 1) != 0) {
    status = row.step(temporary, 0, kv::kMemory.byte, stepOp);
    if (status == kvOk && Store(id, value, temporary, reduced, 1) == 0) status = kvNotSupported;
  }
  row.destroy(temporary, 1);
  return status;
}

int KvTypeMgr::StoreTimeStamp(char id, void* destination, unsigned char format,
                              const void* stamp) const {
  if (stamp == nullptr || SupportsCapability(id, kTimeStampCapability) == 0) return kvNotSupported;
  return kv::StoreTimeStamp(Row(id), id, destination, format, stamp);
}

void* KvTypeMgr::GetArrayElement(char id, void* base, unsigned index, unsigned count) const {
  const KvTypeDescriptor* row = catalogue_[kv::RowOf(id)];
  if (row == nullptr || (count != 0 && index >= count)) return nullptr;
  return static_cast<unsigned char*>(base) + std::size_t{index} * MemoryWidth(*row);
}

const void* KvTypeMgr::GetArrayElement(char id, const void* base, unsigned index,
                                       unsigned count) const {
  return GetArrayElement(id, ForSlot(base), index, count);
}

const KvString& KvTypeMgr::GetNullPrintString() {
  return nullPrintString.Get();
}

void KvTypeMgr::SetNullPrintString(const KvString& text) {
  nullPrintString.Set(text);
}
