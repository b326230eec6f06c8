// Schemas as kvtm and kvindex take them: what a text means, and where a wrong one is wrong.
#include <doctest/doctest.h>

#include <string>

#include "failure.h"
#include "kv.h"
#include "schema.h"

TEST_CASE("fields, types by any name, languages and runs") {
  const Schema schema =
      ParseSchema(" id:o_u4b,\n day : KvDATE_T ,größe:2, a_1:KvString / german,b:11/10 [ 3 ]");
  REQUIRE(schema.fields.size() == 5);
  CHECK(schema.fields[0] == SchemaField{"id", KvU4B_T, {}, 1, false});
  CHECK(schema.fields[1] == SchemaField{"day", KvDATE_T, {}, 1, false});
  CHECK(schema.fields[2] == SchemaField{"größe", Kv4B_T, {}, 1, false});
  CHECK(schema.fields[3] == SchemaField{"a_1", KvSTRING_T, 2, 1, false});
  CHECK(schema.fields[4] == SchemaField{"b", KvSTRING_T, 10, 3, true});
  CHECK(schema.Find("day") == &schema.fields[1]);
  CHECK(schema.Find("Day") == nullptr);
}

TEST_CASE("languages by number, English name and ISO code") {
  for (const char* language : {"10", "swedish", "Swedish", "sv", "SV"}) {
    const Schema schema = ParseSchema(std::string("s:KvString/") + language);
    CHECK(schema.fields[0].language == 10);
  }
}

TEST_CASE("the text of a schema reads back to it") {
  const Schema schema = ParseSchema("id:o_u4b, name:KvString/sv, marks:o_2b[1], t:KvTime[65535]");
  CHECK(SchemaText(schema) == "id:o_u4b,name:KvString/10,marks:o_2b[1],t:KvTime[65535]");
  CHECK(ParseSchema(SchemaText(schema)) == schema);
}

TEST_CASE("a wrong schema is refused with the place") {
  struct Case {
    const char* text;
    const char* says;
  };
  for (const Case& each : {
           Case{"", "offset 0: expected a field name, found the end"},
           Case{"a:o_2b,", "offset 7: expected a field name, found the end"},
           Case{"a:o_2b;b:o_2b", "unknown type 'o_2b;b:o_2b'"},
           Case{"2a:o_2b", "offset 0: expected a field name, found '2a:o_2b'"},
           Case{"a", "offset 1: expected : and a type, found the end"},
           Case{"a:", "offset 2: expected a type, found the end"},
           Case{"a:o_2b,b:o_9b", "offset 9: unknown type 'o_9b'"},
           Case{"a:illegal", "offset 2: the type 'illegal' is the illegal one"},
           Case{"a:o_2b, a:o_4b", "offset 8: a second field 'a'"},
           Case{"a:KvDate/german", "offset 9: only a KvString has a language"},
           Case{"a:KvString/", "offset 11: expected a language, found the end"},
           Case{"a:KvString/klingon", "offset 11: unknown language 'klingon'"},
           Case{"a:o_2b[0]", "offset 7: a run has 1 to 65535 values"},
           Case{"a:o_2b[65536]", "offset 7: a run has 1 to 65535 values"},
           Case{"a:o_2b[x]", "offset 7: a run has 1 to 65535 values"},
           Case{"a:o_2b[2", "offset 8: expected ], found the end"},
           Case{"a:o_2b[2]]", "offset 9: expected , or the end, found ']'"},
       }) {
    CAPTURE(each.text);
    try {
      ParseSchema(each.text);
      FAIL_CHECK("was taken");
    } catch (const Failure& failure) {
      CHECK(failure.exitStatus == kExitBadUsage);
      CHECK_MESSAGE(failure.what.find(each.says) != std::string::npos, failure.what);
    }
  }
}
