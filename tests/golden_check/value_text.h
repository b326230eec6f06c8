// A value as the fields of its memory form, in text: "2024 2 29" with the fields "year:i2 month:i1
// day:i1". A field's kind says its width and how it is written: i and u are decimal, f is the
// shortest decimal (or bits:HEX for a NaN), x are bytes in hex. Fields lie as a C++ compiler places
// them. Three kinds stand alone: string (code set, language and quoted text, or null), bytes
// (quoted text) and blob (hex in brackets, or null).
#pragma once

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "kv.h"
#include "support/host.h"

namespace golden {

using support::FromHex;
using support::Hex;

struct Field {
  std::string name;
  std::string kind;
};

inline std::vector<Field> ParseFields(const std::string& text) {
  std::vector<Field> fields;
  std::istringstream in(text);
  for (std::string word; in >> word;) {
    const auto colon = word.find(':');
    fields.push_back({word.substr(0, colon), word.substr(colon + 1)});
  }
  return fields;
}

template <class T>
void PutNumber(const std::string& text, unsigned char* memory) {
  T value{};
  if constexpr (std::is_floating_point_v<T>) {
    using Bits = std::conditional_t<sizeof(T) == 4, o_u4b, o_u8b>;
    if (text.starts_with("bits:")) {
      const Bits bits = static_cast<Bits>(std::stoull(text.substr(5), nullptr, 16));
      std::memcpy(&value, &bits, sizeof value);
    } else {
      value = static_cast<T>(sizeof(T) == 4 ? std::strtof(text.c_str(), nullptr)
                                            : std::strtod(text.c_str(), nullptr));
    }
  } else {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || *end != 0) throw std::runtime_error("no such number: " + text);
  }
  std::memcpy(memory, &value, sizeof value);
}

inline unsigned WidthOf(const std::string& kind) {
  return static_cast<unsigned>(std::stoi(kind.substr(1)));
}

inline void PutField(const std::string& kind, const std::string& text, unsigned char* memory) {
  if (kind[0] == 'x') {
    if (text.size() != 2 * WidthOf(kind)) throw std::runtime_error("not of its width: " + text);
    std::copy_n(FromHex(text).begin(), WidthOf(kind), memory);
    return;
  }
  if (kind == "i1") return PutNumber<signed char>(text, memory);
  if (kind == "u1") return PutNumber<o_u1b>(text, memory);
  if (kind == "i2") return PutNumber<o_2b>(text, memory);
  if (kind == "u2") return PutNumber<o_u2b>(text, memory);
  if (kind == "i4") return PutNumber<o_4b>(text, memory);
  if (kind == "u4") return PutNumber<o_u4b>(text, memory);
  if (kind == "i8") return PutNumber<o_8b>(text, memory);
  if (kind == "u8") return PutNumber<o_u8b>(text, memory);
  if (kind == "f4") return PutNumber<o_float>(text, memory);
  if (kind == "f8") return PutNumber<o_double>(text, memory);
  throw std::runtime_error("no such kind of field: " + kind);
}

// The units of a quoted text: "abc\xE9\u20AC". Quotes, backslashes and "|" are \x22, \x5C, \x7C.
inline std::vector<unsigned short> Unquoted(const std::string& text) {
  std::vector<unsigned short> units;
  for (std::size_t i = 1; i + 1 < text.size(); ++i) {
    if (text[i] != '\\') {
      units.push_back(static_cast<unsigned char>(text[i]));
      continue;
    }
    const std::size_t digits = text[++i] == 'x' ? 2 : 4;
    units.push_back(
        static_cast<unsigned short>(std::stoi(text.substr(i + 1, digits), nullptr, 16)));
    i += digits;
  }
  return units;
}

// code set, language, quoted text
inline void FillString(const std::string& text, KvString& value) {
  if (text == "null") {
    value.SetNullValue();
    return;
  }
  std::istringstream in(text);
  unsigned codeSet = 0;
  unsigned language = 0;
  std::string quoted;
  in >> codeSet >> language;
  std::getline(in >> std::ws, quoted);
  std::vector<unsigned short> units = Unquoted(quoted);
  units.push_back(0);
  if (codeSet > 224) {
    value = units.data();
  } else {
    value = std::string(units.begin(), units.end()).c_str();
  }
  if (units.size() == 1) value.d_deactivate();
  if (value.GetCodeSet() != codeSet) value.SetCodeSetCode(static_cast<unsigned char>(codeSet));
  value.SetLanguage(static_cast<unsigned char>(language));
}

inline std::string Bytes(const std::string& quoted) {
  const std::vector<unsigned short> units = Unquoted(quoted);
  return {units.begin(), units.end()};
}

inline void FillValue(const std::vector<Field>& fields, const std::string& text,
                      unsigned char* memory, unsigned width) {
  const std::string& kind = fields[0].kind;
  if (kind == "string") return FillString(text, *reinterpret_cast<KvString*>(memory));
  if (kind == "bytes") {
    // Both classes of 8-bit strings hold their text alike.
    *reinterpret_cast<KvIString*>(memory) = Bytes(text).c_str();
    return;
  }
  if (kind == "blob") {
    KvBlob& blob = *reinterpret_cast<KvBlob*>(memory);
    if (text == "null") {
      blob.SetNullValue();
      return;
    }
    const std::vector<unsigned char> bytes = FromHex(text.substr(1, text.size() - 2));
    blob.SetTo(bytes.data(), static_cast<int>(bytes.size()));
    return;
  }
  std::istringstream in(text);
  unsigned offset = 0;
  for (const Field& field : fields) {
    const unsigned fieldWidth = WidthOf(field.kind);
    const unsigned alignment = field.kind[0] == 'x' ? 1 : fieldWidth;
    offset = (offset + alignment - 1) / alignment * alignment;
    std::string word;
    if (!(in >> word)) throw std::runtime_error("too few fields: " + text);
    if (offset + fieldWidth > width) throw std::runtime_error("the value is wider than its row");
    PutField(field.kind, word, memory + offset);
    offset += fieldWidth;
  }
}

}  // namespace golden
