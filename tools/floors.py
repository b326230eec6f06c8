#!/usr/bin/env python3
"""Fails when a file includes one of a floor above its own, and names the arrow. ./dev lint runs it.

A file may include files of its own folder and of the floors below. Programs stand outside: they
see nothing but the exported headers. tests, bench and fuzz may look everywhere.
"""
import os
import re
import subprocess
import sys

# From the ground. docs/architecture.md draws the same house.
FLOORS = [
    ["kvcore/inc/kvbase.h"],
    ["platform/zbs"],
    ["platform/zin"],
    ["kvcore/inc"],
    ["src/kvbase"],
    ["src/kvtext"],
    ["src/kvstring"],
    ["src/kvdate", "src/kvvalue", "src/kvint64.cpp"],
    ["src/kvtypevl/operations"],
    ["src/kvtypevl/rows"],
    ["src/kvtypes"],
    ["src/kvchecked"],
]
PROGRAMS = ["bindings", "engines", "examples", "tools"]
EXPORTED = ["kvcore/inc", "platform/zbs/inc", "platform/zin/inc"]
SEARCHED = ["src", "platform/zbs/src", "platform/zin/src", *EXPORTED]


def is_in(path, folder):
    return path == folder or path.startswith(folder + "/")


def place(path):
    """(floor, folder) of a file, None for one outside the house."""
    return next(((floor, folder) for floor, folders in enumerate(FLOORS) for folder in folders
                 if is_in(path, folder)), None)


def target(path, name):
    """The file of this tree that `path` means by #include "name", None for one of elsewhere."""
    here = [os.path.dirname(path), *SEARCHED]
    return next((found for found in (os.path.normpath(os.path.join(folder, name)) for folder in here)
                 if os.path.exists(found)), None)


def complaint(path, included):
    above, below = place(included), place(path)
    if any(is_in(path, folder) for folder in PROGRAMS):
        exported = any(is_in(included, folder) for folder in EXPORTED)
        return None if exported or above is None else "a program includes what is not exported"
    if above is None or below is None or below == above or above[0] < below[0]:
        return None
    return "an arrow upward" if above[0] > below[0] else "an arrow to a neighbour"


def drawn_floors(page):
    """The folders in the drawing of docs/architecture.md, from the ground."""
    drawing = re.search(r"^```floors\n(.*?)^```", page, re.S | re.M)
    lines = re.findall(r"^ *│ ([^│]*?) +│", drawing.group(1), re.M) if drawing else []
    return [line.split(", ") for line in reversed(lines)]


def main():
    found = []
    tracked = ["git", "ls-files", "--cached", "--others", "--exclude-standard", "*.h", "*.cpp", "*.c"]
    for path in filter(os.path.exists, subprocess.check_output(tracked, text=True).split()):
        with open(path, encoding="utf-8") as file:
            for name in re.findall(r'^#include "([^"]+)"', file.read(), re.M):
                included = target(path, name)
                why = included and complaint(path, included)
                if why:
                    found.append(f"{path} includes {included}: {why}")
    with open("docs/architecture.md", encoding="utf-8") as file:
        if drawn_floors(file.read()) != FLOORS:
            found.append("docs/architecture.md: the drawing is not the table of tools/floors.py")
    sys.exit("\n".join(found) if found else 0)


if __name__ == "__main__":
    main()
