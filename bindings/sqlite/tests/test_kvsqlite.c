/* kvsqlite through SQLite's C interface, as a program that embeds it: an index over keys, ranges of
 * days and of Swedish names, values of the wrong kind. */
#include <sqlite3.h>
#include <stdio.h>
#include <string.h>

static int failures;

static void expect(const char* what, const char* found, const char* wanted) {
  if (strcmp(found, wanted) == 0) return;
  ++failures;
  fprintf(stderr, "%s: found \"%s\", not \"%s\"\n", what, found, wanted);
}

/* The first column of all rows, each with a blank behind it; or what is wrong. */
static const char* ask(sqlite3* database, const char* sql) {
  static char answer[1024];
  sqlite3_stmt* statement = NULL;
  int status = sqlite3_prepare_v2(database, sql, -1, &statement, NULL);
  answer[0] = '\0';
  while (status == SQLITE_OK && (status = sqlite3_step(statement)) == SQLITE_ROW) {
    const unsigned char* text = sqlite3_column_text(statement, 0);
    const size_t used = strlen(answer);
    snprintf(answer + used, sizeof answer - used, "%s ", text == NULL ? "NULL" : (const char*)text);
    status = SQLITE_OK;
  }
  if (status != SQLITE_DONE) snprintf(answer, sizeof answer, "%s", sqlite3_errmsg(database));
  sqlite3_finalize(statement);
  return answer;
}

static void fill(sqlite3* database) {
  static const char* const rows[][2] = {{"Zetterlund", "2024-02-29"},
                                        {"\xC3\x85kesson", "2023-12-31"},
                                        {"Andersson", "2024-01-15"},
                                        {"\xC3\x96sten", "2024-03-01"},
                                        {"Agren", "1999-12-31"}};
  sqlite3_stmt* insert = NULL;
  sqlite3_prepare_v2(
      database, "INSERT INTO visit VALUES (kv_blob('KvString/swedish', ?), kv_blob('KvDate', ?))",
      -1, &insert, NULL);
  for (size_t row = 0; row < sizeof rows / sizeof rows[0]; ++row) {
    for (int column = 0; column < 2; ++column) {
      sqlite3_bind_text(insert, column + 1, rows[row][column], -1, SQLITE_STATIC);
    }
    if (sqlite3_step(insert) != SQLITE_DONE) expect("insert", sqlite3_errmsg(database), "");
    sqlite3_reset(insert);
  }
  sqlite3_finalize(insert);
}

int main(int count, char** arguments) {
  sqlite3* database = NULL;
  char* message = NULL;
  if (count != 2 || sqlite3_open(":memory:", &database) != SQLITE_OK) return 2;
  sqlite3_enable_load_extension(database, 1);
  if (sqlite3_load_extension(database, arguments[1], NULL, &message) != SQLITE_OK) {
    fprintf(stderr, "%s\n", message);
    return 2;
  }
  expect("table", ask(database, "CREATE TABLE visit(name BLOB, day BLOB)"), "");
  expect("index", ask(database, "CREATE INDEX by_day ON visit(kv_key('KvDate', day))"), "");
  expect("index", ask(database, "CREATE INDEX by_name ON visit(kv_key('KvString', name))"), "");
  fill(database);

  expect("days of 2024",
         ask(database,
             "SELECT kv_text('KvDate', day) FROM visit WHERE kv_key('KvDate', day) >= "
             "kv_key('KvDate', kv_blob('KvDate', '2024-01-01')) ORDER BY kv_key('KvDate', day)"),
         "2024-01-15 2024-02-29 2024-03-01 ");
  expect("Swedish names",
         ask(database,
             "SELECT kv_text('KvString', name) FROM visit ORDER BY kv_key('KvString', name)"),
         "Agren Andersson Zetterlund \xC3\x85kesson \xC3\x96sten ");
  expect("names from Z on",
         ask(database,
             "SELECT count(*) FROM visit WHERE kv_key('KvString', name) >= "
             "kv_key('KvString', kv_blob('KvString/swedish', 'Z'))"),
         "3 ");
  expect("a number", ask(database, "SELECT kv_key('KvDate', 5)"), "STORED is not a blob");
  expect("a cut date", ask(database, "SELECT kv_key('KvDate', x'e80702')"),
         "kvBufferShort: a value at byte 0");
  expect("two dates", ask(database, "SELECT kv_key('KvDate', x'e807021de807021d')"),
         "STORED is a run, not one value");
  expect("NULL", ask(database, "SELECT kv_key('KvDate', NULL)"), "NULL ");
  sqlite3_close(database);
  return failures != 0;
}
