"""The committed tables of the internationalisation library are what their generator makes."""

import os
import subprocess
import sys

UNICODE = "/usr/share/unicode"

if not os.path.exists(os.path.join(UNICODE, "UnicodeData.txt")):
    print("the Unicode character data (package unicode-data) is not installed: not compared")
    sys.exit(0)

generator = os.path.join(os.environ["KV_SOURCE_DIR"], "platform/zin/data/generate.py")
sys.exit(subprocess.run([sys.executable, generator, "--check", "--unicode", UNICODE]).returncode)
