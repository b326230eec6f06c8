"""index_probe on columns of numbers, dates and words, against a full scan in Python."""
import operator
import os
import random
import re
import subprocess
import tempfile
import unittest

PROGRAM = os.path.join(os.environ.get("KV_BUILD_DIR", "build/native"), "bin", "index_probe")

PREDICATES = {"<": operator.lt, "<=": operator.le, "=": operator.eq, ">=": operator.ge,
              ">": operator.gt}

NUMBERS = random.Random(5)


def dates(count):
    return ["%04d-%02d-%02d" % (NUMBERS.randint(1950, 2049), NUMBERS.randint(1, 12),
                                NUMBERS.randint(1, 28)) for _ in range(count)]


def words(count):
    return ["".join(NUMBERS.choices("abcdefghijklmnopqrstuvwxyz", k=3)) for _ in range(count)]


# (type, lines, constants, what Python orders a line by)
COLUMNS = [
    ("o_4b", [str(NUMBERS.randint(-50000, 50000)) for _ in range(20000)],
     ["-50001", "-49900", "-7", "0", "12345", "49990", "60000"], int),
    ("o_u2b", [str(NUMBERS.randint(0, 300)) for _ in range(5000)], ["0", "7", "150", "300"], int),
    ("KvINT64_T", [str(NUMBERS.randint(-2**60, 2**60)) for _ in range(5000)],
     [str(-2**59), "0", str(2**60 - 2**54)], int),
    ("KvNull_int", [str(NUMBERS.randint(-9999, 9999)) for _ in range(3000)],
     ["-9000", "5", "9500"], int),
    ("o_double", [repr(NUMBERS.uniform(-1e4, 1e4)) for _ in range(5000)],
     ["-9900.5", "0.25", "9000", "1e5"], float),
    ("KvFLOAT_T", [str(NUMBERS.randint(0, 2000) / 8) for _ in range(5000)],
     ["3.125", "200.5", "250"], float),
    ("KvDate", dates(5000), ["1950-01-01", "1951-06-30", "1999-12-31", "2049-12-28"], str),
    ("d_Date", dates(2000), ["1960-02-29", "2040-03-01"], str),
    ("KvString", words(5000), ["aaz", "foo", "mmm", "zzy"], str),
    ("KvCASEISTRING_T", words(2000), ["b", "zx"], str),
]
# Rows whose columns above are spread evenly, so that the estimate must come close.
EVEN = {"o_4b", "o_u2b", "KvINT64_T", "KvNull_int", "o_double", "KvFLOAT_T", "KvDate", "d_Date"}

ANSWER = re.compile(r"  (<=|>=|[<=>]) (\S+)\n    estimate  (\S+) %, .*: (index walk|full scan)\n"
                    r"    truth     \S+ %, (no|\d+) values? in .*\n(?:    hits      (.*)\n)?")


def probe(*arguments, lines=()):
    text = "".join(line + "\n" for line in lines)
    done = subprocess.run([PROGRAM, *arguments], input=text.encode(), capture_output=True,
                          timeout=300)
    return done.returncode, done.stdout.decode(), done.stderr.decode()


@unittest.skipUnless(os.path.exists(PROGRAM), "index_probe is not built (it needs liblmdb)")
class IndexProbe(unittest.TestCase):
    def test_hits_and_estimates_of_every_predicate(self):
        plans = set()
        for name, lines, constants, key in COLUMNS:
            questions = [part for predicate in PREDICATES for constant in constants
                         for part in (predicate, constant)]
            status, output, errors = probe("--type", name, "--file", "-", "--limit", "100000",
                                           *questions, lines=lines)
            self.assertEqual((status, errors), (0, ""), name)
            self.assertIn(f"{len(lines)} values of", output)
            answers = ANSWER.findall(output)
            self.assertEqual(len(answers), len(questions) // 2, output[:2000])
            for predicate, constant, estimate, plan, count, hits in answers:
                with self.subTest(type=name, predicate=predicate, constant=constant):
                    expected = [line for line in lines
                                if PREDICATES[predicate](key(line), key(constant))]
                    found = [key(hit) for hit in hits.split(", ")] if hits else []
                    self.assertEqual(0 if count == "no" else int(count), len(expected))
                    self.assertEqual(sorted(found), sorted(map(key, expected)))
                    plans.add((plan, predicate))
                    if plan == "index walk":
                        self.assertEqual(found, sorted(found))
                    if name in EVEN and predicate != "=":
                        truth = 100 * len(expected) / len(lines)
                        self.assertLess(abs(float(estimate) - truth), 0.1 * truth + 1.5)
        # Both ways were taken for every predicate that can select much.
        self.assertEqual(len(plans), 9, plans)

    def test_keys_and_comparator_give_the_same_hits(self):
        for name, lines, constants, _ in COLUMNS:
            questions = [part for predicate in PREDICATES for constant in constants
                         for part in (predicate, constant)]
            arguments = ("--type", name, "--file", "-", "--limit", "100000", *questions)
            hits = [[(answer[:4], sorted((answer[5] or "").split(", ")))
                     for answer in ANSWER.findall(probe(*more, *arguments, lines=lines)[1])]
                    for more in ((), ("--comparator",))]
            with self.subTest(type=name):
                self.assertTrue(hits[0])
                self.assertEqual(*hits)

    def test_nulls_and_repeated_values(self):
        lines = ["5", "{NULL}", "-3", "5", "{NULL}", "80"]
        _, output, _ = probe("--type", "KvNull_long", "--file", "-", "=", "{NULL}", "=", "5", "<",
                             "-3", lines=lines)
        self.assertEqual([answer[5] for answer in ANSWER.findall(output)],
                         ["{NULL}, {NULL}", "5, 5", "{NULL}, {NULL}"])
        self.assertIn("6 values of KvNull_long, from -3 to 80", output)  # nulls bound nothing
        _, output, _ = probe("--type", "KvNull_long", "--file", "-", "=", "{NULL}", "=", "1",
                             lines=["{NULL}"] * 3)
        self.assertEqual([answer[4] for answer in ANSWER.findall(output)], ["3", "no"])

    def test_words_in_the_order_of_their_language(self):
        lines = ["zebra", "Öl", "Ofen", "Masse", "Maße", "öde"]
        _, output, _ = probe("--type", "KvString", "--file", "-", "--language", "2", "<", "Om",
                             "=", "Maße", lines=lines)
        found = [answer[5] for answer in ANSWER.findall(output)]
        self.assertEqual(sorted(found[0].split(", ")), ["Masse", "Maße", "Ofen", "Öl", "öde"])
        self.assertEqual(found[1], "Maße")

    def test_what_cannot_be_done_is_one_line(self):
        column = ("--type", "o_4b", "--file", "-")
        cases = [
            (2, "a type, a file", (), []),
            (2, "a type, a file", (*column, "<"), ["1"]),
            (2, "no type 'o_5b'", ("--type", "o_5b", "--file", "-", "<", "1"), ["1"]),
            (2, "no predicate", (*column, "~", "1"), ["1"]),
            (2, "no option --bogus", ("--bogus",), []),
            (2, "--limit takes a number", (*column, "--limit", "x", "<", "1"), ["1"]),
            (2, "--type takes a value", ("--type",), []),
            (1, "cannot read", ("--type", "o_4b", "--file", "/no/such/file", "<", "1"), []),
            (1, "holds no values", (*column, "<", "1"), []),
            (1, "line 2: 'x' is no o_4b value", (*column, "<", "1"), ["1", "x"]),
            (1, "line 1: '12x' is no", (*column, "<", "1"), ["12x"]),
            (1, "'70000' is no o_2b value", ("--type", "o_2b", "--file", "-", "<", "70000"), ["1"]),
            (1, "'yesterday' is no KvDate", ("--type", "KvDate", "--file", "-", "<",
                                              "yesterday"), []),
            (1, "line 2: '2024-01-01 or so' is no", ("--type", "KvDate", "--file", "-", "<",
                                                     "2024-1-1"), ["2024-1-1", "2024-01-01 or so"]),
            (1, "of the format %Y-%m-%dT%H:%M:%S", ("--type", "KvDateTimeN", "--file", "-", "<",
                                                    "2024-01-01T00:00:00.5"), []),
            (1, "an index key has at most 511", ("--type", "KvString", "--file", "-", "<", "m"),
             ["short", "x" * 509]),
            (1, "an index key has at most 511", ("--comparator", "--type", "KvString", "--file",
                                                 "-", "<", "m"), ["short", "x" * 507]),
        ]
        for status, words_of_error, arguments, lines in cases:
            with self.subTest(arguments=arguments):
                done = probe(*arguments, lines=lines)
                self.assertEqual(done[0], status, done)
                self.assertIn(words_of_error, done[2])
                self.assertEqual(done[2].count("\n"), 1)
        # The longest key that goes in.
        status, output, _ = probe("--type", "KvString", "--file", "-", "=", "m",
                                  lines=["m", "x" * 508])
        self.assertEqual((status, len(ANSWER.findall(output))), (0, 1))

    def test_help_and_demo(self):
        self.assertIn("usage: index_probe", probe("--help")[1])
        status, output, errors = probe("--demo")
        self.assertEqual((status, errors), (0, ""))
        answers = ANSWER.findall(output)
        self.assertEqual(len(answers), 9)
        for answer in answers[3:]:
            if answer[0] == "=":
                continue
            self.assertIn(answer[3], ("index walk", "full scan"))


if __name__ == "__main__":
    unittest.main()
