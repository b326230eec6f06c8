"""The C++ symbols that the three libraries export: none may be lost, for programs are linked to them.

tests/symbols/LIBRARY.txt lists them, demangled, as the 64-bit build of g++ has them. A lost one is a
broken program somewhere. Before a release, `test_symbols.py --write` adds those that are new.
"""
import os
import re
import shutil
import subprocess
import sys
import unittest
from pathlib import Path

SOURCE = Path(os.environ.get("KV_SOURCE_DIR", "."))
BUILD = Path(os.environ.get("KV_BUILD_DIR", "build/native"))
LISTS = SOURCE / "tests" / "symbols"
LIBRARIES = ["libZM140Ztm142", "libZM140Zbs142", "libZM140Zin142"]
PLAIN_BUILD = not (os.environ.get("KV_ABI32") == "ON" or os.environ.get("KV_SANITIZE"))


def exported(library):
    lines = subprocess.run(["nm", "-DC", "--defined-only", str(BUILD / "lib" / f"{library}.so")],
                           capture_output=True, text=True, check=True).stdout.splitlines()
    names = {line.split(" ", 2)[2] for line in lines}
    # What the compiler makes of the standard library is no promise of ours.
    ours = {name for name in names if "std::" not in name and "__gnu" not in name}
    # Internal tables and helpers live in namespace kv and may come and go.
    return sorted(name for name in ours if not name.startswith("kv::"))


def listed(library):
    return (LISTS / f"{library}.txt").read_text().splitlines()


@unittest.skipUnless(PLAIN_BUILD and shutil.which("nm"), "another ABI has other symbols")
class Symbols(unittest.TestCase):
    def test_none_is_lost(self):
        for library in LIBRARIES:
            with self.subTest(library):
                self.assertEqual(sorted(set(listed(library)) - set(exported(library))), [],
                                 "programs linked to these no longer start")


KVC = BUILD / "lib" / "libkvc.so"


def versioned():
    """The functions of kvc, each with its symbol version: kvc_compare@@KVC_1."""
    lines = subprocess.run(["nm", "-D", "--defined-only", str(KVC)], capture_output=True, text=True,
                           check=True).stdout.splitlines()
    return sorted(line.split()[-1] for line in lines if " A " not in line)


@unittest.skipUnless(shutil.which("nm") and KVC.exists(), "libkvc is not built")
class Kvc(unittest.TestCase):
    """C names are the same in every ABI. The list only grows: a line that changes breaks programs."""

    def test_each_function_keeps_its_name_and_version(self):
        self.assertEqual(versioned(), listed("libkvc"))

    def test_each_function_of_the_header_is_there(self):
        header = (SOURCE / "bindings" / "c" / "kvc.h").read_text()
        declared = re.findall(r"KVC_API [^;(]*?(kvc_\w+)\(", header)
        self.assertEqual(sorted(declared), [name.split("@")[0] for name in versioned()])


if __name__ == "__main__":
    if "--write" in sys.argv:
        for each in LIBRARIES:
            (LISTS / f"{each}.txt").write_text("".join(name + "\n" for name in exported(each)))
        (LISTS / "libkvc.txt").write_text("".join(name + "\n" for name in versioned()))
    else:
        unittest.main()
