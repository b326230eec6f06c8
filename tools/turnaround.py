#!/usr/bin/env python3
"""How long it takes from a change to green: a source is changed, what it needs is built and the test
of its subject is run, as one does while working.

    tools/turnaround.py [N] [SEED]      N sources (9) at random, each at its share of the sources

Needs an up-to-date build/native. A source counts as changed by its time; ccache is not asked, as it
would not know a real change. Every time is told, then the median.
"""
import argparse
import os
import random
import statistics
import subprocess
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
BUILD = ROOT / "build" / "native"
# The test that one runs for a source below this folder.
TESTS = {"src/kvbase/": "base", "src/kvchecked/": "checked", "src/kvdate/": "dates",
         "src/kvstring/": "string", "src/kvtext/": "text", "src/kvtypes/": "types",
         "src/kvtypevl/": "values", "src/kvvalue/": "values", "src/": "scalars",
         "platform/zbs/": "zbs", "platform/zin/src/": "zin"}


def test_of(source):
    if source.startswith("tests/"):
        return source.split("/")[1]
    return next((test for folder, test in TESTS.items() if source.startswith(folder)), None)


def sources():
    listed = subprocess.run(["git", "ls-files", "src/*.cpp", "platform/*.cpp", "tests/*.cpp"], cwd=ROOT,
                            capture_output=True, text=True, check=True).stdout.split()
    return [name for name in listed if name.count("/") > 1 and test_of(name)
            and (BUILD / "bin" / f"test_{test_of(name)}").exists()]


def build(test):
    subprocess.run(["cmake", "--build", str(BUILD), "--target", f"test_{test}"], check=True,
                   capture_output=True, env={**os.environ, "CCACHE_DISABLE": "1"})


def seconds_from_change_to_green(source):
    test = test_of(source)
    build(test)
    (ROOT / source).touch()
    began = time.monotonic()
    build(test)
    subprocess.run([str(BUILD / "bin" / f"test_{test}")], check=True, capture_output=True)
    return time.monotonic() - began


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("count", metavar="N", nargs="?", type=int, default=9)
    parser.add_argument("seed", metavar="SEED", nargs="?", type=int, default=int(time.time()))
    asked = parser.parse_args()
    count, dice = asked.count, random.Random(asked.seed)
    found = sources()
    times = []
    for source in dice.sample(found, min(count, len(found))):
        times.append(seconds_from_change_to_green(source))
        print(f"{times[-1]:6.1f} s  {source}", flush=True)
    print(f"{statistics.median(times):6.1f} s  median of {len(times)}, {max(times):.1f} s the longest")


if __name__ == "__main__":
    main()
