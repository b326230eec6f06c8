"""The golden files computed a second time, without the library.

Stored bytes come from struct and the documented layouts, hashes from the documented formulas,
orders from sort keys. Nothing here calls or copies the library, so a line that agrees has been
derived twice. A character whose collation order no rule here gives fails: add the rule, or read the
order off `kvtm order` and add it to READ_OFF.
"""
import glob
import math
import os
import re
import struct
import unicodedata
import unittest

SOURCE = os.environ.get("KV_SOURCE_DIR", os.path.join(os.path.dirname(__file__), "..", ".."))
MULTIPLIER = 1103515245
NULL_HASH = 0xFEFE7575
M32 = 0xFFFFFFFF


# --- Golden files -------------------------------------------------------------------------------

class Line:
    def __init__(self, text):
        self.relation, rest = text.split(" ", 1)
        self.value, self.stored, self.reversed, self.hash = map(str.strip, rest.split("|"))


class File:
    def __init__(self, path):
        self.name = os.path.basename(path)
        self.old, self.lines, self.run = False, [], None
        with open(path, encoding="ascii") as text:
            for line in text.read().splitlines():
                word = line.split(" ")[0]
                if word == "type":
                    self.type = int(line.split()[1])
                elif word == "catalogue":
                    self.old = line.split()[1] == "old"
                elif word == "fields":
                    self.fields = line.split()[1:]
                elif word == "run":
                    self.run = Line(line)
                elif word in (".", "<", "="):
                    self.lines.append(Line(line))


# --- Values -------------------------------------------------------------------------------------

def number(kind, text):
    """A field's value; a float is (bits, number)."""
    if kind[0] == "x":
        return bytes.fromhex(text)
    if kind[0] != "f":
        return int(text)
    bits, code = ("<I", "<f") if kind == "f4" else ("<Q", "<d")
    if text.startswith("bits:"):
        raw = struct.pack(bits, int(text[5:], 16))
    else:
        raw = struct.pack(code, float(text))
    return struct.unpack(bits, raw)[0], struct.unpack(code, raw)[0]


def unquoted(text):
    units = []
    for byte, unit, plain in re.findall(r"\\x(..)|\\u(....)|(.)", text[1:-1]):
        units.append(int(byte or unit, 16) if byte or unit else ord(plain))
    return units


def parse(file, text):
    """A value: its fields, (code set, language, units) of a string, bytes; None is null."""
    kind = file.fields[0].split(":")[1]
    if kind == "string":
        if text == "null":
            return None
        code_set, language, quoted = text.split(" ", 2)
        return int(code_set), int(language), unquoted(quoted)
    if kind == "bytes":
        return unquoted(text)
    if kind == "blob":
        return None if text == "null" else bytes.fromhex(text[1:-1])
    kinds = [field.split(":")[1] for field in file.fields]
    return [number(k, t) for k, t in zip(kinds, text.split(), strict=True)]


def signed(value, bits):
    return value - (1 << bits) if value >> (bits - 1) & 1 else value


# --- Stored layouts -----------------------------------------------------------------------------

# Struct codes of the stored fields, packed, by type id. Floats are given as their bits. Capital S
# is a 16-bit field that is most significant byte first in either order.
LAYOUTS = {
    0: "b", 1: "h", 2: "i", 3: "Q", 4: "I", 5: "H", 6: "I", 7: "i", 8: "I", 9: "i", 10: "B",
    12: "hbb", 13: "bbb", 14: "I", 15: "IIH", 16: "HH", 17: "IIHHH", 19: "hbbbbb", 22: "hBB",
    23: "BBBBBB", 24: "hBBBBBBBB", 25: "I", 26: "Ii", 27: "B", 39: "SSS", 40: "hbbbbbi",
    41: "hbbbbbi", 42: "q", 43: "Q",
}
# Nullable rows and the row of their base.
NULLABLE = {28: 0, 29: 10, 30: 1, 31: 5, 32: 7, 33: 8, 34: 2, 35: 6, 36: 4, 37: 3, 38: 26, 44: 42,
            45: 43}


def packed(type_id, fields, order):
    image = b""
    if isinstance(fields[0], bytes):  # never turned
        return b"".join(fields)
    for code, field in zip(LAYOUTS[type_id], fields):
        bits = field[0] if isinstance(field, tuple) else field
        image += struct.pack(">H" if code == "S" else order + code, bits)
    return image


def string_block(value, order):
    code_set, language, units = value if value is not None else (0, 254, [])
    data = struct.pack(f"{order}{len(units)}H", *units) if code_set > 224 else bytes(units)
    data += b"\x00\xff"
    return struct.pack(order + "H", len(data) + 2) + bytes([code_set, language]) + data


def blob_image(values, order):
    elements = b""
    for value in values:
        elements += struct.pack(order + "I", M32 if value is None else len(value))
        elements += value or b""
    return struct.pack(order + "I", len(elements)) + elements


def stored(file, values, order):
    """The run's stored bytes; order is "<" for memory order, ">" for reversed."""
    if file.old:
        texts = b"".join(bytes(units) + b"\0" for _, _, units in values)
        return struct.pack(order + "H", len(texts)) + texts
    if file.type == 11:
        return b"".join(string_block(value, order) for value in values)
    if file.type in (20, 21):  # the string form, default code set and language
        return b"".join(string_block((1, 1, value), order) for value in values)
    if file.type == 18:
        return blob_image(values, order)
    if file.type in NULLABLE:
        base = NULLABLE[file.type]
        return b"".join(bytes([v[-1]]) + packed(base, v[:-1], order) for v in values)
    return b"".join(packed(file.type, value, order) for value in values)


# --- Collation orders of Latin text -------------------------------------------------------------

ACCENTS = {0x327: 1, 0x301: 2, 0x300: 3, 0x302: 4, 0x303: 5, 0x308: 6, 0x30A: 7, 0x30C: 9,
           0x304: 10, 0x306: 11, 0x307: 12, 0x328: 13, 0x30B: 14}
SYMBOLS = {"_": 32, "-": 36, ",": 37, ";": 38, ":": 39, "!": 40, "?": 42, "/": 44, ".": 46,
           '"': 55, "(": 60, ")": 62, "@": 73, "$": 76, "*": 79, "\\": 80, "&": 81, "#": 82,
           "%": 83, "+": 85, "<": 101, "=": 103, ">": 105, "|": 107}
# Places that the property tables choose.
READ_OFF = {" ": 33, "€": 600}
# Letters that a language sorts after z, in their order there.
AFTER_Z = {10: "åäö", 11: "åäö"}
CODE_SETS = {1: "latin-1", 2: "cp1252", 8: "iso8859-5"}


def character_orders(character, language):
    if character in READ_OFF:
        return [READ_OFF[character]]
    if character.isascii() and character.isdigit():
        return [16128 + 10 * int(character)]
    if character in SYMBOLS:
        return [80 + SYMBOLS[character]]
    if character == "\xdf":  # two letters s, marked as parts of one character
        return [order | 3 for order in character_orders("s", language) * 2]
    case = character.islower() << 12
    base, *marks = unicodedata.normalize("NFD", character)
    if character.lower() in AFTER_Z.get(language, ""):  # with its natural accent
        place = 29 + AFTER_Z[language].index(character.lower())
        return [0x4000 | case | ACCENTS[ord(marks[0])] << 7 | place << 2]
    if base.isascii() and base.isalpha() and len(marks) <= 1 and set(map(ord, marks)) <= set(ACCENTS):
        accent = ACCENTS[ord(marks[0])] if marks else 0
        return [0x4000 | case | accent << 7 | (ord(base.upper()) - 62) << 2]
    if marks or not character.isalpha() or "LATIN" in unicodedata.name(character):
        raise ValueError(f"no rule for the order of {character!r}")
    # Other scripts: two orders of 0x8000 and above, capital and small letter side by side.
    partner = ord(character.lower())
    return [0x8000 + partner // 2, 0x8000 + 2 * (partner % 2) + character.islower()]


def orders(value):
    code_set, language, units = value
    wide = "".join(map(chr, units))
    text = wide if code_set == 253 else bytes(units).decode(CODE_SETS[code_set])
    return [order for character in text for order in character_orders(character, language)]


# --- Hashes -------------------------------------------------------------------------------------

def nine(keys):
    """The hash of a text: nine times what was, plus the next key."""
    total = 0
    for key in keys:
        total = (9 * total + key) & M32
    return total


def string_hash(value):
    if value is None:
        return NULL_HASH
    if value[0] == 0:
        return nine(value[2])
    sort_class = 20 if value[1] >= 20 else 1
    keys = []
    for order in orders(value):
        letter = order & 0xC000 == 0x4000
        folded = letter and sort_class != 20
        part = (order & 0x407F) << 8 | order >> 7 & 0x7F if folded else order << 8
        keys.append(sort_class << 24 | part)
    return nine(keys)


def halves(value):
    return value & M32 ^ value >> 32 & M32


def fields_key(fields):
    """Components side by side, a byte each behind the first, signed ones borrowing."""
    key = fields[0]
    for field in fields[1:]:
        key = key * 256 + field
    return key


def first(value):
    return value[0]


def mixed(*keys):
    """Several numbers of a date-time mixed by a prime."""
    total = 0
    for key in keys:
        total = (total * 16777619 + key) & M32
    return total


def odmg_time_key(fields):
    zone_hour, zone_minute, hour, minute, second, hundredth = fields
    return mixed(zone_hour * 256 + zone_minute, fields_key([hour, minute, second, hundredth]))


def date_time_key(fields):
    return mixed(fields_key(fields[:3]), fields_key(fields[3:6]), *fields[6:])


# The key of one value by type id.
KEYS = {
    **dict.fromkeys((0, 1, 2, 5, 6, 7, 8, 9, 10, 14), first),
    3: lambda v: halves(v[0][0]),
    4: lambda v: v[0][0],
    11: string_hash,
    12: fields_key,
    13: fields_key,
    15: lambda v: v[0] ^ v[1] ^ v[2],
    16: lambda v: v[0] | v[1] << 16,
    17: lambda v: v[0] ^ v[1] ^ (v[2] | v[3] << 16) ^ v[4],
    18: lambda v: NULL_HASH if v is None else nine(v),
    19: date_time_key,
    20: lambda v: 0,
    21: lambda v: 0,
    22: fields_key,
    23: odmg_time_key,
    24: lambda v: mixed(fields_key(v[:3]), odmg_time_key(v[3:])),
    25: lambda v: v[0][0],
    26: lambda v: v[0] ^ v[1],
    27: lambda v: signed(v[0], 8),
    39: lambda v: (v[0] | v[1] << 16) ^ v[2],
    40: date_time_key,
    41: date_time_key,
    42: lambda v: halves(v[0]),
    43: lambda v: halves(v[0]),
}


def words_key(value):
    """Bytes as 4-byte words with the most significant byte first."""
    total = 0
    for word, in struct.iter_unpack(">I", b"".join(value)):
        total ^= word
    return total


def key_of(type_id, value):
    if type_id not in NULLABLE:
        return KEYS.get(type_id, words_key)(value)
    if value[-1]:
        return NULL_HASH
    return KEYS[NULLABLE[type_id]](value[:-1]) * MULTIPLIER


def run_hash(file, values):
    total = 0
    for value in values:
        total ^= key_of(file.type, value) & M32
    # Nullables multiply each key and not the total.
    return total if file.type in NULLABLE else total * MULTIPLIER & M32


# --- Orders -------------------------------------------------------------------------------------

def float_key(value):
    real = value[1]
    if math.isnan(real):
        return -2, 0
    if math.isinf(real):
        return math.copysign(1, real), 0
    return 0, real


def string_key(value):
    """By levels: what the characters are, accents, case, extension. Null before all."""
    if value is None:
        return (0,)
    if value[0] == 0:
        return 1, value[2]
    found = orders(value)

    def level(letter_bits, other_bits):
        return [order & (letter_bits if order & 0xC000 == 0x4000 else other_bits)
                for order in found]
    return 1, level(0x407C, 0xFFFF), level(0x0F80, 0), level(0x3000, 0), level(0x0003, 0)


# Weights of the bytes 0x40 to 0x7F and 0xC0 to 0xFF in the 8-bit string class that keeps case.
WEIGHTS_40 = bytes.fromhex(
    "40545B5E61696F7173797F8183858790 97999B9D9FA5ABADAFB3B74243444546"
    "414E5A5C60646E7072747E808284868A 96989A9C9EA0AAACAEB0B64748494A4B")
WEIGHTS_C0 = bytes.fromhex(
    "5454545454BDB95E 6969696979797979 638990909090904C BBA5A5A5A5B3BF9C"
    "4E4E4E4E4EBCB85C 6464646474747474 62888A8A8A8A8A4D BAA0A0A0A0B0BEB0")


def byte_weights(byte, case_blind):
    """The weight of a byte, and that of the letter it expands to where it is two."""
    if byte < 0x40:
        return [byte]
    if byte < 0x80:
        lower = 0x60 <= byte <= 0x7A
        return [WEIGHTS_40[byte - (0x60 if lower and case_blind else 0x40)]
                if byte != 0x60 else 0x41]
    if byte < 0xA0:
        small_oe = [0x90, 0x69] if case_blind else [0x8A, 0x64]
        return {0x8C: [0x90, 0x69], 0x9C: small_oe, 0x9F: [0xB3]}.get(byte, [byte + 0x60])
    if byte < 0xC0:
        return [byte + 0x10]
    if byte == 0xDF:
        return [0x9D, 0x9D] if case_blind else [0x9C, 0x9C]
    if case_blind and byte >= 0xE0:
        return [{0xF7: 0x4D, 0xFF: 0xB3}.get(byte, WEIGHTS_C0[byte - 0xE0])]
    return [WEIGHTS_C0[byte - 0xC0]]


def weights(units, case_blind):
    """Weights of a text; an empty one has no buffer and orders before every other."""
    if not units:
        return (0,)
    return 1, [weight for byte in units for weight in byte_weights(byte, case_blind)]


ORDERS = {
    3: lambda v: float_key(v[0]),
    4: lambda v: float_key(v[0]),
    11: string_key,
    15: lambda v: (v[2], v[1], v[0]),
    16: lambda v: (0,) if v == [65535, 65535] else (1, *v),
    17: lambda v: (v[2], v[1], v[0], v[3], v[4]),
    18: lambda v: (0,) if v is None else (1, v),
    20: lambda v: weights(v, False),
    21: lambda v: weights(v, True),
    25: lambda v: float_key(v[0]),
    26: lambda v: v[1] * 2**32 + v[0],
    27: lambda v: (0, 0) if v[0] == 255 else (1, signed(v[0], 8)),
}


def order_key(type_id, value):
    if type_id not in NULLABLE:
        return ORDERS.get(type_id, tuple)(value)
    return (0,) if value[-1] else (1, order_key(NULLABLE[type_id], value[:-1]))


# --- Sort keys, as docs/sort-keys.md has them ---------------------------------------------------

# Fields in the order of the key and their struct codes, where that is not the stored order.
KEY_FIELDS = {15: ((2, "H"), (1, "I"), (0, "I")),
              17: ((2, "H"), (1, "I"), (0, "I"), (3, "H"), (4, "H"))}
# Leading bytes of a null that is no byte of its own, and what they are.
NULLS = {**{t: struct.calcsize(">" + LAYOUTS[t]) for t in (12, 13, 19, 27, 16, 40, 41)},
         15: 6, 17: 6}


def number_key(code, value):
    """Most significant byte first; signed numbers with their top bit turned."""
    if code == "S":
        code = "H"
    width = struct.calcsize(">" + code)
    top = 1 << 8 * width - 1 if code.islower() else 0
    return (value % (1 << 8 * width) ^ top).to_bytes(width, "big")


def float_bytes(bits, width):
    top = 1 << 8 * width - 1
    infinity = 0x7F800000 if width == 4 else 0x7FF0000000000000
    if bits & ~top > infinity:
        return bytes(width)
    if bits == top:
        bits = 0
    return (bits ^ 2 * top - 1 if bits & top else bits | top).to_bytes(width, "big")


def fixed_key(type_id, value):
    if isinstance(value[0], bytes):
        return b"".join(value)
    if type_id in (3, 4, 25):
        return float_bytes(value[0][0], 8 if type_id == 3 else 4)
    if type_id == 16:
        return ((value[0] * 65536 + value[1] + 1) % 2**32).to_bytes(4, "big")
    if type_id == 26:
        return number_key("i", value[1]) + number_key("I", value[0])
    if type_id == 27:
        byte = value[0]
        return bytes([0 if byte == 255 else byte - 128 + 1 if byte >= 128 else 0x80 + byte])
    if type_id in KEY_FIELDS:
        return b"".join(number_key(code, value[at]) for at, code in KEY_FIELDS[type_id])
    return b"".join(number_key(code, field) for code, field in zip(LAYOUTS[type_id], value))


def with_null_last(type_id, key):
    """The key of a row whose null is one of its values."""
    width = NULLS.get(type_id)
    if width is None:
        return key
    null = bytes(7) + b"\x80\0\0\0" if type_id in (40, 41) else bytes(width)
    if key[:width] == null:
        return b"\xff" * width + key[width:]
    if key[:width] < null:
        return key
    return (int.from_bytes(key[:width], "big") - 1).to_bytes(width, "big") + key[width:]


def lead_code(lead, width, value):
    """`width` bytes behind the lead, into which the number may carry."""
    return ((lead << 8 * width) + value).to_bytes(width + 1, "big")


# First and last order of a code, its lead, and how many bytes follow.
LEADS = ((1, 8, 0x01, 1), (9, 10, 0x02, 0), (11, 13, 0x04, 1), (14, 14, 0x05, 0), (15, 32, 0x06, 1),
         (33, 33, 0x07, 0), (34, 66, 0x08, 1), (67, 67, 0x09, 0), (68, 111, 0x0A, 1),
         (112, 190, 0x0B, 0), (191, 2238, 0x5A, 1), (2239, 16127, 0x62, 2),
         (0x4000, 0x400B, 0x77, 1))


def is_letter(order):
    return 0x4000 <= order < 0x8000


def base_order(order):
    """What an order is at level 1."""
    if is_letter(order):
        return order & (0x407C if order & 3 == 3 else 0x407F)
    if 16128 <= order <= 16383 or 0x8000 <= order <= 0x8003:
        return order & ~1
    return order


def level_one_code(order):
    if order >= 0x400C:
        letter, extension = divmod(order - 0x400C, 4)
        return bytes([0x78 + 3 * letter + extension])
    if 16128 <= order < 0x4000:
        digit = min((order - 16128) // 10, 9)
        behind = order - 16128 - 10 * digit
        if behind == 0:
            return bytes([0x63 + 2 * digit])
        return bytes([0x64 + 2 * digit, behind // 2 - 1])
    for first, last, lead, more in LEADS:
        if first <= order <= last:
            return lead_code(lead, more, order - first)
    raise ValueError(order)


def level_one(bases):
    code, at = b"", 0
    while at < len(bases):
        order = bases[at]
        at += 1
        if order < 0x8000:
            code += level_one_code(order)
            continue
        following = bases[at] if at < len(bases) else 0
        s = 0 if following < 0x8000 else {0x8000: 1, 0x8002: 2}.get(following, 3)
        at += s in (1, 2)
        if order < 0x8B80:
            code += lead_code(0xCF, 1, 4 * (order - 0x8000) + s)
        else:
            code += lead_code(0xFD, 2, 4 * (order - 0x8B80) + s)
    return code


def mark(number, begin, one_byte, turned):
    step, behind = number, b""
    if number >= one_byte:
        number -= one_byte
        more = 1 if number < 256 else 2 if number < 256 + 65536 else 3
        number -= {1: 0, 2: 256, 3: 256 + 65536}[more]
        step, behind = one_byte + more - 1, number.to_bytes(more, "big")
    if not turned:
        return bytes([begin + step]) + behind
    return bytes([begin - step]) + bytes(255 - byte for byte in behind)


def case_marks(found, bases):
    marks, passed = b"", 0
    for at, order in enumerate(found):
        before = bases[at - 1] if at else 0
        plain, case = 0, 0
        if is_letter(order):
            plain, case = 3 if order >> 7 & 31 >= 28 else 1, order >> 12 & 3
        elif bases[at] in (0x8000, 0x8002):
            capitals = (range(0x80C0, 0x8128), range(0x81B8, 0x82C8), range(0x8F00, 0x9000))
            plain, case = int(any(before in script for script in capitals)), order & 1
        if case < plain:
            marks += mark(3 * passed + case, 0x00, 45, False)
        if case > plain:
            marks += mark(3 * passed + 3 - case, 0x42, 0, True)
        passed = passed + 1 if case == plain else 0
    return marks


def text_key(found, language=1):
    bases = [base_order(order) for order in found]
    key, passed = b"\1" + level_one(bases) + b"\0", 0
    for order in found:
        accent = order >> 7 & 31 if is_letter(order) else 0
        if accent:
            key += mark(31 * passed + 31 - accent, 0xFF, 186, True)
        passed = 0 if accent else passed + 1
    key, passed = key + case_marks(found, bases), 0
    for order in found:
        variant = order & 3 == 3 if is_letter(order) else 16128 <= order < 0x4000 and order & 1
        if variant:
            key += mark(passed, 0x3F, 11, True)
        passed = 0 if variant else passed + 1
    return key + (b"\x31" if language >= 20 and found else b"\x30")


def sort_key(type_id, value):
    """The key of a value that is not null, and whether it is null."""
    if type_id in NULLABLE:
        if value[-1]:
            return b"\0", True
        return b"\1" + fixed_key(NULLABLE[type_id], value[:-1]), False
    if type_id in (11, 18) and value is None:
        return b"\0", True
    if type_id == 18:
        return b"\1" + value.replace(b"\0", b"\0\xff") + b"\0\0", False
    if type_id == 11:
        if value[0] == 0:
            return b"\1" + bytes(value[2]) + b"\0", False
        return text_key(orders(value), value[1]), False
    if type_id in (20, 21):
        found = weights(value, type_id == 21)
        return (b"\1" + bytes(found[1]) + b"\0" if value else b"\0"), False
    return fixed_key(type_id, value), False


def key_line(type_id, text, value):
    key, is_lead_null = sort_key(type_id, value)
    last = b"\xff" if is_lead_null else with_null_last(type_id, key)
    return f"{text} | {key.hex().upper()} | {last.hex().upper()}"


# ------------------------------------------------------------------------------------------------

class Golden(unittest.TestCase):
    def check(self, file, line, values):
        self.assertEqual(line.stored, stored(file, values, "<").hex().upper(), line.value)
        self.assertEqual(line.reversed, stored(file, values, ">").hex().upper(), line.value)
        self.assertEqual(line.hash, f"{run_hash(file, values):08X}", line.value)

    def check_order(self, file, before, line):
        a = order_key(file.type, parse(file, before.value))
        b = order_key(file.type, parse(file, line.value))
        relation = "=" if a == b else "<" if a < b else ">"
        self.assertEqual(line.relation, relation, f"{before.value} and {line.value}")

    def test_every_line(self):
        paths = sorted(glob.glob(os.path.join(SOURCE, "tests", "golden", "*.txt")))
        self.assertTrue(paths)
        for path in paths:
            file = File(path)
            with self.subTest(file.name):
                values = [parse(file, line.value) for line in file.lines]
                for line, value in zip(file.lines, values):
                    self.check(file, line, [value])
                for before, line in zip(file.lines, file.lines[1:]):
                    self.check_order(file, before, line)
                self.check(file, file.run, values[:int(file.run.value)])

    def test_every_key(self):
        for path in sorted(glob.glob(os.path.join(SOURCE, "tests", "golden", "*.txt"))):
            file = File(path)
            keys = os.path.join(SOURCE, "tests", "golden", "keys", file.name)
            with self.subTest(file.name), open(keys, encoding="ascii") as text:
                derived = [key_line(file.type, line.value, parse(file, line.value))
                           for line in file.lines]
                self.assertEqual(text.read().splitlines(), derived)

    def test_every_order_has_a_key(self):
        path = os.path.join(SOURCE, "tests", "golden", "keys", "orders.txt")
        with open(path, encoding="ascii") as text:
            for line in text.read().splitlines():
                found, key = line.split("|")
                derived = text_key([int(order, 16) for order in found.split()])
                self.assertEqual(key.strip(), derived.hex().upper(), line)


if __name__ == "__main__":
    unittest.main()
