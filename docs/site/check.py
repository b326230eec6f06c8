#!/usr/bin/env python3
"""Checks a built site: every link and picture inside it leads somewhere, the index and a header's
page hold what they should, and, where headless Chromium is found, both render to a picture that is
not blank.

usage: check.py FOLDER
"""
import shutil
import subprocess
import sys
import zlib
from html.parser import HTMLParser
from pathlib import Path
from urllib.parse import unquote

BROWSERS = ("chromium-headless-shell", "chromium", "chromium-browser", "google-chrome")
EXPECTED = {"index.html": "For whom", "kvdate_8h.html": "Wildcards"}


class Page(HTMLParser):
    def __init__(self, text):
        super().__init__()
        self.links, self.anchors, self.texts = [], set(), []
        self.feed(text)

    def handle_starttag(self, tag, attributes):
        attributes = dict(attributes)
        self.anchors.update(attributes[name] for name in ("id", "name") if name in attributes)
        for name in ("href", "src", "data"):
            if attributes.get(name):
                self.links.append(attributes[name])

    def handle_data(self, data):
        self.texts.append(data)


def broken_links(folder):
    pages = {path.name: Page(path.read_text(encoding="utf-8")) for path in folder.glob("*.html")}
    for name, page in sorted(pages.items()):
        for link in page.links:
            if "://" in link or link.startswith(("mailto:", "javascript:", "data:")):
                continue
            file, _, anchor = unquote(link).partition("#")
            target = file.split("?")[0] or name
            if not (folder / target).exists():
                yield f"{name}: {link}: there is no such file"
            elif anchor == "nested-classes":
                continue  # Doxygen's own link to a list that it leaves out when it is empty
            elif anchor and target in pages and anchor not in pages[target].anchors:
                yield f"{name}: {link}: there is no such place"


def missing_texts(folder):
    for name, text in EXPECTED.items():
        path = folder / name
        if not path.exists() or text not in "".join(Page(path.read_text(encoding="utf-8")).texts):
            yield f"{name} does not say {text!r}"


def blank_pictures(folder):
    browser = next(filter(None, map(shutil.which, BROWSERS)), None)
    if browser is None:
        print("!! site: NO PAGE WAS RENDERED: that needs chromium-headless-shell", file=sys.stderr)
        return
    for name in EXPECTED:
        picture = folder / f"{name}.png"
        subprocess.run([browser, "--headless", "--no-sandbox", "--disable-gpu",
                        "--window-size=1000,800", f"--screenshot={picture}",
                        (folder / name).resolve().as_uri()], capture_output=True, timeout=120)
        # A blank page packs into next to nothing.
        if not picture.exists() or len(zlib.compress(picture.read_bytes())) < 10000:
            yield f"{name} renders as a blank page"


def main():
    folder = Path(sys.argv[1])
    faults = [*broken_links(folder), *missing_texts(folder), *blank_pictures(folder)]
    count = len(list(folder.glob("*.html")))
    print("\n".join(faults) if faults else f"site: {count} pages, every link leads somewhere")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
