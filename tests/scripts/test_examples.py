"""The example programs do without casts. What they print stands in says/."""
import os
import re
import unittest
from pathlib import Path

SOURCE = Path(os.environ.get("KV_SOURCE_DIR", "."))


class Examples(unittest.TestCase):
    def test_they_need_no_cast(self):
        for name in ("rocksdb_order", "lmdb_index", "std_containers"):
            text = (SOURCE / "examples" / name / "main.cpp").read_text()
            self.assertIsNone(re.search(r"_cast<|\((?:unsigned|int|char|void|size_t)[ *]*\)\w", text))


if __name__ == "__main__":
    unittest.main()
