"""kvtm sort on real sizes: against sort(1), on word lists, on a terminal."""
import os
import pty
import random
import resource
import select
import subprocess
import tempfile
import unittest

from program import KVTM, KvtmTest, kvtm

SANITIZED = bool(os.environ.get("KV_SANITIZE"))
LINES = 100_000 if SANITIZED else 1_000_000
DICTIONARIES = "/usr/share/dict/"


def system_sort(options, path):
    return subprocess.run(["sort", "-s", *options, path], env={**os.environ, "LC_ALL": "C"},
                          capture_output=True, check=True).stdout


class Numbers(KvtmTest):
    def compare_with_sort(self, type_name, numbers, *options):
        with tempfile.NamedTemporaryFile("w") as file:
            file.writelines(f"{number}\n" for number in numbers)
            file.flush()
            used = resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime
            ours = [option for option in options if option not in ("-n", "-g")]
            done = subprocess.run([KVTM, "sort", type_name, *ours, file.name], capture_output=True)
            seconds = resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime - used
            self.assertEqual((done.returncode, done.stderr), (0, b""))
            self.assertTrue(done.stdout == system_sort(options, file.name), "another order")
        if not SANITIZED:
            self.assertLess(seconds, 5)  # of the processor; it takes a third of one

    def test_a_million_integers_as_sort_n(self):
        numbers = random.Random(1)
        self.compare_with_sort("Kv4B_T", (numbers.randint(-2**31, 2**31 - 1) >>
                                          numbers.choice((0, 16)) for _ in range(LINES)), "-n")

    def test_a_million_doubles_as_sort_g(self):
        numbers = random.Random(2)
        self.compare_with_sort("KvDOUBLE_T", (
            repr(numbers.uniform(-1, 1) * 10 ** numbers.randint(-300, 300)) for _ in range(LINES)),
            "-g")

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


class Words(KvtmTest):
    def sorted_dictionary(self, name, language):
        path = DICTIONARIES + name
        if not os.path.exists(path):
            self.skipTest(f"no word list {path}")
        with open(path, "rb") as file:
            words = file.read()
        encoding = "utf-8"
        options = []
        try:
            words.decode(encoding)
        except UnicodeDecodeError:
            encoding = "latin1"
            options = ["--codeset", encoding]
        done = subprocess.run([KVTM, "sort", "KvSTRING_T", "--language", language, *options, path],
                              capture_output=True)
        self.assertEqual((done.returncode, done.stderr), (0, b""))
        given = words.decode(encoding).split("\n")[:-1]
        lines = done.stdout.decode(encoding).split("\n")[:-1]
        self.assertEqual(sorted(lines), sorted(given))
        return {word: index for index, word in enumerate(lines)}, lines

    def ascending(self, places, *words):
        for before, after in zip(words, words[1:]):
            self.assertLess(places[before], places[after], (before, after))

    def test_german(self):
        places, _ = self.sorted_dictionary("ngerman", "german")
        self.ascending(places, "Abend", "Apfel", "Äpfel", "arm", "Masse", "Maße", "Ofen", "Öfen",
                       "öffnen", "Zebra")

    def test_french(self):
        places, _ = self.sorted_dictionary("french", "french")
        self.ascending(places, "cote", "coté", "côte", "côté", "étude", "zèbre")

    def test_swedish_letters_after_z(self):
        places, lines = self.sorted_dictionary("swedish", "swedish")
        self.ascending(places, "apa", "zebra", "ål", "ära", "öga")
        first = [line[0].lower() for line in lines if line[0].lower() in "abcxyzåäö"]
        self.assertEqual([letter for letter in dict.fromkeys(first)], list("abcxyzåäö"))


class Terminal(unittest.TestCase):
    def seen(self, content, *arguments):
        """What a command that reads a file of `content` writes to a terminal."""
        primary, secondary = pty.openpty()
        with tempfile.NamedTemporaryFile() as file:
            file.write(content)
            file.flush()
            process = subprocess.Popen([KVTM, *arguments, file.name],
                                       stdout=subprocess.DEVNULL, stderr=secondary)
            os.close(secondary)
            seen = b""
            while process.poll() is None or select.select([primary], [], [], 0)[0]:
                if not select.select([primary], [], [], 0.1)[0]:
                    continue
                try:
                    seen += os.read(primary, 65536)
                except OSError:  # the terminal's other end is closed
                    break
            os.close(primary)
            self.assertEqual(process.wait(), 0)
        # What was drawn is erased, and no longer drawn it is not erased again.
        self.assertTrue(seen.endswith(b"\r\x1b[K"), seen[-80:])
        self.assertEqual(seen.count(b"\x1b[K"), 1)
        return seen

    def test_progress_on_a_terminal(self):
        numbers = "".join(f"{n * 7919 % 100003}\n" for n in range(200000)).encode()
        seen = self.seen(numbers, "sort", "Kv4B_T")
        self.assertIn(b"reading", seen)
        self.assertIn(b"sorting", seen)
        self.assertIn(b"100%", seen)
        for count in (12000, 30000):  # the comparisons of the first are too few
            seen = self.seen(numbers[:7 * 30000].replace(b"\n", b"-----\n")[:11 * count], "sort",
                             "KvString", "--op", "key-order")
            self.assertEqual(b"sorting" in seen, count > 12000)
        seen = self.seen(b"x" * (1 << 26), "convert", "--from", "1", "--to", "253")
        self.assertIn(b"bytes", seen)


if __name__ == "__main__":
    unittest.main()
