"""docs/adding.md is true to the sources: its blocks, put where they say, compile with what is there,
and the compiler misses each that it is said to miss."""
import os
import re
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(os.environ.get("KV_SOURCE_DIR", ".")).resolve()
BUILD = Path(os.environ.get("KV_BUILD_DIR", "build/native")).resolve()
ABI = ["-m32", "-msse2", "-mfpmath=sse"] if os.environ.get("KV_ABI32") == "ON" else []
FOLDERS = ["kvcore/inc", "src", "platform/zin/src", "platform/zin/inc", "platform/zbs/inc"]
HANDLERS = "src/kvtypevl/operations/row_handlers.h"
NULLS = "src/kvtypevl/operations/count_nulls.h"
# What each block goes in front of; at the end of a file where nothing is named.
PLACES = {
    "kvcore/inc/kvtypeid.h": "inline constexpr char KvRES_T",
    "kvcore/inc/kvobjid.h": None,
    "src/kvtypevl/rows/identities.cpp": "template struct RowHandlers<ObjIdRow>",
    "src/kvtypes/catalogue.cpp": ', "illegal"',
    "src/kvtypevl/operations/row.h": "  static int Step(",
    HANDLERS: "template <class Row>\nint RowHandlers<Row>::Step(",
}


POLICY_NAME = "struct AddedUuidRow;"  # stands at the head of the catalogue
IDS = (SOURCE / "kvcore/inc/kvtypeid.h").read_text(encoding="utf-8")
NEXT = int(re.search(r"KvRES_T = (\d+)", IDS).group(1))


def of_now(block):
    """A block of the page with the next id that there is, and a name that no type has."""
    numbers = {"46": str(NEXT), "47": str(NEXT + 1)}
    block = re.sub(r"\b4[67]\b", lambda found: numbers[found.group()], block)
    return block.replace("Uuid", "AddedUuid").replace("UUID", "ADDEDUUID")


def blocks():
    """The blocks of the page by the file that they stand in; those of one file one behind another."""
    page = (SOURCE / "docs" / "adding.md").read_text(encoding="utf-8")
    found = {}
    for name, block in re.findall(r"^```cpp\n// (\S+)\n(.*?)^```", page, re.S | re.M):
        found[name] = found.get(name, "") + of_now(block)
    return found


class Adding(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)
        for name in FOLDERS:
            shutil.copytree(SOURCE / name, self.folder / name)

    def put(self, name, block):
        path = self.folder / name
        text = path.read_text(encoding="utf-8")
        if name.endswith("kvtypeid.h"):
            text = re.sub(r"inline constexpr char KvRES_T.*\n", "", text)
            path.write_text(text + block, encoding="utf-8")
            return
        if block.startswith(POLICY_NAME):
            text = text.replace("\nnamespace {", f"{POLICY_NAME}\n\nnamespace {{", 1)
            block = block.removeprefix(POLICY_NAME + "\n")
        at = len(text) if PLACES[name] is None else text.rindex(PLACES[name])
        if name.endswith("catalogue.cpp"):
            at = text.rindex("{", 0, at)
        text = text[:at] + block + text[at:]
        path.write_text(text.replace(f'{{{NEXT}, "illegal"', f'{{{NEXT + 1}, "illegal"'),
                        encoding="utf-8")

    def complaint(self, name):
        """What the compiler has against a file."""
        command = [os.environ.get("CXX", "c++"), "-std=c++20", "-fsyntax-only", "-fsigned-char", *ABI,
                   f"-I{BUILD / 'generated'}", *(f"-I{each}" for each in FOLDERS), name]
        done = subprocess.run(command, cwd=self.folder, capture_output=True, text=True, timeout=300)
        return done.stderr if done.returncode else ""

    def test_a_type(self):
        type_blocks = {name: block for name, block in blocks().items() if "/operations/" not in name}
        line, family = "src/kvtypes/catalogue.cpp", "src/kvtypevl/rows/identities.cpp"
        for name, block in type_blocks.items():
            if name not in (line, family):
                self.put(name, block)
        self.assertIn("kEntries", self.complaint(line))
        self.put(line, type_blocks[line])
        self.assertEqual(self.complaint(line), "")
        before = (self.folder / family).read_text(encoding="utf-8")
        for missing in ("Key", "Position", "Print", "Trace"):
            with self.subTest(missing=missing):
                self.put(family, re.sub(rf"\b{missing}\(", "Other(", type_blocks[family]))
                self.assertRegex(self.complaint(family), rf"{missing}.*AddedUuidRow")
                (self.folder / family).write_text(before, encoding="utf-8")
        self.put(family, type_blocks[family])
        self.assertEqual(self.complaint(family), "")

    def test_an_operation(self):
        given = blocks()
        (self.folder / NULLS).write_text(
            '#pragma once\n#include "kvbase/format.h"\n#include "kvbase/run.h"\nnamespace kv {\n'
            + given[NULLS] + "}  // namespace kv\n", encoding="utf-8")
        for name in ("src/kvtypevl/operations/row.h", HANDLERS):
            self.put(name, given[name])
        handlers = self.folder / HANDLERS
        handlers.write_text(handlers.read_text(encoding="utf-8").replace(
            "#pragma once\n", '#pragma once\n#include "kvtypevl/operations/count_nulls.h"\n'),
            encoding="utf-8")
        for fixed in ("dates", "identities", "nullables"):
            self.assertEqual(self.complaint(f"src/kvtypevl/rows/{fixed}.cpp"), "")
        self.assertIn("StringRow", self.complaint("src/kvtypevl/rows/strings.cpp"))


if __name__ == "__main__":
    unittest.main()
