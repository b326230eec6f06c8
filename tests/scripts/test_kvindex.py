"""kvindex on every engine that can be had here, against lists in Python."""
import csv
import io
import json
import operator
import os
import random
import re
import shutil
import unittest

from kvindex_program import BUILD, PROGRAM, KvIndexTest, cluster, kvindex, needs_kvindex

SCHEMA = "id:o_u4b,day:KvDate,place:KvIString,weight:KvNull_double"
KEY = ("--key", "place,id", "--index", "day", "--index", "weight,day")
COMPARE = {"=": operator.eq, "<": operator.lt, "<=": operator.le, ">": operator.gt,
           ">=": operator.ge}
RUNNING = None


def setUpModule():
    global RUNNING
    if os.path.exists(PROGRAM):
        RUNNING = cluster.Running(["etcd", "postgresql"], os.path.join(BUILD, "cluster"))


def tearDownModule():
    if RUNNING is not None:
        RUNNING.end()


def records(count, seed=3):
    source = random.Random(seed)
    rows = []
    for number in range(count):
        day = f"{source.randint(1990, 2029)}-{source.randint(1, 12):02}-{source.randint(1, 28):02}"
        place = "".join(source.choices("abcdexyz", k=source.randint(1, 6)))
        weight = None if source.random() < 0.1 else source.randint(-4000, 4000) / 8
        rows.append((number * 7 % 4093 + 4093 * (number // 4093), day, place, weight))
    return rows


def as_csv(rows, header=True):
    text = io.StringIO()
    writer = csv.writer(text, lineterminator="\n")
    if header:
        writer.writerow(["id", "day", "place", "weight"])
    for row in rows:
        writer.writerow([*row[:3], "{NULL}" if row[3] is None else repr(row[3])])
    return text.getvalue()


def parsed(output):
    rows = list(csv.reader(io.StringIO(output)))
    return [(int(row[0]), row[1], row[2], None if row[3] == "{NULL}" else float(row[3]))
            for row in rows[1:]]


def by_key(row):
    return (row[2], row[0])


# A null is below every value.
def ordered(value):
    return (value is not None, value)


@needs_kvindex
class EveryEngine(KvIndexTest):
    def stores(self):
        built = kvindex("info", "none:")[2]
        for engine in ("lmdb", "rocksdb"):
            shutil.rmtree(self.path(engine), ignore_errors=True)
            yield f"{engine}:{self.path(engine)}"
        for url in RUNNING.environment().values():
            if "is not built" not in kvindex("info", url)[2]:
                yield url
        self.assertIn("names no engine", built)

    def empty(self, url):
        """Servers keep what the test before left."""
        if url.startswith("etcd:"):
            self.names = getattr(self, "names", 0) + 1
            return f"{url}/{self.id().split('.')[-1]}{self.names}"
        if url.startswith("postgresql:"):
            database = "one" if "dbname=one" in url else "postgres"
            server = RUNNING.clusters["postgresql"]
            server.run("psql", "-X", "-q", "-d", server.conninfo(0, database), "-c",
                       "DO $$ BEGIN DELETE FROM kv_store; EXCEPTION WHEN undefined_table THEN END $$")
        return url

    def test_records_go_in_are_found_and_come_out(self):
        rows = records(1500)
        dumps = set()
        for url in self.stores():
            with self.subTest(url=url):
                url = self.empty(url)
                self.good("create", url, "--schema", SCHEMA, *KEY)
                output = self.good("load", url, self.write("rows.csv", as_csv(rows)))
                self.assertEqual(output, f"{len(rows)} records\n")
                self.assertEqual(self.good("verify", url),
                                 f"{len(rows)} records, {2 * len(rows)} entries, 0 faults\n")
                dumps.add(self.good("dump", url))
                self.queries(url, rows)
                self.changes(url, rows)
        self.assertEqual(len(dumps), 1)
        self.assertEqual(parsed(dumps.pop()), sorted(rows, key=by_key))

    def queries(self, url, rows):
        source = random.Random(9)
        columns = {"id": 0, "day": 1, "place": 2, "weight": 3}
        for number in range(6):
            asked = []
            for _ in range(source.randint(1, 3)):
                name = source.choice(list(columns))
                value = source.choice(rows)[columns[name]]
                asked.append((name, source.choice(list(COMPARE)), value))
            text = " and ".join(f"{name} {op} '{'{NULL}' if value is None else value}'"
                                for name, op, value in asked)
            expected = [row for row in rows
                        if all(COMPARE[op](ordered(row[columns[name]]), ordered(value))
                               for name, op, value in asked)]
            found = parsed(self.good("query", url, text))
            self.assertEqual(sorted(found, key=by_key), sorted(expected, key=by_key), text)
            if number > 1:
                continue
            self.assertEqual(self.good("query", url, text, "--count"), f"{len(expected)}\n")
            explained = self.good("query", url, text, "--explain")
            self.assertIn(f"hits       {len(expected)}\n", explained)
        # What another index is asked too, for nearly all of it, changes neither the walk nor its share.
        for more in ("", "weight >= -500 and "):
            plan = self.good("query", url, more + "day >= 2010-01-01 and day < 2011-01-01", "--explain")
            self.assertIn("plan       walk a range of index day", plan)
            estimate = float(re.search(r"^estimate +(\S+) %", plan, re.M)[1])
            truth = float(re.search(r"^truth +(\S+) %", plan, re.M)[1])
            self.assertLess(abs(estimate - truth), 2)
        limited = self.good("query", url, "day >= 2010-01-01", "--limit", "3", "--json")
        found = json.loads(limited)
        self.assertEqual([len(found), list(found[0])], [3, ["id", "day", "place", "weight"]])
        self.assertEqual([row["day"] for row in found], sorted(row["day"] for row in found))

    def changes(self, url, rows):
        first, second = rows[0], rows[1]
        self.assertEqual(parsed(self.good("get", url, first[2], str(first[0]))), [first])
        self.good("delete", url, first[2], str(first[0]))
        self.fails(1, "no such record", "get", url, first[2], str(first[0]))
        self.fails(1, "no such record", "delete", url, first[2], str(first[0]))
        changed = (second[0], "1999-09-09", second[2], 77.0)
        status, output, error = kvindex("load", url, "-", "--bad", self.path("bad"),
                                        stdin=as_csv([changed, rows[2]]))
        self.assertEqual((status, output), (1, "0 records, 1 were there already, 1 bad lines are in "
                                            + self.path("bad") + "\n"))
        self.assertIn("line 2: another record has its key", error)
        self.assertEqual(self.good("load", url, "-", "--replace", stdin=as_csv([changed])),
                         "1 records\n")
        self.assertEqual(parsed(self.good("query", url, "weight = 77 and day = 1999-09-09")),
                         [changed])
        count = len(rows) - 1
        self.assertEqual(self.good("verify", url),
                         f"{count} records, {2 * count} entries, 0 faults\n")

    def test_a_table_goes_from_one_engine_to_another(self):
        rows = records(300, seed=5)
        before = None
        for url in self.stores():
            with self.subTest(url=url):
                url = self.empty(url)
                self.good("create", url, "--schema", SCHEMA, *KEY)
                self.assertEqual("not atomic" in self.good("info", url),
                                 url.startswith("postgresql:") and "dbname=one" not in url)
                if before is None:
                    self.good("load", url, "-", stdin=as_csv(rows, header=False))
                else:
                    self.good("load", url, "-", stdin=self.good("dump", before))
                before = url
        self.assertEqual(parsed(self.good("dump", before)), sorted(rows, key=by_key))


@needs_kvindex
class BadInput(KvIndexTest):
    def test_stores_that_cannot_be_had_are_one_line(self):
        for status, words, *arguments in [
            (2, "names no engine", "create", "mysql:x", "--key", "id", "--schema", "id:o_4b"),
            (1, "no answer within 1000 ms", "info", "etcd:127.0.0.1:1", "--timeout", "1"),
            (2, "postgresql: ", "info", "postgresql:hots=here"),
        ]:
            with self.subTest(arguments=arguments):
                self.fails(status, words, *arguments)


if __name__ == "__main__":
    unittest.main()
