#!/usr/bin/env python3
"""Installs the packages of a folder into a bare root and uses them there: kvtm, its man page and
completions, a program in C++ and one in C, and, where they are among them, kvindex, the extension of
SQLite and the package of Python.

usage: test_packages.py FOLDER_OF_PACKAGES

The root gets this machine's C and C++ libraries and the programs that load a binding, with what the
loader finds for them, and nothing else. As root the programs run inside it (chroot); else with its
libraries.
"""
import os
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

PROGRAM = """
#include <cstdio>
#include <kv.h>
int main() {
  KvDate day(2024, 2, 29);
  unsigned char stored[4];
  DefaultTypeMgr(nullptr)->Store(KvDATE_T, stored, &day, 2, 1);
  std::printf("%02x%02x%02x%02x\\n", stored[0], stored[1], stored[2], stored[3]);
}
"""


C_PROGRAM = """
#include <stdio.h>
#include <kvc.h>
int main(void) {
  int32_t type;
  unsigned char day[4];
  kvc_find_type("KvDate", 6, &type);
  kvc_scan(type, NULL, "2024-02-29", 10, KVC_REVERSED, day, sizeof day, NULL, NULL);
  printf("%02x%02x%02x%02x\\n", day[0], day[1], day[2], day[3]);
  return 0;
}
"""

IN_PYTHON = """
import datetime, kvtm
print(kvtm.Type("KvDate").store(datetime.date(2024, 2, 29), kvtm.REVERSED).hex())
"""

FILES = ["usr/share/man/man1/{}.1.gz", "usr/share/doc/{}/copyright",
         "usr/share/bash-completion/completions/{}", "usr/share/zsh/vendor-completions/_{}"]


def run(*command, **options):
    done = subprocess.run(list(map(str, command)), capture_output=True, text=True, **options)
    if done.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))}\n{done.stdout}{done.stderr}")
    return done.stdout


def needed_libraries(program, libraries):
    """What the loader finds outside the root: the C and C++ libraries and itself."""
    found = run("ldd", program, env={**os.environ, "LD_LIBRARY_PATH": str(libraries)})
    for line in found.splitlines():
        for word in line.split():
            if word.startswith("/") and str(libraries) not in word:
                yield Path(word)


def install(root, packages):
    for folder in ("updates", "info", "triggers"):
        (root / "var/lib/dpkg" / folder).mkdir(parents=True)
    for file in ("status", "available"):
        (root / "var/lib/dpkg" / file).touch()
    run("dpkg", f"--root={root}", "--force-not-root", "--force-depends", "--force-script-chrootless",
        "--log=/dev/null", "--install", *packages)


def compile_against(root, libraries, folder):
    """/usr/bin/program and /usr/bin/c_program, compiled against the installed headers."""
    environment = {**os.environ, "PKG_CONFIG_PATH": str(libraries / "pkgconfig")}
    for name, package, compiler, text in [
            ("program.cpp", "kvtypemgr", ["c++", "-std=c++20"], PROGRAM),
            ("c_program.c", "kvc", ["cc", "-std=c99"], C_PROGRAM)]:
        source = folder / name
        source.write_text(text)
        flags = run("pkg-config", "--cflags", "--libs", package, env=environment).split()
        run(*compiler, source, "-o", root / "usr/bin" / source.stem, *flags)


def borrow(root, program):
    """Debian's own program, which loads a binding."""
    shutil.copy(Path("/usr/bin") / program, root / "usr/bin" / program)


class Root:
    def __init__(self, folder, packages):
        self.root = folder / "root"
        install(self.root, packages)
        self.libraries = next(self.root.rglob("libZM140Ztm142.so")).parent
        compile_against(self.root, self.libraries, folder)
        self.extension = self.libraries / "kvsqlite.so"
        self.python = self.root / "usr/lib/python3/dist-packages/kvtm"
        (self.root / "tmp").mkdir()
        if self.extension.exists():
            borrow(self.root, "sqlite3")
        if self.python.exists():
            borrow(self.root, "python3")
            library = Path(run("/usr/bin/python3", "-c", "import os; print(os.__file__)").strip()).parent
            shutil.copytree(library, self.root / str(library)[1:], symlinks=True,
                            ignore=shutil.ignore_patterns("test", "__pycache__", "config-*"))
        self.copy_needed_libraries()

    def copy_needed_libraries(self):
        bindings = [self.extension, *self.python.glob("*.so")]
        for program in [*(self.root / "usr/bin").iterdir(), *filter(Path.exists, bindings)]:
            for needed in needed_libraries(program, self.libraries):
                target = self.root / str(needed)[1:]
                target.parent.mkdir(parents=True, exist_ok=True)
                if not target.exists():
                    shutil.copy(needed, target)

    def use(self, program, *arguments, **options):
        if os.geteuid() == 0:
            return run("chroot", self.root, f"/usr/bin/{program}", *arguments, **options)
        return run(self.root / "usr/bin" / program, *arguments, **options,
                   env={**os.environ, "LD_LIBRARY_PATH": str(self.libraries),
                        "PYTHONPATH": str(self.python.parent)})


def try_everything(root, folder):
    """Yields (what, what it printed, what it should have)."""
    yield "kvtm store", root.use("kvtm", "store", "KvDate", "--order", "big", "2024-02-29"), "07e8021d\n"
    yield "a C++ program", root.use("program"), "07e8021d\n"
    yield "a C program", root.use("c_program"), "07e8021d\n"
    if (root.root / "usr/bin/kvindex").exists():
        inside = "/tmp" if os.geteuid() == 0 else folder
        store = f"lmdb:{inside}/store"
        root.use("kvindex", "create", store, "--schema", "id:o_u4b,day:KvDate", "--key", "id",
                 "--index", "day")
        root.use("kvindex", "load", store, "-", input="id,day\n1,2024-02-29\n2,2023-01-01\n")
        yield ("kvindex query", root.use("kvindex", "query", store, "day >= 2024-01-01"),
               "id,day\n1,2024-02-29\n")
    if root.extension.exists():
        yield ("SQLite", root.use("sqlite3", ":memory:", ".load kvsqlite",
                                  "SELECT kv_text('KvDate', x'e807021d')"), "2024-02-29\n")
    if root.python.exists():
        yield "Python", root.use("python3", "-c", IN_PYTHON), "07e8021d\n"


def missing_files(root):
    for program in ("kvtm", "kvindex"):
        if (root / "usr/bin" / program).exists():
            yield from (name for name in (file.format(program) for file in FILES)
                        if not (root / name).exists())


def main():
    packages = sorted(Path(sys.argv[1]).glob("*.deb"))
    if not packages:
        sys.exit(f"there are no packages in {sys.argv[1]}")
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        root = Root(folder, packages)
        tried = []
        for what, got, expected in try_everything(root, folder):
            if got != expected:
                sys.exit(f"{what}: {got!r}, expected {expected!r}")
            tried.append(what)
        for file in missing_files(root.root):
            sys.exit(f"{file} is in no package")
    print("installed into a bare root: " + ", ".join(package.name for package in packages))
    print("used there: " + ", ".join(tried))


if __name__ == "__main__":
    main()
