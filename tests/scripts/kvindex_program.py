"""How the tests run the built kvindex, and the stores that they run it on."""
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

SOURCE = os.environ.get("KV_SOURCE_DIR", ".")
BUILD = os.environ.get("KV_BUILD_DIR", "build/native")
PROGRAM = os.path.join(BUILD, "bin", "kvindex")
sys.path.insert(0, os.path.join(SOURCE, "tools"))
import cluster  # noqa: E402

needs_kvindex = unittest.skipUnless(os.path.exists(PROGRAM),
                                    "kvindex is not built (32-bit, or its packages are missing)")


def kvindex(*arguments, stdin=b"", timeout=120, **options):
    """Runs kvindex; returns (exit status, output, error output)."""
    if isinstance(stdin, str):
        stdin = stdin.encode()
    done = subprocess.run([PROGRAM, *arguments], input=stdin, capture_output=True,
                          timeout=timeout, **options)
    return done.returncode, done.stdout.decode("utf-8", "replace"), done.stderr.decode()


RUNNING = []  # the servers, for a module of tests that imports the next two


def setUpModule():
    if os.path.exists(PROGRAM):
        RUNNING.append(cluster.Running(["etcd", "postgresql"], os.path.join(BUILD, "cluster")))


def tearDownModule():
    while RUNNING:
        RUNNING.pop().end()


class KvIndexTest(unittest.TestCase):
    names = 0

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="kvindex.")
        self.addCleanup(shutil.rmtree, self.folder)

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, text):
        with open(self.path(name), "wb") as file:
            file.write(text if isinstance(text, bytes) else text.encode())
        return self.path(name)

    def emptied(self, url):
        """A place of a store where nothing is; servers keep what the test before left."""
        if url.startswith("etcd:"):
            KvIndexTest.names += 1
            return f"{url}/{KvIndexTest.names}"
        if url.startswith("postgresql:"):
            database = "one" if "dbname=one" in url else "postgres"
            server = RUNNING[0].clusters["postgresql"]
            server.run("psql", "-X", "-q", "-d", server.conninfo(0, database), "-c",
                       "DO $$ BEGIN DELETE FROM kv_store; EXCEPTION WHEN undefined_table THEN END $$")
        return url

    def good(self, *arguments, **options):
        """The output of a command that must succeed silently."""
        status, output, error = kvindex(*arguments, **options)
        self.assertEqual((status, error), (0, ""), arguments)
        return output

    def fails(self, status, words, *arguments, **options):
        """A command that must fail with one line on stderr that holds `words`."""
        got, output, error = kvindex(*arguments, **options)
        self.assertEqual(got, status, (arguments, output, error))
        self.assertRegex(error, r"\Akvindex: [^\n]+\n\Z", arguments)
        for word in words.split(" & "):
            self.assertIn(word, error, arguments)
        self.assertEqual(output, "", arguments)
        return error
