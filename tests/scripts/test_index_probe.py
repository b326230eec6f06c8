"""index_probe on columns of numbers, dates and words, against a full scan in Python."""
import operator
import os
import random
import re
import subprocess
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


# (type, lines, constants, what Python orders a line by); all but words are spread evenly
COLUMNS = [
    ("o_4b", [str(NUMBERS.randint(-50000, 50000)) for _ in range(20000)],
     ["-50001", "-49900", "-7", "0", "12345", "49990", "60000"], int),
    ("o_double", [repr(NUMBERS.uniform(-1e4, 1e4)) for _ in range(5000)],
     ["-9900.5", "0.25", "9000", "1e5"], float),
    ("KvDate", dates(5000), ["1950-01-01", "1951-06-30", "1999-12-31", "2049-12-28"], str),
    ("KvString", words(5000), ["aaz", "foo", "mmm", "zzy"], str),
]

ANSWER = re.compile(r"  (<=|>=|[<=>]) (\S+)\n    estimate  (\S+) %, .*: (index walk|full scan)\n"
                    r"    truth     \S+ %, (no|\d+) values? in .*\n(?:    hits      (.*)\n)?")


def probe(*arguments, lines=()):
    text = "".join(line + "\n" for line in lines)
    done = subprocess.run([PROGRAM, *arguments], input=text.encode(), capture_output=True,
                          timeout=300)
    return done.returncode, done.stdout.decode(), done.stderr.decode()


@unittest.skipUnless(os.path.exists(PROGRAM), "index_probe is not built (it needs liblmdb)")
class IndexProbe(unittest.TestCase):
    def answers(self, name, lines, constants, *more):
        questions = [(predicate, constant) for predicate in PREDICATES for constant in constants]
        status, output, errors = probe(*more, "--type", name, "--file", "-", "--limit", "100000",
                                       *(part for each in questions for part in each), lines=lines)
        self.assertEqual((status, errors), (0, ""), name)
        self.assertIn(f"{len(lines)} values of", output)
        answers = ANSWER.findall(output)
        self.assertEqual(len(answers), len(questions), output[:2000])
        return answers

    def test_hits_and_estimates_of_every_predicate(self):
        plans = set()
        for name, lines, constants, key in COLUMNS:
            for predicate, constant, estimate, plan, count, hits in (
                    *self.answers(name, lines, constants),
                    *self.answers(name, lines, constants, "--comparator")):
                with self.subTest(type=name, predicate=predicate, constant=constant):
                    expected = [key(line) for line in lines
                                if PREDICATES[predicate](key(line), key(constant))]
                    found = [key(hit) for hit in hits.split(", ")] if hits else []
                    self.assertEqual(0 if count == "no" else int(count), len(expected))
                    self.assertEqual(sorted(found), sorted(expected))
                    plans.add((plan, predicate))
                    if plan == "index walk":
                        self.assertEqual(found, sorted(found))
                    if name != "KvString" and predicate != "=":
                        truth = 100 * len(expected) / len(lines)
                        self.assertLess(abs(float(estimate) - truth), 0.1 * truth + 1.5)
        # Both ways were taken for every predicate that can select much.
        self.assertEqual(len(plans), 9, plans)


if __name__ == "__main__":
    unittest.main()
