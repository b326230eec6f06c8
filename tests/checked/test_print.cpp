// Values into a caller's buffer: the same text as in a string, whole or not at all.
#include <doctest/doctest.h>

#include <cstring>
#include <memory>
#include <string>

#include "kvchecked.h"
#include "kvmbs.h"
#include "support/values_of.h"

namespace {

using support::Types;
using support::Values;

// Prints into a buffer of just so many bytes, so that a sanitizer sees one too far.
KvPrinted PrintInto(std::string& text, char id, const void* value, const char* format,
                    std::size_t room) {
  const std::unique_ptr<char[]> buffer(new char[room]);
  std::memset(buffer.get(), '~', room);
  const KvPrinted done = KvPrintChecked(Types(), id, buffer.get(), room, value, format);
  text.assign(buffer.get(), room);
  return done;
}

std::string Utf8Of(const KvString& string) {
  std::string text(3 * std::size_t{string.Len()} + 1, '\0');
  text.resize(
      static_cast<std::size_t>(KvString2KvMBS(string, text.data(), static_cast<int>(text.size()))));
  return text;
}

}  // namespace

TEST_CASE("a buffer gets the text that a string gets, and nothing when it is too small") {
  for (char id = 0; id < support::kRowCount; ++id) {
    CAPTURE(std::string(Types().NameGet(id, nullptr)));
    const Values values(id, support::OrdinaryValues(id, 60));
    const KvPrintFunc print = Types().ExchangePrintToKvStringFunc(id, nullptr);
    for (unsigned i = 0; i < values.Count(); ++i) {
      for (const char* format : {static_cast<const char*>(nullptr), "%d", "<%.3e>", "%Y-%m-%d"}) {
        KvString string;
        const std::string expected =
            Utf8Of(Types().PrintToKvString(id, string, values[i], format, 1));
        KvString direct;
        if (format == nullptr && id != KvREF_T) {  // the class of that one has a format of its own
          REQUIRE(Utf8Of(print(direct, values[i], nullptr, 1)) == expected);
        }
        const KvPrinted asked = KvPrintChecked(Types(), id, nullptr, 0, values[i], format);
        REQUIRE(asked.status == (expected.empty() ? kvOk : kvBufferShort));
        REQUIRE(asked.length == expected.size());
        std::string text;
        REQUIRE(PrintInto(text, id, values[i], format, expected.size() + 2).status == kvOk);
        REQUIRE(text == expected + "~~");
        REQUIRE(PrintInto(text, id, values[i], format, expected.size()).status == kvOk);
        REQUIRE(text == expected);
        if (expected.empty()) continue;
        const KvPrinted refused = PrintInto(text, id, values[i], format, expected.size() - 1);
        REQUIRE(refused.status == kvBufferShort);
        REQUIRE(refused.length == expected.size());
        REQUIRE(text == std::string(expected.size() - 1, '~'));
      }
    }
  }
}

TEST_CASE("a printed text is UTF-8") {
  KvString greek(kvCodeSetUnicode, 1);
  greek << 'a' << static_cast<unsigned short>(0x3B1) << static_cast<unsigned short>(0x20AC);
  std::string text;
  CHECK(PrintInto(text, KvSTRING_T, &greek, nullptr, 6).status == kvOk);
  CHECK(text == "a\xCE\xB1\xE2\x82\xAC");
  const KvIString latin("\xDF");
  CHECK(PrintInto(text, KvISTRING_T, &latin, nullptr, 2).status == kvOk);
  CHECK(text == "\xC3\x9F");
}

TEST_CASE("questions without a meaning are answered with a status") {
  char text[8] = "before";
  const int number = 5;
  const auto status = [&](char id, char* to, const void* value) {
    const KvPrinted printed = KvPrintChecked(Types(), id, to, sizeof text, value, nullptr);
    CHECK(printed.length == 0);
    return printed.status;
  };
  CHECK(status(KvRES_T + 1, text, &number) == kvNoSuchType);
  CHECK(status(-1, text, &number) == kvNoSuchType);
  CHECK(status(KvRES_T, text, &number) == kvNotSupported);
  CHECK(status(KvINT_T, text, nullptr) == kvBadArgument);
  CHECK(status(KvINT_T, nullptr, &number) == kvBadArgument);
  CHECK(KvPrintChecked(Types(), KvINT_T, nullptr, 1, &number, nullptr).status == kvBadArgument);
  CHECK(KvPrintChecked(KvTypeMgr(3), Kv8B_T, text, sizeof text, &number, nullptr).status ==
        kvNoSuchType);
  CHECK(std::string(text) == "before");
}

TEST_CASE("a print function or a format that was exchanged is used") {
  const int number = 5;
  std::string text;
  const char* before = Types().ExchangeFormat(KvINT_T, "<%d>");
  CHECK(PrintInto(text, KvINT_T, &number, nullptr, 3).status == kvOk);
  CHECK(text == "<5>");
  Types().ExchangeFormat(KvINT_T, before);
  const KvPrintFunc print = Types().ExchangePrintToKvStringFunc(
      KvINT_T, [](KvString& out, void*, const char*, unsigned) -> KvString& { return out = "no"; });
  CHECK(PrintInto(text, KvINT_T, &number, nullptr, 2).status == kvOk);
  CHECK(text == "no");
  Types().ExchangePrintToKvStringFunc(KvINT_T, print);
  CHECK(PrintInto(text, KvINT_T, &number, nullptr, 1).status == kvOk);
  CHECK(text == "5");
}
