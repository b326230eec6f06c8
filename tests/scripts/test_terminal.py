"""What a person sees on a terminal of 30, 80 and 200 columns, by tmux: progress that fits and goes
away, records in colour, and nothing of either in a pipe."""
import os
import re
import shlex
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

from program import KVTM, kvtm

KVINDEX = Path(KVTM).with_name("kvindex")
WIDTHS = (30, 80, 200)
SCHEMA = "id:o_u4b,day:KvDate,name:KvString"
DAMAGED = "2a000000 07e8021d 0700010153fc6400ff"
REMARK = "no such date or time; would be 2024-02-29 in the other byte order"
COLOUR = re.compile(r"\x1b\[[0-9;]*m")


@unittest.skipUnless(shutil.which("tmux"), "no tmux")
class Terminal(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder, True)
        self.environment = {**os.environ, "TMUX_TMPDIR": str(self.folder), "LC_ALL": "C.UTF-8"}
        self.environment.pop("NO_COLOR", None)
        self.servers = 0

    def tmux(self, *arguments):
        return subprocess.run(["tmux", "-u", "-f", "/dev/null", "-L", str(self.servers), *arguments],
                              env=self.environment, capture_output=True, text=True, timeout=60,
                              check=True).stdout

    def run_in(self, width, *command, to="", **variables):
        """Runs a command in a terminal. Returns every byte that it wrote there and the last screen,
        with its colours."""
        raw = self.folder / "raw"
        raw.write_bytes(b"")
        self.servers += 1  # one that was told to end may still be ending
        settings = " ".join(f"{name}={value}" for name, value in variables.items())
        line = f"env {settings} {shlex.join(map(str, command))} {to}"
        self.tmux("new-session", "-d", "-x", str(width), "-y", "24",
                  f"tmux wait-for go; {line}; tmux wait-for -S done; sleep 60")
        try:
            self.tmux("pipe-pane", f"cat > {shlex.quote(str(raw))}")
            self.tmux("wait-for", "-S", "go")
            self.tmux("wait-for", "done")
            screen = self.tmux("capture-pane", "-e", "-p")
        finally:
            self.tmux("kill-server")
        return raw.read_bytes().decode(), screen.rstrip("\n")

    def drawn(self, raw, width):
        """The texts of a progress line, each of which must fit the width."""
        texts = [text.replace("\x1b[K", "").replace("\n", "") for text in raw.split("\r")]
        for text in filter(None, texts):
            self.assertLess(len(text), width, text)
        return [text for text in texts if "%" in text]

    @unittest.skipUnless(KVINDEX.exists(), "kvindex is not built")
    def test_a_load_tells_the_time_left(self):
        lines = self.folder / "lines.csv"
        lines.write_text("id\n" + "".join(f"{number}\n" for number in range(300000)))
        for width in WIDTHS:
            with self.subTest(width):
                store = f"lmdb:{self.folder}/{width}"
                subprocess.run([KVINDEX, "create", store, "--schema", "id:o_u4b", "--key", "id"],
                               check=True, capture_output=True)
                raw, screen = self.run_in(width, KVINDEX, "load", store, lines, to="> /dev/null")
                shown = self.drawn(raw, width)
                self.assertTrue(shown)
                for text in shown:
                    self.assertRegex(text, r"\d+ %, \d+:\d\d left$")
                self.assertEqual("lines, " in shown[0], width >= 80)
                self.assertEqual(screen, "")

    def test_long_work_tells_how_far_it_is(self):
        numbers = "".join(f"{n * 7919 % 100003}\n" for n in range(200000))
        few = numbers[:7 * 30000].replace("\n", "-----\n")
        bytewise = ("sort", "KvString", "--op", "key-order")
        given, output = self.folder / "given", self.folder / "output"
        # The comparisons of 12,000 lines are too few to tell of.
        for content, shown, *command in ((numbers, ("reading", "sorting", "100%"), "sort", "Kv4B_T"),
                                         (few, ("sorting",), *bytewise),
                                         (few[:11 * 12000], (), *bytewise),
                                         ("x" * (1 << 26), ("bytes",), "convert", "--from", "1",
                                          "--to", "253")):
            given.write_text(content)
            raw, _ = self.run_in(80, KVTM, *command, given, to=f"> {output}")
            self.assertEqual([word for word in shown if word not in raw], [])
            self.assertEqual("sorting" in raw, "sorting" in shown)
            # What was drawn is erased, and no longer drawn it is not erased again.
            self.assertTrue(raw.endswith("\r\x1b[K"), raw[-80:])
            self.assertEqual(raw.count("\x1b[K"), 1)

    def test_records_are_in_colour_and_read_at_every_width(self):
        for width in WIDTHS:
            with self.subTest(width):
                _, screen = self.run_in(width, KVTM, "record", SCHEMA, DAMAGED)
                lines = screen.splitlines()
                self.assertLessEqual(max(len(COLOUR.sub("", line)) for line in lines), width)
                words = " ".join(COLOUR.sub("", screen).split())
                for text in (REMARK, "-6137-02-29", "0700010153fc6400ff", "Süd"):
                    self.assertIn(text, words)
                first, second = (next(line for line in lines if text in line)
                                 for text in ("2a000000", "07e8021d"))
                self.assertNotEqual(COLOUR.match(first)[0], COLOUR.match(second)[0])

    def test_a_table_that_just_fits_is_not_folded(self):
        lines = kvtm("record", SCHEMA, DAMAGED)[1].splitlines()
        table = [line[:lines[0].index("remarks")].rstrip() for line in lines]
        for shown in (table, lines):
            width = max(map(len, shown))
            for columns in (width, width - 1):
                _, screen = self.run_in(columns, KVTM, "record", SCHEMA, DAMAGED, NO_COLOR="1")
                seen = {line.rstrip() for line in screen.splitlines()}
                self.assertEqual(set(shown) <= seen, columns == width)

    def test_colours_where_they_are_wanted_alone(self):
        _, screen = self.run_in(200, KVTM, "record", SCHEMA, DAMAGED, NO_COLOR="1")
        self.assertNotRegex(screen, COLOUR)
        piped = kvtm("record", SCHEMA, DAMAGED)[1]
        self.assertEqual(screen, piped.rstrip("\n"))
        more = (SCHEMA + ",c:o_char[4]", DAMAGED + "41424344")
        _, screen = self.run_in(200, KVTM, "record", *more, NO_COLOR="")
        self.assertEqual(COLOUR.sub("", screen), kvtm("record", *more)[1].rstrip("\n"))
        self.assertEqual(re.findall(r"\x1b\[(1|3\d)m", screen),
                         ["36", "1", "31", "35", "32", "36", "33", "35"])


if __name__ == "__main__":
    unittest.main()
