"""How the script tests run the built kvtm (its path is in KVTM)."""
import os
import subprocess
import unittest

KVTM = os.environ.get("KVTM", "kvtm")
# The order in which the machine that kvtm was built for has values in memory.
MEMORY_ORDER = "big" if os.environ.get("KV_BYTE_ORDER") == "BIG_ENDIAN" else "little"
SOURCE = os.environ.get("KV_SOURCE_DIR", ".")


def kvtm(*arguments, stdin=b""):
    """Runs kvtm; returns (exit status, output, error output), the last two as text."""
    if isinstance(stdin, str):
        stdin = stdin.encode()
    done = subprocess.run([KVTM, *arguments], input=stdin, capture_output=True, timeout=120)
    return done.returncode, done.stdout.decode("utf-8", "replace"), done.stderr.decode()


class KvtmTest(unittest.TestCase):
    def good(self, *arguments, stdin=b""):
        """The output of a command that must succeed silently."""
        status, output, error = kvtm(*arguments, stdin=stdin)
        self.assertEqual((status, error), (0, ""), arguments)
        return output

    def fails(self, status, words, *arguments, stdin=b""):
        """A command that must fail with one line on stderr that holds `words`."""
        got, output, error = kvtm(*arguments, stdin=stdin)
        self.assertEqual(got, status, (arguments, error))
        self.assertRegex(error, r"\Akvtm: [^\n]+\n\Z", arguments)
        for word in words.split(" & "):
            self.assertIn(word, error, arguments)
        return output
