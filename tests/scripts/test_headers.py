"""Each installed header compiles alone, as C++17 and C++20, without a word of the compiler."""
import os
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(os.environ.get("KV_SOURCE_DIR", "."))
ABI = ["-m32", "-msse2", "-mfpmath=sse"] if os.environ.get("KV_ABI32") == "ON" else []
FOLDERS = [SOURCE / folder for folder in ("kvcore/inc", "platform/zbs/inc", "platform/zin/inc")]
WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Wconversion", "-Wold-style-cast", "-Wshadow", "-Werror"]
NEEDS_20 = {"kvstd.h"}
COMPILERS = sorted({os.environ.get("CXX", "c++")} |
                   {name for name in ("g++", "clang++") if shutil.which(name) and not ABI})


def compile_with(compiler, standard, source, *more):
    command = [compiler, f"-std=c++{standard}", "-fsigned-char", *ABI, *WARNINGS, *(f"-I{each}" for each in FOLDERS),
               str(source), *more]
    return subprocess.run(command, capture_output=True, text=True, timeout=300)


class Headers(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)

    def test_each_compiles_alone(self):
        source = self.folder / "alone.cpp"
        for header in sorted(path.name for folder in FOLDERS for path in folder.glob("*.h")):
            source.write_text(f'#include "{header}"\n#include "{header}"\nint main() {{}}\n')
            for standard in (20,) if header in NEEDS_20 else (17, 20):
                for compiler in COMPILERS:
                    with self.subTest(header=header, compiler=compiler, standard=standard):
                        done = compile_with(compiler, standard, source, "-fsyntax-only")
                        self.assertEqual((done.returncode, done.stderr), (0, ""))

    def test_char_must_be_signed(self):
        source = self.folder / "unsigned.cpp"
        source.write_text('#include "kvbase.h"\n')
        done = compile_with(COMPILERS[0], 17, source, "-fsyntax-only", "-funsigned-char")
        self.assertIn("-fsigned-char", done.stderr)


if __name__ == "__main__":
    unittest.main()
