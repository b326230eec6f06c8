#!/usr/bin/env python3
"""Puts the table that kv_bench --markdown printed into docs/performance.md.

usage: page.py TABLE [--some]

The page's table becomes the printed one. With --some, for a run of some lines only, those lines are
put in the place of the page's lines of the same operation and peer, new ones behind the last line
that came with them, and all others stay.
"""
import sys
from pathlib import Path

PAGE = Path(__file__).resolve().parent.parent / "docs" / "performance.md"


def key(line):
    cells = [cell.strip() for cell in line.strip("|").split("|")]
    return cells[0], cells[2]


def table(lines, head):
    """The first and the last line of the table with this head, whose two lines are included."""
    first = lines.index(head)
    last = first
    while last + 1 < len(lines) and lines[last + 1].startswith("|"):
        last += 1
    return first, last


def merged(old, new):
    rows = {key(line): line for line in old}
    place = None
    for line in new:
        if key(line) in rows:
            rows[key(line)] = line
        else:
            order = list(rows.items())
            at = len(order) if place is None else [name for name, _ in order].index(place) + 1
            order.insert(at, (key(line), line))
            rows = dict(order)
        place = key(line)
    return list(rows.values())


def main():
    printed = Path(sys.argv[1]).read_text(encoding="utf-8").splitlines()
    head = next(line for line in printed if line.startswith("|"))
    first, last = table(printed, head)
    new = printed[first + 2:last + 1]
    page = PAGE.read_text(encoding="utf-8").splitlines()
    begin, end = table(page, head)
    rows = merged(page[begin + 2:end + 1], new) if "--some" in sys.argv else new
    PAGE.write_text("\n".join(page[:begin + 2] + rows + page[end + 1:]) + "\n", encoding="utf-8")
    print(f"docs/performance.md: {len(new)} lines of {len(rows)} measured anew")


if __name__ == "__main__":
    main()
