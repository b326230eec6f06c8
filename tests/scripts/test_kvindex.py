"""kvindex on every engine that can be had here, against lists in Python."""
import csv
import io
import json
import operator
import random
import re
import shutil
import unittest

from kvindex_program import (RUNNING, KvIndexTest, kvindex, needs_kvindex, setUpModule,  # noqa: F401
                             tearDownModule)

SCHEMA = "id:o_u4b,day:KvDate,place:KvIString,weight:KvNull_double"
KEY = ("--key", "place,id", "--index", "day", "--index", "weight,day")
COMPARE = {"=": operator.eq, "<": operator.lt, "<=": operator.le, ">": operator.gt,
           ">=": operator.ge}


def records(count):
    source = random.Random(3)
    rows = []
    for number in range(count):
        day = f"{source.randint(1990, 2029)}-{source.randint(1, 12):02}-{source.randint(1, 28):02}"
        place = "".join(source.choices("abcdexyz", k=source.randint(1, 6)))
        weight = None if source.random() < 0.1 else source.randint(-4000, 4000) / 8
        rows.append((number * 7 % 4093 + 4093 * (number // 4093), day, place, weight))
    return rows


def as_csv(rows):
    text = io.StringIO()
    writer = csv.writer(text, lineterminator="\n")
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
        for engine in ("lmdb", "rocksdb"):
            shutil.rmtree(self.path(engine), ignore_errors=True)
            yield f"{engine}:{self.path(engine)}"
        for url in RUNNING[0].environment().values():
            if "is not built" not in kvindex("info", url)[2]:
                yield url

    def test_records_go_in_are_found_and_go_from_one_engine_to_another(self):
        rows = records(1500)
        given = as_csv(rows)
        for url in self.stores():
            with self.subTest(url=url):
                url = self.emptied(url)
                self.good("create", url, "--schema", SCHEMA, *KEY)
                self.assertEqual("not atomic" in self.good("info", url),
                                 url.startswith("postgresql:") and "dbname=one" not in url)
                output = self.good("load", url, self.write("rows.csv", given))
                self.assertEqual(output, f"{len(rows)} records\n")
                self.assertEqual(self.good("verify", url),
                                 f"{len(rows)} records, {2 * len(rows)} entries, 0 faults\n")
                given = self.good("dump", url)
                self.assertEqual(parsed(given), sorted(rows, key=by_key))
                self.queries(url, rows)
                self.changes(url, rows)

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

    def test_stores_that_cannot_be_had_are_one_line(self):
        self.fails(1, "no answer within 1000 ms", "info", "etcd:127.0.0.1:1", "--timeout", "1")
        self.fails(2, "postgresql: ", "info", "postgresql:hots=here")


if __name__ == "__main__":
    unittest.main()
