// What all formats are walked by and printed into: pieces of formats, and the sink of texts.
#include <doctest/doctest.h>

#include <cstring>
#include <string>

#include "kv.h"
#include "kvtext/format_pieces.h"
#include "kvtext/text_sink.h"
#include "support/texts.h"

namespace {

// Literal characters as they are, directives in brackets.
std::string PiecesOf(const char* format) {
  std::string pieces;
  for (kv::FormatPieces walk(format); walk.Next();) {
    pieces += walk.IsDirective() ? std::string{'[', walk.Character(), ']'}
                                 : std::string{walk.Character()};
  }
  return pieces;
}

}  // namespace

TEST_CASE("a format is literal characters and directives") {
  const struct {
    const char* format;
    const char* pieces;
  } cases[] = {
      {"", ""},           {"abc", "abc"},  {"%d", "[d]"},   {"a%db", "a[d]b"},
      {"%", "%"},         {"a%", "a%"},    {"%%", "[%]"},   {"%%%", "[%]%"},
      {"%%%%", "[%][%]"}, {"%%d", "[%]d"}, {"% d", "[ ]d"}, {"%?(%Y)", "[?]([Y])"},
  };
  for (const auto& each : cases) {
    CAPTURE(each.format);
    CHECK(PiecesOf(each.format) == each.pieces);
  }
}

TEST_CASE("a walker moves the rest behind what it knows") {
  kv::FormatPieces walk("x%12db");
  CHECK(walk.Next());
  CHECK(walk.IsLiteral('x'));
  CHECK(walk.Next());
  CHECK(walk.IsDirective('1'));
  walk.Rest() += 2;
  CHECK(walk.Next());
  CHECK(walk.IsLiteral('b'));
  CHECK(!walk.Next());
  CHECK(!walk.Next());
}

TEST_CASE("a sink cuts at the end of its storage and says so") {
  const auto put = [](auto fill) {
    struct {
      char text[9] = "????????";
      char behind = '#';
    } storage;
    kv::TextSink sink(storage.text);
    fill(sink);
    sink.Terminate();
    CHECK((sink.Length() == std::strlen(storage.text) && storage.behind == '#'));
    return storage.text + std::string(sink.IsCut() ? " cut" : "");
  };
  CHECK(put([](kv::TextSink&) {}) == "");
  CHECK(put([](kv::TextSink& sink) { sink.Put("12345678"); }) == "12345678");
  CHECK(put([](kv::TextSink& sink) { sink.Put("123456789"); }) == "12345678 cut");
  CHECK(put([](auto& sink) { sink.Put("1234567"), sink.Put('8'), sink.Put('\0'); }) == "12345678");
  CHECK(put([](auto& sink) { sink.Put("12345678"), sink.Put('9'); }) == "12345678 cut");
  CHECK(put([](auto& sink) { sink.PutNumber(-12), sink.PutNumber(255u); }) == "-12255");
  CHECK(put([](auto& sink) { sink.PutNumber(1234567890); }) == "12345678 cut");
  CHECK(put([](auto& sink) { sink.Put("1"), sink.PutFormatted("%07d", 1); }) == "10000001");
  CHECK(put([](auto& sink) { sink.PutFormatted("%09d", 1); }) == "00000000 cut");
}

TEST_CASE("a printed text ends where a string does, which is an overflow") {
  static int overflows;
  overflows = 0;
  KIVO_SetAssertHandler([](const char*, const char*, int) { ++overflows; });
  DefaultConfig().SetValue("debug", "stringOverflow", 1);
  const std::string longest(65531, 'x');
  CHECK(Print(KvOBJID_T, KvObjId{1, 2, 3}, longest.c_str()) == longest);
  CHECK(overflows == 0);
  CHECK(Print(KvOBJID_T, KvObjId{1, 2, 3}, (longest + "%L").c_str()) == longest);
  CHECK(overflows == 1);
  DefaultConfig().SetValue("debug", "stringOverflow", 0);
  KIVO_SetAssertHandler(nullptr);
}
