#!/usr/bin/env python3
"""Generates the tables of the internationalisation library.

    platform/zin/data/generate.py [--unicode FOLDER] [--check]

Reads UnicodeData.txt and SpecialCasing.txt of the public Unicode character data (on Debian the
package unicode-data, in /usr/share/unicode) and Python's own codecs for the 8-bit code sets, and
writes codesets.cpp, orders.cpp, languages.cpp, properties.cpp and casemap.cpp beside itself, and
the lists of languages into the pages that have one. Where words stand is read from word_marks.txt. With --check it writes nothing and fails when a
committed file differs from what it would write; with data of another version than theirs it says so
and compares nothing.

A new language is an entry of LANGUAGES.

Orders and code set mappings end up in stored data and in the sequence of index entries, so a
change here is a change of format: characters that have an order keep it for ever.
"""

import argparse
import bisect
import os
import re
import sys
import textwrap

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

# Marks in the order words of units that contractions concern; zinorder.h says what they mean.
MOVES_MARK, PART_MARK, FOLLOWS_MARK = 0x04, 0x08, 0x10

# Extension values: 1 and 2 are letters of their own behind the plain one, 3 is a part of a combined
# character, which counts after everything else.
PART = 3

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

# Letters are written as their orders: "X" the letter of the alphabet, "29" to "31" one behind z,
# "+1" or "+2" an extension that makes it a letter of its own, "p" a part, "/a" the accent code. An
# accent that is not written is the letter's natural one, what its mark has in ACCENTS, so that
# unlike letters of two languages have unlike orders. Codes from 27 on are for what has no mark, and
# for marks whose code another letter has at the same place. Capitals follow their small letters.

# Letters of every language that do not decompose into a letter and a mark. Two of one mark are told
# apart by a code from 27 on; those that no alphabet here has are letters of their own as well.
ROOT_LETTERS = """
    ª A/27, º O/27, ſ S/27, ŀ L/27, đ D/27, ð D/8, ø O/8, ħ H/8, ł L/8,
    ı I+1, ĸ Q+1, ŋ N+1, ŧ T+1/8, ƒ F+1, þ Z+1/27,
    æ Ap Ep, œ Op Ep, ĳ Ip Jp, ß Sp Sp, ẞ Sp Sp, ŉ ' Np, ﬁ Fp Ip, ﬂ Fp Lp,
    ǆ Dp Zp/9, ǉ Lp Jp, ǌ Np Jp, ǳ Dp Zp"""


class Language:
    """One language: what its table of orders and its case mapping have that the root has not.

    letters       the letters that its alphabet has beside A to Z, as above
    others        what else it sorts elsewhere than the root does
    contractions  runs of letters that sort as one, as above; the case of such an order is 0 for
                  capitals, 1 for a small and a capital, 2 for a capital and a small letter, 3 for
                  small ones. The run "xy" is there as xy, Xy and XY; with mixed_case as xY too.
    doubled       code of the mark on a contraction whose first letter stands twice: "xxy" is xy
                  with this code, and xy. None: there is no such thing.
    case          small letters with another capital than everywhere else
    """

    def __init__(self, number, code, name, letters="", others="", contractions="", doubled=None,
                 mixed_case=False, case=None):
        # Languages from 20 on are ideographic: they have no letters of their own, but a sort class.
        assert 0 < number < 20, f"{name} cannot have the number {number}"
        self.number, self.code, self.name = number, code, name
        self.letters, self.others, self.contractions = letters, others, contractions
        self.doubled, self.mixed_case, self.case = doubled, mixed_case, case or {}


# The languages, by number. Places of letters follow the published order of each language; letters
# that some sort beside others, such as æ beside Swedish ä, come behind those by their accent code.
LANGUAGES = [
    Language(1, "en", "English"),
    Language(2, "de", "German"),
    Language(3, "fr", "French"),
    Language(4, "es", "Spanish", "ñ N+1", "ŋ N+2"),
    Language(5, "it", "Italian"),
    Language(6, "pt", "Portuguese"),
    Language(7, "nl", "Dutch"),
    Language(8, "da", "Danish", "æ 29, ø 30+1/0, å 31",
             "ä 29, ö 30+1, ő 30+1, ü Y/27, ű Y/28, þ Tp Hp", "aa 31/29"),
    Language(9, "no", "Norwegian", "æ 29, ø 30+1/0, å 31",
             "ä 29, ę 29, ö 30+1, ő 30+1, œ 30+1/27, ü Y/27, ű Y/28, þ Tp Hp", "aa 31/29"),
    Language(10, "sv", "Swedish", "å 29, ä 30, ö 31",
             "æ 30/27, ę 30/28, ø 31, ő 31, œ 31/27, ô 31/28, ü Y/27, ű Y/28, þ Tp Hp"),
    Language(11, "fi", "Finnish", "å 29, ä 30, ö 31", "æ 30/27, ø 31, ü Y/27, ŋ N/27, ŧ T/8"),
    Language(12, "pl", "Polish", "ą A+1, ć C+1, ę E+1, ł L+1, ń N+1, ó O+1, ś S+1, ź Z+1, ż Z+2",
             "ŋ N+2, þ 29/27"),
    Language(13, "cs", "Czech", "č C+1, ř R+1, š S+1, ž Z+1", "þ Z+2/27", "ch H+1/28",
             mixed_case=True),
    Language(14, "hu", "Hungarian", "ö O+1, ü U+1", "ő O+1, ű U+1, ŋ N+2, ŧ T+2, þ Z+2/27",
             "cs C+1/30, dz D+1/30, dzs D+2/30, gy G+1/30, ly L+1/30, ny N+1/30, sz S+1/30, "
             "ty T+1/30, zs Z+1/30", doubled=31),
    Language(15, "tr", "Turkish", "ç C+1, ğ G+1, ı H+1, ö O+1, ş S+1, ü U+1", "i I",
             case={"i": "İ", "ı": "I"}),
    Language(16, "sk", "Slovak", "ä A+1, č C+1, ô O+1, ř R+1, š S+1, ž Z+1", "þ Z+2/27",
             "ch H+1/28", mixed_case=True),
    Language(17, "hr", "Croatian", "č C+1, ć C+2, đ D+2/8, š S+1, ž Z+1",
             "ǆ D+1/29, ǉ L+1/29, ǌ N+1/29, ŋ N+2, þ Z+2/27", "dž D+1/28, lj L+1/28, nj N+1/28"),
    Language(18, "ro", "Romanian", "ă A+1, â A+2, î I+1, ș S+1, ț T+1",
             "ş S+1, ţ T+1, ı I+2, ŧ T+2"),
    Language(19, "is", "Icelandic",
             "á A+1, ð D+1, é E+1, í I+2, ó O+1, ú U+1, ý Y+1, þ Z+1/27, æ 29, ö 30+1, å 31",
             "ä 29, ø 30+1"),
]


SUPERSCRIPT_DIGITS = {0x2070: 0, 0x00B9: 1, 0x00B2: 2, 0x00B3: 3, 0x2074: 4, 0x2075: 5, 0x2076: 6,
                      0x2077: 7, 0x2078: 8, 0x2079: 9}


# Numbers of general categories as property records hold them (field 0).
CATEGORIES = ["Cn", "Lu", "Ll", "Lt", "Lm", "Lo", "Mn", "Mc", "Me", "Nd", "Nl", "No", "Pc", "Pd",
              "Ps", "Pe", "Pi", "Pf", "Po", "Sm", "Sc", "Sk", "So", "Zs", "Zl", "Zp", "Cc", "Cf",
              "Cs", "Co"]
IDEOGRAPHS = [(0x3006, 0x3007), (0x3021, 0x3029), (0x3038, 0x303A), (0x3400, 0x4DBF),
              (0x4E00, 0x9FFF), (0xF900, 0xFAD9)]
# Estimates know where words stand by this many beginnings of words a language, of this many letters.
WORD_MARKS, MARK_LETTERS = 191, 5
WORD_MARKS_FILE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "word_marks.txt")

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
        primary = 0x407C if order & 3 == PART else 0x407F
        return (order & primary) << 16 | order & ~primary & 0x3FFF
    if order >= 0x3F00:
        return (order & 0xFFFE) << 16 | order & 1
    return order << 16


def pack(orders, marks=0):
    """One or two orders as the word of an order table; zinorder.h draws it."""
    if len(orders) == 1:
        assert weight(orders[0]) & (PART_MARK | MOVES_MARK | FOLLOWS_MARK) == 0
        return weight(orders[0]) | marks
    first, second = orders
    assert first >> 15 == second >> 15
    return 1 << 31 | (first & 0x7FFF) << 16 | second


class Characters:
    """The 16-bit range of the Unicode character data."""

    def __init__(self, folder):
        self.category, self.decomposition = {}, {}
        self.lower, self.upper, self.title, self.digit = {}, {}, {}, {}
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
            if field[14] and field[14] not in (field[12], field[0]):
                self.title[code] = int(field[14], 16)
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


def parsed_order(token, case, natural_accent):
    """One order as LANGUAGES writes it."""
    if token == "'":
        return 80 + SYMBOLS[token]
    place, _, accent = token.partition("/")
    base, _, extension = place.rstrip("p").partition("+")
    assert int(extension or 0) < PART, f"{token}: behind a letter there is room for +1 and +2"
    extension = PART if place.endswith("p") else int(extension or 0)
    return letter(int(base) if base.isdigit() else base, case,
                  int(accent) if accent else natural_accent, extension)


def parsed_entries(text):
    """(letters, order tokens) of each entry of a list as LANGUAGES writes it."""
    entries = [entry.split() for entry in text.split(",") if entry.strip()]
    return [(entry[0], entry[1:]) for entry in entries]


def letter_orders(characters, text, case_exceptions, natural_accent):
    """Code -> orders for the letters of a list, their capitals and their equivalents."""
    orders = {}

    def put(code, tokens, cases):
        natural = 0 if len(tokens) > 1 else natural_accent(code)
        orders[code] = [parsed_order(token, case, natural) for token, case in zip(tokens, cases)]
        if len(tokens) == 1 and cases[0] != cases[-1]:  # a digraph: the case of both its letters
            orders[code][0] |= cases[-1] << 13

    for small, tokens in parsed_entries(text):
        code = ord(small)
        if code in characters.title:  # capital, small, and one of each
            put(characters.upper[code], tokens, [0, 0])
            put(characters.title[code], tokens, [0, 1])
            put(code, tokens, [1, 1] if len(tokens) > 1 else [3])
            continue
        put(code, tokens, [0 if small.isupper() else 1] * 2)
        capital = case_exceptions.get(small)
        if capital is not None:
            orders[ord(capital)] = [order & ~0x1000 for order in orders[code]]
        elif characters.is_pair(characters.upper.get(code), code):
            put(characters.upper[code], tokens, [0, 0])
    for code, parts in characters.decomposition.items():
        if len(parts) == 1 and parts[0] in orders:
            orders[code] = orders[parts[0]]
    return orders


def base_orders(characters):
    """Code -> orders, for every character whose orders are not pair_order of an unpaired one."""
    spaces, orders = space_orders(), {0: [0]}
    exceptions = letter_orders(characters, ROOT_LETTERS, {}, lambda code: 0)
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


def has_case(order):
    return 0x4000 <= order < 0x8000


def contractions_of(characters, language, orders):
    """(letters, contracted orders, small spelling) of each run that sorts as one letter: small letters,
    orders without case, longest first where one begins with another."""
    result = []
    for run, (token,) in parsed_entries(language.contractions):
        order = parsed_order(token, 0, 0)
        spelled = [(run, [order])]
        if language.doubled is not None:
            spelled.append((run[0] + run, [order & ~0x0F80 | language.doubled << 7, order]))
        for text, contracted in spelled:
            letters = [orders(ord(each))[0] & ~0x3000 for each in text]
            result.append((letters, contracted, text))
    return sorted(result, key=lambda entry: (entry[0][0], -len(entry[0]), entry[0]))


class Tailoring:
    """What a language's tables hold. Languages without letters of their own share the first."""

    def __init__(self, characters, base, language):
        def natural_accent(code):
            accent = base[code][0] >> 7 & 31 if has_case(base[code][0]) else 0
            return accent if accent < 27 and len(base[code]) == 1 else 0

        self.base = base
        both = language.letters + ", " + language.others
        self.own = letter_orders(characters, both, language.case, natural_accent)
        tokens = [chr(code) for code in range(ord("A"), ord("Z") + 1)]
        tokens += [token for _, (token,) in parsed_entries(language.letters)]
        tokens += [token for _, (token,) in parsed_entries(language.contractions)]
        # Letter code and extension of each letter; aa is the letter that has its place already.
        self.alphabet = {parsed_order(token, 0, 0) & 0x7F for token in tokens}
        self.contractions = contractions_of(characters, language, self.orders)
        self.mixed_case = language.mixed_case
        self.members = {order for letters, _, _ in self.contractions for order in letters}
        self.marks = self.contraction_marks()

    def orders(self, code):
        return self.own.get(code, self.base[code])

    def word(self, code):
        orders = self.orders(code)
        marks = self.marks.get(orders[0] & ~0x3000, 0) if has_case(orders[0]) else 0
        assert not marks or len(orders) > 1 or orders[0] & 3 != PART
        return pack(orders, marks if len(orders) == 1 else 0)

    def contraction_marks(self):
        """Order without case -> marks. A letter that begins a contraction may have any place from
        its own to the contraction's. Where a letter stands in between, one of the two is marked as
        moving: the first where a plain letter does, as Czech c before d, else what is in between,
        as the Croatian digraph characters, since those are rare."""
        marks = {order: PART_MARK for order in self.members}
        for letters, _, _ in self.contractions:
            for order in letters[1:]:
                marks[order] |= FOLLOWS_MARK
        singles = {self.orders(code)[0] & ~0x3000 for code in range(1, 0x10000)
                   if len(self.orders(code)) == 1 and has_case(self.orders(code)[0])}
        reach = {order: [weight(order) >> 16] * 2 for order in singles}
        for letters, contracted, _ in self.contractions:
            place = weight(contracted[0]) >> 16
            least, most = reach[letters[0]]
            reach[letters[0]] = [min(least, place), max(most, place)]
        for first in {letters[0] for letters, _, _ in self.contractions}:
            least, most = reach[first]
            between = {order for order in singles if least <= weight(order) >> 16 <= most
                       and weight(order) >> 16 != weight(first) >> 16}
            plain = any(order & 0x3F83 == 0 for order in between)
            for order in [first] if plain else between:
                marks[order] = marks.get(order, 0) | PART_MARK | MOVES_MARK
        settled = sorted({tuple(reach[order]) for order in singles
                          if not marks.get(order, 0) & MOVES_MARK})
        for (least, most), (next_least, _) in zip(settled, settled[1:]):
            assert most < next_least or least == next_least, hex(next_least)
        return marks


def check_letters(characters, languages):
    """One order is one letter: no two letters share it in any two languages. I and i with a dot on
    it are the capital of one letter, each in its own language."""
    owners = {}
    for language, tailoring in languages:
        def small(code):
            for letter_, capital in language.case.items():
                if ord(capital) == code:
                    return letter_
            parts = characters.decomposition.get(code, [])
            if len(parts) == 1:
                return small(parts[0])
            return chr(characters.lower.get(code, code))

        letters = [(tuple(tailoring.orders(code)), small(code)) for code in range(1, 0x10000)
                   if has_case(tailoring.orders(code)[0])]
        letters += [(tuple(orders), text) for _, orders, text in tailoring.contractions]
        for orders, name in letters:
            owner = owners.setdefault(orders, name)
            assert owner == name, f"{name} in {language.name} has the orders of {owner}"
        own = [orders for orders, _ in letters]
        assert len(set(own)) + 2 >= len(own), f"{language.name} has letters of equal orders"


def order_file(characters, to_unicode):
    base = base_orders(characters)
    languages = [(language, Tailoring(characters, base, language)) for language in LANGUAGES]
    check_letters(characters, languages)
    tailorings = [Tailoring(characters, base, LANGUAGES[0])]
    tailorings += [tailoring for _, tailoring in languages if tailoring.own]
    numbers = [0] * 256
    for language, tailoring in languages:
        numbers[language.number] = tailorings.index(tailoring) if tailoring.own else 0

    pager, indexes, latin = Pager([0] * 256), [], []
    halves, half_numbers = [], []
    computed = [pack([0x8000 + code // 2, 0x8000 + 2 * (code % 2)]) for code in range(0x10000)]
    for tailoring in tailorings:
        words = [tailoring.word(code) for code in range(0x10000)]
        index = [0, 0]  # the first two pages are latin
        for first in range(512, 0x10000, 256):
            page = words[first:first + 256]
            index.append(0 if page == computed[first:first + 256] else pager.add(page))
        indexes.append(index)
        latin.append(words[:512])
        for units in to_unicode:
            both = [[words[code] for code in units[first:first + 128]] for first in (0, 128)]
            halves += [half for half in both if half not in halves]
            half_numbers.append([halves.index(half) for half in both])
    count = len(tailorings)
    text = HEADER.format(what="collation orders", include="zinorder.h") + "namespace kv::zin {\n"
    text += array("constinit const unsigned char kTailorings[256]", numbers, 1, 32)
    # By language and not by tailoring: a comparison waits for one table less.
    by_language = [half_numbers[numbers[language] * len(CODE_SETS) + slot]
                   for language in range(20) for slot in range(len(CODE_SETS))]
    text += array2("constinit const unsigned char kByteHalfNumbers[20 * 12][2]", by_language, 2)
    text += array2(f"constinit const unsigned kByteHalves[{len(halves)}][128]", halves, 8, 12)
    text += array2(f"constinit const unsigned kLatinOrders[{count}][512]", latin, 8, 12)
    text += array2(f"constinit const unsigned char kOrderPageIndex[{count}][256]", indexes, 2)
    text += array2(f"constinit const unsigned kOrderPages[{len(pager.pages)}][256]", pager.pages, 8,
                   12)
    text += contraction_tables(tailorings)
    masks = [sum(1 << place for place in tailoring.alphabet) for tailoring in tailorings]
    text += array2(f"constinit const unsigned kAlphabets[{count}][4]",
                   [[mask >> shift & 0xFFFFFFFF for shift in (0, 32, 64, 96)] for mask in masks], 8)
    text += word_mark_table(languages)
    return text + "}  // namespace kv::zin\n", languages, tailorings


def contraction_tables(tailorings):
    """The contractions of all languages in one row, and where those of a letter begin: one list of
    places for each distinct set of contractions, the first of them empty."""
    sets, entries, starts, numbers = [[]], [], [[0] * 33], []
    followers = [[0] * 32]
    members = {}
    for tailoring in tailorings:
        found = [entry[:2] + (tailoring.mixed_case,) for entry in tailoring.contractions]
        # Texts of two languages skip what they share when their tables are the same.
        key = frozenset(tailoring.members)
        assert members.setdefault(key, found) == found
        if found not in sets:
            sets.append(found)
            first = len(entries)
            starts.append([first + sum(letters[0] >> 2 & 31 < code for letters, _, _ in found)
                           for code in range(33)])
            entries += found
            followers.append([0] * 32)
            for letters, _, _ in found:
                for first, second in zip(letters, letters[1:]):
                    followers[-1][first >> 2 & 31] |= 1 << (second >> 2 & 31)
        numbers.append(sets.index(found))
    assert len(entries) < 256
    body = ",\n".join("{{" + ",".join(f"0x{part:04x}" for part in (letters + [0] * 3)[:4]) + "},{" +
                      ",".join(f"0x{order:04x}" for order in (orders + [0])[:2]) +
                      ("},true}" if mixed_case else "},false}")
                      for letters, orders, mixed_case in entries)
    return (f"constinit const Contraction kContractions[] = {{\n{body}}};\n" +
            array(f"constinit const unsigned char kContractionSets[{len(numbers)}]", numbers, 1) +
            array2(f"constinit const unsigned char kContractionStarts[{len(sets)}][33]", starts, 2,
                   33) +
            array2(f"constinit const unsigned kContractionFollowers[{len(sets)}][32]", followers, 8))


def contraction_names(tailoring):
    """(order, spelling) of the first order of each contraction, in all cases."""
    names = []
    for _, orders, text in tailoring.contractions:
        cases = [(0, text.upper()), (2, text[0].upper() + text[1:]), (3, text)]
        if tailoring.mixed_case:
            cases.append((1, text[:-1] + text[-1].upper()))
        names += [(orders[0] | case << 12, spelled) for case, spelled in cases]
    return names


def word_places(tailoring, word):
    """The first MARK_LETTERS letters of a word as digits, 1 for the first letter of the alphabet, 0
    from the first character on that is no letter, and how many characters they are."""
    alphabet, text = sorted(tailoring.alphabet), word.lower()
    runs = sorted(((spelled, orders) for _, orders, spelled in tailoring.contractions),
                  key=lambda run: -len(run[0]))
    places, at = [], 0
    while at < len(text) and len(places) < MARK_LETTERS:
        run = next((run for run in runs if text.startswith(run[0], at)), None)
        orders = run[1] if run else tailoring.orders(min(ord(text[at]), 0xFFFF))
        if not has_case(orders[0]):
            break
        at += len(run[0]) if run else 1
        for order in orders:
            place = order & (0x7C if order & 3 == PART else 0x7F)
            places.append(max(bisect.bisect_right(alphabet, place), 1))
    return (places + [0] * MARK_LETTERS)[:MARK_LETTERS], at


def read_word_marks():
    """Language code -> beginnings of words."""
    if not os.path.exists(WORD_MARKS_FILE):
        return {}
    with open(WORD_MARKS_FILE, encoding="utf-8") as file:
        return {line.split()[0]: line.split()[1:] for line in file}


def word_mark_table(languages):
    """The marks as numbers of MARK_LETTERS digits, by language; number 0 is as English, and so is a
    language without a list of words, with the letters where it has them."""
    marks, lists = read_word_marks(), []
    for language, tailoring in languages[:1] + languages:
        numbers, is_listed = [], language.code in marks
        for beginning in marks[language.code if is_listed else "en"]:
            number = 0
            for place in word_places(tailoring, beginning)[0]:
                number = number * (len(tailoring.alphabet) + 1) + place
            numbers.append(number)
        assert len(numbers) == WORD_MARKS, language.name
        assert not is_listed or numbers == sorted(numbers), language.name
        lists.append(sorted(numbers))
    return array2(f"constinit const unsigned kWordMarks[{len(lists)}][kWordMarkCount]", lists, 7)


def language_file(languages, tailorings):
    """Names of languages, and the letters that their orders stand for, in UTF-8."""
    lists = []
    for tailoring in tailorings:
        own = tailoring.own or {ord(small): tailoring.base[ord(small)] for small, tokens
                                in parsed_entries(ROOT_LETTERS) if len(tokens) == 1}
        names = {}
        for code, orders in sorted(own.items()):
            if len(orders) == 1:
                names.setdefault(orders[0], chr(code))
        if not tailoring.own:  # capitals of the root
            for code, orders in tailoring.base.items():
                if len(orders) == 1 and orders[0] | 0x1000 in names and orders[0] not in names:
                    names.setdefault(orders[0], chr(code))
        names.update(contraction_names(tailoring))
        lists.append(sorted(names.items()))
    assert all(len(name.encode()) < 6 for names in lists for _, name in names)
    starts = [sum(len(names) for names in lists[:number]) for number in range(len(lists) + 1)]
    body = ",\n".join("{" + f"0x{order:04x}," + '"' + "".join(
        f"\\{byte:03o}" for byte in name.encode()) + '"}' for names in lists for order, name in names)
    text = HEADER.format(what="languages", include="tables.h") + "namespace kv::zin {\n"
    rows_ = ",\n".join(f'KvLanguage({language.number},"{language.name}","{language.code}")'
                       for language, _ in languages)
    text += f"constinit const KvLanguage kLanguages[] = {{\n{rows_}}};\n"
    text += f"constinit const unsigned kLanguageCount = {len(languages)};\n"
    cases = [(language.number, ord(small), ord(capital)) for language, _ in languages
             for small, capital in language.case.items()]
    body_ = ",\n".join("{" + f"{number},0x{small:04x},0x{capital:04x}" + "}"
                       for number, small, capital in cases)
    text += f"constinit const CasePair kCasePairs[] = {{\n{body_}}};\n"
    text += f"constinit const unsigned kCasePairCount = {len(cases)};\n"
    text += f"constinit const LetterName kLetterNames[] = {{\n{body}}};\n"
    text += array(f"constinit const unsigned short kLetterNameStarts[{len(starts)}]", starts, 3)
    return text + "}  // namespace kv::zin\n"


# ------------------------------------------------------------------------------------------------
# Pages that list the languages

def language_list():
    names = ", ".join(f"{language.number}~{language.name}" for language in LANGUAGES)
    return textwrap.fill(f"Languages: {names}.", 90).replace("~", " ")


def letters_beside(language, tailoring):
    """What sorts with which letter, told apart from it after all letters."""
    own = {parsed_order(token, 1, 0) & 0x7F: small
           for small, (token,) in reversed(parsed_entries(language.letters))}
    beside = {}
    for small, tokens in parsed_entries(language.others) + parsed_entries(language.contractions):
        if len(tokens) == 2:
            beside.setdefault("".join(token[0].lower() for token in tokens), []).append(small)
            continue
        place = parsed_order(tokens[0], 1, 0) & 0x7F
        plain = chr((place >> 2) + 94) if place & 3 == 0 and place >> 2 < 29 else None
        base = own.get(place, plain)
        if base is not None and base != small:
            beside.setdefault(base, []).append(small)
    return "; ".join(f"{' '.join(letters)} with {base}" for base, letters in beside.items())


def language_table(tailorings):
    lines = ["| language | letters of its own | sorted with others |", "|---|---|---|"]
    plain = []
    for language, tailoring in tailorings:
        if not tailoring.own:
            plain.append(f"{language.name} ({language.number}, {language.code})")
            continue
        own = [small for small, _ in parsed_entries(language.letters)]
        runs = [run for run, (token,) in parsed_entries(language.contractions)
                if parsed_order(token, 0, 0) & 0x7F not in
                {parsed_order(each, 0, 0) & 0x7F for _, (each,) in parsed_entries(language.letters)}]
        lines.append(f"| {language.name} ({language.number}, {language.code}) | "
                     f"{' '.join(own + runs)} | {letters_beside(language, tailoring)} |")
    lines.append(f"| {', '.join(plain)} | none | |")
    return "\n".join(lines)


def pages(tailorings):
    """Path -> what it should hold, for the pages that list the languages."""
    result = {}
    for path, pattern, text in (
            ("docs/collation.md", r"\| language \| letters of its own \|[^\n]*\n(\|[^\n]*\n)*",
             language_table(tailorings) + "\n"),
            ("tools/kvtm/manual.cpp", r"Languages: [^.]*\.", language_list())):
        path = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../..", path)
        with open(path, encoding="utf-8") as file:
            result[path], count = re.subn(pattern, lambda _: text, file.read())
        assert count == 1, f"{path} has no list of languages"
    return result


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
    orders, languages, tailorings = order_file(characters, to_unicode)
    files = {"codesets.cpp": code_sets, "orders.cpp": orders,
             "languages.cpp": language_file(languages, tailorings),
             "properties.cpp": property_file(characters), "casemap.cpp": case_file(characters)}
    folder, differing = os.path.dirname(os.path.abspath(__file__)), []
    texts = {os.path.join(folder, name): text.replace("VERSION", characters.version, 1)
             for name, text in files.items()}
    texts.update(pages(languages))
    for path, text in texts.items():
        if not arguments.check:
            with open(path, "w", encoding="utf-8") as file:
                file.write(text)
            continue
        with open(path, encoding="utf-8") as file:
            committed = file.read()
        name = os.path.basename(path)
        generated = text.startswith("// Generated")
        if generated and committed.splitlines()[0] != text.splitlines()[0]:
            print(f"{name} is from another version of Unicode than {characters.version}: "
                  "not compared")
        elif committed != text:
            differing.append(name)
    if differing:
        sys.exit("differs from what would be generated: " + ", ".join(differing))


if __name__ == "__main__":
    main()
