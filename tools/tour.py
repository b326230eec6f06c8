#!/usr/bin/env python3
"""Walks through a page of documentation: prints it and runs its console blocks as they come.

usage: tour.py FOLDER_OF_PROGRAMS PAGE

A console block is fenced with ```console. A line that begins with "$ " is a command, the lines
after it what it prints; a line of "..." alone stands for any lines.
"""
import os
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent  # where the commands of a page run


def pieces(page):
    """The page as a list of ("text", lines) and ("console", [(command, expected lines), ...])."""
    result = [("text", [])]
    console = False
    for line in page.splitlines():
        if line.startswith("```") and (console or line == "```console"):
            console = not console
            result.append(("console" if console else "text", []))
        elif not console:
            result[-1][1].append(line)
        elif line.startswith("$ "):
            result[-1][1].append((line[2:], []))
        else:
            result[-1][1][-1][1].append(line)
    return result


def run(command, programs):
    """What a shell command prints, errors included, with the built programs to be found first."""
    environment = {**os.environ, "PATH": programs + os.pathsep + os.environ["PATH"],
                   "LC_ALL": "C.UTF-8"}
    done = subprocess.run(["bash", "-c", command], env=environment, stdin=subprocess.DEVNULL, cwd=ROOT,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    return done.stdout.decode("utf-8", "replace")


def walk(page, programs):
    bold, dim, plain = ("\x1b[1m", "\x1b[36m", "\x1b[0m") if sys.stdout.isatty() else ("", "", "")
    for kind, content in pieces(page):
        if kind == "text":
            text = "\n".join(content).strip("\n")
            print(re.sub(r"^#+ (.*)$", bold + r"\1" + plain, text, flags=re.M), end="\n\n")
            continue
        for command, _ in content:
            print(f"  {dim}$ {command}{plain}")
            for line in run(command, programs).splitlines():
                print(f"  {line}")
        print()


if __name__ == "__main__":
    with open(sys.argv[2], encoding="utf-8") as file:
        walk(file.read(), os.path.abspath(sys.argv[1]))
