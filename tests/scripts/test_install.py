"""The installed package as a stranger uses it: ten lines outside the tree, in the ABI of the build."""
import os
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

BUILD = os.environ.get("KV_BUILD_DIR", "")
COMPILER = os.environ.get("CXX", "c++")
ABI32 = os.environ.get("KV_ABI32") == "ON"

PROGRAM = """
#include <cstdio>
#include <kv.h>
int main() {
  KvTypeMgr* types = DefaultTypeMgr(nullptr);
  o_4b run[3] = {1, -2, 3};
  unsigned char stored[12];
  KvString text;
  types->PrintToKvString(Kv4B_T, text, run, nullptr, 3);
  const unsigned bytes = types->Store(Kv4B_T, stored, run, 2, 3);
  std::printf("%s %u %d\\n", text.StrGet(), bytes, stored[3]);
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
set(CMAKE_CXX_STANDARD 17)
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
        flags = run("pkg-config", "--cflags", "--libs", "kvtypemgr", env=environment).split()
        program = self.folder / "by_pkg_config"
        run(COMPILER, "-std=c++20", "-o", str(program), str(self.folder / "outside.cpp"), *flags)
        self.check(program)

    @unittest.skipUnless(shutil.which("pkg-config"), "no pkg-config")
    def test_pkg_config_of_the_c_interface(self):
        environment = {**os.environ, "PKG_CONFIG_PATH": str(self.libraries / "pkgconfig")}
        flags = run("pkg-config", "--cflags", "--libs", "kvc", env=environment).split()
        program = self.folder / "c_by_pkg_config"
        run("cc", *(["-m32"] if ABI32 else []), "-std=c99", "-pedantic", "-Werror", "-o", str(program),
            str(self.folder / "in_c.c"), *flags)
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
