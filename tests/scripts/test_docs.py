"""The pages say what the programs do: console blocks are run, programs in C++ are compiled and run.

Fences: ```console is run and compared. ```cpp and ```c are compiled and run when they hold a main
function.
Everything else (other languages, drawings without one) is for reading only.
"""
import os
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from program import KVTM, SOURCE, KvtmTest

sys.path.insert(0, str(Path(SOURCE) / "tools"))
import tour  # noqa: E402

PROGRAMS = str(Path(KVTM).resolve().parent)
PAGES = sorted([Path(SOURCE) / "README.md", Path(SOURCE) / "CONTRIBUTING.md",
                *(Path(SOURCE) / "docs").glob("*.md")])


def matches(expected, printed):
    """Whether the lines are as expected, "..." standing for any lines."""
    pattern = "".join(".*" if line == "..." else re.escape(line) + "\n" for line in expected)
    return re.fullmatch(pattern, printed, re.S) is not None


class Pages(KvtmTest):
    def check(self, command, expected):
        printed = tour.run(command, PROGRAMS)
        if not matches(expected, printed):
            self.assertEqual(printed, "\n".join(expected) + "\n", command)

    def test_console_blocks(self):
        for page in PAGES:
            for kind, content in tour.pieces(page.read_text(encoding="utf-8")):
                for command, expected in content if kind == "console" else []:
                    with self.subTest(page=page.name, command=command):
                        self.check(command, expected)

    def test_examples_in_the_help(self):
        for command in re.findall(r"^  (\w+)  ", self.good("--help"), re.M):
            try:
                text = self.good("help", command)
            except AssertionError:
                continue  # a heading of the manual, not a command
            example = None
            for line in text.partition("\nExamples:\n")[2].partition("\n\n")[0].splitlines() + ["$"]:
                if line.startswith("  $ ") or line == "$":
                    if example:
                        with self.subTest(command=example[0]):
                            self.check(*example)
                    example = (line[4:], [])
                else:
                    example[1].append(line[2:])

    def test_made_parts_are_as_they_would_be_made(self):
        done = subprocess.run([sys.executable, str(Path(SOURCE) / "tools" / "pages.py"), KVTM,
                               "--check"], capture_output=True, text=True)
        self.assertEqual((done.returncode, done.stdout + done.stderr), (0, ""),
                         "run tools/pages.py with the path of kvtm")

    def test_links_between_pages(self):
        for page in PAGES:
            for target in re.findall(r"\]\(([^)#]+)[^)]*\)", page.read_text(encoding="utf-8")):
                if "://" not in target:
                    self.assertTrue((page.parent / target).exists(), f"{page.name}: {target}")

    def run_program(self, source, language):
        """Compiles a program of a page against the built libraries, and runs it."""
        flags = ["-fsigned-char"] + (["-m32"] if os.environ.get("KV_ABI32") == "ON" else [])
        if os.environ.get("KV_SANITIZE"):
            flags += [f"-fsanitize={os.environ['KV_SANITIZE']}"]
        libraries = str(Path(os.environ["KV_BUILD_DIR"]) / "lib")
        compiler = os.environ.get("CXX", "c++")
        command = [compiler, "-std=c++20", *os.environ.get("KV_CXX_FLAGS", "").split()] if (
            language == "cpp") else [
            compiler.replace("clang++", "clang").replace("g++", "gcc").replace("c++", "cc"),
            "-std=c99", "-pedantic-errors", "-x", "c"]
        links = ["-lZM140Ztm142", "-lZM140Zbs142", "-lZM140Zin142"]
        with tempfile.TemporaryDirectory() as folder:
            file = Path(folder) / f"program.{language}"
            file.write_text(source, encoding="utf-8")
            program = str(Path(folder) / "program")
            includes = [f"-I{Path(SOURCE) / folder}" for folder in
                        ("kvcore/inc", "platform/zbs/inc", "platform/zin/inc", "bindings/c")]
            done = subprocess.run(
                [*command, *flags, *includes, str(file), "-x", "none", "-o", program,
                 f"-L{libraries}", f"-Wl,-rpath,{libraries}", f"-Wl,-rpath-link,{libraries}",
                 *(links if language == "cpp" else ["-lkvc"])], capture_output=True, text=True)
            self.assertEqual(done.returncode, 0, done.stderr)
            subprocess.run([program], check=True, stdout=subprocess.DEVNULL)

    def test_programs(self):
        has_kvc = (Path(os.environ["KV_BUILD_DIR"]) / "lib" / "libkvc.so").exists()
        for page in PAGES:
            for language, source in re.findall(r"^```(cpp|c)\n(.*?)^```",
                                               page.read_text(encoding="utf-8"), re.S | re.M):
                if "int main" not in source or (language == "c" and not has_kvc):
                    continue
                with self.subTest(page=page.name, language=language):
                    self.run_program(source, language)


if __name__ == "__main__":
    unittest.main()
