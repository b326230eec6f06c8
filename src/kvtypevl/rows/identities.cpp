// The identities: their format walker, their policies, and the members of the classes over both.
//
// They order and hash by value and the same in every form. The stored bytes in memory order would
// not do for that: they begin with the least significant byte.
//
// Text: one walker over formats for KvObjId, KvClassId, KvRef and KvLocalRef, which all print and
// scan as the fields of a KvRef. The directives are listed in kvobjid.h.
#include "kvtypevl/rows/identities.h"

#include "kvstring/null_text.h"
#include "kvtext/default_formats.h"
#include "kvtext/format_pieces.h"
#include "kvtext/number_text.h"
#include "kvtypevl/operations/row_handlers.h"

namespace kv {
namespace {

// A field that a directive names: one of these two, or neither for one that is always 0.
struct Field {
  o_u4b KvRef::*wide = nullptr;
  o_u2b KvRef::*narrow = nullptr;
};

// Tells the fields that the directives of a format name. %h and %l are the older printf forms and
// name no field: of %hu, %lu, %lu the first is the high part, the second the low one, the third
// the block. The character behind their letter says nothing.
class FieldNames {
 public:
  // False for a directive that names none; its letter is ordinary text.
  bool Find(FormatPieces& pieces, Field& field) {
    switch (pieces.Character()) {
      case 'B':
        return field = {.wide = &KvRef::block}, true;
      case 'L':
        return field = {.wide = &KvRef::low}, true;
      case 'H':
        return field = {.narrow = &KvRef::high}, true;
      case 'D':
        return field = {.narrow = &KvRef::database}, true;
      case 'C':
        return field = {.narrow = &KvRef::classNo}, true;
      case 'V':
        return field = {.narrow = &KvRef::version}, true;
      case 'h':
      case 'l':
        return field = ByPlace(pieces), true;
      default:
        return false;
    }
  }

 private:
  Field ByPlace(FormatPieces& pieces) {
    if (*pieces.Rest() != 0) ++pieces.Rest();
    ++place_;
    if (pieces.Character() == 'h') return {.narrow = place_ == 1 ? &KvRef::high : nullptr};
    return {.wide = place_ == 2 ? &KvRef::low : place_ == 3 ? &KvRef::block : nullptr};
  }

  unsigned place_ = 0;
};

o_u4b ValueOf(const Field& field, const KvRef& fields) {
  if (field.wide != nullptr) return fields.*field.wide;
  return field.narrow != nullptr ? fields.*field.narrow : 0u;
}

// False when `number` does not fit the field.
bool Assign(const Field& field, KvRef& fields, o_u4b number) {
  if (field.wide != nullptr) fields.*field.wide = number;
  if (field.narrow == nullptr) return true;
  fields.*field.narrow = static_cast<o_u2b>(number);
  return number <= 0xFFFF;
}

bool ScanField(const Field& field, KvRef& fields, const char*& text, const char* end,
               ScanTrace& trace) {
  o_u4b number = 0;
  const auto [behind, error] = std::from_chars(text, end, number);
  if (error == std::errc::invalid_argument) return false;
  text = behind;
  trace.any = true;
  trace.outOfRange = error != std::errc() || !Assign(field, fields, number);
  return !trace.outOfRange;
}

// False at what the format does not ask for, where `at` is left.
bool ScanFields(KvRef& fields, const char*& at, const char* format, ScanTrace& trace) {
  const char* end = at + std::strlen(at);
  FieldNames names;
  Field field;
  for (FormatPieces pieces(format); pieces.Next();) {
    at = SkipBlanks(at);
    if (pieces.IsDirective() && names.Find(pieces, field)) {
      if (!ScanField(field, fields, at, end, trace)) return false;
    } else if (!IsBlank(pieces.Character())) {
      if (*at != pieces.Character()) return false;
      ++at;
    }
  }
  return true;
}

// Replaces what `out` holds. Whether a value is null is the caller's to tell.
KvString& PrintIdentity(KvString& out, const KvRef& fields, const char* format) {
  LongestText text;
  TextSink sink(text);
  FieldNames names;
  Field field;
  for (FormatPieces pieces(format); pieces.Next();) {
    if (pieces.IsDirective() && names.Find(pieces, field)) {
      sink.PutNumber(ValueOf(field, fields));
    } else {
      sink.Put(pieces.Character());
    }
  }
  return AssignPrinted(out, sink);
}

enum class ScanOutcome { kNull, kPresent, kMismatch };

// Reads the fields that the format names into `fields`, which keeps the others. An empty text, and
// one that begins with the null print string, is null; `fields` is then left alone, as it is on a
// mismatch. Text behind what the format asks for is ignored.
ScanOutcome ScanIdentity(KvRef& fields, const KvString& text, const char* format,
                         ScanTrace& trace) {
  const NarrowText narrow(text);
  const char* at = narrow.Get();
  trace = {};
  if (IsNullText(at)) {
    trace.position = *at == 0 ? 0 : KvTypeMgr::GetNullPrintString().Len();
    trace.complete = trace.any = true;
    return ScanOutcome::kNull;
  }
  KvRef scanned = fields;
  trace.complete = ScanFields(scanned, at, format, trace);
  trace.position = static_cast<unsigned>(at - narrow.Get());
  if (!trace.complete) return ScanOutcome::kMismatch;
  fields = scanned;
  return ScanOutcome::kPresent;
}

constexpr const char* kObjIdFormat = default_format::kObjId;
constexpr const char* kClassIdFormat = default_format::kClassId;
constexpr const char* kRefFormat = "(%D:%H-%L#%B,%Cv%V)";
constexpr const char* kLocalRefFormat = "(%H-%L#%B,%C)";

KvRef FieldsOf(const KvObjId& id) {
  return {id.block, id.low, id.high, 0, 0, 0};
}
KvRef FieldsOf(const KvClassId& id) {
  return {0, 0, 0, 0, id.classNo, id.version};
}

// Scanning over the fields of a KvRef; `set` takes them over.
template <class Identity, class Set>
int ScanOver(Identity& identity, KvRef fields, const KvString& text, const char* format,
             ScanTrace& trace, Set set) {
  switch (ScanIdentity(fields, text, format, trace)) {
    case ScanOutcome::kMismatch:
      return kvNotSupported;
    case ScanOutcome::kNull:
      identity = Identity();
      return kvOk;
    case ScanOutcome::kPresent:
      break;
  }
  set(identity, fields);
  return kvOk;
}

// What ScanFromKvString of the identity does, with a trace. Null formats are the row's.
int TraceIdentity(KvObjId& id, const KvString& text, const char* format, ScanTrace& trace) {
  return ScanOver(id, FieldsOf(id), text, format ? format : kObjIdFormat, trace,
                  [](KvObjId& taken, const KvRef& fields) {
                    taken = KvObjId{fields.block, fields.low, fields.high};
                  });
}

int TraceIdentity(KvClassId& id, const KvString& text, const char* format, ScanTrace& trace) {
  return ScanOver(id, FieldsOf(id), text, format ? format : kClassIdFormat, trace,
                  [](KvClassId& taken, const KvRef& fields) {
                    taken = KvClassId{fields.classNo, fields.version};
                  });
}

int TraceIdentity(KvRef& reference, const KvString& text, const char* format, ScanTrace& trace) {
  return ScanOver(reference, reference, text, format ? format : kRefFormat, trace,
                  [](KvRef& taken, const KvRef& fields) { taken = fields; });
}

// The members in stored order; kvcore/inc draws them.
using ObjIdCodec = Codec<KvObjId, At<&KvObjId::block>, At<&KvObjId::low>, At<&KvObjId::high>>;
using ClassIdCodec = Codec<KvClassId, At<&KvClassId::classNo>, At<&KvClassId::version>>;
// The stored form leaves the version out.
using RefCodec = Codec<KvRef, At<&KvRef::block>, At<&KvRef::low>, At<&KvRef::high>,
                       At<&KvRef::database>, At<&KvRef::classNo>>;

// Sort keys have the number before the block. Nulls are those of object number 0, whatever block
// they name.
using ObjIdKey = NullInside<
    MemberKey<Codec<KvObjId, At<&KvObjId::high>, At<&KvObjId::low>, At<&KvObjId::block>>>, 0, 6>;
using RefKey =
    NullInside<MemberKey<Codec<KvRef, At<&KvRef::high>, At<&KvRef::low>, At<&KvRef::block>,
                               At<&KvRef::database>, At<&KvRef::classNo>>>,
               0, 6>;

// The null has the largest number of all and comes first, so the numbers are moved by one.
struct ClassIdKey {
  using Value = KvClassId;
  using Members = ClassIdCodec;
  static constexpr KeyStep kStep = KeyStep::kPlusOne;
  static constexpr unsigned kWidth = 4;
  static constexpr unsigned kNullWidth = kWidth;
  static constexpr o_u8b kNullPlace = 0;
  static void Write(unsigned char* key, const Value& id) {
    PutWord(key, (std::uint32_t{id.classNo} << 16 | id.version) + 1);
  }
  static Value Read(const unsigned char* key) {
    const std::uint32_t number = GetWord<std::uint32_t>(key) - 1;
    return {static_cast<o_u2b>(number >> 16), static_cast<o_u2b>(number)};
  }
};

}  // namespace

// What the three share: nulls and text are the value's own affair.
template <class Identity>
struct IdentityRow {
  static constexpr const char* kFormat = nullptr;  // the class's own

  static bool IsNull(const Identity& id) { return id.IsNullValue() != 0; }
  static int SetNull(Identity& id) { return id.SetNullValue(); }
  static Identity Default() { return {}; }
  static KvString& Print(KvString& out, void* values, const char* format, unsigned /*count*/) {
    return static_cast<const Identity*>(values)->PrintToKvString(out, format);
  }
  static void Trace(Identity& id, const KvString& text, const char* format, ScanTrace& trace) {
    TraceIdentity(id, text, format, trace);
  }
};

// Object ids and references are placed and stepped by their object number.
template <class Identity>
struct NumberedRow : IdentityRow<Identity> {
  static constexpr o_u8b kLargestNumber = 0xFFFFFFFFFFFF;

  static double Position(const Identity& id) { return static_cast<double>(id.ObjectNumber()); }
  static int Successor(Identity& id) {
    if (id.ObjectNumber() == kLargestNumber) return kvOverflow;
    if (++id.low == 0) ++id.high;
    return kvOk;
  }
  // Number 0 is the null.
  static Identity Smallest() {
    Identity smallest;
    smallest.low = 1;
    return smallest;
  }
};

struct ObjIdRow : NumberedRow<KvObjId> {
  using Codec = ObjIdCodec;
  using SortKey = ObjIdKey;

  static int Order(const KvObjId& a, const KvObjId& b, unsigned short) { return a != b; }
  static unsigned Key(const KvObjId& id) { return id.block ^ id.low ^ id.high; }
};

struct RefRow : NumberedRow<KvRef> {
  using Codec = RefCodec;
  using SortKey = RefKey;

  static int Order(const KvRef& a, const KvRef& b, unsigned short) {
    if (const int order = ThreeWay(a.ObjectNumber(), b.ObjectNumber())) return order;
    if (const int order = ThreeWay(a.block, b.block)) return order;
    if (const int order = ThreeWay(a.database, b.database)) return order;
    return ThreeWay(a.classNo, b.classNo);
  }
  // The stored form as 4-byte words in memory order, the last one half filled.
  static unsigned Key(const KvRef& reference) {
    return reference.block ^ reference.low ^
           (reference.high | static_cast<unsigned>(reference.database) << 16) ^ reference.classNo;
  }
};

struct ClassIdRow : IdentityRow<KvClassId> {
  static constexpr bool kKeyIsLinear = true;
  using Codec = ClassIdCodec;
  using SortKey = ClassIdKey;

  static int Order(const KvClassId& a, const KvClassId& b, unsigned short) { return a != b; }
  static unsigned Key(const KvClassId& id) { return Number(id); }
  static double Position(const KvClassId& id) {
    // Classes follow each other by their number, the versions of one lie between.
    return Number(KvClassId{id.version, id.classNo});
  }
  // The next version, then the next class. From the null to class 0, version 0; the last one before
  // the null's own fields has none.
  static int Successor(KvClassId& id) {
    KvClassId next{id.classNo, static_cast<o_u2b>(id.version + 1)};
    if (next.version == 0) ++next.classNo;
    if (next.IsNullValue()) return kvOverflow;
    id = next;
    return kvOk;
  }
  static KvClassId Smallest() { return {0, 0}; }

 private:
  static unsigned Number(const KvClassId& id) {
    return id.classNo | static_cast<unsigned>(id.version) << 16;
  }
};

// The row of an identity class.
template <class Identity>
struct IdentityRowOf;
template <>
struct IdentityRowOf<KvObjId> : RowHandlers<ObjIdRow> {};
template <>
struct IdentityRowOf<KvClassId> : RowHandlers<ClassIdRow> {};
template <>
struct IdentityRowOf<KvRef> : RowHandlers<RefRow> {};

template struct RowHandlers<ObjIdRow>;
template struct RowHandlers<ClassIdRow>;
template struct RowHandlers<RefRow>;

}  // namespace kv

KvString& KvObjId::PrintToKvString(KvString& text, const char* format) const {
  if (IsNullValue()) return kv::PrintNull(text);
  return kv::PrintIdentity(text, kv::FieldsOf(*this), format ? format : kv::kObjIdFormat);
}

int KvObjId::ScanFromKvString(const KvString& text, const char* format) {
  kv::ScanTrace trace;
  return kv::TraceIdentity(*this, text, format, trace);
}

KvString& KvClassId::PrintToKvString(KvString& text, const char* format) const {
  if (IsNullValue()) return kv::PrintNull(text);
  return kv::PrintIdentity(text, kv::FieldsOf(*this), format ? format : kv::kClassIdFormat);
}

int KvClassId::ScanFromKvString(const KvString& text, const char* format) {
  kv::ScanTrace trace;
  return kv::TraceIdentity(*this, text, format, trace);
}

KvString& KvRef::PrintToKvString(KvString& text, const char* format) const {
  if (IsNullValue()) return kv::PrintNull(text);
  return kv::PrintIdentity(text, *this, format ? format : kv::kRefFormat);
}

int KvRef::ScanFromKvString(const KvString& text, const char* format) {
  kv::ScanTrace trace;
  return kv::TraceIdentity(*this, text, format, trace);
}

KvString& KvLocalRef::PrintToKvString(KvString& text, const char* format) const {
  return KvRef(*this).PrintToKvString(text, format ? format : kv::kLocalRefFormat);
}

int KvLocalRef::ScanFromKvString(const KvString& text, const char* format) {
  kv::ScanTrace trace;
  return kv::ScanOver(
      *this, *this, text, format ? format : kv::kLocalRefFormat, trace,
      [](KvLocalRef& local, const KvRef& fields) {
        local = KvLocalRef{fields.block, fields.low, fields.high, fields.classNo, fields.version};
      });
}

template <class Identity>
void* KvIdentityRow<Identity>::Create(unsigned count) {
  return kv::IdentityRowOf<Identity>::Create(count);
}

template <class Identity>
void* KvIdentityRow<Identity>::Delete(void* values, unsigned count) {
  return kv::IdentityRowOf<Identity>::Delete(values, count);
}

template <class Identity>
unsigned KvIdentityRow<Identity>::Store(void* destination, const void* source, unsigned char format,
                                        unsigned count) {
  return kv::IdentityRowOf<Identity>::Store(destination, source, format, count);
}

template <class Identity>
unsigned KvIdentityRow<Identity>::Load(void* destination, const void* source, unsigned char format,
                                       unsigned count) {
  return kv::IdentityRowOf<Identity>::Load(destination, source, format, count);
}

template <class Identity>
unsigned KvIdentityRow<Identity>::NullSizeGet(unsigned count) {
  return kv::IdentityRowOf<Identity>::NullSize(count);
}

template <class Identity>
unsigned KvIdentityRow<Identity>::SizeGet(const void* stored, unsigned char extra,
                                          unsigned char format, unsigned count) {
  return kv::IdentityRowOf<Identity>::Size(stored, extra, format, count);
}

template <class Identity>
unsigned KvIdentityRow<Identity>::SizeGetFromMemFile(MemFile* file, unsigned char format,
                                                     unsigned count) {
  return kv::IdentityRowOf<Identity>::MemFileSize(file, format, count);
}

template <class Identity>
int KvIdentityRow<Identity>::Compare(unsigned char format, unsigned length1, void* value1,
                                     unsigned length2, void* value2, unsigned short cmpOp,
                                     unsigned count, int& status) {
  return kv::IdentityRowOf<Identity>::Compare(format, length1, value1, length2, value2, cmpOp,
                                              count, status);
}

template <class Identity>
float KvIdentityRow<Identity>::EvalAndBound(KvIdxBounds* bounds, unsigned short& predicate,
                                            void* value, unsigned char format, unsigned count,
                                            KvIdxBounds* newBounds) {
  return kv::IdentityRowOf<Identity>::EvalAndBound(bounds, predicate, value, format, count,
                                                   newBounds);
}

template <class Identity>
unsigned KvIdentityRow<Identity>::Hash(unsigned char format, unsigned length, void* value,
                                       unsigned count, int& status) {
  return kv::IdentityRowOf<Identity>::Hash(format, length, value, count, status);
}

template <class Identity>
unsigned KvIdentityRow<Identity>::Translate(void* destination, unsigned char destinationFormat,
                                            unsigned destinationLength, const void* source,
                                            unsigned char sourceFormat, unsigned sourceLength,
                                            unsigned count) {
  return kv::IdentityRowOf<Identity>::Translate(destination, destinationFormat, destinationLength,
                                                source, sourceFormat, sourceLength, count);
}

template <class Identity>
KvString& KvIdentityRow<Identity>::PrintToString(KvString& out, void* values, const char* format,
                                                 unsigned count) {
  return kv::IdentityRowOf<Identity>::Print(out, values, format, count);
}

template <class Identity>
void* KvIdentityRow<Identity>::ScanFromString(void* values, KvString& text, const char* format,
                                              unsigned count) {
  return kv::IdentityRowOf<Identity>::Scan(values, text, format, count);
}

template class KvIdentityRow<KvObjId>;
template class KvIdentityRow<KvClassId>;
template class KvIdentityRow<KvRef>;
