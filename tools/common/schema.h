// A schema on the command line: the fields of a record, in the order in which they are stored.
//
//     id:o_u4b, day:KvDate, name:KvString/german, marks:o_2b[4]
//
//   schema    field { "," field }              blanks and line ends around a field mean nothing
//   field     name ":" TYPE [ "/" LANGUAGE ] [ "[" COUNT "]" ]
//   name      letters, digits and "_", no digit in front; each name once. Letters are those of
//             ASCII and every character beyond it.
//   TYPE      a type name, a type id name or a type id, of a type that has values
//   LANGUAGE  of a KvString field: its number, English name or ISO 639-1 code
//   COUNT     1 to 65535: the field is a run of as many values, stored as one run
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct SchemaField {
  std::string name;
  char type = 0;
  std::optional<unsigned char> language;  // KvString fields alone; none: the default language
  unsigned count = 1;
  bool isRun = false;  // written with [COUNT], also where that is [1]

  bool operator==(const SchemaField&) const = default;
};

struct Schema {
  std::vector<SchemaField> fields;

  // The field of that name (letter case counts), null when there is none.
  const SchemaField* Find(std::string_view name) const;
  bool operator==(const Schema&) const = default;
};

// Fails (Failure, usage) with what is wrong and at which offset of the text.
Schema ParseSchema(std::string_view text);

// The schema as text, with type names and language numbers. ParseSchema reads it back to an equal
// schema, so it is what a program stores beside its records.
std::string SchemaText(const Schema& schema);
