"""kvtm record: records of every type, damaged ones, what is remarked on, and the terminal."""
import csv
import fcntl
import io
import json
import os
import pty
import re
import struct
import subprocess
import tempfile
import termios
import unittest
from pathlib import Path

from program import KVTM, SOURCE, KvtmTest, kvtm
from test_bad_bytes import LONGEST, damaged, records

GOLDEN = sorted((Path(SOURCE) / "tests" / "golden").glob("*.txt"))


def type_of(path):
    name = path.stem.split("_", 1)[1]
    return re.sub(r"^(KvString)_.*", r"\1", name)


def on_terminal(columns, *command, environment=None):
    """What a program writes to a terminal that is `columns` wide."""
    master, slave = pty.openpty()
    fcntl.ioctl(slave, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
    process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=slave, stderr=slave,
                               env={**os.environ, **(environment or {})})
    os.close(slave)
    written = b""
    while True:
        try:
            piece = os.read(master, 65536)
        except OSError:
            break
        if not piece:
            break
        written += piece
    os.close(master)
    process.wait(timeout=60)
    return written.decode()


class Record(KvtmTest):
    def rows(self, schema, *arguments):
        return json.loads(self.good("record", schema, "--json", *arguments))

    def test_a_record_of_every_type(self):
        """One field a golden file, all in one record, held against load of each alone."""
        for order, column in (("0", 0), ("2", 2)):
            schema, parts, expected = [], [], []
            for number, path in enumerate(GOLDEN):
                if "old" in path.stem:
                    continue
                whole = [record for form, record in records(path)
                         if form == column and len(record) <= LONGEST]
                stored, name = whole[1 % len(whole)], type_of(path)
                schema.append(f"f{number}:{name}")
                value = json.loads(kvtm("load", name, "--order", order, "--json", stored.hex())[1])
                expected.append((sum(map(len, parts)), f"f{number}", name, value[0]))
                parts.append(stored)
            rows = self.rows(",".join(schema), "--order", order, b"".join(parts).hex())
            self.assertEqual([(row["offset"], row["field"], row["type"], row["value"])
                              for row in rows], expected)
            self.assertEqual("".join(row["bytes"] for row in rows), b"".join(parts).hex())

    def test_every_golden_record_and_its_damage(self):
        """Each gives its rows, or an error that names the field and the place; none a signal."""
        for path in GOLDEN:
            for order in (0, 2):
                whole = [r for form, r in records(path) if form == order and len(r) <= LONGEST]
                if "old" in path.stem:  # a run has one length for all its texts
                    whole = [record for record in whole if record[2:].count(0) == 1]
                runs = whole + [bad for record in whole[:4] for bad in damaged(record)]
                lines = "".join(run.hex() + "\n" for run in runs).encode()
                done = subprocess.run([KVTM, "record", f"v:{type_of(path)}", "--order", str(order),
                                       "--csv", "--lines", "-"], input=lines, capture_output=True)
                self.assertIn(done.returncode, (0, 1), path.stem)
                faults = [fault for fault in re.findall(r"line (\d+): (.*)", done.stderr.decode())
                          if "more byte" not in fault[1]]
                for line, fault in faults:
                    self.assertRegex(fault, r"^field v \(.*\) at offset \d+: ", path.stem)
                    self.assertGreater(int(line), len(whole), fault)
                self.assertEqual(len(list(csv.reader(io.StringIO(done.stdout.decode())))) - 1,
                                 len(runs) - len(faults))

    def test_remarks(self):
        for remarks, schema, *arguments in [
            (["no such date or time", "would be 2024-02-29 in the other byte order"], "d:KvDate",
             "07e8021d"),
            (["no such date or time"], "d:KvDate", "e8070d1d"),
            ([], "d:KvDate", "ffff02ff"),
            ([], "d:KvDate", "00808080"),
            (["no such date or time"], "t:KvTime", "190000"),
            (["code set 253, language 10"], "s:KvString", "0600fd0a410000ff"),
            ([], "s:KvString/sv", "0500010a4100ff"),
            (["code set 1, language 1"], "s:KvString/sv", "050001014100ff"),
            (["old form"], "s:KvString", "03006161" "00"),
            (["damaged mark 0xfe at offset 6, 0xff belongs there"], "s:KvString", "050001014100fe"),
            (["damaged mark 0x00 at offset 8, 0xff belongs there"], "s:KvString", "--at", "2",
             "0000" "05000101410000"),
            (["damaged mark 0x7f at offset 6, 0xff belongs there"], "s:KvIString",
             "0500010141007f"),
            (["byte 0x02 counts as true and prints as FALSE"], "b:KvBoolean", "02"),
            (["null indicator 0x07 counts as present"], "n:KvNull_short", "070500"),
            (["bytes behind a null"], "n:KvNull_short", "010500"),
        ]:
            with self.subTest(schema, arguments=arguments):
                self.assertEqual(self.rows(schema, *arguments)[0]["remarks"], remarks)

    def test_it_stops_where_nothing_fits(self):
        status, output, error = kvtm("record", "id:o_u2b,name:KvString,rest:o_4b", "--csv",
                                     "0100" "0700010161")
        self.assertEqual(status, 1)
        self.assertEqual(output.splitlines()[1:], ["0,0,0100,id,o_u2b,1,"])
        self.assertIn("field name (KvString) at offset 2: ", error)
        self.fails(1, "--at 3 is behind the end, there are 2 bytes", "record", "a:o_2b", "--at", "3",
                   "0100")
        self.fails(1, "no bytes", "record", "a:o_2b", "")
        self.fails(2, "schema, at offset 9: unknown type", "record", "a:o_2b,b:o_9b", "01")

    def test_runs_records_and_places(self):
        rows = self.rows("n:o_2b[2],b:KvBlob[2]", "--at", "1",
                         "ff" "01000200" "09000000" "01000000" "41" "ffffffff")
        self.assertEqual([(row["offset"], row["field"], row["value"]) for row in rows],
                         [(1, "n[0]", 1), (3, "n[1]", 2), (5, "b[0]", "41"), (5, "b[1]", None)])
        rows = self.rows("a:o_2b,b:o_char", "--repeat", "0100" "41" "0200" "42")
        self.assertEqual([(row["record"], row["offset"], row["value"]) for row in rows],
                         [(0, 0, 1), (0, 2, "A"), (1, 3, 2), (1, 5, "B")])
        rows = self.rows("d:KvDate", "--repeat", "--remarked", "--order", "2",
                         "07e8021d" "e807021d" "07e8021d")
        self.assertEqual([row["offset"] for row in rows], [4])
        error = kvtm("record", "a:o_2b", "--count", "2", "010002000300")[2]
        self.assertIn("2 more bytes follow, from offset 4", error)

    def test_where_the_bytes_come_from(self):
        stored = bytes.fromhex("2a000000" "0700010161626300ff" "e807021d")
        expected = self.rows("id:o_4b,s:KvString,d:KvDate", stored.hex())
        with tempfile.TemporaryDirectory() as folder:
            raw, dump, plain = (Path(folder) / name for name in ("raw", "dump", "plain"))
            raw.write_bytes(stored)
            lines = [f"{at:08x}: {stored[at:at + 16].hex(' ', 2):<40} ................"
                     for at in range(0, len(stored), 16)]
            dump.write_text("\n".join(lines) + "\n")
            plain.write_text(stored.hex(":"))
            canonical = "\n".join(f"{at:08x}  {stored[at:at + 16].hex(' '):<48} |................|"
                                  for at in range(0, len(stored), 16)) + f"\n{len(stored):08x}\n"
            for arguments in (["--raw", str(raw)], [str(dump)], [str(plain)], stored.hex(" ").split()):
                self.assertEqual(self.rows("id:o_4b,s:KvString,d:KvDate", *arguments), expected)
            status, output, _ = kvtm("record", "id:o_4b,s:KvString,d:KvDate", "--json",
                                     stdin=canonical)
            self.assertEqual((status, json.loads(output)), (0, expected))
        self.fails(1, "not a line of a dump", "record", "a:o_4b", "-",
                   stdin="00000000: 0100\nhello\n")


class Terminal(unittest.TestCase):
    RECORD = ("record", "day:KvDate,s:KvString", "07e8021d" "050001014100ff")

    def test_colours_only_where_they_are_wanted(self):
        plain = kvtm(*self.RECORD)[1]
        self.assertNotIn("\x1b", plain)
        coloured = on_terminal(200, KVTM, *self.RECORD, environment={"NO_COLOR": ""})
        lines = coloured.replace("\r\n", "\n").splitlines()
        self.assertTrue(lines[1].startswith("\x1b[1;31m"), "a field with remarks is red")
        self.assertFalse(lines[2].startswith("\x1b[1;31m"))
        self.assertEqual(re.sub(r"\x1b\[[0-9;]*m", "", coloured).replace("\r\n", "\n"), plain)
        self.assertEqual(on_terminal(200, KVTM, *self.RECORD, environment={"NO_COLOR": "1"})
                         .replace("\r\n", "\n"), plain)

    def test_progress_fits_the_terminal(self):
        with tempfile.NamedTemporaryFile("w", suffix=".txt") as numbers:
            numbers.write("".join(f"{i * 7919 % 100003}\n" for i in range(60000)))
            numbers.flush()
            for columns in (12, 30, 80, 200):
                with self.subTest(columns):
                    written = on_terminal(columns, "sh", "-c",
                                          f"'{KVTM}' sort o_4b '{numbers.name}' >/dev/null")
                    drawn = [line.replace("\x1b[K", "") for line in written.split("\r") if line]
                    self.assertIn("100%", written)
                    self.assertLess(max(map(len, drawn)), columns)


if __name__ == "__main__":
    unittest.main()
