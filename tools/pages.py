#!/usr/bin/env python3
"""Makes what the pages take from the programs: the table of types in README.md, the picture of a
value's forms, and the pictures of the ratios in docs/performance.md.

usage: pages.py KVTM [--check]

With --check nothing is written; a page or picture that is not as it would be made is named, and the
exit status is 1.
"""
import json
import math
import re
import subprocess
import sys
from html import escape
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
BEGIN, END = "<!-- types: made by tools/pages.py -->", "<!-- end of types -->"

# Bytes in memory where pointers have four and eight bytes, of the types that hold one.
BY_POINTER = {"KvString": (8, 16), "KvIString": (8, 16), "KvCaseIString": (8, 16), "KvBlob": (4, 8)}

STYLE = """<style>
  text { font: 13px sans-serif; fill: #1f2328 }
  .m { font-family: monospace } .s { font-size: 11px; fill: #59636e }
  .box { fill: #f6f8fa; stroke: #8c959f } .line { stroke: #59636e; fill: none }
  .good { fill: #2da44e } .bad { fill: #bf8700 } .goal { stroke: #cf222e }
  @media (prefers-color-scheme: dark) {
    text { fill: #e6edf3 } .s { fill: #9198a1 }
    .box { fill: #161b22; stroke: #6e7681 } .line { stroke: #9198a1 }
    .good { fill: #3fb950 } .bad { fill: #d29922 } .goal { stroke: #ff7b72 }
  }
</style>
"""


def picture(width, height, title, content):
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" '
            f'width="{width}" height="{height}" role="img" aria-label="{escape(title)}">\n'
            f"<title>{escape(title)}</title>\n{STYLE}{content}</svg>\n")


def ask(kvtm, *arguments):
    done = subprocess.run([kvtm, *arguments], capture_output=True, text=True, check=True)
    return done.stdout.strip()


# --- The table of types -------------------------------------------------------------------------

def memory_bytes(card):
    by_pointer = BY_POINTER.get(card["name"])
    if by_pointer is None:
        return str(card["memoryBytes"])
    if card["memoryBytes"] not in by_pointer:
        raise SystemExit(f"pages: {card['name']} takes {card['memoryBytes']} bytes in memory")
    return f"{by_pointer[0]}, {by_pointer[1]}"


def type_table(kvtm):
    lines = ["| type | it is | memory | stored | range | null is stored as | example | its bytes |",
             "|---|---|---|---|---|---|---|---|"]
    for row in json.loads(ask(kvtm, "types", "--json")):
        if row["memoryBytes"] == 0:
            continue  # the illegal one, which has no values
        card = json.loads(ask(kvtm, "types", row["name"], "--json"))
        stored = card["storedBytes"] if card["fixed"] else "varies"
        lines.append(f"| `{card['name']}` | {card['meaning']} | {memory_bytes(card)} | {stored} | "
                     f"{card['range']} | {card.get('nullStored', 'no null')} | "
                     f"`{card['example']}` | `{card['exampleStored'].replace(' ', '')}` |")
    return "\n".join(lines) + "\n"


def readme(kvtm):
    text = (ROOT / "README.md").read_text(encoding="utf-8")
    head, rest = text.split(BEGIN)
    return head + BEGIN + "\n\n" + type_table(kvtm) + "\n" + END + rest.split(END)[1]


# --- A value, its forms, its order --------------------------------------------------------------

def box(x, y, width, label, content, note):
    return (f'<text x="{x}" y="{y - 8}" class="s">{escape(label)}</text>\n'
            f'<rect class="box" x="{x}" y="{y}" width="{width}" height="34" rx="4"/>\n'
            f'<text class="m" x="{x + width / 2}" y="{y + 22}" text-anchor="middle">'
            f"{escape(content)}</text>\n"
            f'<text class="s" x="{x}" y="{y + 50}">{escape(note)}</text>\n')


def arrow(x1, y1, x2, y2):
    return f'<path class="line" d="M{x1} {y1} L{x2} {y2}" marker-end="url(#head)"/>\n'


def value_picture(kvtm):
    value = "2024-02-29"
    little, big = (ask(kvtm, "store", "KvDate", "--order", order, value) for order in ("0", "2"))
    key = ask(kvtm, "key", "KvDate", value)
    spaced = [" ".join(re.findall("..", text)) for text in (little, big, key)]
    content = ('<defs><marker id="head" viewBox="0 0 8 8" refX="7" refY="4" markerWidth="8" '
               'markerHeight="8" orient="auto"><path class="line" d="M0 0 L7 4 L0 8"/></marker>'
               "</defs>\n")
    content += box(20, 100, 150, "a value: KvDate", value, "prints, scans, steps, hashes")
    content += box(280, 40, 170, "stored bytes", spaced[0], "memory order: 0")
    content += box(280, 150, 170, "stored bytes", spaced[1], "reversed: 2")
    content += box(560, 100, 170, "sort key", spaced[2], "memcmp has the order of values")
    content += arrow(170, 110, 276, 62) + arrow(170, 124, 276, 166)
    content += arrow(170, 117, 556, 117)
    content += ('<text class="s" x="185" y="75">store, load</text>\n'
                '<text class="s" x="470" y="110">key, unkey</text>\n'
                '<text class="s" x="280" y="232">compared and hashed as they are, in either order'
                "</text>\n")
    return picture(760, 250, "A value, its stored bytes in two orders, and its sort key", content)


# --- Ratios as bars around 1 --------------------------------------------------------------------

# Lines of narrower vectors stand in the table alone.
AREAS = {
    "collation": r"collate|KvCaseIString|index lookup|stored .*strings",
    "texts": r"Len,|Find,|ToUpper|copy,|.*UTF-8(?!.*, (AVX2|SSSE3)$)",
    "runs": r"(store|load|translate|compare equal|hash) .*o_|Cmp of one|HashKvString|.*KvBlob",
    "numbers": r"day number|KvDate |KvDateTime|print |scan |KvInt64",
    "nullables": r".*KvNull_",
}
LEAST, MOST = -3, 6  # the scale, in powers of two


def benchmark_rows():
    page = (ROOT / "docs" / "performance.md").read_text(encoding="utf-8")
    for line in page.splitlines():
        cells = [cell.strip() for cell in line.strip("|").split("|")]
        if len(cells) == 6 and re.fullmatch(r"[\d.]+", cells[4]):
            yield cells[0], cells[2], float(cells[4]), cells[5]


def ratio_picture(area):
    rows = [row for row in benchmark_rows()
            if next((name for name, pattern in AREAS.items() if re.match(pattern, row[0])), None)
            == area]
    left, unit, top, step = 400, 36, 34, 16

    def place(ratio):
        return round(left + (min(max(math.log2(ratio), LEAST), MOST) - LEAST) * unit, 1)
    height = top + step * len(rows) + 12
    content = ""
    for power in range(LEAST, MOST + 1):
        x = place(2.0 ** power)
        name = f"1/{2 ** -power}" if power < 0 else str(2 ** power)
        content += f'<text class="s" x="{x}" y="20" text-anchor="middle">{name}</text>\n'
    content += f'<path class="line" d="M{place(1)} 26 V{height - 6}"/>\n'
    for number, (operation, peer, ratio, goal) in enumerate(rows):
        y = top + step * number
        start, end = sorted((place(1), place(ratio)))
        content += (f'<text class="s" x="{left - 10}" y="{y + 9}" text-anchor="end">'
                    f"{escape(operation)} : {escape(peer)}</text>\n"
                    f'<rect class="{"good" if ratio >= 1 else "bad"}" x="{start}" y="{y}" '
                    f'width="{max(round(end - start, 1), 1)}" height="11"/>\n'
                    f'<text class="s" x="{place(2.0 ** MOST) + 30}" y="{y + 9}">{ratio:g}</text>\n')
        if goal[0].isdigit():
            x = place(float(goal.split()[0]))
            content += f'<path class="goal" d="M{x} {y - 1} V{y + 12}"/>\n'
    return picture(800, height, f"Ratios of the area {area}: right of 1 is faster than the peer",
                   content)


# ------------------------------------------------------------------------------------------------

def main():
    kvtm = sys.argv[1]
    made = {"README.md": readme(kvtm), "docs/value.svg": value_picture(kvtm)}
    made.update({f"docs/ratios-{area}.svg": ratio_picture(area) for area in AREAS})
    stale = []
    for name, text in made.items():
        path = ROOT / name
        if not path.exists() or path.read_text(encoding="utf-8") != text:
            stale.append(name)
            if "--check" not in sys.argv:
                path.write_text(text, encoding="utf-8")
    if stale:
        print(("stale" if "--check" in sys.argv else "made") + ": " + ", ".join(stale))
    return 1 if stale and "--check" in sys.argv else 0


if __name__ == "__main__":
    sys.exit(main())
