// kvc: values as UTF-8 texts, and what is in strings and blobs.
#include "text_values.h"

#include <algorithm>
#include <climits>
#include <string>
#include <string_view>

#include "families.h"
#include "text.h"
#include "values.h"

namespace kvc {

namespace {

constexpr std::uint32_t kFlags = KVC_TEXT_LITERAL;
// KvIString and KvCaseIString are laid out so.
constexpr unsigned char kPlainCodeSet = 2;

bool IsOptions(const kvc_text_options* options) {
  return options == nullptr || (IsStructure(options) && (options->flags & ~kFlags) == 0 &&
                                options->code_set >= -1 && options->code_set <= kvCodeSetUnicode &&
                                options->language >= -1 && options->language <= kvLanguageNull);
}

ValueStyle StyleOf(const kvc_text_options* options) {
  ValueStyle style;
  style.escapes = false;
  if (options == nullptr) return style;
  if (options->format != nullptr) style.format = options->format;
  if (options->code_set >= 0) {
    style.strings.codeSet = static_cast<unsigned char>(options->code_set);
  }
  if (options->language >= 0) {
    style.strings.language = static_cast<unsigned char>(options->language);
  }
  return style;
}

// Where the character of that number begins.
std::size_t ByteOfCharacter(std::string_view utf8, std::size_t character) {
  std::size_t at = 0;
  while (at < utf8.size() && character > 0) {
    ++at;
    while (at < utf8.size() && (static_cast<unsigned char>(utf8[at]) & 0xC0) == 0x80) ++at;
    --character;
  }
  return at;
}

bool HoldsCharacters(char id) {
  const TextKind kind = ::FactsOf(id).kind;
  return kind == TextKind::kString || kind == TextKind::kPlainString;
}

// The first character that a code set has no unit for, or a zero.
std::size_t FirstRefused(const DecodedText& decoded, unsigned char number) {
  const KvCodeSet& codeSet = *KvLanguageContext::QueryCodeSet(number);
  const auto refused = [&codeSet](unsigned short unit) {
    return unit == 0 || (unit != '?' && codeSet.FromUnicode(unit) == '?');
  };
  const auto found = std::find_if(decoded.units.begin(), decoded.units.end(), refused);
  return static_cast<std::size_t>(found - decoded.units.begin());
}

// By a format: the checked scan tells the place itself.
int ScanByFormat(char id, std::string_view utf8, const char* format, void* value,
                 std::size_t& position) {
  const Values scanned(id, 1);
  const KvScanned result =
      KvScanChecked(kTypes, id, scanned.Data(), StringFromUtf8(utf8, {}), format);
  position = ByteOfCharacter(utf8, result.position);
  if (result.status == kvOk) kTypes.AssignmentPtrGet(id)(value, scanned.Data(), 1, 0);
  return result.status;
}

// Why a text could not be read in any of the forms that its type has.
int Diagnose(char id, std::string_view utf8, const DecodedText& decoded, const ValueStyle& style,
             std::size_t& position) {
  if (HoldsCharacters(id)) {
    const unsigned char codeSet =
        id != KvSTRING_T ? kPlainCodeSet : style.strings.codeSet.value_or(kvCodeSetUnicode);
    position = ByteOfCharacter(utf8, FirstRefused(decoded, codeSet));
    return kvOutOfRange;
  }
  if (decoded.tooWide > 0 || utf8.find('\0') != std::string_view::npos) return kvMismatch;
  const std::string_view forms = ::FactsOf(id).formats;
  const std::string first(forms.substr(0, forms.find('|')));
  const Values scratch(id, 1);
  const int status =
      ScanByFormat(id, utf8, first.empty() ? nullptr : first.c_str(), scratch.Data(), position);
  if (status != kvOk && status != kvNotSupported) return status;
  position = 0;
  return kvMismatch;
}

std::string Printed(const Run& run, const Values& values, const kvc_text_options* options) {
  const ValueStyle style = StyleOf(options);
  const std::size_t width = kTypes.MemLenGet(run.Id(), 1);
  std::string text;
  for (std::uint32_t i = 0; i < run.count; ++i) {
    if (i > 0) text += ',';
    text += TextOf(run.Id(), static_cast<char*>(values.Data()) + i * width, style);
  }
  return text;
}

}  // namespace

int ReadText(char id, const kvc_text_options* options, const char* text, std::size_t length,
             void* value, std::size_t& position) {
  if (!IsOptions(options) || (text == nullptr && length != 0)) return kvBadArgument;
  // The longest text of any value is a blob's, two digits for each of 2^31 bytes.
  if (length > UINT_MAX) return kvOutOfRange;
  const std::string_view utf8(text == nullptr ? "" : text, length);
  const ValueStyle style = StyleOf(options);
  const DecodedText decoded = DecodeUtf8(utf8);
  if (decoded.used < utf8.size()) {
    position = decoded.used;
    return kvMismatch;
  }
  try {
    const bool literal = options != nullptr && (options->flags & KVC_TEXT_LITERAL) != 0;
    if (literal && id == KvSTRING_T) {
      *static_cast<KvString*>(value) = StringFromUtf8(utf8, style.strings);
    } else if (!style.format.empty()) {
      return ScanByFormat(id, utf8, style.format.c_str(), value, position);
    } else {
      ReadValue(id, value, utf8, style);
    }
    return kvOk;
  } catch (const Failure&) {
    return Diagnose(id, utf8, decoded, style, position);
  }
}

}  // namespace kvc

using namespace kvc;

int32_t kvc_print(int32_t type, const kvc_text_options* options, uint32_t form, const void* values,
                  size_t length, uint32_t count, char* text, size_t capacity, size_t* needed) {
  const Run run{type, form, values, length, count};
  const Output out{text, capacity, needed};
  out.Clear();
  if (const int status = run.Check(); status != kvOk) return status;
  if (!IsOptions(options)) return kvBadArgument;
  if (count == 0) return out.WriteText("", 0);
  return Guarded([&] {
    const Values loaded(run.Id(), count);
    const int status = loaded.Load(run);
    if (status != kvOk) return status;
    const std::string printed = Printed(run, loaded, options);
    return out.WriteText(printed.data(), printed.size());
  });
}

int32_t kvc_scan(int32_t type, const kvc_text_options* options, const char* text, size_t length,
                 uint32_t form, void* value, size_t capacity, size_t* needed, size_t* position) {
  const Output out{value, capacity, needed};
  out.Clear();
  std::size_t at = 0;
  if (position != nullptr) *position = 0;
  if (const int status = CheckType(type); status != kvOk) return status;
  return Guarded([&] {
    const char id = static_cast<char>(type);
    const Values scanned(id, 1);
    const int status = ReadText(id, options, text, length, scanned.Data(), at);
    if (position != nullptr) *position = at;
    return status != kvOk ? status : scanned.Write(form, out);
  });
}

int32_t kvc_text_traits(uint32_t form, const void* stored, size_t length, int32_t* code_set,
                        int32_t* language) {
  const Run run{KvSTRING_T, form, stored, length, 1};
  if (code_set == nullptr || language == nullptr) return kvBadArgument;
  if (const int status = run.Check(); status != kvOk) return status;
  return Guarded([&] {
    const Values loaded(KvSTRING_T, 1);
    const int status = loaded.Load(run);
    if (status != kvOk) return status;
    const auto& text = *static_cast<const KvString*>(loaded.Data());
    *code_set = text.GetCodeSet();
    *language = text.GetLanguage();
    return kvOk;
  });
}

int32_t kvc_blob_get(uint32_t form, const void* stored, size_t length, void* bytes, size_t capacity,
                     size_t* needed) {
  const Run run{KvBLOB_T, form, stored, length, 1};
  const Output out{bytes, capacity, needed};
  out.Clear();
  if (const int status = run.Check(); status != kvOk) return status;
  return Guarded([&] {
    const Values loaded(KvBLOB_T, 1);
    const int status = loaded.Load(run);
    if (status != kvOk) return status;
    const auto& blob = *static_cast<const KvBlob*>(loaded.Data());
    const int size = blob.Length();
    return out.Write(size == 0 ? nullptr : blob.Seek(0, size), static_cast<std::size_t>(size));
  });
}

int32_t kvc_blob_put(const void* bytes, size_t length, uint32_t form, void* stored, size_t capacity,
                     size_t* needed) {
  const Output out{stored, capacity, needed};
  out.Clear();
  if (bytes == nullptr && length != 0) return kvBadArgument;
  if (length > INT_MAX) return kvOutOfRange;
  return Guarded([&] {
    const Values made(KvBLOB_T, 1);
    static_cast<KvBlob*>(made.Data())->SetTo(bytes, static_cast<int>(length));
    return made.Write(form, out);
  });
}
