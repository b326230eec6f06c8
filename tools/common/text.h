// Texts between the command line and the library: the command line speaks UTF-8, a KvString any
// code set.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kv.h"

// UTF-8 decoded to 16-bit characters.
struct DecodedText {
  std::vector<unsigned short> units;
  std::size_t used = 0;  // bytes decoded; what follows them, if anything, is invalid or cut short
  std::size_t tooWide = 0;  // characters beyond 16 bits, each of which became "?"
};

// Decodes as much as is valid.
DecodedText DecodeUtf8(std::string_view utf8);

void AppendUtf8(std::string& utf8, unsigned short unit);

// What a string value is made of beside its text.
struct StringTraits {
  std::optional<unsigned char> codeSet;   // none: 1 where it holds the text, else 253
  std::optional<unsigned char> language;  // none: the default language
};

// A string from UTF-8. Fails (Failure) on invalid UTF-8, on a character that the code set lacks, on
// a zero character and on more text than a string holds.
KvString StringFromUtf8(std::string_view utf8, const StringTraits& traits);

// A string from bytes in its own 8-bit code set, which `traits` names.
KvString StringFromBytes(std::string_view bytes, const StringTraits& traits);

std::string Utf8FromString(const KvString& text);
