"""What the generator writes, and that every bad row is refused where it stands. What it makes of the rows is in
tests/protocol/catalogue.txt."""

import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from bad_rows import BAD_ROWS

SCHEMA = Path(__file__).parent.parent.parent / "schema"
sys.path.insert(0, str(SCHEMA))

from generator.errors import SchemaError  # noqa: E402
from generator.model.schema import Schema  # noqa: E402


def generate(*arguments: object) -> subprocess.CompletedProcess:
    command = [sys.executable, "-B", str(SCHEMA / "generate.py"), *map(str, arguments)]
    return subprocess.run(command, capture_output=True, text=True, check=False)


class Generator(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def test_writes_the_files_that_it_lists_and_leaves_those_alone_that_would_not_change(self):
        self.assertEqual(generate("--out", self.folder).stderr, "")
        written = [str(path.relative_to(self.folder)) for path in self.folder.rglob("*") if path.is_file()]
        self.assertEqual(sorted(written), sorted(generate("--list-outputs").stdout.split()))
        same, changed = self.folder / "include/kestrine/enums.h", self.folder / "include/kestrine/records.h"
        before = same.stat().st_mtime_ns
        changed.write_text("old")
        generate("--out", self.folder)
        self.assertEqual(same.stat().st_mtime_ns, before)
        self.assertNotEqual(changed.read_text(), "old")

    def test_refuses_every_bad_row_at_its_line(self):
        folder = shutil.copytree(SCHEMA, self.folder / "schema", ignore=shutil.ignore_patterns("*.py", "generator"))
        for file, old, new, message, *at in BAD_ROWS:
            with self.subTest(message):
                before = (SCHEMA / file).read_text()
                after = before.replace(old, new, 1)
                where = after.index(at[0]) if at else before.index(old)
                (folder / file).write_text(after)
                with self.assertRaises(SchemaError) as caught:
                    Schema(folder)
                line = (after if at else before)[:where].count("\n") + 1
                self.assertRegex(str(caught.exception), rf"\Aschema/{file}:{line}: ")
                self.assertIn(message, str(caught.exception))
            (folder / file).write_text(before)

    def test_ends_with_an_error_and_writes_nothing(self):
        (self.folder / "bad.toml").write_text("[[enum]]\n")
        result = generate("--schema", self.folder, "--out", self.folder / "out")
        self.assertEqual((result.returncode, result.stderr), (1, f"{self.folder.name}/bad.toml:1: name is missing\n"))
        self.assertFalse((self.folder / "out").exists())


if __name__ == "__main__":
    unittest.main()
