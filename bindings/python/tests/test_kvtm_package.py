"""The Python package as its users write: values, runs, keys, collation, and wrong arguments."""
import array
import datetime
import doctest
import os
import random
import subprocess
import sys
import threading
import unittest
from pathlib import Path

import kvtm
from kvtm import MEMORY, REVERSED, STORED, Error, Type

KVTM = os.environ.get("KVTM", "build/native/bin/kvtm")
WHEN = datetime.datetime(2024, 2, 29, 13, 5)

# (type, values that come back as they went)
VALUES = [
    ("o_char", [-128, 65]), ("o_2b", [-2**15, 2**15 - 1]), ("o_u4b", [0, 2**32 - 1]),
    ("o_8b", [-2**63, 2**63 - 1]), ("o_u8b", [2**64 - 1]), ("KvInt64", [-5, 2**40]),
    ("o_double", [-0.5, 1e300, float("inf")]), ("o_float", [0.25]), ("KvBoolean", [True, False]),
    ("KvString", ["", "Åkesson", "Žižek", "{NULL}", None]), ("KvBlob", [b"\0\xff", b"", None]),
    ("KvDate", [WHEN.date(), None]), ("KvTime", [WHEN.time(), None]), ("KvDateTime", [WHEN, None]),
    ("d_Date", [WHEN.date()]), ("d_Interval", [datetime.timedelta(hours=1, seconds=0.5)]),
    ("KvNull_int", [-7, None]), ("KvNull_double", [2.5, None]), ("KvNull_8b", [-2**62, None]),
]


def kvtm_says(*arguments):
    return subprocess.run([KVTM, *arguments], capture_output=True, text=True, check=True).stdout.strip()


class Values(unittest.TestCase):
    def test_values_come_back(self):
        for name, values in VALUES:
            for value in values:
                for form in (STORED, REVERSED):
                    with self.subTest(name, value=value, form=form):
                        stored = Type(name).store(value, form)
                        self.assertEqual(Type(name).load(stored, form), value)
                        self.assertEqual(Type(name).is_null(stored, form), value is None)
                        self.assertEqual(Type(name).check(stored, form), 1)

    def test_answers_are_those_of_the_tool(self):
        for name, text in (("KvDate", "2024-02-29"), ("o_4b", "-5"), ("KvString", "Åkesson")):
            kind = Type(name)
            stored = kind.scan(text)
            self.assertEqual(stored.hex(), kvtm_says("store", name, "--", text).replace(" ", ""))
            self.assertEqual(kind.key(stored).hex(), kvtm_says("key", name, "--", text).replace(" ", ""))
            self.assertEqual(kind.hash(stored), int(kvtm_says("hash", name, "--", text), 16))
            self.assertEqual(kind.text(stored), text)

    def test_order_and_steps(self):
        number = Type("o_4b")
        self.assertEqual(number.compare(number.store(-1), number.store(1)), -1)
        self.assertEqual(number.load(number.step(number.store(-1))), 0)
        with self.assertRaises(Error) as caught:
            number.step(number.store(2**31 - 1))
        self.assertEqual(caught.exception.name, "kvOverflow")

    def test_what_a_type_says_of_itself(self):
        day = Type("KvDATE_T")
        self.assertEqual((repr(day), day.name, day.id, day.stored_width, day.fixed, day.nullable),
                         ("kvtm.Type('KvDate')", "KvDate", 12, 4, True, True))
        self.assertEqual(Type(11).memory_width, 0)
        self.assertEqual([Type(name).id for name in kvtm.types()], list(range(len(kvtm.types()))))

    def test_a_date_that_python_has_not_is_a_text(self):
        self.assertEqual(Type("KvDate").load(bytes([0xE8, 7, 0xFF, 1])), "2024-*-01")

    def test_formats(self):
        self.assertEqual(Type("KvDate").text(b"\xe8\x07\x02\x1d", STORED, "%d.%m.%Y"), "29.02.2024")
        self.assertEqual(Type("KvDate").scan("29.02.2024", STORED, "%d.%m.%Y"), b"\xe8\x07\x02\x1d")


class Runs(unittest.TestCase):
    def test_arrays_and_bytes_both_ways(self):
        number = Type("o_4b")
        run = array.array("i", [random.Random(1).randint(-2**31, 2**31 - 1) for _ in range(5000)])
        swapped = array.array("i", run)
        swapped.byteswap()
        self.assertEqual(number.translate(run, MEMORY, REVERSED), swapped.tobytes())
        into = array.array("i", bytes(4 * len(run)))
        self.assertEqual(number.translate(memoryview(swapped), REVERSED, MEMORY, into), 4 * len(run))
        self.assertEqual(into, run)
        self.assertEqual(number.hash(run, MEMORY), number.hash(swapped, REVERSED))
        self.assertEqual(number.compare(run, into, MEMORY), 0)
        self.assertEqual(number.text(array.array("i", [1, -2]), MEMORY), "1,-2")

    def test_numpy_where_it_is(self):
        try:
            import numpy
        except ImportError:
            self.skipTest("no numpy")
        run = numpy.arange(10, dtype=numpy.int32)
        self.assertEqual(Type("o_4b").translate(run, MEMORY, STORED), run.tobytes())
        with self.assertRaises((BufferError, ValueError)):
            Type("o_4b").hash(run[::2], MEMORY)

    def test_keys_of_a_run_order_as_its_values(self):
        numbers = random.Random(2)
        run = array.array("d", [numbers.uniform(-1e9, 1e9) for _ in range(3000)])
        keys = Type("o_double").keys(run, MEMORY)
        self.assertEqual([value for _, value in sorted(zip(keys, run))], sorted(run))
        self.assertEqual(Type("o_double").key_run(run, MEMORY), b"".join(keys))
        words = ["b", "", "Åse", "abc"]
        text = Type("KvString")
        stored = [text.store(word) for word in words]
        self.assertEqual(text.keys(b"".join(stored)), [text.key(each) for each in stored])

    def test_a_buffer_that_is_held_cannot_shrink_and_threads_go_on(self):
        run = bytearray(4 * 200000)
        wanted = Type("o_4b").hash(bytes(run), MEMORY)
        found = []
        threads = [threading.Thread(target=lambda: found.append(Type("o_4b").hash(run, MEMORY)))
                   for _ in range(4)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(found, [wanted] * 4)
        run.clear()  # nothing holds it any more


class Keys(unittest.TestCase):
    def test_unkey(self):
        day = Type("KvDate", options=1)
        stored = day.store(WHEN.date())
        self.assertEqual(day.unkey(day.key(stored)), stored)
        self.assertLess(day.key(day.store(datetime.date(2025, 1, 1))), day.key(stored))
        with self.assertRaises(Error):
            day.unkey(day.key(stored) + b"x")

    def test_collation(self):
        words = ["Zebra", "Östen", "Åse", "Ärla", "ada", "Ada"]
        swedish = sorted(words, key=kvtm.collation("swedish"))
        self.assertEqual(swedish, ["Ada", "ada", "Zebra", "Åse", "Ärla", "Östen"])
        german = sorted(words, key=kvtm.collation("de"))
        self.assertEqual(german[-1], "Zebra")
        folded = kvtm.collation("english", ignore_case=True, ignore_accents=True)
        self.assertEqual(folded("RÉSUMÉ"), folded("resume"))
        self.assertNotEqual(kvtm.collation("english")("RÉSUMÉ"), kvtm.collation("english")("resume"))


class WrongArguments(unittest.TestCase):
    def fails(self, name, call, *arguments, place=None):
        with self.assertRaises(Error) as caught:
            call(*arguments)
        self.assertEqual(caught.exception.name, name)
        self.assertIn(name, str(caught.exception))
        self.assertLess(caught.exception.status if name != "kvBufferShort" else -1, 0)
        if place is not None:
            self.assertEqual(caught.exception.place, place)

    def test_errors_have_a_status_and_a_place(self):
        day, text = Type("KvDate"), Type("KvString")
        self.fails("kvMismatch", day.scan, "2024-xx", place=5)
        self.fails("kvOutOfRange", day.scan, "2023-02-29")
        self.fails("kvBufferShort", day.load, b"\0\0\0")
        self.fails("kvBufferShort", day.check, b"\0" * 9, place=8)
        self.fails("kvDamaged", text.load, bytes.fromhex("0700010161626300FE"))
        self.fails("kvBadArgument", day.load, b"")
        self.fails("kvBadArgument", day.load, b"\0" * 8)
        self.fails("kvBadArgument", day.load, b"\0" * 4, 5)
        self.fails("kvNotSupported", text.load, b"\0" * 16, MEMORY)
        self.fails("kvOutOfRange", Type("o_2b").store, 40000)
        self.fails("kvOutOfRange", Type("o_u8b").store, -1)
        self.fails("kvOutOfRange", Type("o_8b").store, 2**100)
        self.fails("kvNotSupported", Type("o_2b").store, None)
        self.fails("kvOutOfRange", Type("KvString", code_set="latin1").store, "aŽ", place=1)
        self.fails("kvNoSuchType", Type, 99)
        self.fails("kvNotSupported", Type, "illegal")
        self.fails("kvBadArgument", Type("o_2b", options=64).key, b"\0\0")
        self.fails("kvBufferShort", Type("o_2b").translate, b"\0" * 8, STORED, MEMORY, bytearray(7))
        self.fails("kvBadArgument", Type("o_2b").compare, b"\0" * 8, b"\0" * 6)

    def test_objects_of_the_wrong_type(self):
        for call in (lambda: Type("o_4b").store(1.5), lambda: Type("o_4b").store([]),
                     lambda: Type("o_double").store(b""), lambda: Type("KvDate").store(WHEN),
                     lambda: Type("KvDate").load("text"), lambda: Type("KvDate").load(5),
                     lambda: Type("KvDate").scan(b"2024"), lambda: Type(), lambda: Type(1.5),
                     lambda: Type("KvDate").load(), lambda: Type("KvDate").load(b"", 0, 0),
                     lambda: Type("KvString").text_key(5), lambda: Type("KvBlob").store(5),
                     lambda: Type.store(5, 5)):
            self.assertRaises(TypeError, call)
        self.assertRaises(LookupError, Type, "KvDat")
        self.assertRaises(LookupError, Type, "KvString", language="Klingon")
        self.assertRaises((TypeError, BufferError), Type("o_2b").translate, b"\0\0", 0, 8, b"\0\0")
        self.assertRaises(AttributeError, setattr, Type(1), "name", "x")

    def test_random_bytes_never_crash(self):
        numbers = random.Random(3)
        for _ in range(5000):
            kind = Type(numbers.randrange(46))
            given = numbers.randbytes(numbers.randrange(24))
            for call in (kind.load, kind.text, kind.key, kind.keys, kind.unkey, kind.hash, kind.step):
                try:
                    call(given, numbers.choice((STORED, REVERSED, MEMORY)))
                except Error:
                    pass


class Package(unittest.TestCase):
    def test_the_examples_of_the_manual(self):
        failed, tried = doctest.testmod(kvtm)
        self.assertEqual((failed, tried > 3), (0, True))

    def test_the_stubs_name_what_there_is(self):
        stubs = Path(kvtm.__file__).with_suffix(".pyi").read_text()
        for name in [each for each in dir(Type) if not each.startswith("_")]:
            self.assertRegex(stubs, rf"(def {name}\(|    {name}: )")
            self.assertTrue(getattr(Type, name).__doc__, name)
        for name in kvtm.__all__:
            self.assertRegex(stubs, rf"\b{name}\b")

    def test_python_m_points_to_the_tool(self):
        done = subprocess.run([sys.executable, "-m", "kvtm"], capture_output=True, text=True)
        self.assertEqual(done.returncode, 0)
        self.assertIn("kvtm help", done.stdout)


if __name__ == "__main__":
    unittest.main()
