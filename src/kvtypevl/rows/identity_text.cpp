// The identities' format walker, printing and scanning, and their print and scan members.
#include "kvtypevl/rows/identity_text.h"

#include "kvstring/null_text.h"
#include "kvstring/text_sink.h"
#include "kvtext/default_formats.h"
#include "kvtext/number_text.h"

namespace kv {
namespace {

// One step through a format.
struct Directive {
  enum class Kind { kEnd, kLiteral, kField } kind;
  char literal;        // kLiteral: the character it stands for
  o_u4b KvRef::*wide;  // kField: one of these two, or neither for a field that is always 0
  o_u2b KvRef::*narrow;
};

class FormatWalker {
 public:
  explicit FormatWalker(const char* format) : at_(format) {}

  Directive Next() {
    if (*at_ == 0) return {Directive::Kind::kEnd, 0, nullptr, nullptr};
    if (*at_ != '%') return Literal(*at_++);
    ++at_;
    if (*at_ == 0) return Literal('%');
    switch (const char letter = *at_++) {
      case 'B':
        return Wide(&KvRef::block);
      case 'L':
        return Wide(&KvRef::low);
      case 'H':
        return Narrow(&KvRef::high);
      case 'D':
        return Narrow(&KvRef::database);
      case 'C':
        return Narrow(&KvRef::classNo);
      case 'V':
        return Narrow(&KvRef::version);
      case 'h':
        return Short();
      case 'l':
        return Long();
      default:
        return Literal(letter);
    }
  }

 private:
  static Directive Literal(char character) {
    return {Directive::Kind::kLiteral, character, nullptr, nullptr};
  }
  static Directive Wide(o_u4b KvRef::*field) {
    return {Directive::Kind::kField, 0, field, nullptr};
  }
  static Directive Narrow(o_u2b KvRef::*field) {
    return {Directive::Kind::kField, 0, nullptr, field};
  }

  // The older printf forms name no field: %hu, %lu, %lu are high, low and block by their place.
  Directive Short() {
    SkipConversion();
    return ++position_ == 1 ? Narrow(&KvRef::high) : Narrow(nullptr);
  }
  Directive Long() {
    SkipConversion();
    ++position_;
    if (position_ == 2) return Wide(&KvRef::low);
    return position_ == 3 ? Wide(&KvRef::block) : Wide(nullptr);
  }
  void SkipConversion() {
    if (*at_ != 0) ++at_;
  }

  const char* at_;
  unsigned position_ = 0;
};

o_u4b ValueOf(const Directive& directive, const KvRef& fields) {
  if (directive.wide != nullptr) return fields.*directive.wide;
  return directive.narrow != nullptr ? fields.*directive.narrow : 0u;
}

// False when `number` does not fit the field.
bool Assign(const Directive& directive, KvRef& fields, o_u4b number) {
  if (directive.wide != nullptr) fields.*directive.wide = number;
  if (directive.narrow == nullptr) return true;
  fields.*directive.narrow = static_cast<o_u2b>(number);
  return number <= 0xFFFF;
}

bool ScanField(const Directive& directive, KvRef& fields, const char*& text, const char* end,
               ScanTrace& trace) {
  o_u4b number = 0;
  const auto [behind, error] = std::from_chars(text, end, number);
  if (error == std::errc::invalid_argument) return false;
  text = behind;
  trace.any = true;
  trace.outOfRange = error != std::errc() || !Assign(directive, fields, number);
  return !trace.outOfRange;
}

// False at what the format does not ask for, where `at` is left.
bool ScanFields(KvRef& fields, const char*& at, const char* format, ScanTrace& trace) {
  const char* end = at + std::strlen(at);
  FormatWalker walker(format);
  for (Directive directive = walker.Next(); directive.kind != Directive::Kind::kEnd;
       directive = walker.Next()) {
    at = SkipBlanks(at);
    if (directive.kind == Directive::Kind::kField) {
      if (!ScanField(directive, fields, at, end, trace)) return false;
    } else if (!IsBlank(directive.literal)) {
      if (*at != directive.literal) return false;
      ++at;
    }
  }
  return true;
}

}  // namespace

KvString& PrintIdentity(KvString& out, const KvRef& fields, const char* format) {
  TextSink sink(out);
  FormatWalker walker(format);
  for (Directive directive = walker.Next(); directive.kind != Directive::Kind::kEnd;
       directive = walker.Next()) {
    if (directive.kind == Directive::Kind::kLiteral) {
      sink.Put(directive.literal);
    } else {
      sink.PutNumber(ValueOf(directive, fields));
    }
  }
  return sink.Finish();
}

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

namespace {

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

}  // namespace

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
