#!/usr/bin/env python3
"""Puts faults into the sources, one at a time, and shows those that no test notices. ./dev mutate
runs it.

A fault is one token changed, or one early return, jump or call left out, in hand-written code. The
faults are spread over the lines of the sources, so that a folder gets its share by size. Each is put
into a copy of the tree under build/mutate, what it touches is built there, and the tests are run, the
quick ones first, until one fails. The outcome of a fault is one of

  seen            a test failed
  survives        every test passed: a test is missing, or the code is not needed
  same code       the programs and libraries are the same bytes as without it
  known           tests/without_effect.toml lists it, with the reason; it is not built

A fault that does not compile is replaced by another from its neighbourhood. The same N and SEED over
the same sources give the same faults. Exit status: 0 when none survives, 1 when one does.
"""
import argparse
import dataclasses
import hashlib
import json
import os
import random
import re
import resource
import shutil
import signal
import subprocess
import sys
import time
import tomllib
import xml.etree.ElementTree
from pathlib import Path

import together

ROOT = Path(__file__).resolve().parent.parent
WORK = ROOT / "build" / "mutate"
TREE = WORK / "tree"
LAST = WORK / "last.json"
KNOWN = ROOT / "tests" / "without_effect.toml"
FOLDERS = ("src/", "kvcore/", "platform/", "tools/", "engines/")
GENERATED = ("platform/zin/data/", "tools/mutants/")
QUICK_SECONDS = 3
ATTEMPTS = 12  # at faults that do not compile, for one that does
SPARE = 3  # faults of a stretch that are built together, should the first not compile

TOKEN = re.compile(r"""
    (?P<skip>  //[^\n]* | /\*.*?\*/ | ^[ \t]*\#(?:[^\n]*\\\n)*[^\n]*
             | R"(?P<fence>\w*)\(.*?\)(?P=fence)" | "(?:\\.|[^"\\\n])*" | '(?:\\.|[^'\\\n])+' )
  | (?P<number> 0[xX][0-9a-fA-F']+[uUlL]* | \d[\d']*(?:\.[\d']*(?:[eE][+-]?\d+)?[fF]?|[uUlL]*) )
  | (?P<word> [A-Za-z_]\w* )
  | (?P<sign> <<=|>>=|<=>|->|::|\+\+|--|&&|\|\||[-+*/%&|^<>=!]=|<<|>>|[^\s\w] )
""", re.VERBOSE | re.DOTALL | re.MULTILINE)

# A binary sign stands between blanks: clang-format sees to it, and so a bracket of a template, a
# pointer and a reference are told from it.
BINARY = {
    "bound": {"<": "<=", "<=": "<", ">": ">=", ">=": ">"},
    "equality": {"==": "!=", "!=": "=="},
    "arithmetic": {"+": "-", "-": "+", "*": "/", "/": "*", "%": "/", "+=": "-=", "-=": "+="},
    "bits": {"&": "|", "|": "&", "^": "&", "<<": ">>", ">>": "<<", "&=": "|=", "|=": "&="},
    "logic": {"&&": "||", "||": "&&"},
}
PREFIX = {"++": "--", "--": "++"}
WORDS = {"true": "false", "false": "true"}
KINDS = (*BINARY, "step", "not", "truth", "number", "return", "jump", "call")
BLOCKS = ("if", "else", "for", "while", "do")


@dataclasses.dataclass(frozen=True)
class Fault:
    file: str
    start: int
    end: int
    new: str
    kind: str
    line: int
    before: str
    after: str
    above: str  # the line before it

    @property
    def key(self):
        return self.file, self.before, self.after, self.above


class Source:
    """The tokens of one file, and the faults that can be put into it."""

    def __init__(self, file):
        self.file = file
        self.text = (ROOT / file).read_text()
        self.tokens = [found for found in TOKEN.finditer(self.text) if found.lastgroup != "skip"
                       and found["skip"] is None]
        self.words = [token.group() for token in self.tokens]
        self.partner = self.brackets()
        self.owner = self.blocks()

    def brackets(self):
        """The index of the bracket that belongs to each bracket."""
        partner, open_ones = {}, []
        for i, word in enumerate(self.words):
            if word in ("(", "[", "{"):
                open_ones.append(i)
            elif word in (")", "]", "}") and open_ones:
                partner[i] = open_ones.pop()
                partner[partner[i]] = i
        return partner

    def head(self, i):
        """The word that governs what begins at token i: `if` of `if (...)`, `else`, or ""."""
        before = i - 1
        if before < 0:
            return ""
        if self.words[before] == ")" and before in self.partner:
            before = self.partner[before] - 1
            if self.words[before] == "constexpr":
                before -= 1
        return self.words[before] if self.words[before] in BLOCKS else ""

    def blocks(self):
        """For each token the `{` of the innermost block around it, -1 outside all."""
        owner, open_ones = [], [-1]
        for i, word in enumerate(self.words):
            if word == "}" and len(open_ones) > 1:
                open_ones.pop()
            owner.append(open_ones[-1])
            if word == "{":
                open_ones.append(i)
        return owner

    def is_early(self, i):
        """Whether statement i leaves before the end of its function."""
        block = self.owner[i]
        return self.head(i) != "" or (block >= 0 and self.head(block) != "")

    def statement_end(self, i):
        while i < len(self.words) and self.words[i] != ";":
            if self.words[i] in ("(", "[", "{"):
                i = self.partner.get(i, i)
            i += 1
        return i

    def is_call(self, i):
        """Whether statement i is nothing but a call."""
        if i == 0 or not (self.words[i - 1] in (";", "{", "}") or self.head(i)):
            return False
        first = self.tokens[i]
        if first.lastgroup != "word" or self.words[i] in ("return", "static_assert", *BLOCKS):
            return False
        while self.words[i] != "(":
            if self.tokens[i].lastgroup != "word" and self.words[i] not in (".", "->", "::"):
                return False
            if self.tokens[i].lastgroup == "word" and self.tokens[i + 1].lastgroup == "word":
                return False
            i += 1
            if i + 1 >= len(self.words):
                return False
        return self.partner.get(i, -2) + 1 < len(self.words) and \
            self.words[self.partner.get(i, -2) + 1] == ";"

    def changes(self, i):
        """(kind, new text, last token) of each fault that begins at token i."""
        token, word = self.tokens[i], self.words[i]
        around = self.text[token.start() - 1:token.start()] + self.text[token.end():token.end() + 1]
        if around.isspace() and len(around) == 2:
            for kind, signs in BINARY.items():
                if word in signs:
                    yield kind, signs[word], i
        if word in PREFIX:
            yield "step", PREFIX[word], i
        if word == "!":
            yield "not", "", i
        if word in WORDS:
            yield "truth", WORDS[word], i
        if token.lastgroup == "number":
            yield from (("number", new, i) for new in neighbours(word))
        if word == "return" and self.is_early(i):
            yield "return", ";", self.statement_end(i)
        if word in ("break", "continue"):
            yield "jump", ";", self.statement_end(i)
        if self.is_call(i):
            yield "call", ";", self.statement_end(i)

    def faults(self):
        for i, token in enumerate(self.tokens):
            for kind, new, last in self.changes(i):
                if last < len(self.tokens):
                    yield self.fault(kind, token.start(), self.tokens[last].end(), new)

    def fault(self, kind, start, end, new):
        first = self.text.rfind("\n", 0, start) + 1
        last = self.text.find("\n", end)
        before = " ".join(self.text[first:last].split())
        after = " ".join((self.text[first:start] + new + self.text[end:last]).split())
        above = self.text[:first].rstrip().rpartition("\n")[2]
        return Fault(self.file, start, end, new, kind, self.text.count("\n", 0, start) + 1, before,
                     after, " ".join(above.split()))

    def code_lines(self):
        return sorted({self.text.count("\n", 0, token.start()) + 1 for token in self.tokens})


def neighbours(number):
    """A whole number one more and one less, in the same notation."""
    digits = number.rstrip("uUlL") if not number[:2].lower() == "0x" else \
        re.match("0[xX][0-9a-fA-F']+", number).group()
    suffix, plain = number[len(digits):], digits.replace("'", "")
    if "." in plain or "e" in plain.lower() and plain[:2].lower() != "0x":
        return []
    base = 16 if plain[:2].lower() == "0x" else 10
    value = int(plain, base)
    write = (lambda n: f"0x{n:0{len(plain) - 2}X}") if base == 16 else str
    return [write(n) + suffix for n in (value + 1, value - 1) if n >= 0]


# --- Choosing -------------------------------------------------------------------------------------


def tracked_files():
    listed = subprocess.run(["git", "ls-files", "-z", "-co", "--exclude-standard"], cwd=ROOT,
                            capture_output=True, text=True, check=True).stdout
    return sorted({name for name in listed.split("\0") if name and (ROOT / name).is_file()})


def hand_written(files, under):
    return [name for name in files if name.startswith(FOLDERS) and not name.startswith(GENERATED)
            and name.endswith((".cpp", ".h")) and any(name.startswith(part) for part in under)]


def spread(sources, kinds, count, dice):
    """For each of `count` equal stretches of code its faults in random order; one is to be tried."""
    by_line = {}
    for source in sources:
        for fault in source.faults():
            if fault.kind in kinds:
                by_line.setdefault((fault.file, fault.line), []).append(fault)
    lines = [(source.file, line) for source in sources for line in source.code_lines()]
    if count is None:
        return [[fault] for line in lines for fault in by_line.get(line, [])]
    stretches = []
    for i in range(count):
        stretch = [by_line[line] for line in
                   lines[i * len(lines) // count:(i + 1) * len(lines) // count] if line in by_line]
        dice.shuffle(stretch)
        stretches.append([dice.choice(faults) for faults in stretch])
    return stretches


class Known:
    """The faults that were found to be without effect: by file, line before and line after; by the
    line above too where the file has such a line more than once."""

    def __init__(self):
        entries = tomllib.loads(KNOWN.read_text()).get("fault", []) if KNOWN.exists() else []
        self.keys = set()
        for entry in entries:
            self.check(entry)
            self.keys.add((entry["file"], entry["before"], entry["after"], entry.get("above")))

    @staticmethod
    def check(entry):
        file = ROOT / entry["file"]
        text = " ".join(file.read_text().split()) if file.exists() else ""
        if not entry["why"].strip():
            sys.exit(f"mutate: {KNOWN.name}: no reason for {entry['after']!r}")
        count = text.count((entry["above"] + " " if "above" in entry else "") + entry["before"])
        if count != entry.get("times", 1):
            print(f"mutate: {KNOWN.name}: {entry['file']} has {count} times: {entry['before']}",
                  file=sys.stderr)

    def __contains__(self, fault):
        return fault.key in self.keys or (*fault.key[:3], None) in self.keys


# --- Building and testing --------------------------------------------------------------------------


def copy(tree, files, changed):
    """Makes a copy of the tree, but for the files whose text is in `changed`. What is equal keeps its
    time, so it is not rebuilt."""
    tree.mkdir(parents=True, exist_ok=True)
    wanted = set(files)
    for folder, names, found in os.walk(tree):
        if Path(folder) == tree and "build" in names:
            names.remove("build")
        for name in found:
            path = Path(folder) / name
            if str(path.relative_to(tree)) not in wanted:
                path.unlink()
    for name in files:
        source, target = ROOT / name, tree / name
        content = changed[name].encode() if name in changed else source.read_bytes()
        if target.exists() and target.read_bytes() == content:
            continue
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_bytes(content)
        shutil.copymode(source, target)


class Workshop:
    """The copy of the tree, its build, and its tests."""

    def __init__(self, preset, jobs, exclude, tests):
        self.preset, self.jobs, self.exclude, self.tests = preset, str(jobs), exclude, tests
        self.build_folder = TREE / "build" / preset
        self.hashes = {}
        self.sound = {}
        self.quick, self.slow, self.limit = [], [], 0

    def configure(self):
        # A test is not linked anew because a shared library has changed.
        options = ["-DCMAKE_COMPILE_WARNING_AS_ERROR=OFF", "-DCMAKE_CXX_FLAGS=-Werror=return-type",
                   "-DKV_BENCH=OFF", "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON"]
        if shutil.which("ccache"):
            options.append("-DCMAKE_CXX_COMPILER_LAUNCHER=ccache")
        self.must(["cmake", "--preset", self.preset, *options])

    def must(self, command):
        done = subprocess.run(command, cwd=TREE, capture_output=True, text=True)
        if done.returncode != 0:
            sys.exit(f"mutate: {' '.join(command)}\n{done.stdout}{done.stderr}")

    def build_command(self):
        """Builds everything, or the programs of the tests that were asked for."""
        targets = sorted({"kvtm" if name.startswith("script_") else f"test_{name}"
                          for name in self.tests})
        return ["cmake", "--build", str(self.build_folder), "-j", self.jobs,
                *(["--target", *targets] if targets else [])]

    def build(self):
        return subprocess.run(self.build_command(), cwd=TREE, capture_output=True).returncode == 0

    def products(self):
        """What was built, as {path: hash}."""
        result = {}
        for folder in ("bin", "lib"):
            for path in (self.build_folder / folder).rglob("*"):
                if path.is_symlink() or not path.is_file():
                    continue
                stamp = path.stat().st_mtime_ns
                if self.hashes.get(path, (None,))[0] != stamp:
                    self.hashes[path] = stamp, hashlib.sha1(path.read_bytes()).hexdigest()
                result[path] = self.hashes[path][1]
        return result

    def run_tests(self, names, timeout, stop=True):
        """{name: (seconds, passed)} of the tests that ran."""
        report = WORK / "tests.xml"
        report.unlink(missing_ok=True)
        command = ["ctest", "--test-dir", str(self.build_folder), "-j", self.jobs, "--timeout",
                   str(timeout), "--output-junit", str(report)]
        command += ["--stop-on-failure"] if stop else []
        command += ["-R", "^(" + "|".join(map(re.escape, names)) + ")$"] if names else []
        command += ["-E", self.exclude] if self.exclude else []
        subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, cwd=TREE,
                       preexec_fn=self.limits)
        cases = xml.etree.ElementTree.parse(report).getroot().iter("testcase")
        return {case.get("name"): (float(case.get("time")), case.get("status") != "fail")
                for case in cases if case.get("status") in ("run", "fail")}

    def limits(self):
        """A fault may make a loop that takes memory or disk for ever. Sanitizers map more memory than
        any limit, and so does a server of etcd, but from a file."""
        resource.setrlimit(resource.RLIMIT_FSIZE, (together.FILE, together.FILE))
        if self.preset == "native":
            resource.setrlimit(resource.RLIMIT_DATA, (8 << 30, resource.RLIM_INFINITY))

    def prepare(self):
        self.configure()
        self.must(self.build_command())
        self.sound = self.products()
        ran = self.run_tests(self.tests, 600, stop=False)
        failed = [name for name, (_, passed) in ran.items() if not passed]
        if failed or not ran:
            sys.exit(f"mutate: the tests fail without a fault: {' '.join(failed) or 'none ran'}")
        by_time = sorted(ran, key=lambda name: ran[name][0])
        self.quick = [name for name in by_time if ran[name][0] < QUICK_SECONDS]
        self.slow = [name for name in by_time if name not in self.quick]
        self.limit = int(20 + 10 * max(seconds for seconds, _ in ran.values()))

    def judge(self, fault):
        """(outcome, the tests that saw it); outcome "no build" when it does not compile."""
        path = TREE / fault.file
        text = (ROOT / fault.file).read_text()
        try:
            path.write_text(text[:fault.start] + fault.new + text[fault.end:])
            if not self.build():
                return "no build", []
            if self.products() == self.sound:
                return "same code", []
            for names in filter(None, (self.quick, self.slow)):
                ran = self.run_tests(names, self.limit)
                seen_by = sorted(name for name, (_, passed) in ran.items() if not passed)
                if seen_by:
                    return "seen", seen_by
            return "survives", []
        finally:
            path.write_text(text)


# --- Telling --------------------------------------------------------------------------------------


def say(message, lasting=True):
    """Progress: one line that is written over on a terminal, lines of a log elsewhere."""
    if sys.stderr.isatty():
        width = shutil.get_terminal_size().columns - 1
        print("\r\033[K" + message[:width], end="\n" if lasting else "", file=sys.stderr, flush=True)
    elif lasting:
        print(message, file=sys.stderr, flush=True)


def show(results, seed):
    survivors = [result for result in results if result["outcome"] in ("survives", "unreached")]
    for result in survivors:
        unreached = ", reached by no test" if result["outcome"] == "unreached" else ""
        print(f"{result['file']}:{result['line']}: {result['kind']}{unreached}\n"
              f"  - {result['before']}\n  + {result['after']}")
    count = {outcome: sum(result["outcome"] == outcome for result in results)
             for outcome in ("seen", "survives", "same code", "known", "unreached")}
    effective = count["seen"] + count["survives"]
    share = f", {100 * count['seen'] / effective:.0f} % of those with effect are seen" \
        if effective else ""
    print(f"{len(results)} faults (seed {seed}): {count['seen']} seen, {count['survives']} survive, "
          f"{count['same code'] + count['known']} without effect{share}")
    if count["unreached"]:
        print(f"{count['unreached']} are reached by no test of this build")
    return survivors


def arguments():
    parser = argparse.ArgumentParser(prog="./dev mutate", description=__doc__.split("\n\n")[0],
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("count", nargs="?", default="20", metavar="N",
                        help="faults to try (20), or 'all'")
    parser.add_argument("seeds", nargs="*", type=int, metavar="SEED",
                        help="which ones (the clock); with --together more than one sample")
    parser.add_argument("--together", action="store_true",
                        help="build all faults at once and switch on one after the other")
    parser.add_argument("--only-together", action="store_true",
                        help="as --together, but build none alone that cannot be switched")
    parser.add_argument("--kind", action="append", choices=KINDS, help="only faults of this kind")
    parser.add_argument("--under", action="append", metavar="PATH",
                        help="only in files whose path begins so, as src/kvstring/")
    parser.add_argument("--again", action="store_true", help="those that survived the last time")
    parser.add_argument("--test", action="append", metavar="NAME", default=[],
                        help="build and run only this test of ctest's, as string or script_test_kvtm")
    parser.add_argument("--exclude", metavar="REGEX", help="tests that are not run")
    parser.add_argument("--preset", default="native", choices=("native", "asan"))
    parser.add_argument("--list", action="store_true", help="show the faults, try none")
    parser.add_argument("--json", action="store_true", help="every fault and its outcome as JSON")
    parser.add_argument("-j", "--jobs", type=int, default=os.cpu_count())
    options = parser.parse_args()
    if options.count != "all" and not (options.count.isdigit() and int(options.count) > 0):
        parser.error(f"'{options.count}' is no number of faults")
    options.together |= options.only_together
    if options.together and (options.preset != "native" or options.test):
        parser.error("--together has a build and a choice of tests of its own")
    if len(options.seeds) > 1 and not options.together:
        parser.error("more than one seed needs --together")
    options.seeds = options.seeds or [int(time.time()) % 100000]
    return options


def choose(options, files, seed):
    sources = [Source(name) for name in hand_written(files, options.under or [""])]
    if options.again:
        last = {(each["file"], each["before"], each["after"], each["above"]) for each in
                json.loads(LAST.read_text())["faults"] if each["outcome"] in ("survives", "unreached")} \
            if LAST.exists() else set()
        return [[fault] for source in sources for fault in source.faults() if fault.key in last]
    count = None if options.count == "all" else int(options.count)
    return spread(sources, options.kind or KINDS, count, random.Random(seed))


def try_one(workshop, stretch, known):
    """The result of the first fault of a stretch that compiles, None when none does."""
    for fault in stretch[:ATTEMPTS]:
        began = time.monotonic()
        outcome, seen_by = ("known", []) if fault in known else workshop.judge(fault)
        if outcome != "no build":
            return {**dataclasses.asdict(fault), "outcome": outcome, "seen_by": seen_by,
                    "seconds": round(time.monotonic() - began, 1)}
    return None


def one_by_one(options, files, stretches, known):
    """Builds and tries a fault of each stretch alone."""
    workshop = Workshop(options.preset, options.jobs, options.exclude, options.test)
    say("building and testing without a fault")
    copy(TREE, files, {})
    workshop.prepare()
    results = []
    for i, stretch in enumerate(stretches):
        say(f"{i + 1} of {len(stretches)}: {stretch[0].file}:{stretch[0].line}", lasting=False)
        result = try_one(workshop, stretch, known)
        if result is None:
            continue
        results.append(result)
        say(f"{i + 1} of {len(stretches)}: {result['file']}:{result['line']} {result['kind']}: "
            f"{result['outcome']} {' '.join(result['seen_by'])}".rstrip())
    return results


def all_together(options, files, stretches, known):
    """Tries a fault of each stretch, all of them in one build; alone only what cannot be so tried:
    what no test reaches may be computed by the compiler, and a survivor may be the same code."""
    candidates = [stretch[:SPARE] for stretch in stretches]
    faults = sorted({fault for stretch in candidates for fault in stretch if fault not in known},
                    key=lambda fault: (fault.file, fault.start, fault.new))
    number = together.numbered(faults)
    fault_of = {number[fault]: fault for fault in faults}
    work = together.Together(WORK / "together", options.jobs, options.exclude, say)
    say(f"building with {len(faults)} faults")
    sources = [Source(name) for name in sorted({fault.file for fault in faults})]
    lost = work.prepare(files, sources, fault_of, copy)
    say("testing without a fault")
    work.measure(fault_of)
    outcomes = {fault: ("known", [], 0) for stretch in candidates for fault in stretch
                if fault in known}
    outcomes |= {fault_of[each]: ("no build", [], 0) for each in lost}
    try:
        try_in_turn(work, candidates, number, fault_of, outcomes)
    except KeyboardInterrupt:
        say("interrupted; this is what was tried")
        return [result for stretch in candidates if (result := chosen(stretch, outcomes))]
    results = [chosen(stretch, outcomes) for stretch in candidates]
    results = [result for result in results if result]
    if not options.only_together:
        results = try_rest_alone(options, files, results)
    return results


def try_in_turn(work, candidates, number, fault_of, outcomes):
    """Tries the first fault of each stretch, and the next one where that was none that compiles."""
    for place in range(SPARE):
        wanted = {number[stretch[place]] for stretch in candidates if len(stretch) > place
                  and stretch[place] not in outcomes
                  and all(outcomes[each][0] == "no build" for each in stretch[:place])}
        try_together(work, wanted, fault_of, outcomes)


def try_together(work, wanted, fault_of, outcomes):
    def done(number, outcome, seen_by):
        fault = fault_of[number]
        outcomes[fault] = outcome, seen_by, time.monotonic() - began
        say(f"{len(finished) + 1} of {len(wanted)}: {fault.file}:{fault.line} {fault.kind}: {outcome} "
            f"{' '.join(seen_by)}".rstrip())
        finished.append(number)

    finished, began = [], time.monotonic()
    work.judge_all(sorted(wanted), done)


def chosen(stretch, outcomes):
    for fault in stretch:
        outcome, seen_by, _ = outcomes.get(fault, ("no build", [], 0))
        if outcome != "no build":
            return {**dataclasses.asdict(fault), "outcome": outcome, "seen_by": seen_by}
    return None


def try_rest_alone(options, files, results):
    rest = [result for result in results if result["outcome"] in ("survives", "unreached")]
    if not rest:
        return results
    stretches = [[Fault(**{field.name: result[field.name] for field in dataclasses.fields(Fault)})]
                 for result in rest]
    alone = {(each["file"], each["start"], each["new"]): each
             for each in one_by_one(options, files, stretches, set())}
    # What does not even compile alone was no fault; the compiler saw it.
    kept = [result for result in results if result not in rest]
    return kept + [alone[key] for result in rest
                   if (key := (result["file"], result["start"], result["new"])) in alone]


def main():
    signal.signal(signal.SIGTERM, signal.default_int_handler)
    options = arguments()
    files = tracked_files()
    samples = {seed: [stretch for stretch in choose(options, files, seed) if stretch]
               for seed in options.seeds}
    stretches = [stretch for sample in samples.values() for stretch in sample]
    if options.list:
        for stretch in stretches:
            fault = stretch[0]
            print(f"{fault.file}:{fault.line}: {fault.kind}\n  - {fault.before}\n  + {fault.after}")
        return 0
    if not stretches:
        print("mutate: there is no such fault to try")
        return 0
    attempt = all_together if options.together else one_by_one
    results = attempt(options, files, stretches, Known())
    seeds = ", ".join(map(str, options.seeds))
    report = {"seed": seeds, "count": options.count, "faults": results}
    LAST.parent.mkdir(parents=True, exist_ok=True)
    LAST.write_text(json.dumps(report, indent=1) + "\n")
    if options.json:
        print(json.dumps(report, indent=1))
        return int(any(result["outcome"] in ("survives", "unreached") for result in results))
    return 1 if show(results, seeds) else 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except KeyboardInterrupt:
        sys.exit(130)
