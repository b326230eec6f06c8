"""Many faults in one build: each is compiled in, and KV_MUTANT in the environment switches one on.

`./dev mutate --together` uses it. Building is most of what a fault costs when it is built alone; here
a fault costs the tests that reach it, one after the other until one fails. A first run without a
fault records what each test reaches: a test is one case of a doctest program, one method of a script.

Two sorts of faults cannot be switched: those in what the compiler computes, and those in code that
this build does not contain. No test reaches them, and they are told as such.
"""
import concurrent.futures
import dataclasses
import itertools
import json
import os
import re
import resource
import shutil
import signal
import subprocess
import sys
import threading
import time
from collections import defaultdict
from pathlib import Path

HERE = Path(__file__).resolve().parent / "mutants"
ASSIGN = ("=", "+=", "-=", "*=", "/=", "%=", "&=", "|=", "^=", "<<=", ">>=")
LEFT_OF_OPERAND = (";", "{", "}", "(", "[", ",", "?", ":", "return", "case", "else", "do", "throw",
                   "co_return", *ASSIGN)
RIGHT_OF_OPERAND = (";", ")", "]", "}", ",", "?", ":", *ASSIGN)
SWITCHED = "::kvmutant::On({})"
ROOM = 32
UNBUILDABLE = 8  # rounds of leaving out what does not compile
MEMORY = 8 << 30
FILE = 4 << 30  # bytes of a file: a fault may write for ever


# --- Writing the faults into a source ---------------------------------------------------------------


class Writer:
    """Writes faults into one source. Each becomes edits: text around a stretch, or in its place.
    No line is added, so that what the compiler says of a line is of the faults on it."""

    def __init__(self, source):
        self.source = source
        self.index = {token.start(): i for i, token in enumerate(source.tokens)}
        self.around = []  # (start, end, level, number of the edit, before, after)
        self.instead = {}  # start: (end, text)
        self.numbers = defaultdict(lambda: [0, 0])  # token: fault that adds one, that takes one

    def wrap(self, first, last, level, order, before, after):
        tokens = self.source.tokens
        self.wrap_text(tokens[first].start(), tokens[last].end(), level, order, before, after)

    def wrap_text(self, start, end, level, order, before, after):
        """Around text that may begin or end with a literal, which is no token here."""
        text = self.source.text[start:end]
        start, end = end - len(text.lstrip()), start + len(text.rstrip())
        self.around.append((start, end, level, order, before, after))

    def swap(self, i, text):
        self.instead[self.source.tokens[i].start()] = self.source.tokens[i].end(), text

    def add(self, fault, number):
        i = self.index[fault.start]
        word = self.source.words[i]
        if fault.kind in ("return", "jump", "call"):
            self.wrap(i, self.source.statement_end(i), 0, -i,
                      "{ if (!" + SWITCHED.format(number) + ") ", " }")
        elif fault.kind == "logic":
            self.add_logic(i, word, number)
        elif fault.kind == "step":
            self.add_step(i, word, number)
        elif fault.kind == "not":
            self.wrap(i, self.operand_end(i + 1), 3, -i, f"({SWITCHED.format(number)} != ", ")")
        elif fault.kind == "truth":
            self.wrap(i, i, 3, -i, f"({SWITCHED.format(number)} != ", ")")
        elif fault.kind == "number":
            self.numbers[i][0 if whole(fault.new) > whole(word) else 1] = number
        else:
            self.swap(i, f"{word} ::kvmutant::Sign{{{number}}} {word}")

    def add_logic(self, i, word, number):
        """`a && b` asks b when a is true and is false otherwise; `a || b` the other way round."""
        begin, end = self.left_operand(i), self.right_operand(i)
        sign = self.source.tokens[i]
        on = SWITCHED.format(number)
        level = 1 if word == "||" else 2
        self.wrap_text(begin, end, level, -2 * i, "(", f" : {on})" if word == "&&" else f" : !{on})")
        for start, stop in ((begin, sign.start()), (sign.end(), end)):
            self.wrap_text(start, stop, level, -2 * i + 1, "static_cast<bool>(", ")")
        self.swap(i, f"{'!=' if word == '&&' else '=='} {on} ?")

    def add_step(self, i, word, number):
        name = "Up" if word == "++" else "Down"
        if self.is_after(i):
            first = self.operand_begin(i - 1)
            self.wrap(first, i, 3, -i, f"::kvmutant::{name}After({number}, ", ")")
        else:
            self.wrap(i, self.operand_end(i + 1), 3, -i, f"::kvmutant::{name}Before({number}, ", ")")
        self.swap(i, "")

    def is_after(self, i):
        token, word = self.source.tokens[i - 1], self.source.words[i - 1]
        if self.source.head(i):
            return False
        return word in (")", "]") or token.lastgroup == "word" and word != "return"

    def left_operand(self, i):
        """Where the text of the left operand of && or || begins."""
        words, partner = self.source.words, self.source.partner
        stops = (*LEFT_OF_OPERAND, *(("||",) if words[i] == "&&" else ()))
        i -= 1
        while i >= 0:
            if words[i] in (")", "]", "}") and i in partner:
                i = partner[i] - 1
            elif words[i] in stops:
                break
            else:
                i -= 1
        return self.source.tokens[i].end() if i >= 0 else 0

    def right_operand(self, i):
        """Where the text of the right one ends."""
        words, partner = self.source.words, self.source.partner
        stops = (*RIGHT_OF_OPERAND, "||", *(("&&",) if words[i] == "&&" else ()))
        i += 1
        while i < len(words) and words[i] not in stops:
            i = partner.get(i, i) + 1 if words[i] in ("(", "[", "{") else i + 1
        return self.source.tokens[i].start()

    def operand_end(self, i):
        """The last token of the operand of a sign before it."""
        words, partner, text = self.source.words, self.source.partner, self.source.text
        while words[i] in ("!", "*", "&", "-", "~", "+", "++", "--"):
            i += 1
        if words[i] == "(":
            i = partner[i]
        while i + 1 < len(words):
            after = words[i + 1]
            if after in ("(", "["):
                i = partner[i + 1]
            elif after in (".", "->", "::"):
                i += 2
            elif after == "<" and not text[self.source.tokens[i + 1].start() - 1].isspace():
                i = self.template_end(i + 1)
            else:
                break
        return i

    def template_end(self, i):
        depth = 0
        while i + 1 < len(self.source.words):
            depth += {"<": 1, ">": -1, ">>": -2}.get(self.source.words[i], 0)
            if depth <= 0:
                break
            i += 1
        return i

    def operand_begin(self, i):
        """The first token of the operand of a sign after it."""
        words, partner = self.source.words, self.source.partner
        while i > 0:
            if words[i] in (")", "]"):
                i = partner[i]
                if words[i - 1] in (")", "]") or self.source.tokens[i - 1].lastgroup == "word":
                    i -= 1
                    continue
            if words[i - 1] not in (".", "->", "::"):
                break
            i -= 2
        return i

    def written(self):
        for i, (more, less) in self.numbers.items():
            self.wrap(i, i, 4, -i, f"::kvmutant::Number({more}, {less}, ", ")")
        # What stands around the same stretch nests by level, then by order.
        opens, closes = defaultdict(list), defaultdict(list)
        for edit in self.around:
            opens[edit[0]].append(edit)
            closes[edit[1]].append(edit)
        text, parts, at = self.source.text, [], 0
        for place in sorted({*opens, *closes, *self.instead}):
            parts.append(text[at:place])
            at = max(at, place)
            for edit in sorted(closes[place], key=lambda e: (e[0], e[2], e[3]), reverse=True):
                parts.append(edit[5])
            for edit in sorted(opens[place], key=lambda e: (-e[1], e[2], e[3])):
                parts.append(edit[4])
            if place in self.instead:
                at, new = self.instead[place]
                parts.append(new)
        return "".join(parts) + text[at:]


def whole(number):
    digits = number.replace("'", "").rstrip("uUlL")
    return int(digits, 16 if digits[:2].lower() == "0x" else 10)


def with_faults(source, numbered):
    """The text of a source with these (number, fault) written in, and its lines that they touch."""
    writer, lines = Writer(source), defaultdict(list)
    for number, fault in numbered:
        edits = len(writer.around)
        writer.add(fault, number)
        # An operand may begin lines before its sign and end lines behind it.
        begin = min([fault.start, *(edit[0] for edit in writer.around[edits:])])
        end = max([fault.end, *(edit[1] for edit in writer.around[edits:])])
        first = source.text.count("\n", 0, begin) + 1
        for line in range(first, first + source.text.count("\n", begin, end) + 1):
            lines[line].append(number)
    return writer.written(), lines


def numbered(faults):
    """{fault: number} from 1. Files have room between them, so that a fault more in one does not
    change the others, which would have to be compiled again."""
    number, result = 0, {}
    for file, group in itertools.groupby(faults, key=lambda fault: fault.file):
        number = (number // ROOM + 2) * ROOM
        for fault in group:
            number += 1
            result[fault] = number
    return result


# --- The tests, as small as they can be run ---------------------------------------------------------


@dataclasses.dataclass
class Unit:
    name: str
    command: list
    folder: str
    environment: dict
    seconds: float = 0.0
    reached: bytes = b""


def units_of(build):
    """Each case of a doctest program, each method of a script, and every other test whole."""
    listed = subprocess.run(["ctest", "--test-dir", str(build), "--show-only=json-v1"],
                            capture_output=True, text=True, check=True).stdout
    found = []
    for test in json.loads(listed)["tests"]:
        if "command" not in test:
            continue
        properties = {each["name"]: each["value"] for each in test.get("properties", [])}
        environment = dict(each.split("=", 1) for each in properties.get("ENVIRONMENT", []))
        folder = properties.get("WORKING_DIRECTORY", str(build))
        whole_test = Unit(test["name"], test["command"], folder, environment)
        found += list(cases(whole_test)) or [whole_test]
    return found


def cases(test):
    program = Path(test.command[-1])
    if len(test.command) == 1 and program.name.startswith("test_"):
        listed = subprocess.run([*test.command, "--list-test-cases", "--no-version"],
                                capture_output=True, text=True).stdout
        counted = re.search(r"test cases passing the current filters: (\d+)", listed)
        for i in range(1, int(counted[1]) + 1 if counted else 1):
            yield dataclasses.replace(test, name=f"{test.name}:{i}",
                                      command=[*test.command, f"--first={i}", f"--last={i}"])
    elif program.suffix == ".py" and "unittest.main()" in program.read_text():
        suite = ""
        for line in program.read_text().splitlines():
            if found := re.match(r"class (\w+)", line):
                suite = found[1]
            elif found := re.match(r"    def (test_\w+)", line):
                yield dataclasses.replace(test, name=f"{test.name}:{found[1]}",
                                          command=[*test.command, f"{suite}.{found[1]}"])


def run_unit(unit, more, timeout):
    """(passed, seconds); what it started ends with it."""
    began = time.monotonic()
    process = subprocess.Popen(unit.command, cwd=unit.folder, stdin=subprocess.DEVNULL,
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                               env={**os.environ, **unit.environment, **more},
                               start_new_session=True)
    try:
        passed = process.wait(timeout) == 0
    except subprocess.TimeoutExpired:
        passed = False
    finally:
        try:
            os.killpg(process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        process.wait()
    return passed, time.monotonic() - began


def limit_resources():
    """Of this process and all that it starts; one by one would cost a copy of it for each test."""
    # What is mapped from a file does not count: a server of etcd maps more than any limit.
    for what, most in ((resource.RLIMIT_DATA, MEMORY), (resource.RLIMIT_FSIZE, FILE),
                       (resource.RLIMIT_CORE, 0)):
        resource.setrlimit(what, (most, resource.getrlimit(what)[1]))


# --- The build ---------------------------------------------------------------------------------------


class Together:
    """A copy of the tree with the faults in it, built and tried."""

    def __init__(self, folder, jobs, exclude, say):
        self.tree, self.build_folder = folder / "tree", folder / "tree" / "build" / "mutants"
        self.runtime = folder / "libmutants.so"
        self.reached_files = folder / "reached"
        self.jobs, self.exclude, self.say = jobs, exclude, say
        self.units, self.by_fault = [], defaultdict(list)
        self.killers = []
        self.lock = threading.Lock()

    def prepare(self, files, sources, faults, copy):
        """Builds with the faults, {number: fault}; returns the numbers that would not compile."""
        lost = set()
        by_file = defaultdict(list)
        for number, fault in faults.items():
            by_file[fault.file].append((number, fault))
        plain = {source.file: source for source in sources}
        self.reached_files.mkdir(parents=True, exist_ok=True)
        self.make_runtime()
        for _ in range(UNBUILDABLE):
            lines, written = {}, {}
            for file, numbered in by_file.items():
                kept = [each for each in numbered if each[0] not in lost]
                written[file], lines[file] = with_faults(plain[file], kept)
            copy(self.tree, files, written)
            output = self.build()
            if output is None:
                return lost
            more = self.blamed(output, lines) - lost
            if not more:
                sys.exit(f"mutate: does not build:\n{output[-6000:]}")
            self.say(f"{len(more)} faults do not compile and are left out")
            lost |= more
        sys.exit("mutate: too much does not compile")

    def make_runtime(self):
        built = subprocess.run([os.environ.get("CXX", "g++"), "-O1", "-shared", "-fPIC",
                                str(HERE / "mutants.cpp"), "-o", str(self.runtime)])
        if built.returncode != 0:
            sys.exit("mutate: tools/mutants does not build")

    def build(self):
        """None when it builds, else what the compiler said."""
        # -O1: what is run briefly pays for no more. -fsanitize=return tells of faults that a compiler
        # would refuse, by the runtime's own handler.
        flags = f"-w -fsanitize=return -include {HERE / 'mutants.h'}"
        options = ["-G", "Ninja", "-DCMAKE_BUILD_TYPE=Mutants", "-DCMAKE_CXX_FLAGS_MUTANTS=-O1",
                   f"-DCMAKE_CXX_FLAGS={flags}", f"-DCMAKE_CXX_STANDARD_LIBRARIES={self.runtime}",
                   f"-DCMAKE_C_STANDARD_LIBRARIES={self.runtime}", "-DKV_BENCH=OFF",
                   "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON", "-DCMAKE_COMPILE_WARNING_AS_ERROR=OFF"]
        if shutil.which("ccache"):
            options.append("-DCMAKE_CXX_COMPILER_LAUNCHER=ccache")
        made = subprocess.run(["cmake", "-S", str(self.tree), "-B", str(self.build_folder), *options],
                              capture_output=True, text=True)
        if made.returncode != 0:
            sys.exit(f"mutate: {made.stdout}{made.stderr}")
        done = subprocess.run(["cmake", "--build", str(self.build_folder), "-j", str(self.jobs), "--",
                               "-k", "0"], capture_output=True, text=True)
        return None if done.returncode == 0 else done.stdout + done.stderr

    def blamed(self, output, lines):
        """The faults on the lines that the compiler names, or where a statement that begins there goes
        on; those it merely came from, if none is."""
        # An intrinsic whose argument is no constant is told of where the statement was inlined.
        output = re.sub(r"^In function .*\n +inlined from .* at (\S+?:\d+:)", r"\1 error", output,
                        flags=re.MULTILINE)
        places = {"error": set(), "required from": set()}
        for found in re.finditer(r"^(\S+?):(\d+):(?:\d+:)? +(error|\s*required from)", output,
                                 re.MULTILINE):
            file = os.path.relpath(os.path.join(self.build_folder, found[1]), self.tree)
            first = int(found[2])
            place = next((line for line in range(first, first + 4) if line in lines.get(file, {})), None)
            if place == first or (place is not None and found[3] == "error"):
                places[found[3].strip()].update(lines[file][place])
        return places["error"] or places["required from"]

    # --- Trying ---

    def measure(self, faults):
        """Runs every test without a fault, and keeps what each reaches."""
        limit_resources()
        count = max(faults)
        units = [unit for unit in units_of(self.build_folder)
                 if not (self.exclude and re.search(self.exclude, unit.name))]
        with concurrent.futures.ThreadPoolExecutor(self.jobs) as pool:
            kept = list(pool.map(lambda unit: self.measure_one(unit, count), units))
        failed = [unit.name for unit, fine in zip(units, kept) if not fine]
        if failed:
            self.say(f"not used, they fail in this build: {' '.join(failed)}")
        self.units = [unit for unit, fine in zip(units, kept) if fine]
        for unit in sorted(self.units, key=lambda unit: unit.seconds):
            for number in faults:
                if unit.reached[number]:
                    self.by_fault[number].append(unit)

    def measure_one(self, unit, count):
        path = self.reached_files / re.sub(r"\W", "_", unit.name)
        path.write_bytes(bytes(count + 1))
        passed, unit.seconds = run_unit(unit, {"KV_MUTANT_REACHED": str(path)}, 600)
        unit.reached = path.read_bytes()
        path.unlink()
        return passed

    def judge(self, number):
        """(outcome, the tests that saw it)"""
        units = self.by_fault[number]
        if not units:
            return "unreached", []
        # What saw the faults before this one most likely sees it too: they are neighbours.
        with self.lock:
            recent = {id(unit): place for place, unit in enumerate(self.killers[-12:])}
        order = sorted(units, key=lambda unit: (unit.seconds > 3, -recent.get(id(unit), -1),
                                                unit.seconds))
        marks = self.reached_files / f"fault_{number}"
        marks.write_bytes(bytes(number + 1))
        try:
            for unit in order:
                passed, _ = run_unit(unit, {"KV_MUTANT": str(number)}, 3 + 10 * unit.seconds)
                if not passed:
                    return self.seen(unit, number, marks)
            return "survives", []
        finally:
            marks.unlink()

    def seen(self, unit, number, marks):
        """A test that fails because control fell off a function shows no fault that compiles."""
        big = bytes(max(number + 1, len(unit.reached)))
        marks.write_bytes(big)
        run_unit(unit, {"KV_MUTANT": str(number), "KV_MUTANT_REACHED": str(marks)},
                 3 + 10 * unit.seconds)
        if marks.read_bytes()[0]:
            return "no build", []
        with self.lock:
            if unit in self.killers:
                self.killers.remove(unit)
            self.killers.append(unit)
        return "seen", [unit.name]

    def judge_all(self, numbers, done):
        """Tries these faults and calls done(number, outcome, seen_by) for each."""
        with concurrent.futures.ThreadPoolExecutor(self.jobs) as pool:
            running = {pool.submit(self.judge, number): number for number in numbers}
            try:
                for each in concurrent.futures.as_completed(running):
                    done(running[each], *each.result())
            except KeyboardInterrupt:
                pool.shutdown(wait=False, cancel_futures=True)
                raise
