#include "escape.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

#include "failure.h"
#include "kv.h"
#include "text.h"

namespace {

// Marks that change how the text around them is shown, and the two halves of what 16 bits do not
// hold.
bool IsTrap(unsigned character) {
  return (character >= 0xD800 && character < 0xE000) ||
         (character >= 0x200B && character <= 0x200F) ||
         (character >= 0x2028 && character <= 0x202E) ||
         (character >= 0x2066 && character <= 0x2069) || character == 0xFEFF;
}

bool IsControl(unsigned character) {
  return character < 0x20 || (character >= 0x7F && character < 0xA0);
}

void AppendCode(std::string& text, const char* format, unsigned code) {
  char escape[sizeof "\\u1234"];
  std::snprintf(escape, sizeof escape, format, code);
  text += escape;
}

// Takes the hex digits of \xNN or \uNNNN.
unsigned short TakeCode(std::string_view& text, std::size_t digits) {
  unsigned short code = 0;
  const std::string_view taken = text.substr(0, digits);
  const auto [end, error] = std::from_chars(taken.data(), taken.data() + taken.size(), code, 16);
  if (taken.size() < digits || error != std::errc() || end != taken.data() + digits) {
    FailValue("an escape with " + std::to_string(digits) + " hex digits lacks some, before " +
              Quoted(text));
  }
  text.remove_prefix(digits);
  return code;
}

}  // namespace

std::string Escaped(std::string_view utf8, bool backslashToo) {
  std::string escaped;
  while (!utf8.empty()) {
    unsigned short character = 0;
    const int length =
        KvMultiByte2WChar(&character, utf8.data(), static_cast<unsigned>(utf8.size()));
    const auto taken = static_cast<std::size_t>(std::max(length, 1));
    const bool hasUnit = length <= 3;  // a longer one has more bits than `character`
    if (length < 0) {
      AppendCode(escaped, "\\x%02x", static_cast<unsigned char>(utf8.front()));
    } else if (hasUnit && IsControl(character)) {
      AppendCode(escaped, "\\x%02x", character);
    } else if (hasUnit && IsTrap(character)) {
      AppendCode(escaped, "\\u%04x", character);
    } else {
      if (character == '\\' && backslashToo) escaped += '\\';
      escaped += utf8.substr(0, taken);
    }
    utf8.remove_prefix(taken);
  }
  return escaped;
}

std::string Unescaped(std::string_view text) {
  std::string plain;
  while (!text.empty()) {
    const char c = text.front();
    text.remove_prefix(1);
    if (c != '\\') {
      plain += c;
      continue;
    }
    const char kind = text.empty() ? '\0' : text.front();
    if (!text.empty()) text.remove_prefix(1);
    switch (kind) {
      case '\\':
        plain += '\\';
        break;
      case 'n':
        plain += '\n';
        break;
      case 'r':
        plain += '\r';
        break;
      case 't':
        plain += '\t';
        break;
      case 'x':
        AppendUtf8(plain, TakeCode(text, 2));
        break;
      case 'u':
        AppendUtf8(plain, TakeCode(text, 4));
        break;
      default:
        FailValue("there is no escape " + Quoted(std::string("\\") + kind) +
                  "; a backslash is written \\\\");
    }
  }
  return plain;
}
