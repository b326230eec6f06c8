"""The example programs, where their libraries were found: what they print, and that they do without
casts."""
import os
import re
import subprocess
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(os.environ.get("KV_SOURCE_DIR", "."))
PROGRAMS = Path(os.environ.get("KV_BUILD_DIR", "build/native")) / "bin"

EXPECTED = {
    "rocksdb_order": """2023-02-29 is no date
1582-10-15 reform
1969-07-20 landing
2024-02-29 leap day
kvBufferShort damaged
""",
    "lmdb_index": """not UTF-8
Ärger
Arzt
Straße
Zoe
zoo
""",
    "visits": """Anders  2024-01-15  25 minutes
Zetterlund  2024-02-29  15 minutes
Åse  2024-03-01  5 minutes
Åse  2023-12-31  40 minutes
Östen  2024-01-16  30 minutes
""",
    "std_containers": """2024-02-29T08:30:00 work
2024-02-29T17:45:00 home
2024-03-01T00:15:00 sleep
span 0.15:45:00, back -1.08:15:00
true
true
false
1969-07-20
2 words, 2 times öl
2024-*-01
2024-01-01
2024-02-01
42
4 letters
""",
}


class Examples(unittest.TestCase):
    def test_they_print_what_they_should(self):
        for name, expected in EXPECTED.items():
            program = PROGRAMS / name
            if not program.exists():
                continue
            with self.subTest(name), tempfile.TemporaryDirectory() as folder:
                arguments = [] if name == "std_containers" else [folder]
                done = subprocess.run([str(program), *arguments], capture_output=True, timeout=120)
                self.assertEqual((done.stderr, done.returncode), (b"", 0))
                self.assertEqual(done.stdout.decode(), expected)

    @unittest.skipUnless((PROGRAMS / "visits").exists(), "visits needs liblmdb")
    def test_visits_finds_beginnings_and_tells_failures(self):
        with tempfile.TemporaryDirectory() as folder:
            for beginning, output, error in (("å", EXPECTED["visits"].splitlines()[2:4], b""),
                                             (b"\xff", [], b"visits: \xff: kvMismatch\n")):
                done = subprocess.run([PROGRAMS / "visits", folder, beginning], capture_output=True)
                self.assertEqual((done.stdout.decode().splitlines(), done.stderr), (output, error))

    def test_they_need_no_cast(self):
        for name in ("rocksdb_order", "lmdb_index", "std_containers"):
            text = (SOURCE / "examples" / name / "main.cpp").read_text()
            self.assertIsNone(re.search(r"_cast<|\((?:unsigned|int|char|void|size_t)[ *]*\)\w", text))


if __name__ == "__main__":
    unittest.main()
