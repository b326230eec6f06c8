// What the tools know of each type beside what the library tells: how its values are written as
// text, the fields of its stored form, and words for people. One row a type. A type without a row
// is told by what the library says of it, and written in its own print format; that serves those of
// fixed size. One of varying size ends the program by name.
#pragma once

#include <string>
#include <vector>

// How values of a type are written as text.
enum class TextKind {
  kCharacter,    // one printable character, or 0xNN
  kInteger,      // a whole number within a range
  kFloat,        // 4 bytes
  kDouble,       // 8 bytes
  kBoolean,      // TRUE or FALSE
  kString,       // the text itself
  kPlainString,  // the text itself, of 8-bit characters laid out as in Windows-1252
  kBlob,         // hex
  kPattern,      // a print format of the type
};

// A field of the stored form, in stored order.
struct StoredField {
  std::string name;
  char kind;       // 'i' signed, 'u' unsigned, 'f' floating
  unsigned width;  // bytes
  unsigned offset;
  unsigned memoryOffset;  // in the memory form
  bool turns;             // its bytes follow the byte order
};

struct TypeFacts {
  const char* name;
  TextKind kind;
  const char* fields;   // "year:i2 month:i1"; a "!" behind a width: most significant first always
  const char* meaning;  // for a table of types
  const char* range;
  const char* null;     // how a null is stored; empty where the type has none
  const char* example;  // a value as text
  // Print formats that are tried in turn, separated by "|"; the type's own comes after them.
  const char* formats = "";
  // What a value is shown in where that says all of it; empty: the first format that does.
  const char* shown = "";

  bool IsNullableScalar() const;  // a null indicator, then the fields of the scalar
  std::vector<StoredField> StoredFields() const;
  // Of a whole number: its width, and the least and the greatest.
  unsigned Width() const;
  long long Least() const;
  unsigned long long Greatest() const;
};

// Of a type that has values.
const TypeFacts& FactsOf(char id);
