"""The programs of docs/bindings.md in other languages, compiled and run where there is a compiler."""
import os
import re
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(os.environ.get("KV_SOURCE_DIR", "."))
LIBRARIES = Path(os.environ.get("KV_BUILD_DIR", "build/native")).resolve() / "lib"
PLAIN_BUILD = not (os.environ.get("KV_ABI32") == "ON" or os.environ.get("KV_SANITIZE"))


def program(language):
    page = (SOURCE / "docs" / "bindings.md").read_text(encoding="utf-8")
    return re.search(rf"^```{language}\n(.*?)^```", page, re.S | re.M).group(1)


@unittest.skipUnless(PLAIN_BUILD and (LIBRARIES / "libkvc.so").exists(), "for the plain native build")
class OtherLanguages(unittest.TestCase):
    def run_in(self, folder, *command, **environment):
        done = subprocess.run(command, cwd=folder, capture_output=True, text=True, timeout=300,
                              env={**os.environ, "LD_LIBRARY_PATH": str(LIBRARIES), **environment})
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)

    @unittest.skipUnless(shutil.which("rustc"), "no rustc")
    def test_rust(self):
        with tempfile.TemporaryDirectory() as folder:
            (Path(folder) / "day.rs").write_text(program("rust"))
            self.run_in(folder, "rustc", "-D", "warnings", "-L", str(LIBRARIES), "day.rs")
            self.run_in(folder, "./day")

    @unittest.skipUnless(shutil.which("go"), "no go")
    def test_go(self):
        with tempfile.TemporaryDirectory() as folder:
            (Path(folder) / "day.go").write_text(program("go"))
            (Path(folder) / "kvc.pc").write_text(
                f"Name: kvc\nDescription: built\nVersion: 1\nLibs: -L{LIBRARIES} -lkvc\n"
                f"Cflags: -I{(SOURCE / 'bindings' / 'c').resolve()}\n")
            self.run_in(folder, "go", "run", "day.go", PKG_CONFIG_PATH=folder)


if __name__ == "__main__":
    unittest.main()
