#!/usr/bin/env python3
"""Installs the packages of a folder into a bare root and uses them there: kvtm, its man page and
completions, a C++ program, and whatever else they hold.

usage: test_packages.py FOLDER_OF_PACKAGES

The root gets the C and C++ libraries of this machine and nothing else. As root the programs run
inside it (chroot); else with its libraries.
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


def main():
    packages = sorted(Path(sys.argv[1]).glob("*.deb"))
    if not packages:
        sys.exit(f"there are no packages in {sys.argv[1]}")
    with tempfile.TemporaryDirectory() as folder:
        root = Path(folder) / "root"
        install(root, packages)
        library = next(root.rglob("libZM140Ztm142.so"))
        source = Path(folder) / "program.cpp"
        source.write_text(PROGRAM)
        pkgconfig = library.parent / "pkgconfig"
        flags = run("pkg-config", "--cflags", "--libs", "kvtypemgr",
                    env={**os.environ, "PKG_CONFIG_PATH": str(pkgconfig)}).split()
        run("c++", "-std=c++20", source, "-o", root / "usr/bin/program", *flags)
        programs = [path for path in (root / "usr/bin").iterdir()]
        for program in programs:
            for needed in needed_libraries(program, library.parent):
                target = root / str(needed)[1:]
                target.parent.mkdir(parents=True, exist_ok=True)
                if not target.exists():
                    shutil.copy(needed, target)

        def use(program, *arguments):
            if os.geteuid() == 0:
                return run("chroot", root, f"/usr/bin/{program}", *arguments)
            return run(root / "usr/bin" / program, *arguments,
                       env={**os.environ, "LD_LIBRARY_PATH": str(library.parent)})

        checks = {"kvtm store": (use("kvtm", "store", "KvDate", "--order", "big", "2024-02-29"),
                                 "07e8021d\n"),
                  "a C++ program": (use("program"), "07e8021d\n")}
        for name, (got, expected) in checks.items():
            if got != expected:
                sys.exit(f"{name}: {got!r}, expected {expected!r}")
        for file in ("usr/share/man/man1/kvtm.1.gz", "usr/share/doc/kvtm/copyright",
                     "usr/share/bash-completion/completions/kvtm",
                     "usr/share/zsh/vendor-completions/_kvtm"):
            if not (root / file).exists():
                sys.exit(f"{file} is in no package")
        for program in programs:
            if program.name != "program":
                use(program.name, "--help")
    print("used from a bare root: " + ", ".join(package.name for package in packages))


if __name__ == "__main__":
    main()
