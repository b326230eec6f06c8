#!/usr/bin/env python3
"""Generates the tables of the internationalisation library.

    platform/zin/data/generate.py [--unicode FOLDER] [--check]

Reads UnicodeData.txt and SpecialCasing.txt of the public Unicode character data (on Debian the
package unicode-data, in /usr/share/unicode) and Python's own codecs for the 8-bit code sets, and
writes codesets.cpp, orders.cpp, properties.cpp and casemap.cpp beside itself. With --check it
writes nothing and fails when a committed file differs from what it would write; with data of
another version than theirs it says so and compares nothing.

Orders and code set mappings end up in stored data and in the sequence of index entries, so a
change here is a change of format: characters that have an order keep it for ever.
"""

import argparse
import os
import sys

# ------------------------------------------------------------------------------------------------
# What is decided here and nowhere else

# Code sets 1 to 12, in number order, as Python names them.
CODE_SETS = ["latin_1", "cp1252", "iso8859_15", "cp850", "mac_roman", "iso8859_2", "cp1250",
             "iso8859_5", "cp1251", "koi8_r", "iso8859_7", "iso8859_9"]

# Accent codes of letter orders: combining mark -> code. Up to 14 they have published names; the
# rest are ours and describe without a name. 8 (stroke) has no combining mark in decompositions.
ACCENTS = {
    0x0327: 1, 0x0301: 2, 0x0300: 3, 0x0302: 4, 0x0303: 5, 0x0308: 6, 0x030A: 7, 0x030C: 9,
    0x0304: 10, 0x0306: 11, 0x0307: 12, 0x0328: 13, 0x030B: 14,
    0x0326: 15, 0x0309: 16, 0x031B: 17, 0x0323: 18, 0x030F: 19, 0x0311: 20, 0x0331: 21,
    0x032D: 22, 0x0330: 23, 0x0324: 24, 0x0325: 25, 0x032E: 26,
}
STROKE, DIAERESIS, DOT_ABOVE = 8, 6, 12

# Extension values: halves of a ligature; a variant that stands alone; beside a symbol.
LIGATURE, VARIANT, BESIDE = 1, 2, 3

# Symbol numbers that the published order layout names.
SYMBOLS = {
    "_": 32, "\u00af": 34, "\u00ad": 35, "-": 36, ",": 37, ";": 38, ":": 39, "!": 40,
    "\u00a1": 41, "?": 42, "/": 44, ".": 46, "\u00b7": 49, "\u00b8": 50, "'": 52, '"': 55,
    "\u00ab": 58, "\u00bb": 59, "(": 60, ")": 62, "[": 64, "]": 65, "{": 66, "}": 67,
    "\u00a7": 68, "\u00b6": 69, "\u00a9": 70, "\u00ae": 71, "@": 73, "\u00a4": 74, "\u00a2": 75,
    "$": 76, "\u00a3": 77, "\u00a5": 78, "*": 79, "\\": 80, "&": 81, "#": 82, "%": 83, "+": 85,
    "\u00b1": 87, "\u00b4": 88, "`": 89, "^": 91, "\u00a8": 94, "~": 96, "\u00f7": 98,
    "\u00d7": 99, "<": 101, "=": 103, ">": 105, "\u00ac": 106, "|": 107, "\u00a6": 108,
    "\u00b0": 109, "\u00b5": 110, "\u00bf": 139,
}

# Further punctuation and symbols sort before the digits too, in code order: blocks of codes that
# take symbol numbers from 140 on. A block is placed by its first code, never by what it holds, so
# that characters added to Unicode later fall into places kept for them.
SYMBOL_BLOCKS = [(0x0080, 0x00FF), (0x02B0, 0x02FF), (0x2000, 0x2BFF), (0x2E00, 0x2E7F),
                 (0x3000, 0x303F), (0xFE10, 0xFE1F), (0xFE30, 0xFE6F), (0xFF00, 0xFFEF)]

# Spaces: orders below 80. 0 ends a text and 13 is never produced.
FIXED_SPACES = [0x2000, 0x2001, 0x2002, 0x2003, 0x2004, 0x2005, 0x2006, 0x2007, 0x2008, 0x2009,
                0x200A, 0x202F, 0x205F, 0x3000]
# Canonically equivalent pairs of them share an order.
SPACE_EQUIVALENTS = {0x2000: 0x2002, 0x2001: 0x2003}

# Letters that have no canonical decomposition into a letter and a mark: code -> orders, written
# with order functions below.
def letter_exceptions():
    table = {}

    def pair(upper, lower, first, second):
        if upper:
            table[upper] = [letter(first, 0, 0, LIGATURE), letter(second, 0, 0, LIGATURE)]
        if lower:
            table[lower] = [letter(first, 1, 0, LIGATURE), letter(second, 1, 0, LIGATURE)]

    def single(upper, lower, base, accent, extension):
        if upper:
            table[upper] = [letter(base, 0, accent, extension)]
        if lower:
            table[lower] = [letter(base, 1, accent, extension)]

    pair(0x00C6, 0x00E6, "A", "E")
    pair(0x0152, 0x0153, "O", "E")
    pair(0x0132, 0x0133, "I", "J")
    pair(0x1E9E, 0x00DF, "S", "S")
    pair(0x00DE, 0x00FE, "T", "H")
    single(0x00D0, 0x00F0, "D", STROKE, 0)          # eth
    single(0x0110, 0x0111, "D", STROKE, VARIANT)    # d with stroke, apart from eth
    single(0x00D8, 0x00F8, "O", STROKE, 0)
    single(0x0126, 0x0127, "H", STROKE, 0)
    single(0x0141, 0x0142, "L", STROKE, 0)
    single(0x0166, 0x0167, "T", STROKE, 0)
    single(None, 0x0131, "I", 0, VARIANT)           # dotless i
    single(None, 0x0138, "Q", 0, VARIANT)           # kra
    single(0x014A, 0x014B, "N", 0, VARIANT)         # eng
    single(None, 0x017F, "S", 0, VARIANT)           # long s
    single(None, 0x00AA, "A", 0, VARIANT)           # ordinal indicators
    single(None, 0x00BA, "O", 0, VARIANT)
    table[0x0149] = [80 + SYMBOLS["'"], letter("N", 1, 0, BESIDE)]
    table[0x013F] = [letter("L", 0, 0, BESIDE), 80 + SYMBOLS["\u00b7"]]
    table[0x0140] = [letter("L", 1, 0, BESIDE), 80 + SYMBOLS["\u00b7"]]
    return table


SUPERSCRIPT_DIGITS = {0x2070: 0, 0x00B9: 1, 0x00B2: 2, 0x00B3: 3, 0x2074: 4, 0x2075: 5, 0x2076: 6,
                      0x2077: 7, 0x2078: 8, 0x2079: 9}


# Tailorings: what a group of languages sorts otherwise, nothing more. Letter codes 29 to 31 are
# the letters after z. The index is the tailoring number.
def tailorings():
    def both(table, upper, lower, base, accent=0, extension=0):
        table[upper] = [letter(base, 0, accent, extension)]
        table[lower] = [letter(base, 1, accent, extension)]

    swedish = {}
    both(swedish, 0xC5, 0xE5, 29)
    both(swedish, 0xC4, 0xE4, 30)
    both(swedish, 0xD6, 0xF6, 31)
    both(swedish, 0xC6, 0xE6, 30, 0, VARIANT)             # ae sorts with a diaeresis
    both(swedish, 0xD8, 0xF8, 31, STROKE)                 # o stroke with o diaeresis
    both(swedish, 0xDC, 0xFC, "Y", DIAERESIS, VARIANT)    # u diaeresis with y
    swedish[0x212B] = swedish[0xC5]                       # the angstrom sign is that letter

    danish = {}
    both(danish, 0xC6, 0xE6, 29)
    both(danish, 0xD8, 0xF8, 30)
    both(danish, 0xC5, 0xE5, 31)
    both(danish, 0xC4, 0xE4, 29, DIAERESIS)               # a diaeresis sorts with ae
    both(danish, 0xD6, 0xF6, 30, DIAERESIS)               # o diaeresis with o stroke
    both(danish, 0xDC, 0xFC, "Y", DIAERESIS, VARIANT)
    danish[0x212B] = danish[0xC5]

    # Dotless i is the plain letter and i carries a dot, so that each goes with its capital.
    turkish = {0x69: [letter("I", 1, DOT_ABOVE, 0)], 0x131: [letter("I", 1, 0, 0)]}
    return [{}, swedish, danish, turkish]


# Numbers of general categories as property records hold them (field 0).
CATEGORIES = ["Cn", "Lu", "Ll", "Lt", "Lm", "Lo", "Mn", "Mc", "Me", "Nd", "Nl", "No", "Pc", "Pd",
              "Ps", "Pe", "Pi", "Pf", "Po", "Sm", "Sc", "Sk", "So", "Zs", "Zl", "Zp", "Cc", "Cf",
              "Cs", "Co"]
IDEOGRAPHS = [(0x3006, 0x3007), (0x3021, 0x3029), (0x3038, 0x303A), (0x3400, 0x4DBF),
              (0x4E00, 0x9FFF), (0xF900, 0xFAD9)]
PROPERTY_FIELDS, FIELD_CATEGORY, FIELD_DIGIT, FIELD_ORDER = 48, 0, 1, 40

# ------------------------------------------------------------------------------------------------
# Orders


def letter(base, case, accent, extension):
    code = base if isinstance(base, int) else ord(base) - 62
    return 0x4000 | case << 12 | accent << 7 | code << 2 | extension


def digit(value, expand=0):
    return 16128 + 10 * value + expand


def weight(order):
    """What is equal at the primary level in the high half, what tells it apart in the low half."""
    if order >= 0x4000:
        return (order & 0x407C) << 16 | order & 0x3F83
    if order >= 0x3F00:
        return (order & 0xFFFE) << 16 | order & 1
    return order << 16


def pack(orders):
    """One or two orders as the word of an order table; zinorder.h draws it."""
    if len(orders) == 1:
        return weight(orders[0])
    first, second = orders
    assert first >> 15 == second >> 15
    return 1 << 31 | (first & 0x7FFF) << 16 | second


class Characters:
    """The 16-bit range of the Unicode character data."""

    def __init__(self, folder):
        self.category, self.decomposition = {}, {}
        self.lower, self.upper, self.digit = {}, {}, {}
        self.full_lower, self.full_upper = {}, {}
        first = None
        for line in open(os.path.join(folder, "UnicodeData.txt"), encoding="ascii"):
            field = line.rstrip("\n").split(";")
            code = int(field[0], 16)
            if code > 0xFFFF:
                break
            if field[1].endswith(", First>"):
                first = code
                continue
            for each in range(first if first is not None else code, code + 1):
                self.category[each] = field[2]
            first = None
            if field[5] and not field[5].startswith("<"):
                self.decomposition[code] = [int(part, 16) for part in field[5].split()]
            if field[6]:
                self.digit[code] = int(field[6])
            if field[12]:
                self.upper[code] = int(field[12], 16)
            if field[13]:
                self.lower[code] = int(field[13], 16)
        special = open(os.path.join(folder, "SpecialCasing.txt"), encoding="utf-8").readlines()
        self.version = special[0].split("-")[1].removesuffix(".txt\n")
        for line in special:
            field = [part.strip() for part in line.split("#")[0].split(";")]
            if len(field) < 5 or (len(field) > 5 and field[4]):
                continue  # nothing, or a mapping with a condition
            code = int(field[0], 16)
            for table, text in ((self.full_lower, field[1]), (self.full_upper, field[3])):
                mapped = [int(part, 16) for part in text.split()]
                if code <= 0xFFFF and len(mapped) > 1:
                    table[code] = mapped

    def is_pair(self, upper, lower):
        return self.lower.get(upper) == lower and self.upper.get(lower) == upper

    def pair_order(self, code):
        """Two orders of 0x8000 and above: neighbours for the two letters of a case pair."""
        folded, bit = code, 0
        if self.is_pair(code, self.lower.get(code)):
            folded = self.lower[code]
        elif self.is_pair(self.upper.get(code), code):
            bit = 1
        return [0x8000 + folded // 2, 0x8000 + 2 * (folded % 2) + bit]


def space_orders():
    codes = [c for c in range(1, 33)] + [c for c in range(0x7F, 0xA1)] + FIXED_SPACES
    orders, following = {}, 1
    for code in codes:
        if code in SPACE_EQUIVALENTS:
            continue
        following += following == 13
        orders[code] = following
        following += 1
    for code, equivalent in SPACE_EQUIVALENTS.items():
        orders[code] = orders[equivalent]
    assert following <= 80
    return orders


def decomposed_letter(characters, code):
    """The order of an ASCII letter with at most one mark that has an accent code, or None."""
    parts = characters.decomposition.get(code, [code])
    if len(parts) == 1 and parts[0] != code:
        return decomposed_letter(characters, parts[0])
    base, marks = chr(parts[0]), parts[1:]
    if not (base.isascii() and base.isalpha()) or len(marks) > 1:
        return None
    if marks and marks[0] not in ACCENTS:
        return None
    return letter(base.upper(), 0 if base.isupper() else 1, ACCENTS[marks[0]] if marks else 0, 0)


def symbol_block_order(characters, code):
    number = 140
    for first, last in SYMBOL_BLOCKS:
        if first <= code <= last:
            category = characters.category.get(code, "Cn")
            if category[0] in "PSZC" or category == "No":
                return 80 + number + code - first
            return None
        number += last - first + 1
    return None


def base_orders(characters):
    """Code -> orders, for every character whose orders are not pair_order of an unpaired one."""
    spaces, exceptions, orders = space_orders(), letter_exceptions(), {0: [0]}
    for code in range(1, 0x10000):
        text = chr(code)
        symbol = symbol_block_order(characters, code)
        plain = decomposed_letter(characters, code)
        if code in spaces:
            orders[code] = [spaces[code]]
        elif code in exceptions:
            orders[code] = exceptions[code]
        elif plain is not None:
            orders[code] = [plain]
        elif 0x30 <= code <= 0x39:
            orders[code] = [digit(code - 0x30)]
        elif code in SUPERSCRIPT_DIGITS:
            orders[code] = [digit(SUPERSCRIPT_DIGITS[code], 1)]
        elif text in SYMBOLS:
            orders[code] = [80 + SYMBOLS[text]]
        elif symbol is not None:
            orders[code] = [symbol]
        else:
            orders[code] = characters.pair_order(code)
    seen = {}
    for code, value in orders.items():
        root = characters.decomposition.get(code, [code])
        root = root[0] if len(root) == 1 else code
        root = SPACE_EQUIVALENTS.get(root, root)
        assert seen.setdefault(tuple(value), root) == root, f"{code:04x} sorts as {root:04x}"
    return orders


# ------------------------------------------------------------------------------------------------
# Writing

HEADER = """// Generated by platform/zin/data/generate.py from Unicode VERSION - {what}.
// clang-format off
#include "{include}"

"""


class Pager:
    """Splits 65,536 entries into pages of 256 and keeps each distinct page once."""

    def __init__(self, empty_page):
        self.pages, self.number = [], {}
        self.add(empty_page)

    def add(self, page):
        page = tuple(page)
        if page not in self.number:
            self.number[page] = len(self.pages)
            self.pages.append(page)
        assert len(self.pages) <= 256
        return self.number[page]

    def index(self, entries):
        return [self.add(entries[first:first + 256]) for first in range(0, 0x10000, 256)]


def rows(values, width, per_line):
    lines = []
    for first in range(0, len(values), per_line):
        lines.append(",".join(f"0x{value:0{width}x}" for value in values[first:first + per_line]))
    return ",\n".join(lines)


def array(declaration, values, width, per_line=16):
    return f"{declaration} = {{\n{rows(values, width, per_line)}}};\n"


def array2(declaration, lists, width, per_line=16):
    body = "},\n{".join(rows(values, width, per_line) for values in lists)
    return f"{declaration} = {{\n{{{body}}}}};\n"


def code_set_file():
    pager, to_unicode, indexes = Pager([0] * 256), [], []
    for codec in CODE_SETS:
        units, reverse = [], [0] * 0x10000
        for unit in range(256):
            try:
                code = ord(bytes([unit]).decode(codec))
                reverse[code] = unit
            except UnicodeDecodeError:
                # An unused unit of the control range keeps its number both ways, so that texts
                # with a stray byte survive; any other stands for no character.
                code = unit if unit < 0xA0 else 0x3F
                if unit < 0xA0:
                    reverse[code] = unit
            units.append(code)
        to_unicode.append(units)
        indexes.append(pager.index(reverse))
    return (HEADER.format(what="code sets 1 to 12", include="tables.h") +
            "namespace kv::zin {\n" +
            array2("const unsigned short kToUnicode[kByteCodeSets][256]", to_unicode, 4) +
            array2("const unsigned char kFromUnicodeIndex[kByteCodeSets][256]", indexes, 2) +
            array2("const unsigned char kFromUnicodePages[][256]", pager.pages, 2) +
            "}  // namespace kv::zin\n"), to_unicode


def order_file(characters, to_unicode):
    base = base_orders(characters)
    pager, indexes, narrow, latin = Pager([0] * 256), [], [], []
    for table in tailorings():
        words = [pack(table.get(code, base[code])) for code in range(0x10000)]
        computed = [pack([0x8000 + code // 2, 0x8000 + 2 * (code % 2)]) for code in range(0x10000)]
        index = []
        for first in range(0, 0x10000, 256):
            page = words[first:first + 256]
            index.append(0 if page == computed[first:first + 256] else pager.add(page))
        indexes.append(index)
        latin.append(words[:512])
        narrow.extend([words[code] for code in units] for units in to_unicode)
    languages = [0] * 256
    for language, tailoring in ((10, 1), (11, 1), (8, 2), (9, 2), (15, 3)):
        languages[language] = tailoring
    text = HEADER.format(what="collation orders", include="zinorder.h") + "namespace kv::zin {\n"
    text += array("constinit const unsigned char kTailorings[256]", languages, 1, 32)
    text += array2("constinit const unsigned kByteOrders[4 * 12][256]", narrow, 8, 12)
    text += array2("constinit const unsigned kLatinOrders[4][512]", latin, 8, 12)
    text += array2("constinit const unsigned char kOrderPageIndex[4][256]", indexes, 2)
    text += array2(f"constinit const unsigned kOrderPages[{len(pager.pages)}][256]", pager.pages, 8,
                   12)
    return text + "}  // namespace kv::zin\n"


def property_order(characters, code, category):
    if category[0] == "Z" or category == "Cc":
        return 33 if code else 0  # controls sort with the spaces; trimming goes by this too
    if any(first <= code <= last for first, last in IDEOGRAPHS) and category in ("Lo", "Nl"):
        return 0x8000
    if category == "Nd":
        return digit(characters.digit[code])
    if category in ("Lu", "Lt"):
        return 0x4000
    if category[0] == "L" or category in ("Nl", "Mc"):
        return 0x5000
    return 80 + 140 + CATEGORIES.index(category)


def property_file(characters):
    records, entries = [None], []
    for code in range(0x10000):
        category = characters.category.get(code)
        if category is None:
            entries.append(0)
            continue
        record = [0] * PROPERTY_FIELDS
        record[FIELD_CATEGORY] = CATEGORIES.index(category)
        record[FIELD_DIGIT] = characters.digit.get(code, 0) if category == "Nd" else 0
        record[FIELD_ORDER] = property_order(characters, code, category)
        if record not in records:
            records.append(record)
        entries.append(records.index(record))
    pager = Pager([0] * 256)
    index = pager.index(entries)
    records[0] = [0] * PROPERTY_FIELDS
    body = ",\n".join("{{" + ",".join(str(value) for value in record) + "}}" for record in records)
    return (HEADER.format(what="character properties", include="tables.h") +
            "namespace kv::zin {\n" +
            f"const KvUnicodeRecord kPropertyRecords[] = {{\n{body}}};\n" +
            array("const unsigned char kPropertyIndex[256]", index, 2) +
            array2("const unsigned char kPropertyPages[][256]", pager.pages, 2) +
            "}  // namespace kv::zin\n")


def case_file(characters):
    text = HEADER.format(what="case mapping", include="tables.h") + "namespace kv::zin {\n"
    for name, simple, full in (("Lower", characters.lower, characters.full_lower),
                               ("Upper", characters.upper, characters.full_upper)):
        pager = Pager([0] * 256)
        entries = [simple.get(code, 0) for code in range(0x10000)]
        index = pager.index([value if value <= 0xFFFF else 0 for value in entries])
        text += array(f"const unsigned char k{name}Index[256]", index, 2)
        text += array2(f"const unsigned short k{name}Pages[][256]", pager.pages, 4)
        body = ",\n".join("{" + f"0x{code:04x},{{" + ",".join(
            f"0x{part:04x}" for part in (mapped + [0, 0])[:3]) + "}}"
            for code, mapped in sorted(full.items()))
        text += f"const Expansion k{name}Expansions[] = {{\n{body}}};\n"
        text += f"const unsigned k{name}ExpansionCount = {len(full)};\n"
    return text + "}  // namespace kv::zin\n"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--unicode", default="/usr/share/unicode", metavar="FOLDER")
    parser.add_argument("--check", action="store_true", help="compare, write nothing")
    arguments = parser.parse_args()
    characters = Characters(arguments.unicode)
    code_sets, to_unicode = code_set_file()
    files = {"codesets.cpp": code_sets, "orders.cpp": order_file(characters, to_unicode),
             "properties.cpp": property_file(characters), "casemap.cpp": case_file(characters)}
    folder, differing = os.path.dirname(os.path.abspath(__file__)), []
    for name, text in files.items():
        path = os.path.join(folder, name)
        text = text.replace("VERSION", characters.version, 1)
        if not arguments.check:
            with open(path, "w", encoding="ascii") as file:
                file.write(text)
            continue
        with open(path, encoding="ascii") as file:
            committed = file.read()
        if committed.splitlines()[0] != text.splitlines()[0]:
            print(f"{name} is from another version of Unicode than {characters.version}: "
                  "not compared")
        elif committed != text:
            differing.append(name)
    if differing:
        sys.exit("differs from what would be generated: " + ", ".join(differing))


if __name__ == "__main__":
    main()
