// Schemas as kvtm and kvindex take them: what a text means, and that it comes back.
#include <doctest/doctest.h>

#include <string>

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
