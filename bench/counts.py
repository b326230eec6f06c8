#!/usr/bin/env python3
"""Counts the instructions of the short operations of kv_counts under valgrind.

usage: counts.py BUILD [--check | --write]

Without an option the counts are printed beside those of bench/counts.json. --check exits with 1
when one is more than five in a hundred above the file's: either it is a fault, or the file is
written anew, with --write, and goes with the change. Counts depend on the compiler and on the
instruction set that valgrind offers; with others than the file's, or without valgrind, --check says
so and exits with 77.
"""
import json
import re
import shutil
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

FILE = Path(__file__).resolve().parent / "counts.json"
ALLOWED = 1.05
TIMES = (200, 1200)  # start-up is in both, so that the difference is the operations' own


def instructions(program, number, times):
    command = ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null",
               str(program), str(number), str(times)]
    done = subprocess.run(command, capture_output=True, text=True, check=True)
    return int(re.search(r"Collected : (\d+)", done.stderr).group(1))


def count(program):
    names = subprocess.run([program], capture_output=True, text=True, check=True).stdout.split("\n")[:-1]

    def one(number):
        few, many = (instructions(program, number, times) for times in TIMES)
        return round((many - few) / (TIMES[1] - TIMES[0]))
    with ThreadPoolExecutor(2) as pool:
        return dict(zip(names, pool.map(one, range(len(names)))))


def compiler(build):
    """The compiler as it names itself in what it makes."""
    found = subprocess.run(["readelf", "-p", ".comment", *sorted(build.glob("lib/libZM140Ztm142.so"))],
                           capture_output=True, text=True, check=True).stdout
    return re.search(r"\] +(.+)", found).group(1).strip()


def vector_set(program):
    """What the library uses on the processor that valgrind plays, if it can read this build: Debian
    12's stops at what clang tells a debugger."""
    done = subprocess.run(["valgrind", "--tool=none", program, "vectors"], capture_output=True,
                          text=True)
    return done.stdout.strip() if done.returncode == 0 else "vectors unknown to valgrind"


def main():
    build = Path(sys.argv[1])
    program = build / "bin" / "kv_counts"
    option = sys.argv[2] if len(sys.argv) > 2 else ""
    if shutil.which("valgrind") is None or not program.exists():
        print("counts: no valgrind, or kv_counts is not built: nothing is counted")
        return 77
    known = json.loads(FILE.read_text(encoding="utf-8")) if FILE.exists() else {}
    setting = {"compiler": compiler(build), "vectors": vector_set(program)}
    same = all(known.get(key) == value for key, value in setting.items())
    if option == "--check" and not same:
        print(f"counts: the file is for {known.get('compiler')} and {known.get('vectors')}, "
              f"this is {setting['compiler']} and {setting['vectors']}: nothing is compared")
        return 77
    counts = count(program)
    if option == "--write":
        FILE.write_text(json.dumps({**setting, "instructions": counts}, indent=2) + "\n",
                        encoding="utf-8")
    before = known.get("instructions", {}) if same else {}
    grown = [name for name, now in counts.items()
             if now > ALLOWED * before.get(name, now) or (option == "--check" and name not in before)]
    print(f"{setting['compiler']}, {setting['vectors']}: instructions an operation, those of the file")
    for name, now in counts.items():
        print(f"{name:36}{now:8}{before.get(name, '-'):>8}{'  grown' if name in grown else ''}")
    return 1 if grown and option == "--check" else 0


if __name__ == "__main__":
    sys.exit(main())
