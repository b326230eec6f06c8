"""The committed tables of the internationalisation library are what their generator makes, and a
new language is an entry of its table and nothing else."""

import os
import subprocess
import sys

UNICODE = "/usr/share/unicode"

if not os.path.exists(os.path.join(UNICODE, "UnicodeData.txt")):
    print("the Unicode character data (package unicode-data) is not installed: not compared")
    sys.exit(0)

generator = os.path.join(os.environ["KV_SOURCE_DIR"], "platform/zin/data/generate.py")
sys.path.insert(0, os.path.dirname(generator))
import generate  # noqa: E402

characters = generate.Characters(UNICODE)
base = generate.base_orders(characters)
entry = generate.Language(19, "et", "Estonian", "š S+1, ž Z+1, õ W+1, ä W+2", "æ 29, å 31")
new = [(each, generate.Tailoring(characters, base, each)) for each in (generate.LANGUAGES[0], entry)]
table = generate.word_mark_table(new)
if "kWordMarks[3]" not in table:
    sys.exit("no table for a language without a list of words: " + table[:80])
sys.exit(subprocess.run([sys.executable, generator, "--check", "--unicode", UNICODE]).returncode)
