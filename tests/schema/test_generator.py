"""The generator against a tiny schema: what it makes of it, and that every bad row is refused where it stands.

With --accept, what it makes of the tiny schema becomes what is expected.
"""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from bad_rows import BAD_ROWS, BadRow
from surprises import SURPRISES

HERE = Path(__file__).parent
SCHEMA = HERE.parent.parent / "schema"
GENERATE = SCHEMA / "generate.py"
sys.path.insert(0, str(SCHEMA))

from generator.errors import SchemaError  # noqa: E402
from generator.model.schema import Schema  # noqa: E402
from outline import outline  # noqa: E402

EXPECTED = HERE / "expected.txt"


def generate(*arguments: object) -> subprocess.CompletedProcess:
    command = [sys.executable, "-B", str(GENERATE), *map(str, arguments)]
    return subprocess.run(command, capture_output=True, text=True, check=False)


def files_of(folder: Path) -> dict[str, str]:
    return {str(path.relative_to(folder)): path.read_text() for path in folder.rglob("[!.]*") if path.is_file()}


def line_of(text: str, piece: str) -> int:
    return text[: text.index(piece)].count("\n") + 1


class TinySchema(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.out = Path(folder.name)

    def test_is_understood_as_expected(self):
        self.maxDiff = None
        self.assertMultiLineEqual(outline(Schema(HERE / "tiny")), EXPECTED.read_text())

    def test_gives_the_files_that_it_lists(self):
        self.assertEqual(generate("--schema", HERE / "tiny", "--out", self.out).stderr, "")
        self.assertEqual(sorted(files_of(self.out)), sorted(generate("--list-outputs").stdout.split()))

    def test_leaves_a_file_alone_that_would_not_change(self):
        generate("--schema", HERE / "tiny", "--out", self.out)
        same, changed = self.out / "include/kestrine/enums.h", self.out / "include/kestrine/records.h"
        before = same.stat().st_mtime_ns
        changed.write_text("old")
        generate("--schema", HERE / "tiny", "--out", self.out)
        self.assertEqual(same.stat().st_mtime_ns, before)
        self.assertNotEqual(changed.read_text(), "old")


class WholeSchema(unittest.TestCase):
    def test_keeps_what_surprises(self):
        text = outline(Schema(SCHEMA))
        for line in SURPRISES:
            with self.subTest(line):
                self.assertIn(line, text)


class BadSchema(unittest.TestCase):
    def test_is_refused_at_the_line_of_the_mistake(self):
        for bad in BAD_ROWS:
            with self.subTest(bad.mistake), tempfile.TemporaryDirectory() as folder:
                self.check(bad, Path(folder) / "tiny")

    def test_ends_with_an_error_and_writes_nothing(self):
        with tempfile.TemporaryDirectory() as name:
            folder = Path(name) / "schema"
            folder.mkdir()
            (folder / "bad.toml").write_text("[[enum]]\n")
            result = generate("--schema", folder, "--out", folder / "out")
            self.assertEqual((result.returncode, result.stderr), (1, "schema/bad.toml:1: name is missing\n"))
            self.assertFalse((folder / "out").exists())

    def check(self, bad: BadRow, folder: Path):
        files = files_of(HERE / "tiny")
        where = line_of(files[bad.file], bad.old)
        files[bad.file] = files[bad.file].replace(bad.old, bad.new, 1)
        if bad.at:
            where = line_of(files[bad.file], bad.at)
        for name, text in files.items():
            (folder / name).parent.mkdir(parents=True, exist_ok=True)
            (folder / name).write_text(text)
        with self.assertRaises(SchemaError) as caught:
            Schema(folder)
        place, message = str(caught.exception).split(": ", 1)
        self.assertIn(bad.message, message)
        self.assertEqual(place, f"tiny/{bad.file}:{where}")


if __name__ == "__main__":
    if "--accept" in sys.argv:
        EXPECTED.write_text(outline(Schema(HERE / "tiny")))
    else:
        unittest.main()
