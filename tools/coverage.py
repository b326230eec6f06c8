#!/usr/bin/env python3
"""What the tests reach: lines and branches a folder, and each function that no test calls.

    tools/coverage.py BUILD_FOLDER [--json]

The build has counters (preset `coverage`) and its tests have run; ./dev coverage sees to both. gcovr
reads the counters. A branch is one way out of a condition; those that only an exception takes are
not counted. A template counts as called when one of its instances is.
"""
import json
import subprocess
import sys
from collections import defaultdict
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
FOLDERS = ("src/", "kvcore/", "platform/", "tools/", "engines/", "bindings/")
GENERATED = "platform/zin/data/"


def read_counters(build):
    command = ["gcovr", "--json", "--root", str(ROOT), "--exclude-throw-branches",
               "--exclude-unreachable-branches", "--exclude", GENERATED]
    for folder in FOLDERS:
        command += ["--filter", folder]
    done = subprocess.run([*command, str(build)], cwd=ROOT, capture_output=True, text=True)
    if done.returncode != 0:
        sys.exit(f"coverage: gcovr: {done.stderr}")
    return json.loads(done.stdout)["files"]


def count(files):
    """{folder: [lines, lines reached, branches, branches reached]}"""
    folders = defaultdict(lambda: [0, 0, 0, 0])
    for file in files:
        row = folders[str(Path(file["file"]).parent)]
        for line in file["lines"]:
            if line.get("gcovr/noncode"):
                continue
            row[0] += 1
            row[1] += line["count"] > 0
            row[2] += len(line["branches"])
            row[3] += sum(branch["count"] > 0 for branch in line["branches"])
    return dict(sorted(folders.items()))


def unreached(files):
    """(file, line, name) of the functions of which no instance was called."""
    found = []
    for file in files:
        by_line = defaultdict(list)
        for function in file.get("functions", []):
            by_line[function["lineno"]].append(function)
        for line, instances in sorted(by_line.items()):
            if all(each["execution_count"] == 0 for each in instances):
                found.append((file["file"], line, instances[0]["name"]))
    return found


def demangled(names):
    done = subprocess.run(["c++filt"], input="\n".join(names), capture_output=True, text=True)
    return done.stdout.splitlines() if done.returncode == 0 else names


def percent(part, whole):
    return f"{100 * part / whole:6.1f} %" if whole else "       -"


def main():
    arguments = [each for each in sys.argv[1:] if each != "--json"]
    if len(arguments) != 1:
        sys.exit(__doc__)
    files = read_counters(arguments[0])
    folders, missing = count(files), unreached(files)
    names = demangled([name for _, _, name in missing])
    if "--json" in sys.argv:
        print(json.dumps({
            "folders": {folder: dict(zip(("lines", "lines_reached", "branches", "branches_reached"),
                                         row)) for folder, row in folders.items()},
            "unreached": [{"file": file, "line": line, "function": name}
                          for (file, line, _), name in zip(missing, names)]}, indent=1))
        return
    folders["all"] = [sum(column) for column in zip(*folders.values())]
    print(f"{'folder':32}    lines  branches")
    for folder, (lines, reached, branches, taken) in folders.items():
        print(f"{folder:32} {percent(reached, lines)} {percent(taken, branches)}")
    print(f"\n{len(missing)} functions that no test calls")
    for (file, line, _), name in zip(missing, names):
        print(f"{file}:{line}: {name}")


if __name__ == "__main__":
    main()
