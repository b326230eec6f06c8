"""kvtm's commands on every family of types, and its answers to bad input."""
import json
import re
import subprocess
import unittest
from pathlib import Path

from program import KVTM, MEMORY_ORDER, KvtmTest, kvtm

STORED = Path(__file__).with_name("stored.txt")
# Most values load as the text they were given as.
OWN_TEXT = {"KvFLOAT_T": ["-0.10000000149011612"], "KvBLOCKID_T": ["#7", "#8"],
            "KvDATIME_N_T": ["2024-02-29T13:05:09.500"]}


def in_memory(width, *numbers):
    return b"".join(number.to_bytes(width, MEMORY_ORDER) for number in numbers).hex()


class Values(KvtmTest):
    def test_stored_bytes_and_back(self):
        fixed = {row["idName"] for row in json.loads(self.good("types", "--json")) if row["fixed"]}
        for line in STORED.read_text(encoding="utf-8").splitlines()[1:]:
            type_name, least_first, most_first, *values = line.split("\t")
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
