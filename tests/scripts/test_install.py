"""The installed package as a stranger uses it: programs outside the tree, in the ABI of the build, in
C, in C++20, and in C++17 with every warning."""
import os
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

BUILD = os.environ.get("KV_BUILD_DIR", "")
COMPILER = os.environ.get("CXX", "c++")
ABI32 = os.environ.get("KV_ABI32") == "ON"

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
  faults += types.GetArrayElement(Kv4B_T, run, 1, 3) != run + 1;
  KvIdxBounds range;
  unsigned short predicate = kvPredicateEqual;
  faults += types.EvalAndBound(Kv4B_T, &range, predicate, run, 8, 1, nullptr, nullptr) < 0;
  faults += KvOrderStored(types, Kv4B_T, stored, 4, stored, 4, 2);
  faults += Differ(KvDate(0), KvDate(1)) + Differ(KvTime(0), KvTime(1));
  faults += Differ(KvInt64(1), KvInt64(2)) + Differ(KvSeal(), KvSeal());
  faults += Differ(KvBoolean(true), KvBoolean(false)) + Differ(KvNull_int(), KvNull_int(3));
  faults += Differ(KvRef(), KvRef()) + Differ(KvIString("a"), KvIString("A"));
  const unsigned bytes = types.Translate(Kv4B_T, stored, 2, 12, run, 8, 12, 3);
  std::printf("%s %u %d\\n", text.StrGet(), bytes, stored[3]);
  return faults;
}
"""

C_PROGRAM = """
#include <stdio.h>
#include <kvc.h>
int main(void) {
  int32_t run[3] = {1, -2, 3};
  unsigned char stored[12];
  char text[16];
  size_t size;
  kvc_print(2, NULL, KVC_MEMORY, run, sizeof run, 3, text, sizeof text, NULL);
  if (kvc_store(2, KVC_REVERSED, run, sizeof run, 3, stored, sizeof stored, &size) != KVC_OK) return 1;
  printf("%s %u %d\\n", text, (unsigned)size, stored[3]);
  return 0;
}
"""

PROJECT = """
cmake_minimum_required(VERSION 3.25)
project(outside LANGUAGES C CXX)
set(CMAKE_CXX_STANDARD 20)
find_package(kvtypemgr 14 REQUIRED)
add_executable(outside outside.cpp)
target_link_libraries(outside PRIVATE kvtypemgr::kvtypemgr)
add_executable(in_c in_c.c)
target_link_libraries(in_c PRIVATE kvtypemgr::kvc)
"""


def run(*command, **options):
    done = subprocess.run(command, capture_output=True, text=True, timeout=300, **options)
    if done.returncode != 0:
        raise AssertionError(f"{command}: {done.stdout}{done.stderr}")
    return done.stdout


@unittest.skipIf(os.environ.get("KV_SANITIZE"), "sanitizers do not mix with a plain program")
class Installed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = Path(tempfile.mkdtemp())
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        cls.prefix = cls.folder / "installed"
        run("cmake", "--install", BUILD, "--prefix", str(cls.prefix))
        (cls.folder / "outside.cpp").write_text(PROGRAM)
        (cls.folder / "in_c.c").write_text(C_PROGRAM)
        (cls.folder / "CMakeLists.txt").write_text(PROJECT)
        cls.libraries = next(cls.prefix.rglob("libZM140Ztm142.so")).parent

    def check(self, program):
        output = run(str(program), env={**os.environ, "LD_LIBRARY_PATH": str(self.libraries)})
        self.assertEqual(output, "1,-2,3 12 1\n")
        bits = (self.folder / program).read_bytes()[4]
        self.assertEqual(bits, 1 if ABI32 else 2, "built for the other ABI")

    @unittest.skipUnless(shutil.which("pkg-config"), "no pkg-config")
    def test_pkg_config(self):
        environment = {**os.environ, "PKG_CONFIG_PATH": str(self.libraries / "pkgconfig")}
        warnings = ("-Wall", "-Wextra", "-Wpedantic", "-Wconversion", "-Wshadow", "-Werror")
        for package, source, *command in (
                ("kvtypemgr", "outside.cpp", COMPILER, "-std=c++17", *warnings),
                ("kvc", "in_c.c", "cc", *(["-m32"] if ABI32 else []), "-std=c99", *warnings)):
            flags = run("pkg-config", "--cflags", "--libs", package, env=environment).split()
            program = self.folder / package
            run(*command, "-o", str(program), str(self.folder / source), *flags)
            self.check(program)

    def test_find_package(self):
        build = self.folder / "build"
        run("cmake", "-G", "Ninja", "-S", str(self.folder), "-B", str(build),
            f"-DCMAKE_PREFIX_PATH={self.prefix}", f"-DCMAKE_CXX_COMPILER={COMPILER}",
            f"-DCMAKE_CXX_FLAGS={'-m32' if ABI32 else ''}",
            f"-DCMAKE_C_FLAGS={'-m32' if ABI32 else ''}")
        run("cmake", "--build", str(build))
        self.check(build / "outside")
        self.check(build / "in_c")

    def test_the_installed_program_finds_its_libraries(self):
        self.assertIn("14.0.1.57", run(str(self.prefix / "bin" / "kvtm"), "--version"))


if __name__ == "__main__":
    unittest.main()
