"""kvtm key and unkey: tuples, options and lines."""
import unittest

from program import KvtmTest

# A type, values in their order, and whether they come back as they were.
COLUMNS = [
    ("o_2b", ["-300", "-1", "0", "7"]),
    ("o_u8b", ["0", "1", "18446744073709551615"]),
    ("o_double", ["NaN", "-Infinity", "-0.5", "0", "0.5", "Infinity"]),
    ("KvDate", ["{NULL}", "-0044-03-15", "1999-12-31", "2024-02-29"]),
    ("KvDateTime", ["{NULL}", "2024-02-29T13:05:00", "2024-02-29T13:05:01"]),
    ("KvNull_int", ["{NULL}", "-1", "0", "70000"]),
    ("KvBoolean", ["{NULL}", "FALSE", "TRUE"]),
    ("KvBlob", ["{NULL}", "", "00", "0001", "61", "6100"]),
    ("KvString", ["{NULL}", "", "7", "A", "a", "ä", "b", "Straße"]),
]


class Keys(KvtmTest):
    def keys(self, *arguments):
        return self.good("key", *arguments).splitlines()

    def test_order_and_return(self):
        for name, values in COLUMNS:
            with self.subTest(name):
                keys = self.keys(name, "--", *values)
                self.assertEqual(keys, sorted(keys))
                back = self.good("unkey", name, "--", *keys).splitlines()
                # ß comes back as the letters that it sorts as.
                self.assertEqual(back, [value.replace("ß", "ss") for value in values])
                turned = self.keys(name, "--descending", "--", *values)
                self.assertEqual(turned, sorted(turned, reverse=True))
                self.assertEqual(self.good("unkey", name, "--descending", "--", *turned),
                                 "".join(line + "\n" for line in back))
                if values[0] == "{NULL}":
                    last = self.keys(name, "--nulls-last", "--", *values)
                    self.assertEqual(last[1:] + last[:1], sorted(last))

    def test_tuples_by_schema_and_lines(self):
        schema = "name:KvString/german, day:KvDate desc nulls-last, n:o_u2b"
        rows = [("Arm", "2024-02-29", "5"), ("Arm", "1999-01-01", "5"), ("Arm", "{NULL}", "5"),
                ("arm", "2024-02-29", "1"), ("Ärmel", "{NULL}", "9")]
        lines = "".join("\t".join(row) + "\n" for row in rows)
        keys = self.good("key", schema, "--lines", "-", stdin=lines).splitlines()
        self.assertEqual(keys, sorted(keys))
        self.assertEqual(keys, self.keys(schema, *[value for row in rows for value in row]))
        self.assertEqual(self.good("unkey", schema, *keys), lines)


if __name__ == "__main__":
    unittest.main()
