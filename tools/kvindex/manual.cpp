// kvindex: typed records in an ordered store, found by predicates. This file is its manual and the
// table of its commands and options.
#include "commands.h"

namespace {

const std::vector<Option> kOptions = {
    {"schema", "SCHEMA", "the fields of a record: name:TYPE with commas between them"},
    {"key", "FIELDS", "the fields that tell records apart, with commas between them"},
    {"index", "FIELDS", "fields of a further index; may be given more than once"},
    {"format", "FORMAT", "of the file: csv or tsv (default: tsv for a file NAME.tsv, else csv)"},
    {"bad", "FILE", "where lines go that cannot be loaded (default: the file's name and .bad)"},
    {"replace", nullptr, "a record replaces the one that has its key"},
    {"progress", nullptr, "a line of progress for each batch where there is no terminal"},
    {"json", nullptr, "write JSON, for programs to read"},
    {"limit", "N", "at most N records"},
    {"count", nullptr, "only how many records there are"},
    {"explain", nullptr, "show plan and estimate beside the truth instead of records"},
    {"repair", nullptr, "add missing entries, erase those without a record"},
    {"durability", "LEVEL",
     "what an acknowledged write survives: process, the end of this process\n"
     "alone, or machine (the default), the machine's failure too"},
    {"timeout", "SECONDS", "how long servers may keep silent (default: 10)"},
    {"help", nullptr, "show the help of the command"},
};

const std::vector<Command> kCommands = {
    {"create", "STORE", "make a table",
     R"(Makes the store, where there is none yet, and a table of records in it. A SCHEMA is that of
kvtm record; NAME:KvString/LANGUAGE is a text that sorts as the language does. The key
must tell records apart. A query finds by the fields that the key or an index begins with.

Examples:
  $ kvindex create lmdb:words --schema 'day:KvDate,name:KvString/german' \
      --key name,day --index day
)",
     "schema key index durability timeout", 1, 1, RunCreate},
    {"info", "STORE", "show a table's schema, key and indexes",
     R"(Shows what the table was made with, and what the engine takes.
)",
     "timeout", 1, 1, RunInfo},
    {"load", "STORE [FILE]", "load records from CSV or TSV",
     R"(Loads a record from each line of FILE or the standard input. The columns are the fields in
the order of the schema, or as the first line names them. A text in UTF-8; a value as
kvtm writes it; {NULL} is null; a run of values is a JSON array. CSV has quotes as
RFC 4180 says; TSV has none.

A line that cannot be loaded is reported with its number and the reason, and goes to a
file of its own; the load goes on and exits with 1. A record that is there already is
passed over; another one with the same key is such a line, unless --replace is given.

A load that was interrupted goes on where it was when it is started again with the same
file. On a terminal it shows its rate and the time left.

Examples:
  $ kvindex load lmdb:words words.csv
)",
     "format bad replace progress durability timeout", 1, 2, RunLoad},
    {"query", "STORE QUERY", "find records",
     R"(Shows the records for which all predicates hold, as CSV with a first line that names the
columns. A QUERY is predicates with "and" between them:

  FIELD < CONSTANT     also <= = >= >; in quotes where it holds blanks
  FIELD like PATTERN   of KvString fields; % is any characters, _ is one

Every predicate's type is asked what part of an index it selects, and the index with the
smallest part is walked. --explain shows that beside what there was.

Examples:
  $ kvindex query lmdb:words "day >= 2024-01-01 and name like 'M%'"
)",
     "json limit count explain timeout", 2, 2, RunQuery},
    {"get", "STORE VALUE...", "show the record of a key",
     R"(Shows the record with that key, a VALUE for each of its fields.
)",
     "json timeout", 2, kAnyNumber, RunGet},
    {"delete", "STORE VALUE...", "remove the record of a key",
     R"(Removes the record with that key and its index entries.
)",
     "durability timeout", 2, kAnyNumber, RunDelete},
    {"verify", "STORE", "check records against index entries",
     R"(Checks that every record decodes, that its key is that of its fields and in order, that
each of its index entries is there and that every entry has its record. Faults are
reported on stderr. --repair sweeps what a crash may have left in a store that is spread
over servers, or where somebody else wrote.
)",
     "repair durability timeout", 1, 1, RunVerify},
    {"dump", "STORE", "write all records",
     R"(Writes all records in the order of the key, as CSV with a first line that names the columns,
or as a JSON array. The CSV loads into any other store:

  $ kvindex dump lmdb:words | kvindex load postgresql:dbname=words
)",
     "json timeout", 1, 1, RunDump},
};

const std::vector<ManualSection> kManual = {
    {"DESCRIPTION",
     R"(kvindex keeps records of typed fields in an ordered store and finds them by predicates.
Records and index entries are kept under sort keys, so every engine orders them as the
types do.
)"},
    {"COMMANDS", nullptr},
    {"OPERANDS", R"(STORE   where the records are, a URL:
          lmdb:PATH                    a folder of this machine
          rocksdb:PATH                 the same, made for many writes
          etcd:HOST:PORT,.../NAME      members that hold every byte each
          postgresql:CONNINFO          one server, or range partitions on many
VALUE   a value as text, as kvtm takes it
)"},
    {"OPTIONS", nullptr},
    {"EXIT STATUS", R"(0   all went well
1   a value, a line or the store could not be used, or verify found faults
2   the command line was wrong

Errors are one line on stderr: kvindex: COMMAND: what, where.
)"},
    {"EXAMPLES", R"(  $ kvindex create lmdb:days --schema 'day:KvDate,what:KvString' --key day
  $ printf '2024-02-29,leap day\n' | kvindex load lmdb:days
  1 records
  $ kvindex get lmdb:days 2024-02-29
  day,what
  2024-02-29,leap day
)"},
};

std::string Version() {
  return "kvindex, " KVINDEX_VERSION;
}

std::string WordsFor(const std::string& placeholder) {
  if (placeholder == "STORE") return "lmdb: rocksdb: etcd: postgresql:";
  if (placeholder == "LEVEL") return "process machine";
  if (placeholder == "FORMAT") return "csv tsv";
  return {};
}

}  // namespace

const Program& KvIndex() {
  static const Program program = {
      .name = "kvindex",
      .summary = "typed records in an ordered store",
      .date = "2026-11-21",
      .manual = kManual,
      .options = kOptions,
      .commands = kCommands,
      .version = Version,
      .wordsFor = WordsFor,
      .helpOnWord = nullptr,
  };
  return program;
}
