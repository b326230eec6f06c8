// Bytes read from hex digits and from the lines of dumps.
#include <doctest/doctest.h>

#include "hex.h"

TEST_CASE("a dump is told from digits with blanks among them") {
  struct Case {
    const char* text;
    const char* bytes;
  };
  const Case cases[] = {
      {"00000000: 4142 43                                  ABC\n", "414243"},
      {"00000000  41 42 43                                          |ABC|\n00000003\n", "414243"},
      {"0011223344556677  8899", "00112233445566778899"},
  };
  for (const Case& each : cases) {
    CAPTURE(each.text);
    Bytes bytes;
    AppendHexDump(each.text, bytes);
    CHECK(ToHex(bytes) == each.bytes);
  }
}
