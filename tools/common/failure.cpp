#include "failure.h"

#include <cstdio>

#include "kv.h"

std::string Printable(std::string_view utf8) {
  std::string printable;
  while (!utf8.empty()) {
    unsigned short character = 0;
    const int length =
        KvMultiByte2WChar(&character, utf8.data(), static_cast<unsigned>(utf8.size()));
    const bool isControl = character < 0x20 || (character >= 0x7F && character < 0xA0);
    const std::size_t taken = length > 0 ? static_cast<std::size_t>(length) : 1;
    if (length > 3 || (length > 0 && !isControl)) {
      printable += utf8.substr(0, taken);
    } else {
      char escape[8];
      const unsigned code = length > 0 ? character : static_cast<unsigned char>(utf8.front());
      std::snprintf(escape, sizeof escape, "\\x%02x", code);
      printable += escape;
    }
    utf8.remove_prefix(taken);
  }
  return printable;
}

std::string Quoted(std::string_view text) {
  constexpr std::size_t kLongest = 40;
  if (text.size() <= kLongest) return "'" + Printable(text) + "'";
  std::size_t cut = kLongest;
  while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) --cut;
  return "'" + Printable(text.substr(0, cut)) + "...'";
}
