// kvtm: the workbench of whoever debugs a database page or an index. It shows stored bytes as hex
// and values as text, through the public interface of the type manager alone. This file is its
// manual and the table of its commands and options; the help, the man page and the completions come
// from it.
#include "catalogue.h"
#include "commands.h"
#include "names.h"

namespace {

const std::vector<Option> kOptions = {
    {"order", "ORDER",
     "byte order of the stored bytes: 2, reversed or big (most significant\n"
     "byte first); 0, 1, memory or little (the default)"},
    {"from", "F", "the form that is given"},
    {"to", "F", "the form that is wanted"},
    {"count", "N", "how many values the bytes hold (default: as many as there are)"},
    {"op", "OP",
     "compare operation, by names with commas between them or as bits added\n"
     "up: exact 0x10 (no wildcards), ignore-case 0x20, ignore-accents 0x40,\n"
     "skip-spaces 0x80, key-order 0x100, ignore-extension 0x200"},
    {"reorder", nullptr, "turn the bytes of each field where both forms are stored ones"},
    {"stored", nullptr,
     "operands are stored bytes in hex, one value each, in the order of --order"},
    {"at", "N", "begin at this offset"},
    {"repeat", nullptr, "read records to the end of the bytes"},
    {"raw", nullptr, "the file holds the bytes themselves, not hex"},
    {"remarked", nullptr, "show only fields with remarks"},
    {"reverse", nullptr, "the greatest first", 'r'},
    {"unique", nullptr, "of lines with equal values, the first alone", 'u'},
    {"key", "COLUMN",
     "sort by this column of lines in CSV, or parted by tabs: its number, 1 the\n"
     "first, or its name in the first line",
     'k'},
    {"lines", "FILE",
     "run the command once for each line of FILE, whose tabs part operands;\n"
     "- is the standard input"},
    {"format", "FORMAT", "print and read values in this format of the type, not in kvtm's"},
    {"codeset", "CS",
     "code set of string values, by number or name (default: 1, ISO 8859-1,\n"
     "where it holds the text, else 253, 16-bit Unicode)"},
    {"language", "LANGUAGE",
     "language of string values, by number, English name or ISO code\n"
     "(default: 1, English)"},
    {"number", nullptr, "o_char and o_u1b values are numbers, not characters"},
    {"json", nullptr, "write JSON, for programs to read, one value a run"},
    {"csv", nullptr, "write CSV with a header"},
    {"descending", nullptr, "keys that order the other way round"},
    {"nulls-last", nullptr, "null behind every value, in the order that the keys have"},
    {"nulls-first", nullptr, "null before every value, in the order that the keys have"},
    {"plain-bytes", nullptr, "keys of strings of plain bytes (code set 0), which order by bytes"},
    {"explain", nullptr, "tell what the bytes of a key are"},
    {"help", nullptr, "show the help of the command"},
};

const std::vector<Command> kCommands = {
    {"types", "[TYPE...]", "list the catalogue of value types, or tell all about some",
     R"(Lists every type: its id, its type name and type id name (either serves as TYPE, as does
the id), the bytes of a value in memory and stored, whether it can be null, and the
format that it prints in by default.

With TYPE, a card: the fields with their places in memory and stored, range, null, default,
the value of zero bytes, an example with its bytes in both orders, and the format.

Examples:
  $ kvtm types | head -n 4
  id  type             id name            memory  stored  null  format
  0   o_char           Kv1B_T             1       1       no    %c
  1   o_2b             Kv2B_T             2       2       no    %hd
  2   o_4b             Kv4B_T             4       4       no    %ld
)",
     "json csv", 0, kAnyNumber, RunTypes},
    {"describe", "[TYPE...]", "tell which library this is",
     R"(Shows what the type manager says of itself: names, version, build, the compiler, the
format version of the process's type manager, and the width of a pointer (the size in
memory of strings and blobs depends on it, stored bytes never do).

With TYPE it does what kvtm types TYPE does.
)",
     "json csv", 0, kAnyNumber, RunDescribe},
    {"store", "TYPE VALUE...", "write values as stored bytes, in hex",
     R"(Writes the stored form of the values, one run of bytes as an index or a record holds it.

Examples:
  $ kvtm store Kv4B_T 1 -2
  01000000feffffff
  $ kvtm store Kv4B_T --order 2 1 -2
  00000001fffffffe
  $ kvtm store KvSTRING_T Straße
  0a00010153747261df6500ff
)",
     "order format codeset language number lines json csv", 2, kAnyNumber, RunStore},
    {"load", "TYPE HEX...", "read stored bytes, one value a line",
     R"(Reads a run of stored values and writes one a line. HEX may be split by blanks and over
several operands; - reads it from the standard input. Without --count the bytes must end
with a value; with it, bytes that follow are reported on stderr.

The bytes are measured by the type's own length fields before anything trusts them: a run
that would be read past its end is an error. Control characters show as \xNN.
stderr has remarks on values that can be read and are odd all the same: dates and times that
no calendar or clock has, strings in the old form, and a byte of a KvBoolean that is neither
0, 1 nor 255. That one counts as true and prints as FALSE, because only 1 prints as TRUE.

Examples:
  $ kvtm load Kv2B_T --order 2 0001 0002 ffff
  1
  2
  -1
  $ kvtm load KvDATE_T e807021d
  2024-02-29
  $ kvtm load Kv4B_T 010000
  kvtm: load: 3 bytes are no whole number of o_4b values, which take 4 each
)",
     "order count format number lines json csv", 2, kAnyNumber, RunLoad},
    {"record", "SCHEMA [HEX...|FILE]", "read stored records field by field",
     R"(Reads stored records by a schema and writes a line a field: its offset, bytes, name, type,
value, and remarks on what is odd: no such date, what it would be in the other byte order,
a code set or language that is not the schema's, the old form of strings, a damaged mark.
At the first byte that fits no rule it stops, and says which.

SCHEMA is fields with commas between them: name:TYPE, name:KvString/LANGUAGE for a language
other than English, name:TYPE[N] for a run of N values.

HEX is a record in hex digits; anything else is a FILE of hex, or of lines as xxd and
hexdump -C write them; --raw reads a file's bytes as they are. - is the standard input.
Without --count or --repeat one record is read, and stderr says where more bytes follow.

On a terminal, fields have colours, and fields with remarks are red; not with NO_COLOR set.

Examples:
  $ kvtm record id:o_u4b,day:KvDate,name:KvString --order 2 0000002ae807021d0007010161626300ff
  offset  bytes               field  type      value        remarks
  0       0000002a            id     o_u4b     42
  4       e807021d            day    KvDate    -6137-02-29  no such date or time; would be 2024-02-29 in the other byte order
  8       0007010161626300ff  name   KvString  abc
  $ kvtm record id:o_u2b,name:KvString 01000701
  offset  bytes  field  type   value  remarks
  0       0100   id     o_u2b  1
  kvtm: record: field name (KvString) at offset 2: the bytes end too soon: a block at offset 4 takes 263, there are 0
)",
     "order at repeat count raw remarked format number lines json csv", 1, kAnyNumber, RunRecord},
    {"translate", "TYPE HEX...", "bytes from one form to another",
     R"(Hands a run of bytes to the type's translate operation. --from and --to take a form:
memory (8), stored (0) or reversed (2), the stored form with the most significant byte of
each field first. From one stored form to the other the operation copies the bytes, and
stderr says so; with --reorder the bytes of each field are turned. Strings and blobs hold a pointer in memory, so they
have no memory form in hex.

Examples:
  $ kvtm translate Kv4B_T --from memory --to reversed 0100000002000000
  0000000100000002
)",
     "from to count reorder lines json csv", 2, kAnyNumber, RunTranslate},
    {"compare", "TYPE A B", "order two values: -1, 0 or 1",
     R"(Writes -1 when A sorts before B, 0 when they are equal, 1 when A sorts after B.
With --stored the two are compared as an index does it, by their bytes.

Examples:
  $ kvtm compare KvDOUBLE_T NaN -Infinity
  -1
  $ kvtm compare KvSTRING_T strasse STRASSE
  1
  $ kvtm compare KvSTRING_T --op ignore-case strasse STRASSE
  0
  $ kvtm compare KvDATE_T --stored --order 2 07e8021d 07e80301
  -1
)",
     "op stored order format codeset language number lines json csv", 3, 3, RunCompare},
    {"diff", "TYPE A B", "where two values differ first",
     R"(Tells the first place in which two values differ: a field, with its offset in the stored
bytes; a level of collation and a character, of a KvString; a byte. The order is that of A
to B, with --op exact.

Examples:
  $ kvtm diff KvDATE_T 2024-02-29 2024-03-29
  differ at  month
  offset     2
  A          2
  B          3
  order      -1
  $ kvtm diff KvSTRING_T Müller Muller
  differ at  level 2 (accents), character 2
  offset
  A          ü
  B          u
  order      1
)",
     "stored order format codeset language number lines json csv", 3, 3, RunDiff},
    {"hash", "TYPE VALUE...", "hash a run of values",
     R"(Writes the hash that hash indexes use, of all the values as one run.

Examples:
  $ kvtm hash Kv4B_T 1
  0x41c64e6d
  $ kvtm hash Kv4B_T 7 7
  0x00000000
)",
     "stored order format codeset language number lines json csv", 2, kAnyNumber, RunHash},
    {"key", "TYPE|SCHEMA VALUE...", "write sort keys: bytes that order as the values do",
     R"(Writes the sort key of each value in hex, a key a line. Keys compared byte by byte order
as the values do, exactly (0x10); --op adds what does not count: ignore-case,
ignore-accents, ignore-extension, skip-spaces.

A SCHEMA makes keys of tuples, one for as many values as it has fields:
"name:TYPE, name:KvString/LANGUAGE, ...". Behind a type may stand desc, nulls-last,
nulls-first and plain-bytes for that field alone.

With --lines each line of FILE is a value, or the values of a tuple with tabs between
them. --explain shows below each key what its bytes are; for programs (--json, --csv) it
writes that alone, with the key in each row.

Examples:
  $ kvtm key Kv4B_T 1 -1
  80000001
  7fffffff
  $ kvtm key "name:KvString/german, day:KvDate desc, n:KvNull_int" Müller 2024-02-29 {NULL}
  019cb4999984ab00c7003078177d6200
  $ kvtm key KvSTRING_T --language german --explain Müller
  019cb4999984ab00c70030
  offset  bytes         what
  0       01            present
  1       9cb4999984ab  level 1: m u l l e r
  7       00            end of level 1
  8       c7            accent: diaeresis at 2
  9       00            case: capital at 1
  10      30            end
)",
     "descending nulls-last nulls-first plain-bytes op format codeset language lines explain json "
     "csv",
     2, kAnyNumber, RunKey},
    {"unkey", "TYPE|SCHEMA HEX...", "read values out of sort keys",
     R"(Writes the value of each key; of a tuple, its values with tabs between them. The options
are those that the key was made with. A string's key holds its collation orders and not its
characters, so its text is shown in the characters that those orders are of.

Examples:
  $ kvtm unkey KvDATE_T 87e8829d
  2024-02-29
  $ kvtm unkey "name:KvString, n:Kv2B_T desc" 019cb4999984ab00c700307ffe | tr '\t' ,
  Müller,1
)",
     "descending nulls-last nulls-first plain-bytes op format codeset language lines explain json "
     "csv",
     2, kAnyNumber, RunUnkey},
    {"bounds", "TYPE PREDICATE CONST LOW HIGH", "estimate what a predicate selects",
     R"(Asks the type which fraction of the index range LOW to HIGH a comparison with CONST
selects, and which bounds it sets. PREDICATE is one of < <= = >= > and wants quotes in a
shell. A bound that the constant sets is marked (new).

Examples:
  $ kvtm bounds Kv4B_T '>' 5 1 10
  fraction  0.5
  lower     5  (new)
  upper     10
)",
     "stored order format codeset language number lines json csv", 5, 5, RunBounds},
    {"step", "TYPE VALUE...", "the next value",
     R"(Writes the successor of each value, the one that an index looks at after it.

Examples:
  $ kvtm step KvDATE_T 2024-02-28
  2024-02-29
  $ kvtm step Kv2B_T 32767
  kvtm: step: '32767' is the last o_2b value
)",
     "stored order format codeset language number lines json csv", 2, kAnyNumber, RunStep},
    {"sort", "TYPE [FILE]", "sort lines in the order of a type",
     R"(Reads lines from FILE or the standard input, takes each as a value of TYPE, and writes
them in the type's order. Lines of equal values keep their order. A line that is no value
is reported on stderr with its number and left out; the exit status is then 1. The input is
held in memory. On a terminal, stderr shows how far the work is.

Lines are UTF-8, without a byte order mark at their beginning; with --codeset they are in
that 8-bit code set. Backslashes are characters like any other here.

With -k the value is one column: of a file named .csv or with --csv fields have commas
between them and may be quoted, else tabs. Where the column is named, the first line is the
header and stays first.

Languages: 1 English, 2 German, 3 French, 4 Spanish, 5 Italian, 6 Portuguese, 7 Dutch,
8 Danish, 9 Norwegian, 10 Swedish, 11 Finnish, 12 Polish, 13 Czech, 14 Hungarian,
15 Turkish, 16 Slovak, 17 Croatian, 18 Romanian, 19 Icelandic.

Examples:
  $ printf '%s\n' 10 9 -1 | kvtm sort Kv4B_T
  -1
  9
  10
  $ printf '%s\n' zebra äpple apple | kvtm sort KvSTRING_T --language swedish
  apple
  zebra
  äpple
)",
     "reverse unique key op stored order format codeset language number csv json", 1, 2, RunSort},
    {"order", "TEXT", "the collation orders of a text, in words",
     R"(Writes the collation orders of each character of TEXT: the numbers that strings are
compared by, and what they mean. A character may have two, and a language may sort several
letters as one.

Examples:
  $ kvtm order 'é 7'
  é  0x511c  lower letter e with accent acute
     0x0021  space
  7  0x3f46  digit 7
)",
     "codeset language lines json csv", 1, 1, RunOrder},
    {"convert", "[FILE]", "convert a text between code sets",
     R"(Converts FILE or the standard input from one code set to another; a code set is utf8, a
name or a number:

  0 bytes (the native set)  1 ISO-8859-1, latin1      2 Windows-1252, cp1252
  3 ISO-8859-15, latin9     4 IBM850, cp850           5 MacRoman
  6 ISO-8859-2, latin2      7 Windows-1250, cp1250    8 ISO-8859-5
  9 Windows-1251, cp1251   10 KOI8-R                 11 ISO-8859-7
 12 ISO-8859-9, latin5    253 Unicode, 16-bit units, low byte first

A character that the target lacks becomes "?"; stderr says how many did. At bytes that are
no character the conversion ends with an error that names their offset, everything before
them having been written. Files of any size are converted in the same small memory.

Examples:
  $ printf 'caf\303\251\n' | kvtm convert --from utf8 --to latin1 | od -An -tx1
   63 61 66 e9 0a
)",
     "from to", 0, 1, RunConvert},
};

// "COMMANDS" and "OPTIONS" come from the tables.
const std::vector<ManualSection> kManual = {
    {"DESCRIPTION",
     R"(kvtm is the workbench of whoever debugs a database page or an index: it reads and writes
stored bytes as hex and values as text, and asks the type manager how values compare,
hash, sort and step.
)"},
    {"COMMANDS", nullptr},
    {"OPERANDS",
     R"(TYPE    a type name (o_4b), a type id name (Kv4B_T) or a type id (2); kvtm types lists them
VALUE   a value as text, in UTF-8:
          numbers         decimal; floating rows take Infinity, NaN and NaN(0xBITS) too
          characters      one character, or a byte as 0x41
          booleans        TRUE or FALSE
          dates, times    2024-02-29, 13:05:00, 2024-02-29T13:05:00; * for any component;
                          behind a d_Time its zone, 13:05:00+05:30
          time spans      days.hours:minutes:seconds, 2.03:00:00
          intervals       seconds, 5400 or 0.5
          identities      as they print, (1-5#7)
          blobs           hex
          strings         the text; \\, \n, \t, \xNN and \uNNNN as C has them
          null            {NULL}, where the type has a null value
        With --format a value is read and shown in that print format of the type.
HEX     bytes as hex digits; blanks, colons and commas between bytes and 0x before them are
        allowed, and lines of xxd; - reads the standard input
SCHEMA  fields with commas: name:TYPE, name:KvString/LANGUAGE, name:TYPE[N]
)"},
    {"OPTIONS", nullptr},
    {"EXIT STATUS", R"(0   all went well
1   a value, bytes or a file could not be used
2   the command line was wrong

Errors are one line on stderr: kvtm: COMMAND: what, where.
)"},
    {"EXAMPLES", R"(  $ kvtm store KvDATE_T --order 2 2024-02-29
  07e8021d
  $ kvtm load KvDATE_T --order 2 07e8021d
  2024-02-29
  $ kvtm compare Kv4B_T 10 9
  1
)"},
};

std::string Version() {
  return "kvtm, " + ModuleVersion();
}

std::string TypeNames() {
  std::string names;
  for (char id = 0; id < TypeCount(); ++id) {
    if (HasValues(id)) names += TypeName(id) + " " + TypeIdName(id) + " ";
  }
  return names;
}

std::string WordsFor(const std::string& placeholder) {
  if (placeholder == "TYPE") return TypeNames();
  if (placeholder == "CS") return "utf8 " + CodeSetNames();
  if (placeholder == "LANGUAGE") return LanguageNames();
  if (placeholder == "ORDER") return "memory reversed little big";
  if (placeholder == "F") return "memory stored reversed utf8 " + CodeSetNames();
  if (placeholder == "PREDICATE") return "< <= = >= >";
  if (placeholder == "OP") {
    return "exact ignore-case ignore-accents skip-spaces key-order ignore-extension";
  }
  return {};
}

// `kvtm help KvDate`
bool HelpOnType(const std::string& word) {
  for (char id = 0; id < TypeCount(); ++id) {
    if (!HasValues(id) || (word != TypeName(id) && word != TypeIdName(id))) continue;
    PrintTypeCard(id, Output::kText);
    return true;
  }
  return false;
}

}  // namespace

const Program& Kvtm() {
  static const Program program = {
      .name = "kvtm",
      .summary = "values, stored bytes and orders of the type manager",
      .date = "2026-11-21",
      .manual = kManual,
      .options = kOptions,
      .commands = kCommands,
      .version = Version,
      .wordsFor = WordsFor,
      .helpOnWord = HelpOnType,
  };
  return program;
}
