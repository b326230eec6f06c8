"""kvtm sort on real sizes: against sort(1), and on a word list."""
import os
import random
import resource
import subprocess
import tempfile
import unittest

from program import KVTM, KvtmTest, kvtm

SANITIZED = bool(os.environ.get("KV_SANITIZE"))
LINES = 100_000 if SANITIZED else 1_000_000


def timed(command):
    """What a program did, and the processor time that it took."""
    used = resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime
    done = subprocess.run(command, env={**os.environ, "LC_ALL": "C"}, capture_output=True)
    return done, resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime - used


class Sort(KvtmTest):
    def compare_with_sort(self, type_name, numbers, *options):
        with tempfile.NamedTemporaryFile("w") as file:
            file.writelines(f"{number}\n" for number in numbers)
            file.flush()
            ours = [option for option in options if option != "-n"]
            done, seconds = timed([KVTM, "sort", type_name, *ours, file.name])
            expected, their_seconds = timed(["sort", "-s", *options, file.name])
            self.assertEqual((done.returncode, done.stderr), (0, b""))
            self.assertTrue(done.stdout == expected.stdout, "another order")
        if not SANITIZED:
            # It takes a third of what sort(1) takes; what grows faster than the input is far above.
            self.assertLess(seconds, 10 * their_seconds)

    def test_a_million_integers_as_sort_n(self):
        numbers = random.Random(1)
        self.compare_with_sort("Kv4B_T", (numbers.randint(-2**31, 2**31 - 1) >>
                                          numbers.choice((0, 16)) for _ in range(LINES)), "-n")

    def test_equal_values_keep_their_order(self):
        for options in ([], ["-r"], ["-u"], ["-r", "-u"]):
            with self.subTest(options):
                numbers = random.Random(3)
                self.compare_with_sort("Kv2B_T", (
                    f"{numbers.randint(0, 300):0{numbers.randint(1, 5)}}"
                    for _ in range(LINES // 10)), "-n", *options)

    def test_bad_lines_of_a_long_input(self):
        lines = [f"{number % 1000}" for number in range(LINES // 4)]
        bad = sorted(random.Random(4).sample(range(len(lines)), 500))
        for index in bad:
            lines[index] = "bad"
        status, output, error = kvtm("sort", "Kv2B_T", "-k", "n", stdin="\n".join(["n", *lines]))
        self.assertEqual(status, 1)
        self.assertEqual([int(line.split(": ")[2].split()[1]) for line in error.splitlines()],
                         [index + 2 for index in bad])
        good = sorted(int(line) for line in lines if line != "bad")
        self.assertEqual(output, "n\n" + "".join(f"{number}\n" for number in good))

    def test_a_long_input_in_an_order_without_keys(self):
        letters = random.Random(5)
        lines = ["".join(letters.choices("abcdefgh", k=5)).encode() for _ in range(30000)]
        bad = list(range(7, len(lines), 1000))
        good = [line.decode() for index, line in enumerate(lines) if index not in bad]
        for index in bad:
            lines[index] = b"\xff"
        for options, expected in (([], sorted(good)), (["-r", "-u"], sorted(set(good))[::-1])):
            status, output, error = kvtm("sort", "KvString", "--op", "key-order", *options,
                                         stdin=b"\n".join(lines))
            self.assertEqual((status, output.split()), (1, expected))
            self.assertEqual([int(line.split(": ")[2].split()[1]) for line in error.splitlines()],
                             [index + 1 for index in bad])


    def test_swedish_letters_after_z(self):
        path = "/usr/share/dict/swedish"
        if not os.path.exists(path):
            self.skipTest(f"no word list {path}")
        done = subprocess.run([KVTM, "sort", "KvSTRING_T", "--language", "swedish", "--codeset",
                               "latin1", path], capture_output=True)
        self.assertEqual((done.returncode, done.stderr), (0, b""))
        words = done.stdout.decode("latin1").split()
        with open(path, encoding="latin1") as file:
            self.assertEqual(sorted(words), sorted(file.read().split()))
        first = [word[0].lower() for word in words if word[0].lower() in "abcxyzåäö"]
        self.assertEqual("".join(dict.fromkeys(first)), "abcxyzåäö")


if __name__ == "__main__":
    unittest.main()
