#!/usr/bin/env python3
"""Estimates of index bounds beside the truth: for rows of many kinds a column spread evenly over
its range is loaded into index_probe, which is asked for its lowest tenth, its upper half and its
highest fifth. Columns of words follow, by the lists that are installed, asked at every tenth.

  bench/estimates.py [BUILD_DIR]

prints the tables of docs/index-bounds.md. Exit status 1 when an estimate is further than a tenth of
the truth from it."""
import argparse
import datetime
import os
import random
import re
import subprocess
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../platform/zin/data"))
import generate  # noqa: E402
import word_marks  # noqa: E402

COUNT = 40000
PLACES = [("<", 0.1), (">=", 0.5), (">", 0.8)]
WORST = 0.1

EPOCH = datetime.datetime(1970, 1, 1)
SECONDS = 60 * 366 * 86400  # sixty years


def whole(low, high, form="%d"):
    return lambda place: form % round(low + place * (high - low))


def number(low, high):
    return lambda place: "%.6g" % (low + place * (high - low))


def moment(form):
    return lambda place: (EPOCH + datetime.timedelta(seconds=place * SECONDS)).strftime(form)


def clock(place):
    return (EPOCH + datetime.timedelta(seconds=place * 86399)).strftime("%H:%M:%S")


def word(letters, length):
    def make(place):
        text = ""
        for _ in range(length):
            place *= len(letters)
            digit = min(int(place), len(letters) - 1)
            text += letters[digit]
            place -= digit
        return text
    return make


LETTERS = "abcdefghijklmnopqrstuvwxyz"
# Row, what its column holds, the value at a place between 0 and 1.
ROWS = [
    ("o_2b", "-30,000 to 30,000", whole(-30000, 30000)),
    ("o_4b", "0 to 10^9", whole(0, 10**9)),
    ("o_u8b", "0 to 10^19", whole(0, 10**19)),
    ("KvInt64", "-10^18 to 10^18", whole(-10**18, 10**18)),
    ("BlockId", "#0 to #4·10^9", whole(0, 4 * 10**9, "#%d")),
    ("o_float", "-1000 to 1000", number(-1000, 1000)),
    ("o_double", "0 to 10^6", number(0, 10**6)),
    ("KvNull_int", "-5000 to 5000", whole(-5000, 5000)),
    ("KvNull_double", "0 to 100", number(0, 100)),
    ("KvSeal", "0 to 2^48 - 1", whole(0, 2**48 - 1)),
    ("KvDate", "sixty years", moment("%Y-%m-%d")),
    ("KvTime", "one day", clock),
    ("KvDateTime", "sixty years", moment("%Y-%m-%dT%H:%M:%S")),
    ("KvDateTimeN", "sixty years", moment("%Y-%m-%dT%H:%M:%S")),
    ("d_Date", "sixty years", moment("%Y-%m-%d")),
    ("d_Time", "one day", clock),
    ("d_Timestamp", "sixty years", moment("%Y-%m-%dT%H:%M:%S")),
    ("KvObjId", "object numbers 1 to 4·10^9", whole(1, 4 * 10**9, "(0-%d#7)")),
    ("KvClassId", "classes 0 to 60,000", whole(0, 60000, "(%dv1)")),
    ("KvRef", "object numbers 1 to 4·10^9", whole(1, 4 * 10**9, "(1:0-%d#7, 3)")),
    ("KvString", "six letters", word(LETTERS, 6)),
    ("KvString", "nine digits", word("0123456789", 9)),
    ("KvString", "a shared beginning, four letters", lambda at: "inter" + word(LETTERS, 4)(at)),
    ("KvIString", "six letters", word(LETTERS, 6)),
    ("KvIString", "nine digits", word("0123456789", 9)),
    ("KvCaseIString", "six letters", word(LETTERS, 6)),
]

WORDS = 20000

ANSWER = re.compile(r"  (\S+) (.*)\n    estimate  (\S+) %,.*\n    truth     (\S+) %,")


def ask(program, column, questions, *options):
    done = subprocess.run([program, *options, "--file", "-", *questions], text=True,
                          input="\n".join(column) + "\n", capture_output=True, check=False)
    if done.returncode != 0:
        sys.exit(done.stderr.strip())
    return ANSWER.findall(done.stdout)


def ask_evenly(program, row, value):
    places = random.Random(row)
    column = [value(places.random()) for _ in range(COUNT)] + [value(0), value(1)]
    questions = [part for predicate, place in PLACES for part in (predicate, value(place))]
    return ask(program, column, questions, "--type", row)


def ask_words(program, kvtm, language):
    """(estimate, truth) in percent at every tenth of a language's words; nothing without a list."""
    words = sorted(word_marks.words_of("/usr/share", language.code))
    if not words:
        return []
    words = random.Random(language.code).sample(words, min(WORDS, len(words)))
    number = str(language.number)
    words = subprocess.run([kvtm, "sort", "KvString", "--language", number], text=True, check=True,
                           input="\n".join(words) + "\n", capture_output=True).stdout.splitlines()
    questions = [part for tenth in range(1, 10) for part in ("<", words[len(words) * tenth // 10])]
    answers = ask(program, words, questions, "--type", "KvString", "--language", number)
    return [(float(estimate), float(truth)) for _, _, estimate, truth in answers]


def print_words(program, kvtm):
    """Returns how many estimates are too far off."""
    print("\n| language | mean | furthest off | relatively |\n|---|---:|---:|---:|")
    bad = 0
    for language in generate.LANGUAGES:
        answers = ask_words(program, kvtm, language)
        if not answers:
            continue
        points = [abs(estimate - truth) for estimate, truth in answers]
        relative = [abs(estimate / truth - 1) for estimate, truth in answers]
        bad += sum(part > WORST for part in relative)
        print(f"| {language.name} | {sum(points) / len(points):.2f} | {max(points):.1f} points "
              f"| {100 * max(relative):.1f} % |")
    return bad


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", metavar="BUILD_DIR", nargs="?", default="build/native")
    build = parser.parse_args().build
    program = os.path.join(build, "bin", "index_probe")
    print("| row | column | predicate | estimate | truth | off by |")
    print("|---|---|---|---:|---:|---:|")
    bad = 0
    for row, column, value in ROWS:
        for predicate, constant, estimate, truth in ask_evenly(program, row, value):
            off = float(estimate) / float(truth) - 1
            bad += abs(off) > WORST
            print(f"| {row} | {column} | {predicate} {constant} | {estimate} % | {truth} % "
                  f"| {100 * off:+.1f} % |")
    bad += print_words(program, os.path.join(build, "bin", "kvtm"))
    if bad:
        sys.exit(f"{bad} estimates are off by more than {WORST:.0%}")


if __name__ == "__main__":
    main()
