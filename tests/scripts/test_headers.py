"""Each installed header compiles alone, as C++17 and C++20, without a word of the compiler; a C++17
program that reads only what is const links with the library and runs."""
import os
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(os.environ.get("KV_SOURCE_DIR", "."))
BUILD = Path(os.environ.get("KV_BUILD_DIR", "build/native"))
ABI = ["-m32", "-msse2", "-mfpmath=sse"] if os.environ.get("KV_ABI32") == "ON" else []
FOLDERS = [SOURCE / folder for folder in ("kvcore/inc", "platform/zbs/inc", "platform/zin/inc")]
WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Wconversion", "-Wold-style-cast", "-Wshadow", "-Werror"]
NEEDS_20 = {"kvstd.h"}
COMPILERS = sorted({os.environ.get("CXX", "c++")} |
                   {name for name in ("g++", "clang++") if shutil.which(name) and not ABI})

# A class of values each, what const can be asked of it, and operators that C++20 would make up.
PROGRAM = """
#include <cstdio>
#include <kv.h>

template <class T>
int Differ(const T& a, const T& b) {
  return (a == b) == (a != b) ? 1 : 0;
}

int main() {
  const KvTypeMgr& types = *DefaultTypeMgr(nullptr);
  const o_4b run[3] = {1, -2, 3};
  const o_4b least[3] = {1, -2, 3};
  unsigned char stored[12];
  int status = 0;
  KvString text;
  types.PrintToKvString(Kv4B_T, text, run, nullptr, 3);
  int faults = types.Cmp(Kv4B_T, run, least, 0, 3, 8);
  faults += types.Cmp(Kv4B_T, 12, run, 0, least, 0, 3, 8, status) + status;
  faults += types.Hash(Kv4B_T, 12, run, 3, 8, status) != types.Hash(Kv4B_T, 0, least, 3, 8, status);
  faults += types.IsNullValue(Kv4B_T, run);
  faults += types.Translate(Kv4B_T, stored, 2, 12, run, 8, 12, 3) != 12;
  faults += types.GetArrayElement(Kv4B_T, run, 1, 3) != run + 1;
  KvIdxBounds range;
  unsigned short predicate = kvPredicateEqual;
  faults += types.EvalAndBound(Kv4B_T, &range, predicate, run, 8, 1, nullptr, nullptr) < 0;
  faults += KvOrderStored(types, Kv4B_T, stored, 4, stored, 4, 2);
  faults += Differ(KvDate(0), KvDate(1)) + Differ(KvTime(0), KvTime(1));
  faults += Differ(KvInt64(1), KvInt64(2)) + Differ(KvSeal(), KvSeal());
  faults += Differ(KvBoolean(true), KvBoolean(false)) + Differ(KvNull_int(), KvNull_int(3));
  faults += Differ(KvRef(), KvRef()) + Differ(KvIString("a"), KvIString("A"));
  std::printf("%s %d\\n", text.StrGet(), faults);
}
"""


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

    @unittest.skipIf(os.environ.get("KV_SANITIZE"), "sanitizers do not mix with a plain program")
    def test_a_program_in_an_older_standard_runs(self):
        source = self.folder / "program.cpp"
        source.write_text(PROGRAM)
        program = self.folder / "program"
        libraries = BUILD.resolve() / "lib"
        done = compile_with(COMPILERS[0], 17, source, "-o", str(program), f"-L{libraries}",
                            f"-Wl,-rpath,{libraries}", "-lZM140Ztm142", "-lZM140Zbs142",
                            "-lZM140Zin142")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        ran = subprocess.run([str(program)], capture_output=True, text=True, timeout=60)
        self.assertEqual(ran.stdout, "1,-2,3 0\n")


if __name__ == "__main__":
    unittest.main()
