"""kvtm's commands on every family of types, and its answers to bad input."""
import json
import os
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


def in_memory(width, *numbers):
    return b"".join(number.to_bytes(width, MEMORY_ORDER) for number in numbers).hex()


class Values(KvtmTest):
    def test_stored_bytes_and_back(self):
        for type_name, values, least_first, most_first in STORED:
            for order, expected in (("1", least_first), ("2", most_first)):
                with self.subTest(type_name, order=order):
                    stored = self.good("store", type_name, "--order", order, "--", *values)
                    self.assertEqual(stored.strip(), expected)
                    loaded = self.good("load", type_name, "--order", order, expected)
                    again = self.good("store", type_name, "--order", order, "--",
                                      *loaded.split("\n")[:-1])
                    self.assertEqual(again, stored)

    def test_translate_between_all_forms(self):
        fixed = {row["idName"] for row in json.loads(self.good("types", "--json")) if row["fixed"]}
        for type_name, _, least_first, most_first in STORED:
            if type_name not in fixed:
                continue
            with self.subTest(type_name):
                memory = self.good("translate", type_name, "--from", "stored", "--to", "memory",
                                   least_first).strip()
                self.assertEqual(self.good("translate", type_name, "--from", "memory", "--to",
                                           "reversed", memory), most_first + "\n")

    def test_text_of_loaded_values(self):
        """Most values load as the text they were given as; these have a text of their own."""
        own_text = {"KvFLOAT_T": ["-0.10000000149011612"], "KvBLOCKID_T": ["#7", "#8"],
                    "KvDATIME_N_T": ["2024-02-29T13:05:09.500"]}
        for type_name, values, least_first, _ in STORED:
            with self.subTest(type_name):
                loaded = self.good("load", type_name, least_first).split("\n")[:-1]
                self.assertEqual(loaded, own_text.get(type_name, values))

    def test_times_say_all_of_their_bytes(self):
        """Wildcards, fractions and zones, each text the one that its bytes load as."""
        cases = [
            ("KvDATIME_N_T", "2024-02-29T13:05:*", "e807021d0d05ffffffffff"),
            ("KvDATIME_N_T", "2024-02-29T13:05:05 *", "e807021d0d0505ffffffff"),
            ("KvDATIME_N_T", "*-*-29T13:05:* 0", "ffffff1d0d05ff00000000"),
            ("KvTIMESPAN_T", "-1.03:00:00.500", "000000ff0300000065cd1d"),
            ("KvTIMESPAN_T", "5.*:*:*", "00000005ffffffffffffff"),
            ("D_TIME_T", "13:05:09.500", "00000d050932"),
            ("D_TIME_T", "10:05:09+02:00", "02000c050900"),
            ("D_TIME_T", "04:05:09-05:00", "fb00ff050900"),
            ("D_TIME_T", "*:00:00-05:30", "fbe2fae20000"),
            ("D_TIME_T", "10:05:09+02:-15", "02f10cf60900"),
            ("D_TIMESTAMP_T", "1999-12-31T12:00:00.250+05:30", "cf070c1f051e111e0019"),
            ("D_INTERVAL_T", "-Infinity", "000080ff"),
            ("D_INTERVAL_T", "NaN", "0000c0ff"),
        ]
        for type_name, text, stored in cases:
            with self.subTest(type_name, text=text):
                self.assertEqual(self.good("load", type_name, stored), text + "\n")
                self.assertEqual(self.good("store", type_name, "--", text), stored + "\n")
        self.assertEqual(self.good("compare", "KvDATIME_N_T", "2024-02-29T13:05:*",
                                   "2024-02-29T13:05:09.5"), "0\n")
        self.assertEqual(self.good("store", "KvTIMESPAN_T", "2.3:00:00", "2.10:0:0"),
                         "0000000203000000000000" "000000020a000000000000\n")

    def test_wide_strings(self):
        stored = self.good("store", "KvSTRING_T", "Łódź").strip()
        self.assertEqual(stored[4:6], "fd")
        self.assertEqual(self.good("load", "KvSTRING_T", stored), "Łódź\n")
        self.assertEqual(self.good("store", "KvSTRING_T", "--codeset", "latin2", "Łódź").strip(),
                         "0800" "0601" "a3f364bc" "00ff")

    def test_commands_on_values(self):
        for expected, *arguments in [
            ("1", "compare", "Kv4B_T", "10", "9"),
            ("0", "compare", "KvDOUBLE_T", "--", "-0.0", "0"),
            ("-1", "compare", "KvDATE_T", "2023-12-31", "2024-01-01"),
            ("-1", "compare", "KvNULL_4B_T", "{NULL}", "-2147483648"),
            ("-1", "compare", "KvBLOB_T", "{NULL}", ""),
            ("-1", "compare", "KvSTRING_T", "Bar", "Bär"),
            ("0", "compare", "KvSTRING_T", "--op", "0x40", "Bar", "Bär"),
            ("0", "compare", "KvCASEISTRING_T", "Bar", "BÄR"),
            ("0x41c64e6d", "hash", "Kv4B_T", "1"),
            ("0xfefe7575", "hash", "KvNULL_4B_T", "{NULL}"),
            ("128", "step", "KvU2B_T", "127"),
            ("2024-03-01", "step", "KvDATE_T", "2024-02-29"),
            ("(2-0#7)", "step", "KvOBJID_T", "(1-4294967295#7)"),
            ("0000000100000002", "translate", "Kv4B_T", "--from", "8", "--to", "2",
             in_memory(4, 1, 2)),
            (in_memory(4, 1, 2), "translate", "Kv4B_T", "--from", "reversed", "--to", "memory",
             "0000000100000002"),
            ("0201", "translate", "Kv2B_T", "--from", "0", "--to", "2", "--reorder", "0102"),
            ("0007010161626300ff", "translate", "KvSTRING_T", "--from", "stored", "--to", "big",
             "--reorder", "0700010161626300ff"),
            ("0", "compare", "KvSTRING_T", "--op", "ignore-case,ignore-accents", "a", "Ä"),
            ("0", "compare", "KvSTRING_T", "--op", "ignore-case", "--op", "0x40", "a", "Ä"),
            ("-1", "compare", "KvDATE_T", "--stored", "--order", "2", "07e8021d", "07e80301"),
            ("1", "compare", "KvDATE_T", "--stored", "--order", "little", "07e8021d", "07e80201"),
            ("0x41c64e6d", "hash", "Kv4B_T", "--stored", "--order", "big", "00000001"),
            ("07e80301", "step", "KvDATE_T", "--stored", "--order", "2", "07e8021d"),
            ("41ff", "store", "KvU1B_T", "--number", "65", "255"),
            ("-1\n65", "load", "Kv1B_T", "--number", "ff41"),
            ("1", "load", "Kv4B_T", "0x01000000"),
            ("1\n2", "load", "Kv2B_T", "01:00,0x02, 0x00"),
            ("1\n2", "load", "Kv2B_T", "00000000: 0100 0200                                ...."),
            ("1f\nffffffff", "load", "Kv2B_T", "--format", "%x", "1f00ffff"),
            ("Thu 29.Feb 2024", "load", "KvDATE_T", "--format", "%a %e.%b %Y", "e807021d"),
        ]:
            with self.subTest(arguments):
                self.assertEqual(self.good(*arguments), expected + "\n")

    def test_bounds(self):
        for arguments, fraction, lower, upper in [
            (["Kv4B_T", "=", "5", "1", "10"], "0.1", "5  (new)", "5  (new)"),
            (["Kv4B_T", ">=", "5", "1", "10"], "0.6", "5  (new)", "10"),
            (["Kv4B_T", "<", "20", "1", "10"], "1", "1", "20  (new)"),
            (["KvDATE_T", "<", "2024-01-11", "2024-01-01", "2024-01-20"], "0.5", "2024-01-01",
             "2024-01-11  (new)"),
        ]:
            with self.subTest(arguments):
                self.assertEqual(
                    self.good("bounds", *arguments),
                    f"fraction  {fraction}\nlower     {lower}\nupper     {upper}\n")

    def test_order_tells_characters_in_words(self):
        text = self.good("order", "é7")
        self.assertIn("lower letter e with accent acute", text)
        self.assertIn("digit 7", text)
        swedish, english = (self.good("order", "ä", "--language", language)
                            for language in ("swedish", "1"))
        self.assertNotEqual(swedish, english)
        self.assertRegex(self.good("order", "Åch", "--language", "swedish"),
                         "^Å +0x[0-9a-f]{4} +upper letter Å\nc .*\nh .*\n$")
        self.assertRegex(self.good("order", "Ch", "--language", "cs"),
                         "^Ch +0x[0-9a-f]{4} +title letter Ch\n$")
        self.assertRegex(self.good("order", "ssza", "--language", "hungarian"),
                         "^ssz .* ssz\n +0x.* sz\na ")

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
            self.assertEqual(line.split()[:3], [str(row["id"]), row["name"], row["idName"]])

    def test_identity(self):
        self.assertIn("14.0.1.57.0", self.good("--version"))
        self.assertEqual(json.loads(self.good("describe", "--json"))["build"], 1927)
        self.assertEqual(json.loads(self.good("load", "KvNULL_4B_T", "--json",
                                              "0107000000" "0008000000")), [None, 8])
        self.assertEqual(json.loads(self.good("load", "KvSTRING_T", "--json", "0800fd01" "22000adc" "00ff")),
                         [{"text": '"\udc0a', "codeSet": 253, "language": 1}])

    def test_what_prints_reads_back(self):
        for type_name, stored in [
            ("KvSTRING_T", "0f000101" "5c5c787b4e554c4c7d0941" "00ff"),  # \\\\x{NULL}<tab>A
            ("KvSTRING_T", "0a000101" "7b4e554c4c7d" "00ff"),            # {NULL}, a text
            ("KvSTRING_T", "0800fd01" "2e200adc" "00ff"),                # turned text, a surrogate
            ("KvISTRING_T", "07000101" "80915c" "00ff"),
            ("KvDOUBLE_T", "010000000000f07f"), ("KvFLOAT_T", "0100c0ff"), ("KvFLOAT_T", "0000c0ff"),
            ("KvNULL_DOUBLE_T", "00010000000000f87f"), ("D_INTERVAL_T", "010080ff"),
        ]:
            with self.subTest(stored):
                text = self.good("load", type_name, stored)[:-1]
                self.assertTrue(text.isprintable())
                traits = ["--codeset", "253"] if stored[4:8] == "fd01" else []
                self.assertEqual(self.good("store", type_name, *traits, "--", text), stored + "\n")

    def test_lines_of_a_file(self):
        status, output, error = kvtm("store", "o_2b", "--order", "big", "--lines", "-",
                                     stdin="\ufeff1\r\n2\t3\nx\n-1")
        self.assertEqual((status, output), (1, "0001\n00020003\nffff\n"))
        self.assertRegex(error, r"\Akvtm: store: line 3: 'x'[^\n]+\n\Z")
        self.assertEqual(self.good("compare", "o_2b", "--csv", "--lines", "-", stdin="1\t2\n3\t3\n"),
                         "order\r\n-1\r\n0\r\n")
        lines = self.good("hash", "o_4b", "--json", "--lines", "-", stdin="1\n0\n").splitlines()
        self.assertEqual([json.loads(line) for line in lines], [{"hash": 0x41c64e6d}, {"hash": 0}])

    def test_values_as_json(self):
        for expected, *arguments in [
            ([1, "-Infinity"], "load", "o_double", "000000000000f03f000000000000f0ff"),
            ([18446744073709551615], "load", "o_u8b", "ff" * 8),
            ([True, False, None], "load", "KvBoolean", "0100ff"),
            ([7], "load", "BlockId", "07000000"),
            ([{"text": "a,\t\"", "codeSet": 1, "language": 10}], "load", "KvString",
             "0800010a" "612c0922" "00ff"),
            (["2024-02-29"], "load", "KvDate", "e807021d"),
            ({"fraction": 0.4, "lower": 1, "lowerIsNew": False, "upper": 5, "upperIsNew": True},
             "bounds", "o_4b", "<", "5", "1", "10"),
            ({"next": 6}, "step", "o_4b", "5"),
            ({"bytes": "05000000", "count": 4}, "store", "o_4b", "5"),
        ]:
            with self.subTest(arguments):
                self.assertEqual(json.loads(self.good(*arguments, "--json")), expected)

    def test_diff_tells_the_first_difference(self):
        for expected, *arguments in [
            (("month", 2, 2, 3, -1), "KvDate", "2024-02-29", "2024-03-29"),
            (("indicator", 0, "null", "a value", -1), "KvNull_int", "{NULL}", "0"),
            (("value", 1, 5, -1, 1), "KvNull_short", "5", "-1"),
            (("high", 0, 1, 2, -1), "KvSeal", "4294967296", "8589934592"),
            (("level 1 (letters), character 3", None, "c", "d", -1), "KvString", "abc", "abd"),
            (("level 2 (accents), character 2", None, "ü", "u", 1), "KvString", "Müller", "Muller"),
            (("level 3 (case), character 1", None, "a", "A", 1), "KvString", "abc", "Abc"),
            (("level 1 (letters), character 4", None, "the end", "d", -1), "KvString", "abc", "abcd"),
            (("stored byte", 9, "0x02", "0x03", -1), "KvBlob", "0102", "0103"),
            (("stored byte", 0, "0x05", "0x06", 0), "KvString", "--stored", "0500010161" "00ff",
             "0600fd0161" "0000ff"),
            (("year", 0, 2024, 2025, -1), "KvDate", "--stored", "--order", "2", "07e8021d",
             "07e9021d"),
            (("value", 1, 1.5, "NaN", 1), "KvNull_float", "1.5", "NaN"),
            ((None, None, "", "", 0), "o_4b", "7", "7"),
        ]:
            with self.subTest(arguments):
                found = json.loads(self.good("diff", *arguments, "--json"))
                if expected[0] == "indicator":
                    expected = ("null", None, *expected[2:])
                self.assertEqual(tuple(found.values()), expected)

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

    def test_operands_and_options_mix(self):
        for arguments in [("store", "--order", "2", "Kv2B_T", "-1"), ("store", "Kv2B_T", "-1", "--order=2"),
                          ("store", "1", "--order", "2", "--", "-1"), ("store", "o_2b", "-1")]:
            self.assertEqual(self.good(*arguments), "ffff\n")
        self.assertEqual(self.good("load", "Kv2B_T", "-", stdin="01 00\n0200"), "1\n2\n")


class BadInput(KvtmTest):
    def test_one_line_says_what_and_where(self):
        for status, words, *arguments in [
            (2, "no command"),
            (2, "'stroe'", "stroe"),
            (2, "unknown type & KvSTRING_T", "store", "KvSTRIN_T", "a"),
            (2, "unknown type & o_4b", "store", "O_4B", "1"),
            (2, "'99'", "store", "99", "1"),
            (2, "'-1'", "store", "-1", "1"),
            (2, "illegal", "store", "illegal", "1"),
            (2, "VALUE is missing", "store", "Kv4B_T"),
            (2, "'c'", "compare", "Kv1B_T", "a", "b", "c"),
            (2, "--json takes no value", "types", "--json=1"),
            (1, "beyond 16 bits", "store", "KvSTRING_T", "a\U0001F600"),
            (2, "--frmat", "load", "Kv4B_T", "--frmat", "x", "01"),
            (2, "--order takes a value", "store", "Kv4B_T", "1", "--order"),
            (2, "--order '3' & reversed", "store", "Kv4B_T", "1", "--order", "3"),
            (2, "--op '0x999'", "compare", "Kv4B_T", "--op", "0x999", "1", "2"),
            (2, "--op 'ignore'", "compare", "Kv4B_T", "--op", "ignore", "1", "2"),
            (2, "did you mean store?", "stroe"),
            (2, "did you mean --json?", "types", "--jsn"),
            (2, "did you mean o_2b, o_4b or o_8b?", "store", "o_5b", "1"),
            (2, "did you mean o_4b or int?", "store", "int32", "1"),
            (2, "B is missing", "compare", "Kv4B_T", "1"),
            (2, "TYPE is missing", "store"),
            (2, "--order is of stored operands", "compare", "Kv4B_T", "--order", "2", "1", "2"),
            (2, "either --json or --csv", "types", "--json", "--csv"),
            (2, "line 1: one operand too many", "compare", "Kv4B_T", "--lines", "-"),
            (1, "no escape & a backslash is written", "store", "KvSTRING_T", "a\\q"),
            (1, "2 hex digits", "store", "KvSTRING_T", "\\x4"),
            (1, "bits of a NaN", "store", "KvFLOAT_T", "NaN(0x7f800000)"),
            (1, "--number", "store", "KvU1B_T", "65"),
            (1, "1 bytes after the value, at offset 4", "step", "KvDATE_T", "--stored", "07e8021d00"),
            (2, "--count '0'", "load", "Kv4B_T", "--count", "0", "01000000"),
            (2, "--count 'two'", "load", "Kv4B_T", "--count", "two", "01000000"),
            (2, "--count '4294967296'", "load", "Kv4B_T", "--count", "4294967296", "01000000"),
            (1, "4294967295 values take 17179869180 bytes, there are 4",
             "load", "Kv4B_T", "--count", "4294967295", "01000000"),
            (1, "2 values take 8 bytes, there are 4", "load", "Kv4B_T", "--count", "2", "01000000"),
            (1, "two hex digits", "load", "Kv4B_T", "0100000"),
            (1, "'x' & offset 3", "load", "Kv4B_T", "010x"),
            (1, "no bytes", "load", "Kv4B_T", ""),
            (1, "3 bytes", "load", "Kv4B_T", "010203"),
            (1, "'12x' & not a number", "store", "Kv4B_T", "12x"),
            (1, "'' & not a number", "store", "Kv4B_T", ""),
            (1, "'-' & not a number", "store", "Kv4B_T", "--", "-"),
            (1, "out of range & -32768 to 32767", "store", "Kv2B_T", "32768"),
            (1, "out of range", "store", "KvU2B_T", "--", "-1"),
            (1, "out of range", "store", "KvU8B_T", "18446744073709551616"),
            (1, "0 to 281474976710655", "store", "KvSEAL_T", "281474976710656"),
            (1, "out of range", "store", "KvFLOAT_T", "1e39"),
            (1, "out of range", "store", "KvDOUBLE_T", "1e309"),
            (1, "not a number", "store", "KvDOUBLE_T", "inf"),
            (1, "not a number", "store", "KvDOUBLE_T", "0x1p3"),
            (1, "0xNN", "store", "Kv1B_T", "ab"),
            (1, "TRUE", "store", "KvBOOLEAN_T", "yes"),
            (1, "'2024-13-01'", "store", "KvDATE_T", "2024-13-01"),
            (1, "'2023-02-29'", "store", "KvDATE_T", "2023-02-29"),
            (1, "'2024-02-30'", "store", "D_DATE_T", "2024-02-30"),
            (1, "'25:00:00'", "store", "KvTIME_T", "25:00:00"),
            (1, "expected %J.%H", "store", "KvTIMESPAN_T", "25:00:00"),
            (1, "%Y-%m-%d", "store", "KvDATE_T", "29.2.2024"),
            (1, "'2024-02-29 rest'", "store", "KvDATE_T", "2024-02-29 rest"),
            (1, "(%H-%L#%B)", "store", "KvOBJID_T", "(70000-5#7)"),
            (1, "two hex digits", "store", "KvBLOB_T", "abc"),
            (1, "ISO-8859-1 has no 'Ł'", "store", "KvSTRING_T", "--codeset", "1", "Łódź"),
            (1, "UTF-8 at offset 1", "store", "KvSTRING_T", b"a\xff"),
            (2, "code set 'klingon'", "store", "KvSTRING_T", "--codeset", "klingon", "a"),
            (2, "language 'klingon'", "sort", "KvSTRING_T", "--language", "klingon"),
            (1, "last o_char value", "step", "Kv1B_T", "0x7f"),
            (1, "no successor", "step", "KvDOUBLE_T", "Infinity"),
            (2, "predicate '<>'", "bounds", "Kv4B_T", "<>", "1", "1", "2"),
            (1, "cannot open /nonexistent", "sort", "Kv4B_T", "/nonexistent"),
            (2, "pointer", "translate", "KvSTRING_T", "--from", "8", "--to", "0", "00"),
            (2, "--from", "convert", "--to", "1"),
        ]:
            with self.subTest(arguments):
                self.fails(status, words, *arguments, stdin="1\t2\t3\n")

    def test_damaged_variable_values(self):
        """Length fields that lie are caught before the library follows them."""
        for type_name, words, stored in [
            ("KvSTRING_T", "a block length", "07"),
            ("KvSTRING_T", "takes 255", "ff00010161"),
            ("KvSTRING_T", "less than 4", "0000"),
            ("KvSTRING_T", "mark", "0500010161fe01"),
            ("KvSTRING_T", "takes 9", "0400010100ff" "0900010161"),
            ("KvISTRING_T", "16-bit", "0600fd01610000ff"),
            ("KvBLOB_T", "takes 16", "100000000400000061"),
            ("KvBLOB_T", "past the end", "080000000500000061626364"),
            ("KvBLOB_T", "no blob has", "08000000feffffff61626364"),
            ("KvBLOB_T", "ends before", "00000000"),
            ("KvBLOB_T", "after the last value", "0400000000000000" "00"),
        ]:
            with self.subTest(stored):
                self.fails(1, words, "load", type_name, stored)
        self.fails(1, "ends before", "load", "KvBLOB_T", "--count", "2", "0400000000000000")

    def test_half_a_unit_behind_a_text(self):
        self.assertEqual(self.good("load", "KvSTRING_T", "0700fd016100" "0000ff"), "a\n")

    def test_control_characters_stay_off_the_terminal(self):
        self.assertEqual(self.good("load", "KvSTRING_T", "07000101" "1b5b6d" "00ff"), "\\x1b[m\n")
        self.assertNotIn("\x1b", kvtm("store", "Kv4B_T", "\x1b[2J")[2])

    def test_a_rest_is_reported(self):
        status, output, error = kvtm("load", "Kv2B_T", "--count", "1", "010002")
        self.assertEqual((status, output), (0, "1\n"))
        self.assertIn("1 more byte follows the 1 value asked for, from offset 2", error)

    def test_remarks_tell_the_line(self):
        self.assertEqual(kvtm("load", "KvBoolean", "--lines", "-", stdin="01\n02\n")[2],
                         "kvtm: load: line 2: byte 0x02 at offset 0 counts as true and prints as "
                         "FALSE: only 1 prints as TRUE\n")

    def test_remarks_on_stderr(self):
        for words, *arguments in [
            ("byte 0x02 at offset 1 counts as true and prints as FALSE", "load", "KvBoolean", "0002"),
            ("1 of the values no calendar or clock has, the first at offset 4", "load", "KvDate",
             "e807021de8070d1d"),
            ("these strings are in the old form", "load", "KvString", "0400" "61626300"),
            ("copied; --reorder turns", "translate", "o_4b", "--from", "0", "--to", "2", "01000000"),
            ("'5' is taken as a character", "store", "o_u1b", "5"),
        ]:
            status, _, error = kvtm(*arguments)
            self.assertEqual(status, 0)
            self.assertIn(words, error)

    @unittest.skipUnless(os.path.exists("/dev/full"), "no /dev/full")
    def test_output_that_cannot_be_written(self):
        """Also while there is no end of input: the first failure ends the work."""
        for arguments in (["types"], ["convert", "--from", "utf8", "--to", "1", "/dev/zero"]):
            with open("/dev/full", "wb") as full:
                done = subprocess.run([KVTM, *arguments], stdout=full, stderr=subprocess.PIPE,
                                      timeout=60)
            self.assertEqual(done.returncode, 1)
            self.assertIn(b"could not be written", done.stderr)


class IntegerRanges(KvtmTest):
    """Both ends of every whole number, and one past each."""

    def test_ends(self):
        for bits, signed, *rows in [
            (8, True, "Kv1B_T", "KvNULL_1B_T"), (8, False, "KvU1B_T", "KvNULL_U1B_T"),
            (16, True, "Kv2B_T", "KvNULL_2B_T"), (16, False, "KvU2B_T", "KvNULL_U2B_T"),
            (32, True, "Kv4B_T", "KvINT_T", "KvENUM_T", "KvNULL_4B_T", "KvNULL_INT_T"),
            (32, False, "KvU4B_T", "KvUNSIGNED_T", "KvNULL_U4B_T", "KvNULL_UNSIGNED_T"),
            (64, True, "Kv8B_T", "KvNULL_8B_T", "KvINT64_T", "KvNULL_KVINT64_T"),
            (64, False, "KvU8B_T", "KvNULL_U8B_T"),
        ]:
            least = -(1 << bits - 1) if signed else 0
            most = (1 << bits - signed) - 1
            for row in rows:
                with self.subTest(row):
                    indicator = "00" if "NULL" in row else ""
                    options = ("--number", "--") if bits == 8 else ("--",)
                    for value in (least, 5, most):
                        stored = value.to_bytes(bits // 8, "little", signed=signed).hex()
                        self.assertEqual(self.good("store", row, *options, str(value)),
                                         indicator + stored + "\n")
                    for value in (least - 1, most + 1):
                        self.fails(1, f"'{value}' & out of range", "store", row, *options, str(value))


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
    def test_between_code_sets(self):
        for source, target, given, expected in [
            ("utf8", "1", "café".encode(), b"caf\xe9"),
            ("latin1", "utf8", b"caf\xe9", "café".encode()),
            ("utf8", "253", "aŁ".encode(), "aŁ".encode("utf-16-le")),
            ("koi8-r", "windows-1251", "Привет".encode("koi8-r"), "Привет".encode("cp1251")),
        ]:
            with self.subTest(source=source, target=target):
                status, output, error = convert(source, target, given)
                self.assertEqual((status, output, error), (0, expected, b""))

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
                    status, output, _ = convert(name, "utf8", given)
                    self.assertEqual((status, output.decode()), (0, given.decode(codec)))
        self.assertEqual(convert("latin9", "utf8", b"\xa4")[1].decode(), "\u20ac")
        for name in ("Unicode", "ucs2"):
            self.assertEqual(convert(name, "utf8", b"a\0")[1], b"a")

    def test_what_the_target_lacks_is_counted(self):
        status, output, error = convert("utf8", "1", "a€Ł?😀".encode())
        self.assertEqual((status, output), (0, b"a????"))
        self.assertIn(b"3 characters", error)

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
