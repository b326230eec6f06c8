#include "failure.h"

#include "escape.h"

std::string Printable(std::string_view utf8) {
  return Escaped(utf8, false);
}

std::string Counted(unsigned long long count, const char* one, const char* many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string Quoted(std::string_view text) {
  constexpr std::size_t kLongest = 40;
  if (text.size() <= kLongest) return "'" + Printable(text) + "'";
  std::size_t cut = kLongest;
  while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) --cut;
  return "'" + Printable(text.substr(0, cut)) + "...'";
}
