"""The man page and the completions that a program writes of itself: well formed, complete, and
answering as a shell asks them."""
import re
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

from program import KVTM, kvtm

PROGRAMS = [program for program in (KVTM, str(Path(KVTM).with_name("kvindex")))
            if Path(program).exists()]


def output(*command, **options):
    return subprocess.run(command, capture_output=True, text=True, timeout=60, **options)


class Manual(unittest.TestCase):
    def page(self, program):
        done = output(program, "help", "--man")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return done.stdout

    @unittest.skipUnless(shutil.which("mandoc"), "no mandoc")
    def test_the_man_page_is_well_formed(self):
        for program in PROGRAMS:
            done = output("mandoc", "-Tlint", "-W", "warning", input=self.page(program))
            self.assertEqual((done.returncode, done.stdout), (0, ""))

    @unittest.skipUnless(shutil.which("mandoc"), "no mandoc")
    def test_the_man_page_tells_what_the_help_tells(self):
        for program in PROGRAMS:
            shown = output("mandoc", "-Tutf8", "-Owidth=200", input=self.page(program)).stdout
            shown = re.sub(r".\x08", "", shown)
            told = output(program, "--help").stdout
            for name in re.findall(r"^  (\w+)  ", told[told.index("COMMANDS"):], re.M):
                text = output(program, "help", name).stdout
                examples = text.partition("\nExamples:\n")[2].partition("\nOptions:\n")[0]
                lost = [line for line in examples.splitlines() if line.strip() not in shown]
                self.assertEqual(lost, [], name)


def bash_answers(script, *typed):
    """What bash would offer for the last of the words typed."""
    words = " ".join(f"'{word}'" for word in typed)
    done = output("bash", "-c", f"""
        compopt() {{ :; }}
        source '{script}'
        COMP_WORDS=({words}); COMP_CWORD={len(typed) - 1}
        _{typed[0]}
        printf '%s\\n' "${{COMPREPLY[@]}}" """)
    assert done.stderr == "", done.stderr
    return done.stdout.split()


class Completions(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = Path(tempfile.mkdtemp())
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        cls.script = cls.folder / "kvtm"
        cls.script.write_text(kvtm("help", "--completion", "bash")[1])

    def test_bash_is_asked(self):
        for expected, *typed in [
            (["sort"], "so"),
            (["KvDate", "KvDateTime", "KvDateTimeN"], "store", "KvDa"),
            (["--language"], "store", "KvString", "--lan"),
            (["Swedish"], "sort", "KvString", "--language", "Swe"),
            (["o_double"], "compare", "--op", "exact", "o_dou"),
            (["--json"], "types", "--js"),
            (["sort"], "help", "sor"),
            ([], "store", "KvDate", "2024"),
        ]:
            with self.subTest(typed):
                self.assertEqual(bash_answers(self.script, "kvtm", *typed), expected)

    @unittest.skipUnless(shutil.which("zsh"), "no zsh")
    def test_zsh_takes_it(self):
        script = self.folder / "_kvtm"
        script.write_text(kvtm("help", "--completion", "zsh")[1])
        done = output("zsh", "-n", str(script))
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        done = output("zsh", "-f", "-c", f"""
            compdef() {{ :; }}; compadd() {{ shift; print -l -- "$@"; }}
            source {script}
            words=(kvtm load o_); CURRENT=3; _kvtm; words=(kvtm sort KvString --op ''); CURRENT=5; _kvtm""")
        self.assertIn("o_double", done.stdout.split(), done.stderr)
        self.assertIn("ignore-case", done.stdout.split(), done.stderr)

    def test_the_help_lists_the_languages_that_there_are(self):
        listed = re.search(r"Languages: (.*?)\.\n", kvtm("help", "sort")[1], re.S).group(1)
        known = bash_answers(self.script, "kvtm", "sort", "KvString", "--language", "")
        self.assertEqual([name.split()[-1] for name in listed.replace("\n", " ").split(", ")], known)

    def test_no_other_shell(self):
        self.assertEqual(kvtm("help", "--completion", "csh")[0], 2)


if __name__ == "__main__":
    unittest.main()
