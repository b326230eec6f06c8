#include "schema.h"

#include <algorithm>

#include "catalogue.h"
#include "failure.h"
#include "names.h"
#include "numbers.h"

namespace {

constexpr unsigned kLongestRun = 0xFFFF;

bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool IsNameByte(char c, bool first) {
  if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_') return true;
  return (c >= '0' && c <= '9' && !first) || static_cast<unsigned char>(c) >= 0x80;
}

class SchemaReader {
 public:
  explicit SchemaReader(std::string_view text) : text_(text) {}

  Schema Read() {
    Schema schema;
    do {
      SkipBlanks();
      const std::size_t start = at_;
      SchemaField field = ReadField();
      if (schema.Find(field.name) != nullptr) Fail(start, "a second field " + Quoted(field.name));
      schema.fields.push_back(std::move(field));
      SkipBlanks();
    } while (Take(','));
    if (at_ < text_.size()) Fail(at_, "expected , or the end, found " + Found());
    return schema;
  }

 private:
  [[noreturn]] void Fail(std::size_t place, const std::string& what) const {
    FailUsage("schema, at offset " + std::to_string(place) + ": " + what);
  }

  std::string Found() const {
    return at_ < text_.size() ? Quoted(text_.substr(at_, 20)) : "the end";
  }

  void SkipBlanks() {
    while (at_ < text_.size() && IsBlank(text_[at_])) ++at_;
  }

  bool Take(char c) {
    if (at_ >= text_.size() || text_[at_] != c) return false;
    ++at_;
    return true;
  }

  // What stands before the next byte of `ends`, without blanks around it.
  std::string_view TakeUntil(const char* ends) {
    const std::size_t start = at_;
    at_ = std::min(text_.find_first_of(ends, at_), text_.size());
    return TrimBlanks(text_.substr(start, at_ - start));
  }

  // Looks a name up; a failure of the look-up gets the place in the schema.
  template <typename LookUp>
  auto Named(std::size_t place, std::string_view name, const char* what, LookUp lookUp) const {
    if (name.empty()) Fail(place, std::string("expected ") + what + ", found " + Found());
    try {
      return lookUp(name);
    } catch (const Failure& failure) {
      Fail(place, failure.what);
    }
  }

  std::string ReadName() {
    const std::size_t start = at_;
    while (at_ < text_.size() && IsNameByte(text_[at_], at_ == start)) ++at_;
    if (at_ == start) Fail(at_, "expected a field name, found " + Found());
    return std::string(text_.substr(start, at_ - start));
  }

  unsigned ReadCount() {
    const std::size_t start = at_;
    unsigned long long count = 0;
    const NumberFault fault = ReadInteger(TakeUntil("],"), 0, kLongestRun, count);
    if (fault != NumberFault::kNone || count == 0) {
      Fail(start, "a run has 1 to " + std::to_string(kLongestRun) + " values");
    }
    if (!Take(']')) Fail(at_, "expected ], found " + Found());
    return static_cast<unsigned>(count);
  }

  SchemaField ReadField() {
    SchemaField field;
    field.name = ReadName();
    SkipBlanks();
    if (!Take(':')) Fail(at_, "expected : and a type, found " + Found());
    std::size_t place = at_;
    field.type = Named(place, TakeUntil(",/["), "a type", FindValueType);
    if (Take('/')) {
      place = at_;
      if (field.type != KvSTRING_T) Fail(place, "only a KvString has a language");
      field.language = Named(place, TakeUntil(",["), "a language", FindLanguage);
    }
    if (Take('[')) {
      field.count = ReadCount();
      field.isRun = true;
    }
    return field;
  }

  std::string_view text_;
  std::size_t at_ = 0;
};

}  // namespace

const SchemaField* Schema::Find(std::string_view name) const {
  for (const SchemaField& field : fields) {
    if (field.name == name) return &field;
  }
  return nullptr;
}

Schema ParseSchema(std::string_view text) {
  return SchemaReader(text).Read();
}

std::string SchemaText(const Schema& schema) {
  std::string text;
  for (const SchemaField& field : schema.fields) {
    if (!text.empty()) text += ',';
    text += field.name + ":" + TypeName(field.type);
    if (field.language) text += "/" + std::to_string(*field.language);
    if (field.isRun) text += "[" + std::to_string(field.count) + "]";
  }
  return text;
}
