#!/usr/bin/env python3
"""Writes fuzz/corpus: small inputs of every fuzz target, from the golden values and from formats and
texts that mean something to it.

Run it for a new target, or for more seeds; ./dev golden runs it too. Files called found_* are kept,
and so are given_*: the inputs of targets that take a text as it is, which has no function here.
A target begins at its corpus (./dev fuzz), and test_fuzz_corpus runs each over its corpus in every build.
An input that a fuzzer found goes there as found_WHAT, to be tried for ever. How a target reads its
bytes is told at its head.
"""
import random
import struct
from pathlib import Path

FUZZ = Path(__file__).resolve().parent
GOLDEN = FUZZ.parent / "tests" / "golden"
CORPUS = FUZZ / "corpus"

STRING, BLOB, ISTRING, CASEISTRING = 11, 18, 20, 21
NULLABLES = (*range(28, 39), 44, 45)
# The rows of fuzz_scalar_format and fuzz_datetime_text, in the order of their tables.
SCALAR_ROWS = (0, 1, 2, 3, 4, 5, 6, 7, 9, 10, 8, 14, 42, 43)
DATE_ROWS = (12, 13, 19, 40, 41, 22, 23, 24, 25)

INTEGER_TEXTS = [(b"%d", b"-129"), (b"[%+06ld]", b"[+00042]"), (b"%#x", b"0x7fffffffffffffff1"),
                 (b"%hhu", b"256"), (b" %i", b"  010"), (b"%%%o", b"%777"),
                 (b"%I64d", b"-9223372036854775808"),
                 (b"%*d%n%s", b"5"), (b"%", b""), (b"%.40d", b"1"), (b"%99999999999d", b"1"),
                 (b"%-5d|", b"12   |"), (b"%c", b"A")]
FLOAT_TEXTS = [(b"%.17g", b"0.1"), (b"%a", b"0x1.8p+3"), (b"%.3e", b"-1.250e-300"),
               (b"ldexp(%.17g,%d)", b"ldexp(0.75,1)"), (b"%G", b"INF"), (b"%f", b"nan"),
               (b"%.1100f", b"1e308"), (b"%A%%", b"0X1P+0%"), (b"%hg", b"1e999")]
DATE_TEXTS = [(b"%Y-%m-%d", b"2024-02-29"), (b"%d.%m.%y", b"29.02.24"),
              (b"%A, %e. %B %Y", b"Thursday, 29. February 2024"),
              (b"%H:%M:%S", b"23:59:59"), (b"%I:%M %p", b"12:00 am"),
              (b"%X", b"2024-02-29T23:59:59:999999999"),
              (b"%O", b"-4713-11-24T00:00:00"), (b"%T%N", b"00:00:001"),
              (b"%V", b"-106751.23:47:16:854"),
              (b"%?(%Y/%)%m", b"/12"), (b"%?(x%m()%Y", b"2000"),
              (b"%a %e.%b %Y %I:%M:%S %p", b"Mon 1.Jan 1900 01:00:00 pm"),
              (b"%D%%", b"*-*-*%"), (b"%e days, %I hours", b"-90 days, 5 hours"),
              (b"%J%f%P%q", b"99999999999"),
              (b"%", b""), (b"%Y%Y%Y", b"123456789012")]
# Each with what it has that others have not: accents, contractions, ligatures, digits, wildcards.
WORDS = [(1, 2, "Stra\u00dfe", "STRASSE"), (1, 3, "c\u00f4te", "cot\u00e9"), (253, 1, "chico", "czar"),
         (253, 5, "llama", "lz"), (1, 1, "a*c", "abbc"), (1, 1, "a?\\*", "ab*"), (0, 1, "ABC", "abd"),
         (253, 2, "\u00c4pfel", "\u00e4pfel"), (253, 1, "\u4e2d\u6587", "\u4e2d"), (1, 1, "10", "9"),
         (253, 9, "\u0130stanbul", "istanbul"), (1, 1, "x" * 40, "x" * 39 + "y"),
         (253, 1, "word" * 20, "word" * 20 + "s"), (1, 7, "aa", "\u00e5"), (1, 1, "", " ")]
UTF8 = ["plain ASCII that is longer than one vector of thirty-two bytes", "\u00e9t\u00e9", "\u20ac 5",
        "\U0001f600 beyond sixteen bits", "\u4e2d\u6587\u5b57\u7b26",
        "mixed \u00e9 and \u20ac at the \u00fcber end"]
BAD_UTF8 = [b"\xc0\x80", b"\xe0\x80\x80", b"\xed\xa0\x80", b"\xf8\x88\x80\x80\x80", b"\xff\xfe",
            b"abc\xe2\x82", b"\x80", b"\xf4\x90\x80\x80", b"a" * 31 + b"\xc3\xa9", b"a" * 15 + b"\xc3"]
# What a language sorts as one letter.
RUNS = {8: "aa", 9: "aA", 13: "ch", 14: "ggyszdzs", 16: "chd\u017e", 17: "ljd\u017enj"}
LANGUAGES = range(1, 20)
EAST_LATIN, UNICODE = 7, 253
HEX_NOISE = ["", "0", "0x", "0100 0000", "zz", "FFFFFFFF", "04 00 00 00 ff ff ff ff"]


class Golden:
    """The stored bytes, (memory order, reversed), of the values and of the run of a golden file."""

    def __init__(self, path):
        self.values, self.run = [], None
        for line in path.read_text().splitlines():
            columns = line.split(" | ")
            if len(columns) != 4:
                continue
            forms = tuple(bytes.fromhex(column.strip()) for column in columns[1:3])
            if line.startswith("run "):
                self.run = forms
            else:
                self.values.append(forms)

    def some(self, count):
        """Values from all over the file."""
        step = max(1, len(self.values) // count)
        return self.values[::step][:count]

    def pairs(self, count, form):
        values = [value[form] for value in self.values]
        pairs = list(zip(values, values[1:]))
        return pairs[::max(1, len(pairs) // count)][:count]


def golden_files():
    """{type id: Golden}, and the strings of the old catalogue."""
    found = {int(path.name[:2]): Golden(path) for path in sorted(GOLDEN.glob("[0-9][0-9]_*.txt"))
             if path.name not in ("11_KvString_bytes.txt", "11_KvString_old.txt")}
    return found, Golden(GOLDEN / "11_KvString_old.txt")


def sort_keys(path):
    return [bytes.fromhex(line.split(" | ")[-2]) for line in path.read_text().splitlines()]


def units(code_set, text):
    return text.encode("utf-16-le") if code_set == 253 else text.encode("latin-1", "replace")


def stored_string(code_set, language, text, form):
    """The stored block of one text, up to the marker at its end."""
    encoded = text.encode("iso8859-2" if code_set == EAST_LATIN else ("utf-16-le", "utf-16-be")[form])
    block = bytes([code_set, language]) + encoded + b"\x00\xff"
    return struct.pack("<>"[form] + "H", len(block)) + block


def less(bytes_of, of_first=False):
    """What makes twins: that much less at the end of one of them, and no other difference."""
    return bytes([2 * bytes_of + of_first])


def runs():
    """(number, language, a text, how much of it is cut): within what sorts as one, where there is."""
    cases = [(language, RUNS[language], cut) for language in RUNS for cut in (1, 2, 3, 5)]
    cases += [(language, "chllaa", 3) for language in LANGUAGES if language not in RUNS]
    for i, (language, run, cut) in enumerate(cases):
        yield i, language, "x" * (i % 2) + run * (6 // len(run) + 1), cut


def stored_twins():
    """(form, stored text, what makes its twin)."""
    for i, language, text, cut in runs():
        form, code_set = i % 2, (EAST_LATIN, UNICODE)[i // 2 % 2]
        # The end and its marker are two bytes.
        size = 2 + (2 if code_set == UNICODE else 1) * cut
        yield form, stored_string(code_set, language, text, form), less(size, i % 3 == 0)


# --- One function a target: its inputs ------------------------------------------------------------


def fuzz_blob(golden, _):
    for form, bit in ((0, 0), (1, 0x10)):
        for a, b in golden[BLOB].pairs(5, form):
            yield bytes([bit, len(a)]) + a + b
        run = golden[BLOB].run[form]
        yield bytes([2 | bit, len(run)]) + run + run
        yield bytes([0x80 | 2 | bit, len(run)]) + run + less(1 + bit // 8)


def fuzz_checked(golden, old):
    for id, file in golden.items():
        form = id % 2
        (a, b), run = file.pairs(1, form)[0], file.run[form]
        yield bytes([1, id, 2 * form, 1, len(a), 0]) + a + b
        if id % 4 == 0:
            yield bytes([1, id, 2 * form, 3, min(len(run), 255), 0]) + run + run
    for a, b in old.pairs(4, 0):
        yield bytes([0, STRING, 0, 1, len(a), 0]) + a + b
    for i, id in enumerate(DATE_ROWS):
        format, text = DATE_TEXTS[i]
        yield bytes([9 if i % 2 else 1, id, 0, 1, len(text), 0]) + text + format
    for i, id in enumerate(SCALAR_ROWS):
        text = (FLOAT_TEXTS if id in (3, 4) else INTEGER_TEXTS)[i % 9][1]
        yield bytes([1, id, 0, 1, len(text), 0]) + text
    for form, text, change in list(stored_twins())[::3]:
        yield bytes([1, STRING, 2 * form, 1, len(text), 1]) + text + change


def fuzz_collate(_golden, _old):
    for i, (code_set, language, left, right) in enumerate(WORDS):
        a, b = units(code_set, left), units(code_set, right)
        for compare in (0, 0x20, 0x10):
            maximum = 200 + len(left) // 2 if compare == 0x10 else 0
            head = [code_set, language, code_set, language, compare, 0, maximum, len(a), 7, i % 3]
            if a + b:
                yield bytes(head) + a + b
    for left, right in ((1, 253), (253, 0), (254, 254), (240, 1)):
        a = units(left, "Zebra")
        yield bytes([left, 1, right, 2, 0, 0, 0, len(a), 0, 0]) + a + units(right, "zebra")
    for i, language, text, cut in list(runs())[::2]:
        text = stored_string(UNICODE, language, text, 0)[4:-2]
        head = bytes([UNICODE, language, UNICODE, language, 0, 0, 0, len(text), 0x80, 0])
        yield head + text + less(2 * cut, i % 3 == 0)


def fuzz_contraction(_golden, _old):
    letters = "szSZcChHdD\u017e\u017dgyYlLjnNtaA\u00e1"
    pairs = [("sssszz", "sssz"), ("ssz", "szsz"), ("zsz", "zss"), ("ddzsddz", "dzs"), ("chcC", "ch"),
             ("HcHChCH", "Ch"), ("d\u017eD\u017dd\u017d", "\u017e"), ("Ljnjlnj", "nj"), ("aaaAAaA", "aa"),
             ("a\u00e1aa", "a"), ("sz" * 60 + "s", "zz"), ("ggyggggy", "ggy")]
    for i, (left, right) in enumerate(pairs):
        for language in (i % 6, 3):
            text = [letters.index(each) for each in left + right]
            yield bytes([language, 0, len(left)] + text)
    numbers_of = [8, 9, 13, 14, 16, 17, 1, 2, 3, 4, 5, 6, 7, 10, 11, 12, 15, 18, 19]
    for i, language, text, cut in list(runs())[::2]:
        text = [letters.index(each) for each in text.replace("x", "t")]
        head = bytes([numbers_of.index(language), 2 | 4 * (2 + cut), len(text)])
        yield head + bytes(text) + less(cut % 2, i % 3 == 0)
    for orders in ((0x4010, 0x4411), (0x8000, 0x8003), (13, 0x3F01), (0x7FFF, 0x407F)):
        yield bytes([3, 1, 1]) + struct.pack("<2H", *orders)


def fuzz_datetime_text(golden, _):
    for i, (format, text) in enumerate(DATE_TEXTS * 2):
        row = i % len(DATE_ROWS)
        values = golden[DATE_ROWS[row]].values
        value = values[i % len(values)][0]
        yield bytes([row]) + value.ljust(12, b"\0") + format + b"\0" + text


def fuzz_hex(golden, _):
    for id, file in golden.items():
        form = id % 2
        yield bytes([id, form]) + file.some(2)[-1][form].hex().encode()
        if id % 4 == 1:
            yield bytes([id, form]) + file.run[form].hex(" ").encode()
    for noise in HEX_NOISE:
        yield bytes([2, 0]) + noise.encode()


def numbers(*values):
    return struct.pack(f"<{len(values)}H", *values)


def fuzz_kvc(golden, _):
    """Type + 1, form, number, count, room; a third of the rest is b, the rest a."""
    for id, file in golden.items():
        form = id % 2
        a = file.some(3)[-1][form]
        yield numbers(id + 1, 2 * form, 0x10, 1, 200) + a[:len(a) // 2] + a
    for id, (format, text) in ((12, DATE_TEXTS[0]), (2, INTEGER_TEXTS[0]), (3, FLOAT_TEXTS[0])):
        yield numbers(id + 1, 0, 1, 2, 64) + format[:len(text) // 2].ljust(len(text) // 2) + text
    yield numbers(3, 0, 0xFFFF, 0xFFFF, 10) + bytes(12)


def fuzz_nullable(golden, _):
    for id in NULLABLES:
        for form in (0, 1):
            a, b = golden[id].pairs(1, form)[0]
            yield bytes([form]) + a + b
        yield bytes([0]) + golden[id].run[0] * 2


def fuzz_scalar_format(golden, _):
    for row, id in enumerate(SCALAR_ROWS):
        texts = FLOAT_TEXTS if id in (3, 4) else INTEGER_TEXTS
        values = golden[id].some(3)
        for i, value in enumerate(values):
            format, text = texts[(row + 4 * i) % len(texts)]
            yield bytes([row]) + value[0].ljust(8, b"\0") + format + b"\0" + text


def fuzz_sortkey(golden, _):
    """Type, options, compare bits, then two values of equal length, or a key."""
    for id, file in golden.items():
        form = id % 2
        pairs = [pair for pair in file.pairs(99, form) if len(pair[0]) == len(pair[1])]
        for a, b in pairs[len(pairs) // 2:][:1]:
            yield bytes([id, id % 16, 0x80 if form else 0]) + a + b
        if id in (STRING, BLOB, ISTRING, CASEISTRING, 3, 12, 40):
            path = next((GOLDEN / "keys").glob(f"{id:02}_*.txt"))
            for key in sort_keys(path)[1:4]:
                yield bytes([id, 0, 0]) + key
    for form, text, _ in list(stored_twins())[::3]:
        # Three bytes of changes: none cut, one place.
        yield bytes([STRING, form, 0x40 | 0x80 * form]) + text + bytes([0, len(text) - 4, ord("z")])


def fuzz_stored_walk(golden, old):
    files = (golden[STRING], old, golden[BLOB], golden[ISTRING], golden[CASEISTRING])
    for row, file in enumerate(files):
        for form in (0, 1):
            for a, b in file.pairs(2, form):
                yield bytes([row, form, 2, len(a)]) + a + b
            run = file.run[form]
            yield bytes([row, form | 2 * 2, 2, len(run)]) + run + run
            yield bytes([row, form | 8, 2, len(run)]) + run + less(4, form == 0)
    for form, text, change in stored_twins():
        yield bytes([0, form | 8, 2, len(text)]) + text + change
    text = b"old " * 9 + b"\0"
    yield bytes([1, 8, 2, len(text) + 2]) + numbers(len(text)) + text + less(3, True)


def fuzz_string_edit(_golden, _old):
    """A code set, then edits: opcode, position, length and units of a text, own, wide."""
    dice = random.Random(7)
    for wide in (0, 1):
        for opcode in range(11):
            edits = [0, 0, 12, *dice.sample(range(0x7F), 12), 1, wide]
            for position in (0, 5, 12, 0xF0):
                edits += [opcode, position, *([1] if position == 0xF0 else [])]
                if opcode == 2:
                    edits.append(3)
                edits += [3, 64, 0, 0x7E, position % 2, 1 - wide]
            yield bytes([wide, *edits])


def fuzz_string_stored(golden, _):
    inputs = [(form, a, b, 0) for form in (0, 1) for a, b in golden[STRING].pairs(8, form)]
    for form, a, b, twins in inputs + [(*twin, 0x80) for twin in stored_twins()]:
        # One byte says both the format and where the second run begins.
        size = 3 + len(a) + len(b)
        code = next((n for n in range(256) if n % 3 == 2 * form and n % (size - 2) == len(a)), None)
        if code is not None:
            yield bytes([code, twins, 1]) + a + b


def fuzz_utf8(_golden, _old):
    yield from (text.encode() for text in UTF8)
    yield from BAD_UTF8


def fuzz_vectors(golden, _):
    """Work, option, two places, the length, the period less one, the period, then changes."""
    def seed(work, option, length, period, *changes):
        return (bytes([work, option, 5 * work + 1, 7 * work]) + struct.pack(">H", length) +
                bytes([len(period) - 1]) + period + b"".join(struct.pack(">HB", *each) for each in changes))
    scripts = ["plain", "gr\u00fc\u00df ", "\u03be\u03b5 ", "\u4eca\u5929\u3002", "a\u00e9\u20ac"]
    for i, script in enumerate(scripts):
        yield seed(0, 255 - 60 * i, 150 + 67 * i, script.encode(), (140 + i, 0x80))
        yield seed(1, 255 - 60 * i, 300 + 67 * i, script.encode("utf-16-le"))
        yield seed(3, 19 * i + i, 600 + 67 * i, script.encode("utf-16-le"), (0x8000, ord("x")), (0x4000 | 250, ord("x")))
        # Damage where blocks and vectors meet.
        for place, byte in ((31, 0x41), (32, 0x80), (63, 0xE0), (64, 0x41), (65, 0x41), (66, 0xC3)):
            yield seed(0, 200, 150 + 16 * i, script.encode(), (place, byte))
    for bad in (*BAD_UTF8, b"\xe0\x9f\xbf"):
        yield seed(0, 255, 200, "\u4eca\u5929".encode() * 7 + bad + "\u4eca\u5929".encode() * 2)
    # A character of another length at every place of a block: 37 shares no factor with its size.
    for text in ("x" * 34 + "\u20ac", "\u00e9" * 17 + "\u20ac", "\u20ac" * 12 + "x", "x" * 35 + "\u00e9"):
        yield seed(0, 200, 1300, text.encode())
    for far in "\uff4b\u212a\u1e31":  # beyond what is listed, and alike where less counts
        yield seed(3, 4, 600, (far + "xxxxxxxxx").encode("utf-16-le"), (0x8000, ord("k")), (0x8001, 0))
    for form, code in ((0, "<"), (1, ">")):
        for row, letter in ((3, "d"), (4, "f")):
            option = next(n for n in range(128 * form, 256) if n % 47 == row)
            values = struct.pack(code + 5 * letter, -0.0, 1.5, float("nan"), -1.0, 0.0)
            yield seed(6 + form, option, 900, values)
    for i, word in enumerate((b"abcdef", b"Stra\xdfe ")):
        wide = word.decode("latin-1").encode("utf-16-le")
        for place in (270, 290, 298):
            yield seed(2, 4 * i, 300, word, (0x8000, ord("z")), (0x4000 | place, ord("z")))
            yield seed(3, 4 * i, 300, wide, (0x8000, ord("z")), (0x4000 | place, ord("z")))
        yield seed(4, i, 130, word, (0x8000 | 120, ord("C")), (0xC005, 0))
        yield seed(5, i, 200, wide, (0x8000 | 180, ord("C")))
    for language, run in RUNS.items():
        option = next(n for n in range(256) if 1 + n % 19 == language and n % 4 == 1)
        yield seed(3, option, 200, (run + "x" * 9).encode("utf-16-le"))
        yield seed(3, option, 200, (run.title() + "x" * 9).encode("utf-16-le"), (0x8000, ord(run[0])))
    for row in (*range(0, 11), 26, 27, *NULLABLES):
        once = b"".join(value[row % 2] for value in golden[row].some(4))[:48]
        option = row if row % 2 == 0 else next(n for n in range(128, 256) if n % 47 == row)
        yield seed(6 + row // 2 % 2, option, 700 + row, once, (0x8000 | 690, 1))


def wanted():
    """{path: bytes} of the whole corpus."""
    golden, old = golden_files()
    files = {}
    for source in sorted(FUZZ.glob("fuzz_*.cpp")):
        make = globals().get(source.stem, lambda *_: [])
        inputs = list(dict.fromkeys(make(golden, old)))
        for i, data in enumerate(inputs):
            files[CORPUS / source.stem / f"seed_{i:02}"] = data
    return files


def main():
    files = wanted()
    for path in set(CORPUS.rglob("seed_*")) - files.keys():
        path.unlink()
    for path, data in files.items():
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(data)
    print(f"{len(files)} inputs, {sum(map(len, files.values()))} bytes")


if __name__ == "__main__":
    main()
