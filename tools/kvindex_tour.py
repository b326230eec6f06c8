#!/usr/bin/env python3
"""kvindex on LMDB over a word list of this machine and a date for each word.

    kvindex_tour.py BIN

Shows each command and what it printed; fails when one does.
"""
import datetime
import os
import random
import shlex
import shutil
import subprocess
import sys
import tempfile

LISTS = (("/usr/share/dict/ngerman", "german"), ("/usr/share/dict/american-english", "english"))
FIRST_DAY = datetime.date(1990, 1, 1)
DAYS = 40 * 365
WORDS = 20000


def word_list():
    for path, language in LISTS:
        if os.path.exists(path):
            with open(path, encoding="utf-8", errors="strict") as file:
                return sorted({line.strip() for line in file if line.strip()}), language
    print("No word list is installed (package wngerman): a few words stand in for it.")
    return ["Maß", "Masse", "Mühe", "Müll", "Müller", "mühelos", "Zug"], "german"


def write_rows(path, words):
    source = random.Random(1)
    if len(words) > WORDS:
        words = source.sample(words, WORDS)
    with open(path, "w", encoding="utf-8") as file:
        for number, word in enumerate(words):
            day = FIRST_DAY + datetime.timedelta(days=source.randrange(DAYS))
            file.write(f"{number},{day},{word}\n")


def main():
    program = os.path.join(os.path.abspath(sys.argv[1]), "kvindex")
    folder = tempfile.mkdtemp(prefix="kvindex.")
    words, language = word_list()
    write_rows(os.path.join(folder, "words.csv"), words)
    commands = [
        ["create", "lmdb:words", "--schema", f"id:o_u4b,day:KvDate,name:KvString/{language}",
         "--key", "name,day", "--index", "day"],
        ["load", "lmdb:words", "words.csv"],
        ["query", "lmdb:words", "name like 'Mü%' and day >= 2020-01-01", "--limit", "5"],
        ["query", "lmdb:words", "day >= 2024-02-28 and day < 2024-03-01", "--explain"],
        ["query", "lmdb:words",
         "day >= 2024-01-01 and day < 2025-01-01 and name like 'S%'", "--explain"],
        ["verify", "lmdb:words"],
    ]
    try:
        for words in commands:
            print("$ kvindex " + " ".join(shlex.quote(word) for word in words), flush=True)
            if subprocess.run([program, *words], cwd=folder).returncode != 0:
                return 1
    finally:
        shutil.rmtree(folder)
    return 0


if __name__ == "__main__":
    sys.exit(main())
