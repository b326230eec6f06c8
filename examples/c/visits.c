/* Visits of people, in LMDB, under keys of (name, day): names in Swedish order, and under each name
 * the latest day first. LMDB orders by bytes and knows nothing of types; the keys do.
 *
 *   visits FOLDER [BEGINNING]     prints the visits of all whose names begin so, in any case
 */
#include <lmdb.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "kvc.h"

enum { STRING = 11, DATE = 12, NUMBER = 2 };

static const kvc_text_options swedish = {sizeof(kvc_text_options), 0, -1, 10, NULL};
static const kvc_key_kind name_keys = {sizeof(kvc_key_kind), STRING, 0, KVC_EXACT, KVC_KEY_VERSION};
static const kvc_key_kind day_keys = {sizeof(kvc_key_kind), DATE, KVC_KEY_DESCENDING, KVC_EXACT,
                                      KVC_KEY_VERSION};

static void must(int status, const char* what, const char* why) {
  if (status == 0) return;
  fprintf(stderr, "visits: %s: %s\n", what, why);
  exit(1);
}

static void kvc(int32_t status, const char* what) {
  must(status, what, kvc_status_name(status));
}

static void lmdb(int status, const char* what) {
  must(status, what, mdb_strerror(status));
}

/* Writes the stored bytes of a value that is given as text; where they end. */
static unsigned char* store(unsigned char* at, size_t room, int32_t type, const char* text) {
  size_t size;
  kvc(kvc_scan(type, type == STRING ? &swedish : NULL, text, strlen(text), KVC_STORED, at, room,
               &size, NULL),
      text);
  return at + size;
}

/* A record is a name, a day and a number; its key is made of the first two as they are stored. */
static void put(MDB_txn* transaction, MDB_dbi table, const char* name, const char* day,
                const char* minutes) {
  unsigned char record[512], key[511];
  size_t size;
  unsigned char* const day_at = store(record, 400, STRING, name);
  unsigned char* const minutes_at = store(day_at, 50, DATE, day);
  unsigned char* const end = store(minutes_at, 50, NUMBER, minutes);
  const kvc_part parts[2] = {
      {sizeof(kvc_part), KVC_STORED, &name_keys, record, (size_t)(day_at - record)},
      {sizeof(kvc_part), KVC_STORED, &day_keys, day_at, (size_t)(minutes_at - day_at)}};
  kvc(kvc_key_tuple(parts, 2, key, sizeof key, &size), name);
  MDB_val at = {size, key}, what = {(size_t)(end - record), record};
  lmdb(mdb_put(transaction, table, &at, &what, 0), name);
}

/* Prints the field at the front of a record that somebody may have damaged, and passes it. */
static void print(const unsigned char** record, size_t* left, int32_t type) {
  kvc_measure field;
  char text[256];
  field.size = sizeof field;
  kvc(kvc_check(type, KVC_STORED, *record, *left, 1, &field), "a damaged record");
  kvc(kvc_print(type, NULL, KVC_STORED, *record, field.bytes, 1, text, sizeof text, NULL), "text");
  printf("%s%s", text, type == NUMBER ? " minutes\n" : "  ");
  *record += field.bytes;
  *left -= field.bytes;
}

static void walk(MDB_txn* transaction, MDB_dbi table, const char* beginning) {
  unsigned char stored[256], lower[512], upper[512];
  size_t lower_size, upper_size;
  MDB_cursor* cursor;
  const size_t size = (size_t)(store(stored, sizeof stored, STRING, beginning) - stored);
  kvc(kvc_key_range(&name_keys, KVC_RANGE_BEGINNING, KVC_STORED, stored, size, sizeof lower, lower,
                    &lower_size, upper, &upper_size),
      beginning);
  MDB_val at = {lower_size, lower}, what, end = {upper_size, upper};
  lmdb(mdb_cursor_open(transaction, table, &cursor), "cursor");
  while (mdb_cursor_get(cursor, &at, &what, at.mv_data == lower ? MDB_SET_RANGE : MDB_NEXT) == 0 &&
         mdb_cmp(transaction, table, &at, &end) < 0) {
    const unsigned char* record = what.mv_data;
    size_t left = what.mv_size;
    print(&record, &left, STRING);
    print(&record, &left, DATE);
    print(&record, &left, NUMBER);
  }
  mdb_cursor_close(cursor);
}

int main(int count, char** arguments) {
  MDB_env* environment;
  MDB_txn* transaction;
  MDB_dbi table;
  if (count < 2 || count > 3) must(1, "usage", "visits FOLDER [BEGINNING]");
  lmdb(mdb_env_create(&environment), "environment");
  lmdb(mdb_env_open(environment, arguments[1], 0, 0644), arguments[1]);
  lmdb(mdb_txn_begin(environment, NULL, 0, &transaction), "transaction");
  lmdb(mdb_dbi_open(transaction, NULL, 0, &table), "table");
  put(transaction, table, "Zetterlund", "2024-02-29", "15");
  put(transaction, table, "\xC3\x85se", "2023-12-31", "40");
  put(transaction, table, "\xC3\x85se", "2024-03-01", "5");
  put(transaction, table, "Anders", "2024-01-15", "25");
  put(transaction, table, "\xC3\x96sten", "2024-01-16", "30");
  walk(transaction, table, count > 2 ? arguments[2] : "");
  lmdb(mdb_txn_commit(transaction), "commit");
  mdb_env_close(environment);
  return 0;
}
