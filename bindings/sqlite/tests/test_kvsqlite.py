"""kvsqlite in Debian's SQLite, by the sqlite3 shell and by its C interface: the answers of kvtm."""
import datetime
import os
import random
import shutil
import sqlite3
import subprocess
import tempfile
import unittest
from pathlib import Path

EXTENSION = os.environ.get("KVSQLITE", "build/native/lib/kvsqlite.so")
KVTM = os.environ.get("KVTM", "build/native/bin/kvtm")

# (type, texts)
VALUES = [
    ("o_4b", ["-5", "0", "2147483647"]),
    ("o_double", ["-0.5", "1e+300", "Infinity"]),
    ("KvDate", ["2024-02-29", "-0004-03-01", "1999-12-31"]),
    ("KvDateTime", ["2024-02-29T13:05:00"]),
    ("KvString", ["Åkesson", "abc", "Žižek"]),
    ("KvBlob", ["00ff10"]),
    ("KvNull_int", ["7"]),
    ("KvBoolean", ["TRUE"]),
]


def kvtm(*arguments):
    return subprocess.run([KVTM, *arguments], capture_output=True, text=True, check=True).stdout.strip()


class Extension(unittest.TestCase):
    def setUp(self):
        self.database = sqlite3.connect(":memory:")
        self.addCleanup(self.database.close)
        self.database.enable_load_extension(True)
        self.database.load_extension(EXTENSION)

    def ask(self, expression, *arguments):
        return self.database.execute("SELECT " + expression, arguments).fetchone()[0]

    def fails(self, words, expression, *arguments):
        with self.assertRaises(sqlite3.OperationalError) as caught:
            self.ask(expression, *arguments)
        self.assertIn(words, str(caught.exception))


class Functions(Extension):
    def test_stored_bytes_and_texts_are_those_of_kvtm(self):
        for type_name, texts in VALUES:
            for text in texts:
                for order in ("memory", "reversed"):
                    stored = self.ask("kv_blob(?, ?, ?)", type_name, text, order)
                    wanted = kvtm("store", "--order", order, type_name, "--", text)
                    self.assertEqual(stored.hex(), wanted.replace(" ", ""), (type_name, text))
                    self.assertEqual(self.ask("kv_text(?, ?, ?)", type_name, stored, order),
                                     kvtm("load", "--order", order, type_name, wanted))
                    self.assertEqual(self.ask("kv_check(?, ?, ?)", type_name, stored, order), "ok")

    def test_keys_hashes_and_orders_are_those_of_kvtm(self):
        for type_name, texts in VALUES:
            stored = [self.ask("kv_blob(?, ?)", type_name, text) for text in texts]
            for text, bytes_ in zip(texts, stored):
                key = self.ask("kv_key(?, ?)", type_name, bytes_)
                self.assertEqual(key.hex(), kvtm("key", type_name, "--", text).replace(" ", ""))
                self.assertEqual(self.ask("kv_hash(?, ?)", type_name, bytes_),
                                 int(kvtm("hash", type_name, "--", text), 16))
                again = self.ask("kv_key(?, kv_unkey(?, ?))", type_name, type_name, key)
                self.assertEqual(again, key)
                for other_text, other in zip(texts, stored):
                    self.assertEqual(self.ask("kv_cmp(?, ?, ?)", type_name, bytes_, other),
                                     int(kvtm("compare", "--op", "exact", type_name, "--", text,
                                              other_text)))

    def test_null(self):
        self.assertIsNone(self.ask("kv_text('KvDate', NULL)"))
        self.assertEqual(self.ask("kv_is_null('KvDate', kv_blob('KvDate', NULL))"), 1)
        self.assertEqual(self.ask("kv_is_null('KvDate', kv_blob('KvDate', '2024-02-29'))"), 0)
        self.assertIsNone(self.ask("kv_text('KvDate', kv_blob('KvDate', NULL))"))
        self.fails("kvNotSupported", "kv_blob('o_4b', NULL)")

    def test_runs(self):
        self.assertEqual(self.ask("kv_text('o_2b', x'0100FEFF')"), "1,-2")
        self.assertEqual(self.ask("kv_hash('o_2b', x'0100FEFF')"), int(kvtm("hash", "o_2b", "--", "1", "-2"), 16))
        self.fails("a run", "kv_key('o_2b', x'0100FEFF')")

    def test_wrong_arguments_are_errors(self):
        self.fails("KvDat", "kv_text('KvDat', x'00')")
        self.fails("TYPE is not a text", "kv_text(NULL, x'00')")
        self.fails("STORED is not a blob", "kv_text('KvDate', 5)")
        self.fails("ORDER", "kv_text('KvDate', x'E8070229', 'middle')")
        self.fails("kvBufferShort", "kv_text('KvDate', x'E80702')")
        self.fails("kvDamaged", "kv_text('KvString', x'0700010161626300FE')")
        self.fails("kvOutOfRange", "kv_blob('KvDate', '2023-02-29')")
        self.fails("at byte 5", "kv_blob('KvDate', '2024-xx')")
        self.fails("language", "kv_blob('KvDate/swedish', '2024-02-29')")
        self.fails("TEXT is not a text", "kv_blob('o_4b', x'00')")
        self.fails("wrong number of arguments", "kv_key('o_4b')")
        self.fails("kvBadArgument", "kv_unkey('o_4b', x'00')")
        self.assertIn("at byte", self.ask("kv_check('KvString', x'0700010161626300FE')"))
        self.assertIn("kvBufferShort", self.ask("kv_check('KvDate', x'')"))

    def test_random_bytes_never_crash(self):
        numbers = random.Random(4)
        for _ in range(3000):
            type_name = str(numbers.randrange(46))
            bytes_ = numbers.randbytes(numbers.randrange(20))
            for name in ("kv_text", "kv_key", "kv_unkey", "kv_hash", "kv_is_null", "kv_check"):
                try:
                    self.ask(f"{name}(?, ?)", type_name, bytes_)
                except sqlite3.OperationalError:
                    pass


class Indexes(Extension):
    def setUp(self):
        super().setUp()
        self.database.execute("CREATE TABLE person(id INTEGER PRIMARY KEY, born BLOB, name BLOB)")
        numbers = random.Random(9)
        first = datetime.date(1950, 1, 1)
        self.people = [(i, (first + datetime.timedelta(numbers.randrange(20000))).isoformat(),
                        numbers.choice("AÅÄÖZB") + "kesson" + str(i % 50)) for i in range(2000)]
        self.database.executemany("INSERT INTO person VALUES (?, kv_blob('KvDate', ?),"
                                  " kv_blob('KvString/swedish', ?))", self.people)
        self.database.execute("CREATE INDEX by_day ON person(kv_key('KvDate', born))")
        self.database.execute("CREATE INDEX by_name ON person(kv_key('KvString', name))")

    def indexed(self, query, index):
        plan = " ".join(row[3] for row in self.database.execute("EXPLAIN QUERY PLAN " + query))
        self.assertIn("USING INDEX " + index, plan)
        return [row[0] for row in self.database.execute(query)]

    def test_a_range_of_dates(self):
        found = self.indexed(
            "SELECT id FROM person WHERE kv_key('KvDate', born) BETWEEN"
            " kv_key('KvDate', kv_blob('KvDate', '1970-05-01')) AND"
            " kv_key('KvDate', kv_blob('KvDate', '1971-02-28'))", "by_day")
        self.assertEqual(sorted(found), [i for i, day, _ in self.people
                                         if "1970-05-01" <= day <= "1971-02-28"])
        self.assertTrue(found)

    def test_a_swedish_name(self):
        found = self.indexed("SELECT id FROM person WHERE kv_key('KvString', name) ="
                             " kv_key('KvString', kv_blob('KvString/swedish', 'Åkesson7'))",
                             "by_name")
        self.assertEqual(sorted(found), [i for i, _, name in self.people if name == "Åkesson7"])
        self.assertTrue(found)

    def test_swedish_order(self):
        names = self.indexed("SELECT kv_text('KvString', name) FROM person"
                             " ORDER BY kv_key('KvString', name)", "by_name")
        letters = [name[0] for name in names]
        self.assertEqual(letters, sorted(letters, key="ABZÅÄÖ".index))

    def test_views_and_generated_columns_may_use_them(self):
        self.database.execute("PRAGMA trusted_schema = OFF")
        self.database.execute("CREATE VIEW shown AS SELECT kv_text('KvDate', born) AS day FROM person")
        self.assertEqual(self.database.execute("SELECT count(day) FROM shown").fetchone()[0], 2000)


class Records(Extension):
    SCHEMA = "id:o_u4b, day:KvDate, marks:o_2b[2], name:KvString/german"
    RECORD = ("07000000" "E807021D" "0100FEFF" "0700010261626300FF")

    def test_fields_are_rows(self):
        rows = self.database.execute("SELECT rowid, name, type, count, place, text FROM kv_each(?, ?)",
                                     (self.SCHEMA, bytes.fromhex(self.RECORD))).fetchall()
        self.assertEqual(rows, [(1, "id", "o_u4b", 1, 0, "7"), (2, "day", "KvDate", 1, 4, "2024-02-29"),
                                (3, "marks", "o_2b", 2, 8, "1,-2"), (4, "name", "KvString", 1, 12, "abc")])

    def test_records_of_a_table(self):
        self.database.execute("CREATE TABLE log(record BLOB)")
        self.database.executemany("INSERT INTO log VALUES (?)", [(bytes([0, i]),) for i in range(5)])
        rows = self.database.execute("SELECT each.text FROM log,"
                                     " kv_each('n:o_u2b', log.record, 'big') AS each").fetchall()
        self.assertEqual(rows, [(str(i),) for i in range(5)])

    def test_faults_have_a_place(self):
        record = bytes.fromhex(self.RECORD)
        for schema, bytes_, words in ((self.SCHEMA, record[:-1], "name"),
                                      (self.SCHEMA, record + b"x", "at byte 21"),
                                      ("id:o_u4", record, "o_u4b"), ("", record, "schema")):
            with self.assertRaises(sqlite3.OperationalError) as caught:
                self.database.execute("SELECT * FROM kv_each(?, ?)", (schema, bytes_)).fetchall()
            self.assertIn(words, str(caught.exception))
        with self.assertRaises(sqlite3.OperationalError):
            self.database.execute("SELECT * FROM kv_each").fetchall()


@unittest.skipUnless(shutil.which("sqlite3"), "the shell sqlite3 is not installed")
class Shell(unittest.TestCase):
    def test_the_shell_loads_it(self):
        script = (f".load {Path(EXTENSION).with_suffix('')}\n"
                  "SELECT kv_text('KvDate', kv_blob('KvDate', '2024-02-29', 'big'), 'big');\n")
        with tempfile.TemporaryDirectory() as folder:
            done = subprocess.run(["sqlite3", str(Path(folder) / "file.db")], input=script,
                                  capture_output=True, text=True)
        self.assertEqual((done.stdout, done.stderr), ("2024-02-29\n", ""))


if __name__ == "__main__":
    unittest.main()
