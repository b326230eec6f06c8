#!/usr/bin/env python3
"""Fails for a function of the library that is longer than a screen or nested too deeply, and names
it. ./dev lint runs it.

It reads the layout that clang-format gives: a body begins with a line that ends in "{" and ends with
a "}" at the same indentation. What opens a body and is no namespace, class, table or statement is a
function.
"""
import os
import re
import subprocess
import sys

LONGEST = 45  # lines, from the first of the signature to the closing brace
DEEPEST = 3   # control statements in one another
SEARCHED = ["src", "platform"]

STATEMENT = re.compile(r"\s*(\} )?(if|else|for|while|switch|do)\b.*\{$")
LAMBDA = re.compile(r"(//|\[[^\[\]]*\] ?[({]).*\{$")  # part of the function that it stands in
NO_FUNCTION = re.compile(r"\s*(inline |constexpr |extern )*(namespace|class|struct|enum|union|extern \"C\")\b")


def bodies(lines):
    """(first line of the signature, line that opens, line that closes) of every function."""
    for opening, line in enumerate(lines):
        if not line.endswith("{") or STATEMENT.match(line) or LAMBDA.search(line):
            continue
        first = opening
        while first > 0 and lines[first - 1] and not re.search(r"([;{}:]|\*/)$|^\s*//|^#",
                                                              lines[first - 1]):
            first -= 1
        signature = " ".join(lines[first:opening + 1])
        if NO_FUNCTION.match(signature) or "(" not in signature or re.search(r"= *\{$", signature):
            continue
        indent = re.match(r" *", lines[first]).group()
        closing = next((at for at in range(opening + 1, len(lines))
                        if re.match(re.escape(indent) + r"\}", lines[at])), None)
        if closing is not None:
            yield first, opening, closing


def depth(lines):
    """The most control statements that stand in one another, braces or not."""
    deepest, open_at = 0, []
    for line in lines:
        if not line.strip():
            continue
        indent = len(line) - len(line.lstrip())
        while open_at and indent <= open_at[-1]:
            open_at.pop()
        if STATEMENT.match(line):
            open_at.append(indent)
            deepest = max(deepest, len(open_at))
    return deepest


def main():
    found = []
    tracked = ["git", "ls-files", *SEARCHED]
    for path in subprocess.check_output(tracked, text=True).split():
        if not path.endswith((".h", ".cpp")) or "/data/" in path or not os.path.exists(path):
            continue
        with open(path, encoding="utf-8") as file:
            lines = file.read().split("\n")
        for first, opening, closing in bodies(lines):
            length, nesting = closing - first + 1, depth(lines[opening + 1:closing])
            if length > LONGEST or nesting > DEEPEST:
                found.append(f"{path}:{first + 1}: {length} lines, nested {nesting} deep")
    sys.exit("\n".join(found) if found else 0)


if __name__ == "__main__":
    main()
