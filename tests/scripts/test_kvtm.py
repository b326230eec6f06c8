"""kvtm's commands on every family of types, and its answers to bad input."""
import json
import re
import struct
import subprocess
import unittest

from program import KVTM, MEMORY_ORDER, KvtmTest, kvtm

# TYPE, values, stored bytes least significant first, and most significant first.
STORED = [
    ("Kv1B_T", ["A", "0x80"], "4180", "4180"),
    ("Kv2B_T", ["-2", "258"], "feff0201", "fffe0102"),
    ("KvU2B_T", ["65535"], "ffff", "ffff"),
    ("Kv4B_T", ["1", "-2147483648"], "0100000000000080", "0000000180000000"),
    ("KvU4B_T", ["4294967295"], "ffffffff", "ffffffff"),
    ("KvBLOCKID_T", ["#7", "8"], "0700000008000000", "0000000700000008"),
    ("Kv8B_T", ["-9223372036854775808"], "0000000000000080", "8000000000000000"),
    ("KvU8B_T", ["18446744073709551615"], "ff" * 8, "ff" * 8),
    ("KvDOUBLE_T", ["1.5"], struct.pack("<d", 1.5).hex(), struct.pack(">d", 1.5).hex()),
    ("KvFLOAT_T", ["-0.1"], struct.pack("<f", -0.1).hex(), struct.pack(">f", -0.1).hex()),
    ("KvINT64_T", ["4294967298"], "0200000001000000", "0000000200000001"),
    ("KvBOOLEAN_T", ["TRUE", "FALSE", "{NULL}"], "0100ff", "0100ff"),
    ("KvSEAL_T", ["20015998343868"], "123456789abc", "123456789abc"),
    ("KvDATE_T", ["2024-02-29"], "e807021d", "07e8021d"),
    ("KvTIME_T", ["13:05:09"], "0d0509", "0d0509"),
    ("KvDATIME_T", ["2024-02-29T13:05:09"], "e807021d0d0509", "07e8021d0d0509"),
    ("KvDATIME_N_T", ["2024-02-29T13:05:09.5"], "e807021d0d05090065cd1d", "07e8021d0d05091dcd6500"),
    ("D_DATE_T", ["1999-12-31"], "cf070c1f", "07cf0c1f"),
    ("D_TIME_T", ["13:05:09"], "00000d050900", "00000d050900"),
    ("D_TIMESTAMP_T", ["1999-12-31T23:59:58"], "cf070c1f0000173b3a00", "07cf0c1f0000173b3a00"),
    ("D_INTERVAL_T", ["-0.5", "5400"], "000000bf00c0a845", "bf00000045a8c000"),
    ("KvTIMESPAN_T", ["402.03:00:00"], "010001" "0c" "030000" "00000000",
     "000101" "0c" "030000" "00000000"),
    ("KvOBJID_T", ["(1-5#7)"], "07000000050000000100", "00000007000000050001"),
    ("KvCLID_T", ["(258v3)"], "02010300", "01020003"),
    ("KvREF_T", ["(9:1-5#7, 4)"], "0700000005000000010009000400", "0000000700000005000100090004"),
    ("KvBLOB_T", ["616263", "{NULL}"], "0b00000003000000616263ffffffff",
     "0000000b00000003616263ffffffff"),
    ("KvNULL_2B_T", ["5", "{NULL}"], "000500" "010000", "000005" "010000"),
    ("KvSTRING_T", ["abc", ""], "070001016162630" "0ff" "0400010100ff",
     "000701016162630" "0ff" "0004010100ff"),
    ("KvISTRING_T", ["abc"], "0700010161626300ff", "0007010161626300ff"),
]
# Most values load as the text they were given as.
OWN_TEXT = {"KvFLOAT_T": ["-0.10000000149011612"], "KvBLOCKID_T": ["#7", "#8"],
            "KvDATIME_N_T": ["2024-02-29T13:05:09.500"]}


def in_memory(width, *numbers):
    return b"".join(number.to_bytes(width, MEMORY_ORDER) for number in numbers).hex()


class Values(KvtmTest):
    def test_stored_bytes_and_back(self):
        fixed = {row["idName"] for row in json.loads(self.good("types", "--json")) if row["fixed"]}
        for type_name, values, least_first, most_first in STORED:
            for order, expected in (("1", least_first), ("2", most_first)):
                with self.subTest(type_name, order=order):
                    stored = self.good("store", type_name, "--order", order, "--", *values)
                    self.assertEqual(stored.strip(), expected)
                    loaded = self.good("load", type_name, "--order", order, expected)
                    loaded = loaded.split("\n")[:-1]
                    self.assertEqual(loaded, OWN_TEXT.get(type_name, values))
                    self.assertEqual(self.good("store", type_name, "--order", order, "--", *loaded),
                                     stored)
            if type_name in fixed:
                memory = self.good("translate", type_name, "--from", "stored", "--to", "memory",
                                   least_first).strip()
                self.assertEqual(self.good("translate", type_name, "--from", "memory", "--to",
                                           "reversed", memory), most_first + "\n")

    def test_translate_values_of_this_machine(self):
        self.assertEqual(self.good("translate", "Kv4B_T", "--from", "8", "--to", "2",
                                   in_memory(4, 1, 2)), "0000000100000002\n")
        self.assertEqual(self.good("translate", "Kv4B_T", "--from", "reversed", "--to", "memory",
                                   "0000000100000002"), in_memory(4, 1, 2) + "\n")

    def test_catalogue(self):
        rows = json.loads(self.good("types", "--json"))
        self.assertEqual([row["id"] for row in rows], list(range(len(rows))))
        self.assertEqual(rows[-1]["name"], "illegal")
        by_name = {row["idName"]: row for row in rows}
        self.assertEqual(by_name["KvDATE_T"], {
            "id": 12, "name": "KvDate", "idName": "KvDATE_T", "memoryBytes": 4, "storedBytes": 4,
            "fixed": True, "nullable": True, "format": "%a %e.%b %Y"})
        self.assertIsNone(by_name["KvBLOB_T"]["storedBytes"])
        lines = self.good("types").splitlines()
        self.assertEqual(len(lines), 1 + len(rows))
        for line, row in zip(lines[1:], rows):
            size = "varies" if row["storedBytes"] is None else row["storedBytes"]
            shown = [row["id"], row["name"], row["idName"], row["memoryBytes"], size,
                     "yes" if row["nullable"] else "no", row["format"]]
            self.assertEqual(re.split("  +", line), [str(each) for each in shown if each != ""])

    def test_identity(self):
        self.assertIn("14.0.1.57.0", self.good("--version"))
        module = json.loads(self.good("describe", "--json"))
        self.assertEqual((module["build"], module["fitsPlatform"]), (1927, True))

    def test_a_card_is_true_to_the_library(self):
        """Each field of each card, held against what translate makes of a stored value."""
        for row in json.loads(self.good("types", "--json"))[:-1]:
            card = json.loads(self.good("types", row["name"], "--json"))
            self.assertEqual({key: card[key] for key in row}, row)
            self.assertEqual("nullStored" in card, row["nullable"], row["name"])
            self.assertEqual(self.good("help", row["idName"]), self.good("types", row["name"]))
            example = self.good("store", row["name"], "--", card["example"]).strip()
            self.assertEqual(card["exampleStored"].replace(" ", ""), example)
            if not row["fixed"] or card["meaning"].startswith("a value of"):
                self.assertEqual(card.get("fields", []), [], row["name"])
                continue  # of varying size, or without words of its own
            width = row["storedBytes"]
            self.assertEqual(sum(field["bytes"] for field in card["fields"]), width)
            stored = bytes(range(1, width + 1))
            if card["fields"][0]["name"] == "indicator":
                stored = b"\0" + stored[1:]
            memory, reverse = (bytes.fromhex(self.good(
                "translate", row["name"], "--from", source, "--to", "memory", stored.hex()))
                for source in ("stored", "reversed"))
            alike, turned = (memory, reverse) if MEMORY_ORDER == "little" else (reverse, memory)
            for field in card["fields"]:
                here = slice(field["offset"], field["offset"] + field["bytes"])
                there = slice(field["memoryOffset"], field["memoryOffset"] + field["bytes"])
                if not field["turns"]:
                    self.assertEqual(memory[there], reverse[there], (row["name"], field))
                    continue
                self.assertEqual(alike[there], stored[here], (row["name"], field))
                self.assertEqual(turned[there], stored[here][::-1], (row["name"], field))


class Help(KvtmTest):
    def test_every_command_has_help(self):
        manual = self.good("--help")
        commands = re.search(r"COMMANDS\n(.*?)\n\n", manual, re.S).group(1)
        names = [line.split()[0] for line in commands.splitlines()]
        self.assertLessEqual({"types", "store", "load", "sort"}, set(names))
        for name in names:
            text = self.good("help", name)
            self.assertTrue(text.startswith(f"usage: kvtm {name}"))
            self.assertEqual(self.good(name, "--help"), text)
            self.assertLessEqual(max(map(len, text.partition("\n\n")[0].splitlines())), 100)
        self.assertLessEqual(max(map(len, manual.splitlines())), 100)


class Convert(KvtmTest):
    def test_every_code_set_by_both_names(self):
        given = bytes(range(0xC0, 0xD2))
        for codec, *names in [
            ("latin-1", "ISO-8859-1", "latin1"), ("cp1252", "Windows-1252", "cp1252"),
            ("iso8859-15", "ISO-8859-15", "latin9"), ("cp850", "IBM850", "cp850"),
            ("mac-roman", "MacRoman", "macintosh"), ("iso8859-2", "ISO-8859-2", "latin2"),
            ("cp1250", "Windows-1250", "cp1250"), ("iso8859-5", "ISO-8859-5", "cyrillic"),
            ("cp1251", "Windows-1251", "cp1251"), ("koi8-r", "KOI8-R", "koi8r"),
            ("iso8859-7", "ISO-8859-7", "greek"), ("iso8859-9", "ISO-8859-9", "latin5"),
        ]:
            for name in names:
                with self.subTest(name):
                    output = given.decode(codec).encode()
                    self.assertEqual(convert(name, "utf8", given), (0, output, b""))
                    self.assertEqual(convert("utf8", name, output), (0, given, b""))
        self.assertEqual(convert("latin9", "utf8", b"\xa4")[1].decode(), "\u20ac")
        for name in ("Unicode", "ucs2"):
            self.assertEqual(convert(name, "utf8", b"a\0")[1], b"a")

    def test_large_and_cut_anywhere(self):
        """Characters of three bytes end up across every kind of piece boundary."""
        text = "x" + "€ä" * 200000
        status, output, _ = convert("utf8", "253", text.encode())
        self.assertEqual(status, 0)
        self.assertEqual(output, text.encode("utf-16-le"))
        status, output, _ = convert("253", "utf8", output)
        self.assertEqual(output, text.encode())

    def test_invalid_bytes(self):
        good = "ä".encode() * 50000
        for bad in (b"\xff", b"\xc3", b"\xc0\x80", b"\x80"):
            status, output, error = convert("utf8", "latin1", good + bad + b"(" * (bad != b"\xc3"))
            self.assertEqual((status, output), (1, b"\xe4" * 50000), bad)
            self.assertIn(b"offset 100000", error)
        status, output, error = convert("253", "1", b"a\0b")
        self.assertEqual((status, output), (1, b"a"))
        self.assertIn(b"offset 2", error)


def convert(source, target, given):
    done = subprocess.run([KVTM, "convert", "--from", source, "--to", target], input=given,
                          capture_output=True, timeout=120)
    return done.returncode, done.stdout, done.stderr


if __name__ == "__main__":
    unittest.main()
