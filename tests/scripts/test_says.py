"""What the programs say, word by word: the pages in says/.

On a page a line that begins with "$ " is a command; what it prints on both streams follows, and its
exit status in brackets unless that is 0. The commands of a page run one after the other in a folder
of their own. `test_says.py --write`, with kvtm in KVTM, writes the pages anew."""
import ctypes
import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from program import KVTM, SOURCE, KvtmTest

sys.path.insert(0, str(Path(SOURCE) / "tools"))
import tour  # noqa: E402

PROGRAMS = Path(KVTM).resolve().parent
END = "\n#### end of a command\n"


def checks():
    """Settings under which the C library ends a program that wrote behind a block of the heap."""
    native = Path(KVTM).read_bytes().startswith(b"\x7fELF") and os.environ.get("KV_ABI32") != "ON"
    try:
        ctypes.CDLL("libc_malloc_debug.so.0")
    except OSError:
        native = False
    if not native or os.environ.get("KV_SANITIZE"):
        return {}
    return {"LD_PRELOAD": "libc_malloc_debug.so.0", "MALLOC_CHECK_": "3"}


def said(commands):
    """What each command prints, in one shell."""
    script = "exec 2>&1\n" + "".join(
        f"{command}\nstatus=$?; (( status == 0 )) || echo [$status]\nprintf '{END}'\n"
        for command in commands)
    with tempfile.TemporaryDirectory() as folder:
        done = subprocess.run(["bash", "-c", script], cwd=folder, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, timeout=300, env={
                                  **os.environ, **checks(), "LC_ALL": "C.UTF-8",
                                  "PATH": f"{PROGRAMS}{os.pathsep}{os.environ['PATH']}"})
    return done.stdout.decode("utf-8", "replace").split(END)[:-1]


def pages():
    """(page, its commands with what is expected of each)"""
    for page in sorted((Path(__file__).parent / "says").glob("*.md")):
        if (PROGRAMS / page.stem).exists():  # kvindex is not built everywhere
            yield page, [pair for kind, content in tour.pieces(page.read_text(encoding="utf-8"))
                         if kind == "console" for pair in content]


def shown(text):
    return text.replace("\r", "\\r").splitlines()


class Says(KvtmTest):
    def test_pages(self):
        for page, pairs in pages():
            printed = said([command for command, _ in pairs])
            self.assertEqual(len(printed), len(pairs), page.name)
            for (command, expected), each in zip(pairs, printed):
                with self.subTest(command):
                    self.assertEqual(shown(each), expected)


def write():
    """Makes the pages say what the programs say now; somebody has to read the difference."""
    for page, pairs in pages():
        printed = iter(said([command for command, _ in pairs]))
        with open(page, "r+", encoding="utf-8") as file:
            pieces = tour.pieces(file.read())
            file.seek(0)
            for kind, content in pieces:
                lines = content if kind == "text" else ["```console", *(
                    line for command, _ in content
                    for line in ["$ " + command, *shown(next(printed))]), "```"]
                file.writelines(line + "\n" for line in lines)
            file.truncate()


if __name__ == "__main__":
    write() if "--write" in sys.argv else unittest.main()
