#!/usr/bin/env python3
"""Makes Doxygen's input of a header or a page, on the standard output.

Headers: a block of // lines becomes documentation; the first one is that of the file. Lines indented
within a comment are drawings or examples and stay as they are. Pages: links to folders of the source
tree become links to the list of files.

usage: filter.py FILE
"""
import re
import sys
from collections import Counter
from pathlib import Path

COMMENT = re.compile(r"^(\s*)//( ?)(.*)$")


def documented(line, first_block):
    """A comment line as documentation; verbatim lines get the indentation that marks them."""
    indent, _, text = COMMENT.match(line).groups()
    if re.match(r"^-{10,}$|^-+ .* -+$", text.strip()):
        text = ""  # a rule between parts
    if text.startswith("  "):
        text = "    " + text
    # A "#" would be a heading or a command, "\" and "@" commands, "<" a tag.
    if not text.startswith("    "):
        text = re.sub(r"([\\@<>#])", r"\\\1", text)
    return f"{indent}/// {text}"


def header(text):
    lines = text.splitlines()
    result = []
    in_first = bool(lines) and lines[0].startswith("//")
    if in_first:
        result.append("/// \\file")
    for line in lines:
        is_comment = COMMENT.match(line) is not None
        if in_first and not is_comment:
            in_first = False
        result.append(documented(line, in_first) if is_comment else line)
    return "\n".join(result) + "\n"


def anchor(heading):
    """The name that a heading's place has in links, as hosts of repositories make it."""
    return re.sub(r"[^\w -]", "", heading.strip().lower()).replace(" ", "-")


def page(text, stem):
    """Places get names that are unique in the whole site: those of their page in front."""
    text = re.sub(r"\]\((?:\.\./)?(kvcore/inc|platform/\w+/inc|examples|tests/golden)[^)]*\)",
                  "](files.html)", text)
    text = re.sub(r"\]\(#([^)]+)\)", rf"](#{stem}-\1)", text)
    text = re.sub(r"\]\((?:docs/|\.\./)?([\w-]+)\.md#([^)]+)\)", r"](#\1-\2)", text)
    lines, fenced, seen = [], False, Counter()
    for line in text.splitlines():
        fenced ^= line.startswith("```")
        heading = re.match(r"^(##+) (.*)$", line) if not fenced else None
        if heading:
            name = anchor(heading[2])
            # "In C" and "In C++" have one name: the second gets a number, as hosts have it.
            line += f" {{#{stem}-{name}{'-%d' % seen[name] if seen[name] else ''}}}"
            seen[name] += 1
        lines.append(line)
    return "\n".join(lines) + "\n"


def main():
    path = Path(sys.argv[1])
    text = path.read_text(encoding="utf-8")
    sys.stdout.reconfigure(encoding="utf-8")
    sys.stdout.write(header(text) if path.suffix == ".h" else page(text, path.stem))


if __name__ == "__main__":
    main()
