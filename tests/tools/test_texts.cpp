// Small texts that every command makes or reads: numbers, escapes, hex, names, tables.
#include <doctest/doctest.h>

#include <algorithm>
#include <cctype>
#include <string>

#include "escape.h"
#include "hex.h"
#include "names.h"
#include "numbers.h"
#include "report.h"
#include "said.h"
#include "text.h"

namespace {

std::string Read(std::string_view hex) {
  return Said([&] {
    Bytes bytes;
    AppendHex(hex, bytes);
    return ToHex(bytes);
  });
}

}  // namespace

TEST_CASE("bytes of all values, as the C library sorts them") {
  for (int i = 0; i < 256; ++i) {
    const char c = static_cast<char>(i);
    const bool isDigit = std::isxdigit(i) != 0;
    const std::string text(1, c);
    CAPTURE(i);
    CHECK(TrimBlanks(text + "x" + text) == (std::isspace(i) != 0 ? "x" : text + "x" + text));
    for (int j = 0; j < 128; ++j) {
      CHECK(EqualsIgnoringCase(text, std::string(1, static_cast<char>(j))) ==
            (i < 128 && std::tolower(i) == std::tolower(j)));
    }
    const std::string digits = isDigit ? text : "";
    CHECK((Read("4" + text) == "4" + std::string(1, static_cast<char>(std::tolower(i)))) ==
          isDigit);
    const bool isBetween = c != '\0' && std::string(" \t\n\r:,").find(c) != std::string::npos;
    CHECK((Read("a1" + text + "B2") == "a1b2") == isBetween);
    const auto byte = static_cast<unsigned char>(i);
    CHECK(Read(ToHex(&byte, 1) + " 0X" + ToHex(&byte, 1)) == ToHex(Bytes{byte, byte}));
  }
}

TEST_CASE("a dump is read whatever ends its lines") {
  for (const char* end : {"\n", "\r\n"}) {
    const std::string dump = std::string("00000000  41 42  |AB|") + end + "00000002" + end;
    Bytes bytes;
    AppendHexDump(dump, bytes);
    CHECK(ToHex(bytes) == "4142");
  }
}

TEST_CASE("what a terminal must not see is escaped, and reads back") {
  const std::pair<unsigned, unsigned> hidden[] = {
      {0, 0x1F},        {0x7F, 0x9F},     {0x200B, 0x200F}, {0x2028, 0x202E},
      {0x2066, 0x2069}, {0xD800, 0xDFFF}, {0xFEFF, 0xFEFF}};
  for (unsigned unit = 0; unit < 0x10000; ++unit) {
    std::string text;
    AppendUtf8(text, static_cast<unsigned short>(unit));
    char escape[8];
    std::snprintf(escape, sizeof escape, unit < 0x100 ? "\\x%02x" : "\\u%04x", unit);
    const bool hides = std::any_of(std::begin(hidden), std::end(hidden), [unit](const auto& range) {
      return range.first <= unit && unit <= range.second;
    });
    if (Printable(text) != (hides ? escape : text)) CHECK(unit == 0x10000);
    if (Unescaped(Escaped(text, true)) != text) CHECK(unit == 0x20000);
  }
  CHECK(Escaped("a\\b\xff\xF0\xA2\x80\x8B\xF0\x90\x80\x8A", true) ==
        "a\\\\b\\xff\xF0\xA2\x80\x8B\xF0\x90\x80\x8A");
  CHECK(Escaped("a\\b", false) == "a\\b");
  for (const auto& each : std::vector<std::pair<std::string, std::string>>{
           {"\\n\\r\\t\\x41\\u20aC", "\n\r\tA\u20ac"},
           {"\\x4", "1: an escape with 2 hex digits lacks some, before '4'"},
           {"\\x4g", "1: an escape with 2 hex digits lacks some, before '4g'"},
           {"\\u12g4", "1: an escape with 4 hex digits lacks some, before '12g4'"},
           {"\\q", "1: there is no escape '\\q'; a backslash is written \\\\"},
           {"\\", "1: there is no escape '\\\\x00'; a backslash is written \\\\"}}) {
    CHECK(Said([&] { return Unescaped(each.first); }) == each.second);
  }
  const std::string s39(39, 's');
  CHECK(Quoted(s39 + "t") == "'" + s39 + "t'");
  CHECK(Quoted(s39 + "tu") == "'" + s39 + "t...'");
  CHECK(Quoted(std::string(50, '\x80')) == "'...'");
  CHECK(Quoted(s39 + "\u00e9") == "'" + s39 + "...'");
  CHECK(Counted(0, "one", "many") + Counted(1, "one", "many") + Counted(2, "one", "many") ==
        "0 many1 one2 many");
}

TEST_CASE("texts of every length that a string holds are read and come back") {
  const auto read = [](const std::string& text) { return StringFromUtf8(text, {}); };
  for (const char* last : {"", "~", "\u0080", "\u00ff", "\u0100", "\ud7ff"}) {
    for (std::size_t length = 58; length < 68; ++length) {
      const std::string text = std::string(length, 'a') + last;
      CHECK(Utf8FromString(read(text)) == text);
      CHECK(read(text).GetCodeSet() == (last[0] == '\xC4' || last[0] == '\xED' ? 253 : 1));
    }
  }
  const std::pair<std::string, std::size_t> cases[] = {
      {"a", 65531}, {"\u00e9", 65531}, {"\u0141", 32765}};
  for (const auto& each : cases) {
    const std::string text = each.first + std::string(each.second - 1, 'a');
    CHECK((Utf8FromString(read(text)) == text));
    CHECK(Said([&] { return std::to_string(read(text + "a").Len()); }) ==
          "1: " + std::to_string(each.second + 1) + " characters, more than a string holds (" +
              std::to_string(each.second) + ")");
  }
}

TEST_CASE("tables and folded lines count characters, not bytes") {
  CHECK(Aligned({{"a", "b"}, {"\u00e9\u00e9\u00e9", "", "c"}, {}}) ==
        "a    b\n\u00e9\u00e9\u00e9     c\n\n");
  CHECK(WidthOf("ab\n\u00e9\u00e9\u00e9\n\nd") == 3);
  CHECK(WidthOf("") == 0);
  CHECK(Folded("\u00e9\u00e9 bb cc dd eeeeeee f g h i", 6, "> ", 1) ==
        "> \u00e9\u00e9\n bb cc\n dd\n eeeeeee\n f g h\n i");
  CHECK(JsonText("a\"\\\x1f \x7f\u00ff\xED\x9F\xBF\xED\xA0\x80\xED\xBF\xBF\xED\xA0") ==
        "\"a\\\"\\\\\\u001f \x7f\u00ff\xED\x9F\xBF\\ud800\\udfff\xED\xA0\"");
}

TEST_CASE("every code set and language is found by number and by its names") {
  for (unsigned number = 0; number < 256; ++number) {
    const auto code = static_cast<unsigned char>(number);
    const std::string text = std::to_string(number);
    CHECK(
        Said([&] { return std::to_string(FindCodeSet(text)); }) ==
        (number < 254 ? text : "2: unknown code set '" + text + "'; kvtm help convert lists them"));
    CHECK(Said([&] { return std::to_string(FindLanguage(text)); }) ==
          (number < 254 ? text : "2: unknown language '" + text + "'; kvtm help sort lists them"));
    const std::string set = CodeSetName(code);
    if (set != "code set " + text) CHECK(FindCodeSet(set) == code);
    const KvLanguage& language = *KvLanguageContext::QueryLanguage(code);
    const bool named =
        number > 0 && number < 254 && language.Number() == code && *language.Code() != '\0';
    CHECK(LanguageName(code) == (named ? language.Name() : "language " + text));
    CHECK((LanguageNames().find(std::string(language.Name()) + " ") != std::string::npos) >= named);
    if (named)
      CHECK((FindLanguage(language.Name()) == code && FindLanguage(language.Code()) == code));
  }
}
