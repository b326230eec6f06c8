"""kvtm record: records of every type, damaged ones, and what is remarked on."""
import csv
import io
import json
import re
import subprocess
import unittest
from pathlib import Path

from program import KVTM, SOURCE, KvtmTest, kvtm
from test_bad_bytes import LONGEST, damaged, records

GOLDEN = sorted((Path(SOURCE) / "tests" / "golden").glob("*.txt"))


def type_of(path):
    name = path.stem.split("_", 1)[1]
    return re.sub(r"^(KvString)_.*", r"\1", name)


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


if __name__ == "__main__":
    unittest.main()
