#!/usr/bin/env python3
"""Tells what the features of the libraries take: bytes of code, constants and data, by feature.

usage: footprint.py BUILD [BUILD...]

BUILD is a build folder of the native preset. Its libraries are linked once more, into a file that is
thrown away, for the linker's map: it names each object file's sections as far as they are in the
library. A section belongs to the first feature of the list whose pattern its object file or its own
name (a function's, a template's) matches. With several builds, such as those of older commits, each
is a column. What the linker makes itself, tables of symbols above all, is not among them.
"""
import re
import shlex
import subprocess
import sys
import tempfile
from pathlib import Path

LIBRARIES = ("ZM140Ztm142", "ZM140Zin142", "ZM140Zbs142", "kvc")
FEATURES = (
    ("C interface (`kvc`)", r"^kvc/"),
    ("vector kernels", r"unit_scan|utf8_blocks|utf8_shuffles|equal_blocks|ascii_case|byteswap|key_run_wide"
                       r"|zbs/src/vectors|By(16|32|64|Avx|Ssse)|Vbmi"),
    ("sort keys", r"[kK]ey_run|sortkey|text_key|_keys?\.|Sort_?[kK]ey|KeyCodec|KeyRun|KeyStep"),
    ("checked doors", r"kvchecked|kvseal|Checked"),
    ("contractions", r"contraction|Contract"),
    ("bounds and estimates for indexes", r"string_bounds|string_places|Bounds?[A-Z]|Estimate"),
    ("collation tables", r"data/orders"),
    ("code sets, case and properties of characters", r"ZM140Zin142/"),
    ("printing and reading numbers", r"kvtext/(float|scalar)|decimal|Digits"),
    ("dates and times", r"kvdate|rows/dates?|date_rows"),
    ("strings, comparing and searching", r"kvstring|mbs|rows/i?string"),
    ("type manager, rows and everything else", r""),
)
LOADED = re.compile(r"\.(text|rodata|data|bss|tdata|tbss|gcc_except_table|eh_frame|init_array)\b")
# A section's name, on a line of its own when it is long, its address and size, its object file.
ENTRY = re.compile(r"^ (\.\S+)\n?\s+0x[0-9a-f]+\s+0x([0-9a-f]+) (\S+\.o\b)", re.MULTILINE)


def linker_map(build, library):
    name = f"lib/lib{library}.so" + (".1.0" if library == "kvc" else "")
    commands = subprocess.run(["ninja", "-C", str(build), "-t", "commands", name],
                              capture_output=True, text=True).stdout
    links = [line for line in commands.splitlines() if " -shared " in line]
    if not links:
        return ""  # of an older commit, which had no such library
    arguments = shlex.split(links[-1].split("&&")[1])
    with tempfile.TemporaryDirectory() as folder:
        arguments[arguments.index("-o") + 1] = f"{folder}/library"
        subprocess.run([*arguments, f"-Wl,-Map={folder}/map"], cwd=build, check=True)
        text = Path(folder, "map").read_text()
    return text[text.index("Linker script and memory map"):]  # behind what was left out


def sizes(build):
    found = dict.fromkeys((feature for feature, _ in FEATURES), 0)
    for library in LIBRARIES:
        for section, size, file in ENTRY.findall(linker_map(build, library)):
            if not LOADED.match(section):
                continue
            place = f"{library}/{file} {section}"
            found[next(f for f, pattern in FEATURES if re.search(pattern, place))] += int(size, 16)
    return found


def main():
    if len(sys.argv) < 2 or sys.argv[1].startswith("-"):
        sys.exit(__doc__)
    columns = [sizes(Path(build)) for build in sys.argv[1:]]
    print("| feature |" + "".join(f" {build} |" for build in sys.argv[1:]))
    print("|---|" + "---:|" * len(columns))
    for feature, _ in FEATURES:
        print(f"| {feature} |" + "".join(f" {each[feature]:,} |" for each in columns))
    print("| all |" + "".join(f" {sum(each.values()):,} |" for each in columns))


if __name__ == "__main__":
    main()
