"""The C example: typed records in LMDB under tuple keys, walked by the beginning of a name."""
import os
import subprocess
import tempfile
import unittest

PROGRAM = os.path.join(os.environ.get("KV_BUILD_DIR", "build/native"), "bin", "visits")


@unittest.skipUnless(os.path.exists(PROGRAM), "visits is not built (it needs liblmdb)")
class Visits(unittest.TestCase):
    def run_on(self, folder, *beginning):
        done = subprocess.run([PROGRAM, folder, *beginning], capture_output=True,
                              encoding="utf-8", errors="replace")
        return done.returncode, [line.split()[:2] for line in done.stdout.splitlines()], done.stderr

    def test_names_in_swedish_order_and_the_latest_day_first(self):
        with tempfile.TemporaryDirectory() as folder:
            self.assertEqual(self.run_on(folder), (0, [
                ["Anders", "2024-01-15"], ["Zetterlund", "2024-02-29"], ["Åse", "2024-03-01"],
                ["Åse", "2023-12-31"], ["Östen", "2024-01-16"]], ""))
            self.assertEqual(self.run_on(folder, "å")[1],
                             [["Åse", "2024-03-01"], ["Åse", "2023-12-31"]])

    def test_failures_are_told(self):
        with tempfile.TemporaryDirectory() as folder:
            status, lines, error = self.run_on(os.path.join(folder, "none"))
            self.assertEqual((status, lines), (1, []))
            self.assertIn("visits: ", error)
            self.assertIn("kvMismatch", self.run_on(folder, b"\xff")[2])


if __name__ == "__main__":
    unittest.main()
