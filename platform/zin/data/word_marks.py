#!/usr/bin/env python3
"""Takes from word lists where the words of each language stand, for estimates of index bounds.

    platform/zin/data/word_marks.py [--share FOLDER]

Writes word_marks.txt beside itself: for each language the beginnings of the words that part its
list into 192 stretches of as many words each. generate.py makes numbers of them. The lists are
those of Debian's packages wamerican, wngerman, wfrench, wspanish, witalian, wportuguese, wdutch,
wdanish, wnorwegian, wswedish and wpolish and of hunspell's dictionaries; Finnish has none, so its
words come from the messages of the programs that are installed. A language whose list is missing
keeps its line; without one it is estimated as English is."""
import argparse
import gettext
import glob
import os
import re

import generate

LISTS = {
    "en": "dict/american-english", "de": "dict/ngerman", "fr": "dict/french", "es": "dict/spanish",
    "it": "dict/italian", "pt": "dict/portuguese", "nl": "dict/dutch", "da": "dict/danish",
    "no": "dict/bokmaal", "sv": "dict/swedish", "pl": "dict/polish", "cs": "hunspell/cs_CZ.dic",
    "hu": "hunspell/hu_HU.dic", "tr": "hunspell/tr_TR.dic", "sk": "hunspell/sk_SK.dic",
    "hr": "hunspell/hr_HR.dic", "ro": "hunspell/ro_RO.dic", "is": "hunspell/is_IS.dic",
}
ENOUGH = 100000  # words of a list
MESSAGES = {"fi": "locale/fi/LC_MESSAGES/*.mo"}


def decoded(line):
    try:
        return line.decode("utf-8")
    except UnicodeDecodeError:
        return line.decode("latin_1")  # two of the lists


def words_of(share, code):
    """All words of a language that begin with a letter, each once."""
    words = set()
    if code in MESSAGES:
        for path in sorted(glob.glob(os.path.join(share, MESSAGES[code]))):
            with open(path, "rb") as file:
                for text in gettext.GNUTranslations(file)._catalog.values():
                    words.update(re.findall(r"\b[^\W\d_]{2,}\b", text))
        return words
    path = os.path.join(share, LISTS[code])
    if not os.path.exists(path):
        return words
    with open(path, "rb") as file:
        for line in file:
            word = re.split(r"[/\t ]", decoded(line.strip()))[0]  # dictionaries have flags behind
            if word[:1].isalpha():
                words.add(word)
    return words


def beginnings(tailoring, words):
    """What the words begin with that part them into stretches of one size."""
    count = generate.WORD_MARKS + 1
    some = sorted(words)[::len(words) // ENOUGH + 1]
    keyed = sorted((generate.word_places(tailoring, word)[0], word) for word in some)
    for number in range(1, count):
        word = keyed[number * len(keyed) // count][1].lower()
        yield word[:generate.word_places(tailoring, word)[1]]


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--share", default="/usr/share", metavar="FOLDER")
    parser.add_argument("--unicode", default="/usr/share/unicode", metavar="FOLDER")
    arguments = parser.parse_args()
    base = generate.base_orders(characters := generate.Characters(arguments.unicode))
    lines = generate.read_word_marks()
    for language in generate.LANGUAGES:
        words = words_of(arguments.share, language.code)
        if words:
            tailoring = generate.Tailoring(characters, base, language)
            lines[language.code] = list(beginnings(tailoring, words))
        print(f"{language.code} {len(words)} words" + ("" if words else ", line kept"))
    with open(generate.WORD_MARKS_FILE, "w", encoding="utf-8") as file:
        for language in generate.LANGUAGES:
            if language.code in lines:
                file.write(" ".join([language.code] + lines[language.code]) + "\n")


if __name__ == "__main__":
    main()
