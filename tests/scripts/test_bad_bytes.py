"""Damaged stored bytes: kvtm load on every golden record with each byte changed and each end cut
off gives a value or an error, and is never ended by a signal."""
import glob
import os
import re
import subprocess
import unittest

from program import KVTM, SOURCE

# Sanitizers are slow, and look for what any change of a byte shows.
FLIPS = (0xFF,) if os.environ.get("KV_SANITIZE") else (0x01, 0x80, 0xFF)
LONGEST = 64  # bytes of a record; longer ones repeat themselves


def records(path):
    """The stored bytes of a golden file's lines and of its run, by byte order."""
    with open(path, encoding="ascii") as text:
        for line in text:
            if re.match(r"[.<=] |run ", line):
                columns = [column.strip() for column in line.split("|")]
                yield 0, bytes.fromhex(columns[1])
                yield 2, bytes.fromhex(columns[2])


def damaged(record):
    for end in range(1, len(record)):
        yield record[:end]
    for place, byte in enumerate(record):
        for flip in FLIPS:
            yield record[:place] + bytes([byte ^ flip]) + record[place + 1:]


class BadBytes(unittest.TestCase):
    def load(self, name, order, runs):
        lines = "".join(run.hex() + "\n" for run in runs).encode()
        done = subprocess.run([KVTM, "load", name, "--order", str(order), "--lines", "-"],
                              input=lines, capture_output=True, timeout=120)
        self.assertIn(done.returncode, (0, 1), (name, order, done.stderr[-300:]))
        return done.stderr.decode()

    def test_every_record(self):
        for path in sorted(glob.glob(os.path.join(SOURCE, "tests", "golden", "*.txt"))):
            name = os.path.basename(path).split(".")[0].split("_", 1)[1]
            name = re.sub(r"^(KvString)_.*", r"\1", name)
            for order in (0, 2):
                with self.subTest(path=os.path.basename(path), order=order):
                    whole = [r for o, r in records(path) if o == order and len(r) <= LONGEST]
                    bad = [run for record in whole for run in damaged(record)]
                    for fault in self.load(name, order, whole + bad).splitlines():
                        if re.search("counts as true|no calendar|old form", fault):
                            continue  # said of a value that loads
                        said = re.match(r"kvtm: load: line (\d+): .", fault)
                        self.assertTrue(said, fault)
                        self.assertGreater(int(said[1]), len(whole), fault)


if __name__ == "__main__":
    unittest.main()
