"""The type manager: values of 47 types, their stored bytes, orders, hashes and sort keys.

    >>> import kvtm, datetime
    >>> day = kvtm.Type("KvDate")
    >>> stored = day.store(datetime.date(2024, 2, 29))
    >>> stored.hex(), day.load(stored)
    ('e807021d', datetime.date(2024, 2, 29))
    >>> day.key(stored).hex()
    '87e8829d'
    >>> sorted(["Zebra", "Åse", "Ada"], key=kvtm.collation("swedish"))
    ['Ada', 'Zebra', 'Åse']

A Type is what all its values have in common: the type, for texts a language and a code set, and the
kind of its sort keys. It never changes and may be used by all threads. Bytes come in one of three
forms: STORED (memory order, the default), REVERSED (most significant byte first), and MEMORY, the C
values that array.array, numpy and memoryview hold. Failures raise Error, which has the status, its
name and the place.
"""
from ._kvtm import (EXACT, IGNORE_ACCENTS, IGNORE_CASE, IGNORE_VARIANTS, MEMORY, REVERSED, SKIP_SPACES,
                    STORED, Error, Type, types, version)

__all__ = ["EXACT", "IGNORE_ACCENTS", "IGNORE_CASE", "IGNORE_VARIANTS", "MEMORY", "REVERSED",
           "SKIP_SPACES", "STORED", "Error", "Type", "collation", "types", "version"]
__version__ = version()


def collation(language, *, ignore_case=False, ignore_accents=False, ignore_variants=False,
              skip_spaces=False):
    """A function of a str that gives its sort key in a language, for sorted and min and bisect.

    `language` is an English name, an ISO 639-1 code or a number. Texts that the options make equal
    have equal keys.
    """
    compare = (EXACT | ignore_case * IGNORE_CASE | ignore_accents * IGNORE_ACCENTS
               | ignore_variants * IGNORE_VARIANTS | skip_spaces * SKIP_SPACES)
    return Type("KvString", language=language, compare=compare).text_key
